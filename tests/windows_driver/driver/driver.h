// The test driver: two plug-and-play devices that answer the camera driver's requests from a table
// of registers and from recorded packets, as a test has told them. The codes and records are
// written apart from the library's, so that one mistake can't hide in both.
//
// One spin lock guards everything that two threads touch. Requests are completed without it.
#ifndef ZERIX_TESTS_WINDOWS_DRIVER_DRIVER_H
#define ZERIX_TESTS_WINDOWS_DRIVER_DRIVER_H

#include <wdm.h>

#include <stdint.h>

#include "../test_control.h"

enum { kRequests = 18, kSlotsOfBuffer = 30, kNoChannel = -1 };

// What a pending request waits for.
enum PendingKind {
    kPendingBuffer = 1,   // packets
    kPendingBusEvent = 2, // a bus event; none ever comes
    kPendingLater = 4,    // the device's thread, which completes it with the status it holds
    kPendingForEver = 8,  // nothing
    kPendingAny = 15,
};

typedef struct Recording {
    TestRecording *record; // null without one
    uint32_t nextPacket;
    uint32_t nextByte;
    uint32_t idleSlotsLeft;
    uint8_t tag; // of the frame in work
} Recording;

// What a handle holds on the bus.
typedef struct Holdings {
    FILE_OBJECT *owner; // from the bandwidth allocation until that handle closes
    uint32_t bandwidth; // the handles given out; 0 for none
    int32_t channel;
    uint32_t resources;
    uint32_t slotBytes; // of the resources
    uint32_t isListening;
} Holdings;

typedef struct Device {
    uint32_t isControl; // the control device, which has none of the rest
    uint32_t index;
    DEVICE_OBJECT *self;
    DEVICE_OBJECT *below;
    UNICODE_STRING interfaceName;
    KEVENT leave;
    KEVENT interfaceTurn; // whoever switches the interface; signalled while nobody does
    void *thread;

    uint32_t isStarted;
    uint32_t isPresent;
    uint32_t isListed; // its interface is on
    TestBehaviour behaviour;
    uint32_t accesses;
    uint32_t registerCount;
    TestWord registers[kTestRegisterLimit];
    uint32_t faultCount;
    TestFault faults[kTestFaultLimit];
    uint32_t accessCount;
    TestAccess accessLog[kTestAccessLimit];
    Recording recording;
    uint32_t isSending; // the stream register says so
    int32_t sendChannel;
    Holdings holdings;
    uint32_t nextHandle;
    LIST_ENTRY pending;
    TestState state; // its counters; the rest is filled in on request
} Device;

// A request of a device on its way. The handlers run under the lock.
typedef struct Request {
    Device *device;
    IRP *irp;
    FILE_OBJECT *file;
    uint32_t code;
    const uint8_t *in;
    uint8_t *out;
    uint32_t inBytes;
    uint32_t outBytes;
    uint32_t pends;       // data of a read is big-endian then
    uint32_t information; // bytes of the out record
    LIST_ENTRY *ended;    // other requests that this one ends
} Request;

// main.c
Device *DeviceOf(DEVICE_OBJECT *object);
Device *DeviceNumber(uint32_t index); // null if it isn't there; under the lock
void SwitchInterface(Device *device); // on or off, as the device is present; not under the lock
KIRQL Lock(void);
void Unlock(KIRQL level);
NTSTATUS Complete(IRP *irp, NTSTATUS status, uint32_t information);

// pending.c
BOOLEAN Pend(Device *device, IRP *irp, uint32_t kind); // false if it has been cancelled already
IRP *TakePending(Device *device, uint32_t kinds, const FILE_OBJECT *fileOrNull);
uint32_t CountPending(const Device *device, uint32_t kinds);
// Moves pending requests to `ended`, each with its status; for CompleteEnded without the lock.
void EndPending(Device *device, uint32_t kinds, const FILE_OBJECT *fileOrNull, NTSTATUS status,
                LIST_ENTRY *ended);
void CompleteEnded(LIST_ENTRY *ended);

// requests.c
NTSTATUS HandleRequest(Request *request);
uint32_t RequestNumber(uint32_t code); // kRequests for an unknown one

// bus.c: the requests about the bus
void ReleaseHoldings(Device *device, LIST_ENTRY *ended);
NTSTATUS IsOpen(Request *request);
NTSTATUS AllocateBandwidth(Request *request);
NTSTATUS FreeBandwidth(Request *request);
NTSTATUS AllocateChannel(Request *request);
NTSTATUS FreeChannel(Request *request);
NTSTATUS AllocateResources(Request *request);
NTSTATUS FreeResources(Request *request);
NTSTATUS QueueBuffer(Request *request);
NTSTATUS DetachBuffers(Request *request);
NTSTATUS Listen(Request *request);
NTSTATUS StopListen(Request *request);

// registers.c
NTSTATUS AsyncRead(Request *request);
NTSTATUS AsyncWrite(Request *request);
TestWord *FindRegister(Device *device, uint32_t address);
uint32_t WordAt(const uint8_t *bytes);
void PutWord(uint8_t *bytes, uint32_t value);

// stream.c
NTAPI void DeviceThread(void *device);
void BeginRecording(Device *device);

// control.c
NTSTATUS HandleControl(IRP *irp, IO_STACK_LOCATION *stack);
void ResetDevice(Device *device, LIST_ENTRY *ended);

#endif

// How a test tells the test driver what its devices are to hold and to do: records of the control
// requests of its control device, \\.\ZerixTestDriver, which is there while the driver is loaded.
// Shared by the driver (C, in the kernel) and the tests (C++): plain data, little-endian words.
#ifndef ZERIX_TESTS_WINDOWS_DRIVER_TEST_CONTROL_H
#define ZERIX_TESTS_WINDOWS_DRIVER_TEST_CONTROL_H

#include <stdint.h>

#define TEST_DRIVER_HARDWARE_ID "root\\zerixtest"
#define TEST_DRIVER_CONTROL_PATH "\\\\.\\ZerixTestDriver"

enum { kTestDevices = 2 };

// Device type 0x22, buffered, any access, functions from 0x900.
enum TestControlCode {
    kTestReset = 0x222400,        // nothing -> nothing: both devices as after loading
    kTestSetRegisters = 0x222404, // TestRegisters -> nothing: added to the table
    kTestGetRegister = 0x222408,  // TestRegister -> the same, with the value
    kTestSetRecording = 0x22240C, // TestRecording -> nothing: in place of the one before
    kTestSetBehaviour = 0x222410, // TestBehaviour -> nothing
    kTestAddFault = 0x222414,     // TestFault -> nothing
    kTestSetPresent = 0x222418,   // TestPresence -> nothing
    kTestGetState = 0x22241C,     // word: the device -> TestState
    kTestTakeAccesses = 0x222420, // word: the device -> TestAccess each, since the last time
};

enum { kTestRegisterLimit = 1024, kTestFaultLimit = 32, kTestAccessLimit = 256 };

typedef struct TestWord {
    uint32_t address;
    uint32_t value; // in host order
} TestWord;

// The words of a device that answer; every other address is a bus error.
typedef struct TestRegisters {
    uint32_t device;
    uint32_t count;
    TestWord words[1];
} TestRegisters;

typedef struct TestRegister {
    uint32_t device;
    TestWord word;
} TestRegister;

// One frame's packets. They are sent again and again while a listener has the channel that was
// written to the stream register's top byte, with bit 0; a write there begins at the first packet.
typedef struct TestRecording {
    uint32_t device;
    uint32_t streamRegister;
    uint32_t tagRegister; // its top byte is the tag of the frames that begin from now on
    uint32_t idleSlots;   // slots of idle packets between two frames
    uint32_t packetCount;
    uint32_t bytes; // of the packets, TestPacket and payload, one behind the other
    uint8_t packets[1];
} TestRecording;

typedef struct TestPacket {
    uint16_t length;    // of the payload that follows
    uint16_t tagOffset; // of the payload's byte that carries the frame's tag; 0 for none
} TestPacket;

enum TestPending {
    kTestPendNever = 0,  // accesses complete at once, data of reads in host order
    kTestPendAlways = 1, // they pend, data of reads big-endian
    kTestPendEverySecond = 2,
};

typedef struct TestBehaviour {
    uint32_t device;
    uint32_t pending;  // TestPending
    uint32_t isSlow;   // a bus of 400: refuses resources at the fast speed
    uint32_t isSilent; // no packet comes at all, not even idle ones
} TestBehaviour;

enum TestFaultAction {
    kTestFail = 0,        // at once
    kTestPendAndFail = 1, // later
    kTestPendAndDo = 2,   // what it does at other times, but later
    kTestHang = 3,        // pends until it is cancelled
    kTestUnplugAndFail = 4,
};

// For the requests of this code that follow the next `skip` ones, `times` of them.
typedef struct TestFault {
    uint32_t device;
    uint32_t code;
    uint32_t action; // TestFaultAction
    uint32_t status; // the kernel's, of those that fail
    uint32_t skip;
    uint32_t times;
} TestFault;

typedef struct TestPresence {
    uint32_t device;
    uint32_t isPresent; // 0 takes its interface away; every request fails, the pending ones too
} TestPresence;

typedef struct TestState {
    uint32_t isThere; // the system has started the device, and it is present
    uint32_t openHandles;
    uint32_t isClaimed;
    uint32_t holdsBandwidth;
    uint32_t holdsChannel;
    uint32_t holdsResources;
    uint32_t isListening;
    uint32_t queuedBuffers;
    uint32_t pendingRequests; // other than buffers
    uint32_t buffersFilled;   // since the reset
    uint32_t requests[18];    // since the reset, in the order of their codes
} TestState;

typedef struct TestAccess {
    uint32_t isWrite;
    uint32_t address;
    uint32_t quadlets;
    uint32_t firstValue; // of a write, in host order
} TestAccess;

#endif

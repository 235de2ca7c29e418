// The kernel-driver port: what the hardware layer asks of the 1394 kernel driver, or of whatever
// stands in its place. Implementations: the Windows kernel driver, the virtual bus, Linux's
// FireWire character devices. The interface crosses a shared-library boundary, so it holds only
// plain types and virtual functions, in a fixed order.
//
// Threads: every operation may be called from any thread, several at a time on one device.
#pragma once

#include <cstdint>

#include "zerix/zerix_records.h"

namespace zerix::kernel {

// System error numbers of the port. They are the real driver's; other implementations translate
// theirs to these where one fits.
enum SystemError : uint32_t {
    kErrorFileNotFound = 2,
    kErrorAccessDenied = 5,
    kErrorInvalidHandle = 6,
    kErrorGenFailure = 31, // the device answered with a bus error
    kErrorSharingViolation = 32,
    kErrorNotSupported = 50,
    kErrorInvalidParameter = 87,
    kErrorBusy = 170,
    kErrorOperationAborted = 995, // ended by CancelPending
    kErrorDeviceNotConnected = 1167,
    kErrorNoSystemResources = 1450,
};

// A device path as the driver names it, zero-terminated.
inline constexpr uint32_t kLongestDevicePath = 255;
struct DevicePath {
    char text[1024];
};

// 0 is no device.
using DeviceHandle = uintptr_t;

// The overlapped block of one request, owned by the caller. It must stay where it is from Control
// until Wait has returned (or Control has said done or failed). The driver keeps its bookkeeping in
// it; zero-initialise it before the first use, and leave it alone afterwards. It may be used again
// once its request is over.
struct Overlapped {
    uintptr_t driverWords[8] = {};
};

enum class Completion : uint32_t { kDone = 0, kPending = 1, kFailed = 2 };

struct ControlResult {
    Completion completion;
    uint32_t systemError;   // when failed; 0 otherwise
    uint32_t bytesReturned; // when done: bytes written to the out record
};

class KernelDriver {
public:
    virtual ~KernelDriver() = default;

    // Writes the paths of the present devices of the interface class to `paths`, in the driver's
    // order, at most `maximumCount`, and their number to `count`. Returns 0 or a system error: with
    // `count` untouched if there is no list of devices to be had at all, with 0 in it if the walk
    // over the list broke off.
    // A path longer than kLongestDevicePath is given in full up to 1023 characters.
    virtual uint32_t Enumerate(DevicePath *paths, uint32_t maximumCount, uint32_t *count) = 0;

    // Opens a device. Doesn't tell whether somebody else has it: the is-open request does.
    // Returns 0, or a system error with the handle untouched.
    virtual uint32_t Open(const char *devicePath, DeviceHandle *device) = 0;

    // Sends one control request. `in` and `out` must stay valid until the request is over. With a
    // null `overlapped` the call waits and never answers pending. A driver may complete any request
    // at once or answer pending, as it likes; only queued buffers, bus events and reads and writes
    // ever pend.
    virtual ControlResult Control(DeviceHandle device, uint32_t code, const void *in,
                                  uint32_t inSize, void *out, uint32_t outSize,
                                  Overlapped *overlapped) = 0;

    // Waits without limit until a pending request is over; never answers pending. A request that
    // isn't pending gives its last result at once.
    virtual ControlResult Wait(DeviceHandle device, Overlapped *overlapped) = 0;

    // Completes every pending request of the device with kErrorOperationAborted. Doesn't block.
    virtual void CancelPending(DeviceHandle device) = 0;

    // Closes; whatever the handle still holds is given back, and pending requests are cancelled.
    virtual void Close(DeviceHandle device) = 0;

    // True for the virtual bus, on which no thread or process priority is asked for.
    virtual bool IsSimulated() const = 0;

    // Completes this one request with kErrorOperationAborted, if it is pending. Doesn't block. A
    // driver that can't tell requests apart ends all of the device's.
    virtual void Cancel(DeviceHandle device, Overlapped *) { CancelPending(device); }

    // As Wait, for so many milliseconds at most: pending if the request isn't over by then; 0 only
    // asks. May be asked after the close of the device, too: it answers pending for as long as the
    // system may still write to the request's records. A driver that has only Wait waits without
    // limit.
    virtual ControlResult WaitFor(DeviceHandle device, Overlapped *overlapped,
                                  uint32_t /*timeoutMilliseconds*/)
    {
        return Wait(device, overlapped);
    }

    // Describes the nodes of the bus, cameras and all others, in the order of cards and of their
    // identifiers: at most `maximumCount` of them to `nodes`, and the number of all to `count`.
    // Returns 0, or a system error with nothing written; kErrorNotSupported from a driver that
    // knows of nothing but cameras. May block for as long as a node takes to answer.
    virtual uint32_t DescribeNodes(ZerixBusNode * /*nodes*/, uint32_t /*maximumCount*/,
                                   uint32_t * /*count*/)
    {
        return kErrorNotSupported;
    }
};

// The driver of this process. Defined by bus/, which makes the choice at the first call; a test
// program of the hardware layer defines its own.
KernelDriver &Driver();

} // namespace zerix::kernel

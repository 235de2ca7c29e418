// The private record behind a HALCamera of kind 0: one device of the kernel driver, its connection
// and its stream. Made when the device is listed, freed by HAL_CameraRelease; it can be connected
// and disconnected many times in between.
//
// Threads: the thread that connects, disconnects, starts and stops is the owner's, one at a time.
// Registers may be read and written from any thread, and the receive thread runs beside it all.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "camera/assembler/frame_assembler.h"
#include "hal/access_gate.h"
#include "hal/camera_connection.h"
#include "hal/kernel_driver.h"
#include "hal/kernel_requests.h"
#include "platform/large_blocks.h"
#include "platform/os.h"
#include "zerix/zerix_hal.h"

namespace zerix::hal {

inline constexpr uint32_t kLiveTransport = 0;
// A second way to the bus, around the kernel driver. It is not built; its answers are fixed.
inline constexpr uint32_t kDormantTransport = 1;

inline constexpr uint32_t kNoChannel = 0xFFFFFFFFu;

// One of the receive buffers that take turns in the kernel driver's queue.
struct ReceiveSlot {
    uint8_t *buffer = nullptr; // kSlotsPerBuffer packet slots, in the ring's memory
    kernel::Overlapped overlapped;
    bool isQueued = false; // the driver has or had it, and its request can be waited for
};

// What a stream holds from its start to its stop.
struct ReceiveRing {
    Block memory;
    std::unique_ptr<os::Mutex> bufferMutex; // over parsing and queueing
    std::unique_ptr<os::Event> stopEvent;   // the receive thread has left its loop
    uint32_t packetSlotBytes = 0;
    uint32_t bufferBytes = 0;
    ReceiveSlot slots[kernel::kReceiveBuffers];
};

// Which of its three bookings the driver has granted and not taken back.
struct BusHoldings {
    bool bandwidth = false;
    bool channel = false;
    bool resources = false;
};

class FWCameraDevice {
public:
    explicit FWCameraDevice(const char *path);
    // Ends the stream and closes the device, if they still are.
    ~FWCameraDevice();
    FWCameraDevice(const FWCameraDevice &) = delete;
    FWCameraDevice &operator=(const FWCameraDevice &) = delete;

    // False if the system had no mutex or event for it; it then can't be used.
    bool IsWhole() const
    {
        return deviceMutex != nullptr && frameWaitEvent != nullptr && buffersQueued != nullptr;
    }

    // Sends one control request. A failure becomes the thread's last system error. Without an
    // overlapped block it waits.
    kernel::ControlResult Send(uint32_t code, const void *in, uint32_t inSize, void *out,
                               uint32_t outSize, kernel::Overlapped *overlapped = nullptr);
    kernel::ControlResult Wait(kernel::Overlapped *overlapped);

    // A record that goes in and comes back, and whether the driver did it.
    template <typename Record>
    [[nodiscard]] bool Exchange(uint32_t code, Record &record)
    {
        const auto result = Send(code, &record, sizeof record, &record, sizeof record);
        return result.completion == kernel::Completion::kDone;
    }

    // Cancels every request that is pending; this one.
    void CancelPending() const;
    void Cancel(kernel::Overlapped &request) const;

    // Closes the device handle; whatever it held is given back by the driver. The number stays
    // behind, so that what still uses it fails as on any closed handle.
    void CloseDevice();

    char devicePath[kernel::kLongestDevicePath + 1] = {};
    std::atomic<kernel::DeviceHandle> deviceHandle{0};
    // False while `deviceHandle` is 0 or the number of a handle that is closed. Written after the
    // handle when it opens, before it when it closes: whoever sees true sees the handle.
    std::atomic<bool> handleIsOpen{false};
    uint32_t bandwidthHandle = 0;
    uint32_t resourcesHandle = 0;
    uint32_t channel = kNoChannel;
    BusHoldings holdings;
    // Read by any thread; a plain number each, so that they order nothing.
    std::atomic<uint32_t> speedFlag{0};     // of the last request for resources
    std::atomic<uint32_t> heldSlotBytes{0}; // of the resources; 0 without any
    uint16_t packetSize = 0;                // bytes of a packet slot, as last asked for

    // Over writes and bus-event requests. Lives as long as the record, because a writer may still
    // wait for it while the connection closes.
    std::unique_ptr<os::Mutex> deviceMutex;
    bool busEventRunning = false; // under deviceMutex
    AccessGate gate;              // of register accesses; a write passes under deviceMutex

    // The run loop's idle wait. Manual reset; lives as long as the record for the same reason.
    std::unique_ptr<os::Event> frameWaitEvent;

    // The receive thread has offered every buffer to the driver. Manual reset; it may have ended,
    // and the ring with it, before whoever started it wakes.
    std::unique_ptr<os::Event> buffersQueued;

    // Cleared by the stop and read by the receive thread once a buffer; what belongs to the stream
    // is ordered by the requests, the mutex and the join, so that the flag alone needs no order.
    std::atomic<bool> isStreaming{false};
    // Why the last stream brings no more frames. Orders nothing, as `isStreaming`.
    std::atomic<StreamEnd> streamEnd{StreamEnd::kStopped};
    FrameAssembler stream;
    HAL_EventCallback timedOut = nullptr; // the device was lost while streaming
    void *context = nullptr;              // of the callbacks
    threadInfo *receiveThread = nullptr;
    std::unique_ptr<ReceiveRing> ring;
};

// The record of a camera of the live transport; null if it has none, or is of another kind.
inline FWCameraDevice *LiveDeviceOf(const HALCamera &camera)
{
    return camera.kind == kLiveTransport ? static_cast<FWCameraDevice *>(camera.device) : nullptr;
}

} // namespace zerix::hal

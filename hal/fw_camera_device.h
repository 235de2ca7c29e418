// The private record behind a HALCamera of kind 0: one device of the kernel driver, its connection
// and its stream. Made when the device is listed, freed by HAL_CameraRelease; it can be connected
// and disconnected many times in between.
//
// Threads: the calls that connect, disconnect, start and stop take turns, from any thread.
// Registers are read and written beside them from any thread, and the receive thread runs beside it
// all.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "hal/access_gate.h"
#include "hal/camera_connection.h"
#include "hal/device_request.h"
#include "hal/device_turns.h"
#include "hal/driver_memory.h"
#include "hal/kernel_driver.h"
#include "hal/kernel_requests.h"
#include "hal/packet_sink.h"
#include "platform/large_blocks.h"
#include "platform/os.h"
#include "zerix/zerix_hal.h"

namespace zerix::hal {

inline constexpr uint32_t kLiveTransport = 0;
// A second way to the bus, around the kernel driver. It is not built; its answers are fixed.
inline constexpr uint32_t kDormantTransport = 1;

inline constexpr uint32_t kNoChannel = 0xFFFFFFFFu;

// How long the driver's answer is waited for: when something begins, for which a bus may have to
// settle first, and when something ends.
inline constexpr uint32_t kBeginPatienceMilliseconds = 10'000;
inline constexpr uint32_t kEndPatienceMilliseconds = 1000;

// One of the receive buffers that take turns in the kernel driver's queue.
struct ReceiveSlot {
    uint8_t *buffer = nullptr; // kSlotsPerBuffer packet slots, in the ring's memory
    kernel::Overlapped overlapped;
    bool isQueued = false; // the driver has or had it, and its request can be waited for
};

// What a stream holds from its start to its stop. The buffers are the driver's as long as one of
// their requests goes on.
struct ReceiveRing final : DriverMemory {
    Block memory;
    std::unique_ptr<os::Event> stopEvent; // the receive thread has left its loop
    kernel::DeviceHandle device = 0;      // that the buffers are queued with
    uint32_t packetSlotBytes = 0;
    uint32_t bufferBytes = 0;
    bool isCameraOn = false; // it has been told to send; for the thread that starts and stops
    // The driver ends no request: the receive thread leaves its loop all the same. Read between two
    // waits; orders nothing.
    std::atomic<bool> isGivenUp{false};
    ReceiveSlot slots[kernel::kReceiveBuffers];

    void EndRequests() override;
    [[nodiscard]] bool IsOver() override;
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

    // False if the system had no mutex or event for it, or no memory for the sink; it then can't be
    // used.
    bool IsWhole() const
    {
        return deviceMutex != nullptr && frameWaitEvent != nullptr && buffersQueued != nullptr &&
               sink != nullptr;
    }

    // Queues a buffer. A failure becomes the thread's last system error.
    kernel::ControlResult Queue(ReceiveSlot &slot, uint32_t bytes);

    // Sends a request that was made for this device; nothing goes to a closed handle. A failure
    // becomes the thread's last system error.
    kernel::ControlResult Send(uint32_t code, DeviceRequest &request);

    // A record that goes in and comes back, and whether the driver did it, in its own time. A
    // request that isn't over when the patience is, is cancelled.
    template <typename Record>
    [[nodiscard]] bool Exchange(uint32_t code, Record &record,
                                uint32_t patienceMilliseconds = kEndPatienceMilliseconds)
    {
        return ExchangeBytes(code, &record, sizeof record, patienceMilliseconds);
    }

    // Cancels every request that is pending.
    void CancelPending() const;

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

    DeviceTurns turns;
    std::atomic<bool> receiverWaits{false}; // for a turn, in its callback; orders nothing

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
    const std::unique_ptr<PacketSink> sink; // of the packets of every stream
    HAL_EventCallback timedOut = nullptr;   // the device was lost while streaming
    void *context = nullptr;                // of the callbacks
    threadInfo *receiveThread = nullptr;
    DriverPointer<ReceiveRing> ring;
    uint32_t streamRegister = 0; // the last start's: where the camera is told to send no more

private:
    bool ExchangeBytes(uint32_t code, void *record, uint32_t size, uint32_t patienceMilliseconds);
};

// The record of a camera of the live transport; null if it has none, or is of another kind.
inline FWCameraDevice *LiveDeviceOf(const HALCamera &camera)
{
    return camera.kind == kLiveTransport ? static_cast<FWCameraDevice *>(camera.device) : nullptr;
}

} // namespace zerix::hal

// One control request with its records, which outlive whoever sent it. Used by one thread; Cancel
// comes from any.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>

#include "hal/driver_memory.h"
#include "hal/kernel_driver.h"

namespace zerix::hal {

// How long a request that was cancelled is waited for, where the driver ignores it.
inline constexpr uint32_t kCancelPatienceMilliseconds = 1000;

class DeviceRequest final : public DriverMemory {
public:
    // With room for both records, cleared; null without the memory. The in record is the out record
    // too where `outSize` is kSameRecord.
    static constexpr uint32_t kSameRecord = 0xFFFFFFFFu;
    static DriverPointer<DeviceRequest> Make(kernel::DeviceHandle device, uint32_t inSize,
                                             uint32_t outSize = kSameRecord);

    uint8_t *In() { return m_bytes.get(); }
    uint8_t *Out();

    // To be sent once. A failure becomes the thread's last system error, as in the waits below.
    kernel::ControlResult Send(uint32_t code);

    // Pending if it isn't over in time.
    kernel::ControlResult WaitFor(uint32_t timeoutMilliseconds);

    // Waits; then cancels it, and waits for that. A request that isn't over by then counts as
    // aborted, and its memory is kept.
    kernel::ControlResult WaitOrCancel(uint32_t patienceMilliseconds);

    // Cancels it, if it is pending. Doesn't block.
    void Cancel();

    // Cancelled and waited for, by somebody else: the end waits no more.
    void GiveUp() { m_isGivenUp = true; }

    void EndRequests() override;
    [[nodiscard]] bool IsOver() override;

private:
    struct Free {
        void operator()(uint8_t *bytes) const { std::free(bytes); }
    };
    using Bytes = std::unique_ptr<uint8_t[], Free>;

    DeviceRequest(kernel::DeviceHandle device, Bytes bytes, uint32_t inSize, uint32_t outSize)
        : m_device(device), m_bytes(std::move(bytes)), m_inSize(inSize), m_outSize(outSize)
    {
    }

    const kernel::DeviceHandle m_device;
    Bytes m_bytes; // the in record, then the out record
    const uint32_t m_inSize;
    const uint32_t m_outSize;
    kernel::Overlapped m_overlapped;
    bool m_isPending = false;
    bool m_isGivenUp = false;
};

} // namespace zerix::hal

// The turns of the calls that change a device's connection or its stream.
#include "hal/device_turns.h"

#include <chrono>

#include "hal/fw_camera_device.h"
#include "hal/receive_thread.h"

namespace zerix::hal {

namespace {

constexpr auto kLongestWait = std::chrono::seconds(30);
constexpr uint32_t kBetweenLooksMilliseconds = 100;

} // namespace

bool DeviceTurns::Take(uint32_t timeoutMilliseconds)
{
    std::unique_lock lock(m_mutex);
    if (!m_isFree.wait_for(lock, std::chrono::milliseconds(timeoutMilliseconds),
                           [this] { return !m_isTaken; }))
        return false;
    m_isTaken = true;
    return true;
}

void DeviceTurns::GiveBack()
{
    const std::lock_guard lock(m_mutex);
    m_isTaken = false;
    m_isFree.notify_one();
}

Turn::Turn(FWCameraDevice &device, Haste haste) : m_device(device)
{
    const bool isReceiver = IsReceiveThreadOf(device);
    if (isReceiver)
        device.receiverWaits.store(true, std::memory_order_relaxed);
    m_isMine = Await(haste);
    if (isReceiver)
        device.receiverWaits.store(false, std::memory_order_relaxed);
}

Turn::~Turn()
{
    if (m_isMine)
        m_device.turns.GiveBack();
}

bool Turn::Await(Haste haste)
{
    const auto deadline = std::chrono::steady_clock::now() + kLongestWait;
    while (!m_device.turns.Take(kBetweenLooksMilliseconds)) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        if (haste == Haste::kEndsAccesses)
            m_device.gate.EndPresent();
    }
    return true;
}

uint32_t FailBusy(uint32_t halError)
{
    os::SetLastError(kernel::kErrorBusy);
    return halError;
}

} // namespace zerix::hal

// One granted exposure at a time, on the virtual bus.
#include "tools/frame_credit.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "platform/os.h"
#include "zerix/zerix_sim.h"

namespace zerix::tool {

FrameCredit::FrameCredit(bool isSimulated, uint32_t uniqueId)
{
    uint32_t isFast = 0;
    m_isVirtual = isSimulated && ZerixSim_FindCamera(uniqueId, &m_camera) == ZERIX_SIM_OK;
    m_isSimulated = m_isVirtual && ZerixSim_IsFastClock(&isFast) == ZERIX_SIM_OK && isFast == 1;
}

uint32_t FrameCredit::WhileGranted(const std::function<uint32_t()> &grab, uint32_t exposures)
{
    if (!m_isSimulated)
        return grab();
    ZerixSim_GiveCredit(m_camera, exposures);
    return WithRefills(grab, exposures);
}

uint32_t FrameCredit::WhileEachGranted(const std::function<uint32_t()> &call, uint32_t exposures)
{
    if (!m_isSimulated)
        return call();
    ZerixSim_GiveCreditPerStream(m_camera, exposures);
    const uint32_t result = WithRefills(call, exposures);
    ZerixSim_GiveCreditPerStream(m_camera, ZERIX_SIM_UNLIMITED);
    return result;
}

uint32_t FrameCredit::WithRefills(const std::function<uint32_t()> &call, uint32_t exposures) const
{
    std::mutex mutex;
    std::condition_variable finished;
    bool isFinished = false;
    std::thread granter([&] {
        std::unique_lock lock(mutex);
        while (!finished.wait_for(lock, std::chrono::seconds(2), [&] { return isFinished; }))
            ZerixSim_GiveCredit(m_camera, exposures);
    });
    const uint32_t result = call();
    {
        const std::lock_guard lock(mutex);
        isFinished = true;
    }
    finished.notify_one();
    granter.join();
    return result;
}

void FrameCredit::Grant(uint32_t exposures) const
{
    if (m_isSimulated)
        ZerixSim_GiveCredit(m_camera, exposures);
}

uint64_t FrameCredit::StartOfExposure(uint16_t frameNumber, uint64_t exposureNanoseconds) const
{
    uint64_t start = 0;
    if (m_isVirtual && ZerixSim_GetFrameTime(m_camera, frameNumber, &start) == ZERIX_SIM_OK)
        return start;
    const os::WallTime now = os::WallClock();
    const uint64_t nanoseconds =
        static_cast<uint64_t>(now.seconds) * 1'000'000'000u + now.microseconds * 1000ull;
    return nanoseconds - exposureNanoseconds;
}

} // namespace zerix::tool

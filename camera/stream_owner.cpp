// The one owner of a camera's stream.
#include "camera/stream_owner.h"

#include <utility>

#include "hal/camera_connection.h"

namespace zerix {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kBetweenLooks{100};
constexpr milliseconds kBetweenLosses{10};
constexpr int kHurries = 5; // looks

} // namespace

// Claim ------------------------------------------------------------------------------------------

bool ThreadClaim::TakeWithin(milliseconds time)
{
    const auto self = std::this_thread::get_id();
    std::unique_lock lock(m_mutex);
    if (!m_given.wait_for(lock, time, [&] { return m_depth == 0 || m_holder == self; }))
        return false;
    m_holder = self;
    ++m_depth;
    return true;
}

void ThreadClaim::Give()
{
    {
        const std::lock_guard lock(m_mutex);
        --m_depth;
    }
    m_given.notify_all();
}

// Lock -------------------------------------------------------------------------------------------

void StreamOwner::Attach(const HALCamera &camera, HAL_Condition imageCondition)
{
    m_camera = camera;
    m_imageCondition = imageCondition;
}

void StreamOwner::Take()
{
    while (!m_lock.TakeWithin(kBetweenLooks))
        hal::CancelHangingAccesses(m_camera);
}

// A stop may take its five seconds. This call does not wait for it.
void StreamOwner::Hurry()
{
    for (int i = 0; i < kHurries; ++i) {
        if (m_lock.TakeWithin(kBetweenLooks)) {
            m_lock.Give();
            return;
        }
        hal::CancelHangingAccesses(m_camera);
    }
}

StreamHold::StreamHold(StreamOwner &owner) : m_owner(owner) { m_owner.Take(); }

StreamHold::~StreamHold() { m_owner.Give(); }

void StreamOwner::BeginMeasurement()
{
    m_isMeasurementOver = false;
    tagsCommits = true;
}

// One image --------------------------------------------------------------------------------------

bool StreamOwner::ClaimImages() { return m_images.TakeWithin(milliseconds(0)); }

void StreamOwner::BeginWait()
{
    m_isAwaited = true;
    m_waitStatus.reset();
}

std::optional<uint16_t> StreamOwner::FinishWait()
{
    m_isAwaited = false;
    return std::exchange(m_waitStatus, std::nullopt);
}

void StreamOwner::EndWait(uint16_t status)
{
    if (!m_isAwaited)
        return;
    m_waitStatus = status;
    HAL_ConditionSignal(m_imageCondition);
}

void StreamOwner::Forget()
{
    ForgetRestart();
    isApplications = false;
    isForOneImage = false;
    EndMeasurement();
    EndWait(ZX::kStatusNoImage);
}

// Loss -------------------------------------------------------------------------------------------

void StreamOwner::ForgetLoss()
{
    const std::lock_guard lock(m_lossMutex);
    m_isLost = false;
    m_lossRequests = {};
}

void StreamOwner::MarkLost()
{
    {
        const std::lock_guard lock(m_lossMutex);
        m_isLost = true;
        m_lossRequests.isForStream = true;
    }
    WakeRunLoop();
}

void StreamOwner::AskForLoss(const StreamReceiver &receiver)
{
    {
        const std::lock_guard lock(m_lossMutex);
        if (!m_isLost)
            return;
        m_lossRequests.other = receiver;
    }
    WakeRunLoop();
}

StreamOwner::LossRequests StreamOwner::TakeLossRequests()
{
    {
        const std::lock_guard lock(m_lossMutex);
        if (!m_lossRequests.isForStream && !m_lossRequests.other)
            return {};
    }
    std::this_thread::sleep_until(m_lastTold + kBetweenLosses); // a start may forget them meanwhile
    m_lastTold = std::chrono::steady_clock::now();
    const std::lock_guard lock(m_lossMutex);
    return std::exchange(m_lossRequests, {});
}

void StreamOwner::WakeRunLoop() const { HAL_CameraStopWaitingForFrame(m_camera); }

} // namespace zerix

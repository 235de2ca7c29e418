// A thread that sleeps until the time is over or nobody needs it any more.
#include "tools/wait_limit.h"

#include <algorithm>
#include <chrono>

#include "tools/answer_limit.h"

namespace zerix::tool {

namespace {

// 31 years: the clock counts nanoseconds, and overflows after some centuries.
constexpr double kLongestSeconds = 1e9;

} // namespace

WaitLimit::WaitLimit(ZerixHandle camera, double seconds)
    : m_thread([this, camera, seconds] { Watch(camera, seconds); })
{
}

WaitLimit::~WaitLimit() { Finish(); }

bool WaitLimit::Finish()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isFinished = true;
    }
    m_finished.notify_one();
    if (m_thread.joinable())
        m_thread.join();
    return m_isOver;
}

// The first abort may come just before the wait that it is to end: it is repeated. Where none of
// them has an effect, the camera doesn't answer.
void WaitLimit::Watch(ZerixHandle camera, double seconds)
{
    const std::chrono::duration<double> longest(std::min(seconds, kLongestSeconds));
    std::unique_lock lock(m_mutex);
    if (m_finished.wait_for(lock, longest, [this] { return m_isFinished; }))
        return;
    m_isOver = true;
    const AnswerLimit limit;
    do {
        lock.unlock();
        Zerix_Abort(camera);
        lock.lock();
    } while (!m_finished.wait_for(lock, std::chrono::milliseconds(200),
                                  [this] { return m_isFinished; }));
}

} // namespace zerix::tool

// A thread that sleeps until the time is over or nobody needs it any more.
#include "tools/wait_limit.h"

#include <chrono>

namespace zerix::tool {

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

// The first abort may come just before the wait that it is to end: it is said again.
void WaitLimit::Watch(ZerixHandle camera, double seconds)
{
    std::unique_lock lock(m_mutex);
    auto next = std::chrono::duration<double>(seconds);
    while (!m_finished.wait_for(lock, next, [this] { return m_isFinished; })) {
        m_isOver = true;
        lock.unlock();
        Zerix_Abort(camera);
        lock.lock();
        next = std::chrono::duration<double>(0.2);
    }
}

} // namespace zerix::tool

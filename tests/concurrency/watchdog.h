// Ends the process when a call does not return in time: two threads that wait for each other would
// otherwise wait until the run is ended from outside, and nobody would know which call it was.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace zerix::concurrency {

inline constexpr auto kLongestCall = std::chrono::seconds(20);

// The call that one thread is in. Written by that thread, read by the watchdog.
class CallInProgress {
public:
    void Begin(const char *function);
    void End() { m_function.store(nullptr); }
    // The function's name; null where there is no call, or none that has taken so long.
    [[nodiscard]] const char *LongerThan(std::chrono::nanoseconds limit) const;

private:
    std::atomic<const char *> m_function{nullptr};
    std::atomic<std::int64_t> m_begun{0}; // nanoseconds of the steady clock
};

// Watches the calls of some threads while it lives.
class Watchdog {
public:
    // `test` names what is running; the calls outlive the watchdog.
    Watchdog(std::string test, std::vector<const CallInProgress *> calls);
    ~Watchdog();
    Watchdog(const Watchdog &) = delete;
    Watchdog &operator=(const Watchdog &) = delete;

private:
    void Watch();

    const std::string m_test;
    const std::vector<const CallInProgress *> m_calls;
    std::mutex m_mutex;
    std::condition_variable m_ended;
    bool m_isOver = false;
    std::thread m_thread;
};

} // namespace zerix::concurrency

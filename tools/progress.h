// One line of progress on a terminal for what takes over a second; nothing into a pipe. A thread
// keeps it going, so that one long exposure has its line too.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

namespace zerix::tool {

class Progress {
public:
    explicit Progress(std::string what, uint32_t total = 1);
    // Takes the line away.
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    // So many are done, and the next is being done.
    void Advance(uint32_t done);
    // Takes the line away until the next advance, so that something can be printed.
    void Hide();

private:
    using Clock = std::chrono::steady_clock;

    void Run();
    void Show();
    void Clear();

    const std::string m_what;
    const uint32_t m_total;
    const Clock::time_point m_start = Clock::now();
    std::mutex m_mutex; // of all below
    std::condition_variable m_changed;
    uint32_t m_done = 0;
    bool m_isHidden = false;
    bool m_isShown = false;
    bool m_isOver = false;
    std::thread m_thread; // where there is a terminal
};

} // namespace zerix::tool

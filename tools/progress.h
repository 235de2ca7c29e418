// One line of progress on a terminal for what takes over a second; nothing into a pipe.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace zerix::tool {

class Progress {
public:
    Progress(std::string what, uint32_t total);
    // Takes the line away.
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    void Advance(uint32_t done);

private:
    using Clock = std::chrono::steady_clock;

    std::string m_what;
    uint32_t m_total;
    bool m_isTerminal;
    bool m_shown = false;
    Clock::time_point m_start;
};

} // namespace zerix::tool

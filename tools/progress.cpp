// One line of progress on the standard error, where that is a terminal.
#include "tools/progress.h"

#include <cstdio>

#include <fmt/format.h>

#include "platform/os.h"

namespace zerix::tool {

Progress::Progress(std::string what, uint32_t total)
    : m_what(std::move(what)), m_total(total), m_isTerminal(os::StandardErrorIsTerminal()),
      m_start(Clock::now())
{
}

Progress::~Progress()
{
    if (m_shown)
        fmt::print(stderr, "\r\x1b[K");
}

void Progress::Advance(uint32_t done)
{
    const std::chrono::duration<double> elapsed = Clock::now() - m_start;
    if (!m_isTerminal || elapsed.count() < 1.0)
        return;
    m_shown = true;
    const double left = done == 0 ? 0 : elapsed.count() * (m_total - done) / done;
    fmt::print(stderr, "\r\x1b[K{} {} of {}, {:.0f} s left", m_what, done, m_total, left);
    std::fflush(stderr);
}

} // namespace zerix::tool

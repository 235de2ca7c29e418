// One line of progress on the standard error, where that is a terminal.
#include "tools/progress.h"

#include <cstdio>

#include <fmt/format.h>

#include "platform/os.h"

namespace zerix::tool {

namespace {

// A terminal may be gone, and fmt would throw then.
void Print(const std::string &text)
{
    std::fputs(text.c_str(), stderr);
    std::fflush(stderr);
}

} // namespace

Progress::Progress(std::string what, uint32_t total) : m_what(std::move(what)), m_total(total)
{
    if (os::StandardErrorIsTerminal())
        m_thread = std::thread([this] { Run(); });
}

Progress::~Progress()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isOver = true;
    }
    m_changed.notify_one();
    if (m_thread.joinable())
        m_thread.join();
    Clear();
}

void Progress::Advance(uint32_t done)
{
    const std::lock_guard lock(m_mutex);
    m_done = done;
    m_isHidden = false;
}

void Progress::Hide()
{
    const std::lock_guard lock(m_mutex);
    m_isHidden = true;
    Clear();
}

void Progress::Run()
{
    constexpr std::chrono::seconds kPatience{1};
    constexpr std::chrono::milliseconds kBetween{250};
    std::unique_lock lock(m_mutex);
    auto next = m_start + kPatience;
    while (!m_changed.wait_until(lock, next, [this] { return m_isOver; })) {
        if (!m_isHidden)
            Show();
        next += kBetween;
    }
}

// "taking a picture, 3 s"; of several "taking picture 2 of 5, 12 s left".
void Progress::Show()
{
    const double elapsed = std::chrono::duration<double>(Clock::now() - m_start).count();
    std::string text = m_what;
    if (m_total > 1)
        text += fmt::format(" {} of {}", m_done + 1, m_total);
    if (m_done > 0)
        text += fmt::format(", {:.0f} s left", elapsed * (m_total - m_done) / m_done);
    else
        text += fmt::format(", {:.0f} s", elapsed);
    Print("\r\x1b[K" + text);
    m_isShown = true;
}

void Progress::Clear()
{
    if (m_isShown)
        Print("\r\x1b[K");
    m_isShown = false;
}

} // namespace zerix::tool

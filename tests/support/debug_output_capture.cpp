// Collects the lines of debug output.
#include "tests/support/debug_output_capture.h"

#include "platform/os.h"

namespace zerix::test {

DebugOutputCapture::DebugOutputCapture()
{
    os::SetDebugOutputForTest([this](const std::string &line) {
        const std::lock_guard lock(m_mutex);
        m_lines.push_back(line);
    });
}

DebugOutputCapture::~DebugOutputCapture() { os::SetDebugOutputForTest({}); }

std::vector<std::string> DebugOutputCapture::Lines() const
{
    const std::lock_guard lock(m_mutex);
    return m_lines;
}

std::string DebugOutputCapture::Text() const
{
    std::string text;
    for (const std::string &line : Lines())
        text += line;
    return text;
}

void DebugOutputCapture::Clear()
{
    const std::lock_guard lock(m_mutex);
    m_lines.clear();
}

} // namespace zerix::test

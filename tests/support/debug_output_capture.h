// Collects the lines of debug output while it lives, from every thread. One at a time.
#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace zerix::test {

class DebugOutputCapture {
public:
    DebugOutputCapture();
    ~DebugOutputCapture();
    DebugOutputCapture(const DebugOutputCapture &) = delete;
    DebugOutputCapture &operator=(const DebugOutputCapture &) = delete;

    [[nodiscard]] std::vector<std::string> Lines() const;
    // All lines in one text, one after the other as they came.
    [[nodiscard]] std::string Text() const;
    void Clear();

private:
    mutable std::mutex m_mutex;
    std::vector<std::string> m_lines;
};

} // namespace zerix::test

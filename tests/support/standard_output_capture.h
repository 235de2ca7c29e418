// Collects what is printed to the standard output while it lives, into a file, so that no amount of
// it blocks. One at a time.
#pragma once

#include <cstdio>
#include <string>

namespace zerix::test {

class StandardOutputCapture {
public:
    StandardOutputCapture();
    ~StandardOutputCapture();
    StandardOutputCapture(const StandardOutputCapture &) = delete;
    StandardOutputCapture &operator=(const StandardOutputCapture &) = delete;

    // Everything printed so far.
    [[nodiscard]] std::string Text() const;

private:
    std::FILE *const m_file;
    int m_before = -1;
};

} // namespace zerix::test

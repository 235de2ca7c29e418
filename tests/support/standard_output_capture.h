// Collects what is printed to the standard output while it lives, into a file, so that no amount of
// it blocks. For systems with POSIX file descriptors. One at a time.
#pragma once

#include <cstdio>
#include <string>
#include <unistd.h>

namespace zerix::test {

class StandardOutputCapture {
public:
    StandardOutputCapture() : m_file(std::tmpfile())
    {
        std::fflush(stdout);
        m_before = dup(STDOUT_FILENO);
        dup2(fileno(m_file), STDOUT_FILENO);
    }
    ~StandardOutputCapture()
    {
        std::fflush(stdout);
        dup2(m_before, STDOUT_FILENO);
        close(m_before);
        std::fclose(m_file);
    }
    StandardOutputCapture(const StandardOutputCapture &) = delete;
    StandardOutputCapture &operator=(const StandardOutputCapture &) = delete;

    // Everything printed so far.
    [[nodiscard]] std::string Text() const
    {
        std::fflush(stdout);
        std::string text;
        char buffer[4096];
        off_t position = 0;
        while (const ssize_t count = pread(fileno(m_file), buffer, sizeof buffer, position)) {
            if (count < 0)
                break;
            text.append(buffer, static_cast<size_t>(count));
            position += count;
        }
        return text;
    }

private:
    std::FILE *const m_file;
    int m_before = -1;
};

} // namespace zerix::test

// POSIX file descriptors.
#include "tests/support/standard_output_capture.h"

#include <unistd.h>

namespace zerix::test {

StandardOutputCapture::StandardOutputCapture() : m_file(std::tmpfile())
{
    std::fflush(stdout);
    m_before = dup(STDOUT_FILENO);
    dup2(fileno(m_file), STDOUT_FILENO);
}

StandardOutputCapture::~StandardOutputCapture()
{
    std::fflush(stdout);
    dup2(m_before, STDOUT_FILENO);
    close(m_before);
    std::fclose(m_file);
}

std::string StandardOutputCapture::Text() const
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

} // namespace zerix::test

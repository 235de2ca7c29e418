// The C library's descriptors. The file and the standard output share their position.
#include "tests/support/standard_output_capture.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <io.h>

namespace zerix::test {

namespace {

std::FILE *MakeFile()
{
    char *const name = _tempnam(nullptr, "zerix");
    std::FILE *const file = std::fopen(name, "w+bD"); // gone with its last descriptor
    std::free(name);
    return file;
}

} // namespace

StandardOutputCapture::StandardOutputCapture() : m_file(MakeFile())
{
    std::fflush(stdout);
    m_before = _dup(_fileno(stdout));
    _dup2(_fileno(m_file), _fileno(stdout));
}

StandardOutputCapture::~StandardOutputCapture()
{
    std::fflush(stdout);
    _dup2(m_before, _fileno(stdout));
    _close(m_before);
    std::fclose(m_file);
}

// Lines as they were printed.
std::string StandardOutputCapture::Text() const
{
    std::fflush(stdout);
    const int descriptor = _fileno(m_file);
    const auto end = _lseeki64(descriptor, 0, SEEK_CUR);
    std::string text(static_cast<size_t>(end), '\0');
    _lseeki64(descriptor, 0, SEEK_SET);
    size_t size = 0;
    while (size < text.size()) {
        const int count = _read(descriptor, text.data() + size,
                                static_cast<unsigned>(std::min<size_t>(text.size() - size, 4096)));
        if (count <= 0)
            break;
        size += static_cast<size_t>(count);
    }
    _lseeki64(descriptor, end, SEEK_SET);
    text.resize(size);
    std::erase(text, '\r');
    return text;
}

} // namespace zerix::test

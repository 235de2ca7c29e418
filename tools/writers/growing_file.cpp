// An unbuffered stream buffer of the standard library: 64-bit positions everywhere.
#include "tools/writers/growing_file.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

namespace zerix::tool {

GrowingFile::GrowingFile(std::string path) : m_path(std::move(path))
{
    errno = 0;
    m_file.pubsetbuf(nullptr, 0);
    if (m_file.open(m_path, std::ios::in | std::ios::out | std::ios::trunc | std::ios::binary) ==
        nullptr)
        Fail();
}

bool GrowingFile::Fail()
{
    m_error = errno != 0 ? std::generic_category().message(errno) : "the system gives no reason";
    return false;
}

bool GrowingFile::Write(uint64_t position, std::span<const uint8_t> bytes)
{
    errno = 0;
    const auto place = static_cast<std::streamoff>(position);
    if (m_file.pubseekpos(place) != std::streampos(place))
        return Fail();
    const auto size = static_cast<std::streamsize>(bytes.size());
    if (m_file.sputn(reinterpret_cast<const char *>(bytes.data()), size) != size)
        return Fail();
    m_size = std::max(m_size, position + bytes.size());
    return true;
}

bool GrowingFile::Write(uint64_t position, std::string_view text)
{
    return Write(position, std::span(reinterpret_cast<const uint8_t *>(text.data()), text.size()));
}

void GrowingFile::CutBack()
{
    std::error_code ignored;
    std::filesystem::resize_file(m_path, m_kept, ignored);
    m_size = m_kept;
}

bool GrowingFile::Close()
{
    errno = 0;
    return m_file.close() != nullptr || Fail();
}

void GrowingFile::Remove()
{
    m_file.close();
    std::error_code ignored;
    if (std::filesystem::is_regular_file(m_path, ignored))
        std::filesystem::remove(m_path, ignored);
}

} // namespace zerix::tool

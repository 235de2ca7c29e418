// An unbuffered stream buffer of the standard library: 64-bit positions everywhere.
#include "tools/writers/growing_file.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

namespace zerix::tool {

namespace {

constexpr auto kThere = std::ios::in | std::ios::out | std::ios::binary;
constexpr auto kEmptied = kThere | std::ios::trunc;

// A symbolic link stays; a device isn't taken away.
void RemoveTarget(const std::string &path)
{
    std::error_code ignored;
    if (std::filesystem::is_regular_file(path, ignored))
        std::filesystem::remove(std::filesystem::canonical(path, ignored), ignored);
}

} // namespace

GrowingFile::GrowingFile(std::string path) : m_path(std::move(path))
{
    errno = 0;
    std::filebuf trial;
    if (trial.open(m_path, kThere) != nullptr)
        return;
    if (errno != ENOENT || trial.open(m_path, kEmptied) == nullptr) {
        Fail();
        return;
    }
    trial.close();
    RemoveTarget(m_path);
}

bool GrowingFile::IsOpen()
{
    if (m_file.is_open())
        return true;
    m_file.pubsetbuf(nullptr, 0);
    return m_file.open(m_path, kEmptied) != nullptr;
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
    if (!IsOpen() || m_file.pubseekpos(place) != std::streampos(place))
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
    if (!m_file.is_open())
        return;
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
    if (m_file.close() != nullptr)
        RemoveTarget(m_path);
}

} // namespace zerix::tool

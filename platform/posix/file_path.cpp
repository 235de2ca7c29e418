// Names are bytes.
#include "platform/file_path.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zerix::os {

namespace {

class Descriptor {
public:
    explicit Descriptor(int number) : m_number(number) {}
    ~Descriptor()
    {
        if (m_number >= 0)
            close(m_number);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    [[nodiscard]] int Number() const { return m_number; }

private:
    const int m_number;
};

std::error_code LastSystemError() { return {errno, std::generic_category()}; }

// Reads on until the end. A file may be longer than its status says, as those of /proc are.
std::error_code ReadToEnd(int descriptor, size_t mostBytes, std::string &text)
{
    std::array<char, 4096> piece;
    for (;;) {
        const ssize_t count = read(descriptor, piece.data(), piece.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return count == 0 ? std::error_code() : LastSystemError();
        text.append(piece.data(), static_cast<size_t>(count));
        if (text.size() > mostBytes)
            return std::make_error_code(std::errc::file_too_large);
    }
}

// Why a file with this status isn't read.
std::error_code WhyUnreadable(const struct stat &status)
{
    if (S_ISDIR(status.st_mode))
        return std::make_error_code(std::errc::is_a_directory);
    const bool isFile = S_ISREG(status.st_mode) || S_ISCHR(status.st_mode);
    return isFile ? std::error_code() : std::make_error_code(std::errc::not_supported);
}

} // namespace

std::filesystem::path FilePath(const std::string &text) { return text; }

std::string PathText(const std::filesystem::path &path) { return path.string(); }

std::FILE *OpenToAppend(const std::string &name)
{
    constexpr mode_t kForAll = 0666; // less what the process's mask takes away
    const int descriptor =
        open(name.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, kForAll);
    if (descriptor < 0)
        return nullptr;
    std::FILE *const file = fdopen(descriptor, "a");
    if (file == nullptr)
        close(descriptor);
    return file;
}

// A pipe is found out before it is opened, as its writer would learn of a reader.
std::optional<std::string> ReadWholeFile(const std::string &name, size_t mostBytes,
                                         std::error_code &error)
{
    struct stat status = {};
    error = stat(name.c_str(), &status) == 0 ? WhyUnreadable(status) : LastSystemError();
    std::string text;
    if (error || S_ISCHR(status.st_mode))
        return error ? std::nullopt : std::optional(text);
    const Descriptor file(open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (file.Number() < 0)
        error = LastSystemError();
    else
        error = ReadToEnd(file.Number(), mostBytes, text);
    return error ? std::nullopt : std::optional(std::move(text));
}

void TakeOwnerAndMode(const std::string &from, const std::string &to)
{
    struct stat status = {};
    if (stat(from.c_str(), &status) != 0)
        return;
    const bool isOwners = chown(to.c_str(), status.st_uid, status.st_gid) == 0;
    const bool isGroups = isOwners || chown(to.c_str(), static_cast<uid_t>(-1), status.st_gid) == 0;
    mode_t mode = status.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
    if (!isGroups) // the group is another one: it may do what all may
        mode &= ~static_cast<mode_t>(S_IRWXG) | (mode & S_IRWXO) << 3;
    chmod(to.c_str(), mode);
}

} // namespace zerix::os

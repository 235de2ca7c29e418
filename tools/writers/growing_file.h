// A file that grows at its end while fields before the end are put right in place. Everything goes
// to the system at once, so that what has been written outlives the program.
#pragma once

#include <cstdint>
#include <fstream>
#include <span>
#include <string>
#include <string_view>

namespace zerix::tool {

class GrowingFile {
public:
    // Error() says if the file can't be written. It is created or emptied by the first write: what
    // was there stays until there is something to take its place.
    explicit GrowingFile(std::string path);
    GrowingFile(const GrowingFile &) = delete;
    GrowingFile &operator=(const GrowingFile &) = delete;

    // False for a failure, whose reason Error() tells; part of it may then stand in the file.
    bool Write(uint64_t position, std::span<const uint8_t> bytes);
    bool Write(uint64_t position, std::string_view text);
    bool Append(std::span<const uint8_t> bytes) { return Write(m_size, bytes); }
    bool Append(std::string_view text) { return Write(m_size, text); }

    // What the file has now stays at the next cut.
    void Keep() { m_kept = m_size; }
    // Takes away what has come behind the kept part; the reason of the last failure stays.
    void CutBack();
    bool Close();
    // Closes the file and takes it away, if anything was written.
    void Remove();

    [[nodiscard]] uint64_t Size() const { return m_size; }
    [[nodiscard]] const std::string &Path() const { return m_path; }
    // Why the last call that failed did so: "No space left on device"; empty if none has.
    [[nodiscard]] const std::string &Error() const { return m_error; }

private:
    bool IsOpen();
    bool Fail();

    std::string m_path;
    std::string m_error;
    std::filebuf m_file;
    uint64_t m_size = 0;
    uint64_t m_kept = 0;
};

} // namespace zerix::tool

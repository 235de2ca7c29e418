// An empty folder of its own, which goes with all that is in it.
#pragma once

#include <string>

namespace zerix::test {

class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    // Without a final slash.
    [[nodiscard]] const std::string &Path() const { return m_path; }
    // A name with spaces and with letters outside ASCII, as this system writes them.
    static std::string OddName();
    // Writes a file of the folder and gives its path.
    std::string Write(const std::string &name, const std::string &contents) const;
    // The contents of a file of the folder; empty if there is none.
    [[nodiscard]] std::string Read(const std::string &name) const;
    // The same of a file that was written as text: with line ends as in memory.
    [[nodiscard]] std::string ReadText(const std::string &name) const;

private:
    std::string m_path;
};

} // namespace zerix::test

// An empty folder of its own.
#include "tests/support/temporary_folder.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

namespace zerix::test {

namespace {

std::string Contents(const std::ifstream &file)
{
    std::ostringstream contents;
    contents << file.rdbuf();
    return contents.str();
}

} // namespace

TemporaryFolder::TemporaryFolder()
{
    std::random_device random;
    std::filesystem::path path;
    do {
        path = std::filesystem::temp_directory_path() / ("zerix-test-" + std::to_string(random()));
    } while (!std::filesystem::create_directory(path));
    m_path = path.generic_string();
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string TemporaryFolder::Write(const std::string &name, const std::string &contents) const
{
    const std::string path = m_path + "/" + name;
    std::ofstream(path, std::ios::binary) << contents;
    return path;
}

std::string TemporaryFolder::Read(const std::string &name) const
{
    return Contents(std::ifstream(m_path + "/" + name, std::ios::binary));
}

std::string TemporaryFolder::ReadText(const std::string &name) const
{
    return Contents(std::ifstream(m_path + "/" + name));
}

} // namespace zerix::test

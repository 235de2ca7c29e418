// Files that are replaced when they are whole: what becomes of the name and of the rights.
#include "tools/writers/whole_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sys/stat.h>

#include "tests/tools/sequence_readers.h"
#include "tests/tools/tool_fixture.h"
#include "tools/writers/picture.h"

namespace zerix::tool {
namespace {

namespace fs = std::filesystem;

class WholeFile : public testing::Test {
protected:
    std::string Path(const std::string &name) { return m_folder.Path() + "/" + name; }

    static std::string WriteText(const std::string &path, const std::string &text)
    {
        return WriteWhole(
            path, [&](const std::string &temporary) { return WriteBytes(temporary, text); });
    }

    static mode_t ModeOf(const std::string &path)
    {
        struct stat status = {};
        EXPECT_EQ(stat(path.c_str(), &status), 0);
        return status.st_mode & 07777;
    }

    size_t Files() const
    {
        return static_cast<size_t>(std::distance(fs::directory_iterator(m_folder.Path()), {}));
    }

    test::TemporaryFolder m_folder;
};

TEST_F(WholeFile, KeepsASymbolicLinkAndReplacesItsTarget)
{
    fs::create_directory(Path("folder"));
    m_folder.Write("folder/target", "old");
    fs::create_symlink("folder/target", Path("link"));
    fs::create_symlink(Path("link"), Path("second"));
    EXPECT_EQ(WriteText(Path("second"), "new"), "");
    EXPECT_EQ(m_folder.Read("folder/target"), "new");
    EXPECT_EQ(fs::read_symlink(Path("second")), Path("link"));
    EXPECT_EQ(fs::read_symlink(Path("link")), "folder/target");
    EXPECT_EQ(Files(), 3U) << "nothing temporary stays";
}

TEST_F(WholeFile, MakesTheTargetOfALinkThatHasNone)
{
    fs::create_symlink("target", Path("link"));
    EXPECT_EQ(WriteText(Path("link"), "new"), "");
    EXPECT_TRUE(fs::is_symlink(Path("link")));
    EXPECT_EQ(m_folder.Read("target"), "new");
    fs::create_symlink("nowhere/target", Path("lost"));
    EXPECT_EQ(WriteText(Path("lost"), "new"),
              Path("lost") + " can't be written: No such file or directory.");
    EXPECT_TRUE(fs::is_symlink(Path("lost")));
}

TEST_F(WholeFile, HandsTheModeOnInEveryFormatOfPictures)
{
    std::vector<uint8_t> pixels;
    const Picture picture = test::FrameOf(0, 10, 9, 2, pixels);
    for (const auto &format : PictureFormats()) {
        if (!format.available) // in this build
            continue;
        const std::string path = m_folder.Write("p" + format.endings.front(), "old");
        for (const mode_t mode : {0600u, 0640u}) {
            ASSERT_EQ(chmod(path.c_str(), mode), 0);
            EXPECT_EQ(WritePicture(path, picture), "");
            EXPECT_EQ(ModeOf(path), mode) << format.name;
            EXPECT_GT(fs::file_size(path), 3U);
        }
    }
}

// Not in its temporary place either, before it is whole.
TEST_F(WholeFile, ShowsNobodyWhatTheFileBeforeHid)
{
    const std::string path = m_folder.Write("hidden", "old");
    ASSERT_EQ(chmod(path.c_str(), 0600), 0);
    mode_t before = 0;
    mode_t after = 0;
    EXPECT_EQ(WriteWhole(path,
                         [&](const std::string &temporary) {
                             before = ModeOf(temporary);
                             const std::string error = WriteBytes(temporary, "new");
                             after = ModeOf(temporary);
                             return error;
                         }),
              "");
    EXPECT_EQ(before, 0600U);
    EXPECT_EQ(after, 0600U);
#if defined(ZERIX_TEST_ALL_FORMATS)
    std::vector<uint8_t> pixels;
    EXPECT_EQ(WriteFits(path, test::FrameOf(0, 10, 9, 2, pixels)), "");
    EXPECT_EQ(ModeOf(path), 0600U) << "its library doesn't overwrite, and begins a file of its own";
#endif
}

TEST_F(WholeFile, ReplacesNothingButRegularFiles)
{
    ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(WriteText(Path("pipe"), "new"),
              Path("pipe") + " can't be written: it is no regular file.");
    EXPECT_TRUE(fs::is_fifo(Path("pipe")));
    fs::create_symlink("/dev/null", Path("null"));
    EXPECT_EQ(WriteText(Path("null"), "new"),
              Path("null") + " can't be written: it is no regular file.");
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    EXPECT_EQ(WriteText(m_folder.Path(), "new"),
              m_folder.Path() + " can't be written: Is a directory.");
    fs::create_symlink("circle", Path("circle"));
    EXPECT_EQ(WriteText(Path("circle"), "new"),
              Path("circle") + " can't be written: Too many levels of symbolic links.");
    EXPECT_EQ(Files(), 3U);
}

TEST_F(WholeFile, LeavesWhatWasThereWhereItFails)
{
    const std::string path = m_folder.Write("file", "old");
    EXPECT_EQ(WriteWhole(path, [](const std::string &) { return std::string("worn"); }),
              path + " can't be written: worn.");
    EXPECT_EQ(m_folder.Read("file"), "old");
    EXPECT_EQ(Files(), 1U);
}

} // namespace
} // namespace zerix::tool

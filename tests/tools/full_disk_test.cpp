// Sequences on a disk that fills up: what stands in the file then, and what is said.
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <sys/resource.h>

#include "tests/tools/sequence_readers.h"
#include "tests/tools/tool_fixture.h"
#include "tools/writers/sequence.h"

namespace zerix::tool {
namespace {

using test::DifferenceTo;
using test::FrameOf;
using test::ReadSequenceFile;

// No file of this process grows beyond so many bytes while it lives.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &m_before);
        rlimit limit = m_before;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    rlimit m_before{};
    void (*m_handler)(int);
};

// Frames until one fails; which one, and what was said.
struct Ending {
    uint32_t written = 0;
    std::string error;
};

Ending FillUp(SequenceWriter &writer, uint32_t width, uint32_t height)
{
    std::vector<uint8_t> pixels;
    for (Ending ending;; ++ending.written) {
        ending.error = writer.Append(FrameOf(ending.written, width, height, 2, pixels));
        if (!ending.error.empty() || ending.written == 1000)
            return ending;
    }
}

// Four frames of 6,400 bytes fit in 30,000, with all that the formats have around them.
TEST(FullDisk, KeepsTheFramesBefore)
{
    const test::TemporaryFolder folder;
    for (const auto &ending : test::ReadableEndings()) {
        const std::string path = folder.Path() + "/s" + ending;
        std::string error;
        const auto writer = OpenSequence(path, &error);
        ASSERT_NE(writer, nullptr) << error;
        const FileSizeLimit limit(30'000);
        const Ending end = FillUp(*writer, 64, 50);
        EXPECT_EQ(end.written, 4u) << ending;
        EXPECT_EQ(end.error, "File too large");
        EXPECT_EQ(writer->Frames(), 4u);
        EXPECT_EQ(DifferenceTo(ReadSequenceFile(path), 4, 64, 50, 2), "") << ending;
        // The table of a FITS file and the last text of an OME-TIFF find no room; that is said,
        // and costs no frame.
        const bool hasLongEnd = ending == ".fits" || ending == ".ome.tif";
        EXPECT_EQ(writer->Finish(), hasLongEnd ? "File too large" : "") << ending;
        EXPECT_EQ(DifferenceTo(ReadSequenceFile(path), 4, 64, 50, 2), "") << ending;
        EXPECT_LE(std::filesystem::file_size(path), 30'000u);
    }
}

// At any size, so that every write of every format is once the one that fails.
TEST(FullDisk, KeepsTheFramesBeforeWhereverItIsFull)
{
    const test::TemporaryFolder folder;
    for (const auto &ending : test::ReadableEndings()) {
        for (rlim_t bytes = 0; bytes < 14'000; bytes += 97) {
            const std::string path = folder.Path() + "/s" + ending;
            std::string error;
            const auto writer = OpenSequence(path, &error);
            const FileSizeLimit limit(bytes);
            const Ending end = FillUp(*writer, 32, 15);
            ASSERT_EQ(end.error, "File too large");
            ASSERT_EQ(writer->Frames(), end.written);
            writer->Finish();
            if (end.written == 0)
                ASSERT_FALSE(std::filesystem::exists(path)) << bytes;
            else
                ASSERT_EQ(DifferenceTo(ReadSequenceFile(path), end.written, 32, 15, 2), "")
                    << ending << " " << bytes;
        }
    }
}

#if defined(ZERIX_TEST_ALL_FORMATS)

// The change to the big form, interrupted too.
TEST(FullDisk, KeepsTheFramesOfATiffThatOutgrowsItsForm)
{
    const test::TemporaryFolder folder;
    for (const bool isOme : {false, true}) {
        for (rlim_t bytes = 5'000; bytes < 10'000; bytes += 41) {
            const std::string path = folder.Path() + "/s.tif";
            const auto writer = MakeTiffSequence(path, isOme, 7'000);
            const FileSizeLimit limit(bytes);
            const Ending end = FillUp(*writer, 16, 15);
            ASSERT_EQ(end.error, "File too large");
            ASSERT_EQ(DifferenceTo(ReadSequenceFile(path), end.written, 16, 15, 2), "") << bytes;
            writer->Finish();
            ASSERT_EQ(DifferenceTo(ReadSequenceFile(path), end.written, 16, 15, 2), "") << bytes;
        }
    }
}

#endif

TEST(FullDisk, IsToldInTheSystemsWordsByEveryFormatOfPictures)
{
    const test::TemporaryFolder folder;
    std::vector<uint8_t> pixels;
    const Picture picture = FrameOf(0, 100, 90, 2, pixels);
    for (const auto &format : PictureFormats()) {
        if (!format.available) // in this build
            continue;
        const std::string path = folder.Path() + "/p" + format.endings.front();
        std::string error;
        {
            const FileSizeLimit limit(100);
            error = WritePicture(path, picture);
        }
        EXPECT_EQ(error, path + " can't be written: File too large.");
        EXPECT_TRUE(std::filesystem::is_empty(folder.Path())) << format.name;
    }
}

TEST(FullDisk, IsToldByEveryFormatForTheFirstFrame)
{
    const test::TemporaryFolder folder;
    for (const auto &format : SequenceFormats()) {
        const std::string path = folder.Path() + "/s" + format.endings.front();
        std::filesystem::create_symlink("/dev/full", path);
        std::string error;
        const auto writer = OpenSequence(path, &error);
        ASSERT_NE(writer, nullptr) << error;
        std::vector<uint8_t> pixels;
        EXPECT_EQ(writer->Append(FrameOf(0, 3, 2, 2, pixels)), "No space left on device");
        EXPECT_EQ(writer->Frames(), 0u);
        EXPECT_EQ(writer->Finish(), "");
        std::filesystem::remove(path);
    }
    EXPECT_TRUE(std::filesystem::exists("/dev/full"));
}

} // namespace
} // namespace zerix::tool

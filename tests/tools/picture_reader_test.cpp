// Kept pictures back from their files, and files that hold none.
#include "tools/writers/picture_reader.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "tests/tools/sequence_readers.h"
#include "tests/tools/tool_fixture.h"
#include "tools/writers/sequence.h"

namespace zerix::tool {
namespace {

std::vector<std::string> KeptEndings()
{
#if defined(ZERIX_TEST_ALL_FORMATS)
    return {".raw", ".tif"};
#else
    return {".raw"};
#endif
}

class PictureReader : public testing::Test {
protected:
    std::string Path(const std::string &name) { return m_folder.Path() + "/" + name; }

    void Write(const std::string &name, const std::string &text)
    {
        std::ofstream(Path(name), std::ios::binary) << text;
    }

    // The sentence of a file that can't be read, without its name.
    std::string WhyNot(const std::string &name)
    {
        std::string error;
        EXPECT_TRUE(ReadPictures(Path(name), &error).empty());
        EXPECT_TRUE(error.starts_with(Path(name) + " ")) << error;
        return error.substr(std::min(error.size(), Path(name).size() + 1));
    }

    test::TemporaryFolder m_folder;
};

// It would wait for a writer.
TEST_F(PictureReader, RefusesPipes)
{
    Write("p.raw", "12");
    for (const char *name : {"p.raw.json", "q.raw", "r.tif"})
        ASSERT_EQ(mkfifo(Path(name).c_str(), 0600), 0);
    Write("q.raw.json", "{}");
    EXPECT_EQ(WhyNot("p.raw"), "can't be read: " + Path("p.raw.json") + " is no regular file.");
    EXPECT_EQ(WhyNot("q.raw"), "can't be read: it is no regular file.");
    EXPECT_EQ(WhyNot("r.tif"), "can't be read: it is no regular file.");
}

TEST_F(PictureReader, GivesBackWhatWasWritten)
{
    for (const std::string &ending : KeptEndings())
        for (const uint32_t samples : {1u, 3u})
            for (const uint32_t bytes : {1u, 2u}) {
                SCOPED_TRACE(ending + " " + std::to_string(samples) + " " + std::to_string(bytes));
                std::vector<uint8_t> pixels;
                const Picture written = test::FrameOf(1, 5, 3, bytes, pixels, samples);
                const std::string path = Path("p" + ending);
                ASSERT_EQ(WritePicture(path, written), "");
                std::string error;
                const auto pictures = ReadPictures(path, &error);
                ASSERT_EQ(pictures.size(), 1u) << error;
                EXPECT_EQ(pictures[0].samples, pixels);
                const Picture &read = pictures[0].picture;
                EXPECT_EQ(read.pixels.data(), pictures[0].samples.data());
                EXPECT_EQ(read.pixels.size(), pixels.size());
                EXPECT_EQ(read.width, 5u);
                EXPECT_EQ(read.height, 3u);
                EXPECT_EQ(read.samplesPerPixel, samples);
                EXPECT_EQ(read.bytesPerSample, bytes);
                EXPECT_EQ(read.significantBits, bytes == 2 ? 12u : 8u);
                EXPECT_EQ(read.bayerPattern, samples == 1 ? "GRBG" : "");
                EXPECT_EQ(read.cameraModel, "Astrel C2");
                EXPECT_EQ(read.serialNumber, "A-123");
                EXPECT_EQ(read.exposureNanoseconds, 16'384'000u);
                EXPECT_EQ(read.gain, 1.5);
                EXPECT_EQ(read.horizontalBinning, 2u);
                EXPECT_EQ(read.verticalBinning, 2u);
                EXPECT_EQ(read.setTemperatureCelsius, -25);
                EXPECT_EQ(read.unixNanoseconds, 1'735'689'600'266'384'000u);
                EXPECT_EQ(read.frameNumber, 65535u);
                EXPECT_TRUE(read.hasMissingData);
            }
}

TEST_F(PictureReader, GivesBackEveryFrameOfARecording)
{
    for (const std::string &ending : KeptEndings()) {
        std::string error;
        const auto writer = OpenSequence(Path("s" + ending), &error);
        ASSERT_NE(writer, nullptr) << error;
        std::vector<uint8_t> pixels;
        for (uint32_t i = 0; i < 3; ++i)
            ASSERT_EQ(writer->Append(test::FrameOf(i, 5, 3, 2, pixels)), "");
        ASSERT_EQ(writer->Finish(), "");
        const auto pictures = ReadPictures(Path("s" + ending), &error);
        ASSERT_EQ(pictures.size(), 3u) << error;
        EXPECT_EQ(pictures[2].samples, pixels);
        EXPECT_EQ(pictures[2].picture.frameNumber, 65536u);
        EXPECT_EQ(pictures[2].picture.unixNanoseconds, 1'735'689'600'516'384'000u);
        EXPECT_TRUE(pictures[1].picture.hasMissingData);
        EXPECT_FALSE(pictures[2].picture.hasMissingData);
    }
}

constexpr const char *kFourBytes = R"({"width": 2, "height": 2, "bytes_per_sample": 1,
                                       "significant_bits": 8, "binning": [1, 1]})";

TEST_F(PictureReader, SaysWhatIsWrongWithARawFile)
{
    EXPECT_EQ(WhyNot("p.png"),
              "can't be read: only .raw files with a FILE.json beside them and .tif files are "
              "read.");
    EXPECT_EQ(WhyNot("p.raw"),
              "can't be read: there is no " + Path("p.raw") + ".json that describes it.");
    Write("p.raw.json", "{");
    EXPECT_EQ(WhyNot("p.raw"), "can't be read: its description is none of this tool's.");
    Write("p.raw.json", kFourBytes);
    EXPECT_EQ(WhyNot("p.raw"), "can't be read: No such file or directory.");
    Write("p.raw", "abc");
    EXPECT_EQ(WhyNot("p.raw"), "can't be read: it has 3 bytes of 4.");
    Write("p.raw.json", R"({"width": 2})");
    EXPECT_EQ(WhyNot("p.raw"), "can't be read: its description is none of this tool's.");
    Write("p.raw.json", R"({"frames": []})");
    EXPECT_EQ(WhyNot("p.raw"), "holds no picture.");
}

TEST_F(PictureReader, TakesNoSizesThatMakeNoPicture)
{
    Write("p.raw", "abcd");
    struct Change {
        const char *key;
        int value;
    };
    constexpr Change kChanges[] = {{"width", 0},
                                   {"width", 65537},
                                   {"height", 0},
                                   {"height", 65537},
                                   {"bytes_per_sample", 0},
                                   {"bytes_per_sample", 3},
                                   {"samples_per_pixel", 0},
                                   {"samples_per_pixel", 2},
                                   {"significant_bits", 0},
                                   {"significant_bits", 9}};
    for (const Change &change : kChanges) {
        auto json = nlohmann::json::parse(kFourBytes);
        json[change.key] = change.value;
        Write("p.raw.json", json.dump());
        EXPECT_EQ(WhyNot("p.raw"), "can't be read: its description makes no picture.")
            << change.key << " " << change.value;
    }
    Write("p.raw.json", kFourBytes);
    std::string error;
    EXPECT_EQ(ReadPictures(Path("p.raw"), &error).size(), 1u) << error;
}

TEST_F(PictureReader, ReadsTheTimesThatTheToolWrites)
{
    for (const uint64_t time :
         {uint64_t{0}, uint64_t{1'735'689'600'016'384'000}, uint64_t{1'709'251'199'999'999'000}}) {
        EXPECT_EQ(ParseIsoTime(IsoTime(time)), time);
        EXPECT_EQ(ParseIsoTime(IsoTime(time) + "Z"), time);
    }
    for (const char *text :
         {"", "today", "2025-13-01T00:00:00.000000", "2025-02-29T00:00:00.000000",
          "1969-12-31T00:00:00.000000", "2025-01-01T00:00:00"})
        EXPECT_EQ(ParseIsoTime(text), 0u) << text;
}

#if defined(ZERIX_TEST_ALL_FORMATS)

TEST_F(PictureReader, SaysWhatIsWrongWithATiffFile)
{
    Write("p.tif", "II and nothing behind");
    EXPECT_EQ(WhyNot("p.tif"), "can't be read: it is no TIFF file, or can't be opened.");
    EXPECT_EQ(WhyNot("none.tif"), "can't be read: it is no TIFF file, or can't be opened.");
    std::vector<uint8_t> pixels;
    const auto page = test::FrameOf(0, 64, 48, 1, pixels);
    ASSERT_EQ(WritePicture(Path("p.tif"), page), "");
    std::string bytes = test::Contents(Path("p.tif"));
    const auto width = bytes.find("\"width\": 64");
    ASSERT_NE(width, std::string::npos);
    Write("q.tif", std::string(bytes).replace(width, 11, "\"width\": 63"));
    EXPECT_EQ(WhyNot("q.tif"), "can't be read: its description is of another picture.");
    Write("q.tif", std::string(bytes).replace(width, 11, "\"width!: 63"));
    EXPECT_EQ(WhyNot("q.tif"), "can't be read: its description is none of this tool's.");
}

#endif

} // namespace
} // namespace zerix::tool

// Sequences of colour pictures: written, read back by the formats' libraries, and what is told of
// their samples.
#include "tools/writers/sequence.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/tools/sequence_readers.h"
#include "tests/tools/tool_fixture.h"
#include "tools/writers/picture_reader.h"

#if defined(ZERIX_TEST_ALL_FORMATS)
#include <fitsio.h>
#include <tiffio.h>
#endif

namespace zerix::tool {
namespace {

using test::Contents;
using test::DifferenceTo;
using test::FrameOf;
using test::ReadSequenceFile;

constexpr uint32_t kColours = 3;

class ColourSequences : public testing::Test {
protected:
    std::string Path(const std::string &ending) { return m_folder.Path() + "/s" + ending; }

    std::unique_ptr<SequenceWriter> Open(const std::string &ending)
    {
        std::string error;
        auto writer = OpenSequence(Path(ending), &error);
        EXPECT_NE(writer, nullptr) << error;
        return writer;
    }

    static void Append(SequenceWriter &writer, uint32_t index, uint32_t width, uint32_t height,
                       uint32_t bytes)
    {
        std::vector<uint8_t> pixels;
        ASSERT_EQ(writer.Append(FrameOf(index, width, height, bytes, pixels, kColours)), "");
    }

    void WriteFile(const std::string &ending, uint32_t frames, uint32_t width, uint32_t height,
                   uint32_t bytes)
    {
        const auto writer = Open(ending);
        for (uint32_t i = 0; i < frames; ++i)
            Append(*writer, i, width, height, bytes);
        EXPECT_EQ(writer->Finish(), "");
    }

    test::TemporaryFolder m_folder;
};

TEST_F(ColourSequences, KeepEverySampleOfEveryFrameAfterEachFrame)
{
    for (const auto &ending : test::ReadableEndings())
        for (const uint32_t bytes : {1u, 2u}) {
            SCOPED_TRACE(ending + " " + std::to_string(bytes));
            const auto writer = Open(ending);
            for (uint32_t i = 0; i < 4; ++i) {
                Append(*writer, i, 31, 17, bytes);
                EXPECT_EQ(DifferenceTo(ReadSequenceFile(Path(ending)), i + 1, 31, 17, bytes, 3),
                          "");
            }
            EXPECT_EQ(writer->Finish(), "");
            EXPECT_EQ(DifferenceTo(ReadSequenceFile(Path(ending)), 4, 31, 17, bytes, 3), "");
        }
}

// One of 24 x 6 in grey has as many samples a row as one of 8 x 6 in colour.
TEST_F(ColourSequences, TakeNoGreyFrameBehindAColourOne)
{
    for (const auto &ending : test::ReadableEndings()) {
        const auto writer = Open(ending);
        Append(*writer, 0, 8, 6, 2);
        std::vector<uint8_t> pixels;
        Picture grey = FrameOf(1, 24, 6, 2, pixels);
        grey.width = 8;
        grey.height = 18;
        EXPECT_EQ(writer->Append(grey), "a frame has not the first one's size");
        EXPECT_EQ(writer->Finish(), "");
        EXPECT_EQ(DifferenceTo(ReadSequenceFile(Path(ending)), 1, 8, 6, 2, 3), "") << ending;
    }
}

TEST_F(ColourSequences, RefuseWhatIsNeitherGreyNorThreeColoursOrCutShort)
{
    std::vector<uint8_t> pixels;
    Picture picture = FrameOf(0, 4, 2, 1, pixels, kColours);
    picture.samplesPerPixel = 2;
    EXPECT_EQ(Open(".ser")->Append(picture), "a frame has neither one sample a pixel nor three");
    picture.samplesPerPixel = 3;
    picture.pixels = picture.pixels.first(23);
    EXPECT_EQ(Open(".ser")->Append(picture), "a frame's pixels are not as many as its size tells");
}

TEST_F(ColourSequences, SerCallsThemRgb)
{
    WriteFile(".ser", 2, 3, 2, 2);
    const std::string bytes = Contents(Path(".ser"));
    ASSERT_EQ(bytes.size(), 178u + 2 * 36 + 2 * 8);
    EXPECT_EQ(bytes.substr(18, 4), std::string("\x64\0\0\0", 4)); // 100
    EXPECT_EQ(bytes.substr(34, 4), std::string("\x0C\0\0\0", 4)); // bits of a sample
}

TEST_F(ColourSequences, RawTellsTheSamplesAndIsReadAgain)
{
    WriteFile(".raw", 2, 3, 2, 2);
    const auto json = nlohmann::json::parse(Contents(Path(".raw") + ".json"));
    EXPECT_EQ(json["format"], "rgb48");
    EXPECT_EQ(json["samples_per_pixel"], 3);
    EXPECT_FALSE(json.contains("bayer_pattern"));
    std::string error;
    const auto pictures = ReadPictures(Path(".raw"), &error);
    ASSERT_EQ(pictures.size(), 2u) << error;
    std::vector<uint8_t> pixels;
    FrameOf(1, 3, 2, 2, pixels, kColours);
    EXPECT_EQ(pictures[1].samples, pixels);
    EXPECT_EQ(pictures[1].picture.samplesPerPixel, 3u);
    EXPECT_EQ(pictures[1].picture.frameNumber, 65535u);
}

#if defined(ZERIX_TEST_ALL_FORMATS)

TEST_F(ColourSequences, TiffTellsBitsAndRangeOfEachSample)
{
    for (const uint64_t limit : {kClassicTiffLimit, uint64_t{0}}) { // and as a BigTIFF
        const auto writer = MakeTiffSequence(Path(".tif"), false, limit);
        Append(*writer, 0, 3, 2, 2);
        Append(*writer, 1, 3, 2, 2);
        ASSERT_EQ(writer->Finish(), "");
        TIFF *tiff = TIFFOpen(Path(".tif").c_str(), "r");
        ASSERT_NE(tiff, nullptr);
        uint16_t samples = 0;
        uint16_t bits = 0;
        uint16_t largest = 0;
        uint64_t *sizes = nullptr;
        EXPECT_EQ(TIFFGetField(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples), 1);
        EXPECT_EQ(TIFFGetField(tiff, TIFFTAG_BITSPERSAMPLE, &bits), 1);
        EXPECT_EQ(TIFFGetField(tiff, TIFFTAG_MAXSAMPLEVALUE, &largest), 1);
        EXPECT_EQ(TIFFGetField(tiff, TIFFTAG_STRIPBYTECOUNTS, &sizes), 1);
        EXPECT_EQ(samples, 3);
        EXPECT_EQ(bits, 16);
        EXPECT_EQ(largest, 4095);
        EXPECT_EQ(sizes[0], 36u);
        TIFFClose(tiff);
        std::string error;
        const auto pictures = ReadPictures(Path(".tif"), &error);
        ASSERT_EQ(pictures.size(), 2u) << error;
        std::vector<uint8_t> pixels;
        FrameOf(1, 3, 2, 2, pixels, kColours);
        EXPECT_EQ(pictures[1].samples, pixels);
    }
}

TEST_F(ColourSequences, OmeTiffHasOneChannelOfThreeSamples)
{
    WriteFile(".ome.tif", 3, 3, 2, 1);
    TIFF *tiff = TIFFOpen(Path(".ome.tif").c_str(), "r");
    ASSERT_NE(tiff, nullptr);
    char *text = nullptr;
    ASSERT_EQ(TIFFGetField(tiff, TIFFTAG_IMAGEDESCRIPTION, &text), 1);
    const std::string xml = text;
    TIFFClose(tiff);
    for (const char *part :
         {"DimensionOrder=\"XYCZT\" Type=\"uint8\" SignificantBits=\"8\" Interleaved=\"true\" "
          "BigEndian=\"false\" SizeX=\"3\" SizeY=\"2\" SizeZ=\"1\" SizeC=\"3\" "
          "SizeT=\"0000000003\"",
          "<Channel ID=\"Channel:0:0\" SamplesPerPixel=\"3\">",
          "<TiffData IFD=\"0\" PlaneCount=\"3\"/>", "TheC=\"0\" TheT=\"2\""})
        EXPECT_NE(xml.find(part), std::string::npos) << part << "\n" << xml;
}

TEST_F(ColourSequences, FitsHasPlanesBeforeTheFrames)
{
    WriteFile(".fits", 2, 3, 2, 2);
    EXPECT_EQ(Contents(Path(".fits")).size() % 2880, 0u);
    fitsfile *file = nullptr;
    int status = 0;
    fits_open_diskfile(&file, Path(".fits").c_str(), READONLY, &status);
    int axes = 0;
    long size[4] = {};
    fits_get_img_dim(file, &axes, &status);
    fits_get_img_size(file, 4, size, &status);
    EXPECT_EQ(axes, 4);
    EXPECT_EQ(std::vector<long>(size, size + 4), (std::vector<long>{3, 2, 3, 2}));
    char text[80] = {};
    fits_read_key(file, TSTRING, "CTYPE3", text, nullptr, &status);
    EXPECT_STREQ(text, "RGB");
    // Green of the first pixel of the second frame: 1000 + 7 + 3.
    uint16_t green = 0;
    long at[4] = {1, 1, 2, 2};
    fits_read_pix(file, TUSHORT, at, 1, nullptr, &green, nullptr, &status);
    EXPECT_EQ(green, 1010);
    EXPECT_EQ(status, 0);
    fits_close_file(file, &status);
}

#endif

} // namespace
} // namespace zerix::tool

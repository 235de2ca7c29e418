// Sequences written to files and read back: pixels, pages, and what is told of each frame.
#include "tools/writers/sequence.h"

#include <gtest/gtest.h>

#include <filesystem>

#include <nlohmann/json.hpp>

#include "tests/tools/sequence_readers.h"
#include "tests/tools/tool_fixture.h"

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

void WriteFrames(SequenceWriter &writer, uint32_t frames, uint32_t width, uint32_t height,
                 uint32_t bytesPerSample)
{
    for (uint32_t i = 0; i < frames; ++i) {
        std::vector<uint8_t> pixels;
        ASSERT_EQ(writer.Append(FrameOf(i, width, height, bytesPerSample, pixels)), "");
    }
}

std::string WriteFile(const std::string &path, uint32_t frames, uint32_t width, uint32_t height,
                      uint32_t bytesPerSample)
{
    std::string error;
    const auto writer = OpenSequence(path, &error);
    if (writer == nullptr)
        return error;
    WriteFrames(*writer, frames, width, height, bytesPerSample);
    return writer->Finish();
}

TEST(Sequences, TouchNothingBeforeTheFirstFrame)
{
    for (const auto &format : SequenceFormats()) {
        const test::TemporaryFolder folder;
        const std::string name = "s" + format.endings.front();
        const std::string path = folder.Path() + "/" + name;
        std::string error;
        ASSERT_NE(OpenSequence(path, &error), nullptr) << error;
        EXPECT_TRUE(std::filesystem::is_empty(folder.Path())) << format.name;
        folder.Write(name, "old");
        folder.Write(name + ".json", "older");
        {
            const auto writer = OpenSequence(path, &error);
            ASSERT_NE(writer, nullptr) << error;
            EXPECT_EQ(writer->Finish(), "");
        }
        EXPECT_EQ(folder.Read(name), "old") << format.name;
        EXPECT_EQ(folder.Read(name + ".json"), "older") << format.name;
    }
}

TEST(Sequences, ThatCannotBeWrittenAreFoundBeforeTheFirstFrame)
{
    const test::TemporaryFolder folder;
    const std::string text = folder.Write("text", "");
    for (const auto &format : SequenceFormats()) {
        const std::string name = "/s" + format.endings.front();
        std::string error;
        EXPECT_EQ(OpenSequence(text + name, &error), nullptr);
        EXPECT_EQ(error, text + name + " can't be written: Not a directory.");
        std::filesystem::create_directory(folder.Path() + name);
        EXPECT_EQ(OpenSequence(folder.Path() + name, &error), nullptr);
        EXPECT_EQ(error, folder.Path() + name + " can't be written: Is a directory.");
    }
}

TEST(Sequences, KeepEveryPixelOfEveryFrame)
{
    const test::TemporaryFolder folder;
    for (const auto &ending : test::ReadableEndings()) {
        for (const uint32_t bytes : {1u, 2u}) {
            const std::string path = folder.Path() + "/s" + ending;
            ASSERT_EQ(WriteFile(path, 5, 31, 17, bytes), "");
            EXPECT_EQ(DifferenceTo(ReadSequenceFile(path), 5, 31, 17, bytes), "")
                << ending << " " << bytes;
            ASSERT_EQ(WriteFile(path, 1, 3, 2, bytes), "");
            EXPECT_EQ(DifferenceTo(ReadSequenceFile(path), 1, 3, 2, bytes), "")
                << "an existing file is replaced: " << ending;
        }
    }
}

// What is left when the program is killed: all frames so far.
TEST(Sequences, AreWholeAfterEveryFrame)
{
    const test::TemporaryFolder folder;
    for (const auto &ending : test::ReadableEndings()) {
        const std::string path = folder.Path() + "/s" + ending;
        std::string error;
        const auto writer = OpenSequence(path, &error);
        ASSERT_NE(writer, nullptr) << error;
        for (uint32_t i = 0; i < 4; ++i) {
            std::vector<uint8_t> pixels;
            ASSERT_EQ(writer->Append(FrameOf(i, 31, 17, 2, pixels)), "");
            EXPECT_EQ(DifferenceTo(ReadSequenceFile(path), i + 1, 31, 17, 2), "") << ending;
            EXPECT_EQ(writer->Frames(), i + 1);
        }
    }
}

TEST(Sequences, OfNoFrameLeaveNoFile)
{
    const test::TemporaryFolder folder;
    for (const auto &format : SequenceFormats()) {
        std::string error;
        const auto writer = OpenSequence(folder.Path() + "/s" + format.endings.front(), &error);
        ASSERT_NE(writer, nullptr) << error;
        EXPECT_EQ(writer->Finish(), "");
        EXPECT_TRUE(std::filesystem::is_empty(folder.Path())) << format.name;
    }
}

TEST(Sequences, RefuseAFrameOfAnotherSizeAndKeepThoseBefore)
{
    const test::TemporaryFolder folder;
    for (const auto &ending : test::ReadableEndings()) {
        const std::string path = folder.Path() + "/s" + ending;
        std::string error;
        const auto writer = OpenSequence(path, &error);
        WriteFrames(*writer, 2, 8, 6, 2);
        std::vector<uint8_t> pixels;
        EXPECT_EQ(writer->Append(FrameOf(2, 6, 8, 2, pixels)),
                  "a frame has not the first one's size");
        Picture colours = FrameOf(2, 8, 6, 2, pixels);
        pixels.resize(pixels.size() * 3);
        colours.pixels = pixels;
        EXPECT_NE(writer->Append(colours), "") << "takes no more";
        EXPECT_EQ(writer->Frames(), 2u);
        EXPECT_EQ(writer->Finish(), "");
        EXPECT_EQ(DifferenceTo(ReadSequenceFile(path), 2, 8, 6, 2), "") << ending;
    }
}

TEST(Sequences, AnUnknownEndingListsTheKnownOnes)
{
    std::string error;
    EXPECT_EQ(SequenceFormatOfFile("x.png", &error), nullptr);
    EXPECT_EQ(error, "x.png: a sequence of frames goes to a file that ends in one of .ome.tif, "
                     ".ome.tiff, .tif, .tiff, .fits, .fit, .ser, .raw.");
    EXPECT_EQ(SequenceFormatOfFile("A.OME.TIF", &error)->name, "OME-TIFF");
    EXPECT_EQ(SequenceFormatOfFile("a.tif", &error)->name, "TIFF");
    EXPECT_EQ(OpenSequence("/nowhere/x.ser", &error), nullptr);
    EXPECT_EQ(error, "/nowhere/x.ser can't be written: No such file or directory.");
}

TEST(SerSequence, HasTheHeaderAndTheTimesOfVersion3)
{
    const test::TemporaryFolder folder;
    const std::string path = folder.Path() + "/s.ser";
    ASSERT_EQ(WriteFile(path, 3, 3, 2, 2), "");
    const std::string bytes = Contents(path);
    ASSERT_EQ(bytes.size(), 178u + 3 * 12 + 3 * 8);
    const auto number = [&](size_t at, size_t size) {
        uint64_t value = 0;
        for (size_t i = 0; i < size; ++i)
            value |= uint64_t{static_cast<uint8_t>(bytes[at + i])} << (8 * i);
        return value;
    };
    EXPECT_EQ(bytes.substr(0, 14), "LUCAM-RECORDER");
    EXPECT_EQ(number(18, 4), 9u) << "GRBG";
    EXPECT_EQ(number(22, 4), 0u) << "little-endian";
    EXPECT_EQ(number(26, 4), 3u);
    EXPECT_EQ(number(30, 4), 2u);
    EXPECT_EQ(number(34, 4), 12u) << "bits";
    EXPECT_EQ(number(38, 4), 3u) << "frames";
    EXPECT_EQ(bytes.substr(82, 40), "Astrel C2 A-123                         ");
    // 2025-01-01 is day 739251 since 0001-01-01, in ticks of 100 ns; and 16.384 ms.
    const uint64_t start = 739'251ull * 86'400 * 10'000'000 + 163'840;
    EXPECT_EQ(number(162, 8), start);
    EXPECT_EQ(number(170, 8), start);
    for (size_t i = 0; i < 3; ++i)
        EXPECT_EQ(number(178 + 36 + 8 * i, 8), start + i * 2'500'000);
}

TEST(SerSequence, KeepsItsMarkOfBytesWith8Bits)
{
    const test::TemporaryFolder folder;
    const std::string path = folder.Path() + "/s.ser";
    ASSERT_EQ(WriteFile(path, 1, 3, 2, 1), "");
    EXPECT_EQ(Contents(path)[22], 1);
}

TEST(RawSequence, DescribesEveryFrameBesideIt)
{
    const test::TemporaryFolder folder;
    const std::string path = folder.Path() + "/s.raw";
    ASSERT_EQ(WriteFile(path, 3, 3, 2, 2), "");
    EXPECT_EQ(std::filesystem::file_size(path), 36u);
    const auto json = nlohmann::json::parse(Contents(path + ".json"));
    EXPECT_EQ(json["camera"], "Astrel C2");
    EXPECT_EQ(json["serial"], "A-123");
    EXPECT_EQ(json["significant_bits"], 12);
    EXPECT_EQ(json["bayer_pattern"], "GRBG");
    EXPECT_EQ(json["binning"], nlohmann::json::array({2, 2}));
    EXPECT_EQ(json["set_temperature_c"], -25);
    ASSERT_EQ(json["frames"].size(), 3u);
    EXPECT_EQ(json["frames"][2]["time"], "2025-01-01T00:00:00.516384Z");
    EXPECT_EQ(json["frames"][2]["time_unix_ns"], 1'735'689'600'516'384'000);
    EXPECT_EQ(json["frames"][2]["exposure_ns"], 16'384'000);
    EXPECT_EQ(json["frames"][2]["gain"], 1.5);
    EXPECT_EQ(json["frames"][2]["frame_number"], 65536);
    EXPECT_EQ(json["frames"][1]["missing_data"], true);
    EXPECT_EQ(json["frames"][2]["missing_data"], false);
}

#if defined(ZERIX_TEST_ALL_FORMATS)

// A page's description, or another of its texts.
std::string TextOfPage(const std::string &path, uint32_t page, uint32_t tag)
{
    TIFF *tiff = TIFFOpen(path.c_str(), "r");
    char *text = nullptr;
    if (tiff == nullptr || TIFFSetDirectory(tiff, static_cast<tdir_t>(page)) == 0 ||
        TIFFGetField(tiff, tag, &text) == 0)
        return "no such text";
    const std::string result = text;
    TIFFClose(tiff);
    return result;
}

bool IsBigTiff(const std::string &path)
{
    const std::string start = Contents(path).substr(0, 4);
    EXPECT_EQ(start.substr(0, 2), "II");
    return start[2] == 43;
}

TEST(TiffSequence, DescribesEachFrameOnItsPage)
{
    const test::TemporaryFolder folder;
    const std::string path = folder.Path() + "/s.tif";
    ASSERT_EQ(WriteFile(path, 3, 3, 2, 2), "");
    EXPECT_FALSE(IsBigTiff(path));
    for (uint32_t page = 0; page < 3; ++page) {
        const auto json = nlohmann::json::parse(TextOfPage(path, page, TIFFTAG_IMAGEDESCRIPTION));
        EXPECT_EQ(json["frame_number"], 65534 + page);
        EXPECT_EQ(json["exposure_ns"], 16'384'000);
        EXPECT_EQ(json["gain"], 1.5);
        EXPECT_EQ(json["missing_data"], page == 1);
        EXPECT_EQ(TextOfPage(path, page, TIFFTAG_DATETIME), "2025:01:01 00:00:00");
        EXPECT_EQ(TextOfPage(path, page, TIFFTAG_MODEL), "Astrel C2");
        EXPECT_EQ(TextOfPage(path, page, TIFFTAG_CAMERASERIALNUMBER), "A-123");
        EXPECT_EQ(TextOfPage(path, page, TIFFTAG_SOFTWARE), "zerix");
    }
}

// At every limit the file changes its form at another place: before the first page, between pages,
// at the end. The texts that stand in their entries differ between the forms.
TEST(TiffSequence, BecomesABigTiffWhereverItOutgrowsTheClassicForm)
{
    const test::TemporaryFolder folder;
    for (const bool isOme : {false, true}) {
        for (uint64_t limit = 0; limit < 12'000; limit += 700) {
            const std::string path = folder.Path() + "/s.tif";
            const auto writer = MakeTiffSequence(path, isOme, limit);
            for (uint32_t i = 0; i < 6; ++i) {
                std::vector<uint8_t> pixels;
                Picture frame = FrameOf(i, 16, 15, 2, pixels);
                frame.cameraModel = "C2";
                ASSERT_EQ(writer->Append(frame), "");
                ASSERT_EQ(DifferenceTo(ReadSequenceFile(path), i + 1, 16, 15, 2), "")
                    << limit << " " << i;
            }
            ASSERT_EQ(writer->Finish(), "");
            EXPECT_EQ(DifferenceTo(ReadSequenceFile(path), 6, 16, 15, 2), "") << limit;
            EXPECT_EQ(TextOfPage(path, 5, TIFFTAG_MODEL), "C2");
            EXPECT_EQ(TextOfPage(path, 5, TIFFTAG_CAMERASERIALNUMBER), "A-123");
            if (std::filesystem::file_size(path) > limit) {
                EXPECT_TRUE(IsBigTiff(path)) << limit;
            }
        }
    }
}

// Elements closed in their order; no checker of a schema is at hand.
std::string WhyNotWellFormed(const std::string &xml)
{
    std::vector<std::string> open;
    size_t at = 0;
    while ((at = xml.find('<', at)) != std::string::npos) {
        const size_t end = xml.find('>', at);
        if (end == std::string::npos)
            return "a tag has no end";
        const std::string tag = xml.substr(at + 1, end - at - 1);
        at = end;
        if (tag.starts_with("?") || tag.ends_with("/"))
            continue;
        if (!tag.starts_with("/")) {
            open.push_back(tag.substr(0, tag.find(' ')));
            continue;
        }
        if (open.empty() || "/" + open.back() != tag)
            return tag;
        open.pop_back();
    }
    return open.empty() ? "" : open.back();
}

TEST(OmeTiffSequence, DescribesAllFramesOnTheFirstPage)
{
    const test::TemporaryFolder folder;
    const std::string path = folder.Path() + "/s.ome.tif";
    ASSERT_EQ(WriteFile(path, 3, 3, 2, 2), "");
    const std::string xml = TextOfPage(path, 0, TIFFTAG_IMAGEDESCRIPTION);
    EXPECT_EQ(WhyNotWellFormed(xml), "") << xml;
    for (const char *part :
         {"<OME xmlns=\"http://www.openmicroscopy.org/Schemas/OME/2016-06\"",
          "Model=\"Astrel C2\" SerialNumber=\"A-123\"",
          "<AcquisitionDate>2025-01-01T00:00:00.016384Z</AcquisitionDate>",
          "Type=\"uint16\" SignificantBits=\"12\" BigEndian=\"false\" SizeX=\"3\" SizeY=\"2\" "
          "SizeZ=\"1\" SizeC=\"1\" SizeT=\"0000000003\"",
          "Gain=\"1.5\" Binning=\"2x2\"", "<TiffData IFD=\"0\" PlaneCount=\"3\"/>",
          "TheT=\"2\" DeltaT=\"0.500000000\" DeltaTUnit=\"s\" ExposureTime=\"0.016384000\"",
          "<M K=\"time\">2025-01-01T00:00:00.516384Z</M>", "<M K=\"frame_number\">65536</M>",
          "<M K=\"bayer_pattern\">GRBG</M>", "<M K=\"set_temperature_c\">-25</M>"})
        EXPECT_NE(xml.find(part), std::string::npos) << part;
    const auto json = nlohmann::json::parse(TextOfPage(path, 1, TIFFTAG_IMAGEDESCRIPTION));
    EXPECT_EQ(json["frame_number"], 65535) << "the other pages speak for themselves";
}

TEST(OmeTiffSequence, CountsItsFramesUntilItIsFinished)
{
    const test::TemporaryFolder folder;
    const std::string path = folder.Path() + "/s.ome.tif";
    std::string error;
    const auto writer = OpenSequence(path, &error);
    WriteFrames(*writer, 12, 3, 2, 2);
    const std::string xml = TextOfPage(path, 0, TIFFTAG_IMAGEDESCRIPTION);
    EXPECT_EQ(WhyNotWellFormed(xml), "") << xml;
    EXPECT_NE(xml.find("SizeT=\"0000000012\""), std::string::npos) << xml;
    EXPECT_NE(xml.find("<TiffData/>"), std::string::npos);
}

TEST(OmeTiffSequence, EscapesWhatACameraSaysOfItself)
{
    const test::TemporaryFolder folder;
    const std::string path = folder.Path() + "/s.ome.tif";
    std::string error;
    const auto writer = OpenSequence(path, &error);
    std::vector<uint8_t> pixels;
    Picture frame = FrameOf(0, 3, 2, 1, pixels);
    frame.serialNumber = "<\"A&B\">\x01\xFF";
    ASSERT_EQ(writer->Append(frame), "");
    ASSERT_EQ(writer->Finish(), "");
    const std::string xml = TextOfPage(path, 0, TIFFTAG_IMAGEDESCRIPTION);
    EXPECT_NE(xml.find("SerialNumber=\"&lt;&quot;A&amp;B&quot;&gt;??\""), std::string::npos) << xml;
    EXPECT_EQ(WhyNotWellFormed(xml), "");
}

TEST(FitsSequence, DescribesTheCubeAndEachFrameInATable)
{
    const test::TemporaryFolder folder;
    const std::string path = folder.Path() + "/s.fits";
    ASSERT_EQ(WriteFile(path, 3, 3, 2, 2), "");
    EXPECT_EQ(std::filesystem::file_size(path) % 2880, 0u);
    fitsfile *file = nullptr;
    int status = 0;
    fits_open_diskfile(&file, path.c_str(), READONLY, &status);
    char text[80] = {};
    double real = 0;
    fits_read_key(file, TSTRING, "DATE-OBS", text, nullptr, &status);
    EXPECT_STREQ(text, "2025-01-01T00:00:00.016384");
    fits_read_key(file, TSTRING, "INSTRUME", text, nullptr, &status);
    EXPECT_STREQ(text, "Astrel C2");
    fits_read_key(file, TSTRING, "BAYERPAT", text, nullptr, &status);
    EXPECT_STREQ(text, "GRBG");
    fits_read_key(file, TDOUBLE, "EXPTIME", &real, nullptr, &status);
    EXPECT_DOUBLE_EQ(real, 0.016384);
    fits_read_key(file, TDOUBLE, "SET-TEMP", &real, nullptr, &status);
    EXPECT_DOUBLE_EQ(real, -25);
    char name[] = "FRAMES";
    fits_movnam_hdu(file, BINARY_TBL, name, 0, &status);
    ASSERT_EQ(status, 0);
    long rows = 0;
    fits_get_num_rows(file, &rows, &status);
    EXPECT_EQ(rows, 3);
    const auto real3 = [&](int column) {
        double value = 0;
        fits_read_col(file, TDOUBLE, column, 3, 1, 1, nullptr, &value, nullptr, &status);
        return value;
    };
    EXPECT_EQ(real3(1), 65536);
    EXPECT_EQ(real3(3), 0.5);
    EXPECT_DOUBLE_EQ(real3(4), 0.016384);
    EXPECT_EQ(real3(5), 1.5);
    char *date = text;
    fits_read_col(file, TSTRING, 2, 3, 1, 1, nullptr, &date, nullptr, &status);
    EXPECT_STREQ(text, "2025-01-01T00:00:00.516384");
    char missing[3] = {};
    fits_read_col(file, TLOGICAL, 6, 1, 1, 3, nullptr, missing, nullptr, &status);
    EXPECT_EQ(std::string(missing, 3), std::string("\0\1\0", 3));
    EXPECT_EQ(status, 0);
    fits_close_file(file, &status);
}

#endif

} // namespace
} // namespace zerix::tool

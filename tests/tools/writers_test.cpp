// Pictures written to files and read back by the libraries of their formats.
#include "tools/writers/picture.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <nlohmann/json.hpp>

#include "tests/support/temporary_folder.h"

#if defined(ZERIX_TEST_ALL_FORMATS)
#include <fitsio.h>
#include <png.h>
#include <tiffio.h>
#endif

namespace zerix::tool {
namespace {

// Two rows of three 12-bit samples.
constexpr uint8_t kPixels16[] = {0x01, 0x00, 0xFF, 0x0F, 0x34, 0x02,
                                 0x00, 0x08, 0x0A, 0x00, 0x07, 0x01};
constexpr uint8_t kPixels8[] = {1, 2, 3, 250, 251, 252};

Picture SixPixels(std::span<const uint8_t> pixels, uint32_t bytes, uint32_t bits)
{
    Picture picture;
    picture.pixels = pixels;
    picture.width = 3;
    picture.height = 2;
    picture.bytesPerSample = bytes;
    picture.significantBits = bits;
    picture.cameraModel = "Astrel C2";
    picture.serialNumber = "A-123";
    picture.exposureNanoseconds = 16'384'000;
    picture.gain = 1.5;
    picture.horizontalBinning = 2;
    picture.verticalBinning = 4;
    picture.setTemperatureCelsius = -25;
    picture.unixNanoseconds = 1'735'689'600'016'384'000; // 2025-01-01 00:00:00.016384 UTC
    picture.frameNumber = 7;
    picture.bayerPattern = "GRBG";
    return picture;
}

std::string Contents(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

TEST(PictureTime, IsWrittenAsIsoInUtc)
{
    EXPECT_EQ(IsoTime(0), "1970-01-01T00:00:00.000000");
    EXPECT_EQ(IsoTime(1'735'689'600'016'384'000), "2025-01-01T00:00:00.016384");
    EXPECT_EQ(IsoTime(1'709'251'199'999'999'999), "2024-02-29T23:59:59.999999");
}

TEST(PictureFormats, AnUnknownEndingListsTheKnownOnes)
{
    std::string error;
    EXPECT_EQ(FormatOfFile("x.bmp", &error), nullptr);
    EXPECT_TRUE(error.starts_with("x.bmp: the ending \".bmp\" is no picture format that the tool "
                                  "knows; known endings are "))
        << error;
    EXPECT_NE(error.find(".raw"), std::string::npos);
}

TEST(PictureFormats, EndingsDoNotCareAboutCase)
{
    std::string error;
    ASSERT_NE(FormatOfFile("A.RAW", &error), nullptr);
    EXPECT_EQ(FormatOfFile("A.RAW", &error)->name, "raw");
}

TEST(RawWriter, WritesTheSamplesAndTheMetadataBesideThem)
{
    const test::TemporaryFolder folder;
    const std::string path = folder.Path() + "/p.raw";
    ASSERT_EQ(WritePicture(path, SixPixels(kPixels16, 2, 12)), "");
    EXPECT_EQ(Contents(path), std::string(reinterpret_cast<const char *>(kPixels16), 12));
    const auto json = nlohmann::json::parse(Contents(path + ".json"));
    EXPECT_EQ(json["camera"], "Astrel C2");
    EXPECT_EQ(json["serial"], "A-123");
    EXPECT_EQ(json["time"], "2025-01-01T00:00:00.016384Z");
    EXPECT_EQ(json["exposure_ns"], 16'384'000);
    EXPECT_EQ(json["gain"], 1.5);
    EXPECT_EQ(json["binning"], nlohmann::json::array({2, 4}));
    EXPECT_EQ(json["set_temperature_c"], -25);
    EXPECT_EQ(json["width"], 3);
    EXPECT_EQ(json["height"], 2);
    EXPECT_EQ(json["significant_bits"], 12);
    EXPECT_EQ(json["bayer_pattern"], "GRBG");
    EXPECT_EQ(json["missing_data"], false);
}

TEST(PictureWriting, SaysWhyItCannotAndLeavesNoHalfFile)
{
    const test::TemporaryFolder folder;
    for (const auto &format : PictureFormats()) {
        if (!format.available)
            continue;
        const std::string path = folder.Path() + "/missing/p" + format.endings.front();
        const std::string error = WritePicture(path, SixPixels(kPixels8, 1, 8));
        EXPECT_TRUE(error.starts_with(path + " can't be written: ")) << error;
        EXPECT_GT(error.size(), path.size() + 22) << error;
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

TEST(PictureWriting, ATargetThatIsAFolderLeavesNoTemporaryFile)
{
    const test::TemporaryFolder folder;
    const std::string path = folder.Path() + "/p.raw";
    std::filesystem::create_directories(path + "/inside");
    EXPECT_TRUE(
        WritePicture(path, SixPixels(kPixels8, 1, 8)).starts_with(path + " can't be written: "));
    int entries = 0;
    for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator(folder.Path()))
        ++entries;
    EXPECT_EQ(entries, 1);
}

#if defined(ZERIX_TEST_ALL_FORMATS)

TEST(PictureWriting, AFullDiskIsToldByEveryFormat)
{
    for (const auto &format : PictureFormats()) {
        const std::string error = format.write("/dev/full", SixPixels(kPixels8, 1, 8));
        EXPECT_NE(error, "") << format.name;
    }
}

TEST(PictureMetadata, IsJsonWhateverBytesACameraHasForItsName)
{
    Picture picture = SixPixels(kPixels8, 1, 8);
    picture.serialNumber = "a\xFF"
                           "b";
    const auto json = nlohmann::json::parse(MetadataJson(picture));
    EXPECT_EQ(json["serial"], "a\xEF\xBF\xBD"
                              "b");
}

TEST(PngWriter, FillsTheRangeAndSaysHowManyBitsAreReal)
{
    const test::TemporaryFolder folder;
    const std::string path = folder.Path() + "/p.png";
    ASSERT_EQ(WritePicture(path, SixPixels(kPixels16, 2, 12)), "");
    std::FILE *file = std::fopen(path.c_str(), "rb");
    ASSERT_NE(file, nullptr);
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_read_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
    EXPECT_EQ(png_get_image_width(png, info), 3u);
    EXPECT_EQ(png_get_image_height(png, info), 2u);
    EXPECT_EQ(png_get_bit_depth(png, info), 16);
    png_color_8p bits = nullptr;
    ASSERT_NE(png_get_sBIT(png, info, &bits), 0u);
    EXPECT_EQ(bits->gray, 12);
    const png_bytepp rows = png_get_rows(png, info);
    // 0x001, 0xFFF, 0x234 shifted up by 4, big-endian.
    EXPECT_EQ(std::vector<uint8_t>(rows[0], rows[0] + 6),
              (std::vector<uint8_t>{0x00, 0x10, 0xFF, 0xF0, 0x23, 0x40}));
    png_textp texts = nullptr;
    int count = 0;
    png_get_text(png, info, &texts, &count);
    std::string exposure;
    for (int i = 0; i < count; ++i)
        if (std::string(texts[i].key) == "Exposure")
            exposure = texts[i].text;
    EXPECT_EQ(exposure, "0.016384000 s");
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);
}

TEST(TiffWriter, KeepsTheSamplesAndTheMetadata)
{
    const test::TemporaryFolder folder;
    const std::string path = folder.Path() + "/p.tif";
    ASSERT_EQ(WritePicture(path, SixPixels(kPixels16, 2, 12)), "");
    TIFF *tiff = TIFFOpen(path.c_str(), "r");
    ASSERT_NE(tiff, nullptr);
    uint16_t row[3] = {};
    ASSERT_EQ(TIFFReadScanline(tiff, row, 0, 0), 1);
    EXPECT_EQ(row[0], 0x001);
    EXPECT_EQ(row[1], 0xFFF);
    EXPECT_EQ(row[2], 0x234);
    char *text = nullptr;
    ASSERT_EQ(TIFFGetField(tiff, TIFFTAG_DATETIME, &text), 1);
    EXPECT_STREQ(text, "2025:01:01 00:00:00");
    ASSERT_EQ(TIFFGetField(tiff, TIFFTAG_IMAGEDESCRIPTION, &text), 1);
    EXPECT_EQ(nlohmann::json::parse(text)["exposure_ns"], 16'384'000);
    ASSERT_EQ(TIFFGetField(tiff, TIFFTAG_MODEL, &text), 1);
    EXPECT_STREQ(text, "Astrel C2");
    TIFFClose(tiff);
}

TEST(FitsWriter, KeepsTheSamplesAndTheKeywords)
{
    const test::TemporaryFolder folder;
    const std::string path = folder.Path() + "/p.fits";
    ASSERT_EQ(WritePicture(path, SixPixels(kPixels16, 2, 12)), "");
    ASSERT_EQ(WritePicture(path, SixPixels(kPixels16, 2, 12)), "")
        << "an existing file is replaced";
    fitsfile *file = nullptr;
    int status = 0;
    fits_open_diskfile(&file, path.c_str(), READONLY, &status);
    uint16_t pixels[6] = {};
    long first[2] = {1, 1};
    fits_read_pix(file, TUSHORT, first, 6, nullptr, pixels, nullptr, &status);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(pixels[1], 0xFFF);
    EXPECT_EQ(pixels[3], 0x800);
    double exposure = 0;
    fits_read_key(file, TDOUBLE, "EXPTIME", &exposure, nullptr, &status);
    EXPECT_DOUBLE_EQ(exposure, 0.016384);
    char text[80] = {};
    fits_read_key(file, TSTRING, "DATE-OBS", text, nullptr, &status);
    EXPECT_STREQ(text, "2025-01-01T00:00:00.016384");
    fits_read_key(file, TSTRING, "BAYERPAT", text, nullptr, &status);
    EXPECT_STREQ(text, "GRBG");
    double temperature = 0;
    fits_read_key(file, TDOUBLE, "SET-TEMP", &temperature, nullptr, &status);
    EXPECT_DOUBLE_EQ(temperature, -25);
    EXPECT_EQ(status, 0);
    fits_close_file(file, &status);
}

#endif

} // namespace
} // namespace zerix::tool

// Colour pictures in the files of single pictures, read back by the libraries of their formats.
#include "tools/writers/picture.h"

#include <gtest/gtest.h>

#include <cstdio>

#include <nlohmann/json.hpp>

#include "tests/tools/tool_fixture.h"

#if defined(ZERIX_TEST_ALL_FORMATS)
#include <fitsio.h>
#include <png.h>
#include <tiffio.h>
#endif

namespace zerix::tool {
namespace {

using Bytes = std::vector<uint8_t>;

// Two pixels a row, two rows: red, green, blue of 8 bits, and of 12 bits in words.
constexpr uint8_t kPixels8[] = {1, 2, 3, 11, 12, 13, 21, 22, 23, 251, 252, 253};
constexpr uint16_t kPixels12[] = {0x001, 0x002, 0x003, 0x011, 0x012, 0x013,
                                  0x021, 0x022, 0x023, 0xFFF, 0x800, 0x234};

Picture FourPixels(bool isWide)
{
    static const Bytes words = [] {
        Bytes bytes;
        for (const uint16_t sample : kPixels12) {
            bytes.push_back(static_cast<uint8_t>(sample));
            bytes.push_back(static_cast<uint8_t>(sample >> 8));
        }
        return bytes;
    }();
    Picture picture;
    picture.pixels = isWide ? std::span<const uint8_t>(words) : std::span(kPixels8);
    picture.width = picture.height = 2;
    picture.samplesPerPixel = 3;
    picture.bytesPerSample = isWide ? 2 : 1;
    picture.significantBits = isWide ? 12 : 8;
    picture.cameraModel = "Astrel C2";
    picture.exposureNanoseconds = 16'384'000;
    return picture;
}

class ColourWriters : public testing::Test {
protected:
    std::string Written(const std::string &name, bool isWide)
    {
        const std::string path = m_folder.Path() + "/" + name;
        EXPECT_EQ(WritePicture(path, FourPixels(isWide)), "");
        return path;
    }

    test::TemporaryFolder m_folder;
};

TEST_F(ColourWriters, RawHasTheSamplesAsTheyAre)
{
    const std::string path = Written("p.raw", true);
    const std::string bytes = test::Contents(path);
    ASSERT_EQ(bytes.size(), 24u);
    EXPECT_EQ(bytes.substr(18), std::string("\xFF\x0F\x00\x08\x34\x02", 6));
    const auto json = nlohmann::json::parse(test::Contents(path + ".json"));
    EXPECT_EQ(json["format"], "rgb48");
    EXPECT_EQ(json["samples_per_pixel"], 3);
    EXPECT_EQ(json["bytes_per_sample"], 2);
    EXPECT_FALSE(json.contains("bayer_pattern"));
}

#if defined(ZERIX_TEST_ALL_FORMATS)

TEST_F(ColourWriters, TiffHasThreeSamplesAPixel)
{
    for (const bool isWide : {false, true}) {
        TIFF *tiff = TIFFOpen(Written("p.tif", isWide).c_str(), "r");
        ASSERT_NE(tiff, nullptr);
        uint16_t samples = 0;
        uint16_t bits = 0;
        uint16_t photometric = 0;
        uint16_t planar = 0;
        uint16_t largest = 0;
        TIFFGetField(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
        TIFFGetField(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
        TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric);
        TIFFGetField(tiff, TIFFTAG_PLANARCONFIG, &planar);
        TIFFGetField(tiff, TIFFTAG_MAXSAMPLEVALUE, &largest);
        EXPECT_EQ(samples, 3);
        EXPECT_EQ(bits, isWide ? 16 : 8);
        EXPECT_EQ(photometric, PHOTOMETRIC_RGB);
        EXPECT_EQ(planar, PLANARCONFIG_CONTIG);
        EXPECT_EQ(largest, isWide ? 4095 : 255);
        uint16_t words[6] = {};
        uint8_t bytes[6] = {};
        if (isWide) {
            ASSERT_EQ(TIFFReadScanline(tiff, words, 1, 0), 1);
            EXPECT_EQ(std::vector<uint16_t>(words, words + 6),
                      (std::vector<uint16_t>{0x021, 0x022, 0x023, 0xFFF, 0x800, 0x234}));
        } else {
            ASSERT_EQ(TIFFReadScanline(tiff, bytes, 1, 0), 1);
            EXPECT_EQ(Bytes(bytes, bytes + 6), (Bytes{21, 22, 23, 251, 252, 253}));
        }
        char *text = nullptr;
        ASSERT_EQ(TIFFGetField(tiff, TIFFTAG_IMAGEDESCRIPTION, &text), 1);
        EXPECT_EQ(nlohmann::json::parse(text)["format"], isWide ? "rgb48" : "rgb24");
        TIFFClose(tiff);
    }
}

// Words fill the range, and each colour says how many of its bits are real.
TEST_F(ColourWriters, PngIsTrueColour)
{
    for (const bool isWide : {false, true}) {
        std::FILE *file = std::fopen(Written("p.png", isWide).c_str(), "rb");
        ASSERT_NE(file, nullptr);
        png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
        png_infop info = png_create_info_struct(png);
        png_init_io(png, file);
        png_read_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
        EXPECT_EQ(png_get_color_type(png, info), PNG_COLOR_TYPE_RGB);
        EXPECT_EQ(png_get_bit_depth(png, info), isWide ? 16 : 8);
        png_color_8p bits = nullptr;
        ASSERT_NE(png_get_sBIT(png, info, &bits), 0u);
        for (const png_byte each : {bits->red, bits->green, bits->blue})
            EXPECT_EQ(each, isWide ? 12 : 8);
        double gamma = 0;
        EXPECT_NE(png_get_gAMA(png, info, &gamma), 0u);
        EXPECT_EQ(gamma, 1.0);
        const png_bytep row = png_get_rows(png, info)[1];
        if (isWide)
            EXPECT_EQ(Bytes(row + 6, row + 12), (Bytes{0xFF, 0xF0, 0x80, 0x00, 0x23, 0x40}));
        else
            EXPECT_EQ(Bytes(row, row + 6), (Bytes{21, 22, 23, 251, 252, 253}));
        png_destroy_read_struct(&png, &info, nullptr);
        std::fclose(file);
    }
}

TEST_F(ColourWriters, FitsHasThreePlanes)
{
    for (const bool isWide : {false, true}) {
        fitsfile *file = nullptr;
        int status = 0;
        fits_open_diskfile(&file, Written("p.fits", isWide).c_str(), READONLY, &status);
        int axes = 0;
        long size[3] = {};
        fits_get_img_dim(file, &axes, &status);
        fits_get_img_size(file, 3, size, &status);
        EXPECT_EQ(axes, 3);
        EXPECT_EQ(std::vector<long>(size, size + 3), (std::vector<long>{2, 2, 3}));
        std::vector<uint16_t> planes(12);
        long first[3] = {1, 1, 1};
        fits_read_pix(file, TUSHORT, first, 12, nullptr, planes.data(), nullptr, &status);
        const std::vector<uint16_t> words{0x001, 0x011, 0x021, 0xFFF, 0x002, 0x012,
                                          0x022, 0x800, 0x003, 0x013, 0x023, 0x234};
        const std::vector<uint16_t> bytes{1, 11, 21, 251, 2, 12, 22, 252, 3, 13, 23, 253};
        EXPECT_EQ(planes, isWide ? words : bytes);
        char text[80] = {};
        fits_read_key(file, TSTRING, "CTYPE3", text, nullptr, &status);
        EXPECT_STREQ(text, "RGB");
        EXPECT_EQ(status, 0);
        fits_close_file(file, &status);
    }
}

#endif

} // namespace
} // namespace zerix::tool

// PNG files: 8-bit greys or colours, or 16-bit ones with the samples shifted up to fill the range
// (the sBIT chunk tells how many bits are real). Metadata as text chunks.
#include "tools/writers/picture.h"

#if defined(ZERIX_HAS_PNG)

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>

#include <fmt/format.h>
#include <png.h>

namespace zerix::tool {

namespace {

struct Text {
    std::string key;
    std::string value;
};

std::vector<Text> TextsOf(const Picture &picture)
{
    std::vector<Text> texts = {
        {"Software", "zerix"},
        {"Source", picture.cameraModel},
        {"Creation Time", IsoTime(picture.unixNanoseconds) + "Z"},
        {"Serial Number", picture.serialNumber},
        {"Exposure",
         fmt::format("{:.9f} s", static_cast<double>(picture.exposureNanoseconds) / 1e9)},
        {"Gain", fmt::format("{}", picture.gain)},
        {"Binning", fmt::format("{}x{}", picture.horizontalBinning, picture.verticalBinning)},
        {"Frame Number", fmt::format("{}", picture.frameNumber)},
    };
    if (picture.setTemperatureCelsius)
        texts.push_back({"Set Temperature", fmt::format("{} C", *picture.setTemperatureCelsius)});
    if (!picture.bayerPattern.empty())
        texts.push_back({"Bayer Pattern", picture.bayerPattern});
    if (picture.hasMissingData)
        texts.push_back({"Warning", "missing data was filled in with black"});
    return texts;
}

// Rows as PNG wants them: big-endian words that fill the range.
std::vector<uint8_t> PngRows(const Picture &picture)
{
    std::vector<uint8_t> rows(picture.pixels.begin(), picture.pixels.end());
    if (picture.bytesPerSample == 2) {
        const uint32_t shift = picture.significantBits < 16 ? 16 - picture.significantBits : 0;
        for (size_t i = 0; i + 1 < rows.size(); i += 2) {
            const uint32_t sample = (rows[i] | static_cast<uint32_t>(rows[i + 1]) << 8) << shift;
            rows[i] = static_cast<uint8_t>(sample >> 8);
            rows[i + 1] = static_cast<uint8_t>(sample);
        }
    }
    return rows;
}

struct PngError {
    char text[200];
};

[[noreturn]] void OnError(png_structp png, png_const_charp message)
{
    auto *error = static_cast<PngError *>(png_get_error_ptr(png));
    std::snprintf(error->text, sizeof error->text, "%s",
                  errno != 0 ? std::strerror(errno) : message);
    std::longjmp(*png_set_longjmp_fn(png, std::longjmp, sizeof(std::jmp_buf)), 1);
}

void OnWarning(png_structp, png_const_charp) {}

struct PngJob {
    png_structp png;
    png_infop info;
    std::FILE *file;
    const Picture *picture;
    std::vector<png_text> texts;
    std::vector<png_bytep> rows;
};

// Everything that may jump out of the PNG library; holds nothing that needs a destructor.
bool WriteWith(PngJob &job)
{
    if (setjmp(png_jmpbuf(job.png)) != 0)
        return false;
    const int depth = static_cast<int>(8 * job.picture->bytesPerSample);
    png_init_io(job.png, job.file);
    png_set_IHDR(job.png, job.info, job.picture->width, job.picture->height, depth,
                 job.picture->samplesPerPixel == 3 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_color_8 significant{};
    significant.gray = static_cast<png_byte>(job.picture->significantBits);
    significant.red = significant.green = significant.blue = significant.gray;
    png_set_sBIT(job.png, job.info, &significant);
    // Samples count light. Viewers take colours without this chunk for a screen's, and show them
    // dark.
    if (job.picture->samplesPerPixel == 3)
        png_set_gAMA(job.png, job.info, 1.0);
    png_set_text(job.png, job.info, job.texts.data(), static_cast<int>(job.texts.size()));
    png_set_rows(job.png, job.info, job.rows.data());
    png_write_png(job.png, job.info, PNG_TRANSFORM_IDENTITY, nullptr);
    return true;
}

} // namespace

std::string WritePng(const std::string &path, const Picture &picture)
{
    errno = 0;
    std::FILE *file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        return std::strerror(errno);
    PngError error{"it ran out of memory"};
    PngJob job{.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &error, OnError, OnWarning),
               .info = nullptr,
               .file = file,
               .picture = &picture,
               .texts = {},
               .rows = {}};
    job.info = job.png != nullptr ? png_create_info_struct(job.png) : nullptr;

    std::vector<Text> texts = TextsOf(picture);
    for (auto &text : texts) {
        png_text entry{};
        entry.compression = PNG_TEXT_COMPRESSION_NONE;
        entry.key = text.key.data();
        entry.text = text.value.data();
        entry.text_length = text.value.size();
        job.texts.push_back(entry);
    }
    std::vector<uint8_t> bytes = PngRows(picture);
    const size_t rowBytes = RowBytes(picture);
    for (size_t row = 0; row < picture.height; ++row)
        job.rows.push_back(bytes.data() + row * rowBytes);

    bool written = job.info != nullptr && WriteWith(job);
    png_destroy_write_struct(&job.png, &job.info);
    errno = 0;
    if (std::fclose(file) != 0 && written) {
        written = false;
        std::snprintf(error.text, sizeof error.text, "%s", std::strerror(errno));
    }
    return written ? std::string{} : std::string(error.text);
}

} // namespace zerix::tool

#else

namespace zerix::tool {

std::string WritePng(const std::string &, const Picture &) { return "this build has no PNG files"; }

} // namespace zerix::tool

#endif

// TIFF files: 8- or 16-bit greys or colours as they are, the metadata as JSON in the image
// description.
#include "tools/writers/picture.h"

#if defined(ZERIX_HAS_TIFF)

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <memory>

#include <fmt/format.h>
#include <tiffio.h>

namespace zerix::tool {

namespace {

// The library reports through one handler for the whole process; this keeps the thread's last text.
thread_local std::string lastTiffError;

void OnError(const char *, const char *format, va_list arguments)
{
    char text[300];
    std::vsnprintf(text, sizeof text, format, arguments);
    lastTiffError = text;
}

void SetTags(TIFF *tiff, const Picture &picture)
{
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, picture.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, picture.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8 * picture.bytesPerSample);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, picture.samplesPerPixel);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC,
                 picture.samplesPerPixel == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff, 0));
    TIFFSetField(tiff, TIFFTAG_MAXSAMPLEVALUE, (1u << picture.significantBits) - 1u);
    TIFFSetField(tiff, TIFFTAG_SOFTWARE, "zerix");
    TIFFSetField(tiff, TIFFTAG_MODEL, picture.cameraModel.c_str());
    TIFFSetField(tiff, TIFFTAG_CAMERASERIALNUMBER, picture.serialNumber.c_str());
    TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, MetadataJson(picture).c_str());
    std::string date = IsoTime(picture.unixNanoseconds).substr(0, 19);
    date[4] = date[7] = ':';
    date[10] = ' ';
    TIFFSetField(tiff, TIFFTAG_DATETIME, date.c_str());
}

bool WriteRows(TIFF *tiff, const Picture &picture)
{
    const size_t rowBytes = RowBytes(picture);
    std::vector<uint8_t> row(rowBytes);
    for (uint32_t y = 0; y < picture.height; ++y) {
        std::memcpy(row.data(), picture.pixels.data() + y * rowBytes, rowBytes);
        if (TIFFWriteScanline(tiff, row.data(), y, 0) < 0)
            return false;
    }
    return TIFFFlush(tiff) == 1;
}

} // namespace

std::string WriteTiff(const std::string &path, const Picture &picture)
{
    TIFFSetErrorHandler(OnError);
    TIFFSetWarningHandler(nullptr);
    lastTiffError.clear();
    errno = 0;
    const std::unique_ptr<TIFF, void (*)(TIFF *)> tiff(TIFFOpen(path.c_str(), "w"), TIFFClose);
    if (tiff == nullptr)
        return errno != 0 ? std::string(std::strerror(errno)) : lastTiffError;
    SetTags(tiff.get(), picture);
    if (WriteRows(tiff.get(), picture))
        return {};
    return errno != 0 ? std::string(std::strerror(errno)) : lastTiffError;
}

} // namespace zerix::tool

#else

namespace zerix::tool {

std::string WriteTiff(const std::string &, const Picture &)
{
    return "this build has no TIFF files";
}

} // namespace zerix::tool

#endif

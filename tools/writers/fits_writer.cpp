// FITS files: one image, rows top down (ROWORDER says so), with the keywords that astronomers'
// programs read. A colour picture is three planes.
#include "tools/writers/picture.h"

#if defined(ZERIX_HAS_FITS)

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <fitsio.h>
#include <fmt/format.h>

namespace zerix::tool {

namespace {

// All of the first sample of each pixel, then all of the second.
std::vector<uint8_t> PlanesOf(const Picture &picture)
{
    const size_t step = picture.bytesPerSample;
    const size_t pixelBytes = step * picture.samplesPerPixel;
    std::vector<uint8_t> planes;
    planes.reserve(picture.pixels.size());
    for (size_t sample = 0; sample < pixelBytes; sample += step)
        for (size_t at = sample; at + step <= picture.pixels.size(); at += pixelBytes)
            planes.insert(planes.end(), &picture.pixels[at], &picture.pixels[at] + step);
    return planes;
}

class FitsFile {
public:
    explicit FitsFile(const std::string &path)
    {
        // The library doesn't overwrite, and takes this name as it is, without its filter syntax.
        std::error_code ignored;
        const auto before = std::filesystem::status(path, ignored);
        const bool isReplaced = std::filesystem::is_regular_file(before);
        if (isReplaced)
            std::filesystem::remove(path, ignored);
        errno = 0;
        fits_create_diskfile(&m_file, path.c_str(), &m_status);
        if (isReplaced)
            std::filesystem::permissions(path, before.permissions(), ignored);
    }
    ~FitsFile()
    {
        int ignored = 0;
        if (m_file != nullptr)
            fits_close_file(m_file, &ignored);
    }
    FitsFile(const FitsFile &) = delete;
    FitsFile &operator=(const FitsFile &) = delete;

    void Key(const char *name, const std::string &value, const char *comment)
    {
        fits_update_key_str(m_file, name, value.c_str(), comment, &m_status);
    }
    void Key(const char *name, double value, const char *comment)
    {
        fits_update_key_dbl(m_file, name, value, -12, comment, &m_status);
    }
    void Key(const char *name, int64_t value, const char *comment)
    {
        fits_update_key_lng(m_file, name, value, comment, &m_status);
    }

    void Image(const Picture &picture)
    {
        long size[3] = {static_cast<long>(picture.width), static_cast<long>(picture.height),
                        static_cast<long>(picture.samplesPerPixel)};
        const bool wide = picture.bytesPerSample == 2;
        fits_create_img(m_file, wide ? USHORT_IMG : BYTE_IMG, size[2] > 1 ? 3 : 2, size, &m_status);
        long first[3] = {1, 1, 1};
        const LONGLONG count = LONGLONG{size[0]} * size[1] * size[2];
        std::vector<uint8_t> pixels = PlanesOf(picture);
        fits_write_pix(m_file, wide ? TUSHORT : TBYTE, first, count, pixels.data(), &m_status);
    }

    std::string Close()
    {
        if (m_file != nullptr)
            fits_close_file(m_file, &m_status);
        m_file = nullptr;
        if (m_status == 0)
            return {};
        // What the system says is more than that the file can't be written.
        if ((m_status == WRITE_ERROR || m_status == FILE_NOT_CREATED ||
             m_status == FILE_NOT_CLOSED) &&
            errno != 0)
            return std::strerror(errno);
        char text[FLEN_STATUS] = {};
        fits_get_errstatus(m_status, text);
        return text;
    }

private:
    fitsfile *m_file = nullptr;
    int m_status = 0;
};

void WriteKeywords(FitsFile &file, const Picture &picture)
{
    file.Key("INSTRUME", picture.cameraModel, "camera model");
    file.Key("SERIALNO", picture.serialNumber, "serial number of the camera");
    file.Key("DATE-OBS", IsoTime(picture.unixNanoseconds), "start of the exposure, UTC");
    file.Key("EXPTIME", static_cast<double>(picture.exposureNanoseconds) / 1e9, "[s] exposure");
    file.Key("GAIN", picture.gain, "linear, relative to the camera's default");
    file.Key("XBINNING", int64_t{picture.horizontalBinning}, "horizontal binning");
    file.Key("YBINNING", int64_t{picture.verticalBinning}, "vertical binning");
    if (picture.setTemperatureCelsius)
        file.Key("SET-TEMP", double(*picture.setTemperatureCelsius), "[C] temperature asked for");
    file.Key("DATAMAX", int64_t{(1 << picture.significantBits) - 1}, "top of the range");
    if (picture.samplesPerPixel == 3)
        file.Key("CTYPE3", std::string("RGB"), "planes: red, green, blue");
    if (!picture.bayerPattern.empty())
        file.Key("BAYERPAT", picture.bayerPattern, "mosaic from the top left pixel");
    file.Key("ROWORDER", std::string("TOP-DOWN"), "first row is the top of the image");
    file.Key("FRAMENO", int64_t{picture.frameNumber}, "rolling frame number");
    if (picture.hasMissingData)
        file.Key("WARNING", std::string("missing data was filled in with black"), "");
    file.Key("SWCREATE", std::string("zerix"), "");
}

} // namespace

std::string WriteFits(const std::string &path, const Picture &picture)
{
    FitsFile file(path);
    file.Image(picture);
    WriteKeywords(file, picture);
    return file.Close();
}

} // namespace zerix::tool

#else

namespace zerix::tool {

std::string WriteFits(const std::string &, const Picture &)
{
    return "this build has no FITS files";
}

} // namespace zerix::tool

#endif

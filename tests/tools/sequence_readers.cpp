// The plain readers take nothing from the writers' code.
#include "tests/tools/sequence_readers.h"

#include <cstring>

#include <nlohmann/json.hpp>

#include "tests/tools/tool_fixture.h"

#if defined(ZERIX_TEST_ALL_FORMATS)
#include <fitsio.h>
#include <tiffio.h>
#endif

namespace zerix::test {

namespace {

uint32_t LittleAt(const std::string &bytes, size_t at)
{
    const auto byte = [&](size_t i) { return uint32_t{static_cast<uint8_t>(bytes[at + i])}; };
    return byte(0) | byte(1) << 8 | byte(2) << 16 | byte(3) << 24;
}

std::vector<uint16_t> Samples(const char *bytes, size_t count, size_t bytesPerSample)
{
    std::vector<uint16_t> samples(count);
    for (size_t i = 0; i < count; ++i) {
        samples[i] = static_cast<uint8_t>(bytes[i * bytesPerSample]);
        if (bytesPerSample == 2)
            samples[i] = static_cast<uint16_t>(
                samples[i] | static_cast<uint8_t>(bytes[i * bytesPerSample + 1]) << 8);
    }
    return samples;
}

ReadSequence ReadSer(const std::string &path)
{
    const std::string bytes = Contents(path);
    ReadSequence result;
    if (bytes.size() < 178 || bytes.compare(0, 14, "LUCAM-RECORDER") != 0) {
        result.error = "no SER header";
        return result;
    }
    result.width = LittleAt(bytes, 26);
    result.height = LittleAt(bytes, 30);
    result.samplesPerPixel = LittleAt(bytes, 18) == 100 ? 3 : 1; // red, green, blue
    const size_t each = LittleAt(bytes, 34) > 8 ? 2 : 1;
    const size_t samples = size_t{result.width} * result.height * result.samplesPerPixel;
    for (size_t i = 0; i < LittleAt(bytes, 38); ++i) {
        const size_t at = 178 + i * samples * each;
        if (at + samples * each > bytes.size()) {
            result.error = "the header counts more frames than there are";
            return result;
        }
        result.frames.push_back(Samples(bytes.data() + at, samples, each));
    }
    return result;
}

ReadSequence ReadRaw(const std::string &path)
{
    const std::string bytes = Contents(path);
    ReadSequence result;
    const auto json = nlohmann::json::parse(Contents(path + ".json"), nullptr, false);
    if (json.is_discarded()) {
        result.error = "no JSON";
        return result;
    }
    result.width = json["width"];
    result.height = json["height"];
    result.samplesPerPixel = json["samples_per_pixel"];
    const size_t each = json["bytes_per_sample"];
    const size_t samples = size_t{result.width} * result.height * result.samplesPerPixel;
    if (json["frames"].size() * samples * each > bytes.size())
        result.error = "more frames are described than there are";
    else
        for (size_t i = 0; i < json["frames"].size(); ++i)
            result.frames.push_back(Samples(bytes.data() + i * samples * each, samples, each));
    return result;
}

#if defined(ZERIX_TEST_ALL_FORMATS)

ReadSequence ReadTiff(const std::string &path)
{
    TIFFSetWarningHandler(nullptr);
    ReadSequence result;
    TIFF *tiff = TIFFOpen(path.c_str(), "r");
    if (tiff == nullptr) {
        result.error = "TIFFOpen refuses it";
        return result;
    }
    do {
        uint16_t bits = 0;
        uint16_t samplesPerPixel = 0;
        uint16_t photometric = 0;
        TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &result.width);
        TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &result.height);
        TIFFGetField(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
        TIFFGetField(tiff, TIFFTAG_SAMPLESPERPIXEL, &samplesPerPixel);
        TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric);
        if (photometric != (samplesPerPixel == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK))
            result.error = "photometric interpretation " + std::to_string(photometric);
        result.samplesPerPixel = samplesPerPixel;
        std::vector<uint16_t> frame;
        std::vector<char> row(static_cast<size_t>(TIFFScanlineSize(tiff)));
        for (uint32_t y = 0; y < result.height; ++y) {
            if (TIFFReadScanline(tiff, row.data(), y, 0) < 0)
                result.error = "a page has no pixels";
            const auto samples =
                Samples(row.data(), size_t{result.width} * samplesPerPixel, bits / 8u);
            frame.insert(frame.end(), samples.begin(), samples.end());
        }
        result.frames.push_back(frame);
    } while (TIFFReadDirectory(tiff) != 0);
    TIFFClose(tiff);
    return result;
}

ReadSequence ReadFits(const std::string &path)
{
    ReadSequence result;
    fitsfile *file = nullptr;
    int status = 0;
    fits_open_diskfile(&file, path.c_str(), READONLY, &status);
    long axes[4] = {};
    int count = 0;
    fits_get_img_dim(file, &count, &status);
    fits_get_img_size(file, 4, axes, &status);
    result.width = static_cast<uint32_t>(axes[0]);
    result.height = static_cast<uint32_t>(axes[1]);
    result.samplesPerPixel = count == 4 ? static_cast<uint32_t>(axes[2]) : 1;
    const long frames = count == 4 ? axes[3] : axes[2];
    const size_t planeSize = size_t{result.width} * result.height;
    for (long i = 1; status == 0 && count >= 3 && i <= frames; ++i) {
        std::vector<uint16_t> frame(planeSize * result.samplesPerPixel);
        std::vector<uint16_t> plane(planeSize);
        for (uint32_t sample = 0; sample < result.samplesPerPixel; ++sample) {
            long first[4] = {1, 1, count == 4 ? long{sample} + 1 : i, i};
            fits_read_pix(file, TUSHORT, first, static_cast<LONGLONG>(planeSize), nullptr,
                          plane.data(), nullptr, &status);
            for (size_t pixel = 0; pixel < planeSize; ++pixel)
                frame[pixel * result.samplesPerPixel + sample] = plane[pixel];
        }
        result.frames.push_back(frame);
    }
    if (status != 0)
        result.error = "cfitsio status " + std::to_string(status);
    status = 0;
    if (file != nullptr)
        fits_close_file(file, &status);
    return result;
}

#endif

} // namespace

uint32_t SampleOf(uint32_t index, uint32_t place, uint32_t bytesPerSample)
{
    const uint32_t sample = (index * 1000 + place * 7 + 3) % 4096;
    return bytesPerSample == 2 ? sample : sample % 256;
}

tool::Picture FrameOf(uint32_t index, uint32_t width, uint32_t height, uint32_t bytesPerSample,
                      std::vector<uint8_t> &pixels, uint32_t samplesPerPixel)
{
    pixels.clear();
    for (uint32_t place = 0; place < width * height * samplesPerPixel; ++place) {
        const uint32_t sample = SampleOf(index, place, bytesPerSample);
        pixels.push_back(static_cast<uint8_t>(sample));
        if (bytesPerSample == 2)
            pixels.push_back(static_cast<uint8_t>(sample >> 8));
    }
    tool::Picture picture;
    picture.pixels = pixels;
    picture.width = width;
    picture.height = height;
    picture.samplesPerPixel = samplesPerPixel;
    picture.bytesPerSample = bytesPerSample;
    picture.significantBits = bytesPerSample == 2 ? 12 : 8;
    if (samplesPerPixel == 1)
        picture.bayerPattern = "GRBG";
    picture.cameraModel = "Astrel C2";
    picture.serialNumber = "A-123";
    picture.exposureNanoseconds = 16'384'000;
    picture.gain = 1.5;
    picture.horizontalBinning = 2;
    picture.verticalBinning = 2;
    picture.setTemperatureCelsius = -25;
    // 2025-01-01 00:00:00.016384 UTC, and a quarter of a second for each.
    picture.unixNanoseconds = 1'735'689'600'016'384'000 + uint64_t{index} * 250'000'000;
    picture.frameNumber = 65534 + index;
    picture.hasMissingData = index == 1;
    return picture;
}

std::vector<std::string> ReadableEndings()
{
#if defined(ZERIX_TEST_ALL_FORMATS)
    return {".tif", ".ome.tif", ".fits", ".ser", ".raw"};
#else
    return {".ser", ".raw"};
#endif
}

ReadSequence ReadSequenceFile(const std::string &path)
{
#if defined(ZERIX_TEST_ALL_FORMATS)
    if (path.ends_with(".tif"))
        return ReadTiff(path);
    if (path.ends_with(".fits"))
        return ReadFits(path);
#endif
    return path.ends_with(".ser") ? ReadSer(path) : ReadRaw(path);
}

std::string DifferenceTo(const ReadSequence &sequence, uint32_t frames, uint32_t width,
                         uint32_t height, uint32_t bytesPerSample, uint32_t samplesPerPixel)
{
    if (!sequence.error.empty())
        return sequence.error;
    if (sequence.frames.size() != frames)
        return std::to_string(sequence.frames.size()) + " frames";
    if (sequence.width != width || sequence.height != height)
        return std::to_string(sequence.width) + " x " + std::to_string(sequence.height);
    const size_t samples = size_t{width} * height * samplesPerPixel;
    if (sequence.samplesPerPixel != samplesPerPixel)
        return std::to_string(sequence.samplesPerPixel) + " samples a pixel";
    for (uint32_t i = 0; i < frames; ++i)
        if (sequence.frames[i].size() != samples)
            return std::to_string(sequence.frames[i].size()) + " samples";
    for (uint32_t i = 0; i < frames; ++i)
        for (uint32_t place = 0; place < samples; ++place)
            if (sequence.frames[i][place] != SampleOf(i, place, bytesPerSample))
                return "frame " + std::to_string(i) + " differs at " + std::to_string(place);
    return {};
}

} // namespace zerix::test

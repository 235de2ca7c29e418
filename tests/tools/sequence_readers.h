// Frames to record, and sequence files read back: TIFF and FITS by the libraries of their formats,
// SER and raw as their bytes stand.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/writers/picture.h"

namespace zerix::test {

// A frame of its own for every index: 12-bit samples, or their low bytes. `pixels` keeps them. One
// sample a pixel is a mosaic, three are colours.
tool::Picture FrameOf(uint32_t index, uint32_t width, uint32_t height, uint32_t bytesPerSample,
                      std::vector<uint8_t> &pixels, uint32_t samplesPerPixel = 1);

// The sample that such a frame has at this place, as a formula of its own. Places are samples,
// pixel behind pixel.
uint32_t SampleOf(uint32_t index, uint32_t place, uint32_t bytesPerSample);

struct ReadSequence {
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t samplesPerPixel = 1;
    std::vector<std::vector<uint16_t>> frames; // pixel behind pixel
    std::string error;                         // why it can't be read
};

// By the ending of the name.
ReadSequence ReadSequenceFile(const std::string &path);

// The endings that this build can read back.
std::vector<std::string> ReadableEndings();

// Whether the file holds exactly these first frames; says what differs.
std::string DifferenceTo(const ReadSequence &sequence, uint32_t frames, uint32_t width,
                         uint32_t height, uint32_t bytesPerSample, uint32_t samplesPerPixel = 1);

} // namespace zerix::test

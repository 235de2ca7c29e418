// What a picture of the scene "positions" must be, pixel by pixel: a plain second answer to where
// on the sensor each number comes from, that shares nothing with the virtual camera.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/family/sensors.h"

namespace zerix::family {

// The filters of the wheel, in the scene's own numbers.
enum class Filter : uint32_t { kNone = 0, kRed = 1, kGreen = 2, kBlue = 3 };

// A picture in the words of an application. The place and the size of the region are in pixels of
// the picture, from the top left corner of the scene.
struct View {
    Sensor sensor;
    uint32_t converterBits = 12;
    bool isInBytes = true; // the top eight bits
    uint32_t columnsPerPixel = 1;
    uint32_t rowsPerPixel = 1;
    uint32_t rowPairsPerPair = 1; // a Benchmate leaves rows out, two by two
    uint32_t x = 0;
    uint32_t y = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    bool isFromFarCorner = false; // the bins are counted from there
    Filter filter = Filter::kNone;
};

// All of the sensor, unbinned.
View WholeView(const Sensor &sensor, uint32_t converterBits, bool isInBytes);

// The level, 0 to 65535, of one pixel of the sensor.
uint32_t LevelAt(uint32_t column, uint32_t row, Filter filter);

// The value of one pixel of the picture.
uint32_t ExpectedValue(const View &view, uint32_t i, uint32_t j);

// The bytes of the picture; words are little-endian.
std::vector<uint8_t> ExpectedBytes(const View &view);

// The colour pattern that belongs to it: 5 RGGB, 6 GRBG, 7 GBRG, 8 BGGR, 0 none.
uint32_t ExpectedPattern(const View &view);

// Empty if all is as expected; otherwise how many pixels differ, and the first that does.
std::string Difference(const View &view, const std::vector<uint8_t> &expected,
                       const uint8_t *pixels);

} // namespace zerix::family

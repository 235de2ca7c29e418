// One pixel at a time, from the definition of the scene: level = 1031 column + 389 row + 16384
// filter, modulo 65536; a bin has the mean of its pixels, rounded down; the converter takes the top
// bits, and a byte the top bits of these.
#include "tests/family/expected_picture.h"

#include <sstream>

namespace zerix::family {
namespace {

// Where on the sensor the bin of a pixel begins, and which way it goes on from there.
struct Run {
    uint32_t first;
    int32_t step;
};

// `index` of `size` pixels at `place`. From the far end the bins are counted from there, so what is
// left over when the sensor isn't a multiple of the bin is at the near end.
Run RunOf(const View &view, uint32_t length, uint32_t bin, uint32_t pixel)
{
    if (!view.isFromFarCorner)
        return {pixel * bin, 1};
    const uint32_t pixels = length / bin;
    const uint32_t fromFarEnd = pixels - 1 - pixel;
    return {length - 1 - fromFarEnd * bin, -1};
}

// Of every so many pairs of rows one pair is there.
uint32_t RowOf(const View &view, uint32_t pixelRow)
{
    if (view.rowPairsPerPair == 1)
        return pixelRow;
    return pixelRow / 2 * 2 * view.rowPairsPerPair + pixelRow % 2;
}

uint32_t PatternOf(const Sensor &sensor, uint32_t column, uint32_t row)
{
    const uint32_t shifted = sensor.mosaic == Mosaic::kGrbg ? column + 1 : column;
    return 5 + shifted % 2 + 2 * (row % 2);
}

} // namespace

View WholeView(const Sensor &sensor, uint32_t converterBits, bool isInBytes)
{
    return {.sensor = sensor,
            .converterBits = converterBits,
            .isInBytes = isInBytes,
            .width = sensor.columns,
            .height = sensor.rows};
}

uint32_t LevelAt(uint32_t column, uint32_t row, Filter filter)
{
    return (1031 * column + 389 * row + 16384 * static_cast<uint32_t>(filter)) % 65536;
}

uint32_t ExpectedValue(const View &view, uint32_t i, uint32_t j)
{
    const Run columns = RunOf(view, view.sensor.columns, view.columnsPerPixel, view.x + i);
    const Run rows = RunOf(view, view.sensor.rows, view.rowsPerPixel, RowOf(view, view.y + j));
    uint64_t sum = 0;
    for (uint32_t r = 0; r < view.rowsPerPixel; ++r) {
        for (uint32_t c = 0; c < view.columnsPerPixel; ++c) {
            const uint32_t column = columns.first + c * static_cast<uint32_t>(columns.step);
            const uint32_t row = rows.first + r * static_cast<uint32_t>(rows.step);
            if (column < view.sensor.columns && row < view.sensor.rows)
                sum += LevelAt(column, row, view.filter);
        }
    }
    const auto mean = static_cast<uint32_t>(sum / (view.rowsPerPixel * view.columnsPerPixel));
    const uint32_t count = mean >> (16 - view.converterBits);
    return view.isInBytes ? count >> (view.converterBits - 8) : count;
}

std::vector<uint8_t> ExpectedBytes(const View &view)
{
    std::vector<uint8_t> bytes;
    bytes.reserve(size_t{view.width} * view.height * 2);
    for (uint32_t j = 0; j < view.height; ++j) {
        for (uint32_t i = 0; i < view.width; ++i) {
            const uint32_t value = ExpectedValue(view, i, j);
            bytes.push_back(static_cast<uint8_t>(value));
            if (!view.isInBytes)
                bytes.push_back(static_cast<uint8_t>(value >> 8));
        }
    }
    return bytes;
}

// A camera tells the pattern of the pixel that it sends first; from the far corner that is the last
// one of the picture, and what is told is turned with it. A width or height that is odd spoils
// that.
uint32_t ExpectedPattern(const View &view)
{
    if (view.sensor.mosaic == Mosaic::kNone || view.columnsPerPixel > 1 || view.rowsPerPixel > 1)
        return 0;
    if (!view.isFromFarCorner)
        return PatternOf(view.sensor, view.x, view.y);
    return 13 - PatternOf(view.sensor, view.x + view.width - 1, view.y + view.height - 1);
}

std::string Difference(const View &view, const std::vector<uint8_t> &expected,
                       const uint8_t *pixels)
{
    const uint32_t pixelBytes = view.isInBytes ? 1 : 2;
    size_t wrong = 0;
    size_t first = 0;
    for (size_t byte = 0; byte < expected.size(); byte += pixelBytes) {
        const bool isGood = expected[byte] == pixels[byte] &&
                            (view.isInBytes || expected[byte + 1] == pixels[byte + 1]);
        if (isGood)
            continue;
        if (wrong++ == 0)
            first = byte;
    }
    if (wrong == 0)
        return {};
    const auto valueAt = [&](const uint8_t *bytes) {
        return view.isInBytes ? bytes[first] : bytes[first] | bytes[first + 1] << 8;
    };
    std::ostringstream text;
    text << wrong << " wrong pixels of " << expected.size() / pixelBytes << ", the first at ("
         << first / pixelBytes % view.width << ", " << first / pixelBytes / view.width
         << "): " << valueAt(pixels) << " instead of " << valueAt(expected.data());
    return text.str();
}

} // namespace zerix::family

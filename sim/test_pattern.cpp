// Where a pixel of the readout lies on the sensor, and which number the generator gives for it.
#include "sim/test_pattern.h"

#include <algorithm>
#include <vector>

namespace zerix::sim {
namespace {

// A bin by its place in the readout, in pixels of the sensor; the last ones may stick out.
struct Bin {
    uint64_t x;
    uint64_t y;
    uint32_t columns;
    uint32_t rows;
};

class Pattern {
public:
    Pattern(const Scene &scene, const SensorType &type, const ExposureSettings &settings)
        : m_scene(scene), m_type(type), m_turned(settings.fromFarCorner),
          m_filter(type.mosaic == Mosaic::kNone ? settings.filterColour : uint8_t{0xFF}),
          m_bits(std::clamp<uint32_t>(settings.converterBits, 1, 16))
    {
    }

    [[nodiscard]] int32_t Of(const Bin &bin) const
    {
        if (bin.x >= m_type.columns || bin.y >= m_type.rows)
            return 0;
        if (m_scene.IsInCounts()) {
            const uint32_t count = m_scene.Count(Column(bin.x), Row(bin.y));
            return static_cast<int32_t>(count & ((1U << m_bits) - 1U));
        }
        return static_cast<int32_t>(MeanLevel(bin) >> (16 - m_bits));
    }

private:
    [[nodiscard]] uint32_t Column(uint64_t x) const
    {
        return static_cast<uint32_t>(m_turned ? m_type.columns - 1 - x : x);
    }

    [[nodiscard]] uint32_t Row(uint64_t y) const
    {
        return static_cast<uint32_t>(m_turned ? m_type.rows - 1 - y : y);
    }

    // What sticks out of the sensor is black.
    [[nodiscard]] uint32_t MeanLevel(const Bin &bin) const
    {
        const uint64_t endX = std::min<uint64_t>(bin.x + bin.columns, m_type.columns);
        const uint64_t endY = std::min<uint64_t>(bin.y + bin.rows, m_type.rows);
        uint64_t sum = 0;
        for (uint64_t y = bin.y; y < endY; ++y) {
            for (uint64_t x = bin.x; x < endX; ++x)
                sum += m_scene.Level(Column(x), Row(y), m_filter);
        }
        return static_cast<uint32_t>(sum / (uint64_t{bin.columns} * bin.rows));
    }

    const Scene &m_scene;
    const SensorType &m_type;
    bool m_turned;
    uint8_t m_filter;
    uint32_t m_bits;
};

} // namespace

bool IsTestPattern(const Scene &scene) { return scene.IsInCounts() || scene.IsInLevels(); }

void ExposeTestPattern(const Scene &scene, const SensorType &type, const ReadoutChain &chain,
                       const ExposureSettings &settings, uint8_t *pixels)
{
    const Pattern pattern(scene, type, settings);
    const uint32_t columns = std::max(settings.horizontalBinning, 1U);
    const uint32_t rows = std::max(settings.verticalBinning, 1U);
    const size_t lineBytes = settings.width * (settings.outputBits <= 8 ? size_t{1} : size_t{2});
    std::vector<int32_t> counts(settings.width);
    for (uint32_t row = 0; row < settings.height; ++row) {
        for (uint32_t column = 0; column < settings.width; ++column) {
            counts[column] = pattern.Of({.x = (uint64_t{settings.x} + column) * columns,
                                         .y = (uint64_t{settings.y} + row) * rows,
                                         .columns = columns,
                                         .rows = rows});
        }
        WriteCounts(chain, counts.data(), settings.width, pixels + row * lineBytes);
    }
}

} // namespace zerix::sim

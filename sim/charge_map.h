// The mean charge of every pixel that is read out: light and dark current over the exposure, summed
// over the pixels of a bin. Kept from frame to frame, as it changes only with scene and settings.
// Not for use by two threads at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "sim/sensor.h"

namespace zerix::sim {

// A pixel whose dark current is so many times the sensor's above it.
struct HotPixel {
    uint32_t column;
    uint32_t row;
    float excess;
};

// The hot pixels that a sensor was born with.
std::vector<HotPixel> HotPixelsOf(const SensorType &type, std::string_view serialNumber);

// Which charges a map has.
enum class Charges : uint8_t { kAll, kLight, kDark };

class ChargeMap {
public:
    explicit ChargeMap(Charges charges = Charges::kAll) : m_charges(charges) {}

    // Computes the map of the settings, or keeps what is there if nothing changed that it depends
    // on. `rates` are electrons a second for each pixel of the sensor; a change of them must be
    // told.
    void Update(const SensorType &type, const std::vector<float> &rates, bool ratesChanged,
                const std::vector<HotPixel> &hotPixels, const ExposureSettings &settings);

    // Mean and its square root for `count` pixels from column `x` of a row of the region; nothing
    // but zeros outside of the sensor.
    void Fetch(uint32_t x, uint32_t row, uint32_t count, float *mean, float *sigma) const;

private:
    void AddRow(const SensorType &type, const std::vector<float> &rates, uint32_t row);
    void AddHotPixels(const SensorType &type, const std::vector<HotPixel> &hotPixels);
    void SumBins(uint32_t row, uint32_t sensorRows);

    Charges m_charges;
    ExposureSettings m_settings;
    bool m_valid = false;
    float m_seconds = 0;
    float m_dark = 0;             // electrons of the exposure in one pixel
    float m_leftOver = 0;         // electrons from clearing
    uint32_t m_sensorColumns = 0; // of the region, unbinned
    uint32_t m_width = 0;         // of the region, as far as it is on the sensor
    uint32_t m_height = 0;
    std::vector<float> m_line; // one binned row before its columns are summed
    std::vector<float> m_mean;
    std::vector<float> m_sigma;
};

} // namespace zerix::sim

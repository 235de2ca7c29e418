// A virtual sensor on a test bench: frames as words, and what a data sheet says it must give.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "sim/scene.h"
#include "sim/sensor.h"

namespace zerix::sim {

inline constexpr uint16_t kIcx285 = 6;
inline constexpr uint16_t kMultiplying = 78;

inline std::vector<uint16_t> Words(const std::vector<uint8_t> &bytes)
{
    std::vector<uint16_t> words(bytes.size() / 2);
    for (size_t i = 0; i < words.size(); ++i)
        words[i] = static_cast<uint16_t>(bytes[2 * i] | bytes[2 * i + 1] << 8);
    return words;
}

class SensorBench {
public:
    explicit SensorBench(uint16_t ccdModel, const std::string &scene,
                         const std::string &serial = "S1")
        : m_sensor(*FindSensorType(ccdModel), 99, serial)
    {
        std::string error;
        const auto made = MakeScene(scene, 5, &error);
        EXPECT_NE(made, nullptr) << error;
        m_sensor.SetScene(made);
    }

    std::vector<uint8_t> Bytes(const ExposureSettings &settings, uint32_t frame = 0)
    {
        std::vector<uint8_t> bytes(Sensor::FrameBytes(settings));
        m_sensor.Expose(settings, {.commits = 1, .framesSinceCommit = frame}, bytes.data());
        return bytes;
    }

    std::vector<uint16_t> Frame(const ExposureSettings &settings, uint32_t frame = 0)
    {
        return Words(Bytes(settings, frame));
    }

private:
    Sensor m_sensor;
};

// 16 bits and an electron a count, so that counts are electrons.
inline ExposureSettings InElectrons(uint64_t exposureNanoseconds)
{
    return {.exposureNanoseconds = exposureNanoseconds,
            .width = 400,
            .height = 300,
            .converterBits = 16,
            .outputBits = 16,
            .offsetCounts = 200,
            .electronsPerCount = 1.0};
}

// Electrons of white light on a monochrome sensor: a third of the photons in each of red, green and
// blue, whose relative efficiencies are 0.85, 1 and 0.75.
inline double ExpectedElectrons(double photons, double pitch, double peakEfficiency, double seconds)
{
    return photons / 3 * (0.85 + 1.0 + 0.75) * pitch * pitch * peakEfficiency * seconds;
}

} // namespace zerix::sim

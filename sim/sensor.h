// A virtual camera's sensor: what lies between the light of a scene and the numbers of a converter.
// Everything follows from a seed: the same seed and settings give the same bytes on every platform,
// so no library function whose last bit may differ decides a pixel. Not for use by two threads at
// once.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "sim/scene.h"

namespace zerix::sim {

enum class Mosaic : uint8_t { kNone, kRggb, kGrbg };

// Typical figures of a sensor, as in its data sheet.
struct SensorType {
    uint16_t firstCcdModel; // number of the CCD model, as the camera's registers give it
    std::string_view name;
    uint32_t columns;
    uint32_t rows;
    float pitchMicrometres;
    Mosaic mosaic;
    bool twoFields; // read out as two interlaced fields
    bool electronMultiplying;
    uint32_t fullWellElectrons;
    float darkElectronsPerSecond; // a pixel, at 20 C
    float darkDoublesKelvin;
    float peakQuantumEfficiency;
};

// Null for a CCD model number that has no sensor.
const SensorType *FindSensorType(uint16_t ccdModel);

// How one frame is exposed and read out. The region is in binned pixels.
struct ExposureSettings {
    uint64_t exposureNanoseconds = 0;
    uint32_t x = 0;
    uint32_t y = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t horizontalBinning = 1;
    uint32_t verticalBinning = 1;
    uint16_t converterBits = 12; // depth of the converter
    uint16_t outputBits = 12;    // 8: the converter's top bits, one byte a pixel; else 16-bit words
    bool bigEndian = false;      // byte order of 16-bit words
    bool fromFarCorner = false;  // the image turned by 180 degrees
    float megahertz = 20;        // pixel rate; sets the read noise
    double gaindB = 0;           // analogue gain relative to the default gain, decibels
    int32_t offsetCounts = 0;    // of the converter
    double electronMultiplication = 1; // of sensors that multiply
    double intensification = 1;        // of an image intensifier before the sensor
    double celsius = 20;               // the sensor's temperature
    bool isBlackedOut = false;         // no light reaches the sensor
    double transferred = 1;            // part of the charge that the clocks bring out
    double leftOverElectrons = 0;      // in each pixel, from clearing
    double fullWell = 1;               // times the sensor's
    double secondChannelGain = 1;      // of the columns of the right half
    bool isDithered = false;           // half a count of noise before the conversion
    uint32_t droppedBits = 0;          // that compression clears in what is sent
    double electronsPerCount = 0;      // at 0 dB; 0: full well over the converter's range
    uint8_t filterColour = 0xFF; // wheel filter before a monochrome sensor: 0, 1, 3; 0xFF none
    bool noise = true;           // off for tests that compare pixels exactly
};

// What the noise of a frame is keyed on, beside the seed and the serial number.
struct NoiseKey {
    uint32_t commits; // commits since power-on
    uint32_t framesSinceCommit;
};

class Sensor {
public:
    Sensor(const SensorType &type, uint64_t seed, std::string_view serialNumber);
    ~Sensor();

    // `brightness` and `colour` multiply the light of the scene; a test pattern doesn't mind them.
    void SetScene(std::shared_ptr<const Scene> scene, float brightness = 1,
                  const Light &colour = {1, 1, 1});

    // Bytes of one frame.
    [[nodiscard]] static uint32_t FrameBytes(const ExposureSettings &settings);

    // Exposes and reads out one frame into `pixels`, which has FrameBytes(settings) bytes.
    void Expose(const ExposureSettings &settings, NoiseKey key, uint8_t *pixels);

    [[nodiscard]] const SensorType &Type() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

// Read noise in electrons by pixel rate (before division by the multiplication gain, where there is
// one).
double ReadNoiseElectrons(float megahertz);

// Dark current in electrons a pixel and second.
double DarkElectronsPerSecond(const SensorType &type, double celsius);

// The cooler behind the sensor: a first-order lag towards its target.
class Cooler {
public:
    explicit Cooler(double ambientCelsius);
    void Set(bool on, double targetCelsius, uint64_t nowNanoseconds);
    [[nodiscard]] double Celsius(uint64_t nowNanoseconds) const;
    // Within half a degree of the target while the cooler is on.
    [[nodiscard]] bool IsLocked(uint64_t nowNanoseconds) const;

private:
    double m_ambient;
    double m_target;
    double m_start;
    uint64_t m_since = 0;
    bool m_on = false;
};

} // namespace zerix::sim

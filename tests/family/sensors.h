// The sensors of the virtual cameras, by CCD model number: what their data sheets say of size and
// mosaic, and of light where a test needs it.
#pragma once

#include <cstdint>

namespace zerix::family {

enum class Mosaic { kNone, kRggb, kGrbg };

struct Sensor {
    uint32_t columns;
    uint32_t rows;
    Mosaic mosaic;
    double pitchMicrometres;
    double fullWellElectrons;
    double peakQuantumEfficiency;
};

// Fails the test for a number that no sensor has.
Sensor SensorOf(uint32_t ccdModel);

// Electrons of a pixel under white light of so many photons a second and square micrometre, a third
// of them in each of red, green and blue.
double ElectronsOf(const Sensor &sensor, double photons, double seconds);

// Read noise in electrons.
double ReadNoiseAt(float megahertz);

} // namespace zerix::family

// From mean charges to the converter's numbers: shot noise, electron multiplication, full well,
// read noise, gain, offset, conversion. Pure functions of their key; safe from any thread.
#pragma once

#include <cstdint>

#include "sim/sensor.h"

namespace zerix::sim {

// The most pixels that are read out in one go; a row longer than that comes in pieces.
inline constexpr uint32_t kReadoutPiece = 512;

// What of the settings is the same for all pixels of a frame, as the arithmetic wants it.
struct ReadoutChain {
    uint64_t shotKey; // of the random numbers
    uint64_t smallKey;
    uint64_t multiplyKey;
    uint64_t darkKey; // of dark charges that are drawn apart
    uint64_t ditherKey;
    bool noise;
    float multiplication;     // 1 for none
    float multiplicationRoot; // standard deviation that one electron's multiplication adds
    float fullWell;           // electrons
    float readNoise;          // electrons
    float countsPerElectron;
    float offset; // counts, with the half that rounds
    float highestCount;
    float dither;        // counts from the lowest to the highest; 0 for none
    float secondGain;    // of the second channel; 1 for alike
    uint32_t secondFrom; // its columns of the readout, and the first that is not its own any more
    uint32_t secondTo;
    uint32_t keptBits; // of a number that is sent
    uint32_t shift;    // from the converter's depth to the output's
    bool eightBits;
    bool bigEndian;
};

ReadoutChain MakeReadoutChain(const SensorType &type, const ExposureSettings &settings,
                              uint64_t key);

// One piece of a row: mean charges, their square roots, and where it lies in the whole readout.
struct ReadoutPiece {
    uint32_t count;
    uint32_t column;
    uint32_t row;
    float mean[kReadoutPiece];
    float sigma[kReadoutPiece];
};

// Writes the bytes of the piece's pixels. `dark` are charges of the sensor itself behind an image
// intensifier, which multiplies light alone; null where everything is multiplied alike.
void ReadOut(const ReadoutChain &chain, const ReadoutPiece &piece, const ReadoutPiece *dark,
             uint8_t *pixels);

// Writes numbers that stand at the converter's output already.
void WriteCounts(const ReadoutChain &chain, const int32_t *counts, uint32_t count, uint8_t *pixels);

} // namespace zerix::sim

// What the electronics of a camera model are like, beside its sensor: how its gain answers, how it
// bins, which extras it carries. Pure functions of a description.
#pragma once

#include <cstdint>

#include "sim/rack.h"
#include "sim/sensor.h"

namespace zerix::sim {

namespace model {
inline constexpr uint32_t kBenchmate = 8;
inline constexpr uint32_t kIntensified = 9;
inline constexpr uint32_t kSparrowIr = 10;
inline constexpr uint32_t kNoctisA1 = 14;
inline constexpr uint32_t kAstrelE1 = 15;
inline constexpr uint32_t kOemCamera3 = 16;
inline constexpr uint32_t kMetrol = 1002;
} // namespace model

// Defaults of the clocking voltages, in converter counts.
namespace voltage {
inline constexpr uint32_t kSubstratePulse = 1800;
inline constexpr uint32_t kSubstrate = 1850;
inline constexpr uint32_t kResetLevel = 2100;
inline constexpr uint32_t kClock1 = 1500;
inline constexpr uint32_t kClock2 = 1520;
inline constexpr uint32_t kClock3 = 1540;
inline constexpr uint32_t kClock4 = 1560;
} // namespace voltage

inline constexpr uint32_t kDefaultCalibration = 128;
inline constexpr uint32_t kDefaultVerticalClock = 20;      // counts
inline constexpr int64_t kVerticalClockNanoseconds = 50;   // of a count
inline constexpr uint32_t kDefaultShutterDelay = 500;      // counts
inline constexpr int64_t kShutterDelayNanoseconds = 6'400; // of a count
inline constexpr uint32_t kDefaultGain = 600;
inline constexpr uint32_t kDefaultOffset = 0;
inline constexpr uint32_t kLeastMultiplication = 0;
inline constexpr uint32_t kMostMultiplication = 3200;
inline constexpr uint32_t kHundredfoldMultiplication = 2048;
inline constexpr double kDecibelsPerCount = 34.1516 / 4096.0; // newer boards
inline constexpr double kPiecewiseDecibels = 30.8929; // whole range of boards with a bent gain
inline constexpr double kIntensifierDecibelsPerCount = 0.015765398;
inline constexpr double kIntensifierDecibelsAtZero = 33.5092631; // the tube multiplies at least so

// A board of the first kind: its gain is dead below 500 and above 4000 counts and twice as steep
// from 3500 on. Later boards are straight.
bool HasPiecewiseGain(const CameraDescription &description);

// Analogue gain of a raw gain, relative to the default gain, in decibels.
double GainDecibels(const CameraDescription &description, uint32_t rawGain);

// Factor of electron multiplication of a raw value above its minimum.
double MultiplicationFactor(uint32_t raw);

// Factor of an image intensifier at a raw value. There is no value at which it is 1.
double IntensifierFactor(uint32_t raw);

// Cameras whose blocks are too old to tell of regulated cooling cool as far as they can.
bool HasRegulatedCooling(const CameraDescription &description);

// The factory's words for the sensor's voltages.
bool HasVoltages(const CameraDescription &description);

// Two output channels, each with one half of the sensor.
bool HasSecondChannel(const CameraDescription &description);

// Monochrome cameras carry a filter wheel, but for a few models.
bool HasWheel(const CameraDescription &description, const SensorType &sensor);

// Rows that the live mode of a Benchmate leaves out: one pair of every so many pairs is sent.
uint32_t LiveModeStep(const SensorType &sensor);

// The reading of the temperature registers in degrees, and back.
double CelsiusOfCounts(uint32_t counts);
uint32_t CountsOfCelsius(double celsius);

} // namespace zerix::sim

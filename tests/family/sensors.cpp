// The table of sensors, a row for each run of neighbouring numbers.
#include "tests/family/sensors.h"

#include <gtest/gtest.h>

namespace zerix::family {
namespace {

struct Row {
    uint32_t first;
    uint32_t last;
    Sensor sensor;
};

constexpr Sensor kKai2000{1600, 1200, Mosaic::kNone, 7.4, 80000, 0.55};
constexpr Sensor kKai4000{2048, 2048, Mosaic::kNone, 7.4, 80000, 0.55};
constexpr Sensor kKai1000{1000, 1000, Mosaic::kNone, 7.4, 42000, 0.45};

constexpr Row kRows[] = {
    {0, 0, {1317, 1035, Mosaic::kNone, 6.8, 45000, 0.40}},
    {1, 2, {1536, 1024, Mosaic::kNone, 9.0, 100000, 0.40}},
    {3, 3, {2048, 2048, Mosaic::kNone, 9.0, 85000, 0.40}},
    {4, 4, {1300, 1030, Mosaic::kNone, 6.7, 36000, 0.45}},
    {5, 5, {1300, 1030, Mosaic::kRggb, 6.7, 36000, 0.45}},
    {6, 6, {1392, 1040, Mosaic::kNone, 6.45, 22000, 0.62}},
    {7, 7, {1392, 1040, Mosaic::kRggb, 6.45, 22000, 0.62}},
    {8, 8, {1392, 1040, Mosaic::kNone, 4.65, 10000, 0.48}},
    {9, 9, {1392, 1040, Mosaic::kRggb, 4.65, 10000, 0.48}},
    {10, 10, {2048, 1536, Mosaic::kRggb, 3.45, 9000, 0.40}},
    {11, 11, {1024, 58, Mosaic::kNone, 24.0, 300000, 0.90}},
    {12, 12, {2560, 1920, Mosaic::kRggb, 3.4, 8500, 0.40}},
    {13, 13, {768, 494, Mosaic::kNone, 8.4, 30000, 0.45}},
    {14, 14, {512, 250, Mosaic::kNone, 24.0, 300000, 0.90}},
    {15, 15, {1004, 1002, Mosaic::kNone, 13.7, 22000, 0.85}},
    {16, 19, kKai2000},
    {20, 23, kKai4000},
    {24, 27, kKai1000},
    {28, 33, kKai2000},
    {34, 39, kKai4000},
    {40, 45, kKai1000},
    {46, 65, kKai2000},
    {66, 75, kKai4000},
    {76, 77, {2184, 1472, Mosaic::kNone, 6.8, 55000, 0.80}},
    {78, 78, {512, 512, Mosaic::kNone, 16.0, 160000, 0.92}},
};

// The types of the interline sensors whose name says CM.
constexpr uint32_t kColourTypes[] = {19, 23, 27, 32, 33, 38, 39, 44, 45,
                                     53, 54, 55, 57, 59, 65, 67, 68, 75};

struct Rate {
    float megahertz;
    double electrons;
};
constexpr Rate kReadNoise[] = {{2.5f, 5}, {5, 6}, {10, 7}, {20, 9}, {30, 12}, {40, 16}};

} // namespace

Sensor SensorOf(uint32_t ccdModel)
{
    for (const Row &row : kRows) {
        if (ccdModel < row.first || ccdModel > row.last)
            continue;
        Sensor sensor = row.sensor;
        for (const uint32_t colourType : kColourTypes)
            if (colourType == ccdModel)
                sensor.mosaic = Mosaic::kGrbg;
        return sensor;
    }
    ADD_FAILURE() << "no sensor " << ccdModel;
    return {};
}

double ElectronsOf(const Sensor &sensor, double photons, double seconds)
{
    const double seen = photons / 3 * (0.85 + 1.0 + 0.75) * sensor.peakQuantumEfficiency;
    return seen * sensor.pitchMicrometres * sensor.pitchMicrometres * seconds;
}

double ReadNoiseAt(float megahertz)
{
    for (const Rate &rate : kReadNoise)
        if (rate.megahertz == megahertz)
            return rate.electrons;
    ADD_FAILURE() << "no read noise at " << megahertz;
    return 0;
}

} // namespace zerix::family

// The table of sensors: every CCD model number with the figures of its family.
#include <gtest/gtest.h>

#include <set>

#include "sim/sensor.h"

namespace zerix::sim {
namespace {

struct Row {
    uint16_t first;
    uint16_t last;
    uint32_t columns;
    uint32_t rows;
    double pitch;
    uint32_t fullWell;
    double dark;
    double doubling;
    double efficiency;
    bool twoFields;
    bool multiplying;
};

constexpr Row kRows[] = {
    {0, 0, 1317, 1035, 6.8, 45000, 10, 6.3, 0.40, false, false},
    {1, 2, 1536, 1024, 9.0, 100000, 15, 6.3, 0.40, false, false},
    {3, 3, 2048, 2048, 9.0, 85000, 15, 6.3, 0.40, false, false},
    {4, 5, 1300, 1030, 6.7, 36000, 1.2, 7.0, 0.45, false, false},
    {6, 7, 1392, 1040, 6.45, 22000, 0.15, 7.0, 0.62, false, false},
    {8, 9, 1392, 1040, 4.65, 10000, 0.2, 7.0, 0.48, false, false},
    {10, 10, 2048, 1536, 3.45, 9000, 0.3, 7.0, 0.40, true, false},
    {11, 11, 1024, 58, 24, 300000, 100, 5.5, 0.90, false, false},
    {12, 12, 2560, 1920, 3.4, 8500, 0.3, 7.0, 0.40, true, false},
    {13, 13, 768, 494, 8.4, 30000, 0.8, 7.0, 0.45, false, false},
    {14, 14, 512, 250, 24, 300000, 100, 5.5, 0.90, false, false},
    {15, 15, 1004, 1002, 13.7, 22000, 2, 6.5, 0.85, false, true},
    {16, 19, 1600, 1200, 7.4, 80000, 2.0, 7.0, 0.55, false, false},
    {20, 23, 2048, 2048, 7.4, 80000, 2.0, 7.0, 0.55, false, false},
    {24, 27, 1000, 1000, 7.4, 42000, 3.0, 7.0, 0.45, false, false},
    {28, 33, 1600, 1200, 7.4, 80000, 2.0, 7.0, 0.55, false, false},
    {34, 39, 2048, 2048, 7.4, 80000, 2.0, 7.0, 0.55, false, false},
    {40, 45, 1000, 1000, 7.4, 42000, 3.0, 7.0, 0.45, false, false},
    {46, 65, 1600, 1200, 7.4, 80000, 2.0, 7.0, 0.55, false, false},
    {66, 75, 2048, 2048, 7.4, 80000, 2.0, 7.0, 0.55, false, false},
    {76, 77, 2184, 1472, 6.8, 55000, 7, 6.3, 0.80, false, false},
    {78, 78, 512, 512, 16, 160000, 1.5, 6.5, 0.92, false, true},
};

TEST(SensorTypes, HaveTheFiguresOfTheirFamily)
{
    uint16_t next = 0;
    for (const Row &row : kRows) {
        EXPECT_EQ(row.first, next);
        next = static_cast<uint16_t>(row.last + 1);
        for (uint16_t ccdModel = row.first; ccdModel <= row.last; ++ccdModel) {
            SCOPED_TRACE(ccdModel);
            const SensorType *type = FindSensorType(ccdModel);
            ASSERT_NE(type, nullptr);
            EXPECT_EQ(type->columns, row.columns);
            EXPECT_EQ(type->rows, row.rows);
            EXPECT_FLOAT_EQ(type->pitchMicrometres, static_cast<float>(row.pitch));
            EXPECT_EQ(type->fullWellElectrons, row.fullWell);
            EXPECT_FLOAT_EQ(type->darkElectronsPerSecond, static_cast<float>(row.dark));
            EXPECT_FLOAT_EQ(type->darkDoublesKelvin, static_cast<float>(row.doubling));
            EXPECT_FLOAT_EQ(type->peakQuantumEfficiency, static_cast<float>(row.efficiency));
            EXPECT_EQ(type->twoFields, row.twoFields);
            EXPECT_EQ(type->electronMultiplying, row.multiplying);
        }
    }
    EXPECT_EQ(next, 79U);
    EXPECT_EQ(FindSensorType(79), nullptr);
    EXPECT_EQ(FindSensorType(0xFFFF), nullptr);
}

// Those of the two-field and older colour sensors begin with red; the names of the others say CM.
Mosaic ExpectedMosaic(uint16_t ccdModel)
{
    static const std::set<uint16_t> kRedFirst = {5, 7, 9, 10, 12};
    static const std::set<uint16_t> kGreenFirst = {19, 23, 27, 32, 33, 38, 39, 44, 45,
                                                   53, 54, 55, 57, 59, 65, 67, 68, 75};
    if (kRedFirst.contains(ccdModel))
        return Mosaic::kRggb;
    return kGreenFirst.contains(ccdModel) ? Mosaic::kGrbg : Mosaic::kNone;
}

TEST(SensorTypes, HaveTheMosaicsOfTheirNumbers)
{
    for (uint16_t ccdModel = 0; ccdModel <= 78; ++ccdModel)
        EXPECT_EQ(FindSensorType(ccdModel)->mosaic, ExpectedMosaic(ccdModel)) << ccdModel;
    EXPECT_EQ(FindSensorType(3)->name, "KAF4200");
    EXPECT_EQ(FindSensorType(19)->name, "KAI-2001CM AR Glass");
    EXPECT_EQ(FindSensorType(23)->name, "KAI-4020CM AR Glass");
    EXPECT_EQ(FindSensorType(46)->name, "KAI-2020M AR Glass");
    EXPECT_EQ(FindSensorType(77)->name, "KAF-3200");
}

} // namespace
} // namespace zerix::sim

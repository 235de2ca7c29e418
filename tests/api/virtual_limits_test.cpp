// The limits and lists of every key on cameras that are known: sensors, registers of which version
// and models decide them.
#include <map>
#include <numeric>
#include <set>

#include "tests/api/virtual_params_session.h"

namespace zerix::api {
namespace {

using Values = std::vector<uint32_t>;

template <typename T>
struct Limits {
    T minimum;
    T maximum;
    bool operator==(const Limits &) const = default;
};
template <typename T>
std::ostream &operator<<(std::ostream &stream, const Limits<T> &limits)
{
    return stream << limits.minimum << " to " << limits.maximum;
}
template <typename T>
using LimitsByKey = std::map<uint32_t, Limits<T>>;

struct KnownCamera {
    const char *rack;
    uint32_t id;
    uint32_t model;
    LimitsByKey<uint32_t> limits;
    LimitsByKey<int32_t> limitsS32;
    LimitsByKey<uint64_t> limits64;
    std::map<uint32_t, Values> lists;
};

const Values kOnOff = {0, 1};
const Values kUpTo4 = {1, 2, 3, 4};
const Values kTo8 = {1, 2, 4, 8};
const Values kSixTriggers = {0, 1, 2, 3, 4, 5};
const Values kEightTriggers = {0, 1, 2, 3, 4, 5, 6, 7};
const Values kOfAWheel = {0, 1, 2, 3, 6, 7, 8, 9, 10, 11, 12};
const Values kOfAMosaic = {0, 1, 2, 3, 4, 5};
const Values kFinishedMosaic = {0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12};

constexpr Limits<uint32_t> kCounts = {0, 4095};
constexpr Limits<uint32_t> kSwitch = {0, 1};
constexpr Limits<uint32_t> kMicroseconds = {10, 1'073'741'823};
constexpr Limits<uint64_t> kNanoseconds = {10'000, 1'073'741'823'000};
constexpr Limits<uint32_t> kThousandths = {10, 100'000};
// 34.1516 dB over 4096 counts around the 600 of no gain, cut to 0.01 dB; and the factors of three
// figures that lie within.
constexpr Limits<int32_t> kDecibels = {-5'000'000, 29'140'000};
constexpr Limits<uint32_t> kFactor = {563'000, 28'600'000};

// Each camera's keys with limits, then its lists. What stands in neither is refused.
const KnownCamera kKnownCameras[] = {
    {"default",
     0,
     18,
     {{0, kCounts},        {1, kCounts},        {2, kMicroseconds}, {3, {1, 8}},
      {6, {0, 2}},         {7, {0, 7}},         {8, {0, 3}},        {9, kSwitch},
      {10, kMicroseconds}, {11, kMicroseconds}, {12, {0, 12}},      {13, {0, 1391}},
      {14, {0, 1039}},     {15, {1, 1392}},     {16, {1, 1040}},    {19, kSwitch},
      {20, kSwitch},       {25, kFactor},       {28, kThousandths}, {29, kThousandths},
      {30, kThousandths},  {31, {1, 4}},        {32, {0, 12}},      {33, {1, 4}},
      {52, {2, 255}}},
     {{0, kDecibels}, {1, {0, 4095}}, {2, {-30, 20}}},
     {{0, kNanoseconds}, {1, kNanoseconds}, {2, kNanoseconds}},
     {{3, kTo8},
      {6, {0, 1, 2}},
      {7, kEightTriggers},
      {8, {0, 1, 3}},
      {9, kOnOff},
      {12, kOfAWheel},
      {20, kOnOff},
      {31, kUpTo4},
      {32, kOfAWheel},
      {33, kUpTo4},
      {34, kOnOff},
      {35, kOnOff}}},
    {"default",
     1,
     19,
     {{0, kCounts},       {1, kCounts},       {2, kMicroseconds}, {3, {1, 8}},     {6, {0, 2}},
      {7, {0, 7}},        {9, kSwitch},       {12, {0, 5}},       {13, {0, 1599}}, {14, {0, 1199}},
      {15, {1, 1600}},    {16, {1, 1200}},    {19, kSwitch},      {20, kSwitch},   {25, kFactor},
      {28, kThousandths}, {29, kThousandths}, {30, kThousandths}, {31, {1, 4}},    {32, {0, 12}},
      {33, {1, 4}},       {52, {2, 255}}},
     {{0, kDecibels}, {1, {0, 4095}}, {2, {-30, 20}}},
     {{0, kNanoseconds}},
     {{3, kTo8},
      {6, {0, 1, 2}},
      {7, kEightTriggers},
      {9, kOnOff},
      {12, kOfAMosaic},
      {20, kOnOff},
      {31, kUpTo4},
      {32, kFinishedMosaic},
      {33, kUpTo4},
      {34, kOnOff},
      {35, kOnOff}}},
    {"default",
     2,
     12,
     {{0, kCounts},        {1, kCounts},       {2, kMicroseconds}, {3, {1, 8}},
      {6, {0, 1}},         {7, {0, 5}},        {8, {0, 3}},        {10, kMicroseconds},
      {11, kMicroseconds}, {12, {0, 12}},      {13, {0, 1391}},    {14, {0, 1039}},
      {15, {1, 1392}},     {16, {1, 1040}},    {19, kSwitch},      {20, kSwitch},
      {25, kFactor},       {28, kThousandths}, {29, kThousandths}, {30, kThousandths},
      {31, {1, 4}},        {32, {0, 12}},      {52, {2, 255}}},
     {{0, kDecibels}, {1, {0, 4095}}},
     {{0, kNanoseconds}, {1, kNanoseconds}, {2, kNanoseconds}},
     {{3, kTo8},
      {6, {0, 1}},
      {7, kSixTriggers},
      {8, {0, 1, 3}},
      {12, kOfAWheel},
      {20, kOnOff},
      {31, kUpTo4},
      {32, kOfAWheel}}},
    // A bent gain that ends at 3171 counts; lines alone are binned; a live mode.
    {"family-1",
     4,
     8,
     {{0, {0, 3171}},
      {1, kCounts},
      {2, kMicroseconds},
      {5, {1, 4}},
      {6, {0, 3}},
      {7, {0, 5}},
      {12, {0, 5}},
      {13, {0, 2047}},
      {14, {0, 1535}},
      {15, {1, 2048}},
      {16, {1, 1536}},
      {24, kSwitch},
      {25, {918'000, 9'240'000}},
      {28, kThousandths},
      {29, kThousandths},
      {30, kThousandths},
      {31, {1, 4}},
      {32, {0, 12}},
      {52, {2, 255}}},
     {{0, {-750'000, 19'320'000}}, {1, {0, 4095}}},
     {{0, kNanoseconds}},
     {{5, kUpTo4},
      {6, {0, 1, 2, 3}},
      {7, {0, 5}},
      {12, kOfAMosaic},
      {24, kOnOff},
      {31, kUpTo4},
      {32, kFinishedMosaic}}},
    // An intensifier: 33.5092631 dB, and 0.015765398 dB for each of 4095 counts.
    {"family-1",
     6,
     9,
     {{0, kCounts},
      {1, kCounts},
      {2, kMicroseconds},
      {3, {1, 8}},
      {6, {0, 3}},
      {7, {0, 5}},
      {8, {0, 3}},
      {9, kSwitch},
      {10, kMicroseconds},
      {11, kMicroseconds},
      {12, {0, 12}},
      {13, {0, 1391}},
      {14, {0, 1039}},
      {15, {1, 1392}},
      {16, {1, 1040}},
      {19, kSwitch},
      {20, kSwitch},
      {22, kCounts},
      {23, {0, 1'000'000'000}},
      {25, kFactor},
      {26, kCounts},
      {28, kThousandths},
      {29, kThousandths},
      {30, kThousandths},
      {31, {1, 4}},
      {32, {0, 12}},
      {52, {2, 255}}},
     {{0, kDecibels}, {1, {0, 4095}}},
     {{0, kNanoseconds}, {1, kNanoseconds}, {2, kNanoseconds}, {3, {47'400'000, 80'000'000'000}}},
     {{3, kTo8},
      {6, {0, 1, 2, 3}},
      {7, kSixTriggers},
      {8, {0, 1, 3}},
      {9, kOnOff},
      {12, kOfAWheel},
      {20, kOnOff},
      {31, kUpTo4},
      {32, kOfAWheel}}},
    // Electron multiplication; its fastest speed is told first.
    {"family-3",
     0,
     25,
     {{0, kCounts},        {1, kCounts},        {2, kMicroseconds}, {3, {1, 8}},
      {6, {0, 7}},         {7, {0, 7}},         {8, {0, 3}},        {9, kSwitch},
      {10, kMicroseconds}, {11, kMicroseconds}, {12, {0, 12}},      {13, {0, 511}},
      {14, {0, 511}},      {15, {1, 512}},      {16, {1, 512}},     {19, kSwitch},
      {20, kSwitch},       {25, kFactor},       {28, kThousandths}, {29, kThousandths},
      {30, kThousandths},  {31, {1, 4}},        {32, {0, 12}},      {33, {1, 4}},
      {37, {0, 3200}},     {39, {0, 26'208}},   {42, kSwitch},      {43, kSwitch},
      {44, {500, 5000}},   {52, {2, 255}}},
     {{0, kDecibels}, {1, {0, 4095}}, {2, {-30, 20}}},
     {{0, kNanoseconds}, {1, kNanoseconds}, {2, kNanoseconds}},
     {{3, kTo8},
      {6, {0, 1, 7}},
      {7, kEightTriggers},
      {8, {0, 1, 3}},
      {9, kOnOff},
      {12, kOfAWheel},
      {20, kOnOff},
      {31, kUpTo4},
      {32, kOfAWheel},
      {33, kUpTo4},
      {34, kOnOff},
      {35, kOnOff},
      {42, kOnOff},
      {43, kOnOff}}},
    // Bins both axes on their own; its lines' list isn't written out here.
    {"family-3",
     8,
     1002,
     {{0, kCounts},       {1, kCounts},         {2, kMicroseconds},  {4, {1, 4}},
      {5, {1, 64}},       {6, {0, 2}},          {7, {0, 5}},         {8, {0, 3}},
      {9, kSwitch},       {10, kMicroseconds},  {11, kMicroseconds}, {12, {0, 12}},
      {13, {0, 1023}},    {14, {0, 57}},        {15, {1, 1024}},     {16, {1, 58}},
      {20, kSwitch},      {21, {0, 1'000'000}}, {25, kFactor},       {28, kThousandths},
      {29, kThousandths}, {30, kThousandths},   {31, {1, 4}},        {32, {0, 12}},
      {52, {2, 255}}},
     {{0, kDecibels}, {1, {0, 4095}}},
     {{0, kNanoseconds}, {1, kNanoseconds}, {2, kNanoseconds}},
     {{4, kUpTo4},
      {5, {}},
      {6, {2}},
      {7, kSixTriggers},
      {8, {0, 1, 3}},
      {9, kOnOff},
      {12, kOfAWheel},
      {20, kOnOff},
      {31, kUpTo4},
      {32, kOfAWheel}}},
};

class VirtualLimits : public VirtualParamsSession {
protected:
    template <typename T, typename Get>
    LimitsByKey<T> AllLimits(Get getMinimum, Get getMaximum)
    {
        LimitsByKey<T> all;
        for (uint32_t key = 0; key < 60; ++key) {
            Limits<T> limits = {77, 78};
            const uint32_t error = getMinimum(&settings, key, &limits.minimum);
            EXPECT_EQ(getMaximum(&settings, key, &limits.maximum), error) << key;
            if (error == 0) {
                all[key] = limits;
            } else {
                EXPECT_EQ(error, 1u) << key;
                EXPECT_EQ(limits, (Limits<T>{77, 78}));
            }
        }
        return all;
    }

    std::map<uint32_t, Values> AllLists()
    {
        std::map<uint32_t, Values> all;
        for (uint32_t key = 0; key < 60; ++key) {
            Values entries(100);
            int32_t size = 100;
            const uint32_t error = Zerix_GetParamSparseTable(&settings, key, entries.data(), &size);
            EXPECT_EQ(error, Zerix_IsSparseTable(&settings, key)) << key;
            if (error != 0)
                continue;
            entries.resize(static_cast<std::size_t>(size));
            all[key] = entries;
        }
        return all;
    }
};

TEST_F(VirtualLimits, OfKnownCameras)
{
    for (const KnownCamera &row : kKnownCameras) {
        SCOPED_TRACE(row.model);
        ASSERT_EQ(ZerixSim_ChooseRack(row.rack), 0u) << ZerixSim_LastErrorText();
        Configure("");
        Load();
        List();
        OpenWithDefaults(row.id);
        uint32_t model = 0;
        EXPECT_EQ(Zerix_GetInfo(handle, zinfCameraType, &model), 0u);
        EXPECT_EQ(model, row.model);
        EXPECT_EQ(AllLimits<uint32_t>(Zerix_GetParamMin, Zerix_GetParamMax), row.limits);
        EXPECT_EQ(AllLimits<int32_t>(Zerix_GetParamS32Min, Zerix_GetParamS32Max), row.limitsS32);
        EXPECT_EQ(AllLimits<uint64_t>(Zerix_GetParam64Min, Zerix_GetParam64Max), row.limits64);
        std::map<uint32_t, Values> lists = row.lists;
        if (row.model == 1002) {
            lists[zprmVerticalBinning].resize(64);
            std::iota(lists[zprmVerticalBinning].begin(), lists[zprmVerticalBinning].end(), 1);
        }
        EXPECT_EQ(AllLists(), lists);
        Zerix_ReleaseDriver();
    }
}

// The modes of the trigger shrink while the wheel turns; what was set isn't looked at again.
TEST_F(VirtualLimits, OfTheTriggerShrinkWhileTheWheelTurns)
{
    OnEachCamera("default", [&] {
        if (!Supports(zprmColorWheel))
            return;
        EXPECT_EQ(Zerix_SetParam(&settings, zprmTriggerType, 1), 0u);
        EXPECT_EQ(Zerix_SetParam(&settings, zprmImageFormat, zfmtRgbPlane8), 0u);
        EXPECT_EQ(Zerix_SendSettingsToCam(handle, &settings), 0u);
        EXPECT_EQ(ListOf(zprmTriggerType), (Values{0, 5}));
        EXPECT_EQ(Zerix_SetParam(&settings, zprmTriggerType, 1), 2u);
        EXPECT_EQ(Value(zprmTriggerType), 1u);
        uint32_t maximum = 0;
        EXPECT_EQ(Zerix_GetParamMax(&settings, zprmTriggerType, &maximum), 0u);
        EXPECT_EQ(maximum, 5u);
        EXPECT_EQ(Zerix_SetParam(&settings, zprmTriggerType, 0), 0u);
        EXPECT_EQ(Zerix_SetParam(&settings, zprmImageFormat, zfmtMono8), 0u);
        EXPECT_EQ(Zerix_SendSettingsToCam(handle, &settings), 0u);
        EXPECT_GE(ListOf(zprmTriggerType).size(), 6u);
    });
}

// Of a family's rack the one camera is on a slow bus, where the fastest speed isn't offered.
TEST_F(VirtualLimits, OfTheReadoutGoByTheBus)
{
    for (const auto &[rack, id, speeds] :
         {std::tuple{"family-1", 9u, Values{0, 1}}, {"family-3", 1u, Values{8, 0, 1}}}) {
        ASSERT_EQ(ZerixSim_ChooseRack(rack), 0u) << ZerixSim_LastErrorText();
        Load();
        List();
        OpenWithDefaults(id);
        EXPECT_EQ(ListOf(zprmReadoutSpeed), speeds);
        EXPECT_EQ(Zerix_SetParam(&settings, zprmReadoutSpeed, 8), speeds[0] == 8 ? 0u : 2u);
        Zerix_ReleaseDriver();
    }
}

} // namespace
} // namespace zerix::api

// The parameter calls on every camera of the family: limits around defaults, lists that are
// accepted as they are told, and refusals next to both.
#include <algorithm>
#include <numeric>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "hal/kernel_requests.h"
#include "tables/settings_accessors.h"
#include "tests/api/virtual_params_session.h"

namespace zerix::api {
namespace {

// Checked against their limits when they are set.
const std::set<uint32_t> kByRange = {13, 14, 15, 16, 19, 21, 23, 37, 39, 44, 52};
// Checked against their lists: with 1, and with 2.
const std::set<uint32_t> kByListWith1 = {3, 4, 5};
const std::set<uint32_t> kByListWith2 = {6, 7, 9, 12, 20, 24, 32, 33, 34, 35, 36, 42, 43};
// Limits that nobody checks.
const std::set<uint32_t> kUnchecked = {8, 22, 26, 28, 29, 30, 31};

class VirtualParams : public VirtualParamsSession {
protected:
    std::set<uint32_t> Supported(uint32_t (*isSupported)(ZerixHandle, uint32_t)) const
    {
        std::set<uint32_t> keys;
        for (uint32_t key = 0; key < 60; ++key) {
            if (isSupported(handle, key) == 0)
                keys.insert(key);
        }
        return keys;
    }
};

// What a camera has beyond the keys of every camera follows from its sensor, its registers'
// versions and its model.
struct KnownCamera {
    const char *rack;
    uint32_t id;
    uint32_t model;
    std::set<uint32_t> keys;
    std::set<uint32_t> keysS32;
    std::set<uint32_t> keys64;
    std::vector<uint32_t> binnings; // empty: of each axis, below
    std::vector<uint32_t> readouts;
    std::vector<uint32_t> triggers;
};
const KnownCamera kKnownCameras[] = {
    // Monochrome, cooled, with the newest registers.
    {"default",
     0,
     18,
     {3, 8, 9, 10, 11, 19, 20, 33, 34, 35, 45, 46},
     {0, 1, 2},
     {0, 1, 2},
     {1, 2, 4, 8},
     {0, 1, 2},
     {0, 1, 2, 3, 4, 5, 6, 7}},
    // Colour: no wheel.
    {"default",
     1,
     19,
     {3, 9, 19, 20, 33, 34, 35, 45, 46},
     {0, 1, 2},
     {0},
     {1, 2, 4, 8},
     {0, 1, 2},
     {0, 1, 2, 3, 4, 5, 6, 7}},
    // Old, without a cooler.
    {"default",
     2,
     12,
     {3, 8, 10, 11, 19, 20},
     {0, 1},
     {0, 1, 2},
     {1, 2, 4, 8},
     {0, 1},
     {0, 1, 2, 3, 4, 5}},
    // Bins lines alone, and has a live mode.
    {"family-1", 4, 8, {5, 24}, {0, 1}, {0}, {1, 2, 3, 4}, {0, 1, 2, 3}, {0, 5}},
    {"family-1",
     6,
     9,
     {3, 8, 9, 10, 11, 19, 20, 22, 23, 26},
     {0, 1},
     {0, 1, 2, 3},
     {1, 2, 4, 8},
     {0, 1, 2, 3},
     {0, 1, 2, 3, 4, 5}},
    // Electron multiplication with everything that goes with it.
    {"family-3",
     0,
     25,
     {3, 8, 9, 10, 11, 19, 20, 33, 34, 35, 37, 39, 42, 43, 44, 45, 46, 47, 48, 49, 50, 51},
     {0, 1, 2},
     {0, 1, 2},
     {1, 2, 4, 8},
     {0, 1, 7},
     {0, 1, 2, 3, 4, 5, 6, 7}},
    // Bins both axes on their own, and has a shutter delay.
    {"family-3",
     8,
     1002,
     {4, 5, 8, 9, 10, 11, 20, 21},
     {0, 1},
     {0, 1, 2},
     {},
     {2},
     {0, 1, 2, 3, 4, 5}},
};

TEST_F(VirtualParams, OfKnownCameras)
{
    for (const KnownCamera &row : kKnownCameras) {
        SCOPED_TRACE(row.model);
        ASSERT_EQ(ZerixSim_ChooseRack(row.rack), 0u) << ZerixSim_LastErrorText();
        Load();
        List();
        OpenWithDefaults(row.id);
        uint32_t model = 0;
        EXPECT_EQ(Zerix_GetInfo(handle, zinfCameraType, &model), 0u);
        EXPECT_EQ(model, row.model);
        std::set<uint32_t> expected = row.keys;
        expected.insert({0, 1, 2, 6, 7, 12, 13, 14, 15, 16, 25, 27, 28, 29, 30, 31, 32, 52});
        EXPECT_EQ(Supported(Zerix_IsParamSupported), expected);
        EXPECT_EQ(Supported(Zerix_IsParamS32Supported), row.keysS32);
        EXPECT_EQ(Supported(Zerix_IsParam64Supported), row.keys64);
        if (!row.binnings.empty()) {
            EXPECT_EQ(ListOf(row.keys.count(zprmBinning) != 0 ? zprmBinning : zprmVerticalBinning),
                      row.binnings);
        }
        EXPECT_EQ(ListOf(zprmReadoutSpeed), row.readouts);
        EXPECT_EQ(ListOf(zprmTriggerType), row.triggers);
        Zerix_ReleaseDriver();
    }
}

// Lines of 1 to 64: a list longer than the room in which others are checked.
TEST_F(VirtualParams, OfACameraThatBinsEachAxisOnItsOwn)
{
    ASSERT_EQ(ZerixSim_ChooseRack("family-3"), 0u) << ZerixSim_LastErrorText();
    Load();
    List();
    OpenWithDefaults(8);
    EXPECT_EQ(ListOf(zprmHorizontalBinning), (std::vector<uint32_t>{1, 2, 3, 4}));
    std::vector<uint32_t> upTo64(64);
    std::iota(upTo64.begin(), upTo64.end(), 1);
    EXPECT_EQ(ListOf(zprmVerticalBinning), upTo64);
    ExpectAccepted(zprmVerticalBinning, 64);
    ExpectRefused(zprmVerticalBinning, 65, 1);
    uint32_t maximum = 0;
    EXPECT_EQ(Zerix_GetParamMax(&settings, zprmVerticalBinning, &maximum), 0u);
    EXPECT_EQ(maximum, 64u);
}

TEST_F(VirtualParams, HaveTheirDefaultsWithinTheirLimits)
{
    OnEachKeyOfTheFamily([&](uint32_t key) {
        uint32_t minimum = 0;
        uint32_t maximum = 0;
        if (key == zprmIntensifierGain || Zerix_GetParamMin(&settings, key, &minimum) != 0 ||
            Zerix_GetParamMax(&settings, key, &maximum) != 0)
            return; // nothing is written to the intensifier's slot by default
        for (const uint32_t value : {Value(key), tables::GetSlot32(&settings, key, true)}) {
            EXPECT_LE(minimum, value);
            EXPECT_LE(value, maximum);
        }
    });
}

// Signed and 64-bit. The slot's own value: reading a gain limits it.
template <typename T, typename Support, typename Slot, typename Get>
void ExpectDefaultsWithinLimits(ZerixHandle handle, const Zerix_Settings &settings,
                                Support isSupported, Slot slot, Get getMinimum, Get getMaximum)
{
    uint32_t count = 0;
    for (uint32_t key = 0; key < 4; ++key) {
        if (isSupported(handle, key) != 0)
            continue;
        ++count;
        SCOPED_TRACE(key);
        T minimum = 1;
        T maximum = 0;
        EXPECT_EQ(getMinimum(&settings, key, &minimum), 0u);
        EXPECT_EQ(getMaximum(&settings, key, &maximum), 0u);
        EXPECT_LE(minimum, slot(&settings, key, true));
        EXPECT_LE(slot(&settings, key, true), maximum);
        EXPECT_LT(minimum, maximum);
    }
    EXPECT_GE(count, 1u);
}

TEST_F(VirtualParams, HaveTheirWiderDefaultsWithinTheirLimits)
{
    const auto slotS32 = [](const Zerix_Settings *record, uint32_t key, bool isCurrent) {
        return tables::GetSlotS32(record, key, isCurrent);
    };
    const auto slot64 = [](const Zerix_Settings *record, uint32_t key, bool isCurrent) {
        return tables::GetSlot64(record, key, isCurrent);
    };
    OnEachCameraOfTheFamily([&] {
        ExpectDefaultsWithinLimits<int32_t>(handle, settings, Zerix_IsParamS32Supported, slotS32,
                                            Zerix_GetParamS32Min, Zerix_GetParamS32Max);
        ExpectDefaultsWithinLimits<uint64_t>(handle, settings, Zerix_IsParam64Supported, slot64,
                                             Zerix_GetParam64Min, Zerix_GetParam64Max);
    });
}

TEST_F(VirtualParams, AcceptEveryListedValueAndNoOther)
{
    OnEachKeyOfTheFamily([&](uint32_t key) {
        if (Zerix_IsSparseTable(&settings, key) != 0)
            return;
        const std::vector<uint32_t> list = ListOf(key);
        EXPECT_FALSE(list.empty());
        for (const uint32_t value : list)
            ExpectAccepted(key, value);
        if (kUnchecked.count(key) != 0)
            return;
        ASSERT_EQ(kByListWith1.count(key) + kByListWith2.count(key), 1u);
        for (uint32_t value = 0; value < 64; ++value) {
            if (std::find(list.begin(), list.end(), value) == list.end())
                ExpectRefused(key, value, kByListWith1.count(key) != 0 ? 1 : 2);
        }
    });
}

TEST_F(VirtualParams, AcceptTheLimitsOfARangeAndRefuseTheValuesNextToThem)
{
    OnEachKeyOfTheFamily([&](uint32_t key) {
        uint32_t minimum = 0;
        uint32_t maximum = 0;
        if (kByRange.count(key) == 0)
            return;
        EXPECT_EQ(Zerix_IsRangeTable(&settings, key), 0u);
        ASSERT_EQ(Zerix_GetParamMin(&settings, key, &minimum), 0u);
        ASSERT_EQ(Zerix_GetParamMax(&settings, key, &maximum), 0u);
        EXPECT_LE(minimum, maximum);
        ExpectAccepted(key, minimum);
        ExpectAccepted(key, maximum);
        if (minimum > 0)
            ExpectRefused(key, minimum - 1, 2);
        if (maximum < 0xFFFFFFFFu)
            ExpectRefused(key, maximum + 1, 2);
    });
}

// An exposure next to the limits is told and kept.
TEST_F(VirtualParams, TellOfExposuresNextToTheLimits)
{
    OnEachKeyOfTheFamily([&](uint32_t key) {
        if (key != zprmExposure && key != zprmExposureRed && key != zprmExposureBlue)
            return;
        const uint32_t key64 = key == zprmExposure ? 0 : key - 9;
        uint64_t minimum = 0;
        uint64_t maximum = 0;
        ASSERT_EQ(Zerix_GetParam64Min(&settings, key64, &minimum), 0u);
        ASSERT_EQ(Zerix_GetParam64Max(&settings, key64, &maximum), 0u);
        for (const auto &[value, code] :
             {std::pair{minimum, 0u}, {maximum, 0u}, {minimum - 1, 2u}, {maximum + 1, 2u}}) {
            EXPECT_EQ(Zerix_SetParam64(&settings, key64, value), code) << value;
            uint64_t stored = 0;
            EXPECT_EQ(Zerix_GetParam64(&settings, key64, &stored), 0u);
            EXPECT_EQ(stored, value);
        }
        // In whole microseconds: the limits, and what lies next to them.
        ASSERT_LT(maximum / 1000, 0xFFFFFFFFu);
        const auto last = static_cast<uint32_t>(maximum / 1000);
        const auto first = static_cast<uint32_t>((minimum + 999) / 1000);
        for (const auto &[value, code] :
             {std::pair{first, 0u}, {last, 0u}, {first - 1, 2u}, {last + 1, 2u}}) {
            EXPECT_EQ(Zerix_SetParam(&settings, key, value), code) << value;
            EXPECT_EQ(Value(key), value);
        }
    });
}

// Every view of the gain ends between the limits of the signed one; an offset comes back as it was.
TEST_F(VirtualParams, StoreGainsWithinTheSignedLimits)
{
    OnEachKeyOfTheFamily([&](uint32_t key) {
        if (key != zprmGain && key != zprmOffset && key != zprmNormalizedGain)
            return;
        uint32_t minimum = 0;
        uint32_t maximum = 0;
        ASSERT_EQ(Zerix_GetParamMin(&settings, key, &minimum), 0u);
        ASSERT_EQ(Zerix_GetParamMax(&settings, key, &maximum), 0u);
        for (const uint32_t value : {minimum, minimum + (maximum - minimum) / 2, maximum}) {
            EXPECT_EQ(Zerix_SetParam(&settings, key, value), 0u);
            if (key == zprmOffset) {
                EXPECT_EQ(Value(key), value);
            }
            int32_t gain = 0;
            EXPECT_EQ(Zerix_GetParamS32(&settings, zprmS32NormalizedGaindB, &gain), 0u);
            int32_t lowest = 0;
            int32_t highest = 0;
            EXPECT_EQ(Zerix_GetParamS32Min(&settings, 0, &lowest), 0u);
            EXPECT_EQ(Zerix_GetParamS32Max(&settings, 0, &highest), 0u);
            EXPECT_LE(lowest, gain);
            EXPECT_LE(gain, highest);
        }
    });
}

TEST_F(VirtualParams, RefuseTemperaturesNextToTheLimits)
{
    OnEachKeyOfTheFamily([&](uint32_t key) {
        int32_t lowest = 0;
        int32_t highest = 0;
        if (key != zprmCoolerActive || Zerix_GetParamS32Min(&settings, 2, &lowest) != 0)
            return;
        ASSERT_EQ(Zerix_GetParamS32Max(&settings, 2, &highest), 0u);
        EXPECT_LT(lowest, highest);
        for (const auto &[value, code, kept] : {std::tuple{lowest, 0u, lowest},
                                                {lowest - 1, 2u, lowest},
                                                {highest, 0u, highest},
                                                {highest + 1, 2u, highest}}) {
            EXPECT_EQ(Zerix_SetParamS32(&settings, 2, value), code) << value;
            int32_t stored = 0;
            EXPECT_EQ(Zerix_GetParamS32(&settings, 2, &stored), 0u);
            EXPECT_EQ(stored, kept);
        }
    });
}

TEST_F(VirtualParams, NeverTouchTheCamera)
{
    Configure("");
    Load();
    List();
    OpenWithDefaults(0);
    const uint32_t writes = tap.CountOf(kernel::kControlAsyncWrite);
    for (uint32_t key = 0; key < 53; ++key) {
        uint32_t value = 0;
        int32_t size = 1;
        Zerix_GetParam(&settings, key, &value);
        Zerix_SetParam(&settings, key, value);
        Zerix_GetParamMin(&settings, key, &value);
        Zerix_GetParamMax(&settings, key, &value);
        Zerix_GetParamSparseTable(&settings, key, &value, &size);
    }
    EXPECT_EQ(tap.CountOf(kernel::kControlAsyncWrite), writes);
}

} // namespace
} // namespace zerix::api

// Writing single values of a settings record: what each key is checked against and what is stored,
// in both layouts.
#include <numeric>
#include <set>

#include "tests/api/param_set_fixture.h"

namespace zerix::api {
namespace {

class ParamSet : public ParamSetTest {};

struct Checked {
    uint32_t key;
    std::vector<uint32_t> good;
    std::vector<uint32_t> bad;
    uint32_t code; // of a bad value
};

const Checked kChecked[] = {
    // By the camera's own lists.
    {3, {1, 2, 4}, {0, 3, 5, 0x10001}, 1},
    {4, {1, 3}, {0, 2, 4}, 1},
    {5, {1, 5}, {0, 2, 6}, 1},
    {7, {0, 1, 5}, {2, 3, 4, 6}, 2},
    {12, {0, 1, 2, 3, 6, 7, 8, 9, 10, 11, 12}, {4, 5, 13, 0xFFFFFFFF}, 2},
    // Unchecked.
    {8, {0, 1, 2, 3, 4, 0xFFFFFFFF}, {}, 0},
    {22, {0, 0xFFFFFFFF}, {}, 0},
    {26, {0, 0xFFFFFFFF}, {}, 0},
    {27, {0, 1, 2, 0xFFFFFFFF}, {}, 0},
    {28, {0, 9, 100'001, 0xFFFFFFFF}, {}, 0},
    {29, {0, 9, 100'001, 0xFFFFFFFF}, {}, 0},
    {30, {0, 9, 100'001, 0xFFFFFFFF}, {}, 0},
    {31, {0, 1, 4, 5, 0xFFFFFFFF}, {}, 0},
    {46, {0, 0x10000123, 0xFFFFFFFF}, {}, 0},
    // By their sparse tables.
    {6, {0, 1}, {2, 3, 9}, 2},
    {9, {0, 1}, {2, 0xFFFFFFFF}, 2},
    {20, {0, 1}, {2}, 2},
    {24, {0, 1}, {2}, 2},
    {32, {0, 1, 2, 3, 6, 7, 8, 9, 10, 11, 12}, {4, 5, 13}, 2},
    {33, {1, 2, 3, 4}, {0, 5}, 2},
    {34, {0, 1}, {2}, 2},
    {35, {0, 1}, {2}, 2},
    {36, {1}, {0, 2}, 2},
    {42, {0, 1}, {2}, 2},
    {43, {0, 1}, {2}, 2},
    // By their ranges.
    {13, {0, 1391}, {1392, 0xFFFFFFFF}, 2},
    {14, {0, 1039}, {1040, 0xFFFFFFFF}, 2},
    {15, {1, 1392}, {0, 1393}, 2},
    {16, {1, 1040}, {0, 1041}, 2},
    {19, {0, 1}, {2, 0xFFFFFFFF}, 2},
    {21, {0, 1'000'000}, {1'000'001, 0xFFFFFFFF}, 2},
    {23, {10, 20}, {9, 21, 0}, 2},
    {37, {3, 2048}, {2, 2049, 0xFFFFFFFF}, 2},
    {39, {640, 6400}, {639, 6401}, 2},
    {44, {500, 2000}, {499, 2001}, 2},
    {52, {2, 200}, {1, 201, 0xFFFFFFFF}, 2},
    // Never stored.
    {45, {}, {0, 1}, 1},
    {49, {}, {0, 1}, 1},
    {50, {}, {0, 1}, 1},
    {51, {}, {0, 1}, 1},
};

TEST_F(ParamSet, ChecksEachKeyInItsOwnWay)
{
    TracedAndNot([&] {
        for (Zerix_Settings *const settings : Both()) {
            for (const Checked &row : kChecked) {
                if (row.key >= 47 && !IsCurrent(settings))
                    continue;
                for (const uint32_t value : row.good)
                    EXPECT_EQ(Try(settings, row.key, value), 0u) << row.key << ' ' << value;
                for (const uint32_t value : row.bad)
                    EXPECT_EQ(Try(settings, row.key, value), row.code) << row.key << ' ' << value;
            }
        }
    });
}

TEST_F(ParamSet, ChecksEverySupportedKeyInTheTableAbove)
{
    std::set<uint32_t> tried = {0, 1, 2, 10, 11, 25, 47, 48}; // below
    for (const Checked &row : kChecked)
        tried.insert(row.key);
    for (uint32_t key = 0; key < 60; ++key)
        EXPECT_EQ(tried.count(key), Zerix_IsParamSupported(HandleOf(*camera), key) == 0 ? 1u : 0u)
            << key;
}

TEST_F(ParamSet, RefusesUnsupportedKeysAndLeavesTheRecordAlone)
{
    TracedAndNot([&] {
        SetEveryCapability(*camera, false);
        for (Zerix_Settings *const settings : Both()) {
            const auto before = BytesOf(settings);
            for (const uint32_t key :
                 {3u,  4u,  5u,  8u,  9u,  10u, 11u, 17u, 18u, 19u, 20u,        21u, 22u,
                  23u, 24u, 26u, 33u, 34u, 35u, 36u, 37u, 38u, 39u, 40u,        41u, 42u,
                  43u, 44u, 45u, 46u, 47u, 48u, 49u, 50u, 51u, 53u, 0xFFFFFFFFu})
                EXPECT_EQ(Zerix_SetParam(settings, key, 1), 1u) << key;
            for (const uint32_t key : {2u, 3u, 0xFFFFFFFFu})
                EXPECT_EQ(Zerix_SetParamS32(settings, key, 1), 1u) << key;
            for (const uint32_t key : {1u, 2u, 3u, 4u, 0xFFFFFFFFu})
                EXPECT_EQ(Zerix_SetParam64(settings, key, 1'000'000), 1u) << key;
            EXPECT_EQ(BytesOf(settings), before);
        }
    });
}

TEST_F(ParamSet, RefusesTheNewestKeysOfALegacyRecord)
{
    const auto before = legacy;
    for (uint32_t key = 47; key <= 52; ++key)
        EXPECT_EQ(Zerix_SetParam(Legacy(), key, 100), 1u) << key;
    EXPECT_EQ(legacy, before);
}

TEST_F(ParamSet, StoresGainAndOffsetInTheSignedKeys)
{
    camera->convertGainToNormGaindB = -3'010'000;
    camera->convertOffsetToAbsoluteOffset = -50;
    camera->convertNormGainToNormGaindB = 6'020'000;
    for (Zerix_Settings *const settings : Both()) {
        for (const uint32_t key : {0u, 1u, 25u})
            Put32(settings, key, 0xDEADDEADu);
        EXPECT_EQ(Zerix_SetParam(settings, zprmGain, 700), 0u);
        EXPECT_EQ(camera->lastConverted, 700);
        EXPECT_EQ(SlotS32(settings, 0), -3'010'000);
        EXPECT_EQ(Zerix_SetParam(settings, zprmOffset, 0xFFFFFFFFu), 0u);
        EXPECT_EQ(camera->lastConverted, 0xFFFFFFFF);
        EXPECT_EQ(SlotS32(settings, 1), -50);
        EXPECT_EQ(Zerix_SetParam(settings, zprmNormalizedGain, 2'000'000), 0u);
        EXPECT_EQ(camera->lastConverted, 2'000'000);
        EXPECT_EQ(SlotS32(settings, 0), 6'020'000);
        for (const uint32_t key : {0u, 1u, 25u})
            EXPECT_EQ(Slot32(settings, key), 0xDEADDEADu);
    }
}

// A bad exposure is told and stored at once, in both slots.
TEST_F(ParamSet, StoresExposuresWhateverTheyAre)
{
    constexpr struct {
        uint32_t key;
        uint32_t key64;
    } kExposures[] = {{2, 0}, {10, 1}, {11, 2}};
    camera->getMaxExposure = 4'000'000'000'000;
    for (Zerix_Settings *const settings : Both()) {
        for (const auto &row : kExposures) {
            for (const auto &[microseconds, code] : {std::pair{100u, 0u},
                                                     {99u, 2u},
                                                     {0u, 2u},
                                                     {4'000'000'000u, 0u},
                                                     {4'000'000'001u, 2u},
                                                     {0xFFFFFFFFu, 2u}}) {
                EXPECT_EQ(Zerix_SetParam(settings, row.key, microseconds), code) << microseconds;
                EXPECT_EQ(Slot32(settings, row.key), microseconds);
                EXPECT_EQ(Slot64(settings, row.key64), microseconds * uint64_t{1000});
                uint32_t value = 0;
                EXPECT_EQ(Zerix_GetParam(settings, row.key, &value), 0u);
                EXPECT_EQ(value, std::max(microseconds, 1u));
            }
        }
    }
}

TEST_F(ParamSet, Stores64BitExposuresWhateverTheyAreAndInTheirSlotAlone)
{
    for (Zerix_Settings *const settings : Both()) {
        for (uint32_t key = 0; key < 3; ++key) {
            const uint32_t key32 = key == 0 ? 2 : 9 + key;
            Put32(settings, key32, 4711);
            for (const auto &[nanoseconds, code] : {std::pair{uint64_t{100'000}, 0u},
                                                    {99'999, 2},
                                                    {0, 2},
                                                    {5'000'000'000'000, 0},
                                                    {5'000'000'000'001, 2},
                                                    {0xFFFFFFFFFFFFFFFF, 2}}) {
                EXPECT_EQ(Zerix_SetParam64(settings, key, nanoseconds), code) << nanoseconds;
                EXPECT_EQ(Slot64(settings, key), nanoseconds);
            }
            EXPECT_EQ(Slot32(settings, key32), 4711u);
        }
        // The intensifier's gain isn't checked.
        EXPECT_EQ(Zerix_SetParam64(settings, 3, 0xFFFFFFFFFFFFFFFF), 0u);
        EXPECT_EQ(Slot64(settings, 3), 0xFFFFFFFFFFFFFFFF);
    }
}

TEST_F(ParamSet, ChecksOnlyTheTemperatureOfTheSignedKeys)
{
    for (Zerix_Settings *const settings : Both()) {
        for (const uint32_t key : {0u, 1u}) {
            for (const int32_t value : {INT32_MIN, -1, 0, INT32_MAX}) {
                EXPECT_EQ(Zerix_SetParamS32(settings, key, value), 0u);
                EXPECT_EQ(SlotS32(settings, key), value);
            }
        }
        for (const auto &[value, code] : {std::pair{-40, 0u},
                                          {10, 0u},
                                          {-41, 2u},
                                          {11, 2u},
                                          {INT32_MIN, 2u},
                                          {INT32_MAX, 2u}}) {
            PutS32(settings, 2, 5);
            EXPECT_EQ(Zerix_SetParamS32(settings, 2, value), code) << value;
            EXPECT_EQ(SlotS32(settings, 2), code == 0 ? value : 5);
        }
    }
}

// With the mode on, the EM gain is the one that belongs to the readout speed.
TEST_F(ParamSet, OfTheKeelModeTakesTheGainOfTheReadoutSpeed)
{
    Put32(&current, zprmKeelEmGainValue10, 110);
    Put32(&current, zprmKeelEmGainValue20, 120);
    Put32(&current, zprmKeelEmGainValue40, 140);
    for (const auto &[readout, gain] :
         {std::pair{0u, 120u}, {1u, 110u}, {2u, 140u}, {7u, 140u}, {0xFFFFFFFFu, 140u}}) {
        Put32(&current, zprmReadoutSpeed, readout);
        for (const uint32_t on : {1u, 2u, 0x80000000u}) {
            Put32(&current, zprmEMGain, 7);
            EXPECT_EQ(Zerix_SetParam(&current, zprmKeelEmMode, on), 0u);
            EXPECT_EQ(Slot32(&current, zprmKeelEmMode), on);
            EXPECT_EQ(Slot32(&current, zprmEMGain), gain) << readout;
        }
        Put32(&current, zprmEMGain, 7);
        EXPECT_EQ(Zerix_SetParam(&current, zprmKeelEmMode, 0), 0u);
        EXPECT_EQ(Slot32(&current, zprmKeelEmMode), 0u);
        EXPECT_EQ(Slot32(&current, zprmEMGain), 7u);
    }
}

TEST_F(ParamSet, OfTheLockedGainSwitchesTheKeelModeWithIt)
{
    Put32(&current, zprmReadoutSpeed, 1);
    Put32(&current, zprmKeelEmGainValue10, 110);
    Put32(&current, zprmKeelEmMode, 0);
    Put32(&current, zprmEMGain, 7);
    EXPECT_EQ(Zerix_SetParam(&current, zprmLockedGainMode, 1), 0u);
    EXPECT_EQ(Slot32(&current, zprmLockedGainMode), 1u);
    EXPECT_EQ(Slot32(&current, zprmKeelEmMode), 1u);
    EXPECT_EQ(Slot32(&current, zprmEMGain), 110u);
    Put32(&current, zprmEMGain, 7);
    EXPECT_EQ(Zerix_SetParam(&current, zprmLockedGainMode, 0), 0u);
    EXPECT_EQ(Slot32(&current, zprmLockedGainMode), 0u);
    EXPECT_EQ(Slot32(&current, zprmKeelEmMode), 0u);
    EXPECT_EQ(Slot32(&current, zprmEMGain), 7u);
    // The mode alone leaves the lock.
    Zerix_SetParam(&current, zprmLockedGainMode, 1);
    Zerix_SetParam(&current, zprmKeelEmMode, 0);
    EXPECT_EQ(Slot32(&current, zprmLockedGainMode), 1u);
}

// Lists are compared as far as there is room for 30 entries; the camera's own lists of binnings and
// triggers are compared whole.
TEST_F(ParamSet, ComparesThirtyEntriesOfAList)
{
    TracedAndNot([&] {
        camera->getSyncBModes.resize(31);
        std::iota(camera->getSyncBModes.begin(), camera->getSyncBModes.end(), 100);
        camera->getTriggerModes = camera->getSyncBModes;
        EXPECT_EQ(Try(&current, zprmSyncb, 129), 0u);
        EXPECT_EQ(Try(&current, zprmSyncb, 130), 2u);
        EXPECT_EQ(Try(&current, zprmTriggerType, 130), 0u);
        EXPECT_EQ(Try(&current, zprmTriggerType, 131), 2u);
    });
}

} // namespace
} // namespace zerix::api

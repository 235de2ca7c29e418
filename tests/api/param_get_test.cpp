// Reading single values of a settings record: where each key's value comes from, in both layouts,
// and what the log shows.
#include <set>

#include "tests/api/param_fixture.h"

namespace zerix::api {
namespace {

class ParamGet : public ParamTest {};

// Computed from other slots, or not readable.
const std::set<uint32_t> kComputed = {0, 1, 2, 10, 11, 25, 46};
const std::set<uint32_t> kUnsupported = {17, 18, 38, 40, 41};

TEST_F(ParamGet, TakesTheSlotOfMostKeys)
{
    for (Zerix_Settings *const settings : Both()) {
        const uint32_t end = IsCurrent(settings) ? 53 : 47;
        for (uint32_t key = 0; key < end; ++key) {
            if (kComputed.count(key) + kUnsupported.count(key) > 0)
                continue;
            Put32(settings, key, 0xC0DE0000u + key);
            uint32_t value = 0;
            EXPECT_EQ(Zerix_GetParam(settings, key, &value), 0u) << key;
            EXPECT_EQ(value, 0xC0DE0000u + key);
        }
    }
}

TEST_F(ParamGet, RefusesUnsupportedKeysAndLeavesTheValueAlone)
{
    SetEveryCapability(*camera, false);
    for (Zerix_Settings *const settings : Both()) {
        for (const uint32_t key :
             {3u,  4u,  5u,  8u,  9u,  10u, 11u, 17u, 18u, 19u, 20u,   21u,        22u,
              23u, 24u, 26u, 33u, 34u, 35u, 36u, 37u, 38u, 39u, 40u,   41u,        42u,
              43u, 44u, 45u, 46u, 47u, 48u, 49u, 50u, 51u, 53u, 1000u, 0xFFFFFFFFu}) {
            uint32_t value = 77;
            EXPECT_EQ(Zerix_GetParam(settings, key, &value), 1u) << key;
            EXPECT_EQ(value, 77u) << key;
        }
        int32_t valueS32 = 77;
        EXPECT_EQ(Zerix_GetParamS32(settings, 2, &valueS32), 1u);
        EXPECT_EQ(Zerix_GetParamS32(settings, 3, &valueS32), 1u);
        EXPECT_EQ(valueS32, 77);
        uint64_t value64 = 77;
        for (const uint32_t key : {1u, 2u, 3u, 4u})
            EXPECT_EQ(Zerix_GetParam64(settings, key, &value64), 1u) << key;
        EXPECT_EQ(value64, 77u);
    }
}

// The signed key is the one store of the gain; the slots of the keys 0, 1 and 25 are never read.
TEST_F(ParamGet, ComputesGainAndOffsetFromTheSignedKeys)
{
    camera->convertNormGaindBToGain = 700;
    camera->convertNormGaindBToNormGain = 2'000'000;
    camera->convertAbsoluteOffsetToOffset = 701;
    for (Zerix_Settings *const settings : Both()) {
        PutS32(settings, 0, -6'020'000);
        PutS32(settings, 1, -33);
        for (const uint32_t key : {0u, 1u, 25u})
            Put32(settings, key, 0xDEADDEADu);
        uint32_t value = 0;
        EXPECT_EQ(Zerix_GetParam(settings, zprmGain, &value), 0u);
        EXPECT_EQ(value, 700u);
        EXPECT_EQ(camera->lastConverted, -6'020'000);
        EXPECT_EQ(Zerix_GetParam(settings, zprmOffset, &value), 0u);
        EXPECT_EQ(value, 701u);
        EXPECT_EQ(camera->lastConverted, -33);
        EXPECT_EQ(Zerix_GetParam(settings, zprmNormalizedGain, &value), 0u);
        EXPECT_EQ(value, 2'000'000u);
        EXPECT_EQ(camera->lastConverted, -6'020'000);
    }
}

TEST_F(ParamGet, ComputesExposuresFromThe64BitKeys)
{
    constexpr struct {
        uint32_t key;
        uint32_t key64;
    } kExposures[] = {{2, 0}, {10, 1}, {11, 2}};
    constexpr struct {
        uint64_t nanoseconds;
        uint32_t microseconds;
    } kValues[] = {{0, 1},
                   {999, 1},
                   {1'000, 1},
                   {123'456'789, 123'456},
                   {4'294'967'295'999u, 0xFFFFFFFFu},
                   {4'294'967'296'000u, 0xFFFFFFFFu},
                   {0xFFFFFFFFFFFFFFFFu, 0xFFFFFFFFu}};
    for (Zerix_Settings *const settings : Both()) {
        for (const auto &row : kExposures) {
            Put32(settings, row.key, 5);
            for (const auto &exposure : kValues) {
                Put64(settings, row.key64, exposure.nanoseconds);
                uint32_t value = 0;
                EXPECT_EQ(Zerix_GetParam(settings, row.key, &value), 0u);
                EXPECT_EQ(value, exposure.microseconds) << exposure.nanoseconds;
                uint64_t value64 = 0;
                EXPECT_EQ(Zerix_GetParam64(settings, row.key64, &value64), 0u);
                EXPECT_EQ(value64, exposure.nanoseconds);
            }
        }
    }
}

TEST_F(ParamGet, TakesTheWiderSlots)
{
    camera->roundNormGaindB = -6'000'000;
    for (Zerix_Settings *const settings : Both()) {
        PutS32(settings, 0, -6'004'999);
        PutS32(settings, 1, -12);
        PutS32(settings, 2, -25);
        int32_t value = 0;
        EXPECT_EQ(Zerix_GetParamS32(settings, 0, &value), 0u);
        EXPECT_EQ(value, -6'000'000);
        EXPECT_EQ(camera->lastConverted, -6'004'999);
        EXPECT_EQ(SlotS32(settings, 0), -6'004'999);
        EXPECT_EQ(Zerix_GetParamS32(settings, 1, &value), 0u);
        EXPECT_EQ(value, -12);
        EXPECT_EQ(Zerix_GetParamS32(settings, 2, &value), 0u);
        EXPECT_EQ(value, -25);
        Put64(settings, 3, 0x123456789ABCDEF0u);
        uint64_t value64 = 0;
        EXPECT_EQ(Zerix_GetParam64(settings, 3, &value64), 0u);
        EXPECT_EQ(value64, 0x123456789ABCDEF0u);
    }
}

TEST_F(ParamGet, RefusesTheTweekingRegisterThoughItIsSupported)
{
    EXPECT_EQ(Zerix_IsParamSupported(HandleOf(*camera), zprmTweekingRegister), 0u);
    for (Zerix_Settings *const settings : Both()) {
        uint32_t value = 77;
        EXPECT_EQ(Zerix_GetParam(settings, zprmTweekingRegister, &value), 1u);
        EXPECT_EQ(value, 77u);
    }
}

TEST_F(ParamGet, RefusesTheNewestKeysOfALegacyRecord)
{
    for (uint32_t key = 47; key <= 52; ++key) {
        uint32_t value = 77;
        EXPECT_EQ(Zerix_GetParam(Legacy(), key, &value), 1u) << key;
        EXPECT_EQ(value, 77u);
        EXPECT_EQ(Zerix_GetParam(&current, key, &value), 0u) << key;
        EXPECT_NE(value, 77u);
    }
}

// Behind the start line, and also where there was nothing to read: then the variable's old value.
TEST_F(ParamGet, ShowsTheValueInTheLog)
{
    ShowSettings();
    uint32_t value = 0;
    Put32(&current, zprmFan, 2);
    Zerix_GetParam(&current, zprmFan, &value);
    EXPECT_EQ(Take(), (Lines{"Zerix_GetParam start (zprmFan)", "Fan Speed: 2 (Medium)",
                             EndLine("Zerix_GetParam")}));
    value = 5;
    Zerix_GetParam(Legacy(), zprmKeelEmMode, &value);
    EXPECT_EQ(Take(), (Lines{"Zerix_GetParam start (zprmKeelEmMode)", "KeelEM Gain: 5",
                             EndingLine("Zerix_GetParam", kNotSupportedPhrase, 1)}));
    Zerix_GetParam(&current, zprmTweekingRegister, &value);
    EXPECT_EQ(Take(), (Lines{"Zerix_GetParam start (zprmTweekingRegister)",
                             "ZerixDebugOutputSetting32() - Unknown parameter",
                             EndingLine("Zerix_GetParam", kNotSupportedPhrase, 1)}));
    Zerix_GetParam(&current, 53, &value);
    EXPECT_EQ(Take(), (Lines{"Zerix_GetParam start (InternalParam32KeyAsString() - Unknown "
                             "parameter)",
                             EndingLine("Zerix_GetParam", kNotSupportedPhrase, 1)}));
    int32_t valueS32 = 0;
    PutS32(&current, 2, -25);
    Zerix_GetParamS32(&current, 2, &valueS32);
    EXPECT_EQ(Take(), (Lines{"Zerix_GetParamS32 start (zprmS32RegulatedCoolingTemp)",
                             "Regulated Cooling Temp: -25 C", EndLine("Zerix_GetParamS32")}));
    uint64_t value64 = 0;
    Put64(&current, 0, 2'500'000);
    Zerix_GetParam64(&current, 0, &value64);
    EXPECT_EQ(Take(),
              (Lines{"Zerix_GetParam64 start (zprm64Exposure)",
                     "Exposure (64-bit): 2500000 ns (2.5 ms)", EndLine("Zerix_GetParam64")}));
}

TEST_F(ParamGet, NestsItsQuestionsInTheLog)
{
    ShowNestedCalls();
    camera->convertAbsoluteOffsetToOffset = 12;
    PutS32(&current, 1, 12);
    uint32_t value = 0;
    Zerix_GetParam(&current, zprmOffset, &value);
    EXPECT_EQ(Take(), (Lines{
                          "Zerix_GetParam start (zprmOffset)",
                          "Zerix_IsParamSupported start (zprmOffset)",
                          "Zerix_IsParamSupported end (error code 0)\n",
                          "Zerix_GetParamS32 start (zprmS32AbsoluteOffset)",
                          "Zerix_IsParamS32Supported start (zprmS32AbsoluteOffset)",
                          "Zerix_IsParamS32Supported end (error code 0)\n",
                          "Absolute Offset: 12",
                          "Zerix_GetParamS32 end (error code 0)\n",
                          "Offset: 12",
                          "Zerix_GetParam end (error code 0)\n\n",
                      }));
    // The signed getter looks at the key first.
    int32_t valueS32 = 0;
    Zerix_GetParamS32(&current, 3, &valueS32);
    EXPECT_EQ(Take(), (Lines{"Zerix_GetParamS32 start (InternalParamS32KeyAsString() - Unknown "
                             "parameter)",
                             EndingLine("Zerix_GetParamS32", kNotSupportedPhrase, 1)}));
    // The others ask for support first.
    Zerix_GetParam(&current, 53, &value);
    EXPECT_EQ(Take(),
              (Lines{"Zerix_GetParam start (InternalParam32KeyAsString() - Unknown parameter)",
                     "Zerix_IsParamSupported start (InternalParam32KeyAsString() - Unknown "
                     "parameter)",
                     "Zerix_IsParamSupported ending because the function is not supported for "
                     "this device. (error 1)",
                     EndingLine("Zerix_GetParam", kNotSupportedPhrase, 1)}));
    uint64_t value64 = 0;
    Zerix_GetParam64(&current, 4, &value64);
    EXPECT_EQ(Take(),
              (Lines{"Zerix_GetParam64 start (InternalParam64KeyAsString() - Unknown parameter)",
                     "Zerix_IsParam64Supported start (InternalParam64KeyAsString() - Unknown "
                     "parameter)",
                     "Zerix_IsParam64Supported ending because the function is not supported for "
                     "this device. (error 1)",
                     EndingLine("Zerix_GetParam64", kNotSupportedPhrase, 1)}));
}

// What the application's record says of its layout is believed.
TEST_F(ParamGet, TakesALegacyRecordWithTheIdentifierForACurrentOne)
{
    std::memcpy(legacy.data() + 4, current.formatId, 16);
    // The layouts differ: what stands at the pointer's place is the other record's block.
    std::memcpy(legacy.data() + (sizeof(void *) == 8 ? 24 : 20), &current.privateBlock,
                sizeof(void *));
    Put32(&current, zprmRoiX, 4711);
    uint32_t value = 0;
    EXPECT_EQ(Zerix_GetParam(Legacy(), zprmRoiX, &value), 0u);
    EXPECT_EQ(value, 4711u);
}

} // namespace
} // namespace zerix::api

// What is set and sent, on every camera of the family: the fields of the camera's own registers,
// taken apart here, and the values that a fresh record reads back.
#include <cmath>
#include <map>
#include <set>

#include "tests/api/virtual_read_back_session.h"

namespace zerix::api {
namespace {

// What a key's value is called in its field.
using Code = uint32_t (*)(uint32_t value);

uint32_t Same(uint32_t value) { return value; }
uint32_t OneLess(uint32_t value) { return value - 1; }

uint32_t BinningCode(uint32_t value) { return value == 8 ? 2 : value - 1; }

uint32_t ReadoutCode(uint32_t index)
{
    constexpr uint32_t kUnknown = 0xFF;
    constexpr uint32_t kCodes[] = {0, 1, 2, 3, kUnknown, kUnknown, kUnknown, 7, 5};
    return kCodes[index];
}

// The gain's register runs the other way.
uint32_t BelowTheMostMultiplication(uint32_t value) { return 3200 - value; }
// Counts of 20 MHz.
uint32_t ClockCounts(uint32_t nanoseconds) { return nanoseconds / 50; }

struct Row {
    uint32_t key;
    Field field;
    Code code;
    Values values; // empty: the key's list, or its least, its middle and its greatest
};

// One field a key, whatever else is set.
const Row kRows[] = {
    {zprmGain, {0x14, 20, 12}, Same, {}},
    {zprmOffset, {0x14, 4, 12}, Same, {}},
    {zprmBinning, {0x08, 0, 2}, BinningCode, {}},
    {zprmReadoutSpeed, {0x04, 8, 4}, ReadoutCode, {}},
    {zprmColorWheel, {0x30, 8, 2}, Same, {}},
    {zprmCoolerActive, {0x38, 0, 1}, Same, {}},
    {zprmSyncb, {0x2C, 16, 2}, Same, {}},
    {zprmMetrolShutterDelay, {0x3C, 0, 32}, Same, {0, 50, 499'950, 1'000'000}},
    {zprmFan, {0x58, 16, 16}, Same, {}},
    {zprmBlackoutMode, {0x54, 1, 1}, Same, {}},
    {zprmHighSensitivityMode, {0x54, 0, 1}, Same, {}},
    {zprmEMGain, {0x60, 0, 16}, BelowTheMostMultiplication, {}},
    {zprmDither, {0x78, 0, 1}, Same, {}},
    {zprmVClockPeriod, {0x7C, 0, 16}, ClockCounts, {500, 1000, 2750, 5000}},
    {zprmKeelEmMode, {0x54, 2, 1}, Same, {1, 0}},
};

class VirtualReadBack : public VirtualReadBackSession {
protected:
    Values ValuesOf(const Row &row)
    {
        if (!row.values.empty())
            return row.values;
        if (Zerix_IsSparseTable(&settings, row.key) == 0)
            return ListOf(row.key);
        uint32_t minimum = 0;
        uint32_t maximum = 0;
        EXPECT_EQ(Zerix_GetParamMin(&settings, row.key, &minimum), 0u);
        EXPECT_EQ(Zerix_GetParamMax(&settings, row.key, &maximum), 0u);
        return {minimum, minimum + (maximum - minimum) / 2, maximum};
    }
};

TEST_F(VirtualReadBack, OfEveryKeyWithAFieldOfItsOwn)
{
    std::set<uint32_t> tried;
    OnEachCameraOfTheFamily([&] {
        for (const Row &row : kRows) {
            if (!Supports(row.key))
                continue;
            SCOPED_TRACE(row.key);
            tried.insert(row.key);
            for (const uint32_t value : ValuesOf(row)) {
                SCOPED_TRACE(value);
                SetSmallRegion();
                Set(row.key, value);
                Send();
                EXPECT_EQ(Read(row.field), row.code(value));
                EXPECT_EQ(ReadBack(row.key), value);
            }
        }
    });
    EXPECT_EQ(tried.size(), std::size(kRows));
}

// Either code of the first hardware trigger: a camera with a double shot has another one.
TEST_F(VirtualReadBack, OfTheTrigger)
{
    const std::map<uint32_t, uint32_t> kCodes = {{0, 0},     {1, 2}, {2, 0x102}, {3, 3},
                                                 {4, 0x103}, {5, 1}, {6, 5},     {7, 0x105}};
    OnEachCameraOfTheFamily([&] {
        const bool hasDoubleShot = Supports(zprmDoubleShot);
        Send(); // which begins the double shot
        const Values modes = ListOf(zprmTriggerType);
        EXPECT_GE(modes.size(), 2u);
        for (const uint32_t mode : modes) {
            SCOPED_TRACE(mode);
            Set(zprmTriggerType, mode);
            Send();
            const bool isFirst = mode == 1 || mode == 2;
            EXPECT_EQ(Word(0x2C) & 0x10F, kCodes.at(mode) + (hasDoubleShot && isFirst ? 2 : 0));
            EXPECT_EQ(ReadBack(zprmTriggerType), mode);
        }
    });
}

// Lines and columns on their own, and lines alone with a live mode.
TEST_F(VirtualReadBack, OfTheBinningOfEachAxis)
{
    std::set<uint32_t> models;
    OnEachCameraOfTheFamily([&] {
        if (!Supports(zprmVerticalBinning))
            return;
        models.insert(Model());
        const bool hasBoth = Supports(zprmHorizontalBinning);
        const Row vertical = {zprmVerticalBinning, {0x08, 8, 8}, OneLess, {}};
        const Row horizontal = {zprmHorizontalBinning, {0x08, 16, 8}, OneLess, {}};
        for (const Row &row : {vertical, horizontal}) {
            if (!Supports(row.key))
                continue;
            for (const uint32_t value : ListOf(row.key)) {
                SCOPED_TRACE(value);
                SetSmallRegion();
                Set(row.key, value);
                Send();
                EXPECT_EQ(Read(row.field), value - 1);
                EXPECT_EQ(ReadBack(row.key), value);
                if (!hasBoth) {
                    EXPECT_EQ(Word(0x08), (value - 1) * 0x10101);
                }
            }
        }
        if (hasBoth)
            return;
        for (const uint32_t mode : {1u, 0u}) {
            Set(zprmCameraMode, mode);
            Send();
            EXPECT_EQ(Read({0x08, 2, 1}), mode);
            EXPECT_EQ(ReadBack(zprmCameraMode), mode);
        }
    });
    EXPECT_EQ(models, (std::set<uint32_t>{8, 1002}));
    // A send that enters the live mode takes its size and keeps the place of the record, (10, 6):
    // the region of both Benchmates ends outside of what the live mode has.
    ZerixSimMistakes mistakes = {};
    EXPECT_EQ(ZerixSim_TakeMistakes(&mistakes), 0u);
    EXPECT_EQ(mistakes.regionsOutside, 2u);
    EXPECT_EQ(mistakes.registersOutside + mistakes.valuesReserved, 0u);
}

// 39.0095 counts a degree from -55 on, less a half and cut; and cut again on the way back, towards
// 0, so that a degree may be lost.
TEST_F(VirtualReadBack, OfTemperatures)
{
    uint32_t cooled = 0;
    OnEachCameraOfTheFamily([&] {
        if (Zerix_IsParamS32Supported(handle, zprmS32RegulatedCoolingTemp) != 0)
            return;
        ++cooled;
        constexpr struct {
            int32_t celsius;
            uint32_t counts;
            int32_t told;
        } kTemperatures[] = {{-30, 974, -30}, {-20, 1364, -20}, {0, 2145, 0}, {20, 2925, 19}};
        for (const auto &row : kTemperatures) {
            SCOPED_TRACE(row.celsius);
            EXPECT_EQ(Zerix_SetParamS32(&settings, zprmS32RegulatedCoolingTemp, row.celsius), 0u);
            Send();
            EXPECT_EQ(Read({0x38, 16, 16}), row.counts);
            EXPECT_EQ(ReadBack<int32_t>(zprmS32RegulatedCoolingTemp, Zerix_GetParamS32), row.told);
        }
    });
    EXPECT_GT(cooled, 5u);
}

// A factor of 2 is 6.020599 dB and the same gain under each of its names.
TEST_F(VirtualReadBack, OfAGainUnderEachOfItsNames)
{
    OnEachCameraOfTheFamily([&] {
        Set(zprmNormalizedGain, 2'000'000);
        Send();
        const uint32_t counts = Read({0x14, 20, 12});
        EXPECT_GT(counts, 600u);
        EXPECT_EQ(ReadBack(zprmNormalizedGain), 2'000'000u);
        EXPECT_EQ(ReadBack(zprmGain), counts);
        Set(zprmGain, 600);
        Send();
        EXPECT_EQ(Read({0x14, 20, 12}), 600u);
        EXPECT_EQ(ReadBack(zprmNormalizedGain), 1'000'000u);
        EXPECT_EQ(ReadBack<int32_t>(zprmS32NormalizedGaindB, Zerix_GetParamS32), 0);
        EXPECT_EQ(Zerix_SetParamS32(&settings, zprmS32NormalizedGaindB, 6'020'599), 0u);
        Send();
        EXPECT_EQ(Read({0x14, 20, 12}), counts);
        EXPECT_EQ(Zerix_SetParamS32(&settings, zprmS32AbsoluteOffset, 321), 0u);
        Send();
        EXPECT_EQ(Read({0x14, 4, 12}), 321u);
        EXPECT_EQ(ReadBack(zprmOffset), 321u);
    });
}

// 0.015765398 dB a count above the 33.5092631 dB of no count.
TEST_F(VirtualReadBack, OfTheIntensifier)
{
    uint32_t intensified = 0;
    OnEachCameraOfTheFamily([&] {
        if (Zerix_IsParam64Supported(handle, zprm64NormIntensGain) != 0)
            return;
        ++intensified;
        for (const uint64_t gain :
             {uint64_t{48'000'000}, uint64_t{1'000'000'000}, uint64_t{50'000'000'000}}) {
            SCOPED_TRACE(gain);
            const double decibels = 20 * std::log10(static_cast<double>(gain) / 1e6);
            EXPECT_EQ(Zerix_SetParam64(&settings, zprm64NormIntensGain, gain), 0u);
            Send();
            EXPECT_EQ(Read({0x48, 4, 12}),
                      static_cast<uint32_t>((decibels - 33.5092631) / 0.015765398 + 0.5));
        }
    });
    EXPECT_EQ(intensified, 1u);
}

// The packed word goes to one of eight registers; the first takes thousandths.
TEST_F(VirtualReadBack, OfTheTweekingRegister)
{
    uint32_t supporting = 0;
    OnEachCameraOfTheFamily([&] {
        if (!Supports(zprmTweekingRegister))
            return;
        ++supporting;
        constexpr uint32_t kWords[] = {0x88, 0x8C, 0x90, 0x94, 0x98, 0x9C, 0xA0, 0xA4};
        for (uint32_t selector = 1; selector <= 8; ++selector) {
            SCOPED_TRACE(selector);
            Set(zprmTweekingRegister, selector << 28 | 0xABC0000 | (40 + selector));
            Send();
            EXPECT_EQ(Word(kWords[selector - 1]), selector == 1 ? 41'000u : 40 + selector);
        }
        for (const uint32_t selector : {0u, 9u, 15u}) {
            Set(zprmTweekingRegister, selector << 28 | 1);
            Send();
            for (uint32_t index = 0; index < 8; ++index)
                EXPECT_EQ(Word(kWords[index]), index == 0 ? 41'000u : 41 + index);
        }
    });
    EXPECT_GT(supporting, 2u);
}

TEST_F(VirtualReadBack, OfTheFrameBuffers)
{
    OnEachCameraOfTheFamily([&] {
        for (const uint32_t length : {2u, 100u, 255u}) {
            Set(zprmFrameBufferLength, length);
            Send();
            EXPECT_EQ(ReadBack(zprmFrameBufferLength), length);
        }
    });
}

// A send switches the double shot on whatever is asked, and never the high gain; four keys it
// doesn't carry at all.
TEST_F(VirtualReadBack, OfKeysThatNoSendCarries)
{
    std::set<uint32_t> tried;
    OnEachCameraOfTheFamily([&] {
        const struct {
            uint32_t key;
            Field field;
            Values values;
            uint32_t held;
            uint32_t told;
        } kRefusing[] = {
            {zprmDoubleShot, {0x34, 0, 32}, {0, 1}, 1, 1},
            {zprmHighGainMode, {0x78, 1, 1}, {1, 0}, 0, 0},
            {zprmCloseDelay, {0x64, 0, 16}, {0, 26'208}, 500, 3200},
            {zprmTriggerDelay, {0x4C, 0, 32}, {5, 1'000'000'000}, 0, 0},
        };
        for (const auto &row : kRefusing) {
            if (!Supports(row.key))
                continue;
            tried.insert(row.key);
            SCOPED_TRACE(row.key);
            for (const uint32_t value : row.values) {
                Set(row.key, value);
                Send();
                EXPECT_EQ(Read(row.field), row.held);
                EXPECT_EQ(ReadBack(row.key), row.told);
            }
        }
        if (!Supports(zprmIntensifierGain))
            return;
        Send();
        const uint32_t before = Word(0x48);
        for (const uint32_t key : {zprmIntensifierGain, zprmNormIntensGaindB}) {
            tried.insert(key);
            Set(key, 1234);
            Send();
            EXPECT_EQ(Word(0x48), before);
            EXPECT_NE(ReadBack(key), 1234u);
        }
    });
    EXPECT_EQ(tried, (std::set<uint32_t>{19, 22, 23, 26, 39, 43}));
}

// A locked gain refuses every gain, the one that it has too, and a send gives the gain before it
// comes to the lock: the lock stays until the camera is listed anew.
TEST_F(VirtualReadBack, OfALockedGain)
{
    uint32_t locked = 0;
    OnEachCameraOfTheFamily([&] {
        if (!Supports(zprmLockedGainMode))
            return;
        ++locked;
        Set(zprmLockedGainMode, 1);
        Send();
        EXPECT_EQ(Read({0x54, 2, 2}), 3u);
        EXPECT_EQ(ReadBack(zprmLockedGainMode), 1u);
        EXPECT_EQ(ReadBack(zprmKeelEmMode), 1u);
        EXPECT_EQ(Read({0x60, 0, 16}), 3200u - 2048);
        Set(zprmLockedGainMode, 0);
        EXPECT_EQ(Zerix_SendSettingsToCam(handle, &settings), 16u);
        EXPECT_EQ(ReadBack(zprmLockedGainMode), 1u);
        ASSERT_EQ(Zerix_CloseCamera(handle), 0u);
        List();
        OpenWithDefaults(0);
        Set(zprmGain, 700);
        Send();
        EXPECT_EQ(Read({0x14, 20, 12}), 700u);
    });
    EXPECT_EQ(locked, 1u);
}

} // namespace
} // namespace zerix::api

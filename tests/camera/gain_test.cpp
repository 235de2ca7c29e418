// Gain, offset and EM gain of a camera: what is read, what is refused, what is written.
#include "tests/camera/register_camera.h"

#include <gtest/gtest.h>

namespace zerix::test {
namespace {

constexpr uint16_t kBadValue = 3;
constexpr uint16_t kNotSupported = 15;
constexpr uint32_t kPiecewise = 1;
constexpr uint32_t kLinear = 2;
constexpr uint32_t kRatio = 3;

// 0.034 x 4096 / 4.096 decibels over 4096 counts: word 0x108 in billionths per count.
void SetRange(RegisterCamera &camera) { camera.SetInformation(0x108, 8337793); }

// Set-up
// -------------------------------------------------------------------------------------------

TEST(GainSetUp, TakesTheRecordFromTheCamera)
{
    RegisterCamera camera;
    SetRange(camera);
    camera.SetInformation(0x74, 4);
    camera.SetUpGain(kLinear, 1000, 10, 4000);
    const auto &record = camera.gainRecord;
    EXPECT_EQ(record.curveType, 2u);
    EXPECT_DOUBLE_EQ(record.dynamicRangedB, 34.151600128);
    EXPECT_EQ(record.significantFigures, 3u);
    EXPECT_EQ(record.resolution, 10000u);
    EXPECT_TRUE(record.gainFlag);
    EXPECT_EQ(record.gainMin, 10u);
    EXPECT_EQ(record.gainMax, 4000u);
    EXPECT_EQ(record.gainDACRange, 4096u);
    EXPECT_EQ(record.gainDefault, 1000u);
    EXPECT_EQ(record.recordValid, 1u);
    EXPECT_EQ(camera.defaultNormalizedGaindB, 0);
    EXPECT_EQ(camera.GetNormalizedGaindBMin(), -8250000);
    EXPECT_EQ(camera.GetNormalizedGaindBMax(), 25010000);
    EXPECT_EQ(camera.GetNormalizedGaindBResolution(), 10000u);
    EXPECT_EQ(camera.GetNormalizedGainSignificantFigures(), 3u);
    EXPECT_DOUBLE_EQ(camera.GetNormalizedGainMin(), 0.387);
    EXPECT_DOUBLE_EQ(camera.GetNormalizedGainMax(), 17.8);
}

TEST(GainSetUp, OlderCamerasTellNeitherRangeNorFlagNorLimits)
{
    RegisterCamera old(Version(2, 2));
    old.SetInformation(0x74, 4);
    old.SetUpGain(kLinear, 0, 10, 4000);
    EXPECT_FALSE(old.gainRecord.gainFlag);
    EXPECT_DOUBLE_EQ(old.GetNormalizedGaindBDR(), 34.1516);
    old.analogBoardType = kPiecewise;
    EXPECT_DOUBLE_EQ(old.GetNormalizedGaindBDR(), 30.8929);
    EXPECT_EQ(old.GetGainMin(), 10u);
    EXPECT_EQ(old.GetGainMax(), 4000u);
}

TEST(GainSetUp, TheFlagComesWith23AndTheRangeWith24)
{
    RegisterCamera flagged(Version(2, 3));
    flagged.SetInformation(0x74, 4);
    flagged.SetUpGain(kLinear, 0);
    EXPECT_TRUE(flagged.gainRecord.gainFlag);
    EXPECT_DOUBLE_EQ(flagged.GetNormalizedGaindBDR(), 34.1516);
    RegisterCamera ranged(Version(2, 4));
    ranged.SetInformation(0x108, 1'000'000);
    EXPECT_DOUBLE_EQ(ranged.GetNormalizedGaindBDR(), 4.096);
    ranged.analogBoardType = kPiecewise;
    EXPECT_DOUBLE_EQ(ranged.GetNormalizedGaindBDR(), 4.096);
}

TEST(GainSetUp, TheFirstVersionAllowsAllCounts)
{
    RegisterCamera camera(Version(1, 2), Version(1, 1));
    EXPECT_EQ(camera.GetGainMin(), 0u);
    EXPECT_EQ(camera.GetGainMax(), 4095u);
    EXPECT_EQ(camera.GetOffsetMin(), 0u);
    EXPECT_EQ(camera.GetOffsetMax(), 4095u);
}

TEST(GainSetUp, TheRangeIsSigned)
{
    RegisterCamera camera;
    camera.SetInformation(0x108, 0xFFFFFFFF);
    EXPECT_DOUBLE_EQ(camera.GetNormalizedGaindBDR(), -4.096e-06);
}

TEST(GainSetUp, ARangeThatCannotBeConvertedGives2)
{
    RegisterCamera camera;
    camera.analogBoardType = kRatio;
    camera.SetInformation(0x78, 0 << 20 | 4095 << 4);
    EXPECT_EQ(camera.SetupNormalizedGain(), 2);
    camera.analogBoardType = 0;
    EXPECT_EQ(camera.SetupNormalizedGain(), 2);
}

// Conversions
// --------------------------------------------------------------------------------------

TEST(GainConversion, PiecewiseGoesByDecibels)
{
    RegisterCamera camera;
    camera.SetUpGain(kPiecewise, 1000);
    EXPECT_EQ(camera.ConvertGainToNormGain(1000), 1000000u);
    EXPECT_EQ(camera.ConvertGainToNormGain(500), 649000u);
    EXPECT_EQ(camera.ConvertGainToNormGaindB(500), -3758905);
    EXPECT_EQ(camera.ConvertNormGainToGain(1000000), 1000u);
    EXPECT_EQ(camera.ConvertNormGainToGain(2000000), 1801u);
    EXPECT_EQ(camera.ConvertNormGainToNormGaindB(2000000), 6020599);
    EXPECT_EQ(camera.ConvertNormGaindBToGain(6020599), 1801u);
    EXPECT_EQ(camera.ConvertNormGaindBToGain(-50000000), 0u);
    EXPECT_EQ(camera.ConvertNormGaindBToGain(50000000), 4095u);
    EXPECT_EQ(camera.ConvertNormGaindBToNormGain(6020600), 2000000u);
    EXPECT_EQ(camera.RoundNormGaindB(6024999), 6020000);
    EXPECT_EQ(camera.RoundNormGaindB(99000000), 27130000);
}

TEST(GainConversion, ARatioIsNotScaledByTheMillion)
{
    RegisterCamera camera;
    camera.SetUpGain(kRatio, 200, 100, 4000);
    EXPECT_EQ(camera.ConvertGainToNormGain(100), 0u);
    EXPECT_EQ(camera.ConvertGainToNormGain(500), 2u);
    EXPECT_EQ(camera.ConvertGainToNormGaindB(0), 0);
    EXPECT_EQ(camera.ConvertGainToNormGaindB(500), -6003245); // clamped to 0.501 from below
    EXPECT_EQ(camera.ConvertNormGainToGain(2), 400u);
    EXPECT_EQ(camera.ConvertNormGainToGain(2000000), 400000000u);
    EXPECT_EQ(camera.ConvertNormGainToNormGaindB(0), 0);
    EXPECT_EQ(camera.ConvertNormGainToNormGaindB(2000000), 6020599);
    EXPECT_EQ(camera.ConvertNormGaindBToGain(6020600), 400u);
    EXPECT_EQ(camera.ConvertNormGaindBToGain(9000000), 400u); // 2.82, whole factors alone
    EXPECT_EQ(camera.ConvertNormGaindBToNormGain(6020600), 2000000u);
}

TEST(GainConversion, ARatioToNothingIsNothing)
{
    RegisterCamera camera;
    camera.SetUpGain(kRatio, 0, 100, 4000);
    EXPECT_EQ(camera.ConvertGainToNormGain(100), 0u);
}

// Reading and setting
// ------------------------------------------------------------------------------

TEST(Gain, ReadsTheRoundTripOfTheRegister)
{
    RegisterCamera camera;
    camera.SetUpGain(kPiecewise, 1000);
    camera.SetControl(0x14, 1801u << 20 | 0xABC << 4);
    EXPECT_EQ(camera.GetGain(), 1801u);
    EXPECT_EQ(camera.GetNormalizedGain(), 2000000u);
    EXPECT_EQ(camera.GetNormalizedGaindB(), 6021767);
    EXPECT_EQ(camera.GetGainDefault(), 1000u);
}

TEST(Gain, SetsCountsFactorsAndDecibels)
{
    RegisterCamera camera;
    camera.SetUpGain(kPiecewise, 1000);
    camera.SetControl(0x14, 0xF);
    EXPECT_EQ(camera.SetGain(2000), 0);
    EXPECT_EQ(camera.SetNormalizedGain(2000000), 0);
    EXPECT_EQ(camera.SetNormalizedGaindB(0), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x14, 0x7D00000F), Sent(0x14, 0x7090000F),
                                               Sent(0x14, 0x3E80000F)}));
}

TEST(Gain, TheDefaultFactorIsTheDefaultGainAndZeroDecibels)
{
    RegisterCamera camera;
    camera.SetUpGain(kPiecewise, 312);
    EXPECT_EQ(camera.SetNormalizedGain(1000000), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x14, 312u << 20)}));
    EXPECT_EQ(camera.GetNormalizedGaindB(), 0);
    EXPECT_EQ(camera.GetNormalizedGain(), 1000000u);
}

TEST(Gain, TheSameDecibelsAreNotWritten)
{
    RegisterCamera camera;
    camera.SetUpGain(kPiecewise, 1000);
    camera.SetControl(0x14, 1000u << 20);
    EXPECT_EQ(camera.SetGain(1000), 0);
    EXPECT_EQ(camera.SetNormalizedGain(1004999), 0); // rounds to 1.00
    EXPECT_EQ(camera.SetNormalizedGaindB(0), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
}

TEST(Gain, AFactorOutsideTheLimitsIsWrittenAsTheLimit)
{
    RegisterCamera camera;
    camera.SetUpGain(kPiecewise, 1000);
    camera.SetControl(0x14, 1000u << 20);
    EXPECT_EQ(camera.SetNormalizedGain(1), 0);           // 0.649, -3.755 decibels
    EXPECT_EQ(camera.SetNormalizedGain(4000000000u), 0); // 22.7, 27.12 decibels
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x14, 501u << 20), Sent(0x14, 3999u << 20)}));
}

TEST(Gain, CountsStayInsideTheRegister)
{
    RegisterCamera camera;
    camera.SetInformation(0x108, 8337793);
    camera.SetUpGain(kLinear, 1000);
    EXPECT_EQ(camera.SetGain(5000), 0);
    EXPECT_EQ(camera.SetNormalizedGaindB(-20000000), 0);
    EXPECT_EQ(camera.SetNormalizedGaindB(40000000), 0);
    EXPECT_EQ(camera.TakeSent(),
              (SentQuadlets{Sent(0x14, 0xFFF00000), Sent(0x14, 0), Sent(0x14, 0xFFF00000)}));
}

TEST(Gain, ARatioCannotBeSet)
{
    RegisterCamera camera;
    camera.SetUpGain(kRatio, 200, 100, 4000);
    EXPECT_EQ(camera.SetGain(300), kBadValue);
    EXPECT_EQ(camera.SetNormalizedGain(2000000), kBadValue);
    EXPECT_EQ(camera.SetNormalizedGaindB(6000000), kBadValue);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
}

TEST(Gain, LockedItRefusesEvenThePresentValue)
{
    RegisterCamera camera;
    camera.SetUpGain(kPiecewise, 1000);
    camera.SetControl(0x14, 1000u << 20);
    camera.SetControl(0x54, 8);
    EXPECT_EQ(camera.SetGain(1000), 0); // the bit means nothing without the capability
    camera.Enable(registers::Capability::kLockedGain);
    EXPECT_EQ(camera.SetGain(1000), kBadValue);
    EXPECT_EQ(camera.SetNormalizedGain(1000000), kBadValue);
    EXPECT_EQ(camera.SetNormalizedGaindB(0), kBadValue);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
}

TEST(Gain, AFailedWriteLeavesTheNewValueInTheShadowAndIsTriedAgain)
{
    RegisterCamera camera(kNewestInformation, kNewestControl, Wire::kBroken);
    camera.SetUpGain(kPiecewise, 1000);
    EXPECT_EQ(camera.SetGain(2000), 9);
    EXPECT_EQ(camera.GetGain(), 2000u);
    EXPECT_EQ(camera.SetGain(2000), 9);
}

// Offset
// -------------------------------------------------------------------------------------------

TEST(Offset, ReadsItsFieldAndLimits)
{
    RegisterCamera camera;
    camera.SetControl(0x14, 0xFFF0ABCF | 0x5000);
    camera.SetInformation(0x08, 0xFFF01230);
    camera.SetInformation(0x7C, 0x00508000 | 0x10);
    EXPECT_EQ(camera.GetOffset(), 0xFBCu);
    EXPECT_EQ(camera.GetOffsetDefault(), 0x123u);
    EXPECT_EQ(camera.GetGainOffsetDefault(), 0x123u);
    EXPECT_EQ(camera.GetOffsetMin(), 5u);
    EXPECT_EQ(camera.GetOffsetMax(), 0x801u);
}

TEST(Offset, IsWrittenCutToItsTwelveBits)
{
    RegisterCamera camera;
    camera.SetControl(0x14, 0x7D000000);
    EXPECT_EQ(camera.SetOffset(0), 0);
    EXPECT_EQ(camera.SetOffset(0x123), 0);
    EXPECT_EQ(camera.SetOffset(0x123), 0);
    EXPECT_EQ(camera.SetOffset(0x1123), 0); // not the present value, though its field is
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x14, 0x7D001230), Sent(0x14, 0x7D001230)}));
}

class OffsetCamera : public RegisterCamera {
public:
    int32_t GetAbsoluteOffsetDefault() override { return 100; }
};

TEST(Offset, AbsoluteItCountsFromTheCamerasZero)
{
    OffsetCamera camera;
    camera.SetInformation(0x7C, 4095 << 4);
    EXPECT_EQ(camera.GetAbsoluteOffset(), -100);
    EXPECT_EQ(camera.GetAbsoluteOffsetMin(), -100);
    EXPECT_EQ(camera.GetAbsoluteOffsetMax(), 3995);
    EXPECT_EQ(camera.ConvertOffsetToAbsoluteOffset(30), -70);
    EXPECT_EQ(camera.ConvertAbsoluteOffsetToOffset(-70), 30u);
    EXPECT_EQ(camera.SetAbsoluteOffset(-70), 0);
    EXPECT_EQ(camera.SetAbsoluteOffset(-101), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x14, 30 << 4), Sent(0x14, 0xFFF0)}));
}

// EM gain
// ------------------------------------------------------------------------------------------

TEST(EmGain, IsAbsentWithoutTheCapability)
{
    RegisterCamera camera;
    camera.SetInformation(0x300, 5);
    camera.SetInformation(0x304, 4000);
    camera.SetInformation(0x2C0, 500);
    camera.SetInformation(0x354, 600);
    EXPECT_EQ(camera.GetEMGain(), 0u);
    EXPECT_EQ(camera.GetEMGainMin(), 0u);
    EXPECT_EQ(camera.GetEMGainMax(), 0u);
    EXPECT_EQ(camera.GetEMGainDefault(), 0u);
    EXPECT_EQ(camera.Get100XEmGain(0), 0u);
    EXPECT_EQ(camera.SetEMGain(100), kNotSupported);
}

TEST(EmGain, RunsOppositeToItsRegister)
{
    RegisterCamera camera;
    camera.Enable(registers::Capability::kEmGain);
    camera.SetInformation(0x300, 0xFFFF0005);
    camera.SetInformation(0x304, 0xFFFF0FA0);
    camera.SetInformation(0x2C0, 0xFFFF01F4);
    camera.SetControl(0x60, 0xAAAA03E8);
    EXPECT_EQ(camera.GetEMGain(), 3000u);
    EXPECT_EQ(camera.GetEMGainMin(), 5u);
    EXPECT_EQ(camera.GetEMGainMax(), 4000u);
    EXPECT_EQ(camera.GetEMGainDefault(), 500u);
    EXPECT_EQ(camera.GetEMGainDefaultWithFlip(), 3500u);
    EXPECT_EQ(camera.SetEMGain(4), kBadValue);
    EXPECT_EQ(camera.SetEMGain(4001), kBadValue);
    EXPECT_EQ(camera.SetEMGain(4000), 0);
    EXPECT_EQ(camera.SetEMGain(4000), 0);
    EXPECT_EQ(camera.SetEMGain(5), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x60, 0xAAAA0000), Sent(0x60, 0xAAAA0000),
                                               Sent(0x60, 0xAAAA0F9B)}));
}

TEST(EmGain, AHundredfoldIsKnownForThreeReadouts)
{
    RegisterCamera camera;
    camera.Enable(registers::Capability::kEmGain);
    camera.SetInformation(0x350, 40);
    camera.SetInformation(0x354, 20);
    camera.SetInformation(0x358, 10);
    EXPECT_EQ(camera.Get100XEmGain(0), 20u);
    EXPECT_EQ(camera.Get100XEmGain(1), 10u);
    EXPECT_EQ(camera.Get100XEmGain(7), 40u);
    for (const uint32_t index : {2u, 3u, 4u, 5u, 6u, 8u})
        EXPECT_EQ(camera.Get100XEmGain(index), 0u) << index;
}

TEST(EmGain, KeelAndLockedGainAreBitsOfTheirCapabilities)
{
    RegisterCamera camera;
    camera.SetControl(0x54, 0xC);
    EXPECT_FALSE(camera.GetKeelEmMode());
    EXPECT_FALSE(camera.GetLockedGainMode());
    EXPECT_EQ(camera.SetKeelEmMode(false), 0);
    EXPECT_EQ(camera.SetLockedGainMode(false), 0);
    EXPECT_EQ(camera.SetKeelEmMode(true), kNotSupported);
    EXPECT_EQ(camera.SetLockedGainMode(true), kNotSupported);
    camera.SetControl(0x54, 3);
    camera.Enable(registers::Capability::kKeelEm);
    camera.Enable(registers::Capability::kLockedGain);
    EXPECT_EQ(camera.SetKeelEmMode(true), 0);
    EXPECT_EQ(camera.SetKeelEmMode(true), 0);
    EXPECT_EQ(camera.SetLockedGainMode(true), 0);
    EXPECT_EQ(camera.SetKeelEmMode(false), 0);
    EXPECT_EQ(camera.SetLockedGainMode(false), 0);
    EXPECT_EQ(camera.TakeSent(),
              (SentQuadlets{Sent(0x54, 7), Sent(0x54, 0xF), Sent(0x54, 0xB), Sent(0x54, 3)}));
}

TEST(Intensifier, IsAbsent)
{
    RegisterCamera camera;
    EXPECT_EQ(camera.SetNormalizedIntensifierGain(1000000), kNotSupported);
    EXPECT_EQ(camera.SetupNormalizedIntensifiedGain(), 0);
    EXPECT_EQ(camera.GetNormalizedIntensifierGain(), 0u);
    EXPECT_EQ(camera.GetNormalizedIntensifierGainMin(), 0u);
    EXPECT_EQ(camera.GetNormalizedIntensifierGainMax(), 0u);
    EXPECT_EQ(camera.GetIntensifierGain(), 0u);
}

} // namespace
} // namespace zerix::test

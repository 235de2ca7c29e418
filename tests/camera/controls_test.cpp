// Shutter, fan, mode bits, vertical clock, calibration, voltages, tag and queue length.
#include "tests/camera/register_camera.h"

#include <gtest/gtest.h>

namespace zerix::test {
namespace {

using registers::Capability;

constexpr uint16_t kNotSupported = 15;

// Shutter
// ------------------------------------------------------------------------------------------

TEST(ShutterCloseDelay, CountsSixPointFour)
{
    RegisterCamera camera;
    camera.Enable(Capability::kShutterCloseDelay);
    struct Row {
        uint32_t counts, delay;
    };
    for (const Row &row : std::vector<Row>{
             {0, 0}, {1, 6}, {2, 12}, {5, 32}, {10, 64}, {4095, 26208}, {65535, 419424}}) {
        camera.SetControl(0x64, 0xABCD0000 | row.counts);
        camera.SetInformation(0x2C4, 0xABCD0000 | row.counts);
        EXPECT_EQ(camera.GetShutterCloseDelay(), row.delay);
        EXPECT_EQ(camera.GetShutterCloseDelayDefault(), row.delay);
    }
    EXPECT_EQ(camera.GetShutterCloseDelayMin(), 0u);
    EXPECT_EQ(camera.GetShutterCloseDelayMax(), 26208u);
}

TEST(ShutterCloseDelay, IsWrittenEachTimeCutToItsBits)
{
    RegisterCamera camera;
    camera.Enable(Capability::kShutterCloseDelay);
    camera.SetControl(0x64, 0xABCD0000);
    for (const uint32_t delay : {6u, 7u, 7u, 26208u, 500000u})
        EXPECT_EQ(camera.SetShutterCloseDelay(delay), 0);
    EXPECT_EQ(camera.TakeSent(),
              (SentQuadlets{Sent(0x64, 0xABCD0000), Sent(0x64, 0xABCD0001), Sent(0x64, 0xABCD0001),
                            Sent(0x64, 0xABCD0FFF), Sent(0x64, 0xABCD312D)})); // 78125
}

TEST(ShutterCloseDelay, IsAbsentWithoutTheCapability)
{
    RegisterCamera camera;
    camera.SetControl(0x64, 100);
    camera.SetInformation(0x2C4, 100);
    EXPECT_EQ(camera.GetShutterCloseDelay(), 0u);
    EXPECT_EQ(camera.GetShutterCloseDelayDefault(), 0u);
    EXPECT_EQ(camera.GetShutterCloseDelayMax(), 0u);
    EXPECT_EQ(camera.SetShutterCloseDelay(64), kNotSupported);
}

// Fan
// ----------------------------------------------------------------------------------------------

TEST(Fan, AnythingButTheSlowerSpeedsIsFull)
{
    RegisterCamera camera;
    camera.SetControl(0x58, 2u << 16);
    EXPECT_EQ(camera.GetFanSpeed(), 4u);
    EXPECT_EQ(camera.SetFanSpeed(4), 0);
    EXPECT_EQ(camera.SetFanSpeed(2), kNotSupported);
    camera.Enable(Capability::kFanControl);
    struct Row {
        uint32_t field, speed;
    };
    for (const Row &row :
         std::vector<Row>{{0, 4}, {1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 4}, {65535, 4}}) {
        camera.SetControl(0x58, row.field << 16 | 0xFFFF);
        EXPECT_EQ(camera.GetFanSpeed(), row.speed);
    }
}

TEST(Fan, UnknownSpeedsAreWrittenAsNothing)
{
    RegisterCamera camera;
    camera.Enable(Capability::kFanControl);
    camera.SetControl(0x58, 0x0001ABCD);
    for (const uint32_t speed : {1u, 2u, 3u, 4u, 4u, 5u, 0u})
        EXPECT_EQ(camera.SetFanSpeed(speed), 0);
    EXPECT_EQ(camera.TakeSent(),
              (SentQuadlets{Sent(0x58, 0x0002ABCD), Sent(0x58, 0x0003ABCD), Sent(0x58, 0x0004ABCD),
                            Sent(0x58, 0xABCD), Sent(0x58, 0xABCD)}));
}

// Mode bits
// ----------------------------------------------------------------------------------------

TEST(ModeBits, BlackoutAndHighSensitivityCompare)
{
    RegisterCamera camera;
    EXPECT_EQ(camera.SetBlackoutMode(false), 0);
    EXPECT_EQ(camera.SetBlackoutMode(true), kNotSupported);
    EXPECT_EQ(camera.SetHighSensitivityMode(false), 0);
    EXPECT_EQ(camera.SetHighSensitivityMode(true), kNotSupported);
    camera.Enable(Capability::kBlackout);
    camera.Enable(Capability::kHighSensitivity);
    camera.SetControl(0x54, 0xC);
    EXPECT_EQ(camera.SetBlackoutMode(true), 0);
    EXPECT_EQ(camera.SetBlackoutMode(true), 0);
    EXPECT_EQ(camera.SetHighSensitivityMode(true), 0);
    EXPECT_EQ(camera.SetHighSensitivityMode(true), 0);
    EXPECT_TRUE(camera.GetBlackoutMode());
    EXPECT_TRUE(camera.GetHighSensitivityMode());
    EXPECT_EQ(camera.SetBlackoutMode(false), 0);
    EXPECT_EQ(camera.SetHighSensitivityMode(false), 0);
    EXPECT_EQ(camera.TakeSent(),
              (SentQuadlets{Sent(0x54, 0xE), Sent(0x54, 0xF), Sent(0x54, 0xD), Sent(0x54, 0xC)}));
}

TEST(ModeBits, DitherIsWrittenEachTime)
{
    RegisterCamera camera;
    camera.SetInformation(0x310, 1);
    EXPECT_EQ(camera.SetDither(false), kNotSupported);
    EXPECT_FALSE(camera.GetDitherModeDefault());
    camera.Enable(Capability::kDither);
    EXPECT_TRUE(camera.GetDitherModeDefault());
    camera.SetControl(0x78, 2);
    EXPECT_FALSE(camera.GetDitherMode());
    EXPECT_EQ(camera.SetDither(true), 0);
    EXPECT_EQ(camera.SetDither(true), 0);
    EXPECT_TRUE(camera.GetDitherMode());
    EXPECT_EQ(camera.SetDither(false), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x78, 3), Sent(0x78, 3), Sent(0x78, 2)}));
}

TEST(ModeBits, HighGainCanOnlyBeTurnedOff)
{
    RegisterCamera camera;
    camera.SetInformation(0x310, 2);
    EXPECT_EQ(camera.SetHighGainMode(true), kNotSupported);
    EXPECT_FALSE(camera.GetHighGainModeDefault());
    camera.Enable(Capability::kHighGain);
    EXPECT_TRUE(camera.GetHighGainModeDefault());
    camera.SetControl(0x78, 3);
    EXPECT_TRUE(camera.GetHighGainMode());
    EXPECT_EQ(camera.SetHighGainMode(true), 0);
    EXPECT_FALSE(camera.GetHighGainMode());
    EXPECT_EQ(camera.SetHighGainMode(false), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x78, 1), Sent(0x78, 1)}));
}

// Vertical clock
// -----------------------------------------------------------------------------------

TEST(VerticalClock, PeriodsAreTicksOfTheCamerasClock)
{
    RegisterCamera camera;
    camera.SetInformation(0x320, 66666666);
    EXPECT_EQ(camera.GetVClockFrequencyResolution(), 0u);
    camera.Enable(Capability::kVClock);
    EXPECT_EQ(camera.GetVClockFrequencyResolution(), 66666666u);
    camera.SetControl(0x7C, 0xFFFF0001);
    camera.SetInformation(0x314, 0xFFFF0028);
    camera.SetInformation(0x318, 0xFFFF0003);
    camera.SetInformation(0x31C, 0xFFFFFFFF);
    EXPECT_EQ(camera.GetVClockPeriod(), 15u);
    EXPECT_EQ(camera.GetVClockPeriodDefault(), 600u);
    EXPECT_EQ(camera.GetVClockPeriodMin(), 45u);
    EXPECT_EQ(camera.GetVClockPeriodMax(), 983025u);
}

TEST(VerticalClock, IsWrittenEachTimeCutToItsBits)
{
    RegisterCamera camera;
    camera.Enable(Capability::kVClock);
    camera.SetInformation(0x320, 40000000);
    camera.SetControl(0x7C, 0xABCD0000);
    for (const uint32_t nanoseconds : {24u, 25u, 25u, 1000u, 1700000u, 4294967295u})
        EXPECT_EQ(camera.SetVClockPeriod(nanoseconds), 0);
    EXPECT_EQ(camera.TakeSent(),
              (SentQuadlets{Sent(0x7C, 0xABCD0000), Sent(0x7C, 0xABCD0001), Sent(0x7C, 0xABCD0001),
                            Sent(0x7C, 0xABCD0028), Sent(0x7C, 0xABCD09A0), // 68000
                            Sent(0x7C, 0xABCD70A3)}));                      // 171798691
    EXPECT_EQ(RegisterCamera().SetVClockPeriod(25), kNotSupported);
}

TEST(VerticalClock, ThatStandsStillHasNoPeriod)
{
    RegisterCamera camera;
    camera.SetControl(0x7C, 100);
    EXPECT_EQ(camera.GetVClockPeriod(), 0u);
    camera.Enable(Capability::kVClock);
    EXPECT_EQ(camera.GetVClockPeriod(), 0u);
    EXPECT_EQ(camera.SetVClockPeriod(1000), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x7C, 0)}));
    camera.SetInformation(0x320, 1);
    camera.SetControl(0x7C, 65535);
    EXPECT_EQ(camera.GetVClockPeriod(), 4294967295u);
}

// Calibration
// --------------------------------------------------------------------------------------

TEST(Calibration, NeedsTheHardwareProfileOfTwoChannels)
{
    RegisterCamera camera;
    camera.SetControl(0x80, 0xFFFFFF12);
    camera.SetInformation(0x308, 0xFFFFFF34);
    for (const uint32_t profile : {0u, 1u, 4u}) {
        camera.SetInformation(0x324, profile);
        EXPECT_EQ(camera.GetChan1CalibrationGain(), 0u) << profile;
        EXPECT_EQ(camera.GetChan1CalibrationGainDefault(), 0u) << profile;
        EXPECT_EQ(camera.SetChan1CalibrationGain(1), kNotSupported) << profile;
    }
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
    for (const uint32_t profile : {2u, 3u}) {
        camera.SetInformation(0x324, profile);
        camera.SetControl(0x80, 0xFFFFFF12);
        EXPECT_EQ(camera.GetChan1CalibrationGain(), 0x12u);
        EXPECT_EQ(camera.GetChan1CalibrationGainDefault(), 0x34u);
        EXPECT_EQ(camera.SetChan1CalibrationGain(0x12), 0);
        EXPECT_EQ(camera.SetChan1CalibrationGain(0x1FE), 0);
        EXPECT_EQ(camera.TakeSent(),
                  (SentQuadlets{Sent(0x80, 0xFFFFFF12), Sent(0x80, 0xFFFFFFFE)}));
    }
}

// Voltages
// -----------------------------------------------------------------------------------------

struct Tweak {
    uint16_t (ZX::TolvaneFWCamera::*set)(uint32_t);
    uint32_t offset;
};
using Camera = ZX::TolvaneFWCamera;
constexpr Tweak kTweaks[] = {{&Camera::SetSubCpAd, 0x88},   {&Camera::SetSubAd, 0x8C},
                             {&Camera::SetResetVhAd, 0x90}, {&Camera::SetV1VmAd, 0x94},
                             {&Camera::SetV2VmAd, 0x98},    {&Camera::SetV3VmAd, 0x9C},
                             {&Camera::SetV4VmAd, 0xA0},    {&Camera::SetMiscCtrlAd, 0xA4}};

TEST(Tweaking, WritesSixteenBitsOverTheWholeWordEachTime)
{
    RegisterCamera camera(Version(2, 10));
    for (const auto &tweak : kTweaks) {
        camera.SetControl(tweak.offset, 0xFFFFFFFF);
        EXPECT_EQ((camera.*tweak.set)(0x12345), 0);
        EXPECT_EQ((camera.*tweak.set)(0x2345), 0);
        EXPECT_EQ(camera.TakeSent(),
                  (SentQuadlets{Sent(tweak.offset, 0x2345), Sent(tweak.offset, 0x2345)}));
    }
}

TEST(Tweaking, GivesOneWhereThereIsNone)
{
    RegisterCamera camera(Version(2, 9));
    for (const auto &tweak : kTweaks)
        EXPECT_EQ((camera.*tweak.set)(1), 1) << tweak.offset;
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
    EXPECT_FALSE(camera.miscCtrlChanged);
}

TEST(Tweaking, OnAShortControlBlockIsNotSupported)
{
    RegisterCamera camera(Version(2, 10), Version(2, 6));
    for (const auto &tweak : kTweaks)
        EXPECT_EQ((camera.*tweak.set)(1), kNotSupported) << tweak.offset;
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
}

TEST(Tweaking, MiscCtrlRemembersWhetherItChanged)
{
    RegisterCamera camera;
    camera.SetControl(0xA4, 5);
    EXPECT_EQ(camera.SetMiscCtrlAd(6), 0);
    EXPECT_TRUE(camera.miscCtrlChanged);
    EXPECT_EQ(camera.SetMiscCtrlAd(6), 0);
    EXPECT_FALSE(camera.miscCtrlChanged);
    EXPECT_EQ(camera.SetMiscCtrlAd(0x10006), 0); // the same register, another value
    EXPECT_TRUE(camera.miscCtrlChanged);
}

TEST(Tweaking, DefaultsAreTold)
{
    RegisterCamera camera(Version(2, 10));
    RegisterCamera older(Version(2, 9));
    for (uint32_t offset = 0x328; offset <= 0x340; offset += 4)
        camera.SetInformation(offset, 0xFFFF0000 | offset);
    camera.SetInformation(0x114, 0x12345678);
    EXPECT_EQ(camera.GetSubCpDefAd(), 0x328u);
    EXPECT_EQ(camera.GetResetVhDefAd(), 0x32Cu);
    EXPECT_EQ(camera.GetV1VmDefAd(), 0x330u);
    EXPECT_EQ(camera.GetV2VmDefAd(), 0x334u);
    EXPECT_EQ(camera.GetV3VmDefAd(), 0x338u);
    EXPECT_EQ(camera.GetV4VmDefAd(), 0x33Cu);
    EXPECT_EQ(camera.GetMiscCtrlDefAd(), 0x340u);
    EXPECT_EQ(camera.GetSubDefAd(), 0x12345678u);
    EXPECT_EQ(older.GetSubCpDefAd(), 0u);
    EXPECT_EQ(older.GetMiscCtrlDefAd(), 0u);
}

// Tag, queue and registers in general
// --------------------------------------------------------------

TEST(Psn, IsTheTopByteWrittenEachTime)
{
    RegisterCamera camera;
    camera.SetControl(0x04, 0x12345678);
    EXPECT_EQ(camera.GetPSN(), 0x12);
    EXPECT_EQ(camera.SetPSN(0x12), 0);
    EXPECT_EQ(camera.SetPSN(0xFF), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x04, 0x12345678), Sent(0x04, 0xFF345678)}));
}

TEST(FrameBufferLength, TakesAnyLength)
{
    RegisterCamera camera;
    EXPECT_EQ(camera.GetFrameBufferLength(), 100);
    EXPECT_EQ(camera.GetFrameBufferLengthMin(), 2);
    EXPECT_EQ(camera.GetFrameBufferLengthMax(), 255);
    EXPECT_EQ(camera.GetFrameBufferLengthDefault(), 100);
    EXPECT_EQ(camera.SetFrameBufferLength(0), 0);
    EXPECT_EQ(camera.GetFrameBufferLength(), 0);
    EXPECT_EQ(camera.SetFrameBufferLength(255), 0);
    EXPECT_EQ(camera.GetFrameBufferLength(), 255);
}

TEST(ControlBlock, ASetterWithoutItsWordIsNotSupported)
{
    RegisterCamera camera(Version(2, 11), Version(1, 1)); // words up to 0x38
    camera.Enable(Capability::kBlackout);
    camera.Enable(Capability::kDither);
    camera.Enable(Capability::kFanControl);
    camera.Enable(Capability::kShutterCloseDelay);
    camera.Enable(Capability::kVClock);
    EXPECT_EQ(camera.SetBlackoutMode(true), kNotSupported);
    EXPECT_EQ(camera.SetDither(true), kNotSupported);
    EXPECT_EQ(camera.SetFanSpeed(1), kNotSupported);
    EXPECT_EQ(camera.SetShutterCloseDelay(64), kNotSupported);
    EXPECT_EQ(camera.SetVClockPeriod(100), kNotSupported);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
    EXPECT_EQ(camera.SetCoolerStatus(true), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x38, 1)}));
}

TEST(ControlBlock, ABlockOfAnUnknownVersionHasNoWords)
{
    RegisterCamera camera(Version(9, 9), Version(9, 9));
    EXPECT_EQ(camera.GetCCDWidth(), 0u);
    EXPECT_EQ(camera.SetPSN(1), kNotSupported);
    EXPECT_EQ(camera.SetTriggerMode(1), kNotSupported);
    EXPECT_EQ(camera.SetBigEndian(false), kNotSupported);
    EXPECT_EQ(camera.SetROIX(1), kNotSupported);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
}

} // namespace
} // namespace zerix::test

// Sending to the models that have more than others, or other ways: the literal register writes of a
// first and a second send.
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "tests/api/virtual_sending_fixture.h"

namespace zerix::api {
namespace {

class VirtualSendingModels : public VirtualSendingTest {
protected:
    void SetS32(uint32_t key, int32_t value) { tables::SetSlotS32(&settings, key, value); }
    void Set64(uint32_t key, uint64_t value) { tables::SetSlot64(&settings, key, value); }
};

// 512 x 512 with electron multiplication and everything that comes with it.
TEST_F(VirtualSendingModels, ChangesEverythingOfAMultiplyingCamera)
{
    Open(kMultiplyingRack);
    constexpr struct {
        uint32_t key;
        uint32_t value;
    } kChanges[] = {
        {zprmImageFormat, 3},
        {zprmBinning, 4},
        {zprmRoiX, 4},
        {zprmRoiY, 6},
        {zprmRoiWidth, 100},
        {zprmRoiHeight, 50},
        {zprmReadoutSpeed, 8},
        {zprmTriggerType, 7},
        {zprmCoolerActive, 0},
        {zprmColorWheel, 3},
        {zprmDoubleShot, 1},
        {zprmMetrolShutterDelay, 2000},
        {zprmFrameBufferLength, 5},
        {zprmSyncb, 0},
        {zprmFan, 2},
        {zprmBlackoutMode, 1},
        {zprmHighSensitivityMode, 1},
        {zprmReadoutPort, 6},
        {zprmKeelEmMode, 1},
        {zprmLockedGainMode, 1},
        {zprmKeelEmGainValue10, 2300},
        {zprmKeelEmGainValue20, 2400},
        {zprmKeelEmGainValue40, 2500},
        {zprmDither, 1},
        {zprmHighGainMode, 1},
        {zprmVClockPeriod, 4000},
        {zprmTweekingRegister, 0x30000007},
    };
    for (const auto &change : kChanges)
        Set(change.key, change.value);
    SetS32(zprmS32NormalizedGaindB, 6'000'000);
    SetS32(zprmS32AbsoluteOffset, 100);
    SetS32(zprmS32RegulatedCoolingTemp, -20);
    Set64(zprm64Exposure, 5'000'000);
    EXPECT_EQ(Send(), (Writes{
                          Control(0x04, 0x0000000C), // 12 bits, the most
                          Control(0x08, 0x00000003), // binning, and the whole binned sensor
                          Control(0x0C, 0x00800200),
                          Control(0x0C, 0x00800080),
                          Control(0x10, 0x00040000), // the region
                          Control(0x10, 0x00040006),
                          Control(0x0C, 0x00640080),
                          Control(0x0C, 0x00640032),
                          Control(0x04, 0x0000050C), // 30 MHz
                          Control(0x2C, 0x00010105), // third hardware trigger, falling
                          Control(0x38, 0x03CE0000), // cooler off
                          Control(0x30, 0x00000310), // start colour
                          Control(0x34, 0x00000001), // double shot
                          Control(0x14, 0x52800000), // 6 dB: 1,320 counts
                          Control(0x14, 0x52800640), // offset
                          Control(0x18, 0),          // exposures
                          Control(0x3C, 5'000'000),
                          Control(0x1C, 0),
                          Control(0x40, 5'000'000),
                          Control(0x20, 0),
                          Control(0x44, 5'000'000),
                          Control(0x2C, 0x00000105), // synchronisation output
                          Control(0x58, 0x00020000), // fan
                          Control(0x54, 0x00000002), // blackout, high sensitivity
                          Control(0x54, 0x00000003),
                          Control(0x38, 0x05540000), // -20 degrees
                          Control(0x54, 0x00000007), // multiplying mode, locked gain
                          Control(0x54, 0x0000000F),
                          Control(0x60, 700),        // 2,500 of 3,200
                          Control(0x78, 0x00000001), // dither; the high gain stays off
                          Control(0x78, 0x00000001),
                          Control(0x7C, 80), // 4,000 ns at 20 MHz
                          Control(0x90, 7),  // the reset voltage
                          kCommit,
                      }));
    EXPECT_EQ(tables::GetSlot32(&settings, zprmEMGain), 2500u);
    EXPECT_EQ(CameraOf(handle)->GetFrameBufferLength(), 5);
    // A locked gain refuses to be set, to the same value as well: the next send gets no further.
    EXPECT_EQ(Zerix_SendSettingsToCam(handle, &settings), 16u);
    EXPECT_EQ(TakeWrites(), Writes{Control(0x34, 0x00000001)});
}

// The word goes out with every send; it doesn't count as a change of its own.
TEST_F(VirtualSendingModels, WritesTheTweakingRegisterEachTime)
{
    Open(kMultiplyingRack);
    Send();
    constexpr struct {
        uint32_t word;
        Write write;
    } kRows[] = {
        {0x10000003, Control(0x88, 3000)},
        {0x20001234, Control(0x8C, 0x1234)},
        {0x3FFF0001, Control(0x90, 1)},
        {0x40000002, Control(0x94, 2)},
        {0x50000003, Control(0x98, 3)},
        {0x60000004, Control(0x9C, 4)},
        {0x7000FFFF, Control(0xA0, 65535)},
        {0x80000050, Control(0xA4, 0x50)}, // the low four bits are the border of the picture
    };
    const Writes others = {Control(0x34, 1), Control(0x60, 0x0C80), Control(0x78, 0),
                           Control(0x78, 0), Control(0x7C, 20)};
    for (const auto &row : kRows) {
        Set(zprmTweekingRegister, row.word);
        for (int time = 0; time < 2; ++time)
            EXPECT_EQ(Send(), Joined({others, {row.write, kCommit}})) << row.write;
    }
    for (const uint32_t word : {0x00000005u, 0x90000005u}) {
        Set(zprmTweekingRegister, word);
        EXPECT_EQ(Send(), Joined({others, {kCommit}}));
    }
}

// The wheel's three colours have exposures of their own while it turns, and one when it stands.
TEST_F(VirtualSendingModels, TurnsTheWheelForAColourFormat)
{
    Open("[[camera]]\nmodel = 18\nserial = \"S-18\"\ncapabilities = []\n");
    Set(zprmImageFormat, 8);
    Set64(zprm64Exposure, 5'000'000);
    Set64(zprm64ExposureRed, 6'000'000);
    Set64(zprm64ExposureBlue, 7'000'000);
    EXPECT_EQ(Send(),
              (Writes{Control(0x30, 0x00000010), Control(0x30, 0x00000011), Control(0x18, 0),
                      Control(0x3C, 5'000'000), Control(0x1C, 0), Control(0x40, 6'000'000),
                      Control(0x20, 0), Control(0x44, 7'000'000), kCommit}));
    // That the wheel is there is never compared.
    EXPECT_EQ(Send(), (Writes{Control(0x30, 0x00000011), kCommit}));
    Set(zprmImageFormat, 2);
    EXPECT_EQ(Send(), (Writes{Control(0x30, 0x00000010), Control(0x1C, 0), Control(0x40, 5'000'000),
                              Control(0x20, 0), Control(0x44, 5'000'000), kCommit}));
    EXPECT_EQ(Send(), Writes{kCommit});
}

// A format that no table knows sends no depth and stops the wheel.
TEST_F(VirtualSendingModels, StopsTheWheelForAFormatThatItDoesNotKnow)
{
    Open("[[camera]]\nmodel = 18\nserial = \"S-18\"\ncapabilities = []\n");
    Set(zprmImageFormat, 7); // 16 bits a colour
    Set64(zprm64ExposureRed, kDefaultExposure);
    Set64(zprm64ExposureBlue, kDefaultExposure);
    EXPECT_EQ(Send(), Joined({{Control(0x04, 0x0000000C), Control(0x30, 0x00000010),
                               Control(0x30, 0x00000011)},
                              ColourExposures(kDefaultExposure),
                              {kCommit}}));
    Set(zprmImageFormat, 13);
    EXPECT_EQ(Send(), (Writes{Control(0x30, 0x00000010), kCommit}));
}

// 100 times is 40 dB: 6.4907369 dB above the intensifier's rest, at 15.765398 mdB a count.
TEST_F(VirtualSendingModels, SendsTheIntensifiersGainEachTime)
{
    Open("[[camera]]\nmodel = 9\nsensor = 6\nserial = \"S-9\"\ncapabilities = []\n");
    EXPECT_EQ(Send(), Joined({{Control(0x48, 0)}, ColourExposures(kDefaultExposure), {kCommit}}));
    Set64(zprm64NormIntensGain, 100'000'000);
    EXPECT_EQ(Send(), (Writes{Control(0x48, 412 << 4), kCommit}));
    EXPECT_EQ(Send(), (Writes{Control(0x48, 412 << 4), kCommit}));
}

// Two binnings of their own, a shutter delay in whole steps of 50, exposures in microseconds.
TEST_F(VirtualSendingModels, ChangesEverythingOfAMetrol)
{
    Open("[[camera]]\nmodel = 1002\nsensor = 6\nserial = \"S-1002\"\ncontrol = \"1.2\"\n"
         "bit-depth = 16\ncapabilities = []\n");
    EXPECT_EQ(Send(), (Writes{Control(0x3C, 1000), Control(0x1C, 100'000), Control(0x20, 100'000),
                              kCommit}));
    Set(zprmImageFormat, 2);
    Set(zprmBinning, 3); // for cameras without axes of their own
    Set(zprmVerticalBinning, 8);
    Set(zprmHorizontalBinning, 2);
    Set(zprmRoiX, 8);
    Set(zprmRoiY, 6);
    Set(zprmRoiWidth, 100);
    Set(zprmRoiHeight, 50);
    Set(zprmTriggerType, 3);
    Set(zprmCoolerActive, 0);
    Set(zprmColorWheel, 1);
    Set(zprmMetrolShutterDelay, 1020);
    Set(zprmSyncb, 0);
    SetS32(zprmS32NormalizedGaindB, 6'000'000);
    SetS32(zprmS32AbsoluteOffset, 100);
    SetS32(zprmS32RegulatedCoolingTemp, -20);
    Set64(zprm64Exposure, 5'000'000);
    EXPECT_EQ(Send(), (Writes{
                          Control(0x04, 0x00000204), // the depth reads as 16 always
                          Control(0x08, 0x00000700), // vertical, horizontal
                          Control(0x08, 0x00010700),
                          Control(0x10, 0x00080000), // the region
                          Control(0x10, 0x00080006),
                          Control(0x0C, 0x00640410),
                          Control(0x0C, 0x00640032),
                          Control(0x2C, 0x00010003), // second hardware trigger
                          Control(0x38, 0x03CE0000), // cooler off
                          Control(0x30, 0x00000110), // start colour
                          Control(0x3C, 1050),       // shutter delay
                          Control(0x14, 0x52800000), // 6 dB: 1,320 counts
                          Control(0x14, 0x52800640), // offset
                          Control(0x18, 5000),       // exposures
                          Control(0x1C, 5000),
                          Control(0x20, 5000),
                          Control(0x2C, 0x00000003), // synchronisation output
                          Control(0x38, 0x05540000), // -20 degrees
                          kCommit,
                      }));
    EXPECT_EQ(tables::GetSlot32(&settings, zprmBinning), 1u);
    EXPECT_EQ(tables::GetSlot32(&settings, zprmVerticalBinning), 8u);
    EXPECT_EQ(tables::GetSlot32(&settings, zprmHorizontalBinning), 2u);
    // The gain is compared in decibels, and 1,320 counts are 6.0032 of them.
    EXPECT_EQ(Send(), (Writes{Control(0x04, 0x00000204), Control(0x14, 0x52800640), kCommit}));
}

// Leaving live mode, the repair asks for the standard mode's limits first: the camera goes there
// and back before it goes there.
TEST_F(VirtualSendingModels, TakesABenchmateThroughLiveModeAndBinning)
{
    Open("[[camera]]\nmodel = 8\nsensor = 10\nserial = \"S-8\"\ncooler = false\n"
         "regulated-cooling = false\ninformation = \"2.3\"\ncontrol = \"2.3\"\n");
    constexpr uint32_t kTenth = 100'000'000; // a tenth of a second is this model's default
    EXPECT_EQ(Send(), Joined({ColourExposures(kTenth), {Control(0x2C, 0x00010000), kCommit}}));
    Set(zprmCameraMode, 1);
    EXPECT_EQ(Send(), (Writes{Control(0x08, 4), Control(0x0C, 0x08000100), kCommit}));
    EXPECT_EQ(tables::GetSlot32(&settings, zprmRoiWidth), 2048u);
    EXPECT_EQ(tables::GetSlot32(&settings, zprmRoiHeight), 256u);
    EXPECT_EQ(Send(), Writes{kCommit});
    Set(zprmCameraMode, 0);
    Set(zprmRoiHeight, 1536);
    EXPECT_EQ(Send(), (Writes{Control(0x08, 0), Control(0x0C, 0x08000600), Control(0x08, 4),
                              Control(0x0C, 0x08000100), Control(0x08, 0),
                              Control(0x0C, 0x08000600), kCommit}));
    Set(zprmVerticalBinning, 3);
    Set(zprmRoiWidth, 600);
    Set(zprmRoiHeight, 300);
    EXPECT_EQ(Send(), (Writes{Control(0x08, 0x00020202), Control(0x0C, 0x07FE0600),
                              Control(0x0C, 0x07FE0200), Control(0x0C, 0x02580200),
                              Control(0x0C, 0x0258012C), kCommit}));
}

// A start beyond the binned sensor is put back to 0 first; then the size is cut.
TEST_F(VirtualSendingModels, FitsTheRegionIntoTheBinnedSensor)
{
    Open("[[camera]]\nmodel = 18\nserial = \"S-18\"\ncapabilities = []\n");
    Set(zprmBinning, 4); // 348 x 260
    Set(zprmRoiX, 349);
    Set(zprmRoiY, 261);
    Set(zprmRoiWidth, 1392);
    Set(zprmRoiHeight, 100);
    Send();
    EXPECT_EQ(tables::GetSlot32(&settings, zprmRoiX), 0u);
    EXPECT_EQ(tables::GetSlot32(&settings, zprmRoiY), 0u);
    EXPECT_EQ(tables::GetSlot32(&settings, zprmRoiWidth), 348u);
    EXPECT_EQ(tables::GetSlot32(&settings, zprmRoiHeight), 100u);
    EXPECT_EQ(ControlWord(0x0C), 0x015C0064u);
}

} // namespace
} // namespace zerix::api

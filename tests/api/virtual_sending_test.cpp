// Sending to virtual cameras: the register writes that they see, in order, and what their registers
// hold afterwards.
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "api/context.h"
#include "tests/api/virtual_sending_fixture.h"

namespace zerix::api {
namespace {

class VirtualSending : public VirtualSendingTest {
protected:
    // Everything that the camera has, changed.
    void ChangeEverything()
    {
        Set(zprmImageFormat, 3);
        Set(zprmBinning, 2);
        Set(zprmRoiX, 8);
        Set(zprmRoiY, 6);
        Set(zprmRoiWidth, 100);
        Set(zprmRoiHeight, 50);
        Set(zprmReadoutSpeed, 2);
        Set(zprmTriggerType, 5);
        Set(zprmCoolerActive, 0);
        Set(zprmColorWheel, 3);
        Set(zprmSyncb, 0);
        Set(zprmFan, 2);
        Set(zprmBlackoutMode, 1);
        Set(zprmHighSensitivityMode, 1);
        tables::SetSlotS32(&settings, zprmS32NormalizedGaindB, 6'000'000);
        tables::SetSlotS32(&settings, zprmS32AbsoluteOffset, 100);
        tables::SetSlotS32(&settings, zprmS32RegulatedCoolingTemp, -20);
        tables::SetSlot64(&settings, zprm64Exposure, 5'000'000);
    }
};

std::string RackOf(const std::string &controlVersion)
{
    return "[[camera]]\nmodel = 18\nserial = \"S-18\"\ncontrol = \"" + controlVersion +
           "\"\ncapabilities = [\"fan\", \"blackout\", \"high-sensitivity\"]\n";
}

// The whole list of one send from the defaults to everything changed, for every version of the
// control block: writes beyond its words are left out, and version 1 holds exposures as
// microseconds in one word.
TEST_F(VirtualSending, WritesEveryChangeOnceInItsOrder)
{
    constexpr struct {
        const char *version;
        uint32_t words;
    } kVersions[] = {{"1.1", 15}, {"1.2", 16}, {"2.1", 20}, {"2.2", 20}, {"2.3", 21},
                     {"2.4", 21}, {"2.5", 24}, {"2.6", 26}, {"2.7", 34}, {"2.8", 43}};
    for (const auto &version : kVersions) {
        SCOPED_TRACE(version.version);
        Open(RackOf(version.version));
        ChangeEverything();
        // 6 dB above the default of 600 counts, at 8.337792 mdB a count: 1,320 counts.
        const uint32_t gain = 0x52800000;
        const bool isFirst = version.version[0] == '1';
        const Writes all = {
            Control(0x04, 0x0000000C), // 12 bits, the most
            Control(0x08, 0x00000001), // binning, and the whole binned sensor
            Control(0x0C, 0x02B80410),
            Control(0x0C, 0x02B80208),
            Control(0x10, 0x00080000), // the region
            Control(0x10, 0x00080006),
            Control(0x0C, 0x00640208),
            Control(0x0C, 0x00640032),
            Control(0x04, 0x0000020C), // 5 MHz
            Control(0x2C, 0x00010001), // software trigger
            Control(0x38, 0x03CE0000), // cooler off
            Control(0x30, 0x00000310), // start colour
            Control(0x14, gain),
            Control(0x14, gain | 0x640),
            Control(0x18, isFirst ? 5000 : 0), // exposures
            Control(0x3C, 5'000'000),
            Control(0x1C, isFirst ? 5000 : 0),
            Control(0x40, 5'000'000),
            Control(0x20, isFirst ? 5000 : 0),
            Control(0x44, 5'000'000),
            Control(0x2C, 0x00000001), // synchronisation output
            Control(0x58, 0x00020000), // fan
            Control(0x54, 0x00000002), // blackout, high sensitivity
            Control(0x54, 0x00000003),
            Control(0x38, 0x05540000), // -20 degrees
            kCommit,
        };
        Writes expected;
        for (const Write &write : all) {
            const bool isLowerHalf =
                write.offset == 0x3C || write.offset == 0x40 || write.offset == 0x44;
            if (write.block == Block::kCommand ||
                (write.offset < version.words * 4 && !(isFirst && isLowerHalf)))
                expected.push_back(write);
        }
        EXPECT_EQ(Send(), expected);
        // The camera holds what was written last to each word.
        for (const Write &write : expected) {
            if (write.block == Block::kControl && write.offset >= 0x14 && write.offset != 0x2C &&
                write.offset != 0x38 && write.offset != 0x54 && write != Control(0x14, gain)) {
                EXPECT_EQ(ControlWord(write.offset), write.value) << write;
            }
        }
        EXPECT_EQ(ControlWord(0x04), 0x0000020Cu);
        EXPECT_EQ(ControlWord(0x0C), 0x00640032u);
        EXPECT_EQ(ControlWord(0x38), 0x05540000u);
        Zerix_ReleaseDriver();
    }
}

// The defaults are what the camera has, but for the colours' exposures; and the cache has never
// seen them.
TEST_F(VirtualSending, WritesNothingButTheCommitOfWhatTheCameraHas)
{
    Open(RackOf("2.8"));
    EXPECT_EQ(Send(), Joined({ColourExposures(kDefaultExposure), {kCommit}}));
    // Keys above 16 are never remembered, and count every time.
    EXPECT_EQ(Send(), Writes{kCommit});
}

// Where no key above 16 differs from the cache, the second send writes nothing at all.
TEST_F(VirtualSending, CommitsOnceWhereTheCacheKnowsTheRest)
{
    Open(RackOf("2.8"));
    Zerix_Settings &cached = ContextOf(*CameraOf(handle))->cachedSettings;
    for (uint32_t key = 17; key < 53; ++key)
        tables::SetSlot32(&cached, key, tables::GetSlot32(&settings, key));
    for (uint32_t key = 0; key < 3; ++key)
        tables::SetSlotS32(&cached, key, tables::GetSlotS32(&settings, key));
    for (uint32_t key = 0; key < 4; ++key)
        tables::SetSlot64(&cached, key, tables::GetSlot64(&settings, key));
    Set(zprmTriggerType, 1);
    EXPECT_EQ(Send(),
              Joined({{Control(0x2C, 0x00010002)}, ColourExposures(kDefaultExposure), {kCommit}}));
    EXPECT_EQ(Send(), Writes{});
}

// What is written without being compared goes out each time.
TEST_F(VirtualSending, WritesWhatIsNeverComparedEachTime)
{
    Open(kMultiplyingRack);
    const Writes before = {Control(0x34, 0x00000001)}; // the double shot's word
    const Writes behind = {
        Control(0x60, 0x00000C80), // no gain: 3200 below the most, which is 3200
        Control(0x78, 0x00000000), // dither
        Control(0x78, 0x00000000), // high gain
        Control(0x7C, 0x00000014), // a thousand nanoseconds at 20 MHz
        kCommit,
    };
    EXPECT_EQ(Send(), Joined({before, ColourExposures(kDefaultExposure), behind}));
    EXPECT_EQ(Send(), Joined({before, behind}));
    EXPECT_EQ(ControlWord(0x60), 0x00000C80u);
    EXPECT_EQ(ControlWord(0x7C), 0x00000014u);
}

TEST_F(VirtualSending, SendsTheMultiplyingGainOfTheSpeed)
{
    Open(kMultiplyingRack);
    Send();
    Set(zprmKeelEmMode, 1);
    EXPECT_EQ(Send(), (Writes{Control(0x34, 0x00000001), Control(0x54, 0x00000004),
                              Control(0x60, 3200 - 2048), Control(0x78, 0), Control(0x78, 0),
                              Control(0x7C, 0x00000014), kCommit}));
    EXPECT_EQ(tables::GetSlot32(&settings, zprmEMGain), 2048u);
}

TEST_F(VirtualSending, KeepsTheStreamForWhatItMaySeeChange)
{
    Open(RackOf("2.8"));
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    TakeWrites();
    tables::SetSlot64(&settings, zprm64Exposure, 5'000'000);
    const Writes writes = Send();
    EXPECT_EQ(writes, (Writes{Control(0x18, 0), Control(0x3C, 5'000'000), Control(0x1C, 0),
                              Control(0x40, 5'000'000), Control(0x20, 0), Control(0x44, 5'000'000),
                              kCommit}));
    EXPECT_TRUE(CameraOf(handle)->IsCameraStreaming());
}

// The stream stops before the region changes, and begins again behind the commit, with a new tag
// and a commit of its own.
TEST_F(VirtualSending, RestartsTheStreamForARegion)
{
    Open(RackOf("2.8"));
    Send();
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    TakeWrites();
    Set(zprmRoiWidth, 100);
    EXPECT_EQ(Send(), (Writes{{Block::kStreaming, 0x04, 0},
                              Control(0x0C, 0x00640410),
                              kCommit,
                              Control(0x04, 0x02000004),
                              kCommit,
                              {Block::kStreaming, 0x04, 1}}));
    EXPECT_TRUE(CameraOf(handle)->IsCameraStreaming());
}

// A mosaic's cells stay whole, and the record tells what was used.
TEST_F(VirtualSending, TellsTheGeometryThatWasUsed)
{
    Open("[[camera]]\nmodel = 19\nsensor = 19\nserial = \"S-19\"\n");
    Set(zprmRoiX, 11);
    Set(zprmRoiWidth, 101);
    Set(zprmRoiHeight, 5000);
    tables::SetSlot64(&settings, zprm64Exposure, 0xFFFFFFFFFFFFFFFF);
    Send();
    EXPECT_EQ(tables::GetSlot32(&settings, zprmRoiX), 10u);
    EXPECT_EQ(tables::GetSlot32(&settings, zprmRoiWidth), 100u);
    EXPECT_EQ(tables::GetSlot32(&settings, zprmRoiHeight),
              CameraOf(handle)->GetROIMaxHeightForBinningMode(1));
    EXPECT_EQ(tables::GetSlot64(&settings, zprm64Exposure), CameraOf(handle)->GetMaxExposure());
}

TEST_F(VirtualSending, PassesAFailedWriteOn)
{
    Open(RackOf("2.8"));
    Set(zprmTriggerType, 5);
    ASSERT_EQ(ZerixSim_InjectFault(0, "write error 31 at write 1"), 0u);
    EXPECT_EQ(Zerix_SendSettingsToCam(handle, &settings), 16u);
    TakeWrites();
    // Nobody knows whether the camera has the mode: it is written again.
    EXPECT_EQ(Send(),
              Joined({{Control(0x2C, 0x00010001)}, ColourExposures(kDefaultExposure), {kCommit}}));
    EXPECT_EQ(Send(), Writes{kCommit});
}

TEST_F(VirtualSending, SendsAnExposureAgainWhoseWriteFailed)
{
    Open(RackOf("2.8"));
    Send();
    tables::SetSlot64(&settings, zprm64Exposure, 5'000'000);
    for (const char *fault : {"write error 31 at write 1", "write error 31 at write 2"}) {
        ASSERT_EQ(ZerixSim_InjectFault(0, fault), 0u);
        EXPECT_EQ(Zerix_SendSettingsToCam(handle, &settings), 16u);
        EXPECT_EQ(ControlWord(0x3C), kDefaultExposure);
    }
    TakeWrites();
    EXPECT_EQ(Send(), Joined({{Control(0x18, 0), Control(0x3C, 5'000'000)},
                              ColourExposures(5'000'000),
                              {kCommit}}));
    EXPECT_EQ(ControlWord(0x3C), 5'000'000u);
}

} // namespace
} // namespace zerix::api

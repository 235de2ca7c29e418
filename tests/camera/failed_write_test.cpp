// A write that failed leaves the camera with a word that nobody knows: the next setting of a field
// of that word writes it, also where the driver's copy already has the value.
#include <string>
#include <vector>

#include "hal/kernel_requests.h"
#include "tests/camera/register_bus_fixture.h"

namespace zerix::test {
namespace {

using Camera = ZX::TolvaneFWCamera;
using Writes = std::vector<RegisterWrite>;

constexpr uint32_t kControlBlock = 0xE1000000;
constexpr uint32_t kCommandBlock = 0xE2000000;
constexpr uint16_t kBusError = 9;
constexpr uint16_t kNotSupported = 15;
constexpr uint32_t kEverything = 0xFFFFFFFF;
constexpr uint32_t kBlackoutAlone = 1u << 2;

struct Setting {
    const char *name;
    uint16_t (*set)(Camera &camera);
    uint32_t offset; // of the word whose write fails
    uint32_t word;   // that is written then
    uint16_t failure = kBusError;
};

// On an Astrel C2 of 640 x 480 that has everything, in its default state: gain 600, -30 degrees,
// cooler and SyncB on, filter active.
const Setting kSettings[] = {
    {"X", [](Camera &camera) { return camera.SetROIX(3); }, 0x10, 0x00030000},
    {"Y", [](Camera &camera) { return camera.SetROIY(5); }, 0x10, 0x00000005},
    {"Width", [](Camera &camera) { return camera.SetROIWidth(320); }, 0x0C, 0x014001E0},
    {"Height", [](Camera &camera) { return camera.SetROIHeight(240); }, 0x0C, 0x028000F0},
    {"BitDepth", [](Camera &camera) { return camera.SetBitDepth(14); }, 0x04, 0x0000001C},
    {"Readout", [](Camera &camera) { return camera.SetReadoutFrequency(10); }, 0x04, 0x00000104},
    {"Compression", [](Camera &camera) { return camera.SetCompression(9); }, 0x04, 0x00090004},
    // A binning goes on to the region, and counts as done.
    {"Binning", [](Camera &camera) { return camera.SetSymmetricalBinning(2); }, 0x08, 1, 0},
    {"ExposureHigh", [](Camera &camera) { return camera.SetExposure(0x200000005); }, 0x18, 2},
    {"ExposureLow", [](Camera &camera) { return camera.SetExposure(0x200000005); }, 0x3C, 5},
    {"RedHigh", [](Camera &camera) { return camera.SetRGBFilterRedExposure(0x300000006); }, 0x1C,
     3},
    {"RedLow", [](Camera &camera) { return camera.SetRGBFilterRedExposure(0x300000006); }, 0x40, 6},
    {"BlueHigh", [](Camera &camera) { return camera.SetRGBFilterBlueExposure(0x400000007); }, 0x20,
     4},
    {"BlueLow", [](Camera &camera) { return camera.SetRGBFilterBlueExposure(0x400000007); }, 0x44,
     7},
    {"Gain", [](Camera &camera) { return camera.SetGain(720); }, 0x14, 0x2D000000},
    {"Offset", [](Camera &camera) { return camera.SetOffset(7); }, 0x14, 0x25800070},
    {"Trigger", [](Camera &camera) { return camera.SetTriggerMode(1); }, 0x2C, 0x00010002},
    {"SyncB", [](Camera &camera) { return camera.SetSyncBMode(0); }, 0x2C, 0},
    {"Wheel", [](Camera &camera) { return camera.SetRGBFilterCycle(true); }, 0x30, 0x00000011},
    {"StartColour", [](Camera &camera) { return camera.SetRGBFilterStartColour(3); }, 0x30,
     0x00000310},
    {"Cooler", [](Camera &camera) { return camera.SetCoolerStatus(false); }, 0x38, 0x03CE0000},
    // 45 degrees above the coldest are 1754.9 counts.
    {"Cooling", [](Camera &camera) { return camera.SetRegulatedCoolingTemp(-10); }, 0x38,
     0x06DA0001},
    {"HighSensitivity", [](Camera &camera) { return camera.SetHighSensitivityMode(true); }, 0x54,
     1},
    {"Blackout", [](Camera &camera) { return camera.SetBlackoutMode(true); }, 0x54, 2},
    {"KeelEm", [](Camera &camera) { return camera.SetKeelEmMode(true); }, 0x54, 4},
    {"LockedGain", [](Camera &camera) { return camera.SetLockedGainMode(true); }, 0x54, 8},
    {"Fan", [](Camera &camera) { return camera.SetFanSpeed(2); }, 0x58, 0x00020000},
};

class FailedWrite : public RegisterBusTest {
protected:
    void Open(uint32_t model, uint32_t capabilities = kEverything)
    {
        bus.modelWord = model << 16;
        Inform({{0x08, 0x25800000},
                {0x10, 0x028001E0},
                {0x14, 0x014000F0},
                {0x20, 0x0000000B},
                {0x28, 0x80000000},
                {0x38, model << 16},
                {0x40, 114},
                {0x74, 0x00000002},
                {0x78, 0x0000FFF0},
                {0x108, 8'337'793},
                {0x29C, 0x08EC03CE},
                {0x2A4, capabilities},
                {0x304, 3200},
                {0x320, 20'000'000}});
        ASSERT_EQ(List(), 0);
        ASSERT_EQ(Camera().OpenCamera(), 0);
        bus.TakeWrites();
    }

    void Free() { EXPECT_EQ(ZX::ZCamera::FreeCameraList(cameras), 0); }

    void FailNextWrite(uint32_t offset)
    {
        tap.FailAccess(kernel::kControlAsyncWrite, kControlBlock + offset,
                       kernel::kErrorGenFailure);
    }

    uint16_t Quietly(uint16_t (*set)(ZX::TolvaneFWCamera &camera))
    {
        testing::internal::CaptureStdout();
        const uint16_t status = set(Camera());
        EXPECT_NE(testing::internal::GetCapturedStdout(), "");
        return status;
    }

    Writes WritesTo(uint32_t offset)
    {
        Writes found;
        for (const RegisterWrite &write : bus.TakeWrites())
            if (write.block == Block::kControl && write.offset == offset)
                found.push_back(write);
        return found;
    }

    // Fails once, is repeated, and has then nothing to do.
    void ExpectRepeated(const Setting &setting)
    {
        FailNextWrite(setting.offset);
        EXPECT_EQ(Quietly(setting.set), setting.failure);
        EXPECT_EQ(WritesTo(setting.offset), Writes{});
        EXPECT_EQ(setting.set(Camera()), 0);
        EXPECT_EQ(WritesTo(setting.offset), Writes{ControlWrite(setting.offset, setting.word)});
        EXPECT_EQ(setting.set(Camera()), 0);
        EXPECT_EQ(bus.TakeWrites(), Writes{});
    }
};

TEST_F(FailedWrite, IsRepeatedByTheSameSetting)
{
    for (const Setting &setting : kSettings) {
        SCOPED_TRACE(setting.name);
        Open(18);
        ExpectRepeated(setting);
        Free();
    }
}

TEST_F(FailedWrite, OfAMetrolIsRepeated)
{
    const Setting settings[] = {
        {"Horizontal", [](ZX::TolvaneFWCamera &camera) { return camera.SetHorizontalBinning(2); },
         0x08, 0x00010000},
        {"Vertical", [](ZX::TolvaneFWCamera &camera) { return camera.SetVerticalBinning(3); }, 0x08,
         0x00000200},
    };
    for (const Setting &setting : settings) {
        SCOPED_TRACE(setting.name);
        Open(1002);
        ExpectRepeated(setting);
        Free();
    }
    Make(Block::kControl, {0x00010002, 16});
    Open(1002);
    ExpectRepeated({"Shutter",
                    [](ZX::TolvaneFWCamera &camera) { return camera.SetMetrolShutterDelay(70); },
                    0x3C, 100});
}

TEST_F(FailedWrite, OfABenchmateIsRepeated)
{
    const Setting settings[] = {
        {"Binning", [](ZX::TolvaneFWCamera &camera) { return camera.SetSymmetricalBinning(2); },
         0x08, 0x00010101},
        {"Live", [](ZX::TolvaneFWCamera &camera) { return camera.SetLVWMode(true); }, 0x08, 4},
    };
    for (const Setting &setting : settings) {
        SCOPED_TRACE(setting.name);
        Open(8);
        ExpectRepeated(setting);
        Free();
    }
}

// The whole word is unknown, and goes out with any of its fields.
TEST_F(FailedWrite, IsMadeGoodByAnyFieldOfItsWord)
{
    Open(18);
    FailNextWrite(0x14);
    EXPECT_EQ(Quietly([](ZX::TolvaneFWCamera &camera) { return camera.SetOffset(7); }), kBusError);
    EXPECT_EQ(Camera().SetNormalizedGaindB(0), 0);
    EXPECT_EQ(bus.TakeWrites(), Writes{ControlWrite(0x14, 0x25800070)});
    EXPECT_EQ(Camera().SetOffset(7), 0);
    EXPECT_EQ(bus.TakeWrites(), Writes{});
}

TEST_F(FailedWrite, OfAnotherWordChangesNothing)
{
    Open(18);
    FailNextWrite(0x14);
    EXPECT_EQ(Quietly([](ZX::TolvaneFWCamera &camera) { return camera.SetOffset(7); }), kBusError);
    EXPECT_EQ(Camera().SetROIWidth(640), 0);
    EXPECT_EQ(Camera().SetTriggerMode(0), 0);
    EXPECT_EQ(Camera().SetExposure(16'384'000), 0);
    EXPECT_EQ(bus.TakeWrites(), Writes{});
}

TEST_F(FailedWrite, IsRepeatedUntilItSucceeds)
{
    Open(18);
    tap.FailAccess(kernel::kControlAsyncWrite, kControlBlock + 0x14, kernel::kErrorGenFailure, 3);
    const auto set = [](ZX::TolvaneFWCamera &camera) { return camera.SetOffset(7); };
    for (int attempt = 0; attempt < 3; ++attempt)
        EXPECT_EQ(Quietly(set), kBusError);
    EXPECT_EQ(set(Camera()), 0);
    EXPECT_EQ(bus.TakeWrites(), Writes{ControlWrite(0x14, 0x25800070)});
}

// The binning fills the sensor whatever fails on the way; the region that is set next is written.
TEST_F(FailedWrite, OfARegionWithinABinningIsMadeGoodByTheRegion)
{
    Open(18);
    tap.FailAccess(kernel::kControlAsyncWrite, kControlBlock + 0x0C, kernel::kErrorGenFailure, 2);
    EXPECT_EQ(Quietly([](ZX::TolvaneFWCamera &camera) { return camera.SetSymmetricalBinning(2); }),
              0);
    EXPECT_EQ(WritesTo(0x0C), Writes{});
    EXPECT_EQ(Camera().SetROI(0, 0, 320, 240), 0);
    EXPECT_EQ(bus.TakeWrites(), Writes{ControlWrite(0x0C, 0x014000F0)});
}

// What a camera lacks is left alone, even beside a mode whose write failed.
TEST_F(FailedWrite, OfAModeWritesNoneThatTheCameraLacks)
{
    Open(18, kBlackoutAlone);
    FailNextWrite(0x54);
    EXPECT_EQ(Quietly([](ZX::TolvaneFWCamera &camera) { return camera.SetBlackoutMode(true); }),
              kBusError);
    EXPECT_EQ(Camera().SetKeelEmMode(false), 0);
    EXPECT_EQ(Camera().SetLockedGainMode(false), 0);
    EXPECT_EQ(Camera().SetHighSensitivityMode(false), 0);
    EXPECT_EQ(Camera().SetHighSensitivityMode(true), kNotSupported);
    EXPECT_EQ(bus.TakeWrites(), Writes{});
}

// A MiscCtrl that reaches the camera only now changes its sensor only now.
TEST_F(FailedWrite, OfMiscCtrlReadsTheInformationOnceItIsWritten)
{
    Open(18);
    FailNextWrite(0xA4);
    EXPECT_EQ(Quietly([](ZX::TolvaneFWCamera &camera) { return camera.SetMiscCtrlAd(1); }),
              kBusError);
    EXPECT_EQ(Camera().UpdateSettingsOnCamera(), 0);
    EXPECT_EQ(Camera().SetMiscCtrlAd(1), 0);
    Inform({{0x10, 0x014000F0}});
    EXPECT_EQ(Camera().UpdateSettingsOnCamera(), 0);
    EXPECT_EQ(Camera().GetCCDWidth(), 320u);
}

// The record that is sent again has the value that the camera got, and was not committed.
TEST_F(FailedWrite, OfACommitOfMiscCtrlReadsTheInformationAfterTheNextOne)
{
    Open(18);
    EXPECT_EQ(Camera().SetMiscCtrlAd(1), 0);
    tap.FailAccess(kernel::kControlAsyncWrite, kCommandBlock + registers::kCommitOffset,
                   kernel::kErrorGenFailure);
    EXPECT_EQ(Quietly([](ZX::TolvaneFWCamera &camera) { return camera.UpdateSettingsOnCamera(); }),
              kBusError);
    EXPECT_EQ(Camera().SetMiscCtrlAd(1), 0);
    Inform({{0x10, 0x014000F0}});
    EXPECT_EQ(Camera().UpdateSettingsOnCamera(), 0);
    EXPECT_EQ(Camera().GetCCDWidth(), 320u);
}

} // namespace
} // namespace zerix::test

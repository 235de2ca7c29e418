// The writes that bring a fresh camera to its default state, all of them and in order.
#include <algorithm>
#include <vector>

#include "tests/virtual_bus/virtual_bus_fixture.h"

namespace zerix::test {
namespace {

using Writes = std::vector<RegisterWrite>;

class CameraSetup : public VirtualBusTest {};

// The first built-in camera: information 2.11, control 2.8, 1392 x 1040, monochrome, cooled. Its
// default gain is 600, its filter delays 0x00500050, its lowest temperature -30, its MiscCtrl 0.
TEST_F(CameraSetup, WritesTheWholeListToANewCamera)
{
    ListCameras();
    const Writes expected = {
        // The smallest region, MiscCtrl, commit.
        ControlWrite(0x10, 0x00010000), ControlWrite(0x10, 0x00010001),
        ControlWrite(0x0C, 0x00000001), ControlWrite(0x0C, 0x00010001),
        ControlWrite(0xA4, 0x00000000), CommitWrite(),
        // The tag is the camera's index. Compression, frequency, depth, offset and trigger are as
        // they
        // should be; the gain is the default one.
        ControlWrite(0x04, 0x00000000), ControlWrite(0x14, 0x25800000),
        // The region is one pixel already; then the whole sensor.
        ControlWrite(0x10, 0x00000001), ControlWrite(0x10, 0x00000000),
        ControlWrite(0x0C, 0x00010410), ControlWrite(0x0C, 0x05700410),
        // 16,384,000 ns; filter delays; 28,100,000 and 34,900,000 ns.
        ControlWrite(0x18, 0x00000000), ControlWrite(0x3C, 0x00FA0000),
        ControlWrite(0x34, 0x00500050), ControlWrite(0x1C, 0x00000000),
        ControlWrite(0x40, 0x01ACC5A0), ControlWrite(0x20, 0x00000000),
        ControlWrite(0x44, 0x02148820),
        // Binning 2, binning 1.
        ControlWrite(0x08, 0x00000001), ControlWrite(0x0C, 0x02B80410),
        ControlWrite(0x0C, 0x02B80208), ControlWrite(0x08, 0x00000000),
        ControlWrite(0x0C, 0x05700208), ControlWrite(0x0C, 0x05700410),
        // SyncB, filter active, -30 degrees, cooler on. The fan runs at 4 by itself.
        ControlWrite(0x2C, 0x00010000), ControlWrite(0x30, 0x00000010),
        ControlWrite(0x38, 0x03CE0000), ControlWrite(0x38, 0x03CE0001),
        // Voltages.
        ControlWrite(0x88, 1800), ControlWrite(0x8C, 1850), ControlWrite(0x90, 2100),
        ControlWrite(0x94, 1500), ControlWrite(0x98, 1520), ControlWrite(0x9C, 1540),
        ControlWrite(0xA0, 1560),
        // Little-endian data, commit.
        ControlWrite(0x04, 0x00000004), CommitWrite()};
    EXPECT_EQ(TakeWrites(0), expected);
}

// The third built-in camera: information 2.2, control 2.1, the same sensor, no cooler, no voltages.
TEST_F(CameraSetup, WritesWhatAnOldCameraHas)
{
    ListCameras();
    const Writes expected = {ControlWrite(0x04, 0x02000000),
                             ControlWrite(0x14, 0x25800000),
                             ControlWrite(0x10, 0x00010000),
                             ControlWrite(0x10, 0x00010001),
                             ControlWrite(0x0C, 0x00000001),
                             ControlWrite(0x0C, 0x00010001),
                             ControlWrite(0x10, 0x00000001),
                             ControlWrite(0x10, 0x00000000),
                             ControlWrite(0x0C, 0x00010410),
                             ControlWrite(0x0C, 0x05700410),
                             ControlWrite(0x18, 0x00000000),
                             ControlWrite(0x3C, 0x00FA0000),
                             ControlWrite(0x34, 0x00500050),
                             ControlWrite(0x1C, 0x00000000),
                             ControlWrite(0x40, 0x01ACC5A0),
                             ControlWrite(0x20, 0x00000000),
                             ControlWrite(0x44, 0x02148820),
                             ControlWrite(0x08, 0x00000001),
                             ControlWrite(0x0C, 0x02B80410),
                             ControlWrite(0x0C, 0x02B80208),
                             ControlWrite(0x08, 0x00000000),
                             ControlWrite(0x0C, 0x05700208),
                             ControlWrite(0x0C, 0x05700410),
                             ControlWrite(0x2C, 0x00010000),
                             ControlWrite(0x30, 0x00000010),
                             ControlWrite(0x04, 0x02000004),
                             CommitWrite()};
    EXPECT_EQ(TakeWrites(2), expected);
}

// The newest features with the shortest control block of version 2: 0x88 to 0xA4 are not there.
TEST_F(CameraSetup, LeavesOutWhatTheControlBlockLacks)
{
    auto description = Describe(18, 6);
    description.control = {2, 1};
    UseCameras({description});
    ListCameras();
    const Writes writes = TakeWrites();
    EXPECT_EQ(std::count(writes.begin(), writes.end(), CommitWrite()), 2);
    for (const RegisterWrite &write : writes)
        if (write.block == Block::kControl) {
            EXPECT_LT(write.offset, 0x50u);
        }
    EXPECT_EQ(writes.front(), ControlWrite(0x10, 0x00010000));
    EXPECT_EQ(writes.back(), CommitWrite());
}

// Sensor 15 multiplies electrons: 1004 x 1002, multiplication gain 0 of 0 to 3200, vertical clock
// 20 counts at 20 MHz, shutter delay of 500 counts.
TEST_F(CameraSetup, SetsWhatAMultiplyingSensorHasInTheOrderOfTheFeatures)
{
    UseCameras({Describe(18, 15)});
    ListCameras();
    const Writes writes = TakeWrites();
    const auto first = std::find(writes.begin(), writes.end(), ControlWrite(0x7C, 20));
    ASSERT_NE(first, writes.end());
    const Writes expected = {ControlWrite(0x7C, 20),         ControlWrite(0x2C, 0x00010000),
                             ControlWrite(0x60, 3200),       ControlWrite(0x30, 0x00000010),
                             ControlWrite(0x64, 500),        ControlWrite(0x38, 0x03CE0000),
                             ControlWrite(0x38, 0x03CE0001), ControlWrite(0x88, 1800)};
    EXPECT_EQ(Writes(first, first + static_cast<ptrdiff_t>(expected.size())), expected);
}

// Everything that a camera can have, on the longest control block: sensor 15 is 1004 x 1002.
const Writes kEverything = {ControlWrite(0x10, 0x00010000),
                            ControlWrite(0x10, 0x00010001),
                            ControlWrite(0x0C, 0x00000001),
                            ControlWrite(0x0C, 0x00010001),
                            ControlWrite(0xA4, 0x00000000),
                            CommitWrite(),
                            ControlWrite(0x04, 0x00000000),
                            ControlWrite(0x14, 0x25800000),
                            ControlWrite(0x10, 0x00000001),
                            ControlWrite(0x10, 0x00000000),
                            ControlWrite(0x0C, 0x000103EA),
                            ControlWrite(0x0C, 0x03EC03EA),
                            ControlWrite(0x18, 0x00000000),
                            ControlWrite(0x3C, 0x00FA0000),
                            ControlWrite(0x34, 0x00500050),
                            ControlWrite(0x1C, 0x00000000),
                            ControlWrite(0x40, 0x01ACC5A0),
                            ControlWrite(0x20, 0x00000000),
                            ControlWrite(0x44, 0x02148820),
                            ControlWrite(0x08, 0x00000001),
                            ControlWrite(0x0C, 0x01F603EA),
                            ControlWrite(0x0C, 0x01F601F5),
                            ControlWrite(0x08, 0x00000000),
                            ControlWrite(0x0C, 0x03EC01F5),
                            ControlWrite(0x0C, 0x03EC03EA),
                            ControlWrite(0x7C, 20),
                            ControlWrite(0x2C, 0x00010000),
                            ControlWrite(0x60, 3200),
                            ControlWrite(0x30, 0x00000010),
                            ControlWrite(0x64, 500),
                            ControlWrite(0x38, 0x03CE0000),
                            ControlWrite(0x38, 0x03CE0001),
                            ControlWrite(0x88, 1800),
                            ControlWrite(0x8C, 1850),
                            ControlWrite(0x90, 2100),
                            ControlWrite(0x94, 1500),
                            ControlWrite(0x98, 1520),
                            ControlWrite(0x9C, 1540),
                            ControlWrite(0xA0, 1560),
                            ControlWrite(0x04, 0x00000004),
                            CommitWrite()};

// Version 1 takes each exposure in microseconds, in the word of the upper half.
RegisterWrite AsVersion1(RegisterWrite write)
{
    if (write.block == Block::kControl && write.offset == 0x18)
        write.value = 16384;
    if (write.block == Block::kControl && write.offset == 0x1C)
        write.value = 28100;
    if (write.block == Block::kControl && write.offset == 0x20)
        write.value = 34900;
    return write;
}

TEST_F(CameraSetup, WritesWhatEachControlBlockHasRoomFor)
{
    struct ControlVersion {
        uint16_t major, minor;
        uint32_t bytes; // beyond them nothing is written; in version 1 no lower half of an exposure
    };
    for (const auto &[major, minor, bytes] : std::vector<ControlVersion>{{1, 1, 0x3C},
                                                                         {1, 2, 0x3C},
                                                                         {2, 1, 0x50},
                                                                         {2, 2, 0x50},
                                                                         {2, 3, 0x54},
                                                                         {2, 4, 0x54},
                                                                         {2, 5, 0x60},
                                                                         {2, 6, 0x68},
                                                                         {2, 7, 0x88},
                                                                         {2, 8, 0xAC}}) {
        auto description = Describe(18, 15);
        description.control = {major, minor};
        UseCameras({description});
        ListCameras();
        Writes expected;
        for (const RegisterWrite &write : kEverything)
            if (write.block != Block::kControl || write.offset < bytes)
                expected.push_back(major == 1 ? AsVersion1(write) : write);
        EXPECT_EQ(TakeWrites(), expected) << major << "." << minor;
        FreeCameras();
    }
}

TEST_F(CameraSetup, LeavesTheFilterOfAColourCameraAlone)
{
    UseCameras({Describe(19, 53)});
    ListCameras();
    for (const RegisterWrite &write : TakeWrites())
        EXPECT_FALSE(write.block == Block::kControl && write.offset == 0x30) << write;
}

TEST_F(CameraSetup, EndsInTheDefaultState)
{
    auto &camera = OpenOne(Describe(18, 6));
    EXPECT_EQ(camera.GetNormalizedGain(), 1'000'000u);
    EXPECT_EQ(camera.GetROIX(), 0u);
    EXPECT_EQ(camera.GetROIY(), 0u);
    EXPECT_EQ(camera.GetROIWidth(), 1392u);
    EXPECT_EQ(camera.GetROIHeight(), 1040u);
    EXPECT_EQ(camera.GetSymmetricalBinningMode(), 1);
    EXPECT_EQ(camera.GetBitDepth(), 8);
    EXPECT_EQ(camera.GetReadoutFrequency(), 20.0f);
    EXPECT_EQ(camera.GetExposure(), 16'384'000u);
    EXPECT_EQ(camera.GetRGBFilterRedExposure(), 28'100'000u);
    EXPECT_EQ(camera.GetRGBFilterBlueExposure(), 34'900'000u);
    EXPECT_EQ(camera.GetTriggerMode(), 0u);
    EXPECT_EQ(camera.GetSyncBMode(), 1u);
    EXPECT_FALSE(camera.GetBigEndian());
    EXPECT_TRUE(camera.GetCoolerStatus());
    EXPECT_FALSE(camera.IsCameraStreaming());
}

// What the driver holds is what the camera has been told.
TEST_F(CameraSetup, LeavesTheShadowAsWritten)
{
    auto &camera = OpenOne(Describe(18, 6));
    const std::vector<uint32_t> expected = {
        0x00000000, 0x00000004, 0x00000000, 0x05700410, 0x00000000, 0x25800000, 0x00000000,
        0x00000000, 0x00000000, 0x00000000, 0x00000000, 0x00010000, 0x00000010, 0x00500050,
        0x03CE0001, 0x00FA0000, 0x01ACC5A0, 0x02148820, 0x00000000, 0x00000000, 0x00000000,
        0x00000000, 0x00000000, 0x00000000, 0x00000000, 0x00000000, 0x00000000, 0x00000000,
        0x00000000, 0x00000000, 0x00000000, 0x00000000, 0x00000000, 0x00000000, 1800,
        1850,       2100,       1500,       1520,       1540,       1560,       0x00000000,
        0x00000000};
    EXPECT_EQ(Shadow(camera), expected);
}

TEST_F(CameraSetup, EndsAtTheFirstFailedWrite)
{
    UseCameras({Describe(18, 6)});
    tap.FailAccess(kernel::kControlAsyncWrite, AddressOf(Block::kControl) + 0x14,
                   kernel::kErrorGenFailure);
    testing::internal::CaptureStdout();
    EXPECT_EQ(ZX::ZCamera::GetCameraList(cameras), ZX::kStatusBus);
    EXPECT_NE(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(cameras.empty());
    EXPECT_EQ(TakeWrites().back(), ControlWrite(0x04, 0x00000000));
}

// A voltage is nothing that a camera cannot do without.
TEST_F(CameraSetup, GoesOnAfterAFailedVoltage)
{
    UseCameras({Describe(18, 6)});
    tap.FailAccess(kernel::kControlAsyncWrite, AddressOf(Block::kControl) + 0x88,
                   kernel::kErrorGenFailure);
    testing::internal::CaptureStdout();
    EXPECT_EQ(ZX::ZCamera::GetCameraList(cameras), ZX::kStatusOk);
    EXPECT_NE(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(TakeWrites().back(), CommitWrite());
}

} // namespace
} // namespace zerix::test

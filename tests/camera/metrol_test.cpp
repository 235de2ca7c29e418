// The Metrol: binnings of columns and rows apart, and the delay of its shutter.
#include <vector>

#include <gtest/gtest.h>

#include "camera/models/metrol.h"
#include "platform/os.h"
#include "tests/camera/model_camera.h"
#include "tests/virtual_bus/virtual_bus_fixture.h"

namespace zerix::test {
namespace {

constexpr uint32_t kMetrol = 1002;
constexpr uint16_t kNotSupported = 15;

// A sensor of 1000 x 480, all of it read.
class Metrol : public ::testing::Test {
protected:
    Metrol()
    {
        camera.SetInformation(0x10, 1000u << 16 | 480);
        camera.SetControl(0x0C, 1000u << 16 | 480);
    }

    ModelCamera camera{kMetrol};
};

TEST_F(Metrol, HasItsOwnConstants)
{
    for (const uint32_t depthCode : {0u, 1u, 2u, 3u}) {
        camera.SetControl(0x04, depthCode << 3);
        EXPECT_EQ(camera->GetBitDepth(), 16) << depthCode;
    }
    EXPECT_EQ(camera->GetDefaultExposure(), 100'000'000u);
    EXPECT_FALSE(camera->IsSymmetricalBinningSupported());
    EXPECT_TRUE(camera->IsVerticalBinningSupported());
    EXPECT_TRUE(camera->IsHorizontalBinningSupported());
    EXPECT_TRUE(camera->IsMetrolShutterDelaySupported());
}

TEST_F(Metrol, BinsColumnsByFourAndRowsBySixtyFour)
{
    std::vector<uint16_t> modes = {99};
    camera->GetHorizontalBinningModes(modes);
    EXPECT_EQ(modes, (std::vector<uint16_t>{1, 2, 3, 4}));
    camera->GetVerticalBinningModes(modes);
    ASSERT_EQ(modes.size(), 64u);
    for (size_t index = 0; index < modes.size(); ++index)
        EXPECT_EQ(modes[index], index + 1);
}

TEST_F(Metrol, ReadsEachBinningOutOfItsOwnByte)
{
    camera.SetControl(0x08, 0xFF033FFF);
    EXPECT_EQ(camera->GetHorizontalBinningMode(), 4);
    EXPECT_EQ(camera->GetVerticalBinningMode(), 64);
    camera.SetControl(0x08, 0xFFFF00FF);
    EXPECT_EQ(camera->GetHorizontalBinningMode(), 256);
    EXPECT_EQ(camera->GetVerticalBinningMode(), 1);
}

TEST_F(Metrol, WritesOneBinningAndKeepsTheRestOfTheWord)
{
    camera.SetControl(0x08, 0xAB0007CD);
    EXPECT_EQ(camera->SetHorizontalBinning(3), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{Sent(0x08, 0xAB0207CD)});
    EXPECT_EQ(camera->SetVerticalBinning(64), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{Sent(0x08, 0xAB023FCD)});
    EXPECT_EQ(camera->SetHorizontalBinning(1), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{Sent(0x08, 0xAB003FCD)});
    EXPECT_EQ(camera->SetVerticalBinning(1), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{Sent(0x08, 0xAB0000CD)});
}

// Nobody asks for such modes. They are added, so that they carry.
TEST_F(Metrol, CarriesABinningThatItsFieldHasNoRoomForIntoTheNext)
{
    camera.SetControl(0x08, 0x00030000);
    EXPECT_EQ(camera->SetVerticalBinning(300), 0); // 299 is 0x12B
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{Sent(0x08, 0x00042B00)});
    EXPECT_EQ(camera->GetHorizontalBinningMode(), 5);
    camera.SetControl(0x08, 0x01030000);
    EXPECT_EQ(camera->SetHorizontalBinning(257), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{Sent(0x08, 0x02000000)});
    camera.SetControl(0x08, 0);
    EXPECT_EQ(camera->SetHorizontalBinning(0), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{Sent(0x08, 0xFFFF0000)});
}

TEST_F(Metrol, WritesNoBinningThatItHasAlready)
{
    camera.SetControl(0x08, 0x00020700);
    EXPECT_EQ(camera->SetHorizontalBinning(3), 0);
    EXPECT_EQ(camera->SetVerticalBinning(8), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
}

TEST_F(Metrol, DividesTheSensorByTheBinning)
{
    EXPECT_EQ(camera->GetMaxCCDWidthForBinningMode(1), 1000u);
    EXPECT_EQ(camera->GetMaxCCDWidthForBinningMode(3), 333u);
    EXPECT_EQ(camera->GetMaxCCDHeightForBinningMode(1), 480u);
    EXPECT_EQ(camera->GetMaxCCDHeightForBinningMode(64), 7u);
    EXPECT_EQ(camera->GetROIMaxWidthForBinningMode(3), 333u);
    EXPECT_EQ(camera->GetROIMaxHeightForBinningMode(64), 7u);
    EXPECT_EQ(camera->GetMaxCCDWidthForBinningMode(0), 0u);
    EXPECT_EQ(camera->GetMaxCCDHeightForBinningMode(0), 1u);
}

TEST_F(Metrol, HasAtLeastOneRowButMayHaveNoColumn)
{
    camera.SetInformation(0x10, 63u << 16 | 63);
    EXPECT_EQ(camera->GetMaxCCDHeightForBinningMode(64), 1u);
    EXPECT_EQ(camera->GetMaxCCDWidthForBinningMode(64), 0u);
}

TEST_F(Metrol, CutsTheImageToTheBinnedSensor)
{
    struct Row {
        uint32_t binnings, region, width, height;
    };
    const std::vector<Row> rows = {
        {0x00000000, 1000u << 16 | 480, 1000, 480}, {0x00000000, 2000u << 16 | 960, 2000, 960},
        {0x00010000, 1000u << 16 | 480, 500, 480},  {0x00010000, 500u << 16 | 480, 500, 480},
        {0x00010000, 499u << 16 | 480, 499, 480},   {0x00003F00, 1000u << 16 | 480, 1000, 7},
        {0x00003F00, 1000u << 16 | 5, 1000, 5},
    };
    for (const Row &row : rows) {
        camera.SetControl(0x08, row.binnings);
        camera.SetControl(0x0C, row.region);
        EXPECT_EQ(camera->GetImageWidth(), row.width) << row.binnings << " " << row.region;
        EXPECT_EQ(camera->GetImageHeight(), row.height) << row.binnings << " " << row.region;
        EXPECT_EQ(camera->GetImageSize(), row.width * row.height * 2);
    }
}

TEST(MetrolShutter, RoundsItsDelayUpToFifty)
{
    struct Row {
        uint32_t delay, written;
    };
    ModelCamera camera(kMetrol, kNewestInformation, Version(1, 2));
    for (const Row &row : std::vector<Row>{{1, 50},
                                           {51, 100},
                                           {150, 150},
                                           {0, 0},
                                           {1'000'000, 1'000'000},
                                           {4294967249, 4294967250},
                                           {0, 0},
                                           {4294967295, 4294967250}}) {
        EXPECT_EQ(camera->SetMetrolShutterDelay(row.delay), 0) << row.delay;
        EXPECT_EQ(camera.TakeSent(), SentQuadlets{Sent(0x3C, row.written)}) << row.delay;
        EXPECT_EQ(camera->GetMetrolShutterDelay(), row.written);
    }
}

TEST(MetrolShutter, WritesNoDelayThatItHasAlready)
{
    ModelCamera camera(kMetrol, kNewestInformation, Version(1, 2));
    camera.SetControl(0x3C, 50);
    EXPECT_EQ(camera->SetMetrolShutterDelay(1), 0);
    EXPECT_EQ(camera->SetMetrolShutterDelay(50), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
}

// A version that no table knows has no words: the stored delay reads as 0.
TEST(MetrolShutter, IsSetInVersion12Alone)
{
    for (const uint32_t version : {Version(1, 1), Version(1, 3), Version(2, 2), Version(2, 8)}) {
        ModelCamera camera(kMetrol, kNewestInformation, version);
        EXPECT_EQ(camera->SetMetrolShutterDelay(1), kNotSupported) << version;
        EXPECT_EQ(camera->SetMetrolShutterDelay(0), 0) << version;
        EXPECT_EQ(camera.TakeSent(), SentQuadlets{}) << version;
    }
    ModelCamera camera(kMetrol, kNewestInformation, Version(2, 8));
    camera.SetControl(0x3C, 100);
    EXPECT_EQ(camera->GetMetrolShutterDelay(), 100u);
    EXPECT_EQ(camera->SetMetrolShutterDelay(51), 0);
    EXPECT_EQ(camera->SetMetrolShutterDelay(101), kNotSupported);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
    EXPECT_EQ(camera.ControlWord(0x3C), 100u);
}

// The shadow isn't put back.
TEST(MetrolOnABrokenBus, TellsTheFailureOfAWrite)
{
    ModelCamera camera(kMetrol, kNewestInformation, Version(1, 2), Wire::kBroken);
    EXPECT_EQ(camera->SetHorizontalBinning(2), 9);
    EXPECT_EQ(camera->SetVerticalBinning(3), 9);
    EXPECT_EQ(camera->SetMetrolShutterDelay(7), 9);
    EXPECT_EQ(camera.ControlWord(0x08), 0x00010200u);
    EXPECT_EQ(camera.ControlWord(0x3C), 50u);
}

class MetrolOnTheBus : public VirtualBusTest {};

TEST_F(MetrolOnTheBus, ComesUpUnbinned)
{
    ZX::TolvaneFWCamera &camera = OpenOne(Describe(kMetrol, 6));
    EXPECT_EQ(typeid(camera), typeid(ZX::Metrol));
    EXPECT_EQ(camera.GetHorizontalBinningMode(), 1);
    EXPECT_EQ(camera.GetVerticalBinningMode(), 1);
    EXPECT_EQ(camera.SetVerticalBinning(64), 0);
    EXPECT_EQ(TakeWrites(), (std::vector<RegisterWrite>{ControlWrite(0x08, 0x00003F00)}));
}

TEST_F(MetrolOnTheBus, PrintsWhyAWriteFailed)
{
    constexpr uint32_t kSystemError = 31;
    sim::CameraDescription description = Describe(kMetrol, 6);
    description.control = {1, 2}; // has the shutter delay
    auto &camera = dynamic_cast<ZX::Metrol &>(OpenOne(description));
    const std::function<uint16_t()> setters[] = {[&] { return camera.SetHorizontalBinning(2); },
                                                 [&] { return camera.SetVerticalBinning(3); },
                                                 [&] { return camera.SetMetrolShutterDelay(7); }};
    for (const auto &set : setters) {
        tap.FailRequest(kernel::kControlAsyncWrite, kSystemError);
        testing::internal::CaptureStdout();
        EXPECT_EQ(set(), 9);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), os::ErrorText(kSystemError));
        EXPECT_EQ(TakeWrites(), std::vector<RegisterWrite>{});
    }
}

} // namespace
} // namespace zerix::test

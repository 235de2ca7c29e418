// The Benchmate: its binning by three fields, its live mode, and regions of whole cells.
#include <vector>

#include <gtest/gtest.h>

#include "camera/models/benchmate.h"
#include "platform/os.h"
#include "tests/camera/model_camera.h"
#include "tests/virtual_bus/virtual_bus_fixture.h"

namespace zerix::test {
namespace {

constexpr uint32_t kBenchmate = 8;
constexpr uint16_t kBadValue = 3;
constexpr uint16_t kBusError = 9;
constexpr uint32_t kLive = 4;

uint32_t Pair(uint32_t upper, uint32_t lower) { return upper << 16 | lower; }

// A colour sensor of 1390 x 1037 that is all read from (10, 20) on; in live mode 696 x 260.
class Benchmate : public ::testing::Test {
protected:
    Benchmate() { Fill(camera); }

    static void Fill(ModelCamera &filled)
    {
        filled.SetInformation(0x10, Pair(1390, 1037));
        filled.SetInformation(0x14, Pair(696, 0));
        filled.SetInformation(0x28, 260);
        filled.SetInformation(0x44, 0x100);
        filled.SetControl(0x0C, Pair(1390, 1037));
        filled.SetControl(0x10, Pair(10, 20));
    }

    ModelCamera camera{kBenchmate};
};

// Facts
// --------------------------------------------------------------------------------------------

TEST_F(Benchmate, HasItsOwnConstants)
{
    EXPECT_EQ(camera->GetDefaultExposure(), 100'000'000u);
    EXPECT_FALSE(camera->IsSymmetricalBinningSupported());
    EXPECT_FALSE(camera->IsHorizontalBinningSupported());
    EXPECT_TRUE(camera->IsVerticalBinningSupported());
    EXPECT_FALSE(camera->IsSyncBSupported());
    std::vector<uint32_t> syncs = {99};
    camera->GetSyncBModes(syncs);
    EXPECT_TRUE(syncs.empty());
    std::vector<uint16_t> modes = {99};
    camera->GetVerticalBinningModes(modes);
    EXPECT_EQ(modes, (std::vector<uint16_t>{1, 2, 3, 4}));
}

TEST_F(Benchmate, LimitsTheGainOfEarlyCameras)
{
    struct Row {
        uint32_t version, gainMax;
    };
    for (const Row &row : std::vector<Row>{{Version(1, 1), 3171},
                                           {Version(1, 2), 3171},
                                           {Version(2, 1), 3171},
                                           {Version(2, 3), 3171},
                                           {Version(2, 4), 4000},
                                           {Version(2, 11), 4000},
                                           {Version(1, 4), 4095}}) {
        ModelCamera other(kBenchmate, row.version);
        if (row.gainMax == 4000)
            other.SetInformation(0x78, 4000 << 4);
        EXPECT_EQ(other->GetGainMax(), row.gainMax) << row.version;
    }
}

TEST_F(Benchmate, SendsAMosaicAlsoWhenBinned)
{
    EXPECT_EQ(camera->GetImageFormat(), 2);
    camera.SetControl(0x08, 1);
    EXPECT_EQ(camera->GetImageFormat(), 2);
    camera.SetInformation(0x44, 0);
    EXPECT_EQ(camera->GetImageFormat(), 2);
    camera.SetControl(0x08, 0);
    EXPECT_EQ(camera->GetImageFormat(), 1);
}

TEST_F(Benchmate, TellsNoHorizontalBinning)
{
    camera.SetControl(0x08, 0x30303);
    EXPECT_EQ(camera->GetHorizontalBinningMode(), 1);
    EXPECT_EQ(camera->GetVerticalBinningMode(), 4);
}

TEST_F(Benchmate, IsInterlacedButInLiveMode)
{
    camera.SetControl(0x08, ~kLive);
    EXPECT_FALSE(camera->GetLVWMode());
    EXPECT_TRUE(camera->IsInterlaced());
    camera.SetControl(0x08, kLive);
    EXPECT_TRUE(camera->GetLVWMode());
    EXPECT_FALSE(camera->IsInterlaced());
}

TEST_F(Benchmate, TellsItsLiveMode)
{
    EXPECT_FALSE(camera->IsLVWModeSupported());
    camera.SetInformation(0x74, 0xFFFFFFFD);
    EXPECT_FALSE(camera->IsLVWModeSupported());
    camera.SetInformation(0x74, 2);
    EXPECT_TRUE(camera->IsLVWModeSupported());
    EXPECT_EQ(camera->GetROIMaxWidthForLVWMode(), 696u);
    EXPECT_EQ(camera->GetROIMaxHeightForLVWMode(), 260u);
}

TEST_F(Benchmate, CutsTheSensorToWholeCells)
{
    struct Row {
        uint16_t mode;
        uint32_t width, height;
    };
    for (const Row &row : std::vector<Row>{{1, 1390, 1036},
                                           {2, 1388, 518},
                                           {3, 1386, 344},
                                           {4, 1384, 258},
                                           {8, 1376, 128},
                                           {0, 0, 0}}) {
        EXPECT_EQ(camera->GetMaxCCDWidthForBinningMode(row.mode), row.width) << row.mode;
        EXPECT_EQ(camera->GetMaxCCDHeightForBinningMode(row.mode), row.height) << row.mode;
    }
    camera.SetControl(0x08, kLive);
    for (const uint16_t mode : std::vector<uint16_t>{1, 2, 4}) {
        EXPECT_EQ(camera->GetMaxCCDWidthForBinningMode(mode), 696u);
        EXPECT_EQ(camera->GetMaxCCDHeightForBinningMode(mode), 260u);
    }
}

// Binning
// ------------------------------------------------------------------------------------------

TEST_F(Benchmate, BinsByThreeFieldsAndTakesTheWholeSensor)
{
    struct Row {
        uint16_t mode;
        uint32_t binnings, width, height;
    };
    for (const Row &row : std::vector<Row>{{2, 0xFF0101F9, 1388, 518},
                                           {3, 0xFF0202FA, 1386, 344},
                                           {4, 0xFF0303FB, 1384, 258},
                                           {8, 0xFF0707FA, 1376, 128}}) {
        Fill(camera);
        camera.SetControl(0x08, 0xFF0000F8);
        EXPECT_EQ(camera->SetSymmetricalBinning(row.mode), 0);
        EXPECT_EQ(camera.TakeSent(),
                  (SentQuadlets{Sent(0x08, row.binnings), Sent(0x0C, Pair(row.width, 1037)),
                                Sent(0x10, Pair(0, 20)), Sent(0x0C, Pair(row.width, row.height)),
                                Sent(0x10, 0)}))
            << row.mode;
    }
}

// The height's limit is even, the sensor's isn't.
TEST_F(Benchmate, GoesBackToOneWithAnotherOrderOfTheRegion)
{
    camera.SetControl(0x08, 0xFF0101F9);
    camera.SetControl(0x0C, Pair(1388, 518));
    camera.SetControl(0x10, Pair(4, 6));
    EXPECT_EQ(camera->SetSymmetricalBinning(1), 0);
    EXPECT_EQ(camera.TakeSent(),
              (SentQuadlets{Sent(0x08, 0xFF0000F8), Sent(0x0C, Pair(1390, 518)),
                            Sent(0x0C, Pair(1390, 1036)), Sent(0x10, Pair(0, 6)), Sent(0x10, 0)}));
}

TEST_F(Benchmate, WritesNoBinningThatItHasAlready)
{
    camera.SetControl(0x08, 0x30303);
    EXPECT_EQ(camera->SetSymmetricalBinning(4), 0);
    EXPECT_EQ(camera->SetVerticalBinning(4), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
}

TEST_F(Benchmate, ReadsEightBackWhereItsCodeIsEight)
{
    EXPECT_EQ(camera->SetSymmetricalBinning(8), 0);
    EXPECT_EQ(camera->GetSymmetricalBinningMode(), 3);
    camera.SetInformation(0xA8, 1);
    EXPECT_EQ(camera->GetSymmetricalBinningMode(), 8);
}

TEST_F(Benchmate, ForgetsItsBinningOverOneThatItRefuses)
{
    for (const uint16_t mode : std::vector<uint16_t>{0, 5, 6, 7, 9}) {
        camera.SetControl(0x08, 0xFF0303FB);
        EXPECT_EQ(camera->SetSymmetricalBinning(mode), kBadValue) << mode;
        EXPECT_EQ(camera.ControlWord(0x08), 0xFF0000F8u) << mode;
        EXPECT_EQ(camera.ControlWord(0x0C), Pair(1390, 1037)) << mode;
    }
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
}

TEST_F(Benchmate, BinsBothWaysAtOnce)
{
    EXPECT_EQ(camera->SetVerticalBinning(3), 0);
    EXPECT_EQ(camera->GetSymmetricalBinningMode(), 3);
    EXPECT_EQ(camera.ControlWord(0x08), 0x20202u);
}

TEST_F(Benchmate, BinsByOneAloneInLiveMode)
{
    camera.SetControl(0x08, 0x10101 | kLive);
    EXPECT_EQ(camera->SetVerticalBinning(4), 0);
    EXPECT_EQ(camera.ControlWord(0x08), kLive);
    camera.TakeSent();
    EXPECT_EQ(camera->SetVerticalBinning(2), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
}

TEST(BenchmateOnABrokenBus, LeavesTheRegionWhenTheBinningFails)
{
    ModelCamera camera(kBenchmate, kNewestInformation, kNewestControl, Wire::kBroken);
    camera.SetInformation(0x10, Pair(1390, 1037));
    EXPECT_EQ(camera->SetSymmetricalBinning(2), kBusError);
    EXPECT_EQ(camera.ControlWord(0x08), 0x10101u);
    EXPECT_EQ(camera.ControlWord(0x0C), 0u);
    EXPECT_EQ(camera->SetLVWMode(true), kBusError);
    EXPECT_EQ(camera.ControlWord(0x08), 0x10101u | kLive);
}

// Live mode
// ----------------------------------------------------------------------------------------

TEST_F(Benchmate, TakesTheLiveRegionGoingLive)
{
    EXPECT_EQ(camera->SetLVWMode(true), 0);
    EXPECT_EQ(camera.TakeSent(),
              (SentQuadlets{Sent(0x08, kLive), Sent(0x0C, Pair(1390, 260)), Sent(0x10, Pair(0, 20)),
                            Sent(0x0C, Pair(696, 260)), Sent(0x10, 0)}));
    EXPECT_EQ(camera->SetLVWMode(true), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
}

// The binning goes first, and has then set the live region already.
TEST_F(Benchmate, EndsItsBinningGoingLive)
{
    camera.SetControl(0x08, 0xFF0101F9);
    camera.SetControl(0x0C, Pair(1388, 518));
    EXPECT_EQ(camera->SetLVWMode(true), 0);
    EXPECT_EQ(
        camera.TakeSent(),
        (SentQuadlets{Sent(0x08, 0xFF0101FD), Sent(0x08, 0xFF0000FC), Sent(0x0C, Pair(696, 518)),
                      Sent(0x0C, Pair(696, 260)), Sent(0x10, Pair(0, 20)), Sent(0x10, 0)}));
}

TEST_F(Benchmate, TakesTheWholeSensorLeavingLiveMode)
{
    camera.SetControl(0x08, kLive);
    camera.SetControl(0x0C, Pair(696, 260));
    camera.SetControl(0x10, Pair(2, 4));
    EXPECT_EQ(camera->SetLVWMode(false), 0);
    EXPECT_EQ(camera.TakeSent(),
              (SentQuadlets{Sent(0x08, 0), Sent(0x0C, Pair(1390, 260)), Sent(0x10, Pair(0, 4)),
                            Sent(0x0C, Pair(1390, 1036)), Sent(0x10, 0)}));
    EXPECT_EQ(camera->SetLVWMode(false), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
}

// Region of interest
// -------------------------------------------------------------------------------

TEST_F(Benchmate, MakesARegionEven)
{
    EXPECT_EQ(camera->SetROI(1, 1, 101, 101), 0);
    EXPECT_EQ(camera.TakeSent(),
              (SentQuadlets{Sent(0x10, Pair(0, 20)), Sent(0x10, 0), Sent(0x0C, Pair(100, 1037)),
                            Sent(0x0C, Pair(100, 100))}));
    EXPECT_EQ(camera->SetROI(0, 0, 0, 0), 0);
    EXPECT_EQ(camera.ControlWord(0x0C), 0u);
}

TEST_F(Benchmate, NarrowsARegionToAnEvenNumberOfSteps)
{
    struct Row {
        uint32_t sensorWidth, binnings, asked, width;
    };
    for (const Row &row : std::vector<Row>{{1390, 0, 100, 100},
                                           {1390, 0x10101, 102, 100},
                                           {1390, 0x10101, 100, 100},
                                           {1390, 0x20202, 101, 97},
                                           {1390, 0x20202, 98, 98},
                                           {1390, 0x30303, 100, 96},
                                           {0x800, kLive, 100, 97},
                                           {0x800, kLive, 98, 98},
                                           {0xA00, kLive, 100, 96},
                                           {0xA00, kLive, 98, 98},
                                           {1390, kLive, 98, 98},
                                           {0x800, 0, 100, 100}}) {
        Fill(camera);
        camera.SetInformation(0x10, Pair(row.sensorWidth, 1037));
        camera.SetControl(0x08, row.binnings);
        EXPECT_EQ(camera->SetROI(0, 0, row.asked, 101), 0);
        EXPECT_EQ(camera->GetROIWidth(), row.width) << row.sensorWidth << " " << row.asked;
        EXPECT_EQ(camera->GetROIHeight(), 100u);
    }
}

class BenchmateOnTheBus : public VirtualBusTest {};

TEST_F(BenchmateOnTheBus, GoesLiveAndBack)
{
    ZX::TolvaneFWCamera &camera = OpenOne(Describe(kBenchmate, 6));
    EXPECT_EQ(typeid(camera), typeid(ZX::Benchmate));
    EXPECT_TRUE(camera.IsLVWModeSupported());
    EXPECT_TRUE(camera.IsInterlaced());
    EXPECT_EQ(camera.SetLVWMode(true), 0);
    EXPECT_EQ(camera.GetROIWidth(), camera.GetROIMaxWidthForLVWMode());
    EXPECT_EQ(camera.GetROIHeight(), camera.GetROIMaxHeightForLVWMode());
    EXPECT_FALSE(camera.IsInterlaced());
    EXPECT_EQ(camera.SetLVWMode(false), 0);
    EXPECT_EQ(camera.GetROIWidth(), camera.GetCCDWidth());
}

// Words of the control block, on a bus that loses one write.
class BenchmateOnALossyBus : public VirtualBusTest {
protected:
    static constexpr uint32_t kSystemError = 31;
    static constexpr uint32_t kRegionWrites = 4;

    // A sensor of 2048 x 1536, whose live region is 2048 x 256; a region of 96 x 80 at (10, 20).
    ZX::TolvaneFWCamera &OpenWithARegion()
    {
        ZX::TolvaneFWCamera &camera = OpenOne(Describe(kBenchmate, 10));
        EXPECT_EQ(camera.SetROI(10, 20, 96, 80), 0);
        TakeWrites();
        return camera;
    }

    // What happens while the write behind the first and `region` more is lost.
    template <typename Action>
    uint16_t Lose(uint32_t region, Action action)
    {
        tap.FailRequest(kernel::kControlAsyncWrite, kSystemError, 1 + region);
        testing::internal::CaptureStdout();
        const uint16_t status = action();
        EXPECT_EQ(testing::internal::GetCapturedStdout(), os::ErrorText(kSystemError));
        tap.Reset();
        return status;
    }
};

// Each region write counts for itself, and what follows is still written.
TEST_F(BenchmateOnALossyBus, BinsWhateverBecomesOfTheRegion)
{
    const std::vector<RegisterWrite> region = {
        ControlWrite(0x0C, Pair(2048, 80)), ControlWrite(0x10, Pair(0, 20)),
        ControlWrite(0x0C, Pair(2048, 768)), ControlWrite(0x10, 0)};
    for (uint32_t lost = 0; lost < kRegionWrites; ++lost) {
        SCOPED_TRACE(lost);
        ZX::TolvaneFWCamera &camera = OpenWithARegion();
        EXPECT_EQ(Lose(lost, [&] { return camera.SetSymmetricalBinning(2); }), 0);
        std::vector<RegisterWrite> expected = region;
        expected.erase(expected.begin() + lost);
        expected.insert(expected.begin(), ControlWrite(0x08, 0x10101));
        EXPECT_EQ(TakeWrites(), expected);
        FreeCameras();
    }
}

TEST_F(BenchmateOnALossyBus, EndsGoingLiveWithTheFirstFailure)
{
    const std::vector<RegisterWrite> writes = {
        ControlWrite(0x08, kLive), ControlWrite(0x0C, Pair(96, 256)),
        ControlWrite(0x10, Pair(0, 20)), ControlWrite(0x0C, Pair(2048, 256))};
    for (uint32_t lost = 0; lost < kRegionWrites; ++lost) {
        SCOPED_TRACE(lost);
        ZX::TolvaneFWCamera &camera = OpenWithARegion();
        EXPECT_EQ(Lose(lost, [&] { return camera.SetLVWMode(true); }), kBusError);
        EXPECT_EQ(TakeWrites(),
                  std::vector<RegisterWrite>(writes.begin(), writes.begin() + 1 + lost));
        FreeCameras();
    }
}

TEST_F(BenchmateOnALossyBus, EndsLeavingLiveModeWithTheFirstFailure)
{
    const std::vector<RegisterWrite> writes = {
        ControlWrite(0x08, 0), ControlWrite(0x0C, Pair(2048, 80)), ControlWrite(0x10, Pair(0, 20)),
        ControlWrite(0x0C, Pair(2048, 1536))};
    for (uint32_t lost = 0; lost < kRegionWrites; ++lost) {
        SCOPED_TRACE(lost);
        ZX::TolvaneFWCamera &camera = OpenWithARegion();
        ASSERT_EQ(camera.SetLVWMode(true), 0);
        ASSERT_EQ(camera.SetROI(10, 20, 96, 80), 0);
        TakeWrites();
        EXPECT_EQ(Lose(lost, [&] { return camera.SetLVWMode(false); }), kBusError);
        EXPECT_EQ(TakeWrites(),
                  std::vector<RegisterWrite>(writes.begin(), writes.begin() + 1 + lost));
        FreeCameras();
    }
}

TEST_F(BenchmateOnALossyBus, PrintsWhyTheBinningOrTheLiveModeFailed)
{
    ZX::TolvaneFWCamera &camera = OpenWithARegion();
    for (const bool isLive : {false, true}) {
        tap.FailRequest(kernel::kControlAsyncWrite, kSystemError);
        testing::internal::CaptureStdout();
        EXPECT_EQ(isLive ? camera.SetLVWMode(true) : camera.SetSymmetricalBinning(2), kBusError);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), os::ErrorText(kSystemError));
        EXPECT_EQ(TakeWrites(), std::vector<RegisterWrite>{});
    }
}

} // namespace
} // namespace zerix::test

// The Astrel Intensified: the register of its intensifier, on the two scales.
#include <limits>

#include <gtest/gtest.h>

#include "camera/models/astrel_intensified.h"
#include "platform/os.h"
#include "tests/camera/model_camera.h"
#include "tests/virtual_bus/virtual_bus_fixture.h"

namespace zerix::test {
namespace {

constexpr uint32_t kIntensified = 9;
constexpr uint16_t kGainRange = 2;
constexpr uint16_t kBadValue = 3;
constexpr uint16_t kNotSupported = 15;

uint32_t Limits(uint32_t low, uint32_t high) { return low << 20 | high << 4; }

// Counts from 0 to 4095; an analogue gain of a hundredth of a decibel to the count.
class AstrelIntensified : public ::testing::Test {
protected:
    AstrelIntensified()
    {
        camera.SetInformation(0x88, Limits(0, 4095));
        camera.SetInformation(0x78, Limits(0, 4095));
        camera.SetInformation(0x108, 10'000'000);
    }

    ModelCamera camera{kIntensified};
};

TEST_F(AstrelIntensified, HasAnIntensifierAndATriggerDelay)
{
    EXPECT_TRUE(camera->IsIntensifierAvailable());
    EXPECT_TRUE(camera->IsTriggerDelayAvialable());
}

TEST_F(AstrelIntensified, TellsTheRangeOfItsCounts)
{
    camera.SetInformation(0x88, 0x123F456F);
    EXPECT_EQ(camera->GetIntensifierGainMin(), 0x123u);
    EXPECT_EQ(camera->GetIntensifierGainMax(), 0x456u);
}

TEST_F(AstrelIntensified, TellsItsScaleOnceItIsSetUp)
{
    ASSERT_EQ(camera->SetupNormalizedIntensifiedGain(), 0);
    EXPECT_EQ(camera->GetNormalizedIntensifierGainMin(), 47'400'000u);
    EXPECT_EQ(camera->GetNormalizedIntensifierGainMax(), 80'000'000'000u);
    EXPECT_EQ(camera->GetNormalizedIntensifierGaindBMin(), 33'509'263u);
    EXPECT_EQ(camera->GetNormalizedIntensifierGaindBMax(), 98'068'567u);
    EXPECT_EQ(camera->GetNormalizedIntensifierGaindBResolution(), 2000u);
    EXPECT_EQ(camera->GetNormalizedIntensifierGainSignificantFigures(), 3u);
    camera.SetControl(0x48, 412 << 4 | 0xABCD000F);
    EXPECT_EQ(camera->GetNormalizedIntensifierGaindB(), 40'004'607u);
}

TEST_F(AstrelIntensified, TellsNothingBeforeItIsSetUp)
{
    EXPECT_EQ(camera->GetNormalizedIntensifierGainMin(), 0u);
    EXPECT_EQ(camera->GetNormalizedIntensifierGainMax(), 0u);
    EXPECT_EQ(camera->GetNormalizedIntensifierGaindB(), 0u);
    EXPECT_EQ(camera->GetNormalizedIntensifierGaindBMin(), 0u);
    EXPECT_EQ(camera->GetNormalizedIntensifierGaindBMax(), 0u);
    EXPECT_EQ(camera->GetNormalizedIntensifierGaindBResolution(), 0u);
    EXPECT_EQ(camera->GetNormalizedIntensifierGainSignificantFigures(), 0u);
    EXPECT_EQ(camera->SetNormalizedIntensifierGain(100'000'000), kBadValue);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
}

TEST_F(AstrelIntensified, CannotBeSetUpWithoutARange)
{
    for (const uint32_t limits : {Limits(0, 0), Limits(7, 7), Limits(8, 7)}) {
        camera.SetInformation(0x88, limits);
        EXPECT_EQ(camera->SetupNormalizedIntensifiedGain(), kGainRange) << limits;
    }
    camera.SetInformation(0x88, Limits(100, 200));
    EXPECT_EQ(camera->SetupNormalizedIntensifiedGain(), 0);
    EXPECT_EQ(camera->GetNormalizedIntensifierGainMin(), 56'800'000u);
    EXPECT_EQ(camera->GetNormalizedIntensifierGainMax(), 68'000'000u);
}

TEST_F(AstrelIntensified, WritesTheCountsOfANormalisedGain)
{
    struct Row {
        uint64_t gain;
        uint32_t word;
    };
    ASSERT_EQ(camera->SetupNormalizedIntensifiedGain(), 0);
    camera.SetControl(0x48, 0xABCDF00F);
    const std::vector<Row> rows = {
        {100'000'000, 0xABCD19CF},       // 40 dB: 412 counts
        {100'000'000, 0xABCD19CF},       // the same is written again
        {123'456'789, 0xABCD20EF},       // 123 times: 526 counts
        {0, 0xABCD000F},                 // as the least, 47.4 times
        {1'000'000'000'000, 0xABCDFFFF}, // as the most, 80000 times
        {std::numeric_limits<uint64_t>::max(), 0xABCDFFFF},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(camera->SetNormalizedIntensifierGain(row.gain), 0) << row.gain;
        EXPECT_EQ(camera.TakeSent(), SentQuadlets{Sent(0x48, row.word)}) << row.gain;
    }
}

// The counts are read on the scale of the analogue gain: 4.12 dB are 1.607 times, told as 1.61
// times, which is 4.1365 dB and thereby 414 counts.
TEST_F(AstrelIntensified, ReadsItsGainOnTheScaleOfTheAnalogueGain)
{
    ASSERT_EQ(camera->SetupNormalizedGain(), 0);
    camera.SetControl(0x48, 412 << 4);
    EXPECT_EQ(camera->GetNormalizedIntensifierGain(), 1'610'000u);
    EXPECT_EQ(camera->GetIntensifierGain(), 414u);
    camera.SetControl(0x48, 0xFFFF000F);
    EXPECT_EQ(camera->GetNormalizedIntensifierGain(), 1'000'000u);
    EXPECT_EQ(camera->GetIntensifierGain(), 0u);
}

TEST(AstrelIntensifiedControls, ThatAreTooShortRefuseAGain)
{
    ModelCamera camera(kIntensified, kNewestInformation, Version(1, 2));
    camera.SetInformation(0x88, Limits(0, 4095));
    ASSERT_EQ(camera->SetupNormalizedIntensifiedGain(), 0);
    EXPECT_EQ(camera->SetNormalizedIntensifierGain(100'000'000), kNotSupported);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
}

TEST(AstrelIntensifiedOnABrokenBus, TellsTheFailureAndKeepsTheShadow)
{
    ModelCamera camera(kIntensified, kNewestInformation, kNewestControl, Wire::kBroken);
    camera.SetInformation(0x88, Limits(0, 4095));
    ASSERT_EQ(camera->SetupNormalizedIntensifiedGain(), 0);
    EXPECT_EQ(camera->SetNormalizedIntensifierGain(100'000'000), 9);
    EXPECT_EQ(camera.ControlWord(0x48), 0x19C0u);
}

class AstrelIntensifiedOnTheBus : public VirtualBusTest {};

TEST_F(AstrelIntensifiedOnTheBus, ComesUpWithTheLeastGain)
{
    ZX::TolvaneFWCamera &camera = OpenOne(Describe(kIntensified, 6));
    EXPECT_EQ(typeid(camera), typeid(ZX::AstrelIntensified));
    EXPECT_EQ(camera.GetNormalizedIntensifierGaindB(), 33'509'263u);
    EXPECT_EQ(camera.SetNormalizedIntensifierGain(100'000'000), 0);
    EXPECT_EQ(TakeWrites(), (std::vector<RegisterWrite>{ControlWrite(0x48, 0x19C0)}));
}

TEST_F(AstrelIntensifiedOnTheBus, PrintsWhyAGainFailed)
{
    constexpr uint32_t kSystemError = 31;
    ZX::TolvaneFWCamera &camera = OpenOne(Describe(kIntensified, 6));
    tap.FailRequest(kernel::kControlAsyncWrite, kSystemError);
    testing::internal::CaptureStdout();
    EXPECT_EQ(camera.SetNormalizedIntensifierGain(100'000'000), 9);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), os::ErrorText(kSystemError));
    EXPECT_EQ(TakeWrites(), std::vector<RegisterWrite>{});
}

} // namespace
} // namespace zerix::test

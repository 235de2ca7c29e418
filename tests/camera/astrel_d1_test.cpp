// The Astrel D1: its shutter, and a vertical binning that is taken and not done.
#include <vector>

#include <gtest/gtest.h>

#include "camera/models/astrel_d1.h"
#include "tests/camera/model_camera.h"
#include "tests/virtual_bus/virtual_bus_fixture.h"

namespace zerix::test {
namespace {

constexpr uint32_t kAstrelD1 = 16;

TEST(AstrelD1, TakesAnyVerticalBinningAndDoesNothing)
{
    ModelCamera camera(kAstrelD1);
    for (const uint16_t mode : std::vector<uint16_t>{0, 1, 2, 8, 99})
        EXPECT_EQ(camera->SetVerticalBinning(mode), 0) << mode;
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
    EXPECT_EQ(camera.ControlWord(0x08), 0u);
    EXPECT_FALSE(camera->IsVerticalBinningSupported());
}

TEST(AstrelD1, HasAShutterWhateverItsCapabilitiesSay)
{
    ModelCamera camera(kAstrelD1);
    EXPECT_TRUE(camera->IsShutterCloseDelayAvailable());
    EXPECT_EQ(camera->GetShutterCloseDelayMax(), 26208u);
    EXPECT_EQ(camera->SetShutterCloseDelay(65), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{Sent(0x64, 10)});
    EXPECT_EQ(camera->GetShutterCloseDelay(), 64u);
}

class AstrelD1OnTheBus : public VirtualBusTest {};

TEST_F(AstrelD1OnTheBus, Opens)
{
    ZX::TolvaneFWCamera &camera = OpenOne(Describe(kAstrelD1, 6));
    EXPECT_EQ(typeid(camera), typeid(ZX::AstrelD1));
    EXPECT_EQ(camera.SetVerticalBinning(2), 0);
    EXPECT_EQ(TakeWrites(), std::vector<RegisterWrite>{});
}

} // namespace
} // namespace zerix::test

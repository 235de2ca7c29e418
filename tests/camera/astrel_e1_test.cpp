// The Astrel E1: a region counted from the near corner on a sensor that is read from the far one.
#include <gtest/gtest.h>

#include "camera/models/astrel_e1.h"
#include "tests/camera/model_camera.h"
#include "tests/virtual_bus/virtual_bus_fixture.h"

namespace zerix::test {
namespace {

constexpr uint32_t kAstrelE1 = 15;
constexpr uint16_t kBadValue = 3;

uint32_t Pair(uint32_t upper, uint32_t lower) { return upper << 16 | lower; }

// A sensor of 1392 x 1040, all of it read, from the far corner.
class AstrelE1 : public ::testing::Test {
protected:
    AstrelE1() { Fill(camera); }

    static void Fill(ModelCamera &filled)
    {
        filled.SetInformation(0x10, Pair(1392, 1040));
        filled.SetInformation(0xA4, 2);
        filled.SetControl(0x0C, Pair(1392, 1040));
    }

    ModelCamera camera{kAstrelE1};
};

TEST_F(AstrelE1, TurnsTheRegion)
{
    EXPECT_EQ(camera->SetROI(100, 50, 200, 300), 0);
    EXPECT_EQ(camera.TakeSent(),
              (SentQuadlets{Sent(0x10, Pair(1092, 0)), Sent(0x10, Pair(1092, 690)),
                            Sent(0x0C, Pair(200, 1040)), Sent(0x0C, Pair(200, 300))}));
    EXPECT_EQ(camera->GetROIX(), 100u);
    EXPECT_EQ(camera->GetROIY(), 50u);
    EXPECT_EQ(camera->GetROIWidth(), 200u);
    EXPECT_EQ(camera->GetROIHeight(), 300u);
}

TEST_F(AstrelE1, TellsNoPlaceOfARegionWithoutSize)
{
    camera.SetControl(0x10, Pair(30, 40));
    camera.SetControl(0x0C, Pair(0, 100));
    EXPECT_EQ(camera->GetROIX(), 0u);
    EXPECT_EQ(camera->GetROIY(), 900u);
    camera.SetControl(0x0C, Pair(100, 0));
    EXPECT_EQ(camera->GetROIX(), 1262u);
    EXPECT_EQ(camera->GetROIY(), 0u);
}

TEST_F(AstrelE1, RefusesARegionWithoutSize)
{
    EXPECT_EQ(camera->SetROI(0, 0, 0, 10), kBadValue);
    EXPECT_EQ(camera->SetROI(0, 0, 10, 0), kBadValue);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
}

TEST_F(AstrelE1, ReadsAsOthersDoWithAnyOtherStreaming)
{
    for (const uint32_t streaming : {0u, 1u, 3u}) {
        Fill(camera);
        camera.SetInformation(0xA4, streaming);
        camera.SetControl(0x10, 0);
        EXPECT_EQ(camera->SetROI(100, 50, 200, 300), 0);
        EXPECT_EQ(camera.TakeSent(),
                  (SentQuadlets{Sent(0x10, Pair(100, 0)), Sent(0x10, Pair(100, 50)),
                                Sent(0x0C, Pair(200, 1040)), Sent(0x0C, Pair(200, 300))}))
            << streaming;
        EXPECT_EQ(camera->GetROIX(), 100u);
        EXPECT_EQ(camera->GetROIY(), 50u);
        EXPECT_EQ(camera->SetROI(100, 50, 0, 0), 0);
        camera.TakeSent();
    }
}

// 492 is where the register's 700 is, counted from the near corner; asked for 700, the register
// needs 492.
TEST_F(AstrelE1, WritesAPlaceThatEqualsTheOneItReports)
{
    camera.SetControl(0x0C, Pair(200, 300));
    camera.SetControl(0x10, Pair(700, 690));
    EXPECT_EQ(camera->GetROIX(), 492u);
    EXPECT_EQ(camera->SetROI(700, 50, 200, 300), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{Sent(0x10, Pair(492, 690))});
    EXPECT_EQ(camera->GetROIX(), 700u);
    EXPECT_EQ(camera->SetROI(700, 690, 200, 300), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{Sent(0x10, Pair(492, 50))});
}

TEST_F(AstrelE1, WritesNothingOfAnUnchangedRegion)
{
    EXPECT_EQ(camera->SetROI(100, 50, 200, 300), 0);
    camera.TakeSent();
    EXPECT_EQ(camera->SetROI(100, 50, 200, 300), 0);
    EXPECT_EQ(camera->SetROI(camera->GetROIX(), camera->GetROIY(), 200, 300), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
}

TEST_F(AstrelE1, GoesFromOneHalfToTheOther)
{
    EXPECT_EQ(camera->SetROI(0, 0, 696, 520), 0);
    EXPECT_EQ(camera.ControlWord(0x10), Pair(696, 520));
    EXPECT_EQ(camera->SetROI(696, 520, 696, 520), 0);
    EXPECT_EQ(camera.ControlWord(0x10), Pair(0, 0));
    EXPECT_EQ(camera->SetROI(0, 0, 696, 520), 0);
    EXPECT_EQ(camera->SetROI(0, 0, 1392, 1040), 0);
    EXPECT_EQ(camera.ControlWord(0x10), Pair(0, 0));
    EXPECT_EQ(camera->GetROIX(), 0u);
    EXPECT_EQ(camera->GetROIY(), 0u);
}

TEST(AstrelE1OnABrokenBus, EndsWithTheFirstFailure)
{
    ModelCamera camera(kAstrelE1, kNewestInformation, kNewestControl, Wire::kBroken);
    camera.SetInformation(0x10, Pair(1392, 1040));
    camera.SetInformation(0xA4, 2);
    EXPECT_EQ(camera->SetROI(100, 50, 200, 300), 9);
    EXPECT_EQ(camera.ControlWord(0x10), Pair(1092, 0));
    EXPECT_EQ(camera.ControlWord(0x0C), 0u);
}

class AstrelE1OnTheBus : public VirtualBusTest {};

TEST_F(AstrelE1OnTheBus, ComesUpWithTheWholeSensor)
{
    ZX::TolvaneFWCamera &camera = OpenOne(Describe(kAstrelE1, 6));
    EXPECT_EQ(typeid(camera), typeid(ZX::AstrelE1));
    EXPECT_EQ(camera.GetROIX(), 0u);
    EXPECT_EQ(camera.GetROIY(), 0u);
    EXPECT_EQ(camera.GetROIWidth(), camera.GetCCDWidth());
    EXPECT_EQ(camera.GetROIHeight(), camera.GetCCDHeight());
}

} // namespace
} // namespace zerix::test

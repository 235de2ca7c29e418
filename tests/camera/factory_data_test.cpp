// The factory's window on the information block.
#include "camera/factory_data.h"

#include <gtest/gtest.h>

#include "tests/camera/register_camera.h"

namespace zerix::test {
namespace {

TEST(FactoryData, TheChecksumAddsComplements)
{
    EXPECT_EQ(FactoryChecksum({}), 0u);
    EXPECT_EQ(FactoryChecksum(std::vector<uint32_t>{0xFFFFFFFF}), 0u);
    EXPECT_EQ(FactoryChecksum(std::vector<uint32_t>{0xFFFFFFFE, 0xFFFFFFF0}), 16u);
    EXPECT_EQ(FactoryChecksum(std::vector<uint32_t>{0, 0}), 0xFFFFFFFEu);
}

TEST(FactoryData, LongDataLeaveOutTheMiddle)
{
    using Pieces = std::vector<FactoryPiece>;
    EXPECT_EQ(FactoryPieces(0), (Pieces{{0, 0}}));
    EXPECT_EQ(FactoryPieces(1), (Pieces{{0, 1}}));
    EXPECT_EQ(FactoryPieces(151), (Pieces{{0, 151}}));
    EXPECT_EQ(FactoryPieces(152), (Pieces{{0, 80}, {151, 1}}));
    EXPECT_EQ(FactoryPieces(215), (Pieces{{0, 80}, {151, 64}}));
}

TEST(FactoryData, IsClosedOnALiveConnection)
{
    RegisterCamera camera(kNewestInformation, kNewestControl, Wire::kFast);
    std::vector<uint32_t> words(1, 0xFFFFFFFF);
    for (const uint32_t operation : {1u, 2u, 3u})
        EXPECT_EQ(camera.SetReserved0(operation, words.data(), 1, 0), 9) << operation;
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
}

TEST(FactoryData, IsWrittenWhereTheTimeLimitIsGranted)
{
    RegisterCamera camera;
    std::vector<uint32_t> words(152, 0xFFFFFFFF);
    words[0] = 0xFFFFFFFE;
    words[151] = 0xFFFFFFFD;
    EXPECT_EQ(camera.SetReserved0(3, words.data(), 152, 4), 1);
    EXPECT_EQ(camera.SetReserved0(3, nullptr, 152, 3), 1);
    EXPECT_EQ(camera.SetReserved0(4, words.data(), 152, 3), 1);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
    EXPECT_EQ(camera.SetReserved0(3, words.data(), 152, 3), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{{kInformationAddress, 0xFFFFFFFE},
                                               {kInformationAddress + 0x25C, 0xFFFFFFFD}}));
    EXPECT_EQ(camera.SetReserved0(2, words.data(), 152, 0), 0);
}

} // namespace
} // namespace zerix::test

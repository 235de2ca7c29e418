// The nodes of the bus, as an application sees them.
#include <array>
#include <atomic>
#include <cstddef>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "tests/api/virtual_bus_session.h"

namespace zerix::api {
namespace {

constexpr const char *kTwoCameras = "[[camera]]\nmodel = 18\nsensor = 11\n"
                                    "[[camera]]\nmodel = 19\nsensor = 53\nscene = \"flat:1\"\n";

class BusNodes : public VirtualBusSession {
protected:
    std::vector<ZerixBusNode> List(uint32_t room = 8)
    {
        std::vector<ZerixBusNode> nodes(room);
        count = room;
        EXPECT_EQ(Zerix_ListBusNodes(nodes.data(), &count), 0u);
        nodes.resize(std::min(room, count));
        return nodes;
    }

    uint32_t count = 0;
};

TEST_F(BusNodes, AreTheCardAndItsCameras)
{
    UseRack(kTwoCameras);
    ASSERT_EQ(Zerix_LoadDriver(), 0u);
    const auto nodes = List();
    ASSERT_EQ(nodes.size(), 3u);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(nodes[0].flags, 1u | 4u);
    EXPECT_EQ(nodes[0].guid, 0u);
    EXPECT_EQ(nodes[1].flags, 2u | 4u);
    EXPECT_EQ(nodes[1].guid, 0x00A1B2C400000001u);
    EXPECT_STREQ(nodes[1].model, "Astrel C2");
    EXPECT_STREQ(nodes[1].remark, "A virtual camera.");
    EXPECT_EQ(nodes[2].guid, 0x00A1B2C400000002u);
    EXPECT_EQ(std::string(nodes[2].device).substr(0, 12), "zerix-sim:1:");
    for (const auto &node : nodes) {
        EXPECT_EQ(node.card, 0u);
        EXPECT_EQ(node.speed, 800u);
        EXPECT_EQ(node.systemError, 0u);
        EXPECT_EQ(node.interfaceVersion, 0u);
        EXPECT_EQ(node.bandwidthLeft, 4915u);
        EXPECT_EQ(node.channelsLeft, 64u);
    }
    ASSERT_EQ(ZerixSim_Unplug(0), 0u);
    const auto left = List();
    ASSERT_EQ(left.size(), 2u);
    EXPECT_EQ(left[1].guid, 0x00A1B2C400000002u);
}

TEST_F(BusNodes, AreCountedWhereThereIsNoRoom)
{
    UseRack(kTwoCameras);
    ASSERT_EQ(Zerix_LoadDriver(), 0u);
    EXPECT_EQ(List(1).size(), 1u);
    EXPECT_EQ(count, 3u);
    ZerixBusNode untouched{};
    untouched.card = 77;
    count = 0;
    EXPECT_EQ(Zerix_ListBusNodes(&untouched, &count), 0u);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(untouched.card, 77u);
}

// What an open camera holds is gone from the books.
TEST_F(BusNodes, ShowWhoIsInUse)
{
    UseRack(kTwoCameras);
    const ZerixHandle camera = LoadAndOpen(1);
    const auto nodes = List();
    ASSERT_EQ(nodes.size(), 3u);
    EXPECT_EQ(nodes[1].flags, 2u | 4u);
    EXPECT_EQ(nodes[2].flags, 2u | 4u | 8u);
    EXPECT_LT(nodes[0].bandwidthLeft, 4915u);
    EXPECT_EQ(nodes[0].channelsLeft, 63u);
    ASSERT_EQ(Zerix_CloseCamera(camera), 0u);
    EXPECT_EQ(List()[0].channelsLeft, 64u);
}

TEST_F(BusNodes, AreListedBesideACameraThatIsUsed)
{
    UseRack(kTwoCameras);
    ZerixHandle camera = LoadAndOpen(1);
    std::atomic<bool> isOver{false};
    uint32_t listed = 0;
    std::thread listing([&] {
        std::array<ZerixBusNode, 8> nodes{};
        do {
            uint32_t found = 8;
            EXPECT_EQ(Zerix_ListBusNodes(nodes.data(), &found), 0u);
            EXPECT_EQ(found, 3u);
            ++listed;
        } while (!isOver);
    });
    for (int round = 0; round < 5; ++round) {
        EXPECT_EQ(Zerix_SetStreaming(camera, 1), 0u);
        EXPECT_EQ(Zerix_SetStreaming(camera, 0), 0u);
        EXPECT_EQ(Zerix_CloseCamera(camera), 0u);
        EXPECT_EQ(Zerix_OpenCamera(1, &camera), 0u);
    }
    isOver = true;
    listing.join();
    EXPECT_GT(listed, 0u);
}

TEST(BusNode, HasOneLayoutEverywhere)
{
    EXPECT_EQ(sizeof(ZerixBusNode), 552u);
    EXPECT_EQ(offsetof(ZerixBusNode, card), 8u);
    EXPECT_EQ(offsetof(ZerixBusNode, channelsLeft), 32u);
    EXPECT_EQ(offsetof(ZerixBusNode, device), 40u);
    EXPECT_EQ(offsetof(ZerixBusNode, vendor), 104u);
    EXPECT_EQ(offsetof(ZerixBusNode, model), 168u);
    EXPECT_EQ(offsetof(ZerixBusNode, units), 232u);
    EXPECT_EQ(offsetof(ZerixBusNode, remark), 360u);
}

} // namespace
} // namespace zerix::api

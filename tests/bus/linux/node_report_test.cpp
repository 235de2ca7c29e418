// What the driver tells of the nodes of the bus.
#include <cerrno>

#include "tests/bus/linux/linux_bus_fixture.h"

namespace zerix::bus::linux_firewire {
namespace {

class NodeReport : public LinuxBus {
protected:
    std::vector<ZerixBusNode> Describe()
    {
        std::vector<ZerixBusNode> nodes(70);
        uint32_t count = 0;
        EXPECT_EQ(0u, driver->DescribeNodes(nodes.data(), 70, &count));
        nodes.resize(count);
        return nodes;
    }

    // The card manages the bus's resources, and is spoken to by its registers.
    void MakeCardTheManager()
    {
        ScriptedKernel::Node &card = system.NodeNamed("fw0");
        card.nodeId = 0xFFC1;
        card.words[0xF0000220] = 4000;
        card.words[0xF0000224] = 0xFFFFFFFE; // channel 31 is the broadcast's
        card.words[0xF0000228] = 0x7FFFFFFF;
    }
};

TEST_F(NodeReport, TellsOfTheCardAndItsCamera)
{
    MakeCardTheManager();
    system.texts["fw1/vendor_name"] = "Maker\n";
    system.texts["fw1/model"] = "0x000123\n";
    const auto nodes = Describe();
    ASSERT_EQ(2u, nodes.size());
    EXPECT_EQ(1u | 4u, nodes[0].flags);
    EXPECT_EQ(kCardGuid, nodes[0].guid);
    EXPECT_STREQ("/dev/fw0", nodes[0].device);
    EXPECT_STREQ("This computer's card.", nodes[0].remark);
    EXPECT_EQ(2u | 4u, nodes[1].flags);
    EXPECT_EQ(kCameraGuid, nodes[1].guid);
    EXPECT_EQ(800u, nodes[1].speed);
    EXPECT_STREQ("Maker", nodes[1].vendor);
    EXPECT_STREQ("0x000123", nodes[1].model);
    EXPECT_STREQ("0x00beef:0x000102", nodes[1].units);
    for (const auto &node : nodes) {
        EXPECT_EQ(0u, node.card);
        EXPECT_EQ(5u, node.interfaceVersion);
        EXPECT_EQ(0u, node.systemError);
        EXPECT_EQ(4000u, node.bandwidthLeft);
        EXPECT_EQ(62u, node.channelsLeft);
    }
    EXPECT_TRUE(system.AwaitNoFiles());
}

TEST_F(NodeReport, TellsOfAKernelThatIsTooOld)
{
    system.version = 1;
    const auto nodes = Describe();
    ASSERT_EQ(2u, nodes.size());
    EXPECT_EQ(ZERIX_NODE_IS_CAMERA, nodes[1].flags & ~ZERIX_NODE_IS_CARD);
    EXPECT_EQ(1u, nodes[1].interfaceVersion);
    EXPECT_EQ(50u, nodes[1].systemError);
    EXPECT_STREQ("The kernel's FireWire interface is too old.", nodes[1].remark);
}

// They are shown on terminals.
TEST_F(NodeReport, GivesNoControlCharactersOn)
{
    system.texts["fw1/vendor_name"] = "Ma\x1b[2Jker\x7f\t\n";
    EXPECT_STREQ("Ma?[2Jker??", Describe()[1].vendor);
}

TEST_F(NodeReport, KnowsNoBooksWithoutAManager)
{
    const auto nodes = Describe();
    ASSERT_EQ(2u, nodes.size());
    EXPECT_EQ(ZERIX_NODE_UNKNOWN, nodes[1].bandwidthLeft);
    EXPECT_EQ(ZERIX_NODE_UNKNOWN, nodes[1].channelsLeft);
}

TEST_F(NodeReport, TellsWhatMayNotBeOpened)
{
    Camera().openErrors = {-EACCES, -EACCES, -EACCES};
    const auto nodes = Describe();
    ASSERT_EQ(2u, nodes.size());
    EXPECT_EQ(0u, nodes[1].flags & ZERIX_NODE_MAY_OPEN);
    EXPECT_EQ(5u, nodes[1].systemError);
    EXPECT_STREQ("/dev/fw1 may not be opened by this user.", nodes[1].remark);
    EXPECT_EQ(0u, nodes[1].interfaceVersion);
}

TEST_F(NodeReport, TellsWhoIsNoCamera)
{
    system.Add({.name = "fw2", .guid = 1, .units = "0x00609e:0x010483"});
    system.Add({.name = "fw3", .guid = 2, .units = "0x00609e:0x010483", .boundUnits = {"fw3.0"}});
    const auto nodes = Describe();
    ASSERT_EQ(4u, nodes.size());
    EXPECT_EQ(1u, nodes[0].guid);
    EXPECT_EQ(4u, nodes[0].flags);
    EXPECT_STREQ("It does not answer as a camera of this family does.", nodes[0].remark);
    EXPECT_EQ(4u, nodes[1].flags);
    EXPECT_STREQ("A driver of the kernel's uses it, so that it is not asked.", nodes[1].remark);
}

TEST_F(NodeReport, TellsWhoIsInUse)
{
    system.isLockedByOthers = true;
    EXPECT_EQ(2u | 4u | 8u, Describe()[1].flags);
}

TEST_F(NodeReport, CountsMoreThanThereIsRoomFor)
{
    ZerixBusNode node{};
    uint32_t count = 0;
    EXPECT_EQ(0u, driver->DescribeNodes(&node, 1, &count));
    EXPECT_EQ(2u, count);
    EXPECT_EQ(kCardGuid, node.guid);
    system.folderError = -EIO;
    EXPECT_NE(0u, driver->DescribeNodes(&node, 1, &count));
    EXPECT_EQ(2u, count);
}

} // namespace
} // namespace zerix::bus::linux_firewire

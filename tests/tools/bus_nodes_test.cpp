// What a person is told of the nodes of a bus.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>

#include <gtest/gtest.h>

#include "tests/support/places.h"
#include "tools/bus_nodes.h"
#include "tools/command_error.h"

namespace zerix::tool {
namespace {

ZerixBusNode Node(uint32_t flags, const char *device, const char *units = "")
{
    ZerixBusNode node{};
    node.guid = 0x0011223344556677;
    node.speed = 400;
    node.flags = flags;
    node.systemError = (flags & ZERIX_NODE_MAY_OPEN) != 0 ? 0 : 5;
    node.interfaceVersion = 5;
    node.bandwidthLeft = 4915;
    node.channelsLeft = 63;
    std::snprintf(node.device, sizeof node.device, "%s", device);
    std::snprintf(node.vendor, sizeof node.vendor, "Maker");
    std::snprintf(node.model, sizeof node.model, "Thing");
    std::snprintf(node.units, sizeof node.units, "%s", units);
    std::snprintf(node.remark, sizeof node.remark, "So it is.");
    return node;
}

constexpr uint32_t kCard = ZERIX_NODE_IS_CARD | ZERIX_NODE_MAY_OPEN;
constexpr uint32_t kCamera = ZERIX_NODE_IS_CAMERA | ZERIX_NODE_MAY_OPEN;

TEST(BusNodes, AreShownByCard)
{
    std::vector<ZerixBusNode> nodes = {Node(kCard, "/dev/fw0"),
                                       Node(kCamera, "/dev/fw1", "0x00a02d:0x000102"),
                                       Node(0, "/dev/fw2")};
    nodes[2].card = 1;
    nodes[2].guid = 0;
    nodes[2].speed = 0;
    nodes[2].interfaceVersion = 0;
    nodes[2].bandwidthLeft = ZERIX_NODE_UNKNOWN;
    nodes[2].channelsLeft = ZERIX_NODE_UNKNOWN;
    nodes[2].model[0] = '\0';
    nodes[2].remark[0] = '\0';
    EXPECT_EQ(BusTable(nodes),
              "Card 0: kernel's interface version 5, 4915 of 4915 units of bandwidth and 63 of 64 "
              "channels left\n"
              "  DEVICE    IDENTIFIER        MB/S  VENDOR MODEL  UNITS              KIND\n"
              "  /dev/fw0  0011223344556677   400  Maker Thing   -                  card\n"
              "      So it is.\n"
              "  /dev/fw1  0011223344556677   400  Maker Thing   0x00a02d:0x000102  camera\n"
              "      So it is.\n"
              "\n"
              "Card 1: ? units of bandwidth and ? channels left\n"
              "  DEVICE    IDENTIFIER        MB/S  VENDOR MODEL  UNITS              KIND\n"
              "  /dev/fw2  -                    -  Maker         -                  locked\n");
}

TEST(BusNodes, AreOfAKind)
{
    const std::pair<uint32_t, const char *> kinds[] = {
        {kCamera | ZERIX_NODE_IS_IN_USE, "camera, in use\n"},
        {ZERIX_NODE_MAY_OPEN, "other\n"},
        {ZERIX_NODE_IS_CAMERA, "locked\n"},
    };
    for (const auto &[flags, kind] : kinds) {
        ZerixBusNode node = Node(flags, "/dev/fw1");
        node.remark[0] = '\0';
        EXPECT_TRUE(BusTable({node}).ends_with(kind)) << kind;
    }
    ZerixBusNode gone = Node(0, "/dev/fw1");
    gone.remark[0] = '\0';
    gone.systemError = 1167;
    EXPECT_TRUE(BusTable({gone}).ends_with("not open\n"));
}

TEST(BusNodes, BecomeAnEntryOfTheHardwareDatabase)
{
    const std::vector<ZerixBusNode> nodes = {
        Node(kCard, "/dev/fw0", "0x000001:0x000001"),
        Node(kCamera, "/dev/fw1", "0x00A02D:0x000102 0x00a02d:0x010001"),
        Node(0, "/dev/fw2", "0x00a02d:0x000102"),
        Node(ZERIX_NODE_MAY_OPEN, "/dev/fw3", "0x00609e:0x010483")};
    const std::string entry = HardwareDatabaseEntry(nodes);
    EXPECT_EQ(entry.substr(entry.find("\n\n")),
              "\n\n# /dev/fw1 Maker Thing\n"
              "ieee1394:node:ven*units*0x00a02d:0x000102*\n IEEE1394_UNIT_FUNCTION_VIDEO=1\n"
              "\n# /dev/fw1 Maker Thing\nieee1394:node:ven*units*0x00a02d:0x010001*\n "
              "IEEE1394_UNIT_FUNCTION_VIDEO=1\n");
    EXPECT_TRUE(entry.starts_with("# /etc/udev/hwdb.d/70-zerix.hwdb"));
    EXPECT_NE(entry.find("#   systemd-hwdb update\n"), std::string::npos);
    EXPECT_NE(entry.find("#   udevadm trigger --subsystem-match=firewire\n"), std::string::npos);
    EXPECT_THROW(HardwareDatabaseEntry({Node(kCard, "/dev/fw0", "0x000001:0x000001")}),
                 CommandError);
}

TEST(BusNodes, HaveAFileThatSaysWhatTheToolSays)
{
    const std::string entry = HardwareDatabaseEntry({Node(kCamera, "/dev/fw1", "0x123456:0x1")});
    std::ifstream file(test::SourceFolder() + "/packaging/70-zerix.hwdb");
    const std::string text(std::istreambuf_iterator<char>(file), {});
    EXPECT_TRUE(text.starts_with(entry.substr(0, entry.find("\n\n") + 1))) << text;
    // And nothing but comments, as no unit is known.
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        EXPECT_TRUE(line.starts_with("#")) << line;
}

TEST(BusNodes, TellWhyThereIsNoCamera)
{
    EXPECT_TRUE(WhyNoCamera({}).starts_with("This computer has no FireWire card"));
    EXPECT_TRUE(WhyNoCamera({Node(kCard, "/dev/fw0")}).starts_with("Nothing is connected"));
    EXPECT_TRUE(WhyNoCamera({Node(kCard, "/dev/fw0"), Node(ZERIX_NODE_MAY_OPEN, "/dev/fw1")})
                    .starts_with("No device on the FireWire bus is a camera"));
    EXPECT_EQ(
        WhyNoCamera({Node(kCard, "/dev/fw0"), Node(kCamera, "/dev/fw1"), Node(0, "/dev/fw2")}),
        "/dev/fw2 (Maker Thing) may not be opened by this user: install what \"zerix bus "
        "--hwdb\" prints, or become a member of the group video.");
    ZerixBusNode gone = Node(0, "/dev/fw2");
    gone.systemError = 1167;
    EXPECT_EQ(WhyNoCamera({gone}),
              "/dev/fw2 (Maker Thing) can't be opened: \"zerix bus\" tells more.");
    EXPECT_TRUE(WhyNoCamera({Node(kCamera, "/dev/fw1")}).starts_with("The camera at /dev/fw1"));
}

} // namespace
} // namespace zerix::tool

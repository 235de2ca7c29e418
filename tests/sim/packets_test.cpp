// What a virtual camera sends, packet by packet and byte by byte.
#include <algorithm>

#include "bus_fixture.h"

namespace zerix::test {
namespace {

using Packets = BusTest;

// The scene "position" in 12 bits, low byte first.
std::vector<uint8_t> Positions(uint32_t x, uint32_t y, uint32_t width, uint32_t height)
{
    std::vector<uint8_t> bytes;
    for (uint32_t row = y; row < y + height; ++row) {
        for (uint32_t column = x; column < x + width; ++column) {
            const uint32_t count = (column + 61 * row) % 4096;
            bytes.push_back(static_cast<uint8_t>(count));
            bytes.push_back(static_cast<uint8_t>(count >> 8));
        }
    }
    return bytes;
}

// Starts with so much credit and takes one frame.
Frame FirstFrame(BusClient &client, const Setup &setup, uint32_t bytes)
{
    client.Apply(setup);
    EXPECT_EQ(0u, ZerixSim_GiveCredit(0, 1));
    client.Start(4);
    auto frame = client.NextFrame(bytes);
    EXPECT_TRUE(frame.has_value());
    EXPECT_EQ(0u, client.Stop());
    return frame.value_or(Frame{});
}

TEST_F(Packets, CarryTheFrameInOrderWithPositionMarkerAndTrailer)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    const Frame frame = FirstFrame(client, {}, 64 * 48 * 2);
    uint32_t position = 0;
    for (size_t i = 0; i < frame.packets.size(); ++i) {
        const Packet &packet = frame.packets[i];
        EXPECT_TRUE(packet.hasMarker);
        EXPECT_TRUE(packet.hasTrailer);
        EXPECT_EQ(i == 0, packet.hasHeader);
        EXPECT_EQ(position, packet.position);
        EXPECT_EQ(frame.header.frameId, packet.frameId);
        position += static_cast<uint32_t>(packet.data.size());
    }
    // 6144 bytes: 976 behind the header, then 988 a packet, and 228 at the end.
    ASSERT_EQ(7u, frame.packets.size());
    EXPECT_EQ(976u, frame.packets[0].data.size());
    EXPECT_EQ(988u, frame.packets[1].data.size());
    EXPECT_EQ(228u, frame.packets[6].data.size());
    EXPECT_EQ(Positions(0, 0, 64, 48), frame.pixels);
}

TEST_F(Packets, TheFrameHeaderTellsTagDepthFieldAndTime)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    const Frame frame = FirstFrame(client, {.tag = 0x9C}, 64 * 48 * 2);
    EXPECT_EQ(0x9C, frame.header.tag);
    EXPECT_EQ(11, frame.header.depthLess1);
    EXPECT_NE(0, frame.header.field);
    EXPECT_EQ(0, frame.header.colour);
    EXPECT_EQ(0, frame.header.rollingNumber);
    uint64_t start = 0;
    ASSERT_EQ(0u, ZerixSim_GetFrameTime(0, 0, &start));
    EXPECT_EQ((start - 1'104'537'600'000'000'000) / 1000, frame.header.time);
}

TEST_F(Packets, EightBitsAreTheTopOnesInOneByte)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    const Frame frame = FirstFrame(client, {.depthCode = 0, .y = 40}, 64 * 48);
    EXPECT_EQ(7, frame.header.depthLess1);
    for (uint32_t i = 0; i < 64 * 48; ++i)
        ASSERT_EQ((i % 64 + 61 * (40 + i / 64)) % 4096 >> 4, frame.pixels[i]) << i;
}

TEST_F(Packets, WordsAreBigEndianUntilTheCameraIsSwitched)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    const Frame frame = FirstFrame(client, {.littleEndian = false}, 64 * 48 * 2);
    auto expected = Positions(0, 0, 64, 48);
    for (size_t i = 0; i < expected.size(); i += 2)
        std::swap(expected[i], expected[i + 1]);
    EXPECT_EQ(expected, frame.pixels);
}

TEST_F(Packets, TheRegionIsTheOneAskedForAndStaysOnTheSensor)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    EXPECT_EQ(Positions(100, 7, 32, 5),
              FirstFrame(client, {.x = 100, .y = 7, .width = 32, .height = 5}, 32 * 5 * 2).pixels);
    EXPECT_EQ(
        Positions(1392 - 16, 1040 - 4, 16, 4),
        FirstFrame(client, {.x = 1390, .y = 1039, .width = 16, .height = 4}, 16 * 4 * 2).pixels);
    EXPECT_EQ(1u, TakeMistakes().regionsOutside);
}

// In the order of sending: from the last pixel of an upright picture to its first.
std::vector<uint8_t> Turned(const std::vector<uint8_t> &upright)
{
    std::vector<uint8_t> turned;
    for (size_t i = upright.size(); i > 0; i -= 2)
        turned.insert(turned.end(), {upright[i - 2], upright[i - 1]});
    return turned;
}

TEST_F(Packets, Format2ComesFromTheFarCornerAndItsRegionsCountFromTheNearOne)
{
    OneCamera("stream-format = 2\n");
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    const Frame frame =
        FirstFrame(client, {.x = 10, .y = 20, .width = 32, .height = 6}, 32 * 6 * 2);
    EXPECT_EQ(Turned(Positions(10, 20, 32, 6)), frame.pixels);
}

TEST_F(Packets, AnAstrelE1CountsItsRegionsFromTheFarCorner)
{
    Choose("[[camera]]\nmodel = 15\nsensor = 6\nbit-depth = 12\nscene = \"position\"\n"
           "stream-format = 2\n");
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    const Frame frame =
        FirstFrame(client, {.x = 10, .y = 20, .width = 32, .height = 6}, 32 * 6 * 2);
    EXPECT_EQ(Turned(Positions(1392 - 32 - 10, 1040 - 6 - 20, 32, 6)), frame.pixels);
}

struct MosaicCase {
    uint32_t sensor;
    uint32_t format;
    uint32_t x;
    uint32_t y;
    uint8_t code;
};

// 5 red first, 6 green before red, 7 green before blue, 8 blue first. Sensor 7 begins with red,
// sensor 53 with green before red.
constexpr MosaicCase kMosaics[] = {{7, 1, 0, 0, 5},  {7, 1, 1, 0, 6},  {7, 1, 0, 1, 7},
                                   {7, 1, 1, 1, 8},  {7, 2, 0, 0, 8},  {53, 1, 0, 0, 6},
                                   {53, 1, 1, 0, 5}, {53, 1, 0, 1, 8}, {53, 2, 0, 0, 7}};

TEST_F(Packets, TheHeaderNamesTheMosaicInTheOrderOfSending)
{
    for (const MosaicCase &mosaic : kMosaics) {
        SCOPED_TRACE(testing::Message() << mosaic.sensor << " " << mosaic.format << " " << mosaic.x
                                        << " " << mosaic.y);
        Choose("[[camera]]\nmodel = 19\nscene = \"position\"\nsensor = " +
               std::to_string(mosaic.sensor) +
               "\nstream-format = " + std::to_string(mosaic.format) + "\n");
        BusClient client;
        ASSERT_EQ(0u, client.Connect());
        const Frame frame =
            FirstFrame(client, {.x = mosaic.x, .y = mosaic.y, .width = 8, .height = 8}, 8 * 8 * 2);
        EXPECT_EQ(mosaic.code, frame.header.colour);
    }
}

TEST_F(Packets, TheWheelsColourTravelsInTheHeaderAndChangesFromFrameToFrame)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    client.Apply({.width = 16, .height = 4, .wheel = 1u | 1u << 8}); // begins with green
    ASSERT_EQ(0u, ZerixSim_GiveCredit(0, 4));
    client.Start(4);
    for (const int colour : {1, 3, 0, 1}) {
        const auto frame = client.NextFrame(16 * 4 * 2);
        ASSERT_TRUE(frame);
        EXPECT_EQ(colour, frame->header.colour);
    }
    EXPECT_EQ(0u, client.Stop());
}

TEST_F(Packets, NeverExceedTheSlotOrTheRegister)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect(512 + 12));
    for (const Packet &packet : FirstFrame(client, {.packetBytes = 4000}, 64 * 48 * 2).packets)
        EXPECT_LE(packet.bytes.size(), 512u);
    const Frame frame = FirstFrame(client, {.packetBytes = 202}, 64 * 48 * 2);
    for (const Packet &packet : frame.packets)
        EXPECT_LE(packet.bytes.size(), 200u);
    EXPECT_EQ(Positions(0, 0, 64, 48), frame.pixels);
}

TEST_F(Packets, OlderControlBlocksHaveFixedSizes)
{
    OneCamera("control = \"2.1\"\n");
    BusClient client;
    ASSERT_EQ(0u, client.Connect(6000));
    const uint32_t control = client.Control();
    const auto largest = [&](uint32_t mode, uint32_t binning, uint32_t bytes) {
        EXPECT_EQ(0u, client.Write(control + 4, {mode, binning, 256u << 16 | 64u, 0}));
        EXPECT_EQ(0u, client.Write(control + 0x3C, {1'000'000}));
        EXPECT_EQ(0u, client.Commit());
        EXPECT_EQ(0u, ZerixSim_GiveCredit(0, 1));
        client.Start(4);
        size_t most = 0;
        const auto frame = client.NextFrame(bytes);
        EXPECT_TRUE(frame);
        for (const Packet &packet : frame.value_or(Frame{}).packets)
            most = std::max(most, packet.bytes.size());
        EXPECT_EQ(0u, client.Stop());
        return most;
    };
    EXPECT_EQ(4980u, largest(1u << 3 | 4, 0, 256 * 64 * 2));
    EXPECT_EQ(4080u, largest(1u << 3 | 4 | 1u << 8, 0, 256 * 64 * 2)); // 10 MHz
    EXPECT_EQ(4080u, largest(4, 0, 256 * 64));                         // 8 bits
    EXPECT_EQ(4080u, largest(1u << 3 | 4, 1, 256 * 64 * 2));           // binned
}

TEST_F(Packets, IdlePacketsFillEverySlotWithoutData)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    client.Apply({});
    ASSERT_EQ(0u, ZerixSim_GiveCredit(0, 0));
    client.Start(4);
    for (int i = 0; i < 6; ++i) {
        const auto packets = client.NextBuffer();
        ASSERT_TRUE(packets);
        ASSERT_EQ(30u, packets->size());
        for (const Packet &packet : *packets)
            EXPECT_EQ(12u, packet.bytes.size());
    }
    EXPECT_EQ(0u, client.Stop());
}

TEST_F(Packets, TheLastPacketsOfAFrameArriveWithoutWaitingForTheNext)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    const Frame frame = FirstFrame(client, {}, 64 * 48 * 2); // seven packets of the thirty slots
    EXPECT_EQ(64u * 48 * 2, frame.pixels.size());
}

TEST_F(Packets, FramesAreNumberedFromPowerOn)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    for (const int number : {0, 1, 2})
        EXPECT_EQ(number, FirstFrame(client, {}, 64 * 48 * 2).header.rollingNumber);
}

// Format 0, by a parser of its own: sub-packets in groups of four.
TEST_F(Packets, Format0CarriesGroupsOfNumberedSubPackets)
{
    OneCamera("stream-format = 0\n");
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    client.Apply({.tag = 0x21, .packetBytes = 208});
    ASSERT_EQ(0u, ZerixSim_GiveCredit(0, 2));
    client.Start(8);
    uint8_t expected = 0;
    for (int frameNumber = 0; frameNumber < 2; ++frameNumber) {
        std::vector<uint8_t> pixels;
        uint32_t groupBytes = 0;
        while (pixels.size() < 64 * 48 * 2) {
            const auto packet = client.NextDataPacket();
            ASSERT_TRUE(packet);
            const auto &bytes = packet->bytes;
            ASSERT_EQ(200u, bytes.size());
            EXPECT_EQ(expected, bytes[3]); // first number
            EXPECT_EQ(2u << 6, bytes[2]);  // groups of 1 << 2
            EXPECT_EQ(12u, bytes[1]);      // sub-packets of 12 quadlets
            EXPECT_EQ(1, bytes[9]);        // marker
            const bool first = pixels.empty();
            EXPECT_EQ(first ? 0x80 : 0, bytes[8]);
            if (first) {
                EXPECT_EQ(frameNumber, bytes[10] << 8 | bytes[11]);
                EXPECT_EQ(0x21, bytes[12]);
                EXPECT_EQ(11, bytes[18] & 0x0F);
                EXPECT_NE(0, bytes[19] & 0x0F);
                groupBytes = static_cast<uint32_t>(bytes[20]) << 8 | bytes[21];
                EXPECT_EQ(4u * 48u - 14u, groupBytes);
            }
            const size_t count = std::min<size_t>(groupBytes, 64 * 48 * 2 - pixels.size());
            pixels.insert(pixels.end(), bytes.begin() + 22,
                          bytes.begin() + 22 + static_cast<long>(count));
            expected = static_cast<uint8_t>(expected + 4);
        }
        EXPECT_EQ(Positions(0, 0, 64, 48), pixels);
    }
    EXPECT_EQ(0u, client.Stop());
}

TEST_F(Packets, ABenchmateSendsTwoFieldsEachWithAHeader)
{
    Choose("[[camera]]\nmodel = 8\nsensor = 12\nbit-depth = 12\nscene = \"position\"\ncooler = "
           "false\n");
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    client.Apply({.width = 64, .height = 8});
    ASSERT_EQ(0u, ZerixSim_GiveCredit(0, 1));
    client.Start(4);
    const auto positions = Positions(0, 0, 64, 8);
    for (uint32_t field : {0u, 1u}) {
        const auto frame = client.NextFrame(64 * 4 * 2);
        ASSERT_TRUE(frame);
        EXPECT_EQ(field == 0, frame->header.field != 0);
        EXPECT_EQ(0u, frame->header.position);
        for (uint32_t line = 0; line < 4; ++line)
            EXPECT_TRUE(std::equal(frame->pixels.begin() + line * 128,
                                   frame->pixels.begin() + line * 128 + 128,
                                   positions.begin() + (2 * line + field) * 128));
    }
    EXPECT_EQ(0u, client.Stop());
}

TEST_F(Packets, TheLiveModeOfABenchmateLeavesOutRowPairs)
{
    Choose("[[camera]]\nmodel = 8\nsensor = 12\nbit-depth = 12\nscene = \"position\"\ncooler = "
           "false\n");
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    EXPECT_EQ(2560u << 16 | 960u, client.Word(client.Information() + 0x14));
    EXPECT_EQ(240u, client.Word(client.Information() + 0x28));
    EXPECT_EQ(0u, client.Write(client.Control() + 8, {4}));
    const Frame frame = FirstFrame(client, {.width = 64, .height = 6}, 64 * 6 * 2);
    std::vector<uint8_t> expected;
    for (uint32_t row : {0u, 1u, 16u, 17u, 32u, 33u}) {
        const auto line = Positions(0, row, 64, 1);
        expected.insert(expected.end(), line.begin(), line.end());
    }
    EXPECT_EQ(expected, frame.pixels);
}

TEST_F(Packets, TheLiveModeFromTheFarCornerCountsItsRowPairsFromThere)
{
    Choose("[[camera]]\nmodel = 8\nsensor = 12\nbit-depth = 12\nscene = \"position\"\ncooler = "
           "false\nstream-format = 2\n");
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    EXPECT_EQ(0u, client.Write(client.Control() + 8, {4}));
    const Frame frame = FirstFrame(client, {.width = 64, .height = 6}, 64 * 6 * 2);
    std::vector<uint8_t> expected;
    for (uint32_t row : {47u, 46u, 31u, 30u, 15u, 14u}) {
        for (uint32_t column = 64; column-- > 0;) {
            const uint32_t count = (column + 61 * row) % 4096;
            expected.push_back(static_cast<uint8_t>(count));
            expected.push_back(static_cast<uint8_t>(count >> 8));
        }
    }
    EXPECT_EQ(expected, frame.pixels);
    EXPECT_EQ(8, frame.header.colour); // red comes first on the sensor, blue last
}

TEST_F(Packets, ABenchmateAskedForOneRowSendsNothingUntilItHasTwo)
{
    Choose("[[camera]]\nmodel = 8\nsensor = 12\nbit-depth = 12\nscene = \"position\"\ncooler = "
           "false\n");
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    client.Apply({.width = 64, .height = 1});
    ASSERT_EQ(0u, ZerixSim_GiveCredit(0, 1));
    client.Start(4);
    for (int i = 0; i < 2; ++i) {
        const auto packets = client.NextBuffer();
        ASSERT_TRUE(packets);
        for (const Packet &packet : *packets)
            EXPECT_TRUE(packet.isIdle);
    }
    EXPECT_EQ(0u, client.Write(client.Control() + 0x0C, {64u << 16 | 2u}));
    EXPECT_EQ(0u, client.Commit());
    const auto frame = client.NextFrame(64 * 2); // the first of the two fields
    ASSERT_TRUE(frame);
    EXPECT_EQ(0, frame->header.rollingNumber);
    EXPECT_EQ(0u, client.Stop());
}

} // namespace
} // namespace zerix::test

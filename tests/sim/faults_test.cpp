// The fault plan: its words, what it counts, and what each fault does on the bus.
#include <algorithm>
#include <thread>

#include "../support/temporary_folder.h"
#include "bus_fixture.h"

namespace zerix::test {
namespace {

using namespace kernel;
using Faults = BusTest;

constexpr uint32_t kFrameBytes = 64 * 48 * 2; // seven packets of at most 1000 bytes
constexpr size_t kPackets = 7;

void Inject(const std::string &text)
{
    ASSERT_EQ(0u, ZerixSim_InjectFault(0, text.c_str())) << ZerixSim_LastErrorText();
}

// Positions of the packets that arrive of so many frames, ended by so many frames' credit.
class StreamOf {
public:
    StreamOf(BusClient &client, uint32_t frames)
    {
        EXPECT_EQ(0u, client.Connect());
        client.Apply({});
        EXPECT_EQ(0u, ZerixSim_GiveCredit(0, frames));
        client.Start(4);
        // The frames' packets come first; after them there are only idle ones.
        for (bool idle = false; !idle;) {
            const auto buffer = client.NextBuffer();
            if (!buffer)
                break;
            for (const Packet &packet : *buffer)
                if (!packet.isIdle)
                    packets.push_back(packet);
            idle = !packets.empty() && !buffer->empty() && buffer->back().isIdle;
        }
        client.Stop();
    }

    std::vector<Packet> packets;
};

std::vector<uint32_t> PositionsOf(const std::vector<Packet> &packets)
{
    std::vector<uint32_t> positions;
    for (const Packet &packet : packets)
        positions.push_back(packet.position);
    return positions;
}

using List = std::vector<uint32_t>;
const List kWhole = {0, 976, 1964, 2952, 3940, 4928, 5916};

List Twice(const List &first, const List &second)
{
    List both = first;
    both.insert(both.end(), second.begin(), second.end());
    return both;
}

TEST_F(Faults, WithoutOneEveryPacketArrives)
{
    BusClient client;
    EXPECT_EQ(Twice(kWhole, kWhole), PositionsOf(StreamOf(client, 2).packets));
}

TEST_F(Faults, ALostPacketIsMissing)
{
    Inject("lose packet at frame 2 packet 5");
    BusClient client;
    EXPECT_EQ(Twice(kWhole, {0, 976, 1964, 2952, 4928, 5916}),
              PositionsOf(StreamOf(client, 2).packets));
}

TEST_F(Faults, FromThenOnMeansThatPacketOfEveryLaterFrame)
{
    Inject("lose packet at frame 1 packet 2 from then on");
    BusClient client;
    const List without = {0, 1964, 2952, 3940, 4928, 5916};
    EXPECT_EQ(Twice(without, without), PositionsOf(StreamOf(client, 2).packets));
}

TEST_F(Faults, PacketsCanBeCountedOverFrames)
{
    Inject("lose packet at packet 8");
    BusClient client;
    EXPECT_EQ(Twice(kWhole, {976, 1964, 2952, 3940, 4928, 5916}),
              PositionsOf(StreamOf(client, 2).packets));
}

TEST_F(Faults, AFrameWithoutAPacketNumberIsAllOfIt)
{
    Inject("lose packet at frame 1");
    BusClient client;
    EXPECT_EQ(kWhole, PositionsOf(StreamOf(client, 2).packets));
}

TEST_F(Faults, ADoubledPacketArrivesTwiceAndAReorderedOneAfterTheNext)
{
    {
        Inject("double packet at frame 1 packet 3");
        BusClient client;
        EXPECT_EQ((List{0, 976, 1964, 1964, 2952, 3940, 4928, 5916}),
                  PositionsOf(StreamOf(client, 1).packets));
    }
    OneCamera();
    Inject("reorder packet at frame 1 packet 3");
    BusClient client;
    EXPECT_EQ((List{0, 976, 2952, 1964, 3940, 4928, 5916}),
              PositionsOf(StreamOf(client, 1).packets));
}

TEST_F(Faults, AReorderedLastPacketStillArrives)
{
    Inject("reorder packet at frame 1 packet 7");
    BusClient client;
    EXPECT_EQ(kWhole, PositionsOf(StreamOf(client, 1).packets));
}

// The third packet of a frame with and without a fault of its own.
std::pair<Packet, Packet> ThirdPackets(const std::string &fault)
{
    Inject(fault + " at frame 1 packet 3");
    BusClient client;
    const auto packets = StreamOf(client, 2).packets;
    EXPECT_EQ(2 * kPackets, packets.size());
    return {packets.at(2), packets.at(2 + kPackets)};
}

TEST_F(Faults, ACutPacketLosesItsEnd)
{
    const auto [bad, good] = ThirdPackets("cut packet");
    EXPECT_EQ(500u, bad.bytes.size());
    EXPECT_FALSE(bad.hasTrailer);
    EXPECT_TRUE(std::equal(bad.bytes.begin() + 8, bad.bytes.end(), good.bytes.begin() + 8));
}

TEST_F(Faults, ACorruptPacketHasOneWrongByteOfData)
{
    const auto [bad, good] = ThirdPackets("corrupt packet");
    EXPECT_TRUE(bad.hasMarker && bad.hasTrailer);
    int different = 0;
    for (size_t i = 0; i < good.data.size(); ++i)
        different += bad.data[i] != good.data[i];
    EXPECT_EQ(1, different);
}

TEST_F(Faults, ABadMarkerAndABadTrailerAreNotTheOnesExpected)
{
    EXPECT_FALSE(ThirdPackets("bad marker").first.hasMarker);
    OneCamera();
    const auto [bad, good] = ThirdPackets("bad trailer");
    EXPECT_FALSE(bad.hasTrailer);
    EXPECT_EQ(bad.data, good.data);
}

TEST_F(Faults, AWrongTagIsNeitherTheOldNorTheNewOne)
{
    Inject("wrong tag at frame 2");
    BusClient client;
    const auto packets = StreamOf(client, 3).packets;
    EXPECT_EQ(7, packets.at(0).tag);
    EXPECT_EQ(7 ^ 0x55, packets.at(kPackets).tag);
    EXPECT_EQ(7, packets.at(2 * kPackets).tag);
}

TEST_F(Faults, AccessesFailWithTheNumberGiven)
{
    BusClient client;
    Inject("read error 31 at read 2");
    Inject("write error 1450 at write 2 from then on");
    std::vector<uint32_t> words;
    EXPECT_EQ(0u, client.Read(0xD0000000, 1, &words));
    EXPECT_EQ(31u, client.Read(0xD0000000, 1, &words));
    EXPECT_EQ(0u, client.Read(0xD0000000, 1, &words));
    const uint32_t control = client.Control();
    EXPECT_EQ(0u, client.Write(control + 4, {4}));
    EXPECT_EQ(1450u, client.Write(control + 4, {8}));
    EXPECT_EQ(1450u, client.Write(control + 4, {12}));
    EXPECT_EQ(4u, client.Word(control + 4));
}

TEST_F(Faults, CountBeginsWhenTheFaultIsAdded)
{
    BusClient client;
    std::vector<uint32_t> words;
    EXPECT_EQ(0u, client.Read(0xD0000000, 1, &words));
    Inject("read error 5 at read 1");
    EXPECT_EQ(5u, client.Read(0xD0000000, 1, &words));
}

TEST_F(Faults, AHangingReadEndsByCancelling)
{
    BusClient client;
    Inject("hang at read 2");
    std::vector<uint32_t> words;
    EXPECT_EQ(0u, client.Read(0xD0000000, 1, &words));
    uint32_t error = 0;
    std::thread reader([&] { error = client.Read(0xD0000000, 1, &words); });
    while (Held().pendingRequests == 0)
        std::this_thread::yield();
    SimDriver().CancelPending(client.handle);
    reader.join();
    EXPECT_EQ(995u, error);
}

TEST_F(Faults, AllocationsFailOnDemand)
{
    Inject("no bandwidth at request 1");
    Inject("no channel at request 2");
    Inject("no resources at request 1");
    BusClient client;
    EXPECT_EQ(1450u, client.AllocateBandwidth(112));
    EXPECT_EQ(0u, client.AllocateBandwidth(112));
    EXPECT_EQ(0u, client.AllocateChannel());
    EXPECT_EQ(1450u, client.AllocateChannel());
    client.channel = 0;
    EXPECT_EQ(1450u, client.AllocateResources(112, kSpeedFlag800));
    EXPECT_EQ(0u, client.AllocateResources(112, kSpeedFlag800));
}

TEST_F(Faults, WithoutAPlaceAFaultAlwaysHolds)
{
    Inject("no fast speed");
    BusClient client;
    ASSERT_EQ(0u, client.AllocateBandwidth(112));
    ASSERT_EQ(0u, client.AllocateChannel());
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(1450u, client.AllocateResources(112, kSpeedFlag800));
    EXPECT_EQ(0u, client.AllocateResources(112, kSpeedFlag400));
}

TEST_F(Faults, ARequeueFails)
{
    Inject("fail requeue at buffer 2");
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    client.Apply({});
    client.Start(4);
    EXPECT_TRUE(client.NextBuffer());
    EXPECT_EQ(0u, client.lastError);
    EXPECT_TRUE(client.NextBuffer());
    EXPECT_EQ(1450u, client.lastError);
    EXPECT_EQ(0u, client.Stop());
}

TEST_F(Faults, ADeviceIsInUse)
{
    Inject("in use");
    BusClient client;
    uint32_t isOpen = 0;
    EXPECT_EQ(0u, client.SendWord(kControlIsOpen, 0, &isOpen));
    EXPECT_EQ(1u, isOpen);
}

TEST_F(Faults, UnpluggingInTheMiddleOfAFrame)
{
    Inject("unplug at frame 2 packet 3");
    BusClient client;
    const auto packets = StreamOf(client, 5).packets;
    EXPECT_EQ(1167u, client.lastError);
    EXPECT_EQ(0u, Held().queuedBuffers);
    std::vector<uint32_t> words;
    EXPECT_EQ(1167u, client.Read(0xD0000000, 1, &words));
    DevicePath path;
    uint32_t count = 1;
    EXPECT_EQ(0u, SimDriver().Enumerate(&path, 1, &count));
    EXPECT_EQ(0u, count);
}

TEST_F(Faults, UnpluggingWithItsDriverAtAnAccessOrAPacket)
{
    {
        Inject("unplug with driver at read 2");
        BusClient client;
        std::vector<uint32_t> words;
        EXPECT_EQ(0u, client.Read(0xD0000000, 1, &words));
        ASSERT_EQ(0u, client.Connect());
        EXPECT_EQ(1167u, client.Read(0xD0000000, 1, &words));
        EXPECT_EQ(1167u, client.SendWord(kControlFreeResources, client.resources));
    }
    OneCamera();
    Inject("unplug with driver at frame 2 packet 3");
    BusClient client;
    const auto packets = StreamOf(client, 5).packets;
    EXPECT_EQ(1167u, client.lastError);
    EXPECT_EQ(1167u, client.SendWord(kControlFreeChannel, client.channel));
}

TEST_F(Faults, StandInTheRackFile)
{
    OneCamera("faults = [\"read error 31 at read 1\", \"write error 5 at write 1\"]\n");
    BusClient client;
    std::vector<uint32_t> words;
    EXPECT_EQ(31u, client.Read(0xD0000000, 1, &words));
    EXPECT_EQ(5u, client.Write(client.Control() + 4, {1}));
}

constexpr const char *kGoodTexts[] = {
    "lose packet",
    "lose packet at frame 2 packet 5",
    "cut packet at frame 1 packet 3",
    "corrupt packet at packet 9 once",
    "double packet at frame 1",
    "reorder packet at frame 3 packet 1 from then on",
    "wrong tag at frame 3",
    "bad marker at frame 1 packet 2",
    "bad trailer at frame 1 packet 2",
    "read error 31 at read 4",
    "write error 1450 at write 10 from then on",
    "hang at read 5",
    "hang at write 5",
    "no bandwidth at request 1",
    "no channel at request 1",
    "no resources at request 1",
    "no fast speed at request 2",
    "fail requeue at buffer 7",
    "in use",
    "unplug at frame 2 packet 10",
    "unplug at read 3",
    "unplug with driver at write 3",
    "unplug with driver at frame 1 packet 2",
    "  lose packet  at   frame 1 ",
    "wrong tag",
};

constexpr const char *kBadTexts[] = {
    "",
    "loose packet",
    "lose",
    "lose packets",
    "lose packet at",
    "lose packet at frame",
    "lose packet at frame 0",
    "lose packet at frame -1",
    "lose packet at frame two",
    "lose packet at frame 1 packet",
    "lose packet at read 1",
    "wrong tag at packet 3",
    "wrong tag at frame 1 packet 2",
    "read error at read 1",
    "read error 0",
    "read error 31 at write 1",
    "hang",
    "unplug",
    "unplug with driver",
    "unplug with",
    "in use at frame 1",
    "in use once",
    "no bandwidth at buffer 1",
    "lose packet at frame 1 twice",
    "lose packet at frame 99999999999",
    "lose packet at frame 1 from then",
    "read error 31 at read 4 packet 2",
};

TEST_F(Faults, EveryFormOfTheGrammarIsTaken)
{
    for (const char *text : kGoodTexts)
        EXPECT_EQ(0u, ZerixSim_InjectFault(0, text)) << text << ": " << ZerixSim_LastErrorText();
}

TEST_F(Faults, ABadTextIsOneSentenceThatSaysWhatWasExpected)
{
    for (const char *text : kBadTexts) {
        SCOPED_TRACE(text);
        EXPECT_EQ(4u, ZerixSim_InjectFault(0, text));
        const std::string sentence = ZerixSim_LastErrorText();
        EXPECT_NE(std::string::npos, sentence.find("expected")) << sentence;
        EXPECT_EQ('.', sentence.back());
        EXPECT_EQ(std::string::npos, sentence.find('\n'));
    }
    EXPECT_EQ(4u, ZerixSim_InjectFault(0, "wrong tag at packet 3"));
    EXPECT_STREQ("\"wrong tag at packet 3\" is no fault: expected \"at frame NUMBER\", with "
                 "numbers from 1, after "
                 "\"wrong tag\", found \"packet 3\".",
                 ZerixSim_LastErrorText());
    EXPECT_EQ(2u, ZerixSim_InjectFault(9, "in use"));
    EXPECT_EQ(6u, ZerixSim_InjectFault(0, nullptr));
}

TEST_F(Faults, ABadTextInARackFileIsToldWithItsLine)
{
    const TemporaryFolder folder;
    const std::string path =
        folder.Write("rack.toml", "[[camera]]\nmodel = 18\nfaults = [\n  \"loose packet\"]\n");
    EXPECT_EQ(1u, ZerixSim_ChooseRack(path.c_str()));
    const std::string sentence = ZerixSim_LastErrorText();
    EXPECT_NE(std::string::npos,
              sentence.find("line 4: \"loose packet\" is no fault: expected one of"))
        << sentence;
}

} // namespace
} // namespace zerix::test

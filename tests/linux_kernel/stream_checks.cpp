// Isochronous reception through /dev/fw*: where payloads land, what headers say, what the queue
// takes.
#include "checks.h"
#include "stream.h"

#include <algorithm>
#include <linux/firewire-constants.h>
#include <sys/mman.h>

namespace linux_kernel {

namespace {

constexpr std::uint8_t kChannel = 5;
constexpr std::uint32_t kInterrupt = FW_CDEV_ISO_INTERRUPT;
constexpr std::uint8_t kPoison = 0xa5;

Bytes Part(const std::uint8_t *from, std::size_t length) { return {from, from + length}; }

} // namespace

class Streams : public Interface {
protected:
    // A started stream with `count` slots of `slotBytes`, each with an interrupt, from ring + 8 on.
    void Begin(std::size_t slotBytes, std::size_t count)
    {
        stream = std::make_unique<Stream>(path);
        ASSERT_EQ(stream->Map(count * slotBytes + 8), 0);
        std::fill_n(stream->Ring(), count * slotBytes + 8, kPoison);
        ASSERT_EQ(stream->Create(kChannel), 0);
        const Entry entry{static_cast<std::uint32_t>(slotBytes), 8, kInterrupt};
        ASSERT_EQ(stream->Queue(8, std::vector<Entry>(count, entry)), static_cast<int>(count));
        ASSERT_EQ(stream->Start(), 0);
    }

    int Send(const Bytes &payload) { return wire.SendIso({.channel = kChannel}, payload); }

    std::unique_ptr<Stream> stream;
};

TEST_F(Streams, HeadersHaveLengthTagChannelSyAndCycle)
{
    Begin(64, 4);
    ASSERT_EQ(wire.SendIso({.channel = kChannel, .tag = 2, .sy = 9, .cycle = 0xb123}, Pattern(48)),
              0);
    const auto headers = stream->NextHeaders();
    ASSERT_EQ(headers.size(), 1u);
    EXPECT_EQ(headers[0].length, 48u);
    EXPECT_EQ(headers[0].tag, 2u);
    EXPECT_EQ(headers[0].channel, kChannel);
    EXPECT_EQ(headers[0].tcode, static_cast<std::uint32_t>(TCODE_STREAM_DATA));
    EXPECT_EQ(headers[0].sy, 9u);
    EXPECT_EQ(headers[0].stamp, 0xb123u);
}

TEST_F(Streams, TheStampIsTheCycleTimersWithoutItsOffset)
{
    Begin(64, 4);
    fw_cdev_get_cycle_timer2 timer{};
    timer.clk_id = CLOCK_MONOTONIC;
    ASSERT_EQ(stream->Device().Call(FW_CDEV_IOC_GET_CYCLE_TIMER2, &timer), 0);
    ASSERT_EQ(Send(Pattern(8)), 0);
    const auto headers = stream->NextHeaders();
    ASSERT_EQ(headers.size(), 1u);
    const auto cycles = [](std::uint32_t stamp) {
        return (stamp >> 13 & 7) * 8000 + (stamp & 0x1fff);
    };
    const std::uint32_t later =
        (cycles(headers[0].stamp) + 64000 - cycles(timer.cycle_timer >> 12)) % 64000;
    EXPECT_LT(later, 80u); // 10 ms
}

class SlotSizes : public Streams, public testing::WithParamInterface<std::size_t> {};

TEST_P(SlotSizes, PayloadsLandEightBytesAfterEachSlotsBegin)
{
    const std::size_t slot = GetParam(), payload = slot - 8;
    Begin(slot, 5);
    for (std::uint8_t i = 0; i < 5; ++i)
        ASSERT_EQ(Send(Pattern(payload, i)), 0);
    for (std::uint8_t i = 0; i < 5; ++i) {
        ASSERT_EQ(stream->NextHeaders().size(), 1u);
        EXPECT_EQ(Part(stream->Ring() + i * slot, 8), Bytes(8, kPoison)) << int(i);
        EXPECT_EQ(Part(stream->Ring() + i * slot + 8, payload), Pattern(payload, i)) << int(i);
    }
}

INSTANTIATE_TEST_SUITE_P(Streams, SlotSizes,
                         testing::Values(16, 21, 64, 4096, 4099, 4908, 9000, 9056, 24576, 32776));

TEST_F(Streams, AnOverlongPacketOverwritesTheNextHeadAndNoMore)
{
    Begin(64, 3);
    ASSERT_EQ(Send(Pattern(100)), 0);
    const auto headers = stream->NextHeaders();
    ASSERT_EQ(headers.size(), 1u);
    EXPECT_EQ(headers[0].length, 100u);
    EXPECT_EQ(Part(stream->Ring() + 8, 64), Pattern(64));
    EXPECT_EQ(Part(stream->Ring() + 72, 64), Bytes(64, kPoison));
}

TEST_F(Streams, AShortPacketLeavesTheRestOfItsSlot)
{
    Begin(64, 3);
    ASSERT_EQ(Send(Pattern(10)), 0);
    EXPECT_EQ(stream->NextHeaders().at(0).length, 10u);
    EXPECT_EQ(Part(stream->Ring() + 8, 10), Pattern(10));
    EXPECT_EQ(Part(stream->Ring() + 18, 54), Bytes(54, kPoison));
}

TEST_F(Streams, AnEmptyPacketTakesASlot)
{
    Begin(64, 3);
    ASSERT_EQ(Send({}), 0);
    ASSERT_EQ(Send(Pattern(4)), 0);
    EXPECT_EQ(stream->NextHeaders().at(0).length, 0u);
    EXPECT_EQ(stream->NextHeaders().at(0).length, 4u);
    EXPECT_EQ(Part(stream->Ring() + 8, 64), Bytes(64, kPoison));
    EXPECT_EQ(Part(stream->Ring() + 72, 4), Pattern(4));
}

TEST_F(Streams, ADryRingLosesPacketsWithoutAnEvent)
{
    Begin(64, 2);
    for (std::uint16_t cycle = 100; cycle < 105; ++cycle)
        ASSERT_EQ(wire.SendIso({.channel = kChannel, .cycle = cycle}, Pattern(8)), 0);
    EXPECT_EQ(stream->NextHeaders().at(0).stamp, 100u);
    EXPECT_EQ(stream->NextHeaders().at(0).stamp, 101u);
    EXPECT_TRUE(stream->NextHeaders(5000).empty());

    ASSERT_EQ(stream->Queue(8, {{64, 8, kInterrupt}}), 1);
    ASSERT_EQ(wire.SendIso({.channel = kChannel, .cycle = 105}, Pattern(8)), 0);
    EXPECT_EQ(stream->NextHeaders().at(0).stamp, 105u);
}

TEST_F(Streams, HeadersOfSixteenBytesTakeThePayloadsFirstEight)
{
    stream = std::make_unique<Stream>(path);
    ASSERT_EQ(stream->Map(4096), 0);
    ASSERT_EQ(stream->Create(kChannel, 16), 0);
    ASSERT_EQ(stream->Queue(0, {{64, 16, kInterrupt}}), 1);
    ASSERT_EQ(stream->Start(), 0);
    ASSERT_EQ(Send({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}), 0);
    const auto quadlets = stream->NextQuadlets();
    ASSERT_EQ(quadlets.size(), 4u);
    EXPECT_EQ(quadlets[0] >> 16, 12u);
    EXPECT_EQ(quadlets[2], 0x01020304u);
    EXPECT_EQ(quadlets[3], 0x05060708u);
    EXPECT_EQ(Part(stream->Ring(), 5), (Bytes{9, 10, 11, 12, 0}));
}

TEST_F(Streams, OneEntryStandsForUpTo31Packets)
{
    stream = std::make_unique<Stream>(path);
    ASSERT_EQ(stream->Map(4096), 0);
    ASSERT_EQ(stream->Create(kChannel), 0);
    ASSERT_EQ(stream->Queue(0, {{31 * 16, 31 * 8, kInterrupt}}), 1);
    ASSERT_EQ(stream->Start(), 0);
    for (std::uint8_t i = 0; i < 31; ++i)
        ASSERT_EQ(Send(Pattern(16, i)), 0);
    EXPECT_EQ(stream->NextHeaders().size(), 31u);
    EXPECT_EQ(Part(stream->Ring() + 30 * 16, 16), Pattern(16, 30));
}

TEST_F(Streams, WithoutInterruptsAnEventComesAfter512Headers)
{
    stream = std::make_unique<Stream>(path);
    ASSERT_EQ(stream->Map(600 * 8), 0);
    ASSERT_EQ(stream->Create(kChannel), 0);
    ASSERT_EQ(stream->Queue(0, std::vector<Entry>(600, {8, 8, 0})), 600);
    ASSERT_EQ(stream->Start(), 0);
    for (int i = 0; i < 512; ++i)
        ASSERT_EQ(Send(Pattern(8)), 0);
    EXPECT_TRUE(stream->NextHeaders(100).empty());
    ASSERT_EQ(Send(Pattern(8)), 0);
    EXPECT_EQ(stream->NextHeaders(100).size(), 512u);
    EXPECT_TRUE(stream->NextHeaders(100).empty());
    EXPECT_EQ(stream->Flush(), 0);
    EXPECT_EQ(stream->NextHeaders(0).size(), 1u);
}

TEST_F(Streams, WithoutInfoHeadersBeyond512AreDropped)
{
    const DeviceFile plain(path);
    stream = std::make_unique<Stream>(path);
    fw_cdev_get_info info{};
    info.version = 4;
    ASSERT_EQ(stream->Device().Call(FW_CDEV_IOC_GET_INFO, &info), 0);
    ASSERT_EQ(stream->Map(600 * 8), 0);
    ASSERT_EQ(stream->Create(kChannel), 0);
    ASSERT_EQ(stream->Queue(0, std::vector<Entry>(600, {8, 8, 0})), 600);
    ASSERT_EQ(stream->Start(), 0);
    for (int i = 0; i < 520; ++i)
        ASSERT_EQ(Send(Pattern(8)), 0);
    EXPECT_EQ(stream->Flush(), 0);
    EXPECT_EQ(stream->NextHeaders(0).size(), 512u);
    EXPECT_TRUE(stream->NextHeaders(100).empty());
}

TEST_F(Streams, ABadEntryIsAnErrorButThoseBeforeItAreQueued)
{
    stream = std::make_unique<Stream>(path);
    ASSERT_EQ(stream->Map(4096), 0);
    ASSERT_EQ(stream->Create(kChannel), 0);
    EXPECT_EQ(stream->Start(), -ENODATA);
    EXPECT_EQ(stream->Queue(0, {{64, 8, kInterrupt}, {64, 4, kInterrupt}}), -EINVAL);
    ASSERT_EQ(stream->Start(), 0);
    ASSERT_EQ(Send(Pattern(8)), 0);
    EXPECT_EQ(stream->NextHeaders().size(), 1u);
}

TEST_F(Streams, EntriesBeyondTheRingAreRefused)
{
    stream = std::make_unique<Stream>(path);
    ASSERT_EQ(stream->Map(4096), 0);
    ASSERT_EQ(stream->Create(kChannel), 0);
    EXPECT_EQ(stream->Queue(4000, {{96}}), 1);
    EXPECT_EQ(stream->Queue(4000, {{97}}), -EINVAL);
}

TEST_F(Streams, APayloadOf65536BytesIsNoneWithAnInterrupt)
{
    stream = std::make_unique<Stream>(path);
    ASSERT_EQ(stream->Map(1 << 17), 0);
    ASSERT_EQ(stream->Create(kChannel), 0);
    ASSERT_EQ(stream->Queue(0, {{FW_CDEV_ISO_PAYLOAD_LENGTH(65536), 8, 0}}), 1);
    ASSERT_EQ(stream->Start(), 0);
    ASSERT_EQ(Send(Pattern(16)), 0);
    EXPECT_EQ(stream->NextHeaders().size(), 1u);
    EXPECT_EQ(Part(stream->Ring(), 16), Bytes(16, 0));
}

TEST_F(Streams, TheQueueTakesFewerThanAskedAndSaysSo)
{
    stream = std::make_unique<Stream>(path);
    ASSERT_EQ(stream->Map(4096), 0);
    ASSERT_EQ(stream->Create(kChannel), 0);
    // 16 MiB of descriptors, of which a packet without payload takes two of 16 bytes.
    std::uint32_t left = 0;
    EXPECT_EQ(stream->Queue(0, std::vector<Entry>(530000, {0, 8, 0}), &left), 524288);
    EXPECT_EQ(left, (530000u - 524288u) * 4);
}

TEST_F(Streams, StartTwiceIsFineAndStopKeepsTheQueue)
{
    Begin(64, 3);
    EXPECT_EQ(stream->Start(), 0);
    EXPECT_EQ(stream->Stop(), 0);
    ASSERT_EQ(Send(Pattern(8)), 0);
    EXPECT_TRUE(stream->NextHeaders(100).empty());
    EXPECT_EQ(stream->Start(), 0);
    ASSERT_EQ(Send(Pattern(8)), 0);
    EXPECT_EQ(stream->NextHeaders().size(), 1u);
    EXPECT_EQ(Part(stream->Ring() + 8, 8), Pattern(8));
}

TEST_F(Streams, TagsAndChannelsAreToldApart)
{
    stream = std::make_unique<Stream>(path);
    ASSERT_EQ(stream->Map(4096), 0);
    ASSERT_EQ(stream->Create(kChannel), 0);
    ASSERT_EQ(stream->Queue(0, std::vector<Entry>(8, {8, 8, kInterrupt})), 8);
    ASSERT_EQ(stream->Start(FW_CDEV_ISO_CONTEXT_MATCH_TAG1), 0);
    for (std::uint8_t tag = 0; tag < 4; ++tag)
        ASSERT_EQ(wire.SendIso({.channel = kChannel, .tag = tag}, Pattern(4)), 0);
    ASSERT_EQ(wire.SendIso({.channel = kChannel + 1, .tag = 1}, Pattern(4)), 0);
    EXPECT_EQ(stream->NextHeaders().at(0).tag, 1u);
    EXPECT_TRUE(stream->NextHeaders(100).empty());
}

TEST_F(Streams, AChannelHasOneContextOfACard)
{
    Begin(64, 2);
    Stream other(path);
    EXPECT_EQ(other.Create(kChannel), -EBUSY);
    EXPECT_EQ(other.Create(kChannel + 1), 0);
}

TEST_F(Streams, ACardHasFourContexts)
{
    std::vector<std::unique_ptr<Stream>> streams;
    for (std::uint32_t channel = 0; channel < 4; ++channel) {
        streams.push_back(std::make_unique<Stream>(path));
        EXPECT_EQ(streams.back()->Create(channel), 0);
    }
    Stream fifth(path);
    EXPECT_EQ(fifth.Create(4), -EBUSY);
    streams.pop_back();
    EXPECT_EQ(fifth.Create(4), 0);
}

TEST_F(Streams, AFileHasOneContextAndOneMapForItsLife)
{
    Begin(64, 2);
    EXPECT_EQ(stream->Create(kChannel + 1), -EBUSY);
    EXPECT_EQ(stream->Map(4096), -EBUSY);
    stream->Unmap();
    EXPECT_EQ(stream->Map(4096), -EBUSY);
}

TEST_F(Streams, ThePrivateMapIsRefused)
{
    EXPECT_EQ(mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE, device->File(), 0),
              MAP_FAILED);
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(Streams, CloseFreesNothingWhileTheRingIsMapped)
{
    Begin(64, 4);
    ASSERT_EQ(Send(Pattern(8, 1)), 0);
    ASSERT_EQ(stream->NextHeaders().size(), 1u);
    stream->Close();
    ASSERT_EQ(Send(Pattern(8, 77)), 0);
    EXPECT_EQ(Part(stream->Ring() + 72, 8), Pattern(8, 77));
    Stream other(path);
    EXPECT_EQ(other.Create(kChannel), -EBUSY);
    stream->Unmap();
    EXPECT_EQ(other.Create(kChannel), 0);
}

TEST_F(Streams, GoOnThroughAReset)
{
    Begin(64, 4);
    ASSERT_EQ(Send(Pattern(8, 1)), 0);
    ASSERT_EQ(wire.Reset(), 0);
    ASSERT_EQ(Send(Pattern(8, 2)), 0);
    EXPECT_EQ(stream->NextHeaders().size(), 1u);
    EXPECT_EQ(stream->NextHeaders().size(), 1u);
    EXPECT_EQ(Part(stream->Ring() + 72, 8), Pattern(8, 2));
}

} // namespace linux_kernel

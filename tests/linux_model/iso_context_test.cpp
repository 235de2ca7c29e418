// Where a receive context puts packets, and what it reports of them.
#include "tests/linux_model/iso_context.h"

#include <cerrno>
#include <cstring>
#include <numeric>

#include <gtest/gtest.h>

namespace zerix::linux_model {
namespace {

class Contexts : public ::testing::Test {
protected:
    void Make(uint32_t headerBytes, bool dropsOverflow = false)
    {
        context = std::make_unique<IsoContext>(
            IsoContext::Settings{.channel = 5,
                                 .headerBytes = headerBytes,
                                 .closure = 0xC105,
                                 .dropsOverflow = dropsOverflow},
            [this](Event event) { events.push_back(std::move(event)); });
    }
    // Bytes that count up from `first`.
    void Put(size_t bytes, uint8_t first, uint16_t stamp = 0, uint32_t tag = 0)
    {
        std::vector<uint8_t> payload(bytes);
        std::iota(payload.begin(), payload.end(), first);
        context->Put({payload, 5, tag, stamp}, memory);
    }
    static uint32_t Word(const Event &event, size_t offset)
    {
        uint32_t word = 0;
        std::memcpy(&word, event.data() + offset, sizeof word);
        return word;
    }
    // From offset 20 on.
    static std::vector<uint8_t> Headers(const Event &event)
    {
        return {event.begin() + 20, event.begin() + 20 + Word(event, 16)};
    }

    std::unique_ptr<IsoContext> context;
    std::vector<Event> events;
    std::vector<uint8_t> memory = std::vector<uint8_t>(200, 0xEE);
};

TEST_F(Contexts, ReportAPacketWithLengthAndCycle)
{
    Make(8);
    context->Queue(8, 40, true, 8);
    EXPECT_EQ(context->Start(15), 0);
    Put(12, 1, 0x6123);
    ASSERT_EQ(events.size(), 1u);
    ASSERT_EQ(events[0].size(), 32u); // 24 and the header
    EXPECT_EQ(Word(events[0], 0), 0xC105u);
    EXPECT_EQ(Word(events[0], 8), 3u);
    EXPECT_EQ(Word(events[0], 12), 0x6123u);
    EXPECT_EQ(Word(events[0], 16), 8u);
    // Length 12, tag 0, channel 5, transaction code 10; what the card leaves; the cycle.
    EXPECT_EQ(Headers(events[0]),
              (std::vector<uint8_t>{0x00, 0x0C, 0x05, 0xA0, 0x84, 0x11, 0x61, 0x23}));
    EXPECT_EQ(memory[7], 0xEE);
    EXPECT_EQ(memory[8], 1);
    EXPECT_EQ(memory[19], 12);
    EXPECT_EQ(memory[20], 0xEE);
}

// Payload n is at ring + 8 + n x 40; the heads between them are left alone.
TEST_F(Contexts, LeaveAHeadOfEightBytesInEachSlot)
{
    Make(8);
    for (size_t i = 0; i < 3; ++i)
        context->Queue(8, 40, false, 8 + 40 * i);
    EXPECT_EQ(context->Start(15), 0);
    for (uint8_t i = 0; i < 3; ++i)
        Put(32, static_cast<uint8_t>(10 * i));
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(memory[40 * i], 0xEE);
        EXPECT_EQ(memory[40 * i + 7], 0xEE);
        EXPECT_EQ(memory[40 * i + 8], 10 * i);
        EXPECT_EQ(memory[40 * i + 39], 10 * i + 31);
    }
}

TEST_F(Contexts, CutALongPacketAndReportItsLength)
{
    Make(8);
    context->Queue(8, 40, true, 8);
    EXPECT_EQ(context->Start(15), 0);
    Put(100, 1);
    EXPECT_EQ(memory[47], 40);
    EXPECT_EQ(memory[48], 0xEE);
    EXPECT_EQ(Headers(events[0])[1], 100);
}

TEST_F(Contexts, TakeAPlaceForAnEmptyPacket)
{
    Make(8);
    context->Queue(16, 80, true, 0); // two packets of 40 bytes
    EXPECT_EQ(context->Start(15), 0);
    Put(0, 0);
    EXPECT_TRUE(events.empty());
    Put(4, 7);
    EXPECT_EQ(memory[0], 0xEE);
    EXPECT_EQ(memory[40], 7);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(Headers(events[0]).size(), 16u);
    EXPECT_EQ(context->PlaceCount(), 0u);
}

TEST_F(Contexts, PutTheStartOfThePayloadIntoALongHeader)
{
    Make(16);
    context->Queue(16, 40, true, 0);
    EXPECT_EQ(context->Start(15), 0);
    Put(20, 1);
    const std::vector<uint8_t> headers = Headers(events[0]);
    ASSERT_EQ(headers.size(), 16u);
    EXPECT_EQ(headers[8], 1);
    EXPECT_EQ(headers[15], 8);
    EXPECT_EQ(memory[0], 9);
    EXPECT_EQ(memory[11], 20);
    EXPECT_EQ(memory[12], 0xEE);
}

TEST_F(Contexts, ReportShortHeadersWithoutACycle)
{
    Make(4);
    context->Queue(4, 40, true, 0);
    EXPECT_EQ(context->Start(15), 0);
    Put(20, 1);
    EXPECT_EQ(Headers(events[0]), (std::vector<uint8_t>{0x00, 0x14, 0x05, 0xA0}));
}

// The page for headers is full; the 513th makes room.
TEST_F(Contexts, ReportAfter512HeadersWithoutAnInterrupt)
{
    Make(8);
    for (int i = 0; i < 600; ++i)
        context->Queue(8, 4, false, 0);
    EXPECT_EQ(context->Start(15), 0);
    for (uint16_t i = 0; i < 512; ++i)
        Put(4, 0, i);
    EXPECT_TRUE(events.empty());
    Put(4, 0, 512);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].size(), 24u + 4096u);
    EXPECT_EQ(Word(events[0], 12), 511u);
    context->Flush();
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(Headers(events[1]).size(), 8u);
    context->Flush();
    EXPECT_EQ(events.size(), 2u);
}

TEST_F(Contexts, LoseHeadersOfOldClientsInstead)
{
    Make(8, true);
    for (int i = 0; i < 600; ++i)
        context->Queue(8, 4, i == 599, 0);
    EXPECT_EQ(context->Start(15), 0);
    for (uint16_t i = 0; i < 600; ++i)
        Put(4, 0, i);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(Headers(events[0]).size(), 4096u);
}

TEST_F(Contexts, StartWithSomethingQueuedOnly)
{
    Make(8);
    EXPECT_EQ(context->Start(15), -ENODATA);
    context->Queue(8, 4, true, 0);
    Put(4, 1); // doesn't run
    EXPECT_EQ(memory[0], 0xEE);
    EXPECT_EQ(context->Start(15), 0);
    context->Stop();
    Put(4, 1);
    EXPECT_GT(context->PlaceCount(), 0u);
    EXPECT_EQ(context->Start(2), 0); // packets with tag 1
    Put(4, 1, 0, 0);
    EXPECT_GT(context->PlaceCount(), 0u);
    Put(4, 1, 0, 1);
    EXPECT_EQ(context->PlaceCount(), 0u);
    EXPECT_EQ(Headers(events.at(0))[2], 0x45); // tag 1, channel 5
    Put(4, 9);                                 // dry: lost, without a word
    EXPECT_EQ(events.size(), 1u);
    EXPECT_EQ(memory[0], 1);
}

TEST_F(Contexts, ReportPacketsThatNoMemoryIsMappedFor)
{
    Make(8);
    context->Queue(8, 40, true, 0);
    EXPECT_EQ(context->Start(15), 0);
    const std::vector<uint8_t> payload(40, 1);
    context->Put({payload, 5, 0, 0}, {});
    EXPECT_EQ(events.size(), 1u);
}

} // namespace
} // namespace zerix::linux_model

// Packets on their way: into the ring that the kernel fills, and into the buffers from there.
#include "tests/bus/linux/streaming_fixture.h"

namespace zerix::bus::linux_firewire {
namespace {

TEST_F(Streaming, FillsABufferWithThirtyPackets)
{
    TakeAll();
    EXPECT_EQ(kSlot * 3200 + 8, system.mapBytes);
    Buffer &buffer = NewBuffers(1)[0];
    EXPECT_EQ(0u, Queue(buffer));
    EXPECT_EQ(0u, Listen());
    for (uint8_t i = 0; i < 30; ++i)
        Send(1, 900 + i, i);
    const auto result = Await(buffer);
    EXPECT_EQ(kernel::Completion::kDone, result.completion);
    EXPECT_EQ(kBuffer, result.bytesReturned);
    for (uint32_t i = 0; i < 30; ++i) {
        const uint8_t *const slot = buffer.bytes.data() + size_t{i} * kSlot;
        for (uint32_t byte = 0; byte < 6; ++byte)
            EXPECT_EQ(0, slot[byte]);
        EXPECT_EQ(900 + i, LengthAt(buffer, i));
        EXPECT_EQ(i, slot[8]);
        EXPECT_EQ(i, slot[8 + 899 + i]);
        EXPECT_EQ(0xEE, slot[8 + 900 + i]) << "what no packet filled stays";
    }
}

TEST_F(Streaming, GoesRoundTheRing)
{
    TakeAll();
    auto &buffers = NewBuffers(2);
    for (Buffer &buffer : buffers)
        Queue(buffer);
    Listen();
    for (uint32_t i = 0; i < 260; ++i) { // more than two rings
        Send(30, 1000, static_cast<uint8_t>(i));
        Buffer &buffer = buffers[i % 2];
        ASSERT_EQ(kernel::Completion::kDone, Await(buffer).completion);
        ASSERT_EQ(static_cast<uint8_t>(i), buffer.bytes[8]);
        ASSERT_EQ(static_cast<uint8_t>(i), buffer.bytes[29 * kSlot + 1007]);
        ASSERT_EQ(0u, Queue(buffer));
    }
}

TEST_F(Streaming, TakesSlotsOfAnySize)
{
    for (const uint32_t size : {12u, 13u, 1011u, 9056u, 24568u}) {
        slotBytes = size;
        TakeAll();
        Buffer &buffer = NewBuffers(1)[0];
        Queue(buffer);
        Listen();
        Send(30, size - 8, 0x77);
        EXPECT_EQ(kernel::Completion::kDone, Await(buffer).completion);
        EXPECT_EQ(size - 8, LengthAt(buffer, 29, size));
        EXPECT_EQ(0x77, buffer.bytes.back());
        driver->Close(handle);
        handle = Open();
    }
}

TEST_F(Streaming, KeepsPacketsUntilThereIsABuffer)
{
    TakeAll();
    Listen();
    Send(60, 1000, 5);
    auto &buffers = NewBuffers(2);
    Settle();
    for (Buffer &buffer : buffers) {
        Queue(buffer);
        EXPECT_EQ(kernel::Completion::kDone, Await(buffer).completion);
        EXPECT_EQ(5, buffer.bytes[8]);
    }
    Buffer &third = NewBuffers(1)[0];
    Queue(third);
    EXPECT_TRUE(IsPending(third));
    Detach();
}

TEST_F(Streaming, DropsTheOldestBeforeTheRingRunsDry)
{
    TakeAll();
    Listen();
    for (uint32_t i = 0; i < 400; ++i) {
        Send(10, 1000, static_cast<uint8_t>(i));
        Settle();
    }
    Buffer &buffer = NewBuffers(1)[0];
    Queue(buffer);
    EXPECT_EQ(kernel::Completion::kDone, Await(buffer).completion);
    // 4,000 packets came, and 3,200 less 320 wait: the oldest is number 1,120.
    EXPECT_EQ(112, buffer.bytes[8]);
}

TEST_F(Streaming, MarksWhatIsTooLongOrUnwritten)
{
    test::DebugOutputCapture output;
    TakeAll();
    Buffer &buffer = NewBuffers(1)[0];
    Queue(buffer);
    Listen();
    Send(5);
    system.Send({{1005, 0x22}, {1004, 0x33}, {1000, 0x44, 1, false}, {0, 0x55}, {12, 0x66}});
    Send(20);
    EXPECT_EQ(kernel::Completion::kDone, Await(buffer).completion);
    EXPECT_EQ(1000u, LengthAt(buffer, 4));
    EXPECT_EQ(0u, LengthAt(buffer, 5)) << "longer than its slot";
    EXPECT_EQ(1004u, LengthAt(buffer, 6)) << "exactly as long";
    EXPECT_EQ(0u, LengthAt(buffer, 7)) << "told, and not there";
    EXPECT_EQ(0u, LengthAt(buffer, 8));
    EXPECT_EQ(12u, LengthAt(buffer, 9));
    EXPECT_EQ(0, buffer.bytes[6 * kSlot]) << "the long one ran into a head that isn't read";
    StopListen();
    EXPECT_TRUE(Holds(output, "1 too long, 1 unwritten, 0 untold")) << output.Text();
}

TEST_F(Streaming, CountsTheCyclesWithoutAPacket)
{
    test::DebugOutputCapture output;
    TakeAll();
    Listen();
    Buffer &buffer = NewBuffers(1)[0];
    Queue(buffer);
    // 8 seconds are 64,000 cycles: the stamp begins anew.
    system.Send({{8, 1, 1}, {8, 1, 1}, {8, 1, 5}, {8, 1, 63999}, {8, 1, 1}, {8, 1, 2}});
    Send(24);
    EXPECT_EQ(kernel::Completion::kDone, Await(buffer).completion);
    StopListen();
    EXPECT_TRUE(Holds(output, "64003 packets missing, 0 too long")) << output.Text();
}

TEST_F(Streaming, SaysNothingWhereNothingIsLost)
{
    test::DebugOutputCapture output;
    TakeAll();
    Listen();
    Buffer &buffer = NewBuffers(1)[0];
    Queue(buffer);
    Send(30);
    Await(buffer);
    StopListen();
    EXPECT_FALSE(Holds(output, "FireWire stream")) << output.Text();
}

TEST_F(Streaming, FindsBackAfterAnEventThatNeverCame)
{
    test::DebugOutputCapture output;
    TakeAll();
    Listen();
    auto &buffers = NewBuffers(40);
    for (Buffer &buffer : buffers)
        Queue(buffer);
    Send(20, 1000, 1);
    system.losesNextEvent = true;
    Send(10, 1000, 2);
    for (uint8_t i = 0; i < 110; ++i) {
        Send(10, 500u + i, static_cast<uint8_t>(i + 3));
        Settle();
    }
    for (int i = 0; i < 37; ++i)
        Await(buffers[i]);
    // Lengths and packets belong together again.
    const uint8_t fill = buffers[36].bytes[8];
    StopListen();
    EXPECT_EQ(500u + fill - 3, LengthAt(buffers[36], 0)) << output.Text();
    EXPECT_TRUE(Holds(output, "0 unwritten, 10 untold")) << output.Text();
    Detach();
}

TEST_F(Streaming, WritesToNoBufferThatWasCancelled)
{
    TakeAll();
    auto &buffers = NewBuffers(2);
    for (Buffer &buffer : buffers)
        Queue(buffer);
    Listen();
    Send(10, 1000, 1);
    Settle();
    driver->Cancel(handle, &buffers[0].block);
    EXPECT_EQ(995u, Await(buffers[0]).systemError);
    const auto before = buffers[0].bytes;
    Send(30, 1000, 2);
    EXPECT_EQ(kernel::Completion::kDone, Await(buffers[1]).completion);
    EXPECT_EQ(before, buffers[0].bytes);
    EXPECT_EQ(2, buffers[1].bytes[8]);
}

} // namespace
} // namespace zerix::bus::linux_firewire

// Streams: the ring that the kernel fills, and the buffers that are filled from it.
#include <algorithm>
#include <list>

#include "tests/bus/linux/linux_bus_fixture.h"
#include "tests/support/debug_output_capture.h"

namespace zerix::bus::linux_firewire {
namespace {

using namespace std::chrono_literals;

constexpr uint32_t kSlot = 1012;
constexpr uint32_t kBuffer = kSlot * 30;

class Streaming : public LinuxBus {
protected:
    void SetUp() override { handle = Open(); }
    void TearDown() override { driver->Close(handle); }

    uint32_t TakeResources(uint32_t speedFlag = kernel::kSpeedFlag800)
    {
        resources = {.speedFlag = speedFlag,
                     .flags = kernel::kResourceFlags,
                     .channel = channel.channel,
                     .slotBytes = slotBytes,
                     .bufferCount = kernel::kAnnouncedBuffers,
                     .bufferBytes = slotBytes * 30,
                     .stripQuadlets = 0,
                     .tag = 1,
                     .handle = 0};
        return Exchange(handle, kernel::kControlAllocateResources, resources);
    }
    void TakeAll()
    {
        bandwidth.slotBytes = slotBytes;
        ASSERT_EQ(0u, TakeBandwidth(handle));
        ASSERT_EQ(0u, TakeChannel(handle));
        ASSERT_EQ(0u, TakeResources());
    }

    struct Buffer {
        std::vector<uint8_t> bytes;
        kernel::Overlapped block;
        kernel::ControlResult sent{};
    };
    // They stay until the handle is closed, as some are queued until then.
    std::vector<Buffer> &NewBuffers(size_t count) { return m_buffers.emplace_back(count); }
    uint32_t Queue(Buffer &buffer)
    {
        buffer.bytes.assign(slotBytes * size_t{30}, 0xEE);
        buffer.sent =
            driver->Control(handle, kernel::kControlQueueBuffer, buffer.bytes.data(),
                            slotBytes * 30, buffer.bytes.data(), slotBytes * 30, &buffer.block);
        return buffer.sent.systemError;
    }
    kernel::ControlResult Await(Buffer &buffer)
    {
        return buffer.sent.completion == kernel::Completion::kPending
                   ? driver->Wait(handle, &buffer.block)
                   : buffer.sent;
    }
    bool IsPending(Buffer &buffer)
    {
        return driver->WaitFor(handle, &buffer.block, 0).completion == kernel::Completion::kPending;
    }
    uint32_t Listen()
    {
        kernel::ListenRequest listen{.resources = resources.handle, .zero = {}};
        return Exchange(handle, kernel::kControlListen, listen);
    }
    uint32_t StopListen()
    {
        kernel::StopRequest stop{.resources = resources.handle, .zero = 0};
        return Exchange(handle, kernel::kControlStopListen, stop);
    }
    uint32_t Detach() { return Word(handle, kernel::kControlDetachBuffers, resources.handle); }

    void Send(uint32_t count, uint32_t length = 1000, uint8_t fill = 0x11)
    {
        system.Send(std::vector<ScriptedKernel::Packet>(count, {length, fill}));
    }
    // The events that have come are served, one in each turn of the event thread.
    void Settle()
    {
        Read(handle);
        Read(handle);
    }
    static bool Holds(const test::DebugOutputCapture &output, const std::string &text)
    {
        return output.Text().find(text) != std::string::npos;
    }
    static uint32_t LengthAt(const Buffer &buffer, uint32_t slot, uint32_t slotSize = kSlot)
    {
        uint16_t length = 0;
        std::memcpy(&length, buffer.bytes.data() + size_t{slot} * slotSize + 6, 2);
        return length;
    }

    kernel::DeviceHandle handle = 0;
    kernel::ResourcesRequest resources{};
    uint32_t slotBytes = kSlot;

private:
    std::list<std::vector<Buffer>> m_buffers;
};

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

// Odd slots too.
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

// Who doesn't take them loses the oldest: the kernel always has slots.
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

// The kernel had no memory for an event: all later ones are told for slots before theirs.
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
    for (uint8_t i = 0; i < 60; ++i) {
        Send(10, 500u + i, static_cast<uint8_t>(i + 3));
        Settle();
    }
    for (int i = 0; i < 15; ++i)
        Await(buffers[i]);
    // Lengths and packets belong together again.
    const uint8_t fill = buffers[14].bytes[8];
    EXPECT_EQ(500u + fill - 3, LengthAt(buffers[14], 0));
    StopListen();
    EXPECT_TRUE(Holds(output, "10 untold")) << output.Text();
    Detach();
}

TEST_F(Streaming, QueuesOnWhereTheKernelTakesFewer)
{
    TakeAll();
    system.mostQueuedAtOnce = 7;
    Buffer &buffer = NewBuffers(1)[0];
    Queue(buffer);
    EXPECT_EQ(0u, Listen());
    Send(30, 1000, 9);
    EXPECT_EQ(kernel::Completion::kDone, Await(buffer).completion);
    EXPECT_EQ(9, buffer.bytes[29 * kSlot + 8]);
}

TEST_F(Streaming, TellsWhyItCantStart)
{
    TakeAll();
    system.ioctlErrors[FW_CDEV_IOC_QUEUE_ISO] = {-ENOMEM};
    EXPECT_EQ(1450u, Listen());
    system.mostQueuedAtOnce = 0;
    EXPECT_EQ(1450u, Listen());
    system.mostQueuedAtOnce = 5000;
    system.ioctlErrors[FW_CDEV_IOC_START_ISO] = {-EIO};
    EXPECT_EQ(31u, Listen());
    EXPECT_EQ(0u, Listen());
    EXPECT_EQ(0u, Listen()) << "it listens already";
    EXPECT_EQ(4u, system.contexts) << "each try has a context of its own";
}

TEST_F(Streaming, EndsItsBuffersWhenTheyAreDetached)
{
    TakeAll();
    auto &buffers = NewBuffers(3);
    for (Buffer &buffer : buffers)
        Queue(buffer);
    Listen();
    Send(40);
    EXPECT_EQ(kernel::Completion::kDone, Await(buffers[0]).completion);
    EXPECT_EQ(0u, StopListen());
    EXPECT_TRUE(IsPending(buffers[1]));
    EXPECT_EQ(0u, Detach());
    EXPECT_EQ(995u, Await(buffers[1]).systemError);
    EXPECT_EQ(995u, Await(buffers[2]).systemError);
}

// A stopped context is never started again, and its memory is given back before its file.
TEST_F(Streaming, ListensAgainWithANewFile)
{
    TakeAll();
    Listen();
    EXPECT_EQ(0u, StopListen());
    EXPECT_EQ(0u, Listen());
    Buffer &buffer = NewBuffers(1)[0];
    Queue(buffer);
    Send(30, 1000, 3);
    EXPECT_EQ(kernel::Completion::kDone, Await(buffer).completion);
    EXPECT_EQ(2u, system.contexts);
    EXPECT_EQ(0u, Word(handle, kernel::kControlFreeResources, resources.handle));
    ASSERT_TRUE(system.Await(
        [&] { return std::count(system.log.begin(), system.log.end(), "close fw1") == 2; }));
    std::vector<std::string> expected = {"lock",  "context on 0", "start",        "stop",
                                         "unmap", "close fw1",    "context on 0", "start",
                                         "stop",  "unmap",        "close fw1"};
    if (system.log[5] != "close fw1") // the next context may be there first
        std::swap(expected[5], expected[6]);
    EXPECT_EQ(expected, system.log);
}

// The channel is busy until the last ring's file is closed.
TEST_F(Streaming, WaitsForTheChannelThatItHadItself)
{
    TakeAll();
    Listen();
    StopListen();
    system.ioctlErrors[FW_CDEV_IOC_CREATE_ISO_CONTEXT].assign(3, -EBUSY);
    EXPECT_EQ(0u, Listen());
    StopListen();
    const auto before = system.Now();
    system.ioctlErrors[FW_CDEV_IOC_CREATE_ISO_CONTEXT].assign(1000, -EBUSY);
    EXPECT_EQ(1450u, Listen());
    EXPECT_GE(600ms, system.Now() - before);
}

TEST_F(Streaming, RefusesWhatCantBe)
{
    EXPECT_EQ(87u, TakeResources()) << "without a channel";
    TakeChannel(handle);
    EXPECT_EQ(87u, TakeResources()) << "without bandwidth";
    TakeBandwidth(handle);
    for (int i = 0; i < 6; ++i) {
        TakeResources();
        Word(handle, kernel::kControlFreeResources, resources.handle);
        auto bad = resources;
        bad.flags = i == 0 ? 0 : bad.flags;
        bad.bufferBytes += i == 1 ? 1 : 0;
        bad.speedFlag = i == 2 ? 2 : bad.speedFlag;
        bad.stripQuadlets = i == 3 ? 1 : 0;
        bad.bufferCount = i == 4 ? 0 : bad.bufferCount;
        bad.slotBytes = i == 5 ? 11 : bad.slotBytes;
        EXPECT_EQ(87u, Exchange(handle, kernel::kControlAllocateResources, bad)) << i;
    }
    EXPECT_EQ(0u, TakeResources());
    EXPECT_EQ(170u, TakeResources()) << "one at a time";
    Buffer &buffer = NewBuffers(1)[0];
    EXPECT_EQ(87u, Word(handle, kernel::kControlFreeResources, 99));
    EXPECT_EQ(87u, Word(handle, kernel::kControlDetachBuffers, 99));
    slotBytes = 500;
    EXPECT_EQ(87u, Queue(buffer)) << "a buffer of another size";
    slotBytes = kSlot;
    auto &buffers = NewBuffers(62);
    for (size_t i = 0; i < 61; ++i)
        EXPECT_EQ(0u, Queue(buffers[i]));
    EXPECT_EQ(1450u, Queue(buffers[61]));
    driver->Cancel(handle, &buffers[0].block);
    EXPECT_EQ(0u, Queue(buffers[61]));
    Detach();
}

TEST_F(Streaming, RefusesTheFastSpeedOnASlowBus)
{
    driver->Close(handle);
    Camera().speed = 2;
    handle = Open();
    TakeChannel(handle);
    TakeBandwidth(handle);
    EXPECT_EQ(1012u, system.allocations.back().bandwidth);
    EXPECT_EQ(1450u, TakeResources(kernel::kSpeedFlag800));
    EXPECT_EQ(0u, TakeResources(kernel::kSpeedFlag400));
}

TEST_F(Streaming, RefusesASlotThatTheKernelCantDescribe)
{
    slotBytes = 24 * 1024;
    bandwidth.slotBytes = slotBytes;
    TakeBandwidth(handle);
    TakeChannel(handle);
    EXPECT_EQ(1450u, TakeResources());
}

TEST_F(Streaming, TellsWhyThereIsNoRing)
{
    TakeBandwidth(handle);
    TakeChannel(handle);
    system.mapError = -ENOMEM;
    EXPECT_EQ(1450u, TakeResources());
    system.mapError = 0;
    system.ioctlErrors[FW_CDEV_IOC_CREATE_ISO_CONTEXT] = {-EIO};
    EXPECT_EQ(31u, TakeResources());
    Camera().openErrors = {-EMFILE};
    EXPECT_EQ(1450u, TakeResources());
    EXPECT_EQ(0u, TakeResources());
    Word(handle, kernel::kControlFreeResources, resources.handle);
    Camera().openErrors = {-ENOENT};
    EXPECT_EQ(1167u, TakeResources()) << "it is gone";
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

// Silence for a tenth of a second: the camera is asked once whether it is there.
TEST_F(Streaming, LooksAfterASilentCamera)
{
    TakeAll();
    system.movesTime = false;
    Listen();
    system.Sleep(99ms);
    Settle();
    EXPECT_EQ(0u, system.Locked([&] { return system.probes; }));
    system.Sleep(1ms);
    ASSERT_TRUE(system.Await([&] { return system.probes == 1; }));
    EXPECT_EQ(0u, Read(handle)); // it is stuck, and not lost
    system.Sleep(5s);
    Read(handle);
    EXPECT_EQ(1u, system.Locked([&] { return system.probes; }));
    Send(10);
    Settle();
    system.Sleep(100ms);
    EXPECT_TRUE(system.Await([&] { return system.probes == 2; }));
}

TEST_F(Streaming, EndsItsBuffersWhenTheCameraIsUnplugged)
{
    system.NodeNamed("fw0").openErrors = {-EACCES};
    driver->Close(handle);
    handle = Open(); // without the card's alarm
    TakeAll();
    system.movesTime = false;
    auto &buffers = NewBuffers(2);
    for (Buffer &buffer : buffers)
        Queue(buffer);
    Listen();
    Send(40);
    EXPECT_EQ(kernel::Completion::kDone, Await(buffers[0]).completion);
    const auto before = system.Now();
    system.Locked([&] {
        Camera().isStale = true;
        return system.movesTime = true;
    });
    EXPECT_EQ(1167u, Await(buffers[1]).systemError);
    EXPECT_LE(800ms, system.Now() - before);
    EXPECT_GE(1s, system.Now() - before);
    Buffer &after = NewBuffers(1)[0];
    EXPECT_EQ(1167u, Queue(after));
    EXPECT_EQ(0u, StopListen());
    EXPECT_EQ(0u, Detach());
}

TEST_F(Streaming, IsOverWhenTheKernelGivesTheNodeUp)
{
    TakeAll();
    system.movesTime = false;
    Buffer &buffer = NewBuffers(1)[0];
    Queue(buffer);
    Listen();
    system.Locked([&] { return Camera().isShutDown = true; });
    EXPECT_EQ(1167u, Await(buffer).systemError);
    EXPECT_TRUE(system.Await(
        [&] { return std::count(system.log.begin(), system.log.end(), "close fw1") == 2; }));
}

TEST_F(Streaming, ClosesInTheMiddleWithoutWaiting)
{
    TakeAll();
    Buffer &buffer = NewBuffers(1)[0];
    Queue(buffer);
    Listen();
    Send(15);
    system.Locked([&] { return system.closesBlock = true; });
    driver->Close(handle);
    EXPECT_EQ(995u, Await(buffer).systemError);
    const auto log = system.Locked([&] { return system.log; });
    EXPECT_EQ(
        (std::vector<std::string>{"lock", "context on 0", "start", "unlock", "stop", "unmap"}),
        log);
    EXPECT_EQ((std::vector<uint32_t>{0, 1}), system.deallocations);
    system.Locked([&] { return system.closesBlock = false; });
}

} // namespace
} // namespace zerix::bus::linux_firewire

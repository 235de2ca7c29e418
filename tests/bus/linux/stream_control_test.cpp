// Streams begun and ended, what is refused, and what a loss does to them.
#include <thread>

#include "tests/bus/linux/streaming_fixture.h"

namespace zerix::bus::linux_firewire {
namespace {

using namespace std::chrono_literals;

class StreamControl : public Streaming {};

TEST_F(StreamControl, QueuesOnWhereTheKernelTakesFewer)
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

// It has no file of the event any more, whose number may be another's by then.
TEST_F(StreamControl, MayBeClosedWhileItsRingIsMade)
{
    system.holdsContexts = true;
    TakeBandwidth(handle);
    TakeChannel(handle);
    std::thread maker([this] { EXPECT_EQ(6u, TakeResources()); });
    ASSERT_TRUE(system.Await([this] { return system.contexts == 1; }));
    driver->Close(handle);
    EXPECT_TRUE(driver->AwaitClosed(20s));
    system.Locked([this] { return system.holdsContexts = false; });
    maker.join();
    EXPECT_TRUE(system.AwaitNoFiles()) << system.files();
}

// When the kernel took nothing more, no event tells that it would again.
TEST_F(StreamControl, OffersItsSlotsAgainAfterASilence)
{
    TakeAll();
    std::vector<Buffer> &buffers = NewBuffers(2);
    Queue(buffers[0]);
    Queue(buffers[1]);
    EXPECT_EQ(0u, Listen());
    system.Locked([this] { return system.movesTime = false; });
    system.Locked([this] { return system.mostQueuedAtOnce = 0; });
    Send(30);
    EXPECT_EQ(kernel::Completion::kDone, Await(buffers[0]).completion);
    Settle();
    const auto before = system.Locked([this] { return system.queued; });
    system.Locked([this] { return system.mostQueuedAtOnce = 0xFFFFFFFF; });
    system.Locked([this] { return system.movesTime = true; });
    EXPECT_TRUE(system.Await([&] { return system.queued == before + 30; }));
}

TEST_F(StreamControl, TellsWhyItCantStart)
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

TEST_F(StreamControl, EndsItsBuffersWhenTheyAreDetached)
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

TEST_F(StreamControl, ListensAgainWithANewFile)
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
    std::vector<std::string> log = system.Locked([&] { return system.log; });
    std::erase(log, "close fw1"); // comes when it comes, but after the unmap
    EXPECT_EQ((std::vector<std::string>{"lock", "context on 0", "start", "stop", "unmap",
                                        "context on 0", "start", "stop", "unmap"}),
              log);
}

// The channel is busy until the last ring's file is closed.

TEST_F(StreamControl, WaitsForTheChannelThatItHadItself)
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

TEST_F(StreamControl, RefusesWhatCantBe)
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

TEST_F(StreamControl, RefusesTheFastSpeedOnASlowBus)
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

TEST_F(StreamControl, RefusesASlotThatTheKernelCantDescribe)
{
    slotBytes = 24 * 1024;
    bandwidth.slotBytes = slotBytes;
    TakeBandwidth(handle);
    TakeChannel(handle);
    EXPECT_EQ(1450u, TakeResources());
}

TEST_F(StreamControl, TellsWhyThereIsNoRing)
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

// Silence for a tenth of a second: the camera is asked once whether it is there.

TEST_F(StreamControl, LooksAfterASilentCamera)
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

TEST_F(StreamControl, EndsItsBuffersWhenTheCameraIsUnplugged)
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

TEST_F(StreamControl, IsOverWhenTheKernelGivesTheNodeUp)
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

TEST_F(StreamControl, ClosesInTheMiddleWithoutWaiting)
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

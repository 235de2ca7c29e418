// Open files, events, locks, maps and the clock.
#include <algorithm>
#include <cerrno>
#include <thread>

#include "tests/linux_model/process_fixture.h"

namespace zerix::linux_model {
namespace {

using namespace std::chrono_literals;
using Files = ProcessTest;

TEST_F(Files, TakeTheLowestNumber)
{
    Boot();
    EXPECT_EQ(Model().Open("/dev/fw0"), 3);
    EXPECT_EQ(Model().MakeEvent(), 4);
    Close(3);
    EXPECT_EQ(Model().Open("/dev/fw1"), 3);
    Close(3);
    Close(4);
    EXPECT_EQ(Model().Close(4), -EBADF);
    EXPECT_EQ(Model().Open("/dev/fw7"), -ENOENT);
    EXPECT_EQ(Model().Open("/dev/null"), -ENOENT);
}

TEST_F(Files, OfEventsPollAsReadableFromSignalToClear)
{
    Boot();
    const int event = Model().MakeEvent();
    EXPECT_EQ(Polled(event), 0);
    EXPECT_EQ(Model().Signal(event), 0);
    EXPECT_EQ(Model().Signal(event), 0);
    EXPECT_EQ(Polled(event), POLLIN);
    EXPECT_EQ(Model().Clear(event), 0);
    EXPECT_EQ(Polled(event), 0);
    Close(event);
    EXPECT_EQ(Polled(event), POLLNVAL);
}

TEST_F(Files, WakeAPollThatWaits)
{
    Boot();
    const int event = Model().MakeEvent();
    int count = 0;
    pollfd polled[] = {{.fd = -1, .events = POLLIN, .revents = 9},
                       {.fd = event, .events = POLLIN, .revents = 0}};
    std::thread waiter([&] { count = Model().Poll(polled, -1); });
    EXPECT_EQ(Model().Signal(event), 0);
    waiter.join();
    EXPECT_EQ(count, 1);
    EXPECT_EQ(polled[0].revents, 0);
    EXPECT_EQ(polled[1].revents, POLLIN);
    Close(event);
}

TEST_F(Files, EndAPollAtItsTime)
{
    Boot();
    const int event = Model().MakeEvent();
    pollfd polled{.fd = event, .events = POLLIN, .revents = 0};
    const auto start = Model().Now();
    int count = 7;
    std::thread waiter([&] { count = Model().Poll({&polled, 1}, 50); });
    while (Model().Now() < start + 10s)
        Model().Advance(1s); // the thread may begin late
    std::atomic<bool> isOver = false;
    std::thread pusher([&] {
        while (!isOver)
            Model().Advance(1s);
    });
    waiter.join();
    isOver = true;
    pusher.join();
    EXPECT_EQ(count, 0);
    Close(event);
}

// The lock belongs to the open file, not to the process.
TEST_F(Files, LockACameraForOthers)
{
    Boot();
    const int first = OpenFile("/dev/fw1");
    const int second = OpenFile("/dev/fw1");
    const int other = OpenFile("/dev/fw2");
    EXPECT_EQ(Model().IsLockedElsewhere(first), 0);
    EXPECT_EQ(Model().Lock(first), 0);
    EXPECT_EQ(Model().Lock(first), 0);
    EXPECT_EQ(Model().IsLockedElsewhere(first), 0);
    EXPECT_EQ(Model().IsLockedElsewhere(second), 1);
    EXPECT_EQ(Model().Lock(second), -EAGAIN);
    EXPECT_EQ(Model().Unlock(second), 0); // not its own
    EXPECT_EQ(Model().Lock(second), -EAGAIN);
    EXPECT_EQ(Model().Lock(other), 0);
    EXPECT_EQ(Model().Unlock(first), 0);
    EXPECT_EQ(Model().Lock(second), 0);
    Close(second);
    EXPECT_EQ(Model().IsLockedElsewhere(first), 0);
    Close(first);
    Close(other);
}

TEST_F(Files, AreLockedByAProcessOutside)
{
    Boot("in-use = true\n");
    const int camera = OpenFile("/dev/fw1");
    EXPECT_EQ(Model().IsLockedElsewhere(camera), 1);
    EXPECT_EQ(Model().Lock(camera), -EAGAIN);
    const int other = OpenFile("/dev/fw2");
    Model().LockElsewhere("fw2", true);
    EXPECT_EQ(Model().Lock(other), -EAGAIN);
    Model().LockElsewhere("fw2", false);
    EXPECT_EQ(Model().Lock(other), 0);
    Close(camera);
    Close(other);
}

// What was booked once and given back doesn't mark the camera.
TEST_F(Files, AreNotLockedByABookingThatIsOver)
{
    Boot();
    const int first = OpenFile("/dev/fw1");
    EXPECT_EQ(Allocate(first, 0, 100, 1), 0);
    Model().Advance(0s);
    EXPECT_EQ(Deallocate(first, 0), 0);
    Model().Advance(0s);
    const int second = OpenFile("/dev/fw1");
    EXPECT_EQ(Model().IsLockedElsewhere(second), 0);
    Close(first);
    Close(second);
}

TEST_F(Files, AreMappedOnceInTheirLife)
{
    Boot();
    const int camera = OpenFile("/dev/fw1");
    int error = 0;
    auto *const memory = static_cast<uint8_t *>(Model().Map(camera, 10000, error));
    ASSERT_NE(memory, nullptr);
    EXPECT_EQ(error, 0);
    EXPECT_EQ(std::count(memory, memory + 12288, 0), 12288);
    EXPECT_EQ(Model().Map(camera, 10000, error), nullptr);
    EXPECT_EQ(error, -EBUSY);
    EXPECT_EQ(Model().Unmap(memory + 1, 10000), -EINVAL);
    EXPECT_EQ(Model().Unmap(memory, 10000), 0);
    EXPECT_EQ(Model().Map(camera, 10000, error), nullptr);
    EXPECT_EQ(error, -EBUSY);
    Close(camera);
    EXPECT_EQ(Model().Map(camera, 10000, error), nullptr);
    EXPECT_EQ(error, -EBADF);
}

TEST_F(Files, KeepEverythingWhileTheyAreMapped)
{
    Boot();
    const int camera = OpenFile("/dev/fw1");
    int error = 0;
    void *const memory = Model().Map(camera, 4096, error);
    EXPECT_EQ(Allocate(camera, 1, 100, 1), 0);
    Model().Advance(0s);
    EXPECT_EQ(CreateContext(camera, 0, 8, 1), 0);
    EXPECT_EQ(Model().Lock(camera), 0);
    Close(camera);
    EXPECT_EQ(
        Model().WhatIsHeld(),
        (KernelModel::Held{.maps = 1, .locks = 1, .contexts = 1, .channels = 1, .units = 100}));
    EXPECT_EQ(Model().Unmap(memory, 4096), 0);
    EXPECT_EQ(Model().WhatIsHeld(), KernelModel::Held{});
}

TEST_F(Files, MayBeRefused)
{
    Boot();
    using Call = KernelModel::Call;
    Model().FailNext(Call::kOpen, EMFILE);
    EXPECT_EQ(Model().Open("/dev/fw1"), -EMFILE);
    const int camera = OpenFile("/dev/fw1");
    Model().FailNext(Call::kMakeEvent, EMFILE);
    EXPECT_EQ(Model().MakeEvent(), -EMFILE);
    Model().FailNext(Call::kMap, ENOMEM);
    int error = 0;
    EXPECT_EQ(Model().Map(camera, 4096, error), nullptr);
    EXPECT_EQ(error, -ENOMEM);
    Model().FailNext(Call::kLock, ENOLCK);
    EXPECT_EQ(Model().Lock(camera), -ENOLCK);
    Model().FailNext(Call::kPoll, EINTR);
    pollfd polled{.fd = camera, .events = POLLIN, .revents = 0};
    EXPECT_EQ(Model().Poll({&polled, 1}, 0), -EINTR);
    EXPECT_EQ(Model().Poll({&polled, 1}, 0), 0);
    Close(camera);
}

// 7 bits of seconds, 13 of cycles, 12 of a cycle's 3,072 parts.
TEST_F(Files, ReadTheCycleTimerWithTheClock)
{
    Boot();
    const int local = OpenFile("/dev/fw0");
    const auto now = Model().Now();
    Model().Advance(1s - now % 1s + 250ms);
    fw_cdev_get_cycle_timer2 timer{};
    timer.clk_id = CLOCK_MONOTONIC;
    EXPECT_EQ(Model().Ioctl(local, FW_CDEV_IOC_GET_CYCLE_TIMER2, &timer), 0);
    EXPECT_EQ(timer.tv_nsec, 250'000'000);
    EXPECT_EQ(timer.cycle_timer >> 25, static_cast<uint32_t>(timer.tv_sec) % 128);
    EXPECT_EQ(timer.cycle_timer >> 12 & 0x1FFF, 2000u);
    EXPECT_EQ(timer.cycle_timer & 0xFFF, 0u);
    timer.clk_id = 12345;
    EXPECT_EQ(Model().Ioctl(local, FW_CDEV_IOC_GET_CYCLE_TIMER2, &timer), -EINVAL);
    fw_cdev_get_cycle_timer older{};
    EXPECT_EQ(Model().Ioctl(local, FW_CDEV_IOC_GET_CYCLE_TIMER, &older), 0);
    EXPECT_EQ(older.cycle_timer >> 12 & 0x1FFF, 2000u);
    EXPECT_EQ(Model().Ioctl(local, _IO('#', 0x99), nullptr), -ENOTTY);
    EXPECT_EQ(Model().Ioctl(local, _IO('$', 0x11), nullptr), -ENOTTY);
    Close(local);
}

TEST(FilesClock, RunsFasterThanTheWallClock)
{
    ASSERT_EQ(ZerixSim_ChooseRack(nullptr), 0u);
    KernelModel model({.speedUp = 1000});
    const auto real = std::chrono::steady_clock::now();
    const auto start = model.Now();
    model.Sleep(5s);
    EXPECT_GE(model.Now() - start, 5s);
    EXPECT_LT(std::chrono::steady_clock::now() - real, 4s);
}

} // namespace
} // namespace zerix::linux_model

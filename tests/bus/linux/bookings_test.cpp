// The claim on a camera, bandwidth and channels.
#include <thread>

#include "tests/bus/linux/linux_bus_fixture.h"

namespace zerix::bus::linux_firewire {
namespace {

using namespace std::chrono_literals;

class Bookings : public LinuxBus {};

TEST_F(Bookings, AreAskedForInUnitsOfTheBusesSpeed)
{
    struct Case {
        uint32_t slotBytes;
        int speed;
        uint32_t units;
    };
    const Case cases[] = {
        {1012, 2, 1012}, {1012, 3, 506},  {1013, 3, 507},  {1012, 5, 506},
        {1012, 1, 2024}, {1012, 0, 4048}, {9056, 3, 4528}, {9056, 2, 4915},
        {5012, 2, 4915}, {1, 3, 1},       {0, 3, 0},       {0xFFFFFFFF, 0, 4915},
    };
    for (const Case &c : cases)
        EXPECT_EQ(c.units, BandwidthUnits(c.slotBytes, c.speed)) << c.slotBytes << " " << c.speed;
}

TEST_F(Bookings, OfBandwidthClaimTheCamera)
{
    const auto handle = Open();
    const auto other = Open();
    EXPECT_EQ(0u, IsOpen(handle));
    EXPECT_EQ(0u, TakeBandwidth(handle));
    ASSERT_EQ(1u, system.allocations.size());
    EXPECT_EQ(506u, system.allocations[0].bandwidth);
    EXPECT_EQ(0u, system.allocations[0].channels);
    EXPECT_EQ(1u, IsOpen(handle));
    EXPECT_EQ(1u, IsOpen(other));
    EXPECT_EQ(170u, TakeBandwidth(other));
    // Until the handle is closed, whatever is given back.
    TakeBandwidth(handle);
    EXPECT_EQ(0u, Word(handle, kernel::kControlFreeBandwidth, 1));
    EXPECT_EQ(0u, Word(handle, kernel::kControlFreeBandwidth, 2));
    EXPECT_EQ(1u, IsOpen(other));
    driver->Close(handle);
    EXPECT_EQ(0u, IsOpen(other));
    EXPECT_EQ(0u, TakeBandwidth(other));
}

// The first is refused while the second still waits.
TEST_F(Bookings, KeepTheClaimForWhoStillAsks)
{
    const auto handle = Open();
    const auto other = Open();
    system.answersBookings = false;
    system.movesTime = false;
    const auto ask = [&] {
        kernel::BandwidthRequest request = bandwidth;
        return Exchange(handle, kernel::kControlAllocateBandwidth, request);
    };
    const auto asked = [&](size_t count) {
        return system.Await([&, count] { return system.allocations.size() == count; });
    };
    std::thread first([&] { EXPECT_EQ(1450u, ask()); });
    ASSERT_TRUE(asked(1));
    std::thread second([&] { EXPECT_EQ(0u, ask()); });
    ASSERT_TRUE(asked(2));
    system.TellGranted(system.allocations[0].closure, 0, -EBUSY, 0);
    first.join();
    EXPECT_EQ(1u, IsOpen(other));
    system.TellGranted(system.allocations[1].closure, 1, -EINVAL, 506);
    second.join();
    system.movesTime = true;
    EXPECT_EQ(1u, IsOpen(other));
    EXPECT_EQ(170u, TakeBandwidth(other));
}

TEST_F(Bookings, ClaimNothingThatAnotherProgramHas)
{
    const auto handle = Open();
    system.isLockedByOthers = true;
    EXPECT_EQ(1u, IsOpen(handle));
    EXPECT_EQ(170u, TakeBandwidth(handle));
    EXPECT_TRUE(system.allocations.empty());
    system.lockError = -EIO;
    EXPECT_EQ(31u, TakeBandwidth(handle));
    EXPECT_EQ(31u, IsOpen(handle));
}

TEST_F(Bookings, ThatAreRefusedLeaveNoClaim)
{
    const auto handle = Open();
    const auto other = Open();
    system.refusesResources = true;
    EXPECT_EQ(1450u, TakeBandwidth(handle));
    EXPECT_EQ(1450u, TakeChannel(handle));
    EXPECT_EQ(0u, IsOpen(other));
    system.refusesResources = false;
    EXPECT_EQ(0u, TakeBandwidth(other));
    // After a grant a refusal leaves it.
    system.refusesResources = true;
    EXPECT_EQ(1450u, TakeBandwidth(other));
    EXPECT_EQ(1u, IsOpen(handle));
}

TEST_F(Bookings, OfAnyChannelLeaveTwoOut)
{
    const auto handle = Open();
    EXPECT_EQ(0u, TakeChannel(handle));
    EXPECT_EQ(0x7FFFFFFF7FFFFFFFu, system.allocations[0].channels);
    EXPECT_EQ(0u, system.allocations[0].bandwidth);
    EXPECT_EQ(0u, channel.channel);
    channel.request = 40;
    EXPECT_EQ(0u, TakeChannel(handle));
    EXPECT_EQ(uint64_t{1} << 40, system.allocations[1].channels);
    EXPECT_EQ(40u, channel.channel);
    channel.request = 64;
    EXPECT_EQ(87u, TakeChannel(handle));
}

TEST_F(Bookings, AreGivenBackOnce)
{
    const auto handle = Open();
    TakeBandwidth(handle);
    TakeChannel(handle);
    EXPECT_EQ(87u, Word(handle, kernel::kControlFreeChannel, 1));
    EXPECT_EQ(0u, Word(handle, kernel::kControlFreeChannel, 0));
    EXPECT_EQ(87u, Word(handle, kernel::kControlFreeChannel, 0));
    EXPECT_EQ(0u, Word(handle, kernel::kControlFreeBandwidth, bandwidth.handle));
    EXPECT_EQ(87u, Word(handle, kernel::kControlFreeBandwidth, bandwidth.handle));
    EXPECT_EQ((std::vector<uint32_t>{1, 0}), system.deallocations);
}

// The kernel's answer may never come; one that comes later is given back.
TEST_F(Bookings, AreWaitedForWithPatience)
{
    const auto handle = Open();
    system.answersBookings = false;
    const auto before = system.Now();
    EXPECT_EQ(1450u, TakeBandwidth(handle));
    EXPECT_EQ(2500ms, system.Now() - before);
    EXPECT_EQ(0u, IsOpen(handle));
    system.TellGranted(system.allocations[0].closure, 0, -EINVAL, 506);
    EXPECT_TRUE(system.Await([&] { return system.deallocations.size() == 1; }));
}

TEST_F(Bookings, ThatArentTakenBackInTimeAreGivenUp)
{
    const auto handle = Open();
    TakeChannel(handle);
    system.answersBookings = false;
    const auto before = system.Now();
    EXPECT_EQ(0u, Word(handle, kernel::kControlFreeChannel, 0));
    EXPECT_EQ(1s, system.Now() - before);
}

TEST_F(Bookings, TellTheKernelsErrors)
{
    const auto handle = Open();
    system.ioctlErrors[FW_CDEV_IOC_ALLOCATE_ISO_RESOURCE] = {-EINVAL, -ENOMEM};
    EXPECT_EQ(87u, TakeBandwidth(handle));
    EXPECT_EQ(1450u, TakeChannel(handle));
    bandwidth.slotBytes = 0;
    EXPECT_EQ(87u, TakeBandwidth(handle));
    // What the kernel doesn't know any more is given back.
    TakeChannel(handle);
    system.ioctlErrors[FW_CDEV_IOC_DEALLOCATE_ISO_RESOURCE] = {-EINVAL};
    EXPECT_EQ(0u, Word(handle, kernel::kControlFreeChannel, 0));
    system.ioctlErrors[FW_CDEV_IOC_ALLOCATE_ISO_RESOURCE] = {-ENODEV};
    EXPECT_EQ(1167u, TakeChannel(handle));
}

TEST_F(Bookings, EndWithTheClose)
{
    const auto handle = Open();
    system.movesTime = false;
    system.answersBookings = false;
    std::thread taker([&] { EXPECT_EQ(995u, TakeBandwidth(handle)); });
    ASSERT_TRUE(system.Await([&] { return system.allocations.size() == 1; }));
    driver->Close(handle);
    taker.join();
}

// After a bus reset the kernel books anew; where it can't, the stream has lost its place.
TEST_F(Bookings, ThatTheBusTakesAwayAreALoss)
{
    const auto handle = Open();
    TakeBandwidth(handle);
    Access access;
    system.codes = {ScriptedKernel::kHang};
    system.movesTime = false;
    BeginRead(handle, access);
    system.TellDeallocated(system.allocations[0].closure, system.allocations[0].handle);
    EXPECT_EQ(1167u, End(handle, access).systemError);
    EXPECT_EQ(1167u, IsOpen(handle));
    EXPECT_EQ(0u, Word(handle, kernel::kControlFreeBandwidth, bandwidth.handle));
}

} // namespace
} // namespace zerix::bus::linux_firewire

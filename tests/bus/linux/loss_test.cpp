// An unplug, and the camera's return.
#include "tests/bus/linux/linux_bus_fixture.h"

namespace zerix::bus::linux_firewire {
namespace {

using namespace std::chrono_literals;

class Loss : public LinuxBus {
protected:
    // As it looks from here: the card tells of a reset, and the camera answers no more.
    void Unplug()
    {
        system.Locked([&] { return Camera().isStale = true; });
        system.TellReset("fw0", 8);
    }
};

// The requests were acknowledged, so that the kernel keeps them for two seconds.
TEST_F(Loss, EndsEverythingWithinASecond)
{
    const auto handle = Open();
    TakeBandwidth(handle);
    system.movesTime = false;
    system.codes = {ScriptedKernel::kHang, ScriptedKernel::kHang};
    Access first;
    Access second;
    BeginRead(handle, first);
    BeginRead(handle, second);
    kernel::BusEventRecord record{};
    kernel::Overlapped block;
    EXPECT_EQ(kernel::Completion::kPending,
              driver
                  ->Control(handle, kernel::kControlBusEventWait, &record, sizeof record, &record,
                            sizeof record, &block)
                  .completion);
    const auto before = system.Now();
    Unplug();
    system.Locked([&] { return system.movesTime = true; });
    EXPECT_EQ(1167u, End(handle, first).systemError);
    EXPECT_EQ(1167u, End(handle, second).systemError);
    EXPECT_EQ(1167u, driver->Wait(handle, &block).systemError);
    EXPECT_LE(700ms, system.Now() - before);
    EXPECT_GE(900ms, system.Now() - before);
}

// Not every user may open the card's file.
TEST_F(Loss, IsNoticedWithoutTheCard)
{
    system.NodeNamed("fw0").openErrors = {-EACCES};
    const auto handle = Open();
    system.codes = {ScriptedKernel::kHang};
    system.movesTime = false;
    Access access;
    BeginRead(handle, access);
    const auto before = system.Now();
    Unplug();
    system.Locked([&] { return system.movesTime = true; });
    EXPECT_EQ(1167u, End(handle, access).systemError);
    EXPECT_GE(1s, system.Now() - before);
}

TEST_F(Loss, IsToldByEveryRequestAfterwards)
{
    const auto handle = Open();
    TakeBandwidth(handle);
    TakeChannel(handle);
    Unplug();
    EXPECT_EQ(1167u, Read(handle));
    EXPECT_EQ(1167u, Write(handle, {1, 2, 3, 4}));
    EXPECT_EQ(1167u, IsOpen(handle));
    EXPECT_EQ(1167u, TakeBandwidth(handle));
    EXPECT_EQ(1167u, TakeChannel(handle));
    // But what gives back works.
    EXPECT_EQ(0u, Word(handle, kernel::kControlFreeBandwidth, bandwidth.handle));
    EXPECT_EQ(0u, Word(handle, kernel::kControlFreeChannel, channel.channel));
    EXPECT_EQ(0u, Word(handle, kernel::kControlFreeResources, 1));
    EXPECT_EQ(0u, Word(handle, kernel::kControlStreamEnd, 0));
    kernel::StopRequest stop{.resources = 1, .zero = 0};
    EXPECT_EQ(0u, Exchange(handle, kernel::kControlStopListen, stop));
    EXPECT_EQ(0u, Word(handle, kernel::kControlDetachBuffers, 1));
}

// The files go at once: a dead one would tell the poll so for ever.
TEST_F(Loss, GivesUpItsFilesAndItsClaim)
{
    const auto handle = Open();
    TakeBandwidth(handle);
    Unplug();
    EXPECT_EQ(1167u, Read(handle));
    EXPECT_TRUE(system.Await([&] { return system.log.size() == 4; }));
    EXPECT_EQ((std::vector<std::string>{"lock", "unlock", "close fw1", "close fw0"}), system.log);
    EXPECT_TRUE(system.deallocations.empty());
    EXPECT_EQ("event", system.files());
}

// The kernel gives the node up after some seconds; events that came before can still be read.
TEST_F(Loss, IsToldByTheKernelAtLast)
{
    const auto handle = Open();
    system.codes = {ScriptedKernel::kHang, ScriptedKernel::kHang};
    system.movesTime = false;
    Access answered;
    Access lost;
    BeginRead(handle, answered);
    BeginRead(handle, lost);
    const auto sent = system.Locked([&] { return system.sent[0]; });
    system.Respond(sent, RCODE_COMPLETE, {1, 2, 3, 4});
    system.Locked([&] { return Camera().isShutDown = true; });
    EXPECT_EQ(0u, End(handle, answered).systemError);
    EXPECT_EQ(1167u, End(handle, lost).systemError);
}

TEST_F(Loss, IsNoneWhenAnotherDeviceResetsTheBus)
{
    const auto handle = Open();
    system.Locked([&] { return Camera().generation = 8; });
    system.TellReset("fw0", 8);
    EXPECT_TRUE(system.Await([&] { return system.probes == 2; })) << "old generation, new one";
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(0u, Read(handle));
    EXPECT_EQ(0u, IsOpen(handle));
}

// Back before the patience ends: the kernel knows the new generation half a second after the plug.
TEST_F(Loss, IsNoneWhenTheCameraIsBackInTime)
{
    const auto handle = Open();
    system.movesTime = false;
    Unplug();
    ASSERT_TRUE(system.Await([&] { return system.probes == 1; }));
    Access access;
    BeginRead(handle, access);
    system.Sleep(500ms);
    system.Locked([&] {
        Camera().generation = 9;
        Camera().isStale = false;
        return system.movesTime = true;
    });
    EXPECT_EQ(0u, End(handle, access).systemError);
    EXPECT_EQ(0u, Read(handle));
}

// An access was given up while it waited for the new generation; the next reset is hours later.
TEST_F(Loss, CountsNoStaleAnswersOfLongAgo)
{
    const auto handle = Open();
    system.movesTime = false;
    system.codes = {RCODE_GENERATION};
    const uint32_t infos = system.infos;
    Access access;
    BeginRead(handle, access);
    ASSERT_TRUE(system.Await([&] { return system.infos == infos + 1; }));
    driver->Cancel(handle, &access.block);
    system.Locked([&] { return system.movesTime = true; });
    system.Sleep(3h);
    system.codes = {RCODE_GENERATION};
    EXPECT_EQ(0u, Read(handle));
}

TEST_F(Loss, IsNoneWhereTheCameraOnlyHangs)
{
    const auto handle = Open();
    system.codes = {ScriptedKernel::kHang};
    Access access;
    BeginRead(handle, access);
    ASSERT_TRUE(system.Await([&] { return system.probes >= 10; })); // for two seconds
    driver->Cancel(handle, &access.block);
    EXPECT_EQ(995u, End(handle, access).systemError);
    EXPECT_EQ(0u, Read(handle));
}

TEST_F(Loss, OfOneHandleLeavesTheNextOne)
{
    const auto lost = Open();
    Unplug();
    EXPECT_EQ(1167u, Read(lost));
    system.Locked([&] {
        Camera().isStale = false;
        Camera().generation = 9;
        return 0;
    });
    const auto handle = Open();
    EXPECT_EQ(0u, Read(handle));
    EXPECT_EQ(0u, TakeBandwidth(handle));
    EXPECT_EQ(1167u, Read(lost));
    driver->Close(lost);
    EXPECT_EQ(0u, Read(handle));
}

TEST_F(Loss, EndsABookingThatWaits)
{
    const auto handle = Open();
    system.movesTime = false;
    system.answersBookings = false;
    std::thread taker([&] { EXPECT_EQ(1167u, TakeBandwidth(handle)); });
    ASSERT_TRUE(system.Await([&] { return system.allocations.size() == 1; }));
    system.Locked([&] { return Camera().isShutDown = true; });
    taker.join();
}

TEST_F(Loss, OfTheCardIsNoneOfTheCamera)
{
    const auto handle = Open();
    system.Locked([&] { return system.NodeNamed("fw0").isShutDown = true; });
    EXPECT_TRUE(system.Await([&] { return system.log.size() == 1; }));
    EXPECT_EQ("close fw0", system.log[0]);
    EXPECT_EQ(0u, Read(handle));
}

} // namespace
} // namespace zerix::bus::linux_firewire

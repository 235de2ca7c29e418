// Plugging and unplugging at any moment, and the small functions of the bus's own interface.
#include <thread>

#include "bus_fixture.h"

namespace zerix::test {
namespace {

using namespace kernel;
using Plug = BusTest;

uint32_t Present()
{
    DevicePath paths[4];
    uint32_t count = 0;
    EXPECT_EQ(0u, SimDriver().Enumerate(paths, 4, &count));
    return count;
}

TEST_F(Plug, AnUnpluggedCameraIsNotListedAndComesBack)
{
    EXPECT_EQ(1u, Present());
    EXPECT_EQ(0u, ZerixSim_Unplug(0));
    EXPECT_EQ(0u, Present());
    DeviceHandle handle = 0;
    EXPECT_EQ(2u, SimDriver().Open("zerix-sim:0:00a1b2c3d4e5f607", &handle));
    EXPECT_EQ(0u, ZerixSim_Plug(0));
    EXPECT_EQ(1u, Present());
    EXPECT_EQ(0u, SimDriver().Open("zerix-sim:0:00a1b2c3d4e5f607", &handle));
    SimDriver().Close(handle);
    EXPECT_EQ(2u, ZerixSim_Unplug(1));
    EXPECT_EQ(2u, ZerixSim_Plug(1));
}

TEST_F(Plug, AnOldHandleStaysDeadButGivesBackWhatItHolds)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    EXPECT_EQ(0u, ZerixSim_Unplug(0));
    EXPECT_EQ(0u, ZerixSim_Plug(0));
    std::vector<uint32_t> words;
    EXPECT_EQ(1167u, client.Read(0xD0000000, 1, &words));
    EXPECT_EQ(1167u, client.Write(0xD0000000, {1}));
    EXPECT_EQ(1167u, client.SendWord(kControlIsOpen, 0));
    EXPECT_EQ(1167u, client.AllocateChannel());
    EXPECT_EQ(0u, client.SendWord(kControlFreeResources, client.resources));
    EXPECT_EQ(0u, client.SendWord(kControlFreeBandwidth, client.bandwidth));
    client.Close();
    BusClient again;
    EXPECT_EQ(0u, again.Connect(9056));
}

// The bus is whole again at once, the handle is not: nobody can give back what the driver took.
TEST_F(Plug, WithoutItsDriverADeviceTakesNothingBack)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    client.QueueAll(4);
    EXPECT_EQ(0u, ZerixSim_UnplugWithDriver(0));
    EXPECT_EQ(1167u, client.SendWord(kControlFreeResources, client.resources));
    EXPECT_EQ(1167u, client.SendWord(kControlFreeChannel, client.channel));
    EXPECT_EQ(1167u, client.SendWord(kControlFreeBandwidth, client.bandwidth));
    EXPECT_EQ(1167u, client.SendWord(kControlStreamBegin, 0));
    EXPECT_EQ(1167u, client.SendWord(kControlStreamEnd, 0));
    EXPECT_EQ(1167u, client.SendWord(kControlCancelBusEvent, 0));
    EXPECT_EQ(1167u, client.SendWord(kControlDetachBuffers, client.resources));
    EXPECT_EQ(1167u, client.Stop());
    const ZerixSimHeld held = Held();
    EXPECT_EQ(1u, held.openHandles);
    EXPECT_EQ(0u, held.channels + held.bandwidthHandles + held.resourcesHandles);
    EXPECT_EQ(0u, held.queuedBuffers + held.pendingRequests + held.threads);
    EXPECT_EQ(2u, ZerixSim_UnplugWithDriver(1));
}

TEST_F(Plug, WithoutItsDriverADeviceReturnsWhenItsOldHandlesAreClosed)
{
    BusClient first;
    ASSERT_EQ(0u, first.Connect());
    BusClient second;
    EXPECT_EQ(0u, ZerixSim_UnplugWithDriver(0));
    EXPECT_EQ(0u, Present());
    EXPECT_EQ(0u, ZerixSim_Plug(0));
    EXPECT_EQ(0u, Present());
    first.Close();
    EXPECT_EQ(0u, Present());
    second.Close();
    EXPECT_EQ(1u, Present());
    BusClient again;
    EXPECT_EQ(0u, again.Connect());
    EXPECT_EQ(0u, ZerixSim_UnplugWithDriver(0));
    EXPECT_EQ(0u, ZerixSim_Plug(0));
    EXPECT_EQ(0u, ZerixSim_Unplug(0)); // pulled out again before it could appear
    again.Close();
    EXPECT_EQ(0u, Present());
}

TEST_F(Plug, AStreamOfADeviceThatLostItsDriverEndsWithItsHandle)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    client.Apply({});
    client.Start(8);
    ASSERT_TRUE(client.NextFrame(64 * 48 * 2));
    EXPECT_EQ(0u, ZerixSim_UnplugWithDriver(0));
    while (client.NextBuffer() && client.lastError == 0)
        ;
    EXPECT_EQ(1167u, client.lastError);
    EXPECT_EQ(0u, ZerixSim_Plug(0));
    client.Close();
    EXPECT_EQ(0u, Held().threads);
    BusClient again;
    ASSERT_EQ(0u, again.Connect());
    again.Apply({});
    again.Start(8);
    EXPECT_TRUE(again.NextFrame(64 * 48 * 2));
}

TEST_F(Plug, PluggingIsAPowerOn)
{
    {
        BusClient client;
        EXPECT_EQ(0u, client.Write(client.Control() + 4, {4}));
        EXPECT_EQ(4u, client.Word(client.Control() + 4));
    }
    EXPECT_EQ(0u, ZerixSim_Plug(0)); // it is plugged: nothing happens
    {
        BusClient client;
        EXPECT_EQ(4u, client.Word(client.Control() + 4));
    }
    EXPECT_EQ(0u, ZerixSim_Unplug(0));
    EXPECT_EQ(0u, ZerixSim_Plug(0));
    BusClient client;
    EXPECT_EQ(0u, client.Word(client.Control() + 4));
}

TEST_F(Plug, UnpluggingEndsAStreamOnEitherClock)
{
    for (const char *clock : {"clock = \"fast\"\n", "clock = \"real\"\n"}) {
        OneCamera("", clock);
        BusClient client;
        ASSERT_EQ(0u, client.Connect());
        client.Apply({.exposureNanoseconds = 1'000'000});
        client.Start(8);
        std::thread unplugger([] { EXPECT_EQ(0u, ZerixSim_Unplug(0)); });
        while (client.NextBuffer() && client.lastError == 0)
            ;
        EXPECT_EQ(1167u, client.lastError);
        unplugger.join();
        EXPECT_EQ(0u, Held().threads);
        EXPECT_EQ(0u, Held().queuedBuffers);
    }
}

TEST_F(Plug, ClosingEndsAStreamThatNobodyStopped)
{
    for (const uint64_t exposure : {1'000ull, 3'600'000'000'000ull}) {
        OneCamera("", "clock = \"real\"\n");
        BusClient client;
        ASSERT_EQ(0u, client.Connect());
        client.Apply({.exposureNanoseconds = exposure});
        client.Start(8);
        client.NextBuffer();
        client.Close();
        EXPECT_EQ(0u, Held().threads);
    }
}

TEST_F(Plug, AStreamGoesOnAfterReplugging)
{
    for (int round = 0; round < 3; ++round) {
        BusClient client;
        ASSERT_EQ(0u, client.Connect());
        client.Apply({});
        client.Start(8);
        const auto frame = client.NextFrame(64 * 48 * 2);
        ASSERT_TRUE(frame);
        EXPECT_EQ(0, frame->header.rollingNumber);
        EXPECT_EQ(0u, ZerixSim_Unplug(0));
        EXPECT_EQ(0u, ZerixSim_Plug(0));
    }
}

TEST_F(Plug, ARackIsNotChangedWhileADeviceIsOpen)
{
    BusClient client;
    EXPECT_EQ(5u, ZerixSim_ChooseRack(nullptr));
    EXPECT_STRNE("", ZerixSim_LastErrorText());
    client.Close();
    EXPECT_EQ(0u, ZerixSim_ChooseRack(nullptr));
    EXPECT_STREQ("", ZerixSim_LastErrorText());
    uint32_t count = 0;
    EXPECT_EQ(0u, ZerixSim_CameraCount(&count));
    EXPECT_EQ(3u, count);
}

TEST_F(Plug, CamerasAreFoundByTheLowerHalfOfTheirIdentifier)
{
    uint32_t camera = 9;
    EXPECT_EQ(0u, ZerixSim_FindCamera(0xD4E5F607, &camera));
    EXPECT_EQ(0u, camera);
    EXPECT_EQ(2u, ZerixSim_FindCamera(0xD4E5F608, &camera));
}

TEST_F(Plug, NullPointersAndBadNumbersAreRefused)
{
    uint64_t time = 0;
    EXPECT_EQ(6u, ZerixSim_CameraCount(nullptr));
    EXPECT_EQ(6u, ZerixSim_FindCamera(1, nullptr));
    EXPECT_EQ(6u, ZerixSim_SetScene(0, nullptr));
    EXPECT_EQ(6u, ZerixSim_IsFastClock(nullptr));
    EXPECT_EQ(6u, ZerixSim_GetTime(nullptr));
    EXPECT_EQ(6u, ZerixSim_GetFrameTime(0, 0, nullptr));
    EXPECT_EQ(6u, ZerixSim_GetSensorTemperature(0, nullptr));
    EXPECT_EQ(6u, ZerixSim_GetHeld(nullptr));
    EXPECT_EQ(6u, ZerixSim_TakeMistakes(nullptr));
    EXPECT_EQ(6u, ZerixSim_TakeWrites(0, nullptr, nullptr));
    EXPECT_EQ(2u, ZerixSim_FireTrigger(1));
    EXPECT_EQ(2u, ZerixSim_SetTriggerLine(1, 1));
    uint32_t pulses = 0;
    EXPECT_EQ(2u, ZerixSim_GetSyncB(1, &pulses, &time));
    EXPECT_EQ(6u, ZerixSim_GetSyncB(0, nullptr, &time));
    EXPECT_EQ(6u, ZerixSim_GetSyncB(0, &pulses, nullptr));
    EXPECT_EQ(2u, ZerixSim_SetScene(1, "flat"));
    EXPECT_EQ(2u, ZerixSim_GiveCredit(1, 1));
    EXPECT_EQ(2u, ZerixSim_GetFrameTime(1, 0, &time));
    EXPECT_EQ(3u, ZerixSim_SetScene(0, "no such scene"));
    EXPECT_STRNE("", ZerixSim_LastErrorText());
    EXPECT_EQ(1u, ZerixSim_ChooseRack("no such rack"));
    EXPECT_EQ(1u, Present()); // the rack before is still there
}

TEST_F(Plug, ASceneChangesFromTheNextExposureOn)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    client.Apply({.width = 16, .height = 4});
    ASSERT_EQ(0u, ZerixSim_GiveCredit(0, 1));
    client.Start(4);
    const auto first = client.NextFrame(16 * 4 * 2);
    ASSERT_EQ(0u, ZerixSim_SetScene(0, "flat:30000"));
    ASSERT_EQ(0u, ZerixSim_GiveCredit(0, 1));
    const auto second = client.NextFrame(16 * 4 * 2);
    ASSERT_TRUE(first && second);
    EXPECT_NE(first->pixels, second->pixels);
    EXPECT_EQ(0u, client.Stop());
}

} // namespace
} // namespace zerix::test

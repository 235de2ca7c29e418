// Channels, bandwidth and resources of the bus.
#include "bus_fixture.h"

namespace zerix::test {
namespace {

using namespace kernel;
using Accounting = BusTest;

constexpr const char *kTwoCameras = "[[camera]]\nmodel = 18\n[[camera]]\nmodel = 19\n";

TEST_F(Accounting, ChannelsAreSixtyFourFromTheLowest)
{
    BusClient client;
    for (uint32_t channel = 0; channel < 64; ++channel) {
        ASSERT_EQ(0u, client.AllocateChannel());
        EXPECT_EQ(channel, client.channel);
    }
    EXPECT_EQ(1450u, client.AllocateChannel());
    EXPECT_EQ(64u, Held().channels);
    EXPECT_EQ(0u, client.SendWord(kControlFreeChannel, 17));
    EXPECT_EQ(0u, client.AllocateChannel());
    EXPECT_EQ(17u, client.channel);
    EXPECT_EQ(87u, client.SendWord(kControlFreeChannel, 64));
}

TEST_F(Accounting, AChannelCanBeAskedForByNumber)
{
    BusClient client;
    ChannelRequest request{63, 0, {}};
    EXPECT_EQ(0u, client.Send(kControlAllocateChannel, &request, 16, &request, 16));
    EXPECT_EQ(63u, request.channel);
    EXPECT_EQ(1450u, client.Send(kControlAllocateChannel, &request, 16, &request, 16));
    request.request = 64;
    EXPECT_EQ(87u, client.Send(kControlAllocateChannel, &request, 16, &request, 16));
}

TEST_F(Accounting, BandwidthIsSharedByTheCamerasOfTheBus)
{
    Choose(kTwoCameras);
    BusClient first(0);
    BusClient second(1);
    // 9056 bytes cost 4528 of 4915 units; 387 are left, that is 774 bytes.
    EXPECT_EQ(0u, first.AllocateBandwidth(9056));
    EXPECT_EQ(1450u, second.AllocateBandwidth(775));
    EXPECT_EQ(0u, second.AllocateBandwidth(774));
    EXPECT_EQ(0u, second.SendWord(kControlFreeBandwidth, second.bandwidth));
    EXPECT_EQ(0u, first.SendWord(kControlFreeBandwidth, first.bandwidth));
    EXPECT_EQ(87u, first.SendWord(kControlFreeBandwidth, first.bandwidth));
    EXPECT_EQ(0u, second.AllocateBandwidth(9056));
}

TEST_F(Accounting, BandwidthOfAnotherSpeedFlagOrOfNothingIsRefused)
{
    BusClient client;
    BandwidthRequest request{112, 2, 0, {}};
    EXPECT_EQ(87u, client.Send(kControlAllocateBandwidth, &request, 20, &request, 20));
    EXPECT_EQ(87u, client.AllocateBandwidth(0));
}

TEST_F(Accounting, AFastBusTakesBothSpeeds)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect(9056, kSpeedFlag800));
    EXPECT_EQ(0u, client.SendWord(kControlFreeResources, client.resources));
    EXPECT_EQ(1450u, client.AllocateResources(9056, kSpeedFlag400)); // too large for the slow speed
    EXPECT_EQ(0u, client.AllocateResources(4900, kSpeedFlag400));
}

TEST_F(Accounting, ASlowBusRefusesResourcesAtTheFastSpeed)
{
    OneCamera("", "speed = 400\n");
    BusClient client;
    ASSERT_EQ(0u, client.AllocateBandwidth(4900));
    ASSERT_EQ(0u, client.AllocateChannel());
    EXPECT_EQ(1450u, client.AllocateResources(4900, kSpeedFlag800));
    EXPECT_EQ(0u, client.AllocateResources(4900, kSpeedFlag400));
}

TEST_F(Accounting, ASlotOverTheLimitOfTheSlowSpeedIsRefused)
{
    OneCamera("", "speed = 400\n");
    BusClient client;
    EXPECT_EQ(1450u, client.Connect(4904, kSpeedFlag400));
}

TEST_F(Accounting, AStreamAtTheSlowSpeedPaysTheFullPrice)
{
    Choose(std::string("speed = 400\n") + kTwoCameras);
    BusClient first(0);
    BusClient second(1);
    ASSERT_EQ(0u, first.Connect(4092, kSpeedFlag400));
    EXPECT_EQ(1450u, second.Connect(4092, kSpeedFlag400));
    second.Close();
    BusClient again(1);
    EXPECT_EQ(0u, again.Connect(823, kSpeedFlag400)); // all of the 4915 units
}

TEST_F(Accounting, ResourcesNeedAChannelEnoughBandwidthAndFittingBuffers)
{
    BusClient client;
    EXPECT_EQ(87u, client.AllocateResources(112, kSpeedFlag800));
    ASSERT_EQ(0u, client.AllocateChannel());
    EXPECT_EQ(87u, client.AllocateResources(112, kSpeedFlag800));
    ASSERT_EQ(0u, client.AllocateBandwidth(112));
    EXPECT_EQ(87u, client.AllocateResources(113, kSpeedFlag800));
    ResourcesRequest request{kSpeedFlag800, 0x41, client.channel, 112, 61, 112 * 29, 0, 1, 0};
    EXPECT_EQ(87u, client.Send(kControlAllocateResources, &request, 36, &request, 36));
    EXPECT_EQ(0u, client.AllocateResources(112, kSpeedFlag800));
    EXPECT_EQ(170u, client.AllocateResources(112, kSpeedFlag800));
}

TEST_F(Accounting, HeldTellsWhatAHandleHoldsAndClosingGivesItBack)
{
    {
        BusClient client;
        ASSERT_EQ(0u, client.Connect());
        client.Apply({});
        client.Start();
        const ZerixSimHeld held = Held();
        EXPECT_EQ(1u, held.openHandles);
        EXPECT_EQ(1u, held.channels);
        EXPECT_EQ(1u, held.bandwidthHandles);
        EXPECT_EQ(1u, held.resourcesHandles);
        EXPECT_LE(held.queuedBuffers, 60u);
        EXPECT_EQ(1u, held.threads);
    }
    BusClient again;
    EXPECT_EQ(0u, again.Connect(9056)); // all of it is there again
}

TEST_F(Accounting, StoppingEndsTheThreadOfTheStream)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    client.Apply({});
    for (int i = 0; i < 3; ++i) {
        client.Start(2);
        EXPECT_EQ(1u, Held().threads);
        EXPECT_EQ(0u, client.Stop());
        EXPECT_EQ(0u, Held().threads);
    }
}

} // namespace
} // namespace zerix::test

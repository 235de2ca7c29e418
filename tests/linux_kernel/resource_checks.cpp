// Channels and bandwidth through /dev/fw*: what the call says, what the event says, and what a
// reset does to them.
#include "checks.h"

#include <linux/firewire-constants.h>

namespace linux_kernel {

namespace {

constexpr std::uint64_t kAllChannels = ~0ull;
// The resource manager's registers of the local node.
constexpr std::uint64_t kBandwidthAvailable = 0xfffff0000220;
constexpr std::uint64_t kChannelsAvailable =
    0xfffff0000224; // channels 0 to 31, the highest bit is channel 0

struct Allocation {
    int result;
    std::uint32_t handle;
};

Allocation Allocate(const DeviceFile &device, std::uint64_t channels, std::uint32_t bandwidth,
                    std::uint64_t closure = 0)
{
    fw_cdev_allocate_iso_resource request{};
    request.closure = closure;
    request.channels = channels;
    request.bandwidth = bandwidth;
    const int result = device.Call(FW_CDEV_IOC_ALLOCATE_ISO_RESOURCE, &request);
    return {result, request.handle};
}

int Deallocate(const DeviceFile &device, std::uint32_t handle)
{
    fw_cdev_deallocate request{handle};
    return device.Call(FW_CDEV_IOC_DEALLOCATE_ISO_RESOURCE, &request);
}

// The next event of a resource; type 0: none came.
fw_cdev_event_iso_resource NextResource(const DeviceFile &device, int timeoutMilliseconds = 10000)
{
    while (const auto event = device.ReadEvent(timeoutMilliseconds)) {
        const auto resource = event->As<fw_cdev_event_iso_resource>();
        if (resource.type == FW_CDEV_EVENT_ISO_RESOURCE_ALLOCATED ||
            resource.type == FW_CDEV_EVENT_ISO_RESOURCE_DEALLOCATED)
            return resource;
    }
    return {};
}

std::uint32_t ManagerRegister(std::uint64_t offset)
{
    const Response response = DeviceFile(LocalDevice()).ReadQuadlet(offset);
    std::uint32_t value = 0;
    for (const std::uint8_t byte : response.payload)
        value = value << 8 | byte;
    return value;
}

bool ChannelIsFree(int channel)
{
    return ManagerRegister(kChannelsAvailable) >> (31 - channel) & 1;
}

} // namespace

class Resources : public Interface {
protected:
    void SetUp() override
    {
        Interface::SetUp();
        Sleep(1); // an allocation waits until a second after a reset
    }
};

TEST_F(Resources, TheEventSaysWhichChannelAndHowMuchBandwidth)
{
    const Allocation allocation = Allocate(*device, 1ull << 5 | 1ull << 9, 1000, 0x77);
    EXPECT_EQ(allocation.result, 0);
    EXPECT_EQ(allocation.handle, 0u);
    const auto event = NextResource(*device);
    EXPECT_EQ(event.type, static_cast<std::uint32_t>(FW_CDEV_EVENT_ISO_RESOURCE_ALLOCATED));
    EXPECT_EQ(event.closure, 0x77u);
    EXPECT_EQ(event.handle, 0u);
    EXPECT_EQ(event.channel, 5);
    EXPECT_EQ(event.bandwidth, 1000);
    EXPECT_FALSE(ChannelIsFree(5));
    EXPECT_TRUE(ChannelIsFree(9));
    EXPECT_EQ(ManagerRegister(kBandwidthAvailable), 3915u);
}

TEST_F(Resources, TheLowestFreeChannelIsTaken)
{
    for (const int expected : {0, 1, 2}) {
        Allocate(*device, kAllChannels, 0);
        EXPECT_EQ(NextResource(*device).channel, expected);
    }
}

TEST_F(Resources, TheManagerKeepsChannel31ForBroadcasts)
{
    EXPECT_FALSE(ChannelIsFree(31));
    Allocate(*device, 1ull << 31, 0);
    EXPECT_EQ(NextResource(*device).channel, -EBUSY);
}

TEST_F(Resources, ChannelsAbove31CanBeHad)
{
    Allocate(*device, 1ull << 40, 0);
    EXPECT_EQ(NextResource(*device).channel, 40);
}

TEST_F(Resources, ATakenChannelIsToldByTheEventOnly)
{
    const DeviceFile other(path);
    Allocate(other, 1ull << 5, 0);
    ASSERT_EQ(NextResource(other).channel, 5);
    EXPECT_EQ(Allocate(*device, 1ull << 5, 100).result, 0);
    const auto event = NextResource(*device);
    EXPECT_EQ(event.type, static_cast<std::uint32_t>(FW_CDEV_EVENT_ISO_RESOURCE_ALLOCATED));
    EXPECT_EQ(event.channel, -EBUSY);
    EXPECT_EQ(event.bandwidth, 0);
    EXPECT_EQ(ManagerRegister(kBandwidthAvailable), 4915u);
}

TEST_F(Resources, MissingBandwidthLooksLikeATakenChannel)
{
    const DeviceFile other(path);
    Allocate(other, 0, 4000);
    ASSERT_EQ(NextResource(other).bandwidth, 4000);
    EXPECT_EQ(Allocate(*device, 1ull << 5, 1000).result, 0);
    const auto event = NextResource(*device);
    EXPECT_EQ(event.channel, -EBUSY);
    EXPECT_EQ(event.bandwidth, 0);
    EXPECT_TRUE(ChannelIsFree(5));
}

TEST_F(Resources, ChannelAndBandwidthCanHaveHandlesOfTheirOwn)
{
    const Allocation bandwidth = Allocate(*device, 0, 2000);
    EXPECT_EQ(NextResource(*device).bandwidth, 2000);
    const Allocation channel = Allocate(*device, 1ull << 7, 0);
    EXPECT_EQ(NextResource(*device).channel, 7);
    EXPECT_NE(bandwidth.handle, channel.handle);

    ASSERT_EQ(Deallocate(*device, bandwidth.handle), 0);
    const auto event = NextResource(*device);
    EXPECT_EQ(event.type, static_cast<std::uint32_t>(FW_CDEV_EVENT_ISO_RESOURCE_DEALLOCATED));
    EXPECT_EQ(event.handle, bandwidth.handle);
    EXPECT_EQ(event.bandwidth, 2000);
    EXPECT_EQ(ManagerRegister(kBandwidthAvailable), 4915u);
    EXPECT_FALSE(ChannelIsFree(7));
}

TEST_F(Resources, AHandleThatIsFreeIsAnErrorOfTheCall)
{
    const Allocation allocation = Allocate(*device, 1ull << 7, 0);
    NextResource(*device);
    EXPECT_EQ(Deallocate(*device, allocation.handle), 0);
    EXPECT_EQ(Deallocate(*device, allocation.handle), -EINVAL);
}

TEST_F(Resources, ImpossibleWishesAreErrorsOfTheCall)
{
    EXPECT_EQ(Allocate(*device, 0, 0).result, -EINVAL);
    EXPECT_EQ(Allocate(*device, 1, 4916).result, -EINVAL);
}

TEST_F(Resources, AllocationWaitsUntilASecondAfterAReset)
{
    ASSERT_EQ(wire.Reset(), 0);
    const double begin = Now();
    Allocate(*device, 1ull << 5, 0);
    EXPECT_EQ(NextResource(*device).channel, 5);
    EXPECT_GT(Now() - begin, 0.95);
    EXPECT_LT(Now() - begin, 1.5);
}

TEST_F(Resources, AreLostOverAResetSilentlyWithoutInfo)
{
    Allocate(*device, 1ull << 5, 1000);
    ASSERT_EQ(NextResource(*device).channel, 5);
    ASSERT_EQ(wire.Reset(), 0);
    EXPECT_EQ(NextResource(*device, 3000).type, 0u);
    EXPECT_TRUE(ChannelIsFree(5));
}

TEST_F(Resources, AreKeptOverAResetSilently)
{
    ASSERT_EQ(device->GetInfo().result, 0);
    Allocate(*device, 1ull << 5, 1000);
    ASSERT_EQ(NextResource(*device).channel, 5);
    ASSERT_EQ(wire.Reset(), 0);
    EXPECT_EQ(NextResource(*device, 3000).type, 0u);
    EXPECT_FALSE(ChannelIsFree(5));
    EXPECT_EQ(ManagerRegister(kBandwidthAvailable), 3915u);
}

TEST_F(Resources, LostOnesAreToldByAnUnaskedEvent)
{
    ASSERT_EQ(device->GetInfo().result, 0);
    Allocate(*device, 1ull << 5, 0, 0x55);
    ASSERT_EQ(NextResource(*device).channel, 5);
    // A reset that the node began is told to its files half a second later. In between another
    // takes the channel.
    ASSERT_EQ(wire.Reset(0), 0);
    const DeviceFile local(LocalDevice());
    fw_cdev_allocate_iso_resource request{};
    request.channels = 1ull << 5;
    ASSERT_EQ(local.Call(FW_CDEV_IOC_ALLOCATE_ISO_RESOURCE_ONCE, &request), 0);
    ASSERT_EQ(NextResource(local).channel, 5);

    const auto event = NextResource(*device);
    EXPECT_EQ(event.type, static_cast<std::uint32_t>(FW_CDEV_EVENT_ISO_RESOURCE_DEALLOCATED));
    EXPECT_EQ(event.closure, 0x55u);
    EXPECT_EQ(event.channel, -EBUSY);
    EXPECT_EQ(local.Call(FW_CDEV_IOC_DEALLOCATE_ISO_RESOURCE_ONCE, &request), 0);
    EXPECT_EQ(NextResource(local).channel, 5);
}

TEST_F(Resources, AreFreedByClose)
{
    Allocate(*device, 1ull << 5, 1000);
    ASSERT_EQ(NextResource(*device).channel, 5);
    device->Close();
    EXPECT_TRUE(WaitUntil([] { return ChannelIsFree(5); }, 1));
    EXPECT_EQ(ManagerRegister(kBandwidthAvailable), 4915u);
}

TEST_F(Resources, SpeedIsThatOfTheSlowest)
{
    EXPECT_EQ(device->Call(FW_CDEV_IOC_GET_SPEED, nullptr), SCODE_800);
    const DeviceFile slow(PlugIn(1, guid + 0x10000, kSpeed400));
    EXPECT_EQ(slow.Call(FW_CDEV_IOC_GET_SPEED, nullptr), SCODE_400);
}

} // namespace linux_kernel

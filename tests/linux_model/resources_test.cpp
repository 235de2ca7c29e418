// Channels and bandwidth: booked, renewed, lost and given back.
#include <cerrno>

#include "tests/linux_model/process_fixture.h"

namespace zerix::linux_model {
namespace {

using namespace std::chrono_literals;

constexpr uint32_t kAllocated = FW_CDEV_EVENT_ISO_RESOURCE_ALLOCATED;
constexpr uint32_t kDeallocated = FW_CDEV_EVENT_ISO_RESOURCE_DEALLOCATED;

class Resources : public ProcessTest {
protected:
    struct Answer {
        uint32_t type;
        uint32_t handle;
        int32_t channel;
        int32_t bandwidth;
        bool operator==(const Answer &) const = default;
    };
    Answer NextAnswer(int file)
    {
        Model().Advance(0s);
        const Bytes event = NextEvent(file);
        EXPECT_EQ(event.size(), 24u);
        return {Type(event), Word(event, 12), static_cast<int32_t>(Word(event, 16)),
                static_cast<int32_t>(Word(event, 20))};
    }
};

TEST_F(Resources, AreAnsweredByAnEvent)
{
    Boot();
    const int camera = OpenFile("/dev/fw1");
    EXPECT_EQ(Allocate(camera, ~0ull, 1000, 0xABC), 0); // handle 0
    const Bytes event = (Model().Advance(0s), NextEvent(camera));
    ASSERT_EQ(event.size(), 24u);
    EXPECT_EQ(Closure(event), 0xABCu);
    EXPECT_EQ(Type(event), kAllocated);
    EXPECT_EQ(Word(event, 12), 0u);
    EXPECT_EQ(Word(event, 16), 0u);
    EXPECT_EQ(Word(event, 20), 1000u);
    EXPECT_EQ(Allocate(camera, ~0ull, 0, 2), 1);
    EXPECT_EQ(NextAnswer(camera), (Answer{kAllocated, 1, 1, 0}));
    EXPECT_EQ(Allocate(camera, 0, 10, 2), 2);
    EXPECT_EQ(NextAnswer(camera), (Answer{kAllocated, 2, -EINVAL, 10}));
    EXPECT_EQ(Model().WhatIsHeld().units, 1010u);
    EXPECT_EQ(Deallocate(camera, 0), 0);
    EXPECT_EQ(NextAnswer(camera), (Answer{kDeallocated, 0, 0, 1000}));
    EXPECT_EQ(Deallocate(camera, 0), -EINVAL);
    EXPECT_EQ(Allocate(camera, 0, 0, 1), -EINVAL);
    EXPECT_EQ(Allocate(camera, 0, 4916, 1), -EINVAL);
    Close(camera);
}

TEST_F(Resources, ComeFromTheMask)
{
    Boot();
    const int camera = OpenFile("/dev/fw1");
    EXPECT_EQ(Allocate(camera, 1ull << 40 | 1ull << 9, 0, 1), 0);
    EXPECT_EQ(NextAnswer(camera), (Answer{kAllocated, 0, 9, 0}));
    EXPECT_EQ(Allocate(camera, 1ull << 40 | 1ull << 9, 0, 1), 1);
    EXPECT_EQ(NextAnswer(camera), (Answer{kAllocated, 1, 40, 0}));
    EXPECT_EQ(Allocate(camera, 1ull << 40 | 1ull << 9, 0, 1), 2);
    EXPECT_EQ(NextAnswer(camera), (Answer{kAllocated, 2, -EBUSY, 0}));
    EXPECT_EQ(Deallocate(camera, 2), -EINVAL);
    Close(camera);
}

// Both or none, and the same error for either.
TEST_F(Resources, LackingInBandwidthAloneSayBusy)
{
    Boot();
    const int camera = OpenFile("/dev/fw1");
    const int other = OpenFile("/dev/fw2");
    EXPECT_EQ(Allocate(camera, 0, 4915, 1), 0);
    EXPECT_EQ(NextAnswer(camera), (Answer{kAllocated, 0, -EINVAL, 4915}));
    EXPECT_EQ(Allocate(other, ~0ull, 1, 1), 0);
    EXPECT_EQ(NextAnswer(other), (Answer{kAllocated, 0, -EBUSY, 0}));
    EXPECT_EQ(Model().WhatIsHeld().channels, 0u);
    Close(camera);
    EXPECT_EQ(Allocate(other, ~0ull, 1, 1), 0);
    EXPECT_EQ(NextAnswer(other), (Answer{kAllocated, 0, 0, 1}));
    Close(other);
}

TEST_F(Resources, AreRefusedByTheRacksFaults)
{
    Boot("faults = [\"no bandwidth at request 1\", \"no channel at request 2\"]\n");
    const int camera = OpenFile("/dev/fw1");
    EXPECT_EQ(Allocate(camera, 0, 10, 1), 0);
    EXPECT_EQ(NextAnswer(camera), (Answer{kAllocated, 0, -EBUSY, 0}));
    EXPECT_EQ(Allocate(camera, ~0ull, 10, 1), 0);
    EXPECT_EQ(NextAnswer(camera), (Answer{kAllocated, 0, 0, 10}));
    EXPECT_EQ(Allocate(camera, ~0ull, 10, 1), 1);
    EXPECT_EQ(NextAnswer(camera), (Answer{kAllocated, 1, -EBUSY, 0}));
    EXPECT_EQ(Model().WhatIsHeld().units, 10u);
    Close(camera);
}

TEST_F(Resources, WaitASecondAfterAReset)
{
    Boot();
    const int camera = OpenFile("/dev/fw1");
    Model().ResetBus();
    NextEvent(camera);
    EXPECT_EQ(Allocate(camera, ~0ull, 10, 1), 0);
    Model().Advance(999ms);
    EXPECT_EQ(Polled(camera), 0);
    Model().Advance(4ms); // it looks every third of a second
    EXPECT_EQ(NextAnswer(camera), (Answer{kAllocated, 0, 0, 10}));
    Close(camera);
}

TEST_F(Resources, AreKeptOverAResetSilently)
{
    Boot();
    const int camera = OpenFile("/dev/fw1");
    EXPECT_EQ(Allocate(camera, ~0ull, 10, 1), 0);
    NextAnswer(camera);
    Model().ResetBus();
    EXPECT_EQ(Type(NextEvent(camera)), 0u);
    EXPECT_EQ(Polled(camera), 0);
    EXPECT_EQ(Model().WhatIsHeld().units, 10u);
    EXPECT_EQ(Model().WhatIsHeld().channels, 1u);
    Close(camera);
}

// With its camera away, a booking is not renewed, and somebody else takes it.
TEST_F(Resources, AreLostWithAnUnaskedEvent)
{
    Boot();
    const int camera = OpenFile("/dev/fw1");
    EXPECT_EQ(Allocate(camera, 1, 10, 7), 0);
    NextAnswer(camera);
    ASSERT_EQ(ZerixSim_Unplug(0), 0u);
    Model().Look();
    EXPECT_EQ(Model().WhatIsHeld().channels, 0u);
    ASSERT_EQ(ZerixSim_Plug(0), 0u);
    Model().Look();
    Model().Occupy(1, 0);
    Model().Advance(2s);
    EXPECT_EQ(Type(NextEvent(camera)), 0u);
    EXPECT_EQ(NextAnswer(camera), (Answer{kDeallocated, 0, -EBUSY, 0}));
    EXPECT_EQ(Model().WhatIsHeld().units, 0u);
    Close(camera);
    Model().ResetBus();
}

TEST_F(Resources, OfACameraThatIsBackAreRenewed)
{
    Boot();
    const int camera = OpenFile("/dev/fw1");
    EXPECT_EQ(Allocate(camera, ~0ull, 10, 7), 0);
    NextAnswer(camera);
    ASSERT_EQ(ZerixSim_Unplug(0), 0u);
    Model().Look();
    ASSERT_EQ(ZerixSim_Plug(0), 0u);
    Model().Look();
    Model().Advance(2s);
    EXPECT_EQ(Type(NextEvent(camera)), 0u);
    EXPECT_EQ(Polled(camera), 0);
    EXPECT_EQ(Model().WhatIsHeld().units, 10u);
    ZerixSimHeld held{};
    ZerixSim_GetHeld(&held);
    EXPECT_EQ(held.channels, 1u);
    EXPECT_EQ(held.bandwidthHandles, 1u);
    Close(camera);
}

} // namespace
} // namespace zerix::linux_model

// What the hardware layer asks of a packet sink, and when.
#include "hal/camera_connection.h"
#include "tests/hal/stream_fixture.h"

using namespace zerix;
using namespace zerix::test;

namespace {

class PacketSink : public StreamTest {
protected:
    PlainSink &Plain() { return PlainSink::Of(Device()); }
};

const Bytes kFrame = {1, 2, 3, 4, 5, 6, 7, 8};

TEST_F(PacketSink, IsSetUpAtTheConnectWithItsCallbacks)
{
    EXPECT_EQ(Plain().Log(), "S");
    EXPECT_EQ(Plain().callbacks.getFrame, FrameSink::Get);
    EXPECT_EQ(Plain().callbacks.peekFrame, FrameSink::Peek);
    EXPECT_EQ(Plain().callbacks.frameDone, FrameSink::Done);
    EXPECT_EQ(Plain().callbacks.overrun, FrameSink::Overrun);
    EXPECT_EQ(Plain().callbacks.context, &sink);
    EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u);
    EXPECT_EQ(Plain().Log(), "S");
    EXPECT_EQ(Connect(), 0u);
    EXPECT_EQ(Plain().Log(), "SS");
    EXPECT_EQ(Plain().callbacks.frameDone, nullptr);
}

TEST_F(PacketSink, IsNotSetUpByAConnectThatFails)
{
    EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u);
    driver.openError = kernel::kErrorAccessDenied;
    EXPECT_EQ(Connect(), 17u);
    EXPECT_EQ(Plain().Log(), "S");
}

TEST_F(PacketSink, GetsThePacketsBetweenBeginAndDrop)
{
    for (const uint8_t version : {uint8_t{2}, uint8_t{0}}) {
        ASSERT_EQ(Start(version), 0u);
        ASSERT_TRUE(driver.Fill({{},
                                 BeginningPacket({1, 2}),
                                 {},
                                 ContinuingPacket({3, 4, 5}),
                                 ContinuingPacket({6, 7, 8})}));
        ASSERT_TRUE(sink.AwaitFrame());
        EXPECT_EQ(Stop(), 0u);
        EXPECT_EQ(Plain().streamingVersion, version);
        EXPECT_EQ(sink.data, kFrame);
    }
    EXPECT_EQ(Plain().Log(), "SBpppDBpppD");
}

// In place: what the driver has put into the slot, without a copy.
TEST_F(PacketSink, GetsThePayloadInTheReceiveBuffer)
{
    const Bytes packet = BeginningPacket(kFrame);
    BeStreaming();
    const uint8_t *const secondSlot = Device().ring->slots[0].buffer + 112;
    Bytes payload;
    ptrdiff_t position = 0;
    sink.duringPeek = [&] {
        const auto seen = Plain().lastPayload;
        payload.assign(seen.begin(), seen.end());
        position = seen.data() - secondSlot;
    };
    ASSERT_TRUE(driver.Fill({{}, packet}));
    ASSERT_TRUE(sink.AwaitFrame());
    EXPECT_EQ(Stop(), 0u);
    EXPECT_EQ(payload, packet);
    EXPECT_EQ(position, 8);
}

TEST_F(PacketSink, GetsNoMoreOfABufferOnceTheStopHasBegun)
{
    BeStreaming();
    const auto hasBegun = os::Event::Create(os::ResetMode::kManual);
    sink.duringPeek = [&] {
        hasBegun->Signal();
        while (Device().isStreaming.load())
            std::this_thread::yield();
    };
    ASSERT_TRUE(driver.Fill({BeginningPacket({1}), ContinuingPacket({2}), ContinuingPacket({3})}));
    ASSERT_EQ(hasBegun->Wait(20000), os::WaitResult::kSignalled);
    EXPECT_EQ(Stop(), 0u);
    EXPECT_EQ(Plain().Log(), "SBpD");
}

TEST_F(PacketSink, DropsTheFrameInWorkOfAStreamThatNobodyStopped)
{
    BeStreaming();
    ASSERT_TRUE(driver.Fill({BeginningPacket({1})}));
    ASSERT_TRUE(driver.Await(kernel::kControlQueueBuffer, 61));
    EXPECT_EQ(HAL_CameraRelease(&camera), 0u);
    EXPECT_TRUE(sink.frame.isDropped);
    EXPECT_EQ(PlainSink::Alive(), 0u);
}

TEST_F(PacketSink, KeepsTheFrameInWorkOfALostDeviceUntilTheStop)
{
    BeStreaming();
    bool wasDropped = true;
    sink.duringTimedOut = [&] { wasDropped = sink.frame.isDropped; };
    ASSERT_TRUE(driver.Fill({BeginningPacket({1})}));
    ASSERT_TRUE(driver.Await(kernel::kControlQueueBuffer, 61));
    driver.Unplug();
    ASSERT_TRUE(sink.AwaitTimedOut());
    EXPECT_FALSE(wasDropped) << "the stop does it";
    EXPECT_EQ(HAL_CameraStopStreaming(camera, kEnableRegister), 31u);
    EXPECT_TRUE(sink.frame.isDropped);
    EXPECT_EQ(Plain().Log(), "SBpD");
}

} // namespace

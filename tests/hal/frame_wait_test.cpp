// The run loop's wait for a frame.
#include <thread>

#include "tests/hal/stream_fixture.h"

using namespace zerix;
using namespace zerix::test;

namespace {

using FrameWait = StreamTest;

TEST_F(FrameWait, AWakeUpBeforeTheWaitIsNotLost)
{
    EXPECT_EQ(HAL_CameraStopWaitingForFrame(camera), 0u);
    EXPECT_EQ(HAL_CameraStopWaitingForFrame(camera), 0u);
    EXPECT_EQ(HAL_CameraWaitingForFrame(camera), 0u);
    EXPECT_EQ(Device().frameWaitEvent->Wait(0), os::WaitResult::kTimedOut) << "and is used up";
}

TEST_F(FrameWait, WaitsUntilItIsWoken)
{
    const auto waits = os::Semaphore::Create(0, 1);
    std::thread waiter([&] {
        EXPECT_EQ(HAL_CameraWaitingForFrame(camera), 0u);
        waits->Signal();
    });
    EXPECT_EQ(waits->Wait(50), os::WaitResult::kTimedOut);
    EXPECT_EQ(HAL_CameraStopWaitingForFrame(camera), 0u);
    EXPECT_EQ(waits->Wait(20000), os::WaitResult::kSignalled);
    waiter.join();
}

TEST_F(FrameWait, DisconnectEndsTheWait)
{
    std::thread waiter([&] { EXPECT_EQ(HAL_CameraWaitingForFrame(camera), 0u); });
    HALCamera copy = camera;
    EXPECT_EQ(HAL_CameraDisconnect(&copy), 0u);
    waiter.join();
    EXPECT_EQ(HAL_CameraWaitingForFrame(camera), 0u) << "nothing to wait for";
}

TEST_F(FrameWait, AWakeUpOfAnEarlierConnectionIsForgotten)
{
    HAL_CameraStopWaitingForFrame(camera);
    EXPECT_EQ(HAL_CameraDisconnect(&camera), 0u);
    EXPECT_EQ(Connect(), 0u);
    EXPECT_EQ(Device().frameWaitEvent->Wait(0), os::WaitResult::kTimedOut);
}

} // namespace

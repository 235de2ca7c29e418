// A thread that the system refuses, on systems where a test can arrange for it.
#include <gtest/gtest.h>

#include "hal/camera_connection.h"
#include "tests/hal/stream_fixture.h"
#include "tests/support/debug_output_capture.h"
#include "tests/support/refused_threads.h"
#include "zerix/zerix_hal.h"

namespace zerix {
namespace {

TEST(HalThread, ThatTheSystemRefusesGives22AndALine)
{
    int word = 0;
    auto *thread = reinterpret_cast<threadInfo *>(&word);
    const test::DebugOutputCapture capture;
    {
        const test::RefusedThreads refused;
        EXPECT_EQ(HAL_ThreadCreate([](void *) {}, nullptr, &thread), 22u);
    }
    EXPECT_EQ(thread, nullptr);
    EXPECT_EQ(capture.Text(), "HAL_ThreadCreate:HAL_ThreadCreate: CreateThread returned NULL");
    EXPECT_EQ(HAL_ThreadCreate([](void *) {}, nullptr, &thread), 0u);
    EXPECT_EQ(HAL_ThreadCleanup(thread, 5000), 0u);
}

using StreamWithoutAThread = test::StreamTest;

TEST_F(StreamWithoutAThread, StartsAndSaysWhyItBringsNothing)
{
    {
        const test::RefusedThreads refused;
        EXPECT_EQ(Start(), 0u);
    }
    EXPECT_EQ(hal::EndOfStream(camera), hal::StreamEnd::kNoThread);
    EXPECT_EQ(HAL_CameraStopStreaming(camera, test::kEnableRegister), 0u);
    EXPECT_EQ(hal::EndOfStream(camera), hal::StreamEnd::kNoThread);
    BeStreaming();
    EXPECT_EQ(hal::EndOfStream(camera), hal::StreamEnd::kRunning);
    EXPECT_EQ(Stop(), 0u);
}

} // namespace
} // namespace zerix

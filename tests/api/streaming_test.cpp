// Switching a camera's stream on and off, and the software trigger.
#include <gtest/gtest.h>

#include "tests/api/queue_fixture.h"

namespace zerix::api {
namespace {

using Stream = QueueTest;

TEST_F(Stream, IsSwitchedOnAndOff)
{
    const ZerixHandle handle = HandleOf(*camera);
    camera->doesSupportExternalBuffers = true;
    Take();
    EXPECT_EQ(Zerix_SetStreaming(handle, 0), 0u);
    EXPECT_EQ(Remarks("Zerix_SetStreaming"), Lines{"Streaming is already off"});
    EXPECT_EQ(Zerix_SetStreaming(handle, 7), 0u);
    EXPECT_EQ(Remarks("Zerix_SetStreaming"), Lines{"Streaming is now on"});
    EXPECT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    EXPECT_EQ(Remarks("Zerix_SetStreaming"), Lines{"Streaming is already on"});
    EXPECT_EQ(Zerix_SetStreaming(handle, 0), 0u);
    EXPECT_EQ(Remarks("Zerix_SetStreaming"), Lines{"Streaming is now off"});
    EXPECT_EQ(camera->calls, (Lines{"StartStreamingImages 1", "StopStreamingImages"}));
    EXPECT_EQ(camera->imageReceived, &ImageReceived);
    EXPECT_EQ(camera->exposeDone, &ExposeDone);
    EXPECT_EQ(camera->streamUserData, handle);
}

TEST_F(Stream, PassesTheCamerasStatusOn)
{
    const ZerixHandle handle = HandleOf(*camera);
    camera->statusOf = {{"StartStreamingImages", 7}, {"StopStreamingImages", 25}};
    EXPECT_EQ(Zerix_SetStreaming(handle, 1), 30u);
    camera->isCameraStreaming = true;
    EXPECT_EQ(Zerix_SetStreaming(handle, 0), 15u);
    EXPECT_EQ(Remarks("Zerix_SetStreaming"), Lines{});
}

TEST_F(Stream, AnswersItsChecks)
{
    FakeCamera &other = AddCamera();
    EXPECT_EQ(Zerix_SetStreaming(nullptr, 1), 9u);
    EXPECT_EQ(Zerix_SetStreaming(HandleOf(other), 1), 9u);
    EXPECT_EQ(Zerix_Trigger(nullptr), 9u);
    EXPECT_EQ(Zerix_Trigger(HandleOf(other)), 9u);
    other.isHeldByAnother = true;
    other.OpenCamera();
    EXPECT_EQ(Zerix_SetStreaming(HandleOf(other), 1), 9u);
    EXPECT_EQ(Zerix_Trigger(HandleOf(other)), 24u); // asked before who holds the camera
    other.isCameraStreaming = true;
    EXPECT_EQ(Zerix_Trigger(HandleOf(other)), 9u);
}

TEST_F(Stream, IsTriggeredInTheSoftwareTriggersModeAlone)
{
    const ZerixHandle handle = HandleOf(*camera);
    camera->isCameraStreaming = true;
    for (uint32_t mode = 0; mode < 9; ++mode) {
        camera->getTriggerMode = mode;
        EXPECT_EQ(Zerix_Trigger(handle), mode == 5 ? 0u : 1u) << mode;
    }
    EXPECT_EQ(camera->calls, Lines{"SoftwareTrigger"});
    camera->getTriggerMode = 5;
    camera->statusOf = {{"SoftwareTrigger", 17}};
    EXPECT_EQ(Zerix_Trigger(handle), 16u);
}

} // namespace
} // namespace zerix::api

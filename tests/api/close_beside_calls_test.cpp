// Opening, closing and releasing while another thread is inside a call, on cameras without
// hardware.
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "tests/api/sending_fixture.h"
#include "tests/api/virtual_queue_fixture.h"

namespace zerix::api {
namespace {

class CloseBesideCalls : public SendingTest {
protected:
    ~CloseBesideCalls() override
    {
        mayGoOn.Come();
        if (first.joinable())
            first.join();
    }

    // Keeps whoever gets to this operation of the camera until he may go on.
    void HoldUpIn(const std::string &operation)
    {
        camera->inCall = [this, operation](const std::string &name) {
            if (name != operation)
                return;
            isThere.Come();
            EXPECT_TRUE(mayGoOn.Await());
        };
    }

    // The camera is being switched on by a call, whose own code goes to `started`; a close or a
    // release that waits for it lets it go on.
    void StartSlowly()
    {
        camera->inCall = [this](const std::string &name) {
            if (name == "StartStreamingImages") {
                isThere.Come();
                EXPECT_TRUE(mayGoOn.Await());
            }
            if (name == "Abort") {
                closesBefore = camera->closes;
                mayGoOn.Come();
            }
        };
        first = std::thread([this] { started = Zerix_SetStreaming(HandleOf(*camera), 1); });
        ASSERT_TRUE(isThere.Await());
    }

    // A callback that sets a parameter when it may.
    static void SetInside(void *test, uint32_t, uint32_t, uint32_t)
    {
        auto &self = *static_cast<CloseBesideCalls *>(test);
        self.isThere.Come();
        EXPECT_TRUE(self.mayGoOn.Await());
        self.started = Zerix_SetParamS32(&self.current, zprmS32AbsoluteOffset, 5);
    }

    Moment isThere;
    Moment mayGoOn;
    std::thread first;
    uint32_t started = 77;
    uint32_t closesBefore = 77;
};

TEST_F(CloseBesideCalls, TheSecondOfTwoClosesAtOnceReturns9)
{
    camera->isCameraStreaming = true;
    HoldUpIn("StopStreamingImages");
    uint32_t closed = 77;
    first = std::thread([&] { closed = Zerix_CloseCamera(HandleOf(*camera)); });
    ASSERT_TRUE(isThere.Await());
    EXPECT_EQ(Zerix_CloseCamera(HandleOf(*camera)), 9u);
    EXPECT_EQ(Zerix_CloseCamera(HandleOf(*camera)), 9u);
    EXPECT_EQ(camera->closes, 0u);
    mayGoOn.Come();
    first.join();
    EXPECT_EQ(closed, 0u);
    EXPECT_EQ(camera->closes, 1u);
}

// Though the camera itself still counts as open.
TEST_F(CloseBesideCalls, ACallThatBeginsDuringACloseFindsTheCameraClosed)
{
    const ZerixHandle handle = HandleOf(*camera);
    camera->isCameraStreaming = true;
    HoldUpIn("StopStreamingImages");
    first = std::thread([&] { EXPECT_EQ(Zerix_CloseCamera(handle), 0u); });
    ASSERT_TRUE(isThere.Await());
    Take();
    EXPECT_TRUE(camera->IsCameraOpen());
    uint32_t value = 0;
    char text[32];
    EXPECT_EQ(Zerix_GetInfo(handle, zinfCcd, &value), 9u);
    EXPECT_EQ(Zerix_GetSerialString(handle, text, sizeof(text)), 9u);
    EXPECT_EQ(Zerix_ReadSettingsFromCam(handle, &current), 9u);
    EXPECT_EQ(Zerix_PreflightSettings(handle, &current), 9u);
    EXPECT_EQ(Zerix_GetParam(&current, zprmGain, &value), 3u);
    EXPECT_EQ(_Zerix_factory_reserved0(handle, 0, 0, 0, 0), 9u);
    for (const std::string &line : Take())
        EXPECT_EQ(line.find("Another process"), std::string::npos) << line;
    ZerixHandle opened = nullptr;
    EXPECT_EQ(Zerix_OpenCamera(0, &opened), 11u);
    EXPECT_EQ(opened, handle);
    mayGoOn.Come();
    first.join();
    EXPECT_EQ(Zerix_OpenCamera(0, &opened), 0u);
}

TEST_F(CloseBesideCalls, ACloseWaitsForACallThatBeganBefore)
{
    StartSlowly();
    EXPECT_EQ(Zerix_CloseCamera(HandleOf(*camera)), 0u);
    EXPECT_EQ(closesBefore, 0u);
    EXPECT_EQ(camera->closes, 1u);
    first.join();
    EXPECT_EQ(started, 0u);
}

TEST_F(CloseBesideCalls, AReleaseWaitsForACallThatBeganBefore)
{
    StartSlowly();
    Zerix_ReleaseDriver();
    first.join();
    EXPECT_EQ(started, 0u);
    EXPECT_EQ(closesBefore, 0u);
    EXPECT_TRUE(Cameras().empty());
}

// Its camera is not closed for it yet, though a close waits already.
TEST_F(CloseBesideCalls, ACallInsideACallBelongsToIt)
{
    camera->inCall = [this](const std::string &name) {
        if (name == "Abort")
            mayGoOn.Come();
    };
    uint32_t queued = 77;
    first = std::thread(
        [&] { queued = Zerix_QueueSettings(HandleOf(*camera), &current, SetInside, 1, this, 0); });
    ASSERT_TRUE(isThere.Await());
    EXPECT_EQ(Zerix_CloseCamera(HandleOf(*camera)), 0u);
    first.join();
    EXPECT_EQ(queued, 0u);
    EXPECT_EQ(started, 0u);
}

TEST_F(CloseBesideCalls, NoCallbackReleasesTheLibrary)
{
    const auto release = [](void *, uint32_t, uint32_t, uint32_t) { Zerix_ReleaseDriver(); };
    EXPECT_EQ(Zerix_QueueSettings(HandleOf(*camera), &current, release, 1, nullptr, 0), 0u);
    EXPECT_TRUE(ZX::ZCamera::IsInitalized());
    EXPECT_TRUE(camera->IsCameraOpen());
}

// A camera that takes its time to open.
class SlowCamera final : public FakeCamera {
public:
    uint16_t OpenCamera() override
    {
        isThere.Come();
        EXPECT_TRUE(mayGoOn.Await());
        return FakeCamera::OpenCamera();
    }
    Moment isThere;
    Moment mayGoOn;
};

TEST_F(CloseBesideCalls, TheSecondOfTwoOpeningsAtOnceReturns11)
{
    auto *const slow = new SlowCamera;
    AppendCameraForTest(slow);
    ZerixHandle handles[2] = {};
    uint32_t opened = 77;
    first = std::thread([&] { opened = Zerix_OpenCamera(1, &handles[0]); });
    ASSERT_TRUE(slow->isThere.Await());
    EXPECT_EQ(Zerix_OpenCamera(1, &handles[1]), 11u);
    EXPECT_EQ(handles[1], HandleOf(*slow));
    EXPECT_EQ(Zerix_CloseCamera(handles[1]), 9u);
    EXPECT_EQ(Zerix_SetStreaming(handles[1], 1), 9u);
    slow->mayGoOn.Come();
    first.join();
    EXPECT_EQ(opened, 0u);
    EXPECT_EQ(handles[0], handles[1]);
    EXPECT_EQ(Zerix_SetStreaming(handles[1], 1), 0u);
}

} // namespace
} // namespace zerix::api

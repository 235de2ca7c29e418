// A camera that is unplugged, and one that comes back, as an application sees it through the
// kernel.
#include "../checks.h"
#include "camera_session.h"

#include <array>
#include <atomic>
#include <thread>

namespace linux_kernel {
namespace {

constexpr std::size_t kFrames = 5;

class Losses : public CameraSession {
protected:
    struct Slot {
        Losses *test;
        Zerix_Frame frame;
        std::vector<std::uint8_t> pixels;
        std::atomic<std::uint32_t> error = kNotBack;
    };
    static constexpr std::uint32_t kNotBack = 999;

    void OpenAndStream()
    {
        UseText(kLineRack, Way::kKernel);
        camera = Open();
        for (Slot &slot : slots) {
            slot.test = this;
            slot.error = kNotBack;
            slot.pixels.resize(kLineBytes);
            slot.frame = {};
            slot.frame.pBuffer = slot.pixels.data();
            slot.frame.bufferSize = kLineBytes;
            ASSERT_EQ(
                Zerix_QueueFrame(camera, &slot.frame, OnFrame, ZERIX_FLAG_FRAME_DONE, &slot, 0),
                0u);
        }
        ASSERT_EQ(Zerix_SetStreaming(camera, 1), 0u);
        ASSERT_EQ(ZerixSim_GiveCredit(0, 1), 0u);
        ASSERT_TRUE(WaitUntil([&] { return slots[0].error != kNotBack; }));
    }

    static void OnFrame(void *parameter, std::uint32_t, std::uint32_t error, std::uint32_t)
    {
        static_cast<Slot *>(parameter)->error = error;
    }

    // The seconds until all frames are back.
    double UnplugAndAwaitFrames()
    {
        const double begin = Now();
        EXPECT_EQ(ZerixSim_Unplug(0), 0u);
        EXPECT_TRUE(WaitUntil([&] { return slots.back().error != kNotBack; }));
        return Now() - begin;
    }

    // The seconds until a new listing has the camera.
    double AwaitListing()
    {
        const double begin = Now();
        while (List().empty() && Now() < begin + 10)
            Sleep(0.05);
        return Now() - begin;
    }

    std::array<Slot, kFrames> slots;
    ZerixHandle camera = nullptr;
};

TEST_F(Losses, GiveEveryQueuedFrameBackWithinASecond)
{
    ASSERT_NO_FATAL_FAILURE(OpenAndStream());
    EXPECT_LT(UnplugAndAwaitFrames(), 1.0);
    EXPECT_EQ(slots[0].error, 0u);
    for (std::size_t i = 1; i < kFrames; ++i)
        EXPECT_EQ(slots[i].error, std::uint32_t{ZERIX_ERROR_UNPLUGGED}) << i;
}

// Calls of other threads, too: one that reads registers at the moment, and one that waits for an
// image.
TEST_F(Losses, EndEveryCallWithinASecond)
{
    UseText(kLineRack, Way::kKernel);
    camera = Open();
    std::atomic<double> ended = 0;
    std::uint32_t error = 0;
    std::thread grabber([&] {
        std::vector<std::uint8_t> pixels(kLineBytes);
        Zerix_Frame frame = {};
        frame.pBuffer = pixels.data();
        frame.bufferSize = kLineBytes;
        error = Zerix_GrabFrame(camera, &frame);
        ended = Now();
    });
    Sleep(0.3); // without credit no image comes
    const double begin = Now();
    EXPECT_EQ(ZerixSim_Unplug(0), 0u);
    std::uint32_t value = 0;
    Zerix_Settings settings = {};
    Zerix_CreateCameraSettingsStruct(&settings);
    EXPECT_EQ(Zerix_ReadDefaultSettings(camera, &settings), 0u);
    EXPECT_EQ(Zerix_SendSettingsToCam(camera, &settings), std::uint32_t{ZERIX_ERROR_DRIVER_FAULT});
    EXPECT_LT(Now() - begin, 1.0);
    Zerix_GetInfo(camera, zinfRegulatedCoolingLock, &value);
    grabber.join();
    EXPECT_EQ(error, std::uint32_t{ZERIX_ERROR_DRIVER_FAULT});
    EXPECT_LT(ended - begin, 1.0);
    const double beforeClose = Now();
    Zerix_CloseCamera(camera);
    EXPECT_LT(Now() - beforeClose, 1.0);
    Zerix_ReleaseCameraSettingsStruct(&settings);
}

// The kernel lists a camera for some seconds after it has gone.
TEST_F(Losses, LeaveTheOthersListed)
{
    UseText(kLineRack + std::string(kLineRack) + kLineRack, Way::kKernel);
    EXPECT_EQ(List().size(), 3u);
    EXPECT_EQ(ZerixSim_Unplug(0), 0u);
    Sleep(0.1);
    const double begin = Now();
    const auto rows = List();
    EXPECT_EQ(rows.size(), 2u);
    EXPECT_LT(Now() - begin, 1.5);
}

// The kernel has given the camera up, and makes it a new device.
TEST_F(Losses, EndWithAReturnAfterSeconds)
{
    ASSERT_NO_FATAL_FAILURE(OpenAndStream());
    UnplugAndAwaitFrames();
    Zerix_CloseCamera(camera);
    Sleep(6);
    EXPECT_TRUE(List().empty());
    EXPECT_EQ(ZerixSim_Plug(0), 0u);
    EXPECT_LT(AwaitListing(), 3.0);
    const Picture picture = Grab(Open(), kLineBytes);
    EXPECT_EQ(picture.error, 0u);
    EXPECT_EQ(picture.bytes.size(), kLineBytes);
}

// The kernel takes it for the same device, whose old files live on.
TEST_F(Losses, EndWithAReturnAtOnce)
{
    ASSERT_NO_FATAL_FAILURE(OpenAndStream());
    EXPECT_EQ(ZerixSim_Unplug(0), 0u);
    Sleep(0.3);
    EXPECT_EQ(ZerixSim_Plug(0), 0u);
    const double begin = Now();
    EXPECT_TRUE(WaitUntil([&] { return slots.back().error != kNotBack; }));
    for (std::size_t i = 1; i < kFrames; ++i)
        EXPECT_EQ(slots[i].error, std::uint32_t{ZERIX_ERROR_UNPLUGGED}) << i;
    Zerix_CloseCamera(camera);
    while (Now() < begin + 3 && List().empty())
        Sleep(0.05);
    const Picture picture = Grab(Open(), kLineBytes);
    EXPECT_EQ(picture.error, 0u);
    EXPECT_EQ(picture.bytes.size(), kLineBytes);
}

} // namespace
} // namespace linux_kernel

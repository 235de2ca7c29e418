// The library from its exported functions down to the system's calls, with a camera of recorded
// registers and packets.
#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "hal/kernel_driver.h"
#include "platform/os.h"
#include "tests/windows_driver/device_calls.h"
#include "tests/windows_driver/driver_fixture.h"
#include "tests/windows_driver/recorded_camera.h"
#include "tests/windows_driver/test_devices.h"
#include "zerix/zerix.h"
#include "zerix/zerix_errors.h"

namespace zerix::test {
namespace {

constexpr uint32_t kWidth = 1024; // of sensor 11
constexpr uint32_t kHeight = 58;
constexpr uint32_t kPacketBytes = 996;

uint8_t PixelAt(uint32_t x, uint32_t y) { return static_cast<uint8_t>(x * 7 + y * 13); }

std::vector<uint8_t> Picture()
{
    std::vector<uint8_t> pixels;
    for (uint32_t y = 0; y < kHeight; ++y)
        for (uint32_t x = 0; x < kWidth; ++x)
            pixels.push_back(PixelAt(x, y));
    return pixels;
}

const sim::CameraDescription kLineCamera = {.model = 18,
                                            .serial = "W-0018",
                                            .uniqueId = 0x00A1B2C300000012,
                                            .ccdModel = 11,
                                            .scene = "flat:1"};
const sim::CameraDescription kOtherCamera = {.model = 18,
                                             .serial = "W-0019",
                                             .uniqueId = 0x00A1B2C300000013,
                                             .ccdModel = 11,
                                             .scene = "flat:1"};

class WindowsCamera : public DriverTest {
protected:
    void SetUp() override
    {
        DriverTest::SetUp();
        ASSERT_FALSE(kernel::Driver().IsSimulated());
        first = std::make_unique<RecordedCamera>(driver, 0, kLineCamera);
        second = std::make_unique<RecordedCamera>(driver, 1, kOtherCamera);
        first->Show(Picture(), kPacketBytes);
        ASSERT_EQ(0u, Zerix_LoadDriver());
    }

    void TearDown() override
    {
        Zerix_ReleaseDriver();
        DriverTest::TearDown();
    }

    uint32_t List()
    {
        items.resize(10);
        uint32_t count = 10;
        EXPECT_EQ(0u, Zerix_ListCameras(items.data(), &count));
        items.resize(count);
        return count;
    }

    ZerixHandle OpenFirst()
    {
        ZerixHandle handle = nullptr;
        EXPECT_EQ(2u, List());
        EXPECT_EQ(0u, Zerix_OpenCamera(items[0].cameraId, &handle));
        return handle;
    }

    uint32_t Grab(ZerixHandle handle)
    {
        pixels.assign(kWidth * kHeight, 0xEE);
        frame = {};
        frame.pBuffer = pixels.data();
        frame.bufferSize = static_cast<uint32_t>(pixels.size());
        return Zerix_GrabFrame(handle, &frame);
    }

    std::unique_ptr<RecordedCamera> first;
    std::unique_ptr<RecordedCamera> second;
    std::vector<ZerixCameraListItem> items;
    std::vector<uint8_t> pixels;
    Zerix_Frame frame{};
};

TEST_F(WindowsCamera, IsListedAndOpened)
{
    EXPECT_EQ(2u, List());
    const ZerixHandle handle = OpenFirst();
    char serial[64] = {};
    EXPECT_EQ(0u, Zerix_GetSerialString(handle, serial, sizeof serial));
    EXPECT_STREQ("W-0018", serial);
    EXPECT_EQ(1u, driver.State(0).isClaimed);
    EXPECT_EQ(0u, driver.State(1).isClaimed);
    EXPECT_EQ(0u, Zerix_CloseCamera(handle));
    EXPECT_EQ(0u, driver.State(0).isClaimed);
}

TEST_F(WindowsCamera, TakesAPicture)
{
    const ZerixHandle handle = OpenFirst();
    for (const TestPending pending : {kTestPendNever, kTestPendAlways}) {
        driver.SetPending(0, pending);
        ASSERT_EQ(0u, Grab(handle));
        EXPECT_EQ(1u, frame.filled);
        EXPECT_EQ(kWidth, frame.width);
        EXPECT_EQ(kHeight, frame.height);
        EXPECT_EQ(8, frame.bitDepth);
        EXPECT_EQ(0u, frame.errorCode);
        EXPECT_EQ(77, frame.frameNumber);
        EXPECT_EQ(Picture(), pixels);
    }
    EXPECT_EQ(0u, Zerix_CloseCamera(handle));
}

TEST_F(WindowsCamera, ShowsALostPacketBlack)
{
    first->Show(Picture(), kPacketBytes, {3});
    const ZerixHandle handle = OpenFirst();
    ASSERT_EQ(0u, Grab(handle));
    EXPECT_EQ(26u, frame.errorCode);
    // The first packet holds 972 pixels, every other 984.
    std::vector<uint8_t> expected = Picture();
    std::fill_n(expected.begin() + 972 + 2 * 984, 984, uint8_t{0});
    EXPECT_EQ(expected, pixels);
    EXPECT_EQ(0u, Zerix_CloseCamera(handle));
}

TEST_F(WindowsCamera, SendsSettings)
{
    const ZerixHandle handle = OpenFirst();
    Zerix_Settings settings{};
    ASSERT_EQ(0u, Zerix_CreateCameraSettingsStruct(&settings));
    ASSERT_EQ(0u, Zerix_ReadSettingsFromCam(handle, &settings));
    EXPECT_EQ(0u, Zerix_SetParam(&settings, zprmExposure, 12345));
    EXPECT_EQ(0u, Zerix_SendSettingsToCam(handle, &settings));
    EXPECT_EQ(0u, Zerix_ReleaseCameraSettingsStruct(&settings));
    // 12,345 microseconds, in nanoseconds, lower half.
    EXPECT_EQ(12'345'000u, driver.Register(0, first->Control() + 0x3C));
    EXPECT_EQ(0u, driver.Register(0, first->Control() + 0x18));
    EXPECT_EQ(0u, Zerix_CloseCamera(handle));
}

// Every frame comes back, with its picture, in its order.
TEST_F(WindowsCamera, FillsQueuedFrames)
{
    struct Returned {
        std::unique_ptr<os::Semaphore> done = os::Semaphore::Create(0, 100);
        std::vector<uint32_t> order;
        std::vector<uint32_t> errors;
    } returned;
    const ZerixHandle handle = OpenFirst();
    ASSERT_EQ(0u, Zerix_SetStreaming(handle, 1));
    std::vector<std::vector<uint8_t>> buffers(6, std::vector<uint8_t>(kWidth * kHeight));
    std::vector<Zerix_Frame> frames(6);
    for (uint32_t i = 0; i < 6; ++i) {
        frames[i].pBuffer = buffers[i].data();
        frames[i].bufferSize = kWidth * kHeight;
        const auto callback = [](void *user, uint32_t number, uint32_t error, uint32_t) {
            auto &all = *static_cast<Returned *>(user);
            all.order.push_back(number);
            all.errors.push_back(error);
            all.done->Signal();
        };
        ASSERT_EQ(0u, Zerix_QueueFrame(handle, &frames[i], callback, ZERIX_FLAG_FRAME_DONE,
                                       &returned, i));
    }
    for (int i = 0; i < 6; ++i)
        ASSERT_EQ(os::WaitResult::kSignalled, returned.done->Wait(20000));
    EXPECT_EQ(0u, Zerix_SetStreaming(handle, 0));
    EXPECT_EQ((std::vector<uint32_t>{0, 1, 2, 3, 4, 5}), returned.order);
    EXPECT_EQ(std::vector<uint32_t>(6), returned.errors);
    for (const auto &buffer : buffers)
        EXPECT_EQ(Picture(), buffer);
    EXPECT_EQ(0u, Zerix_CloseCamera(handle));
}

// Buffers may be over, each with a damaged frame, before the device goes: then the next one is
// waited for. Every frame that is queued later comes back too, in order, and a grab ends at once.
TEST_F(WindowsCamera, IsLostWhileItStreams)
{
    struct Returned {
        ZerixHandle camera;
        Zerix_Frame *frame;
        std::unique_ptr<os::Semaphore> done = os::Semaphore::Create(0, 100);
        std::vector<std::pair<uint32_t, uint32_t>> calls = {}; // numbers and errors

        uint32_t Queue(uint32_t number)
        {
            const auto callback = [](void *user, uint32_t index, uint32_t code, uint32_t) {
                auto &all = *static_cast<Returned *>(user);
                if (code == 26 && all.Queue(index) == 0)
                    return;
                all.calls.emplace_back(index, code);
                all.done->Signal();
            };
            return Zerix_QueueFrame(camera, frame, callback, ZERIX_FLAG_FRAME_DONE, this, number);
        }
    };
    first->Show(std::vector<uint8_t>(100), kPacketBytes); // never a whole frame
    const ZerixHandle handle = OpenFirst();
    ASSERT_EQ(0u, Zerix_SetStreaming(handle, 1));
    std::vector<uint8_t> buffer(kWidth * kHeight);
    frame.pBuffer = buffer.data();
    frame.bufferSize = kWidth * kHeight;
    Returned returned = {.camera = handle, .frame = &frame};
    ASSERT_EQ(0u, returned.Queue(1));
    while (driver.State(0).buffersFilled == 0)
        SwitchToThread();
    driver.Unplug(0);
    ASSERT_EQ(os::WaitResult::kSignalled, returned.done->Wait(20000));
    for (uint32_t number = 2; number <= 4; ++number)
        ASSERT_EQ(0u, returned.Queue(number));
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(os::WaitResult::kSignalled, returned.done->Wait(20000));
    EXPECT_EQ((std::vector<std::pair<uint32_t, uint32_t>>{{1, 28}, {2, 28}, {3, 28}, {4, 28}}),
              returned.calls);
    EXPECT_EQ(16u, Grab(handle));
    EXPECT_EQ(0u, Zerix_CloseCamera(handle));
    EXPECT_EQ(1u, List());
    driver.Plug(0);
    EXPECT_EQ(2u, List());
}

// The system takes the device away for good, under the open camera; what comes back is a new one.
// The driver has no chance to take anything back from the old one, so that only the end of the
// library lets go of it.
TEST_F(WindowsCamera, IsTakenFromTheSystem)
{
    const ZerixHandle handle = OpenFirst();
    ASSERT_EQ(0u, Grab(handle));
    ASSERT_EQ(0u, Zerix_SetStreaming(handle, 1));
    RemoveDevice(0);
    EXPECT_EQ(0u, driver.State(0).isThere);
    EXPECT_EQ(0u, Zerix_CloseCamera(handle));
    EXPECT_EQ(2u, List());
    EXPECT_EQ(1u, items[0].isOpen);
    Zerix_ReleaseDriver();
    ASSERT_EQ(0u, Zerix_LoadDriver());
    EXPECT_EQ(1u, List());
    MakeDevice(0);
    InstallDriver(DriverDescription());
    first = std::make_unique<RecordedCamera>(driver, 0, kLineCamera);
    first->Show(Picture(), kPacketBytes);
    const ZerixHandle again = OpenFirst();
    EXPECT_EQ(0u, Grab(again));
    EXPECT_EQ(Picture(), pixels);
    EXPECT_EQ(0u, Zerix_CloseCamera(again));
}

TEST_F(WindowsCamera, ThatSomebodyElseHasIsNotListed)
{
    OpenDevice other(kFirst);
    ASSERT_TRUE(other.Take(112));
    EXPECT_EQ(1u, List());
    other.Close();
    EXPECT_EQ(2u, List());
}

} // namespace
} // namespace zerix::test

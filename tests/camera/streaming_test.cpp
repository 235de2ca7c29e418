// Streaming from a virtual camera: start, stop, one image, triggers, abort, faults, and the loss of the
// device.
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "image/z_ex_image.h"
#include "tests/virtual_bus/virtual_bus_fixture.h"

namespace zerix::test {
namespace {

constexpr auto kDeadline = std::chrono::seconds(30);

struct ImageDeleter {
    void operator()(ZX::ZExImage *image) const { ZX::ZCamera::FreeImage(image); }
};
using Image = std::unique_ptr<ZX::ZExImage, ImageDeleter>;

// Takes what the streaming callback brings.
class Receiver {
public:
    struct Delivery {
        Image image;
        uint16_t error;
    };

    static void Received(ZX::ZImageReceivedCallbackStruct *record)
    {
        auto &receiver = *static_cast<Receiver *>(record->userData);
        const std::lock_guard lock(receiver.m_mutex);
        receiver.m_deliveries.push_back({Image(record->image), record->error});
        receiver.m_came.notify_all();
    }
    static void ExposeDone(void *context)
    {
        auto &receiver = *static_cast<Receiver *>(context);
        const std::lock_guard lock(receiver.m_mutex);
        ++receiver.m_exposures;
        receiver.m_came.notify_all();
    }

    // Nothing within the deadline is an error 0xFFFF.
    Delivery Take()
    {
        std::unique_lock lock(m_mutex);
        if (!m_came.wait_for(lock, kDeadline, [this] { return !m_deliveries.empty(); }))
            return {nullptr, 0xFFFF};
        Delivery first = std::move(m_deliveries.front());
        m_deliveries.erase(m_deliveries.begin());
        return first;
    }
    bool AwaitExposure()
    {
        std::unique_lock lock(m_mutex);
        return m_came.wait_for(lock, kDeadline, [this] { return m_exposures > 0; });
    }
    size_t Waiting()
    {
        const std::lock_guard lock(m_mutex);
        return m_deliveries.size();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_came;
    std::vector<Delivery> m_deliveries;
    uint32_t m_exposures = 0;
};

class Streaming : public VirtualBusTest {
protected:
    ZX::TolvaneFWCamera &OpenIt()
    {
        auto &camera = OpenOne(Describe(18, 6));
        ZerixSim_GiveCredit(0, 0);
        return camera;
    }
    static uint16_t Start(ZX::TolvaneFWCamera &camera, Receiver &receiver)
    {
        return camera.StartStreamingImages(Receiver::Received, Receiver::ExposeDone, false, &receiver);
    }
    static Image Grab(ZX::TolvaneFWCamera &camera)
    {
        ZX::ZExImage *image = nullptr;
        EXPECT_EQ(camera.GetOneImage(&image), 0);
        return Image(image);
    }

    Receiver receiver;
};

TEST_F(Streaming, StartsWithANewTagAndACommit)
{
    auto &camera = OpenIt();
    ASSERT_EQ(camera.GetPSN(), 0);
    EXPECT_EQ(Start(camera, receiver), 0);
    EXPECT_TRUE(camera.IsCameraStreaming());
    EXPECT_EQ(camera.GetPSN(), 1);
    const auto writes = TakeWrites();
    ASSERT_GE(writes.size(), 3u);
    const size_t last = writes.size() - 1;
    EXPECT_EQ(writes[last - 2], ControlWrite(0x04, 0x01000004));
    EXPECT_EQ(writes[last - 1], CommitWrite());
    EXPECT_EQ(writes[last].block, Block::kStreaming);
    EXPECT_EQ(writes[last].offset, 4u);
    EXPECT_EQ(writes[last].value & 0xFFFFFFu, 1u);
    EXPECT_EQ(Start(camera, receiver), 0);
    EXPECT_EQ(TakeWrites(), std::vector<RegisterWrite>{});
    EXPECT_EQ(camera.StopStreamingImages(), 0);
    EXPECT_FALSE(camera.IsCameraStreaming());
    EXPECT_EQ(TakeWrites(), (std::vector<RegisterWrite>{{Block::kStreaming, 4, 0}}));
}

TEST_F(Streaming, StopsWhenStopped)
{
    auto &camera = OpenIt();
    EXPECT_EQ(camera.StopStreamingImages(), 0);
    EXPECT_EQ(TakeWrites(), std::vector<RegisterWrite>{});
}

TEST_F(Streaming, DeliversImagesInOrder)
{
    auto &camera = OpenIt();
    ASSERT_EQ(Start(camera, receiver), 0);
    ZerixSim_GiveCredit(0, 3);
    uint16_t firstNumber = 0;
    for (uint16_t i = 0; i < 3; ++i) {
        const auto delivery = receiver.Take();
        ASSERT_NE(delivery.image, nullptr);
        EXPECT_EQ(delivery.error, 0);
        EXPECT_EQ(delivery.image->GetWidth(), 1392u);
        EXPECT_EQ(delivery.image->GetHeight(), 1040u);
        EXPECT_EQ(delivery.image->GetImageSize(), 1447680u);
        EXPECT_EQ(delivery.image->GetBitDepth(), 8);
        EXPECT_EQ(delivery.image->GetExposure(), 16384000u);
        EXPECT_EQ(delivery.image->GetGain(), 1000000.0);
        EXPECT_EQ(delivery.image->GetCamera(), &camera);
        EXPECT_EQ(delivery.image->GetImageFormat(), 2u);
        EXPECT_EQ(delivery.image->GetSymmetricalBinningMode(), 1);
        if (i == 0)
            firstNumber = delivery.image->GetRollingFrameNumber();
        EXPECT_EQ(delivery.image->GetRollingFrameNumber(), firstNumber + i);
    }
    EXPECT_TRUE(receiver.AwaitExposure());
    EXPECT_EQ(camera.StopStreamingImages(), 0);
}

TEST_F(Streaming, TellsOfMissingData)
{
    auto &camera = OpenIt();
    ASSERT_EQ(ZerixSim_InjectFault(0, "lose packet at frame 1 packet 5"), 0u) << ZerixSim_LastErrorText();
    ASSERT_EQ(Start(camera, receiver), 0);
    ZerixSim_GiveCredit(0, 2);
    EXPECT_EQ(receiver.Take().error, 0x12);
    EXPECT_EQ(receiver.Take().error, 0);
    EXPECT_EQ(camera.StopStreamingImages(), 0);
}

TEST_F(Streaming, GivesOneImageAtATime)
{
    auto &camera = OpenIt();
    ZerixSim_GiveCredit(0, ZERIX_SIM_UNLIMITED);
    for (int i = 0; i < 5; ++i) {
        const Image image = Grab(camera);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->GetErrorCode(), 0);
        EXPECT_FALSE(camera.IsCameraStreaming());
    }
}

TEST_F(Streaming, GoesOnAfterOneImageWithTheOldCallback)
{
    auto &camera = OpenIt();
    ASSERT_EQ(Start(camera, receiver), 0);
    ZerixSim_GiveCredit(0, 1);
    ASSERT_NE(receiver.Take().image, nullptr);
    std::thread hardware([] { ZerixSim_GiveCredit(0, 1000000); });
    EXPECT_NE(Grab(camera), nullptr);
    hardware.join();
    EXPECT_TRUE(camera.IsCameraStreaming());
    EXPECT_NE(receiver.Take().image, nullptr);
    EXPECT_EQ(camera.StopStreamingImages(), 0);
}

TEST_F(Streaming, RefusesATriggerWhereThereIsNone)
{
    auto &camera = OpenIt();
    EXPECT_EQ(camera.SoftwareTrigger(), 17);
    ASSERT_EQ(Start(camera, receiver), 0);
    EXPECT_EQ(camera.SoftwareTrigger(), 22);
    EXPECT_EQ(camera.StopStreamingImages(), 0);
}

TEST_F(Streaming, ExposesOnASoftwareTrigger)
{
    auto &camera = OpenIt();
    ZerixSim_GiveCredit(0, ZERIX_SIM_UNLIMITED);
    ASSERT_EQ(camera.SetTriggerMode(5), 0);
    ASSERT_EQ(camera.UpdateSettingsOnCamera(), 0);
    ASSERT_EQ(Start(camera, receiver), 0);
    TakeWrites();
    EXPECT_EQ(camera.SoftwareTrigger(), 0);
    EXPECT_EQ(TakeWrites(), (std::vector<RegisterWrite>{{Block::kCommand, 8, 1}}));
    EXPECT_NE(receiver.Take().image, nullptr);
    EXPECT_EQ(camera.StopStreamingImages(), 0);
}

TEST_F(Streaming, EndsAWaitForOneImageWithAnAbort)
{
    auto &camera = OpenIt();
    std::thread other([&] {
        const auto end = std::chrono::steady_clock::now() + kDeadline;
        while (!camera.IsCameraStreaming() && std::chrono::steady_clock::now() < end)
            std::this_thread::yield();
        camera.Abort();
    });
    ZX::ZExImage *image = nullptr;
    EXPECT_EQ(camera.GetOneImage(&image), 21);
    EXPECT_EQ(image, nullptr);
    other.join();
    EXPECT_FALSE(camera.IsCameraStreaming());
}

TEST_F(Streaming, TellsThatTheDeviceIsLost)
{
    auto &camera = OpenIt();
    ASSERT_EQ(Start(camera, receiver), 0);
    ZerixSim_Unplug(0);
    const auto delivery = receiver.Take();
    EXPECT_EQ(delivery.image, nullptr);
    EXPECT_EQ(delivery.error, 0x1A);
    testing::internal::CaptureStdout();
    camera.StopStreamingImages();
    testing::internal::GetCapturedStdout();
    EXPECT_FALSE(camera.IsCameraStreaming());
}

TEST_F(Streaming, EndsAWaitForOneImageWhenTheDeviceIsLost)
{
    auto &camera = OpenIt();
    std::thread other([&] {
        const auto end = std::chrono::steady_clock::now() + kDeadline;
        while (!camera.IsCameraStreaming() && std::chrono::steady_clock::now() < end)
            std::this_thread::yield();
        ZerixSim_Unplug(0);
    });
    ZX::ZExImage *image = nullptr;
    testing::internal::CaptureStdout();
    const uint16_t status = camera.GetOneImage(&image);
    other.join();
    testing::internal::GetCapturedStdout();
    EXPECT_TRUE(status == 21 || status == 9) << status;  // 9: lost before the start was through
    EXPECT_EQ(image, nullptr);
}

TEST_F(Streaming, RestartsWithTheCommitAfterAChange)
{
    auto &camera = OpenIt();
    ASSERT_EQ(Start(camera, receiver), 0);
    EXPECT_EQ(camera.SetBitDepth(12), 0);
    EXPECT_FALSE(camera.IsCameraStreaming());
    EXPECT_EQ(camera.UpdateSettingsOnCamera(), 0);
    EXPECT_TRUE(camera.IsCameraStreaming());
    ZerixSim_GiveCredit(0, 1);
    const auto delivery = receiver.Take();
    ASSERT_NE(delivery.image, nullptr);
    EXPECT_EQ(delivery.image->GetBitDepth(), 12);
    EXPECT_EQ(delivery.image->GetImageSize(), 2895360u);
    EXPECT_EQ(delivery.image->GetImageFormat(), 3u);
    EXPECT_EQ(camera.StopStreamingImages(), 0);
}

TEST_F(Streaming, RefusesExternalBuffers)
{
    auto &camera = OpenIt();
    uint8_t buffer[4] = {};
    EXPECT_EQ(camera.AddExternalImageBuffer(buffer), 1);
}

} // namespace
} // namespace zerix::test

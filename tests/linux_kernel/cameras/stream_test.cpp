// A stream through the kernel: no frame is lost, whatever the bus does meanwhile.
#include "../checks.h"
#include "camera_session.h"

#include <array>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace linux_kernel {
namespace {

constexpr std::chrono::seconds kPatience{60};
constexpr std::uint64_t kOther = 0x0011220000777777;

class Streams : public CameraSession {
protected:
    // A frame that goes round: when it comes back, it is noted and queued again.
    struct Slot {
        Streams *test;
        Zerix_Frame frame;
        std::vector<std::uint8_t> pixels;
    };
    struct Arrived {
        std::uint32_t error;
        std::uint32_t number;
        std::uint64_t digest;
        bool operator==(const Arrived &) const = default;
    };
    static constexpr std::size_t kSlots = 8;
    static constexpr std::uint32_t kBatch = 20;

    // Streams so many batches of frames. `meanwhile` is called as each of them begins.
    std::vector<Arrived> Stream(Way way, std::uint32_t batches,
                                const std::function<void(std::uint32_t)> &meanwhile = {},
                                const std::string &clock = "fast")
    {
        UseText("clock = \"" + clock + "\"\n" + kLineRack, way);
        const ZerixHandle camera = Open();
        arrived.clear();
        slots.resize(kSlots);
        for (Slot &slot : slots)
            QueueFirst(camera, slot);
        EXPECT_EQ(Zerix_SetStreaming(camera, 1), 0u);
        for (std::uint32_t batch = 0; batch < batches; ++batch) {
            EXPECT_EQ(ZerixSim_GiveCredit(0, kBatch), 0u);
            if (meanwhile)
                meanwhile(batch);
            std::unique_lock lock(mutex);
            EXPECT_TRUE(changed.wait_for(lock, kPatience,
                                         [&] { return arrived.size() >= (batch + 1) * kBatch; }))
                << arrived.size() << " frames";
        }
        EXPECT_EQ(Zerix_CloseCamera(camera), 0u);
        return arrived;
    }

    void QueueFirst(ZerixHandle camera, Slot &slot)
    {
        slot.test = this;
        slot.pixels.resize(kLineBytes);
        slot.frame = {};
        slot.frame.pBuffer = slot.pixels.data();
        slot.frame.bufferSize = kLineBytes;
        EXPECT_EQ(Zerix_QueueFrame(camera, &slot.frame, OnFrame, ZERIX_FLAG_FRAME_DONE, &slot, 0),
                  0u);
    }

    static void OnFrame(void *parameter, std::uint32_t, std::uint32_t error, std::uint32_t)
    {
        Slot &slot = *static_cast<Slot *>(parameter);
        std::uint64_t digest = 0xCBF29CE484222325u; // FNV-1a
        for (const std::uint8_t byte : slot.pixels)
            digest = (digest ^ byte) * 0x100000001B3u;
        {
            const std::lock_guard lock(slot.test->mutex);
            slot.test->arrived.push_back({error, slot.frame.frameNumber, digest});
            slot.test->changed.notify_all();
        }
        Zerix_QueueFrame(slot.frame.camera, &slot.frame, OnFrame, ZERIX_FLAG_FRAME_DONE, &slot, 0);
    }

    void ExpectWhole(const std::vector<Arrived> &frames, std::uint32_t batches) const
    {
        EXPECT_EQ(ToldLosses(), "");
        const std::uint32_t count = batches * kBatch;
        ASSERT_EQ(frames.size(), count);
        for (std::uint32_t i = 0; i < count; ++i) {
            EXPECT_EQ(frames[i].error, 0u) << i;
            EXPECT_EQ(frames[i].number, i);
        }
        // Frames have noise of their own.
        EXPECT_NE(frames[0].digest, frames[1].digest);
    }

    void ExpectBooked()
    {
        std::array<ZerixBusNode, 4> nodes{};
        std::uint32_t count = 0;
        EXPECT_EQ(Driver().DescribeNodes(nodes.data(), nodes.size(), &count), 0u);
        ASSERT_EQ(count, 2u);
        EXPECT_NE(nodes[0].flags & ZERIX_NODE_IS_CARD, 0u);
        EXPECT_LT(nodes[0].bandwidthLeft, 4915u);
        EXPECT_EQ(nodes[0].channelsLeft, 62u); // one is the broadcasts'
    }

    std::deque<Slot> slots;
    std::mutex mutex; // over what follows
    std::condition_variable changed;
    std::vector<Arrived> arrived;
};

TEST_F(Streams, LoseNothingInHundredsOfFrames)
{
    const auto direct = Stream(Way::kVirtualBus, 20);
    const auto found = Stream(Way::kKernel, 20);
    ASSERT_NO_FATAL_FAILURE(ExpectWhole(found, 20));
    EXPECT_TRUE(found == direct);
}

// As a camera does that waits for nobody.
TEST_F(Streams, LoseNothingInTheirOwnTime)
{
    const auto found = Stream(Way::kKernel, 3, {}, "real");
    ASSERT_NO_FATAL_FAILURE(ExpectWhole(found, 3));
}

TEST_F(Streams, OfTwoCamerasDontMeet)
{
    std::array<std::vector<Picture>, 2> taken;
    for (const Way way : {Way::kVirtualBus, Way::kKernel}) {
        UseText(kLineRack + std::string(kLineRack), way);
        std::vector<Picture> &pictures = taken[way == Way::kKernel ? 1 : 0];
        const std::array<ZerixHandle, 2> cameras = {Open(0), Open(1)};
        for (const ZerixHandle camera : cameras)
            EXPECT_EQ(Zerix_SetStreaming(camera, 1), 0u);
        for (std::uint32_t i = 0; i < 20; ++i)
            pictures.push_back(Grab(cameras[i % 2], kLineBytes, i % 2));
    }
    EXPECT_TRUE(taken[0] == taken[1]);
    for (const Picture &picture : taken[1])
        EXPECT_EQ(picture.error, 0u);
    EXPECT_NE(taken[1][0].bytes, taken[1][1].bytes);
    EXPECT_EQ(ToldLosses(), "");
}

// The bus is full after some cameras, whoever keeps its accounts.
TEST_F(Streams, AreRefusedWhereTheBusIsFull)
{
    std::array<std::vector<std::uint32_t>, 2> codes;
    for (const Way way : {Way::kVirtualBus, Way::kKernel}) {
        std::string rack = "speed = 400\n";
        for (int i = 0; i < 3; ++i)
            rack += kLineRack;
        UseText(rack, way);
        for (const ZerixCameraListItem &row : List()) {
            ZerixHandle camera = nullptr;
            EXPECT_EQ(Zerix_OpenCamera(row.cameraId, &camera), 0u);
            codes[way == Way::kKernel ? 1 : 0].push_back(Zerix_SetStreaming(camera, 1));
        }
    }
    EXPECT_EQ(codes[0], codes[1]);
    EXPECT_EQ(codes[1].size(), 3u);
    EXPECT_EQ(codes[1].front(), 0u);
    EXPECT_EQ(codes[1].back(), std::uint32_t{ZERIX_ERROR_INITIALISATION});
}

TEST_F(Streams, GoOnOverBusResetsOfOthers)
{
    const auto direct = Stream(Way::kVirtualBus, 5);
    std::uint32_t before = 0;
    const auto found = Stream(Way::kKernel, 5, [&](std::uint32_t batch) {
        if (batch == 0)
            before = Nodes().ResetCount();
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(Nodes().TheWire().Reset(i % 2 == 0 ? 0 : FWBUS_LOCAL), 0);
            Sleep(0.003 * i);
        }
        // The kernel has booked anew by then.
        if (batch == 4) {
            Sleep(2);
            ExpectBooked();
        }
    });
    ASSERT_NO_FATAL_FAILURE(ExpectWhole(found, 5));
    EXPECT_TRUE(found == direct);
    EXPECT_GE(Nodes().ResetCount(), before + 20);
}

TEST_F(Streams, GoOnWhileOtherDevicesComeAndGo)
{
    const auto direct = Stream(Way::kVirtualBus, 4);
    const auto found = Stream(Way::kKernel, 4, [&](std::uint32_t batch) {
        if (batch == 1) {
            EXPECT_EQ(Nodes().TheWire().Plug(RackNodes::kFreeSocket, RomOf(kOther)), 0);
        }
        if (batch == 2) {
            EXPECT_NE(WaitForDevice(kOther), "");
            EXPECT_EQ(Nodes().TheWire().Unplug(RackNodes::kFreeSocket), 0);
        }
        if (batch == 3) {
            EXPECT_TRUE(WaitUntil([] { return WaitForDevice(kOther, 0).empty(); }));
        }
    });
    ASSERT_NO_FATAL_FAILURE(ExpectWhole(found, 4));
    EXPECT_TRUE(found == direct);
}

} // namespace
} // namespace linux_kernel

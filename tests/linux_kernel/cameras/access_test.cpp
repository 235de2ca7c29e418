// Register accesses through the kernel: over bus resets, and of a camera that doesn't answer.
#include "../checks.h"
#include "camera_session.h"
#include "hal/kernel_requests.h"

#include <array>
#include <thread>

namespace linux_kernel {
namespace {

using namespace zerix;

// The register that tells of the model, in the order of the bus.
constexpr std::uint32_t kModelRegister = 0xE0010038;
constexpr std::array<std::uint8_t, 4> kModel = {0x00, 0x12, 0x00, 0x00};
// A block of registers that says the same from read to read.
constexpr std::uint32_t kBlock = 0xD0000000;
constexpr std::uint64_t kOther = 0x0011220000888888;

class Accesses : public CameraSession {
protected:
    void SetUp() override
    {
        UseText(kLineRack, Way::kKernel);
        kernel::DevicePath path = {};
        std::uint32_t count = 0;
        ASSERT_EQ(Driver().Enumerate(&path, 1, &count), 0u);
        ASSERT_EQ(count, 1u);
        ASSERT_EQ(Driver().Open(path.text, &device), 0u);
    }

    void TearDown() override
    {
        Driver().Close(device);
        CameraSession::TearDown();
    }

    struct Read {
        kernel::AsyncRequest request{};
        std::vector<std::uint8_t> data;
        kernel::Overlapped overlapped;
    };

    kernel::ControlResult Begin(Read &read, std::uint32_t address, std::uint32_t bytes)
    {
        read.request = {};
        read.request.one = 1;
        read.request.destination = kernel::kDestination;
        read.request.offsetHigh = kernel::kOffsetHigh;
        read.request.offsetLow = address;
        read.request.lengthBytes = bytes;
        read.data.resize(bytes);
        return Driver().Control(device, kernel::kControlAsyncRead, &read.request,
                                kernel::kAsyncRequestBytes, read.data.data(), bytes,
                                &read.overlapped);
    }

    bool ReadsModel()
    {
        Read read;
        Begin(read, kModelRegister, 4);
        const auto result = Driver().Wait(device, &read.overlapped);
        return result.completion == kernel::Completion::kDone &&
               std::equal(kModel.begin(), kModel.end(), read.data.begin());
    }

    void HangReads(std::uint32_t count)
    {
        for (std::uint32_t i = 1; i <= count; ++i)
            ASSERT_EQ(ZerixSim_InjectFault(0, ("hang at read " + std::to_string(i)).c_str()), 0u);
    }

    // Reads on and on in a thread of its own, until `disturb` is over.
    template <typename Disturb>
    void ReadWhile(Disturb disturb)
    {
        std::atomic<bool> isOver = false;
        std::uint32_t good = 0, bad = 0;
        double longest = 0;
        std::thread reader([&] {
            while (!isOver) {
                const double begin = Now();
                ++(ReadsModel() ? good : bad);
                longest = std::max(longest, Now() - begin);
                Sleep(0.001);
            }
        });
        disturb();
        isOver = true;
        reader.join();
        EXPECT_EQ(bad, 0u);
        EXPECT_GT(good, 100u);
        RecordProperty("reads", static_cast<int>(good));
        RecordProperty("longest", std::to_string(longest));
        EXPECT_LT(longest, 1.0);
    }

    kernel::DeviceHandle device = 0;
};

TEST_F(Accesses, AreServedOverBusResetsOfTheComputer)
{
    ReadWhile([&] {
        for (int i = 0; i < 20; ++i) {
            EXPECT_EQ(Nodes().TheWire().Reset(FWBUS_LOCAL), 0);
            Sleep(0.007 * i);
        }
    });
}

// The kernel passes these on to the camera's file half a second late.
TEST_F(Accesses, AreServedOverBusResetsOfTheCamera)
{
    ReadWhile([&] {
        for (int i = 0; i < 20; ++i) {
            EXPECT_EQ(Nodes().TheWire().Reset(0), 0);
            Sleep(0.007 * i);
        }
    });
}

TEST_F(Accesses, AreServedWhileOtherDevicesComeAndGo)
{
    ReadWhile([&] {
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(Nodes().TheWire().Plug(RackNodes::kFreeSocket, RomOf(kOther)), 0);
            EXPECT_NE(WaitForDevice(kOther), "");
            EXPECT_EQ(Nodes().TheWire().Unplug(RackNodes::kFreeSocket), 0);
            Sleep(0.3 * i);
        }
    });
}

// What a reset cuts off isn't answered any more; the kernel waits for two seconds all the same.
TEST_F(Accesses, ThatABusResetCutsOffAreMadeAgainAtOnce)
{
    for (const std::uint32_t initiator : {FWBUS_LOCAL, 0u}) {
        SCOPED_TRACE(initiator);
        ASSERT_NO_FATAL_FAILURE(HangReads(1));
        Read read;
        ASSERT_EQ(Begin(read, kModelRegister, 4).completion, kernel::Completion::kPending);
        Sleep(0.02);
        const double begin = Now();
        EXPECT_EQ(Nodes().TheWire().Reset(initiator), 0);
        EXPECT_EQ(Driver().Wait(device, &read.overlapped).completion, kernel::Completion::kDone);
        EXPECT_LT(Now() - begin, 0.1);
        Sleep(3);
    }
}

// The kernel gives up after two seconds, and a bit more.
TEST_F(Accesses, AreTriedOnceMoreWhereTheCameraDoesntAnswer)
{
    ASSERT_NO_FATAL_FAILURE(HangReads(1));
    const double begin = Now();
    EXPECT_TRUE(ReadsModel());
    EXPECT_NEAR(Now() - begin, 2.05, 0.1);
}

TEST_F(Accesses, FailWhereTheCameraNeverAnswers)
{
    ASSERT_NO_FATAL_FAILURE(HangReads(2));
    Read read;
    const double begin = Now();
    ASSERT_EQ(Begin(read, kModelRegister, 4).completion, kernel::Completion::kPending);
    const auto result = Driver().Wait(device, &read.overlapped);
    EXPECT_EQ(result.completion, kernel::Completion::kFailed);
    EXPECT_EQ(result.systemError, kernel::kErrorGenFailure);
    EXPECT_NEAR(Now() - begin, 4.1, 0.2);
    EXPECT_TRUE(ReadsModel());
}

// As a block and as single quadlets the same.
TEST_F(Accesses, ReadBlocks)
{
    Read block;
    Begin(block, kBlock, 44);
    ASSERT_EQ(Driver().Wait(device, &block.overlapped).completion, kernel::Completion::kDone);
    for (std::uint32_t i = 0; i < 11; ++i) {
        Read quadlet;
        Begin(quadlet, kBlock + 4 * i, 4);
        ASSERT_EQ(Driver().Wait(device, &quadlet.overlapped).completion, kernel::Completion::kDone);
        EXPECT_TRUE(std::equal(quadlet.data.begin(), quadlet.data.end(), &block.data[4 * i])) << i;
    }
}

TEST_F(Accesses, DontKeepTheCallerOfACloseWaiting)
{
    ASSERT_NO_FATAL_FAILURE(HangReads(1));
    Read read;
    ASSERT_EQ(Begin(read, kModelRegister, 4).completion, kernel::Completion::kPending);
    Sleep(0.05);
    const double begin = Now();
    Driver().Close(device);
    EXPECT_LT(Now() - begin, 0.05);
    const auto result = Driver().WaitFor(device, &read.overlapped, 0);
    EXPECT_EQ(result.completion, kernel::Completion::kFailed);
    EXPECT_EQ(result.systemError, kernel::kErrorOperationAborted);
    // The kernel itself takes the time.
    EXPECT_FALSE(Driver().AwaitClosed(std::chrono::seconds(1)));
    EXPECT_TRUE(Driver().AwaitClosed(std::chrono::seconds(2)));
}

} // namespace
} // namespace linux_kernel

// The hardware layer of the built library for an application that uses nothing else of it: frames
// are assembled although no camera object was ever made.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "camera/assembler/frame_info.h"
#include "platform/os.h"
#include "tests/support/environment_variable.h"
#include "tests/support/places.h"
#include "zerix/zerix_hal.h"

namespace zerix {
namespace {

constexpr uint32_t kDirectory = 0xD0000000;
constexpr uint8_t kTag = 7;
constexpr uint32_t kWidth = 64;
constexpr uint32_t kHeight = 48;
constexpr uint8_t kUntouched = 0xEE;

// One frame of 8-bit pixels, handed out again and again.
struct Receiver {
    std::vector<uint8_t> pixels = std::vector<uint8_t>(kWidth * kHeight, kUntouched);
    tStFrameInfo frame{};
    std::unique_ptr<os::Semaphore> done = os::Semaphore::Create(0, 1'000'000);

    static Receiver &Of(void *context) { return *static_cast<Receiver *>(context); }
    static tStFrameInfo *Peek(void *context)
    {
        Receiver &receiver = Of(context);
        receiver.frame.data = receiver.pixels.data();
        receiver.frame.size = kWidth * kHeight;
        receiver.frame.expected = kWidth * kHeight;
        receiver.frame.psn = kTag;
        return &receiver.frame;
    }
    static tStFrameInfo *Get(void *context) { return &Of(context).frame; }
    static void Done(void *context) { Of(context).done->Signal(); }
    static void Nothing(void *) {}
};

// Stays loaded, as in an application that links it.
const os::DynamicLibrary *Library()
{
    static const os::DynamicLibrary *const library =
        os::DynamicLibrary::Load(test::LibraryPath()).release();
    return library;
}

class HardwareLayer : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_NE(m_library, nullptr);
        uint32_t count = 0;
        const auto list = Function<decltype(HAL_CameraGetList)>("HAL_CameraGetList");
        ASSERT_EQ(list(&m_cameras, 0, 0, 1, &count), 0u);
        ASSERT_EQ(count, 1u);
    }
    void TearDown() override
    {
        if (m_cameras != nullptr) {
            EXPECT_EQ(Function<decltype(HAL_CameraRelease)>("HAL_CameraRelease")(&Camera()), 0u);
            EXPECT_EQ(Function<decltype(HAL_MemoryFree)>("HAL_MemoryFree")(m_cameras), 0u);
        }
    }

    // The library's own, of the type that the header declares.
    template <typename Type>
    Type *Function(const char *name)
    {
        return reinterpret_cast<Type *>(m_library->Symbol(name));
    }

    HALCamera &Camera() { return m_cameras[0]; }

    uint32_t Read(uint32_t address)
    {
        uint32_t value = 0;
        EXPECT_EQ(Function<decltype(HAL_CameraReadData)>("HAL_CameraReadData")(Camera(), address,
                                                                               &value, 1),
                  0u);
        return value;
    }
    void Write(uint32_t address, uint32_t value)
    {
        EXPECT_EQ(Function<decltype(HAL_CameraWriteData)>("HAL_CameraWriteData")(Camera(), address,
                                                                                 &value, 1),
                  0u);
    }

    // A small picture of 8 bits, in packets of 1000 bytes.
    void Send()
    {
        const uint32_t control = Read(kDirectory + 0x10);
        Write(control + 0x04, uint32_t{kTag} << 24);
        Write(control + 0x0C, kWidth << 16 | kHeight);
        Write(control + 0x10, 0);
        Write(control + 0x50, 1000);
        Write(Read(kDirectory + 0x18) + 4, 1);
    }

private:
    const test::EnvironmentVariable m_bus{"ZERIX_BUS", "simulated"};
    const os::DynamicLibrary *const m_library = Library();
    HALCamera *m_cameras = nullptr;
};

TEST_F(HardwareLayer, AssemblesFramesWithoutACameraObject)
{
    Receiver receiver;
    ASSERT_EQ(Function<decltype(HAL_CameraConnect)>("HAL_CameraConnect")(
                  &Camera(), 1000, Receiver::Get, Receiver::Peek, Receiver::Done, Receiver::Nothing,
                  Receiver::Nothing, &receiver),
              0u);
    Send();
    const uint32_t streaming = Read(kDirectory + 0x28) + 4;
    ASSERT_EQ(Function<decltype(HAL_CameraStartStreaming)>("HAL_CameraStartStreaming")(
                  Camera(), streaming, 1, &receiver),
              0u);
    EXPECT_EQ(receiver.done->Wait(20000), os::WaitResult::kSignalled);
    EXPECT_EQ(
        Function<decltype(HAL_CameraStopStreaming)>("HAL_CameraStopStreaming")(Camera(), streaming),
        0u);
    EXPECT_EQ(Function<decltype(HAL_CameraDisconnect)>("HAL_CameraDisconnect")(&Camera()), 0u);
    EXPECT_EQ(std::count(receiver.pixels.begin(), receiver.pixels.end(), kUntouched), 0);
}

} // namespace
} // namespace zerix

// A thread that is ended against its will in a register access: the system unwinds it here, and the
// driver is left nothing of its stack.
#include <cstdint>

#include "hal/driver_memory.h"
#include "tests/hal/hal_fixture.h"

using namespace zerix;
using namespace zerix::test;

// A thread that is ended by force leaves the frames that it is unwound through marked as in use.
// The sanitizer itself then trips over the marks, in the one system function that it calls there.
extern "C" __attribute__((visibility("default"))) const char *__asan_default_suppressions()
{
    return "interceptor_name:sigaltstack";
}

namespace {

struct Access {
    HALCamera camera;
    uint32_t data[2];
};

class ForcedEnd : public HalTest {
protected:
    void SetUp() override
    {
        HalTest::SetUp();
        BeConnected();
        access = {.camera = camera, .data = {7, 8}};
    }

    // Begins an access that hangs, and ends its thread.
    void EndIn(uint32_t code)
    {
        driver.Next(code, Hangs());
        const auto routine = code == kernel::kControlAsyncRead ? Read : Write;
        threadInfo *thread = nullptr;
        ASSERT_EQ(HAL_ThreadCreate(routine, &access, &thread), 0u);
        ASSERT_TRUE(driver.AwaitHanging(1));
        HAL_ThreadTerminate(thread);
        HAL_ThreadCleanup(thread, 10'000);
    }

    static void Read(void *parameter)
    {
        auto &access = *static_cast<Access *>(parameter);
        HAL_CameraReadData(access.camera, 0xD0000000, access.data, 2);
    }
    static void Write(void *parameter)
    {
        auto &access = *static_cast<Access *>(parameter);
        HAL_CameraWriteData(access.camera, 0xD0000000, access.data, 2);
    }

    Access access{};
};

TEST_F(ForcedEnd, CancelsTheAccessThatTheThreadWasIn)
{
    for (const uint32_t code : {kernel::kControlAsyncRead, kernel::kControlAsyncWrite}) {
        EndIn(code);
        EXPECT_EQ(driver.Hanging(), 0u);
        EXPECT_EQ(driver.Calls().back(), "cancel one");
    }
    const uint32_t word = 1;
    EXPECT_EQ(HAL_CameraWriteData(camera, 0xD0000000, &word, 1), 0u) << "the mutex is free";
}

TEST_F(ForcedEnd, LeavesAnObstinateDriverNothingOfTheThread)
{
    driver.ignoresCancel = true;
    EndIn(kernel::kControlAsyncRead);
    EXPECT_EQ(driver.Hanging(), 1u);
    driver.EndAll(); // the driver writes its answer now
    EXPECT_EQ(access.data[0], 7u);
    EXPECT_EQ(access.data[1], 8u);
    hal::FreeWhatIsOver();
}

} // namespace

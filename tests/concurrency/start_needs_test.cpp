// What a start of the stream asks for: a picture that has pixels, and the packets that the settings
// need, whatever was refused before.
#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "hal/kernel_requests.h"
#include "tests/api/virtual_queue_fixture.h"

namespace zerix::concurrency {
namespace {

class StartNeeds : public api::VirtualQueueTest {
protected:
    std::vector<uint32_t> Requests()
    {
        std::vector<uint32_t> counts;
        for (const uint32_t code :
             {kernel::kControlAsyncWrite, kernel::kControlAsyncRead,
              kernel::kControlAllocateBandwidth, kernel::kControlAllocateChannel,
              kernel::kControlAllocateResources, kernel::kControlQueueBuffer,
              kernel::kControlListen})
            counts.push_back(tap.CountOf(code));
        return counts;
    }
};

// 1024 columns binned by 2 are 512: a region that begins there has none.
TEST_F(StartNeeds, APictureThatHasPixels)
{
    OpenQuick();
    Zerix_Settings &settings = NewRecord();
    for (const uint32_t key : {zprmBinning, zprmHorizontalBinning, zprmVerticalBinning})
        tables::SetSlot32(&settings, key, 2);
    tables::SetSlot32(&settings, zprmRoiX, 512);
    tables::SetSlot32(&settings, zprmRoiWidth, 100);
    tables::SetSlot32(&settings, zprmRoiHeight, 29);
    ASSERT_EQ(Zerix_SendSettingsToCam(handle, &settings), 0u);
    EXPECT_EQ(tables::GetSlot32(&settings, zprmRoiWidth), 0u);
    const std::vector<uint32_t> before = Requests();
    EXPECT_EQ(Zerix_GrabFrame(handle, &NewSlot().frame), 32u);
    EXPECT_EQ(Zerix_SetStreaming(handle, 1), 32u);
    EXPECT_EQ(Requests(), before);
    EXPECT_EQ(Zerix_Trigger(handle), 24u);
    tables::SetSlot32(&settings, zprmRoiX, 412);
    tables::SetSlot32(&settings, zprmRoiWidth, 100);
    ASSERT_EQ(Zerix_SendSettingsToCam(handle, &settings), 0u);
    ASSERT_EQ(ZerixSim_GiveCredit(0, 1), 0u);
    EXPECT_EQ(Zerix_GrabFrame(handle, &slots.back().frame), 0u);
    EXPECT_EQ(slots.back().frame.width, 100u);
}

// 1,447,680 pixels at 2.5 MHz take 579 ms, and the exposure 16: packets that are too small would
// take 2,073 ms.
TEST_F(StartNeeds, ThePacketsOfItsSettingsThoughQueuedOnesWereRefused)
{
    constexpr uint32_t kPixels = 1392 * 1040;
    OpenQuick("[[camera]]\nmodel = 18\nsensor = 6\nscene = \"flat:2000\"\n");
    Zerix_Settings &settings = NewRecord();
    tables::SetSlot32(&settings, zprmReadoutSpeed, 3);
    ASSERT_EQ(Zerix_SendSettingsToCam(handle, &settings), 0u);
    ASSERT_EQ(Zerix_QueueSettings(handle, &settings, nullptr, 0, nullptr, 0), 3u);
    for (uint32_t number = 0; number < 2; ++number) {
        Slot &slot = NewSlot();
        slot.pixels.resize(kPixels);
        slot.frame.pBuffer = slot.pixels.data();
        slot.frame.bufferSize = kPixels;
        ASSERT_EQ(QueueFrame(slot, number), 0u);
    }
    ASSERT_EQ(Zerix_SetStreaming(handle, 1), 0u);
    ASSERT_EQ(ZerixSim_GiveCredit(0, 2), 0u);
    ASSERT_TRUE(AwaitCalls(2));
    uint64_t first = 0;
    uint64_t second = 0;
    ASSERT_EQ(ZerixSim_GetFrameTime(0, slots[0].frame.frameNumber, &first), 0u);
    ASSERT_EQ(ZerixSim_GetFrameTime(0, slots[1].frame.frameNumber, &second), 0u);
    EXPECT_NEAR(static_cast<double>(second - first) / 1e6, 595.0, 10.0);
    ASSERT_EQ(Zerix_SetStreaming(handle, 0), 0u);
}

} // namespace
} // namespace zerix::concurrency

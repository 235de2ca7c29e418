// The queue of a camera without hardware: a hundred and one frames for it, what the application was
// told, and the two streaming callbacks by hand.
#pragma once

#include <array>
#include <cstring>
#include <functional>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "api/entry_queue.h"
#include "api/stream_callbacks.h"
#include "image/z_ex_image.h"
#include "tests/api/sending_fixture.h"

namespace zerix::api {

inline constexpr uint32_t kImageBytes = 12;

// One call of the application's callback: user data, error, flags.
using CallBack = std::tuple<uint32_t, uint32_t, uint32_t>;
using CallBacks = std::vector<CallBack>;

class QueueTest : public SendingTest {
protected:
    struct Slot {
        std::array<uint8_t, kImageBytes> pixels = {};
        Zerix_Frame frame = {};
    };

    void SetUp() override
    {
        SendingTest::SetUp();
        ResetScanPositionForTest();
        camera->getImageSize = kImageBytes;
        for (Slot &slot : slots) {
            slot.frame.pBuffer = slot.pixels.data();
            slot.frame.bufferSize = kImageBytes;
        }
    }

    static void Note(void *test, uint32_t userData, uint32_t error, uint32_t flags)
    {
        auto &self = *static_cast<QueueTest *>(test);
        self.callBacks.emplace_back(userData, error, flags);
        if (self.inCallBack)
            self.inCallBack(flags);
    }

    uint32_t QueueFrame(uint32_t number, uint32_t flags = 1)
    {
        return Zerix_QueueFrame(HandleOf(*camera), &slots[number].frame, Note, flags, this, number);
    }

    uint32_t QueueSettings(uint32_t number, uint32_t flags = 1)
    {
        return Zerix_QueueSettings(HandleOf(*camera), &current, Note, flags, this, number);
    }

    uint32_t Count() { return ContextOf(*camera)->queueCount.load(); }

    // The camera has finished an image, of twelve equal bytes.
    void Receive(uint8_t value, uint16_t imageError = 0)
    {
        uint8_t *const data = ZX::ZExImage::AllocateBuffer(kImageBytes);
        std::memset(data, value, kImageBytes);
        ZX::ZImageReceivedCallbackStruct record = {
            new ZX::ZExImage(data, kImageBytes, 4, 3, 8, 5'000, 1.5, 2, 1, 5, 3, false, 5, 0, 1,
                             false, 1, imageError, HandleOf(*camera), true, 777),
            HandleOf(*camera), imageError};
        ImageReceived(&record);
    }

    void Lose()
    {
        ZX::ZImageReceivedCallbackStruct record = {nullptr, HandleOf(*camera), 26};
        ImageReceived(&record);
    }

    void Expose() { ExposeDone(HandleOf(*camera)); }

    CallBacks TakeCallBacks() { return std::exchange(callBacks, {}); }

    std::array<Slot, 101> slots;
    CallBacks callBacks;
    std::function<void(uint32_t flags)> inCallBack;
};

} // namespace zerix::api

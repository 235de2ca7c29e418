// Which packets of a receive buffer are passed on.
#include "hal/receive_thread.h"
#include "tests/hal/hal_fixture.h"

using namespace zerix;
using namespace zerix::test;

namespace {

Bytes SlotWithLength(size_t slotBytes, uint16_t length)
{
    Bytes slot(slotBytes, 0xEE);
    slot[6] = static_cast<uint8_t>(length);
    slot[7] = static_cast<uint8_t>(length >> 8);
    return slot;
}

TEST(PacketSlot, GivesOnlyAPayloadThatFitsIt)
{
    struct Case {
        size_t slotBytes;
        uint16_t length;
        size_t payload;
    };
    const Case cases[] = {{112, 0, 0},   {112, 12, 0},  {112, 13, 13},     {112, 104, 104},
                          {112, 105, 0}, {112, 112, 0}, {112, 113, 0},     {112, 0xFFFF, 0},
                          {21, 13, 13},  {20, 13, 0},   {9056, 9044, 9044}};
    for (const Case &c : cases) {
        Bytes slot = SlotWithLength(c.slotBytes, c.length);
        const auto payload = hal::PayloadOf(slot);
        EXPECT_EQ(payload.size(), c.payload) << c.slotBytes << " " << c.length;
        if (!payload.empty()) {
            EXPECT_EQ(payload.data(), slot.data() + 8);
        }
    }
    Bytes tiny(7);
    EXPECT_TRUE(hal::PayloadOf(tiny).empty());
    EXPECT_TRUE(hal::PayloadOf({}).empty());
}

} // namespace

// The table of the control requests, as a table.
#include <gtest/gtest.h>

#include "hal/request_table.h"

namespace zerix::kernel {
namespace {

TEST(RequestTable, HasTheEighteenRequestsWithTheirSizes)
{
    constexpr uint32_t kAny = 0xFFFFFFFF;
    const struct {
        uint32_t code;
        const char *name;
        uint32_t in, out;
        bool mayPend, givesBack;
    } rows[] = {
        {0x22207A, "AsyncRead", 40, kAny, true, false},
        {0x222096, "IsOpen", 4, 4, false, false},
        {0x22A07C, "AsyncWrite", kAny, kAny, true, false},
        {0x22A080, "BusEventOpen", 4, 4, false, false},
        {0x22A084, "StreamBegin", 4, 4, false, true},
        {0x22A08A, "BusEventWait", 0x808, 0x808, true, false},
        {0x22A08C, "CancelBusEvent", 4, 4, false, true},
        {0x22A090, "StreamEnd", 4, 4, false, true},
        {0x22A0A0, "AllocateBandwidth", 20, 20, false, false},
        {0x22A0A4, "FreeBandwidth", 4, 4, false, true},
        {0x22A0A8, "AllocateChannel", 16, 16, false, false},
        {0x22A0AC, "FreeChannel", 4, 4, false, true},
        {0x22A0B0, "AllocateResources", 36, 36, false, false},
        {0x22A0B4, "FreeResources", 4, 4, false, true},
        {0x22A0BA, "QueueBuffer", kAny, kAny, true, false},
        {0x22A0BC, "DetachBuffers", 4, 4, false, true},
        {0x22A0C0, "Listen", 12, 12, false, false},
        {0x22A0C4, "StopListen", 8, 8, false, true},
    };
    ASSERT_EQ(std::size(rows), kRequestTable.size());
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const RequestRow *const found = FindRequest(row.code);
        ASSERT_NE(found, nullptr);
        EXPECT_STREQ(found->name, row.name);
        EXPECT_EQ(found->inBytes, row.in);
        EXPECT_EQ(found->outBytes, row.out);
        EXPECT_EQ(found->mayPend, row.mayPend);
        EXPECT_EQ(found->givesBack, row.givesBack);
    }
    EXPECT_EQ(FindRequest(0x22A0C8), nullptr);
    EXPECT_EQ(FindRequest(0), nullptr);
}

} // namespace
} // namespace zerix::kernel

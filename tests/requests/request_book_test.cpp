// The book of pending requests.
#include <array>
#include <thread>

#include <gtest/gtest.h>

#include "hal/requests/request_book.h"

namespace zerix::kernel {
namespace {

using std::chrono::milliseconds;

constexpr DeviceHandle kCamera = 3;
constexpr DeviceHandle kOther = 4;
constexpr uint32_t kCode = 0x22207A;

class Book : public ::testing::Test {
protected:
    RequestId Begin(Overlapped &block, DeviceHandle device = kCamera, uint32_t code = kCode)
    {
        const RequestId id = book.Begin(block, device, code, out);
        EXPECT_NE(id, 0u);
        EXPECT_TRUE(book.EndService(id));
        return id;
    }

    static void Expect(const ControlResult &result, Completion completion, uint32_t error,
                       uint32_t bytes)
    {
        EXPECT_EQ(result.completion, completion);
        EXPECT_EQ(result.systemError, error);
        EXPECT_EQ(result.bytesReturned, bytes);
    }

    RequestBook book;
    std::array<uint8_t, 4> out{};
};

TEST_F(Book, GivesTheResultAgainAndAgain)
{
    Overlapped block;
    Expect(book.Wait(block), Completion::kFailed, 87, 0);
    const RequestId id = Begin(block);
    Expect(book.WaitFor(block, milliseconds(0)), Completion::kPending, 0, 0);
    EXPECT_TRUE(book.Finish(id, {Completion::kFailed, 31, 0}));
    Expect(book.Wait(block), Completion::kFailed, 31, 0);
    Expect(book.WaitFor(block, milliseconds(0)), Completion::kFailed, 31, 0);
    EXPECT_FALSE(book.Finish(id, {Completion::kDone, 0, 4})) << "it is over";
    Expect(book.Wait(block), Completion::kFailed, 31, 0);
}

TEST_F(Book, TakesABlockAgainOnlyWhenItsRequestIsOver)
{
    Overlapped block;
    const RequestId first = Begin(block);
    EXPECT_EQ(book.Begin(block, kCamera, kCode, out), 0u);
    EXPECT_TRUE(book.Finish(first, {Completion::kDone, 0, 0}));
    const RequestId second = Begin(block);
    EXPECT_NE(second, first);
    EXPECT_FALSE(book.Finish(first, {Completion::kDone, 0, 0})) << "a late end of the first";
    EXPECT_TRUE(book.IsPending(block));
    EXPECT_TRUE(book.Finish(second, {Completion::kDone, 0, 0}));
}

TEST_F(Book, CopiesWhatThereIsRoomFor)
{
    const uint8_t bytes[] = {1, 2, 3, 4, 5, 6};
    Overlapped block;
    EXPECT_TRUE(book.FinishWith(Begin(block), bytes));
    Expect(book.Wait(block), Completion::kDone, 0, 4);
    EXPECT_EQ(out, (std::array<uint8_t, 4>{1, 2, 3, 4}));
    EXPECT_TRUE(book.FinishWith(Begin(block), std::span(bytes).first(2)));
    Expect(book.Wait(block), Completion::kDone, 0, 2);
}

TEST_F(Book, LeavesTheMemoryOfACancelledRequestAlone)
{
    const uint8_t bytes[] = {1, 2, 3, 4};
    Overlapped block;
    const RequestId id = Begin(block);
    EXPECT_TRUE(book.Finish(id, {Completion::kFailed, 995, 0}));
    EXPECT_FALSE(book.FinishWith(id, bytes));
    EXPECT_EQ(out, (std::array<uint8_t, 4>{}));
}

TEST_F(Book, FindsADevicesRequestsInTheirOrder)
{
    std::array<Overlapped, 4> blocks;
    const RequestId first = Begin(blocks[0]);
    const RequestId other = Begin(blocks[1], kOther);
    const RequestId second = Begin(blocks[2], kCamera, 0x22A0BA);
    const RequestId third = Begin(blocks[3]);
    EXPECT_EQ(book.NextOf(kCamera, 0), first);
    EXPECT_EQ(book.NextOf(kCamera, first), second);
    EXPECT_EQ(book.NextOf(kCamera, second), third);
    EXPECT_EQ(book.NextOf(kCamera, third), 0u);
    EXPECT_EQ(book.NextOf(kCamera, first, kCode), third);
    EXPECT_EQ(book.CountOf(kCamera), 3u);
    EXPECT_EQ(book.CountOf(kCamera, 0x22A0BA), 1u);
    EXPECT_EQ(book.PendingIn(blocks[1]), other);
    book.EndAll(kCamera, 1167, kCode);
    Expect(book.Wait(blocks[0]), Completion::kFailed, 1167, 0);
    Expect(book.Wait(blocks[3]), Completion::kFailed, 1167, 0);
    EXPECT_EQ(book.NextOf(kCamera, 0), second);
    book.EndAll(kCamera, 1167);
    EXPECT_EQ(book.CountOf(kCamera), 0u);
    EXPECT_TRUE(book.IsPending(blocks[1]));
    book.EndAll(kOther, 995);
    EXPECT_EQ(book.PendingIn(blocks[1]), 0u);
}

// The bus's operation could queue it after the cancel.
TEST_F(Book, CancelsARequestInServiceOnlyAfterIt)
{
    Overlapped block;
    const RequestId id = book.Begin(block, kCamera, kCode, out);
    EXPECT_FALSE(book.MayCancel(id));
    EXPECT_FALSE(book.EndService(id)) << "to be cancelled now";
    EXPECT_TRUE(book.MayCancel(id));
    EXPECT_TRUE(book.Finish(id, {Completion::kFailed, 995, 0}));
    EXPECT_FALSE(book.MayCancel(id));
    EXPECT_TRUE(book.EndService(id)) << "it is over";
}

TEST_F(Book, WakesAThreadThatWaits)
{
    for (int round = 0; round < 200; ++round) {
        Overlapped block;
        const RequestId id = Begin(block);
        std::thread finishing([&] { book.Finish(id, {Completion::kDone, 0, 7}); });
        Expect(book.Wait(block), Completion::kDone, 0, 7);
        finishing.join();
    }
}

TEST_F(Book, KeepsAChainOfManyBlocks)
{
    std::array<Overlapped, 60> blocks;
    std::array<RequestId, 60> ids{};
    for (size_t index = 0; index < blocks.size(); ++index)
        ids[index] = Begin(blocks[index]);
    for (size_t index = 0; index < blocks.size(); ++index)
        EXPECT_TRUE(book.Finish(ids[index * 7 % 60], {Completion::kDone, 0, 0}));
    EXPECT_EQ(book.CountOf(kCamera), 0u);
    for (Overlapped &block : blocks)
        EXPECT_FALSE(book.IsPending(block));
}

} // namespace
} // namespace zerix::kernel

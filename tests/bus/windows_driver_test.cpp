// The bus on Windows over scripted system calls: what it tells them, and what it makes of every
// answer.
#include <algorithm>

#include <gtest/gtest.h>

#include "bus/windows/windows_driver.h"
#include "hal/kernel_requests.h"
#include "tests/bus/scripted_system.h"

namespace zerix::bus {
namespace {

using namespace kernel;
using Lines = std::vector<std::string>;

class WindowsEnumeration : public testing::Test {
protected:
    Lines Paths(uint32_t maximumCount)
    {
        std::vector<DevicePath> found(maximumCount + 1);
        std::memset(found.back().text, 'x', sizeof found.back().text);
        count = 99;
        error = driver.Enumerate(found.data(), maximumCount, &count);
        EXPECT_EQ(found.back().text[0], 'x');
        EXPECT_EQ(system.openLists, 0);
        Lines paths;
        for (uint32_t i = 0; count != 99 && i < count; ++i)
            paths.emplace_back(found[i].text);
        return paths;
    }

    ScriptedSystem system;
    WindowsDriver driver{system};
    uint32_t count = 99;
    uint32_t error = 0;
};

TEST_F(WindowsEnumeration, GivesThePathsInTheSystemsOrder)
{
    system.paths = {"\\\\?\\b", "\\\\?\\a#second", ""};
    EXPECT_EQ(Paths(10), system.paths);
    EXPECT_EQ(error, 0u);
    EXPECT_EQ(system.detailSizes[0], 10u); // five bytes and the path
}

TEST_F(WindowsEnumeration, OfNothingIsNoError)
{
    EXPECT_EQ(Paths(10), Lines{});
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(error, 0u);
}

TEST_F(WindowsEnumeration, GivesNoMoreThanThereIsRoomFor)
{
    system.paths = {"a", "b", "c"};
    EXPECT_EQ(Paths(2), (Lines{"a", "b"}));
    EXPECT_EQ(Paths(3), (Lines{"a", "b", "c"}));
    EXPECT_EQ(Paths(0), Lines{});
    EXPECT_EQ(count, 0u);
}

TEST_F(WindowsEnumeration, LeavesTheCountAloneWithoutAList)
{
    system.listError = 13;
    Paths(10);
    EXPECT_EQ(error, 13u);
    EXPECT_EQ(count, 99u);
}

TEST_F(WindowsEnumeration, ThatBreaksOffFindsNothing)
{
    system.paths = {"a", "b"};
    system.walkError = 1450;
    EXPECT_EQ(Paths(10), Lines{});
    EXPECT_EQ(error, 1450u);
    EXPECT_EQ(count, 0u);
}

TEST_F(WindowsEnumeration, ThatFailsWithoutANumberStillFails)
{
    system.walkError = ScriptedSystem::kNoNumber;
    EXPECT_EQ(Paths(10), Lines{});
    EXPECT_EQ(error, 31u);
    system.listError = ScriptedSystem::kNoNumber;
    Paths(10);
    EXPECT_EQ(error, 31u);
}

TEST_F(WindowsEnumeration, EndsAtADeviceWithoutAPath)
{
    system.paths = {"a", "b"};
    system.sizeError = 13; // anything but the buffer that is too small
    EXPECT_EQ(Paths(10), Lines{});
    EXPECT_EQ(error, 0u);
    EXPECT_EQ(count, 0u);
    system.sizeError = kErrorInsufficientBuffer;
    system.givesDetails = false;
    EXPECT_EQ(Paths(10), Lines{});
    EXPECT_EQ(error, 0u);
}

// The hardware layer ends its list at a path of more than 255 characters.
TEST_F(WindowsEnumeration, GivesLongPathsInFullUpTo1023Characters)
{
    system.paths = {std::string(255, 'p'), std::string(256, 'q'), std::string(2000, 'r')};
    EXPECT_EQ(Paths(10),
              (Lines{std::string(255, 'p'), std::string(256, 'q'), std::string(1023, 'r')}));
    EXPECT_EQ(system.detailSizes, (std::vector<uint32_t>{260, 261, 2005}));
}

class WindowsRequests : public testing::Test {
protected:
    WindowsRequests() { EXPECT_EQ(driver.Open("\\\\?\\camera", &device), 0u); }
    ~WindowsRequests() override
    {
        driver.Close(device);
        EXPECT_EQ(system.openEvents, abandonedEvents);
        EXPECT_EQ(std::count(system.log.begin(), system.log.end(), "close"), 1);
    }

    ControlResult Send(uint32_t code, Overlapped *block)
    {
        return driver.Control(device, code, &word, sizeof word, &word, sizeof word, block);
    }

    static void Expect(const ControlResult &result, Completion completion, uint32_t systemError,
                       uint32_t bytes)
    {
        EXPECT_EQ(result.completion, completion);
        EXPECT_EQ(result.systemError, systemError);
        EXPECT_EQ(result.bytesReturned, bytes);
    }

    ScriptedSystem system;
    WindowsDriver driver{system};
    DeviceHandle device = 0;
    uint32_t word = 0;
    Overlapped overlapped;
    int abandonedEvents = 0;
};

TEST_F(WindowsRequests, OpenTheDeviceForThisProcessAlone)
{
    EXPECT_EQ(system.opened, Lines{"\\\\?\\camera"});
    EXPECT_FALSE(driver.IsSimulated());
}

TEST_F(WindowsRequests, ThatFailWithoutANumberStillFail)
{
    system.Expect({.code = 0x22A07C, .error = ScriptedSystem::kNoNumber});
    Expect(Send(kControlAsyncWrite, &overlapped), Completion::kFailed, 31, 0);
    system.Expect(
        {.code = 0x22A0BA, .error = kErrorIoPending, .laterError = ScriptedSystem::kNoNumber});
    Expect(Send(kControlQueueBuffer, &overlapped), Completion::kPending, 0, 0);
    Expect(driver.Wait(device, &overlapped), Completion::kFailed, 31, 0);
}

// In record and out record of all 18, as many bytes as the kernel's driver takes on 32 and on 64
// bits; with slots of 112 bytes, and two quadlets read or written.
TEST_F(WindowsRequests, CarryTheCallersOwnRecords)
{
    const struct {
        uint32_t code;
        uint32_t inBytes;
        uint32_t outBytes;
    } rows[] = {{0x22207A, 40, 8},  {0x22A07C, 48, 0},  {0x222096, 4, 4},
                {0x22A080, 4, 4},   {0x22A084, 4, 4},   {0x22A08A, 0x808, 0x808},
                {0x22A08C, 4, 4},   {0x22A090, 4, 4},   {0x22A0A0, 20, 20},
                {0x22A0A4, 4, 4},   {0x22A0A8, 16, 16}, {0x22A0AC, 4, 4},
                {0x22A0B0, 36, 36}, {0x22A0B4, 4, 4},   {0x22A0BA, 3360, 3360},
                {0x22A0BC, 4, 4},   {0x22A0C0, 12, 12}, {0x22A0C4, 8, 8}};
    uint8_t bytes[3360];
    for (const auto &row : rows)
        for (Overlapped *block : {&overlapped, static_cast<Overlapped *>(nullptr)}) {
            system.Expect({.code = row.code, .error = 0, .bytes = row.outBytes});
            void *const out = row.outBytes != 0 ? bytes : nullptr;
            Expect(driver.Control(device, row.code, bytes, row.inBytes, out, row.outBytes, block),
                   Completion::kDone, 0, row.outBytes);
            EXPECT_EQ(system.sent.back(),
                      (ScriptedSystem::Sent{bytes, row.inBytes, out, row.outBytes}));
        }
}

TEST_F(WindowsRequests, ThatAreDoneAtOnceTellTheirBytes)
{
    system.Expect({.code = 0x22207A, .error = 0, .bytes = 4});
    Expect(Send(kControlAsyncRead, &overlapped), Completion::kDone, 0, 4);
    system.Expect({.code = 0x222096, .error = 0, .bytes = 3});
    Expect(Send(kControlIsOpen, nullptr), Completion::kDone, 0, 3);
    EXPECT_EQ(system.createdEvents, 1); // used again
}

TEST_F(WindowsRequests, ThatFailTellTheSystemsError)
{
    for (const uint32_t error :
         {5u, 6u, 31u, 55u, 87u, 170u, 433u, 995u, 1167u, 1450u, 1617u, 0xE0000203u}) {
        system.Expect({.code = 0x22A07C, .error = error, .bytes = 9});
        Expect(Send(kControlAsyncWrite, &overlapped), Completion::kFailed, error, 0);
        system.Expect({.code = 0x22A0BA, .error = kErrorIoPending, .laterError = error});
        Expect(Send(kControlQueueBuffer, &overlapped), Completion::kPending, 0, 0);
        Expect(driver.Wait(device, &overlapped), Completion::kFailed, error, 0);
    }
}

TEST_F(WindowsRequests, ThatPendAreWaitedFor)
{
    system.Expect({.code = 0x22A0BA, .error = kErrorIoPending, .laterBytes = 3360});
    Expect(Send(kControlQueueBuffer, &overlapped), Completion::kPending, 0, 0);
    Expect(driver.Wait(device, &overlapped), Completion::kDone, 0, 3360);
    // Again, now that it is over.
    Expect(driver.Wait(device, &overlapped), Completion::kDone, 0, 3360);
}

TEST_F(WindowsRequests, ThatPendMayFailInTheEnd)
{
    system.Expect({.code = 0x22207A, .error = kErrorIoPending, .laterError = 31});
    Expect(Send(kControlAsyncRead, &overlapped), Completion::kPending, 0, 0);
    Expect(driver.Wait(device, &overlapped), Completion::kFailed, 31, 0);
    Expect(driver.Wait(device, &overlapped), Completion::kFailed, 31, 0);
}

// The block of a request that is over at once tells of that one, and not of the one before.
TEST_F(WindowsRequests, ThatAreOverAtOnceLeaveTheirResultInTheBlock)
{
    system.Expect({.code = 0x22207A, .error = kErrorIoPending, .laterError = 31});
    Send(kControlAsyncRead, &overlapped);
    Expect(driver.Wait(device, &overlapped), Completion::kFailed, 31, 0);
    system.Expect({.code = 0x22207A, .error = 0, .bytes = 4});
    Send(kControlAsyncRead, &overlapped);
    Expect(driver.Wait(device, &overlapped), Completion::kDone, 0, 4);
    system.Expect({.code = 0x22207A, .error = 87});
    Send(kControlAsyncRead, &overlapped);
    Expect(driver.Wait(device, &overlapped), Completion::kFailed, 87, 0);
}

TEST_F(WindowsRequests, WithoutABlockAreWaitedForAtOnce)
{
    system.Expect({.code = 0x22A0A0, .error = kErrorIoPending, .laterBytes = 20});
    Expect(Send(kControlAllocateBandwidth, nullptr), Completion::kDone, 0, 20);
    system.Expect({.code = 0x22A0A0, .error = kErrorIoPending, .laterError = 1450});
    Expect(Send(kControlAllocateBandwidth, nullptr), Completion::kFailed, 1450, 0);
}

TEST_F(WindowsRequests, HaveAnEventEachAndUseItAgain)
{
    Overlapped blocks[3];
    for (Overlapped &block : blocks) {
        system.Expect({.code = 0x22A0BA, .error = kErrorIoPending});
        Expect(Send(kControlQueueBuffer, &block), Completion::kPending, 0, 0);
    }
    EXPECT_EQ(system.createdEvents, 3);
    EXPECT_NE(system.blocks[0]->event, system.blocks[1]->event);
    EXPECT_NE(system.blocks[1]->event, system.blocks[2]->event);
    Expect(driver.Wait(device, &blocks[1]), Completion::kDone, 0, 0);
    system.Expect({.code = 0x22A0BA, .error = kErrorIoPending});
    Expect(Send(kControlQueueBuffer, &blocks[1]), Completion::kPending, 0, 0);
    EXPECT_EQ(system.blocks[3], system.blocks[1]);
    EXPECT_EQ(system.createdEvents, 3);
    for (Overlapped &block : blocks)
        Expect(driver.Wait(device, &block), Completion::kDone, 0, 0);
}

TEST_F(WindowsRequests, WithoutAnEventAreNotSent)
{
    system.hasEvents = false;
    Expect(Send(kControlAsyncRead, &overlapped), Completion::kFailed, 8, 0);
    Expect(driver.Wait(device, &overlapped), Completion::kFailed, 8, 0); // its last result
}

TEST_F(WindowsRequests, AreCancelledTogether)
{
    Overlapped other;
    for (Overlapped *block : {&overlapped, &other}) {
        system.Expect({.code = 0x22A0BA, .error = kErrorIoPending});
        Send(kControlQueueBuffer, block);
    }
    driver.CancelPending(device);
    EXPECT_EQ(system.log, Lines{"cancel all"});
    Expect(driver.Wait(device, &overlapped), Completion::kFailed, 995, 0);
    Expect(driver.Wait(device, &other), Completion::kFailed, 995, 0);
}

TEST_F(WindowsRequests, AreCancelledOneByOne)
{
    Overlapped other;
    for (Overlapped *block : {&overlapped, &other}) {
        system.Expect({.code = 0x22A0BA, .error = kErrorIoPending});
        Send(kControlQueueBuffer, block);
    }
    driver.Cancel(device, &other);
    EXPECT_EQ(system.log, Lines{"cancel one"});
    Expect(driver.Wait(device, &other), Completion::kFailed, 995, 0);
    Expect(driver.Wait(device, &overlapped), Completion::kDone, 0, 0);
    // What isn't pending needs no cancel.
    driver.Cancel(device, &other);
    EXPECT_EQ(system.log, Lines{"cancel one"});
}

TEST_F(WindowsRequests, AreCancelledAndAwaitedByTheClose)
{
    system.Expect({.code = 0x22A0BA, .error = kErrorIoPending});
    Send(kControlQueueBuffer, &overlapped);
    driver.Close(device);
    EXPECT_EQ(system.log, (Lines{"cancel all", "wait", "close", "wait"}));
    EXPECT_EQ(system.openEvents, 0);
}

// His buffers are the system's until then.
TEST_F(WindowsRequests, AreWaitedForByTheirSenderWhileTheDeviceCloses)
{
    system.Expect({.code = 0x22A0BA, .error = kErrorIoPending});
    Send(kControlQueueBuffer, &overlapped);
    system.duringWait = [this] {
        Expect(driver.Wait(device, &overlapped), Completion::kFailed, 995, 0);
        Expect(Send(kControlIsOpen, nullptr), Completion::kFailed, 6, 0); // and isn't sent
    };
    driver.Close(device);
    EXPECT_EQ(system.log, (Lines{"cancel all", "wait", "close"}));
}

TEST_F(WindowsRequests, ThatOnlyTheClosedHandleEndsAreAwaitedBehindIt)
{
    system.endsWhenCancelled = false;
    system.Expect({.code = 0x22A0BA, .error = kErrorIoPending});
    Send(kControlQueueBuffer, &overlapped);
    driver.Close(device);
    EXPECT_EQ(system.log, (Lines{"cancel all", "wait", "close", "wait"}));
    EXPECT_EQ(system.timeouts, (std::vector<uint32_t>{1000, 1000}));
    EXPECT_EQ(system.openEvents, 0);
}

// The system may yet write to such a request's block.
TEST_F(WindowsRequests, ThatNothingEndsKeepTheirBlockAndEvent)
{
    system.endsWhenCancelled = false;
    system.endsWhenClosed = false;
    system.Expect({.code = 0x22A0BA, .error = kErrorIoPending});
    Send(kControlQueueBuffer, &overlapped);
    driver.Close(device);
    EXPECT_EQ(system.openEvents, 1);
    abandonedEvents = 1;
    EXPECT_EQ(system.blocks[0]->event, 1001u);
}

// Sixty buffers that hang must not take sixty times as long as one.
TEST_F(WindowsRequests, ThatNothingEndsAreAwaitedForOneSecondInAll)
{
    system.endsWhenCancelled = false;
    system.endsWhenClosed = false;
    Overlapped others[2];
    for (Overlapped *block : {&overlapped, &others[0], &others[1]}) {
        system.Expect({.code = 0x22A0BA, .error = kErrorIoPending});
        Send(kControlQueueBuffer, block);
    }
    driver.Close(device);
    EXPECT_EQ(system.timeouts, (std::vector<uint32_t>{1000, 0, 0, 1000, 0, 0}));
    abandonedEvents = 3;
}

// The system gives the number of a closed handle to the next one that it opens.
TEST_F(WindowsRequests, OfAClosedDeviceAreNoneOfTheNextWithItsNumber)
{
    Overlapped reused;
    for (Overlapped *block : {&overlapped, &reused}) {
        system.Expect({.code = 0x22A0BA, .error = kErrorIoPending});
        Send(kControlQueueBuffer, block);
    }
    driver.Close(device);
    system.log.clear();
    DeviceHandle next = 0;
    ASSERT_EQ(driver.Open("\\\\?\\next", &next), 0u);
    ASSERT_EQ(next, device);
    Expect(driver.Wait(next, &overlapped), Completion::kFailed, 6, 0);
    driver.Cancel(next, &overlapped);
    EXPECT_EQ(system.log, Lines{});
    system.Expect({.code = 0x22A0BA, .error = 0, .bytes = 4});
    Expect(Send(kControlQueueBuffer, &reused), Completion::kDone, 0, 4);
    Expect(driver.Wait(next, &reused), Completion::kDone, 0, 4);
}

TEST_F(WindowsRequests, OnTheirWayWhenTheDeviceClosesAreCancelledToo)
{
    system.duringControl = [this] { driver.Close(device); };
    system.Expect({.code = 0x22A0A0, .error = kErrorIoPending});
    // The close's own cancel came before the request pended, the second one ends it.
    Expect(Send(kControlAllocateBandwidth, nullptr), Completion::kFailed, 995, 0);
    EXPECT_EQ(system.log, (Lines{"cancel all", "cancel all", "close"}));
}

// Its sender could no longer wait for it.
TEST_F(WindowsRequests, OnTheirWayWhenTheDeviceClosesDoNotPend)
{
    system.duringControl = [this] { driver.Close(device); };
    system.Expect({.code = 0x22A0BA, .error = kErrorIoPending});
    Expect(Send(kControlQueueBuffer, &overlapped), Completion::kFailed, 995, 0);
    EXPECT_EQ(system.log, (Lines{"cancel all", "cancel all", "close"}));
}

// Its quadlets came over the bus, and only a read that pends is turned to the host's order.
TEST_F(WindowsRequests, ThatEndWellInTheMiddleOfACloseHavePended)
{
    system.endsWhenCancelled = false;
    system.duringControl = [this] { driver.Close(device); };
    system.Expect({.code = 0x22207A, .error = kErrorIoPending, .laterBytes = 4});
    Expect(Send(kControlAsyncRead, &overlapped), Completion::kPending, 0, 0);
    Expect(driver.WaitFor(device, &overlapped, 0), Completion::kDone, 0, 4);
}

TEST_F(WindowsRequests, AreWaitedForAsLongAsTheCallerHasPatience)
{
    system.Expect({.code = 0x22A0BA, .error = kErrorIoPending});
    Send(kControlQueueBuffer, &overlapped);
    Expect(driver.WaitFor(device, &overlapped, 250), Completion::kPending, 0, 0);
    Expect(driver.WaitFor(device, &overlapped, 0), Completion::kPending, 0, 0);
    EXPECT_EQ(system.timeouts, (std::vector<uint32_t>{250, 0}));
    driver.Cancel(device, &overlapped);
    Expect(driver.WaitFor(device, &overlapped, 1000), Completion::kFailed, 995, 0);
    // Its last result, without a wait.
    Expect(driver.WaitFor(device, &overlapped, 1000), Completion::kFailed, 995, 0);
    EXPECT_EQ(system.timeouts, (std::vector<uint32_t>{250, 0, 1000}));
}

TEST_F(WindowsRequests, ThatOnlyTheClosedHandleEndsAreOverBehindIt)
{
    system.endsWhenCancelled = false;
    system.Expect({.code = 0x22A0BA, .error = kErrorIoPending});
    Send(kControlQueueBuffer, &overlapped);
    driver.Close(device);
    Expect(driver.WaitFor(device, &overlapped, 0), Completion::kFailed, 6, 0);
}

// The system may yet write to the caller's buffers.
TEST_F(WindowsRequests, ThatNothingEndsArePendingBehindTheClose)
{
    system.endsWhenCancelled = false;
    system.endsWhenClosed = false;
    system.Expect({.code = 0x22A0BA, .error = kErrorIoPending});
    Send(kControlQueueBuffer, &overlapped);
    driver.Close(device);
    abandonedEvents = 1;
    Expect(driver.WaitFor(device, &overlapped, 0), Completion::kPending, 0, 0);
    DeviceHandle next = 0;
    ASSERT_EQ(driver.Open("\\\\?\\next", &next), 0u);
    Expect(driver.WaitFor(next, &overlapped, 0), Completion::kPending, 0, 0);
    Expect(driver.Wait(next, &overlapped), Completion::kFailed, 6, 0);
    system.log.clear();
}

TEST_F(WindowsRequests, ToAClosedDeviceFail)
{
    driver.Close(device);
    Expect(Send(kControlIsOpen, nullptr), Completion::kFailed, 6, 0);
    Expect(driver.Wait(device, &overlapped), Completion::kFailed, 6, 0);
    driver.CancelPending(device);
    driver.Cancel(device, &overlapped);
    driver.Close(device);
    EXPECT_EQ(system.log, (Lines{"cancel all", "close"}));
}

TEST(WindowsOpen, ThatFailsLeavesTheHandleAlone)
{
    ScriptedSystem system;
    WindowsDriver driver(system);
    for (const uint32_t error : {2u, 5u, 32u}) {
        system.openError = error;
        DeviceHandle device = 7;
        EXPECT_EQ(driver.Open("nowhere", &device), error);
        EXPECT_EQ(device, 7u);
    }
    system.openError = ScriptedSystem::kNoNumber;
    DeviceHandle device = 7;
    EXPECT_EQ(driver.Open("nowhere", &device), 31u);
    EXPECT_EQ(device, 7u);
    EXPECT_EQ(system.log, Lines{});
}

} // namespace
} // namespace zerix::bus

// The 18 control requests as records: sizes, byte order, what pends and how it ends.
#include <cstring>
#include <set>
#include <thread>

#include "bus_fixture.h"

namespace zerix::test {
namespace {

using namespace kernel;
using BusDriver = BusTest;

struct Record {
    uint32_t code;
    uint32_t inSize;
    uint32_t outSize;
};

// Every request with the sizes of its records, 0 for none. The reads here are of one quadlet, the
// writes of one, the buffer is a small one.
constexpr Record kRecords[] = {
    {kControlAsyncRead, 40, 4},
    {kControlAsyncWrite, 44, 0},
    {kControlIsOpen, 4, 4},
    {kControlBusEventOpen, 4, 4},
    {kControlStreamBegin, 4, 4},
    {kControlBusEventWait, 0x808, 0x808},
    {kControlCancelBusEvent, 4, 4},
    {kControlStreamEnd, 4, 4},
    {kControlAllocateBandwidth, 20, 20},
    {kControlFreeBandwidth, 4, 4},
    {kControlAllocateChannel, 16, 16},
    {kControlFreeChannel, 4, 4},
    {kControlAllocateResources, 36, 36},
    {kControlFreeResources, 4, 4},
    {kControlQueueBuffer, 3360, 3360},
    {kControlDetachBuffers, 4, 4},
    {kControlListen, 12, 12},
    {kControlStopListen, 8, 8},
};

std::vector<uint8_t> AsyncRecord(uint32_t address, uint32_t bytes, size_t size)
{
    AsyncRequest request{};
    request.one = 1;
    request.destination = kDestination;
    request.offsetHigh = kOffsetHigh;
    request.offsetLow = address;
    request.lengthBytes = bytes;
    std::vector<uint8_t> record(size);
    std::memcpy(record.data(), &request, std::min<size_t>(size, 40));
    return record;
}

TEST_F(BusDriver, RefusesRecordsOfAnotherSize)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect(112));
    for (const Record &record : kRecords) {
        SCOPED_TRACE(testing::Message() << std::hex << record.code);
        const bool isAccess = record.code == kControlAsyncRead || record.code == kControlAsyncWrite;
        std::vector<uint8_t> in = isAccess ? AsyncRecord(0xD0000000, 4, record.inSize + 4)
                                           : std::vector<uint8_t>(record.inSize + 4);
        std::vector<uint8_t> out(record.outSize + 4);
        const uint32_t in1 = record.inSize;
        EXPECT_EQ(87u, client.Send(record.code, in.data(), in1 - 1, out.data(), record.outSize));
        EXPECT_EQ(87u, client.Send(record.code, in.data(), in1 + 1, out.data(), record.outSize));
        EXPECT_EQ(87u, client.Send(record.code, in.data(), 0, out.data(), record.outSize));
        EXPECT_EQ(87u, client.Send(record.code, nullptr, in1, out.data(), record.outSize));
        if (record.outSize == 0)
            continue;
        EXPECT_EQ(87u, client.Send(record.code, in.data(), in1, out.data(), record.outSize - 1));
        EXPECT_EQ(87u, client.Send(record.code, in.data(), in1, out.data(), record.outSize + 1));
        EXPECT_EQ(87u, client.Send(record.code, in.data(), in1, nullptr, record.outSize));
    }
}

TEST_F(BusDriver, RefusesAccessRecordsThatAreNotOurs)
{
    BusClient client;
    uint32_t out = 0;
    for (const size_t offset : {0u, 4u, 8u, 12u, 24u, 28u, 32u}) {
        auto record = AsyncRecord(0xD0000000, 4, 40);
        record[offset] ^= 2;
        EXPECT_EQ(87u, client.Send(kControlAsyncRead, record.data(), 40, &out, 4)) << offset;
    }
    const auto uneven = AsyncRecord(0xD0000000, 3, 40);
    EXPECT_EQ(87u, client.Send(kControlAsyncRead, uneven.data(), 40, &out, 3));
    const auto good = AsyncRecord(0xD0000000, 4, 40);
    EXPECT_EQ(0u, client.Send(kControlAsyncRead, good.data(), 40, &out, 4));
}

TEST_F(BusDriver, RefusesUnknownRequestsAndHandles)
{
    BusClient client;
    uint32_t word = 0;
    EXPECT_EQ(50u, client.Send(0x222000, &word, 4, &word, 4));
    const ControlResult result =
        SimDriver().Control(client.handle + 77, kControlIsOpen, &word, 4, &word, 4, nullptr);
    EXPECT_EQ(Completion::kFailed, result.completion);
    EXPECT_EQ(6u, result.systemError);
    DeviceHandle none = 5;
    EXPECT_EQ(2u, SimDriver().Open("zerix-sim:9:0", &none));
    EXPECT_EQ(5u, none);
    EXPECT_EQ(2u, SimDriver().Open("", &none));
}

TEST_F(BusDriver, EnumeratesTheCamerasOfTheRackUpToTheLimit)
{
    Choose("[[camera]]\nmodel = 5\n[[camera]]\nmodel = 6\n[[camera]]\nmodel = 7\n");
    DevicePath paths[3] = {};
    uint32_t count = 0;
    EXPECT_EQ(0u, SimDriver().Enumerate(paths, 3, &count));
    EXPECT_EQ(3u, count);
    std::set<std::string> different;
    for (const DevicePath &path : paths)
        different.insert(path.text);
    EXPECT_EQ(3u, different.size());
    EXPECT_EQ(0u, SimDriver().Enumerate(paths, 2, &count));
    EXPECT_EQ(2u, count);
    EXPECT_TRUE(SimDriver().IsSimulated());
}

struct Style {
    const char *reads;
    bool firstPends;
    bool secondPends;
};

TEST_F(BusDriver, ReadsCompleteInHostOrderOrPendAsBigEndianQuadlets)
{
    for (const Style &style :
         {Style{"pending", true, true}, {"immediate", false, false}, {"mixed", true, false}}) {
        SCOPED_TRACE(style.reads);
        OneCamera(std::string("reads = \"") + style.reads + "\"\n");
        BusClient client;
        const auto record = AsyncRecord(0xD0000000, 4, 40);
        for (const bool pends : {style.firstPends, style.secondPends}) {
            uint8_t data[4] = {};
            Overlapped request;
            ControlResult result = SimDriver().Control(client.handle, kControlAsyncRead,
                                                       record.data(), 40, data, 4, &request);
            EXPECT_EQ(pends ? Completion::kPending : Completion::kDone, result.completion);
            result = SimDriver().Wait(client.handle, &request);
            EXPECT_EQ(Completion::kDone, result.completion);
            EXPECT_EQ(4u, result.bytesReturned);
            const uint8_t bigEndian[4] = {0, 1, 0, 1}; // version 1.1 in a quadlet
            const uint8_t host[4] = {1, 0, 1, 0};
            EXPECT_EQ(0, std::memcmp(data, pends ? bigEndian : host, 4));
        }
    }
}

TEST_F(BusDriver, WithoutAnOverlappedBlockTheCallWaits)
{
    BusClient client;
    const auto record = AsyncRecord(0xD0000000, 4, 40);
    uint8_t data[4] = {};
    const ControlResult result =
        SimDriver().Control(client.handle, kControlAsyncRead, record.data(), 40, data, 4, nullptr);
    EXPECT_EQ(Completion::kDone, result.completion);
    EXPECT_EQ(4u, result.bytesReturned);
}

TEST_F(BusDriver, WaitGivesTheLastResultAgainAndAgain)
{
    BusClient client;
    Overlapped request;
    EXPECT_EQ(87u, SimDriver().Wait(client.handle, &request).systemError);
    uint32_t word = 3;
    EXPECT_EQ(Completion::kDone,
              SimDriver()
                  .Control(client.handle, kControlStreamBegin, &word, 4, &word, 4, &request)
                  .completion);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(4u, SimDriver().Wait(client.handle, &request).bytesReturned);
}

TEST_F(BusDriver, QueuedBuffersPendUntilTheyAreDetached)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect(112));
    client.QueueAll(60);
    EXPECT_EQ(60u, Held().queuedBuffers);
    EXPECT_EQ(0u, client.SendWord(kControlDetachBuffers, client.resources));
    EXPECT_EQ(0u, Held().queuedBuffers);
    EXPECT_FALSE(client.NextBuffer());
    EXPECT_EQ(995u, client.lastError);
}

TEST_F(BusDriver, TakesNoMoreBuffersThanAnnounced)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect(112));
    client.QueueAll(61);
    std::vector<uint8_t> buffer(112 * 30);
    EXPECT_EQ(1450u, client.Send(kControlQueueBuffer, buffer.data(), 3360, buffer.data(), 3360));
}

TEST_F(BusDriver, ARequestThatPendsCannotBeSentAgain)
{
    BusClient client;
    BusEventRecord record{};
    Overlapped request;
    EXPECT_EQ(Completion::kPending, SimDriver()
                                        .Control(client.handle, kControlBusEventWait, &record,
                                                 sizeof(record), &record, sizeof(record), &request)
                                        .completion);
    EXPECT_EQ(1u, Held().pendingRequests);
    EXPECT_EQ(87u, SimDriver()
                       .Control(client.handle, kControlBusEventWait, &record, sizeof(record),
                                &record, sizeof(record), &request)
                       .systemError);
    EXPECT_EQ(0u, client.SendWord(kControlCancelBusEvent, 0));
    EXPECT_EQ(995u, SimDriver().Wait(client.handle, &request).systemError);
    EXPECT_EQ(0u, Held().pendingRequests);
}

// Whether it waits for something or is a buffer; and what is over or was never sent is left alone.
TEST_F(BusDriver, ARequestIsCancelledAlone)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect(112));
    client.QueueAll(2);
    std::vector<uint8_t> buffer(112 * 30);
    Overlapped last;
    SimDriver().Control(client.handle, kControlQueueBuffer, buffer.data(), 3360, buffer.data(),
                        3360, &last);
    BusEventRecord record{};
    Overlapped event;
    SimDriver().Control(client.handle, kControlBusEventWait, &record, sizeof(record), &record,
                        sizeof(record), &event);
    Overlapped unsent;
    SimDriver().Cancel(client.handle, &unsent);
    EXPECT_EQ(3u, Held().queuedBuffers);
    SimDriver().Cancel(client.handle, &last);
    EXPECT_EQ(2u, Held().queuedBuffers);
    EXPECT_EQ(995u, SimDriver().Wait(client.handle, &last).systemError);
    EXPECT_EQ(1u, Held().pendingRequests);
    SimDriver().Cancel(client.handle, &event);
    EXPECT_EQ(995u, SimDriver().Wait(client.handle, &event).systemError);
    EXPECT_EQ(0u, Held().pendingRequests);
    SimDriver().Cancel(client.handle, &event);
    EXPECT_EQ(2u, Held().queuedBuffers);
}

// A waiting thread ends, whichever way the wait is ended.
TEST_F(BusDriver, CancelCloseAndUnplugEndAWait)
{
    for (const int way : {0, 1, 2}) {
        OneCamera();
        BusClient client;
        ASSERT_EQ(0u, client.Connect(112));
        client.QueueAll(60);
        uint32_t error = 0;
        std::thread waiter([&] {
            client.NextBuffer();
            error = client.lastError;
        });
        if (way == 0)
            SimDriver().CancelPending(client.handle);
        else if (way == 1)
            SimDriver().Close(client.handle);
        else
            EXPECT_EQ(0u, ZerixSim_Unplug(0));
        waiter.join();
        EXPECT_EQ(way == 2 ? 1167u : 995u, error);
        EXPECT_EQ(0u, Held().queuedBuffers);
    }
}

TEST_F(BusDriver, ADeviceIsClaimedFromItsBandwidthUntilItsHandleCloses)
{
    BusClient first;
    BusClient second;
    uint32_t isOpen = 9;
    EXPECT_EQ(0u, second.SendWord(kControlIsOpen, 0, &isOpen));
    EXPECT_EQ(0u, isOpen);
    ASSERT_EQ(0u, first.Connect(112));
    EXPECT_EQ(0u, second.SendWord(kControlIsOpen, 0, &isOpen));
    EXPECT_EQ(1u, isOpen);
    EXPECT_EQ(170u, second.AllocateBandwidth(112));
    EXPECT_EQ(0u, first.SendWord(kControlFreeResources, first.resources));
    EXPECT_EQ(0u, first.SendWord(kControlFreeChannel, first.channel));
    EXPECT_EQ(0u, first.SendWord(kControlFreeBandwidth, first.bandwidth));
    EXPECT_EQ(0u, second.SendWord(kControlIsOpen, 0, &isOpen));
    EXPECT_EQ(1u, isOpen);
    first.Close();
    EXPECT_EQ(0u, second.SendWord(kControlIsOpen, 0, &isOpen));
    EXPECT_EQ(0u, isOpen);
    EXPECT_EQ(0u, second.AllocateBandwidth(112));
}

TEST_F(BusDriver, ACameraOfAnotherProcessIsClaimed)
{
    OneCamera("in-use = true\n");
    BusClient client;
    uint32_t isOpen = 0;
    EXPECT_EQ(0u, client.SendWord(kControlIsOpen, 0, &isOpen));
    EXPECT_EQ(1u, isOpen);
    EXPECT_EQ(170u, client.AllocateBandwidth(112));
}

TEST_F(BusDriver, ABadRackLeavesAnEmptyBus)
{
    testing::internal::CaptureStderr();
    KernelDriver *driver = ZerixSim_KernelDriver("no/such/rack.toml");
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_NE(std::string::npos, told.find("no/such/rack.toml"));
    EXPECT_EQ(told.size() - 1, told.find('\n'));
    testing::internal::CaptureStderr();
    EXPECT_EQ(driver, ZerixSim_KernelDriver("no/such/rack.toml"));
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    uint32_t count = 9;
    DevicePath path;
    EXPECT_EQ(0u, driver->Enumerate(&path, 1, &count));
    EXPECT_EQ(0u, count);
    testing::internal::CaptureStderr();
    EXPECT_EQ(driver, ZerixSim_KernelDriver(nullptr));
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    EXPECT_EQ(0u, driver->Enumerate(&path, 1, &count));
    EXPECT_EQ(0u, count);
}

} // namespace
} // namespace zerix::test

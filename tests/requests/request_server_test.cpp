// What the server makes of the control requests, on a bus that writes down what it is asked.
#include <atomic>
#include <cstring>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "hal/requests/request_server.h"

namespace zerix::kernel {
namespace {

constexpr DeviceHandle kCamera = 3;

class NotingBus final : public RequestServer {
public:
    std::vector<std::string> calls;
    uint32_t error = 0;       // of every operation
    uint32_t deviceError = 0; // of a check, unless something is given back
    bool pends = false;
    bool lacksMemory = false;
    bool drops = true;
    std::vector<RequestId> dropped;
    RequestId lastId = 0;
    std::atomic<bool> isInRead{false};
    std::atomic<bool> holdsRead{false};

    uint32_t Enumerate(DevicePath *, uint32_t, uint32_t *) override { return 50; }
    uint32_t Open(const char *, DeviceHandle *) override { return 2; }
    bool IsSimulated() const override { return true; }

    std::vector<std::string> TakeCalls() { return std::exchange(calls, {}); }

private:
    bool IsHandle(DeviceHandle device) override { return device == kCamera && !m_isClosed; }
    uint32_t CheckDevice(DeviceHandle, bool givesBack) override
    {
        return givesBack ? 0 : deviceError;
    }
    void CloseDevice(DeviceHandle) override
    {
        calls.emplace_back("close");
        m_isClosed = true;
    }
    bool Drop(DeviceHandle, RequestId id) override
    {
        dropped.push_back(id);
        return drops;
    }

    uint32_t Note(const Request &request, const std::string &call)
    {
        lastId = request.id;
        if (lacksMemory)
            throw std::bad_alloc();
        calls.push_back(call);
        return error;
    }
    ControlResult Access(const Request &request, const std::string &call, uint32_t bytes)
    {
        if (const uint32_t failure = Note(request, call))
            return Failed(failure);
        return pends ? Pending() : Done(bytes);
    }

    ControlResult AsyncRead(const Request &request, uint32_t address,
                            std::span<uint8_t> data) override
    {
        isInRead = true;
        while (holdsRead)
            std::this_thread::yield();
        if (!pends)
            std::memset(data.data(), 0xAB, data.size());
        return Access(request,
                      "read " + std::to_string(address) + " x " + std::to_string(data.size()),
                      static_cast<uint32_t>(data.size()));
    }
    ControlResult AsyncWrite(const Request &request, uint32_t address,
                             std::span<const uint8_t> data) override
    {
        std::string bytes;
        for (const uint8_t byte : data)
            bytes += " " + std::to_string(byte);
        return Access(request, "write " + std::to_string(address) + bytes, 0);
    }
    uint32_t IsOpen(const Request &request, bool &isOpen) override
    {
        isOpen = true;
        return Note(request, "is open");
    }
    uint32_t AllocateBandwidth(const Request &request, BandwidthRequest &booking) override
    {
        booking.handle = 77;
        return Note(request, "bandwidth " + std::to_string(booking.slotBytes) + " at " +
                                 std::to_string(booking.speedFlag));
    }
    uint32_t FreeBandwidth(const Request &request, uint32_t handle) override
    {
        return Note(request, "free bandwidth " + std::to_string(handle));
    }
    uint32_t AllocateChannel(const Request &request, ChannelRequest &booking) override
    {
        booking.channel = 9;
        return Note(request, "channel " + std::to_string(booking.request));
    }
    uint32_t FreeChannel(const Request &request, uint32_t channel) override
    {
        return Note(request, "free channel " + std::to_string(channel));
    }
    uint32_t AllocateResources(const Request &request, ResourcesRequest &booking) override
    {
        booking.handle = 88;
        return Note(request, "resources for " + std::to_string(booking.channel));
    }
    uint32_t FreeResources(const Request &request, uint32_t handle) override
    {
        return Note(request, "free resources " + std::to_string(handle));
    }
    ControlResult QueueBuffer(const Request &request, std::span<uint8_t> buffer) override
    {
        return Access(request, "queue " + std::to_string(buffer.size()), 0);
    }
    uint32_t DetachBuffers(const Request &request, uint32_t resources) override
    {
        return Note(request, "detach " + std::to_string(resources));
    }
    uint32_t Listen(const Request &request, uint32_t resources) override
    {
        return Note(request, "listen " + std::to_string(resources));
    }
    uint32_t StopListen(const Request &request, uint32_t resources) override
    {
        return Note(request, "stop " + std::to_string(resources));
    }
    uint32_t StreamBegin(const Request &request) override { return Note(request, "begin"); }
    uint32_t StreamEnd(const Request &request) override { return Note(request, "end"); }
    uint32_t BusEventOpen(const Request &request) override { return Note(request, "events"); }

    bool m_isClosed = false;
};

class Server : public ::testing::Test {
protected:
    ControlResult Send(uint32_t code, std::vector<uint32_t> &words, Overlapped *block = nullptr)
    {
        const auto bytes = static_cast<uint32_t>(words.size() * 4);
        return bus.Control(kCamera, code, words.data(), bytes, words.data(), bytes, block);
    }

    static std::vector<uint32_t> Access(uint32_t address, uint32_t bytes)
    {
        return {0, 1, 0xFFC0, 0xFFFF, address, bytes, 0, 0, 0, 0};
    }

    ControlResult Read(const std::vector<uint32_t> &record, std::span<uint8_t> out,
                       Overlapped *block = nullptr)
    {
        return bus.Control(kCamera, 0x22207A, record.data(), 40, out.data(),
                           static_cast<uint32_t>(out.size()), block);
    }

    static void ExpectDone(const ControlResult &result, uint32_t bytes)
    {
        EXPECT_EQ(result.completion, Completion::kDone);
        EXPECT_EQ(result.systemError, 0u);
        EXPECT_EQ(result.bytesReturned, bytes);
    }
    static void ExpectFailed(const ControlResult &result, uint32_t error)
    {
        EXPECT_EQ(result.completion, Completion::kFailed);
        EXPECT_EQ(result.systemError, error);
    }

    NotingBus bus;
    std::array<uint8_t, 8> data{};
};

using Calls = std::vector<std::string>;

// Each request with its record, what the bus is asked, and the record that comes back.
TEST_F(Server, TakesEveryRecordApart)
{
    const struct {
        uint32_t code;
        std::vector<uint32_t> in;
        Calls calls;
        std::vector<uint32_t> out;
    } rows[] = {
        {0x222096, {5}, {"is open"}, {1}},
        {0x22A080, {5}, {"events"}, {5}},
        {0x22A084, {5}, {"begin"}, {5}},
        {0x22A08C, {5}, {}, {5}},
        {0x22A090, {5}, {"end"}, {5}},
        {0x22A0A0, {1012, 8, 0, 6, 7}, {"bandwidth 1012 at 8"}, {1012, 8, 77, 6, 7}},
        {0x22A0A4, {77}, {"free bandwidth 77"}, {77}},
        {0x22A0A8, {0xFFFFFFFF, 0, 6, 7}, {"channel 4294967295"}, {0xFFFFFFFF, 9, 6, 7}},
        {0x22A0AC, {9}, {"free channel 9"}, {9}},
        {0x22A0B0,
         {8, 65, 9, 1012, 61, 30360, 0, 1, 0},
         {"resources for 9"},
         {8, 65, 9, 1012, 61, 30360, 0, 1, 88}},
        {0x22A0B4, {88}, {"free resources 88"}, {88}},
        {0x22A0BC, {88}, {"detach 88"}, {88}},
        {0x22A0C0, {88, 0, 0}, {"listen 88"}, {88, 0, 0}},
        {0x22A0C4, {88, 0}, {"stop 88"}, {88, 0}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(FindRequest(row.code)->name);
        std::vector<uint32_t> words = row.in;
        ExpectDone(Send(row.code, words), static_cast<uint32_t>(words.size() * 4));
        EXPECT_EQ(bus.TakeCalls(), row.calls);
        EXPECT_EQ(words, row.out);

        bus.error = 1450;
        words = row.in;
        if (!row.calls.empty())
            ExpectFailed(Send(row.code, words), 1450);
        EXPECT_EQ(bus.TakeCalls(), row.calls);
        EXPECT_EQ(words, row.in) << "a refused record stays as it was";
        bus.error = 0;

        words.push_back(0);
        ExpectFailed(Send(row.code, words), 87);
        words.resize(row.in.size() - 1);
        ExpectFailed(Send(row.code, words), 87);
        EXPECT_EQ(bus.TakeCalls(), Calls{});
    }
}

TEST_F(Server, TakesAccessesApart)
{
    ExpectDone(Read(Access(0xE0010038, 8), data), 8);
    EXPECT_EQ(data[7], 0xAB);
    auto write = Access(0xE1000010, 8);
    write[9] = 0x04030201;
    write.push_back(0x08070605);
    write.push_back(0); // the record is four bytes longer
    ExpectDone(bus.Control(kCamera, 0x22A07C, write.data(), 48, nullptr, 0, nullptr), 0);
    EXPECT_EQ(bus.TakeCalls(), (Calls{"read 3758161976 x 8", "write 3774873616 1 2 3 4 5 6 7 8"}));
}

TEST_F(Server, RefusesAnAccessOutOfShape)
{
    // Word, value: every constant field, a length of no quadlets, and one that is too long.
    const std::pair<size_t, uint32_t> wrong[] = {{0, 1}, {1, 0},      {2, 0xFFC1}, {3, 0xFFFE},
                                                 {6, 1}, {7, 1},      {8, 1},      {5, 6},
                                                 {5, 4}, {5, 0x10004}};
    for (const auto &[word, value] : wrong) {
        SCOPED_TRACE(word);
        auto record = Access(0xE0010038, 8);
        record[word] = value;
        ExpectFailed(Read(record, data), 87);
        ExpectFailed(bus.Control(kCamera, 0x22A07C, record.data(), 48, nullptr, 0, nullptr), 87);
    }
    const auto record = Access(0xE0010038, 8);
    ExpectFailed(bus.Control(kCamera, 0x22207A, nullptr, 40, data.data(), 8, nullptr), 87);
    ExpectFailed(bus.Control(kCamera, 0x22207A, record.data(), 40, nullptr, 8, nullptr), 87);
    ExpectFailed(bus.Control(kCamera, 0x22A07C, record.data(), 36, nullptr, 0, nullptr), 87);
    EXPECT_EQ(bus.calls, Calls{});
}

TEST_F(Server, QueuesABufferThatIsBothRecords)
{
    std::vector<uint8_t> buffer(300);
    Overlapped block;
    bus.pends = true;
    const auto queued =
        bus.Control(kCamera, 0x22A0BA, buffer.data(), 300, buffer.data(), 300, &block);
    EXPECT_EQ(queued.completion, Completion::kPending);
    ExpectFailed(bus.Control(kCamera, 0x22A0BA, buffer.data(), 300, buffer.data(), 300, &block),
                 87);
    ExpectFailed(
        bus.Control(kCamera, 0x22A0BA, buffer.data(), 300, buffer.data() + 1, 299, nullptr), 87);
    ExpectFailed(bus.Control(kCamera, 0x22A0BA, buffer.data(), 0, buffer.data(), 0, nullptr), 87);
    EXPECT_EQ(bus.calls, Calls{"queue 300"});
    EXPECT_TRUE(bus.Book().Finish(bus.lastId, Done(300)));
    ExpectDone(bus.Wait(kCamera, &block), 300);
}

TEST_F(Server, RefusesWhatIsNone)
{
    std::vector<uint32_t> word = {5};
    Overlapped block;
    ExpectFailed(Send(0x22A0C8, word, &block), 50);
    ExpectFailed(bus.Wait(kCamera, &block), 50);
    ExpectFailed(bus.Control(4, 0x222096, word.data(), 4, word.data(), 4, &block), 6);
    ExpectFailed(bus.Wait(kCamera, &block), 6);
    ExpectFailed(bus.Wait(kCamera, nullptr), 87);
    ExpectFailed(bus.WaitFor(kCamera, nullptr, 0), 87);
    bus.Cancel(kCamera, nullptr);
    std::vector<uint32_t> listen = {88, 1, 0};
    ExpectFailed(Send(0x22A0C0, listen), 87);
    std::vector<uint32_t> stop = {88, 1};
    ExpectFailed(Send(0x22A0C4, stop), 87);
    EXPECT_EQ(bus.calls, Calls{});
}

// A bus that has no operation for a request refuses it, and none of them is forgotten.
TEST_F(Server, RefusesWhatABusDoesNotHave)
{
    class Bare final : public RequestServer {
    public:
        uint32_t Enumerate(DevicePath *, uint32_t, uint32_t *) override { return 50; }
        uint32_t Open(const char *, DeviceHandle *) override { return 2; }
        bool IsSimulated() const override { return true; }

    private:
        bool IsHandle(DeviceHandle) override { return true; }
        uint32_t CheckDevice(DeviceHandle, bool) override { return 0; }
        void CloseDevice(DeviceHandle) override {}
    } bare;
    for (const RequestRow &row : kRequestTable) {
        SCOPED_TRACE(row.name);
        const bool isKnown = row.code == kControlStreamBegin || row.code == kControlStreamEnd ||
                             row.code == kControlBusEventOpen || row.code == kControlBusEventWait ||
                             row.code == kControlCancelBusEvent;
        if (isKnown)
            continue;
        std::vector<uint32_t> words(row.inBytes == kAnySize ? 10 : row.inBytes / 4);
        if (row.code == kControlAsyncRead || row.code == kControlAsyncWrite)
            words = Access(0xE0010038, 0);
        const auto bytes = static_cast<uint32_t>(words.size() * 4);
        const uint32_t outBytes = row.code == kControlAsyncRead ? 0 : bytes;
        ExpectFailed(
            bare.Control(1, row.code, words.data(), bytes, words.data(), outBytes, nullptr), 50);
    }
}

TEST_F(Server, LetsADeviceThatIsGoneGiveBackOnly)
{
    bus.deviceError = 1167;
    for (const RequestRow &row : kRequestTable) {
        SCOPED_TRACE(row.name);
        if (row.inBytes == kAnySize || row.outBytes == kAnySize)
            continue;
        std::vector<uint32_t> words(row.inBytes / 4);
        const auto result = Send(row.code, words);
        if (row.givesBack)
            ExpectDone(result, row.inBytes);
        else
            ExpectFailed(result, 1167);
    }
    ExpectFailed(Read(Access(0xE0010038, 8), data), 1167);
}

TEST_F(Server, HasNoResourcesWhereMemoryRunsOut)
{
    bus.lacksMemory = true;
    Overlapped block;
    ExpectFailed(Read(Access(0xE0010038, 8), data, &block), 1450);
    ExpectFailed(bus.Wait(kCamera, &block), 1450);
}

// Cancelling -------------------------------------------------------------------------------------

TEST_F(Server, CancelsOneOrAll)
{
    bus.pends = true;
    std::array<Overlapped, 3> blocks;
    std::array<RequestId, 3> ids{};
    for (size_t index = 0; index < 3; ++index) {
        EXPECT_EQ(Read(Access(0xE0010038, 8), data, &blocks[index]).completion,
                  Completion::kPending);
        ids[index] = bus.lastId;
    }
    bus.Cancel(kCamera, &blocks[1]);
    EXPECT_EQ(bus.dropped, std::vector<RequestId>{ids[1]});
    ExpectFailed(bus.Wait(kCamera, &blocks[1]), 995);
    EXPECT_EQ(bus.WaitFor(kCamera, &blocks[0], 0).completion, Completion::kPending);
    bus.Cancel(kCamera, &blocks[1]); // over: nothing
    bus.CancelPending(kCamera);
    EXPECT_EQ(bus.dropped, (std::vector<RequestId>{ids[1], ids[0], ids[2]}));
    ExpectFailed(bus.Wait(kCamera, &blocks[0]), 995);
    ExpectFailed(bus.Wait(kCamera, &blocks[2]), 995);
}

TEST_F(Server, LeavesARequestThatTheBusCannotDrop)
{
    bus.pends = true;
    bus.drops = false;
    Overlapped block;
    Read(Access(0xE0010038, 8), data, &block);
    bus.CancelPending(kCamera);
    EXPECT_EQ(bus.WaitFor(kCamera, &block, 0).completion, Completion::kPending);
    bus.Close(kCamera);
    EXPECT_EQ(bus.calls.back(), "close");
    EXPECT_EQ(bus.WaitFor(kCamera, &block, 0).completion, Completion::kPending);
    EXPECT_TRUE(bus.Book().Finish(bus.lastId, Done(8)));
    ExpectDone(bus.Wait(kCamera, &block), 8);
}

// It is cancelled after its operation, or it would pend for ever in the bus.
TEST_F(Server, CancelsARequestThatIsBeingServed)
{
    bus.pends = true;
    bus.holdsRead = true;
    Overlapped block;
    std::thread reading([&] {
        EXPECT_EQ(Read(Access(0xE0010038, 8), data, &block).completion, Completion::kPending);
    });
    while (!bus.isInRead)
        std::this_thread::yield();
    bus.CancelPending(kCamera);
    EXPECT_EQ(bus.dropped, std::vector<RequestId>{}) << "too early";
    bus.holdsRead = false;
    reading.join();
    EXPECT_EQ(bus.dropped, std::vector<RequestId>{bus.lastId});
    ExpectFailed(bus.WaitFor(kCamera, &block, 0), 995);
}

TEST_F(Server, EndsABusEventWithItsCancel)
{
    std::vector<uint32_t> event(0x808 / 4);
    Overlapped block;
    EXPECT_EQ(Send(0x22A08A, event, &block).completion, Completion::kPending);
    bus.pends = true;
    Overlapped read;
    Read(Access(0xE0010038, 8), data, &read);
    std::vector<uint32_t> word = {5};
    ExpectDone(Send(0x22A08C, word), 4);
    ExpectFailed(bus.Wait(kCamera, &block), 995);
    EXPECT_EQ(bus.WaitFor(kCamera, &read, 0).completion, Completion::kPending);
    bus.CancelPending(kCamera);
}

TEST_F(Server, ClosesOnceAndEndsWhatIsPending)
{
    bus.pends = true;
    Overlapped block;
    Read(Access(0xE0010038, 8), data, &block);
    bus.Close(kCamera);
    bus.Close(kCamera);
    ExpectFailed(bus.Wait(kCamera, &block), 995);
    EXPECT_EQ(std::count(bus.calls.begin(), bus.calls.end(), "close"), 1);
    ExpectFailed(Read(Access(0xE0010038, 8), data, &block), 6);
}

TEST_F(Server, WaitsItselfWithoutABlock)
{
    bus.pends = true;
    ControlResult result{};
    std::thread reading([&] { result = Read(Access(0xE0010038, 8), data); });
    RequestId id = 0;
    while ((id = bus.Book().NextOf(kCamera, 0)) == 0)
        std::this_thread::yield();
    const uint8_t bytes[] = {1, 2, 3, 4, 5, 6, 7, 8};
    bus.Book().FinishWith(id, bytes);
    reading.join();
    ExpectDone(result, 8);
    EXPECT_EQ(data[7], 8);
}

} // namespace
} // namespace zerix::kernel

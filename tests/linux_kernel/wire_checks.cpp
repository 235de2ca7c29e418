// The card's own file: what it refuses, what it reports, and that the bus does what its records
// say.
#include "checks.h"
#include "stream.h"

#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace linux_kernel {

namespace {

Bytes RecordOf(fwbus_kind kind, std::uint32_t node, std::uint32_t payload)
{
    fwbus_record record{};
    record.kind = kind;
    record.node = node;
    record.payload = payload;
    Bytes bytes(sizeof(record));
    std::memcpy(bytes.data(), &record, sizeof(record));
    return bytes;
}

ssize_t Write(const Wire &wire, const Bytes &bytes)
{
    const ssize_t result = write(wire.File(), bytes.data(), bytes.size());
    return result < 0 ? -errno : result;
}

} // namespace

using TheWire = Interface;

TEST_F(TheWire, HasOneUser)
{
    EXPECT_EQ(open("/dev/fwbus", O_RDWR), -1);
    EXPECT_EQ(errno, EBUSY);
}

TEST_F(TheWire, RefusesWhatIsNoRecord)
{
    EXPECT_EQ(Write(wire, Bytes(47)), -EINVAL);
    EXPECT_EQ(Write(wire, RecordOf(FWBUS_REQUEST, 0, 0)), -EINVAL);
    EXPECT_EQ(Write(wire, RecordOf(FWBUS_ISO, 0, 4)), -EINVAL);
    EXPECT_EQ(Write(wire, RecordOf(FWBUS_PLUG, FWBUS_NODES, 0)), -EINVAL);
    EXPECT_EQ(wire.Reset(FWBUS_NODES), EINVAL);
    EXPECT_EQ(wire.SendIso({.channel = 64}, {}), EINVAL);
}

TEST_F(TheWire, TakesTheRecordsBeforeTheOneThatIsRefused)
{
    Bytes bytes = RecordOf(FWBUS_RESET, FWBUS_LOCAL, 0);
    const Bytes wrong = RecordOf(FWBUS_UNPLUG, 7, 0);
    bytes.insert(bytes.end(), wrong.begin(), wrong.end());
    EXPECT_EQ(Write(wire, bytes), 48);
}

TEST_F(TheWire, KnowsWhatIsPlugged)
{
    EXPECT_EQ(wire.Plug(0, RomOf(guid)), EEXIST);
    EXPECT_EQ(wire.Unplug(1), ENODEV);
    EXPECT_EQ(wire.SetRom(1, RomOf(guid)), ENODEV);
    EXPECT_EQ(wire.AckWith(1, FWBUS_ACK_BUSY), ENODEV);
}

TEST_F(TheWire, ReportsResetsWithGenerationAndNumberOfNodes)
{
    std::uint32_t generation = 0, count = 0;
    ASSERT_EQ(wire.Plug(3, RomOf(guid + 0x10000)), 0);
    while (count != 2) {
        const auto notice = nodes.WaitForNotice(FWBUS_RESET_DONE);
        ASSERT_TRUE(notice);
        generation = notice->head.generation;
        count = notice->head.node;
        EXPECT_EQ(notice->head.id, count);
    }
    ASSERT_EQ(wire.Reset(), 0);
    EXPECT_EQ(nodes.WaitForNotice(FWBUS_RESET_DONE)->head.generation, generation + 1);
}

TEST_F(TheWire, ReportsWhatAStreamDoes)
{
    Stream stream(path);
    ASSERT_EQ(stream.Map(4096), 0);
    ASSERT_EQ(stream.Create(9), 0);
    ASSERT_EQ(stream.Queue(0, {{64}, {32}, {32}}), 3);
    ASSERT_EQ(stream.Start(), 0);
    const auto queued = nodes.WaitForNotice(FWBUS_ISO_QUEUED);
    ASSERT_TRUE(queued);
    EXPECT_EQ(queued->head.channel, 9);
    EXPECT_EQ(queued->head.length, 3u);
    EXPECT_EQ(queued->head.code, 64u);
    const auto begun = nodes.WaitForNotice(FWBUS_ISO_BEGIN);
    ASSERT_TRUE(begun);
    EXPECT_EQ(begun->head.channel, 9);
    EXPECT_EQ(begun->head.code, 64u);
    EXPECT_EQ(begun->head.id, queued->head.id);
    ASSERT_EQ(wire.SendIso({.channel = 9}, Pattern(8)), 0);
    ASSERT_EQ(stream.Stop(), 0);
    const auto ended = nodes.WaitForNotice(FWBUS_ISO_END);
    ASSERT_TRUE(ended);
    EXPECT_EQ(ended->head.channel, 9);
    EXPECT_EQ(ended->head.length, 2u);
    EXPECT_EQ(ended->head.code, 32u);
}

TEST_F(TheWire, ReportsTheEndOfAStreamThatIsClosed)
{
    {
        Stream stream(path);
        ASSERT_EQ(stream.Map(4096), 0);
        ASSERT_EQ(stream.Create(9), 0);
        ASSERT_EQ(stream.Queue(0, {{64}}), 1);
        ASSERT_EQ(stream.Start(), 0);
    }
    EXPECT_TRUE(nodes.WaitForNotice(FWBUS_ISO_END));
}

TEST_F(TheWire, KeepsAPacketThatFindsNoSlotIfAsked)
{
    Stream stream(path);
    ASSERT_EQ(stream.Map(4096), 0);
    ASSERT_EQ(stream.Create(9), 0);
    ASSERT_EQ(stream.Queue(0, {{64, 8, FW_CDEV_ISO_INTERRUPT}}), 1);
    ASSERT_EQ(stream.Start(), 0);
    const IsoPacket packet{.channel = 9, .keep = true};
    EXPECT_EQ(wire.SendIso(packet, Pattern(8)), 0);
    EXPECT_EQ(wire.SendIso(packet, Pattern(8)), EAGAIN);
    ASSERT_EQ(stream.Queue(64, {{64, 8, FW_CDEV_ISO_INTERRUPT}}), 1);
    EXPECT_EQ(wire.SendIso(packet, Pattern(8)), 0);
    EXPECT_EQ(wire.SendIso({.channel = 10, .keep = true}, Pattern(8)), 0);
}

TEST_F(TheWire, DecidesOnAHeldRequest)
{
    struct {
        fwbus_ack ack;
        std::uint32_t rcode;
    } const rows[] = {
        {FWBUS_ACK_BUSY, kBusy}, {FWBUS_ACK_NONE, kNoAck}, {FWBUS_ACK_TYPE_ERROR, kTypeError}};
    for (const auto &row : rows) {
        nodes.HandleWith(
            [&](const Record &request) { wire.Acknowledge(request.head.id, row.ack); });
        ASSERT_EQ(wire.AckWith(0, FWBUS_ACK_HELD, 1), 0);
        EXPECT_EQ(device->ReadQuadlet(kBase).rcode, row.rcode);
    }
    nodes.HandleWith([&](const Record &request) {
        wire.Answer(request.head.id, kComplete, Bytes{1, 2, 3, 4});
    });
    ASSERT_EQ(wire.AckWith(0, FWBUS_ACK_HELD, 1), 0);
    EXPECT_EQ(device->ReadQuadlet(kBase).payload, (Bytes{1, 2, 3, 4}));
}

TEST_F(TheWire, AHeldRequestThatIsAcknowledgedHasTwoSeconds)
{
    nodes.HandleWith([&](const Record &request) {
        Sleep(3);
        wire.Acknowledge(request.head.id, FWBUS_ACK_PENDING);
    });
    ASSERT_EQ(wire.AckWith(0, FWBUS_ACK_HELD, 1), 0);
    const double begin = Now();
    EXPECT_EQ(device->ReadQuadlet(kBase).rcode, kTimedOut);
    EXPECT_NEAR(Now() - begin, 5.0, 0.1);
}

TEST_F(TheWire, TheCountOfAcknowledgementsRunsOut)
{
    ASSERT_EQ(wire.AckWith(0, FWBUS_ACK_BUSY, 2), 0);
    EXPECT_EQ(device->ReadQuadlet(kBase).rcode, kBusy);
    EXPECT_EQ(device->ReadQuadlet(kBase).rcode, kBusy);
    EXPECT_EQ(device->ReadQuadlet(kBase).rcode, kComplete);
    ASSERT_EQ(wire.AckWith(0, FWBUS_ACK_BUSY), 0);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(device->ReadQuadlet(kBase).rcode, kBusy);
}

TEST_F(TheWire, AnswersTwiceOrToNobodyHaveNoEffect)
{
    EXPECT_EQ(wire.Answer(0, kComplete), 0);
    EXPECT_EQ(wire.Answer(0xdeadbeef, kComplete), 0);
    nodes.HandleWith([&](const Record &request) {
        wire.Answer(request.head.id, kComplete, Bytes{1, 2, 3, 4});
        wire.Answer(request.head.id, kComplete, Bytes{5, 6, 7, 8});
    });
    EXPECT_EQ(device->ReadQuadlet(kBase).payload, (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(device->ReadQuadlet(kBase).payload, (Bytes{1, 2, 3, 4}));
}

TEST_F(TheWire, AnAnswerAfterAResetHasNoEffect)
{
    std::uint32_t id = 0;
    nodes.HandleWith([&](const Record &request) { id = request.head.id; });
    ASSERT_EQ(device->Send(kReadQuadlet, kBase, 4, nullptr), 0);
    ASSERT_TRUE(nodes.WaitForRequest(0));
    ASSERT_EQ(wire.Reset(), 0);
    ASSERT_EQ(wire.Answer(id, kComplete, Bytes{1, 2, 3, 4}), 0);
    EXPECT_EQ(device->ReadResponse().value().rcode, kTimedOut);
}

TEST(TheWireAlone, CloseUnplugsEverything)
{
    constexpr std::uint64_t kGuid = 0x0011220099990001;
    {
        Wire wire;
        ASSERT_EQ(wire.Plug(0, RomOf(kGuid)), 0);
        ASSERT_NE(WaitForDevice(kGuid), "");
    }
    Wire wire;
    EXPECT_EQ(wire.Unplug(0), ENODEV);
    EXPECT_TRUE(WaitUntil([] { return WaitForDevice(kGuid, 0).empty(); }, 4));
}

TEST(TheWireAlone, ReadsWholeRecordsOnly)
{
    Wire wire;
    ASSERT_EQ(wire.Reset(), 0);
    Bytes bytes(4096);
    EXPECT_EQ(read(wire.File(), bytes.data(), 47), -1);
    EXPECT_EQ(errno, EMSGSIZE);
    EXPECT_EQ(read(wire.File(), bytes.data(), 95), 48);
    EXPECT_EQ(read(wire.File(), bytes.data(), 4096) % 48, 0);
    ASSERT_EQ(fcntl(wire.File(), F_SETFL, O_NONBLOCK), 0);
    while (read(wire.File(), bytes.data(), bytes.size()) > 0) {
    }
    EXPECT_EQ(errno, EAGAIN);
    pollfd wanted{.fd = wire.File(), .events = POLLIN | POLLOUT, .revents = 0};
    EXPECT_EQ(poll(&wanted, 1, 0), 1);
    EXPECT_EQ(wanted.revents, POLLOUT);
}

TEST(TheWireAlone, RequestsOfTheProgramThatIsTheNodeAreAnsweredToo)
{
    constexpr std::uint64_t kGuid = 0x0011220099990002;
    Wire wire;
    ASSERT_EQ(wire.Plug(0, RomOf(kGuid)), 0);
    const std::string path = WaitForDevice(kGuid);
    ASSERT_NE(path, "");
    const DeviceFile device(path);
    ASSERT_EQ(device.Send(kReadQuadlet, kBase, 4, nullptr), 0);
    bool answered = false;
    while (!answered) {
        const auto records = wire.Read(1000);
        ASSERT_FALSE(records.empty());
        for (const Record &record : records) {
            if (record.head.kind != FWBUS_REQUEST)
                continue;
            ASSERT_EQ(wire.Answer(record.head.id, kComplete, Bytes{1, 2, 3, 4}), 0);
            answered = true;
        }
    }
    EXPECT_EQ(device.ReadResponse().value().payload, (Bytes{1, 2, 3, 4}));
}

} // namespace linux_kernel

// Streams of a virtual camera through the modelled kernel.
#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tests/linux_model/process_fixture.h"
#include "tests/sim/bus_fixture.h"

namespace zerix::linux_model {
namespace {

using namespace std::chrono_literals;

constexpr uint32_t kSlotBytes = 1012;
constexpr uint32_t kSlots = 64;
constexpr uint32_t kIdleBytes = 12;
constexpr uint32_t kEntry = FW_CDEV_ISO_HEADER_LENGTH(8u) | FW_CDEV_ISO_PAYLOAD_LENGTH(kSlotBytes);
constexpr uint32_t kLastEntry = kEntry | FW_CDEV_ISO_INTERRUPT;

class Streams : public ProcessTest {
protected:
    // What the virtual bus itself sends: the first packets with image data; and the writes that
    // made it do so.
    void StreamWithoutTheModel(size_t count)
    {
        test::BusClient client;
        ASSERT_EQ(client.Connect(kSlotBytes), 0u);
        client.Apply({});
        client.Start();
        while (expected.size() < count)
            expected.push_back(client.NextDataPacket().value().bytes);
        client.Stop();
        client.Close();
        writes.resize(1000);
        auto written = static_cast<uint32_t>(writes.size());
        ASSERT_EQ(ZerixSim_TakeWrites(0, writes.data(), &written), 0u);
        writes.resize(written - 1); // without the stop
    }

    void Write(int file, const ZerixSimWrite &write)
    {
        const uint8_t data[] = {
            static_cast<uint8_t>(write.value >> 24), static_cast<uint8_t>(write.value >> 16),
            static_cast<uint8_t>(write.value >> 8), static_cast<uint8_t>(write.value)};
        ASSERT_EQ(
            Send(file, TCODE_WRITE_QUADLET_REQUEST, 0xFFFF00000000 + write.address, 4, 1, data), 0);
        const Bytes event = NextEvent(file);
        ASSERT_EQ(Type(event), uint32_t{FW_CDEV_EVENT_RESPONSE});
        ASSERT_EQ(Rcode(event), 0u);
    }

    // Control and stream file, booked, mapped, queued and started, on channel 0.
    void StartReceiving()
    {
        control = OpenFile("/dev/fw1");
        EXPECT_EQ(Allocate(control, ~0ull, kSlotBytes / 2, 1), 0);
        Model().Advance(0s);
        EXPECT_EQ(Word(NextEvent(control), 16), 0u);
        stream = OpenFile("/dev/fw1");
        int error = 0;
        ring = static_cast<uint8_t *>(Model().Map(stream, kSlotBytes * kSlots + 8, error));
        ASSERT_NE(ring, nullptr);
        std::fill_n(ring, kSlotBytes * kSlots, 0xEE);
        ASSERT_EQ(CreateContext(stream, 0, 8, 0x15), 0);
        for (uint32_t i = 0; i < kSlots; ++i)
            QueueSlot(i);
        ASSERT_EQ(StartIso(stream), 0);
    }
    void QueueSlot(uint32_t index)
    {
        EXPECT_EQ(Queue(stream, {index % 4 == 3 ? kLastEntry : kEntry},
                        ring + 8 + size_t{index} * kSlotBytes),
                  1);
    }
    void StopReceiving()
    {
        EXPECT_EQ(StopIso(stream), 0);
        EXPECT_EQ(Model().Unmap(ring, kSlotBytes * kSlots + 8), 0);
        Close(stream);
        Close(control);
    }

    // The packets of the next event, each queued again; idle ones are left out.
    void TakePackets(std::vector<Bytes> &packets)
    {
        const Bytes event = NextEvent(stream);
        ASSERT_EQ(Type(event), uint32_t{FW_CDEV_EVENT_ISO_INTERRUPT});
        EXPECT_EQ(Closure(event), 0x15u);
        for (size_t at = 20; at < 20 + Word(event, 16); at += 8) {
            const uint32_t header = BigEndianWord(event, at);
            EXPECT_EQ(header & 0xFFFF, 0x00A0u); // tag 0, channel 0
            const uint8_t *slot = ring + size_t{nextSlot} * kSlotBytes;
            EXPECT_EQ(std::count(slot, slot + 8, 0xEE), 8);
            const uint32_t length = header >> 16;
            if (length != kIdleBytes)
                packets.emplace_back(slot + 8, slot + 8 + length);
            stamps.push_back(BigEndianWord(event, at + 4) & 0xFFFF);
            QueueSlot(nextSlot);
            nextSlot = (nextSlot + 1) % kSlots;
        }
    }

    std::vector<Bytes> expected;
    std::vector<ZerixSimWrite> writes;
    std::vector<uint32_t> stamps;
    int control = -1;
    int stream = -1;
    uint8_t *ring = nullptr;
    uint32_t nextSlot = 0;
};

// 3 bits of seconds, and cycles up to 7,999.
uint32_t StampAfter(uint32_t stamp)
{
    return (stamp & 0x1FFF) == 7999 ? (stamp + 0x2000 - 7999) & 0xFFFF : stamp + 1;
}

// The client of the virtual bus reads three addresses of its blocks first, and an access moves the
// fast clock.
TEST_F(Streams, AreByteForByteThoseOfTheVirtualBus)
{
    Boot();
    StreamWithoutTheModel(200);
    Boot();
    StartReceiving();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Send(control, TCODE_READ_QUADLET_REQUEST, 0xFFFFD0000010, 4, 1), 0);
        EXPECT_EQ(Rcode(NextEvent(control)), 0u);
    }
    for (const ZerixSimWrite &write : writes)
        Write(control, write);
    std::vector<Bytes> packets;
    while (packets.size() < expected.size())
        TakePackets(packets);
    packets.resize(expected.size());
    for (size_t i = 0; i < packets.size(); ++i)
        ASSERT_EQ(packets[i], expected[i]) << i;
    for (size_t i = 1; i < stamps.size(); ++i)
        ASSERT_EQ(stamps[i], StampAfter(stamps[i - 1]));
    StopReceiving();
}

// With 24 of 64 places kept, 40 packets come in events of four, and four more for four places.
TEST_F(Streams, WaitWhileTheirQueueIsShortOnTheFastClock)
{
    Boot();
    StreamWithoutTheModel(1);
    Boot("", "", {.keptPlaces = 24});
    StartReceiving();
    for (const ZerixSimWrite &write : writes)
        Write(control, write);
    for (int i = 0; i < 10; ++i)
        NextEvent(stream);
    for (uint32_t i = 0; i < 4; ++i)
        QueueSlot(i);
    NextEvent(stream);
    Write(control, writes[0]); // a while for what isn't to come
    EXPECT_EQ(StopIso(stream), 0);
    EXPECT_EQ(Polled(stream), 0);
    const auto firstByteOf = [this](uint32_t slot) { return ring[8 + slot * kSlotBytes]; };
    EXPECT_NE(firstByteOf(43), 0xEE);
    for (uint32_t slot = 44; slot < kSlots; ++slot)
        EXPECT_EQ(firstByteOf(slot), 0xEE) << slot;
    StopReceiving();
}

TEST_F(Streams, LoseAnEventThatTheKernelHasNoMemoryFor)
{
    Boot();
    StreamWithoutTheModel(1);
    Boot();
    Model().LoseIsoEvents(1);
    StartReceiving();
    for (const ZerixSimWrite &write : writes)
        Write(control, write);
    nextSlot = 4;
    std::vector<Bytes> packets;
    TakePackets(packets);
    EXPECT_EQ(nextSlot, 8u);
    EXPECT_NE(ring[9], 0xEE);
    StopReceiving();
}

// The camera sends whether or not there is a place; what has none is missing in the cycles.
TEST_F(Streams, ShowADryRingInTheirCycles)
{
    Boot();
    StreamWithoutTheModel(1);
    Boot("", "clock = \"real\"\n");
    StartReceiving();
    for (const ZerixSimWrite &write : writes)
        Write(control, write);
    std::vector<Bytes> packets;
    for (uint32_t i = 0; i < kSlots / 4; ++i)
        NextEvent(stream);
    bool hasGap = false;
    for (uint32_t i = 0; i < 1000 && !hasGap; ++i) {
        const uint32_t slot = i % kSlots;
        EXPECT_EQ(Queue(stream, {kLastEntry}, ring + 8 + size_t{slot} * kSlotBytes), 1);
        stamps.push_back(BigEndianWord(NextEvent(stream), 24) & 0xFFFF);
        hasGap = i > 0 && stamps[i] != StampAfter(stamps[i - 1]);
    }
    EXPECT_TRUE(hasGap);
    StopReceiving();
}

TEST_F(Streams, GoOnForACameraThatIsBack)
{
    Boot();
    StreamWithoutTheModel(8);
    Boot();
    StartReceiving();
    for (const ZerixSimWrite &write : writes)
        Write(control, write);
    std::vector<Bytes> packets;
    while (packets.size() < 8)
        TakePackets(packets);
    ASSERT_EQ(ZerixSim_Unplug(0), 0u);
    Model().Look();
    Model().Advance(500ms);
    ASSERT_EQ(ZerixSim_Plug(0), 0u);
    Model().Look();
    Model().Advance(500ms);
    const auto isLate = [this] { return Polled(stream) != 0; };
    while (isLate()) // from before
        TakePackets(packets);
    packets.clear();
    for (const ZerixSimWrite &write : writes) // the camera has been without power
        Write(control, write);
    while (packets.size() < 8)
        TakePackets(packets);
    Model().Advance(1s);
    EXPECT_EQ(Type(NextEvent(control)), uint32_t{FW_CDEV_EVENT_BUS_RESET});
    StopReceiving();
}

// Contexts ----------------------------------------------------------------------------------------

TEST_F(Streams, AskTheCardForAContext)
{
    Boot("", "", {.receiveContexts = 2});
    const int first = OpenFile("/dev/fw1");
    const int second = OpenFile("/dev/fw2");
    const int third = OpenFile("/dev/fw0");
    EXPECT_EQ(CreateContext(first, 64, 8, 1), -EINVAL);
    EXPECT_EQ(CreateContext(first, 0, 0, 1), -EINVAL);
    EXPECT_EQ(CreateContext(first, 0, 6, 1), -EINVAL);
    EXPECT_EQ(CreateContext(first, 7, 8, 1), 0);
    EXPECT_EQ(CreateContext(first, 8, 8, 1), -EBUSY);  // the file has one
    EXPECT_EQ(CreateContext(second, 7, 8, 1), -EBUSY); // the channel is taken
    EXPECT_EQ(CreateContext(second, 8, 8, 1), 0);
    EXPECT_EQ(CreateContext(third, 9, 8, 1), -EBUSY); // the card has no more
    Close(second);
    EXPECT_EQ(CreateContext(third, 8, 8, 1), 0);
    Close(first);
    Close(third);
}

TEST_F(Streams, AreRefusedAContextByTheRacksFaults)
{
    Boot("faults = [\"no resources at request 1\"]\n");
    const int camera = OpenFile("/dev/fw1");
    EXPECT_EQ(Allocate(camera, ~0ull, 500, 1), 0);
    Model().Advance(0s);
    NextEvent(camera);
    EXPECT_EQ(CreateContext(camera, 0, 8, 1), -EBUSY);
    EXPECT_EQ(CreateContext(camera, 0, 8, 1), 0);
    Close(camera);
}

TEST_F(Streams, QueueWhatComesBeforeABadEntry)
{
    Boot();
    const int camera = OpenFile("/dev/fw1");
    std::vector<uint32_t> entries = {0x08000010, 0x09000010};
    EXPECT_EQ(Queue(camera, entries, nullptr), -EINVAL); // no context
    EXPECT_EQ(CreateContext(camera, 0, 8, 1), 0);
    EXPECT_EQ(StartIso(camera), -ENODATA);
    EXPECT_EQ(StartIso(camera, 0), -EINVAL);
    EXPECT_EQ(StartIso(camera, 16), -EINVAL);
    EXPECT_EQ(Queue(camera, {0x08000010}, nullptr), -EINVAL); // nothing mapped
    int error = 0;
    auto *const memory = static_cast<uint8_t *>(Model().Map(camera, 4096, error));
    EXPECT_EQ(Queue(camera, {0x09000010}, memory), -EINVAL);        // no multiple of 8
    EXPECT_EQ(Queue(camera, {0x00000010}, memory), -EINVAL);        // no header
    EXPECT_EQ(Queue(camera, {0x08000010}, memory + 4081), -EINVAL); // beyond the end
    EXPECT_EQ(Queue(camera, {0x08000010}, memory - 1), -EINVAL);
    EXPECT_EQ(StartIso(camera), -ENODATA);
    EXPECT_EQ(Queue(camera, entries, memory), -EINVAL);
    EXPECT_EQ(StartIso(camera), 0); // one is there
    EXPECT_EQ(StartIso(camera), 0);
    EXPECT_EQ(Queue(camera, {0x08000010}, memory + 4080), 1);
    EXPECT_EQ(Model().Unmap(memory, 4096), 0);
    Close(camera);
}

TEST_F(Streams, QueueFewerThanAsked)
{
    Boot("", "", {.longestQueue = 2});
    const int camera = OpenFile("/dev/fw1");
    EXPECT_EQ(CreateContext(camera, 0, 8, 1), 0);
    int error = 0;
    auto *const memory = static_cast<uint8_t *>(Model().Map(camera, 4096, error));
    const std::vector<uint32_t> entries(3, 0x08000010);
    fw_cdev_queue_iso after{};
    EXPECT_EQ(Queue(camera, entries, memory, &after), 2);
    EXPECT_EQ(after.size, 4u);
    EXPECT_EQ(after.packets, static_cast<uint64_t>(reinterpret_cast<uintptr_t>(&entries[2])));
    EXPECT_EQ(after.data, static_cast<uint64_t>(reinterpret_cast<uintptr_t>(memory + 32)));
    EXPECT_EQ(Model().Ioctl(camera, FW_CDEV_IOC_QUEUE_ISO, &after), 1);
    EXPECT_EQ(after.size, 0u);
    EXPECT_EQ(Model().Unmap(memory, 4096), 0);
    Close(camera);
}

} // namespace
} // namespace zerix::linux_model

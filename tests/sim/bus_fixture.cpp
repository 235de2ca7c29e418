#include "bus_fixture.h"

#include <cstring>

#include "../support/temporary_folder.h"
#include "refused_memory.h"

namespace zerix::test {

using namespace kernel;

namespace {

// Marks what is done inside of the bus, so that a test can tell it from what it does itself.
class MarkedDriver final : public KernelDriver {
public:
    uint32_t Enumerate(DevicePath *paths, uint32_t maximumCount, uint32_t *count) override
    {
        const BusCall inside;
        return Bus().Enumerate(paths, maximumCount, count);
    }
    uint32_t Open(const char *devicePath, DeviceHandle *device) override
    {
        const BusCall inside;
        return Bus().Open(devicePath, device);
    }
    ControlResult Control(DeviceHandle device, uint32_t code, const void *in, uint32_t inSize,
                          void *out, uint32_t outSize, Overlapped *overlapped) override
    {
        const BusCall inside;
        return Bus().Control(device, code, in, inSize, out, outSize, overlapped);
    }
    ControlResult Wait(DeviceHandle device, Overlapped *overlapped) override
    {
        const BusCall inside;
        return Bus().Wait(device, overlapped);
    }
    void CancelPending(DeviceHandle device) override
    {
        const BusCall inside;
        Bus().CancelPending(device);
    }
    void Close(DeviceHandle device) override
    {
        const BusCall inside;
        Bus().Close(device);
    }
    [[nodiscard]] bool IsSimulated() const override { return Bus().IsSimulated(); }
    void Cancel(DeviceHandle device, Overlapped *overlapped) override
    {
        const BusCall inside;
        Bus().Cancel(device, overlapped);
    }

private:
    static KernelDriver &Bus() { return *ZerixSim_KernelDriver(nullptr); }
};

} // namespace

KernelDriver &SimDriver()
{
    static MarkedDriver driver;
    return driver;
}

Packet ParsePacket(const uint8_t *bytes, uint32_t length)
{
    Packet packet;
    packet.bytes.assign(bytes, bytes + length);
    packet.isIdle = length <= 12;
    if (length < 12)
        return packet;
    // On the wire every pair of bytes is the other way round.
    packet.hasMarker = bytes[1] == 1 && (bytes[0] & 1) == 0;
    packet.hasHeader = (bytes[0] & 2) != 0;
    packet.frameId = bytes[3];
    packet.position =
        static_cast<uint32_t>(bytes[5]) << 16 | static_cast<uint32_t>(bytes[6]) << 8 | bytes[7];
    const uint32_t lead = packet.hasHeader ? 20 : 8;
    packet.hasTrailer = std::memcmp(bytes + length - 4, "\xAA\xAA\xAA\xAA", 4) == 0;
    if (length < lead + 4)
        return packet;
    if (packet.hasHeader) {
        const uint8_t *h = bytes + 8;
        packet.rollingNumber = static_cast<uint16_t>(h[0] << 8 | h[1]);
        packet.tag = h[2];
        packet.colour = h[3] & 0x0F;
        packet.time = static_cast<uint32_t>(h[4]) << 24 | static_cast<uint32_t>(h[5]) << 16 |
                      static_cast<uint32_t>(h[6]) << 8 | h[7];
        packet.depthLess1 = h[8] & 0x0F;
        packet.field = h[9] & 0x0F;
    }
    packet.data.assign(bytes + lead, bytes + length - 4);
    return packet;
}

// The client --------------------------------------------------------------------------------------

BusClient::BusClient(uint32_t pathIndex)
{
    std::array<DevicePath, 16> paths{};
    uint32_t count = 0;
    EXPECT_EQ(0u, SimDriver().Enumerate(paths.data(), 16, &count));
    if (pathIndex < count) {
        EXPECT_EQ(0u, SimDriver().Open(paths[pathIndex].text, &handle));
    }
}

BusClient::BusClient(IfItOpens)
{
    DevicePath path{};
    uint32_t count = 0;
    if (SimDriver().Enumerate(&path, 1, &count) == 0 && count == 1)
        static_cast<void>(SimDriver().Open(path.text, &handle));
}

BusClient::~BusClient() { Close(); }

void BusClient::Close()
{
    if (handle != 0)
        SimDriver().Close(handle);
    handle = 0;
}

uint32_t BusClient::Send(uint32_t code, const void *in, uint32_t inSize, void *out,
                         uint32_t outSize)
{
    Overlapped request;
    ControlResult result = SimDriver().Control(handle, code, in, inSize, out, outSize, &request);
    if (result.completion == Completion::kPending)
        result = SimDriver().Wait(handle, &request);
    return result.completion == Completion::kDone ? 0 : result.systemError;
}

uint32_t BusClient::SendWord(uint32_t code, uint32_t word, uint32_t *answer)
{
    uint32_t out = 0;
    const uint32_t error = Send(code, &word, 4, &out, 4);
    if (answer != nullptr)
        *answer = out;
    return error;
}

uint32_t BusClient::Read(uint32_t address, uint32_t count, std::vector<uint32_t> *words)
{
    AsyncRequest request{};
    request.one = 1;
    request.destination = kDestination;
    request.offsetHigh = kOffsetHigh;
    request.offsetLow = address;
    request.lengthBytes = count * 4;
    words->assign(count, 0);
    Overlapped overlapped;
    ControlResult result =
        SimDriver().Control(handle, kControlAsyncRead, &request, kAsyncRequestBytes, words->data(),
                            count * 4, &overlapped);
    if (result.completion == Completion::kPending) {
        result = SimDriver().Wait(handle, &overlapped);
        for (uint32_t &word : *words)
            word = word >> 24 | (word >> 8 & 0xFF00) | (word << 8 & 0xFF0000) | word << 24;
    }
    return result.completion == Completion::kDone ? 0 : result.systemError;
}

uint32_t BusClient::Write(uint32_t address, const std::vector<uint32_t> &words)
{
    std::vector<uint8_t> record(40 + words.size() * 4);
    AsyncRequest request{};
    request.one = 1;
    request.destination = kDestination;
    request.offsetHigh = kOffsetHigh;
    request.offsetLow = address;
    request.lengthBytes = static_cast<uint32_t>(words.size() * 4);
    std::memcpy(record.data(), &request, 36);
    for (size_t i = 0; i < words.size(); ++i)
        for (size_t byte = 0; byte < 4; ++byte)
            record[36 + 4 * i + byte] = static_cast<uint8_t>(words[i] >> (24 - 8 * byte));
    return Send(kControlAsyncWrite, record.data(), static_cast<uint32_t>(record.size()), nullptr,
                0);
}

uint32_t BusClient::Word(uint32_t address)
{
    std::vector<uint32_t> words;
    return Read(address, 1, &words) == 0 ? words[0] : 0xDEADDEADu;
}

uint32_t BusClient::AllocateBandwidth(uint32_t bytes)
{
    BandwidthRequest request{bytes, kSpeedFlag800, 0, {}};
    const uint32_t error =
        Send(kControlAllocateBandwidth, &request, sizeof(request), &request, sizeof(request));
    bandwidth = request.handle;
    return error;
}

uint32_t BusClient::AllocateChannel()
{
    ChannelRequest request{kAnyChannel, 0, {}};
    const uint32_t error =
        Send(kControlAllocateChannel, &request, sizeof(request), &request, sizeof(request));
    channel = request.channel;
    return error;
}

uint32_t BusClient::AllocateResources(uint32_t bytes, uint32_t speedFlag, uint32_t tag)
{
    ResourcesRequest request{speedFlag, 0x41, channel, bytes, 61, bytes * 30, 0, tag, 0};
    const uint32_t error =
        Send(kControlAllocateResources, &request, sizeof(request), &request, sizeof(request));
    resources = request.handle;
    slotBytes = bytes;
    return error;
}

uint32_t BusClient::Connect(uint32_t bytes, uint32_t speedFlag)
{
    if (const uint32_t error = AllocateBandwidth(bytes))
        return error;
    if (const uint32_t error = AllocateChannel())
        return error;
    return AllocateResources(bytes, speedFlag);
}

uint32_t BusClient::Block(uint32_t directoryOffset) { return Word(0xD0000000u + directoryOffset); }

void BusClient::Apply(const Setup &setup)
{
    const uint32_t control = Control();
    const auto write = [&](uint32_t offset, uint32_t value) {
        EXPECT_EQ(0u, Write(control + offset, {value}));
    };
    write(0x04, static_cast<uint32_t>(setup.tag) << 24 | setup.rateCode << 8 |
                    setup.depthCode << 3 | (setup.littleEndian ? 4u : 0u));
    write(0x0C, setup.width << 16 | setup.height);
    write(0x10, setup.x << 16 | setup.y);
    write(0x18, static_cast<uint32_t>(setup.exposureNanoseconds >> 32));
    write(0x3C, static_cast<uint32_t>(setup.exposureNanoseconds));
    write(0x2C, setup.triggerCode);
    write(0x30, setup.wheel);
    write(0x50, setup.packetBytes);
    EXPECT_EQ(0u, Commit());
}

uint32_t BusClient::Queue(Slot &slot)
{
    const ControlResult result = SimDriver().Control(
        handle, kControlQueueBuffer, slot.bytes.data(), static_cast<uint32_t>(slot.bytes.size()),
        slot.bytes.data(), static_cast<uint32_t>(slot.bytes.size()), &slot.request);
    return result.completion == Completion::kPending ? 0 : result.systemError;
}

void BusClient::QueueAll(uint32_t count) { EXPECT_EQ(0u, TryToQueue(count)); }

uint32_t BusClient::TryToQueue(uint32_t count)
{
    m_slots.clear();
    m_nextSlot = 0;
    m_waiting.clear();
    for (uint32_t i = 0; i < count; ++i) {
        m_slots.push_back(std::make_unique<Slot>());
        m_slots.back()->bytes.resize(size_t{slotBytes} * 30);
        if (const uint32_t error = Queue(*m_slots.back()))
            return error;
    }
    return 0;
}

uint32_t BusClient::Listen()
{
    ListenRequest request{resources, {}};
    return Send(kControlListen, &request, sizeof(request), &request, sizeof(request));
}

void BusClient::Start(uint32_t buffers)
{
    QueueAll(buffers);
    EXPECT_EQ(0u, Listen());
    EXPECT_EQ(0u, Enable());
}

uint32_t BusClient::TryToStart(uint32_t buffers)
{
    if (const uint32_t error = TryToQueue(buffers))
        return error;
    if (const uint32_t error = Listen())
        return error;
    return Enable();
}

uint32_t BusClient::Stop()
{
    StopRequest request{resources, 0};
    if (const uint32_t error =
            Send(kControlStopListen, &request, sizeof(request), &request, sizeof(request)))
        return error;
    if (const uint32_t error = SendWord(kControlDetachBuffers, resources))
        return error;
    return Disable();
}

std::optional<std::vector<Packet>> BusClient::NextBuffer()
{
    Slot &slot = *m_slots[m_nextSlot];
    m_nextSlot = (m_nextSlot + 1) % m_slots.size();
    const ControlResult result = SimDriver().Wait(handle, &slot.request);
    lastError = result.systemError;
    if (result.completion != Completion::kDone)
        return std::nullopt;
    EXPECT_EQ(slot.bytes.size(), result.bytesReturned);
    std::vector<Packet> packets;
    for (size_t i = 0; i < 30; ++i) {
        const uint8_t *start = slot.bytes.data() + i * slotBytes;
        const uint32_t length = start[6] | static_cast<uint32_t>(start[7]) << 8;
        if (length + 8 <= slotBytes)
            packets.push_back(ParsePacket(start + 8, length));
    }
    lastError = Queue(slot);
    return packets;
}

std::optional<Packet> BusClient::NextDataPacket()
{
    for (;;) {
        while (!m_waiting.empty()) {
            Packet packet = m_waiting.front();
            m_waiting.erase(m_waiting.begin());
            if (!packet.isIdle)
                return packet;
        }
        auto packets = NextBuffer();
        if (!packets)
            return std::nullopt;
        m_waiting = std::move(*packets);
    }
}

std::optional<Frame> BusClient::NextFrame(uint32_t bytes)
{
    Frame frame;
    while (frame.pixels.size() < bytes) {
        auto packet = NextDataPacket();
        if (!packet)
            return std::nullopt;
        if (packet->hasHeader)
            frame = Frame{*packet, {}, {}};
        frame.pixels.insert(frame.pixels.end(), packet->data.begin(), packet->data.end());
        frame.packets.push_back(*packet);
    }
    return frame;
}

// The fixture -------------------------------------------------------------------------------------

void BusTest::SetUp() { OneCamera(); }

void BusTest::TearDown()
{
    const ZerixSimHeld held = Held();
    EXPECT_EQ(0u, held.openHandles);
    EXPECT_EQ(0u, held.channels);
    EXPECT_EQ(0u, held.bandwidthHandles);
    EXPECT_EQ(0u, held.resourcesHandles);
    EXPECT_EQ(0u, held.queuedBuffers);
    EXPECT_EQ(0u, held.pendingRequests);
    EXPECT_EQ(0u, held.threads);
    const ZerixSimMistakes mistakes = TakeMistakes();
    EXPECT_EQ(0u, mistakes.registersOutside) << mistakes.first;
    EXPECT_EQ(0u, mistakes.valuesReserved) << mistakes.first;
    EXPECT_EQ(0u, mistakes.regionsOutside) << mistakes.first;
}

ZerixSimMistakes BusTest::TakeMistakes()
{
    ZerixSimMistakes mistakes{};
    EXPECT_EQ(0u, ZerixSim_TakeMistakes(&mistakes));
    return mistakes;
}

ZerixSimHeld BusTest::Held()
{
    ZerixSimHeld held{};
    EXPECT_EQ(0u, ZerixSim_GetHeld(&held));
    return held;
}

void BusTest::OneCamera(const std::string &cameraLines, const std::string &rackLines)
{
    const std::string rack =
        rackLines.empty() ? "speed = 800\nclock = \"fast\"\nseed = 5\n" : rackLines;
    std::string camera =
        "[[camera]]\nmodel = 18\nserial = \"T-0001\"\nunique-id = \"0x00A1B2C3D4E5F607\"\n"
        "sensor = 6\nbit-depth = 12\n" +
        cameraLines;
    if (cameraLines.find("scene") == std::string::npos)
        camera += "scene = \"position\"\n";
    Choose(rack + camera);
}

void BusTest::Choose(const std::string &rackText)
{
    const TemporaryFolder folder;
    const std::string path = folder.Write("rack.toml", rackText);
    ASSERT_EQ(0u, ZerixSim_ChooseRack(path.c_str())) << ZerixSim_LastErrorText();
}

} // namespace zerix::test

// The packet sink of the hardware layer's tests.
#include "tests/hal/plain_sink.h"

#include <algorithm>
#include <atomic>
#include <new>

#include "hal/fw_camera_device.h"

namespace zerix::test {

namespace {

constexpr size_t kLeadBytes = 12; // without them a packet of a few bytes would be an idle one
constexpr uint8_t kBegins = 1;
constexpr uint8_t kContinues = 2;

std::atomic<uint32_t> g_alive{0};
std::atomic<bool> g_isRefused{false};

std::vector<uint8_t> PacketOf(uint8_t mark, const std::vector<uint8_t> &data)
{
    std::vector<uint8_t> packet(kLeadBytes, 0x55);
    packet.push_back(mark);
    for (const uint8_t byte : data)
        packet.push_back(byte);
    return packet;
}

} // namespace

std::vector<uint8_t> BeginningPacket(const std::vector<uint8_t> &data)
{
    return PacketOf(kBegins, data);
}

std::vector<uint8_t> ContinuingPacket(const std::vector<uint8_t> &data)
{
    return PacketOf(kContinues, data);
}

PlainSink::PlainSink() { ++g_alive; }
PlainSink::~PlainSink() { --g_alive; }

PlainSink &PlainSink::Of(hal::FWCameraDevice &device)
{
    return static_cast<PlainSink &>(*device.sink);
}

uint32_t PlainSink::Alive() { return g_alive; }

void PlainSink::SetUp(const hal::FrameCallbacks &given)
{
    Note('S');
    callbacks = given;
    m_frame = nullptr;
}

void PlainSink::Begin(uint8_t version)
{
    Note('B');
    streamingVersion = version;
}

void PlainSink::Packet(std::span<uint8_t> payload)
{
    Note('p');
    lastPayload = payload;
    if (payload[kLeadBytes] == kBegins) {
        m_frame = callbacks.peekFrame(callbacks.context) != nullptr
                      ? callbacks.getFrame(callbacks.context)
                      : nullptr;
        m_placed = 0;
    }
    if (m_frame == nullptr)
        return;
    const auto data = payload.subspan(kLeadBytes + 1);
    std::copy(data.begin(), data.end(), m_frame->data.subspan(m_placed).begin());
    m_placed += data.size();
    if (m_placed < m_frame->data.size())
        return;
    m_frame = nullptr;
    callbacks.frameDone(callbacks.context);
}

void PlainSink::Drop()
{
    Note('D');
    if (m_frame != nullptr)
        m_frame->isDropped = true;
    m_frame = nullptr;
}

void PlainSink::Note(char call)
{
    if (m_logged < m_log.size())
        m_log[m_logged++] = call;
}

RefusedSinks::RefusedSinks() { g_isRefused = true; }
RefusedSinks::~RefusedSinks() { g_isRefused = false; }

} // namespace zerix::test

std::unique_ptr<zerix::hal::PacketSink> zerix::hal::MakePacketSink()
{
    if (zerix::test::g_isRefused)
        return nullptr;
    return std::unique_ptr<PacketSink>(new (std::nothrow) zerix::test::PlainSink);
}

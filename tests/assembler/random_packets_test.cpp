// Random sequences of packets, lost, out of order, doubled, cut and corrupted, against a second and
// plain implementation of formats 1 and 2; and plain random bytes, for what the sanitizers see.
#include <algorithm>
#include <random>

#include "fuzz/assembler_input.h"
#include "tests/assembler/packets.h"

namespace zerix::test {
namespace {

// Below `limit`; the same on every platform.
uint32_t Below(std::mt19937 &random, size_t limit)
{
    return static_cast<uint32_t>(random() % limit);
}

struct Delivered {
    uint32_t status;
    Bytes data;
    bool operator==(const Delivered &) const = default;
};

// As plain as it can be: works on the wire bytes and builds the image byte by byte. Progressive
// frames.
class PlainAssembler {
public:
    explicit PlainAssembler(uint32_t frameBytes, bool isTurned)
        : m_frameBytes(frameBytes), m_isTurned(isTurned)
    {
    }

    void Packet(const Bytes &p)
    {
        if (p.size() < 8 || p[1] != 1 || (p[0] & 1) != 0)
            return;
        const uint32_t position = p[5] * 65536u + p[6] * 256u + p[7];
        const bool isInWork = m_isOpen && m_image.size() < m_frameBytes;
        if (isInWork && (position != m_position || p[3] != m_id)) {
            m_status = 1;
            uint64_t gap = m_frameBytes;
            if (p[3] == m_id && position >= m_position)
                gap = position - m_position;
            m_position = position;
            for (uint64_t i = 0; i < gap; ++i)
                Put(0);
        }
        const size_t begin = (p[0] & 2) != 0 ? 20 : 8;
        if (p.size() < begin + 4)
            return;
        for (size_t i = p.size() - 4; i < p.size(); ++i)
            if (p[i] != 0xAA)
                return;
        if (begin == 20) {
            if (m_isOpen) {
                m_status = 2;
                Close(false);
            }
            m_isOpen = p[10] == kTag && (p[17] & 0x0F) != 0;
            m_status = 0;
            m_image.clear();
            m_position = 0;
            m_id = p[3];
        }
        for (size_t i = begin; i < p.size() - 4; ++i)
            Put(p[i]);
        m_position += static_cast<uint32_t>(p.size() - 4 - begin);
    }

    std::vector<Delivered> delivered;

private:
    void Put(uint8_t byte)
    {
        if (!m_isOpen)
            return;
        m_image.push_back(byte);
        if (m_image.size() == m_frameBytes)
            Close(m_isTurned);
    }
    void Close(bool turn)
    {
        m_image.resize(m_frameBytes);
        if (turn)
            std::reverse(m_image.begin(), m_image.end());
        delivered.push_back({m_status, m_image});
        m_isOpen = false;
    }

    uint32_t m_frameBytes;
    bool m_isTurned;
    bool m_isOpen = false;
    uint32_t m_status = 0;
    Bytes m_image;
    uint32_t m_position = 0;
    uint8_t m_id = 0;
};

// The packets of some frames of random contents.
std::vector<Bytes> MakeStream(std::mt19937 &random, uint32_t frameBytes)
{
    std::vector<Bytes> packets;
    for (uint8_t id = 1; id <= 6; ++id) {
        Bytes image(frameBytes);
        std::generate(image.begin(), image.end(), [&] { return static_cast<uint8_t>(random()); });
        for (uint32_t position = 0; position < frameBytes;) {
            const uint32_t count = std::min(1 + Below(random, 40), frameBytes - position);
            const auto from = image.begin() + position;
            const Bytes data(from, from + count);
            packets.push_back(position == 0 ? First(id, {}, data) : Next(id, position, data));
            position += count;
        }
    }
    return packets;
}

void FlipABit(std::mt19937 &random, Bytes &packet)
{
    uint8_t &byte = packet[Below(random, packet.size())];
    byte = static_cast<uint8_t>(byte ^ 1u << Below(random, 8));
}

void Spoil(std::mt19937 &random, std::vector<Bytes> &packets)
{
    for (int fault = 0; fault < 4; ++fault) {
        const size_t i = Below(random, packets.size());
        const size_t other = Below(random, packets.size());
        switch (Below(random, 6)) {
        case 0:
            packets.erase(packets.begin() + static_cast<std::ptrdiff_t>(i));
            break;
        case 1:
            std::swap(packets[i], packets[other]);
            break;
        case 2:
            packets.insert(packets.begin() + static_cast<std::ptrdiff_t>(other), Bytes(packets[i]));
            break;
        case 3:
            packets[i].resize(1 + Below(random, packets[i].size()));
            break;
        case 4:
            FlipABit(random, packets[i]);
            break;
        default:
            packets[i].push_back(0xAA);
            break;
        }
    }
}

// A round has up to six frames.
void CompareWithThePlainAssembler(uint32_t seed, int rounds)
{
    std::mt19937 random(seed);
    size_t damaged = 0;
    size_t whole = 0;
    for (int round = 0; round < rounds; ++round) {
        const uint8_t version = round % 2 == 0 ? 1 : 2;
        const uint32_t frameBytes = 1 + Below(random, 200);
        std::vector<Bytes> packets = MakeStream(random, frameBytes);
        Spoil(random, packets);
        FakeCamera camera(version);
        camera.next.size = camera.next.expected = frameBytes;
        PlainAssembler plain(frameBytes, version == 2);
        for (const Bytes &packet : packets) {
            // A depth of 16 bits would turn words; the plain one turns bytes.
            if (packet.size() > 16 && (packet[0] & 2) != 0 && (packet[16] & 0x0F) >= 8)
                continue;
            camera.Send(packet);
            plain.Packet(packet);
        }
        std::vector<Delivered> got;
        for (const Frame *frame : camera.arrived)
            got.push_back({frame->info.status, frame->Data()});
        ASSERT_EQ(got.size(), plain.delivered.size()) << round;
        ASSERT_TRUE(got == plain.delivered) << round;
        for (const Delivered &frame : got)
            ++(frame.status == 0 ? whole : damaged);
    }
    EXPECT_GT(damaged, 1000u);
    EXPECT_GT(whole, 1000u);
}

TEST(RandomPackets, GiveWhatAPlainAssemblerGives) { CompareWithThePlainAssembler(20, 3000); }

TEST(RandomPacketsNight, GiveWhatAPlainAssemblerGivesInAMillionFrames)
{
    CompareWithThePlainAssembler(21, 170'000);
}

void ReadRandomBytes(uint32_t seed, int rounds)
{
    std::mt19937 random(seed);
    size_t arrived = 0;
    for (int round = 0; round < rounds; ++round) {
        Bytes input(Below(random, 1500));
        std::generate(input.begin(), input.end(), [&] { return static_cast<uint8_t>(random()); });
        arrived += fuzz::RunAssemblerInput(input);
    }
    EXPECT_GT(arrived, 1000u);
}

TEST(RandomBytes, NeverLeaveTheirBuffers) { ReadRandomBytes(7, 5000); }

TEST(RandomBytesNight, NeverLeaveTheirBuffers) { ReadRandomBytes(8, 200'000); }

} // namespace
} // namespace zerix::test

#include "wire.h"

#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace linux_kernel {

namespace {

constexpr std::size_t kReadBytes = 1 << 17;

std::vector<std::uint8_t> InBusOrder(std::span<const std::uint32_t> quadlets)
{
    std::vector<std::uint8_t> bytes;
    for (const std::uint32_t quadlet : quadlets)
        for (const int shift : {24, 16, 8, 0})
            bytes.push_back(static_cast<std::uint8_t>(quadlet >> shift));
    return bytes;
}

fwbus_record Of(fwbus_kind kind, std::uint32_t node = 0)
{
    fwbus_record record{};
    record.kind = kind;
    record.node = node;
    return record;
}

} // namespace

Wire::Wire()
{
    for (int tries = 0; tries < 100; ++tries) {
        m_file = open("/dev/fwbus", O_RDWR | O_CLOEXEC);
        if (m_file >= 0)
            return;
        usleep(10000);
    }
    std::perror("/dev/fwbus");
    std::abort();
}

Wire::~Wire() { close(m_file); }

int Wire::Send(fwbus_record head, std::span<const std::uint8_t> payload)
{
    head.payload = static_cast<std::uint32_t>(payload.size());
    std::vector<std::uint8_t> bytes(sizeof(head) + payload.size());
    std::memcpy(bytes.data(), &head, sizeof(head));
    std::copy(payload.begin(), payload.end(), bytes.begin() + sizeof(head));
    return write(m_file, bytes.data(), bytes.size()) < 0 ? errno : 0;
}

int Wire::Plug(std::uint32_t node, std::span<const std::uint32_t> rom, std::uint32_t speed)
{
    fwbus_record record = Of(FWBUS_PLUG, node);
    record.code = speed;
    return Send(record, InBusOrder(rom));
}

int Wire::Unplug(std::uint32_t node) { return Send(Of(FWBUS_UNPLUG, node)); }

int Wire::Reset(std::uint32_t initiator) { return Send(Of(FWBUS_RESET, initiator)); }

int Wire::SetRom(std::uint32_t node, std::span<const std::uint32_t> rom)
{
    return Send(Of(FWBUS_ROM, node), InBusOrder(rom));
}

int Wire::AckWith(std::uint32_t node, fwbus_ack ack, std::uint32_t count)
{
    fwbus_record record = Of(FWBUS_ACK_WITH, node);
    record.code = ack;
    record.length = count;
    return Send(record);
}

int Wire::Acknowledge(std::uint32_t id, fwbus_ack ack)
{
    fwbus_record record = Of(FWBUS_ACK);
    record.id = id;
    record.code = ack;
    return Send(record);
}

int Wire::Answer(std::uint32_t id, std::uint32_t rcode, std::span<const std::uint8_t> payload)
{
    fwbus_record record = Of(FWBUS_ANSWER);
    record.id = id;
    record.code = rcode;
    return Send(record, payload);
}

int Wire::SendIso(const IsoPacket &packet, std::span<const std::uint8_t> payload)
{
    fwbus_record record = Of(FWBUS_ISO);
    record.channel = packet.channel;
    record.tag = packet.tag;
    record.sy = packet.sy;
    record.cycle = packet.cycle.value_or(0);
    record.flags = static_cast<std::uint8_t>((packet.cycle ? FWBUS_CYCLE : 0) |
                                             (packet.keep ? FWBUS_KEEP : 0));
    return Send(record, payload);
}

std::vector<Record> Wire::Read(int timeoutMilliseconds)
{
    std::vector<Record> records;
    pollfd wanted{.fd = m_file, .events = POLLIN, .revents = 0};
    if (poll(&wanted, 1, timeoutMilliseconds) <= 0)
        return records;
    std::vector<std::uint8_t> bytes(kReadBytes);
    const ssize_t length = read(m_file, bytes.data(), bytes.size());
    for (std::size_t place = 0; static_cast<ssize_t>(place) < length;) {
        Record record;
        std::memcpy(&record.head, &bytes[place], sizeof(record.head));
        place += sizeof(record.head);
        record.payload.assign(&bytes[place], &bytes[place] + record.head.payload);
        place += record.head.payload;
        records.push_back(std::move(record));
    }
    return records;
}

} // namespace linux_kernel

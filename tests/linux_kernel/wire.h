// The far end of the virtual card: what a program in the guest does as the remote nodes of the bus,
// through /dev/fwbus. No thread of its own; Send... and Read may be called from two threads.
#pragma once

#include "card/fwbus.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace linux_kernel {

struct Record {
    fwbus_record head{};
    std::vector<std::uint8_t> payload;
};

struct IsoPacket {
    std::uint8_t channel = 0;
    std::uint8_t tag = 0;
    std::uint8_t sy = 0;
    // 3 bits of seconds, 13 of cycles; the card's clock unless given.
    std::optional<std::uint16_t> cycle = std::nullopt;
    // EAGAIN instead of a lost packet where there is no receive slot.
    bool keep = false;
};

constexpr std::uint32_t kSpeed100 = 0, kSpeed400 = 2, kSpeed800 = 3;

class Wire {
public:
    // Waits until the file is free: its last user may still be closing it.
    Wire();
    ~Wire();
    Wire(const Wire &) = delete;
    Wire &operator=(const Wire &) = delete;

    [[nodiscard]] int File() const { return m_file; }

    // All of these return 0 or an errno. A ROM is given in host order; an empty one is left to
    // requests.
    int Plug(std::uint32_t node, std::span<const std::uint32_t> rom,
             std::uint32_t speed = kSpeed800);
    int Unplug(std::uint32_t node);
    int Reset(std::uint32_t initiator = FWBUS_LOCAL);
    int SetRom(std::uint32_t node, std::span<const std::uint32_t> rom);
    // How the next `count` requests are acknowledged; 0: until further notice.
    int AckWith(std::uint32_t node, fwbus_ack ack, std::uint32_t count = 0);
    int Acknowledge(std::uint32_t id, fwbus_ack ack);
    int Answer(std::uint32_t id, std::uint32_t rcode, std::span<const std::uint8_t> payload = {});
    int SendIso(const IsoPacket &packet, std::span<const std::uint8_t> payload);
    // Any record, as it is.
    int Send(fwbus_record head, std::span<const std::uint8_t> payload = {});

    // The records that are there, after waiting for the first; empty after the time.
    std::vector<Record> Read(int timeoutMilliseconds);

private:
    int m_file;
};

} // namespace linux_kernel

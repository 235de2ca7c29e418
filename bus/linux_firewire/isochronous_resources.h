// Bandwidth and channels, booked with the kernel, which books them anew after every bus reset. The
// kernel answers a booking by an event, as it has to talk to the bus's resource manager first.
//
// Threads: used under the lock of the node's handle; who waits for an answer waits on that lock.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "bus/linux_firewire/system_calls.h"

namespace zerix::bus::linux_firewire {

// Bandwidth units of packets in slots of so many bytes, at a speed code. A unit is the time of a
// quadlet at 1600 Mb/s; the slot's 12 bytes over the packet are the three quadlets of its header.
// At most what a bus has to give.
uint32_t BandwidthUnits(uint32_t slotBytes, int speed);

// The channels that may be taken: 31 is the broadcast channel, and the resource managers of some
// cards hold 63 back. Nothing for one that is none.
std::optional<uint64_t> ChannelMask(uint32_t request);

class IsochronousResources {
public:
    using Time = std::chrono::nanoseconds;

    struct Booking {
        uint64_t closure = 0;
        uint32_t number = 0;    // for the port: of bandwidth, its handle; of a channel, the channel
        uint32_t slotBytes = 0; // of bandwidth; 0 of a channel
        uint32_t kernelHandle = 0; // 0 is a good one
        enum class Phase { kAsked, kHeld, kFreeing, kOver } phase = Phase::kAsked;
        uint32_t error = 0; // once it is over
        Time deadline{};    // of the answer
        bool isWanted = true;

        bool IsAnswered() const { return phase == Phase::kHeld || phase == Phase::kOver; }
    };
    using Pointer = std::shared_ptr<Booking>;

    IsochronousResources(SystemCalls &system, int file) : m_system(system), m_file(file) {}

    // Asks for bandwidth or for one of the channels of a mask. 0 or a system error; the booking is
    // answered later, at its deadline at the latest.
    uint32_t AskForBandwidth(uint32_t slotBytes, uint32_t units, Pointer &booking);
    uint32_t AskForChannel(uint64_t mask, Pointer &booking);
    // Gives a held booking back; answered likewise.
    uint32_t Free(const Pointer &booking);
    // Nobody waits for it any more: what is granted later is given back.
    void Abandon(const Pointer &booking);

    // Null for what isn't held.
    [[nodiscard]] Pointer HeldBandwidth(uint32_t number) const;
    [[nodiscard]] Pointer HeldChannel(uint32_t channel) const;
    [[nodiscard]] bool HoldsBandwidthFor(uint32_t slotBytes) const;

    // An event. False if it takes away what was held and wasn't given back.
    [[nodiscard]] bool OnEvent(std::span<const uint8_t> event);
    // Ends what has waited too long.
    void EndLate();
    [[nodiscard]] std::optional<Time> NextDeadline() const;
    // The device is gone, or closed: everything is over. `givesBack`: the kernel is told.
    void EndAll(uint32_t systemError, bool givesBack);

private:
    uint32_t Ask(uint64_t channels, uint32_t units, Pointer &booking);
    void OnGranted(const Pointer &booking, std::span<const uint8_t> event);
    void End(const Pointer &booking, uint32_t error);
    int Deallocate(uint32_t kernelHandle);
    [[nodiscard]] Pointer Held(bool isBandwidth, uint32_t number) const;

    SystemCalls &m_system;
    const int m_file;
    std::vector<Pointer> m_bookings; // all that aren't over
    uint64_t m_lastClosure = 0;
};

} // namespace zerix::bus::linux_firewire

// The books of the bus: channels 0 to 63 and bandwidth. Guarded by the bus's lock.
//
// Bandwidth is counted in the units of the 1394 bus: one unit is the time that a quadlet takes at
// 1600 Mb/s, so that a byte of a packet slot costs one unit at 400 Mb/s and half a unit at 800
// Mb/s. Of the 6,144 units of a cycle 4,915 may be given to streams. A slot's 12 bytes beside the
// packet stand for the overhead. Bandwidth is always asked for at the fast speed, whatever the bus
// can do; what it costs at the slow speed is settled when the resources are set up at that speed.
#pragma once

#include <bit>
#include <cstdint>
#include <optional>

namespace zerix::sim {

inline constexpr uint32_t kBandwidthUnits = 4915;
inline constexpr uint32_t kChannels = 64;
inline constexpr uint32_t kLargestSlowSlot = 4900; // at 400 Mb/s
inline constexpr uint32_t kLargestFastSlot = 9056; // at 800 Mb/s

class BusAccounts {
public:
    // 0 for a speed flag that no bus has.
    static uint32_t UnitsOf(uint32_t slotBytes, uint32_t speedFlag);

    // False if there aren't as many units left.
    bool TakeUnits(uint32_t units);
    void ReturnUnits(uint32_t units);
    [[nodiscard]] uint32_t UnitsLeft() const { return m_unitsLeft; }

    // The channel asked for, or the lowest free one for kAnyChannel.
    std::optional<uint32_t> TakeChannel(uint32_t request);
    void ReturnChannel(uint32_t channel);
    [[nodiscard]] uint32_t ChannelsLeft() const
    {
        return kChannels - static_cast<uint32_t>(std::popcount(m_takenChannels));
    }

private:
    uint32_t m_unitsLeft = kBandwidthUnits;
    uint64_t m_takenChannels = 0;
};

} // namespace zerix::sim

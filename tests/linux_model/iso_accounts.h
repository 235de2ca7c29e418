// The isochronous resource manager of a bus: 64 channels and the bandwidth of a cycle. Guarded by
// the model's lock.
#pragma once

#include <cstdint>

namespace zerix::linux_model {

inline constexpr uint32_t kBandwidthUnits = 4915;

// The kernel's answer to a booking: a channel, or an error number; and the bandwidth booked.
struct IsoAnswer {
    int32_t channel;
    int32_t bandwidth;
};

class IsoAccounts {
public:
    // The lowest free channel of the mask, if there is one, and the bandwidth: both or none.
    IsoAnswer Take(uint64_t channels, uint32_t bandwidth);
    void Return(uint64_t channel, uint32_t bandwidth);
    // After a bus reset everything is free.
    void Reset() { *this = {}; }

    [[nodiscard]] uint64_t FreeChannels() const { return m_freeChannels; }
    [[nodiscard]] uint32_t UnitsLeft() const { return m_unitsLeft; }

private:
    uint64_t m_freeChannels = ~uint64_t{0};
    uint32_t m_unitsLeft = kBandwidthUnits;
};

} // namespace zerix::linux_model

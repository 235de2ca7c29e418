// Takes and returns channels and bandwidth.
#include "sim/bus_accounts.h"

#include "hal/kernel_requests.h"

namespace zerix::sim {

uint32_t BusAccounts::UnitsOf(uint32_t slotBytes, uint32_t speedFlag)
{
    if (speedFlag == kernel::kSpeedFlag800)
        return (slotBytes + 1) / 2;
    return speedFlag == kernel::kSpeedFlag400 ? slotBytes : 0;
}

bool BusAccounts::TakeUnits(uint32_t units)
{
    if (units > m_unitsLeft)
        return false;
    m_unitsLeft -= units;
    return true;
}

void BusAccounts::ReturnUnits(uint32_t units) { m_unitsLeft += units; }

std::optional<uint32_t> BusAccounts::TakeChannel(uint32_t request)
{
    for (uint32_t channel = 0; channel < kChannels; ++channel) {
        const uint64_t bit = uint64_t{1} << channel;
        if ((request == kernel::kAnyChannel || request == channel) &&
            (m_takenChannels & bit) == 0) {
            m_takenChannels |= bit;
            return channel;
        }
    }
    return std::nullopt;
}

void BusAccounts::ReturnChannel(uint32_t channel) { m_takenChannels &= ~(uint64_t{1} << channel); }

} // namespace zerix::sim

// Takes and returns channels and bandwidth as the kernel does.
#include "tests/linux_model/iso_accounts.h"

#include <bit>
#include <cerrno>

namespace zerix::linux_model {

// Without a channel to take, the kernel's answer names no valid argument as its channel.
IsoAnswer IsoAccounts::Take(uint64_t channels, uint32_t bandwidth)
{
    const uint64_t candidates = channels & m_freeChannels;
    if (channels != 0 && candidates == 0)
        return {-EBUSY, 0};
    if (bandwidth > m_unitsLeft)
        return {-EBUSY, 0};
    m_unitsLeft -= bandwidth;
    if (channels == 0)
        return {-EINVAL, static_cast<int32_t>(bandwidth)};
    const int channel = std::countr_zero(candidates);
    m_freeChannels &= ~(uint64_t{1} << channel);
    return {channel, static_cast<int32_t>(bandwidth)};
}

void IsoAccounts::Return(uint64_t channel, uint32_t bandwidth)
{
    m_freeChannels |= channel;
    m_unitsLeft += bandwidth;
}

} // namespace zerix::linux_model

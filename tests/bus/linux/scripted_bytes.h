// What the scripted kernel's parts share.
#pragma once

#include "tests/bus/linux/scripted_kernel.h"

namespace zerix::bus::linux_firewire {

inline void PutBigEndian(Bytes &bytes, uint32_t word)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<uint8_t>(word >> shift));
}

inline std::vector<uint32_t> RomOf(const ScriptedKernel::Node &node)
{
    return {0x04040000, 0x31333934, node.maxRecord << 12, static_cast<uint32_t>(node.guid >> 32),
            static_cast<uint32_t>(node.guid)};
}

} // namespace zerix::bus::linux_firewire

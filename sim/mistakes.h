// Accesses and commits that no correct driver would make. A camera takes them as hardware does, and
// says nothing; a test asks here. One count for the process, whatever racks come and go. Guarded by
// the bus's lock.
#pragma once

#include <cstdint>

#include "zerix/zerix_sim.h"

namespace zerix::sim {

enum class Mistake : uint8_t {
    kRegisterOutside, // no register there, or one that can only be read
    kValueReserved,   // a value without a meaning
    kRegionOutside,   // a region that leaves the sensor was committed
};

// `where` is an address, or the words of a region; the first sentence is kept.
void NoteMistake(Mistake mistake, const char *serial, uint32_t where, uint32_t value);

// The counts since the last call, which begin anew.
ZerixSimMistakes TakeMistakes();

} // namespace zerix::sim

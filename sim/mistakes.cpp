// Counts mistakes and keeps the first one's sentence.
#include "sim/mistakes.h"

#include <cstdio>
#include <utility>

namespace zerix::sim {
namespace {

ZerixSimMistakes counted{};

} // namespace

void NoteMistake(Mistake mistake, const char *serial, uint32_t where, uint32_t value)
{
    const char *what = "";
    switch (mistake) {
    case Mistake::kRegisterOutside:
        ++counted.registersOutside;
        what = "access outside of its registers, at";
        break;
    case Mistake::kValueReserved:
        ++counted.valuesReserved;
        what = "reserved value, at";
        break;
    case Mistake::kRegionOutside:
        ++counted.regionsOutside;
        what = "region outside of the sensor, size and place";
        break;
    }
    if (counted.first[0] == '\0')
        std::snprintf(counted.first, sizeof(counted.first), "camera %s: %s 0x%08x: 0x%08x", serial,
                      what, static_cast<unsigned>(where), static_cast<unsigned>(value));
}

ZerixSimMistakes TakeMistakes() { return std::exchange(counted, {}); }

} // namespace zerix::sim

// How a modelled kernel, its card and the ROMs of its cameras differ from the usual ones.
#pragma once

#include <cstdint>

#include "tests/rack_cameras/config_rom.h"

namespace zerix::linux_model {

struct ModelOptions {
    // The model's clock runs this many times as fast as the wall clock, so that two seconds of the
    // kernel's pass in a tenth of one.
    double speedUp = 20;
    uint32_t interfaceVersion = 5; // what GET_INFO reports
    uint32_t receiveContexts = 4;  // of the card
    uint32_t longestQueue = 0;     // entries that one QUEUE_ISO takes; 0: no limit
    // On the fast clock a packet waits until more places than these are queued for it, so that a
    // client which drops packets by itself where its queue gets short never has to.
    uint32_t keptPlaces = 0;
    // The local node is named after the cameras of the start, not before them.
    bool localNodeIsLast = false;
    // While no device file is open, cameras come and go at once: there is nobody to see the time
    // that it takes. Else a new rack would need seconds before its cameras are there.
    bool instantWhileUnwatched = true;

    // Of a camera's configuration ROM. The vendor is the upper 24 bits of its GUID.
    uint32_t unitSpecifier = rack_cameras::kUnitSpecifier;
    uint32_t unitVersion = rack_cameras::kUnitVersion;
    uint32_t maxRec = 10; // a camera takes 2^(maxRec + 1) bytes in one block
    bool refusesBlockReads = false;
};

} // namespace zerix::linux_model

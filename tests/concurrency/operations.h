// What an application does with a camera from any thread: the operations that the pairs are made
// of.
#pragma once

#include <cstdint>
#include <span>

#include "tests/concurrency/worker.h"

namespace zerix::concurrency {

// What an operation does to the calls that another thread makes meanwhile.
enum Effect : uint32_t {
    kCloses = 1u << 0,
    kStops = 1u << 1,  // switches the stream off, for a moment
    kGrabs = 1u << 2,  // waits for an image
    kQueues = 1u << 3, // leaves frames in the queue
    kAborts = 1u << 4,
    kMeasures = 1u << 5, // changes what the pictures are like, to measure them
    kOpens = 1u << 6,    // a camera that the other thread has closed
};

struct Operation {
    const char *name;
    void (*run)(Worker &worker); // one round: it leaves the camera as open and streaming as it was
    uint32_t effects;            // of Effect
};

std::span<const Operation> Operations();

// Exposes at a command; goes on until the other operation is through, which may wait for one.
bool IsTrigger(const Operation &operation);

} // namespace zerix::concurrency

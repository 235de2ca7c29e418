// Runs what the bus will refuse, and keeps what the library prints of that to itself.
#pragma once

#include "tests/support/standard_output_capture.h"

namespace zerix::concurrency {

// The test's own findings are printed too, so they belong outside.
template <typename Work>
auto Quietly(const Work &work)
{
    const test::StandardOutputCapture output;
    return work();
}

} // namespace zerix::concurrency

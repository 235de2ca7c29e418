// What the verbs for colour share: finished colour pictures, the search for an exposure, and the
// measurement of a white balance. All of it throws CommandError.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "tools/session.h"

namespace zerix::tool {

struct ColourOptions {
    bool isColour = false; // finished pictures of three colours a pixel
    bool findsExposure = false;
    bool findsBalance = false;  // implies isColour
    std::string region;         // "X,Y,W,H" of the picture, for what is found; empty: all of it
    double searchSeconds = 600; // longest time for each
};

struct FoundExposure {
    uint64_t nanoseconds = 0;    // green's behind a filter wheel
    uint64_t redNanoseconds = 0; // behind a turning wheel alone, as blue's
    uint64_t blueNanoseconds = 0;
    uint32_t gainMillionths = 0;
    bool isShortest = false; // what the camera allows: it may be too bright all the same
    bool isLongest = false;
};

struct FoundBalance {
    std::array<uint32_t, 3> gainThousandths{}; // red, green, blue
    FoundExposure exposure;                    // a wheel's balance lies in its exposures
    bool isInExposures = false;
};

// From now on the camera's pictures are RGB24, or RGB48 if its samples have more than 8 bits.
void SetToColour(const OpenCamera &camera);

FoundExposure FindExposure(const Session &session, const OpenCamera &camera,
                           const ColourOptions &options);

// Of a camera that is set to colour.
FoundBalance FindBalance(const Session &session, const OpenCamera &camera,
                         const ColourOptions &options);

// All of it that the options want, before pictures are taken.
void PrepareColour(const Session &session, const OpenCamera &camera, const ColourOptions &options);

} // namespace zerix::tool

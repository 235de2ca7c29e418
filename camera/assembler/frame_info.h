// A frame in work: made by the camera when a frame starts, filled by the assembler on the receive
// thread, turned into an image by the camera's run loop.
#pragma once

#include <atomic>
#include <cstdint>

// How a frame ended.
enum FrameStatus : uint32_t {
    kFrameGood = 0,
    kFrameDataMissing = 1,  // packets were lost; their bytes are black
    kFrameCut = 2,          // the next frame began before this one was complete, or a bad plane
    kFrameOverflow = 3,     // more data than the buffer holds
    kFrameHostOverflow = 4, // mapped by the run loop, set by nobody
    kFrameStray = 5,        // the tag doesn't match, or a field or plane that belongs to nothing
};

struct tStFrameInfo {
    uint8_t *data; // `size` bytes
    uint32_t size;
    uint32_t expected;     // bytes the assembler waits for: size, or size / 2 when interlaced
    uint8_t psn;           // the tag that the frame's header must carry
    uint32_t outputFormat; // 0 raw order; 2 to 5 interleave one plane; 6 three planes in turn
    bool interlaced;
    uint16_t lineBytes;  // used when interlaced
    uint16_t headerWord; // first 16 bits of the frame header: the rolling frame number
    uint32_t headerTime;
    uint32_t colourPattern;
    uint32_t status; // FrameStatus
    uint32_t binning;
    uint32_t width;
    uint32_t height;
    uint32_t bitDepth;
    uint64_t exposure; // nanoseconds
    double normalizedGain;
    uint16_t startColour;
    // False once a settings change has made the frame stale, or it was forgotten before its end.
    // Any thread may clear it; nothing else depends on its order.
    std::atomic<bool> valid;
    // Set (release) by the assembler when it has let go of the frame for good, whole or dead, and
    // read (acquire) by the run loop: only then may anybody else take or free it.
    std::atomic<bool> finished;
};

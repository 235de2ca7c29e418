// Where the channels of a colour image lie.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zerix {

struct ChannelLayout {
    size_t red; // bytes from the start of the image
    size_t green;
    size_t blue;
    uint32_t channels;    // 1 for planes, else the samples of a pixel
    uint32_t sampleBytes; // 1 or 2
};

// False, with nothing written, for a format that isn't one of colour with samples of this size.
[[nodiscard]] bool FindLayout8(uint32_t format, uint32_t width, uint32_t height,
                               ChannelLayout &layout);
[[nodiscard]] bool FindLayout16(uint32_t format, uint32_t width, uint32_t height,
                                ChannelLayout &layout);

} // namespace zerix

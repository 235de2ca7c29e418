// Applies one gain table per channel to colour images, and measures the gains. Has no lock: scales
// are set while no image is in work.
#pragma once

#include <array>
#include <cstdint>

#include "image/z_image_filter.h"

namespace ZX {

// About 790 kB: make it on the heap.
class ZERIX_API ZAutoWhiteBalance : public ZImageFilter {
public:
    explicit ZAutoWhiteBalance(bool calculateOnAllFrames);

    float GetRedScale() const { return m_red.scale; }
    float GetGreenScale() const { return m_green.scale; }
    float GetBlueScale() const { return m_blue.scale; }
    // Each stores the factor and builds the channel's tables.
    void SetRedScale(float scale);
    void SetGreenScale(float scale);
    void SetBlueScale(float scale);
    void SetCalculateValuesOnAllFrames(bool on) { m_calculateOnAllFrames = on; }

    // The value to write for each level, truncated, at most 255 or 65535.
    struct ChannelTables {
        float scale = 1.0f;
        std::array<int32_t, 256> for8Bit{};
        std::array<int32_t, 65536> for16Bit{};
    };
    const ChannelTables &GetRedTables() const { return m_red; }
    const ChannelTables &GetGreenTables() const { return m_green; }
    const ChannelTables &GetBlueTables() const { return m_blue; }

    int16_t Init(uint32_t width, uint32_t height) override;
    int16_t SetOutputFormat(uint32_t format) override;
    int16_t Process(ZInImageBufferStruct *in, ZOutImageBufferStruct *out) override;

private:
    [[maybe_unused]] uint32_t m_meanRed = 128; // of the last measurement
    [[maybe_unused]] uint32_t m_meanGreen = 128;
    [[maybe_unused]] uint32_t m_meanBlue = 128;
    bool m_calculateOnAllFrames;
    ChannelTables m_red;
    ChannelTables m_green;
    ChannelTables m_blue;
};

} // namespace ZX

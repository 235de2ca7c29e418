// Applies one gain table per channel to colour images, and measures the gains. A lock of its own
// guards the tables, so that scales may be set from any thread; one Preprocess at a time.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>

#include "image/z_image_filter.h"

namespace ZX {

class ZExImage;

// About 800 KB: make it on the heap.
class ZERIX_API ZAutoWhiteBalance : public ZImageFilter {
public:
    explicit ZAutoWhiteBalance(bool calculateOnAllFrames);
    ~ZAutoWhiteBalance() override;

    float GetRedScale() const;
    float GetGreenScale() const;
    float GetBlueScale() const;
    // Each stores the factor and builds the channel's tables.
    void SetRedScale(float scale);
    void SetGreenScale(float scale);
    void SetBlueScale(float scale);
    void SetCalculateValuesOnAllFrames(bool on) { m_calculateOnAllFrames = on; }

    // The value to write for each level, truncated, at most 255 or 65535. The top level of an image
    // stays as it is, whatever its entry.
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

    // Works in place on the output's buffer, where the pipeline leaves the image. 31 for an image
    // that isn't one of colour, 29 for a format that has no layout at the input's depth.
    int16_t Process(ZInImageBufferStruct *in, ZOutImageBufferStruct *out) override;

    // Takes up to six images, and sets the scales that bring the means of red and blue over the
    // region to that of green; moves the exposures of a filter wheel, too. Blocks as long as the
    // images take. 0, also if the means didn't come to lie within the range, or the status of what
    // failed.
    int16_t Preprocess(uint32_t x, uint32_t y, uint32_t width, uint32_t height, ZCamera *camera);

    // Applies the tables to an image of 1, 3 or 4 channels. `red`, `green` and `blue` are where the
    // channels begin. 5 for an image without pixels.
    int16_t GreyWorld(uint8_t *image, uint8_t *red, uint8_t *green, uint8_t *blue, uint32_t width,
                      uint32_t height, uint32_t pixelCount, uint8_t channels, uint32_t format);
    int16_t GreyWorld_16Bit(uint16_t *image, uint16_t *red, uint16_t *green, uint16_t *blue,
                            uint32_t width, uint32_t height, uint32_t pixelCount, uint8_t channels,
                            uint32_t format);

private:
    struct Maps; // the tables as they are applied to pixels
    void SetScale(ChannelTables &channel, Maps &maps, float scale);
    int16_t RunPass(ZCamera &camera, uint32_t x, uint32_t y, uint32_t &width, uint32_t &height,
                    bool &isInRange);
    void TakeScales();
    void ScaleExposures(ZCamera &camera) const;
    [[nodiscard]] bool AreMeansWithin(uint32_t lowest, uint32_t highest) const;
    int16_t ApplyTo8Bit(const ZInImageBufferStruct &in, uint8_t *image);
    int16_t ApplyTo16Bit(const ZInImageBufferStruct &in, uint8_t *image);

    uint32_t m_meanRed = 128; // of the last measurement
    uint32_t m_meanGreen = 128;
    uint32_t m_meanBlue = 128;
    bool m_calculateOnAllFrames;
    mutable std::mutex m_tablesMutex;
    ChannelTables m_red;
    ChannelTables m_green;
    ChannelTables m_blue;
    std::unique_ptr<Maps[]> m_maps; // red, green, blue
};

} // namespace ZX

// Scales and tables of the white balance filter, and their use on an image.
#include "image/z_auto_white_balance.h"

#include <algorithm>
#include <span>

#include "camera/z_camera.h"
#include "image/channel_layout.h"
#include "image/kernels/lookup_map.h"

namespace ZX {

namespace {

// What a camera's first images are raised by, before anything was measured.
constexpr float kFirstRedScale = 1.16f;
constexpr float kFirstGreenScale = 1.0f;
constexpr float kFirstBlueScale = 1.88f;

// Of the fourth byte.
constexpr zerix::LookupMap8 kIdentity = [] {
    zerix::LookupMap8 map{};
    for (size_t level = 0; level < zerix::kByteLevels; ++level)
        map.results[level] = static_cast<uint8_t>(level);
    map.proportion = zerix::Proportion8{.whole = 1, .fraction = 0};
    return map;
}();

// Truncated, and saturated at the top, where an infinite scale leads every level but 0.
int32_t TableEntry(double scaled, double top)
{
    constexpr double kBottom = -2147483648.0;
    if (!(scaled > kBottom)) // not a number, or less than fits
        return 0;
    return static_cast<int32_t>(std::min(scaled, top));
}

void BuildTable(std::span<int32_t> table, float scale)
{
    const auto top = static_cast<double>(table.size() - 1);
    for (size_t level = 0; level < table.size(); ++level)
        table[level] = TableEntry(static_cast<double>(level) * static_cast<double>(scale), top);
}

// The top level stays as it is.
template <typename Map>
void BuildMap(std::span<const int32_t> table, Map &map)
{
    using Pixel = std::remove_extent_t<decltype(map.results)>;
    for (size_t level = 0; level < table.size(); ++level)
        map.results[level] = static_cast<Pixel>(std::max(table[level], 0));
    map.results[table.size() - 1] = static_cast<Pixel>(table.size() - 1);
    zerix::FindProportionOf(map);
}

} // namespace

struct ZAutoWhiteBalance::Maps {
    zerix::LookupMap8 bytes;
    zerix::LookupMap16 words;
};

void ZAutoWhiteBalance::SetScale(ChannelTables &channel, Maps &maps, float scale)
{
    const std::lock_guard lock(m_tablesMutex);
    channel.scale = scale;
    BuildTable(channel.for8Bit, scale);
    BuildTable(channel.for16Bit, scale);
    BuildMap(channel.for8Bit, maps.bytes);
    BuildMap(channel.for16Bit, maps.words);
}

ZAutoWhiteBalance::ZAutoWhiteBalance(bool calculateOnAllFrames)
    : m_calculateOnAllFrames(calculateOnAllFrames), m_maps(std::make_unique<Maps[]>(3))
{
    SetRedScale(kFirstRedScale);
    SetGreenScale(kFirstGreenScale);
    SetBlueScale(kFirstBlueScale);
}

ZAutoWhiteBalance::~ZAutoWhiteBalance() = default;

float ZAutoWhiteBalance::GetRedScale() const
{
    const std::lock_guard lock(m_tablesMutex);
    return m_red.scale;
}

float ZAutoWhiteBalance::GetGreenScale() const
{
    const std::lock_guard lock(m_tablesMutex);
    return m_green.scale;
}

float ZAutoWhiteBalance::GetBlueScale() const
{
    const std::lock_guard lock(m_tablesMutex);
    return m_blue.scale;
}

void ZAutoWhiteBalance::SetRedScale(float scale) { SetScale(m_red, m_maps[0], scale); }

void ZAutoWhiteBalance::SetGreenScale(float scale) { SetScale(m_green, m_maps[1], scale); }

void ZAutoWhiteBalance::SetBlueScale(float scale) { SetScale(m_blue, m_maps[2], scale); }

int16_t ZAutoWhiteBalance::Init(uint32_t, uint32_t) { return kFilterOk; }

int16_t ZAutoWhiteBalance::SetOutputFormat(uint32_t) { return kFilterOk; }

int16_t ZAutoWhiteBalance::Process(ZInImageBufferStruct *in, ZOutImageBufferStruct *out)
{
    if (in->camera == nullptr || in->camera->GetImageFormat() == kCameraImageMono ||
        !IsColourFormat(out->imageFormat))
        return kFilterNothingToDo;
    const int16_t status =
        in->bitDepth == 8 ? ApplyTo8Bit(*in, out->pBuffer) : ApplyTo16Bit(*in, out->pBuffer);
    if (status != kFilterOk)
        return status;
    out->size = in->size;
    out->imageFormat = in->imageFormat;
    out->width = in->width;
    out->height = in->height;
    return kFilterOk;
}

int16_t ZAutoWhiteBalance::ApplyTo8Bit(const ZInImageBufferStruct &in, uint8_t *image)
{
    zerix::ChannelLayout layout{};
    if (!zerix::FindLayout8(in.imageFormat, in.width, in.height, layout))
        return kFilterBadOutputFormat;
    return GreyWorld(image, image + layout.red, image + layout.green, image + layout.blue, in.width,
                     in.height, in.width * in.height, static_cast<uint8_t>(layout.channels),
                     in.imageFormat);
}

int16_t ZAutoWhiteBalance::ApplyTo16Bit(const ZInImageBufferStruct &in, uint8_t *image)
{
    zerix::ChannelLayout layout{};
    if (!zerix::FindLayout16(in.imageFormat, in.width, in.height, layout))
        return kFilterBadOutputFormat;
    const auto words = [image](size_t offset) {
        return reinterpret_cast<uint16_t *>(image + offset);
    };
    return GreyWorld_16Bit(words(0), words(layout.red), words(layout.green), words(layout.blue),
                           in.width, in.height, in.width * in.height,
                           static_cast<uint8_t>(layout.channels), in.imageFormat);
}

int16_t ZAutoWhiteBalance::GreyWorld(uint8_t *image, uint8_t *red, uint8_t *green, uint8_t *blue,
                                     uint32_t width, uint32_t height, uint32_t, uint8_t channels,
                                     uint32_t format)
{
    const size_t count = size_t{width} * height;
    if (count == 0)
        return kFilterBadFormat;
    const std::lock_guard lock(m_tablesMutex);
    const zerix::LookupMap8 *const r = &m_maps[0].bytes;
    const zerix::LookupMap8 *const g = &m_maps[1].bytes;
    const zerix::LookupMap8 *const b = &m_maps[2].bytes;
    const zerix::LookupMap8 *const rgb[] = {r, g, b};
    const zerix::LookupMap8 *const bgr[] = {b, g, r};
    const zerix::LookupMap8 *const same = &kIdentity;
    const zerix::LookupMap8 *const xrgb[] = {same, r, g, b};
    const zerix::LookupMap8 *const bgrx[] = {b, g, r, same};
    const zerix::LookupMap8 *const rgbx[] = {r, g, b, same};
    if (channels == 1) {
        zerix::MapPixels(red, count, {rgb, 1});
        zerix::MapPixels(green, count, {rgb + 1, 1});
        zerix::MapPixels(blue, count, {rgb + 2, 1});
    } else if (channels == 3) {
        zerix::MapPixels(image, count, format == kFormatBgr24 ? bgr : rgb);
    } else {
        zerix::MapPixels(image, count,
                         format == kFormatXrgb32   ? xrgb
                         : format == kFormatBgrx32 ? bgrx
                                                   : rgbx);
    }
    return kFilterOk;
}

int16_t ZAutoWhiteBalance::GreyWorld_16Bit(uint16_t *image, uint16_t *red, uint16_t *green,
                                           uint16_t *blue, uint32_t width, uint32_t height,
                                           uint32_t, uint8_t channels, uint32_t)
{
    const size_t count = size_t{width} * height;
    if (count == 0 || (channels != 1 && channels != 3))
        return kFilterBadFormat;
    const auto bytes = [](uint16_t *pixels) { return reinterpret_cast<uint8_t *>(pixels); };
    const std::lock_guard lock(m_tablesMutex);
    const zerix::LookupMap16 *const rgb[] = {&m_maps[0].words, &m_maps[1].words, &m_maps[2].words};
    if (channels == 1) {
        zerix::MapPixels(bytes(red), count, {rgb, 1});
        zerix::MapPixels(bytes(green), count, {rgb + 1, 1});
        zerix::MapPixels(bytes(blue), count, {rgb + 2, 1});
    } else {
        zerix::MapPixels(bytes(image), count, rgb);
    }
    return kFilterOk;
}

} // namespace ZX

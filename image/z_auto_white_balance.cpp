// Scales and tables of the white balance filter, and their use on an image.
#include "image/z_auto_white_balance.h"

#include <algorithm>
#include <span>

#include "camera/z_camera.h"
#include "image/channel_layout.h"
#include "image/kernels/dispatch.h"

namespace ZX {

namespace {

// What a camera's first images are raised by, before anything was measured.
constexpr float kFirstRedScale = 1.16f;
constexpr float kFirstGreenScale = 1.0f;
constexpr float kFirstBlueScale = 1.88f;

constexpr std::array<uint8_t, 256> kIdentity = [] {
    std::array<uint8_t, 256> map{};
    for (size_t level = 0; level < map.size(); ++level)
        map[level] = static_cast<uint8_t>(level);
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

// The lookup has one step less than levels: the top one stays as it is.
template <typename Pixel>
void BuildMap(std::span<const int32_t> table, std::span<Pixel> map)
{
    for (size_t level = 0; level < table.size(); ++level)
        map[level] = static_cast<Pixel>(std::max(table[level], 0));
    map.back() = static_cast<Pixel>(map.size() - 1);
}

} // namespace

static void SetScale(std::mutex &mutex, ZAutoWhiteBalance::ChannelTables &channel, float scale)
{
    const std::lock_guard lock(mutex);
    channel.scale = scale;
    BuildTable(channel.for8Bit, scale);
    BuildTable(channel.for16Bit, scale);
    BuildMap<uint8_t>(channel.for8Bit, channel.map8);
    BuildMap<uint16_t>(channel.for16Bit, channel.map16);
}

ZAutoWhiteBalance::ZAutoWhiteBalance(bool calculateOnAllFrames)
    : m_calculateOnAllFrames(calculateOnAllFrames)
{
    SetRedScale(kFirstRedScale);
    SetGreenScale(kFirstGreenScale);
    SetBlueScale(kFirstBlueScale);
}

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

void ZAutoWhiteBalance::SetRedScale(float scale) { SetScale(m_tablesMutex, m_red, scale); }

void ZAutoWhiteBalance::SetGreenScale(float scale) { SetScale(m_tablesMutex, m_green, scale); }

void ZAutoWhiteBalance::SetBlueScale(float scale) { SetScale(m_tablesMutex, m_blue, scale); }

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
    const zerix::Kernels8 &kernels = zerix::ChosenKernels().bytes;
    const std::lock_guard lock(m_tablesMutex);
    const uint8_t *const r = m_red.map8.data();
    const uint8_t *const g = m_green.map8.data();
    const uint8_t *const b = m_blue.map8.data();
    if (channels == 1) {
        kernels.lookup1(red, count, r);
        kernels.lookup1(green, count, g);
        kernels.lookup1(blue, count, b);
    } else if (channels == 3) {
        const uint8_t *const rgb[] = {r, g, b};
        const uint8_t *const bgr[] = {b, g, r};
        kernels.lookup3(image, count, format == kFormatBgr24 ? bgr : rgb);
    } else {
        const uint8_t *const same = kIdentity.data();
        const uint8_t *const xrgb[] = {same, r, g, b};
        const uint8_t *const bgrx[] = {b, g, r, same};
        const uint8_t *const rgbx[] = {r, g, b, same};
        kernels.lookup4(image, count,
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
    const zerix::Kernels16 &kernels = zerix::ChosenKernels().words;
    const auto bytes = [](uint16_t *pixels) { return reinterpret_cast<uint8_t *>(pixels); };
    const std::lock_guard lock(m_tablesMutex);
    if (channels == 1) {
        kernels.lookup1(bytes(red), count, m_red.map16.data());
        kernels.lookup1(bytes(green), count, m_green.map16.data());
        kernels.lookup1(bytes(blue), count, m_blue.map16.data());
    } else {
        const uint16_t *const maps[] = {m_red.map16.data(), m_green.map16.data(),
                                        m_blue.map16.data()};
        kernels.lookup3(bytes(image), count, maps);
    }
    return kFilterOk;
}

} // namespace ZX

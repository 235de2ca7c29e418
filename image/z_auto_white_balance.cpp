// Scales and tables of the white balance filter.
#include "image/z_auto_white_balance.h"

#include <algorithm>
#include <span>

namespace ZX {

namespace {

// What a camera's first images are raised by, before anything was measured.
constexpr float kFirstRedScale = 1.16f;
constexpr float kFirstGreenScale = 1.0f;
constexpr float kFirstBlueScale = 1.88f;

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

void SetScale(ZAutoWhiteBalance::ChannelTables &channel, float scale)
{
    channel.scale = scale;
    BuildTable(channel.for8Bit, scale);
    BuildTable(channel.for16Bit, scale);
}

} // namespace

ZAutoWhiteBalance::ZAutoWhiteBalance(bool calculateOnAllFrames)
    : m_calculateOnAllFrames(calculateOnAllFrames)
{
    SetRedScale(kFirstRedScale);
    SetGreenScale(kFirstGreenScale);
    SetBlueScale(kFirstBlueScale);
}

void ZAutoWhiteBalance::SetRedScale(float scale) { SetScale(m_red, scale); }

void ZAutoWhiteBalance::SetGreenScale(float scale) { SetScale(m_green, scale); }

void ZAutoWhiteBalance::SetBlueScale(float scale) { SetScale(m_blue, scale); }

int16_t ZAutoWhiteBalance::Init(uint32_t, uint32_t) { return kFilterOk; }

int16_t ZAutoWhiteBalance::SetOutputFormat(uint32_t) { return kFilterOk; }

int16_t ZAutoWhiteBalance::Process(ZInImageBufferStruct *, ZOutImageBufferStruct *)
{
    return kFilterNothingToDo;
}

} // namespace ZX

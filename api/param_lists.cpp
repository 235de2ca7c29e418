// The lists of allowed values that depend on more than one answer of the camera.
#include "api/param_lists.h"

#include <initializer_list>

#include "tables/image_formats.h"

namespace zerix::api {
namespace {

// The list without its formats of more than 8 bits a colour where the converter has no more.
void AddByDepth(ZX::ZCamera &camera, SparseTable &table, std::initializer_list<uint32_t> formats)
{
    const bool isDeep = camera.GetMaxBitDepth() > 8;
    for (const uint32_t format : formats) {
        if (isDeep || !tables::FindImageFormat(format)->is16Bit)
            table.Add(format);
    }
}

bool IsMonochromeWithWheel(ZX::ZCamera &camera)
{
    return camera.GetCCDImageFormat() == kMonochromeImage && camera.IsRGBFilterSupported();
}

} // namespace

void ReadoutSpeeds(ZX::ZCamera &camera, SparseTable &table)
{
    const auto modes = ModesOf(camera, &ZX::ZCamera::GetReadoutFrequencyModes);
    for (auto mode = modes.rbegin(); mode != modes.rend(); ++mode) {
        const uint32_t index = ReadoutIndexOf(*mode);
        if (index != kNoReadoutIndex)
            table.Add(index);
    }
}

void CameraModes(ZX::ZCamera &camera, SparseTable &table)
{
    table.Add(0);
    if (camera.IsLVWModeSupported())
        table.Add(1);
}

// Only the raw and the monochrome formats mind the depth here.
void ImageFormats(ZX::ZCamera &camera, SparseTable &table)
{
    AddByDepth(camera, table, {zfmtRaw8, zfmtRaw16, zfmtMono8, zfmtMono16});
    if (IsMonochromeWithWheel(camera)) {
        Values<zfmtRgbPlane8, zfmtRgbPlane16, zfmtBgr24, zfmtXrgb32, zfmtRgb48, zfmtBgrx32,
               zfmtRgb24>(camera, table);
    } else {
        Values<zfmtBayer8, zfmtBayer16>(camera, table);
    }
}

void PostProcessFormats(ZX::ZCamera &camera, SparseTable &table)
{
    AddByDepth(camera, table, {zfmtRaw8, zfmtRaw16, zfmtMono8, zfmtMono16});
    if (camera.GetCCDImageFormat() == kBayerImage)
        AddByDepth(camera, table, {zfmtBayer8, zfmtBayer16});
    else if (IsMonochromeWithWheel(camera))
        AddByDepth(camera, table, {zfmtRgbPlane8, zfmtRgbPlane16});
    else
        return;
    AddByDepth(camera, table, {zfmtBgr24, zfmtXrgb32, zfmtRgb48, zfmtBgrx32, zfmtRgb24});
}

} // namespace zerix::api

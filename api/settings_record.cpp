// The settings record's making, filling and end. Making and releasing write no lines in the log.
#include <algorithm>
#include <cstdlib>

#include "api/cached_settings.h"
#include "api/entry.h"
#include "api/not_supported.h"
#include "api/param_rows.h"
#include "diag/dumps.h"
#include "tables/settings_accessors.h"

using namespace zerix;
using namespace zerix::api;

namespace {

enum class Column { kDefault, kReadBack };

template <typename T>
ParamValue<T> ValueIn(const ParamRow<T> &row, Column column)
{
    return column == Column::kDefault ? row.defaultValue : row.readBack;
}

// A legacy record has no slots for the keys from 48 on: what a fill wrote there would be
// overwritten by the values behind.
void FillUnsigned(const ParamSource &source, Column column, Zerix_Settings *settings)
{
    const uint32_t end = source.isCurrent ? tables::kParamCount : tables::kLegacyParamCount;
    for (uint32_t key = 0; key < end; ++key) {
        const auto value = ValueIn(kParamRows[key], column);
        if (value == nullptr)
            continue;
        if (const auto number = value(source))
            tables::SetSlot32(settings, key, *number, source.isCurrent);
    }
    tables::SetMagic(settings, tables::kZerixSettingsMagic, source.isCurrent);
}

void FillWider(const ParamSource &source, Column column, Zerix_Settings *settings)
{
    for (const auto &row : kParamS32Rows) {
        if (const auto number = ValueIn(row, column)(source))
            tables::SetSlotS32(settings, row.key, *number, source.isCurrent);
    }
    for (const auto &row : kParam64Rows) {
        if (const auto number = ValueIn(row, column)(source))
            tables::SetSlot64(settings, row.key, *number, source.isCurrent);
    }
}

// A current record that has been released has no room any more.
bool HasRoom(const Zerix_Settings *settings, bool isCurrent)
{
    return !isCurrent || tables::GetPrivateBlock(settings) != nullptr;
}

uint32_t Fill(const CameraUse &use, Zerix_Settings *settings, Column column)
{
    const ParamSource source = {use.Camera(), use.Context(), tables::IsCurrentLayout(settings)};
    if (!HasRoom(settings, source.isCurrent))
        return ZERIX_ERROR_BAD_SETTINGS;
    if (!source.isCurrent)
        tables::SetSize(settings, tables::kLegacySettingsSize);
    FillUnsigned(source, column, settings);
    RefreshCachedSettings(source.context, settings, source.isCurrent);
    FillWider(source, column, settings);
    tables::SetCamera(settings, &use.Camera(), source.isCurrent);
    diag::ZerixDebugOutputSettings(settings);
    return ZERIX_SUCCESS;
}

uint32_t FillSettings(const Start &start, ZerixHandle camera, Zerix_Settings *settings,
                      Column column)
{
    return Enter(start, OfCamera{camera},
                 Checks(Loaded(), NotNull(camera, ZERIX_ERROR_BAD_HANDLE),
                        NotNull(settings, ZERIX_ERROR_BAD_PARAMETER), Open(), Exclusive(),
                        HasContext()),
                 [&](ExportedCall &, const CameraUse &use) { return Fill(use, settings, column); });
}

uint32_t Create(Zerix_Settings &settings)
{
    settings.size = tables::kCurrentSettingsSize;
    // Cleared, so that a block that comes back from an earlier record never looks filled.
    settings.privateBlock = std::calloc(1, sizeof(tables::ZerixSettingsPrivate));
    std::copy(tables::kZerixSettingsFormatId.begin(), tables::kZerixSettingsFormatId.end(),
              settings.formatId);
    return ZERIX_SUCCESS;
}

// A legacy record holds no pointer, but values in its place.
uint32_t Release(Zerix_Settings *settings)
{
    if (settings == nullptr || !tables::IsCurrentLayout(settings))
        return ZERIX_SUCCESS;
    std::free(settings->privateBlock);
    settings->privateBlock = nullptr;
    return ZERIX_SUCCESS;
}

} // namespace

uint32_t Zerix_CreateCameraSettingsStruct(Zerix_Settings *settings)
{
    return Enter(Start(__func__, Unlogged{}), OfNoCamera{},
                 Checks(NotNull(settings, ZERIX_ERROR_BAD_PARAMETER)),
                 [&](ExportedCall &, const CameraUse &) { return Create(*settings); });
}

uint32_t Zerix_ReleaseCameraSettingsStruct(Zerix_Settings *settings)
{
    return Enter(Start(__func__, Unlogged{}), OfNoCamera{}, Checks(),
                 [&](ExportedCall &, const CameraUse &) { return Release(settings); });
}

uint32_t Zerix_InitializeCameraSettings(ZerixHandle camera, Zerix_Settings *settings)
{
    return Enter(Start(__func__, Unlogged{}), OfNoCamera{},
                 Checks(NotNull(settings, ZERIX_ERROR_BAD_SETTINGS)),
                 [&](ExportedCall &, const CameraUse &) {
                     return Zerix_ReadDefaultSettings(camera, settings);
                 });
}

uint32_t Zerix_ReadDefaultSettings(ZerixHandle camera, Zerix_Settings *settings)
{
    return FillSettings(Start(__func__), camera, settings, Column::kDefault);
}

uint32_t Zerix_ReadSettingsFromCam(ZerixHandle camera, Zerix_Settings *settings)
{
    return FillSettings(Start(__func__), camera, settings, Column::kReadBack);
}

uint32_t Zerix_TranslateSettings(ZerixHandle, Zerix_Settings *)
{
    return NotSupported(Start(__func__));
}

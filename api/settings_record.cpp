// The settings record's making, filling and end. Making and releasing write no lines in the log.
#include <algorithm>
#include <cstdlib>
#include <exception>

#include "api/cached_settings.h"
#include "api/exported_call.h"
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

uint32_t FillSettings(ExportedCall &call, ZerixHandle handle, Zerix_Settings *settings,
                      Column column)
{
    if (const auto error = call.Check(Loaded(), NotNull(handle, ZERIX_ERROR_BAD_HANDLE),
                                      NotNull(settings, ZERIX_ERROR_BAD_PARAMETER), Open(handle),
                                      Exclusive(handle), HasContext(handle)))
        return error;
    ZX::ZCamera &camera = *CameraOf(handle);
    const ParamSource source = {camera, *ContextOf(camera), tables::IsCurrentLayout(settings)};
    if (!HasRoom(settings, source.isCurrent))
        return ZERIX_ERROR_BAD_SETTINGS;
    if (!source.isCurrent)
        tables::SetSize(settings, tables::kLegacySettingsSize);
    FillUnsigned(source, column, settings);
    RefreshCachedSettings(source.context, settings, source.isCurrent);
    FillWider(source, column, settings);
    tables::SetCamera(settings, handle, source.isCurrent);
    diag::ZerixDebugOutputSettings(settings);
    return ZERIX_SUCCESS;
}

} // namespace

uint32_t Zerix_CreateCameraSettingsStruct(Zerix_Settings *settings)
{
    if (settings == nullptr)
        return ZERIX_ERROR_BAD_PARAMETER;
    settings->size = tables::kCurrentSettingsSize;
    // Cleared, so that a block that comes back from an earlier record never looks filled.
    settings->privateBlock = std::calloc(1, sizeof(tables::ZerixSettingsPrivate));
    std::copy(tables::kZerixSettingsFormatId.begin(), tables::kZerixSettingsFormatId.end(),
              settings->formatId);
    return ZERIX_SUCCESS;
}

uint32_t Zerix_ReleaseCameraSettingsStruct(Zerix_Settings *settings)
{
    // A legacy record holds no pointer, but values in its place.
    if (settings == nullptr || !tables::IsCurrentLayout(settings))
        return ZERIX_SUCCESS;
    std::free(settings->privateBlock);
    settings->privateBlock = nullptr;
    return ZERIX_SUCCESS;
}

uint32_t Zerix_InitializeCameraSettings(ZerixHandle camera, Zerix_Settings *settings)
{
    if (settings == nullptr)
        return ZERIX_ERROR_BAD_SETTINGS;
    return Zerix_ReadDefaultSettings(camera, settings);
}

uint32_t Zerix_ReadDefaultSettings(ZerixHandle camera, Zerix_Settings *settings)
try {
    ExportedCall call(__func__);
    return call.End(FillSettings(call, camera, settings, Column::kDefault));
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_ReadSettingsFromCam(ZerixHandle camera, Zerix_Settings *settings)
try {
    ExportedCall call(__func__);
    return call.End(FillSettings(call, camera, settings, Column::kReadBack));
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_TranslateSettings(ZerixHandle, Zerix_Settings *)
try {
    ExportedCall call(__func__);
    if (const auto error = call.Check(Loaded()))
        return call.End(error);
    return call.End(ZERIX_ERROR_NOT_SUPPORTED);
} catch (const std::exception &) {
    return kExceptionError;
}

// The checks of a call with a parameter key, for the list at its top.
#pragma once

#include <cstdint>

#include "api/entry.h"
#include "api/param_family.h"
#include "api/status.h"

namespace zerix::api {

inline constexpr uint32_t kIfNull = ZERIX_ERROR_BAD_PARAMETER;

// The key is one of its family; 1.
template <typename T>
struct Known {
    uint32_t key;
    uint32_t operator()(ExportedCall &, const CameraUse &) const
    {
        return key < ParamFamily<T>::Rows().size() ? ZERIX_SUCCESS : ZERIX_ERROR_NOT_SUPPORTED;
    }
};

// While calls are traced, what they ask of each other shows in the log too.
inline bool IsTraced() { return diag::Switches().outputEnabled.IsOn(); }

// What the support test of an open camera answers.
template <typename T>
uint32_t FindSupport(ZX::ZCamera &camera, uint32_t key)
{
    const ParamRow<T> *const row = FindRow(ParamFamily<T>::Rows(), key);
    const bool isYes = row != nullptr && row->isSupported != nullptr && row->isSupported(camera);
    return isYes ? ZERIX_SUCCESS : ZERIX_ERROR_NOT_SUPPORTED;
}

// The record's camera supports the key; 1. Whatever else the support test answers, as it does for a
// camera that is closed or that another process holds, doesn't stop the call.
template <typename T>
struct Supported {
    const Zerix_Settings *settings;
    uint32_t key;

    [[nodiscard]] uint32_t Ask(const CameraUse &use) const
    {
        if (IsTraced())
            return ParamFamily<T>::kIsSupported(tables::GetCamera(settings), key);
        if (!use.IsOpen() || !use.Camera().DoWeHaveExclusiveAccess())
            return ZERIX_ERROR_BAD_HANDLE;
        return FindSupport<T>(use.Camera(), key);
    }
    uint32_t operator()(ExportedCall &, const CameraUse &use) const
    {
        return Ask(use) == ZERIX_ERROR_NOT_SUPPORTED ? ZERIX_ERROR_NOT_SUPPORTED : ZERIX_SUCCESS;
    }
};

// A good record with its camera, which lives.
template <typename Settings>
BoundRecord<Settings> Bind(const CameraUse &use, Settings *settings)
{
    return {settings, use.Camera(), tables::IsCurrentLayout(settings)};
}

// A legacy record lacks the newest keys.
template <typename T>
bool HasKey(const ParamRow<T> &row, bool isCurrent)
{
    return isCurrent || !row.isCurrentOnly;
}

} // namespace zerix::api

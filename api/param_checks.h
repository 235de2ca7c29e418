// The checks of a call with a parameter key, for the list at its top.
#pragma once

#include <cstdint>

#include "api/exported_call.h"
#include "api/param_family.h"
#include "api/status.h"

namespace zerix::api {

inline constexpr uint32_t kIfNull = ZERIX_ERROR_BAD_PARAMETER;

// The key is one of its family; 1.
template <typename T>
struct Known {
    uint32_t key;
    uint32_t operator()(ExportedCall &) const
    {
        return key < ParamFamily<T>::Rows().size() ? ZERIX_SUCCESS : ZERIX_ERROR_NOT_SUPPORTED;
    }
};

// The record's camera supports the key; 1. Whatever else the support test answers, as it does for a
// camera that is closed or that another process holds, doesn't stop the call.
template <typename T>
struct Supported {
    const Zerix_Settings *settings;
    uint32_t key;
    uint32_t operator()(ExportedCall &) const
    {
        const uint32_t answer = ParamFamily<T>::kIsSupported(tables::GetCamera(settings), key);
        return answer == ZERIX_ERROR_NOT_SUPPORTED ? ZERIX_ERROR_NOT_SUPPORTED : ZERIX_SUCCESS;
    }
};

// A record that has passed its checks, the one of its camera among them.
template <typename Settings>
BoundRecord<Settings> Bind(Settings *settings)
{
    const bool isCurrent = tables::IsCurrentLayout(settings);
    return {settings, *CameraOf(tables::GetCamera(settings, isCurrent)), isCurrent};
}

// A legacy record lacks the newest keys.
template <typename T>
bool HasKey(const ParamRow<T> &row, bool isCurrent)
{
    return isCurrent || !row.isCurrentOnly;
}

} // namespace zerix::api

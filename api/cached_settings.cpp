// The library's own copy of what was last read or sent.
#include "api/cached_settings.h"

#include <array>
#include <cstring>

#include "diag/dumps.h"

namespace zerix::api {
namespace {

// A refresh reaches no further. A key above 16 that a send changes therefore counts as changed
// every time; sending relies on exactly these.
constexpr std::size_t kCurrentCopyBytes = 68;
constexpr std::size_t kLegacyCopyBytes = 63;

struct KeyRange {
    uint32_t first;
    uint32_t last;
};
constexpr std::array<KeyRange, 3> kCounting = {{
    {zprmGain, zprmNormIntensGaindB},
    {zprmFan, zprmReserved45},
    {zprmKeelEmMode, zprmLockedGainMode},
}};

template <typename Get>
bool DiffersIn(const Get &get, KeyRange range, const Zerix_Settings *before,
               const Zerix_Settings *after, bool isCurrent)
{
    for (uint32_t key = range.first; key <= range.last; ++key) {
        if (get(before, key, true) != get(after, key, isCurrent))
            return true;
    }
    return false;
}

} // namespace

void RefreshCachedSettings(ZerixContext &context, const Zerix_Settings *settings, bool isCurrent)
{
    const std::lock_guard lock(context.cacheMutex);
    void *const cached = tables::GetPrivateBlock(&context.cachedSettings);
    if (isCurrent)
        std::memcpy(cached, tables::GetPrivateBlock(settings), kCurrentCopyBytes);
    else
        std::memcpy(cached, reinterpret_cast<const unsigned char *>(settings) + 4,
                    kLegacyCopyBytes);
}

bool SettingsChanged(const ZerixContext &context, const Zerix_Settings *settings)
{
    const auto get32 = [](const Zerix_Settings *record, uint32_t key, bool isCurrent) {
        return tables::GetSlot32(record, key, isCurrent);
    };
    const auto getS32 = [](const Zerix_Settings *record, uint32_t key, bool isCurrent) {
        return tables::GetSlotS32(record, key, isCurrent);
    };
    const auto get64 = [](const Zerix_Settings *record, uint32_t key, bool isCurrent) {
        return tables::GetSlot64(record, key, isCurrent);
    };
    const std::lock_guard lock(context.cacheMutex);
    const Zerix_Settings *const cached = &context.cachedSettings;
    const bool isCurrent = tables::IsCurrentLayout(settings);
    for (const KeyRange range : kCounting) {
        if (DiffersIn(get32, range, cached, settings, isCurrent))
            return true;
    }
    return DiffersIn(getS32, {0, tables::kParamS32Count - 1}, cached, settings, isCurrent) ||
           DiffersIn(get64, {0, tables::kParam64Count - 1}, cached, settings, isCurrent);
}

void LogChangedSettings(const ZerixContext &context, const Zerix_Settings *settings)
{
    const std::lock_guard lock(context.cacheMutex);
    diag::ZerixDebugOutputChangedSettings(&context.cachedSettings, settings);
}

uint32_t CachedImageFormat(const ZerixContext &context)
{
    const std::lock_guard lock(context.cacheMutex);
    return tables::GetSlot32(&context.cachedSettings, zprmImageFormat, true);
}

} // namespace zerix::api

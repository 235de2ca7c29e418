// The library's own copy of what was last read or sent: what of it is refreshed, and what of it
// counts when a send asks whether anything has changed.
#pragma once

#include <cstdint>

#include "api/context.h"
#include "zerix/zerix.h"

namespace zerix::api {

// Copies the part of a good record that the cache keeps up: the keys 0 to 16 of a current one, not
// quite as many of a legacy one.
void RefreshCachedSettings(ZerixContext &context, const Zerix_Settings *settings, bool isCurrent);

// True if any value differs that a camera would have to be told: all but those of post-processing,
// the tweaking register, the gains of the electron multiplication and the frame buffers.
bool SettingsChanged(const ZerixContext &context, const Zerix_Settings *settings);

// Writes the unsigned values that differ from the cache to the log.
void LogChangedSettings(const ZerixContext &context, const Zerix_Settings *settings);

// The format that was last set or read.
uint32_t CachedImageFormat(const ZerixContext &context);

} // namespace zerix::api

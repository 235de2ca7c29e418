// The trace log's dumps: values of settings and information keys, whole records, frames, tables.
// Each line is one message; each kind has a switch of its own.
#pragma once

#include <cstdint>
#include <string>

#include "zerix/zerix.h"

namespace zerix::diag {

void ZerixDebugOutputSetting32(uint32_t key, uint32_t value);
void ZerixDebugOutputSettingS32(uint32_t key, int32_t value);
void ZerixDebugOutputSetting64(uint32_t key, uint64_t value);
void ZerixDebugOutputGetInfo(uint32_t key, uint32_t value);

// The whole record, in either layout.
void ZerixDebugOutputSettings(const Zerix_Settings *settings);

// The unsigned values that differ between two records.
void ZerixDebugOutputChangedSettings(const Zerix_Settings *before, const Zerix_Settings *after);

void ZerixDebugOutputFrame(const Zerix_Frame *frame);

// The first `count` values of a 32-bit key's sparse table.
void ZerixDebugOutputSparseTable(uint32_t key, const uint32_t *table, int32_t count);

} // namespace zerix::diag

// The settings record's two binary layouts. A record carries its layout: bytes 4 to 19 tell the
// current one from the legacy one that older applications allocate themselves. Records come from
// the application at any alignment, so they are only ever read and written byte by byte.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "zerix/zerix.h"

namespace zerix::tables {

inline constexpr std::array<uint8_t, 16> kZerixSettingsFormatId = {
    0x0F, 0x06, 0xBF, 0xCB, 0x08, 0x58, 0xF0, 0x40, 0x81, 0x0B, 0x71, 0x62, 0xE9, 0xB9, 0xFF, 0x87};

// In a record that a fill has been through.
inline constexpr uint32_t kZerixSettingsMagic = 0xDEADBEEF;

inline constexpr uint32_t kParamCount = 53;
inline constexpr uint32_t kLegacyParamCount = 48;
inline constexpr uint32_t kParamS32Count = 3;
inline constexpr uint32_t kParam64Count = 4;

using LegacySettings = ZerixLegacySettings;
using CurrentSettings = Zerix_Settings;

// What a current record points to.
#pragma pack(push, 4)
struct ZerixSettingsPrivate {
    uint32_t values[kParamCount];
    int32_t valuesS32[kParamS32Count];
    uint64_t values64[kParam64Count];
    uint8_t camera[8]; // the handle; 32-bit builds use the first half
    uint32_t magic;
    uint32_t reserved268[2];
};
#pragma pack(pop)

inline constexpr uint32_t kLegacySettingsSize = 260;
// The size field of a current record names its private block, whatever the record itself measures.
inline constexpr uint32_t kCurrentSettingsSize = 276;
inline constexpr uint32_t kSettingsPrivateSize = 276;

static_assert(sizeof(LegacySettings) == kLegacySettingsSize);
static_assert(offsetof(LegacySettings, values) == 4);
static_assert(offsetof(LegacySettings, valuesS32) == 196);
static_assert(offsetof(LegacySettings, values64) == 208);
static_assert(offsetof(LegacySettings, reserved240) == 240);
static_assert(offsetof(LegacySettings, camera) == 244);
static_assert(offsetof(LegacySettings, magic) == 252);
static_assert(offsetof(LegacySettings, reserved256) == 256);

static_assert(sizeof(CurrentSettings) == (sizeof(void *) == 8 ? 32 : 24));
static_assert(offsetof(CurrentSettings, formatId) == 4);
static_assert(offsetof(CurrentSettings, privateBlock) == (sizeof(void *) == 8 ? 24 : 20));

static_assert(sizeof(ZerixSettingsPrivate) == kSettingsPrivateSize);
static_assert(offsetof(ZerixSettingsPrivate, valuesS32) == 212);
static_assert(offsetof(ZerixSettingsPrivate, values64) == 224);
static_assert(offsetof(ZerixSettingsPrivate, camera) == 256);
static_assert(offsetof(ZerixSettingsPrivate, magic) == 264);
static_assert(offsetof(ZerixSettingsPrivate, reserved268) == 268);

} // namespace zerix::tables

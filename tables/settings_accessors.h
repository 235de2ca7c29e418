// Reading and writing the slots of a settings record in either layout. Each access comes twice: one
// that finds the layout out by the record's identifier, one for callers who know it already.
//
// Keys beyond a family read 0 and write nothing. On a legacy record the keys 48 to 52 fall into the
// signed and 64-bit values that stand behind the unsigned ones; callers who mind test the layout
// first. A current record without a private block reads 0 and takes no write.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "tables/settings_layout.h"

namespace zerix::tables {

inline bool IsCurrentLayout(const Zerix_Settings *settings)
{
    const auto *bytes = reinterpret_cast<const unsigned char *>(settings);
    return std::memcmp(bytes + offsetof(CurrentSettings, formatId), kZerixSettingsFormatId.data(),
                       kZerixSettingsFormatId.size()) == 0;
}

namespace layout {

template <typename T>
T Load(const void *record, std::size_t offset)
{
    T value;
    std::memcpy(&value, static_cast<const unsigned char *>(record) + offset, sizeof(value));
    return value;
}

template <typename T>
void Store(void *record, std::size_t offset, T value)
{
    std::memcpy(static_cast<unsigned char *>(record) + offset, &value, sizeof(value));
}

// Where a family or field begins in each layout.
struct Place {
    std::size_t legacy;
    std::size_t current; // in the private block
};

inline constexpr Place kValues = {offsetof(LegacySettings, values),
                                  offsetof(ZerixSettingsPrivate, values)};
inline constexpr Place kValuesS32 = {offsetof(LegacySettings, valuesS32),
                                     offsetof(ZerixSettingsPrivate, valuesS32)};
inline constexpr Place kValues64 = {offsetof(LegacySettings, values64),
                                    offsetof(ZerixSettingsPrivate, values64)};
inline constexpr Place kCamera = {offsetof(LegacySettings, camera),
                                  offsetof(ZerixSettingsPrivate, camera)};
inline constexpr Place kMagic = {offsetof(LegacySettings, magic),
                                 offsetof(ZerixSettingsPrivate, magic)};

// The record itself or its private block, and the field's offset there.
inline unsigned char *At(const Zerix_Settings *settings, bool isCurrent, const Place &place,
                         std::size_t step)
{
    auto *record = reinterpret_cast<unsigned char *>(const_cast<Zerix_Settings *>(settings));
    if (!isCurrent)
        return record + place.legacy + step;
    auto *block = Load<unsigned char *>(record, offsetof(CurrentSettings, privateBlock));
    return block != nullptr ? block + place.current + step : nullptr;
}

template <typename T>
T Get(const Zerix_Settings *settings, bool isCurrent, const Place &place, std::size_t index,
      std::size_t count)
{
    const unsigned char *slot =
        index < count ? At(settings, isCurrent, place, index * sizeof(T)) : nullptr;
    return slot != nullptr ? Load<T>(slot, 0) : T{};
}

template <typename T>
void Set(Zerix_Settings *settings, bool isCurrent, const Place &place, std::size_t index,
         std::size_t count, T value)
{
    unsigned char *slot =
        index < count ? At(settings, isCurrent, place, index * sizeof(T)) : nullptr;
    if (slot != nullptr)
        Store(slot, 0, value);
}

} // namespace layout

// With the layout known.
inline uint32_t GetSlot32(const Zerix_Settings *settings, uint32_t key, bool isCurrent)
{
    return layout::Get<uint32_t>(settings, isCurrent, layout::kValues, key, kParamCount);
}

inline void SetSlot32(Zerix_Settings *settings, uint32_t key, uint32_t value, bool isCurrent)
{
    layout::Set(settings, isCurrent, layout::kValues, key, kParamCount, value);
}

inline int32_t GetSlotS32(const Zerix_Settings *settings, uint32_t key, bool isCurrent)
{
    return layout::Get<int32_t>(settings, isCurrent, layout::kValuesS32, key, kParamS32Count);
}

inline void SetSlotS32(Zerix_Settings *settings, uint32_t key, int32_t value, bool isCurrent)
{
    layout::Set(settings, isCurrent, layout::kValuesS32, key, kParamS32Count, value);
}

inline uint64_t GetSlot64(const Zerix_Settings *settings, uint32_t key, bool isCurrent)
{
    return layout::Get<uint64_t>(settings, isCurrent, layout::kValues64, key, kParam64Count);
}

inline void SetSlot64(Zerix_Settings *settings, uint32_t key, uint64_t value, bool isCurrent)
{
    layout::Set(settings, isCurrent, layout::kValues64, key, kParam64Count, value);
}

inline void *GetCamera(const Zerix_Settings *settings, bool isCurrent)
{
    return layout::Get<void *>(settings, isCurrent, layout::kCamera, 0, 1);
}

inline void SetCamera(Zerix_Settings *settings, void *camera, bool isCurrent)
{
    layout::Set(settings, isCurrent, layout::kCamera, 0, 1, camera);
}

inline uint32_t GetMagic(const Zerix_Settings *settings, bool isCurrent)
{
    return layout::Get<uint32_t>(settings, isCurrent, layout::kMagic, 0, 1);
}

inline void SetMagic(Zerix_Settings *settings, uint32_t magic, bool isCurrent)
{
    layout::Set(settings, isCurrent, layout::kMagic, 0, 1, magic);
}

// With the layout found out.
inline uint32_t GetSlot32(const Zerix_Settings *settings, uint32_t key)
{
    return GetSlot32(settings, key, IsCurrentLayout(settings));
}

inline void SetSlot32(Zerix_Settings *settings, uint32_t key, uint32_t value)
{
    SetSlot32(settings, key, value, IsCurrentLayout(settings));
}

inline int32_t GetSlotS32(const Zerix_Settings *settings, uint32_t key)
{
    return GetSlotS32(settings, key, IsCurrentLayout(settings));
}

inline void SetSlotS32(Zerix_Settings *settings, uint32_t key, int32_t value)
{
    SetSlotS32(settings, key, value, IsCurrentLayout(settings));
}

inline uint64_t GetSlot64(const Zerix_Settings *settings, uint32_t key)
{
    return GetSlot64(settings, key, IsCurrentLayout(settings));
}

inline void SetSlot64(Zerix_Settings *settings, uint32_t key, uint64_t value)
{
    SetSlot64(settings, key, value, IsCurrentLayout(settings));
}

inline void *GetCamera(const Zerix_Settings *settings)
{
    return GetCamera(settings, IsCurrentLayout(settings));
}

inline void SetCamera(Zerix_Settings *settings, void *camera)
{
    SetCamera(settings, camera, IsCurrentLayout(settings));
}

inline uint32_t GetMagic(const Zerix_Settings *settings)
{
    return GetMagic(settings, IsCurrentLayout(settings));
}

inline void SetMagic(Zerix_Settings *settings, uint32_t magic)
{
    SetMagic(settings, magic, IsCurrentLayout(settings));
}

// The record's size field.
inline uint32_t GetSize(const Zerix_Settings *settings)
{
    return layout::Load<uint32_t>(settings, 0);
}

inline void SetSize(Zerix_Settings *settings, uint32_t size) { layout::Store(settings, 0, size); }

// The private block of a current record; null once it is released.
inline void *GetPrivateBlock(const Zerix_Settings *settings)
{
    return layout::Load<void *>(settings, offsetof(CurrentSettings, privateBlock));
}

// A record that a fill has been through, in either layout.
inline bool HasMagic(const Zerix_Settings *settings)
{
    return GetMagic(settings) == kZerixSettingsMagic;
}

} // namespace zerix::tables

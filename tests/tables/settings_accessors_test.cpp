// The settings record's accessors, against bytes at offsets written out here.
#include <array>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "tables/settings_accessors.h"

namespace zerix::tables {
namespace {

constexpr uint8_t kIdentifier[16] = {0x0F, 0x06, 0xBF, 0xCB, 0x08, 0x58, 0xF0, 0x40,
                                     0x81, 0x0B, 0x71, 0x62, 0xE9, 0xB9, 0xFF, 0x87};
constexpr std::size_t kPointerAt = sizeof(void *) == 8 ? 24 : 20;

template <typename T>
T At(const std::vector<uint8_t> &bytes, std::size_t offset)
{
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof(value));
    return value;
}

// Records of exactly the layout's bytes, so that a sanitizer sees one byte too far.
class Legacy {
public:
    Zerix_Settings *Record() { return reinterpret_cast<Zerix_Settings *>(bytes.data()); }
    std::vector<uint8_t> bytes = std::vector<uint8_t>(260);
};

class Current {
public:
    Current()
    {
        std::memcpy(record.data() + 4, kIdentifier, 16);
        const void *block = bytes.data();
        std::memcpy(record.data() + kPointerAt, &block, sizeof(block));
    }
    Zerix_Settings *Record() { return reinterpret_cast<Zerix_Settings *>(record.data()); }
    std::vector<uint8_t> record = std::vector<uint8_t>(kPointerAt + sizeof(void *));
    std::vector<uint8_t> bytes = std::vector<uint8_t>(276);
};

TEST(SettingsLayout, IsToldByTheIdentifierAlone)
{
    Legacy legacy;
    Current current;
    EXPECT_FALSE(IsCurrentLayout(legacy.Record()));
    EXPECT_TRUE(IsCurrentLayout(current.Record()));
    for (std::size_t index = 0; index < 16; ++index) {
        Current other;
        other.record[4 + index] ^= 1;
        EXPECT_FALSE(IsCurrentLayout(other.Record())) << index;
    }
    std::memcpy(legacy.bytes.data() + 4, kIdentifier, 16);
    EXPECT_TRUE(IsCurrentLayout(legacy.Record()));
}

TEST(SettingsAccessors, ReachEveryUnsignedSlot)
{
    for (uint32_t key = 0; key < 53; ++key) {
        const uint32_t value = 0xA0000000u + key;
        Legacy legacy;
        Current current;
        SetSlot32(legacy.Record(), key, value);
        SetSlot32(current.Record(), key, value);
        EXPECT_EQ(At<uint32_t>(legacy.bytes, 4 + 4 * key), value) << key;
        EXPECT_EQ(At<uint32_t>(current.bytes, 4 * key), value) << key;
        EXPECT_EQ(GetSlot32(legacy.Record(), key), value);
        EXPECT_EQ(GetSlot32(current.Record(), key), value);
        EXPECT_EQ(GetSlot32(legacy.Record(), key, false), value);
        EXPECT_EQ(GetSlot32(current.Record(), key, true), value);
    }
}

TEST(SettingsAccessors, ReachEverySignedSlot)
{
    for (uint32_t key = 0; key < 3; ++key) {
        const int32_t value = -7 - static_cast<int32_t>(key);
        Legacy legacy;
        Current current;
        SetSlotS32(legacy.Record(), key, value);
        SetSlotS32(current.Record(), key, value);
        EXPECT_EQ(At<int32_t>(legacy.bytes, 196 + 4 * key), value) << key;
        EXPECT_EQ(At<int32_t>(current.bytes, 212 + 4 * key), value) << key;
        EXPECT_EQ(GetSlotS32(legacy.Record(), key), value);
        EXPECT_EQ(GetSlotS32(current.Record(), key), value);
    }
}

TEST(SettingsAccessors, ReachEvery64BitSlot)
{
    for (uint32_t key = 0; key < 4; ++key) {
        const uint64_t value = 0x8000000100000000u + key;
        Legacy legacy;
        Current current;
        SetSlot64(legacy.Record(), key, value);
        SetSlot64(current.Record(), key, value);
        EXPECT_EQ(At<uint64_t>(legacy.bytes, 208 + 8 * key), value) << key;
        EXPECT_EQ(At<uint64_t>(current.bytes, 224 + 8 * key), value) << key;
        EXPECT_EQ(GetSlot64(legacy.Record(), key), value);
        EXPECT_EQ(GetSlot64(current.Record(), key), value);
    }
}

TEST(SettingsAccessors, ReachCameraMagicAndSize)
{
    Legacy legacy;
    Current current;
    int camera = 0;
    SetCamera(legacy.Record(), &camera);
    SetCamera(current.Record(), &camera);
    SetMagic(legacy.Record(), 0xDEADBEEFu);
    SetMagic(current.Record(), 0xDEADBEEFu);
    SetSize(legacy.Record(), 260);
    EXPECT_EQ(At<void *>(legacy.bytes, 244), &camera);
    EXPECT_EQ(At<void *>(current.bytes, 256), &camera);
    EXPECT_EQ(At<uint32_t>(legacy.bytes, 252), 0xDEADBEEFu);
    EXPECT_EQ(At<uint32_t>(current.bytes, 264), 0xDEADBEEFu);
    EXPECT_EQ(At<uint32_t>(legacy.bytes, 0), 260u);
    EXPECT_EQ(GetCamera(legacy.Record()), &camera);
    EXPECT_EQ(GetCamera(current.Record()), &camera);
    EXPECT_EQ(GetSize(legacy.Record()), 260u);
    EXPECT_TRUE(HasMagic(legacy.Record()));
    EXPECT_TRUE(HasMagic(current.Record()));
}

// The first word behind the handle stays the application's where the handle has 32 bits.
TEST(SettingsAccessors, WriteNoMoreThanTheHandle)
{
    Legacy legacy;
    SetCamera(legacy.Record(), reinterpret_cast<void *>(~uintptr_t{0}));
    EXPECT_EQ(At<uint32_t>(legacy.bytes, 248), sizeof(void *) == 8 ? 0xFFFFFFFFu : 0u);
    EXPECT_EQ(At<uint32_t>(legacy.bytes, 252), 0u);
}

TEST(SettingsAccessors, LegacyKeysAbove47FallIntoTheValuesBehind)
{
    Legacy legacy;
    SetSlotS32(legacy.Record(), 0, -5);
    EXPECT_EQ(GetSlot32(legacy.Record(), 48), 0xFFFFFFFBu);
    SetSlot32(legacy.Record(), 52, 9);
    EXPECT_EQ(GetSlot64(legacy.Record(), 0), 0x900000000u);
}

TEST(SettingsAccessors, LeaveKeysBeyondAFamilyAlone)
{
    Legacy legacy;
    Current current;
    for (Zerix_Settings *record : {legacy.Record(), current.Record()}) {
        SetSlot32(record, 53, 1);
        SetSlotS32(record, 3, 1);
        SetSlot64(record, 4, 1);
        EXPECT_EQ(GetSlot32(record, 53), 0u);
        EXPECT_EQ(GetSlotS32(record, 3), 0);
        EXPECT_EQ(GetSlot64(record, 4), 0u);
    }
    EXPECT_EQ(legacy.bytes, std::vector<uint8_t>(260));
    EXPECT_EQ(current.bytes, std::vector<uint8_t>(276));
}

TEST(SettingsAccessors, TouchNothingWithoutAPrivateBlock)
{
    Current current;
    std::memset(current.record.data() + kPointerAt, 0, sizeof(void *));
    SetSlot32(current.Record(), 0, 1);
    SetCamera(current.Record(), &current);
    EXPECT_EQ(GetSlot32(current.Record(), 0), 0u);
    EXPECT_EQ(GetCamera(current.Record()), nullptr);
    EXPECT_FALSE(HasMagic(current.Record()));
}

// Applications may hand over a record at any address.
TEST(SettingsAccessors, ReadRecordsAtAnyAlignment)
{
    std::vector<uint8_t> bytes(261);
    auto *record = reinterpret_cast<Zerix_Settings *>(bytes.data() + 1);
    SetSlot64(record, 3, 0x0102030405060708u);
    EXPECT_EQ(At<uint64_t>(bytes, 1 + 232), 0x0102030405060708u);
}

} // namespace
} // namespace zerix::tables

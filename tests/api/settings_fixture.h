// A camera without hardware that stands open, and a record of each layout to fill from it. Bytes
// that a fill doesn't write keep the pattern of kUntouched.
#pragma once

#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "api/context.h"
#include "tests/api/api_fixture.h"

namespace zerix::api {

inline constexpr uint32_t kUntouched = 0xA5A5A5A5u;

class SettingsTest : public ApiTest {
protected:
    ~SettingsTest() override { Zerix_ReleaseCameraSettingsStruct(&current); }

    void SetUp() override
    {
        Load();
        camera = &AddOpenCamera();
        Zerix_CreateCameraSettingsStruct(&current);
        // Whatever a fill doesn't write keeps this pattern.
        std::memset(current.privateBlock, 0xA5, 276);
        std::memset(legacy.data(), 0xA5, legacy.size());
    }

    Zerix_Settings *Legacy() { return reinterpret_cast<Zerix_Settings *>(legacy.data()); }

    void FillBoth(uint32_t (*fill)(ZerixHandle, Zerix_Settings *))
    {
        ASSERT_EQ(fill(HandleOf(*camera), &current), 0u);
        ASSERT_EQ(fill(HandleOf(*camera), Legacy()), 0u);
    }

    template <typename T>
    T LegacyAt(std::size_t offset) const
    {
        T value;
        std::memcpy(&value, legacy.data() + offset, sizeof(value));
        return value;
    }

    template <typename T>
    T PrivateAt(std::size_t offset) const
    {
        T value;
        std::memcpy(&value, static_cast<const uint8_t *>(current.privateBlock) + offset,
                    sizeof(value));
        return value;
    }

    FakeCamera *camera = nullptr;
    Zerix_Settings current = {};
    std::vector<uint8_t> legacy = std::vector<uint8_t>(260);
};

} // namespace zerix::api

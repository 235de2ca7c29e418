// A settings record of a listed camera's defaults, and a walk over every camera of the family.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/api/virtual_bus_session.h"

namespace zerix::api {

class VirtualParamsSession : public VirtualBusSession {
protected:
    ~VirtualParamsSession() override { Zerix_ReleaseCameraSettingsStruct(&settings); }

    // A record of defaults of a listed camera.
    void OpenWithDefaults(uint32_t id)
    {
        handle = OpenListed(id);
        Zerix_ReleaseCameraSettingsStruct(&settings);
        Zerix_CreateCameraSettingsStruct(&settings);
        ASSERT_EQ(Zerix_ReadDefaultSettings(handle, &settings), 0u);
    }

    // Calls the check for each camera of a built-in rack, opened and with its defaults.
    template <typename Check>
    void OnEachCamera(const char *rack, Check check)
    {
        ASSERT_EQ(ZerixSim_ChooseRack(rack), 0u) << ZerixSim_LastErrorText();
        Configure("");
        Load();
        const uint32_t count = List();
        ASSERT_GT(count, 0u);
        for (uint32_t id = 0; id < count; ++id) {
            OpenWithDefaults(id);
            char name[64] = {};
            Zerix_GetSerialString(handle, name, sizeof(name));
            SCOPED_TRACE(std::string(rack) + ' ' + name);
            check();
            ASSERT_EQ(Zerix_CloseCamera(handle), 0u);
        }
        Zerix_ReleaseDriver();
    }
    template <typename Check>
    void OnEachCameraOfTheFamily(Check check)
    {
        for (const char *const rack : {"default", "family-1", "family-2", "family-3"})
            OnEachCamera(rack, check);
    }

    // The same for each unsigned key that the camera supports.
    template <typename Check>
    void OnEachKeyOfTheFamily(Check check)
    {
        OnEachCameraOfTheFamily([&] {
            for (uint32_t key = 0; key < 53; ++key) {
                if (!Supports(key))
                    continue;
                SCOPED_TRACE(key);
                check(key);
            }
        });
    }

    bool Supports(uint32_t key) const { return Zerix_IsParamSupported(handle, key) == 0; }

    uint32_t Value(uint32_t key)
    {
        uint32_t value = 0;
        EXPECT_EQ(Zerix_GetParam(&settings, key, &value), 0u);
        return value;
    }

    std::vector<uint32_t> ListOf(uint32_t key)
    {
        std::vector<uint32_t> entries(100);
        int32_t size = 100;
        EXPECT_EQ(Zerix_GetParamSparseTable(&settings, key, entries.data(), &size), 0u);
        entries.resize(static_cast<std::size_t>(size));
        return entries;
    }

    // A refused value leaves what was there.
    void ExpectRefused(uint32_t key, uint32_t value, uint32_t code)
    {
        const uint32_t before = Value(key);
        EXPECT_EQ(Zerix_SetParam(&settings, key, value), code) << value;
        EXPECT_EQ(Value(key), before) << value;
    }

    void ExpectAccepted(uint32_t key, uint32_t value)
    {
        EXPECT_EQ(Zerix_SetParam(&settings, key, value), 0u) << value;
        EXPECT_EQ(Value(key), value);
    }

    ZerixHandle handle = nullptr;
    Zerix_Settings settings = {};
};

} // namespace zerix::api

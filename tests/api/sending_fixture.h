// An open camera without hardware, with the limits of an ordinary one, and a record of each layout
// filled with its defaults.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "api/context.h"
#include "tables/settings_accessors.h"
#include "tests/api/settings_fixture.h"

namespace zerix::api {

class SendingTest : public SettingsTest {
protected:
    void SetUp() override
    {
        SettingsTest::SetUp();
        camera->getMinExposure = 1'000;
        camera->getMaxExposure = 1'000'000'000'000;
        camera->getDefaultExposure = 16'384'000;
        camera->getCCDWidth = 1000;
        camera->getCCDHeight = 800;
        camera->getROIMaxWidthForBinningMode = 1000;
        camera->getROIMaxHeightForBinningMode = 800;
        camera->getCCDImageFormat = 1;
        camera->getBitDepth = 8;
        camera->getMaxBitDepth = 14;
        camera->getReadoutFrequencyDefault = 20.0f;
        camera->getReadoutFrequency = 20.0f;
        camera->getStreamingVersion = 1;
        FillBoth(Zerix_ReadDefaultSettings);
        Forget();
    }

    // The log's lines and the camera's calls so far.
    void Forget()
    {
        Take();
        camera->calls.clear();
    }

    static uint32_t Get(const Zerix_Settings *settings, uint32_t key)
    {
        return tables::GetSlot32(settings, key);
    }

    static void Set(Zerix_Settings *settings, uint32_t key, uint32_t value)
    {
        tables::SetSlot32(settings, key, value);
    }

    uint32_t RunPreflight(Zerix_Settings *settings)
    {
        return Zerix_PreflightSettings(HandleOf(*camera), settings);
    }

    uint32_t Send(Zerix_Settings *settings)
    {
        return Zerix_SendSettingsToCam(HandleOf(*camera), settings);
    }

    [[nodiscard]] bool WasCalled(const std::string &call) const
    {
        return std::find(camera->calls.begin(), camera->calls.end(), call) != camera->calls.end();
    }

    // As if the cache had been told all of the record, and the camera had its geometry.
    void MakeCacheEqual(const Zerix_Settings *settings)
    {
        Zerix_Settings *const cached = &ContextOf(*camera)->cachedSettings;
        for (uint32_t key = 0; key < 53; ++key)
            Set(cached, key, Get(settings, key));
        for (uint32_t key = 0; key < 3; ++key)
            tables::SetSlotS32(cached, key, tables::GetSlotS32(settings, key));
        for (uint32_t key = 0; key < 4; ++key)
            tables::SetSlot64(cached, key, tables::GetSlot64(settings, key));
        camera->getROIWidth = Get(settings, zprmRoiWidth);
        camera->getROIHeight = Get(settings, zprmRoiHeight);
        camera->getSymmetricalBinningMode = camera->getVerticalBinningMode =
            camera->getHorizontalBinningMode = 1;
    }

    // The remarks of one function, without its name.
    Lines Remarks(const std::string &name)
    {
        Lines remarks;
        for (const std::string &line : Take()) {
            if (line.rfind(name + " - ", 0) == 0)
                remarks.push_back(line.substr(name.size() + 3));
        }
        return remarks;
    }
};

} // namespace zerix::api

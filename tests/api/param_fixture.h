// Filled records of both layouts on a camera that has every capability, for the parameter calls.
#pragma once

#include <array>
#include <cstdint>

#include "tests/api/settings_fixture.h"

namespace zerix::api {

inline void SetEveryCapability(FakeCamera &camera, bool on)
{
    for (bool FakeCameraValues::*flag : {&FakeCameraValues::isCoolerAvailable,
                                         &FakeCameraValues::isRegulatedCoolingAvailable,
                                         &FakeCameraValues::isRGBFilterSupported,
                                         &FakeCameraValues::isLVWModeSupported,
                                         &FakeCameraValues::isFanControlAvailable,
                                         &FakeCameraValues::isHighSensitivityModeAvailable,
                                         &FakeCameraValues::isBlackoutModeAvailable,
                                         &FakeCameraValues::isSymmetricalBinningSupported,
                                         &FakeCameraValues::isHorizontalBinningSupported,
                                         &FakeCameraValues::isVerticalBinningSupported,
                                         &FakeCameraValues::isIntensifierAvailable,
                                         &FakeCameraValues::isShutterCloseDelayAvailable,
                                         &FakeCameraValues::isTriggerDelayAvialable,
                                         &FakeCameraValues::isEMGainAvailable,
                                         &FakeCameraValues::isDitherControlAvailable,
                                         &FakeCameraValues::isHighGainModeAvailable,
                                         &FakeCameraValues::isVClockControlAvailable,
                                         &FakeCameraValues::isSyncBSupported,
                                         &FakeCameraValues::isDoubleShotSupported,
                                         &FakeCameraValues::isTweekingRegisterSupported,
                                         &FakeCameraValues::isMetrolShutterDelaySupported,
                                         &FakeCameraValues::isReadoutPortSupported,
                                         &FakeCameraValues::isKeelEmModeSupported,
                                         &FakeCameraValues::isLockedGainModeSupported}) {
        camera.*flag = on;
    }
    camera.getHardwareVersion = on ? 2 : 1;
}

class ParamTest : public SettingsTest {
protected:
    void SetUp() override
    {
        SettingsTest::SetUp();
        SetEveryCapability(*camera, true);
        FillBoth(Zerix_ReadDefaultSettings);
        Take();
    }

    // The record of each layout in turn.
    std::array<Zerix_Settings *, 2> Both() { return {&current, Legacy()}; }

    bool IsCurrent(const Zerix_Settings *settings) const { return settings == &current; }

    // The values of the record at the byte offsets of its layout.
    template <typename T>
    T Slot(const Zerix_Settings *settings, std::size_t legacyOffset, std::size_t offset) const
    {
        return IsCurrent(settings) ? PrivateAt<T>(offset) : LegacyAt<T>(legacyOffset);
    }
    uint32_t Slot32(const Zerix_Settings *settings, std::size_t key) const
    {
        return Slot<uint32_t>(settings, 4 + 4 * key, 4 * key);
    }
    int32_t SlotS32(const Zerix_Settings *settings, std::size_t key) const
    {
        return Slot<int32_t>(settings, 196 + 4 * key, 212 + 4 * key);
    }
    uint64_t Slot64(const Zerix_Settings *settings, std::size_t key) const
    {
        return Slot<uint64_t>(settings, 208 + 8 * key, 224 + 8 * key);
    }

    template <typename T>
    void Put(const Zerix_Settings *settings, std::size_t legacyOffset, std::size_t offset, T value)
    {
        uint8_t *const place = IsCurrent(settings)
                                   ? static_cast<uint8_t *>(current.privateBlock) + offset
                                   : legacy.data() + legacyOffset;
        std::memcpy(place, &value, sizeof(value));
    }
    void Put32(const Zerix_Settings *settings, std::size_t key, uint32_t value)
    {
        Put(settings, 4 + 4 * key, 4 * key, value);
    }
    void PutS32(const Zerix_Settings *settings, std::size_t key, int32_t value)
    {
        Put(settings, 196 + 4 * key, 212 + 4 * key, value);
    }
    void Put64(const Zerix_Settings *settings, std::size_t key, uint64_t value)
    {
        Put(settings, 208 + 8 * key, 224 + 8 * key, value);
    }

    // All bytes of a record that hold values.
    std::vector<uint8_t> BytesOf(const Zerix_Settings *settings) const
    {
        if (!IsCurrent(settings))
            return legacy;
        const auto *bytes = static_cast<const uint8_t *>(current.privateBlock);
        return {bytes, bytes + 276};
    }

    // Calls answer the same whether they are traced or not, though they ask each other differently.
    template <typename Check>
    void TracedAndNot(Check check)
    {
        for (const char *const text : {"outputEnabled = 1\n", ""}) {
            SCOPED_TRACE(text);
            Configure(text);
            diag::ZLogOpen();
            check();
        }
        EXPECT_EQ(diag::ZLogDepth(), 0);
    }

    // Which values the log shows, beside the lines of the calls.
    void ShowSettings()
    {
        Configure("outputEnabled = 1\noutputSettings = 1\n");
        diag::ZLogOpen();
    }
    void ShowNestedCalls()
    {
        Configure("outputEnabled = 1\noutputSettings = 1\noutputNestedCalls = 1\n");
        diag::ZLogOpen();
    }
};

inline const char *const kNotSupportedPhrase = "the function is not supported for this device.";
inline const char *const kBadParameterPhrase = "one of the parameters used is not valid.";

} // namespace zerix::api

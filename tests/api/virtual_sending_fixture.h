// Sending to a virtual camera: the register writes that it sees, in order, by block and offset.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "api/status.h"
#include "camera/tolvane_fw_camera.h"
#include "tables/settings_accessors.h"
#include "tests/api/virtual_bus_session.h"

namespace zerix::api {

enum class Block { kControl, kCommand, kStreaming, kOther };

struct Write {
    Block block;
    uint32_t offset;
    uint32_t value;
    bool operator==(const Write &) const = default;
};
using Writes = std::vector<Write>;

inline std::ostream &operator<<(std::ostream &stream, const Write &write)
{
    constexpr const char *kNames[] = {"control", "command", "streaming", "other"};
    return stream << kNames[static_cast<std::size_t>(write.block)] << std::hex << " 0x"
                  << write.offset << " = 0x" << write.value << std::dec;
}

inline constexpr Write kCommit = {Block::kCommand, 4, 1};
// The set-up gives red and blue exposures of their own; while the wheel stands, a send gives them
// the exposure that there is.
inline constexpr uint32_t kDefaultExposure = 0x00FA0000; // 16,384,000 ns
constexpr Write Control(uint32_t offset, uint32_t value)
{
    return {Block::kControl, offset, value};
}

inline Writes ColourExposures(uint32_t nanoseconds)
{
    return {Control(0x1C, 0), Control(0x40, nanoseconds), Control(0x20, 0),
            Control(0x44, nanoseconds)};
}

inline Writes Joined(std::initializer_list<Writes> parts)
{
    Writes all;
    for (const Writes &part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

class VirtualSendingTest : public VirtualBusSession {
protected:
    ~VirtualSendingTest() override { Zerix_ReleaseCameraSettingsStruct(&settings); }

    // The one camera of a rack, and a record of its defaults.
    void Open(const std::string &rack)
    {
        UseRack(rack);
        handle = LoadAndOpen(0);
        std::vector<uint32_t> directory(11);
        ASSERT_EQ(HAL_CameraReadData(HalCamera(), 0xD0000000, directory.data(), 11), 0u);
        control = directory[4];
        command = directory[6];
        streaming = directory[10];
        Zerix_ReleaseCameraSettingsStruct(&settings);
        Zerix_CreateCameraSettingsStruct(&settings);
        ASSERT_EQ(Zerix_ReadDefaultSettings(handle, &settings), 0u);
        TakeWrites();
    }

    HALCamera HalCamera() const
    {
        return dynamic_cast<ZX::TolvaneFWCamera *>(CameraOf(handle))->GetHalCamera();
    }

    // As the camera itself has it.
    uint32_t ControlWord(uint32_t offset) const
    {
        uint32_t word = 0;
        EXPECT_EQ(HAL_CameraReadData(HalCamera(), control + offset, &word, 1), 0u);
        return word;
    }

    Writes TakeWrites() const
    {
        std::vector<ZerixSimWrite> raw(1000);
        auto count = static_cast<uint32_t>(raw.size());
        EXPECT_EQ(ZerixSim_TakeWrites(0, raw.data(), &count), 0u);
        Writes writes;
        for (uint32_t index = 0; index < count; ++index)
            writes.push_back(Placed(raw[index]));
        return writes;
    }

    Write Placed(const ZerixSimWrite &write) const
    {
        constexpr uint32_t kLongestBlock = 0x100;
        if (write.address - control < kLongestBlock)
            return {Block::kControl, write.address - control, write.value};
        if (write.address - command < kLongestBlock)
            return {Block::kCommand, write.address - command, write.value};
        if (write.address - streaming < kLongestBlock)
            return {Block::kStreaming, write.address - streaming, write.value};
        return {Block::kOther, write.address, write.value};
    }

    Writes Send()
    {
        EXPECT_EQ(Zerix_SendSettingsToCam(handle, &settings), 0u);
        return TakeWrites();
    }

    void Set(uint32_t key, uint32_t value) { tables::SetSlot32(&settings, key, value); }

    ZerixHandle handle = nullptr;
    uint32_t control = 0;
    uint32_t command = 0;
    uint32_t streaming = 0;
    Zerix_Settings settings = {};
};

} // namespace zerix::api

// An open camera of the family with a record of it, what its own registers hold, read over the bus,
// and what a fresh record reads back.
#pragma once

#include <cstdint>
#include <vector>

#include "api/status.h"
#include "camera/tolvane_fw_camera.h"
#include "tests/api/virtual_params_session.h"

namespace zerix::api {

using Values = std::vector<uint32_t>;

struct Field {
    uint32_t offset; // of the word in the control block
    uint32_t lowestBit;
    uint32_t bitCount;
};

class VirtualReadBackSession : public VirtualParamsSession {
protected:
    // As the camera itself has it.
    uint32_t Word(uint32_t offset) const
    {
        const HALCamera camera =
            dynamic_cast<ZX::TolvaneFWCamera *>(CameraOf(handle))->GetHalCamera();
        uint32_t directory[11] = {};
        EXPECT_EQ(HAL_CameraReadData(camera, 0xD0000000, directory, 11), 0u);
        uint32_t word = 0;
        EXPECT_EQ(HAL_CameraReadData(camera, directory[4] + offset, &word, 1), 0u);
        return word;
    }
    uint32_t Read(const Field &field) const
    {
        return static_cast<uint32_t>(uint64_t{Word(field.offset)} >> field.lowestBit &
                                     ((uint64_t{1} << field.bitCount) - 1));
    }

    void Set(uint32_t key, uint32_t value)
    {
        EXPECT_EQ(Zerix_SetParam(&settings, key, value), 0u) << key << ": " << value;
    }

    void Send() { EXPECT_EQ(Zerix_SendSettingsToCam(handle, &settings), 0u); }

    // A region that every camera has at every binning, so that no send mends what is asked for.
    void SetSmallRegion()
    {
        Set(zprmRoiX, 10);
        Set(zprmRoiY, 6);
        Set(zprmRoiWidth, 40);
        Set(zprmRoiHeight, 20);
    }

    // What a fresh record of the camera tells.
    template <typename T>
    T ReadBack(uint32_t key, uint32_t (*get)(const Zerix_Settings *, uint32_t, T *))
    {
        Zerix_Settings fresh = {};
        Zerix_CreateCameraSettingsStruct(&fresh);
        EXPECT_EQ(Zerix_ReadSettingsFromCam(handle, &fresh), 0u);
        T value = 0;
        EXPECT_EQ(get(&fresh, key, &value), 0u);
        Zerix_ReleaseCameraSettingsStruct(&fresh);
        return value;
    }
    uint32_t ReadBack(uint32_t key) { return ReadBack<uint32_t>(key, Zerix_GetParam); }

    uint32_t Model()
    {
        uint32_t model = 0;
        EXPECT_EQ(Zerix_GetInfo(handle, zinfCameraType, &model), 0u);
        return model;
    }
    bool HasWheel() const { return Supports(zprmColorWheel); }
};

} // namespace zerix::api

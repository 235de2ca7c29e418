// A camera whose lists and rules come from its row of the model table. A model that differs from
// others in these alone needs no other class; the classes that models do have derive from it.
#pragma once

#include <cstdint>
#include <vector>

#include "camera/tolvane_fw_camera.h"

namespace zerix::tables {
struct CameraModelRow;
} // namespace zerix::tables

namespace ZX {

class ZERIX_API ModelCamera : public TolvaneFWCamera {
public:
    // The row must outlive the camera.
    ModelCamera(HALCamera camera, const zerix::tables::CameraModelRow &row);

    void GetSymmetricalBinningModes(std::vector<uint16_t> &modes) override;
    const char *GetModelString() override;
    void GetReadoutFrequencyModes(std::vector<float> &modes) override;
    float GetReadoutFrequencyDefault() override;
    void GetTriggerModes(std::vector<uint32_t> &modes) override;
    uint16_t GetTagCode() override;
    uint32_t GetAnalogBoardType() override;

protected:
    // By the row of a model number.
    ModelCamera(HALCamera camera, uint32_t model);

private:
    // The third binning code of this camera is 8 and not 3.
    bool IsEightFoldCapable();

    const zerix::tables::CameraModelRow &modelRow;
};

} // namespace ZX

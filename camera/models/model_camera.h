// A camera whose lists and rules come from its row of the model table. Every model's class derives
// from it.
#pragma once

#include <cstdint>
#include <vector>

#include "camera/tolvane_fw_camera.h"

namespace zerix::models {
struct ModelRow;
} // namespace zerix::models

namespace ZX {

class ZERIX_API ModelCamera : public TolvaneFWCamera {
public:
    void GetSymmetricalBinningModes(std::vector<uint16_t> &modes) override;
    const char *GetModelString() override;
    void GetReadoutFrequencyModes(std::vector<float> &modes) override;
    float GetReadoutFrequencyDefault() override;
    void GetTriggerModes(std::vector<uint32_t> &modes) override;
    uint16_t GetTagCode() override;
    uint32_t GetAnalogBoardType() override;

protected:
    ModelCamera(HALCamera camera, uint32_t model);

private:
    // The third binning code of this camera is 8 and not 3.
    bool IsEightFoldCapable();

    const zerix::models::ModelRow &row;
};

} // namespace ZX

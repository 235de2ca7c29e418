// A camera whose model number this library doesn't know: it works as most do, and says so.
#include "camera/models/models.h"
#include "platform/os.h"
#include "tables/camera_models.h"

namespace ZX {

Unknown::Unknown(HALCamera camera) : ModelCamera(camera, zerix::tables::kUnknownCameraModel) {}

void Unknown::GetSymmetricalBinningModes(std::vector<uint16_t> &modes)
{
    zerix::os::DebugOutput("GetSymmetricalBinningModes() - unkown camera type being used\n");
    ModelCamera::GetSymmetricalBinningModes(modes);
}

uint32_t Unknown::GetAnalogBoardType()
{
    zerix::os::DebugOutput("GetAnalogBoardType() - unkown camera type being used\n");
    return ModelCamera::GetAnalogBoardType();
}

} // namespace ZX

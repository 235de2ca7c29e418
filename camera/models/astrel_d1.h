// The Astrel D1, an OEM camera with a shutter.
#pragma once

#include "camera/models/model_camera.h"

namespace ZX {

class ZERIX_API AstrelD1 final : public ModelCamera {
public:
    explicit AstrelD1(HALCamera camera);

    // Does nothing, and says that it is done.
    uint16_t SetVerticalBinning(uint16_t mode) override;
    // Whatever its capability word says.
    bool IsShutterCloseDelayAvailable() override;
};

} // namespace ZX

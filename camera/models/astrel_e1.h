// The Astrel E1, of which some read their sensor from the far corner.
#pragma once

#include "camera/models/model_camera.h"

namespace ZX {

class ZERIX_API AstrelE1 final : public ModelCamera {
public:
    explicit AstrelE1(HALCamera camera);

    uint32_t GetROIX() override;
    uint32_t GetROIY() override;
    // On a camera that reads from the far corner: 3 for a region without width or height.
    uint16_t SetROI(uint32_t x, uint32_t y, uint32_t width, uint32_t height) override;

private:
    bool ReadsFromFarCorner();
};

} // namespace ZX

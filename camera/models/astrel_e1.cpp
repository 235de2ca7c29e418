// The Astrel E1. Where it reads from the far corner, its registers count the region's place from
// there, and applications from the near one. Single positions, as the set-up writes them, are not
// turned.
#include "camera/models/astrel_e1.h"

namespace ZX {

namespace {

constexpr uint16_t kStreamingFromFarCorner = 2;

} // namespace

AstrelE1::AstrelE1(HALCamera camera) : ModelCamera(camera, 15) {}

bool AstrelE1::ReadsFromFarCorner() { return GetStreamingVersion() == kStreamingFromFarCorner; }

uint32_t AstrelE1::GetROIX()
{
    const uint32_t stored = ModelCamera::GetROIX();
    if (!ReadsFromFarCorner())
        return stored;
    const uint32_t width = GetROIWidth();
    return width == 0 ? 0 : GetCCDWidth() - width - stored;
}

uint32_t AstrelE1::GetROIY()
{
    const uint32_t stored = ModelCamera::GetROIY();
    if (!ReadsFromFarCorner())
        return stored;
    const uint32_t height = GetROIHeight();
    return height == 0 ? 0 : GetCCDHeight() - height - stored;
}

uint16_t AstrelE1::SetROI(uint32_t x, uint32_t y, uint32_t width, uint32_t height)
{
    if (!ReadsFromFarCorner())
        return ModelCamera::SetROI(x, y, width, height);
    if (width == 0 || height == 0)
        return kStatusBadValue;
    return ModelCamera::SetROI(GetCCDWidth() - x - width, GetCCDHeight() - y - height, width,
                               height);
}

} // namespace ZX

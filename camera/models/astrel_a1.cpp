// The Astrel A1: some of them left the works with the sensor of an Astrel B1.
#include "camera/models/models.h"

namespace ZX {

namespace {

constexpr uint16_t kAstrelB1Model = 13;
constexpr uint16_t kMonochromeB1Sensor = 46;
constexpr uint16_t kColourB1Sensor = 53;

} // namespace

AstrelA1::AstrelA1(HALCamera camera) : ModelCamera(camera, 5) {}

uint16_t AstrelA1::ReturnMasqueradedModel()
{
    const uint16_t sensor = GetCCDModel();
    return sensor == kMonochromeB1Sensor || sensor == kColourB1Sensor ? kAstrelB1Model : GetModel();
}

} // namespace ZX

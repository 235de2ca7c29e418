// The model classes without a file of their own.
#include "camera/models/models.h"

namespace ZX {

namespace {

constexpr uint16_t kAstrelB1Model = 13;

} // namespace

AstrelA2::AstrelA2(HALCamera camera) : ModelCamera(camera, 6) {}
SparrowB::SparrowB(HALCamera camera) : ModelCamera(camera, 7) {}
AstrelC1::AstrelC1(HALCamera camera) : ModelCamera(camera, 12) {}
AstrelC2::AstrelC2(HALCamera camera) : ModelCamera(camera, 18) {}
AstrelB2::AstrelB2(HALCamera camera) : ModelCamera(camera, 19) {}
AstrelF1::AstrelF1(HALCamera camera) : ModelCamera(camera, 26) {}
NoctisA2::NoctisA2(HALCamera camera) : ModelCamera(camera, 27) {}
AstrelE2::AstrelE2(HALCamera camera) : ModelCamera(camera, 28) {}
AstrelC3::AstrelC3(HALCamera camera) : ModelCamera(camera, 29) {}
AstrelB3::AstrelB3(HALCamera camera) : ModelCamera(camera, 30) {}
MeridCobalt::MeridCobalt(HALCamera camera) : ModelCamera(camera, 31) {}
MeridTeal::MeridTeal(HALCamera camera) : ModelCamera(camera, 32) {}
AstrelG1::AstrelG1(HALCamera camera) : ModelCamera(camera, 33) {}
AstrelOem1::AstrelOem1(HALCamera camera) : ModelCamera(camera, 1001) {}

SparrowIR::SparrowIR(HALCamera camera) : ModelCamera(camera, 10) {}
bool SparrowIR::IsRGBFilterSupported() { return false; }

NoctisA1::NoctisA1(HALCamera camera) : ModelCamera(camera, 14) {}
bool NoctisA1::IsRGBFilterSupported() { return false; }

AstrelB1::AstrelB1(HALCamera camera) : ModelCamera(camera, kAstrelB1Model) {}
uint16_t AstrelB1::GetModel() { return kAstrelB1Model; }

} // namespace ZX

// The Astrel D1.
#include "camera/models/astrel_d1.h"

namespace ZX {

AstrelD1::AstrelD1(HALCamera camera) : ModelCamera(camera, 16) {}

uint16_t AstrelD1::SetVerticalBinning(uint16_t) { return kStatusOk; }

bool AstrelD1::IsShutterCloseDelayAvailable() { return true; }

} // namespace ZX

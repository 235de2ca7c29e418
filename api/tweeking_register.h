// The factory's word that changes one of the sensor's voltages.
#pragma once

#include <cstdint>

#include "camera/z_camera.h"

namespace zerix::api {

// Carries out a packed word: the register in its top 4 bits, the value in its low 16. Nothing on a
// camera without such registers, nor for a number that is none.
void ApplyTweekingRegister(ZX::ZCamera &camera, uint32_t word);

} // namespace zerix::api

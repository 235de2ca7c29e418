// The scenes by name, each in a file of its own. Pure functions but for pictures, which read a
// file.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "sim/scene.h"

namespace zerix::sim {

std::shared_ptr<const Scene> MakeCells(uint64_t seed);
std::shared_ptr<const Scene> MakeStars(uint64_t seed);
std::shared_ptr<const Scene> MakeResolutionChart();
std::shared_ptr<const Scene> MakeColourChart();
std::shared_ptr<const Scene> MakeGradient();
std::shared_ptr<const Scene> MakeFlat(float photons);
std::shared_ptr<const Scene> MakePosition();
std::shared_ptr<const Scene> MakePositions();

// Null, and a sentence, if the file can't be read.
std::shared_ptr<const Scene> MakePicture(const std::string &file, std::string *error);

} // namespace zerix::sim

// The table of scenes, and how a scene's text becomes a scene. Safe from any thread.
#include "sim/scene.h"

#include <charconv>
#include <system_error>

#include "sim/random.h"
#include "sim/scene_makers.h"

namespace zerix::sim {
namespace {

// White light, photons a second and square micrometre: half of a usual sensor's well at 16 ms.
constexpr float kUsualFlat = 30000.0F;

// What stands behind the colon of a scene's text, and what everything random comes from.
struct Request {
    std::string_view argument;
    uint64_t seed;
    std::string *error;
};

using MakeFunction = std::shared_ptr<const Scene> (*)(const Request &request);

enum class Argument : uint8_t { kNone, kOptional, kNeeded };

struct SceneRow {
    SceneDescription description;
    Argument argument;
    MakeFunction make;
};

std::shared_ptr<const Scene> Cells(const Request &request) { return MakeCells(request.seed); }
std::shared_ptr<const Scene> Stars(const Request &request) { return MakeStars(request.seed); }
std::shared_ptr<const Scene> ResolutionChart(const Request &) { return MakeResolutionChart(); }
std::shared_ptr<const Scene> ColourChart(const Request &) { return MakeColourChart(); }
std::shared_ptr<const Scene> Gradient(const Request &) { return MakeGradient(); }
std::shared_ptr<const Scene> Position(const Request &) { return MakePosition(); }
std::shared_ptr<const Scene> Positions(const Request &) { return MakePositions(); }

std::shared_ptr<const Scene> Flat(const Request &request)
{
    float photons = kUsualFlat;
    if (!request.argument.empty()) {
        const char *end = request.argument.data() + request.argument.size();
        const auto parsed = std::from_chars(request.argument.data(), end, photons);
        if (parsed.ec != std::errc() || parsed.ptr != end ||
            !(photons >= 0.0F && photons <= 1e12F)) {
            *request.error = "scene \"flat:" + std::string(request.argument) +
                             "\": expected photons a second and square micrometre, from 0 to 1e12, "
                             "behind the colon.";
            return nullptr;
        }
    }
    return MakeFlat(photons);
}

std::shared_ptr<const Scene> Picture(const Request &request)
{
    return MakePicture(std::string(request.argument), request.error);
}

constexpr SceneRow kScenes[] = {
    {{"cells", "cells",
      "Fluorescent cells under a microscope: nuclei and cytoplasm on a dim background."},
     Argument::kNone,
     Cells},
    {{"stars", "stars", "A star field with a faint galaxy."}, Argument::kNone, Stars},
    {{"resolution-chart", "resolution-chart",
      "Groups of three bars, a star of 36 spokes and a grey wedge."},
     Argument::kNone,
     ResolutionChart},
    {{"colour-chart", "colour-chart", "24 patches of colour and grey."},
     Argument::kNone,
     ColourChart},
    {{"gradient", "gradient",
      "White light that grows from left to right, below it the same in 16 steps."},
     Argument::kNone,
     Gradient},
    {{"flat", "flat[:PHOTONS]", "Even white light, in photons a second and square micrometre."},
     Argument::kOptional,
     Flat},
    {{"picture", "picture:FILE", "A PNG, PGM or PPM file, that fills the sensor."},
     Argument::kNeeded,
     Picture},
    {{"position", "position",
      "A test pattern in counts: column + 61 * row, cut to the converter's depth."},
     Argument::kNone,
     Position},
    {{"positions", "positions",
      "A test pattern in levels: like position, but bins mix their pixels and filters differ."},
     Argument::kNone,
     Positions},
};

std::string KnownUsages()
{
    std::string usages;
    for (const SceneRow &row : kScenes)
        usages += (usages.empty() ? "" : ", ") + std::string(row.description.usage);
    return usages;
}

bool Fits(const SceneRow &row, bool hasColon, std::string_view argument)
{
    switch (row.argument) {
    case Argument::kNone:
        return !hasColon;
    case Argument::kOptional:
        return !hasColon || !argument.empty();
    case Argument::kNeeded:
        return !argument.empty();
    }
    return false;
}

} // namespace

const std::vector<SceneDescription> &KnownScenes()
{
    static const std::vector<SceneDescription> scenes = [] {
        std::vector<SceneDescription> all;
        for (const SceneRow &row : kScenes)
            all.push_back(row.description);
        return all;
    }();
    return scenes;
}

std::shared_ptr<const Scene> MakeScene(std::string_view text, uint64_t seed, std::string *error)
{
    std::string ignored;
    if (error == nullptr)
        error = &ignored;
    const size_t colon = text.find(':');
    const bool hasColon = colon != std::string_view::npos;
    const std::string_view name = text.substr(0, colon);
    const std::string_view argument = hasColon ? text.substr(colon + 1) : std::string_view();
    for (const SceneRow &row : kScenes) {
        if (row.description.name == name && Fits(row, hasColon, argument)) {
            return row.make({.argument = argument, .seed = DeriveKey(seed, name), .error = error});
        }
    }
    *error =
        "scene \"" + std::string(text) + "\" is unknown; the scenes are " + KnownUsages() + ".";
    return nullptr;
}

} // namespace zerix::sim

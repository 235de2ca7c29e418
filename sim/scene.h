// What a virtual camera looks at. A scene is a picture in the plane of the sensor, without limits
// of resolution; a sensor samples it at its pixels.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zerix::sim {

// Light in photons a second and square micrometre, for the red, green and blue of the spectrum.
struct Light {
    float red;
    float green;
    float blue;
};

class Scene {
public:
    virtual ~Scene() = default;

    // Samples `width` x `height` pixels, row by row, of a sensor with that many columns and rows of
    // the given pitch.
    virtual void Sample(uint32_t width, uint32_t height, float pitchMicrometres,
                        std::vector<Light> &light) const = 0;

    // A scene in counts stands for the test generator of the converter: its pixels are Count() as
    // it is, cut to the converter's depth, whatever exposure, gain and offset are, and without
    // noise.
    [[nodiscard]] virtual bool IsInCounts() const { return false; }
    [[nodiscard]] virtual uint32_t Count(uint32_t /*column*/, uint32_t /*row*/) const { return 0; }

    // A scene in levels is another test generator: its pixels are Level(), from 0 to 65535 and the
    // same for every depth, behind a filter of the wheel (0, 1, 3, black 2; 0xFF none). A bin has
    // the mean of its pixels, rounded down; the converter takes the top bits.
    [[nodiscard]] virtual bool IsInLevels() const { return false; }
    [[nodiscard]] virtual uint32_t Level(uint32_t /*column*/, uint32_t /*row*/,
                                         uint8_t /*filterColour*/) const
    {
        return 0;
    }
};

struct SceneDescription {
    std::string_view name;    // "cells"
    std::string_view usage;   // "cells", "flat[:PHOTONS]", "picture:FILE"
    std::string_view meaning; // one sentence
};
const std::vector<SceneDescription> &KnownScenes();

// Makes a scene from its text, with everything random in it drawn from the seed. Null, and one
// sentence that lists the known scenes, if the text names none or its file can't be read.
std::shared_ptr<const Scene> MakeScene(std::string_view text, uint64_t seed, std::string *error);

} // namespace zerix::sim

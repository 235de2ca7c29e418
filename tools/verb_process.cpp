// zerix process: pictures that were kept raw, to finished colour pictures. Needs no camera.
#include <fmt/format.h>

#include "tools/command_error.h"
#include "tools/kept_pictures.h"
#include "tools/numbered_file.h"
#include "tools/picture_file.h"
#include "tools/verbs.h"

namespace zerix::tool {

namespace {

std::vector<KeptPicture> Read(const std::string &file)
{
    std::string error;
    auto pictures = ReadPictures(file, &error);
    if (pictures.empty())
        throw CommandError(error);
    return pictures;
}

// The n-th exposures of the three files are the n-th picture.
std::vector<KeptPicture> ReadWheel(const std::vector<std::string> &files)
{
    std::vector<std::vector<KeptPicture>> exposures;
    exposures.reserve(files.size());
    for (const std::string &file : files) {
        exposures.push_back(Read(file));
        if (exposures.back().size() != exposures.front().size())
            throw CommandError(fmt::format(
                "{} has {} pictures, {} has {}: each exposure of a filter "
                "wheel needs its other two.",
                files.front(), exposures.front().size(), file, exposures.back().size()));
    }
    std::vector<KeptPicture> pictures;
    for (size_t i = 0; i < exposures.front().size(); ++i) {
        std::vector<KeptPicture> cycle;
        cycle.reserve(exposures.size());
        for (std::vector<KeptPicture> &ofOneColour : exposures)
            cycle.push_back(std::move(ofOneColour[i]));
        pictures.push_back(Composed(cycle));
    }
    return pictures;
}

// What is colour already is only balanced.
KeptPicture InColour(KeptPicture kept, const std::string &file, uint16_t algorithm)
{
    if (kept.picture.samplesPerPixel == 3)
        return kept;
    if (kept.picture.bayerPattern.empty())
        throw CommandError(fmt::format("{} has no colours: it is a monochrome picture. For the "
                                       "three exposures of a filter wheel give three files: "
                                       "red, green, blue.",
                                       file));
    return Interpolated(kept, algorithm);
}

} // namespace

void Process(const ProcessOptions &process)
{
    CheckPictureFile(process.output);
    const uint16_t algorithm = BayerAlgorithmOf(process.method);
    const auto gains = ParseGains(process.gains);
    std::vector<KeptPicture> pictures;
    if (process.inputs.size() == 3)
        pictures = ReadWheel(process.inputs);
    else if (process.inputs.size() == 1)
        pictures = Read(process.inputs.front());
    else
        throw CommandError("give one file, or the red, green and blue exposures of a filter wheel "
                           "as three.");
    for (size_t i = 0; i < pictures.size(); ++i) {
        KeptPicture colour = InColour(std::move(pictures[i]), process.inputs.front(), algorithm);
        if (gains != std::array{1.0F, 1.0F, 1.0F})
            Balance(colour, gains);
        colour.picture.pixels = colour.samples;
        const auto number = static_cast<uint32_t>(i);
        FinishPicture(NumberedFile(process.output, number, pictures.size()), number + 1,
                      colour.picture);
    }
}

} // namespace zerix::tool

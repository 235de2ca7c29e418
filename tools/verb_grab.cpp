// zerix grab: pictures at the camera's present settings, one file each.
#include <array>
#include <filesystem>
#include <vector>

#include <fmt/format.h>

#include "tools/command_error.h"
#include "tools/frame_credit.h"
#include "tools/progress.h"
#include "tools/verbs.h"
#include "tools/writers/picture.h"
#include "tools/writers/statistics.h"

namespace zerix::tool {

namespace {

// FILE for one picture; STEM-0001.ENDING and so on for several.
std::string FileOf(const GrabOptions &grab, uint32_t index)
{
    if (grab.count == 1)
        return grab.file;
    const std::filesystem::path path(grab.file);
    const auto name =
        fmt::format("{}-{:04}{}", path.stem().string(), index + 1, path.extension().string());
    return (path.parent_path() / name).string();
}

struct CameraFacts {
    std::string model;
    std::string serial;
    ZerixLegacySettings settings;
    bool hasRegulatedCooling;
};

CameraFacts FactsOf(const OpenCamera &camera)
{
    return {.model = camera.Model(),
            .serial = camera.Serial(),
            .settings = camera.ReadSettings(),
            .hasRegulatedCooling = camera.Info(zinfRegulatedCooling).value_or(0) == 1};
}

Picture PictureOf(const Zerix_Frame &frame, const CameraFacts &facts, uint64_t startOfExposure)
{
    static constexpr std::array kPatterns = {"RGGB", "GRBG", "GBRG", "BGGR"};
    const auto &values = facts.settings.values;
    const size_t samples = size_t{frame.width} * frame.height;
    Picture picture;
    picture.pixels = {static_cast<const uint8_t *>(frame.pBuffer), frame.size};
    picture.width = frame.width;
    picture.height = frame.height;
    picture.bytesPerSample = samples != 0 && frame.size >= 2 * samples ? 2 : 1;
    picture.significantBits = frame.bitDepth;
    const bool isBayer = frame.format == zfmtBayer8 || frame.format == zfmtBayer16;
    if (isBayer && frame.bayerPattern < kPatterns.size())
        picture.bayerPattern = kPatterns[frame.bayerPattern];
    picture.cameraModel = facts.model;
    picture.serialNumber = facts.serial;
    picture.exposureNanoseconds = facts.settings.values64[zprm64Exposure];
    picture.gain = values[zprmNormalizedGain] / 1e6;
    picture.horizontalBinning = values[zprmHorizontalBinning];
    picture.verticalBinning = values[zprmVerticalBinning];
    if (facts.hasRegulatedCooling && values[zprmCoolerActive] != 0)
        picture.setTemperatureCelsius = facts.settings.valuesS32[zprmS32RegulatedCoolingTemp];
    picture.unixNanoseconds = startOfExposure;
    picture.frameNumber = frame.frameNumber;
    picture.hasMissingData = frame.errorCode == ZERIX_ERROR_DATA_MISSING;
    return picture;
}

} // namespace

void Grab(const CommonOptions &options, const GrabOptions &grab)
{
    // A file that can't be written is found before anything is exposed.
    std::string error;
    if (FormatOfFile(grab.file, &error) == nullptr)
        throw CommandError(error);
    const auto folder = std::filesystem::path(grab.file).parent_path();
    if (!folder.empty() && !std::filesystem::is_directory(folder))
        throw CommandError(
            fmt::format("{} can't be written: there is no folder {}.", grab.file, folder.string()));

    const Session session(options);
    const OpenCamera camera(session.Chosen());
    const CameraFacts facts = FactsOf(camera);
    std::vector<uint8_t> buffer(camera.Info(zinfImageSize).value_or(0));
    FrameCredit credit(session.IsSimulated(), camera.Item().uniqueId);
    Progress progress("taking picture", grab.count);

    for (uint32_t i = 0; i < grab.count; ++i) {
        progress.Advance(i);
        Zerix_Frame frame{};
        frame.pBuffer = buffer.data();
        frame.bufferSize = static_cast<uint32_t>(buffer.size());
        const uint32_t result =
            credit.WhileGranted([&] { return Zerix_GrabFrame(camera.Handle(), &frame); });
        if (result != ZERIX_SUCCESS)
            Fail("the picture can't be taken", result);
        const uint64_t start =
            credit.StartOfExposure(frame.frameNumber, facts.settings.values64[zprm64Exposure]);
        const Picture picture = PictureOf(frame, facts, start);
        if (picture.hasMissingData)
            fmt::print(stderr, "zerix: warning: data of picture {} is missing and is black.\n",
                       i + 1);
        const std::string file = FileOf(grab, i);
        error = WritePicture(file, picture);
        if (!error.empty())
            throw CommandError(error);
        fmt::print("{}: {}\n", file, SummaryOf(picture));
    }
}

} // namespace zerix::tool

// From a frame of the library to a picture.
#include "tools/taken_pictures.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "tools/command_error.h"
#include "tools/wait_limit.h"
#include "tools/writers/samples.h"

namespace zerix::tool {

uint32_t ExposuresPerPicture(const ZerixLegacySettings &settings)
{
    // A mosaic's pictures become colour after the exposure: their format is never one of colour.
    return Zerix_is3Color(settings.values[zprmImageFormat]) == 1 ? 3 : 1;
}

namespace {

bool IsWrittenInColour(uint32_t format) { return format == zfmtRgb24 || format == zfmtRgb48; }

// The format in which pictures come: a mosaic's becomes that of the post-processing.
void CheckFormat(const ZerixLegacySettings &settings)
{
    const auto &values = settings.values;
    uint32_t format = values[zprmImageFormat];
    if (values[zprmDoPostProcessing] != 0 && Zerix_isBayer(format) == 1)
        format = values[zprmPostProcessImageFormat];
    if (Zerix_is3Color(format) == 1 && !IsWrittenInColour(format))
        throw CommandError("of the formats with three colours a pixel only rgb24 and rgb48 can be "
                           "written: choose one of them, or a raw, mono or bayer format.");
}

} // namespace

TakenPictures::TakenPictures(const Session &session, const OpenCamera &camera)
    : m_camera(camera), m_model(camera.Model()), m_serial(camera.Serial()),
      m_settings(camera.ReadSettings()),
      m_hasRegulatedCooling(camera.Info(zinfRegulatedCooling).value_or(0) == 1),
      m_buffer(std::max(camera.Info(zinfImageSize).value_or(0),
                        camera.Info(zinfPostProcessImageSize).value_or(0))),
      m_exposuresPerPicture(ExposuresPerPicture(m_settings)),
      m_credit(session.IsSimulated(), camera.Item().uniqueId)
{
    CheckFormat(m_settings);
}

Picture TakenPictures::Take(double waitSeconds)
{
    Zerix_Frame frame{};
    frame.pBuffer = m_buffer.data();
    frame.bufferSize = static_cast<uint32_t>(m_buffer.size());
    const double longest = LongestWait(waitSeconds);
    WaitLimit limit(m_camera.Handle(), longest);
    const uint32_t result = m_credit.WhileGranted(
        [&] { return Zerix_GrabFrame(m_camera.Handle(), &frame); }, m_exposuresPerPicture);
    if (limit.Finish() && result != ZERIX_SUCCESS)
        throw CommandError(NoPictureWithin(longest));
    if (result != ZERIX_SUCCESS)
        Fail("the picture can't be taken", result);
    return PictureOf(frame);
}

double TakenPictures::LongestWait(double waitSeconds) const
{
    const auto &exposures = m_settings.values64;
    const auto nanoseconds = static_cast<double>(exposures[zprm64Exposure]) +
                             static_cast<double>(exposures[zprm64ExposureRed]) +
                             static_cast<double>(exposures[zprm64ExposureBlue]);
    return waitSeconds > 0 ? waitSeconds : 60 + nanoseconds / 1e9;
}

std::string NoPictureWithin(double seconds)
{
    return fmt::format("no picture came within {:.3g} s: a camera with a hardware trigger waits "
                       "for its pulse (--set trigger=free takes pictures without one, --wait TIME "
                       "waits longer); otherwise check the cable.",
                       seconds);
}

Picture TakenPictures::PictureOf(const Zerix_Frame &frame) const
{
    static constexpr std::array kPatterns = {"RGGB", "GRBG", "GBRG", "BGGR"};
    const bool isColour = IsWrittenInColour(frame.format);
    const auto &values = m_settings.values;
    Picture picture;
    picture.samplesPerPixel = isColour ? 3 : 1;
    const size_t samples = size_t{frame.width} * frame.height * picture.samplesPerPixel;
    const std::span<uint8_t> pixels(static_cast<uint8_t *>(frame.pBuffer), frame.size);
    if (frame.format == zfmtRgb48)
        LimitSamples(pixels, frame.bitDepth);
    picture.pixels = pixels;
    picture.width = frame.width;
    picture.height = frame.height;
    picture.bytesPerSample = samples != 0 && frame.size >= 2 * samples ? 2 : 1;
    picture.significantBits = frame.bitDepth;
    const bool isBayer = frame.format == zfmtBayer8 || frame.format == zfmtBayer16;
    if (isBayer && frame.bayerPattern < kPatterns.size())
        picture.bayerPattern = kPatterns[frame.bayerPattern];
    picture.cameraModel = m_model;
    picture.serialNumber = m_serial;
    picture.exposureNanoseconds = m_settings.values64[zprm64Exposure];
    picture.gain = values[zprmNormalizedGain] / 1e6;
    picture.horizontalBinning = values[zprmHorizontalBinning];
    picture.verticalBinning = values[zprmVerticalBinning];
    if (m_hasRegulatedCooling && values[zprmCoolerActive] != 0)
        picture.setTemperatureCelsius = m_settings.valuesS32[zprmS32RegulatedCoolingTemp];
    picture.unixNanoseconds =
        m_credit.StartOfExposure(frame.frameNumber, m_settings.values64[zprm64Exposure]);
    picture.frameNumber = frame.frameNumber;
    picture.hasMissingData = frame.errorCode == ZERIX_ERROR_DATA_MISSING;
    return picture;
}

} // namespace zerix::tool

// From a frame of the library to a picture.
#include "tools/taken_pictures.h"

#include <array>

#include "tools/command_error.h"

namespace zerix::tool {

TakenPictures::TakenPictures(const Session &session, const OpenCamera &camera)
    : m_camera(camera), m_model(camera.Model()), m_serial(camera.Serial()),
      m_settings(camera.ReadSettings()),
      m_hasRegulatedCooling(camera.Info(zinfRegulatedCooling).value_or(0) == 1),
      m_buffer(camera.Info(zinfImageSize).value_or(0)),
      m_credit(session.IsSimulated(), camera.Item().uniqueId)
{
}

Picture TakenPictures::Take()
{
    Zerix_Frame frame{};
    frame.pBuffer = m_buffer.data();
    frame.bufferSize = static_cast<uint32_t>(m_buffer.size());
    const uint32_t result =
        m_credit.WhileGranted([&] { return Zerix_GrabFrame(m_camera.Handle(), &frame); });
    if (result != ZERIX_SUCCESS)
        Fail("the picture can't be taken", result);
    return PictureOf(frame);
}

Picture TakenPictures::PictureOf(const Zerix_Frame &frame) const
{
    static constexpr std::array kPatterns = {"RGGB", "GRBG", "GBRG", "BGGR"};
    const auto &values = m_settings.values;
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

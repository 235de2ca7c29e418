// The measurement of the white balance: the world is grey, so the means of its colours are equal.
#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include "camera/z_camera.h"
#include "image/image_statistics.h"
#include "image/z_auto_white_balance.h"
#include "image/z_ex_image.h"
#include "image/z_image_pipeline.h"

namespace ZX {

namespace {

constexpr uint32_t kPasses = 6;
constexpr float kLargestScale = 65535.0f; // every level above 0 saturates

// A mean that is too near to either end of the range tells little: neither may be reached.
constexpr uint32_t kTooDark8 = 79;
constexpr uint32_t kTooBright8 = 200;
constexpr uint32_t kTooDark16 = 20559;
constexpr uint32_t kTooBright16 = 51401;

// A channel without light can't be scaled to any mean, and none to that of a black green.
float Defined(float scale)
{
    if (std::isnan(scale))
        return 0.0f;
    return std::min(scale, kLargestScale);
}

uint64_t Scaled(uint64_t exposure, float scale)
{
    constexpr double kTooLarge = 18446744073709551616.0; // 2 to the 64
    const double scaled = static_cast<double>(exposure) * static_cast<double>(scale);
    return scaled < kTooLarge ? static_cast<uint64_t>(scaled)
                              : std::numeric_limits<uint64_t>::max();
}

} // namespace

int16_t ZAutoWhiteBalance::Preprocess(uint32_t x, uint32_t y, uint32_t width, uint32_t height,
                                      ZCamera *camera)
{
    for (uint32_t pass = 0; pass < kPasses; ++pass) {
        bool isInRange = false;
        if (const int16_t status = RunPass(*camera, x, y, width, height, isInRange))
            return status;
        if (isInRange)
            break;
    }
    return kFilterOk;
}

int16_t ZAutoWhiteBalance::RunPass(ZCamera &camera, uint32_t x, uint32_t y, uint32_t &width,
                                   uint32_t &height, bool &isInRange)
{
    ZExImage *taken = nullptr;
    const uint16_t cameraStatus = camera.GetOneImage(&taken);
    const std::unique_ptr<ZExImage> image(taken);
    if (cameraStatus != kStatusOk)
        return static_cast<int16_t>(cameraStatus);
    if (image == nullptr)
        return kStatusNoImage;
    bool isDone = false;
    const int16_t bayerStatus = camera.GetBayerPipeline()->ProcessImage(image.get(), &isDone);
    if (bayerStatus != kFilterOk && bayerStatus != kFilterNothingToDo)
        return bayerStatus;
    width = std::min(width, image->GetWidth());
    height = std::min(height, image->GetHeight());
    if (const int16_t status = ZImageColourStatistics(
            image->GetImageData(), image->GetWidth(), image->GetHeight(), image->GetImageFormat(),
            x, y, width, height, kStatisticsMean, &m_meanRed, &m_meanGreen, &m_meanBlue))
        return status;
    TakeScales();
    if (camera.GetImageFormat() == kCameraImageWheel)
        ScaleExposures(camera);
    isInRange = image->GetBitDepth() == 8 ? AreMeansWithin(kTooDark8, kTooBright8)
                                          : AreMeansWithin(kTooDark16, kTooBright16);
    return kFilterOk;
}

// A wholly black image tells nothing: the scales stay.
void ZAutoWhiteBalance::TakeScales()
{
    if (m_meanRed == 0 && m_meanGreen == 0 && m_meanBlue == 0)
        return;
    const auto red = static_cast<float>(m_meanRed);
    const auto green = static_cast<float>(m_meanGreen);
    const auto blue = static_cast<float>(m_meanBlue);
    const float average = (red + green + blue) / 3.0f;
    const float toGreen = 1.0f / (average / green);
    SetRedScale(Defined(average / red * toGreen));
    SetGreenScale(1.0f);
    SetBlueScale(Defined(average / blue * toGreen));
}

// Green's exposure is the camera's own.
void ZAutoWhiteBalance::ScaleExposures(ZCamera &camera) const
{
    const zerix::StreamHold stream(camera.Stream());
    const uint64_t red = Scaled(camera.GetRGBFilterRedExposure(), GetRedScale());
    const uint64_t green = Scaled(camera.GetExposure(), GetGreenScale());
    const uint64_t blue = Scaled(camera.GetRGBFilterBlueExposure(), GetBlueScale());
    camera.SetRGBFilterRedExposure(red);
    camera.SetExposure(green);
    camera.SetRGBFilterBlueExposure(blue);
    camera.UpdateSettingsOnCamera();
}

bool ZAutoWhiteBalance::AreMeansWithin(uint32_t lowest, uint32_t highest) const
{
    const auto isWithin = [=](uint32_t mean) { return mean > lowest && mean < highest; };
    return isWithin(m_meanRed) && isWithin(m_meanGreen) && isWithin(m_meanBlue);
}

} // namespace ZX

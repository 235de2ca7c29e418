// The exposure filter: the step from one image to the next exposure, and the search.
#include "image/z_auto_exposure.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include "camera/z_camera.h"
#include "image/image_input.h"
#include "image/image_statistics.h"
#include "image/z_bayer_interpolation.h"
#include "image/z_ex_image.h"
#include "image/z_image_pipeline.h"

namespace ZX {

namespace {

constexpr uint16_t kSearchDepth = 8; // bits
constexpr uint32_t kPasses = 10;
constexpr float kSettledChange = 0.1f; // of the exposure before
constexpr uint64_t kMonoTarget = 250;
constexpr float kColourTarget = 0.98f; // of the range

// What counts as clipped, far too dark and too dark. Only images of 8 bits can be judged; any other
// counts as clipped.
struct Thresholds {
    uint32_t clipped = 0;
    uint32_t farTooDark = 0;
    uint32_t tooDark = 0;
};

Thresholds ThresholdsOf(uint32_t bitDepth)
{
    if (bitDepth != kSearchDepth)
        return {};
    return {.clipped = 255, .farTooDark = 50, .tooDark = 100};
}

constexpr uint64_t kLongest = std::numeric_limits<uint64_t>::max();

uint64_t Times(uint64_t exposure, uint64_t factor)
{
    return exposure > kLongest / factor ? kLongest : exposure * factor;
}

uint64_t Truncated(double value)
{
    constexpr double kTooLarge = 18446744073709551616.0; // 2 to the 64
    if (!(value > 0.0))
        return 0;
    return value >= kTooLarge ? kLongest : static_cast<uint64_t>(value);
}

uint64_t StepFromMono(uint64_t exposure, const Thresholds &limits, uint32_t maximum)
{
    if (maximum >= limits.clipped)
        return exposure / 4;
    if (maximum <= limits.farTooDark)
        return Times(exposure, 4);
    if (maximum <= limits.tooDark)
        return Times(exposure, 2);
    return Times(exposure, kMonoTarget) / maximum;
}

uint64_t StepFromColour(uint64_t exposure, uint32_t bitDepth, uint32_t red, uint32_t green,
                        uint32_t blue)
{
    const Thresholds limits = ThresholdsOf(bitDepth);
    const uint32_t brightest = std::max({red, green, blue});
    if (brightest >= limits.clipped)
        return exposure / 4;
    if (brightest <= limits.farTooDark)
        return Times(exposure, 4);
    if (brightest <= limits.tooDark)
        return Times(exposure, 2);
    const auto range = static_cast<uint32_t>(std::ldexp(1.0f, static_cast<int>(bitDepth)));
    const double wanted =
        static_cast<double>(exposure) * range * static_cast<double>(kColourTarget);
    return std::min({Truncated(wanted / green), Truncated(wanted / red), Truncated(wanted / blue)});
}

// Where the limits contradict each other the maximum goes first.
uint64_t Clamped(ZCamera &camera, uint64_t exposure)
{
    const uint64_t longest = camera.GetMaxExposure();
    if (exposure > longest)
        return longest;
    const uint64_t shortest = camera.GetMinExposure();
    return exposure <= shortest ? shortest : exposure;
}

// Filters' exposures never fall below none.
uint64_t Moved(uint64_t exposure, double change)
{
    if (change < 0.0) {
        const uint64_t less = Truncated(std::round(-change));
        return less < exposure ? exposure - less : 0;
    }
    const uint64_t more = Truncated(std::round(change));
    return more > kLongest - exposure ? kLongest : exposure + more;
}

// The wheel of a camera that cycles, stopped at green while the search runs.
class StoppedWheel {
public:
    explicit StoppedWheel(ZCamera &camera) : m_camera(camera)
    {
        if (!camera.GetRGBFilterCycleMode())
            return;
        m_wasTurning = true;
        m_redExposure = camera.GetRGBFilterRedExposure();
        m_blueExposure = camera.GetRGBFilterBlueExposure();
        m_startColour = camera.GetRGBFilterStartColour();
        const zerix::StreamHold stream(camera.Stream());
        camera.SetRGBFilterStartColour(kWheelGreen);
        camera.SetRGBFilterCycle(false);
        camera.UpdateSettingsOnCamera();
    }

    // Moves the other two exposures by what the last pass moved green's.
    void TurnAgain(double change)
    {
        if (!m_wasTurning)
            return;
        m_camera.SetRGBFilterRedExposure(Moved(m_redExposure, change));
        m_camera.SetRGBFilterBlueExposure(Moved(m_blueExposure, change));
        m_camera.SetRGBFilterStartColour(m_startColour);
        m_camera.SetRGBFilterCycle(true);
    }

private:
    ZCamera &m_camera;
    bool m_wasTurning = false;
    uint64_t m_redExposure = 0; // nanoseconds
    uint64_t m_blueExposure = 0;
    uint16_t m_startColour = 0;
};

// With its commit before another thread's settings can be in it.
void SetDepth(ZCamera &camera, uint16_t depth)
{
    const zerix::StreamHold stream(camera.Stream());
    camera.SetBitDepth(depth);
    camera.UpdateSettingsOnCamera();
}

// The search's mosaics are of bytes. A Bayer filter that makes words of three colours would take
// every two of them for one, and all of it for clipped; while the search runs it makes bytes.
class BayerOfBytes {
public:
    explicit BayerOfBytes(ZCamera &camera)
        : m_filter(*camera.GetBayerFilter()), m_format(m_filter.GetOutputFormat())
    {
        if (m_format == kFormatRgb48)
            m_filter.SetOutputFormat(kFormatRgb24);
    }
    ~BayerOfBytes() { m_filter.SetOutputFormat(m_format); }
    BayerOfBytes(const BayerOfBytes &) = delete;
    BayerOfBytes &operator=(const BayerOfBytes &) = delete;

private:
    ZBayerInterpolation &m_filter;
    const uint32_t m_format;
};

constexpr bool IsPassable(int16_t status)
{
    return status == kFilterOk || status == kFilterNothingToDo;
}

} // namespace

ZAutoExposure::ZAutoExposure(bool calculateOnAllFrames)
    : m_calculateOnAllFrames(calculateOnAllFrames)
{
}

int16_t ZAutoExposure::Init(uint32_t width, uint32_t height)
{
    m_regionX = 0;
    m_regionY = 0;
    m_regionWidth = width;
    m_regionHeight = height;
    return kFilterOk;
}

int16_t ZAutoExposure::SetOutputFormat(uint32_t) { return kFilterOk; }

int16_t ZAutoExposure::Process(ZInImageBufferStruct *in, ZOutImageBufferStruct *)
{
    if (!m_calculateOnAllFrames || in->camera == nullptr)
        return kFilterNothingToDo;
    if (IsColourFormat(in->imageFormat)) {
        uint32_t red = 0;
        uint32_t green = 0;
        uint32_t blue = 0;
        if (const int16_t status = ZImageColourStatistics(
                in->pBuffer, in->width, in->height, in->imageFormat, m_regionX, m_regionY,
                m_regionWidth, m_regionHeight, kStatisticsMaximum, &red, &green, &blue))
            return status;
        AutoExposeRGB(in->camera, in->bitDepth, red, green, blue);
    } else {
        uint32_t maximum = 0;
        if (const int16_t status = ZImageMonoStatistics(
                in->pBuffer, in->width, in->height, in->imageFormat, m_regionX, m_regionY,
                m_regionWidth, m_regionHeight, kStatisticsMaximum, &maximum))
            return status;
        AutoExposeMono(in->camera, in->bitDepth, maximum);
    }
    return kFilterNothingToDo;
}

// A black image counts as one of 1.
int16_t ZAutoExposure::AutoExposeRGB(ZCamera *camera, uint32_t bitDepth, uint32_t redMaximum,
                                     uint32_t greenMaximum, uint32_t blueMaximum)
{
    const uint64_t exposure =
        StepFromColour(camera->GetExposure(), bitDepth, std::max(redMaximum, 1u),
                       std::max(greenMaximum, 1u), std::max(blueMaximum, 1u));
    const zerix::StreamHold stream(camera->Stream());
    camera->SetExposure(Clamped(*camera, exposure));
    camera->UpdateSettingsOnCamera();
    return kFilterOk;
}

int16_t ZAutoExposure::AutoExposeMono(ZCamera *camera, uint32_t bitDepth, uint32_t maximum)
{
    const uint64_t exposure =
        Clamped(*camera,
                StepFromMono(camera->GetExposure(), ThresholdsOf(bitDepth), std::max(maximum, 1u)));
    const zerix::StreamHold stream(camera->Stream());
    camera->SetExposure(exposure);
    camera->SetRGBFilterRedExposure(exposure);
    camera->SetRGBFilterBlueExposure(exposure);
    camera->UpdateSettingsOnCamera();
    return kFilterOk;
}

int16_t ZAutoExposure::CalculateExposure(uint32_t x, uint32_t y, uint32_t width, uint32_t height,
                                         ZCamera *camera)
{
    const bool wasOnAllFrames = m_calculateOnAllFrames;
    m_calculateOnAllFrames = true;
    const uint16_t depth = camera->GetBitDepth();
    SetDepth(*camera, kSearchDepth);
    StoppedWheel wheel(*camera);
    const BayerOfBytes bayer(*camera);
    m_regionX = x;
    m_regionY = y;
    m_regionWidth = width;
    m_regionHeight = height;
    m_isStopped = false;
    double lastChange = 0.0;
    if (const int16_t status = Search(*camera, lastChange))
        return status;
    const zerix::StreamHold stream(camera->Stream());
    camera->SetBitDepth(depth);
    wheel.TurnAgain(lastChange);
    camera->UpdateSettingsOnCamera();
    m_calculateOnAllFrames = wasOnAllFrames;
    return kFilterOk;
}

int16_t ZAutoExposure::Search(ZCamera &camera, double &lastChange)
{
    for (uint32_t pass = 0; pass < kPasses; ++pass) {
        const auto before = static_cast<double>(camera.GetExposure());
        if (const int16_t status = RunPass(camera))
            return status;
        lastChange = static_cast<double>(camera.GetExposure()) - before;
        if (std::fabs(lastChange) <= before * static_cast<double>(kSettledChange) || m_isStopped)
            break;
    }
    return kFilterOk;
}

int16_t ZAutoExposure::RunPass(ZCamera &camera)
{
    ZExImage *taken = nullptr;
    const uint16_t cameraStatus = camera.GetOneImage(&taken);
    const std::unique_ptr<ZExImage> image(taken);
    if (cameraStatus != kStatusOk)
        return static_cast<int16_t>(cameraStatus);
    return image == nullptr ? int16_t{kStatusNoImage} : Measure(camera, *image);
}

int16_t ZAutoExposure::Measure(ZCamera &camera, ZExImage &image)
{
    m_regionWidth = std::min(m_regionWidth, image.GetWidth());
    m_regionHeight = std::min(m_regionHeight, image.GetHeight());
    bool isDone = false;
    const int16_t bayerStatus = camera.GetBayerPipeline()->ProcessImage(&image, &isDone);
    if (!IsPassable(bayerStatus))
        return bayerStatus;
    ZInImageBufferStruct in = InputOf(image);
    const int16_t status = Process(&in, nullptr);
    return IsPassable(status) ? int16_t{kFilterOk} : status;
}

} // namespace ZX

// Settings, buffers and state of the filter wheel.
#include "image/z_rgb_filter_wheel.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>
#include <utility>

#include "image/image_limits.h"
#include "image/z_ex_image.h"

namespace ZX {

namespace {

constexpr uint64_t kLargestPixel = 2;

// Holds the wheel's lock. Where the system had none to give, it holds nothing.
class WheelLock {
public:
    explicit WheelLock(HAL_Semaphore lock) : m_lock(lock) { HAL_SemaphoreWait(m_lock); }
    ~WheelLock() { HAL_SemaphoreSignal(m_lock); }
    WheelLock(const WheelLock &) = delete;
    WheelLock &operator=(const WheelLock &) = delete;

private:
    const HAL_Semaphore m_lock;
};

// Black: an exposure that was stored before the buffers were made anew is lost, but still counted.
std::unique_ptr<uint8_t[]> MakePlane(uint64_t bytes)
{
    if (bytes > SIZE_MAX / 2)
        return nullptr;
    return std::unique_ptr<uint8_t[]>(new (std::nothrow) uint8_t[static_cast<size_t>(bytes)]());
}

} // namespace

ZRGBFilterWheel::ZRGBFilterWheel(uint16_t outputFormat) : m_outputFormat(outputFormat)
{
    HAL_SemaphoreCreate(&m_lock);
}

ZRGBFilterWheel::~ZRGBFilterWheel()
{
    FreeLocked();
    HAL_SemaphoreDestroy(&m_lock);
}

int16_t ZRGBFilterWheel::Init(uint32_t width, uint32_t height)
{
    const WheelLock lock(m_lock);
    m_maximumWidth = width;
    m_maximumHeight = height;
    AllocateLocked(width, height);
    return kFilterOk;
}

void ZRGBFilterWheel::AllocateBuffers(uint32_t width, uint32_t height)
{
    const WheelLock lock(m_lock);
    AllocateLocked(width, height);
}

void ZRGBFilterWheel::FreeBuffers()
{
    const WheelLock lock(m_lock);
    FreeLocked();
}

void ZRGBFilterWheel::Enable()
{
    ZImageFilter::Enable();
    const WheelLock lock(m_lock);
    AllocateLocked(m_maximumWidth, m_maximumHeight);
}

void ZRGBFilterWheel::Disable()
{
    ZImageFilter::Disable();
    const WheelLock lock(m_lock);
    FreeLocked();
}

int16_t ZRGBFilterWheel::SetOutputFormat(uint32_t format)
{
    m_outputFormat = format;
    return kFilterOk;
}

void ZRGBFilterWheel::Reset()
{
    const WheelLock lock(m_lock);
    ForgetLocked();
}

uint32_t ZRGBFilterWheel::GetNeededOutputBufferSize(ZInImageBufferStruct *in)
{
    const WheelLock lock(m_lock);
    if (!WouldComplete(in->filterColour))
        return in->size;
    return in->size * ZExImage::ImageFormatByteSize(m_outputFormat);
}

void ZRGBFilterWheel::AllocateLocked(uint32_t width, uint32_t height)
{
    if (m_buffersAllocated)
        return;
    const uint64_t pixels = std::min(uint64_t{width} * height, zerix::kMostPixelsAhead);
    const uint64_t bytes = kLargestPixel * pixels;
    m_redBuffer = MakePlane(bytes);
    m_greenBuffer = MakePlane(bytes);
    m_blueBuffer = MakePlane(bytes);
    const bool hasAll = m_redBuffer && m_greenBuffer && m_blueBuffer;
    m_bufferSize = hasAll ? bytes : 0;
    m_buffersAllocated = true;
}

void ZRGBFilterWheel::FreeLocked()
{
    m_redBuffer.reset();
    m_greenBuffer.reset();
    m_blueBuffer.reset();
    m_bufferSize = 0;
    m_buffersAllocated = false;
}

// Keeps what is stored: a frame larger than any before may be the second of a cycle.
bool ZRGBFilterWheel::GrowLocked(uint64_t bytes)
{
    if (bytes <= m_bufferSize)
        return true;
    Plane *const planes[] = {&m_redBuffer, &m_greenBuffer, &m_blueBuffer};
    Plane larger[std::size(planes)];
    for (Plane &plane : larger)
        if (plane = MakePlane(bytes); !plane)
            return false;
    for (size_t index = 0; index < std::size(planes); ++index) {
        if (m_bufferSize > 0)
            std::memcpy(larger[index].get(), planes[index]->get(),
                        static_cast<size_t>(m_bufferSize));
        *planes[index] = std::move(larger[index]);
    }
    m_bufferSize = bytes;
    m_buffersAllocated = true;
    return true;
}

void ZRGBFilterWheel::ForgetLocked()
{
    m_started = false;
    m_redCount = 0;
    m_greenCount = 0;
    m_blueCount = 0;
}

bool ZRGBFilterWheel::WouldComplete(uint32_t colour) const
{
    switch (colour) {
    case kWheelRed:
        return m_greenCount != 0 && m_blueCount != 0;
    case kWheelGreen:
        return m_redCount != 0 && m_blueCount != 0;
    case kWheelBlue:
        return m_redCount != 0 && m_greenCount != 0;
    default:
        return false;
    }
}

} // namespace ZX

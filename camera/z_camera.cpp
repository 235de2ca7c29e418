// What all cameras share, and the start and end of the camera layer. The class-wide state may be
// used from any thread.
#include "camera/z_camera.h"

#include "camera/stream_owner.h"
#include "image/z_bayer_interpolation.h"
#include "image/z_benchmate_ratio_correction.h"
#include "image/z_ex_image.h"
#include "image/z_image_pipeline.h"
#include "zerix/zerix_hal.h"

namespace ZX {

namespace {

constexpr uint16_t kBayerAlgorithmAtStart = 4;
constexpr uint16_t kBayerOutputFormatAtStart = 12;

} // namespace

std::atomic<bool> ZCamera::m_isToolboxInitialized{false};
std::atomic<bool> ZCamera::m_shouldOutputReads{false};
std::atomic<bool> ZCamera::m_shouldOutputWrites{false};
std::mutex ZCamera::m_connectedCamerasMutex;
ZCameraList ZCamera::m_connectedCameras;
std::atomic<uint16_t> ZCamera::m_numOfConnectedCameras{0};

// Life -------------------------------------------------------------------------------------------

// Every new camera clears the flag of the traced writes, that of the reads not. The trace itself
// goes on: the hardware layer isn't told.
ZCamera::ZCamera()
    : imagePipeline(std::make_unique<ZImagePipeline>()),
      streamOwner(std::make_unique<zerix::StreamOwner>())
{
    ratioCorrectionFilter = std::make_unique<ZBenchmateRatioCorrection>(uint16_t{0});
    bayerFilter =
        std::make_unique<ZBayerInterpolation>(kBayerAlgorithmAtStart, kBayerOutputFormatAtStart);
    bayerPipeline = std::make_unique<ZImagePipeline>();
    m_shouldOutputWrites = false;
}

ZCamera::~ZCamera()
{
    imagePipeline.reset();
    bayerPipeline.reset();
    ratioCorrectionFilter.reset();
    bayerFilter.reset();
}

uint16_t ZCamera::ReturnMasqueradedModel() { return GetModel(); }

void ZCamera::FreeImage(ZExImage *image) { delete image; }

// The camera layer -------------------------------------------------------------------------------

uint16_t ZCamera::Initialize()
{
    const bool wasInitialised = m_isToolboxInitialized;
    HAL_Open();
    m_isToolboxInitialized = true;
    return wasInitialised ? kStatusAlreadyInitialised : kStatusOk;
}

uint16_t ZCamera::Shutdown()
{
    HAL_Close();
    m_isToolboxInitialized = false;
    return kStatusOk;
}

bool ZCamera::IsInitalized() { return m_isToolboxInitialized; }

void ZCamera::SetShouldOutputReads(bool on)
{
    m_shouldOutputReads = on;
    HAL_CameraSetShouldOutputReads(0, on ? 1 : 0);
}

void ZCamera::SetShouldOutputWrites(bool on)
{
    m_shouldOutputWrites = on;
    HAL_CameraSetShouldOutputWrites(0, on ? 1 : 0);
}

bool ZCamera::GetShouldOutputReads() { return m_shouldOutputReads; }

bool ZCamera::GetShouldOutputWrites() { return m_shouldOutputWrites; }

// The cameras that are open ----------------------------------------------------------------------

void ZCamera::AddConnectedCamera(ZCamera *camera)
{
    const std::lock_guard lock(m_connectedCamerasMutex);
    m_connectedCameras.push_back(camera);
    m_numOfConnectedCameras = static_cast<uint16_t>(m_connectedCameras.size());
}

void ZCamera::RemoveConnectedCamera(ZCamera *camera)
{
    const std::lock_guard lock(m_connectedCamerasMutex);
    std::erase(m_connectedCameras, camera);
    m_numOfConnectedCameras = static_cast<uint16_t>(m_connectedCameras.size());
}

} // namespace ZX

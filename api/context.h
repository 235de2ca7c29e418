// What the interface keeps for each open camera. Made by Zerix_OpenCamera, attached to the camera,
// and destroyed by Zerix_CloseCamera.
//
// Locks: callback semaphore, then queue semaphore. The plain words that the streaming threads and
// the application share are atomics, because the calls read them without either.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "api/status.h"
#include "hal/z_semaphore.h"
#include "image/z_auto_exposure.h"
#include "image/z_auto_white_balance.h"
#include "image/z_bayer_interpolation.h"
#include "image/z_benchmate_ratio_correction.h"
#include "image/z_image_pipeline.h"
#include "image/z_rgb_filter_wheel.h"
#include "tables/settings_accessors.h"
#include "zerix/zerix.h"

namespace zerix::api {

// One frame or one settings record that waits.
struct ZerixQueueEntry {
    enum class Kind : uint16_t { kFrame = 0, kSettings = 1 };

    ZX::ZCamera *camera = nullptr;
    Zerix_Frame *frame = nullptr;
    Zerix_Settings *settings = nullptr; // the application's own record, not a copy
    ZerixAsyncCallback callback = nullptr;
    uint32_t flags = 0;
    void *userPointer = nullptr;
    uint32_t userData = 0;
    Kind kind = Kind::kFrame;
    bool isExposeCalled = false;
};

inline constexpr std::size_t kQueueLength = 100;

struct ZerixContext {
    ~ZerixContext();

    std::unique_ptr<ZX::ZImagePipeline> postProcessingPipeline;
    std::unique_ptr<ZX::ZRGBFilterWheel> filterWheel;
    ZX::ZBenchmateRatioCorrection *ratioCorrection = nullptr; // the camera's
    std::unique_ptr<ZX::ZAutoWhiteBalance> whiteBalance;
    std::unique_ptr<ZX::ZAutoExposure> autoExposure;
    std::unique_ptr<ZX::ZSemaphore> callbackSemaphore;
    std::unique_ptr<ZX::ZSemaphore> queueSemaphore;
    std::atomic<bool> isAborted{false};
    std::array<std::unique_ptr<ZerixQueueEntry>, kQueueLength> queue; // oldest first
    std::atomic<uint32_t> queueCount{0};
    std::atomic<bool> isSending{false};
    ZX::ZBayerInterpolation *bayerFilter = nullptr; // the camera's
    ZX::ZImagePipeline *bayerPipeline = nullptr;    // the camera's
    std::atomic<bool> isPostProcessingOn{false};
    Zerix_Settings cachedSettings = {}; // what was last read or sent
};

// The context of an open camera; null if it has none.
inline ZerixContext *ContextOf(ZX::ZCamera &camera)
{
    return static_cast<ZerixContext *>(camera.GetRefCon());
}

// Makes the context of a camera that has just been opened and attaches it.
// 0, or ZERIX_ERROR_OUT_OF_MEMORY with nothing attached.
uint32_t AttachContext(ZX::ZCamera &camera);

// Detaches and destroys the context of a closed camera; nothing happens if it has none.
void DestroyContext(ZX::ZCamera &camera);

} // namespace zerix::api

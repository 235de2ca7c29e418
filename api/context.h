// What the interface keeps for each open camera. Made by Zerix_OpenCamera and detached by
// Zerix_CloseCamera; the last call or callback that uses it frees it (api/camera_use.h).
//
// Locks: callback semaphore, then queue semaphore; behind them the three mutexes, which nobody
// holds while he calls anything but filters. The semaphores give the calls and the application's
// callbacks their order; the mutexes keep the memory whole where the order leaves two threads side
// by side. The plain words that the streaming threads and the application share are atomics,
// because the calls read them without any of it.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>

#include "api/status.h"
#include "hal/z_semaphore.h"
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
    bool isExposeClaimed = false; // one of the two handlers is about to tell the application
    bool isExposeCalled = false;
    bool isExposeOver = false; // the callback has returned
};

inline constexpr std::size_t kQueueLength = 100;

struct ZerixContext {
    ~ZerixContext();

    std::unique_ptr<ZX::ZImagePipeline> postProcessingPipeline;
    std::unique_ptr<ZX::ZRGBFilterWheel> filterWheel;
    ZX::ZBenchmateRatioCorrection *ratioCorrection = nullptr; // the camera's
    std::unique_ptr<ZX::ZAutoWhiteBalance> whiteBalance;
    std::unique_ptr<ZX::ZSemaphore> callbackSemaphore;
    std::unique_ptr<ZX::ZSemaphore> queueSemaphore;
    std::atomic<bool> isAborted{false};
    std::mutex queueMutex;              // over the queue and its entries
    std::condition_variable exposeOver; // an expose call has returned, or an abort has begun
    std::chrono::milliseconds longestExposeWait{1000};
    uint32_t abortsBegun = 0; // and not ended yet; under the queue mutex
    std::array<std::shared_ptr<ZerixQueueEntry>, kQueueLength> queue; // oldest first
    std::atomic<uint32_t> queueCount{0};
    std::atomic<bool> isSending{false};             // stays set after a send that failed
    ZX::ZBayerInterpolation *bayerFilter = nullptr; // the camera's
    ZX::ZImagePipeline *bayerPipeline = nullptr;    // the camera's
    std::atomic<bool> isPostProcessingOn{false};
    std::mutex processingMutex;         // over a run of the post-processing and a change of it
    mutable std::mutex cacheMutex;      // over what the cached settings hold
    Zerix_Settings cachedSettings = {}; // what was last read or sent
};

// A context for a camera that has just been opened, its filters connected. Null without the memory.
std::shared_ptr<ZerixContext> MakeContext(ZX::ZCamera &camera);

// Takes the context's filter out of the camera's own pipeline, which outlives the context.
void DisconnectFilters(ZX::ZCamera &camera, const ZerixContext &context);

// Holds one of the context's semaphores for as long as it lives, but for the time of a Without.
class SemaphoreHold {
public:
    explicit SemaphoreHold(ZX::ZSemaphore &semaphore) : m_semaphore(semaphore)
    {
        m_semaphore.Wait();
    }
    // Taken already.
    SemaphoreHold(ZX::ZSemaphore &semaphore, std::adopt_lock_t) : m_semaphore(semaphore) {}
    ~SemaphoreHold() { m_semaphore.Signal(); }
    SemaphoreHold(const SemaphoreHold &) = delete;
    SemaphoreHold &operator=(const SemaphoreHold &) = delete;

    template <typename Work>
    auto Without(const Work &work)
    {
        m_semaphore.Signal();
        const Retake retake{m_semaphore};
        return work();
    }

private:
    struct Retake {
        ZX::ZSemaphore &semaphore;
        ~Retake() { semaphore.Wait(); }
    };
    ZX::ZSemaphore &m_semaphore;
};

} // namespace zerix::api

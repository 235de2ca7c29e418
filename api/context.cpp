// The making and unmaking of a camera's context.
#include "api/context.h"

#include <chrono>
#include <condition_variable>
#include <new>

namespace zerix::api {
namespace {

// The filter wheel works on frames as they arrive, in the camera's own pipeline; all other filters
// wait for post-processing.
constexpr uint16_t kFilterWheelOutput = zfmtRgbPlane8;

// Never destroyed: an application may end with its threads still running.
struct Users {
    std::mutex mutex;
    std::condition_variable fewer;
};

Users &TheUsers()
{
    static auto *const users = new Users;
    return *users;
}

void BuildFilters(ZX::ZCamera &camera, ZerixContext &context)
{
    context.bayerPipeline = camera.GetBayerPipeline();
    context.postProcessingPipeline = std::make_unique<ZX::ZImagePipeline>();
    context.postProcessingPipeline->Setup(camera.GetCCDWidth(), camera.GetCCDHeight());
    context.filterWheel = std::make_unique<ZX::ZRGBFilterWheel>(kFilterWheelOutput);
    context.ratioCorrection = camera.GetBenchmateRatioCorrectionFilter();
    context.whiteBalance = std::make_unique<ZX::ZAutoWhiteBalance>(false);
    context.autoExposure = std::make_unique<ZX::ZAutoExposure>(false);
    context.bayerFilter = camera.GetBayerFilter();
    context.callbackSemaphore = std::make_unique<ZX::ZSemaphore>();
    context.queueSemaphore = std::make_unique<ZX::ZSemaphore>();
}

void ConnectFilters(ZX::ZCamera &camera, ZerixContext &context)
{
    context.postProcessingPipeline->AddFilter(context.ratioCorrection);
    context.postProcessingPipeline->AddFilter(context.bayerFilter);
    context.postProcessingPipeline->AddFilter(context.whiteBalance.get());
    camera.GetImagePipeline()->AddFilter(context.filterWheel.get());
}

} // namespace

ZerixContext::~ZerixContext() { Zerix_ReleaseCameraSettingsStruct(&cachedSettings); }

uint32_t AttachContext(ZX::ZCamera &camera)
{
    auto context = std::unique_ptr<ZerixContext>(new (std::nothrow) ZerixContext);
    if (context == nullptr)
        return ZERIX_ERROR_OUT_OF_MEMORY;
    Zerix_CreateCameraSettingsStruct(&context->cachedSettings);
    if (context->cachedSettings.privateBlock == nullptr)
        return ZERIX_ERROR_OUT_OF_MEMORY;
    BuildFilters(camera, *context);
    ConnectFilters(camera, *context);
    camera.SetRefCon(context.release());
    return ZERIX_SUCCESS;
}

void DestroyContext(ZX::ZCamera &camera)
{
    ZerixContext *const context = ContextOf(camera);
    if (context == nullptr)
        return;
    camera.GetImagePipeline()->RemoveFilter(context->filterWheel.get());
    {
        const std::lock_guard lock(TheUsers().mutex);
        camera.SetRefCon(nullptr);
    }
    RetireContext(context);
}

void RetireContext(ZerixContext *context)
{
    if (context == nullptr)
        return;
    {
        const std::lock_guard lock(TheUsers().mutex);
        context->isDetached = true;
        if (context->users != 0)
            return;
    }
    delete context;
}

bool AwaitUnused(ZX::ZCamera &camera, uint32_t timeoutMilliseconds)
{
    const ZerixContext *const context = ContextOf(camera);
    std::unique_lock lock(TheUsers().mutex);
    return context == nullptr ||
           TheUsers().fewer.wait_for(lock, std::chrono::milliseconds(timeoutMilliseconds),
                                     [&] { return context->users == 0; });
}

ContextUse::ContextUse(ZX::ZCamera &camera)
{
    const std::lock_guard lock(TheUsers().mutex);
    m_context = ContextOf(camera);
    if (m_context != nullptr)
        ++m_context->users;
}

ContextUse::~ContextUse()
{
    if (m_context == nullptr)
        return;
    {
        const std::lock_guard lock(TheUsers().mutex);
        --m_context->users;
        if (!m_context->isDetached || m_context->users != 0)
            m_context = nullptr;
        TheUsers().fewer.notify_all();
    }
    delete m_context;
}

} // namespace zerix::api

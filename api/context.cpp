// The making and unmaking of a camera's context.
#include "api/context.h"

namespace zerix::api {
namespace {

// The filter wheel works on frames as they arrive, in the camera's own pipeline; all other filters
// wait for post-processing.
constexpr uint16_t kFilterWheelOutput = zfmtRgbPlane8;

void BuildFilters(ZX::ZCamera &camera, ZerixContext &context)
{
    context.bayerPipeline = camera.GetBayerPipeline();
    context.postProcessingPipeline = std::make_unique<ZX::ZImagePipeline>();
    context.postProcessingPipeline->Setup(camera.GetCCDWidth(), camera.GetCCDHeight());
    context.filterWheel = std::make_unique<ZX::ZRGBFilterWheel>(kFilterWheelOutput);
    context.ratioCorrection = camera.GetBenchmateRatioCorrectionFilter();
    context.whiteBalance = std::make_unique<ZX::ZAutoWhiteBalance>(false);
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

std::shared_ptr<ZerixContext> MakeContext(ZX::ZCamera &camera)
{
    auto context = std::make_shared<ZerixContext>();
    Zerix_CreateCameraSettingsStruct(&context->cachedSettings);
    if (context->cachedSettings.privateBlock == nullptr)
        return nullptr;
    BuildFilters(camera, *context);
    ConnectFilters(camera, *context);
    return context;
}

void DisconnectFilters(ZX::ZCamera &camera, const ZerixContext &context)
{
    camera.GetImagePipeline()->RemoveFilter(context.filterWheel.get());
}

} // namespace zerix::api

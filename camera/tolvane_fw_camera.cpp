// Life of a camera object: its semaphores and conditions, connecting to the device with the
// camera's two threads, and the way back. One thread at a time.
#include "camera/tolvane_fw_camera.h"

#include "camera/hal_error.h"
#include "camera/stream_owner.h"
#include "hal/camera_connection.h"
#include "platform/os.h"

namespace ZX {

namespace {

constexpr uint16_t kPacketSizeAtOpen = 100;
constexpr uint32_t kThreadEndMilliseconds = 5000;

void ReportCreation(uint32_t halError)
{
    if (halError != HAL_NO_ERROR)
        zerix::os::DebugOutput("TolvaneFWCamera() - call to HAL_SemaphoreCreate failed\n");
}

void ReportDestruction(uint32_t halError)
{
    if (halError != HAL_NO_ERROR)
        zerix::os::DebugOutput("TolvaneFWCamera() - call to HAL_SemaphoreDestroy failed\n");
}

void DestroySemaphore(HAL_Semaphore &semaphore)
{
    if (semaphore != nullptr)
        ReportDestruction(HAL_SemaphoreDestroy(&semaphore));
}

void DestroyCondition(HAL_Condition &condition)
{
    if (condition.record != nullptr)
        ReportDestruction(HAL_ConditionDestroy(&condition));
}

} // namespace

// Life -------------------------------------------------------------------------------------------

TolvaneFWCamera::TolvaneFWCamera(HALCamera camera) : halCamera(camera)
{
    isOpen = camera.isConnected != 0;
    ReportCreation(HAL_SemaphoreCreate(&frameSemaphore));
    ReportCreation(HAL_ConditionCreate(&frameCondition));
    ReportCreation(HAL_ConditionCreate(&exposeDoneCondition));
    if (HAL_ConditionCreate(&imageCondition) != HAL_NO_ERROR)
        zerix::os::DebugOutput("TolvaneFWCamera() - call to HAL_ConditionCreate failed\n");
    ReportCreation(HAL_SemaphoreCreate(&settingsSemaphore));
    ReportCreation(HAL_SemaphoreCreate(&externalSemaphore));
    ReportCreation(HAL_SemaphoreCreate(&frameQueueSemaphore));
    ReportCreation(HAL_SemaphoreCreate(&closeSemaphore));
    Stream().Attach(CameraForThreads(), imageCondition);
}

// The threads end before anything that they use, also when the camera could not be closed.
TolvaneFWCamera::~TolvaneFWCamera()
{
    EndThreads();
    RemoveConnectedCamera(this);
    ClearFrameInfoVector();
    FreeImage(oneImage);
    DestroyCondition(frameCondition);
    DestroyCondition(exposeDoneCondition);
    DestroyCondition(imageCondition);
    for (HAL_Semaphore *semaphore : {&frameSemaphore, &settingsSemaphore, &externalSemaphore,
                                     &frameQueueSemaphore, &closeSemaphore})
        DestroySemaphore(*semaphore);
    if (shouldDeleteHALCamera)
        HAL_CameraRelease(&halCamera);
}

void TolvaneFWCamera::SetShouldDeleteHALCamera(bool shouldDelete)
{
    shouldDeleteHALCamera = shouldDelete;
}

bool TolvaneFWCamera::IsCameraOpen() { return isOpen; }

// Opening ----------------------------------------------------------------------------------------

uint16_t TolvaneFWCamera::OpenCamera()
{
    if (exclusiveAccess)
        return kStatusInUse; // by this very object: the connection it has must stay as it is
    const uint32_t error =
        HAL_CameraConnect(&halCamera, kPacketSizeAtOpen, GetNewFrameCallback, PeekNewFrameCallback,
                          ImageArrivedCallback, OverrunCallback, TimedOutCallback, this);
    if (error == HAL_ERROR_CAMERA_IN_USE) {
        isOpen = true;
        return kStatusInUse;
    }
    if (error != HAL_NO_ERROR)
        return ReportHalError(error);
    SetCurrentFireWirePacketSize(static_cast<uint16_t>(halCamera.packetBufferSize));
    HAL_CameraRegisterAsyncWriteCallback(&halCamera, zerix::registers::kAsyncWriteAddressLow,
                                         zerix::registers::kAsyncWriteAddressLength,
                                         CameraAsyncWriteCallback);
    counterFrequency = zerix::os::PerformanceFrequency();
    counterStart = zerix::os::PerformanceCounter();
    AddConnectedCamera(this);
    Stream().isClosing = false;
    Stream().ForgetLoss(); // that was of another connection
    isOpen = true;
    exclusiveAccess = true;
    return StartThreads();
}

// A missing expose-done thread costs a notification; a missing run loop all images.
uint16_t TolvaneFWCamera::StartThreads()
{
    exposeThreadActive = true;
    HAL_ThreadCreate(ExposeDoneThread, this, &exposeDoneThread);
    runLoopActive = true;
    if (const uint32_t error = HAL_ThreadCreate(RunLoopThread, this, &runLoopThread))
        return ReportHalError(error);
    runLoopOwesSignal = true;
    return kStatusOk;
}

// Closing ----------------------------------------------------------------------------------------

// The semaphore holds one count of its own, and one more from the run loop when that has ended.
// Whoever closes takes both, in whichever order they come, and leaves one behind, so that after a
// failure at any step the next attempt finds what it waits for.
uint16_t TolvaneFWCamera::CloseCamera()
{
    if (!isOpen)
        return kStatusOk;
    Stream().isClosing = true;
    zerix::hal::BeginClosing(halCamera);
    if (exclusiveAccess) {
        if (const uint32_t error = HAL_SemaphoreWait(closeSemaphore))
            return FailClose(ReportHalError(error));
        if (const uint16_t status = StopThreads())
            return FailClose(status);
    }
    if (const uint32_t error = HAL_CameraDisconnect(&halCamera))
        return FailClose(ReportHalError(error));
    zerix::hal::EndClosing(halCamera);
    RemoveConnectedCamera(this);
    isOpen = false;
    if (exclusiveAccess.exchange(false))
        HAL_SemaphoreSignal(closeSemaphore);
    return kStatusOk;
}

uint16_t TolvaneFWCamera::FailClose(uint16_t status)
{
    zerix::hal::EndClosing(halCamera);
    Stream().isClosing = false;
    if (exclusiveAccess)
        HAL_SemaphoreSignal(closeSemaphore);
    return status;
}

uint16_t TolvaneFWCamera::StopThreads()
{
    runLoopActive = false;
    if (const uint16_t status = StopStreamingImages())
        return status;
    HAL_ConditionSignal(imageCondition); // nobody waits for an image any more
    SetCurrentFireWirePacketSize(0);
    exposeThreadActive = false;
    exposeDoneCallback = nullptr;
    if (const uint32_t error = HAL_ConditionSignal(exposeDoneCondition))
        return ReportHalError(error);
    if (runLoopOwesSignal) {
        if (const uint32_t error = HAL_SemaphoreWait(closeSemaphore))
            return ReportHalError(error);
        runLoopOwesSignal = false;
    }
    return CleanUpThreads();
}

uint16_t TolvaneFWCamera::CleanUpThreads()
{
    for (threadInfo **thread : {&runLoopThread, &exposeDoneThread}) {
        if (const uint32_t error = HAL_ThreadCleanup(*thread, kThreadEndMilliseconds))
            return ReportHalError(error);
        *thread = nullptr;
    }
    return kStatusOk;
}

void TolvaneFWCamera::EndThreads()
{
    runLoopActive = false;
    exposeThreadActive = false;
    exposeDoneCallback = nullptr;
    if (runLoopThread != nullptr || exposeDoneThread != nullptr) {
        zerix::hal::BeginClosing(halCamera);
        StopStreamingImages();
    }
    for (threadInfo **thread : {&runLoopThread, &exposeDoneThread}) {
        if (*thread == nullptr)
            continue;
        HAL_ConditionSignal(exposeDoneCondition);
        HAL_CameraStopWaitingForFrame(halCamera);
        if (HAL_ThreadCleanup(*thread, kThreadEndMilliseconds) == HAL_ERROR_THREAD_TIMEOUT) {
            HAL_ThreadTerminate(*thread);
            HAL_ThreadCleanup(*thread, kThreadEndMilliseconds);
        }
        *thread = nullptr;
    }
    runLoopOwesSignal = false;
}

} // namespace ZX

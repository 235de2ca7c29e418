// One round of each operation.
#include "tests/concurrency/operations.h"

#include <string_view>

#include "tables/settings_accessors.h"

namespace zerix::concurrency {
namespace {

// Smaller than every region that is sent.
constexpr uint32_t kMeasuredWidth = 64;
constexpr uint32_t kMeasuredHeight = 16;

void Ignore(void *, uint32_t, uint32_t, uint32_t) {}

// Turns with each round, so that every send has something to change.
void TurnRegion(const Worker &worker, Zerix_Settings &settings)
{
    const bool isOdd = worker.round % 2 != 0;
    tables::SetSlot32(&settings, zprmRoiX, isOdd ? 256 : 0);
    tables::SetSlot32(&settings, zprmRoiY, isOdd ? 10 : 0);
    tables::SetSlot32(&settings, zprmRoiWidth, isOdd ? 512 : kWidth);
    tables::SetSlot32(&settings, zprmRoiHeight, isOdd ? 40 : kHeight);
}

void Stream(Worker &worker, bool on)
{
    worker.Call("Zerix_SetStreaming", Zerix_SetStreaming, worker.camera, on ? 1u : 0u);
}

void Send(Worker &worker)
{
    worker.Call("Zerix_SendSettingsToCam", Zerix_SendSettingsToCam, worker.camera,
                &worker.settings);
}

// Opening and closing -----------------------------------------------------------------------------

void Open(Worker &worker)
{
    ZerixHandle handle = nullptr;
    worker.Call("Zerix_OpenCamera", Zerix_OpenCamera, 0u, &handle);
}

void Close(Worker &worker)
{
    worker.Call("Zerix_CloseCamera", Zerix_CloseCamera, worker.camera);
    Open(worker);
    if (worker.isStreamOn)
        Stream(worker, true);
}

// The stream --------------------------------------------------------------------------------------

void Start(Worker &worker)
{
    Stream(worker, true);
    if (!worker.isStreamOn)
        Stream(worker, false);
}

void Stop(Worker &worker)
{
    Stream(worker, false);
    if (worker.isStreamOn)
        Stream(worker, true);
}

void Grab(Worker &worker)
{
    worker.Call("Zerix_GrabFrame", Zerix_GrabFrame, worker.camera, &worker.frame.frame);
}

void Trigger(Worker &worker) { worker.Call("Zerix_Trigger", Zerix_Trigger, worker.camera); }

void Abort(Worker &worker) { worker.Call("Zerix_Abort", Zerix_Abort, worker.camera); }

void QueueFrame(Worker &worker)
{
    worker.Call("Zerix_QueueFrame", Zerix_QueueFrame, worker.camera,
                &worker.NextQueuedFrame().frame, Ignore, 3u, static_cast<void *>(nullptr), 0u);
}

// Settings ----------------------------------------------------------------------------------------

void SendRegion(Worker &worker)
{
    TurnRegion(worker, worker.settings);
    Send(worker);
}

void SendExposure(Worker &worker)
{
    tables::SetSlot64(&worker.settings, zprm64Exposure,
                      worker.round % 2 != 0 ? 2'000'000 : 4'000'000);
    Send(worker);
}

// The queue keeps the record, so that each round needs one of its own.
void QueueSettings(Worker &worker)
{
    Zerix_Settings &record = worker.NewRecord();
    TurnRegion(worker, record);
    worker.Call("Zerix_QueueSettings", Zerix_QueueSettings, worker.camera, &record, Ignore, 1u,
                static_cast<void *>(nullptr), 0u);
}

void ReadSettings(Worker &worker)
{
    worker.Call("Zerix_ReadSettingsFromCam", Zerix_ReadSettingsFromCam, worker.camera,
                &worker.settings);
}

void ReadDefaults(Worker &worker)
{
    worker.Call("Zerix_ReadDefaultSettings", Zerix_ReadDefaultSettings, worker.camera,
                &worker.settings);
}

void Preflight(Worker &worker)
{
    worker.Call("Zerix_PreflightSettings", Zerix_PreflightSettings, worker.camera,
                &worker.settings);
}

void Parameters(Worker &worker)
{
    uint32_t value = 0;
    uint64_t longValue = 0;
    uint32_t table[32] = {};
    int32_t size = 32;
    Zerix_Settings *const settings = &worker.settings;
    const Zerix_Settings *const read = settings;
    worker.Call("Zerix_GetParam", Zerix_GetParam, read, uint32_t{zprmRoiWidth}, &value);
    worker.Call("Zerix_SetParam", Zerix_SetParam, settings, uint32_t{zprmRoiX}, 0u);
    worker.Call("Zerix_GetParam64Max", Zerix_GetParam64Max, read, uint32_t{zprm64Exposure},
                &longValue);
    worker.Call("Zerix_GetParamMax", Zerix_GetParamMax, read, uint32_t{zprmRoiWidth}, &value);
    worker.Call("Zerix_GetParamSparseTable", Zerix_GetParamSparseTable, read,
                uint32_t{zprmReadoutSpeed}, table, &size);
}

// Pictures and facts ------------------------------------------------------------------------------

void AutoExpose(Worker &worker)
{
    worker.Call("Zerix_AutoExpose", Zerix_AutoExpose, &worker.settings, 0u, 0u, kMeasuredWidth,
                kMeasuredHeight);
}

void WhiteBalance(Worker &worker)
{
    worker.Call("Zerix_WhiteBalance", Zerix_WhiteBalance, &worker.settings, 0u, 0u, kMeasuredWidth,
                kMeasuredHeight);
}

void PostProcess(Worker &worker)
{
    const Zerix_Settings *const settings = &worker.settings;
    const Zerix_Frame *const kept = &worker.kept.frame;
    worker.Call("Zerix_PostProcessSingleFrame", Zerix_PostProcessSingleFrame, worker.camera,
                settings, kept, &worker.finished.frame);
}

// The lock is asked of the camera; the rest is known.
void Information(Worker &worker)
{
    uint32_t value = 0;
    char text[64] = {};
    for (const uint32_t key : {zinfRegulatedCoolingLock, zinfImageSize, zinfPostProcessImageSize})
        worker.Call("Zerix_GetInfo", Zerix_GetInfo, worker.camera, key, &value);
    worker.Call("Zerix_GetSerialString", Zerix_GetSerialString, worker.camera,
                static_cast<char *>(text), 64u);
    worker.Call("Zerix_GetCameraModelString", Zerix_GetCameraModelString, worker.camera,
                static_cast<char *>(text), 64u);
}

void Support(Worker &worker)
{
    worker.Call("Zerix_IsParamSupported", Zerix_IsParamSupported, worker.camera,
                uint32_t{zprmReadoutSpeed});
    worker.Call("Zerix_IsParam64Supported", Zerix_IsParam64Supported, worker.camera,
                uint32_t{zprm64Exposure});
    const Zerix_Settings *const settings = &worker.settings;
    worker.Call("Zerix_IsSparseTable", Zerix_IsSparseTable, settings, uint32_t{zprmReadoutSpeed});
}

void Service(Worker &worker)
{
    uint32_t words[18] = {};
    worker.Call("_Zerix_factory_reserved0", _Zerix_factory_reserved0, worker.camera, 2u,
                reinterpret_cast<uintptr_t>(words), 18u, 0u);
}

constexpr Operation kOperations[] = {
    {"Open", Open, kOpens},
    {"Close", Close, kCloses | kStops | kAborts},
    {"Start", Start, kStops},
    {"Stop", Stop, kStops},
    {"Grab", Grab, kGrabs},
    {"Trigger", Trigger, 0},
    {"Abort", Abort, kAborts},
    {"QueueFrame", QueueFrame, kQueues},
    {"SendRegion", SendRegion, 0},
    {"SendExposure", SendExposure, 0},
    {"QueueSettings", QueueSettings, 0},
    {"ReadSettings", ReadSettings, 0},
    {"ReadDefaults", ReadDefaults, 0},
    {"Preflight", Preflight, 0},
    {"Parameters", Parameters, 0},
    {"AutoExpose", AutoExpose, kGrabs | kMeasures},
    {"WhiteBalance", WhiteBalance, kGrabs | kMeasures},
    {"PostProcess", PostProcess, 0},
    {"Information", Information, 0},
    {"Support", Support, 0},
    {"Service", Service, 0},
};
static_assert(std::size(kOperations) == 21);

} // namespace

std::span<const Operation> Operations() { return kOperations; }

bool IsTrigger(const Operation &operation) { return operation.run == Trigger; }

} // namespace zerix::concurrency

// The codes, as the functions' documentation states them.
#include "tests/concurrency/allowed_codes.h"

#include <algorithm>
#include <initializer_list>
#include <vector>

#include "tests/concurrency/operations.h"
#include "zerix/zerix_errors.h"

namespace zerix::concurrency {
namespace {

constexpr uint32_t kAlways = 0;

struct Row {
    std::string_view function;
    uint32_t effect; // kAlways: next to any operation
    std::vector<uint32_t> codes;
};

// A camera that is closed meanwhile: the handle is refused from then on, and what is under way
// fails on the bus.
const std::vector<uint32_t> kOfClosed = {ZERIX_ERROR_BAD_HANDLE, ZERIX_ERROR_DRIVER_FAULT};

const std::vector<Row> &Rows()
{
    static const std::vector<Row> rows = {
        {"Zerix_OpenCamera", kAlways, {ZERIX_ERROR_BAD_CAMERA_ID}},
        {"Zerix_CloseCamera", kCloses | kOpens, {ZERIX_ERROR_BAD_HANDLE}},
        {"Zerix_SetStreaming", kCloses, kOfClosed},
        {"Zerix_SetStreaming", kOpens, {ZERIX_ERROR_BAD_HANDLE}},
        {"Zerix_GrabFrame", kCloses, kOfClosed},
        {"Zerix_GrabFrame", kStops | kAborts, {ZERIX_ERROR_DRIVER_FAULT}},
        {"Zerix_GrabFrame", kGrabs | kQueues, {ZERIX_ERROR_BUSY}},
        // Next to a close the trigger type is the default until settings are sent again.
        {"Zerix_Trigger", kAlways, {ZERIX_ERROR_NOT_STREAMING}},
        {"Zerix_Trigger", kCloses, kOfClosed},
        {"Zerix_Trigger", kCloses, {ZERIX_ERROR_NOT_SUPPORTED}},
        {"Zerix_Abort", kCloses, kOfClosed},
        {"Zerix_QueueFrame", kAlways, {ZERIX_ERROR_QUEUE_FULL}},
        {"Zerix_QueueFrame", kCloses, kOfClosed},
        {"Zerix_SendSettingsToCam", kCloses, kOfClosed},
        // The packets are enlarged, so the application is to try again.
        {"Zerix_QueueSettings", kAlways, {ZERIX_ERROR_BAD_SETTINGS, ZERIX_ERROR_QUEUE_FULL}},
        {"Zerix_QueueSettings", kCloses, kOfClosed},
        {"Zerix_ReadSettingsFromCam", kCloses, kOfClosed},
        {"Zerix_ReadDefaultSettings", kCloses, kOfClosed},
        {"Zerix_PreflightSettings", kCloses, kOfClosed},
        {"Zerix_PreflightSettings", kCloses, {ZERIX_ERROR_BAD_SETTINGS}},
        {"Zerix_GetParam", kCloses, {ZERIX_ERROR_BAD_SETTINGS}},
        {"Zerix_SetParam", kCloses, {ZERIX_ERROR_BAD_SETTINGS}},
        {"Zerix_GetParam64Max", kCloses, {ZERIX_ERROR_BAD_SETTINGS}},
        {"Zerix_GetParamMax", kCloses, {ZERIX_ERROR_BAD_SETTINGS}},
        {"Zerix_AutoExpose", kCloses, kOfClosed},
        {"Zerix_AutoExpose", kCloses, {ZERIX_ERROR_BAD_SETTINGS}},
        {"Zerix_AutoExpose", kGrabs, {ZERIX_ERROR_BUSY}},
        {"Zerix_WhiteBalance", kCloses, kOfClosed},
        {"Zerix_WhiteBalance", kCloses, {ZERIX_ERROR_BAD_SETTINGS}},
        {"Zerix_WhiteBalance", kStops | kAborts, {ZERIX_ERROR_DRIVER_FAULT}},
        {"Zerix_WhiteBalance", kGrabs, {ZERIX_ERROR_BUSY}},
        {"Zerix_PostProcessSingleFrame", kCloses, kOfClosed},
        {"Zerix_GetInfo", kCloses, kOfClosed},
        {"Zerix_GetSerialString", kCloses, kOfClosed},
        {"Zerix_GetCameraModelString", kCloses, kOfClosed},
        {"Zerix_IsParamSupported", kCloses, kOfClosed},
        {"Zerix_IsParam64Supported", kCloses, kOfClosed},
        // No live connection lets anybody in.
        {"_Zerix_factory_reserved0", kAlways, {ZERIX_ERROR_NOT_SUPPORTED}},
        {"_Zerix_factory_reserved0", kCloses, {ZERIX_ERROR_BAD_HANDLE}},
    };
    return rows;
}

} // namespace

bool IsAllowed(std::string_view function, uint32_t code, uint32_t effects)
{
    if (code == ZERIX_SUCCESS)
        return true;
    return std::any_of(Rows().begin(), Rows().end(), [&](const Row &row) {
        return row.function == function && (row.effect == kAlways || (row.effect & effects) != 0) &&
               std::find(row.codes.begin(), row.codes.end(), code) != row.codes.end();
    });
}

} // namespace zerix::concurrency

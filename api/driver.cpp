// Bringing the library up and down, and its version.
#include <exception>

#include "api/camera_list.h"
#include "api/exported_call.h"
#include "api/monitor.h"
#include "diag/trace_log.h"

using namespace zerix;
using namespace zerix::api;

namespace {

constexpr uint16_t kMajorVersion = 2;
constexpr uint16_t kMinorVersion = 0;
constexpr uint16_t kBuild = 13;

void BringUp()
{
    AddMonitorTask(WatchCameras);
    StartMonitor();
    ZX::ZCamera::SetShouldOutputReads(diag::ZLogShouldOutputReads());
    ZX::ZCamera::SetShouldOutputWrites(diag::ZLogShouldOutputWrites());
}

void TakeDown()
{
    StopMonitor();
    FreeCameras();
    ZX::ZCamera::Shutdown();
}

} // namespace

uint32_t Zerix_LoadDriver(void)
try {
    diag::ZLogOpen();
    ExportedCall call(__func__);
    const uint16_t status = ZX::ZCamera::Initialize();
    if (status == ZX::kStatusAlreadyInitialised) {
        // The one start line that stays without its end line.
        call.SetEnded();
        return ZERIX_ERROR_ALREADY_LOADED;
    }
    if (const uint32_t error = MapCameraStatus(status))
        return call.End(error);
    BringUp();
    return call.End(ZERIX_SUCCESS);
} catch (const std::exception &) {
    return kExceptionError;
}

void Zerix_ReleaseDriver(void)
try {
    ExportedCall call(__func__);
    if (const auto error = call.Check(Loaded())) {
        call.End(error);
        return;
    }
    TakeDown();
    call.End(ZERIX_SUCCESS);
    diag::ZLogClose();
} catch (const std::exception &) {
}

uint32_t Zerix_LibVersion(uint16_t *major, uint16_t *minor, uint16_t *build)
try {
    ExportedCall call(__func__);
    if (const auto error = call.Check(Loaded(), NotNull(major, ZERIX_ERROR_BAD_PARAMETER),
                                      NotNull(minor, ZERIX_ERROR_BAD_PARAMETER),
                                      NotNull(build, ZERIX_ERROR_BAD_PARAMETER)))
        return call.End(error);
    *major = kMajorVersion;
    *minor = kMinorVersion;
    *build = kBuild;
    call.Message("Zerix version is %d.%d.%d", kMajorVersion, kMinorVersion, kBuild);
    return call.End(ZERIX_SUCCESS);
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_Version(uint16_t *major, uint16_t *minor)
try {
    ExportedCall call(__func__);
    if (const auto error = call.Check(Loaded(), NotNull(major, ZERIX_ERROR_BAD_PARAMETER),
                                      NotNull(minor, ZERIX_ERROR_BAD_PARAMETER)))
        return call.End(error);
    *major = kMajorVersion;
    *minor = kMinorVersion;
    call.Message("Zerix version is %d.%d", kMajorVersion, kMinorVersion);
    return call.End(ZERIX_SUCCESS);
} catch (const std::exception &) {
    return kExceptionError;
}

// An unplugged camera shows as an error of frames and calls instead.
uint32_t Zerix_RegisterUnpluggedCallback(ZerixHandle, ZerixUnpluggedCallback, void *)
try {
    ExportedCall call(__func__);
    return call.End(call.Check(Loaded()));
} catch (const std::exception &) {
    return kExceptionError;
}

// Bringing the library up and down, and its version.
#include <atomic>

#include "api/camera_list.h"
#include "api/entry.h"
#include "api/monitor.h"
#include "diag/trace_log.h"

using namespace zerix;
using namespace zerix::api;

namespace {

constexpr uint16_t kMajorVersion = 2;
constexpr uint16_t kMinorVersion = 0;
constexpr uint16_t kBuild = 13;

// One thread at a time brings the library up or down. Nobody waits for it: it may be the monitor's,
// which a release waits for.
class Lifecycle {
public:
    Lifecycle() : m_isOwner(!IsChanging().exchange(true)) {}
    ~Lifecycle()
    {
        if (m_isOwner)
            IsChanging().store(false);
    }
    Lifecycle(const Lifecycle &) = delete;
    Lifecycle &operator=(const Lifecycle &) = delete;

    [[nodiscard]] bool IsOwner() const { return m_isOwner; }

private:
    static std::atomic<bool> &IsChanging()
    {
        static std::atomic<bool> isChanging{false};
        return isChanging;
    }
    bool m_isOwner;
};

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

// The one start line that stays without its end line.
uint32_t RefuseSecondLoad(ExportedCall &call)
{
    call.SetEnded();
    return ZERIX_ERROR_ALREADY_LOADED;
}

// The call's own thread uses no camera: it is in no callback; 21.
struct OutsideCallbacks {
    uint32_t operator()(ExportedCall &, const CameraUse &) const
    {
        return IsThreadInACall() ? ZERIX_ERROR_BUSY : ZERIX_SUCCESS;
    }
};

} // namespace

uint32_t Zerix_LoadDriver(void)
{
    return Enter(Start(__func__, OpensLog{}), OfNoCamera{}, Checks(),
                 [](ExportedCall &call, const CameraUse &) -> uint32_t {
                     const Lifecycle lifecycle;
                     if (!lifecycle.IsOwner())
                         return RefuseSecondLoad(call);
                     const uint16_t status = ZX::ZCamera::Initialize();
                     if (status == ZX::kStatusAlreadyInitialised)
                         return RefuseSecondLoad(call);
                     if (const uint32_t error = MapCameraStatus(status))
                         return error;
                     BringUp();
                     return ZERIX_SUCCESS;
                 });
}

void Zerix_ReleaseDriver(void)
{
    Enter(Start(__func__), OfNoCamera{}, Checks(Loaded(), OutsideCallbacks()),
          [](ExportedCall &call, const CameraUse &) -> uint32_t {
              const Lifecycle lifecycle;
              if (!lifecycle.IsOwner() || !ZX::ZCamera::IsInitalized())
                  return ZERIX_ERROR_NOT_LOADED;
              TakeDown();
              call.End(ZERIX_SUCCESS);
              diag::ZLogClose();
              return ZERIX_SUCCESS;
          });
}

uint32_t Zerix_LibVersion(uint16_t *major, uint16_t *minor, uint16_t *build)
{
    return Enter(Start(__func__), OfNoCamera{},
                 Checks(Loaded(), NotNull(major, ZERIX_ERROR_BAD_PARAMETER),
                        NotNull(minor, ZERIX_ERROR_BAD_PARAMETER),
                        NotNull(build, ZERIX_ERROR_BAD_PARAMETER)),
                 [&](ExportedCall &call, const CameraUse &) {
                     *major = kMajorVersion;
                     *minor = kMinorVersion;
                     *build = kBuild;
                     call.Message("Zerix version is %d.%d.%d", kMajorVersion, kMinorVersion,
                                  kBuild);
                     return ZERIX_SUCCESS;
                 });
}

uint32_t Zerix_Version(uint16_t *major, uint16_t *minor)
{
    return Enter(Start(__func__), OfNoCamera{},
                 Checks(Loaded(), NotNull(major, ZERIX_ERROR_BAD_PARAMETER),
                        NotNull(minor, ZERIX_ERROR_BAD_PARAMETER)),
                 [&](ExportedCall &call, const CameraUse &) {
                     *major = kMajorVersion;
                     *minor = kMinorVersion;
                     call.Message("Zerix version is %d.%d", kMajorVersion, kMinorVersion);
                     return ZERIX_SUCCESS;
                 });
}

// An unplugged camera shows as an error of frames and calls instead.
uint32_t Zerix_RegisterUnpluggedCallback(ZerixHandle, ZerixUnpluggedCallback, void *)
{
    return Enter(Start(__func__), OfNoCamera{}, Checks(Loaded()),
                 [](ExportedCall &, const CameraUse &) { return ZERIX_SUCCESS; });
}

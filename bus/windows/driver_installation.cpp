// Listing the host adapters, and installing a driver for one of them.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <windows.h>

#include <setupapi.h>

#include "bus/windows/driver_mode.h"
#include "platform/os.h"

namespace zerix::bus {

namespace {

constexpr uint32_t kListFailed = 0x3E6;

// The system's class of 1394 host adapters.
constexpr GUID kHostAdapters = {
    0x6BDD1FC1, 0x810F, 0x11D0, {0xBE, 0xC7, 0x08, 0x00, 0x2B, 0xE2, 0x09, 0x2F}};

class DeviceInfoList {
public:
    explicit DeviceInfoList(HDEVINFO list) : m_list(list) {}
    ~DeviceInfoList()
    {
        if (IsThere())
            SetupDiDestroyDeviceInfoList(m_list);
    }
    DeviceInfoList(const DeviceInfoList &) = delete;
    DeviceInfoList &operator=(const DeviceInfoList &) = delete;
    [[nodiscard]] bool IsThere() const { return m_list != INVALID_HANDLE_VALUE; }
    [[nodiscard]] HDEVINFO Get() const { return m_list; }

private:
    const HDEVINFO m_list;
};

bool TellFailure(const char *call, DWORD error)
{
    char line[128];
    std::snprintf(line, sizeof line, "%s  was NOT succesfull %d", call, static_cast<int>(error));
    os::DebugOutput(line);
    return false;
}

bool Succeeded(const char *call, BOOL result)
{
    return result != 0 || TellFailure(call, GetLastError());
}

struct Selection {
    HDEVINFO list;
    SP_DEVINFO_DATA device;
    SP_DRVINFO_DATA_W driver; // the installer's library takes no other
};

// The path names one file: without the flag it would be taken for a folder of them.
bool NameDescriptionFile(Selection &selection, const std::string &descriptionFile)
{
    SP_DEVINSTALL_PARAMS_A parameters{};
    parameters.cbSize = sizeof parameters;
    if (!Succeeded("SetupDiGetDeviceInstallParams",
                   SetupDiGetDeviceInstallParamsA(selection.list, &selection.device, &parameters)))
        return false;
    if (descriptionFile.size() >= sizeof parameters.DriverPath)
        return TellFailure("StringCchCopy", ERROR_INVALID_PARAMETER);
    std::memcpy(parameters.DriverPath, descriptionFile.c_str(), descriptionFile.size() + 1);
    parameters.Flags |= DI_ENUMSINGLEINF;
    return Succeeded(
        "SetupDiSetDeviceInstallParams",
        SetupDiSetDeviceInstallParamsA(selection.list, &selection.device, &parameters));
}

bool SelectDriver(Selection &selection, const char *deviceId, const std::string &descriptionFile)
{
    selection.device.cbSize = sizeof selection.device;
    selection.driver.cbSize = sizeof selection.driver;
    static_assert(SPDIT_COMPATDRIVER == 2 && DIF_SELECTBESTCOMPATDRV == 0x17);
    return Succeeded(
               "SetupDiOpenDeviceInfo",
               SetupDiOpenDeviceInfoA(selection.list, deviceId, nullptr, 0, &selection.device)) &&
           Succeeded("SetupDiSetSelectedDevice",
                     SetupDiSetSelectedDevice(selection.list, &selection.device)) &&
           NameDescriptionFile(selection, descriptionFile) &&
           Succeeded(
               "SetupDiBuildDriverInfoList",
               SetupDiBuildDriverInfoList(selection.list, &selection.device, SPDIT_COMPATDRIVER)) &&
           Succeeded("SetupDiCallClassInstaller",
                     SetupDiCallClassInstaller(DIF_SELECTBESTCOMPATDRV, selection.list,
                                               &selection.device)) &&
           Succeeded(
               "SetupDiGetSelectedDriver",
               SetupDiGetSelectedDriverW(selection.list, &selection.device, &selection.driver));
}

std::unique_ptr<os::DynamicLibrary> LoadInstaller()
{
    char folder[MAX_PATH] = {};
    const UINT length = GetSystemDirectoryA(folder, sizeof folder);
    if (length == 0 || length >= sizeof folder)
        return nullptr;
    return os::DynamicLibrary::Load(std::string(folder) + "\\NEWDEV.DLL");
}

void TellOutcome(BOOL result)
{
    if (result != 0) {
        os::DebugOutput("pInstallDevice  was succesfull");
        return;
    }
    const DWORD error = GetLastError();
    TellFailure("pInstallDevice", error);
    if (error == ERROR_INVALID_FLAGS)
        os::DebugOutput("ERROR_INVALID_FLAGS");
    if (error == ERROR_ACCESS_DENIED)
        os::DebugOutput("ERROR_ACCESS_DENIED");
}

using InstallSelectedDriverFunction = BOOL(WINAPI *)(HWND, HDEVINFO, const wchar_t *, BOOL,
                                                     DWORD *);
using InstallDeviceFunction = BOOL(WINAPI *)(HWND, HDEVINFO, SP_DEVINFO_DATA *, SP_DRVINFO_DATA_W *,
                                             DWORD, BOOL *);

// False if the library has no such entry.
bool CallOlderInstaller(const os::DynamicLibrary &installer, Selection &selection)
{
    const auto install =
        reinterpret_cast<InstallSelectedDriverFunction>(installer.Symbol("InstallSelectedDriver"));
    DWORD mustRestart = 0;
    if (install != nullptr)
        TellOutcome(install(nullptr, selection.list, nullptr, TRUE, &mustRestart));
    return install != nullptr;
}

bool CallNewerInstaller(const os::DynamicLibrary &installer, Selection &selection)
{
    os::DebugOutput(IsVista() ? "UnInstall on Vista" : "UnInstall on XP");
    const auto install =
        reinterpret_cast<InstallDeviceFunction>(installer.Symbol("DiInstallDevice"));
    BOOL mustRestart = FALSE;
    if (install != nullptr)
        TellOutcome(install(nullptr, selection.list, &selection.device, &selection.driver, 0,
                            &mustRestart));
    return install != nullptr;
}

using CallInstaller = bool (*)(const os::DynamicLibrary &installer, Selection &selection);

uint32_t Install(const char *deviceId, const std::string &descriptionFile, CallInstaller call)
{
    const DeviceInfoList list(SetupDiCreateDeviceInfoList(nullptr, nullptr));
    std::unique_ptr<os::DynamicLibrary> installer;
    Selection selection{.list = list.Get(), .device = {}, .driver = {}};
    if (!list.IsThere())
        TellFailure("SetupDiCreateDeviceInfoList", GetLastError());
    else if (SelectDriver(selection, deviceId, descriptionFile)) {
        installer = LoadInstaller();
        if (!installer || !call(*installer, selection))
            os::DebugOutput("DiInstallDevice function did not load properly");
    }
    os::DebugOutput("clean0");
    return 0;
}

} // namespace

uint32_t ListAdapters(AdapterId *table, uint32_t room, uint32_t *count)
{
    const DeviceInfoList list(
        SetupDiGetClassDevsA(&kHostAdapters, nullptr, nullptr, DIGCF_PRESENT));
    if (!list.IsThere())
        return kListFailed;
    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof device;
    for (DWORD index = 0; *count < room && SetupDiEnumDeviceInfo(list.Get(), index, &device) != 0;
         ++index) {
        AdapterId &id = table[*count];
        if (SetupDiGetDeviceInstanceIdA(list.Get(), &device, id.text, sizeof id.text, nullptr) == 0)
            return kListFailed;
        ++*count;
    }
    return 0;
}

uint32_t InstallOnOlderSystems(const char *deviceId, const std::string &descriptionFile)
{
    return Install(deviceId, descriptionFile, CallOlderInstaller);
}

uint32_t InstallOnNewerSystems(const char *deviceId, const std::string &descriptionFile)
{
    return Install(deviceId, descriptionFile, CallNewerInstaller);
}

} // namespace zerix::bus

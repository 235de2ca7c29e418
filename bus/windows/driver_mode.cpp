// The state that decides whether a binding may change: system, user, files, connections.
#include "bus/windows/driver_mode.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <windows.h>

#include <shlobj.h>

#include "platform/os.h"

namespace zerix::bus {

namespace {

constexpr const char *kSharedSection = "404B602C-4181-4d11-A184-AB30190B8DCD";
constexpr size_t kSharedPairs = 63; // adapter number plus 1, node number

struct HandleCloser {
    void operator()(void *handle) const { CloseHandle(handle); }
};
using Owned = std::unique_ptr<void, HandleCloser>;

std::atomic<bool> g_isAllowedToUnload{false};

std::string CommonPrograms()
{
    constexpr int kCommonProgramFiles = 0x2B;
    char folder[MAX_PATH] = {};
    if (SHGetFolderPathA(nullptr, kCommonProgramFiles, nullptr, 0, folder) != S_OK)
        return {};
    return folder;
}

// A section that nobody has made holds no pair.
bool HoldsUsedPair()
{
    const Owned section(OpenFileMappingA(FILE_MAP_READ, FALSE, kSharedSection));
    if (!section)
        return false;
    const std::unique_ptr<const void, void (*)(const void *)> view(
        MapViewOfFile(section.get(), FILE_MAP_READ, 0, 0, kSharedPairs * 8),
        [](const void *address) { UnmapViewOfFile(address); });
    if (!view)
        return false;
    const auto *words = static_cast<const uint32_t *>(view.get());
    for (size_t pair = 0; pair < kSharedPairs; ++pair)
        if (words[pair * 2] != 0)
            return true;
    return false;
}

using GetSystemInfoFunction = void(WINAPI *)(SYSTEM_INFO *);

// Older systems lack the call.
void ReadSystemInfo(SYSTEM_INFO *information)
{
    const auto native = reinterpret_cast<GetSystemInfoFunction>(reinterpret_cast<void *>(
        GetProcAddress(GetModuleHandleA("kernel32.dll"), "GetNativeSystemInfo")));
    if (native != nullptr)
        native(information);
    else
        GetSystemInfo(information);
}

} // namespace

bool IsVista()
{
    SYSTEM_INFO information{};
    ReadSystemInfo(&information);
    OSVERSIONINFOA version{};
    version.dwOSVersionInfoSize = sizeof version;
    return GetVersionExA(&version) != 0 && version.dwPlatformId == VER_PLATFORM_WIN32_NT &&
           version.dwMajorVersion == 6 && version.dwMinorVersion == 0;
}

bool IsElevated()
{
    HANDLE opened = nullptr;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened) == 0)
        return false;
    const Owned token(opened);
    TOKEN_ELEVATION elevation{};
    DWORD size = 0;
    static_assert(TokenElevation == 20);
    return GetTokenInformation(token.get(), TokenElevation, &elevation, sizeof elevation, &size) !=
               0 &&
           elevation.TokenIsElevated != 0;
}

bool IsAdministrator()
{
    SID_IDENTIFIER_AUTHORITY authority = {SECURITY_NT_AUTHORITY};
    PSID group = nullptr;
    static_assert(SECURITY_BUILTIN_DOMAIN_RID == 0x20 && DOMAIN_ALIAS_RID_ADMINS == 0x220);
    if (AllocateAndInitializeSid(&authority, 2, SECURITY_BUILTIN_DOMAIN_RID,
                                 DOMAIN_ALIAS_RID_ADMINS, 0, 0, 0, 0, 0, 0, &group) == 0)
        return false;
    BOOL isMember = FALSE;
    const bool isTold = CheckTokenMembership(nullptr, group, &isMember) != 0;
    FreeSid(group);
    return isTold && isMember != FALSE;
}

std::string PlainModeFile() { return CommonPrograms() + "\\Tolvane\\inf\\1394.inf"; }

std::string AdapterModeFile() { return CommonPrograms() + "\\Tolvane\\inf\\ub1394.inf"; }

std::string HelperProgram() { return CommonPrograms() + "\\Tolvane\\UBHelper.exe"; }

void SetAllowedToUnload(bool isAllowed) { g_isAllowedToUnload.store(isAllowed); }

bool CanUnload()
{
    if (!g_isAllowedToUnload.load() || HoldsUsedPair()) {
        os::DebugOutput("Not allowed to unload\n");
        return false;
    }
    const auto configuration = os::Configuration::Open();
    return !configuration || configuration->Number("FireWireDriverMode") != 1u;
}

} // namespace zerix::bus

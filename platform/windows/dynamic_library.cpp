// Libraries that are loaded at run time, and where the running ones lie.
#include <algorithm>
#include <new>
#include <windows.h>

#include "platform/os.h"
#include "platform/windows/handle.h"

namespace zerix::os {

namespace {

class WindowsLibrary final : public DynamicLibrary {
public:
    explicit WindowsLibrary(HMODULE module) : m_module(module) {}
    ~WindowsLibrary() override { FreeLibrary(m_module); }
    void *Symbol(const char *name) const override
    {
        return reinterpret_cast<void *>(GetProcAddress(m_module, name));
    }

private:
    const HMODULE m_module;
};

// The loader's search knows only backslashes.
std::string WithBackslashes(std::string path)
{
    std::replace(path.begin(), path.end(), '/', '\\');
    return path;
}

} // namespace

std::unique_ptr<DynamicLibrary> DynamicLibrary::Load(const std::string &path)
{
    if (path.empty()) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    const HMODULE module = LoadLibraryA(WithBackslashes(path).c_str());
    if (module == nullptr) {
        KeepLastError();
        return nullptr;
    }
    return std::make_unique<WindowsLibrary>(module);
}

std::string PluginFileName(const std::string &stem) { return stem + ".dll"; }

std::string FolderOfModuleWith(const void *address)
{
    HMODULE module = nullptr;
    if (address == nullptr || GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                                     GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                                                 static_cast<const char *>(address), &module) == 0)
        return {};
    char path[1024];
    const DWORD length = GetModuleFileNameA(module, path, sizeof path);
    if (length == 0 || length == sizeof path)
        return {};
    const std::string whole(path, length);
    return whole.substr(0, std::min(whole.find_last_of("\\/"), whole.size()));
}

} // namespace zerix::os

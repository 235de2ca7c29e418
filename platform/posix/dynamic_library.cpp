// Libraries that are loaded at run time, and where the running ones lie.
#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <link.h>
#include <new>
#include <sys/stat.h>

#include "platform/os.h"
#include "platform/posix/cancellation.h"

namespace zerix::os {

namespace {

class PosixLibrary final : public DynamicLibrary {
public:
    explicit PosixLibrary(void *handle) : m_handle(handle) {}
    ~PosixLibrary() override
    {
        const CancellationOff noCancellation;
        dlclose(m_handle);
    }
    void *Symbol(const char *name) const override { return dlsym(m_handle, name); }

private:
    void *const m_handle;
};

// The whole path of a file, without links; empty if it can't be told.
std::string WholePath(const char *path)
{
    const std::unique_ptr<char, void (*)(void *)> whole(realpath(path, nullptr), std::free);
    return whole ? std::string(whole.get()) : std::string();
}

// The system's loader would wait for a pipe's writer. A name without a folder is its to look for.
bool IsPipeOrDevice(const std::string &path)
{
    struct stat status = {};
    return path.find('/') != std::string::npos && stat(path.c_str(), &status) == 0 &&
           !S_ISREG(status.st_mode);
}

} // namespace

std::unique_ptr<DynamicLibrary> DynamicLibrary::Load(const std::string &path)
{
    const CancellationOff noCancellation;
    void *const handle = path.empty() || IsPipeOrDevice(path)
                             ? nullptr
                             : dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        SetLastError(ENOENT);
        return nullptr;
    }
    return std::make_unique<PosixLibrary>(handle);
}

std::string PluginFileName(const std::string &stem) { return stem + ".so"; }

std::string FolderOfModuleWith(const void *address)
{
    Dl_info info{};
    link_map *module = nullptr;
    if (dladdr1(address, &info, reinterpret_cast<void **>(&module), RTLD_DL_LINKMAP) == 0)
        return {};
    // The program itself has no name there, and its first argument may be anything.
    const bool isProgram = module == nullptr || module->l_name[0] == '\0';
    const std::string path = WholePath(isProgram ? "/proc/self/exe" : module->l_name);
    return path.substr(0, path.find_last_of('/') == std::string::npos ? 0 : path.find_last_of('/'));
}

} // namespace zerix::os

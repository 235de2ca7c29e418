// The system calls themselves.
#define _FILE_OFFSET_BITS 64 // the lock's record is the 64-bit one, on 32 bits too

#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

#include "bus/linux_firewire/system_calls.h"

namespace zerix::bus::linux_firewire {

namespace {

constexpr size_t kLargestSmallFile = 0x10000;

long ResultOf(long result) { return result >= 0 ? result : -errno; }
int ResultOf(int result) { return result >= 0 ? result : -errno; }

struct CloseFolder {
    void operator()(DIR *folder) const { closedir(folder); }
};

// Over the whole file.
struct flock WriteLock()
{
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

timespec AsTimespec(std::chrono::nanoseconds time)
{
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    timespec spec = {};
    spec.tv_sec = static_cast<time_t>(seconds.count());
    spec.tv_nsec = static_cast<long>((time - seconds).count());
    return spec;
}

int ReadAll(int file, std::string &contents)
{
    char block[4096];
    while (contents.size() < kLargestSmallFile) {
        const ssize_t count = read(file, block, sizeof block);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return -errno;
        if (count == 0)
            return 0;
        contents.append(block, static_cast<size_t>(count));
    }
    contents.resize(kLargestSmallFile);
    return 0;
}

class RealCalls final : public SystemCalls {
public:
    int Open(const char *path) override { return ResultOf(open(path, O_RDWR | O_CLOEXEC)); }
    int Close(int file) override { return ResultOf(close(file)); }
    long Read(int file, std::span<uint8_t> bytes) override
    {
        return ResultOf(static_cast<long>(read(file, bytes.data(), bytes.size())));
    }
    int Ioctl(int file, unsigned long request, void *record) override
    {
        return ResultOf(ioctl(file, request, record));
    }

    void *Map(int file, size_t bytes, int &error) override
    {
        void *const address = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        error = address == MAP_FAILED ? -errno : 0;
        // A child would keep the card writing after our end of it.
        if (error == 0)
            static_cast<void>(madvise(address, bytes, MADV_DONTFORK));
        return error == 0 ? address : nullptr;
    }
    int Unmap(void *address, size_t bytes) override { return ResultOf(munmap(address, bytes)); }

    int Poll(std::span<pollfd> files, int timeoutMilliseconds) override
    {
        return ResultOf(poll(files.data(), files.size(), timeoutMilliseconds));
    }
    int MakeEvent() override { return ResultOf(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)); }
    int Signal(int event) override
    {
        const uint64_t one = 1;
        return ResultOf(static_cast<int>(write(event, &one, sizeof one)));
    }
    int Clear(int event) override
    {
        uint64_t count = 0;
        const int result = ResultOf(static_cast<int>(read(event, &count, sizeof count)));
        return result == -EAGAIN ? 0 : result;
    }

    int Lock(int file) override
    {
        struct flock lock = WriteLock();
        const int result = ResultOf(fcntl(file, F_OFD_SETLK, &lock));
        return result == -EACCES ? -EAGAIN : result;
    }
    int Unlock(int file) override
    {
        struct flock lock = WriteLock();
        lock.l_type = F_UNLCK;
        return ResultOf(fcntl(file, F_OFD_SETLK, &lock));
    }
    int IsLockedElsewhere(int file) override
    {
        struct flock lock = WriteLock();
        const int result = ResultOf(fcntl(file, F_OFD_GETLK, &lock));
        return result < 0 ? result : lock.l_type != F_UNLCK;
    }

    int ListFolder(const char *path, std::vector<std::string> &names) override
    {
        names.clear();
        const std::unique_ptr<DIR, CloseFolder> folder(opendir(path));
        if (!folder)
            return -errno;
        for (;;) {
            errno = 0;
            const dirent *const entry = readdir(folder.get());
            if (entry == nullptr)
                return -errno;
            const std::string name = entry->d_name;
            if (name != "." && name != "..")
                names.push_back(name);
        }
    }

    int ReadSmallFile(const char *path, std::string &contents) override
    {
        contents.clear();
        const int file = open(path, O_RDONLY | O_CLOEXEC);
        if (file < 0)
            return -errno;
        const int result = ReadAll(file, contents);
        close(file);
        return result;
    }

    std::chrono::nanoseconds Now() override
    {
        timespec now = {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
    }
    void Sleep(std::chrono::nanoseconds time) override
    {
        const timespec spec = AsTimespec(time);
        nanosleep(&spec, nullptr);
    }
};

} // namespace

SystemCalls &RealSystemCalls()
{
    static auto *const calls = new RealCalls;
    return *calls;
}

} // namespace zerix::bus::linux_firewire

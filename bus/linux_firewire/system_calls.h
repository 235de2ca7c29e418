// The seam below the kernel's FireWire bus: the few system calls that it makes, so that its
// conversation with the kernel can be scripted and modelled. The records are the kernel's own
// (linux/firewire-cdev.h).
//
// Every function gives what the system call gives, or the negative error number (-ENODEV). Any
// thread may call any function, several at a time.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <poll.h>
#include <span>
#include <string>
#include <vector>

namespace zerix::bus::linux_firewire {

class SystemCalls {
public:
    virtual ~SystemCalls() = default;

    // For reading and writing, not inherited by programs that are started. A file's number is
    // never negative.
    virtual int Open(const char *path) = 0;
    // May block for two seconds while a transaction of the file is on its way. Ends the file's lock
    // only after that.
    virtual int Close(int file) = 0;
    // The bytes read: one event, of which what doesn't fit is lost. Blocks until there is one, even
    // in a file that isn't to block: poll first.
    virtual long Read(int file, std::span<uint8_t> bytes) = 0;
    virtual int Ioctl(int file, unsigned long request, void *record) = 0;

    // Shares the file's buffer of so many bytes, for reading and writing; null with the error in
    // `error`. Once in a file's life.
    virtual void *Map(int file, size_t bytes, int &error) = 0;
    virtual int Unmap(void *address, size_t bytes) = 0;

    // The number of files with an answer; 0 at the time-out. -1 milliseconds wait without limit.
    virtual int Poll(std::span<pollfd> files, int timeoutMilliseconds) = 0;
    // A file that polls as readable from Signal to Clear.
    virtual int MakeEvent() = 0;
    virtual int Signal(int event) = 0;
    virtual int Clear(int event) = 0;

    // The lock on a device file that tells other processes, and other handles of this one, that the
    // camera is in use. It belongs to the open file. -EAGAIN if another one has it.
    virtual int Lock(int file) = 0;
    virtual int Unlock(int file) = 0;
    // 1 if another open file has the lock, 0 if not.
    virtual int IsLockedElsewhere(int file) = 0;

    // The names in a folder, in no order, without . and .. ; 0 or an error.
    virtual int ListFolder(const char *path, std::vector<std::string> &names) = 0;
    // The first bytes of a file, 64 KiB at most; 0 or an error.
    virtual int ReadSmallFile(const char *path, std::string &contents) = 0;

    // Never goes back.
    virtual std::chrono::nanoseconds Now() = 0;
    virtual void Sleep(std::chrono::nanoseconds time) = 0;
};

// Those of this system. Lives as long as the process.
SystemCalls &RealSystemCalls();

} // namespace zerix::bus::linux_firewire

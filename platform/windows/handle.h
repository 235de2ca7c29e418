// The owner of a system handle, and what every wait and every failed call here shares.
#pragma once

#include <windows.h>

#include "platform/os.h"

namespace zerix::os {

class Handle {
public:
    explicit Handle(HANDLE handle) : m_handle(handle) {}
    ~Handle()
    {
        if (m_handle != nullptr)
            CloseHandle(m_handle);
    }
    Handle(const Handle &) = delete;
    Handle &operator=(const Handle &) = delete;
    [[nodiscard]] HANDLE Get() const { return m_handle; }

private:
    const HANDLE m_handle;
};

// Makes the error of the system call that has just failed the port's last error.
inline void KeepLastError() { SetLastError(GetLastError()); }

inline WaitResult WaitFor(HANDLE handle, uint32_t timeoutMilliseconds)
{
    static_assert(kWaitForever == INFINITE);
    switch (WaitForSingleObject(handle, timeoutMilliseconds)) {
    case WAIT_OBJECT_0:
        return WaitResult::kSignalled;
    case WAIT_TIMEOUT:
        return WaitResult::kTimedOut;
    default:
        KeepLastError();
        return WaitResult::kFailed;
    }
}

} // namespace zerix::os

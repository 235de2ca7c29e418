// Semaphores, events and mutexes: the system's own, without names.
#include <new>
#include <windows.h>

#include "platform/os.h"
#include "platform/windows/handle.h"

namespace zerix::os {

namespace {

class WindowsSemaphore final : public Semaphore {
public:
    explicit WindowsSemaphore(HANDLE handle) : m_handle(handle) {}
    WaitResult Wait(uint32_t timeoutMilliseconds) override
    {
        return WaitFor(m_handle.Get(), timeoutMilliseconds);
    }
    bool Signal() override { return ReleaseSemaphore(m_handle.Get(), 1, nullptr) != 0; }

private:
    const Handle m_handle;
};

class WindowsEvent final : public Event {
public:
    explicit WindowsEvent(HANDLE handle) : m_handle(handle) {}
    WaitResult Wait(uint32_t timeoutMilliseconds) override
    {
        return WaitFor(m_handle.Get(), timeoutMilliseconds);
    }
    bool Signal() override { return SetEvent(m_handle.Get()) != 0; }
    void Reset() override { ResetEvent(m_handle.Get()); }

private:
    const Handle m_handle;
};

class WindowsMutex final : public Mutex {
public:
    explicit WindowsMutex(HANDLE handle) : m_handle(handle) {}
    // One that a thread left behind when it was ended counts as free.
    void lock() override { WaitForSingleObject(m_handle.Get(), INFINITE); }
    void unlock() override { ReleaseMutex(m_handle.Get()); }

private:
    const Handle m_handle;
};

// Null for a handle that the system didn't give, and without the memory for the object.
template <typename Whole, typename Port>
std::unique_ptr<Port> Owning(HANDLE handle)
{
    if (handle == nullptr) {
        KeepLastError();
        return nullptr;
    }
    std::unique_ptr<Port> owner(new (std::nothrow) Whole(handle));
    if (!owner) {
        CloseHandle(handle);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    return owner;
}

} // namespace

std::unique_ptr<Semaphore> Semaphore::Create(uint32_t initialCount, uint32_t maximumCount)
{
    return Owning<WindowsSemaphore, Semaphore>(CreateSemaphoreA(
        nullptr, static_cast<LONG>(initialCount), static_cast<LONG>(maximumCount), nullptr));
}

std::unique_ptr<Event> Event::Create(ResetMode mode)
{
    const BOOL isManual = mode == ResetMode::kManual ? TRUE : FALSE;
    return Owning<WindowsEvent, Event>(CreateEventA(nullptr, isManual, FALSE, nullptr));
}

std::unique_ptr<Mutex> Mutex::Create()
{
    return Owning<WindowsMutex, Mutex>(CreateMutexA(nullptr, FALSE, nullptr));
}

} // namespace zerix::os

// Memory that the kernel driver may write to: it must outlive the requests that it was given with,
// and a driver may ignore that a request is cancelled. Any thread.
#pragma once

#include <memory>

namespace zerix::hal {

class DriverMemory {
public:
    DriverMemory() = default;
    virtual ~DriverMemory() = default;
    DriverMemory(const DriverMemory &) = delete;
    DriverMemory &operator=(const DriverMemory &) = delete;

    // Cancels what is pending and waits a second for it. Called before the memory is given up.
    virtual void EndRequests() = 0;

    // True if the driver writes to it no more. Doesn't block.
    [[nodiscard]] virtual bool IsOver() = 0;

private:
    friend void FreeWhatIsOver();
    friend struct FreeWhenOver;
    DriverMemory *m_nextKept = nullptr;
};

// Ends the requests, and frees the memory; keeps it if a request goes on nevertheless.
struct FreeWhenOver {
    void operator()(DriverMemory *memory) const;
};

template <typename Memory>
using DriverPointer = std::unique_ptr<Memory, FreeWhenOver>;

// Frees what was kept and whose requests are over by now.
void FreeWhatIsOver();

} // namespace zerix::hal

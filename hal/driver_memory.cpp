// Memory that outlives the requests it was given with.
#include "hal/driver_memory.h"

#include <mutex>

namespace zerix::hal {

namespace {

struct Kept {
    std::mutex mutex;
    DriverMemory *first = nullptr; // under the mutex
};

// Never destroyed: the driver may write to what it holds until the process is gone.
Kept &KeptMemory()
{
    static auto &kept = *new Kept;
    return kept;
}

} // namespace

// Nothing is allocated here: the list runs through the memory itself.
void FreeWhenOver::operator()(DriverMemory *memory) const
{
    memory->EndRequests();
    if (memory->IsOver()) {
        delete memory;
        return;
    }
    Kept &kept = KeptMemory();
    const std::lock_guard lock(kept.mutex);
    memory->m_nextKept = kept.first;
    kept.first = memory;
}

void FreeWhatIsOver()
{
    Kept &kept = KeptMemory();
    const std::lock_guard lock(kept.mutex);
    for (DriverMemory **link = &kept.first; *link != nullptr;) {
        DriverMemory *const memory = *link;
        if (!memory->IsOver()) {
            link = &memory->m_nextKept;
            continue;
        }
        *link = memory->m_nextKept;
        delete memory;
    }
}

} // namespace zerix::hal

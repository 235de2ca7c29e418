// Timers, and the life of open files.
#include "tests/linux_model/machine.h"

#include <algorithm>
#include <utility>

namespace zerix::linux_model {
namespace {

// How often the virtual bus is looked at while somebody may see a change; of the wall clock.
constexpr auto kBetweenLooks = std::chrono::milliseconds(2);

} // namespace

uint32_t PlannedFaults::TakeRcode()
{
    if (rcodes.empty())
        return RCODE_COMPLETE;
    const uint32_t rcode = rcodes.front();
    rcodes.pop_front();
    return rcode;
}

Machine::Machine(const ModelOptions &chosen) : options(chosen), clock(chosen.speedUp)
{
    const Lock lock(mutex);
    bus.Boot();
    transactions.Start();
    m_thread = std::thread(&Machine::RunTimers, this);
}

// What a program has left open is closed, as at its end.
Machine::~Machine()
{
    Lock lock(mutex);
    m_isEnding = true;
    m_timer.notify_all();
    lock.unlock();
    m_thread.join();
    lock.lock();
    transactions.End(lock);
    for (const auto &file : std::vector(m_files))
        Release(lock, *file);
    bus.CloseLinks(lock);
}

// Files -------------------------------------------------------------------------------------------

void Machine::AddFile(const std::shared_ptr<DeviceFile> &file)
{
    m_files.push_back(file);
    bus.AddFile(*file);
    WakeTimer();
}

void Machine::Release(Lock &lock, DeviceFile &file)
{
    file.hasInfo = false;
    streams.Destroy(lock, file);
    file.isReleased = true;
    changed.wait(lock, [&] { return file.pendingTransactions == 0; });
    resources.FreeAll(file);
    file.events.clear();
    bus.RemoveFile(file);
    bus.CloseLinks(lock);
    std::erase_if(m_files, [&](const auto &open) { return open.get() == &file; });
    changed.notify_all();
}

EventRecord Machine::BusResetEvent(const DeviceFile &file) const
{
    const uint32_t local = bus.LocalNodeId(); // the bus manager and the root as well
    EventRecord record(file.resetClosure, FW_CDEV_EVENT_BUS_RESET);
    record.Put(file.node->nodeId).Put(local).Put(local).Put(local).Put(local);
    record.Put(file.node->generation);
    return record;
}

// Time --------------------------------------------------------------------------------------------

nanoseconds Machine::NextDue() const
{
    return std::min({bus.NextDue(), resources.NextDue(), transactions.NextDue()});
}

void Machine::DoWhatIsDue(Lock &lock)
{
    bus.Look();
    while (bus.HasLinksToClose())
        bus.CloseLinks(lock);
    bus.RunDue();
    resources.RunDue();
    transactions.RunDue();
    changed.notify_all();
}

void Machine::Advance(Lock &lock, nanoseconds time)
{
    const nanoseconds end = clock.Now() + time;
    DoWhatIsDue(lock);
    for (nanoseconds next = NextDue(); next <= end; next = NextDue()) {
        clock.Advance(std::max(next - clock.Now(), nanoseconds(0)));
        DoWhatIsDue(lock);
    }
    clock.Advance(end - clock.Now());
    changed.notify_all();
}

// Asleep while nothing is due and nobody watches.
void Machine::RunTimers()
{
    Lock lock(mutex);
    while (!m_isEnding) {
        DoWhatIsDue(lock);
        if (!m_isEnding && !bus.IsWatched() && NextDue() == kForever)
            m_timer.wait(lock);
        else if (!m_isEnding)
            m_timer.wait_for(lock, kBetweenLooks);
    }
}

} // namespace zerix::linux_model

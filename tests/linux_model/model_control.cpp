// What a test does to the modelled kernel.
#include <bit>

#include "tests/linux_model/kernel_model.h"
#include "tests/linux_model/machine.h"

namespace zerix::linux_model {
namespace {

// Who holds a lock in another process.
const DeviceFile kElsewhere{};

} // namespace

void KernelModel::HoldClock()
{
    const linux_model::Lock lock(m_machine->mutex);
    m_machine->clock.Hold();
}

void KernelModel::Advance(nanoseconds time)
{
    linux_model::Lock lock(m_machine->mutex);
    m_machine->Advance(lock, time);
}

void KernelModel::Look()
{
    const linux_model::Lock lock(m_machine->mutex);
    m_machine->bus.Look();
}

void KernelModel::Settle()
{
    linux_model::Lock lock(m_machine->mutex);
    m_machine->bus.Look();
    m_machine->changed.wait(lock, [this] { return m_machine->bus.NextDue() == kForever; });
}

void KernelModel::ResetBus()
{
    const linux_model::Lock lock(m_machine->mutex);
    m_machine->bus.Reset();
}

void KernelModel::Occupy(uint64_t channels, uint32_t units)
{
    const linux_model::Lock lock(m_machine->mutex);
    m_machine->resources.Occupy(channels, units);
}

void KernelModel::LockElsewhere(const std::string &name, bool isLocked)
{
    const linux_model::Lock lock(m_machine->mutex);
    if (const auto node = m_machine->bus.Find(name))
        node->lockHolder = isLocked ? &kElsewhere : nullptr;
}

void KernelModel::AnswerNext(uint32_t rcode, uint32_t times)
{
    const linux_model::Lock lock(m_machine->mutex);
    m_machine->faults.rcodes.insert(m_machine->faults.rcodes.end(), times, rcode);
}

void KernelModel::FailRomReads(uint32_t times)
{
    const linux_model::Lock lock(m_machine->mutex);
    m_machine->faults.romReads = times;
}

void KernelModel::LoseIsoEvents(uint32_t times)
{
    const linux_model::Lock lock(m_machine->mutex);
    m_machine->faults.lostIsoEvents = times;
}

void KernelModel::DelayPermission(nanoseconds time)
{
    const linux_model::Lock lock(m_machine->mutex);
    m_machine->faults.permissionDelay = time;
}

void KernelModel::FailNext(Call call, int error)
{
    const linux_model::Lock lock(m_machine->mutex);
    m_failures[call] = error;
}

KernelModel::Held KernelModel::WhatIsHeld()
{
    const linux_model::Lock lock(m_machine->mutex);
    Held held;
    held.files = static_cast<uint32_t>(m_files.size());
    for (const auto &file : m_machine->OpenFiles()) {
        held.maps += file->IsMapped() ? 1 : 0;
        held.locks += file->node->lockHolder == file.get() ? 1 : 0;
        held.contexts += file->context != nullptr ? 1 : 0;
        held.pendingTransactions += file->pendingTransactions;
    }
    const IsoAccounts &accounts = m_machine->resources.Accounts();
    held.channels = 64 - static_cast<uint32_t>(std::popcount(accounts.FreeChannels()));
    held.units = kBandwidthUnits - accounts.UnitsLeft();
    return held;
}

} // namespace zerix::linux_model

// The scripted kernel's resources, locks and streams.
#include "tests/bus/linux/scripted_bytes.h"
#include "tests/bus/linux/scripted_kernel.h"

#include <algorithm>
#include <cerrno>

namespace zerix::bus::linux_firewire {

// Resources --------------------------------------------------------------------------------------

int ScriptedKernel::Allocate(File &file, fw_cdev_allocate_iso_resource &record)
{
    record.handle = m_lastResource++;
    allocations.push_back(record);
    m_changed.notify_all();
    if (!answersBookings)
        return 0;
    fw_cdev_event_iso_resource event{};
    event.closure = record.closure;
    event.type = FW_CDEV_EVENT_ISO_RESOURCE_ALLOCATED;
    event.handle = record.handle;
    event.channel = -EINVAL;
    if (refusesResources)
        event.channel = -EBUSY;
    else if (record.channels != 0)
        event.channel = __builtin_ctzll(record.channels);
    event.bandwidth = refusesResources ? 0 : static_cast<int32_t>(record.bandwidth);
    Tell(file, &event, sizeof event);
    return 0;
}

void ScriptedKernel::TellGranted(uint64_t closure, uint32_t handle, int32_t channel,
                                 int32_t bandwidth)
{
    const std::lock_guard lock(m_mutex);
    fw_cdev_event_iso_resource event{};
    event.closure = closure;
    event.type = FW_CDEV_EVENT_ISO_RESOURCE_ALLOCATED;
    event.handle = handle;
    event.channel = channel;
    event.bandwidth = bandwidth;
    for (auto &[number, file] : m_files)
        if (file.node != nullptr && !file.node->isLocal && !file.isMapped)
            Tell(file, &event, sizeof event);
}

void ScriptedKernel::TellDeallocated(uint64_t closure, uint32_t handle)
{
    const std::lock_guard lock(m_mutex);
    fw_cdev_event_iso_resource event{};
    event.closure = closure;
    event.type = FW_CDEV_EVENT_ISO_RESOURCE_DEALLOCATED;
    event.handle = handle;
    event.channel = -EBUSY;
    for (auto &[number, file] : m_files)
        if (file.node != nullptr && !file.node->isLocal && !file.isMapped)
            Tell(file, &event, sizeof event);
}

int ScriptedKernel::Lock(int file)
{
    const std::lock_guard lock(m_mutex);
    if (lockError != 0)
        return lockError;
    File &locked = At(file);
    for (const auto &[number, other] : m_files)
        if (&other != &locked && other.node == locked.node && other.isLocked)
            return -EAGAIN;
    if (isLockedByOthers)
        return -EAGAIN;
    locked.isLocked = true;
    log.push_back("lock");
    return 0;
}

int ScriptedKernel::Unlock(int file)
{
    const std::lock_guard lock(m_mutex);
    At(file).isLocked = false;
    log.push_back("unlock");
    return 0;
}

int ScriptedKernel::IsLockedElsewhere(int file)
{
    const std::lock_guard lock(m_mutex);
    if (lockError != 0)
        return lockError;
    const File &asked = At(file);
    for (const auto &[number, other] : m_files)
        if (&other != &asked && other.node == asked.node && other.isLocked)
            return 1;
    return isLockedByOthers ? 1 : 0;
}

// Streams ----------------------------------------------------------------------------------------

void *ScriptedKernel::Map(int file, size_t bytes, int &error)
{
    const std::lock_guard lock(m_mutex);
    File &mapped = At(file);
    error = mapError;
    if (mapped.memory && error == 0)
        error = -EBUSY;
    if (error != 0)
        return nullptr;
    mapped.memory = std::make_unique<uint8_t[]>(bytes);
    mapped.bytes = bytes;
    mapped.isMapped = true;
    mapBytes = bytes;
    return mapped.memory.get();
}

int ScriptedKernel::Unmap(void *address, size_t bytes)
{
    const std::lock_guard lock(m_mutex);
    for (auto &[number, file] : m_files) {
        if (file.memory.get() != address || !file.isMapped)
            continue;
        EXPECT_EQ(file.bytes, bytes);
        file.isMapped = false;
        file.isListening = false;
        log.push_back("unmap");
        return 0;
    }
    ADD_FAILURE() << "nothing is mapped there";
    return -EINVAL;
}

int ScriptedKernel::Queue(File &file, fw_cdev_queue_iso &record)
{
    EXPECT_TRUE(file.hasContext);
    const auto *const entries =
        reinterpret_cast<const uint32_t *>(static_cast<uintptr_t>(record.packets));
    auto *slot = reinterpret_cast<uint8_t *>(static_cast<uintptr_t>(record.data));
    const uint32_t count = std::min(record.size / 4, mostQueuedAtOnce);
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t bytes = entries[i] & 0xFFFF;
        EXPECT_EQ(8u, entries[i] >> 24) << "one packet an entry";
        EXPECT_EQ(0u, entries[i] & 0xFE0000);
        EXPECT_LE(file.memory.get(), slot);
        EXPECT_LE(slot + bytes, file.memory.get() + file.bytes) << "beyond the map";
        file.queue.push_back({slot, bytes, (entries[i] & FW_CDEV_ISO_INTERRUPT) != 0});
        slot += bytes;
    }
    record.packets += uint64_t{count} * 4;
    record.data = reinterpret_cast<uintptr_t>(slot);
    record.size -= count * 4;
    queued += count;
    m_changed.notify_all();
    return static_cast<int>(count);
}

void ScriptedKernel::Send(const std::vector<Packet> &packets)
{
    const std::lock_guard lock(m_mutex);
    for (auto &[number, file] : m_files)
        if (file.isListening)
            for (const Packet &packet : packets)
                SendOne(file, packet);
    m_changed.notify_all();
}

void ScriptedKernel::SendOne(File &file, const Packet &packet)
{
    m_cycle = (m_cycle + packet.cyclesLater) % 64000;
    if (file.queue.empty())
        return;
    const Entry entry = file.queue.front();
    file.queue.pop_front();
    if (packet.isWritten)
        std::memset(entry.slot, packet.fill, std::min(packet.length, entry.bytes));
    PutBigEndian(file.headers, packet.length << 16);
    PutBigEndian(file.headers, (m_cycle / 8000) << 13 | m_cycle % 8000);
    if (!entry.interrupts)
        return;
    fw_cdev_event_iso_interrupt event{};
    event.type = FW_CDEV_EVENT_ISO_INTERRUPT;
    event.header_length = static_cast<uint32_t>(file.headers.size());
    if (!losesNextEvent)
        Tell(file, &event, offsetof(fw_cdev_event_iso_interrupt, header), file.headers);
    losesNextEvent = false;
    file.headers.clear();
}

} // namespace zerix::bus::linux_firewire

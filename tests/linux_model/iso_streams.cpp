// Contexts: created, queued, started; and packets on their way to them.
#include "tests/linux_model/iso_streams.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tests/linux_model/machine.h"

namespace zerix::linux_model {
namespace {

constexpr uint32_t kCyclesPerSecond = 8000;
constexpr uint32_t kTicksPerCycle = 3072;
constexpr uint32_t kPacketTag = 0; // of the cameras' packets
constexpr uint32_t kEntryBytes = 4;

// 3 bits of seconds and 13 of cycles.
uint16_t StampOf(uint32_t cycle)
{
    return static_cast<uint16_t>((cycle / kCyclesPerSecond & 7) << 13 | cycle % kCyclesPerSecond);
}

} // namespace

uint32_t IsoStreams::CycleTimer() const
{
    const auto now = static_cast<uint64_t>(m_machine.clock.Now().count());
    const uint64_t seconds = now / 1'000'000'000;
    const uint64_t ticks = now % 1'000'000'000 * kCyclesPerSecond * kTicksPerCycle / 1'000'000'000;
    return static_cast<uint32_t>((seconds & 127) << 25 | ticks / kTicksPerCycle << 12 |
                                 ticks % kTicksPerCycle);
}

// The ioctls --------------------------------------------------------------------------------------

// The card is asked first, and then whether the file has one already.
int IsoStreams::Create(DeviceFile &file, fw_cdev_create_iso_context &request)
{
    if (request.type != FW_CDEV_ISO_CONTEXT_RECEIVE || request.header_size < 4 ||
        request.header_size % 4 != 0 || request.channel > 63)
        return -EINVAL;
    const auto &files = m_machine.OpenFiles();
    const auto contexts = std::count_if(files.begin(), files.end(),
                                        [](const auto &open) { return open->context != nullptr; });
    const bool isTaken = std::any_of(files.begin(), files.end(), [&](const auto &open) {
        return open->context != nullptr && open->context->Set().channel == request.channel;
    });
    if (isTaken || static_cast<uint32_t>(contexts) >= m_machine.options.receiveContexts ||
        file.context != nullptr)
        return -EBUSY;
    const auto link = LinkOf(file);
    if (link != nullptr && !link->ReserveStream(request.channel))
        return -EBUSY;
    const IsoContext::Settings settings{.channel = request.channel,
                                        .headerBytes = request.header_size,
                                        .closure = request.closure,
                                        .dropsOverflow = file.version < 5};
    file.context = std::make_unique<IsoContext>(settings, [this, &file](Event event) {
        if (m_machine.faults.TakeLostIsoEvent())
            return;
        file.Queue(std::move(event));
        m_machine.changed.notify_all();
    });
    request.handle = 0;
    return 0;
}

// What was queued before a bad entry stays queued.
int IsoStreams::Queue(DeviceFile &file, fw_cdev_queue_iso &request)
{
    IsoContext *const context = file.context.get();
    if (context == nullptr || request.handle != 0)
        return -EINVAL;
    const auto start = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(file.memory.data()));
    uint64_t payload = request.data - start;
    uint64_t end = file.memory.size();
    if (request.data == 0 || payload >= end)
        payload = end = 0;
    const auto *const entries =
        reinterpret_cast<const uint8_t *>(static_cast<uintptr_t>(request.packets));
    const uint32_t longest = m_machine.options.longestQueue;
    uint32_t at = 0;
    int count = 0;
    while (at < request.size && (longest == 0 || static_cast<uint32_t>(count) < longest)) {
        uint32_t control = 0;
        std::memcpy(&control, entries + at, sizeof control);
        const uint32_t payloadBytes = control & 0xFFFF;
        const uint32_t headerBytes = control >> 24;
        if (headerBytes == 0 || headerBytes % context->Set().headerBytes != 0 ||
            at + kEntryBytes > request.size || payload + payloadBytes > end)
            return -EINVAL;
        context->Queue(headerBytes, payloadBytes, (control >> 16 & 1) != 0,
                       static_cast<size_t>(payload));
        payload += payloadBytes;
        at += kEntryBytes;
        ++count;
    }
    m_machine.changed.notify_all();
    request.size -= at;
    request.packets += at;
    request.data = start + payload;
    return count;
}

int IsoStreams::Start(DeviceFile &file, const fw_cdev_start_iso &request)
{
    if (file.context == nullptr || request.handle != 0)
        return -EINVAL;
    if (request.tags == 0 || request.tags > 15 || request.sync > 15)
        return -EINVAL;
    if (file.context->IsRunning())
        return 0;
    if (const int error = file.context->Start(request.tags); error != 0)
        return error;
    m_cycles[file.context->Set().channel] =
        (CycleTimer() >> 25) * kCyclesPerSecond + (CycleTimer() >> 12 & 0x1FFF);
    GoOn(file);
    return 0;
}

// Returns when no packet is on its way any more.
int IsoStreams::Stop(Lock &lock, DeviceFile &file, uint32_t handle)
{
    if (file.context == nullptr || handle != 0)
        return -EINVAL;
    file.context->Stop();
    const uint32_t channel = file.context->Set().channel;
    if (const auto link = LinkOf(file)) {
        lock.unlock();
        link->StopStream(channel);
        lock.lock();
    }
    return 0;
}

int IsoStreams::Flush(DeviceFile &file, uint32_t handle)
{
    if (file.context == nullptr || handle != 0)
        return -EINVAL;
    file.context->Flush();
    return 0;
}

void IsoStreams::Destroy(Lock &lock, DeviceFile &file)
{
    if (file.context == nullptr)
        return;
    file.context->Stop();
    const uint32_t channel = file.context->Set().channel;
    if (const auto link = LinkOf(file)) {
        lock.unlock();
        link->FreeStream(channel);
        lock.lock();
    }
    file.context.reset();
}

// The virtual bus wants to know how long the slots are, as a camera that isn't told its packet
// size fills them.
void IsoStreams::GoOn(DeviceFile &file)
{
    const auto link = LinkOf(file);
    if (file.context == nullptr || !file.context->IsRunning() || link == nullptr)
        return;
    link->StartStream(file.context->Set().channel, file.context->LargestPlace(), *this);
}

// Packets -----------------------------------------------------------------------------------------

std::shared_ptr<CameraLink> IsoStreams::LinkOf(const DeviceFile &file) const
{
    return file.node->link;
}

DeviceFile *IsoStreams::Listener(uint32_t channel) const
{
    for (const auto &file : m_machine.OpenFiles())
        if (file->context != nullptr && file->context->Set().channel == channel)
            return file.get();
    return nullptr;
}

// On the fast clock a packet waits for a place, as the camera does for a buffer; on the wall clock
// it is lost without one.
void IsoStreams::Deliver(uint32_t channel, std::span<const uint8_t> payload,
                         const std::atomic<bool> &isStopped)
{
    const bool isFast = rack_cameras::RackIsOnFastClock();
    Lock lock(m_machine.mutex);
    DeviceFile *listener = nullptr;
    m_machine.changed.wait(lock, [&] {
        listener = Listener(channel);
        return isStopped || !isFast ||
               (listener != nullptr && listener->context->IsRunning() &&
                listener->context->PlaceCount() > m_machine.options.keptPlaces);
    });
    const uint16_t stamp = StampOf(m_cycles[channel]++);
    if (!isStopped && listener != nullptr)
        listener->context->Put({payload, channel, kPacketTag, stamp}, listener->memory);
}

// The lock makes sure that no packet is between its look at the flag and its wait.
void IsoStreams::Wake()
{
    const Lock lock(m_machine.mutex);
    m_machine.changed.notify_all();
}

} // namespace zerix::linux_model

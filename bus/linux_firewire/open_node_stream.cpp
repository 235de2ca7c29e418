// A node's stream: its ring, which the kernel fills, and the hardware layer's buffers, which are
// filled from the ring.
#include <algorithm>
#include <exception>
#include <utility>

#include "bus/linux_firewire/kernel_records.h"
#include "bus/linux_firewire/open_node.h"
#include "bus/linux_firewire/system_errors.h"
#include "hal/requests/request_server.h"

namespace zerix::bus::linux_firewire {

using namespace kernel;

namespace {

constexpr int kFastSpeedCode = 3;
constexpr uint32_t kLeastSlot = kSlotPayloadOffset + 4; // bytes
constexpr uint32_t kLargestSlowSlot = 0x1324;           // bytes of one at 400 Mb/s
// What is queued beyond that needs memory. The hardware layer has 60.
constexpr uint32_t kMostBuffersAtOnce = 1024;
// A ring that was given up holds its channel until its file is closed.
constexpr uint32_t kTriesForRing = 50;
constexpr std::chrono::milliseconds kBetweenTries{10};

// Clears itself, however the thread leaves.
class Mark {
public:
    explicit Mark(bool &flag) : m_flag(flag) { m_flag = true; }
    ~Mark() { m_flag = false; }
    Mark(const Mark &) = delete;
    Mark &operator=(const Mark &) = delete;

private:
    bool &m_flag;
};

// The lock is let go meanwhile, and taken again however the thread leaves.
class Unlocked {
public:
    explicit Unlocked(std::unique_lock<std::mutex> &lock) : m_lock(lock) { m_lock.unlock(); }
    ~Unlocked() { m_lock.lock(); }
    Unlocked(const Unlocked &) = delete;
    Unlocked &operator=(const Unlocked &) = delete;

private:
    std::unique_lock<std::mutex> &m_lock;
};

// Forgets something, however the thread leaves, unless it is to be kept.
template <typename Thing>
class Provisional {
public:
    explicit Provisional(std::optional<Thing> &thing) : m_thing(thing) {}
    ~Provisional()
    {
        if (!m_isKept)
            m_thing.reset();
    }
    Provisional(const Provisional &) = delete;
    Provisional &operator=(const Provisional &) = delete;
    void Keep() { m_isKept = true; }

private:
    std::optional<Thing> &m_thing;
    bool m_isKept = false;
};

void TellLosses(const StreamLosses &losses)
try {
    if (losses.Sum() == 0)
        return;
    os::DebugOutput("FireWire stream: " + std::to_string(losses.missing) + " packets missing, " +
                    std::to_string(losses.tooLong) + " too long, " +
                    std::to_string(losses.unwritten) + " unwritten, " +
                    std::to_string(losses.untold) + " untold, " + std::to_string(losses.overtaken) +
                    " overtaken");
} catch (const std::exception &) {
    // Without the memory for a line there is none: the stream has to end nevertheless.
}

} // namespace

// Resources ---------------------------------------------------------------------------------------

uint32_t OpenNode::CheckResources(const ResourcesRequest &request) const
{
    const bool isSpeed = request.speedFlag == kSpeedFlag800 || request.speedFlag == kSpeedFlag400;
    const bool isSane = request.flags == kResourceFlags && request.bufferCount > 0 &&
                        request.slotBytes >= kLeastSlot && request.stripQuadlets == 0 &&
                        request.bufferBytes == uint64_t{request.slotBytes} * kSlotsPerBuffer;
    if (!isSpeed || !isSane || !m_bookings.HeldChannel(request.channel))
        return kErrorInvalidParameter;
    if (m_resources || m_isMakingRing)
        return kErrorBusy;
    const bool isFast = request.speedFlag == kSpeedFlag800;
    if (isFast && m_files.speed < kFastSpeedCode)
        return kErrorNoSystemResources;
    if (request.slotBytes > (isFast ? kLargestSlot : kLargestSlowSlot))
        return kErrorNoSystemResources;
    return m_bookings.HoldsBandwidthFor(request.slotBytes) ? 0 : uint32_t{kErrorInvalidParameter};
}

uint32_t OpenNode::AllocateResources(ResourcesRequest &booking)
{
    Lock lock(m_mutex);
    if (const uint32_t error = Usable())
        return error;
    if (const uint32_t error = CheckResources(booking))
        return error;
    m_buffers.Reserve(std::min(booking.bufferCount, kMostBuffersAtOnce));
    m_resources = {++m_lastResources, booking.channel, booking.slotBytes, booking.bufferCount};
    booking.handle = m_lastResources;
    Provisional provisional(m_resources);
    const uint32_t error = MakeRing(lock);
    if (error == 0)
        provisional.Keep();
    return Noted(error);
}

uint32_t OpenNode::FreeResources(uint32_t handle)
{
    const Lock lock(m_mutex);
    if (m_isLost)
        return 0;
    if (!m_resources || m_resources->handle != handle)
        return kErrorInvalidParameter;
    EndBuffers(kErrorOperationAborted);
    RetireRing();
    m_resources.reset();
    return 0;
}

// The ring ----------------------------------------------------------------------------------------

// Made without the lock: the kernel takes its time to find the memory.
uint32_t OpenNode::MakeRing(Lock &lock)
{
    const uint32_t handle = m_resources->handle;
    const uint32_t slotBytes = m_resources->slotBytes;
    const uint32_t channel = m_resources->channel;
    std::unique_ptr<StreamRing> ring;
    uint32_t error = 0;
    {
        const Mark mark(m_isMakingRing);
        const Unlocked unlocked(lock);
        error = TryToMakeRing(slotBytes, channel, ring);
    }
    if (error != 0)
        return error;
    const bool isWanted = Usable() == 0 && m_resources && m_resources->handle == handle;
    RetireRing();
    m_ring = std::move(ring);
    ++m_ringNumber;
    if (isWanted)
        return 0;
    RetireRing();
    return Usable() != 0 ? Usable() : uint32_t{kErrorOperationAborted};
}

uint32_t OpenNode::TryToMakeRing(uint32_t slotBytes, uint32_t channel,
                                 std::unique_ptr<StreamRing> &ring)
{
    for (uint32_t tries = 1;; ++tries) {
        const uint64_t closed = m_closer.FinishedCount();
        int file = -1;
        if (const uint32_t error = OpenAgain(m_system, m_closer, m_files.node, file))
            return error;
        FileOwner owner(m_closer, file);
        const uint32_t error = StreamRing::Make(m_system, file, slotBytes, channel, ring);
        if (error == 0)
            return owner.TakeOut(), 0;
        if (error != kErrorBusy)
            return error;
        if (tries == kTriesForRing)
            return kErrorNoSystemResources;
        if (!m_closer.AwaitMoreThan(closed, kBetweenTries))
            m_system.Sleep(kBetweenTries);
    }
}

// The event thread still polls the file, which keeps it open for as long.
int OpenNode::TakeRingFile()
{
    if (!m_ring)
        return -1;
    m_ring->Stop();
    TellLosses(m_ring->Losses());
    const int file = m_ring->Release();
    m_ring.reset();
    ++m_ringNumber;
    Wake();
    return file;
}

void OpenNode::RetireRing()
{
    const int file = TakeRingFile();
    if (file >= 0)
        m_closer.Take({.thread = {}, .files = FileList(file), .owner = {}});
}

// Listening ---------------------------------------------------------------------------------------

// A context that has run once is of no more use.
uint32_t OpenNode::Listen(uint32_t resources)
{
    Lock lock(m_mutex);
    if (const uint32_t error = Usable())
        return error;
    if (!m_resources || m_resources->handle != resources)
        return kErrorInvalidParameter;
    if (m_isMakingRing)
        return kErrorBusy;
    if (m_ring && m_ring->IsRunning())
        return 0;
    if (!m_ring || m_ring->WasStarted())
        if (const uint32_t error = MakeRing(lock))
            return Noted(error);
    const uint32_t error = m_ring->Start();
    if (error != 0)
        RetireRing();
    m_lastPacket = m_system.Now();
    m_askedInSilence = false;
    Wake();
    return Noted(error);
}

uint32_t OpenNode::StopListen(uint32_t resources)
{
    const Lock lock(m_mutex);
    if (m_isLost)
        return 0;
    if (!m_resources || m_resources->handle != resources)
        return kErrorInvalidParameter;
    if (m_ring && m_ring->WasStarted())
        RetireRing();
    return 0;
}

// Buffers -----------------------------------------------------------------------------------------

ControlResult OpenNode::QueueBuffer(RequestId id, std::span<uint8_t> buffer)
{
    const Lock lock(m_mutex);
    if (const uint32_t error = Usable())
        return Failed(error);
    if (!m_resources || buffer.size() != size_t{m_resources->slotBytes} * kSlotsPerBuffer)
        return Failed(kErrorInvalidParameter);
    if (m_buffers.Count() >= m_resources->bufferCount)
        return Failed(kErrorNoSystemResources);
    m_buffers.Add(id, buffer);
    Deliver();
    return Pending();
}

uint32_t OpenNode::DetachBuffers(uint32_t resources)
{
    const Lock lock(m_mutex);
    if (m_isLost)
        return 0;
    if (!m_resources || m_resources->handle != resources)
        return kErrorInvalidParameter;
    EndBuffers(kErrorOperationAborted);
    return 0;
}

// What nobody has a buffer for waits in the ring.
void OpenNode::Deliver()
{
    if (!m_ring || !m_ring->IsRunning())
        return;
    while (m_buffers.Count() > 0) {
        const auto payload = m_ring->Front();
        if (!payload)
            break;
        const RequestId full = m_buffers.Put(*payload);
        m_ring->PopFront();
        if (full != 0)
            m_requests.Finish(full, Done(m_resources->slotBytes * kSlotsPerBuffer));
    }
    Noted(m_ring->QueueTaken());
}

void OpenNode::EndBuffers(uint32_t systemError)
{
    while (const auto id = m_buffers.TakeAny())
        m_requests.Finish(*id, Failed(systemError));
}

} // namespace zerix::bus::linux_firewire

// The life of a stream. On the fast clock exposures and data slots take no real time and move the
// camera's clock; idle slots run at real pace and move nothing. On the wall clock both are paced.
#include "sim/camera_stream.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <limits>
#include <utility>

#include "sim/packet_faults.h"
#include "sim/virtual_bus.h"

namespace zerix::sim {
namespace {

constexpr uint64_t kNever = std::numeric_limits<uint64_t>::max();
constexpr uint64_t kGiveUpCatchingUp = 1'000'000'000; // behind by more than this, slots are lost

void Damage(std::vector<uint8_t> &packet, const PacketFault &fault, uint16_t streamingVersion)
{
    if (fault.badMarker)
        SpoilMarker(packet, streamingVersion);
    if (fault.badTrailer)
        SpoilTrailer(packet, streamingVersion);
    if (fault.corrupt)
        CorruptPacket(packet);
    if (fault.cut)
        CutPacket(packet);
}

} // namespace

CameraStream::CameraStream(VirtualBus &bus, std::shared_ptr<VirtualCamera> camera,
                           kernel::DeviceHandle owner, uint32_t channel)
    : m_bus(bus), m_camera(std::move(camera)), m_owner(owner), m_channel(channel),
      m_idlePacket(Packetizer::IdlePacket())
{
}

std::unique_ptr<CameraStream> CameraStream::Start(VirtualBus &bus,
                                                  std::shared_ptr<VirtualCamera> camera,
                                                  kernel::DeviceHandle owner, uint32_t channel)
{
    try {
        std::unique_ptr<CameraStream> stream(
            new CameraStream(bus, std::move(camera), owner, channel));
        stream->m_thread = os::Thread::Start(&CameraStream::Routine, stream.get());
        if (stream->m_thread == nullptr)
            return nullptr;
        bus.CountThread(1);
        return stream;
    } catch (const std::exception &) { // of memory
        return nullptr;
    }
}

CameraStream::~CameraStream()
{
    if (m_thread != nullptr)
        static_cast<void>(m_thread->Join(os::kWaitForever));
}

void CameraStream::RequestStop()
{
    m_stop = true;
    m_camera->Changed().notify_all();
}

void CameraStream::Routine(void *stream) { static_cast<CameraStream *>(stream)->Run(); }

void CameraStream::Run()
{
    BusLock lock(m_bus.Lock());
    // The thread of the stream before may still be on its way out.
    m_camera->Changed().wait(lock, [this] { return m_stop || !m_camera->isStreamThreadRunning; });
    if (!m_stop) {
        m_camera->isStreamThreadRunning = true;
        StreamFrames(lock);
        m_camera->isStreamThreadRunning = false;
    }
    m_bus.CountThread(-1);
    m_camera->Changed().notify_all();
}

void CameraStream::StreamFrames(BusLock &lock)
{
    m_slotTime = SteadyNanoseconds();
    m_nextStart = m_camera->Clock().Now();
    while (!m_stop) {
        if (m_camera->MayBegin())
            TakeFrameOrFail(lock);
        else
            Idle(lock, kNever, [this] { return m_camera->MayBegin(); });
    }
}

// A frame that there is no memory for is lost. The receiver sees that in its buffers.
void CameraStream::TakeFrameOrFail(BusLock &lock)
{
    try {
        TakeFrame(lock);
    } catch (const std::exception &) {
        if (!lock.owns_lock())
            lock.lock();
        m_heldBack.clear();
        FailBuffers(lock);
    }
}

// Not without end in no time, where memory stays short.
void CameraStream::FailBuffers(BusLock &lock)
{
    if (BusDevice *device = m_bus.Listener(*m_camera, m_channel))
        device->FailBuffers(kernel::kErrorNoSystemResources);
    SleepUntil(lock, SteadyNanoseconds() + kernel::kSlotsPerBuffer * kSlotNanoseconds,
               [this] { return m_stop; });
}

void CameraStream::TakeFrame(BusLock &lock)
{
    FrameJob job = m_camera->Begin(m_nextStart);
    std::vector<uint8_t> pixels;
    lock.unlock();
    m_camera->Expose(job, pixels);
    lock.lock();
    if (!WaitForExposure(lock, job))
        return m_camera->Abandon(job);
    m_camera->Exposed(job);
    SendFrame(lock, job, pixels);
}

// False if the exposure was cut short by a commit or the end of the stream.
bool CameraStream::WaitForExposure(BusLock &lock, const FrameJob &job)
{
    const auto cutShort = [&] { return m_stop || !m_camera->IsCurrent(job); };
    CameraClock &clock = m_camera->Clock();
    if (!clock.IsFast()) {
        const uint64_t end = clock.SteadyMomentOf(job.end);
        while (!cutShort() && SteadyNanoseconds() < end)
            Idle(lock, end, cutShort);
    }
    if (cutShort())
        return false;
    if (clock.IsFast())
        clock.MoveTo(job.end);
    return true;
}

void CameraStream::SendFrame(BusLock &lock, FrameJob &job, const std::vector<uint8_t> &pixels)
{
    FrameLayout &layout = job.plan.layout;
    const BusDevice *listener = m_bus.Listener(*m_camera, m_channel);
    const uint32_t slot = listener == nullptr ? 0 : listener->SlotBytes();
    const uint32_t fits = slot > kernel::kSlotOverheadBytes ? slot - kernel::kSlotOverheadBytes : 0;
    const uint32_t wanted = m_camera->PacketBytesAllowed();
    layout.packetBytes = wanted == 0 ? fits : fits == 0 ? wanted : std::min(wanted, fits);

    Packetizer &packetizer = m_camera->StreamOptics().packetizer;
    packetizer.Begin(layout, pixels);
    std::vector<uint8_t> packet;
    while (!m_stop && packetizer.Next(packet)) {
        WaitForReadout(lock, job, pixels.size());
        if (!SendPacket(lock, job, packet))
            return;
    }
    if (!m_heldBack.empty())
        PutPacket(lock, std::exchange(m_heldBack, {}));

    const uint64_t readoutEnd = job.end + job.plan.readoutNanoseconds;
    m_camera->Clock().MoveTo(readoutEnd);
    // The sensor may gather light while the frame before is read out, but not be read out twice at
    // once.
    const uint64_t overlap =
        std::min(job.plan.exposure.exposureNanoseconds, job.plan.readoutNanoseconds);
    m_nextStart = readoutEnd - overlap;
    if (m_camera->Clock().IsFast())
        m_slotTime = SteadyNanoseconds();
}

bool CameraStream::SendPacket(BusLock &lock, const FrameJob &job, std::vector<uint8_t> &packet)
{
    const PacketFault fault = m_camera->Faults().OnPacket();
    if (fault.unplug != Unplugging::kNone) {
        m_bus.Unplug(*m_camera, fault.unplug);
        return false;
    }
    Damage(packet, fault, job.plan.layout.streamingVersion);
    if (fault.afterNext && m_heldBack.empty()) {
        m_heldBack = packet;
        return true;
    }
    if (fault.lose)
        NextSlot();
    else
        PutPacket(lock, packet);
    if (fault.twice)
        PutPacket(lock, packet);
    if (!m_heldBack.empty())
        PutPacket(lock, std::exchange(m_heldBack, {}));
    return !m_stop;
}

// On the wall clock a packet goes when the sensor has been read out so far.
void CameraStream::WaitForReadout(BusLock &lock, const FrameJob &job, size_t frameBytes)
{
    CameraClock &clock = m_camera->Clock();
    if (clock.IsFast() || frameBytes == 0)
        return;
    const uint64_t taken = m_camera->StreamOptics().packetizer.BytesTaken();
    const uint64_t due =
        clock.SteadyMomentOf(job.end) + job.plan.readoutNanoseconds * taken / frameBytes;
    const auto stopped = [this] { return m_stop; };
    while (!m_stop && m_slotTime + kSlotNanoseconds <= due && SteadyNanoseconds() < due)
        Idle(lock, due, stopped);
}

// On the fast clock the camera waits for a buffer; on the wall clock a packet that has none is
// lost.
void CameraStream::PutPacket(BusLock &lock, std::span<const uint8_t> packet)
{
    BusDevice *device = m_bus.Listener(*m_camera, m_channel);
    while (m_camera->Clock().IsFast() && !m_stop && (device == nullptr || !device->HasBuffer())) {
        m_camera->Changed().wait(lock);
        device = m_bus.Listener(*m_camera, m_channel);
    }
    if (m_stop)
        return;
    const bool hasBuffer = device != nullptr && device->HasBuffer();
    if (hasBuffer)
        device->FillSlot(packet);
    NextSlot();
    if (hasBuffer && device->IsFull())
        CompleteFullBuffer(lock);
}

void CameraStream::NextSlot()
{
    m_slotTime += kSlotNanoseconds;
    if (m_camera->Clock().IsFast())
        m_camera->Clock().Advance(kSlotNanoseconds);
}

// A buffer is handed over when its last slot's time has come.
void CameraStream::CompleteFullBuffer(BusLock &lock)
{
    if (!m_camera->Clock().IsFast())
        SleepUntil(lock, m_slotTime, [this] { return m_stop; });
    BusDevice *device = m_bus.Listener(*m_camera, m_channel);
    if (!m_stop && device != nullptr && device->HasBuffer() && device->IsFull())
        device->CompleteFront();
}

template <typename Interruption>
void CameraStream::SleepUntil(BusLock &lock, uint64_t until, Interruption interrupted)
{
    for (uint64_t now = SteadyNanoseconds(); now < until && !interrupted();
         now = SteadyNanoseconds())
        m_camera->Changed().wait_for(lock, std::chrono::nanoseconds(until - now));
}

template <typename Interruption>
void CameraStream::Idle(BusLock &lock, uint64_t until, Interruption interrupted)
{
    const uint64_t now = SteadyNanoseconds();
    if (now > m_slotTime + kGiveUpCatchingUp)
        m_slotTime = now;
    const BusDevice *device = m_bus.Listener(*m_camera, m_channel);
    const uint32_t filled = device != nullptr && device->HasBuffer() ? device->SlotsFilled() : 0;
    const uint64_t bufferEnd = m_slotTime + (kernel::kSlotsPerBuffer - filled) * kSlotNanoseconds;
    const uint64_t target = std::min(until, bufferEnd);
    SleepUntil(lock, target, [&] { return m_stop || interrupted(); });
    if (!m_stop)
        PutIdleSlots(std::min(SteadyNanoseconds(), target));
}

void CameraStream::PutIdleSlots(uint64_t until)
{
    while (m_slotTime + kSlotNanoseconds <= until) {
        m_slotTime += kSlotNanoseconds;
        BusDevice *device = m_bus.Listener(*m_camera, m_channel);
        if (device == nullptr || !device->HasBuffer())
            continue;
        device->FillSlot(m_idlePacket);
        if (device->IsFull())
            device->CompleteFront();
    }
}

} // namespace zerix::sim

// One thread reads the wire, serves the requests, and looks at the rack; each stream has the thread
// of its pump.
#include "rack_nodes.h"

#include "../device_file.h"
#include "tests/rack_cameras/config_rom.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <linux/firewire-constants.h>
#include <string>
#include <unistd.h>
#include <utility>

namespace linux_kernel {

using namespace zerix::rack_cameras;

namespace {

constexpr int kMillisecondsBetweenLooks = 10;
constexpr double kTransactionSeconds = 2; // the kernel gives a request up after them
constexpr double kPatience = 10;          // seconds
constexpr useconds_t kMicrosecondsBetweenCounts = 50'000;
constexpr std::uint64_t kRegisterSpace = 0xFFFF00000000;
constexpr std::uint32_t kLargestBlock = 2048; // bytes, as the ROM has it

// On the fast clock a camera waits for its receiver, as it does on the virtual bus: so many packets
// may be on their way to it. With more, the bus's ring would overflow under a program that is slow.
constexpr std::uint32_t kPacketsOnTheWay = 320;

constexpr std::uint32_t kCyclesPerSecond = 8000;

// 3 bits of seconds and 13 of cycles.
std::uint16_t NextStamp(std::uint16_t stamp)
{
    if ((stamp & 0x1FFFu) + 1 < kCyclesPerSecond)
        return static_cast<std::uint16_t>(stamp + 1);
    return static_cast<std::uint16_t>(((stamp >> 13) + 1) << 13);
}

bool IsRead(std::uint32_t code)
{
    return code == TCODE_READ_QUADLET_REQUEST || code == TCODE_READ_BLOCK_REQUEST;
}

bool IsBlock(std::uint32_t code)
{
    return code == TCODE_READ_BLOCK_REQUEST || code == TCODE_WRITE_BLOCK_REQUEST;
}

bool IsAccess(std::uint32_t code)
{
    return IsRead(code) || IsBlock(code) || code == TCODE_WRITE_QUADLET_REQUEST;
}

// The nodes that the kernel has devices for, the local one among them.
std::size_t CountDevices()
{
    std::size_t count = 0;
    std::error_code ignored;
    for (const auto &entry :
         std::filesystem::directory_iterator("/sys/bus/firewire/devices", ignored))
        count += Attribute(entry.path().filename(), "guid").empty() ? 0 : 1;
    return count;
}

bool AwaitDevices(std::size_t count)
{
    for (const double end = Now() + kPatience; Now() < end; usleep(kMicrosecondsBetweenCounts))
        if (CountDevices() == count)
            return true;
    return false;
}

} // namespace

RackNodes::RackNodes()
{
    Look();
    m_thread = std::thread(&RackNodes::Run, this);
}

RackNodes::~RackNodes()
{
    m_isEnding = true;
    m_thread.join();
    for (std::uint32_t place = 0; place < m_sockets.size(); ++place)
        TakeOut(place);
    for (const Hanging &hanging : m_hanging)
        hanging.access->Cancel(hanging.link->Device());
    // Who plugs the same camera in again would meet its old device first.
    AwaitDevices(1);
}

bool RackNodes::Settle()
{
    // What a plug or an unplug was, the thread sees at its next look.
    usleep(1000 * kMillisecondsBetweenLooks * 2);
    return AwaitDevices(PresentCameras().size() + 1);
}

// The thread --------------------------------------------------------------------------------------

void RackNodes::Run()
{
    while (!m_isEnding) {
        for (const Record &record : m_wire.Read(kMillisecondsBetweenLooks))
            Take(record);
        GiveUpHanging();
        if (Now() - m_lastLook >= kMillisecondsBetweenLooks * 1e-3)
            Look();
    }
}

void RackNodes::Take(const Record &record)
{
    if (record.head.kind == FWBUS_REQUEST)
        return Serve(record);
    TakeNotice(record);
    if (record.head.kind == FWBUS_ISO_BEGIN || record.head.kind == FWBUS_ISO_END)
        FollowStreams();
}

void RackNodes::TakeNotice(const Record &record)
{
    const fwbus_record &head = record.head;
    if (head.kind == FWBUS_RESET_DONE)
        ++m_resets;
    const std::lock_guard lock(m_mutex);
    Listener &listener = m_listeners[head.channel];
    switch (head.kind) {
    case FWBUS_ISO_BEGIN:
        listener.isRunning = true;
        listener.slotBytes = head.code;
        listener.mostFree = head.length;
        listener.free = head.length;
        break;
    case FWBUS_ISO_QUEUED:
        listener.free = head.length;
        listener.mostFree = std::max(listener.mostFree, head.length);
        break;
    case FWBUS_ISO_END:
        listener.isRunning = false;
        break;
    default:
        return;
    }
    m_changed.notify_all();
}

void RackNodes::GiveUpHanging()
{
    for (const Hanging &hanging : m_hanging)
        if (hanging.until <= Now())
            hanging.access->Cancel(hanging.link->Device());
    std::erase_if(m_hanging, [](const Hanging &hanging) { return hanging.until <= Now(); });
}

// The rack ----------------------------------------------------------------------------------------

// A camera that went and came back between two looks has left a dead link.
void RackNodes::Look()
{
    m_lastLook = Now();
    const std::vector<RackCamera> present = PresentCameras();
    const auto isThere = [&](const Socket &socket) {
        return std::find(present.begin(), present.end(), socket.camera) != present.end() &&
               !socket.link->IsLost();
    };
    for (std::uint32_t place = 0; place < m_sockets.size(); ++place)
        if (m_sockets[place] && !isThere(*m_sockets[place]))
            TakeOut(place);
    for (const RackCamera &camera : present) {
        const bool isKnown =
            std::any_of(m_sockets.begin(), m_sockets.end(),
                        [&](const auto &socket) { return socket && socket->camera == camera; });
        if (!isKnown)
            PlugIn(camera);
    }
}

void RackNodes::PlugIn(const RackCamera &camera)
{
    const auto free = std::find(m_sockets.begin(), m_sockets.end(), std::nullopt);
    if (free == m_sockets.end())
        return;
    std::shared_ptr<CameraLink> link = CameraLink::Open(camera.path);
    if (link == nullptr)
        return;
    const auto place = static_cast<std::uint32_t>(free - m_sockets.begin());
    if (m_wire.Plug(place, MakeConfigRom(ContentsOf(camera)), RackSpeedCode()) == 0)
        *free = Socket{.camera = camera, .link = std::move(link), .stream = std::nullopt};
}

void RackNodes::TakeOut(std::uint32_t place)
{
    if (!m_sockets[place])
        return;
    m_wire.Unplug(place);
    EndStream(*m_sockets[place]);
    m_sockets[place]->link->Close();
    m_sockets[place].reset();
}

// Requests ----------------------------------------------------------------------------------------

void RackNodes::Serve(const Record &request)
{
    const fwbus_record &head = request.head;
    if (head.node >= m_sockets.size() || !m_sockets[head.node])
        return;
    const std::uint32_t length = IsBlock(head.code) ? head.length + head.payload : 4;
    if (!IsAccess(head.code) || length > kLargestBlock || length % 4 != 0)
        m_wire.Answer(head.id, RCODE_TYPE_ERROR);
    else if (head.offset < kRegisterSpace)
        m_wire.Answer(head.id, RCODE_ADDRESS_ERROR);
    else
        Access(request, *m_sockets[head.node]);
}

void RackNodes::Access(const Record &request, const Socket &socket)
{
    const fwbus_record &head = request.head;
    const auto address = static_cast<std::uint32_t>(head.offset);
    auto access = IsRead(head.code)
                      ? RegisterAccess::Read(address, IsBlock(head.code) ? head.length : 4)
                      : RegisterAccess::Write(address, request.payload);
    const auto outcome = access->Send(socket.link->Device());
    if (!outcome.isOver) {
        m_hanging.push_back({Now() + kTransactionSeconds, socket.link, std::move(access)});
        return;
    }
    if (!IsRead(head.code))
        FollowStreams();
    const std::uint32_t rcode = ResponseCodeOf(outcome.systemError);
    // A camera that has gone meanwhile says nothing.
    if (rcode == RCODE_GENERATION)
        return;
    const bool hasData = IsRead(head.code) && rcode == RCODE_COMPLETE;
    m_wire.Answer(head.id, rcode, hasData ? access->Data() : std::vector<std::uint8_t>());
}

// Streams -----------------------------------------------------------------------------------------

void RackNodes::FollowStreams()
{
    for (auto &socket : m_sockets)
        if (socket)
            FollowStream(*socket);
}

// The camera's register names the channel that it sends on; whoever listens there, gets it.
void RackNodes::FollowStream(Socket &socket)
{
    const auto channel = StreamingChannel(socket.camera);
    const auto isListenedTo = [this](std::uint32_t wanted) {
        const std::lock_guard lock(m_mutex);
        return m_listeners[wanted].isRunning;
    };
    if (socket.stream) {
        const bool isElsewhere = channel && *channel != socket.stream->channel;
        if (isElsewhere || !isListenedTo(socket.stream->channel))
            EndStream(socket);
    }
    if (!socket.stream && channel && isListenedTo(*channel))
        BeginStream(socket, *channel);
}

void RackNodes::BeginStream(Socket &socket, std::uint32_t channel)
{
    std::uint32_t slotBytes = 0;
    {
        const std::lock_guard lock(m_mutex);
        slotBytes = m_listeners[channel].slotBytes;
    }
    const Stream stream{.channel = channel,
                        .bandwidth = socket.link->BookUnits(CameraLink::UnitsFor(slotBytes))};
    const bool hasChannel = socket.link->BookChannel(std::uint64_t{1} << channel).has_value();
    // Refused at the fast speed, the link asks for the slow one.
    if (stream.bandwidth != 0 && hasChannel &&
        (socket.link->StartStream(channel, slotBytes, *this) ||
         socket.link->StartStream(channel, slotBytes, *this))) {
        socket.stream = stream;
        return;
    }
    if (hasChannel)
        socket.link->FreeChannel(channel);
    if (stream.bandwidth != 0)
        socket.link->FreeUnits(stream.bandwidth);
}

void RackNodes::EndStream(Socket &socket)
{
    if (!socket.stream)
        return;
    socket.link->FreeStream(socket.stream->channel);
    socket.link->FreeChannel(socket.stream->channel);
    socket.link->FreeUnits(socket.stream->bandwidth);
    socket.stream.reset();
}

// Packets -----------------------------------------------------------------------------------------

bool RackNodes::MaySend(std::uint32_t channel)
{
    const Listener &listener = m_listeners[channel];
    return listener.isRunning && listener.free > 0 &&
           listener.free + kPacketsOnTheWay > listener.mostFree;
}

// On the wall clock nobody waits for anybody.
void RackNodes::Deliver(std::uint32_t channel, std::span<const std::uint8_t> payload,
                        const std::atomic<bool> &isStopped)
{
    const bool waits = RackIsOnFastClock();
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [&] { return isStopped || !waits || MaySend(channel); });
        if (isStopped)
            return;
        std::uint16_t &stamp = m_stamps[channel];
        const IsoPacket packet{
            .channel = static_cast<std::uint8_t>(channel), .cycle = stamp, .keep = waits};
        Listener &listener = m_listeners[channel];
        if (m_wire.SendIso(packet, payload) == EAGAIN) {
            listener.free = 0;
            continue;
        }
        listener.free -= std::min(listener.free, 1u);
        stamp = NextStamp(stamp);
        ++m_packets;
        return;
    }
}

// The lock makes sure that no packet is between its look at the flag and its wait.
void RackNodes::Wake()
{
    const std::lock_guard lock(m_mutex);
    m_changed.notify_all();
}

} // namespace linux_kernel

// The event thread of an open node: it polls the node's file, the card's and the stream's, and
// serves what comes of them, and the timers.
#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>
#include <utility>

#include "bus/linux_firewire/kernel_records.h"
#include "bus/linux_firewire/open_node.h"
#include "bus/linux_firewire/recognition.h"
#include "bus/linux_firewire/system_errors.h"
#include "hal/requests/request_server.h"

namespace zerix::bus::linux_firewire {

using namespace kernel;
using namespace std::chrono_literals;

namespace {

// A node that answers no faster than this is looked after.
constexpr auto kAnswerPatience = 200ms;
// A camera that streams sends a packet in every cycle, if only an idle one.
constexpr auto kSilencePatience = 100ms;
constexpr auto kShortestPoll = 1ms;
constexpr auto kLongestPoll = 60s;
constexpr auto kAfterFailedPoll = 10ms;

constexpr short kGone = POLLHUP | POLLERR | POLLNVAL;

} // namespace

struct OpenNode::Watched {
    enum Place : size_t { kWake, kControl, kAlarm, kStream, kCount };
    std::array<pollfd, kCount> files{}; // a negative number is left out by the system
    uint32_t ringNumber = 0;
    bool looks = false; // for a packet without an event
    int timeoutMilliseconds = -1;
    Time nap{}; // after a poll that found nothing: a time too short for it

    void Watch(Place place, int file)
    {
        files[place].fd = file;
        files[place].events = POLLIN;
    }
    [[nodiscard]] short Found(Place place) const { return files[place].revents; }
};

// The loop ---------------------------------------------------------------------------------------

void OpenNode::Run(void *parameter)
{
    const std::unique_ptr<std::shared_ptr<OpenNode>> node(
        static_cast<std::shared_ptr<OpenNode> *>(parameter));
    (*node)->ServeEvents();
}

void OpenNode::ServeEvents()
{
    for (Watched watched; BeginPoll(watched); watched = {}) {
        const int found = m_system.Poll(watched.files, watched.timeoutMilliseconds);
        if (found == 0 && watched.nap > Time::zero())
            m_system.Sleep(watched.nap);
        if (found < 0 && found != -EINTR)
            m_system.Sleep(kAfterFailedPoll);
        if (found < 0)
            for (pollfd &file : watched.files)
                file.revents = 0;
        AfterPoll(watched);
    }
}

// False at the end of the handle.
bool OpenNode::BeginPoll(Watched &watched)
{
    const Lock lock(m_mutex);
    if (m_isClosed)
        return false;
    watched.Watch(Watched::kWake, m_files.wake);
    watched.Watch(Watched::kControl, m_files.control);
    watched.Watch(Watched::kAlarm, m_files.alarm);
    watched.Watch(Watched::kStream, m_ring && m_ring->IsRunning() ? m_ring->File() : -1);
    watched.ringNumber = m_ringNumber;
    watched.looks = m_ring && m_ring->IsRunning() && m_ring->BeginLook();
    const auto deadline = NextDeadline();
    m_polledUntil = deadline.value_or(Time::max());
    if (watched.looks)
        watched.timeoutMilliseconds = 0;
    if (watched.looks || !deadline)
        return true;
    const Time left = std::clamp<Time>(*deadline - m_system.Now(), 0ns, kLongestPoll);
    const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(left);
    watched.timeoutMilliseconds = left < kShortestPoll ? 0 : static_cast<int>(milliseconds.count());
    watched.nap = left < kShortestPoll ? left : Time::zero();
    return true;
}

// Memory is the one thing that can be lacking; the next turn tries again.
void OpenNode::AfterPoll(Watched &watched)
{
    const Lock lock(m_mutex);
    if (m_isClosed)
        return;
    try {
        if (watched.Found(Watched::kWake) != 0)
            m_system.Clear(m_files.wake);
        ReadControl(watched.Found(Watched::kControl));
        ReadAlarm(watched.Found(Watched::kAlarm));
        if (watched.ringNumber == m_ringNumber)
            ReadStream(watched.Found(Watched::kStream), watched.looks);
        ServeTimers();
    } catch (const std::exception &) {
        // The timer stays due. Of an answer that was lost its own time-out tells.
    }
    m_sawLoss = m_sawLoss || m_transactions.IsLost();
    if (m_sawLoss && !m_isLost)
        BeLost();
    m_changed.notify_all();
}

// Events -----------------------------------------------------------------------------------------

// To be asked only when the poll says that there is one, as nothing else ends the wait for it.
std::span<const uint8_t> OpenNode::ReadEvent(int file)
{
    const long size = m_system.Read(file, m_event);
    if (size < 0 && SystemErrorOf(size) == kErrorDeviceNotConnected && file != m_files.alarm)
        m_sawLoss = true;
    return {m_event.data(), size > 0 ? static_cast<size_t>(size) : 0};
}

// Events that came before the end can be read after it.
void OpenNode::ReadControl(short events)
{
    if ((events & POLLIN) != 0)
        OnControlEvent(ReadEvent(m_files.control));
    else if ((events & kGone) != 0)
        m_sawLoss = true;
}

void OpenNode::OnControlEvent(std::span<const uint8_t> event)
{
    if (event.size() < sizeof(uint64_t) + sizeof(uint32_t))
        return;
    switch (EventWord(event, offsetof(fw_cdev_event_common, type))) {
    case FW_CDEV_EVENT_BUS_RESET:
        return m_transactions.OnGeneration(
            EventWord(event, offsetof(fw_cdev_event_bus_reset, generation)));
    case FW_CDEV_EVENT_RESPONSE:
        return m_transactions.OnResponse(
            EventWord<uint64_t>(event, offsetof(fw_cdev_event_common, closure)),
            EventWord(event, offsetof(fw_cdev_event_response, rcode)),
            EventData(event, offsetof(fw_cdev_event_response, data),
                      EventWord(event, offsetof(fw_cdev_event_response, length))));
    case FW_CDEV_EVENT_ISO_RESOURCE_ALLOCATED:
    case FW_CDEV_EVENT_ISO_RESOURCE_DEALLOCATED:
        m_sawLoss = !m_bookings.OnEvent(event) || m_sawLoss;
        return;
    default:
        return;
    }
}

// Somebody came or went: the node says whether it was itself. Without the card there is no alarm.
void OpenNode::ReadAlarm(short events)
{
    if (events == 0 || m_files.alarm < 0)
        return;
    if ((events & POLLIN) == 0)
        m_closer.Take(
            {.thread = {}, .files = FileList(std::exchange(m_files.alarm, -1)), .owner = {}});
    else if (EventWord(ReadEvent(m_files.alarm), offsetof(fw_cdev_event_common, type)) !=
             FW_CDEV_EVENT_BUS_RESET)
        return;
    m_isToProbe = true;
}

void OpenNode::ReadStream(short events, bool looks)
{
    if (!m_ring || !m_ring->IsRunning())
        return;
    if ((events & POLLIN) == 0) {
        m_sawLoss = m_sawLoss || (events & kGone) != 0;
        if (looks)
            m_ring->OnDrained();
        return;
    }
    const auto event = ReadEvent(m_ring->File());
    if (EventWord(event, offsetof(fw_cdev_event_common, type)) != FW_CDEV_EVENT_ISO_INTERRUPT)
        return;
    m_lastPacket = m_system.Now();
    m_askedInSilence = false;
    m_ring->OnInterrupt(
        EventData(event, offsetof(fw_cdev_event_iso_interrupt, header),
                  EventWord(event, offsetof(fw_cdev_event_iso_interrupt, header_length))));
    Deliver();
}

// Timers -----------------------------------------------------------------------------------------

std::optional<OpenNode::Time> OpenNode::AnswerDeadline() const
{
    const auto oldest = m_transactions.OldestUnanswered();
    if (!oldest)
        return std::nullopt;
    return std::max(*oldest, m_lastProbe) + kAnswerPatience;
}

std::optional<OpenNode::Time> OpenNode::NextDeadline() const
{
    if (m_isLost)
        return std::nullopt;
    std::optional<Time> next = m_transactions.NextDue();
    const auto include = [&next](std::optional<Time> time) {
        if (time && (!next || *time < *next))
            next = time;
    };
    include(m_bookings.NextDeadline());
    include(AnswerDeadline());
    if (m_isToProbe)
        include(m_lastProbe + kAnswerPatience);
    if (m_ring && m_ring->IsRunning() && !m_askedInSilence)
        include(m_lastPacket + kSilencePatience);
    return next;
}

void OpenNode::ServeTimers()
{
    if (m_isLost || m_sawLoss)
        return;
    m_transactions.SendDue();
    m_bookings.EndLate();
    const Time now = m_system.Now();
    const auto answer = AnswerDeadline();
    const bool isSilent = m_ring && m_ring->IsRunning() && !m_askedInSilence &&
                          m_lastPacket + kSilencePatience <= now;
    if (isSilent)
        Deliver(); // the ring may have run dry when the kernel took no more
    if (m_isToProbe || isSilent || (answer && *answer <= now))
        Probe();
    m_isToProbe = false;
    m_askedInSilence = m_askedInSilence || isSilent;
}

// A look at the node, and any answer will do. An earlier one may have been acknowledged just before
// the node went, and would keep us waiting for two seconds.
void OpenNode::Probe()
{
    m_lastProbe = m_system.Now();
    m_transactions.Drop(kProbe);
    Noted(m_transactions.Read(kProbe, kAnswersAlways, sizeof(uint32_t)));
}

// The device is gone: everything that is pending ends, and nothing is held any more.
void OpenNode::BeLost()
{
    m_isLost = true;
    m_transactions.DropAll();
    EndBuffers(kErrorDeviceNotConnected);
    m_bookings.EndAll(kErrorDeviceNotConnected, false);
    m_requests.EndAll(m_handle, kErrorDeviceNotConnected);
    Closer::Work work;
    GiveUpFiles(work.files);
    m_closer.Take(std::move(work));
}

} // namespace zerix::bus::linux_firewire

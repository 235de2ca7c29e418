// Opening and closing a node, and its register accesses.
#include "bus/linux_firewire/open_node.h"

#include <algorithm>
#include <utility>

#include "bus/linux_firewire/system_errors.h"
#include "hal/requests/request_server.h"

namespace zerix::bus::linux_firewire {

using namespace kernel;

namespace {

// An iso event has the headers of 512 packets at most, a response 4,096 bytes of data.
constexpr size_t kLargestEvent = 16 * 1024;

} // namespace

OpenNode::OpenNode(const NodeSurroundings &surroundings, DeviceHandle handle,
                   const NodeFiles &files)
    : m_system(surroundings.system), m_requests(surroundings.requests),
      m_closer(surroundings.closer), m_handle(handle), m_files(files), m_event(kLargestEvent),
      m_transactions(surroundings.system, files.control, files.info.generation,
                     LargestTransaction(files.speed, files.info.rom),
                     [this](RequestId id, uint32_t error, std::span<const uint8_t> bytes) {
                         Finish(id, error, bytes);
                     }),
      m_bookings(surroundings.system, files.control)
{
}

uint32_t OpenNode::Make(const NodeSurroundings &surroundings, DeviceHandle handle,
                        const NodeFiles &files, std::shared_ptr<OpenNode> &made)
{
    const auto node = std::make_shared<OpenNode>(surroundings, handle, files);
    auto parameter = std::make_unique<std::shared_ptr<OpenNode>>(node);
    const Lock lock(node->m_mutex);
    node->m_thread = os::Thread::Start(Run, parameter.get());
    if (!node->m_thread)
        return kErrorNoSystemResources;
    static_cast<void>(parameter.release()); // the thread's now
    made = node;
    return 0;
}

// The claim is given back here and not by the close, which may take seconds; so are the bookings.
// The ring's memory is no longer shared, or the close would leave the card writing to it.
void OpenNode::Close()
{
    Closer::Work work;
    {
        const Lock lock(m_mutex);
        if (m_isClosed)
            return;
        m_isClosed = true;
        m_transactions.DropAll();
        EndBuffers(kErrorOperationAborted);
        m_bookings.EndAll(kErrorOperationAborted, !m_isLost);
        GiveUpFiles(work.files);
        Wake();
        work.files.Add(std::exchange(m_files.wake, -1));
        work.thread = std::move(m_thread);
    }
    m_changed.notify_all();
    work.owner = shared_from_this();
    m_closer.Take(std::move(work));
}

// The files are closed by whoever gets the list.
void OpenNode::GiveUpFiles(FileList &files)
{
    Unclaim();
    files.Add(TakeRingFile());
    files.Add(std::exchange(m_files.control, -1));
    files.Add(std::exchange(m_files.alarm, -1));
}

uint32_t OpenNode::Usable() const
{
    if (m_isClosed)
        return kErrorInvalidHandle;
    return m_isLost || m_sawLoss ? uint32_t{kErrorDeviceNotConnected} : 0;
}

uint32_t OpenNode::Check(bool givesBack)
{
    const Lock lock(m_mutex);
    return givesBack ? 0 : Usable();
}

// A lost device is ended by the event thread, whoever notices it.
uint32_t OpenNode::Noted(uint32_t error)
{
    if (error == kErrorDeviceNotConnected && !m_isLost) {
        m_sawLoss = true;
        Wake();
    }
    return error;
}

// Whoever comes back from the system after the close finds nobody to wake.
void OpenNode::Wake()
{
    if (m_files.wake >= 0)
        m_system.Signal(m_files.wake);
}

// The event thread polls until its next timer; a new one may be due before that.
void OpenNode::WakeIfDueEarlier()
{
    const auto deadline = NextDeadline();
    if (deadline && *deadline < m_polledUntil)
        Wake();
}

void OpenNode::Finish(RequestId id, uint32_t error, std::span<const uint8_t> bytes)
{
    if (id == kProbe)
        return;
    if (error == 0)
        m_requests.FinishWith(id, bytes);
    else
        m_requests.Finish(id, Failed(error));
}

ControlResult OpenNode::Read(RequestId id, uint32_t address, std::span<uint8_t> data)
{
    if (data.empty())
        return Done(0);
    const Lock lock(m_mutex);
    if (const uint32_t error = Usable())
        return Failed(error);
    if (const uint32_t error = m_transactions.Read(id, address, data.size()))
        return Failed(Noted(error));
    WakeIfDueEarlier();
    return Pending();
}

ControlResult OpenNode::Write(RequestId id, uint32_t address, std::span<const uint8_t> data)
{
    if (data.empty())
        return Done(0);
    const Lock lock(m_mutex);
    if (const uint32_t error = Usable())
        return Failed(error);
    if (const uint32_t error = m_transactions.Write(id, address, data))
        return Failed(Noted(error));
    WakeIfDueEarlier();
    return Pending();
}

bool OpenNode::Drop(RequestId id)
{
    const Lock lock(m_mutex);
    m_transactions.Drop(id);
    m_buffers.Drop(id);
    return true;
}

} // namespace zerix::bus::linux_firewire

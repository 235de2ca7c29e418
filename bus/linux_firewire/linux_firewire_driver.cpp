// The nodes that are listed, those that are open, and each operation's way to its own.
#include "bus/linux_firewire/linux_firewire_driver.h"

#include <algorithm>
#include <cstdio>
#include <exception>

#include "bus/linux_firewire/node_report.h"
#include "bus/linux_firewire/system_errors.h"

namespace zerix::bus::linux_firewire {

using namespace kernel;

namespace {

// The system makes a node's file first and grants the access to it after that.
constexpr std::chrono::seconds kGrantPatience{2};
constexpr std::chrono::nanoseconds kAlwaysThere = -kGrantPatience;
// A camera answers within milliseconds. The kernel waits two seconds for an answer, and a listing
// would wait as long at each address of each device that never gives one.
constexpr std::chrono::milliseconds kAnswerPatience{1000};
// And all of them together no longer than this; the others are asked by the next listing.
constexpr std::chrono::milliseconds kListingPatience{5000};

} // namespace

// Reads through the port itself: an open node like any other, for a moment.
class LinuxFirewireDriver::Reader final : public RegisterReader {
public:
    // `silence`: how long answers may still be waited for that don't come. It gets less by what was
    // waited in vain.
    Reader(LinuxFirewireDriver &driver, Patience &silence) : m_driver(driver), m_silence(silence) {}
    ~Reader() override { m_driver.Close(m_device); }
    Reader(const Reader &) = delete;
    Reader &operator=(const Reader &) = delete;

    // Once. 0 or a system error.
    uint32_t Open(const Node &node, const std::vector<Node> &nodes)
    {
        return m_driver.OpenListed(node, nodes, m_driver.PatienceWith(node.guid), &m_device);
    }

    uint32_t Read(uint32_t address, uint32_t &word) override
    {
        AsyncRequest request{};
        request.one = 1;
        request.destination = kDestination;
        request.offsetHigh = kOffsetHigh;
        request.offsetLow = address;
        request.lengthBytes = sizeof word;
        uint8_t bytes[sizeof word] = {};
        Overlapped block;
        const Ending ending(*this, block);
        ControlResult result = m_driver.Control(m_device, kControlAsyncRead, &request,
                                                kAsyncRequestBytes, bytes, sizeof bytes, &block);
        if (result.completion == Completion::kPending)
            result = AwaitAnswer(block);
        word = BigEndianAt(bytes);
        return result.completion == Completion::kDone ? 0 : result.systemError;
    }

private:
    // The request is over when its block goes, however the thread leaves.
    class Ending {
    public:
        Ending(Reader &reader, Overlapped &block) : m_reader(reader), m_block(block) {}
        ~Ending() { m_reader.m_driver.Cancel(m_reader.m_device, &m_block); }
        Ending(const Ending &) = delete;
        Ending &operator=(const Ending &) = delete;

    private:
        Reader &m_reader;
        Overlapped &m_block;
    };

    ControlResult AwaitAnswer(Overlapped &block)
    {
        const auto patience = std::min<Patience>(kAnswerPatience, m_silence);
        const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(patience).count();
        const auto result = m_driver.WaitFor(m_device, &block, static_cast<uint32_t>(milliseconds));
        if (result.completion != Completion::kPending)
            return result;
        m_silence -= patience;
        return Failed(kErrorOperationAborted);
    }

    LinuxFirewireDriver &m_driver;
    DeviceHandle m_device = 0;
    Patience &m_silence;
};

LinuxFirewireDriver::LinuxFirewireDriver(SystemCalls &system, Recognition recognition)
    : m_system(system), m_recogniser(std::move(recognition)), m_closer(system)
{
}

LinuxFirewireDriver::~LinuxFirewireDriver()
{
    for (;;) {
        DeviceHandle device = 0;
        {
            const std::lock_guard lock(m_mutex);
            if (m_nodes.empty())
                return;
            device = m_nodes.begin()->first;
        }
        Close(device);
    }
}

// Listing and opening ----------------------------------------------------------------------------

uint32_t LinuxFirewireDriver::Begin(Look &look)
{
    std::vector<Node> &nodes = look.nodes;
    look.silence = kListingPatience;
    if (const int result = ListNodes(m_system, nodes); result < 0)
        return SystemErrorOf(result);
    const auto now = m_system.Now();
    const std::lock_guard lock(m_mutex);
    std::map<uint64_t, std::chrono::nanoseconds> seen;
    for (const Node &node : nodes) {
        const auto before = m_firstSeen.find(node.guid);
        const auto firstTime = m_hasLooked ? now : kAlwaysThere;
        seen.emplace(node.guid, before != m_firstSeen.end() ? before->second : firstTime);
    }
    m_firstSeen = std::move(seen);
    m_hasLooked = true;
    return 0;
}

Patience LinuxFirewireDriver::PatienceWith(uint64_t guid)
{
    const auto now = m_system.Now();
    const std::lock_guard lock(m_mutex);
    const auto seen = m_firstSeen.find(guid);
    if (seen == m_firstSeen.end() || seen->second == kAlwaysThere)
        return Patience::zero();
    return std::max<Patience>(seen->second + kGrantPatience - now, Patience::zero());
}

uint32_t LinuxFirewireDriver::OpenReader(const Node &node, Look &look,
                                         std::unique_ptr<RegisterReader> &reader)
{
    if (look.silence <= Patience::zero())
        return kErrorBusy;
    auto opened = std::make_unique<Reader>(*this, look.silence);
    const uint32_t error = opened->Open(node, look.nodes);
    if (error == 0)
        reader = std::move(opened);
    return error;
}

Recogniser::OpenReader LinuxFirewireDriver::OpensReaders(Look &look)
{
    return [this, &look](const Node &asked) {
        std::unique_ptr<RegisterReader> reader;
        static_cast<void>(OpenReader(asked, look, reader));
        return reader;
    };
}

bool LinuxFirewireDriver::IsCamera(const Node &node, Look &look)
{
    return m_recogniser.IsCamera(node, OpensReaders(look), m_system.Now());
}

// For some seconds after an unplug the system still has its files, and other users' cameras can't
// be opened at all: whoever opens each listed device would have the whole list fail with it.
bool LinuxFirewireDriver::IsReachable(const Node &node, Look &look)
{
    std::unique_ptr<RegisterReader> reader;
    uint32_t word = 0;
    uint32_t error = OpenReader(node, look, reader);
    if (reader)
        error = reader->Read(kAnswersAlways, word);
    return error != kErrorDeviceNotConnected && error != kErrorFileNotFound &&
           error != kErrorAccessDenied;
}

uint32_t LinuxFirewireDriver::DescribeNodes(ZerixBusNode *nodes, uint32_t maximumCount,
                                            uint32_t *count)
{
    return OrWithoutResources([&]() -> uint32_t {
        Look look;
        if (const uint32_t error = Begin(look))
            return error;
        const auto report =
            ReportNodes(m_system, look.nodes,
                        {.isCamera = [&](const Node &node) { return IsCamera(node, look); },
                         .open = OpensReaders(look)});
        *count = static_cast<uint32_t>(report.size());
        std::copy_n(report.begin(), std::min(maximumCount, *count), nodes);
        return 0;
    });
}

uint32_t LinuxFirewireDriver::Enumerate(DevicePath *paths, uint32_t maximumCount, uint32_t *count)
{
    if (count == nullptr || (paths == nullptr && maximumCount > 0))
        return kErrorInvalidParameter;
    return OrWithoutResources([&]() -> uint32_t {
        Look look;
        if (const uint32_t error = Begin(look))
            return error;
        uint32_t found = 0;
        for (const Node &node : look.nodes) {
            if (found == maximumCount)
                break;
            if (!IsCamera(node, look) || !IsReachable(node, look))
                continue;
            std::snprintf(paths[found].text, sizeof(paths[found].text), "%s",
                          DevicePathOf(node.guid).c_str());
            ++found;
        }
        *count = found;
        return 0;
    });
}

uint32_t LinuxFirewireDriver::Open(const char *devicePath, DeviceHandle *device)
{
    if (devicePath == nullptr || device == nullptr)
        return kErrorInvalidParameter;
    return OrWithoutResources([&]() -> uint32_t {
        const auto guid = GuidOf(devicePath);
        Look look;
        if (const uint32_t error = Begin(look))
            return error;
        const auto node =
            std::find_if(look.nodes.begin(), look.nodes.end(),
                         [&](const Node &listed) { return guid && listed.guid == *guid; });
        if (node == look.nodes.end() || !IsCamera(*node, look))
            return kErrorFileNotFound;
        return OpenListed(*node, look.nodes, PatienceWith(node->guid), device);
    });
}

uint32_t LinuxFirewireDriver::OpenListed(const Node &node, const std::vector<Node> &nodes,
                                         Patience patience, DeviceHandle *device)
{
    NodeFiles files;
    if (const uint32_t error = OpenNodeFiles(m_system, m_closer, node, nodes, patience, files))
        return error;
    FileOwner control(m_closer, files.control);
    FileOwner alarm(m_closer, files.alarm);
    FileOwner wake(m_closer, files.wake);
    NodePointer opened;
    const DeviceHandle handle = NextHandle();
    if (const uint32_t error = OpenNode::Make({m_system, Book(), m_closer}, handle, files, opened))
        return error;
    static_cast<void>(control.TakeOut());
    static_cast<void>(alarm.TakeOut());
    static_cast<void>(wake.TakeOut());
    try {
        const std::lock_guard lock(m_mutex);
        m_nodes.emplace(handle, opened);
    } catch (const std::exception &) {
        opened->Close();
        throw;
    }
    *device = handle;
    return 0;
}

DeviceHandle LinuxFirewireDriver::NextHandle()
{
    const std::lock_guard lock(m_mutex);
    return ++m_lastHandle;
}

// Handles ----------------------------------------------------------------------------------------

LinuxFirewireDriver::NodePointer LinuxFirewireDriver::NodeOf(DeviceHandle device)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_nodes.find(device);
    return found != m_nodes.end() ? found->second : nullptr;
}

bool LinuxFirewireDriver::IsHandle(DeviceHandle device) { return NodeOf(device) != nullptr; }

uint32_t LinuxFirewireDriver::CheckDevice(DeviceHandle device, bool givesBack)
{
    const auto node = NodeOf(device);
    return node ? node->Check(givesBack) : uint32_t{kErrorInvalidHandle};
}

void LinuxFirewireDriver::CloseDevice(DeviceHandle device)
{
    NodePointer node;
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_nodes.find(device);
        if (found == m_nodes.end())
            return;
        node = std::move(found->second);
        m_nodes.erase(found);
    }
    node->Close();
}

bool LinuxFirewireDriver::Drop(DeviceHandle device, RequestId id)
{
    const auto node = NodeOf(device);
    return !node || node->Drop(id);
}

// Operations -------------------------------------------------------------------------------------

template <typename Operation>
uint32_t LinuxFirewireDriver::OnNode(const Request &request, Operation operation)
{
    const auto node = NodeOf(request.device);
    return node ? operation(*node) : uint32_t{kErrorInvalidHandle};
}

ControlResult LinuxFirewireDriver::AsyncRead(const Request &request, uint32_t address,
                                             std::span<uint8_t> data)
{
    const auto node = NodeOf(request.device);
    return node ? node->Read(request.id, address, data) : Failed(kErrorInvalidHandle);
}

ControlResult LinuxFirewireDriver::AsyncWrite(const Request &request, uint32_t address,
                                              std::span<const uint8_t> data)
{
    const auto node = NodeOf(request.device);
    return node ? node->Write(request.id, address, data) : Failed(kErrorInvalidHandle);
}

uint32_t LinuxFirewireDriver::IsOpen(const Request &request, bool &isOpen)
{
    return OnNode(request, [&](OpenNode &node) { return node.IsOpen(isOpen); });
}

uint32_t LinuxFirewireDriver::AllocateBandwidth(const Request &request, BandwidthRequest &booking)
{
    return OnNode(request, [&](OpenNode &node) { return node.AllocateBandwidth(booking); });
}

uint32_t LinuxFirewireDriver::FreeBandwidth(const Request &request, uint32_t handle)
{
    return OnNode(request, [&](OpenNode &node) { return node.FreeBandwidth(handle); });
}

uint32_t LinuxFirewireDriver::AllocateChannel(const Request &request, ChannelRequest &booking)
{
    return OnNode(request, [&](OpenNode &node) { return node.AllocateChannel(booking); });
}

uint32_t LinuxFirewireDriver::FreeChannel(const Request &request, uint32_t channel)
{
    return OnNode(request, [&](OpenNode &node) { return node.FreeChannel(channel); });
}

uint32_t LinuxFirewireDriver::AllocateResources(const Request &request, ResourcesRequest &booking)
{
    return OnNode(request, [&](OpenNode &node) { return node.AllocateResources(booking); });
}

uint32_t LinuxFirewireDriver::FreeResources(const Request &request, uint32_t handle)
{
    return OnNode(request, [&](OpenNode &node) { return node.FreeResources(handle); });
}

ControlResult LinuxFirewireDriver::QueueBuffer(const Request &request, std::span<uint8_t> buffer)
{
    const auto node = NodeOf(request.device);
    return node ? node->QueueBuffer(request.id, buffer) : Failed(kErrorInvalidHandle);
}

uint32_t LinuxFirewireDriver::DetachBuffers(const Request &request, uint32_t resources)
{
    return OnNode(request, [&](OpenNode &node) { return node.DetachBuffers(resources); });
}

uint32_t LinuxFirewireDriver::Listen(const Request &request, uint32_t resources)
{
    return OnNode(request, [&](OpenNode &node) { return node.Listen(resources); });
}

uint32_t LinuxFirewireDriver::StopListen(const Request &request, uint32_t resources)
{
    return OnNode(request, [&](OpenNode &node) { return node.StopListen(resources); });
}

} // namespace zerix::bus::linux_firewire

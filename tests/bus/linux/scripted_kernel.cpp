// The scripted kernel's files: system folders, events, requests, resources and streams.
#include "tests/bus/linux/scripted_kernel.h"

#include <algorithm>
#include <cerrno>

namespace zerix::bus::linux_firewire {

namespace {

constexpr uint32_t kProbeAddress = 0xF0000400;
const std::string kDevices = "/sys/bus/firewire/devices";

std::string Hex(uint64_t value)
{
    char text[20];
    std::snprintf(text, sizeof text, "0x%016llx\n", static_cast<unsigned long long>(value));
    return text;
}

void PutBigEndian(Bytes &bytes, uint32_t word)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<uint8_t>(word >> shift));
}

std::vector<uint32_t> RomOf(const ScriptedKernel::Node &node)
{
    return {0x04040000, 0x31333934, node.maxRecord << 12, static_cast<uint32_t>(node.guid >> 32),
            static_cast<uint32_t>(node.guid)};
}

template <typename Record>
Record &As(void *record)
{
    return *static_cast<Record *>(record);
}

} // namespace

ScriptedKernel::~ScriptedKernel() { EXPECT_EQ("", files()) << "files are left open"; }

ScriptedKernel::Node &ScriptedKernel::Add(Node node)
{
    m_nodes.push_back(std::move(node));
    return m_nodes.back();
}

ScriptedKernel::Node &ScriptedKernel::NodeNamed(const std::string &name)
{
    return *std::find_if(m_nodes.begin(), m_nodes.end(),
                         [&](const Node &node) { return node.name == name; });
}

bool ScriptedKernel::Await(const std::function<bool()> &isSo)
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::seconds(20), isSo);
}

std::string ScriptedKernel::files()
{
    const std::lock_guard lock(m_mutex);
    std::string text;
    for (const auto &[number, file] : m_files)
        text += (text.empty() ? "" : " ") + (file.node ? file.node->name : "event");
    return text;
}

ScriptedKernel::File &ScriptedKernel::At(int file)
{
    const auto found = m_files.find(file);
    if (found != m_files.end())
        return found->second;
    ADD_FAILURE() << "file " << file << " isn't open";
    static File none;
    return none;
}

// Opening and closing ----------------------------------------------------------------------------

int ScriptedKernel::Open(const char *path)
{
    const std::lock_guard lock(m_mutex);
    for (Node &node : m_nodes) {
        if ("/dev/" + node.name != path || !node.isThere || node.isShutDown)
            continue;
        if (!node.openErrors.empty()) {
            const int error = node.openErrors.front();
            node.openErrors.pop_front();
            if (error != 0)
                return error;
        }
        m_files[++m_lastFile].node = &node;
        return m_lastFile;
    }
    return -ENOENT;
}

int ScriptedKernel::Close(int file)
{
    std::unique_lock lock(m_mutex);
    const File &closed = At(file);
    if (closed.node != nullptr) {
        EXPECT_FALSE(closed.isMapped) << "a close that frees nothing";
        m_changed.wait(lock, [this] { return !closesBlock; });
        log.push_back("close " + closed.node->name);
    }
    m_files.erase(file);
    m_changed.notify_all();
    return 0;
}

int ScriptedKernel::MakeEvent()
{
    const std::lock_guard lock(m_mutex);
    m_files[++m_lastFile];
    return m_lastFile;
}

int ScriptedKernel::Signal(int event)
{
    const std::lock_guard lock(m_mutex);
    At(event).isSignalled = true;
    m_changed.notify_all();
    return 0;
}

int ScriptedKernel::Clear(int event)
{
    const std::lock_guard lock(m_mutex);
    At(event).isSignalled = false;
    return 0;
}

// Waiting and reading ----------------------------------------------------------------------------

short ScriptedKernel::ReadyAt(const File &file) const
{
    short ready = file.isSignalled || !file.events.empty() ? POLLIN : 0;
    if (file.node != nullptr && file.node->isShutDown)
        ready = static_cast<short>(ready | POLLHUP | POLLERR);
    return ready;
}

int ScriptedKernel::Poll(std::span<pollfd> polled, int timeoutMilliseconds)
{
    std::unique_lock lock(m_mutex);
    const auto look = [&] {
        int found = 0;
        for (pollfd &file : polled) {
            // One that is closed under the poll stays as it was, as the system keeps it until then.
            const auto open = m_files.find(file.fd);
            file.revents = open != m_files.end() ? ReadyAt(open->second) : short{0};
            found += file.revents != 0 ? 1 : 0;
        }
        return found;
    };
    const auto deadline = m_now + std::chrono::milliseconds(timeoutMilliseconds);
    int found = 0;
    const auto isOver = [&] {
        found = look();
        return found > 0 || (timeoutMilliseconds >= 0 && (movesTime || m_now >= deadline));
    };
    m_changed.wait(lock, isOver);
    if (found == 0 && movesTime && m_now < deadline) {
        m_now = deadline;
        m_changed.notify_all();
    }
    return found;
}

long ScriptedKernel::Read(int file, std::span<uint8_t> bytes)
{
    const std::lock_guard lock(m_mutex);
    File &read = At(file);
    if (read.events.empty()) {
        EXPECT_TRUE(read.node->isShutDown) << "a read that would block";
        return -ENODEV;
    }
    const Bytes event = read.events.front();
    read.events.pop_front();
    const size_t size = std::min(event.size(), bytes.size());
    std::memcpy(bytes.data(), event.data(), size);
    return static_cast<long>(size);
}

std::chrono::nanoseconds ScriptedKernel::Now()
{
    const std::lock_guard lock(m_mutex);
    return m_now;
}

void ScriptedKernel::Sleep(std::chrono::nanoseconds time)
{
    const std::lock_guard lock(m_mutex);
    m_now += time;
    m_changed.notify_all();
}

void ScriptedKernel::Tell(File &file, const void *event, size_t bytes, const Bytes &data)
{
    const auto *const first = static_cast<const uint8_t *>(event);
    Bytes whole(first, first + bytes);
    whole.insert(whole.end(), data.begin(), data.end());
    whole.resize((whole.size() + 7) / 8 * 8); // events are longer than they say
    file.events.push_back(std::move(whole));
    m_changed.notify_all();
}

void ScriptedKernel::TellReset(const std::string &node, uint32_t generation)
{
    const std::lock_guard lock(m_mutex);
    fw_cdev_event_bus_reset event{};
    event.type = FW_CDEV_EVENT_BUS_RESET;
    event.generation = generation;
    for (auto &[number, file] : m_files)
        if (file.node != nullptr && file.node->name == node && file.knowsInfo)
            Tell(file, &event, sizeof event);
}

// Requests ---------------------------------------------------------------------------------------

int ScriptedKernel::Ioctl(int file, unsigned long request, void *record)
{
    std::unique_lock lock(m_mutex);
    File &asked = At(file);
    if (asked.node == nullptr || asked.node->isShutDown)
        return -ENODEV;
    if (auto &errors = ioctlErrors[request]; !errors.empty()) {
        const int error = errors.front();
        errors.pop_front();
        if (error != 0)
            return error;
    }
    switch (request) {
    case FW_CDEV_IOC_GET_INFO:
        return GetInfo(asked, As<fw_cdev_get_info>(record));
    case FW_CDEV_IOC_GET_SPEED:
        return asked.node->speed;
    case FW_CDEV_IOC_SEND_REQUEST:
        return SendRequest(file, As<fw_cdev_send_request>(record));
    case FW_CDEV_IOC_ALLOCATE_ISO_RESOURCE:
        return Allocate(asked, As<fw_cdev_allocate_iso_resource>(record));
    case FW_CDEV_IOC_DEALLOCATE_ISO_RESOURCE:
        deallocations.push_back(As<fw_cdev_deallocate>(record).handle);
        if (answersBookings)
            for (const auto &allocation : allocations)
                if (allocation.handle == deallocations.back()) {
                    fw_cdev_event_iso_resource event{};
                    event.closure = allocation.closure;
                    event.type = FW_CDEV_EVENT_ISO_RESOURCE_DEALLOCATED;
                    event.handle = allocation.handle;
                    event.channel = -EINVAL;
                    Tell(asked, &event, sizeof event);
                }
        m_changed.notify_all();
        return 0;
    case FW_CDEV_IOC_CREATE_ISO_CONTEXT: {
        auto &context = As<fw_cdev_create_iso_context>(record);
        EXPECT_EQ(1u, context.type);
        EXPECT_EQ(8u, context.header_size);
        EXPECT_FALSE(asked.hasContext);
        EXPECT_TRUE(asked.isMapped && asked.knowsInfo);
        asked.hasContext = true;
        ++contexts;
        log.push_back("context on " + std::to_string(context.channel));
        context.handle = 0;
        return 0;
    }
    case FW_CDEV_IOC_QUEUE_ISO:
        return Queue(asked, As<fw_cdev_queue_iso>(record));
    case FW_CDEV_IOC_START_ISO: {
        const auto &start = As<fw_cdev_start_iso>(record);
        EXPECT_EQ(-1, start.cycle);
        EXPECT_EQ(15u, start.tags);
        EXPECT_FALSE(asked.wasStopped) << "a stopped context is started again";
        log.push_back("start");
        asked.isListening = true;
        m_changed.notify_all();
        return 0;
    }
    case FW_CDEV_IOC_STOP_ISO:
        log.push_back("stop");
        asked.isListening = false;
        asked.wasStopped = true;
        return 0;
    default:
        ADD_FAILURE() << "unexpected ioctl " << request;
        return -ENOTTY;
    }
}

int ScriptedKernel::GetInfo(File &file, fw_cdev_get_info &record)
{
    EXPECT_EQ(5u, record.version);
    ++infos;
    m_changed.notify_all();
    const auto rom = RomOf(*file.node);
    const size_t romBytes = rom.size() * 4;
    if (record.rom != 0)
        std::memcpy(reinterpret_cast<void *>(static_cast<uintptr_t>(record.rom)), rom.data(),
                    std::min<size_t>(romBytes, record.rom_length));
    record.rom_length = static_cast<uint32_t>(romBytes);
    if (record.bus_reset != 0) {
        auto &reset =
            *reinterpret_cast<fw_cdev_event_bus_reset *>(static_cast<uintptr_t>(record.bus_reset));
        reset.type = FW_CDEV_EVENT_BUS_RESET;
        reset.generation = file.node->generation;
        reset.node_id = file.node->nodeId;
        reset.irm_node_id = file.node->managerId;
    }
    record.card = file.node->card;
    record.version = version;
    file.knowsInfo = true;
    return 0;
}

int ScriptedKernel::SendRequest(int file, const fw_cdev_send_request &request)
{
    const bool isWrite =
        request.tcode == TCODE_WRITE_QUADLET_REQUEST || request.tcode == TCODE_WRITE_BLOCK_REQUEST;
    const auto *const data =
        reinterpret_cast<const uint8_t *>(static_cast<uintptr_t>(request.data));
    const Sent now{file, request, isWrite ? Bytes(data, data + request.length) : Bytes()};
    const bool isProbe = !isWrite && request.offset == (uint64_t{0xFFFF} << 32 | kProbeAddress);
    if (isProbe)
        ++probes;
    else
        sent.push_back(now);
    const Node &node = *At(file).node;
    uint32_t code = RCODE_COMPLETE;
    auto &script = isProbe ? probeCodes : codes;
    if (!script.empty()) {
        code = script.front();
        script.pop_front();
    } else if (node.isStale || request.generation != node.generation) {
        code = RCODE_GENERATION;
    }
    m_changed.notify_all();
    if (code == kHang)
        return 0;
    fw_cdev_event_response event{};
    event.closure = request.closure;
    event.type = FW_CDEV_EVENT_RESPONSE;
    event.rcode = code;
    const Bytes answer = code == RCODE_COMPLETE && !isWrite ? DataFor(now) : Bytes();
    event.length = static_cast<uint32_t>(answer.size());
    Tell(At(file), &event, offsetof(fw_cdev_event_response, data), answer);
    return 0;
}

Bytes ScriptedKernel::DataFor(const Sent &request)
{
    Bytes data;
    const auto &words = At(request.file).node->words;
    for (uint32_t i = 0; i < request.request.length; i += 4) {
        const auto found = words.find(static_cast<uint32_t>(request.request.offset) + i);
        PutBigEndian(data, found != words.end() ? found->second : 0);
    }
    return data;
}

void ScriptedKernel::Respond(const Sent &request, uint32_t code, const Bytes &data)
{
    const std::lock_guard lock(m_mutex);
    fw_cdev_event_response event{};
    event.closure = request.request.closure;
    event.type = FW_CDEV_EVENT_RESPONSE;
    event.rcode = code;
    event.length = static_cast<uint32_t>(data.size());
    Tell(At(request.file), &event, offsetof(fw_cdev_event_response, data), data);
}

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

// The system's folders ---------------------------------------------------------------------------

int ScriptedKernel::ListFolder(const char *path, std::vector<std::string> &names)
{
    const std::lock_guard lock(m_mutex);
    names.clear();
    if (path == kDevices) {
        if (folderError != 0)
            return folderError;
        for (const Node &node : m_nodes) {
            if (!node.isThere || node.isShutDown)
                continue;
            names.push_back(node.name);
            names.push_back(node.name + ".0");
        }
        for (const auto &[name, text] : texts)
            names.push_back(name.substr(0, name.find('/')));
        return 0;
    }
    for (const Node &node : m_nodes)
        for (const std::string &unit : node.boundUnits)
            if (kDevices + "/" + unit + "/driver" == path)
                return 0;
    return -ENOENT;
}

int ScriptedKernel::ReadSmallFile(const char *path, std::string &contents)
{
    const std::lock_guard lock(m_mutex);
    contents.clear();
    const std::string name = std::string(path).substr(kDevices.size() + 1);
    if (const auto given = texts.find(name); given != texts.end()) {
        contents = given->second;
        return 0;
    }
    for (const Node &node : m_nodes) {
        if (!node.isThere || name.substr(0, name.find('/')) != node.name)
            continue;
        const std::string file = name.substr(node.name.size() + 1);
        const auto rom = RomOf(node);
        if (file == "guid")
            contents = Hex(node.guid);
        else if (file == "is_local")
            contents = node.isLocal ? "1\n" : "0\n";
        else if (file == "units")
            contents = node.units + "\n";
        else if (file == "config_rom")
            contents.assign(reinterpret_cast<const char *>(rom.data()), rom.size() * 4);
        else
            return -ENOENT;
        return 0;
    }
    return -ENOENT;
}

} // namespace zerix::bus::linux_firewire

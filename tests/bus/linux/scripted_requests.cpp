// The scripted kernel's requests: who a node is, and its registers.
#include "tests/bus/linux/scripted_bytes.h"
#include "tests/bus/linux/scripted_kernel.h"

#include <algorithm>
#include <cerrno>

namespace zerix::bus::linux_firewire {

namespace {

constexpr uint32_t kProbeAddress = 0xF0000400;

template <typename Record>
Record &As(void *record)
{
    return *static_cast<Record *>(record);
}

} // namespace

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
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return !holdsContexts; });
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
    const size_t romBytes = std::min(rom.size(), longestRom) * 4;
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

} // namespace zerix::bus::linux_firewire

#include "device_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <linux/firewire-constants.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace linux_kernel {

namespace {

constexpr std::size_t kEventBytes = 32 + 4096 + 16384;
constexpr char kDevices[] = "/sys/bus/firewire/devices";

std::uint64_t AsNumber(const void *pointer) { return reinterpret_cast<std::uintptr_t>(pointer); }

} // namespace

template <typename T>
T Event::As() const
{
    T value{};
    std::memcpy(&value, bytes.data(), std::min(sizeof(value), bytes.size()));
    return value;
}

template fw_cdev_event_common Event::As() const;
template fw_cdev_event_bus_reset Event::As() const;
template fw_cdev_event_response Event::As() const;
template fw_cdev_event_iso_resource Event::As() const;
template fw_cdev_event_iso_interrupt Event::As() const;

std::uint32_t Event::Type() const { return As<fw_cdev_event_common>().type; }

DeviceFile::DeviceFile(const std::string &path, int flags)
    : m_file(open(path.c_str(), O_RDWR | O_CLOEXEC | flags))
{
}

DeviceFile::~DeviceFile() { Close(); }

void DeviceFile::Close()
{
    if (m_file >= 0)
        close(m_file);
    m_file = -1;
}

int DeviceFile::Call(unsigned long request, void *argument) const
{
    const int result = ioctl(m_file, request, argument);
    return result < 0 ? -errno : result;
}

DeviceFile::Info DeviceFile::GetInfo(std::uint64_t closure) const
{
    Info result;
    result.rom.resize(256);
    result.info.version = 5;
    result.info.rom = AsNumber(result.rom.data());
    result.info.rom_length = static_cast<std::uint32_t>(result.rom.size() * 4);
    result.info.bus_reset = AsNumber(&result.bus);
    result.info.bus_reset_closure = closure;
    result.result = Call(FW_CDEV_IOC_GET_INFO, &result.info);
    result.rom.resize(result.result < 0 ? 0 : result.info.rom_length / 4);
    return result;
}

int DeviceFile::Send(std::uint32_t tcode, std::uint64_t offset, std::size_t length,
                     const void *data, std::uint64_t closure,
                     std::optional<std::uint32_t> generation) const
{
    fw_cdev_send_request request{};
    request.tcode = tcode;
    request.length = static_cast<std::uint32_t>(length);
    request.offset = offset;
    request.closure = closure;
    request.data = AsNumber(data);
    request.generation = generation ? *generation : GetInfo().bus.generation;
    const int result = Call(FW_CDEV_IOC_SEND_REQUEST, &request);
    return result < 0 ? result : 0;
}

std::optional<Event> DeviceFile::ReadEvent(int timeoutMilliseconds) const
{
    pollfd wanted{.fd = m_file, .events = POLLIN, .revents = 0};
    if (poll(&wanted, 1, timeoutMilliseconds) <= 0 || !(wanted.revents & POLLIN))
        return std::nullopt;
    Event event{Bytes(kEventBytes)};
    const ssize_t length = read(m_file, event.bytes.data(), event.bytes.size());
    if (length < 0)
        return std::nullopt;
    event.bytes.resize(static_cast<std::size_t>(length));
    return event;
}

std::optional<Response> DeviceFile::ReadResponse(int timeoutMilliseconds) const
{
    while (const std::optional<Event> event = ReadEvent(timeoutMilliseconds)) {
        if (event->Type() != FW_CDEV_EVENT_RESPONSE)
            continue;
        const auto head = event->As<fw_cdev_event_response>();
        const auto payload = event->bytes.begin() + offsetof(fw_cdev_event_response, data);
        return Response{head.rcode, Bytes(payload, payload + head.length), head.closure,
                        event->bytes.size()};
    }
    return std::nullopt;
}

Response DeviceFile::Transact(std::uint32_t tcode, std::uint64_t offset, std::size_t length,
                              const void *data) const
{
    const Response none{0xffffffff, {}, 0, 0};
    if (Send(tcode, offset, length, data) < 0)
        return none;
    return ReadResponse().value_or(none);
}

Response DeviceFile::ReadQuadlet(std::uint64_t offset) const
{
    return Transact(TCODE_READ_QUADLET_REQUEST, offset, 4, nullptr);
}

Response DeviceFile::ReadBlock(std::uint64_t offset, std::size_t length) const
{
    return Transact(TCODE_READ_BLOCK_REQUEST, offset, length, nullptr);
}

Response DeviceFile::WriteQuadlet(std::uint64_t offset, const Bytes &data) const
{
    return Transact(TCODE_WRITE_QUADLET_REQUEST, offset, data.size(), data.data());
}

Response DeviceFile::WriteBlock(std::uint64_t offset, const Bytes &data) const
{
    return Transact(TCODE_WRITE_BLOCK_REQUEST, offset, data.size(), data.data());
}

double Now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

std::string Attribute(const std::string &device, const std::string &name)
{
    const std::string node = std::filesystem::path(device).filename();
    std::ifstream file(std::string(kDevices) + "/" + node + "/" + name);
    std::string line;
    std::getline(file, line);
    return line;
}

std::string WaitForDevice(std::uint64_t guid, double seconds)
{
    char wanted[32];
    std::snprintf(wanted, sizeof(wanted), "0x%016llx", static_cast<unsigned long long>(guid));
    const double end = Now() + seconds;
    do {
        std::error_code ignored;
        for (const auto &entry : std::filesystem::directory_iterator(kDevices, ignored)) {
            const std::string name = entry.path().filename();
            if (Attribute(name, "guid") == wanted && access(("/dev/" + name).c_str(), F_OK) == 0)
                return "/dev/" + name;
        }
        usleep(10000);
    } while (Now() < end);
    return {};
}

std::string LocalDevice() { return WaitForDevice(0x0011225a45524958); }

} // namespace linux_kernel

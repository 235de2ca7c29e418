// One open /dev/fw* as the checks use it: the kernel's calls, one to one, with the structures
// filled in.
#pragma once

#include <cstdint>
#include <linux/firewire-cdev.h>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace linux_kernel {

using Bytes = std::vector<std::uint8_t>;

struct Response {
    std::uint32_t rcode;
    Bytes payload;
    std::uint64_t closure;
    std::size_t eventBytes; // what read() returned
};

// An event as read() gave it.
struct Event {
    Bytes bytes;

    [[nodiscard]] std::uint32_t Type() const;
    template <typename T>
    [[nodiscard]] T As() const;
};

class DeviceFile {
public:
    explicit DeviceFile(const std::string &path, int flags = 0);
    ~DeviceFile();
    DeviceFile(const DeviceFile &) = delete;
    DeviceFile &operator=(const DeviceFile &) = delete;

    [[nodiscard]] int File() const { return m_file; }
    void Close();

    // An ioctl's result, or the negative errno.
    int Call(unsigned long request, void *argument) const;

    struct Info {
        fw_cdev_get_info info{};
        fw_cdev_event_bus_reset bus{};
        std::vector<std::uint32_t> rom;
        int result = 0;
    };
    [[nodiscard]] Info GetInfo(std::uint64_t closure = 0) const;

    // Sends without waiting. The generation is that of GetInfo unless given. 0 or a negative errno.
    [[nodiscard]] int Send(std::uint32_t tcode, std::uint64_t offset, std::size_t length,
                           const void *data, std::uint64_t closure = 0,
                           std::optional<std::uint32_t> generation = {}) const;
    [[nodiscard]] std::optional<Event> ReadEvent(int timeoutMilliseconds = 10000) const;
    // The next event that is an answer; others before it are dropped.
    [[nodiscard]] std::optional<Response> ReadResponse(int timeoutMilliseconds = 10000) const;

    // Sends and waits. rcode 0xffffffff: the ioctl failed or no event came.
    [[nodiscard]] Response ReadQuadlet(std::uint64_t offset) const;
    [[nodiscard]] Response ReadBlock(std::uint64_t offset, std::size_t length) const;
    [[nodiscard]] Response WriteQuadlet(std::uint64_t offset, const Bytes &data) const;
    [[nodiscard]] Response WriteBlock(std::uint64_t offset, const Bytes &data) const;

private:
    [[nodiscard]] Response Transact(std::uint32_t tcode, std::uint64_t offset, std::size_t length,
                                    const void *data) const;

    int m_file;
};

// Seconds on the guest's own clock.
double Now();

// The device of a GUID, such as "/dev/fw1", once it is there; empty after the time.
std::string WaitForDevice(std::uint64_t guid, double seconds = 10);
// The local node's.
std::string LocalDevice();
// A line of /sys/bus/firewire/devices/NAME/..., without its end.
std::string Attribute(const std::string &device, const std::string &name);

} // namespace linux_kernel

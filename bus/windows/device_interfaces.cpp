// The walk over the system's list of present devices.
#include "bus/windows/device_interfaces.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace zerix::bus {

namespace {

// {E262A0C7-FD57-44A1-A9D3-8806349A39DA}
constexpr InterfaceClass kCameras = {
    0xE262A0C7, 0xFD57, 0x44A1, {0xA9, 0xD3, 0x88, 0x06, 0x34, 0x9A, 0x39, 0xDA}};

constexpr uint32_t kPresentInterfaces = 0x12; // present devices, by their interface class

class DeviceList {
public:
    DeviceList(SystemCalls &system, SystemHandle list) : m_system(system), m_list(list) {}
    ~DeviceList()
    {
        if (IsThere())
            m_system.DestroyDeviceInfoList(m_list);
    }
    DeviceList(const DeviceList &) = delete;
    DeviceList &operator=(const DeviceList &) = delete;
    [[nodiscard]] bool IsThere() const { return m_list != kInvalidSystemHandle; }
    [[nodiscard]] SystemHandle Get() const { return m_list; }

private:
    SystemCalls &m_system;
    const SystemHandle m_list;
};

void CopyPath(const uint8_t *detail, uint32_t detailBytes, kernel::DevicePath &path)
{
    const auto *text = reinterpret_cast<const char *>(detail) + kDetailPathOffset;
    const size_t room = std::min<size_t>(detailBytes - kDetailPathOffset, sizeof path.text - 1);
    const size_t length = static_cast<size_t>(std::find(text, text + room, '\0') - text);
    std::memcpy(path.text, text, length);
    path.text[length] = '\0';
}

// False where the system has no path to give: the list ends there.
bool PathOf(SystemCalls &system, const DeviceList &list, DeviceInterface &found,
            kernel::DevicePath &path)
{
    uint32_t bytes = 0;
    if (system.GetDeviceInterfaceDetail(list.Get(), &found, nullptr, 0, &bytes) ||
        system.LastError() != kErrorInsufficientBuffer || bytes <= kDetailPathOffset)
        return false;
    // At least the size word's worth, whatever the system asks for.
    const uint32_t room = std::max(bytes, kDetailSizeWord);
    const std::unique_ptr<uint8_t[]> detail(new (std::nothrow) uint8_t[room]());
    if (!detail)
        return false;
    std::memcpy(detail.get(), &kDetailSizeWord, sizeof kDetailSizeWord);
    if (!system.GetDeviceInterfaceDetail(list.Get(), &found, detail.get(), room, &bytes))
        return false;
    CopyPath(detail.get(), room, path);
    return true;
}

} // namespace

uint32_t EnumerateDeviceInterfaces(SystemCalls &system, kernel::DevicePath *paths,
                                   uint32_t maximumCount, uint32_t *count)
{
    const DeviceList list(system, system.GetClassDevices(kCameras, kPresentInterfaces));
    if (!list.IsThere())
        return WhyItFailed(system);
    uint32_t found = 0;
    for (; found < maximumCount; ++found) {
        DeviceInterface next{};
        next.sizeWord = kDeviceInterfaceSizeWord;
        if (!system.EnumDeviceInterfaces(list.Get(), kCameras, found, &next)) {
            const uint32_t error = WhyItFailed(system);
            if (error == kErrorNoMoreItems)
                break;
            *count = 0;
            return error;
        }
        if (!PathOf(system, list, next, paths[found]))
            break;
    }
    *count = found;
    return 0;
}

} // namespace zerix::bus

// The seam below the bus on Windows: the system calls that it makes, with the system's records and
// numbers and without the system's header, so that a conversation with them can be scripted on any
// platform. A call that fails tells why through LastError, as the system does. Any thread.
#pragma once

#include <cstdint>

namespace zerix::bus {

// A handle of the system, of a file, an event or a list of devices.
using SystemHandle = uintptr_t;
inline constexpr SystemHandle kInvalidSystemHandle = ~SystemHandle{0};

inline constexpr bool kIs64Bit = sizeof(void *) == 8;

struct InterfaceClass {
    uint32_t data1;
    uint16_t data2;
    uint16_t data3;
    uint8_t data4[8];
};

// One device interface of a list.
struct DeviceInterface {
    uint32_t sizeWord; // kDeviceInterfaceSizeWord
    InterfaceClass interfaceClass;
    uint32_t flags;
    uintptr_t reserved;
};
inline constexpr uint32_t kDeviceInterfaceSizeWord = kIs64Bit ? 0x20 : 0x1C;
static_assert(sizeof(DeviceInterface) == kDeviceInterfaceSizeWord);

// A detail record begins with this word, and the path stands right behind the word. The system
// packs the record with its one letter of a path to 5 bytes on 32 bits, and rounds it up on 64.
inline constexpr uint32_t kDetailSizeWord = kIs64Bit ? 8 : 5;
inline constexpr uint32_t kDetailPathOffset = 4;

// The system's overlapped block: two words of the system's, the position, and the event that is
// signalled when the request is over.
struct SystemOverlapped {
    uintptr_t words[2];
    uint32_t position[2];
    SystemHandle event;
};
static_assert(sizeof(SystemOverlapped) == (kIs64Bit ? 32 : 20));

// System errors that the bus itself goes by; those of the port stand in kernel_driver.h.
enum SystemCallError : uint32_t {
    kErrorNotEnoughMemory = 8,
    kErrorUnknownFailure = 31,
    kErrorInsufficientBuffer = 0x7A,
    kErrorNoMoreItems = 0x103,
    kErrorIoIncomplete = 996,
    kErrorIoPending = 997,
};

class SystemCalls {
public:
    virtual ~SystemCalls() = default;

    virtual uint32_t LastError() = 0;

    // SetupDiGetClassDevsA without an enumerator; kInvalidSystemHandle when it fails.
    virtual SystemHandle GetClassDevices(const InterfaceClass &interfaceClass, uint32_t flags) = 0;
    // SetupDiEnumDeviceInterfaces over all devices.
    virtual bool EnumDeviceInterfaces(SystemHandle list, const InterfaceClass &interfaceClass,
                                      uint32_t index, DeviceInterface *found) = 0;
    // SetupDiGetDeviceInterfaceDetailA without the device's own record.
    virtual bool GetDeviceInterfaceDetail(SystemHandle list, DeviceInterface *found, void *detail,
                                          uint32_t detailBytes, uint32_t *requiredBytes) = 0;
    virtual void DestroyDeviceInfoList(SystemHandle list) = 0;

    // CreateFileA; kInvalidSystemHandle when it fails.
    virtual SystemHandle CreateFile(const char *path, uint32_t access, uint32_t sharing,
                                    uint32_t disposition, uint32_t flags) = 0;
    virtual bool DeviceIoControl(SystemHandle device, uint32_t code, const void *in,
                                 uint32_t inBytes, void *out, uint32_t outBytes,
                                 uint32_t *returnedBytes, SystemOverlapped *overlapped) = 0;
    virtual bool GetOverlappedResult(SystemHandle device, SystemOverlapped *overlapped,
                                     uint32_t *returnedBytes, bool waits) = 0;
    // CancelIoEx of one request, whichever thread sent it; with null, of all that are pending on
    // the device.
    virtual bool CancelIo(SystemHandle device, SystemOverlapped *overlapped) = 0;
    virtual void CloseHandle(SystemHandle handle) = 0;

    // CreateEventA: manual reset, unsignalled, no name; 0 when it fails.
    virtual SystemHandle CreateEvent() = 0;
    // WaitForSingleObject; true if it was signalled in time.
    virtual bool WaitForEvent(SystemHandle event, uint32_t timeoutMilliseconds) = 0;
};

// Why the call failed that has just failed. Never 0, whatever stands between the call and the
// system has left behind: 0 would go on as success.
inline uint32_t WhyItFailed(SystemCalls &system)
{
    const uint32_t error = system.LastError();
    return error != 0 ? error : kErrorUnknownFailure;
}

} // namespace zerix::bus

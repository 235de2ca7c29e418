// The system calls of the bus: each a call of the system, with its records by their bytes.
#include "bus/windows/win32_calls.h"

#include <windows.h>

#include <setupapi.h>

// Their names are macros of the system's header.
#undef CreateFile
#undef CreateEvent

namespace zerix::bus {

namespace {

static_assert(sizeof(DeviceInterface) == sizeof(SP_DEVICE_INTERFACE_DATA));
static_assert(kDetailSizeWord == sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_A));
static_assert(kDetailPathOffset == offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_A, DevicePath));
static_assert(sizeof(SystemOverlapped) == sizeof(OVERLAPPED));
static_assert(offsetof(SystemOverlapped, event) == offsetof(OVERLAPPED, hEvent));
static_assert(sizeof(InterfaceClass) == sizeof(GUID));
static_assert(DIGCF_PRESENT + DIGCF_DEVICEINTERFACE == 0x12);
static_assert(kErrorNoMoreItems == ERROR_NO_MORE_ITEMS && kErrorIoPending == ERROR_IO_PENDING);
static_assert(kErrorInsufficientBuffer == ERROR_INSUFFICIENT_BUFFER);

HANDLE Native(SystemHandle handle) { return reinterpret_cast<HANDLE>(handle); }

SystemHandle Portable(HANDLE handle) { return reinterpret_cast<SystemHandle>(handle); }

OVERLAPPED *Native(SystemOverlapped *overlapped)
{
    return reinterpret_cast<OVERLAPPED *>(overlapped);
}

const GUID *Native(const InterfaceClass &interfaceClass)
{
    return reinterpret_cast<const GUID *>(&interfaceClass);
}

SP_DEVICE_INTERFACE_DATA *Native(DeviceInterface *found)
{
    return reinterpret_cast<SP_DEVICE_INTERFACE_DATA *>(found);
}

class RealCalls final : public SystemCalls {
public:
    uint32_t LastError() override { return GetLastError(); }

    SystemHandle GetClassDevices(const InterfaceClass &interfaceClass, uint32_t flags) override
    {
        return Portable(SetupDiGetClassDevsA(Native(interfaceClass), nullptr, nullptr, flags));
    }

    bool EnumDeviceInterfaces(SystemHandle list, const InterfaceClass &interfaceClass,
                              uint32_t index, DeviceInterface *found) override
    {
        return SetupDiEnumDeviceInterfaces(Native(list), nullptr, Native(interfaceClass), index,
                                           Native(found)) != 0;
    }

    bool GetDeviceInterfaceDetail(SystemHandle list, DeviceInterface *found, void *detail,
                                  uint32_t detailBytes, uint32_t *requiredBytes) override
    {
        DWORD required = 0;
        const BOOL isThere = SetupDiGetDeviceInterfaceDetailA(
            Native(list), Native(found), static_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_A *>(detail),
            detailBytes, &required, nullptr);
        *requiredBytes = required;
        return isThere != 0;
    }

    void DestroyDeviceInfoList(SystemHandle list) override
    {
        SetupDiDestroyDeviceInfoList(Native(list));
    }

    SystemHandle CreateFile(const char *path, uint32_t access, uint32_t sharing,
                            uint32_t disposition, uint32_t flags) override
    {
        return Portable(CreateFileA(path, access, sharing, nullptr, disposition, flags, nullptr));
    }

    bool DeviceIoControl(SystemHandle device, uint32_t code, const void *in, uint32_t inBytes,
                         void *out, uint32_t outBytes, uint32_t *returnedBytes,
                         SystemOverlapped *overlapped) override
    {
        DWORD returned = 0;
        const BOOL isDone = ::DeviceIoControl(Native(device), code, const_cast<void *>(in), inBytes,
                                              out, outBytes, &returned, Native(overlapped));
        *returnedBytes = returned;
        return isDone != 0;
    }

    bool GetOverlappedResult(SystemHandle device, SystemOverlapped *overlapped,
                             uint32_t *returnedBytes, bool waits) override
    {
        DWORD returned = 0;
        const BOOL isDone = ::GetOverlappedResult(Native(device), Native(overlapped), &returned,
                                                  waits ? TRUE : FALSE);
        *returnedBytes = returned;
        return isDone != 0;
    }

    bool CancelIo(SystemHandle device, SystemOverlapped *overlapped) override
    {
        return CancelIoEx(Native(device), Native(overlapped)) != 0;
    }

    void CloseHandle(SystemHandle handle) override { ::CloseHandle(Native(handle)); }

    SystemHandle CreateEvent() override
    {
        return Portable(CreateEventA(nullptr, TRUE, FALSE, nullptr));
    }

    bool WaitForEvent(SystemHandle event, uint32_t timeoutMilliseconds) override
    {
        return WaitForSingleObject(Native(event), timeoutMilliseconds) == WAIT_OBJECT_0;
    }
};

} // namespace

SystemCalls &Win32Calls()
{
    static auto *const calls = new RealCalls;
    return *calls;
}

} // namespace zerix::bus

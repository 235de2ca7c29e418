#include "device_calls.h"

#include <array>
#include <cstring>

#include <setupapi.h>

namespace zerix::test {

namespace {

constexpr GUID kCameraInterface = {
    0xE262A0C7, 0xFD57, 0x44A1, {0xA9, 0xD3, 0x88, 0x06, 0x34, 0x9A, 0x39, 0xDA}};
constexpr DWORD kDeadlineMilliseconds = 10000;

std::vector<uint32_t> AccessRecord(uint32_t address, size_t quadlets)
{
    return {0, 1, 0xFFC0, 0xFFFF, address, static_cast<uint32_t>(quadlets * 4), 0, 0, 0, 0};
}

} // namespace

std::vector<std::string> PresentDevices()
{
    std::vector<std::string> paths;
    const HDEVINFO set = SetupDiGetClassDevsA(&kCameraInterface, nullptr, nullptr, 0x12);
    SP_DEVICE_INTERFACE_DATA item{};
    item.cbSize = sizeof item;
    for (DWORD i = 0; SetupDiEnumDeviceInterfaces(set, nullptr, &kCameraInterface, i, &item); ++i) {
        alignas(SP_DEVICE_INTERFACE_DETAIL_DATA_A) std::array<char, 1024> buffer{};
        auto *detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_A *>(buffer.data());
        detail->cbSize = sizeof *detail;
        if (SetupDiGetDeviceInterfaceDetailA(set, &item, detail, buffer.size(), nullptr, nullptr))
            paths.emplace_back(detail->DevicePath);
    }
    SetupDiDestroyDeviceInfoList(set);
    return paths;
}

// A request
// -----------------------------------------------------------------------------------------

SentCall::SentCall() { m_overlapped.hEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr); }

SentCall::~SentCall()
{
    if (m_isPending) {
        Cancel();
        Result();
    }
    CloseHandle(m_overlapped.hEvent);
}

void SentCall::Send(HANDLE device, uint32_t code, void *in, size_t inBytes, void *out,
                    size_t outBytes)
{
    m_device = device;
    m_result = {};
    DWORD returned = 0;
    const BOOL done = DeviceIoControl(device, code, in, static_cast<DWORD>(inBytes), out,
                                      static_cast<DWORD>(outBytes), &returned, &m_overlapped);
    m_result.error = done ? 0 : GetLastError();
    m_result.bytes = done ? returned : 0;
    m_isPending = m_result.error == ERROR_IO_PENDING;
}

bool SentCall::Cancel() { return CancelIoEx(m_device, &m_overlapped) != FALSE; }

CallResult SentCall::Result()
{
    if (!m_isPending)
        return m_result;
    m_result = {.error = WAIT_TIMEOUT, .bytes = 0, .pended = true};
    if (WaitForSingleObject(m_overlapped.hEvent, kDeadlineMilliseconds) != WAIT_OBJECT_0)
        return m_result;
    m_isPending = false;
    DWORD returned = 0;
    const BOOL done = GetOverlappedResult(m_device, &m_overlapped, &returned, FALSE);
    m_result.error = done ? 0 : GetLastError();
    m_result.bytes = done ? returned : 0;
    return m_result;
}

// A handle
// ------------------------------------------------------------------------------------------

OpenDevice::OpenDevice(const std::string &path)
    : m_handle(CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                           FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OVERLAPPED, nullptr))
{
}

OpenDevice::~OpenDevice() { Close(); }

void OpenDevice::Close()
{
    if (IsOpen())
        CloseHandle(m_handle);
    m_handle = INVALID_HANDLE_VALUE;
}

CallResult OpenDevice::Call(uint32_t code, const std::vector<uint32_t> &in,
                            std::vector<uint32_t> *out)
{
    std::vector<uint32_t> record = in;
    SentCall call;
    if (out != nullptr)
        call.Send(m_handle, code, record.data(), record.size() * 4, out->data(), out->size() * 4);
    else
        call.Send(m_handle, code, record.data(), record.size() * 4, nullptr, 0);
    return call.Result();
}

CallResult OpenDevice::Read(uint32_t address, std::vector<uint32_t> *quadlets)
{
    return Call(0x22207A, AccessRecord(address, quadlets->size()), quadlets);
}

CallResult OpenDevice::Write(uint32_t address, const std::vector<uint32_t> &quadlets)
{
    // The record's last word is the first quadlet; the record is one word longer than header and
    // data.
    std::vector<uint32_t> record = AccessRecord(address, quadlets.size());
    record.pop_back();
    record.insert(record.end(), quadlets.begin(), quadlets.end());
    record.push_back(0);
    return Call(0x22A07C, record, nullptr);
}

bool OpenDevice::Take(uint32_t slotBytes)
{
    std::vector<uint32_t> out(5);
    if (Call(0x22A0A0, {slotBytes, 8, 0, 0, 0}, &out).error != 0)
        return false;
    bandwidth = out[2];
    out.assign(4, 0);
    if (Call(0x22A0A8, {0xFFFFFFFF, 0, 0, 0}, &out).error != 0)
        return false;
    channel = out[1];
    out.assign(9, 0);
    if (Call(0x22A0B0, {8, 0x41, channel, slotBytes, 61, slotBytes * 30, 0, 1, 0}, &out).error != 0)
        return false;
    resources = out[8];
    return true;
}

} // namespace zerix::test

// A device of the test driver by the system's plain calls, without the library.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <windows.h>

namespace zerix::test {

// Paths of the present devices of the camera driver's interface class, in the system's order.
std::vector<std::string> PresentDevices();

struct CallResult {
    uint32_t error = 0; // the system's
    uint32_t bytes = 0; // returned
    bool pended = false;
};

// A request that has been sent and may pend. Its buffers are the caller's.
class SentCall {
public:
    SentCall();
    ~SentCall();
    SentCall(const SentCall &) = delete;
    SentCall &operator=(const SentCall &) = delete;

    void Send(HANDLE device, uint32_t code, void *in, size_t inBytes, void *out, size_t outBytes);
    [[nodiscard]] bool IsPending() const { return m_isPending; }
    // Cancels it; false if it was over.
    bool Cancel();
    // Its result; waits for it, at most ten seconds (then the error is 258).
    CallResult Result();

private:
    HANDLE m_device = nullptr;
    OVERLAPPED m_overlapped{};
    CallResult m_result;
    bool m_isPending = false;
};

// One handle, opened as the library opens it.
class OpenDevice {
public:
    explicit OpenDevice(const std::string &path);
    ~OpenDevice();
    OpenDevice(const OpenDevice &) = delete;
    OpenDevice &operator=(const OpenDevice &) = delete;

    [[nodiscard]] bool IsOpen() const { return m_handle != INVALID_HANDLE_VALUE; }
    [[nodiscard]] HANDLE Handle() const { return m_handle; }
    void Close();

    // Words in and out; sends and waits.
    CallResult Call(uint32_t code, const std::vector<uint32_t> &in, std::vector<uint32_t> *out);
    // Quadlets as the driver gives them.
    CallResult Read(uint32_t address, std::vector<uint32_t> *quadlets);
    // Quadlets as they are to stand in the record.
    CallResult Write(uint32_t address, const std::vector<uint32_t> &quadlets);

    // Bandwidth, channel and resources for slots of this size; true if all were had.
    bool Take(uint32_t slotBytes);
    uint32_t bandwidth = 0;
    uint32_t channel = 0;
    uint32_t resources = 0;

private:
    HANDLE m_handle;
};

} // namespace zerix::test

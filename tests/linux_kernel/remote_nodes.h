// The remote nodes of the checks: a thread that reads the wire and gives every request to a
// handler. The handler runs in the thread; everything else may be called from any.
#pragma once

#include "wire.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace linux_kernel {

class RemoteNodes {
public:
    using Handler = std::function<void(const Record &request)>;

    RemoteNodes();
    ~RemoteNodes();

    Wire &TheWire() { return m_wire; }

    // Without a handler requests go to 64 KiB of registers from kRegisters on; elsewhere is
    // rcode 7.
    void HandleWith(Handler handler);
    std::vector<std::uint8_t> Registers(std::size_t place, std::size_t length);
    void SetRegisters(std::size_t place, std::vector<std::uint8_t> bytes);

    // All requests so far, in their order.
    std::vector<Record> Requests();
    // Waits for a request by its number, from 0; the guest's clock is virtual, so that a failure
    // costs nothing.
    std::optional<Record> WaitForRequest(std::size_t number);
    // Takes the first notice of a kind, after waiting for it.
    std::optional<Record> WaitForNotice(fwbus_kind kind);

    static constexpr std::uint64_t kRegisters = 0xfffff0f00000;

private:
    void Run();
    void Take(const Record &record);
    void AnswerFromRegisters(const Record &request);

    Wire m_wire;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    Handler m_handler;
    std::vector<std::uint8_t> m_registers;
    std::vector<Record> m_requests;
    std::vector<Record> m_notices;
    bool m_ending = false;
    std::thread m_thread;
};

} // namespace linux_kernel

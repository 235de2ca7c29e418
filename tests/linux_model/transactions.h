// Asynchronous requests: sent in order by a thread of the model, answered by a camera, by the card
// itself or by nobody. Under the model's lock.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <thread>
#include <vector>

#include "tests/linux_model/device_file.h"

namespace zerix::linux_model {

class Machine;

class Transactions {
public:
    explicit Transactions(Machine &machine) : m_machine(machine) {}

    void Start();
    // Ends the thread. What hangs is given up.
    void End(Lock &lock);

    // The ioctl: 0 or an error. The answer is an event.
    int Send(const std::shared_ptr<DeviceFile> &file, const fw_cdev_send_request &request);

    // Those that nobody answered for two seconds.
    void RunDue();
    [[nodiscard]] nanoseconds NextDue() const;

private:
    struct Transaction {
        std::shared_ptr<DeviceFile> file;
        uint64_t closure;
        uint32_t tcode;
        uint64_t offset;
        uint32_t length;
        uint32_t generation;
        uint32_t destination;
        std::vector<uint8_t> data;
        std::shared_ptr<CameraLink> link;
        std::unique_ptr<RegisterAccess> access;
        nanoseconds due{};
    };
    struct Answer {
        uint32_t rcode;
        std::vector<uint8_t> data = {};
    };

    void Run();
    void Serve(Lock &lock, std::unique_ptr<Transaction> transaction);
    void Access(Lock &lock, std::unique_ptr<Transaction> transaction);
    static Answer AnswerOfRom(const Transaction &transaction, const Node &node);
    [[nodiscard]] uint32_t RefusalOf(const Transaction &transaction, bool isCamera) const;
    Answer AnswerOf(const Transaction &transaction, uint32_t systemError);
    void Complete(Transaction &transaction, const Answer &answer);

    Machine &m_machine;
    std::thread m_thread;
    std::condition_variable m_sent;
    bool m_isEnding = false;
    uint32_t m_inFlight = 0;
    std::deque<std::unique_ptr<Transaction>> m_queue;
    std::vector<std::unique_ptr<Transaction>> m_hanging;
};

} // namespace zerix::linux_model

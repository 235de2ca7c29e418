// Closes files apart from everybody: the kernel keeps whoever closes one for up to two seconds
// while a transaction is on its way, and nothing can end that wait.
//
// Any thread. Each piece of work has a thread of its own, so that no file waits for another's.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>

#include "bus/linux_firewire/system_calls.h"
#include "platform/os.h"

namespace zerix::bus::linux_firewire {

// The files of a node that are to be closed. It needs no memory, so that giving them up can't fail.
class FileList {
public:
    FileList() = default;
    explicit FileList(int file) { Add(file); }
    // A negative number is none. There is room for those of one node: its own, the card's, the
    // stream's, and the event's.
    void Add(int file)
    {
        if (file >= 0)
            m_files.at(m_count++) = file;
    }
    [[nodiscard]] const int *begin() const { return m_files.data(); }
    [[nodiscard]] const int *end() const { return m_files.data() + m_count; }

private:
    std::array<int, 4> m_files{};
    size_t m_count = 0;
};

class Closer {
public:
    // What is to be closed: the thread that still polls the files is joined before.
    struct Work {
        std::unique_ptr<os::Thread> thread;
        FileList files;
        std::shared_ptr<void> owner; // of what the thread uses
    };

    // `system` must outlive the closing threads. A process that ends doesn't wait for them.
    explicit Closer(SystemCalls &system);
    // Waits for everything that is being closed.
    ~Closer();
    Closer(const Closer &) = delete;
    Closer &operator=(const Closer &) = delete;

    // Returns at once. Only where the system has no thread to give it closes here.
    void Take(Work work) noexcept;

    // How many pieces of work are finished, ever.
    [[nodiscard]] uint64_t FinishedCount() const;
    // Waits until all that was taken is. False if it takes too long.
    bool AwaitIdle(std::chrono::milliseconds timeout);
    // Waits until more than `count` are. False if nothing is under way, or it takes too long.
    bool AwaitMoreThan(uint64_t count, std::chrono::milliseconds timeout);

private:
    struct State;
    struct Job;
    static void Run(void *job);

    const std::shared_ptr<State> m_state;
};

} // namespace zerix::bus::linux_firewire

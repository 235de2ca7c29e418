// An open node: one handle of the port, with everything that it holds. One thread reads the events
// of all its files and serves its timers; the port's operations come from any thread.
//
// Threads: one lock over all of it. Under it only system calls are made that don't block. The book
// of requests has its own, taken inside. Files are closed by the closer alone.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "bus/linux_firewire/buffer_queue.h"
#include "bus/linux_firewire/closing.h"
#include "bus/linux_firewire/isochronous_resources.h"
#include "bus/linux_firewire/node_files.h"
#include "bus/linux_firewire/stream_ring.h"
#include "bus/linux_firewire/system_calls.h"
#include "bus/linux_firewire/transactions.h"
#include "hal/kernel_requests.h"
#include "hal/requests/request_book.h"
#include "platform/os.h"

namespace zerix::bus::linux_firewire {

// What the nodes of a driver share.
struct NodeSurroundings {
    SystemCalls &system;
    kernel::RequestBook &requests;
    Closer &closer;
};

class OpenNode final : public std::enable_shared_from_this<OpenNode> {
public:
    // Takes the files over, and starts the thread of their events. 0 or a system error.
    static uint32_t Make(const NodeSurroundings &surroundings, kernel::DeviceHandle handle,
                         const NodeFiles &files, std::shared_ptr<OpenNode> &made);
    OpenNode(const NodeSurroundings &surroundings, kernel::DeviceHandle handle,
             const NodeFiles &files);
    OpenNode(const OpenNode &) = delete;
    OpenNode &operator=(const OpenNode &) = delete;

    // Gives everything back. Doesn't block.
    void Close();
    // 0, or the error of every request. What gives back works for a lost device, too.
    uint32_t Check(bool givesBack);

    // The port's operations, as the request server has them.
    kernel::ControlResult Read(kernel::RequestId id, uint32_t address, std::span<uint8_t> data);
    kernel::ControlResult Write(kernel::RequestId id, uint32_t address,
                                std::span<const uint8_t> data);
    bool Drop(kernel::RequestId id);
    uint32_t IsOpen(bool &isOpen);
    uint32_t AllocateBandwidth(kernel::BandwidthRequest &booking);
    uint32_t FreeBandwidth(uint32_t handle);
    uint32_t AllocateChannel(kernel::ChannelRequest &booking);
    uint32_t FreeChannel(uint32_t channel);
    uint32_t AllocateResources(kernel::ResourcesRequest &booking);
    uint32_t FreeResources(uint32_t handle);
    kernel::ControlResult QueueBuffer(kernel::RequestId id, std::span<uint8_t> buffer);
    uint32_t DetachBuffers(uint32_t resources);
    uint32_t Listen(uint32_t resources);
    uint32_t StopListen(uint32_t resources);

private:
    using Time = std::chrono::nanoseconds;
    using Lock = std::unique_lock<std::mutex>;
    // What the event thread polls, and what it found.
    struct Watched;
    class ClaimUse;

    // What everything below calls (open_node.cpp).
    [[nodiscard]] uint32_t Usable() const;
    void Finish(kernel::RequestId id, uint32_t error, std::span<const uint8_t> bytes);
    uint32_t Noted(uint32_t error);
    void Wake();
    void WakeIfDueEarlier();
    void GiveUpFiles(FileList &files);

    // The event thread (open_node_events.cpp).
    static void Run(void *parameter);
    void ServeEvents();
    bool BeginPoll(Watched &watched);
    void AfterPoll(Watched &watched);
    std::span<const uint8_t> ReadEvent(int file);
    void ReadControl(short events);
    void ReadAlarm(short events);
    void ReadStream(short events, bool looks);
    void OnControlEvent(std::span<const uint8_t> event);
    void ServeTimers();
    [[nodiscard]] std::optional<Time> NextDeadline() const;
    [[nodiscard]] std::optional<Time> AnswerDeadline() const;
    void Probe();
    void BeLost();

    // Bookings (open_node_bookings.cpp).
    uint32_t Claim();
    void Unclaim();
    uint32_t Await(Lock &lock, const IsochronousResources::Pointer &booking);
    uint32_t AwaitReturn(Lock &lock, const IsochronousResources::Pointer &booking);

    // The stream (open_node_stream.cpp).
    [[nodiscard]] uint32_t CheckResources(const kernel::ResourcesRequest &request) const;
    uint32_t MakeRing(Lock &lock);
    uint32_t TryToMakeRing(uint32_t slotBytes, uint32_t channel, std::unique_ptr<StreamRing> &ring);
    int TakeRingFile();
    void RetireRing();
    void Deliver();
    void EndBuffers(uint32_t systemError);

    SystemCalls &m_system;
    kernel::RequestBook &m_requests;
    Closer &m_closer;
    const kernel::DeviceHandle m_handle;

    std::mutex m_mutex; // over everything below
    std::condition_variable m_changed;
    NodeFiles m_files;
    std::unique_ptr<os::Thread> m_thread;
    bool m_isClosed = false;
    bool m_isLost = false;        // and everything has been ended
    bool m_sawLoss = false;       // the event thread is to do that
    bool m_isToProbe = false;     // and that
    std::vector<uint8_t> m_event; // read last; the event thread's
    Time m_polledUntil{};
    Time m_lastProbe{};

    Transactions m_transactions;
    IsochronousResources m_bookings;
    bool m_isClaimed = false;
    uint32_t m_claimUses = 0;  // calls that ask for bandwidth
    bool m_keepsClaim = false; // bandwidth was granted: until the close

    struct Resources {
        uint32_t handle;
        uint32_t channel;
        uint32_t slotBytes;
        uint32_t bufferCount;
    };
    std::optional<Resources> m_resources;
    uint32_t m_lastResources = 0;
    bool m_isMakingRing = false;
    std::unique_ptr<StreamRing> m_ring; // null after a stop
    uint32_t m_ringNumber = 0;          // counts them: a file's number may come again
    BufferQueue m_buffers;
    Time m_lastPacket{};
    bool m_askedInSilence = false;
};

} // namespace zerix::bus::linux_firewire

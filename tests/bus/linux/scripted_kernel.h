// The kernel's FireWire interface as a script: nodes with their files in the system's folders and
// their device files, requests that are answered as a test says, and packets that it sends. Its
// clock stands still but where somebody waits: a poll with a time-out and nothing to read is over
// at once, and the time-out later.
//
// It knows no bus: what a reset or an unplug does is said by each test.
#pragma once

#include <condition_variable>
#include <cstring>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bus/linux_firewire/kernel_records.h"
#include "bus/linux_firewire/system_calls.h"

namespace zerix::bus::linux_firewire {

using Bytes = std::vector<uint8_t>;

class ScriptedKernel final : public SystemCalls {
public:
    struct Node {
        std::string name;
        uint64_t guid = 0;
        bool isLocal = false;
        uint32_t card = 0;
        int speed = 3;
        uint32_t maxRecord = 8; // 512 bytes
        std::string units = "0x00beef:0x000102";
        uint32_t generation = 7;
        uint32_t nodeId = 0xFFC0;
        uint32_t managerId = 0xFFC1;             // of the bus's resource manager
        std::set<std::string> boundUnits = {};   // units with a driver
        std::map<uint32_t, uint32_t> words = {}; // registers by their address
        std::deque<int> openErrors = {};         // of the next opens
        bool isThere = true;                     // listed, and can be opened
        bool isStale = false;                    // every request is of an old generation
        bool isShutDown = false;                 // the kernel has given it up
    };

    // What a request was sent with.
    struct Sent {
        int file;
        fw_cdev_send_request request;
        Bytes data;
    };

    // The answer to a request to a register, in the order of the requests; 0 without one.
    static constexpr uint32_t kHang = 0xFFFF;
    std::deque<uint32_t> codes;
    std::deque<uint32_t> probeCodes; // to the look at the configuration memory

    ~ScriptedKernel() override;

    Node &Add(Node node);
    Node &NodeNamed(const std::string &name);

    // A test looks and changes under the lock.
    template <typename Work>
    auto Locked(Work work)
    {
        const std::lock_guard lock(m_mutex);
        auto result = work();
        m_changed.notify_all();
        return result;
    }
    // Waits for something that other threads do.
    bool Await(const std::function<bool()> &isSo);

    // Events --------------------------------------------------------------------------------
    void TellReset(const std::string &node, uint32_t generation);
    void Respond(const Sent &sent, uint32_t code, const Bytes &data = {});
    void TellDeallocated(uint64_t closure, uint32_t handle);
    void TellGranted(uint64_t closure, uint32_t handle, int32_t channel, int32_t bandwidth);

    // Packets into the ring that listens, each in the next cycle. Those that find no slot are lost.
    struct Packet {
        uint32_t length;
        uint8_t fill;
        uint32_t cyclesLater = 1;
        bool isWritten = true; // else its slot stays as it is
    };
    void Send(const std::vector<Packet> &packets);
    bool losesNextEvent = false;

    // What goes wrong ----------------------------------------------------------------------
    std::map<unsigned long, std::deque<int>> ioctlErrors; // of the next ones; 0 lets one pass
    int mapError = 0;
    int lockError = 0;
    bool isLockedByOthers = false;
    bool refusesResources = false; // as taken
    bool answersBookings = true;
    bool closesBlock = false;
    uint32_t mostQueuedAtOnce = 0xFFFFFFFF; // packets
    uint32_t version = 5;
    size_t longestRom = 256;    // quadlets that the kernel has read
    bool holdsContexts = false; // they are made once this is false again
    int folderError = 0;
    bool movesTime = true;

    // What was seen ------------------------------------------------------------------------
    std::vector<Sent> sent; // register requests
    uint32_t probes = 0;
    uint32_t infos = 0;           // asked for
    std::vector<std::string> log; // of streams, locks and closes
    std::vector<fw_cdev_allocate_iso_resource> allocations;
    std::vector<uint32_t> deallocations; // handles
    uint32_t contexts = 0;               // that were created, ever
    size_t mapBytes = 0;                 // of the last map
    uint64_t queued = 0;                 // slots, ever
    std::string files();                 // that are open: "fw0 fw1 fw1"
    bool AwaitNoFiles()
    {
        return Await([this] { return m_files.empty(); });
    }
    std::map<std::string, std::string> texts; // of files in the system's folders, in place of ours

    // The seam ------------------------------------------------------------------------------
    int Open(const char *path) override;
    int Close(int file) override;
    long Read(int file, std::span<uint8_t> bytes) override;
    int Ioctl(int file, unsigned long request, void *record) override;
    void *Map(int file, size_t bytes, int &error) override;
    int Unmap(void *address, size_t bytes) override;
    int Poll(std::span<pollfd> files, int timeoutMilliseconds) override;
    int MakeEvent() override;
    int Signal(int event) override;
    int Clear(int event) override;
    int Lock(int file) override;
    int Unlock(int file) override;
    int IsLockedElsewhere(int file) override;
    int ListFolder(const char *path, std::vector<std::string> &names) override;
    int ReadSmallFile(const char *path, std::string &contents) override;
    std::chrono::nanoseconds Now() override;
    void Sleep(std::chrono::nanoseconds time) override;

private:
    struct Entry {
        uint8_t *slot;
        uint32_t bytes;
        bool interrupts;
    };
    struct File {
        Node *node = nullptr; // null of an event
        bool isSignalled = false;
        bool knowsInfo = false;
        bool isLocked = false;
        std::deque<Bytes> events;
        std::unique_ptr<uint8_t[]> memory;
        size_t bytes = 0;
        bool isMapped = false;
        bool hasContext = false;
        bool isListening = false;
        bool wasStopped = false;
        std::deque<Entry> queue;
        Bytes headers;
    };

    File &At(int file);
    short ReadyAt(const File &file) const;
    void Tell(File &file, const void *event, size_t bytes, const Bytes &data = {});
    int GetInfo(File &file, fw_cdev_get_info &record);
    int SendRequest(int file, const fw_cdev_send_request &request);
    Bytes DataFor(const Sent &request);
    int Allocate(File &file, fw_cdev_allocate_iso_resource &record);
    int Queue(File &file, fw_cdev_queue_iso &record);
    void SendOne(File &file, const Packet &packet);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Node> m_nodes;
    std::map<int, File> m_files;
    int m_lastFile = 2;
    uint32_t m_lastResource = 0;
    uint32_t m_cycle = 100;
    std::chrono::nanoseconds m_now{std::chrono::hours(1)};
};

} // namespace zerix::bus::linux_firewire

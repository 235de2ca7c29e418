// The files by which a node is spoken to: opened, asked who they are, and handed over.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "bus/linux_firewire/closing.h"
#include "bus/linux_firewire/node_list.h"
#include "bus/linux_firewire/system_calls.h"

namespace zerix::bus::linux_firewire {

// What the kernel says of the node behind a file.
struct NodeInfo {
    uint32_t generation = 0; // of the bus: a request is good for one
    uint32_t card = 0;
    std::vector<uint32_t> rom; // quadlets in host order

    // 0 if the configuration memory is too short to have one.
    uint64_t Guid() const;
};

// 0 or a negative error number; -EPROTO from a kernel whose interface is too old. Asking makes the
// file tell of bus resets from then on.
int ReadInfo(SystemCalls &system, int file, NodeInfo &info);
// The bus's generation alone.
int ReadGeneration(SystemCalls &system, int file, uint32_t &generation);

// An open file, closed by the closer unless it is taken out.
class FileOwner {
public:
    FileOwner(Closer &closer, int file) : m_closer(closer), m_file(file) {}
    ~FileOwner();
    FileOwner(const FileOwner &) = delete;
    FileOwner &operator=(const FileOwner &) = delete;

    [[nodiscard]] int Get() const { return m_file; }
    int TakeOut();

private:
    Closer &m_closer;
    int m_file;
};

// The files of one handle. What isn't there is negative.
struct NodeFiles {
    Node node;
    int control = -1;
    // Of the card that the node is reached through. It tells of a bus reset at once, where the
    // node's own file says nothing for seconds after an unplug. Not every user may open it.
    int alarm = -1;
    int wake = -1; // an event that ends the poll
    NodeInfo info;
    int speed = 0; // code: 2 is 400 Mb/s, 3 is 800
};

// How long a refusal may be temporary, if the node has just appeared: the system grants the access
// after it has made the file.
using Patience = std::chrono::nanoseconds;

// Opens what a handle needs. `nodes` are all there are. 0 or a system error.
uint32_t OpenNodeFiles(SystemCalls &system, Closer &closer, const Node &node,
                       const std::vector<Node> &nodes, Patience patience, NodeFiles &files);

// Another file of the same node, and of no other that has taken its name. 0 or a system error.
uint32_t OpenAgain(SystemCalls &system, Closer &closer, const Node &node, int &file);

} // namespace zerix::bus::linux_firewire

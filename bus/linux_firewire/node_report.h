// What the nodes of the FireWire buses tell a person who looks for a camera. Any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "bus/linux_firewire/node_list.h"
#include "bus/linux_firewire/recognition.h"
#include "bus/linux_firewire/system_calls.h"
#include "zerix/zerix_records.h"

namespace zerix::bus::linux_firewire {

// What a report asks the driver.
struct NodeQuestions {
    std::function<bool(const Node &)> isCamera;
    // Reads the registers of a node, camera or not; null for a node that may not be opened.
    Recogniser::OpenReader open;
};

// All of them, in the order of cards and of their GUIDs. Each is opened for a moment. A node that
// may not be opened counts to the first card, as the system doesn't tell then.
std::vector<ZerixBusNode> ReportNodes(SystemCalls &system, const std::vector<Node> &nodes,
                                      const NodeQuestions &questions);

} // namespace zerix::bus::linux_firewire

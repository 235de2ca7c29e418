// What the nodes of a bus tell a person: a table, the system's entry that opens cameras, and why
// there is no camera.
#pragma once

#include <string>
#include <vector>

#include "zerix/zerix_records.h"

namespace zerix::tool {

// A paragraph a card with a line for each of its nodes, and below it why it is a camera or not.
std::string BusTable(const std::vector<ZerixBusNode> &nodes);

// A JSON array with an object for each node.
std::string BusJson(const std::vector<ZerixBusNode> &nodes);

// The entry of the system's hardware database that lets people open the cameras, with the name of
// its file and the commands that install it. Throws CommandError if no node is meant.
std::string HardwareDatabaseEntry(const std::vector<ZerixBusNode> &nodes);

// Why none of these is a camera to be used, and what to do about it: one sentence or two.
std::string WhyNoCamera(const std::vector<ZerixBusNode> &nodes);

} // namespace zerix::tool

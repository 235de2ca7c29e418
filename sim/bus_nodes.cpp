// The nodes of the virtual bus.
#include "sim/bus_nodes.h"

#include <cstdio>
#include <string>
#include <string_view>

#include "sim/model_names.h"

namespace zerix::sim {
namespace {

template <size_t size>
void Put(char (&field)[size], std::string_view text)
{
    std::snprintf(field, size, "%.*s", static_cast<int>(text.size()), text.data());
}

ZerixBusNode OwnNode(const VirtualBus &bus)
{
    ZerixBusNode node{};
    node.flags = ZERIX_NODE_IS_CARD | ZERIX_NODE_MAY_OPEN;
    node.speed = bus.Speed();
    node.bandwidthLeft = bus.Accounts().UnitsLeft();
    node.channelsLeft = bus.Accounts().ChannelsLeft();
    Put(node.device, "zerix-sim");
    Put(node.vendor, "Zerix");
    Put(node.model, "virtual bus");
    Put(node.remark, "This computer.");
    return node;
}

ZerixBusNode NodeOf(const VirtualBus &bus, const VirtualCamera &camera, const std::string &path)
{
    const CameraDescription &description = camera.Description();
    ZerixBusNode node = OwnNode(bus);
    node.flags = ZERIX_NODE_IS_CAMERA | ZERIX_NODE_MAY_OPEN;
    if (bus.IsClaimed(camera))
        node.flags |= ZERIX_NODE_IS_IN_USE;
    node.guid = description.uniqueId;
    Put(node.device, path);
    Put(node.model, ModelName(description.model));
    Put(node.remark, "A virtual camera.");
    return node;
}

} // namespace

std::vector<ZerixBusNode> DescribeBus(const VirtualBus &bus)
{
    std::vector<ZerixBusNode> nodes = {OwnNode(bus)};
    for (uint32_t index = 0; index < bus.CameraCount(); ++index) {
        const auto camera = bus.Camera(index);
        if (camera->IsPlugged())
            nodes.push_back(NodeOf(bus, *camera, bus.DevicePathOf(index)));
    }
    return nodes;
}

} // namespace zerix::sim

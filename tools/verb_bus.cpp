// zerix bus: every node of the bus, camera or not, and why.
#include <fmt/format.h>

#include "tools/bus_nodes.h"
#include "tools/command_error.h"
#include "tools/verbs.h"

namespace zerix::tool {

void ShowBus(const CommonOptions &options, bool showsEntry)
{
    const LoadedDriver driver(options);
    const auto nodes = driver.Nodes();
    if (!nodes)
        throw CommandError("This system's FireWire driver shows nothing but cameras: see \"zerix "
                           "list\".");
    if (showsEntry)
        fmt::print("{}", HardwareDatabaseEntry(*nodes));
    else if (options.json)
        fmt::print("{}", BusJson(*nodes));
    else if (nodes->empty())
        throw CommandError(WhyNoCamera(*nodes));
    else
        fmt::print("{}", BusTable(*nodes));
}

} // namespace zerix::tool

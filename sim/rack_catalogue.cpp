// Loads every known rack once.
#include "sim/rack_catalogue.h"

#include <algorithm>
#include <utility>

#include "sim/built_in_racks.h"

namespace zerix::sim {
namespace {

bool IsBuiltIn(const std::string &name)
{
    const auto &texts = BuiltInRackTexts();
    return std::any_of(texts.begin(), texts.end(),
                       [&name](const RackText &text) { return text.name == name; });
}

std::vector<KnownRack> ReadRacks()
{
    std::vector<KnownRack> racks;
    for (const RackDescription &known : KnownRacks()) {
        KnownRack read{.name = known.name,
                       .meaning = known.meaning,
                       .isBuiltIn = IsBuiltIn(known.name),
                       .rack = {}};
        std::string error;
        if (!LoadRack(known.name, &read.rack, &error))
            read.meaning = error;
        else if (!read.rack.meaning.empty())
            read.meaning = read.rack.meaning;
        racks.push_back(std::move(read));
    }
    return racks;
}

} // namespace

const std::vector<KnownRack> &RackCatalogue()
{
    static const std::vector<KnownRack> racks = ReadRacks();
    return racks;
}

} // namespace zerix::sim

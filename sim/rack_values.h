// The values of a rack file's keys, one by one: each function is false if the value is not what its
// key expects. Pure functions, safe from any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#define TOML_HEADER_ONLY 1
#define TOML_EXCEPTIONS 0
#define TOML_ENABLE_FORMATTERS 0
#include <toml++/toml.h>

#include "sim/block_versions.h"
#include "sim/rack.h"

namespace zerix::sim {

std::string Quoted(std::string_view text);

// What stands in the file, as a message tells it.
std::string Found(const toml::node &node);

// An integer from `lowest` to `highest`.
template <typename Number>
bool ReadNumber(const toml::node &node, uint64_t lowest, uint64_t highest, Number *target)
{
    const auto *number = node.as_integer();
    if (number == nullptr || number->get() < 0)
        return false;
    const auto value = static_cast<uint64_t>(number->get());
    if (value < lowest || value > highest)
        return false;
    *target = static_cast<Number>(value);
    return true;
}

// A text of 1 to `longest` bytes.
bool ReadText(const toml::node &node, size_t longest, std::string *target);
bool ReadTruth(const toml::node &node, bool *target);
bool ReadUniqueId(const toml::node &node, uint64_t *target);
bool ReadModel(const toml::node &node, uint32_t *target);
bool ReadSensor(const toml::node &node, uint16_t *target);
bool ReadVersionOf(Block block, const toml::node &node, BlockVersion *target);
bool ReadScene(const toml::node &node, std::string *target);
bool ReadReads(const toml::node &node, std::string *target);
bool ReadFaults(const toml::node &node, std::vector<FaultText> *target);
bool ReadLight(const toml::node &node, float *target);
bool ReadLightColour(const toml::node &node, std::array<float, 3> *target);
bool ReadCapabilities(const toml::node &node, std::optional<uint32_t> *target);
bool ReadClock(const toml::node &node, bool *fastClock);

} // namespace zerix::sim

// Integers, texts, names and versions as a rack file may tell them.
#include "sim/rack_values.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <utility>

#include "platform/file_path.h"
#include "sim/capabilities.h"
#include "sim/model_names.h"
#include "sim/scene.h"
#include "sim/sensor.h"

namespace zerix::sim {

std::string Quoted(std::string_view text)
{
    return std::string(1, '"').append(text).append(1, '"');
}

// What stands in the file, as a message tells it.
std::string Found(const toml::node &node)
{
    if (const auto *text = node.as_string())
        return Quoted(text->get());
    if (const auto *number = node.as_integer())
        return std::to_string(number->get());
    if (const auto *truth = node.as_boolean())
        return truth->get() ? "true" : "false";
    if (node.is_floating_point())
        return "a number with a fraction";
    if (node.is_array())
        return "a list";
    return node.is_table() ? "a table" : "a date or time";
}

bool ReadText(const toml::node &node, size_t longest, std::string *target)
{
    const auto *text = node.as_string();
    if (text == nullptr || text->get().empty() || text->get().size() > longest)
        return false;
    *target = text->get();
    return true;
}

bool ReadTruth(const toml::node &node, bool *target)
{
    const auto *truth = node.as_boolean();
    if (truth == nullptr)
        return false;
    *target = truth->get();
    return true;
}

// 64 bits do not fit into an integer of the file's language: they may be a text in hexadecimal.
bool ReadUniqueId(const toml::node &node, uint64_t *target)
{
    const auto *text = node.as_string();
    if (text == nullptr)
        return ReadNumber(node, 1, ~0ULL, target);
    std::string_view digits = text->get();
    if (!digits.starts_with("0x"))
        return false;
    digits.remove_prefix(2);
    const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), *target, 16);
    return parsed.ec == std::errc() && parsed.ptr == digits.data() + digits.size() && *target != 0;
}

// Any number will do: there may be cameras that are newer than every table.
bool ReadModel(const toml::node &node, uint32_t *target)
{
    if (const auto *text = node.as_string()) {
        *target = FindModel(text->get());
        return *target != 0;
    }
    uint32_t number = 0;
    if (!ReadNumber(node, 1, 0xFFFF, &number))
        return false;
    *target = number;
    return true;
}

bool ReadSensor(const toml::node &node, uint16_t *target)
{
    const auto *text = node.as_string();
    for (uint16_t ccdModel = 0; FindSensorType(ccdModel) != nullptr; ++ccdModel) {
        const bool wanted = text != nullptr
                                ? FindSensorType(ccdModel)->name == text->get()
                                : node.is_integer() && node.as_integer()->get() == ccdModel;
        if (wanted) {
            *target = ccdModel;
            return true;
        }
    }
    return false;
}

bool ReadVersionOf(Block block, const toml::node &node, BlockVersion *target)
{
    const auto *text = node.as_string();
    if (text == nullptr)
        return false;
    for (const BlockVersion &known : KnownBlockVersions(block)) {
        if (text->get() == std::to_string(known.major) + "." + std::to_string(known.minor)) {
            *target = known;
            return true;
        }
    }
    return false;
}

// Its file is named in UTF-8, as everything in a rack file, and elsewhere as the system's calls
// take it.
bool ReadScene(const toml::node &node, std::string *target)
{
    if (!ReadText(node, 4096, target))
        return false;
    *target = os::PathText(std::u8string(target->begin(), target->end()));
    const std::string_view name = std::string_view(*target).substr(0, target->find(':'));
    const auto &known = KnownScenes();
    return std::any_of(known.begin(), known.end(),
                       [name](const SceneDescription &scene) { return scene.name == name; });
}

bool ReadReads(const toml::node &node, std::string *target)
{
    return ReadText(node, 16, target) &&
           (*target == "pending" || *target == "immediate" || *target == "mixed");
}

bool ReadFaults(const toml::node &node, std::vector<FaultText> *target)
{
    const auto *list = node.as_array();
    if (list == nullptr)
        return false;
    for (const toml::node &entry : *list) {
        FaultText fault{.text = {}, .line = entry.source().begin.line};
        if (!ReadText(entry, 4096, &fault.text))
            return false;
        target->push_back(std::move(fault));
    }
    return true;
}

// Integers are welcome where a fraction would be.
bool ReadLight(const toml::node &node, float *target)
{
    const auto light = node.value<double>();
    if (!node.is_number() || !light || !(*light >= 0.0 && *light <= 1e6))
        return false;
    *target = static_cast<float>(*light);
    return true;
}

bool ReadLightColour(const toml::node &node, std::array<float, 3> *target)
{
    const auto *list = node.as_array();
    if (list == nullptr || list->size() != target->size())
        return false;
    for (size_t i = 0; i < target->size(); ++i)
        if (!ReadLight((*list)[i], &(*target)[i]))
            return false;
    return true;
}

bool ReadCapabilities(const toml::node &node, std::optional<uint32_t> *target)
{
    const auto *list = node.as_array();
    if (list == nullptr)
        return false;
    uint32_t bits = 0;
    for (const toml::node &entry : *list) {
        const auto *name = entry.as_string();
        const auto *known = std::find_if(std::begin(kCapabilityNames), std::end(kCapabilityNames),
                                         [name](const CapabilityName &row) {
                                             return name != nullptr && row.name == name->get();
                                         });
        if (known == std::end(kCapabilityNames))
            return false;
        bits |= known->bit;
    }
    *target = bits;
    return true;
}

bool ReadClock(const toml::node &node, bool *fastClock)
{
    std::string clock;
    if (!ReadText(node, 8, &clock) || (clock != "fast" && clock != "real"))
        return false;
    *fastClock = clock == "fast";
    return true;
}

} // namespace zerix::sim

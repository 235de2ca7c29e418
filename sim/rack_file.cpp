// Reads a rack file. Each key is a row of a table that knows its name, what it expects and how it
// gets into the rack; everything about a message but these is common. Pure functions, safe from any
// thread.
#include "sim/rack_file.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "sim/capabilities.h"
#include "sim/model_names.h"
#include "sim/rack_values.h"
#include "sim/register_map.h"
#include "sim/scene.h"

namespace zerix::sim {
namespace {

constexpr std::string_view kCameras = "camera";

// Where a value is going and what to say if it can't.
struct Reader {
    const std::string &fileName;
    std::string *error;

    // "FILE:LINE: what", at the place of a node.
    bool Fail(const toml::source_region &where, const std::string &what) const
    {
        *error = fileName + ":" + std::to_string(where.begin.line) + ": " + what + ".";
        return false;
    }
};

template <typename Target>
struct Key {
    std::string_view name;
    std::string_view expected;
    bool (*read)(const toml::node &node, Target *target); // false if the value is not as expected
};

// The keys ----------------------------------------------------------------------------------------

constexpr Key<Rack> kRackKeys[] = {
    {"name", "a text",
     [](const toml::node &node, Rack *rack) { return ReadText(node, 256, &rack->name); }},
    {"meaning", "a text of 1 to 256 characters",
     [](const toml::node &node, Rack *rack) { return ReadText(node, 256, &rack->meaning); }},
    {"speed", "400 or 800",
     [](const toml::node &node, Rack *rack) {
         return ReadNumber(node, 400, 800, &rack->speed) &&
                (rack->speed == 400 || rack->speed == 800);
     }},
    {"clock", "\"fast\" or \"real\"",
     [](const toml::node &node, Rack *rack) { return ReadClock(node, &rack->fastClock); }},
    {"seed", "an integer from 0 on",
     [](const toml::node &node, Rack *rack) { return ReadNumber(node, 0, ~0ULL, &rack->seed); }},
};

using Camera = CameraDescription;

constexpr Key<Camera> kCameraKeys[] = {
    {"model", "",
     [](const toml::node &node, Camera *camera) { return ReadModel(node, &camera->model); }},
    {"serial", "a text of 1 to 27 characters",
     [](const toml::node &node, Camera *camera) { return ReadText(node, 27, &camera->serial); }},
    {"unique-id", "an integer above 0, or a text of at most 16 hexadecimal digits behind 0x",
     [](const toml::node &node, Camera *camera) { return ReadUniqueId(node, &camera->uniqueId); }},
    {"sensor", "the number of a CCD model from 0 to 78, or its name as in \"ICX285AL\"",
     [](const toml::node &node, Camera *camera) { return ReadSensor(node, &camera->ccdModel); }},
    {"information", "",
     [](const toml::node &node, Camera *camera) {
         return ReadVersionOf(Block::kInformation, node, &camera->information);
     }},
    {"control", "",
     [](const toml::node &node, Camera *camera) {
         return ReadVersionOf(Block::kControl, node, &camera->control);
     }},
    {"configuration", "",
     [](const toml::node &node, Camera *camera) {
         return ReadVersionOf(Block::kConfiguration, node, &camera->configuration);
     }},
    {"streaming", "",
     [](const toml::node &node, Camera *camera) {
         return ReadVersionOf(Block::kStreaming, node, &camera->streaming);
     }},
    {"command", "",
     [](const toml::node &node, Camera *camera) {
         return ReadVersionOf(Block::kCommand, node, &camera->command);
     }},
    {"status", "",
     [](const toml::node &node, Camera *camera) {
         return ReadVersionOf(Block::kStatus, node, &camera->status);
     }},
    {"hardware", "an integer from 0 to 65535",
     [](const toml::node &node, Camera *camera) {
         return ReadNumber(node, 0, 0xFFFF, &camera->hardwareVersion);
     }},
    {"firmware", "an integer from 0 to 65535",
     [](const toml::node &node, Camera *camera) {
         return ReadNumber(node, 0, 0xFFFF, &camera->firmwareVersion);
     }},
    {"build", "an integer from 0 to 65535",
     [](const toml::node &node, Camera *camera) {
         return ReadNumber(node, 0, 0xFFFF, &camera->firmwareBuild);
     }},
    {"stream-format", "0, 1 or 2",
     [](const toml::node &node, Camera *camera) {
         return ReadNumber(node, 0, 2, &camera->streamingVersion);
     }},
    {"bit-depth", "an integer from 8 to 16",
     [](const toml::node &node, Camera *camera) {
         return ReadNumber(node, 8, 16, &camera->bitDepth);
     }},
    {"cooler", "true or false",
     [](const toml::node &node, Camera *camera) { return ReadTruth(node, &camera->cooler); }},
    {"regulated-cooling", "true or false",
     [](const toml::node &node, Camera *camera) {
         return ReadTruth(node, &camera->regulatedCooling);
     }},
    {"light", "a number from 0 to 1000000, or three of them",
     [](const toml::node &node, Camera *camera) {
         return ReadLight(node, &camera->light) || ReadLightColour(node, &camera->lightColour);
     }},
    {"noise", "true or false",
     [](const toml::node &node, Camera *camera) { return ReadTruth(node, &camera->noise); }},
    {"alternate-model-address", "true or false",
     [](const toml::node &node, Camera *camera) {
         return ReadTruth(node, &camera->registersFromAlternateAddress);
     }},
    {"capabilities", "",
     [](const toml::node &node, Camera *camera) {
         return ReadCapabilities(node, &camera->capabilities);
     }},
    {"misc-control", "an integer from 0 to 65535",
     [](const toml::node &node, Camera *camera) {
         return ReadNumber(node, 0, 0xFFFF, &camera->miscellaneous);
     }},
    {"high-gain", "true or false",
     [](const toml::node &node, Camera *camera) { return ReadTruth(node, &camera->highGain); }},
    {"scene", "",
     [](const toml::node &node, Camera *camera) { return ReadScene(node, &camera->scene); }},
    {"reads", "\"pending\", \"immediate\" or \"mixed\"",
     [](const toml::node &node, Camera *camera) { return ReadReads(node, &camera->reads); }},
    {"in-use", "true or false",
     [](const toml::node &node, Camera *camera) { return ReadTruth(node, &camera->inUse); }},
    {"faults", "a list of texts",
     [](const toml::node &node, Camera *camera) { return ReadFaults(node, &camera->faults); }},
};

std::string KnownVersions(Block block)
{
    std::string versions;
    for (const BlockVersion &known : KnownBlockVersions(block)) {
        versions += (versions.empty() ? "\"" : ", \"") + std::to_string(known.major) + "." +
                    std::to_string(known.minor) + "\"";
    }
    return versions;
}

std::string KnownSceneUsages()
{
    std::string usages;
    for (const SceneDescription &scene : KnownScenes())
        usages += (usages.empty() ? "" : ", ") + std::string(scene.usage);
    return usages;
}

std::string KnownCapabilities()
{
    std::string names;
    for (const CapabilityName &row : kCapabilityNames)
        names += (names.empty() ? "\"" : ", \"") + std::string(row.name) + "\"";
    return names;
}

// What a key expects, where that is a list from elsewhere.
std::string Expected(std::string_view key, std::string_view expected)
{
    if (!expected.empty())
        return std::string(expected);
    if (key == "model")
        return "the number or name of a model: " + KnownModels();
    if (key == "scene")
        return "a scene: " + KnownSceneUsages();
    if (key == "capabilities")
        return "a list of " + KnownCapabilities();
    for (const auto &[block, name] : kBlockNames) {
        if (name == key)
            return "a version of the block as a text: " + KnownVersions(block);
    }
    return {};
}

// A table keeps its keys by the alphabet; messages tell the first mistake of the file.
struct Entry {
    const toml::key *name;
    const toml::node *value;
};

std::vector<Entry> InOrderOfTheFile(const toml::table &table)
{
    std::vector<Entry> entries;
    for (const auto &[name, value] : table)
        entries.push_back({.name = &name, .value = &value});
    std::sort(entries.begin(), entries.end(), [](const Entry &a, const Entry &b) {
        return a.name->source().begin < b.name->source().begin;
    });
    return entries;
}

template <typename Target, size_t kCount>
bool ReadKey(const Entry &entry, const Key<Target> (&keys)[kCount], std::string_view alsoKnown,
             const Reader &reader, Target *target)
{
    const std::string_view name = entry.name->str();
    const auto *key = std::find_if(std::begin(keys), std::end(keys),
                                   [name](const auto &row) { return row.name == name; });
    if (key == std::end(keys)) {
        std::string known;
        for (const auto &row : keys)
            known += (known.empty() ? "" : ", ") + std::string(row.name);
        if (!alsoKnown.empty())
            known += ", " + std::string(alsoKnown);
        return reader.Fail(entry.name->source(),
                           "the key " + Quoted(name) + " is unknown; the keys here are " + known);
    }
    if (key->read(*entry.value, target))
        return true;
    return reader.Fail(entry.value->source(), std::string(key->name) + " is " +
                                                  Found(*entry.value) + "; expected " +
                                                  Expected(key->name, key->expected));
}

// What a camera has that the file does not tell: it differs from camera to camera where it must.
void FillIn(size_t index, Camera *camera)
{
    if (camera->serial.empty())
        camera->serial = "ZV-" + std::to_string(camera->model) + "-" + std::to_string(index + 1);
    if (camera->uniqueId == 0)
        camera->uniqueId = 0x00A1B2C400000000ULL + index + 1;
}

// Cameras whose information block is too old to tell of a format send the oldest.
bool SettleStreamFormat(const toml::table &table, const Reader &reader, Camera *camera)
{
    if (IsAtLeast(camera->information, 2, 1))
        return true;
    const toml::node *told = table.get("stream-format");
    if (told != nullptr && camera->streamingVersion != 0)
        return reader.Fail(told->source(),
                           "stream-format is " + Found(*told) +
                               "; expected 0, as the information block is below 2.1");
    camera->streamingVersion = 0;
    return true;
}

bool ReadCamera(const toml::table &table, const Reader &reader, Rack *rack)
{
    Camera camera;
    camera.ccdModel = 6;
    for (const Entry &entry : InOrderOfTheFile(table)) {
        if (!ReadKey(entry, kCameraKeys, {}, reader, &camera))
            return false;
    }
    if (camera.model == 0)
        return reader.Fail(table.source(),
                           "the camera has no model; expected " + Expected("model", {}));
    if (!SettleStreamFormat(table, reader, &camera))
        return false;
    FillIn(rack->cameras.size(), &camera);
    for (const Camera &other : rack->cameras) {
        if (other.uniqueId == camera.uniqueId)
            return reader.Fail(table.source(),
                               "the camera has the unique-id of another; expected one of its own");
    }
    rack->cameras.push_back(std::move(camera));
    return true;
}

bool ReadCameras(const toml::node &node, const Reader &reader, Rack *rack)
{
    const auto *cameras = node.as_array();
    if (cameras == nullptr)
        return reader.Fail(node.source(), "camera is " + Found(node) +
                                              "; expected [[camera]], one for each camera");
    for (const toml::node &camera : *cameras) {
        if (!camera.is_table())
            return reader.Fail(camera.source(), "camera is " + Found(camera) +
                                                    "; expected [[camera]], one for each camera");
        if (!ReadCamera(*camera.as_table(), reader, rack))
            return false;
    }
    return true;
}

} // namespace

bool ParseRack(std::string_view text, const std::string &fileName, Rack *rack, std::string *error)
{
    const Reader reader{.fileName = fileName, .error = error};
    // Without the file's name: the parser would end the process where it can't copy it.
    const toml::parse_result parsed = toml::parse(text);
    if (!parsed)
        return reader.Fail(parsed.error().source(),
                           "no TOML: " + std::string(parsed.error().description()));
    Rack read;
    read.name = fileName;
    for (const Entry &entry : InOrderOfTheFile(parsed.table())) {
        const bool good = entry.name->str() == kCameras
                              ? ReadCameras(*entry.value, reader, &read)
                              : ReadKey(entry, kRackKeys, kCameras, reader, &read);
        if (!good)
            return false;
    }
    *rack = std::move(read);
    return true;
}

} // namespace zerix::sim

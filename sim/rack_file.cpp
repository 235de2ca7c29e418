// Reads a rack file. Each key is a row of a table that knows its name, what it expects and how it
// gets into the rack; everything about a message but these is common. Pure functions, safe from any
// thread.
#include "sim/rack_file.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#define TOML_HEADER_ONLY 1
#define TOML_EXCEPTIONS 0
#define TOML_ENABLE_FORMATTERS 0
#include <toml++/toml.h>

#include "sim/block_versions.h"
#include "sim/scene.h"
#include "sim/sensor.h"

namespace zerix::sim {
namespace {

struct ModelName {
    uint32_t number;
    std::string_view name;
};

constexpr ModelName kModels[] = {
    {5, "Astrel A1"},          {6, "Astrel A2"},   {7, "Sparrow B"},     {8, "Benchmate"},
    {9, "Astrel Intensified"}, {10, "Sparrow IR"}, {12, "Astrel C1"},    {13, "Astrel B1"},
    {14, "NoctisA1"},          {15, "Astrel E1"},  {16, "OEM Camera 3"}, {18, "Astrel C2"},
    {19, "Astrel B2"},         {25, "Noctis C1"},  {26, "Astrel F1"},    {27, "Noctis A2"},
    {28, "Astrel E2"},         {29, "Astrel C3"},  {30, "Astrel B3"},    {31, "Merid Cobalt"},
    {32, "Merid Teal"},        {33, "Astrel G1"},  {1001, "OXA"},        {1002, "MT1"},
};

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

std::string Quoted(std::string_view text) {
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

template <typename Target>
struct Key {
    std::string_view name;
    std::string_view expected;
    bool (*read)(const toml::node &node, Target *target); // false if the value is not as expected
};

// Integers and texts ------------------------------------------------------------------------------

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
    return std::any_of(std::begin(kModels), std::end(kModels),
                       [number](const ModelName &model) { return model.number == number; });
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

bool ReadScene(const toml::node &node, std::string *target)
{
    if (!ReadText(node, 4096, target))
        return false;
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

bool ReadClock(const toml::node &node, bool *fastClock)
{
    std::string clock;
    if (!ReadText(node, 8, &clock) || (clock != "fast" && clock != "real"))
        return false;
    *fastClock = clock == "fast";
    return true;
}

// The keys ----------------------------------------------------------------------------------------

constexpr Key<Rack> kRackKeys[] = {
    {"name", "a text",
     [](const toml::node &node, Rack *rack) { return ReadText(node, 256, &rack->name); }},
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
    {"alternate-model-address", "true or false",
     [](const toml::node &node, Camera *camera) {
         return ReadTruth(node, &camera->registersFromAlternateAddress);
     }},
    {"scene", "",
     [](const toml::node &node, Camera *camera) { return ReadScene(node, &camera->scene); }},
    {"reads", "\"pending\", \"immediate\" or \"mixed\"",
     [](const toml::node &node, Camera *camera) { return ReadReads(node, &camera->reads); }},
    {"in-use", "true or false",
     [](const toml::node &node, Camera *camera) { return ReadTruth(node, &camera->inUse); }},
    {"faults", "a list of texts",
     [](const toml::node &node, Camera *camera) { return ReadFaults(node, &camera->faults); }},
};

std::string KnownModels()
{
    std::string models;
    for (const ModelName &model : kModels)
        models +=
            (models.empty() ? "" : ", ") + std::to_string(model.number) + " " + Quoted(model.name);
    return models;
}

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

// What a key expects, where that is a list from elsewhere.
std::string Expected(std::string_view key, std::string_view expected)
{
    if (!expected.empty())
        return std::string(expected);
    if (key == "model")
        return "the number or name of a model: " + KnownModels();
    if (key == "scene")
        return "a scene: " + KnownSceneUsages();
    for (const auto &[block, name] : kBlockNames) {
        if (name == key)
            return "a version of the block as a text: " + KnownVersions(block);
    }
    return {};
}

template <typename Target, size_t kCount>
bool ReadKeys(const toml::table &table, const Key<Target> (&keys)[kCount],
              std::string_view alsoKnown, const Reader &reader, Target *target)
{
    for (const auto &[name, node] : table) {
        if (name.str() == alsoKnown)
            continue;
        const auto *key =
            std::find_if(std::begin(keys), std::end(keys),
                         [&name = name](const auto &row) { return row.name == name.str(); });
        if (key == std::end(keys)) {
            std::string known;
            for (const auto &row : keys)
                known += (known.empty() ? "" : ", ") + std::string(row.name);
            if (!alsoKnown.empty())
                known += ", " + std::string(alsoKnown);
            return reader.Fail(name.source(), "the key " + Quoted(name.str()) +
                                                  " is unknown; the keys here are " + known);
        }
        if (!key->read(node, target)) {
            return reader.Fail(node.source(), std::string(key->name) + " is " + Found(node) +
                                                  "; expected " +
                                                  Expected(key->name, key->expected));
        }
    }
    return true;
}

// What a camera has that the file does not tell: it differs from camera to camera where it must.
void FillIn(size_t index, Camera *camera)
{
    if (camera->serial.empty())
        camera->serial = "ZV-" + std::to_string(camera->model) + "-" + std::to_string(index + 1);
    if (camera->uniqueId == 0)
        camera->uniqueId = 0x00A1B2C400000000ULL + index + 1;
}

bool ReadCamera(const toml::table &table, const Reader &reader, Rack *rack)
{
    Camera camera;
    camera.ccdModel = 6;
    if (!ReadKeys(table, kCameraKeys, {}, reader, &camera))
        return false;
    if (camera.model == 0)
        return reader.Fail(table.source(),
                           "the camera has no model; expected " + Expected("model", {}));
    FillIn(rack->cameras.size(), &camera);
    for (const Camera &other : rack->cameras) {
        if (other.uniqueId == camera.uniqueId)
            return reader.Fail(table.source(),
                               "the camera has the unique-id of another; expected one of its own");
    }
    rack->cameras.push_back(std::move(camera));
    return true;
}

bool ReadCameras(const toml::table &root, const Reader &reader, Rack *rack)
{
    const toml::node *node = root.get("camera");
    if (node == nullptr)
        return true;
    const auto *cameras = node->as_array();
    if (cameras == nullptr)
        return reader.Fail(node->source(), "camera is " + Found(*node) +
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

uint32_t FindModel(std::string_view name)
{
    for (const ModelName &model : kModels) {
        if (model.name == name)
            return model.number;
    }
    return 0;
}

bool ParseRack(std::string_view text, const std::string &fileName, Rack *rack, std::string *error)
{
    const Reader reader{.fileName = fileName, .error = error};
    const toml::parse_result parsed = toml::parse(text, fileName);
    if (!parsed)
        return reader.Fail(parsed.error().source(),
                           "no TOML: " + std::string(parsed.error().description()));
    Rack read;
    read.name = fileName;
    if (!ReadKeys(parsed.table(), kRackKeys, "camera", reader, &read) ||
        !ReadCameras(parsed.table(), reader, &read))
        return false;
    *rack = std::move(read);
    return true;
}

} // namespace zerix::sim

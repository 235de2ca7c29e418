// A rack: the virtual cameras of one bus, as a TOML file or the built-in one describes them.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zerix::sim {

struct BlockVersion {
    uint16_t major = 0;
    uint16_t minor = 0;
};

struct FaultText {
    std::string text;
    uint32_t line = 0; // in the rack file; 0 for none
};

struct CameraDescription {
    uint32_t model = 0;      // model number
    std::string serial = {}; // at most 27 characters
    uint64_t uniqueId = 0;
    uint16_t ccdModel = 0;
    BlockVersion configuration{1, 1};
    BlockVersion information{2, 11};
    BlockVersion control{2, 8};
    BlockVersion streaming{1, 2};
    BlockVersion command{1, 2};
    BlockVersion status{1, 3};
    uint16_t hardwareVersion = 2;
    uint16_t firmwareVersion = 114;
    uint16_t firmwareBuild = 1;
    uint16_t streamingVersion = 1; // packet format: 0, 1 or 2
    uint16_t bitDepth = 12;
    bool cooler = true;
    bool regulatedCooling = true;
    bool noise = true; // of light and electronics; dark current and hot pixels are always there
    bool registersFromAlternateAddress =
        false; // the model register answers only at the second address
    std::optional<uint32_t> capabilities = {}; // bits of sim/capabilities.h; else what suits it
    std::string scene = "cells";
    std::string folder = {};                   // of the rack file; empty for none
    float light = 1;                           // brightness of the scene
    std::array<float, 3> lightColour{1, 1, 1}; // the same of its red, green and blue
    std::string reads = "pending"; // register reads complete "pending", "immediate" or "mixed"
    std::vector<FaultText> faults = {};
    bool inUse = false;         // another process holds it
    uint16_t miscellaneous = 0; // default of the factory's miscellaneous word
    bool highGain = false;      // powers up in high gain
};

struct Rack {
    std::string name;
    std::string meaning = {}; // one line for people
    uint32_t speed = 800;     // Mb/s: 400 or 800
    bool fastClock = true;
    uint64_t seed = 1;
    std::vector<CameraDescription> cameras;
};

// Loads a rack: null or empty for the built-in one, a name ("default", or a file NAME.toml among
// the installed racks), or a path. False, and one sentence with file, line and what was expected.
bool LoadRack(const std::string &nameOrPath, Rack *rack, std::string *error);

// The camera's scene for MakeScene. A picture is looked for next to the rack file first.
std::string SceneOf(const CameraDescription &camera);

struct RackDescription {
    std::string name;
    std::string meaning; // of an installed one, its path
};
std::vector<RackDescription> KnownRacks();

} // namespace zerix::sim

// The racks that need no file: a few cameras that differ in what a program has to cope with. The
// same rack stands as a template, with comments, in racks/default.toml.
#include "sim/built_in_racks.h"

namespace zerix::sim {
namespace {

// Cooled, monochrome, with all that the newest registers have.
CameraDescription CooledMonochrome()
{
    return {.model = 18,
            .serial = "ZV-C2-2019-0018",
            .uniqueId = 0x00A1B2C300000018,
            .ccdModel = 6,
            .configuration = {1, 1},
            .information = {2, 11},
            .control = {2, 8},
            .streaming = {1, 2},
            .command = {1, 2},
            .status = {1, 3},
            .hardwareVersion = 2,
            .firmwareVersion = 114,
            .firmwareBuild = 1,
            .streamingVersion = 1,
            .bitDepth = 14,
            .cooler = true,
            .regulatedCooling = true,
            .registersFromAlternateAddress = false,
            .scene = "cells",
            .reads = "pending",
            .faults = {},
            .inUse = false};
}

// A colour mask, for everything that has to do with colour.
CameraDescription Colour()
{
    return {.model = 19,
            .serial = "ZV-B2-2017-0019",
            .uniqueId = 0x00A1B2C300000019,
            .ccdModel = 53,
            .configuration = {1, 1},
            .information = {2, 10},
            .control = {2, 8},
            .streaming = {1, 2},
            .command = {1, 2},
            .status = {1, 3},
            .hardwareVersion = 2,
            .firmwareVersion = 112,
            .firmwareBuild = 4,
            .streamingVersion = 1,
            .bitDepth = 12,
            .cooler = true,
            .regulatedCooling = true,
            .registersFromAlternateAddress = false,
            .scene = "colour-chart",
            .reads = "pending",
            .faults = {},
            .inUse = false};
}

// Short register blocks and no cooler: what a program must not take for granted.
CameraDescription OldAndUncooled()
{
    return {.model = 12,
            .serial = "ZV-C1-2006-0012",
            .uniqueId = 0x00A1B2C300000012,
            .ccdModel = 6,
            .configuration = {1, 1},
            .information = {2, 2},
            .control = {2, 1},
            .streaming = {1, 2},
            .command = {1, 1},
            .status = {1, 1},
            .hardwareVersion = 1,
            .firmwareVersion = 104,
            .firmwareBuild = 2,
            .streamingVersion = 1,
            .bitDepth = 12,
            .cooler = false,
            .regulatedCooling = false,
            .registersFromAlternateAddress = false,
            .scene = "stars",
            .reads = "pending",
            .faults = {},
            .inUse = false};
}

std::vector<BuiltInRack> MakeBuiltInRacks()
{
    return {
        {.description = {.name = "default",
                         .meaning = "a cooled monochrome camera, a colour camera and an older one"},
         .rack = {.name = "default",
                  .speed = 800,
                  .fastClock = true,
                  .seed = 20070314,
                  .cameras = {CooledMonochrome(), Colour(), OldAndUncooled()}}}};
}

} // namespace

const std::vector<BuiltInRack> &BuiltInRacks()
{
    static const std::vector<BuiltInRack> racks = MakeBuiltInRacks();
    return racks;
}

} // namespace zerix::sim

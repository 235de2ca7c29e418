// The table of the family's racks.
#include "tests/family/family_cameras.h"

namespace zerix::family {
namespace {

using Binnings = std::vector<uint16_t>;
using Readouts = std::vector<float>;

const Binnings kNone = {};
const Binnings kBy2 = {1, 2};
const Binnings kTo4 = {1, 2, 3, 4};
const Binnings kTo4By2 = {1, 2, 4};
const Binnings k3Last = {1, 2, 4, 3};
const Binnings kTo8 = {1, 2, 4, 8};

const Readouts kBase = {2.5f, 5, 10, 20};
const Readouts kFrom5 = {5, 10, 20};
const Readouts kFrom10 = {10, 20};
const Readouts kTo30 = {10, 20, 30};
const Readouts k40First = {40, 10, 20};
const Readouts kAt5 = {5};

// Rack and place; model and name as listed; serial; identifier; sensor, depth, stream format;
// binnings; readouts.
// clang-format off
const std::vector<FamilyCamera> kCameras = {
    {"family-1", 0, 5, "Astrel A1", "ZV-A1-1999-0005", 0x00000005, 4, 12, 0, kTo4, kBase},
    // It says model 5, and has the sensor of an Astrel B1.
    {"family-1", 1, 13, "Astrel B1", "ZV-A1-2004-0105", 0x00010005, 53, 12, 1, kTo8, kFrom10},
    {"family-1", 2, 6, "Astrel A2", "ZV-A2-2000-0006", 0x00000006, 0, 12, 0, kTo4, kBase},
    {"family-1", 3, 7, "Sparrow B", "ZV-SB-2001-0007", 0x00000007, 5, 10, 1, kTo4, kBase},
    {"family-1", 4, 8, "Benchmate", "ZV-BM-2003-0008", 0x00000008, 10, 12, 1, kNone, kBase},
    {"family-1", 5, 8, "Benchmate", "ZV-BM-2005-0108", 0x00010008, 12, 12, 1, kNone, kBase},
    {"family-1", 6, 9, "Astrel Intensified", "ZV-IT-2004-0009", 0x00000009, 6, 12, 1, kTo8, kBase},
    {"family-1", 7, 10, "Sparrow IR", "ZV-SI-2002-0010", 0x0000000A, 13, 10, 1, kBy2, kBase},
    {"family-1", 8, 12, "Astrel C1", "ZV-C1-2006-0012", 0x0000000C, 9, 12, 1, kTo8, kFrom10},
    // On a slow bus.
    {"family-1", 9, 26, "Astrel F1", "ZV-F1-2010-0126", 0x0001001A, 69, 14, 1, kTo8, kFrom10},

    {"family-2", 0, 13, "Astrel B1", "ZV-B1-2005-0013", 0x0000000D, 46, 12, 1, kTo8, kFrom10},
    {"family-2", 1, 14, "NoctisA1", "ZV-NA1-2004-0014", 0x0000000E, 6, 12, 1, k3Last, kBase},
    {"family-2", 2, 15, "Astrel E1", "ZV-E1-2006-0015", 0x0000000F, 25, 12, 2, kTo8, kFrom5},
    {"family-2", 3, 16, "OEM Camera 3", "ZV-D1-2008-0016", 0x00000010, 76, 16, 1, kTo8, kBase},
    {"family-2", 4, 18, "Astrel C2", "ZV-C2-2007-0018", 0x00010012, 6, 14, 1, kTo8, kFrom5},
    {"family-2", 5, 19, "Astrel B2", "ZV-B2-2008-0019", 0x00010013, 53, 12, 1, kTo8, kFrom5},
    {"family-2", 6, 29, "Astrel C3", "ZV-C3-2010-0029", 0x0000001D, 7, 14, 1, kTo8, kFrom5},
    {"family-2", 7, 30, "Astrel B3", "ZV-B3-2011-0030", 0x0000001E, 58, 14, 1, kTo8, kFrom5},

    {"family-3", 0, 25, "Noctis C1", "ZV-NC1-2012-0025", 0x00000019, 78, 14, 1, kTo8, k40First},
    {"family-3", 1, 26, "Astrel F1", "ZV-F1-2010-0026", 0x0000001A, 69, 14, 1, kTo8, kTo30},
    {"family-3", 2, 27, "Noctis A2", "ZV-NA2-2010-0027", 0x0000001B, 15, 14, 1, kTo4By2, kTo30},
    {"family-3", 3, 28, "Astrel E2", "ZV-E2-2010-0028", 0x0000001C, 27, 12, 1, kTo8, kTo30},
    {"family-3", 4, 31, "Merid Cobalt", "ZV-MC-2012-0031", 0x0000001F, 59, 14, 1, kTo8, kTo30},
    {"family-3", 5, 32, "Merid Teal", "ZV-MT-2012-0032", 0x00000020, 68, 14, 1, kTo8, kFrom10},
    {"family-3", 6, 33, "Astrel G1", "ZV-G1-2012-0033", 0x00000021, 3, 16, 1, kTo8, kTo30},
    {"family-3", 7, 1001, "OXA", "ZV-OX-2003-1001", 0x000003E9, 8, 12, 1, kBy2, kBase},
    {"family-3", 8, 1002, "MT1", "ZV-MT1-2000-1002", 0x000003EA, 11, 16, 0, kNone, kAt5},
    // A number that no model has.
    {"family-3", 9, 11, "Unknown", "ZV-XX-2002-0011", 0x0000000B, 14, 12, 1, kTo8, kBase},
};
// clang-format on

} // namespace

const std::vector<FamilyCamera> &FamilyCameras() { return kCameras; }

bool IsOnSlowBus(const FamilyCamera &camera) { return camera.rack == std::string("family-1"); }

std::string TestNameOf(const FamilyCamera &camera)
{
    return "Model" + std::to_string(camera.model) + "OfRack" + (camera.rack + 7);
}

std::ostream &operator<<(std::ostream &stream, const FamilyCamera &camera)
{
    return stream << camera.name;
}

} // namespace zerix::family

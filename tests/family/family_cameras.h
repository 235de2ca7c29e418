// The cameras of the family's racks, as they must show themselves to an application: one of every
// model number, and one of a number that no model has.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace zerix::family {

struct FamilyCamera {
    const char *rack; // of the folder of racks
    uint32_t place;   // in the rack, from 0
    uint32_t model;   // as it is listed
    const char *name;
    const char *serial;
    uint32_t uniqueId; // the lower half
    uint32_t sensor;   // CCD model
    uint16_t bitDepth; // of the converter
    uint16_t streamFormat;
    std::vector<uint16_t> binnings; // symmetrical ones; empty where there are none
    std::vector<float> readouts;    // MHz, in the order of the list
};

const std::vector<FamilyCamera> &FamilyCameras();

// For the names of tests, as in "Model18".
std::string TestNameOf(const FamilyCamera &camera);
std::ostream &operator<<(std::ostream &stream, const FamilyCamera &camera);

inline constexpr uint32_t kAstrelE1 = 15;

// The first rack is on a bus of 400 Mb/s, the others on one of 800.
bool IsOnSlowBus(const FamilyCamera &camera);

} // namespace zerix::family

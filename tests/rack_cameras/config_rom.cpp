// Bus info block, root directory, and the directory of the one unit.
#include "tests/rack_cameras/config_rom.h"

namespace zerix::rack_cameras {
namespace {

constexpr uint32_t kBusName = 0x31333934; // "1394"
constexpr uint32_t kKeyVendor = 0x03;
constexpr uint32_t kKeyCapabilities = 0x0C;
constexpr uint32_t kKeySpecifier = 0x12;
constexpr uint32_t kKeyVersion = 0x13;
constexpr uint32_t kKeyModel = 0x17;
constexpr uint32_t kKeyUnitDirectory = 0xD1;
constexpr uint32_t kUsualCapabilities = 0x0083C0;

constexpr uint32_t Entry(uint32_t key, uint32_t value) { return key << 24 | (value & 0xFFFFFF); }

// Isochronous and cycle-master capable, cycle clock of 100 ppm, generation 1 of the ROM.
uint32_t BusOptions(const RomContents &contents)
{
    return 0x60640010u | contents.maxRec << 12 | contents.linkSpeed;
}

void AddDirectory(std::vector<uint32_t> &rom, const std::vector<uint32_t> &entries)
{
    rom.push_back(static_cast<uint32_t>(entries.size()) << 16 | RomChecksum(entries));
    rom.insert(rom.end(), entries.begin(), entries.end());
}

} // namespace

uint16_t RomChecksum(std::span<const uint32_t> quadlets)
{
    uint32_t crc = 0;
    for (const uint32_t quadlet : quadlets)
        for (int shift = 28; shift >= 0; shift -= 4) {
            const uint32_t sum = ((crc >> 12) ^ (quadlet >> shift)) & 0xF;
            crc = (crc << 4 ^ sum << 12 ^ sum << 5 ^ sum) & 0xFFFF;
        }
    return static_cast<uint16_t>(crc);
}

std::vector<uint32_t> MakeConfigRom(const RomContents &contents)
{
    const std::vector<uint32_t> busInfo = {kBusName, BusOptions(contents),
                                           static_cast<uint32_t>(contents.guid >> 32),
                                           static_cast<uint32_t>(contents.guid)};
    std::vector<uint32_t> rom = {0x04040000u | RomChecksum(busInfo)};
    rom.insert(rom.end(), busInfo.begin(), busInfo.end());
    std::vector<uint32_t> root = {Entry(kKeyVendor, contents.vendor),
                                  Entry(kKeyModel, contents.model),
                                  Entry(kKeyCapabilities, kUsualCapabilities)};
    if (contents.hasUnit)
        root.push_back(Entry(kKeyUnitDirectory, 1)); // right after this entry
    AddDirectory(rom, root);
    if (contents.hasUnit)
        AddDirectory(rom, {Entry(kKeySpecifier, contents.unitSpecifier),
                           Entry(kKeyVersion, contents.unitVersion)});
    return rom;
}

} // namespace zerix::rack_cameras

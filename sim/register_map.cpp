// Field access and block lengths of the virtual cameras' registers.
#include "sim/register_map.h"

namespace zerix::sim {
namespace {

struct Length {
    uint16_t major;
    uint16_t minor;
    uint32_t words;
};

constexpr Length kConfiguration[] = {{1, 1, 11}};
constexpr Length kInformation[] = {{1, 1, 29},  {1, 2, 30},   {2, 1, 42},  {2, 2, 44},  {2, 3, 62},
                                   {2, 4, 67},  {2, 5, 68},   {2, 6, 79},  {2, 7, 176}, {2, 8, 178},
                                   {2, 9, 202}, {2, 10, 209}, {2, 11, 215}};
constexpr Length kControl[] = {{1, 1, 15}, {1, 2, 16}, {2, 1, 20}, {2, 2, 20}, {2, 3, 21},
                               {2, 4, 21}, {2, 5, 24}, {2, 6, 26}, {2, 7, 34}, {2, 8, 43}};
constexpr Length kStreaming[] = {{1, 2, 4}};
constexpr Length kCommand[] = {{1, 1, 3}, {1, 2, 4}};
constexpr Length kStatus[] = {{1, 1, 2}, {1, 2, 2}, {1, 3, 4}};

uint32_t Find(std::span<const Length> table, BlockVersion version)
{
    for (const Length &row : table)
        if (row.major == version.major && row.minor == version.minor)
            return row.words;
    return 0;
}

constexpr uint32_t MaskOf(RegisterField field)
{
    return field.width == 32 ? 0xFFFFFFFFu : (1u << field.width) - 1u;
}

} // namespace

uint32_t ReadField(std::span<const uint32_t> words, RegisterField field)
{
    if (field.offset / 4 >= words.size())
        return 0;
    return (words[field.offset / 4] >> field.lowBit) & MaskOf(field);
}

void WriteField(std::span<uint32_t> words, RegisterField field, uint32_t value)
{
    if (field.offset / 4 >= words.size())
        return;
    uint32_t &word = words[field.offset / 4];
    const uint32_t mask = MaskOf(field);
    word = (word & ~(mask << field.lowBit)) | (value & mask) << field.lowBit;
}

uint32_t ConfigurationWords(BlockVersion version) { return Find(kConfiguration, version); }
uint32_t InformationWords(BlockVersion version) { return Find(kInformation, version); }
uint32_t ControlWords(BlockVersion version) { return Find(kControl, version); }
uint32_t StreamingWords(BlockVersion version) { return Find(kStreaming, version); }
uint32_t CommandWords(BlockVersion version) { return Find(kCommand, version); }
uint32_t StatusWords(BlockVersion version) { return Find(kStatus, version); }

} // namespace zerix::sim

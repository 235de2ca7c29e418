// The versions of register blocks that cameras were ever built with. Constant data.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "sim/rack.h"

namespace zerix::sim {

enum class Block : uint8_t {
    kConfiguration,
    kInformation,
    kControl,
    kStreaming,
    kCommand,
    kStatus
};

struct BlockName {
    Block block;
    std::string_view name;
};

inline constexpr BlockName kBlockNames[] = {
    {Block::kConfiguration, "configuration"},
    {Block::kInformation, "information"},
    {Block::kControl, "control"},
    {Block::kStreaming, "streaming"},
    {Block::kCommand, "command"},
    {Block::kStatus, "status"},
};

inline constexpr BlockVersion kConfigurationVersions[] = {{1, 1}};
inline constexpr BlockVersion kInformationVersions[] = {{1, 1}, {1, 2},  {2, 1}, {2, 2}, {2, 3},
                                                        {2, 4}, {2, 5},  {2, 6}, {2, 7}, {2, 8},
                                                        {2, 9}, {2, 10}, {2, 11}};
inline constexpr BlockVersion kControlVersions[] = {{1, 1}, {1, 2}, {2, 1}, {2, 2}, {2, 3},
                                                    {2, 4}, {2, 5}, {2, 6}, {2, 7}, {2, 8}};
inline constexpr BlockVersion kStreamingVersions[] = {{1, 2}};
inline constexpr BlockVersion kCommandVersions[] = {{1, 1}, {1, 2}};
inline constexpr BlockVersion kStatusVersions[] = {{1, 1}, {1, 2}, {1, 3}};

constexpr std::span<const BlockVersion> KnownBlockVersions(Block block)
{
    switch (block) {
    case Block::kConfiguration:
        return kConfigurationVersions;
    case Block::kInformation:
        return kInformationVersions;
    case Block::kControl:
        return kControlVersions;
    case Block::kStreaming:
        return kStreamingVersions;
    case Block::kCommand:
        return kCommandVersions;
    case Block::kStatus:
        return kStatusVersions;
    }
    return {};
}

} // namespace zerix::sim

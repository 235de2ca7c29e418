// A camera of plain words on a bus of its own: made, listed and freed.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <utility>

#include <gtest/gtest.h>

#include "tests/camera/camera_access.h"
#include "tests/virtual_bus/register_bus.h"

namespace zerix::test {

// A version of a block, and how many words it has.
struct BlockShape {
    uint32_t version;
    uint32_t words;
};

inline constexpr BlockShape kConfiguration11{0x00010001, 11};
inline constexpr BlockShape kCommand12{0x00010002, 4};
inline constexpr BlockShape kStatus13{0x00010003, 4};
inline constexpr BlockShape kStreaming12{0x00010002, 4};

class RegisterBusTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        tap.Reset();
        ZX::ZCamera::Initialize();
        Make(Block::kConfiguration, kConfiguration11);
        Make(Block::kInformation, {0x0002000B, 215});
        Make(Block::kControl, {0x00020008, 43});
        Make(Block::kCommand, kCommand12);
        Make(Block::kStatus, kStatus13);
        Make(Block::kStreaming, kStreaming12);
    }

    void TearDown() override
    {
        EXPECT_EQ(ZX::ZCamera::FreeCameraList(cameras), 0);
        EXPECT_EQ(bus.OpenHandles(), 0u);
        ZX::ZCamera::Shutdown();
        tap.Reset();
    }

    void Make(Block block, BlockShape shape) { bus.Make(block, shape.version, shape.words); }

    // Into the information block, by byte offset.
    void Inform(Words words)
    {
        for (const auto &[offset, value] : words)
            bus.Words(Block::kInformation).at(offset / 4) = value;
    }

    uint16_t List() { return ZX::ZCamera::GetCameraList(cameras); }

    // The only one of the list.
    ZX::TolvaneFWCamera &Camera() { return dynamic_cast<ZX::TolvaneFWCamera &>(*cameras.at(0)); }

    BusTap tap;
    RegisterBus bus;
    ZX::ZCameraList cameras;
};

} // namespace zerix::test

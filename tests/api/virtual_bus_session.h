// The exported functions over the virtual bus: real camera objects, real packets. Every test ends
// with a release, after which nothing may be held on the bus.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "hal/kernel_driver.h"
#include "tests/api/api_fixture.h"
#include "tests/virtual_bus/virtual_bus_fixture.h"
#include "zerix/zerix_sim.h"

namespace zerix::api {

inline constexpr uint32_t kPatternWord = 0xA5A5A5A5u;

class VirtualBusSession : public ApiTest {
protected:
    // The built-in rack: a cooled monochrome camera (18), a colour one (19) and an old one (12).
    void SetUp() override
    {
        kernel::Driver(); // the bus itself, before its rack
        tap.Reset();
        ASSERT_EQ(ZerixSim_ChooseRack(nullptr), 0u) << ZerixSim_LastErrorText();
    }

    void TearDown() override
    {
        tap.Reset();
        if (ZX::ZCamera::IsInitalized())
            Zerix_ReleaseDriver();
        EXPECT_EQ(WhatIsHeld(), std::vector<uint32_t>(7));
    }

    // Instead of the built-in one; while nothing is open.
    void UseRack(const std::string &toml) const
    {
        folder.Write("rack.toml", toml);
        const std::string path = folder.Path() + "/rack.toml";
        ASSERT_EQ(ZerixSim_ChooseRack(path.c_str()), 0u) << ZerixSim_LastErrorText();
    }

    // Handles, channels, bandwidth, resources, buffers, requests, threads.
    static std::vector<uint32_t> WhatIsHeld()
    {
        ZerixSimHeld held = {};
        EXPECT_EQ(ZerixSim_GetHeld(&held), 0u);
        return {held.openHandles,      held.channels,      held.bandwidthHandles,
                held.resourcesHandles, held.queuedBuffers, held.pendingRequests,
                held.threads};
    }

    // Lists, without the lines of that; how many cameras there are.
    uint32_t List()
    {
        ZerixCameraListItem row = {};
        uint32_t count = 1;
        EXPECT_EQ(Zerix_ListCameras(&row, &count), 0u);
        Take();
        return count;
    }

    // Opens a listed camera, without the lines of that.
    ZerixHandle OpenListed(uint32_t id)
    {
        ZerixHandle handle = nullptr;
        EXPECT_EQ(Zerix_OpenCamera(id, &handle), 0u);
        EXPECT_NE(handle, nullptr);
        Take();
        return handle;
    }

    // Loads, lists, and opens one camera of the rack.
    ZerixHandle LoadAndOpen(uint32_t id)
    {
        Load();
        List();
        return OpenListed(id);
    }

    test::BusTap tap;
};

// What the built-in rack has not: electron multiplication.
inline const char *const kMultiplyingRack = R"(
[[camera]]
model = 31
serial = "S-31"
unique-id = "0x00A1B2C300000031"
sensor = 78
)";

} // namespace zerix::api

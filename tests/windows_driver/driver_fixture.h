// What the tests with the test driver share: a driver as after loading, and at the end nothing open
// and nothing held.
#pragma once

#include <cstdlib>

#include <gtest/gtest.h>

#include "driver_control.h"

namespace zerix::test {

// The devices as the system names them.
inline constexpr const char *kFirst =
    "\\\\?\\root#zerixtest#0000#{e262a0c7-fd57-44a1-a9d3-8806349a39da}";
inline constexpr const char *kSecond =
    "\\\\?\\root#zerixtest#0001#{e262a0c7-fd57-44a1-a9d3-8806349a39da}";

// Path of the file that describes the driver to the system, from the environment.
inline const char *DriverDescription()
{
    const char *path = std::getenv("ZERIX_TEST_DRIVER");
    return path != nullptr ? path : "";
}

class DriverTest : public ::testing::Test {
protected:
    void SetUp() override { driver.Reset(); }

    void TearDown() override
    {
        for (uint32_t device = 0; device < kTestDevices; ++device) {
            const TestState state = driver.State(device);
            EXPECT_EQ(0u, state.openHandles);
            EXPECT_EQ(0u, state.isClaimed + state.holdsBandwidth + state.holdsChannel +
                              state.holdsResources);
            EXPECT_EQ(0u, state.queuedBuffers + state.pendingRequests);
        }
        driver.Reset();
    }

    DriverControl driver;
};

} // namespace zerix::test

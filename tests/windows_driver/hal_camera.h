// The hardware layer over the test driver: what its tests share.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "hal/kernel_driver.h"
#include "tests/support/debug_output_capture.h"
#include "tests/windows_driver/driver_fixture.h"
#include "zerix/zerix_hal.h"

namespace zerix::test {

inline constexpr uint32_t kModelAddress = 0xE0010038;
inline constexpr uint32_t kModelAddressAlt = 0xE0001138;
// Registers that the tests themselves invent.
inline constexpr uint32_t kTestRegister = 0xD0000000;
inline constexpr uint32_t kStreamRegister = 0xD0004004;

class HalDriverTest : public DriverTest {
protected:
    void SetUp() override
    {
        DriverTest::SetUp();
        ASSERT_FALSE(kernel::Driver().IsSimulated());
        driver.SetRegister(0, kModelAddress, 0x00120000);
        driver.SetRegister(1, kModelAddress, 0x001F0000);
    }

    void TearDown() override
    {
        FreeList();
        DriverTest::TearDown();
    }

    uint32_t List(uint32_t maximum = 10)
    {
        FreeList();
        return HAL_CameraGetList(&m_list, kModelAddress, kModelAddressAlt, maximum, &count);
    }

    void FreeList()
    {
        for (uint32_t i = 0; m_list != nullptr && i < count; ++i)
            HAL_CameraRelease(&m_list[i]);
        HAL_MemoryFree(m_list);
        m_list = nullptr;
        count = 0;
    }

    // The listed camera of that number.
    HALCamera &Camera(uint32_t number) { return m_list[number]; }

    uint32_t Connect(HALCamera &camera, uint16_t packetSize = 1000)
    {
        return HAL_CameraConnect(&camera, packetSize, nullptr, nullptr, nullptr, nullptr, nullptr,
                                 nullptr);
    }

    // Lists and connects the first camera.
    void BeConnected(uint16_t packetSize = 1000)
    {
        ASSERT_EQ(0u, List());
        ASSERT_EQ(2u, count);
        ASSERT_EQ(0u, Connect(Camera(0), packetSize));
        said.Clear();
    }

    // What is held of device 0: bandwidth, channel, resources.
    std::vector<uint32_t> Held()
    {
        const TestState state = driver.State(0);
        return {state.holdsBandwidth, state.holdsChannel, state.holdsResources};
    }

    DebugOutputCapture said;
    uint32_t count = 0;

private:
    HALCamera *m_list = nullptr;
};

} // namespace zerix::test

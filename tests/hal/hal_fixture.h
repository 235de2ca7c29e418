// A camera over the scripted driver, and an ear at the debug output.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "hal/fw_camera_device.h"
#include "platform/os.h"
#include "tests/hal/scripted_driver.h"
#include "zerix/zerix_hal.h"

namespace zerix::test {

using Calls = std::vector<std::string>;

inline constexpr const char *kPath = "1394#camera";

class HalTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        driver.Reset();
        os::SetDebugOutputForTest([this](const std::string &text) {
            const std::lock_guard lock(m_mutex);
            m_said += text;
        });
        camera.device = new hal::FWCameraDevice(kPath);
    }

    void TearDown() override
    {
        HAL_CameraRelease(&camera);
        HAL_CameraSetShouldOutputReads(0, 0);
        HAL_CameraSetShouldOutputWrites(0, 0);
        os::SetDebugOutputForTest({});
        EXPECT_EQ(driver.OpenHandles(), 0u);
        EXPECT_EQ(driver.Pending(), 0u);
    }

    uint32_t Connect(uint16_t packetSize = 100)
    {
        return HAL_CameraConnect(&camera, packetSize, nullptr, nullptr, nullptr, nullptr, nullptr,
                                 nullptr);
    }

    // Connects, and forgets how.
    void BeConnected(uint16_t packetSize = 100)
    {
        ASSERT_EQ(Connect(packetSize), 0u);
        driver.Forget();
    }

    std::string Said()
    {
        const std::lock_guard lock(m_mutex);
        return m_said;
    }

    hal::FWCameraDevice &Device() { return *static_cast<hal::FWCameraDevice *>(camera.device); }

    ScriptedDriver &driver = ScriptedDriver::Get();
    HALCamera camera{.cameraIndex = 0,
                     .kind = 0,
                     .isConnected = 0,
                     .modelWord = 0,
                     .packetBufferSize = 0,
                     .device = nullptr};

private:
    std::mutex m_mutex;
    std::string m_said;
};

} // namespace zerix::test

// The exported functions with everything around them under control: the log's lines caught, cameras
// without hardware in the list, and the library released at the end.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "api/camera_list.h"
#include "diag/trace_log.h"
#include "platform/os.h"
#include "tests/api/behind_a_handle.h"
#include "tests/api/fake_camera.h"
#include "tests/support/configuration_values.h"
#include "tests/support/debug_output_capture.h"
#include "tests/support/temporary_folder.h"
#include "zerix/zerix.h"

namespace zerix::api {

using Lines = std::vector<std::string>;

class ApiTest : public testing::Test {
protected:
    ApiTest()
    {
        os::SetWallClockForTest([] { return os::WallTime{1'700'000'000, 0}; });
        Configure("outputEnabled = 1\n");
    }

    ~ApiTest() override
    {
        if (ZX::ZCamera::IsInitalized())
            Zerix_ReleaseDriver();
        diag::ZLogResetForTest();
        os::SetWallClockForTest({});
    }

    void Configure(const std::string &text) const { configuration.Put(text); }

    // Loads the library and forgets the lines of that.
    void Load()
    {
        ASSERT_EQ(Zerix_LoadDriver(), 0u);
        Take();
    }

    // A closed camera at the end of the list; it goes with the list.
    static FakeCamera &AddCamera()
    {
        auto *const camera = new FakeCamera;
        AppendCameraForTest(camera);
        return *camera;
    }

    // The same, opened.
    FakeCamera &AddOpenCamera()
    {
        FakeCamera &camera = AddCamera();
        ZerixHandle handle = nullptr;
        EXPECT_EQ(Zerix_OpenCamera(static_cast<uint32_t>(Cameras().size() - 1), &handle), 0u);
        EXPECT_EQ(handle, static_cast<ZX::ZCamera *>(&camera));
        Take();
        return camera;
    }

    static ZerixHandle HandleOf(FakeCamera &camera) { return static_cast<ZX::ZCamera *>(&camera); }

    // The log's lines since the last call, without their time.
    Lines Take()
    {
        const std::string prefix = "00:00.000 ";
        Lines lines;
        for (const std::string &line : capture.Lines()) {
            if (line.rfind(prefix, 0) == 0)
                lines.push_back(line.substr(prefix.size()));
        }
        capture.Clear();
        return lines;
    }

    test::TemporaryFolder folder;
    test::ConfigurationValues configuration;
    test::DebugOutputCapture capture;
};

// A failing outermost call's end line.
inline std::string EndingLine(const std::string &name, const std::string &phrase, uint32_t code)
{
    return name + " ending because " + phrase + " (error " + std::to_string(code) + ")\n\n";
}

inline std::string EndLine(const std::string &name) { return name + " end (error code 0)\n\n"; }

} // namespace zerix::api

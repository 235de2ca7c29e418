// A trace log of a test's own: its switches from a configuration file, its clock stopped, its debug
// output caught.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "diag/trace_log.h"
#include "platform/os.h"
#include "tests/support/configuration_values.h"
#include "tests/support/debug_output_capture.h"
#include "tests/support/temporary_folder.h"

namespace zerix::diag {

using Lines = std::vector<std::string>;

// The prefix of a message at the start time.
inline const std::string kAtStart = "00:00.000 ";

class LogTest : public testing::Test {
protected:
    LogTest()
    {
        os::SetWallClockForTest([this] { return now; });
    }

    ~LogTest() override
    {
        ZLogResetForTest();
        os::SetWallClockForTest({});
    }

    void Configure(const std::string &text) const { configuration.Put(text); }

    // Opens the log with these switches on.
    void OpenWith(const Lines &switches) const
    {
        std::string text;
        for (const std::string &name : switches)
            text += name + " = 1\n";
        Configure(text);
        ZLogOpen();
    }

    void OpenWithFile(const std::string &path) const
    {
        Configure("outputEnabled = 1\noutputToFile = 1\noutputFilePath = \"" + path + "\"\n");
        ZLogOpen();
    }

    void Advance(int64_t microseconds)
    {
        const int64_t total = now.seconds * 1'000'000 + now.microseconds + microseconds;
        now = {total / 1'000'000, static_cast<uint32_t>(total % 1'000'000)};
    }

    // The lines caught since the last call.
    Lines Take()
    {
        Lines lines = capture.Lines();
        capture.Clear();
        return lines;
    }

    os::WallTime now = {1'700'000'000, 250'000};
    test::TemporaryFolder folder;
    test::ConfigurationValues configuration;
    test::DebugOutputCapture capture;
};

} // namespace zerix::diag

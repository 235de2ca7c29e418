// Behind a filter wheel a picture is three exposures. Those of a stream that was stopped are never
// completed by the next stream's.
#include <array>
#include <numeric>

#include <gtest/gtest.h>

#include "tables/settings_accessors.h"
#include "tests/concurrency/concurrency_fixture.h"

namespace zerix::concurrency {
namespace {

class StoppedColours : public ConcurrencyTest {
protected:
    using Means = std::array<double, 3>;

    Means Grab(Worker &worker)
    {
        EXPECT_EQ(worker.Call("Zerix_GrabFrame", Zerix_GrabFrame, handle, &worker.frame.frame), 0u);
        EXPECT_EQ(worker.frame.frame.errorCode, 0u);
        EXPECT_EQ(worker.frame.frame.size, kLargestPicture);
        Means means{};
        for (size_t index = 0; index < kLargestPicture; ++index)
            means[index % 3] += worker.frame.pixels[index];
        for (double &mean : means)
            mean /= kLargestPicture / 3;
        return means;
    }
};

// The camera goes on exposing until the grab stops it, so that most streams end within a cycle.
TEST_F(StoppedColours, AreNeverCompletedByTheNextStream)
{
    ASSERT_NO_FATAL_FAILURE(OpenQuick());
    Worker worker(handle);
    const Watchdog watchdog("StoppedColours", {&worker.call});
    tables::SetSlot32(&worker.settings, zprmImageFormat, zfmtRgb24);
    ASSERT_EQ(Zerix_SendSettingsToCam(handle, &worker.settings), 0u);
    constexpr std::array<const char *, 2> kLights = {"flat:3000", "flat:15000"};
    std::array<Means, 2> expected{};
    for (uint32_t round = 0; round < 42; ++round) {
        const uint32_t light = round % 2;
        ASSERT_EQ(ZerixSim_SetScene(0, kLights[light]), 0u);
        if (round < 2) {
            // The send forgets what was exposed before it.
            ASSERT_EQ(Zerix_SendSettingsToCam(handle, &worker.settings), 0u);
            tables::SetSlot64(&worker.settings, zprm64Exposure, 16'000'000 + 1000 * round);
            ASSERT_EQ(Zerix_SendSettingsToCam(handle, &worker.settings), 0u);
            expected[light] = Grab(worker);
            continue;
        }
        const Means means = Grab(worker);
        for (size_t colour = 0; colour < 3; ++colour)
            EXPECT_NEAR(means[colour], expected[light][colour], 2.0) << round << ", " << colour;
    }
    EXPECT_GT(expected[1][0], expected[0][0] * 2);
    ExpectGoodCamera();
}

} // namespace
} // namespace zerix::concurrency

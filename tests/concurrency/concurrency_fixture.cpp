// Opening the camera and trying it.
#include "tests/concurrency/concurrency_fixture.h"

#include <algorithm>
#include <numeric>

namespace zerix::concurrency {
namespace {

const char *const kCamera = "[[camera]]\nmodel = 18\nsensor = 11\nscene = \"flat:15000\"\n"
                            "serial = \"P-18\"\nnoise = false\n";

double MeanOf(const OwnFrame &picture)
{
    const auto end = picture.pixels.begin() + picture.frame.size;
    return std::accumulate(picture.pixels.begin(), end, 0.0) / picture.frame.size;
}

} // namespace

void ConcurrencyTest::OpenQuick(Clock clock)
{
    m_clock = clock;
    UseRack((clock == Clock::kFast ? "clock = \"fast\"\n" : "clock = \"real\"\n") +
            std::string(kCamera));
    handle = LoadAndOpen(0);
    m_undisturbed = TakePicture();
    ASSERT_NE(m_undisturbed, nullptr);
    ASSERT_GT(MeanOf(*m_undisturbed), 30.0);
    ASSERT_LT(MeanOf(*m_undisturbed), 220.0);
}

std::unique_ptr<OwnFrame> ConcurrencyTest::TakePicture()
{
    auto picture = std::make_unique<OwnFrame>();
    Worker worker(handle);
    const Watchdog watchdog("a picture", {&worker.call});
    EXPECT_EQ(
        worker.Call("Zerix_SendSettingsToCam", Zerix_SendSettingsToCam, handle, &worker.settings),
        0u);
    // A busy machine takes the packets of a camera on the real clock too late at times.
    const int tries = m_clock == Clock::kReal ? 10 : 1;
    for (int i = 0; i < tries && (i == 0 || picture->frame.errorCode == 26); ++i)
        EXPECT_EQ(worker.Call("Zerix_GrabFrame", Zerix_GrabFrame, handle, &picture->frame), 0u);
    EXPECT_EQ(picture->frame.filled, 1u);
    EXPECT_EQ(picture->frame.errorCode, 0u);
    EXPECT_EQ(picture->frame.width, kWidth);
    EXPECT_EQ(picture->frame.height, kHeight);
    EXPECT_EQ(picture->frame.size, kWidth * kHeight);
    return picture->frame.size == kWidth * kHeight ? std::move(picture) : nullptr;
}

void ConcurrencyTest::ExpectGoodCamera()
{
    Worker worker(handle);
    const Watchdog watchdog("the camera afterwards", {&worker.call});
    const uint32_t closed = worker.Call("Zerix_CloseCamera", Zerix_CloseCamera, handle);
    EXPECT_TRUE(closed == 0 || closed == 9) << closed;
    ASSERT_EQ(worker.Call("Zerix_OpenCamera", Zerix_OpenCamera, 0u, &handle), 0u);
    if (const auto picture = TakePicture()) {
        EXPECT_NEAR(MeanOf(*picture), MeanOf(*m_undisturbed), 1.0);
    }
    EXPECT_EQ(worker.Call("Zerix_CloseCamera", Zerix_CloseCamera, handle), 0u);
    EXPECT_EQ(WhatIsHeld(), std::vector<uint32_t>(7));
}

} // namespace zerix::concurrency

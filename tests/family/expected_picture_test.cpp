// The second answer itself, on numbers worked out by hand.
#include <gtest/gtest.h>

#include "tests/family/expected_picture.h"

namespace zerix::family {
namespace {

constexpr Sensor kSmall{5, 4, Mosaic::kRggb, 1, 1, 1};

TEST(ExpectedPicture, HasTheLevelsOfTheScene)
{
    EXPECT_EQ(LevelAt(5, 3, Filter::kNone), 6322u);
    EXPECT_EQ(LevelAt(5, 3, Filter::kRed), 22706u);
    EXPECT_EQ(LevelAt(5, 3, Filter::kGreen), 39090u);
    EXPECT_EQ(LevelAt(5, 3, Filter::kBlue), 55474u);
    EXPECT_EQ(LevelAt(1391, 1039, Filter::kNone), 3284u); // 1838292 modulo 65536
}

TEST(ExpectedPicture, TakesTheTopBits)
{
    View view = WholeView(SensorOf(6), 14, false);
    EXPECT_EQ(ExpectedValue(view, 5, 3), 1580u);
    view.converterBits = 12;
    EXPECT_EQ(ExpectedValue(view, 5, 3), 395u);
    view.isInBytes = true;
    EXPECT_EQ(ExpectedValue(view, 5, 3), 24u);
}

// Two by two at (0, 0): a mean of 710. From the far corner of 5 x 4 a bin of two columns leaves the
// first column out: columns 1 and 2, rows 0 and 1, have a mean of 1741.
TEST(ExpectedPicture, HasTheMeanOfABin)
{
    View view = WholeView(kSmall, 16, false);
    view.columnsPerPixel = view.rowsPerPixel = 2;
    EXPECT_EQ(ExpectedValue(view, 0, 0), 710u);
    view.isFromFarCorner = true;
    EXPECT_EQ(ExpectedValue(view, 0, 0), 1741u);
    // Of three rows two stick out of the sensor, and are black.
    view = WholeView(kSmall, 16, false);
    view.rowsPerPixel = 3;
    EXPECT_EQ(ExpectedValue(view, 0, 1), 389u);
}

TEST(ExpectedPicture, CountsFromTheCornerOfTheRegion)
{
    View view = WholeView(kSmall, 16, false);
    view.x = 2;
    view.y = 1;
    EXPECT_EQ(ExpectedValue(view, 0, 0), 2451u);
    EXPECT_EQ(ExpectedValue(view, 1, 2), 4260u);
    view.isFromFarCorner = true;
    EXPECT_EQ(ExpectedValue(view, 1, 2), 4260u);
}

TEST(ExpectedPicture, LeavesPairsOfRowsOut)
{
    View view = WholeView({1, 24, Mosaic::kRggb, 1, 1, 1}, 16, false);
    view.rowPairsPerPair = 3;
    for (const auto &[row, source] : {std::pair{0u, 0u}, {1, 1}, {2, 6}, {3, 7}, {4, 12}, {7, 19}})
        EXPECT_EQ(ExpectedValue(view, 0, row), 389 * source) << row;
}

TEST(ExpectedPicture, TellsTheMosaic)
{
    View view = WholeView(kSmall, 12, true);
    const auto at = [&view](uint32_t x, uint32_t y) {
        view.x = x;
        view.y = y;
        view.width = 2;
        view.height = 2;
        return ExpectedPattern(view);
    };
    for (const bool isTurned : {false, true}) {
        view.isFromFarCorner = isTurned;
        view.sensor.mosaic = Mosaic::kRggb;
        EXPECT_EQ(at(0, 0), 5u);
        EXPECT_EQ(at(1, 0), 6u);
        EXPECT_EQ(at(0, 1), 7u);
        EXPECT_EQ(at(1, 1), 8u);
        view.sensor.mosaic = Mosaic::kGrbg;
        EXPECT_EQ(at(0, 0), 6u);
        EXPECT_EQ(at(1, 1), 7u);
        view.sensor.mosaic = Mosaic::kNone;
        EXPECT_EQ(at(0, 0), 0u);
    }
}

} // namespace
} // namespace zerix::family

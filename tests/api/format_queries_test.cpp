// The queries on image formats, format by format, and their lines.
#include <gtest/gtest.h>

#include "tests/api/api_fixture.h"

namespace zerix::api {
namespace {

class FormatQueries : public ApiTest {};

TEST_F(FormatQueries, AnswerForEveryFormat)
{
    constexpr struct {
        uint32_t format;
        uint32_t is16bit, is3Color, isBayer, isColor, isMonochrome;
        uint32_t size; // of 10 x 3
    } kExpected[] = {
        {0, 0, 0, 0, 0, 0, 30},          {1, 1, 0, 0, 0, 0, 60},   {2, 0, 0, 0, 0, 1, 30},
        {3, 1, 0, 0, 0, 1, 60},          {4, 0, 0, 1, 1, 0, 30},   {5, 1, 0, 1, 1, 0, 60},
        {6, 0, 1, 0, 1, 0, 90},          {7, 1, 1, 0, 1, 0, 180},  {8, 0, 1, 0, 1, 0, 90},
        {9, 0, 1, 0, 1, 0, 120},         {10, 1, 1, 0, 1, 0, 180}, {11, 0, 1, 0, 1, 0, 120},
        {12, 0, 1, 0, 1, 0, 90},         {13, 0, 0, 0, 0, 0, 0},   {14, 0, 0, 0, 0, 0, 0},
        {0xFFFFFFFFu, 0, 0, 0, 0, 0, 0},
    };
    for (const auto &row : kExpected) {
        EXPECT_EQ(Zerix_is16bit(row.format), row.is16bit) << row.format;
        EXPECT_EQ(Zerix_is3Color(row.format), row.is3Color) << row.format;
        EXPECT_EQ(Zerix_isBayer(row.format), row.isBayer) << row.format;
        EXPECT_EQ(Zerix_isColor(row.format), row.isColor) << row.format;
        EXPECT_EQ(Zerix_isMonochrome(row.format), row.isMonochrome) << row.format;
        EXPECT_EQ(Zerix_CalcImageSize(row.format, 10, 3), row.size) << row.format;
    }
}

TEST_F(FormatQueries, LogTheirAnswerAndEndWithSuccess)
{
    diag::ZLogOpen();
    Zerix_is16bit(1);
    Zerix_is3Color(6);
    Zerix_isBayer(4);
    Zerix_isColor(0);
    Zerix_isMonochrome(2);
    Zerix_CalcImageSize(1, 10, 3);
    Zerix_CalcImageSize(13, 10, 3);
    EXPECT_EQ(Take(), (Lines{"Zerix_is16bit start",
                             "Zerix_is16bit - Is 16-bit = 1",
                             EndLine("Zerix_is16bit"),
                             "Zerix_is3Color start",
                             "Zerix_is3Color - Is 3 colour = 1",
                             EndLine("Zerix_is3Color"),
                             "Zerix_isBayer start",
                             "Zerix_isBayer - Is bayer = 1",
                             EndLine("Zerix_isBayer"),
                             "Zerix_isColor start",
                             "Zerix_isColor - Is colour = 0",
                             EndLine("Zerix_isColor"),
                             "Zerix_isMonochrome start",
                             "Zerix_isMonochrome - Is mono = 1",
                             EndLine("Zerix_isMonochrome"),
                             "Zerix_CalcImageSize start",
                             "Zerix_CalcImageSize - Size = 60",
                             EndLine("Zerix_CalcImageSize"),
                             "Zerix_CalcImageSize start",
                             "Zerix_CalcImageSize - Size = 0",
                             EndLine("Zerix_CalcImageSize")}));
}

} // namespace
} // namespace zerix::api

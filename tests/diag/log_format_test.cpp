// The log's two formatters.
#include <array>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "diag/log_format.h"

namespace zerix::diag {
namespace {

template <typename... Arguments>
std::string Text(std::string_view format, const Arguments &...arguments)
{
    const std::array<LogArgument, sizeof...(Arguments)> packed = {LogArgument(arguments)...};
    return FormatText(format, packed);
}

template <typename... Arguments>
std::string Remark(std::string_view format, const Arguments &...arguments)
{
    const std::array<LogArgument, sizeof...(Arguments)> packed = {LogArgument(arguments)...};
    return FormatRemark(format, packed);
}

TEST(FormatText, ExpandsEveryConversionOfTheLog)
{
    EXPECT_EQ(Text("%d|%d", 12, -12), "12|-12");
    EXPECT_EQ(Text("%u %lu", uint16_t{65535}, 0xFFFFFFFFu), "65535 4294967295");
    EXPECT_EQ(Text("%llu", uint64_t{18446744073709551615u}), "18446744073709551615");
    EXPECT_EQ(Text("%lld", int64_t{-9223372036854775807}), "-9223372036854775807");
    EXPECT_EQ(Text("%x", reinterpret_cast<void *>(uintptr_t{0xBEEF0})), "beef0");
    EXPECT_EQ(Text("%s and %s", "one", std::string("two")), "one and two");
    EXPECT_EQ(Text("%c%c", 'o', 'k'), "ok");
    EXPECT_EQ(Text("100%%"), "100%");
}

TEST(FormatText, PadsWithZerosBehindTheSign)
{
    EXPECT_EQ(Text("%02d:%02d.%03d ", 1, 61, 7), "01:61.007 ");
    EXPECT_EQ(Text("%02d:%02d.%03d ", -3, -35, -7), "-3:-35.-07 ");
    EXPECT_EQ(Text("%3d|", 7), "  7|");
    EXPECT_EQ(Text("%02d", 12345), "12345");
}

TEST(FormatText, NarrowsTo32BitsWithoutADoubleL)
{
    EXPECT_EQ(Text("%d", 0xFFFFFFFFu), "-1");
    EXPECT_EQ(Text("%lu", -1), "4294967295");
}

TEST(FormatText, PrintsNothingForWhatIsMissingOrWrong)
{
    EXPECT_EQ(Text("[%d][%s]"), "[][]");
    EXPECT_EQ(Text("[%d]", "text"), "[]");
    EXPECT_EQ(Text("[%s]", 5), "[]");
    EXPECT_EQ(Text("[%"), "[");
    EXPECT_EQ(Text("[%l"), "[");
    EXPECT_EQ(Text("%s", static_cast<const char *>(nullptr)), "(null)");
}

TEST(FormatText, TakesNoTextForAFormat) { EXPECT_EQ(Text("%s", "%n%s%d"), "%n%s%d"); }

TEST(FormatText, CutsAt1023Characters)
{
    EXPECT_EQ(Text("%s", std::string(1023, 'x')), std::string(1023, 'x'));
    EXPECT_EQ(Text("a%s", std::string(1023, 'x')), "a" + std::string(1022, 'x'));
}

TEST(FormatRemark, ExpandsItsFewConversions)
{
    EXPECT_EQ(Remark("Opened %s camera", "Astrel A1"), "Opened Astrel A1 camera");
    EXPECT_EQ(Remark("%c-%d", 'x', -4), "x--4");
    EXPECT_EQ(Remark("Zerix version is %d.%d.%d", 2, 0, 13), "Zerix version is 2.0.13");
}

TEST(FormatRemark, TakesA64BitArgumentForEveryLForm)
{
    const uint64_t large = 12345678901234567890u;
    EXPECT_EQ(Remark("New red exposure: %l ns", large),
              "New red exposure: 12345678901234567890 ns");
    EXPECT_EQ(Remark("%ld.%lu.%lld.%llu.%ll|", int64_t{-1}, large, int64_t{-2}, large, large),
              "-1.12345678901234567890.-2.12345678901234567890.12345678901234567890|");
    EXPECT_EQ(Remark("%lx", uint64_t{10}), "10x");
    EXPECT_EQ(Remark("%l", uint64_t{7}), "7");
}

TEST(FormatRemark, CopiesEveryOtherConversionWithoutTakingAnArgument)
{
    EXPECT_EQ(Remark("%u%x%f%%%5d %d", 9), "%u%x%f%%%5d 9");
    EXPECT_EQ(Remark("half a %"), "half a %");
}

TEST(FormatRemark, CopiesWhatFollowsABackslash)
{
    EXPECT_EQ(Remark("C:\\%d\\%s %d", 3), "C:\\%d\\%s 3");
    EXPECT_EQ(Remark("end\\"), "end\\");
}

TEST(FormatRemark, PrintsNothingForAMissingArgument)
{
    EXPECT_EQ(Remark("[%d][%s][%l][%c]"), "[][][][]");
    EXPECT_EQ(Remark("%s", static_cast<const char *>(nullptr)), "(null)");
}

TEST(FormatRemark, CutsAt1023Characters)
{
    EXPECT_EQ(Remark("%s%s", std::string(1000, 'x'), std::string(100, 'y')),
              std::string(1000, 'x') + std::string(23, 'y'));
}

} // namespace
} // namespace zerix::diag

// The information keys and texts of virtual cameras.
#include <cstring>

#include <gtest/gtest.h>

#include "tests/api/virtual_bus_session.h"
#include "tests/support/standard_output_capture.h"

namespace zerix::api {
namespace {

struct Answer {
    uint32_t key;
    uint32_t error;
    uint32_t value;
};

class VirtualInformation : public VirtualBusSession {
protected:
    static void ExpectAnswers(ZerixHandle handle, const std::vector<Answer> &expected)
    {
        EXPECT_EQ(expected.size(), 45u);
        for (const Answer &row : expected) {
            uint32_t value = kPatternWord;
            EXPECT_EQ(Zerix_GetInfo(handle, row.key, &value), row.error) << row.key;
            EXPECT_EQ(value, row.value) << row.key;
        }
    }
};

constexpr uint32_t kNone = kPatternWord; // not written

// 1392 x 1040 at 8 bits, three bytes a pixel once it is processed. 14 bits at most.
TEST_F(VirtualInformation, TellsAllOfACooledMonochromeCamera)
{
    const ZerixHandle handle = LoadAndOpen(0);
    const test::StandardOutputCapture output;
    ExpectAnswers(handle,
                  {{0, 0, 18},       {1, 0, 0},  {2, 0, 2},        {3, 0, 114},    {4, 0, 6},
                   {5, 0, 14},       {6, 0, 1},  {7, 0, 0},        {8, 0, 1392},   {9, 0, 1040},
                   {10, 0, 1447680}, {11, 0, 0}, {12, 0, 1392},    {13, 0, 1040},  {14, 0, 1},
                   {15, 0, 0x18},    {16, 0, 1}, {17, 1, kNone},   {18, 0, 1000},  {19, 1, 1000},
                   {20, 0, 1},       {21, 0, 3}, {22, 0, 10000},   {23, 1, kNone}, {24, 1, kNone},
                   {25, 0, 1},       {26, 0, 0}, {27, 1, 0},       {28, 1, 0},     {29, 0, 1},
                   {30, 0, 1},       {31, 0, 1}, {32, 0, 4343040}, {33, 0, 0},     {34, 0, 0},
                   {35, 1, 0},       {36, 0, 0}, {37, 0, 1},       {38, 0, 0},     {39, 0, 0},
                   {40, 0, 0},       {41, 1, 0}, {42, 0, 0},       {43, 0, 0},     {44, 1, 0}});
    EXPECT_EQ(output.Text(), "Zerix_GetInfo not implemented for key 27\n"
                             "Zerix_GetInfo not implemented for key 28\n"
                             "Zerix_GetInfo not implemented for key 35\n"
                             "Zerix_GetInfo not implemented for key 41\n"
                             "Zerix_GetInfo not implemented for key 44\n");
}

// A mosaic of 1600 x 1200.
TEST_F(VirtualInformation, TellsAllOfAColourCamera)
{
    const ZerixHandle handle = LoadAndOpen(1);
    const test::StandardOutputCapture output;
    ExpectAnswers(handle,
                  {{0, 0, 19},       {1, 0, 0},  {2, 0, 2},        {3, 0, 112},    {4, 0, 53},
                   {5, 0, 12},       {6, 0, 1},  {7, 0, 0},        {8, 0, 1600},   {9, 0, 1200},
                   {10, 0, 1920000}, {11, 0, 1}, {12, 0, 1600},    {13, 0, 1200},  {14, 0, 4},
                   {15, 0, 0x19},    {16, 0, 1}, {17, 1, kNone},   {18, 0, 1000},  {19, 1, 1000},
                   {20, 0, 1},       {21, 0, 3}, {22, 0, 10000},   {23, 1, kNone}, {24, 1, kNone},
                   {25, 0, 1},       {26, 0, 0}, {27, 1, 0},       {28, 1, 0},     {29, 0, 1},
                   {30, 0, 1},       {31, 0, 1}, {32, 0, 5760000}, {33, 0, 0},     {34, 0, 0},
                   {35, 1, 0},       {36, 0, 0}, {37, 0, 0},       {38, 0, 0},     {39, 0, 0},
                   {40, 0, 0},       {41, 1, 0}, {42, 0, 0},       {43, 0, 0},     {44, 1, 0}});
}

// No cooler, and blocks that end before the capabilities of later cameras.
TEST_F(VirtualInformation, TellsAllOfAnOldCamera)
{
    const ZerixHandle handle = LoadAndOpen(2);
    const test::StandardOutputCapture output;
    ExpectAnswers(handle,
                  {{0, 0, 12},       {1, 0, 0},  {2, 0, 1},        {3, 0, 104},    {4, 0, 6},
                   {5, 0, 12},       {6, 0, 0},  {7, 0, 0},        {8, 0, 1392},   {9, 0, 1040},
                   {10, 0, 1447680}, {11, 0, 0}, {12, 0, 1392},    {13, 0, 1040},  {14, 0, 2},
                   {15, 0, 0x12},    {16, 0, 1}, {17, 1, kNone},   {18, 0, 1000},  {19, 1, 1000},
                   {20, 0, 1},       {21, 0, 3}, {22, 0, 10000},   {23, 1, kNone}, {24, 1, kNone},
                   {25, 0, 0},       {26, 0, 0}, {27, 1, 0},       {28, 1, 0},     {29, 0, 0},
                   {30, 0, 0},       {31, 0, 0}, {32, 0, 4343040}, {33, 0, 0},     {34, 0, 0},
                   {35, 1, 0},       {36, 0, 0}, {37, 0, 1},       {38, 0, 0},     {39, 0, 0},
                   {40, 0, 0},       {41, 1, 0}, {42, 0, 0},       {43, 0, 0},     {44, 1, 0}});
}

// 512 x 512 with electron multiplication, and everything that comes with it.
TEST_F(VirtualInformation, TellsAllOfAMultiplyingCamera)
{
    UseRack(kMultiplyingRack);
    const ZerixHandle handle = LoadAndOpen(0);
    const test::StandardOutputCapture output;
    ExpectAnswers(handle,
                  {{0, 0, 31},      {1, 0, 0},  {2, 0, 2},       {3, 0, 114},    {4, 0, 78},
                   {5, 0, 12},      {6, 0, 1},  {7, 0, 0},       {8, 0, 512},    {9, 0, 512},
                   {10, 0, 262144}, {11, 0, 0}, {12, 0, 512},    {13, 0, 512},   {14, 0, 1},
                   {15, 0, 0x31},   {16, 0, 1}, {17, 1, kNone},  {18, 0, 1000},  {19, 1, 1000},
                   {20, 0, 1},      {21, 0, 3}, {22, 0, 10000},  {23, 1, kNone}, {24, 1, kNone},
                   {25, 0, 1},      {26, 0, 0}, {27, 1, 0},      {28, 1, 0},     {29, 0, 1},
                   {30, 0, 1},      {31, 0, 1}, {32, 0, 786432}, {33, 0, 0},     {34, 0, 1},
                   {35, 1, 0},      {36, 0, 1}, {37, 0, 1},      {38, 0, 1},     {39, 0, 1},
                   {40, 0, 1},      {41, 1, 0}, {42, 0, 1},      {43, 0, 1},     {44, 1, 0}});
}

// What only these two models have: an intensifier with its trigger delay, and binnings for each
// axis. The intensifier's range is 33.51 to 98.07 dB in steps of 0.002 dB.
TEST_F(VirtualInformation, TellsOfAnIntensifierAndOfBothBinnings)
{
    UseRack("[[camera]]\nmodel = 9\nsensor = 6\nserial = \"S-9\"\n"
            "[[camera]]\nmodel = 1002\nsensor = 6\nserial = \"S-1002\"\ncontrol = \"1.2\"\n");
    const ZerixHandle intensified = LoadAndOpen(0);
    const ZerixHandle metrol = OpenListed(1);
    constexpr struct {
        uint32_t key;
        uint32_t intensified;
        uint32_t error;
        uint32_t metrol;
    } kExpected[] = {{17, 1, 1, kNone},    {19, 1000, 1, 1000}, {23, 3, 1, kNone},
                     {24, 2000, 1, kNone}, {33, 0, 0, 1},       {37, 1, 0, 1}};
    for (const auto &row : kExpected) {
        uint32_t value = kPatternWord;
        EXPECT_EQ(Zerix_GetInfo(intensified, row.key, &value), 0u) << row.key;
        EXPECT_EQ(value, row.intensified) << row.key;
        value = kPatternWord;
        EXPECT_EQ(Zerix_GetInfo(metrol, row.key, &value), row.error) << row.key;
        EXPECT_EQ(value, row.metrol) << row.key;
    }
}

// The upper half of an identifier is no part of the answer.
TEST_F(VirtualInformation, TellsTheLowerHalfOfTheIdentifier)
{
    UseRack("[[camera]]\nmodel = 18\nunique-id = \"0x1122334455667788\"\n");
    const ZerixHandle handle = LoadAndOpen(0);
    uint32_t value = 0;
    EXPECT_EQ(Zerix_GetInfo(handle, zinfUniqueId, &value), 0u);
    EXPECT_EQ(value, 0x55667788u);
}

TEST_F(VirtualInformation, GivesTheTextsWhereTheyFitWithTheirEnd)
{
    const ZerixHandle handle = LoadAndOpen(0);
    const struct {
        const char *name;
        const char *remark;
        uint32_t (*call)(ZerixHandle, char *, uint32_t);
        std::string text;
    } kTexts[] = {
        {"Zerix_GetSerialString", "Serial: ZV-C2-2019-0018", Zerix_GetSerialString,
         "ZV-C2-2019-0018"},
        {"Zerix_GetCameraModelString", "Camera model: Astrel C2", Zerix_GetCameraModelString,
         "Astrel C2"},
    };
    for (const auto &row : kTexts) {
        SCOPED_TRACE(row.name);
        const auto length = static_cast<uint32_t>(row.text.size());
        std::vector<char> text(length + 2, 'x');
        for (const uint32_t size : {0u, 1u, length}) {
            EXPECT_EQ(row.call(handle, text.data(), size), 2u) << size;
            EXPECT_EQ(text, std::vector<char>(length + 2, 'x')) << size;
        }
        Take();
        EXPECT_EQ(row.call(handle, text.data(), length + 1), 0u);
        EXPECT_EQ(std::string(text.data()), row.text);
        EXPECT_EQ(text.back(), 'x');
        EXPECT_EQ(Take(), (Lines{std::string(row.name) + " start",
                                 std::string(row.name) + " - " + row.remark, EndLine(row.name)}));
    }
}

// The longest serial that a camera has room for.
TEST_F(VirtualInformation, GivesASerialOf27Characters)
{
    const std::string serial = "ABCDEFGHIJKLMNOPQRSTUVWXYZ7";
    UseRack("[[camera]]\nmodel = 18\nserial = \"" + serial + "\"\n");
    const ZerixHandle handle = LoadAndOpen(0);
    char text[28];
    EXPECT_EQ(Zerix_GetSerialString(handle, text, 27), 2u);
    EXPECT_EQ(Zerix_GetSerialString(handle, text, 28), 0u);
    EXPECT_EQ(std::string(text), serial);
}

// The size of a processed image is another exported call's answer: its remark is in the log.
TEST_F(VirtualInformation, LogsItsValueBetweenStartAndEnd)
{
    Configure("outputEnabled = 1\noutputGetInfo = 1\n");
    const ZerixHandle handle = LoadAndOpen(0);
    uint32_t value = 0;
    Zerix_GetInfo(handle, zinfPostProcessImageSize, &value);
    EXPECT_EQ(Take(), (Lines{"Zerix_GetInfo start (zinfPostProcessImageSize)",
                             "Zerix_CalcImageSize - Size = 4343040",
                             "Post Processing Image Size: 4343040", EndLine("Zerix_GetInfo")}));
    Zerix_GetInfo(handle, zinfCameraType, &value);
    EXPECT_EQ(Take(), (Lines{"Zerix_GetInfo start (zinfCameraType)", "Camera Type: 18 (Astrel C2)",
                             EndLine("Zerix_GetInfo")}));
}

} // namespace
} // namespace zerix::api

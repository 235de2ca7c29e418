// The trace log's dumps: one line for each key, whole records, frames, tables, and their gates.
#include <array>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "diag/dumps.h"
#include "tables/settings_accessors.h"
#include "tests/diag/log_fixture.h"

namespace zerix::diag {
namespace {

class Dumps : public LogTest {
protected:
    Lines WithPrefix(Lines texts)
    {
        for (std::string &text : texts)
            text = kAtStart + text;
        return texts;
    }

    std::string Last()
    {
        const Lines taken = Take();
        return taken.size() == 1 ? taken.front() : "not one line";
    }
};

TEST_F(Dumps, PrintEveryUnsignedKeyByItsOwnText)
{
    OpenWith({"outputEnabled", "outputSettings"});
    const std::string unknown = "ZerixDebugOutputSetting32() - Unknown parameter";
    const struct {
        uint32_t key;
        uint32_t value;
        std::string line;
    } expected[] = {
        {0, 4294967295u, "Gain: 4294967295"},
        {1, 2, "Offset: 2"},
        {2, 28100, "Exposure: 28100 us (28.1 ms)"},
        {3, 2, "Symmetrical Binning: 2"},
        {4, 3, "Horizontal Binning: 3"},
        {5, 4, "Vertical Binning: 4"},
        {6, 0, "Readout Speed: 20.0 MHz"},
        {6, 3, "Readout Speed: 2.5 MHz"},
        {6, 9, "Readout Speed: 0.0 MHz"},
        {7, 5, "Trigger type: 5"},
        {8, 1, "Filter wheel start colour: 1 (Green)"},
        {8, 4, "Filter wheel start colour: 4 (Unknown)"},
        {9, 1, "Cooler active: 1"},
        {10, 1000, "Red Exposure: 1000 us (1.0 ms)"},
        {11, 34900, "Blue Exposure: 34900 us (34.9 ms)"},
        {12, 4, "Image Format: 4 (Bayer 8-Bit)"},
        {12, 13, "Image Format: 13 (Unknown image format)"},
        {13, 1, "Roi X: 1"},
        {14, 2, "Roi Y: 2"},
        {15, 1392, "Roi Width: 1392"},
        {16, 1040, "Roi Height: 1040"},
        {17, 1, unknown},
        {18, 1, "Shutter state: 1"},
        {19, 1, unknown},
        {20, 1, "SyncB: 1 (Expose)"},
        {21, 1, unknown},
        {22, 9, "Intensifier Gain: 9"},
        {23, 2500, "Trigger Delay: 2500 ns (2.5 ms)"},
        {24, 1, "Camera Mode: 1 (LVW Mode)"},
        {24, 7, "Camera Mode: 7 (Unknown Mode)"},
        {25, 1000000, "Normalized Gain: 1000000"},
        {26, 5, "Normalized Intensifier Gain dB: 5"},
        {27, 1, "Post Processing: 1"},
        {28, 1160, "Post Processing Red Gain: 1160"},
        {29, 1000, "Post Processing Green Gain: 1000"},
        {30, 1880, "Post Processing Blue Gain: 1880"},
        {31, 4, "Post Processing Bayer Algorithm: 4 (Bicubic - Faster)"},
        {31, 9, "Post Processing Bayer Algorithm: 9 ()"},
        {32, 12, "Post Processing Image Format: 12 (RGB24)"},
        {33, 4, "Fan Speed: 4 (Full)"},
        {34, 1, "Blackout Mode: 1"},
        {35, 1, "High Sensitivity Mode: 1"},
        {36, 1, "Readout Port: 1"},
        {37, 100, "EM Gain: 100"},
        {38, 1, "Open Delay: 1"},
        {39, 1, "Close Delay: 1"},
        {40, 1, "CCD Clearing Mode: 1"},
        {41, 1, "Over Sample Mode: 1"},
        {42, 1, unknown},
        {43, 1, unknown},
        {44, 1, unknown},
        {45, 1, unknown},
        {46, 1, unknown},
        {47, 1, "KeelEM Gain: 1"},
        {48, 1, "Locked Gain Mode: 1"},
        {49, 1, "KeelEM Gain Value 10: 1"},
        {50, 1, "KeelEM Gain Value 20: 1"},
        {51, 1, "KeelEM Gain Value 40: 1"},
        {52, 1, unknown},
        {53, 1, unknown},
    };
    for (const auto &row : expected) {
        ZerixDebugOutputSetting32(row.key, row.value);
        EXPECT_EQ(Last(), kAtStart + row.line) << row.key;
    }
}

TEST_F(Dumps, PrintSignedAnd64BitKeys)
{
    OpenWith({"outputEnabled", "outputSettings"});
    ZerixDebugOutputSettingS32(0, -6000000);
    ZerixDebugOutputSettingS32(1, 12);
    ZerixDebugOutputSettingS32(2, -30);
    ZerixDebugOutputSettingS32(3, 0);
    ZerixDebugOutputSetting64(0, 12000);
    ZerixDebugOutputSetting64(1, 28100000);
    ZerixDebugOutputSetting64(2, 3600000000000u);
    ZerixDebugOutputSetting64(3, 18446744073709551615u);
    ZerixDebugOutputSetting64(4, 0);
    EXPECT_EQ(Take(), WithPrefix({"Normalized Gain dB: -6000000", "Absolute Offset: 12",
                                  "Regulated Cooling Temp: -30 C",
                                  "ZerixDebugOutputSettingS32() - Unknown parameter",
                                  "Exposure (64-bit): 12000 ns (0.0 ms)",
                                  "Red Exposure (64-bit): 28100000 ns (28.1 ms)",
                                  "Blue Exposure (64-bit): 3600000000000 ns (3600000.0 ms)",
                                  "Normalized Intesifier Gain (64-bit): 18446744073709551615",
                                  "ZerixDebugOutputSetting64() - Unknown parameter"}));
}

TEST_F(Dumps, ConvertThe64BitTimeUnsigned)
{
    OpenWith({"outputEnabled", "outputSettings"});
    ZerixDebugOutputSetting64(0, 0x8000000000000000u);
    EXPECT_EQ(Last(), kAtStart + "Exposure (64-bit): 9223372036854775808 ns (9223372036854.8 ms)");
}

TEST_F(Dumps, PrintEveryInformationKeyByItsOwnText)
{
    OpenWith({"outputEnabled", "outputGetInfo"});
    const std::string unknown = "ZerixDebugOutputGetInfo() - Unknown parameter";
    const struct {
        uint32_t key;
        uint32_t value;
        std::string line;
    } expected[] = {
        {0, 25, "Camera Type: 25 (Noctis C1)"},
        {0, 11, "Camera Type: 11 (Unknown)"},
        {1, 0, "Serial Number: 0"},
        {2, 2, "Hardware Version: 2"},
        {3, 114, "Firmware Version: 114"},
        {4, 6, "CCD Model: 6"},
        {5, 14, "Maximum Bit Depth: 14"},
        {6, 1, "Cooled: 1"},
        {7, 0, unknown},
        {8, 1392, "Image Width: 1392"},
        {9, 1040, "Image Height: 1040"},
        {10, 4294967295u, "Image Size: 4294967295"},
        {11, 0, "CCD Type: 0 (Monochrome)"},
        {11, 1, "CCD Type: 1 (Bayer)"},
        {11, 2, "CCD Type: 2 (Unknown)"},
        {12, 1600, "CCD Width: 1600"},
        {13, 1200, "CCD Height: 1200"},
        {14, 4, "Firmware Build: 4"},
        {15, 25, "Unique ID: 25"},
        {16, 1, "ModelB: 1"},
        {17, 3, "Intensifier Model: 3"},
        {18, 1000, "Exposure Resolution: 1000 ns"},
        {19, 50, "Trigger Delay Resolution: 50 ns"},
        {20, 1, "Streaming Version: 1"},
        {21, 3, "Normalized Gain Significant Figures: 3"},
        {22, 10000, "Normalized Gain dB Resolution: 10000"},
        {23, 3, "Normalized Intensifier Gain Significant Figures: 3"},
        {24, 2000, "Normalized Intensifier Gain dB Resolution: 2000"},
        {25, 1, "Regulated Cooling Available: 1"},
        {26, 1, "Regulated Cooling Lock: 1"},
        {27, 0, unknown},
        {28, 0, unknown},
        {29, 1, "Fan Control Available: 1"},
        {30, 1, "High Sensitivity Mode Available: 1"},
        {31, 1, "Blackout Mode Available: 1"},
        {32, 9, "Post Processing Image Size: 9"},
        {33, 0, "Asymmetrical Binning Available: 0"},
        {34, 1, "EM Gain Available: 1"},
        {35, 0, unknown},
        {36, 1, "Close Delay: 1"},
        {37, 1, "RGB Filter Wheel Available: 1"},
        {38, 1, "Dither Control Available: 1"},
        {39, 1, "High Gain Mode Available: 1"},
        {40, 1, "VClock Control Available: 1"},
        {41, 0, unknown},
        {42, 1, unknown},
        {43, 1, unknown},
        {44, 1, unknown},
    };
    for (const auto &row : expected) {
        ZerixDebugOutputGetInfo(row.key, row.value);
        EXPECT_EQ(Last(), kAtStart + row.line) << row.key;
    }
}

// A record of each layout, in exactly its bytes, with every slot holding its own number.
struct Records {
    Records()
    {
        std::memcpy(reinterpret_cast<uint8_t *>(&current) + 4,
                    tables::kZerixSettingsFormatId.data(), 16);
        current.privateBlock = block.data();
        for (Zerix_Settings *record : {Legacy(), &current}) {
            for (uint32_t key = 0; key < 53; ++key)
                tables::SetSlot32(record, key, 100 + key);
            for (uint32_t key = 0; key < 3; ++key)
                tables::SetSlotS32(record, key, static_cast<int32_t>(key) - 1);
            for (uint32_t key = 0; key < 4; ++key)
                tables::SetSlot64(record, key, 1000000 * key);
        }
    }
    Zerix_Settings *Legacy() { return reinterpret_cast<Zerix_Settings *>(legacy.data()); }
    std::vector<uint8_t> legacy = std::vector<uint8_t>(260);
    std::vector<uint8_t> block = std::vector<uint8_t>(276);
    Zerix_Settings current = {};
};

TEST_F(Dumps, PrintAWholeRecordInTheirOrder)
{
    OpenWith({"outputEnabled", "outputSettings"});
    Records records;
    ZerixDebugOutputSettings(&records.current);
    const Lines lines = Take();
    ASSERT_EQ(lines.size(), 1u + 42 + 5 + 3 + 4);
    EXPECT_EQ(lines[0], kAtStart + "Zerix_Settings structure:");
    EXPECT_EQ(lines[1], kAtStart + "Gain: 100");
    EXPECT_EQ(lines[1 + 17], kAtStart + "ZerixDebugOutputSetting32() - Unknown parameter");
    EXPECT_EQ(lines[1 + 41], kAtStart + "Over Sample Mode: 141");
    EXPECT_EQ(Lines(lines.begin() + 43, lines.end()),
              WithPrefix({"KeelEM Gain: 147", "KeelEM Gain Value 10: 149",
                          "KeelEM Gain Value 20: 150", "KeelEM Gain Value 40: 151",
                          "Locked Gain Mode: 148", "Normalized Gain dB: -1", "Absolute Offset: 0",
                          "Regulated Cooling Temp: 1 C", "Exposure (64-bit): 0 ns (0.0 ms)",
                          "Red Exposure (64-bit): 1000000 ns (1.0 ms)",
                          "Blue Exposure (64-bit): 2000000 ns (2.0 ms)",
                          "Normalized Intesifier Gain (64-bit): 3000000"}));
}

// The array of a legacy record ends at key 47; the lines above it show what stands behind it.
TEST_F(Dumps, PrintALegacyRecordPastItsArray)
{
    OpenWith({"outputEnabled", "outputSettings"});
    Records records;
    ZerixDebugOutputSettings(records.Legacy());
    const Lines lines = Take();
    ASSERT_EQ(lines.size(), 55u);
    EXPECT_EQ(Lines(lines.begin() + 43, lines.begin() + 49),
              WithPrefix({"KeelEM Gain: 147", "KeelEM Gain Value 10: 0", "KeelEM Gain Value 20: 1",
                          "KeelEM Gain Value 40: 0", "Locked Gain Mode: 4294967295",
                          "Normalized Gain dB: -1"}));
}

TEST_F(Dumps, PrintNothingChangedForEqualRecords)
{
    OpenWith({"outputEnabled", "outputSettings"});
    Records records;
    ZerixDebugOutputChangedSettings(&records.current, &records.current);
    EXPECT_EQ(Take(), WithPrefix({"Settings that changed:", "Nothing"}));
}

TEST_F(Dumps, PrintTheNewValueOfEachChangedKey)
{
    OpenWith({"outputEnabled", "outputSettings"});
    Records before;
    Records after;
    tables::SetSlot32(&after.current, 0, 7);
    tables::SetSlot32(&after.current, 52, 8);
    tables::SetSlot32(&after.current, 51, 9);
    tables::SetSlotS32(&after.current, 0, 77);
    ZerixDebugOutputChangedSettings(&before.current, &after.current);
    EXPECT_EQ(Take(), WithPrefix({"Settings that changed:", "Gain: 7", "KeelEM Gain Value 40: 9",
                                  "ZerixDebugOutputSetting32() - Unknown parameter"}));
}

TEST_F(Dumps, PrintAFramesFieldsInTheirOrder)
{
    OpenWith({"outputEnabled", "outputFrame"});
    Zerix_Frame frame = {};
    frame.pBuffer = reinterpret_cast<void *>(uintptr_t{0x12AB00});
    frame.bufferSize = 1;
    frame.format = 2;
    frame.width = 3;
    frame.height = 4;
    frame.size = 5;
    frame.bitDepth = 6;
    frame.frameNumber = 65535;
    frame.bayerPattern = 1;
    frame.errorCode = 26;
    frame.timeStamp = 4294967295u;
    ZerixDebugOutputFrame(&frame);
    EXPECT_EQ(Take(), WithPrefix({"Zerix_Frame structure:", "pBuffer: 12ab00", "Buffer size: 1",
                                  "Format: 2", "Width: 3", "Height: 4", "Size: 5", "Bit Depth: 6",
                                  "Frame Number: 65535", "Bayer Pattern: 1", "Error Code: 26",
                                  "Time Stamp: 4294967295"}));
}

TEST_F(Dumps, PrintASparseTable)
{
    OpenWith({"outputEnabled", "outputSparseTable"});
    const uint32_t table[] = {1, 2, 4294967295u, 99};
    ZerixDebugOutputSparseTable(3, table, 3);
    EXPECT_EQ(Take(), WithPrefix({"Sparse Table for zprmBinning:", "1", "2", "4294967295"}));
    ZerixDebugOutputSparseTable(53, nullptr, -1);
    EXPECT_EQ(Take(),
              WithPrefix({"Sparse Table for InternalParam32KeyAsString() - Unknown parameter:"}));
}

// Calls each dump once, at the depth of the moment, and tells which of them wrote.
std::vector<std::string> Writers(const std::function<Lines()> &take)
{
    Records before;
    Records after;
    tables::SetSlot32(&after.current, 0, 7);
    const Zerix_Frame frame = {};
    const uint32_t value = 1;
    std::vector<std::string> writers;
    const auto note = [&](const char *name) {
        if (const std::size_t count = take().size(); count > 0)
            writers.push_back(name + std::to_string(count));
    };
    ZerixDebugOutputSetting32(0, 1);
    note("u");
    ZerixDebugOutputSettingS32(0, 1);
    note("s");
    ZerixDebugOutputSetting64(0, 1);
    note("w");
    ZerixDebugOutputSettings(&before.current);
    note("record");
    ZerixDebugOutputChangedSettings(&before.current, &after.current);
    note("changed");
    ZerixDebugOutputChangedSettings(&before.current, &before.current);
    note("same");
    ZerixDebugOutputGetInfo(0, 1);
    note("info");
    ZerixDebugOutputFrame(&frame);
    note("frame");
    ZerixDebugOutputSparseTable(0, &value, 1);
    note("sparse");
    return writers;
}

TEST_F(Dumps, PassTheGateOfTheirKindAlone)
{
    const auto take = [this] { return Take(); };
    const Lines settings = {"u1", "s1", "w1", "record55", "changed2", "same2"};
    OpenWith({"outputEnabled"});
    EXPECT_EQ(Writers(take), Lines{});
    OpenWith({"outputSettings", "outputGetInfo", "outputFrame", "outputSparseTable"});
    EXPECT_EQ(Writers(take), Lines{});
    OpenWith({"outputEnabled", "outputSettings"});
    EXPECT_EQ(Writers(take), settings);
    OpenWith({"outputEnabled", "outputGetInfo"});
    EXPECT_EQ(Writers(take), Lines{"info1"});
    OpenWith({"outputEnabled", "outputFrame"});
    EXPECT_EQ(Writers(take), Lines{"frame12"});
    OpenWith({"outputEnabled", "outputSparseTable"});
    EXPECT_EQ(Writers(take), Lines{"sparse2"});
}

TEST_F(Dumps, OfSettingsAndTablesAreSilentInANestedCall)
{
    const auto take = [this] { return Take(); };
    const std::vector<std::string> all = {"outputEnabled", "outputSettings", "outputGetInfo",
                                          "outputFrame", "outputSparseTable"};
    OpenWith(all);
    ZLogStart("outer");
    ZLogStart("inner");
    Take();
    // Of what changed, the header passes at any depth.
    EXPECT_EQ(Writers(take), (Lines{"changed1", "same1", "info1", "frame12"}));
    auto nested = all;
    nested.push_back("outputNestedCalls");
    OpenWith(nested);
    EXPECT_EQ(Writers(take).size(), 9u);
}

} // namespace
} // namespace zerix::diag

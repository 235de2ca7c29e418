// The three racks of the family, as their registers tell them: every model, every version of every
// block, and for each camera what sets it apart.
#include <map>
#include <set>
#include <string>

#include "bus_fixture.h"

namespace zerix::test {
namespace {

constexpr uint32_t V(uint32_t major, uint32_t minor) { return major << 16 | minor; }

// Bits of the capability word: high sensitivity, blackout, the fan and regulated cooling; two
// channels; electron multiplication and what goes with it; a shutter that closes; KeelEM and locked
// gain.
constexpr uint32_t kRegulated = 0x001E;
constexpr uint32_t kDual = 0x1000;
constexpr uint32_t kEm = 0x0E40;
constexpr uint32_t kShutter = 0x0100;
constexpr uint32_t kNewEm = 0x6000;

struct Row {
    const char *rack;
    uint32_t place;
    uint32_t model;
    uint32_t sensor;
    uint32_t width;
    uint32_t height;
    uint32_t depth;
    uint32_t information;
    uint32_t control;
    uint32_t command;
    uint32_t status;
    uint32_t streamFormat;
    uint32_t firmware;
    uint32_t capabilities; // from information 2.7 on
    uint32_t eightfold;
};

constexpr Row kRows[] = {
    {"family-1", 0, 5, 4, 1300, 1030, 12, V(1, 1), V(1, 1), V(1, 1), V(1, 1), 0, 98, 0, 0},
    {"family-1", 1, 5, 53, 1600, 1200, 12, V(2, 2), V(2, 2), V(1, 1), V(1, 1), 1, 101, 0, 1},
    {"family-1", 2, 6, 0, 1317, 1035, 12, V(1, 2), V(1, 2), V(1, 1), V(1, 1), 0, 5, 0, 0},
    {"family-1", 3, 7, 5, 1300, 1030, 10, V(2, 1), V(2, 1), V(1, 1), V(1, 1), 1, 100, 0, 0},
    {"family-1", 4, 8, 10, 2048, 1536, 12, V(2, 3), V(2, 3), V(1, 1), V(1, 1), 1, 102, 0, 0},
    {"family-1", 5, 8, 12, 2560, 1920, 12, V(2, 6), V(2, 6), V(1, 2), V(1, 2), 1, 106, 0, 0},
    {"family-1", 6, 9, 6, 1392, 1040, 12, V(2, 4), V(2, 4), V(1, 1), V(1, 2), 1, 104, 0, 1},
    {"family-1", 7, 10, 13, 768, 494, 10, V(2, 2), V(2, 2), V(1, 1), V(1, 1), 1, 103, 0, 1},
    {"family-1", 8, 12, 9, 1392, 1040, 12, V(2, 3), V(2, 3), V(1, 1), V(1, 2), 1, 105, 0, 1},
    {"family-1", 9, 26, 69, 2048, 2048, 14, V(2, 9), V(2, 7), V(1, 2), V(1, 3), 1, 112,
     kRegulated | kDual, 1},
    {"family-2", 0, 13, 46, 1600, 1200, 12, V(2, 5), V(2, 5), V(1, 2), V(1, 2), 1, 106, 0, 1},
    {"family-2", 1, 14, 6, 1392, 1040, 12, V(2, 4), V(2, 4), V(1, 1), V(1, 2), 1, 104, 0, 0},
    {"family-2", 2, 15, 25, 1000, 1000, 12, V(2, 5), V(2, 5), V(1, 2), V(1, 2), 2, 107, 0, 1},
    {"family-2", 3, 16, 76, 2184, 1472, 16, V(2, 8), V(2, 6), V(1, 2), V(1, 2), 1, 110,
     kRegulated | kShutter, 1},
    {"family-2", 4, 18, 6, 1392, 1040, 14, V(2, 7), V(2, 6), V(1, 2), V(1, 2), 1, 108, kRegulated,
     1},
    {"family-2", 5, 19, 53, 1600, 1200, 12, V(2, 8), V(2, 7), V(1, 2), V(1, 3), 1, 110,
     kRegulated | kDual, 1},
    {"family-2", 6, 29, 7, 1392, 1040, 14, V(2, 10), V(2, 8), V(1, 2), V(1, 3), 1, 112,
     kRegulated | kDual, 1},
    {"family-2", 7, 30, 58, 1600, 1200, 14, V(2, 11), V(2, 8), V(1, 2), V(1, 3), 1, 114,
     kRegulated | kDual, 1},
    {"family-3", 0, 25, 78, 512, 512, 14, V(2, 11), V(2, 8), V(1, 2), V(1, 3), 1, 114,
     kRegulated | kDual | kEm | kShutter | kNewEm, 1},
    {"family-3", 1, 26, 69, 2048, 2048, 14, V(2, 9), V(2, 7), V(1, 2), V(1, 3), 1, 112,
     kRegulated | kDual, 1},
    {"family-3", 2, 27, 15, 1004, 1002, 14, V(2, 9), V(2, 7), V(1, 2), V(1, 3), 1, 112,
     kRegulated | kEm, 1},
    {"family-3", 3, 28, 27, 1000, 1000, 12, V(2, 10), V(2, 8), V(1, 2), V(1, 3), 1, 113,
     kRegulated | kDual, 1},
    {"family-3", 4, 31, 59, 1600, 1200, 14, V(2, 11), V(2, 8), V(1, 2), V(1, 3), 1, 114,
     kRegulated | kDual, 1},
    {"family-3", 5, 32, 68, 2048, 2048, 14, V(2, 11), V(2, 8), V(1, 2), V(1, 3), 1, 114,
     kRegulated | kDual, 1},
    {"family-3", 6, 33, 3, 2048, 2048, 16, V(2, 11), V(2, 8), V(1, 2), V(1, 3), 1, 114,
     kRegulated | kShutter | kDual, 1},
    {"family-3", 7, 1001, 8, 1392, 1040, 12, V(2, 3), V(2, 3), V(1, 1), V(1, 1), 1, 101, 0, 1},
    {"family-3", 8, 1002, 11, 1024, 58, 16, V(1, 2), V(1, 2), V(1, 1), V(1, 1), 0, 6, 0, 0},
    {"family-3", 9, 11, 14, 512, 250, 12, V(2, 6), V(2, 4), V(1, 2), V(1, 2), 1, 102, 0, 1},
};

class FamilyRacks : public BusTest {
protected:
    void Load(const std::string &rack)
    {
        ASSERT_EQ(0U, ZerixSim_ChooseRack(rack.c_str())) << ZerixSim_LastErrorText();
    }
};

// The depth has four bits; the stream format is told from 2.1 on, eightfold binning from 2.2 on,
// but a Benchmate bins by three.
void ExpectInformation(BusClient &client, const Row &row)
{
    const uint32_t base = client.Information();
    EXPECT_EQ(client.Word(base), row.information);
    EXPECT_EQ(client.Word(base + 0x10), row.width << 16 | row.height);
    EXPECT_EQ(client.Word(base + 0x20), row.depth - 1);
    EXPECT_EQ(client.Word(base + 0x38) >> 16, row.model);
    EXPECT_EQ(client.Word(base + 0x40) & 0xFFFF, row.firmware);
    EXPECT_EQ(client.Word(base + 0x44) >> 16, row.sensor);
    if (row.information >= V(2, 1)) {
        EXPECT_EQ(client.Word(base + 0xA4), row.streamFormat);
    }
    if (row.information >= V(2, 2)) {
        EXPECT_EQ(client.Word(base + 0xA8), row.eightfold);
    }
    if (row.information >= V(2, 7)) {
        EXPECT_EQ(client.Word(base + 0x2A4), row.capabilities);
    }
}

TEST_F(FamilyRacks, TellWhatTheirCamerasAre)
{
    for (const Row &row : kRows) {
        SCOPED_TRACE(std::string(row.rack) + " " + std::to_string(row.place));
        Load(row.rack);
        BusClient client(row.place);
        ExpectInformation(client, row);
        EXPECT_EQ(client.Word(client.Control()), row.control);
        EXPECT_EQ(client.Word(client.Command()), row.command);
        EXPECT_EQ(client.Word(client.Status()), row.status);
        EXPECT_EQ(client.Word(client.Streaming()), V(1, 2));
        EXPECT_EQ(client.Word(0xD0000000), V(1, 1));
    }
}

TEST_F(FamilyRacks, HaveAtMostTenCameras)
{
    std::map<std::string, uint32_t> sizes;
    for (const Row &row : kRows)
        ++sizes[row.rack];
    for (const auto &[rack, size] : sizes) {
        Load(rack);
        uint32_t count = 0;
        ASSERT_EQ(0U, ZerixSim_CameraCount(&count));
        EXPECT_EQ(count, size) << rack;
        EXPECT_LE(count, 10U) << rack;
    }
}

// What the registers of all cameras of the racks say, taken together.
struct Numbers {
    std::set<uint32_t> models;
    std::set<uint32_t> information;
    std::set<uint32_t> control;
    std::set<uint32_t> command;
    std::set<uint32_t> status;
    std::set<uint32_t> formats;
};

void Read(uint32_t place, Numbers *numbers)
{
    BusClient client(place);
    const uint32_t base = client.Information();
    const uint32_t version = client.Word(base);
    numbers->models.insert(client.Word(base + 0x38) >> 16);
    numbers->information.insert(version);
    numbers->control.insert(client.Word(client.Control()));
    numbers->command.insert(client.Word(client.Command()));
    numbers->status.insert(client.Word(client.Status()));
    // Older cameras can't tell theirs: it is 0.
    numbers->formats.insert(version >= V(2, 1) ? client.Word(base + 0xA4) : 0);
}

TEST_F(FamilyRacks, HaveEveryModelAndEveryVersionOfEveryBlock)
{
    Numbers numbers;
    for (const std::string rack : {"family-1", "family-2", "family-3"}) {
        Load(rack);
        uint32_t count = 0;
        ASSERT_EQ(0U, ZerixSim_CameraCount(&count));
        for (uint32_t place = 0; place < count; ++place)
            Read(place, &numbers);
    }
    EXPECT_EQ(numbers.models,
              (std::set<uint32_t>{5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15,   16,  18,
                                  19, 25, 26, 27, 28, 29, 30, 31, 32, 33, 1001, 1002}));
    EXPECT_EQ(numbers.information,
              (std::set<uint32_t>{V(1, 1), V(1, 2), V(2, 1), V(2, 2), V(2, 3), V(2, 4), V(2, 5),
                                  V(2, 6), V(2, 7), V(2, 8), V(2, 9), V(2, 10), V(2, 11)}));
    EXPECT_EQ(numbers.control, (std::set<uint32_t>{V(1, 1), V(1, 2), V(2, 1), V(2, 2), V(2, 3),
                                                   V(2, 4), V(2, 5), V(2, 6), V(2, 7), V(2, 8)}));
    EXPECT_EQ(numbers.command, (std::set<uint32_t>{V(1, 1), V(1, 2)}));
    EXPECT_EQ(numbers.status, (std::set<uint32_t>{V(1, 1), V(1, 2), V(1, 3)}));
    EXPECT_EQ(numbers.formats, (std::set<uint32_t>{0, 1, 2}));
}

// A 400 Mb/s bus refuses resources at the fast speed.
TEST_F(FamilyRacks, TheFirstIsASlowBus)
{
    for (const auto &[rack, error] :
         {std::pair{"family-1", 1450U}, std::pair{"family-2", 0U}, std::pair{"family-3", 0U}}) {
        Load(rack);
        BusClient client;
        EXPECT_EQ(client.Connect(1012, kernel::kSpeedFlag800), error) << rack;
    }
}

TEST_F(FamilyRacks, OneAnswersAtTheSecondAddressOnly)
{
    Load("family-3");
    BusClient client(7);
    EXPECT_EQ(client.Word(0xE0010038), 0xDEADDEADU);
    EXPECT_EQ(client.Word(0xE0001138), 1001U << 16);
}

TEST_F(FamilyRacks, CapabilitiesHaveTheirWords)
{
    Load("family-2");
    {
        BusClient shutter(3); // 500 counts of 6.4 microseconds; no double shot elsewhere is missing
        EXPECT_EQ(shutter.Word(shutter.Information() + 0x2C4), 500U);
        EXPECT_EQ(shutter.Word(shutter.Information() + 0x74) & 1, 1U);
    }
    Load("family-3");
    BusClient multiplying(2);
    const uint32_t base = multiplying.Information();
    EXPECT_EQ(multiplying.Word(base + 0x304), 3200U);
    EXPECT_EQ(multiplying.Word(base + 0x320), 20'000'000U);
    EXPECT_EQ(multiplying.Word(base + 0x2C4), 0U) << "no shutter to wait for";
    BusClient spectrometer(8);
    EXPECT_EQ(spectrometer.Word(spectrometer.Information() + 0x74) & 1, 0U) << "no double shot";
}

} // namespace
} // namespace zerix::test

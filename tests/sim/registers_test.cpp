// The register blocks of a virtual camera, by reading and writing over the bus.
#include <string>

#include "bus_fixture.h"

namespace zerix::test {
namespace {

struct Version {
    const char *text;
    uint32_t word;
    uint32_t words;
};

constexpr Version kInformation[] = {
    {"1.1", 0x10001, 29},  {"1.2", 0x10002, 30},  {"2.1", 0x20001, 42},  {"2.2", 0x20002, 44},
    {"2.3", 0x20003, 62},  {"2.4", 0x20004, 67},  {"2.5", 0x20005, 68},  {"2.6", 0x20006, 79},
    {"2.7", 0x20007, 176}, {"2.8", 0x20008, 178}, {"2.9", 0x20009, 202}, {"2.10", 0x2000A, 209},
    {"2.11", 0x2000B, 215}};
constexpr Version kControl[] = {{"1.1", 0x10001, 15}, {"1.2", 0x10002, 16}, {"2.1", 0x20001, 20},
                                {"2.2", 0x20002, 20}, {"2.3", 0x20003, 21}, {"2.4", 0x20004, 21},
                                {"2.5", 0x20005, 24}, {"2.6", 0x20006, 26}, {"2.7", 0x20007, 34},
                                {"2.8", 0x20008, 43}};

using Registers = BusTest;

std::string Line(const std::string &key, const std::string &text)
{
    return key + " = \"" + text + "\"\n";
}

// The block reads whole, and one word more is a bus error: three reads meet no register.
void ExpectBlock(BusClient &client, uint32_t address, const Version &version)
{
    SCOPED_TRACE(version.text);
    std::vector<uint32_t> words;
    ASSERT_EQ(0u, client.Read(address, version.words, &words));
    EXPECT_EQ(version.word, words[0]);
    EXPECT_EQ(31u, client.Read(address, version.words + 1, &words));
    EXPECT_EQ(31u, client.Read(address + version.words * 4, 1, &words));
    EXPECT_EQ(31u, client.Read(address - 4, 1, &words));
}

TEST_F(Registers, EveryInformationVersionHasItsLength)
{
    for (const Version &version : kInformation) {
        OneCamera(Line("information", version.text));
        BusClient client;
        ExpectBlock(client, client.Information(), version);
        EXPECT_EQ(3u, TakeMistakes().registersOutside);
    }
}

TEST_F(Registers, EveryControlVersionHasItsLength)
{
    for (const Version &version : kControl) {
        OneCamera(Line("control", version.text));
        BusClient client;
        ExpectBlock(client, client.Control(), version);
        EXPECT_EQ(3u, TakeMistakes().registersOutside);
    }
}

TEST_F(Registers, TheSmallBlocksHaveTheirLengths)
{
    OneCamera(Line("command", "1.1") + Line("status", "1.1"));
    {
        BusClient client;
        ExpectBlock(client, 0xD0000000, {"configuration 1.1", 0x10001, 11});
        ExpectBlock(client, client.Command(), {"command 1.1", 0x10001, 3});
        ExpectBlock(client, client.Status(), {"status 1.1", 0x10001, 2});
        ExpectBlock(client, client.Streaming(), {"streaming 1.2", 0x10002, 4});
    }
    OneCamera(Line("command", "1.2") + Line("status", "1.3"));
    BusClient client;
    ExpectBlock(client, client.Command(), {"command 1.2", 0x10002, 4});
    ExpectBlock(client, client.Status(), {"status 1.3", 0x10003, 4});
    EXPECT_EQ(6 * 3u, TakeMistakes().registersOutside);
}

TEST_F(Registers, TellTheCamera)
{
    OneCamera("hardware = 2\nfirmware = 114\nbuild = 9\nstream-format = 2\n");
    BusClient client;
    std::vector<uint32_t> words;
    ASSERT_EQ(0u, client.Read(client.Information(), 215, &words));
    EXPECT_EQ(1392u << 16 | 1040u, words[0x10 / 4]);
    EXPECT_EQ(696u << 16 | 520u, words[0x14 / 4]);
    EXPECT_EQ(174u << 16 | 130u, words[0x18 / 4]); // the third mode is eightfold
    EXPECT_EQ(348u << 16 | 260u, words[0x1C / 4]);
    EXPECT_EQ(11u, words[0x20 / 4]);
    EXPECT_EQ(0x80000000u, words[0x28 / 4]);
    EXPECT_EQ(0x00A1B2C3u, words[0x30 / 4]);
    EXPECT_EQ(0xD4E5F607u, words[0x34 / 4]);
    EXPECT_EQ(18u << 16, words[0x38 / 4]);
    EXPECT_EQ(2u, words[0x3C / 4]);
    EXPECT_EQ(9u << 16 | 114u, words[0x40 / 4]);
    EXPECT_EQ(6u << 16, words[0x44 / 4]);
    EXPECT_EQ(0x542D3030u, words[0x48 / 4]); // "T-00"
    EXPECT_EQ(0x30310000u, words[0x4C / 4]); // "01"
    EXPECT_EQ(2u, words[0xA4 / 4]);
    EXPECT_EQ(1u, words[0xA8 / 4]);
    EXPECT_EQ(600u << 20, words[0x08 / 4]);
    EXPECT_EQ(4095u << 4, words[0x78 / 4]);
    EXPECT_EQ(10000u, words[0x9C / 4]); // shortest exposure, nanoseconds
    EXPECT_EQ(249u, words[0x68 / 4]);   // longest: 1,073,741,823,000 ns
    EXPECT_EQ(4294966296u, words[0xA0 / 4]);
    EXPECT_EQ(2926u << 16 | 975u, words[0x29C / 4]); // 20 and -30 degrees
    EXPECT_EQ(1u << 4, words[0x2A4 / 4] & 1u << 4);  // regulated cooling
    EXPECT_EQ(0u, words[0x2A4 / 4] & 1u << 6);       // no electron multiplication
}

TEST_F(Registers, TellAnElectronMultiplyingSensorAndAMosaic)
{
    Choose("[[camera]]\nmodel = 25\nsensor = 78\n[[camera]]\nmodel = 19\nsensor = 53\n");
    BusClient multiplying(0);
    const uint32_t information = multiplying.Information();
    EXPECT_EQ(512u << 16 | 512u, multiplying.Word(information + 0x10));
    EXPECT_EQ(78u << 16, multiplying.Word(information + 0x44));
    EXPECT_EQ(1u << 6, multiplying.Word(information + 0x2A4) & 1u << 6);
    EXPECT_EQ(0u, multiplying.Word(information + 0x2C0));
    EXPECT_EQ(0u, multiplying.Word(information + 0x300));
    EXPECT_EQ(3200u, multiplying.Word(information + 0x304));
    EXPECT_EQ(2048u, multiplying.Word(information + 0x354));
    BusClient colour(1);
    EXPECT_EQ(53u << 16 | 1u << 8, colour.Word(colour.Information() + 0x44));
}

TEST_F(Registers, TellOfRegulatedCoolingFromVersion27On)
{
    OneCamera(Line("information", "2.7"));
    {
        BusClient client;
        EXPECT_EQ(1u << 4, client.Word(client.Information() + 0x2A4) & 1u << 4);
    }
    // Without it the cooler reaches 30 degrees below its surroundings, whatever the target, and
    // there is nothing to lock.
    OneCamera(Line("information", "2.6"));
    BusClient client;
    EXPECT_EQ(0u, client.Write(client.Control() + 0x38, {3082u << 16 | 1}));
    EXPECT_EQ(0u, client.Write(client.Control() + 0x18, {300, 0, 0})); // 1288 s of exposure
    EXPECT_EQ(0u, client.Write(client.Control() + 0x0C, {16u << 16 | 4u}));
    ASSERT_EQ(0u, client.Connect());
    EXPECT_EQ(0u, client.Commit());
    ASSERT_EQ(0u, ZerixSim_GiveCredit(0, 1));
    client.Start(4);
    ASSERT_TRUE(client.NextFrame(16 * 4));
    EXPECT_EQ(0u, client.Stop());
    int32_t celsius = 0;
    ASSERT_EQ(0u, ZerixSim_GetSensorTemperature(0, &celsius));
    EXPECT_EQ(-5000, celsius);
    EXPECT_EQ(0u, client.Word(client.Status() + 4));
}

TEST_F(Registers, FirstVersionsGiveExposuresInMicroseconds)
{
    OneCamera(Line("information", "1.2"));
    BusClient client;
    EXPECT_EQ(10u, client.Word(client.Information() + 0x0C));
    EXPECT_EQ(1'073'741'823u, client.Word(client.Information() + 0x68));
}

TEST_F(Registers, TheModelRegisterAnswersAtBothAddressesOrOnlyAtTheSecond)
{
    {
        BusClient client;
        EXPECT_EQ(18u << 16, client.Word(0xE0010038));
        EXPECT_EQ(18u << 16, client.Word(0xE0001138));
    }
    OneCamera("alternate-model-address = true\n");
    BusClient client;
    std::vector<uint32_t> words;
    EXPECT_EQ(31u, client.Read(0xE0010038, 1, &words));
    EXPECT_EQ(18u << 16, client.Word(0xE0001138));
}

TEST_F(Registers, ControlWordsReadBackAndVersionsCannotBeWritten)
{
    BusClient client;
    const uint32_t control = client.Control();
    EXPECT_EQ(0u, client.Write(control, {0x99999999, 0x11220304}));
    EXPECT_EQ(1u, TakeMistakes().registersOutside);
    EXPECT_EQ(0x20008u, client.Word(control));
    EXPECT_EQ(0x11220304u, client.Word(control + 4));
    EXPECT_EQ(0u, client.Word(control + 8));
}

TEST_F(Registers, WritesOutsideOfABlockAndToReadOnlyBlocksAreBusErrors)
{
    BusClient client;
    EXPECT_EQ(31u, client.Write(client.Control() + 43 * 4, {1}));
    EXPECT_EQ(31u, client.Write(client.Control() + 42 * 4, {1, 2}));
    EXPECT_EQ(31u, client.Write(0xD0000008, {1}));
    EXPECT_EQ(31u, client.Write(client.Status() + 4, {1}));
    EXPECT_EQ(31u, client.Write(0xE0010038, {1}));
    EXPECT_EQ(31u, client.Write(0x1000, {1}));
    EXPECT_EQ(6u, TakeMistakes().registersOutside);
}

TEST_F(Registers, AnEmptyWriteIsDone)
{
    BusClient client;
    EXPECT_EQ(0u, client.Write(client.Control() + 4, {}));
}

TEST_F(Registers, WritesAreLoggedInOrderWithWhatTheCameraSaw)
{
    BusClient client;
    const uint32_t control = client.Control();
    EXPECT_EQ(0u, client.Write(control + 0x14, {0x50, 6}));
    EXPECT_EQ(31u, client.Write(0x2000, {7}));
    EXPECT_EQ(1u, TakeMistakes().registersOutside);
    EXPECT_EQ(0u, client.Write(client.Command() + 4, {1}));
    ZerixSimWrite writes[2] = {};
    uint32_t count = 2;
    ASSERT_EQ(0u, ZerixSim_TakeWrites(0, writes, &count));
    EXPECT_EQ(3u, count);
    EXPECT_EQ(control + 0x14, writes[0].address);
    EXPECT_EQ(0x50u, writes[0].value);
    EXPECT_EQ(control + 0x18, writes[1].address);
    EXPECT_EQ(6u, writes[1].value);
    ASSERT_EQ(0u, ZerixSim_TakeWrites(0, writes, &count));
    EXPECT_EQ(0u, count);
}

TEST_F(Registers, BlocksLieAtAddressesOfTheCamerasOwnChoosing)
{
    BusClient client;
    const uint32_t first = client.Information();
    client.Close();
    OneCamera("");
    Choose("[[camera]]\nmodel = 18\nserial = \"T-2\"\nunique-id = 9\nsensor = 6\n");
    BusClient other;
    EXPECT_NE(first, other.Information());
}

TEST_F(Registers, TheStatusTellsWhenTheTemperatureIsReached)
{
    BusClient client;
    EXPECT_EQ(0u, client.Word(client.Status() + 4));
    // 24.006 degrees, cooler on; nothing happens before the commit.
    EXPECT_EQ(0u, client.Write(client.Control() + 0x38, {3082u << 16 | 1}));
    int32_t before = 0;
    ASSERT_EQ(0u, ZerixSim_GetSensorTemperature(0, &before));
    EXPECT_EQ(25000, before);
    EXPECT_EQ(0u, client.Commit());
    EXPECT_EQ(0u, client.Word(client.Status() + 4));
    uint64_t reads = 0;
    while (client.Word(client.Status() + 4) != 3 && ++reads < 2'000'000)
        ;
    // From 0.9937 to half a degree takes ln 1.9874 = 0.6868 time constants of 30 s; an access takes
    // 125 us, and each round here makes two.
    EXPECT_NEAR(20.605 / 250e-6, static_cast<double>(reads), 200.0);
}

} // namespace
} // namespace zerix::test

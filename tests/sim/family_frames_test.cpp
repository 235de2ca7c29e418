// What every camera of the family sends of the scene "positions", byte by byte: the oldest packets
// in groups, two fields, the far corner, uneven binning, the wheel's colours.
#include <functional>
#include <string>

#include "bus_fixture.h"

namespace zerix::test {
namespace {

class FamilyFrames : public BusTest {
protected:
    void See(const std::string &rack, uint32_t camera)
    {
        ASSERT_EQ(0U, ZerixSim_ChooseRack(rack.c_str())) << ZerixSim_LastErrorText();
        ASSERT_EQ(0U, ZerixSim_SetScene(camera, "positions"));
    }
};

uint32_t Level(uint32_t column, uint32_t row, uint32_t filter = 0)
{
    return (1031 * column + 389 * row + 16384 * filter) % 65536;
}

using LevelAt = std::function<uint32_t(uint32_t x, uint32_t y)>;

// Low byte first; one byte a pixel for a depth of 8.
std::vector<uint8_t> Expected(uint32_t width, uint32_t height, uint32_t depth, const LevelAt &level)
{
    std::vector<uint8_t> bytes;
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            const uint32_t count = level(x, y) >> (16 - depth);
            bytes.push_back(static_cast<uint8_t>(count));
            if (depth > 8)
                bytes.push_back(static_cast<uint8_t>(count >> 8));
        }
    }
    return bytes;
}

struct Shot {
    uint32_t depthCode = 1;
    uint32_t binningWord = 0;
    uint32_t x = 0;
    uint32_t y = 0;
    uint32_t width = 64;
    uint32_t height = 48;
};

// Writes only what the control block of that camera has.
void Apply(BusClient &client, const Shot &shot)
{
    const uint32_t control = client.Control();
    const uint32_t version = client.Word(control);
    EXPECT_EQ(0U, client.Write(control + 0x04, {0x09000000U | shot.depthCode << 3 | 4U}));
    EXPECT_EQ(0U, client.Write(control + 0x08, {shot.binningWord}));
    EXPECT_EQ(0U, client.Write(control + 0x0C, {shot.width << 16 | shot.height}));
    EXPECT_EQ(0U, client.Write(control + 0x10, {shot.x << 16 | shot.y}));
    if (version >> 16 == 1) {
        EXPECT_EQ(0U, client.Write(control + 0x18, {1000})); // microseconds
    } else {
        EXPECT_EQ(0U, client.Write(control + 0x3C, {1'000'000}));
    }
    if (version >= 0x20003) {
        EXPECT_EQ(0U, client.Write(control + 0x50, {1000}));
    }
    EXPECT_EQ(0U, client.Commit());
}

// The pixels of a frame of groups, whose first packet tells how many bytes a group has.
std::vector<uint8_t> GroupedPixels(BusClient &client, size_t size)
{
    std::vector<uint8_t> pixels;
    size_t groupBytes = 0;
    while (pixels.size() < size) {
        const auto packet = client.NextDataPacket();
        if (!packet || packet->bytes.size() < 22)
            return {};
        const auto &bytes = packet->bytes;
        if (pixels.empty())
            groupBytes = static_cast<size_t>(bytes[20]) << 8 | bytes[21];
        const size_t count = std::min(groupBytes, size - pixels.size());
        pixels.insert(pixels.end(), bytes.begin() + 22,
                      bytes.begin() + 22 + static_cast<std::ptrdiff_t>(count));
    }
    return pixels;
}

// Puts the lines of two fields back in order.
std::vector<uint8_t> InterlacedPixels(BusClient &client, size_t size, size_t lineBytes)
{
    std::vector<uint8_t> pixels(size);
    for (const size_t field : {size_t{0}, size_t{1}}) {
        const auto half = client.NextFrame(static_cast<uint32_t>(size / 2));
        if (!half)
            return {};
        for (size_t line = 0; line < size / lineBytes / 2; ++line)
            std::copy_n(
                half->pixels.begin() + static_cast<std::ptrdiff_t>(line * lineBytes), lineBytes,
                pixels.begin() + static_cast<std::ptrdiff_t>((2 * line + field) * lineBytes));
    }
    return pixels;
}

enum class Sending : uint8_t { kGroups, kPositioned, kFields };

std::vector<uint8_t> Take(uint32_t camera, const Shot &shot, uint32_t depth, Sending sending)
{
    BusClient client(camera);
    EXPECT_EQ(0U, client.Connect(1012, kernel::kSpeedFlag400));
    Apply(client, shot);
    EXPECT_EQ(0U, ZerixSim_GiveCredit(camera, 1));
    client.Start(8);
    const size_t lineBytes = shot.width * (depth > 8 ? size_t{2} : size_t{1});
    const size_t size = lineBytes * shot.height;
    std::vector<uint8_t> pixels;
    if (sending == Sending::kGroups)
        pixels = GroupedPixels(client, size);
    else if (sending == Sending::kFields)
        pixels = InterlacedPixels(client, size, lineBytes);
    else
        pixels = client.NextFrame(static_cast<uint32_t>(size)).value_or(Frame{}).pixels;
    EXPECT_EQ(0U, client.Stop());
    return pixels;
}

struct Camera {
    const char *rack;
    uint32_t place;
    uint32_t depth; // of code 1
    Sending sending;
};

constexpr Camera kCameras[] = {
    {"family-1", 0, 12, Sending::kGroups},     {"family-1", 1, 12, Sending::kPositioned},
    {"family-1", 2, 12, Sending::kGroups},     {"family-1", 3, 10, Sending::kPositioned},
    {"family-1", 4, 12, Sending::kFields},     {"family-1", 5, 12, Sending::kFields},
    {"family-1", 6, 12, Sending::kPositioned}, {"family-1", 7, 10, Sending::kPositioned},
    {"family-1", 8, 12, Sending::kPositioned}, {"family-1", 9, 14, Sending::kPositioned},
    {"family-2", 0, 12, Sending::kPositioned}, {"family-2", 1, 12, Sending::kPositioned},
    {"family-2", 3, 16, Sending::kPositioned}, {"family-2", 4, 14, Sending::kPositioned},
    {"family-2", 5, 12, Sending::kPositioned}, {"family-2", 6, 14, Sending::kPositioned},
    {"family-2", 7, 14, Sending::kPositioned}, {"family-3", 0, 14, Sending::kPositioned},
    {"family-3", 1, 14, Sending::kPositioned}, {"family-3", 2, 14, Sending::kPositioned},
    {"family-3", 3, 12, Sending::kPositioned}, {"family-3", 4, 14, Sending::kPositioned},
    {"family-3", 5, 14, Sending::kPositioned}, {"family-3", 6, 16, Sending::kPositioned},
    {"family-3", 7, 12, Sending::kPositioned}, {"family-3", 8, 16, Sending::kGroups},
    {"family-3", 9, 12, Sending::kPositioned},
};

// All but the one that reads from the far corner and has a test of its own.
TEST_F(FamilyFrames, EveryCameraSendsItsPlace)
{
    for (const Camera &camera : kCameras) {
        SCOPED_TRACE(std::string(camera.rack) + " " + std::to_string(camera.place));
        See(camera.rack, camera.place);
        const Shot shot{.x = 300, .y = 6};
        const auto level = [](uint32_t x, uint32_t y) { return Level(300 + x, 6 + y); };
        EXPECT_EQ(Take(camera.place, shot, camera.depth, camera.sending),
                  Expected(64, 48, camera.depth, level));
    }
}

TEST_F(FamilyFrames, EveryCameraButTheSpectrometersSendsEightBits)
{
    for (const Camera &camera : kCameras) {
        if (camera.rack == std::string("family-3") && camera.place == 8)
            continue; // its pixels are words always
        SCOPED_TRACE(std::string(camera.rack) + " " + std::to_string(camera.place));
        See(camera.rack, camera.place);
        const Shot shot{.depthCode = 0, .height = 16};
        EXPECT_EQ(Take(camera.place, shot, 8, camera.sending),
                  Expected(64, 16, 8, [](auto x, auto y) { return Level(x, y); }));
    }
}

TEST_F(FamilyFrames, AstrelE1ReadsFromTheFarCorner)
{
    See("family-2", 2);
    const auto level = [](uint32_t x, uint32_t y) { return Level(999 - 100 - x, 999 - 200 - y); };
    EXPECT_EQ(Take(2, {.x = 100, .y = 200}, 12, Sending::kPositioned), Expected(64, 48, 12, level));
}

// The mean of a bin's pixels; black where the bin sticks out of the sensor.
uint32_t MeanLevel(uint32_t x, uint32_t y, uint32_t columns, uint32_t rows, uint32_t sensorRows)
{
    uint64_t sum = 0;
    for (uint32_t row = y * rows; row < (y + 1) * rows && row < sensorRows; ++row)
        for (uint32_t column = x * columns; column < (x + 1) * columns; ++column)
            sum += Level(column, row);
    return static_cast<uint32_t>(sum / (uint64_t{columns} * rows));
}

TEST_F(FamilyFrames, Mt1BinsUpTo64RowsApartFromItsColumns)
{
    constexpr uint32_t kModes[][2] = {{1, 1}, {2, 1}, {1, 2}, {3, 5}, {4, 29}, {1, 58}, {4, 64}};
    for (const auto &mode : kModes) {
        const uint32_t columns = mode[0];
        const uint32_t rows = mode[1];
        SCOPED_TRACE(testing::Message() << columns << " x " << rows);
        See("family-3", 8);
        const uint32_t height = std::max(58 / rows, 1U);
        const uint32_t width = 1024 / columns;
        const Shot shot{
            .binningWord = (columns - 1) << 16 | (rows - 1) << 8, .width = width, .height = height};
        EXPECT_EQ(Take(8, shot, 16, Sending::kGroups),
                  Expected(width, height, 16, [&](uint32_t x, uint32_t y) {
                      return MeanLevel(x, y, columns, rows, 58);
                  }));
    }
}

// Of 2048 columns one pair of rows in six is sent, of 2560 columns one in eight; and with vertical
// binning one in as many.
TEST_F(FamilyFrames, ABenchmateLeavesRowPairsOut)
{
    const struct {
        uint32_t place;
        uint32_t binningWord;
        uint32_t pairs;
        Sending sending;
    } kModes[] = {{4, 4, 6, Sending::kPositioned},
                  {5, 4, 8, Sending::kPositioned},
                  {4, 0x10101, 2, Sending::kFields},
                  {4, 0x20202, 3, Sending::kFields},
                  {5, 0x30303, 4, Sending::kFields}};
    for (const auto &mode : kModes) {
        SCOPED_TRACE(testing::Message() << mode.place << " " << mode.pairs);
        See("family-1", mode.place);
        const auto level = [&](uint32_t x, uint32_t y) {
            return Level(x, y / 2 * 2 * mode.pairs + y % 2);
        };
        EXPECT_EQ(Take(mode.place, {.binningWord = mode.binningWord}, 12, mode.sending),
                  Expected(64, 48, 12, level));
    }
}

// From black, where the wheel waits, to the first colour, then round: 80 ms from place to place and
// 80 ms until it is at rest, as the camera's own word says. Exposures of 1, 2 and 4 ms.
TEST_F(FamilyFrames, TheWheelTurnsByItsDelays)
{
    const struct {
        uint32_t start;
        uint8_t colours[4];
        uint32_t turns[4]; // milliseconds before each exposure
    } kCycles[] = {{0, {0, 1, 3, 0}, {240, 160, 240, 160}},
                   {1, {1, 3, 0, 1}, {320, 240, 160, 160}},
                   {3, {3, 0, 1, 3}, {160, 160, 160, 240}},
                   {2, {2, 3, 0, 1}, {0, 160, 160, 160}}};
    for (const auto &cycle : kCycles) {
        SCOPED_TRACE(cycle.start);
        See("family-2", 4);
        BusClient client(4);
        ASSERT_EQ(0U, client.Connect());
        const uint32_t control = client.Control();
        const uint32_t delays = client.Word(client.Information() + 0x24);
        EXPECT_EQ(delays, 80U << 16 | 80U);
        EXPECT_EQ(0U, client.Write(control + 0x34, {delays | 1})); // bit 0 is the double shot's
        EXPECT_EQ(0U, client.Write(control + 0x3C, {1'000'000, 2'000'000, 4'000'000}));
        EXPECT_EQ(0U, client.Write(control + 0x04, {4}));
        EXPECT_EQ(0U, client.Write(control + 0x0C, {8U << 16 | 4U}));
        EXPECT_EQ(0U, client.Write(control + 0x30, {0x11U | cycle.start << 8}));
        EXPECT_EQ(0U, client.Commit());
        ASSERT_EQ(0U, ZerixSim_GiveCredit(4, 0));
        client.Start(8);
        for (uint16_t number = 0; number < 4; ++number) {
            uint64_t before = 0;
            ASSERT_EQ(0U, ZerixSim_GetTime(&before));
            ASSERT_EQ(0U, ZerixSim_GiveCredit(4, 1));
            const auto frame = client.NextFrame(32);
            ASSERT_TRUE(frame);
            const uint8_t colour = cycle.colours[number];
            EXPECT_EQ(frame->header.colour, colour);
            const uint32_t filter = colour == 3 ? 3 : colour + 1U;
            EXPECT_EQ(frame->pixels, Expected(8, 4, 8, [&](auto x, auto y) {
                          return colour == 2 ? 0 : Level(x, y, filter);
                      }));
            uint64_t began = 0;
            ASSERT_EQ(0U, ZerixSim_GetFrameTime(4, number, &began));
            EXPECT_EQ(began - before, cycle.turns[number] * 1'000'000ULL);
        }
        EXPECT_EQ(0U, client.Stop());
    }
}

} // namespace
} // namespace zerix::test

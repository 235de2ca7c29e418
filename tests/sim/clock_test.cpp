// The two clocks, credit, triggers, and that nothing depends on how threads run.
#include <chrono>
#include <thread>

#include "bus_fixture.h"

namespace zerix::test {
namespace {

using Clock = BusTest;
constexpr uint32_t kFrameBytes = 64 * 48 * 2;
constexpr uint64_t kStart = 1'104'537'600'000'000'000;

uint64_t Now()
{
    uint64_t now = 0;
    EXPECT_EQ(0u, ZerixSim_GetTime(&now));
    return now;
}

uint64_t FrameTime(uint16_t number)
{
    uint64_t time = 0;
    EXPECT_EQ(0u, ZerixSim_GetFrameTime(0, number, &time));
    return time;
}

TEST_F(Clock, TheFastClockBeginsAtAFixedDateAndMovesByAccesses)
{
    uint32_t fast = 0;
    EXPECT_EQ(0u, ZerixSim_IsFastClock(&fast));
    EXPECT_EQ(1u, fast);
    EXPECT_EQ(kStart, Now());
    BusClient client;
    EXPECT_EQ(kStart, Now());
    client.Word(0xD0000000);
    EXPECT_EQ(kStart + 125'000, Now());
}

TEST_F(Clock, TheFastClockMovesByExposuresAndReadoutButNotByIdleSlots)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    client.Apply({.exposureNanoseconds = 2'000'000'000});
    ASSERT_EQ(0u, ZerixSim_GiveCredit(0, 2));
    client.Start(8);
    ASSERT_TRUE(client.NextFrame(kFrameBytes));
    ASSERT_TRUE(client.NextFrame(kFrameBytes));
    for (int i = 0; i < 3; ++i)
        client.NextBuffer();
    // Two seconds, then seven slots of 125 us, which take longer than 3072 pixels at 20 MHz.
    EXPECT_EQ(2'000'875'000u, FrameTime(1) - FrameTime(0));
    EXPECT_EQ(FrameTime(1) + 2'000'875'000u, Now());
    EXPECT_EQ(0u, client.Stop());
}

TEST_F(Clock, ASlowReadoutTakesItsTime)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    client.Apply({.rateCode = 3, .exposureNanoseconds = 0}); // 2.5 MHz
    ASSERT_EQ(0u, ZerixSim_GiveCredit(0, 2));
    client.Start(8);
    ASSERT_TRUE(client.NextFrame(kFrameBytes));
    ASSERT_TRUE(client.NextFrame(kFrameBytes));
    EXPECT_EQ(3072u * 400, FrameTime(1) - FrameTime(0));
    EXPECT_EQ(0u, client.Stop());
}

TEST_F(Clock, CreditLimitsTheFramesThatBegin)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    client.Apply({});
    ASSERT_EQ(0u, ZerixSim_GiveCredit(0, 3));
    client.Start(8);
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(client.NextFrame(kFrameBytes));
    for (int i = 0; i < 4; ++i)
        client.NextBuffer();
    uint64_t time = 0;
    EXPECT_EQ(7u, ZerixSim_GetFrameTime(0, 3, &time));
    ASSERT_EQ(0u, ZerixSim_GiveCredit(0, 1));
    const auto frame = client.NextFrame(kFrameBytes);
    ASSERT_TRUE(frame);
    EXPECT_EQ(3, frame->header.rollingNumber);
    ASSERT_EQ(0u, ZerixSim_GiveCredit(0, ZERIX_SIM_UNLIMITED));
    for (int i = 0; i < 20; ++i)
        ASSERT_TRUE(client.NextFrame(kFrameBytes));
    EXPECT_EQ(0u, client.Stop());
}

TEST_F(Clock, CreditPerStreamIsGivenAnewWithEachStream)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    client.Apply({});
    EXPECT_EQ(2u, ZerixSim_GiveCreditPerStream(99, 2));
    ASSERT_EQ(0u, ZerixSim_GiveCreditPerStream(0, 2));
    uint64_t time = 0;
    for (const uint16_t first : {uint16_t{0}, uint16_t{2}}) {
        client.Start(8);
        for (int i = 0; i < 2; ++i)
            ASSERT_TRUE(client.NextFrame(kFrameBytes));
        for (int i = 0; i < 4; ++i)
            client.NextBuffer();
        EXPECT_EQ(0u, ZerixSim_GetFrameTime(0, static_cast<uint16_t>(first + 1), &time));
        EXPECT_EQ(7u, ZerixSim_GetFrameTime(0, static_cast<uint16_t>(first + 2), &time));
        EXPECT_EQ(0u, client.Stop());
    }
    ASSERT_EQ(0u, ZerixSim_GiveCreditPerStream(0, ZERIX_SIM_UNLIMITED));
    client.Start(8);
    for (int i = 0; i < 20; ++i)
        ASSERT_TRUE(client.NextFrame(kFrameBytes));
    EXPECT_EQ(0u, client.Stop());
}

TEST_F(Clock, FrameTimesAreRememberedFor256Frames)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    client.Apply({.width = 8, .height = 4, .exposureNanoseconds = 1000});
    ASSERT_EQ(0u, ZerixSim_GiveCredit(0, 258));
    client.Start(60);
    for (int i = 0; i < 258; ++i)
        ASSERT_TRUE(client.NextFrame(8 * 4 * 2));
    uint64_t time = 0;
    EXPECT_EQ(7u, ZerixSim_GetFrameTime(0, 1, &time));
    EXPECT_EQ(0u, ZerixSim_GetFrameTime(0, 2, &time));
    EXPECT_EQ(0u, ZerixSim_GetFrameTime(0, 257, &time));
    EXPECT_EQ(0u, client.Stop());
}

// All that a run gives: the bytes and times of its frames.
struct Outcome {
    std::vector<std::vector<uint8_t>> frames;
    std::vector<uint64_t> times;
    bool operator==(const Outcome &) const = default;
};

// `slowly` takes buffers with pauses in between, so that the camera waits for them.
Outcome RunOnce(bool slowly)
{
    Outcome run;
    BusClient client;
    EXPECT_EQ(0u, client.Connect());
    uint16_t number = 0;
    for (uint8_t tag : {uint8_t{3}, uint8_t{4}}) {
        client.Apply({.tag = tag, .exposureNanoseconds = 50'000'000ull * tag});
        EXPECT_EQ(0u, ZerixSim_GiveCredit(0, 3));
        client.Start(4);
        for (int i = 0; i < 3; ++i) {
            if (slowly)
                std::this_thread::sleep_for(std::chrono::milliseconds(i * 5));
            const auto frame = client.NextFrame(kFrameBytes);
            run.frames.push_back(frame ? frame->pixels : std::vector<uint8_t>());
            run.times.push_back(FrameTime(number++));
        }
        EXPECT_EQ(0u, client.Stop());
    }
    return run;
}

TEST_F(Clock, WithCreditBytesAndTimesAreTheSameInEveryRun)
{
    OneCamera("scene = \"flat:2000\"\n");
    const Outcome first = RunOnce(false);
    EXPECT_EQ(6u, first.frames.size());
    EXPECT_NE(first.frames[0], first.frames[1]); // noise
    for (int i = 0; i < 5; ++i) {
        OneCamera("scene = \"flat:2000\"\n");
        EXPECT_EQ(first, RunOnce(i % 2 == 0));
    }
}

TEST_F(Clock, AnotherSeedGivesOtherBytes)
{
    OneCamera("scene = \"flat\"\n");
    const Outcome first = RunOnce(false);
    OneCamera("scene = \"flat\"\n", "seed = 6\n");
    EXPECT_NE(first.frames, RunOnce(false).frames);
}

TEST_F(Clock, ACommitBringsTheNewTagAndOldFramesKeepTheOldOne)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    client.Apply({.tag = 1});
    ASSERT_EQ(0u, ZerixSim_GiveCredit(0, 1));
    client.Start(8);
    auto frame = client.NextFrame(kFrameBytes);
    ASSERT_TRUE(frame);
    EXPECT_EQ(1, frame->header.tag);
    // Staged only: the frame that begins now is one of the old settings.
    EXPECT_EQ(0u, client.Write(client.Control() + 4, {2u << 24 | 1u << 3 | 4}));
    ASSERT_EQ(0u, ZerixSim_GiveCredit(0, 1));
    frame = client.NextFrame(kFrameBytes);
    ASSERT_TRUE(frame);
    EXPECT_EQ(1, frame->header.tag);
    EXPECT_EQ(0u, client.Commit());
    ASSERT_EQ(0u, ZerixSim_GiveCredit(0, 1));
    frame = client.NextFrame(kFrameBytes);
    ASSERT_TRUE(frame);
    EXPECT_EQ(2, frame->header.tag);
    EXPECT_EQ(0u, client.Stop());
}

TEST_F(Clock, OnTheWallClockACommitAbandonsARunningExposure)
{
    OneCamera("", "clock = \"real\"\n");
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    client.Apply({.tag = 1, .exposureNanoseconds = 3600'000'000'000});
    ASSERT_EQ(0u, ZerixSim_GiveCredit(0, 1));
    client.Start(8);
    client.NextBuffer();
    client.Apply({.tag = 2, .exposureNanoseconds = 1'000'000});
    const auto frame = client.NextFrame(kFrameBytes);
    ASSERT_TRUE(frame);
    EXPECT_EQ(2, frame->header.tag);
    EXPECT_EQ(0, frame->header.rollingNumber);
    EXPECT_EQ(0u, client.Stop());
}

TEST_F(Clock, TheWallClockPacesExposures)
{
    OneCamera("", "clock = \"real\"\n");
    uint32_t fast = 1;
    EXPECT_EQ(0u, ZerixSim_IsFastClock(&fast));
    EXPECT_EQ(0u, fast);
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    client.Apply({.exposureNanoseconds = 60'000'000});
    const auto before = std::chrono::steady_clock::now();
    const uint64_t busBefore = Now();
    client.Start(60);
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(client.NextFrame(kFrameBytes));
    const auto passed = std::chrono::steady_clock::now() - before;
    EXPECT_GE(passed, std::chrono::milliseconds(180));
    EXPECT_GE(Now() - busBefore, 180'000'000u);
    EXPECT_GE(FrameTime(1) - FrameTime(0), 60'000'000u);
    EXPECT_GE(FrameTime(0), busBefore);
    EXPECT_EQ(0u, client.Stop());
}

TEST_F(Clock, IdleSlotsRunAtRealPace)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    client.Apply({});
    ASSERT_EQ(0u, ZerixSim_GiveCredit(0, 0));
    const auto before = std::chrono::steady_clock::now();
    client.Start(60);
    for (int i = 0; i < 16; ++i)
        ASSERT_TRUE(client.NextBuffer());
    // Sixteen buffers of thirty slots of 125 us.
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::microseconds(16 * 3750));
    EXPECT_EQ(0u, client.Stop());
}

TEST_F(Clock, HardwareTriggersGiveOneExposureAPulse)
{
    for (const uint32_t code : {2u, 3u, 5u, 2u | 1u << 8}) {
        OneCamera();
        BusClient client;
        ASSERT_EQ(0u, client.Connect());
        client.Apply({.triggerCode = code});
        EXPECT_EQ(0u, ZerixSim_FireTrigger(0)); // nobody is streaming: the pulse is not seen
        client.Start(8);
        EXPECT_EQ(0u, client.Write(client.Command() + 8, {1})); // the wrong kind of trigger
        EXPECT_EQ(0u, ZerixSim_FireTrigger(0));
        EXPECT_EQ(0u, ZerixSim_FireTrigger(0));
        for (int i = 0; i < 2; ++i)
            ASSERT_TRUE(client.NextFrame(kFrameBytes));
        for (int i = 0; i < 3; ++i)
            client.NextBuffer();
        uint64_t time = 0;
        EXPECT_EQ(7u, ZerixSim_GetFrameTime(0, 2, &time));
        EXPECT_EQ(0u, client.Stop());
    }
}

TEST_F(Clock, TheSoftwareTriggerIsACommand)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    client.Apply({.triggerCode = 1});
    client.Start(8);
    EXPECT_EQ(0u, ZerixSim_FireTrigger(0));
    EXPECT_EQ(0u, client.Write(client.Command() + 8, {1}));
    ASSERT_TRUE(client.NextFrame(kFrameBytes));
    for (int i = 0; i < 3; ++i)
        client.NextBuffer();
    uint64_t time = 0;
    EXPECT_EQ(7u, ZerixSim_GetFrameTime(0, 1, &time));
    EXPECT_EQ(0u, client.Stop());
}

TEST_F(Clock, ATriggeredExposureBeginsAfterTheTriggerDelay)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    EXPECT_EQ(0u, client.Write(client.Control() + 0x4C, {7'000'000}));
    client.Apply({.triggerCode = 2});
    client.Start(8);
    const uint64_t before = Now();
    EXPECT_EQ(0u, ZerixSim_FireTrigger(0));
    ASSERT_TRUE(client.NextFrame(kFrameBytes));
    EXPECT_EQ(before + 7'000'000, FrameTime(0));
    EXPECT_EQ(0u, client.Stop());
}

TEST_F(Clock, ADoubleShotGivesTwoExposuresAPulse)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    EXPECT_EQ(0u, client.Write(client.Control() + 0x34, {1}));
    client.Apply({.triggerCode = 4});
    client.Start(8);
    EXPECT_EQ(0u, ZerixSim_FireTrigger(0));
    ASSERT_TRUE(client.NextFrame(kFrameBytes));
    ASSERT_TRUE(client.NextFrame(kFrameBytes));
    EXPECT_EQ(0u, client.Stop());
}

uint32_t PulsesOfSyncB()
{
    uint32_t pulses = 0;
    uint64_t nanoseconds = 0;
    EXPECT_EQ(0u, ZerixSim_GetSyncB(0, &pulses, &nanoseconds));
    return pulses;
}

// The first of two exposures would be followed by the second before the next pulse's.
TEST_F(Clock, WithoutItsModeBitADoubleShotIsASingleOne)
{
    BusClient client;
    ASSERT_EQ(0u, client.Connect());
    client.Apply({.triggerCode = 4});
    client.Start(8);
    for (uint16_t number : {uint16_t{0}, uint16_t{1}}) {
        EXPECT_EQ(0u, ZerixSim_FireTrigger(0));
        const auto frame = client.NextFrame(kFrameBytes);
        ASSERT_TRUE(frame);
        EXPECT_EQ(number, frame->header.rollingNumber);
        EXPECT_EQ(number + 1u, PulsesOfSyncB());
    }
    EXPECT_EQ(0u, client.Stop());
}

// A line that goes up and stays there triggers one polarity, and going down the other; the camera
// has seen no more edges than frames.
TEST_F(Clock, TheTriggersPolarityIsTheEdgeThatCounts)
{
    for (const uint32_t falls : {0u, 1u}) {
        SCOPED_TRACE(falls);
        OneCamera();
        BusClient client;
        ASSERT_EQ(0u, client.Connect());
        client.Apply({.triggerCode = 2 | falls << 8});
        client.Start(8);
        const uint64_t before = Now();
        EXPECT_EQ(0u, ZerixSim_SetTriggerLine(0, 1));
        EXPECT_EQ(0u, ZerixSim_SetTriggerLine(0, 1)); // no edge
        if (falls != 0) {
            EXPECT_EQ(before, Now()); // nothing is exposed
            EXPECT_EQ(0u, ZerixSim_SetTriggerLine(0, 0));
        }
        ASSERT_TRUE(client.NextFrame(kFrameBytes));
        EXPECT_EQ(0u, ZerixSim_SetTriggerLine(0, falls != 0 ? 1 : 0)); // the other edge
        EXPECT_EQ(0u, ZerixSim_FireTrigger(0));
        ASSERT_TRUE(client.NextFrame(kFrameBytes));
        EXPECT_EQ(2u, PulsesOfSyncB());
        EXPECT_EQ(0u, client.Stop());
    }
}

TEST_F(Clock, TwoCamerasKeepTimesOfTheirOwn)
{
    Choose("[[camera]]\nmodel = 18\nscene = \"position\"\n[[camera]]\nmodel = 18\nscene = "
           "\"position\"\n");
    BusClient first(0);
    BusClient second(1);
    for (BusClient *client : {&first, &second}) {
        ASSERT_EQ(0u, client->Connect());
        client->Apply({});
    }
    for (uint32_t camera : {0u, 1u})
        ASSERT_EQ(0u, ZerixSim_GiveCredit(camera, 2));
    first.Start(4);
    second.Start(4);
    for (BusClient *client : {&first, &second})
        for (int i = 0; i < 2; ++i)
            ASSERT_TRUE(client->NextFrame(kFrameBytes));
    uint64_t times[2] = {};
    for (uint32_t camera : {0u, 1u})
        ASSERT_EQ(0u, ZerixSim_GetFrameTime(camera, 1, &times[camera]));
    EXPECT_EQ(times[0], times[1]);
    EXPECT_EQ(0u, first.Stop());
    EXPECT_EQ(0u, second.Stop());
}

} // namespace
} // namespace zerix::test

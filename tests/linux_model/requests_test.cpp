// Asynchronous requests and their answers.
#include <array>
#include <cerrno>
#include <thread>

#include "tests/linux_model/process_fixture.h"

namespace zerix::linux_model {
namespace {

using namespace std::chrono_literals;

class Requests : public ProcessTest {
protected:
    void OpenCamera(const std::string &lines = "", const ModelOptions &options = {})
    {
        Boot(lines, "", options);
        camera = OpenFile("/dev/fw1");
    }
    void TearDown() override
    {
        if (camera >= 0)
            Close(camera);
        ProcessTest::TearDown();
    }
    uint32_t RcodeOf(uint32_t tcode, uint64_t offset, uint32_t length, const void *data = nullptr)
    {
        EXPECT_EQ(Send(camera, tcode, offset, length, 5, data), 0);
        return Rcode(NextEvent(camera));
    }
    // Until the transaction is with the camera: it has nothing else to do then.
    void AwaitHanging()
    {
        const int other = OpenFile("/dev/fw2");
        EXPECT_EQ(Send(other, TCODE_READ_QUADLET_REQUEST, kModelRegister, 4, 1), 0);
        NextEvent(other);
        Close(other);
    }

    int camera = -1;
};

// The data twice: where the record's padding is, and after it.
TEST_F(Requests, ReadAQuadletIn28Bytes)
{
    for (const char *reads : {"pending", "immediate"}) {
        OpenCamera("reads = \"" + std::string(reads) + "\"\n");
        EXPECT_EQ(Send(camera, TCODE_READ_QUADLET_REQUEST, kModelRegister, 4, 0x1234567890), 0);
        const Bytes event = NextEvent(camera);
        ASSERT_EQ(event.size(), 28u);
        EXPECT_EQ(Closure(event), 0x1234567890u);
        EXPECT_EQ(Type(event), 1u);
        EXPECT_EQ(Rcode(event), 0u);
        EXPECT_EQ(Length(event), 4u);
        EXPECT_EQ(BigEndianWord(event, 20), 0x00120000u);
        EXPECT_EQ(BigEndianWord(event, 24), 0x00120000u);
        Close(camera);
        camera = -1;
    }
}

// The directory of the registers' blocks: its version first.
TEST_F(Requests, ReadABlockInTwentyFourBytesMore)
{
    for (const char *reads : {"pending", "immediate"}) {
        OpenCamera("reads = \"" + std::string(reads) + "\"\n");
        EXPECT_EQ(Send(camera, TCODE_READ_BLOCK_REQUEST, 0xFFFFD0000000, 44, 1), 0);
        const Bytes event = NextEvent(camera);
        ASSERT_EQ(event.size(), 68u);
        EXPECT_EQ(Length(event), 44u);
        EXPECT_EQ(BigEndianWord(event, 20), 0x00010001u);
        Close(camera);
        camera = -1;
    }
}

TEST_F(Requests, WriteWhatIsReadAfterwards)
{
    OpenCamera();
    EXPECT_EQ(Send(camera, TCODE_READ_QUADLET_REQUEST, 0xFFFFD0000010, 4, 1), 0);
    const uint64_t control = 0xFFFF00000000 + BigEndianWord(NextEvent(camera), 20);
    const std::array<uint8_t, 4> width = {0, 0, 0, 64};
    uint32_t cleared = 0;
    ZerixSim_TakeWrites(0, nullptr, &cleared);
    EXPECT_EQ(Send(camera, TCODE_WRITE_QUADLET_REQUEST, control + 8, 4, 9, width.data()), 0);
    const Bytes event = NextEvent(camera);
    EXPECT_EQ(event.size(), 24u);
    EXPECT_EQ(Closure(event), 9u);
    EXPECT_EQ(Rcode(event), 0u);
    EXPECT_EQ(Length(event), 0u);
    ZerixSimWrite write{};
    uint32_t count = 1;
    ASSERT_EQ(ZerixSim_TakeWrites(0, &write, &count), 0u);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(write.value, 64u);
    EXPECT_EQ(RcodeOf(TCODE_WRITE_BLOCK_REQUEST, control + 8, 4, width.data()), 0u);
    ZerixSimMistakes mistakes{};
    ZerixSim_TakeMistakes(&mistakes);
}

TEST_F(Requests, ReadTheRomOfAnyNode)
{
    OpenCamera();
    EXPECT_EQ(Send(camera, TCODE_READ_QUADLET_REQUEST, 0xFFFFF000040C, 4, 1), 0);
    EXPECT_EQ(BigEndianWord(NextEvent(camera), 20), 0x00A1B2C3u);
    EXPECT_EQ(RcodeOf(TCODE_READ_QUADLET_REQUEST, 0xFFFFF0000500, 4), 7u);
    const int local = OpenFile("/dev/fw0");
    EXPECT_EQ(Send(local, TCODE_READ_QUADLET_REQUEST, 0xFFFFF0000404, 4, 1), 0);
    EXPECT_EQ(BigEndianWord(NextEvent(local), 20), 0x31333934u);
    EXPECT_EQ(Send(local, TCODE_READ_QUADLET_REQUEST, kModelRegister, 4, 1), 0);
    EXPECT_EQ(Rcode(NextEvent(local)), 7u);
    Close(local);
}

TEST_F(Requests, AreRefusedAtOnceOverTheBusesLimits)
{
    OpenCamera();
    EXPECT_EQ(Send(camera, TCODE_READ_BLOCK_REQUEST, kModelRegister, 4097, 1), -EIO);
    EXPECT_EQ(Send(camera, TCODE_WRITE_QUADLET_REQUEST, kModelRegister, 3, 1), -EINVAL);
    EXPECT_EQ(Send(camera, TCODE_STREAM_DATA, kModelRegister, 4, 1), -EINVAL);
    EXPECT_EQ(Polled(camera), 0);
}

TEST_F(Requests, AreRefusedAtOnceOverTheSpeedsLimit)
{
    Boot("", "speed = 400\n");
    camera = OpenFile("/dev/fw1");
    EXPECT_EQ(Send(camera, TCODE_READ_BLOCK_REQUEST, kModelRegister, 2052, 1), -EIO);
}

// A camera takes 2^(max_rec + 1) bytes in one block.
TEST_F(Requests, AreRefusedByACameraOverItsLimit)
{
    OpenCamera("", {.maxRec = 4});
    EXPECT_EQ(RcodeOf(TCODE_READ_BLOCK_REQUEST, 0xFFFFD0000000, 32), 0u);
    EXPECT_EQ(RcodeOf(TCODE_READ_BLOCK_REQUEST, 0xFFFFD0000000, 36), 6u);
}

TEST_F(Requests, MayFindNoBlockReads)
{
    OpenCamera("", {.refusesBlockReads = true});
    EXPECT_EQ(RcodeOf(TCODE_READ_BLOCK_REQUEST, 0xFFFFD0000000, 8), 6u);
    EXPECT_EQ(RcodeOf(TCODE_READ_QUADLET_REQUEST, 0xFFFFD0000000, 4), 0u);
}

TEST_F(Requests, EndInRcodesNotInErrors)
{
    OpenCamera("faults = [\"read error 31 at read 1\", \"read error 170 at read 2\"]\n");
    EXPECT_EQ(RcodeOf(TCODE_READ_QUADLET_REQUEST, kModelRegister, 4), 7u);
    EXPECT_EQ(RcodeOf(TCODE_READ_QUADLET_REQUEST, kModelRegister, 4), 4u);
    EXPECT_EQ(RcodeOf(TCODE_READ_QUADLET_REQUEST, 0x000012345678, 4), 7u);
    Model().AnswerNext(0x12, 2);
    EXPECT_EQ(RcodeOf(TCODE_READ_QUADLET_REQUEST, kModelRegister, 4), 0x12u);
    EXPECT_EQ(RcodeOf(TCODE_READ_QUADLET_REQUEST, kModelRegister, 4), 0x12u);
    EXPECT_EQ(RcodeOf(TCODE_READ_QUADLET_REQUEST, kModelRegister, 4), 0u);
}

TEST_F(Requests, OfAnOldGenerationComeBack)
{
    OpenCamera();
    const uint32_t old = Info(camera).generation;
    Model().ResetBus();
    NextEvent(camera);
    EXPECT_EQ(SendIn(camera, old, TCODE_READ_QUADLET_REQUEST, kModelRegister, 4, 1), 0);
    const Bytes event = NextEvent(camera);
    EXPECT_EQ(event.size(), 24u);
    EXPECT_EQ(Rcode(event), 0x13u);
    EXPECT_EQ(Length(event), 0u);
}

// The node's number is the file's, the generation the caller's: together they lead astray.
TEST_F(Requests, WithAStaleNumberReachAnotherNode)
{
    OpenCamera();
    const int alarm = OpenFile("/dev/fw0");
    ASSERT_EQ(ZerixSim_Unplug(0), 0u);
    Model().Look();
    const uint32_t now = Info(alarm).generation;
    // The other camera is number 0 now.
    EXPECT_EQ(SendIn(camera, now, TCODE_READ_QUADLET_REQUEST, 0xFFFFF0000410, 4, 1), 0);
    EXPECT_EQ(BigEndianWord(NextEvent(camera), 20), 0x00000019u);
    ASSERT_EQ(ZerixSim_Unplug(1), 0u);
    Model().Look();
    // And now the card.
    EXPECT_EQ(SendIn(camera, now + 1, TCODE_READ_QUADLET_REQUEST, kModelRegister, 4, 1), 0);
    EXPECT_EQ(Rcode(NextEvent(camera)), 7u);
    Close(alarm);
    ZerixSim_Plug(0);
    ZerixSim_Plug(1);
}

TEST_F(Requests, NoticeThatTheCameraHasGone)
{
    OpenCamera("faults = [\"unplug at read 1\"]\n");
    const int alarm = OpenFile("/dev/fw0");
    EXPECT_EQ(RcodeOf(TCODE_READ_QUADLET_REQUEST, kModelRegister, 4), 0x13u);
    EXPECT_EQ(Type(NextEvent(alarm)), 0u);
    Close(alarm);
    ZerixSim_Plug(0);
}

// It hangs, and the bus goes on: two seconds later its request is given up.
TEST_F(Requests, OfAHangingCameraAreGivenUpAfterTwoSeconds)
{
    OpenCamera("faults = [\"hang at read 1\"]\n");
    EXPECT_EQ(Send(camera, TCODE_READ_QUADLET_REQUEST, kModelRegister, 4, 1), 0);
    EXPECT_EQ(Send(camera, TCODE_READ_QUADLET_REQUEST, kModelRegister, 4, 2), 0);
    EXPECT_EQ(Closure(NextEvent(camera)), 2u);
    Model().Advance(1999ms);
    EXPECT_EQ(Polled(camera), 0);
    EXPECT_EQ(Model().WhatIsHeld().pendingTransactions, 1u);
    Model().Advance(1ms);
    const Bytes event = NextEvent(camera);
    EXPECT_EQ(event.size(), 24u);
    EXPECT_EQ(Closure(event), 1u);
    EXPECT_EQ(Rcode(event), 0x11u);
}

// What was acknowledged isn't ended by the reset.
TEST_F(Requests, ThatHangOutliveTheirCamera)
{
    OpenCamera("faults = [\"hang at read 1\"]\n");
    EXPECT_EQ(Send(camera, TCODE_READ_QUADLET_REQUEST, kModelRegister, 4, 1), 0);
    AwaitHanging();
    Model().Advance(1s);
    ASSERT_EQ(ZerixSim_Unplug(0), 0u);
    Model().Advance(999ms);
    EXPECT_EQ(Polled(camera), 0);
    Model().Advance(1ms);
    EXPECT_EQ(Rcode(NextEvent(camera)), 0x11u);
    EXPECT_EQ(Polled(camera), 0);
    Model().Advance(1s);
    EXPECT_EQ(Polled(camera), POLLHUP | POLLERR);
    ZerixSim_Plug(0);
}

TEST_F(Requests, AreSixtyFourInFlightAtMost)
{
    OpenCamera("faults = [\"hang at read 1 from then on\"]\n");
    for (uint64_t i = 1; i <= 64; ++i)
        EXPECT_EQ(Send(camera, TCODE_READ_QUADLET_REQUEST, kModelRegister, 4, i), 0);
    EXPECT_EQ(Polled(camera), 0);
    EXPECT_EQ(Send(camera, TCODE_READ_QUADLET_REQUEST, kModelRegister, 4, 65), 0);
    const Bytes event = NextEvent(camera);
    EXPECT_EQ(Closure(event), 65u);
    EXPECT_EQ(Rcode(event), 0x10u);
    while (Model().WhatIsHeld().pendingTransactions > 0)
        Model().Advance(1s);
    for (uint64_t i = 1; i <= 64; ++i)
        EXPECT_EQ(Rcode(NextEvent(camera)), 0x11u);
}

TEST_F(Requests, HoldUpTheCloseOfTheirFile)
{
    OpenCamera("faults = [\"hang at read 1\"]\n");
    EXPECT_EQ(Send(camera, TCODE_READ_QUADLET_REQUEST, kModelRegister, 4, 1), 0);
    AwaitHanging();
    EXPECT_EQ(Model().Lock(camera), 0);
    const int other = OpenFile("/dev/fw1");
    std::atomic<bool> isClosed = false;
    std::thread closing([&] {
        Close(camera);
        isClosed = true;
    });
    Model().Advance(1900ms);
    EXPECT_FALSE(isClosed);
    EXPECT_EQ(Model().IsLockedElsewhere(other), 1);
    Model().Advance(200ms);
    closing.join();
    EXPECT_EQ(Model().IsLockedElsewhere(other), 0);
    Close(other);
    camera = -1;
}

TEST_F(Requests, LoseWhatTheReaderHasNoRoomFor)
{
    OpenCamera();
    EXPECT_EQ(Send(camera, TCODE_READ_QUADLET_REQUEST, kModelRegister, 4, 1), 0);
    EXPECT_EQ(Send(camera, TCODE_READ_QUADLET_REQUEST, kModelRegister, 4, 2), 0);
    Bytes small(10);
    EXPECT_EQ(Model().Read(camera, small), 10);
    EXPECT_EQ(Closure(NextEvent(camera)), 2u);
}

} // namespace
} // namespace zerix::linux_model

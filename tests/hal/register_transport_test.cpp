// Register reads and writes: bytes of the requests, byte order, errors and the trace.
#include "hal/transfer_trace.h"
#include "tests/hal/hal_fixture.h"

using namespace zerix;
using namespace zerix::test;

namespace {

constexpr uint32_t kRead = kernel::kControlAsyncRead;
constexpr uint32_t kWrite = kernel::kControlAsyncWrite;

class RegisterTransport : public HalTest {
protected:
    // 2024-03-01 10:20:30.007, in whatever the local time makes of it.
    void SetUp() override
    {
        HalTest::SetUp();
        os::SetWallClockForTest([] { return os::WallTime{1709288430, 7999}; });
        m_time = os::TimeOfDayText({1709288430, 7999}) + ".7\n";
    }
    void TearDown() override
    {
        os::SetWallClockForTest({});
        HalTest::TearDown();
    }

    std::string m_time;
};

TEST_F(RegisterTransport, ReadsWithFortyBytes)
{
    BeConnected();
    driver.Next(kRead, {.out = Bytes{0x44, 0x33, 0x22, 0x11, 0x88, 0x77, 0x66, 0x55}});
    uint32_t data[2] = {};
    EXPECT_EQ(HAL_CameraReadData(camera, 0xD0000048, data, 2), 0u);
    const auto request = driver.Requests(kRead).at(0);
    EXPECT_EQ(request.in,
              (Bytes{0, 0, 0, 0, 1, 0, 0, 0, 0xC0, 0xFF, 0, 0, 0xFF, 0xFF, 0, 0, 0x48, 0, 0, 0xD0,
                     8, 0, 0, 0, 0, 0, 0, 0, 0,    0,    0, 0, 0,    0,    0, 0, 0,    0, 0, 0}));
    EXPECT_EQ(request.outSize, 8u);
    EXPECT_TRUE(request.isOverlapped);
}

TEST_F(RegisterTransport, LeavesAReadThatCompletesAtOnceAsItCame)
{
    BeConnected();
    driver.Next(kRead, {.out = Bytes{0x44, 0x33, 0x22, 0x11, 0x88, 0x77, 0x66, 0x55}});
    uint32_t data[2] = {};
    EXPECT_EQ(HAL_CameraReadData(camera, 0xD0000000, data, 2), 0u);
    EXPECT_EQ(data[0], 0x11223344u);
    EXPECT_EQ(data[1], 0x55667788u);
}

TEST_F(RegisterTransport, SwapsAReadThatPended)
{
    BeConnected();
    driver.Next(kRead, Pends({0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88}));
    uint32_t data[2] = {};
    EXPECT_EQ(HAL_CameraReadData(camera, 0xD0000000, data, 2), 0u);
    EXPECT_EQ(data[0], 0x11223344u);
    EXPECT_EQ(data[1], 0x55667788u);
}

TEST_F(RegisterTransport, EveryFailedReadIsOneError)
{
    BeConnected();
    uint32_t data = 0;
    driver.Next(kRead, Fails(kernel::kErrorNoSystemResources));
    EXPECT_EQ(HAL_CameraReadData(camera, 0xD0000000, &data, 1), 18u);
    EXPECT_EQ(os::LastError(), 1450u);
    driver.Next(kRead, PendsAndFails(kernel::kErrorGenFailure));
    EXPECT_EQ(HAL_CameraReadData(camera, 0xD0000000, &data, 1), 18u);
    EXPECT_EQ(os::LastError(), 31u);
    EXPECT_EQ(Said(), "");
}

TEST_F(RegisterTransport, WritesBigEndianBehindThirtySixBytes)
{
    BeConnected();
    const uint32_t data[2] = {0x11223344, 0x55667788};
    EXPECT_EQ(HAL_CameraWriteData(camera, 0xE0010038, data, 2), 0u);
    const auto request = driver.Requests(kWrite).at(0);
    EXPECT_EQ(
        request.in,
        (Bytes{0, 0, 0,    0,    1,    0,    0,    0,    0xC0, 0xFF, 0, 0, 0xFF, 0xFF, 0, 0, 0x38,
               0, 1, 0xE0, 8,    0,    0,    0,    0,    0,    0,    0, 0, 0,    0,    0, 0, 0,
               0, 0, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0, 0, 0,    0}));
    EXPECT_EQ(request.outSize, 0u);
    EXPECT_TRUE(request.isOverlapped);
    EXPECT_EQ(data[0], 0x11223344u) << "the caller's data stay as they are";
    EXPECT_EQ(Said(), "");
}

TEST_F(RegisterTransport, WaitsForAPendingWrite)
{
    BeConnected();
    const uint32_t data = 1;
    driver.Next(kWrite, Pends({}));
    EXPECT_EQ(HAL_CameraWriteData(camera, 0xD0000000, &data, 1), 0u);
}

struct WriteFailure {
    Answer answer;
    uint32_t error;
    uint32_t systemError;
};

TEST_F(RegisterTransport, TellsEveryFailedWrite)
{
    const WriteFailure failures[] = {
        {Fails(kernel::kErrorGenFailure), 19, 31},
        {Fails(kernel::kErrorNoSystemResources), 40, 1450},
        {PendsAndFails(kernel::kErrorGenFailure), 19, 31},
        {PendsAndFails(kernel::kErrorNoSystemResources), 19, 1450},
        {PendsAndFails(kernel::kErrorOperationAborted), 19, 995},
    };
    BeConnected();
    std::string expected;
    for (const WriteFailure &failure : failures) {
        driver.Next(kWrite, failure.answer);
        const uint32_t data = 1;
        EXPECT_EQ(HAL_CameraWriteData(camera, 0xD0000000, &data, 1), failure.error);
        EXPECT_EQ(os::LastError(), failure.systemError);
        expected += "In FWCameraWriteData(), GetOverlappedResult failed with error " +
                    std::to_string(failure.systemError) + ": " +
                    os::ErrorText(failure.systemError) +
                    "\ndeviceHandle(00001001), bytesReturned(0)";
        EXPECT_EQ(Said(), expected);
    }
}

TEST_F(RegisterTransport, SendsAWriteOfNothing)
{
    BeConnected();
    const uint32_t data = 1;
    EXPECT_EQ(HAL_CameraWriteData(camera, 0xD0000000, &data, 0), 0u);
    EXPECT_EQ(driver.Requests(kWrite).at(0).inSize, 40u);
    EXPECT_EQ(driver.Requests(kWrite).at(0).Words()[5], 0u);
    EXPECT_EQ(Said(), "FWCameraWriteData:NumberOfBytesToWrite is ZERO!");
    driver.Next(kWrite, Fails(kernel::kErrorInvalidParameter));
    EXPECT_EQ(HAL_CameraWriteData(camera, 0xD0000000, &data, 0), 19u);
}

TEST_F(RegisterTransport, RefusesNullData)
{
    BeConnected();
    EXPECT_EQ(HAL_CameraReadData(camera, 0xD0000000, nullptr, 1), 997u);
    EXPECT_EQ(HAL_CameraWriteData(camera, 0xD0000000, nullptr, 1), 997u);
    EXPECT_EQ(driver.Calls(), Calls{});
    EXPECT_EQ(HAL_CameraWriteData(camera, 0xD0000000, nullptr, 0), 997u);
    EXPECT_EQ(Said(), "FWCameraWriteData:NumberOfBytesToWrite is ZERO!");
    const uint32_t data = 1;
    EXPECT_EQ(HAL_CameraWriteData(camera, 0xD0000000, &data, 1), 0u) << "the mutex is free again";
}

TEST_F(RegisterTransport, RefusesMoreQuadletsThanALengthCanTell)
{
    BeConnected();
    uint32_t data = 1;
    EXPECT_EQ(HAL_CameraReadData(camera, 0xD0000000, &data, 0x40000000), 18u);
    EXPECT_EQ(HAL_CameraWriteData(camera, 0xD0000000, &data, 0x40000000), 19u);
    EXPECT_EQ(driver.Calls(), Calls{});
}

TEST_F(RegisterTransport, NeedsAnOpenDevice)
{
    uint32_t data = 0x0A0B0C0D;
    HAL_CameraSetShouldOutputWrites(0, 1);
    EXPECT_EQ(HAL_CameraReadData(camera, 0xD0000000, &data, 1), 17u);
    EXPECT_EQ(HAL_CameraReadData(camera, 0xD0000000, nullptr, 1), 17u);
    EXPECT_EQ(Said(), "");
    EXPECT_EQ(HAL_CameraWriteData(camera, 0xD0000000, &data, 1), 17u);
    EXPECT_EQ(Said(), "\n---\n" + m_time +
                          "Async write to address 0xd0000000\n"
                          "Length in bytes: 4\nHex data: 0a0b0c0d \n")
        << "traced before it was tried";
    EXPECT_EQ(driver.Calls(), Calls{});
}

TEST_F(RegisterTransport, TracesAWriteInHostOrder)
{
    BeConnected();
    EXPECT_EQ(HAL_CameraSetShouldOutputWrites(99, 1), 0u);
    const uint32_t data[2] = {0x11223344, 0x5};
    EXPECT_EQ(HAL_CameraWriteData(camera, 0xFA0, data, 2), 0u);
    EXPECT_EQ(Said(), "\n---\n" + m_time +
                          "Async write to address 0xfa0\n"
                          "Length in bytes: 8\nHex data: 11223344 00000005 \n");
    EXPECT_EQ(HAL_CameraSetShouldOutputWrites(99, 0), 0u);
    EXPECT_EQ(HAL_CameraWriteData(camera, 0xFA0, data, 2), 0u);
    EXPECT_EQ(Said().find("Async write", 20 + m_time.size()), std::string::npos);
}

TEST_F(RegisterTransport, TracesAReadAfterItsTransfer)
{
    BeConnected();
    EXPECT_EQ(HAL_CameraSetShouldOutputReads(99, 1), 0u);
    driver.Next(kRead, Pends({0, 0, 0, 0x21}));
    uint32_t data = 0;
    EXPECT_EQ(HAL_CameraReadData(camera, 0xD0000000, &data, 1), 0u);
    EXPECT_EQ(Said(), "\n---\n" + m_time +
                          "Async read from address 0xd0000000\n"
                          "Length in bytes: 4\nHex data: 00000021 \n");
}

TEST_F(RegisterTransport, TracesOnlyWhatIsSwitchedOn)
{
    BeConnected();
    uint32_t data = 0;
    HAL_CameraSetShouldOutputReads(0, 1);
    EXPECT_EQ(HAL_CameraWriteData(camera, 0xD0000000, &data, 1), 0u);
    HAL_CameraSetShouldOutputReads(0, 0);
    HAL_CameraSetShouldOutputWrites(0, 1);
    EXPECT_EQ(HAL_CameraReadData(camera, 0xD0000000, &data, 1), 0u);
    EXPECT_EQ(Said(), "");
}

TEST_F(RegisterTransport, TraceTellsOfNothingToShow)
{
    const uint32_t data = 1;
    hal::TraceTransfer(1, 0x10, &data, 0);
    EXPECT_EQ(Said(), "\n---\n" + m_time +
                          "Async write to address 0x10\n"
                          "Packet data is not available because the length is 0 bytes.\n\n");
}

TEST_F(RegisterTransport, TraceOfAnUnknownKindHasAnEmptyLine)
{
    const uint32_t data = 1;
    hal::TraceTransfer(3, 0x10, &data, 1);
    EXPECT_EQ(Said(), "\n---\n" + m_time + "\nLength in bytes: 4\nHex data: 00000001 \n");
}

TEST_F(RegisterTransport, TraceOfNullDataReadsNothing)
{
    hal::TraceTransfer(2, 0x10, nullptr, 2);
    EXPECT_EQ(Said(), "\n---\n" + m_time +
                          "Async read from address 0x10\nLength in bytes: 8\nHex data: \n");
}

TEST_F(RegisterTransport, TimeoutsAreNotForTheLiveTransport)
{
    EXPECT_EQ(HAL_CameraGetTimeout(camera), 0u);
    EXPECT_EQ(HAL_CameraSetTimeout(camera, 2000), 996u);
}

TEST_F(RegisterTransport, AsyncWriteCallbackIsNeverRegistered)
{
    EXPECT_EQ(HAL_CameraRegisterAsyncWriteCallback(&camera, 0xFA000000, 4, nullptr), 0u);
    EXPECT_EQ(driver.Calls(), Calls{});
}

TEST_F(RegisterTransport, DormantTransportHasFixedAnswers)
{
    camera.kind = 1;
    uint32_t data = 5;
    EXPECT_EQ(HAL_CameraReadData(camera, 0xD0000000, &data, 0), 0u);
    EXPECT_EQ(HAL_CameraReadData(camera, 0xD0000000, &data, 1), 6u);
    EXPECT_EQ(HAL_CameraWriteData(camera, 0xD0000000, &data, 1), 0u);
    EXPECT_EQ(HAL_CameraGetTimeout(camera), 6u);
    EXPECT_EQ(HAL_CameraSetTimeout(camera, 1), 6u);
    camera.kind = 2;
    EXPECT_EQ(HAL_CameraReadData(camera, 0xD0000000, &data, 1), 0u);
    EXPECT_EQ(HAL_CameraWriteData(camera, 0xD0000000, &data, 1), 0u);
    EXPECT_EQ(HAL_CameraGetTimeout(camera), 0u);
    EXPECT_EQ(HAL_CameraSetTimeout(camera, 1), 0u);
    EXPECT_EQ(data, 5u);
    EXPECT_EQ(driver.Calls(), Calls{});
    camera.kind = 0;
}

} // namespace

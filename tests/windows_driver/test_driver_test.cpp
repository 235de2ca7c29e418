// The test driver itself, by the system's plain calls: what the tests of the library build on.
#include <array>

#include <gtest/gtest.h>

#include "device_calls.h"
#include "driver_fixture.h"
#include "test_devices.h"

namespace zerix::test {
namespace {

constexpr uint32_t kRead = 0x22207A;
constexpr uint32_t kIsOpen = 0x222096;
constexpr uint32_t kBusEventWait = 0x22A08A;
constexpr uint32_t kQueueBuffer = 0x22A0BA;
constexpr uint32_t kDetachBuffers = 0x22A0BC;
constexpr uint32_t kListen = 0x22A0C0;

using TestDriver = DriverTest;

TEST_F(TestDriver, HasTwoDevicesInOrder)
{
    EXPECT_EQ((std::vector<std::string>{kFirst, kSecond}), PresentDevices());
}

TEST_F(TestDriver, LosesADeviceFromTheListAndGetsItBack)
{
    driver.Unplug(0);
    EXPECT_EQ(std::vector<std::string>{kSecond}, PresentDevices());
    driver.Plug(0);
    EXPECT_EQ((std::vector<std::string>{kFirst, kSecond}), PresentDevices());
}

TEST_F(TestDriver, CountsHandlesAndTellsTheOwner)
{
    OpenDevice first(kFirst);
    OpenDevice again(kFirst);
    ASSERT_TRUE(first.IsOpen() && again.IsOpen());
    EXPECT_EQ(2u, driver.State(0).openHandles);
    EXPECT_EQ(0u, driver.State(1).openHandles);
    std::vector<uint32_t> isOpen(1);
    EXPECT_EQ(0u, again.Call(kIsOpen, {7}, &isOpen).error);
    EXPECT_EQ(0u, isOpen[0]);
    ASSERT_TRUE(first.Take(1012));
    EXPECT_EQ(0u, again.Call(kIsOpen, {0}, &isOpen).error);
    EXPECT_EQ(1u, isOpen[0]);
    std::vector<uint32_t> bandwidth(5);
    EXPECT_EQ(170u, again.Call(0x22A0A0, {1012, 8, 0, 0, 0}, &bandwidth).error);
    first.Close();
    EXPECT_EQ(0u, again.Call(kIsOpen, {0}, &isOpen).error);
    EXPECT_EQ(0u, isOpen[0]);
}

TEST_F(TestDriver, AnswersEveryRequest)
{
    driver.SetRegister(0, 0xD0000000, 0x01020304);
    OpenDevice device(kFirst);
    const auto call = [&](uint32_t code, const std::vector<uint32_t> &in, size_t outWords) {
        std::vector<uint32_t> out(outWords);
        const CallResult result = device.Call(code, in, &out);
        EXPECT_EQ(outWords * 4, result.bytes) << std::hex << code;
        return result.error;
    };
    ASSERT_TRUE(device.Take(1012));
    std::vector<uint32_t> data(1);
    EXPECT_EQ(0u, device.Read(0xD0000000, &data).error);
    EXPECT_EQ(0u, device.Write(0xD0000000, {0x11223344}).error);
    for (const uint32_t code : {0x222096u, 0x22A080u, 0x22A084u, 0x22A08Cu, 0x22A090u})
        EXPECT_EQ(0u, call(code, {0}, 1)) << std::hex << code;
    EXPECT_EQ(0u, call(kListen, {device.resources, 0, 0}, 3));
    EXPECT_EQ(0u, call(0x22A0C4, {device.resources, 0}, 2));
    EXPECT_EQ(0u, call(kDetachBuffers, {device.resources}, 1));
    EXPECT_EQ(0u, call(0x22A0B4, {device.resources}, 1));
    EXPECT_EQ(0u, call(0x22A0AC, {device.channel}, 1));
    EXPECT_EQ(0u, call(0x22A0A4, {device.bandwidth}, 1));
    const TestState state = driver.State(0);
    EXPECT_EQ(0u, state.holdsBandwidth + state.holdsChannel + state.holdsResources);
    // All but the wait for a bus event and the queued buffer, each once.
    for (uint32_t i = 0; i < 18; ++i)
        EXPECT_EQ(i == 5 || i == 14 ? 0u : 1u, state.requests[i]) << i;
}

TEST_F(TestDriver, RefusesUnknownCodesAndWrongSizes)
{
    OpenDevice device(kFirst);
    std::vector<uint32_t> word(1);
    EXPECT_EQ(50u, device.Call(0x22A0C8, {0}, &word).error);
    EXPECT_EQ(87u, device.Call(0x22A0A4, {0, 0}, &word).error);
    EXPECT_EQ(87u, device.Call(0x22A0A4, {1}, &word).error); // holds no bandwidth
    std::vector<uint32_t> two(2);
    EXPECT_EQ(87u, device.Call(kIsOpen, {0}, &two).error);
}

TEST_F(TestDriver, ReadsInHostOrderAtOnceAndBigEndianLater)
{
    driver.SetRegisters(0, 0xD0000000, std::array<uint32_t, 2>{0x01020304, 0xA0B0C0D0});
    OpenDevice device(kFirst);
    std::vector<uint32_t> data(2);
    CallResult result = device.Read(0xD0000000, &data);
    EXPECT_FALSE(result.pended);
    EXPECT_EQ(8u, result.bytes);
    EXPECT_EQ((std::vector<uint32_t>{0x01020304, 0xA0B0C0D0}), data);
    driver.SetPending(0, kTestPendAlways);
    result = device.Read(0xD0000000, &data);
    EXPECT_TRUE(result.pended);
    EXPECT_EQ(0u, result.error);
    EXPECT_EQ(8u, result.bytes);
    EXPECT_EQ((std::vector<uint32_t>{0x04030201, 0xD0C0B0A0}), data);
    data.resize(3);
    EXPECT_EQ(31u, device.Read(0xD0000000, &data).error);
}

TEST_F(TestDriver, WritesBigEndianQuadlets)
{
    driver.SetRegisters(1, 0xD0000000, std::array<uint32_t, 2>{1, 2});
    OpenDevice device(kSecond);
    EXPECT_EQ(0u, device.Write(0xD0000000, {0x44332211, 0x88776655}).error);
    EXPECT_EQ(0x11223344u, driver.Register(1, 0xD0000000));
    EXPECT_EQ(0x55667788u, driver.Register(1, 0xD0000004));
    EXPECT_EQ(31u, device.Write(0xD0000008, {1}).error);
    const auto accesses = driver.TakeAccesses(1);
    ASSERT_EQ(2u, accesses.size());
    EXPECT_EQ(1u, accesses[0].isWrite);
    EXPECT_EQ(0xD0000000u, accesses[0].address);
    EXPECT_EQ(2u, accesses[0].quadlets);
    EXPECT_EQ(0x11223344u, accesses[0].firstValue);
    EXPECT_TRUE(driver.TakeAccesses(1).empty());
}

TEST_F(TestDriver, FailsAsItIsTold)
{
    driver.SetRegister(0, 0xD0000000, 5);
    OpenDevice device(kFirst);
    std::vector<uint32_t> data(1);
    driver.Fail(0, kRead, kStatusInsufficientResources, 1, 2);
    EXPECT_EQ(0u, device.Read(0xD0000000, &data).error);
    EXPECT_EQ(1450u, device.Read(0xD0000000, &data).error);
    EXPECT_EQ(1450u, device.Read(0xD0000000, &data).error);
    EXPECT_EQ(0u, device.Read(0xD0000000, &data).error);
    driver.AddFault({0, kRead, kTestPendAndFail, kStatusUnsuccessful, 0, 1});
    const CallResult late = device.Read(0xD0000000, &data);
    EXPECT_TRUE(late.pended);
    EXPECT_EQ(31u, late.error);
    driver.AddFault({0, kIsOpen, kTestPendAndDo, 0, 0, 1});
    const CallResult done = device.Call(kIsOpen, {0}, &data);
    EXPECT_TRUE(done.pended);
    EXPECT_EQ(0u, done.error);
    EXPECT_EQ(4u, done.bytes);
}

TEST_F(TestDriver, CancelsARequestThatHangs)
{
    driver.SetRegister(0, 0xD0000000, 5);
    driver.AddFault({0, kRead, kTestHang, 0, 0, 1});
    OpenDevice device(kFirst);
    std::array<uint32_t, 10> record = {0, 1, 0xFFC0, 0xFFFF, 0xD0000000, 4, 0, 0, 0, 0};
    uint32_t data = 0;
    SentCall call;
    call.Send(device.Handle(), kRead, record.data(), sizeof record, &data, sizeof data);
    ASSERT_TRUE(call.IsPending());
    EXPECT_EQ(1u, driver.State(0).pendingRequests);
    EXPECT_TRUE(call.Cancel());
    EXPECT_EQ(995u, call.Result().error);
    EXPECT_EQ(0u, driver.State(0).pendingRequests);
}

TEST_F(TestDriver, EndsAWaitForBusEventsOnRequest)
{
    OpenDevice device(kFirst);
    std::vector<uint8_t> record(0x808);
    SentCall call;
    call.Send(device.Handle(), kBusEventWait, record.data(), record.size(), record.data(),
              record.size());
    ASSERT_TRUE(call.IsPending());
    std::vector<uint32_t> word(1);
    EXPECT_EQ(0u, device.Call(0x22A08C, {0}, &word).error);
    EXPECT_EQ(995u, call.Result().error);
}

TEST_F(TestDriver, GivesEveryDeviceAChannelAndRefusesTheFastSpeedOnASlowBus)
{
    OpenDevice first(kFirst);
    OpenDevice second(kSecond);
    ASSERT_TRUE(first.Take(5012));
    EXPECT_EQ(0u, first.channel);
    driver.SetSlow(1);
    EXPECT_FALSE(second.Take(1012));
    EXPECT_EQ(1u, second.channel);
    std::vector<uint32_t> out(9);
    EXPECT_EQ(0u, second.Call(0x22A0B0, {4, 0x41, 1, 1012, 61, 30360, 0, 1, 0}, &out).error);
    EXPECT_NE(0u, out[8]);
}

TEST_F(TestDriver, CompletesQueuedBuffersWithIdlePacketsOnceItListens)
{
    OpenDevice device(kFirst);
    ASSERT_TRUE(device.Take(1012));
    std::vector<uint8_t> buffer(1012 * 30, 0xEE);
    SentCall call;
    call.Send(device.Handle(), kQueueBuffer, buffer.data(), buffer.size(), buffer.data(),
              buffer.size());
    ASSERT_TRUE(call.IsPending());
    EXPECT_EQ(1u, driver.State(0).queuedBuffers);
    std::vector<uint32_t> echo(3);
    EXPECT_EQ(0u, device.Call(kListen, {device.resources, 0, 0}, &echo).error);
    const CallResult result = call.Result();
    EXPECT_EQ(0u, result.error);
    EXPECT_EQ(30360u, result.bytes);
    const std::vector<uint8_t> idle = {0, 0, 0, 0, 0, 0, 12,   0,    0,    1,
                                       0, 0, 0, 0, 0, 0, 0xAA, 0xAA, 0xAA, 0xAA};
    for (size_t slot = 0; slot < 30; ++slot)
        EXPECT_EQ(idle,
                  std::vector<uint8_t>(buffer.begin() + static_cast<ptrdiff_t>(slot * 1012),
                                       buffer.begin() + static_cast<ptrdiff_t>(slot * 1012 + 20)));
}

TEST_F(TestDriver, SendsTheRecordedPacketsWithTheTagOfTheMoment)
{
    driver.SetRegisters(0, 0xD0001000, std::array<uint32_t, 2>{0x5C000000, 0});
    driver.SetRecording(0, {.streamRegister = 0xD0001004,
                            .tagRegister = 0xD0001000,
                            .idleSlots = 1,
                            .packets = {{.bytes = {1, 2, 3, 4, 5}, .tagOffset = 2},
                                        {.bytes = {6, 7, 8}, .tagOffset = 0}}});
    OpenDevice device(kFirst);
    ASSERT_TRUE(device.Take(112));
    EXPECT_EQ(0u, device.Write(0xD0001004, {0x01000000}).error); // channel 0, on
    std::vector<uint8_t> buffer(112 * 30);
    SentCall call;
    call.Send(device.Handle(), kQueueBuffer, buffer.data(), buffer.size(), buffer.data(),
              buffer.size());
    std::vector<uint32_t> echo(3);
    EXPECT_EQ(0u, device.Call(kListen, {device.resources, 0, 0}, &echo).error);
    ASSERT_EQ(0u, call.Result().error);
    const auto slot = [&](size_t number, size_t bytes) {
        const auto at = buffer.begin() + static_cast<ptrdiff_t>(number * 112 + 6);
        return std::vector<uint8_t>(at, at + static_cast<ptrdiff_t>(bytes));
    };
    EXPECT_EQ((std::vector<uint8_t>{5, 0, 1, 2, 0x5C, 4, 5}), slot(0, 7));
    EXPECT_EQ((std::vector<uint8_t>{3, 0, 6, 7, 8}), slot(1, 5));
    EXPECT_EQ((std::vector<uint8_t>{12, 0, 0, 1}), slot(2, 4));
    EXPECT_EQ((std::vector<uint8_t>{5, 0, 1, 2, 0x5C, 4, 5}), slot(3, 7));
}

TEST_F(TestDriver, AbortsQueuedBuffersOnDetachCancelAndClose)
{
    OpenDevice device(kFirst);
    ASSERT_TRUE(device.Take(1012));
    std::array<std::vector<uint8_t>, 3> buffers;
    std::array<SentCall, 3> calls;
    const auto queue = [&](size_t i) {
        buffers[i].assign(1012 * 30, 0);
        calls[i].Send(device.Handle(), kQueueBuffer, buffers[i].data(), buffers[i].size(),
                      buffers[i].data(), buffers[i].size());
        return calls[i].IsPending();
    };
    ASSERT_TRUE(queue(0) && queue(1));
    EXPECT_TRUE(calls[0].Cancel());
    EXPECT_EQ(995u, calls[0].Result().error);
    EXPECT_EQ(1u, driver.State(0).queuedBuffers);
    std::vector<uint32_t> echo(1);
    EXPECT_EQ(0u, device.Call(kDetachBuffers, {device.resources}, &echo).error);
    EXPECT_EQ(995u, calls[1].Result().error);
    ASSERT_TRUE(queue(2));
    device.Close();
    EXPECT_EQ(0u, driver.State(0).queuedBuffers);
    EXPECT_EQ(0u, driver.State(0).isClaimed);
}

TEST_F(TestDriver, FailsEverythingOnceTheDeviceHasGone)
{
    OpenDevice device(kFirst);
    ASSERT_TRUE(device.Take(1012));
    std::vector<uint8_t> buffer(1012 * 30);
    SentCall call;
    call.Send(device.Handle(), kQueueBuffer, buffer.data(), buffer.size(), buffer.data(),
              buffer.size());
    ASSERT_TRUE(call.IsPending());
    driver.Unplug(0);
    EXPECT_EQ(1167u, call.Result().error);
    std::vector<uint32_t> word(1);
    EXPECT_EQ(1167u, device.Call(kIsOpen, {0}, &word).error);
    EXPECT_EQ(1167u, device.Read(0xD0000000, &word).error);
    EXPECT_EQ(0u, device.Call(0x22A0B4, {device.resources}, &word).error);
    EXPECT_FALSE(OpenDevice(kFirst).IsOpen());
    EXPECT_TRUE(OpenDevice(kSecond).IsOpen());
}

// The system takes the device from under an open handle, and gives it back.
TEST_F(TestDriver, CanBeTakenFromTheSystem)
{
    OpenDevice device(kFirst);
    ASSERT_TRUE(device.Take(1012));
    std::vector<uint8_t> buffer(1012 * 30);
    SentCall call;
    call.Send(device.Handle(), kQueueBuffer, buffer.data(), buffer.size(), buffer.data(),
              buffer.size());
    ASSERT_TRUE(call.IsPending());
    RemoveDevice(0);
    EXPECT_EQ(1167u, call.Result().error);
    std::vector<uint32_t> word(1);
    EXPECT_NE(0u, device.Call(kIsOpen, {0}, &word).error);
    EXPECT_EQ(std::vector<std::string>{kSecond}, PresentDevices());
    EXPECT_EQ(0u, driver.State(0).isThere);
    device.Close();
    MakeDevice(0);
    InstallDriver(DriverDescription());
    EXPECT_EQ((std::vector<std::string>{kFirst, kSecond}), PresentDevices());
    EXPECT_EQ(1u, driver.State(0).isThere);
    EXPECT_EQ(1u, driver.State(1).isThere);
}

} // namespace
} // namespace zerix::test

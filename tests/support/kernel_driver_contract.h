// What every implementation of the kernel-driver port promises, whatever stands behind it. A test
// program includes this once and gives a bench for each of its implementations:
//     INSTANTIATE_TEST_SUITE_P(Name, KernelDriverContract, ::testing::Values(&MakeBench));
#pragma once

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "hal/kernel_driver.h"
#include "hal/kernel_requests.h"

namespace zerix::test {

// A driver with two devices, and the means to make the first one do what the contract is about.
class KernelDriverBench {
public:
    virtual ~KernelDriverBench() = default;
    virtual kernel::KernelDriver &Driver() = 0;
    // A register of the first device and what it holds; not the same forwards and backwards.
    virtual uint32_t Register() = 0;
    virtual uint32_t Value() = 0;
    virtual bool ReadsPend() = 0;               // or complete at once
    virtual void HangReads(uint32_t count) = 0; // the next ones
    virtual void Unplug() = 0;
    virtual void Plug() = 0;
};

class KernelDriverContract
    : public ::testing::TestWithParam<std::unique_ptr<KernelDriverBench> (*)()> {
protected:
    void SetUp() override
    {
        bench = GetParam()();
        ASSERT_EQ(0u, Driver().Enumerate(paths.data(), 4, &count));
        ASSERT_EQ(2u, count);
        ASSERT_EQ(0u, Driver().Open(paths[0].text, &device));
    }

    void TearDown() override
    {
        if (device != 0)
            Driver().Close(device);
    }

    kernel::KernelDriver &Driver() { return bench->Driver(); }

    struct ReadCall {
        kernel::AsyncRequest request{};
        std::array<uint8_t, 4> data{};
        kernel::Overlapped overlapped;
    };

    kernel::ControlResult Read(ReadCall &call, bool overlapped = true)
    {
        call.request.one = 1;
        call.request.destination = kernel::kDestination;
        call.request.offsetHigh = kernel::kOffsetHigh;
        call.request.offsetLow = bench->Register();
        call.request.lengthBytes = 4;
        return Driver().Control(device, kernel::kControlAsyncRead, &call.request,
                                kernel::kAsyncRequestBytes, call.data.data(), 4,
                                overlapped ? &call.overlapped : nullptr);
    }

    kernel::ControlResult IsOpen(kernel::DeviceHandle handle)
    {
        word = 0;
        return Driver().Control(handle, kernel::kControlIsOpen, &word, 4, &word, 4, nullptr);
    }

    // The register's bytes, lowest first, and the other way round.
    std::array<uint8_t, 4> HostOrder()
    {
        std::array<uint8_t, 4> bytes{};
        for (size_t i = 0; i < 4; ++i)
            bytes[i] = static_cast<uint8_t>(bench->Value() >> (8 * i));
        return bytes;
    }
    std::array<uint8_t, 4> BusOrder()
    {
        const auto host = HostOrder();
        return {host[3], host[2], host[1], host[0]};
    }

    static void ExpectDone(const kernel::ControlResult &result, uint32_t bytes)
    {
        EXPECT_EQ(kernel::Completion::kDone, result.completion);
        EXPECT_EQ(0u, result.systemError);
        EXPECT_EQ(bytes, result.bytesReturned);
    }
    static void ExpectFailed(const kernel::ControlResult &result, uint32_t error)
    {
        EXPECT_EQ(kernel::Completion::kFailed, result.completion);
        EXPECT_EQ(error, result.systemError);
    }

    std::unique_ptr<KernelDriverBench> bench;
    std::array<kernel::DevicePath, 4> paths{};
    uint32_t count = 0;
    kernel::DeviceHandle device = 0;
    uint32_t word = 0;
};

TEST_P(KernelDriverContract, EnumeratesInOneOrderUpToTheMaximum)
{
    EXPECT_STRNE(paths[0].text, paths[1].text);
    std::array<kernel::DevicePath, 4> again{};
    EXPECT_EQ(0u, Driver().Enumerate(again.data(), 1, &count));
    EXPECT_EQ(1u, count);
    EXPECT_STREQ(paths[0].text, again[0].text);
    EXPECT_STREQ("", again[1].text);
    bench->Unplug();
    EXPECT_EQ(0u, Driver().Enumerate(again.data(), 4, &count));
    EXPECT_EQ(1u, count);
    EXPECT_STREQ(paths[1].text, again[0].text);
    bench->Plug();
    EXPECT_EQ(0u, Driver().Enumerate(again.data(), 4, &count));
    EXPECT_EQ(2u, count);
}

TEST_P(KernelDriverContract, OpensOnlyWhatIsThere)
{
    kernel::DeviceHandle handle = 77;
    EXPECT_EQ(kernel::kErrorFileNotFound, Driver().Open("\\\\?\\nowhere", &handle));
    EXPECT_EQ(77u, handle);
}

TEST_P(KernelDriverContract, OpensADeviceTwice)
{
    kernel::DeviceHandle second = 0;
    ASSERT_EQ(0u, Driver().Open(paths[0].text, &second));
    EXPECT_NE(device, second);
    ExpectDone(IsOpen(second), 4);
    EXPECT_EQ(0u, word);
    Driver().Close(second);
    ExpectDone(IsOpen(device), 4);
}

// At once the driver gives host order, later what came over the bus.
TEST_P(KernelDriverContract, ReadsInTheOrderOfTheWay)
{
    ReadCall call;
    const kernel::ControlResult sent = Read(call);
    if (!bench->ReadsPend()) {
        ExpectDone(sent, 4);
        EXPECT_EQ(HostOrder(), call.data);
        return;
    }
    EXPECT_EQ(kernel::Completion::kPending, sent.completion);
    ExpectDone(Driver().Wait(device, &call.overlapped), 4);
    EXPECT_EQ(BusOrder(), call.data);
}

TEST_P(KernelDriverContract, NeverPendsWithoutABlock)
{
    ReadCall call;
    ExpectDone(Read(call, false), 4);
}

TEST_P(KernelDriverContract, TellsTheLastResultAgain)
{
    ReadCall call;
    Read(call);
    ExpectDone(Driver().Wait(device, &call.overlapped), 4);
    ExpectDone(Driver().Wait(device, &call.overlapped), 4);
    // Of a request that fails at once, in the same block.
    const kernel::ControlResult failed =
        Driver().Control(device, 0x22FFFC, &word, 4, &word, 4, &call.overlapped);
    EXPECT_EQ(kernel::Completion::kFailed, failed.completion);
    ExpectFailed(Driver().Wait(device, &call.overlapped), failed.systemError);
    Read(call);
    ExpectDone(Driver().Wait(device, &call.overlapped), 4);
}

TEST_P(KernelDriverContract, CancelsEverythingThatIsPending)
{
    bench->HangReads(2);
    std::array<ReadCall, 2> calls;
    for (ReadCall &call : calls)
        ASSERT_EQ(kernel::Completion::kPending, Read(call).completion);
    Driver().CancelPending(device);
    for (ReadCall &call : calls)
        ExpectFailed(Driver().Wait(device, &call.overlapped), kernel::kErrorOperationAborted);
    Driver().CancelPending(device); // nothing
    ReadCall after;
    Read(after);
    ExpectDone(Driver().Wait(device, &after.overlapped), 4);
}

TEST_P(KernelDriverContract, CancelsUnderAThreadThatWaits)
{
    bench->HangReads(1);
    ReadCall call;
    ASSERT_EQ(kernel::Completion::kPending, Read(call).completion);
    kernel::ControlResult result{};
    std::thread waiter([&] { result = Driver().Wait(device, &call.overlapped); });
    Driver().CancelPending(device);
    waiter.join();
    ExpectFailed(result, kernel::kErrorOperationAborted);
}

TEST_P(KernelDriverContract, CancelsARequestByItself)
{
    bench->HangReads(1);
    ReadCall call;
    ASSERT_EQ(kernel::Completion::kPending, Read(call).completion);
    Driver().Cancel(device, &call.overlapped);
    ExpectFailed(Driver().Wait(device, &call.overlapped), kernel::kErrorOperationAborted);
    Driver().Cancel(device, &call.overlapped); // over: nothing
}

TEST_P(KernelDriverContract, FailsOnAClosedHandle)
{
    Driver().Close(device);
    ExpectFailed(IsOpen(device), kernel::kErrorInvalidHandle);
    Driver().CancelPending(device);
    Driver().Close(device); // nothing
    device = 0;
}

TEST_P(KernelDriverContract, EndsWhatIsPendingWhenTheDeviceGoes)
{
    bench->HangReads(1);
    ReadCall call;
    ASSERT_EQ(kernel::Completion::kPending, Read(call).completion);
    bench->Unplug();
    ExpectFailed(Driver().Wait(device, &call.overlapped), kernel::kErrorDeviceNotConnected);
    ExpectFailed(IsOpen(device), kernel::kErrorDeviceNotConnected);
    bench->Plug();
}

TEST_P(KernelDriverContract, GivesBackWithTheHandle)
{
    kernel::BandwidthRequest request{
        .slotBytes = 1012, .speedFlag = kernel::kSpeedFlag800, .handle = 0, .unset = {}};
    ExpectDone(Driver().Control(device, kernel::kControlAllocateBandwidth, &request, sizeof request,
                                &request, sizeof request, nullptr),
               sizeof request);
    kernel::DeviceHandle second = 0;
    ASSERT_EQ(0u, Driver().Open(paths[0].text, &second));
    ExpectDone(IsOpen(second), 4);
    EXPECT_EQ(1u, word);
    Driver().Close(device);
    ExpectDone(IsOpen(second), 4);
    EXPECT_EQ(0u, word);
    device = second;
}

// Several threads at a time on one device.
TEST_P(KernelDriverContract, ServesManyThreads)
{
    const auto expected = bench->ReadsPend() ? BusOrder() : HostOrder();
    std::array<uint32_t, 4> good{};
    std::vector<std::thread> threads;
    for (uint32_t &mine : good)
        threads.emplace_back([&] {
            for (int i = 0; i < 25; ++i) {
                ReadCall call;
                auto result = Read(call);
                if (result.completion == kernel::Completion::kPending)
                    result = Driver().Wait(device, &call.overlapped);
                if (result.completion == kernel::Completion::kDone && call.data == expected)
                    ++mine;
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ((std::array<uint32_t, 4>{25, 25, 25, 25}), good);
}

} // namespace zerix::test

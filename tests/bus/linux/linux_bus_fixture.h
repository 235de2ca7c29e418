// The driver over a scripted kernel with a card and a camera, and the port's requests as calls.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bus/linux_firewire/linux_firewire_driver.h"
#include "hal/kernel_requests.h"
#include "tests/bus/linux/scripted_kernel.h"

namespace zerix::bus::linux_firewire {

inline constexpr uint64_t kCardGuid = 0x0011223344556677;
inline constexpr uint64_t kCameraGuid = 0x00A02D0000000123;
inline constexpr char kCameraPath[] = "firewire:00a02d0000000123";
inline constexpr uint32_t kRegister = 0xE0010038;
inline constexpr uint32_t kValue = 0x00120304;

class LinuxBus : public ::testing::Test {
protected:
    LinuxBus()
    {
        system.Add({.name = "fw0", .guid = kCardGuid, .isLocal = true, .units = ""});
        ScriptedKernel::Node camera{.name = "fw1", .guid = kCameraGuid};
        camera.words[kRegister] = kValue;
        system.Add(camera);
        driver = std::make_unique<LinuxFirewireDriver>(
            system, Recognition{.units = {{0xBEEF, 0x102}}, .isModel = {}});
    }

    ScriptedKernel::Node &Camera() { return system.NodeNamed("fw1"); }

    kernel::DeviceHandle Open()
    {
        kernel::DeviceHandle handle = 0;
        EXPECT_EQ(0u, driver->Open(kCameraPath, &handle));
        return handle;
    }

    // A register access that goes on until it is waited for.
    struct Access {
        std::vector<uint8_t> record;
        std::vector<uint8_t> data;
        kernel::Overlapped block;
        kernel::ControlResult result{};
    };

    kernel::ControlResult BeginRead(kernel::DeviceHandle handle, Access &access,
                                    uint32_t quadlets = 1, uint32_t address = kRegister)
    {
        access.record = RecordFor(address, quadlets * 4, kernel::kAsyncRequestBytes);
        access.data.assign(quadlets * size_t{4}, 0xEE);
        access.result = driver->Control(handle, kernel::kControlAsyncRead, access.record.data(),
                                        kernel::kAsyncRequestBytes, access.data.data(),
                                        quadlets * 4, &access.block);
        return access.result;
    }
    kernel::ControlResult End(kernel::DeviceHandle handle, Access &access)
    {
        if (access.result.completion == kernel::Completion::kPending)
            access.result = driver->Wait(handle, &access.block);
        return access.result;
    }
    // The system error; `data` as it came over the bus.
    uint32_t Read(kernel::DeviceHandle handle, uint32_t quadlets = 1, uint32_t address = kRegister,
                  std::vector<uint8_t> *data = nullptr)
    {
        Access access;
        BeginRead(handle, access, quadlets, address);
        End(handle, access);
        if (data != nullptr)
            *data = access.data;
        return access.result.systemError;
    }
    uint32_t Write(kernel::DeviceHandle handle, const std::vector<uint8_t> &data,
                   uint32_t address = kRegister)
    {
        const auto bytes = static_cast<uint32_t>(data.size());
        auto record = RecordFor(address, bytes, kernel::kAsyncRequestBytes + bytes);
        std::copy(data.begin(), data.end(), record.begin() + kernel::kAsyncDataOffset);
        kernel::Overlapped block;
        auto result = driver->Control(handle, kernel::kControlAsyncWrite, record.data(),
                                      static_cast<uint32_t>(record.size()), nullptr, 0, &block);
        if (result.completion == kernel::Completion::kPending)
            result = driver->Wait(handle, &block);
        return result.systemError;
    }

    template <typename Record>
    uint32_t Exchange(kernel::DeviceHandle handle, uint32_t code, Record &record)
    {
        const auto result =
            driver->Control(handle, code, &record, sizeof record, &record, sizeof record, nullptr);
        return result.systemError;
    }
    uint32_t Word(kernel::DeviceHandle handle, uint32_t code, uint32_t word)
    {
        return Exchange(handle, code, word);
    }
    // 0, 1, or more: the system error.
    uint32_t IsOpen(kernel::DeviceHandle handle)
    {
        uint32_t word = 99;
        const uint32_t error = Exchange(handle, kernel::kControlIsOpen, word);
        return error != 0 ? error : word;
    }

    kernel::BandwidthRequest bandwidth{
        .slotBytes = 1012, .speedFlag = kernel::kSpeedFlag800, .handle = 0, .unset = {}};
    kernel::ChannelRequest channel{.request = kernel::kAnyChannel, .channel = 99, .unset = {}};
    uint32_t TakeBandwidth(kernel::DeviceHandle handle)
    {
        return Exchange(handle, kernel::kControlAllocateBandwidth, bandwidth);
    }
    uint32_t TakeChannel(kernel::DeviceHandle handle)
    {
        return Exchange(handle, kernel::kControlAllocateChannel, channel);
    }

    ScriptedKernel system;
    std::unique_ptr<LinuxFirewireDriver> driver; // goes first

private:
    static std::vector<uint8_t> RecordFor(uint32_t address, uint32_t bytes, size_t size)
    {
        kernel::AsyncRequest request{};
        request.one = 1;
        request.destination = kernel::kDestination;
        request.offsetHigh = kernel::kOffsetHigh;
        request.offsetLow = address;
        request.lengthBytes = bytes;
        std::vector<uint8_t> record(size);
        std::memcpy(record.data(), &request, sizeof request);
        return record;
    }
};

} // namespace zerix::bus::linux_firewire

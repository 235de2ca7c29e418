// A handle with what a stream needs, and its requests as calls.
#pragma once

#include <algorithm>
#include <list>

#include "tests/bus/linux/linux_bus_fixture.h"
#include "tests/support/debug_output_capture.h"

namespace zerix::bus::linux_firewire {

inline constexpr uint32_t kSlot = 1012;
inline constexpr uint32_t kBuffer = kSlot * 30;

class Streaming : public LinuxBus {
protected:
    void SetUp() override { handle = Open(); }
    void TearDown() override { driver->Close(handle); }

    uint32_t TakeResources(uint32_t speedFlag = kernel::kSpeedFlag800)
    {
        resources = {.speedFlag = speedFlag,
                     .flags = kernel::kResourceFlags,
                     .channel = channel.channel,
                     .slotBytes = slotBytes,
                     .bufferCount = kernel::kAnnouncedBuffers,
                     .bufferBytes = slotBytes * 30,
                     .stripQuadlets = 0,
                     .tag = 1,
                     .handle = 0};
        return Exchange(handle, kernel::kControlAllocateResources, resources);
    }
    void TakeAll()
    {
        bandwidth.slotBytes = slotBytes;
        ASSERT_EQ(0u, TakeBandwidth(handle));
        ASSERT_EQ(0u, TakeChannel(handle));
        ASSERT_EQ(0u, TakeResources());
    }

    struct Buffer {
        std::vector<uint8_t> bytes;
        kernel::Overlapped block;
        kernel::ControlResult sent{};
    };
    // They stay until the handle is closed, as some are queued until then.
    std::vector<Buffer> &NewBuffers(size_t count) { return m_buffers.emplace_back(count); }
    uint32_t Queue(Buffer &buffer)
    {
        buffer.bytes.assign(slotBytes * size_t{30}, 0xEE);
        buffer.sent =
            driver->Control(handle, kernel::kControlQueueBuffer, buffer.bytes.data(),
                            slotBytes * 30, buffer.bytes.data(), slotBytes * 30, &buffer.block);
        return buffer.sent.systemError;
    }
    kernel::ControlResult Await(Buffer &buffer)
    {
        return buffer.sent.completion == kernel::Completion::kPending
                   ? driver->Wait(handle, &buffer.block)
                   : buffer.sent;
    }
    bool IsPending(Buffer &buffer)
    {
        return driver->WaitFor(handle, &buffer.block, 0).completion == kernel::Completion::kPending;
    }
    uint32_t Listen()
    {
        kernel::ListenRequest listen{.resources = resources.handle, .zero = {}};
        return Exchange(handle, kernel::kControlListen, listen);
    }
    uint32_t StopListen()
    {
        kernel::StopRequest stop{.resources = resources.handle, .zero = 0};
        return Exchange(handle, kernel::kControlStopListen, stop);
    }
    uint32_t Detach() { return Word(handle, kernel::kControlDetachBuffers, resources.handle); }

    void Send(uint32_t count, uint32_t length = 1000, uint8_t fill = 0x11)
    {
        system.Send(std::vector<ScriptedKernel::Packet>(count, {length, fill}));
    }
    // The events that have come are served, one in each turn of the event thread.
    void Settle()
    {
        Read(handle);
        Read(handle);
    }
    static bool Holds(const test::DebugOutputCapture &output, const std::string &text)
    {
        return output.Text().find(text) != std::string::npos;
    }
    static uint32_t LengthAt(const Buffer &buffer, uint32_t slot, uint32_t slotSize = kSlot)
    {
        uint16_t length = 0;
        std::memcpy(&length, buffer.bytes.data() + size_t{slot} * slotSize + 6, 2);
        return length;
    }

    kernel::DeviceHandle handle = 0;
    kernel::ResourcesRequest resources{};
    uint32_t slotBytes = kSlot;

private:
    std::list<std::vector<Buffer>> m_buffers;
};

} // namespace zerix::bus::linux_firewire

// Reads a string of bytes as a camera's frames and packets and sends them through a frame
// assembler. Every payload and every frame's buffer has exactly its size, so that one byte too far
// is seen.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "camera/assembler/frame_assembler.h"

namespace zerix::fuzz {

class AssemblerInput {
public:
    explicit AssemblerInput(std::span<const uint8_t> input) : m_input(input) {}

    // The number of frames that arrived.
    size_t Run()
    {
        m_assembler.SetUp({Get, Peek, Done, Overrun, this});
        m_assembler.Begin(static_cast<uint8_t>(Byte() % 3));
        while (!m_input.empty())
            Act();
        m_assembler.Drop();
        return m_arrived;
    }

private:
    struct Frame {
        tStFrameInfo info{};
        std::unique_ptr<uint8_t[]> data;
    };

    uint8_t Byte()
    {
        if (m_input.empty())
            return 0;
        const uint8_t value = m_input[0];
        m_input = m_input.subspan(1);
        return value;
    }

    void Act()
    {
        const uint8_t action = Byte();
        if (action == 0)
            return m_assembler.Drop();
        if (action == 1)
            return m_assembler.Begin(static_cast<uint8_t>(Byte() % 3));
        const size_t length = Byte();
        const size_t count = std::min(length, m_input.size());
        const std::unique_ptr<uint8_t[]> payload(new uint8_t[count]);
        std::copy_n(m_input.begin(), count, payload.get());
        m_input = m_input.subspan(count);
        if (action >= 4)
            Mend({payload.get(), count}, action);
        m_assembler.Packet({payload.get(), count});
    }

    // Random bytes hardly ever are a packet: gives them the marks of one.
    static void Mend(std::span<uint8_t> payload, uint8_t action)
    {
        if (payload.size() < 24)
            return;
        payload[1] = 1;
        payload[0] = action % 2 == 0 ? 2 : 0;
        payload[3] = action / 16;
        payload[5] = 0;
        payload[6] = 0;
        if (action % 4 == 0)
            payload[10] = 1;
        std::fill(payload.end() - 4, payload.end(), uint8_t{0xAA});
    }

    static AssemblerInput &Of(void *context) { return *static_cast<AssemblerInput *>(context); }

    static tStFrameInfo *Peek(void *context)
    {
        AssemblerInput &input = Of(context);
        const uint8_t kind = input.Byte();
        if (kind == 0)
            return nullptr;
        input.m_frame = std::make_unique<Frame>();
        tStFrameInfo &info = input.m_frame->info;
        info.size = input.Byte() * 2u;
        info.expected = kind % 3 == 0 ? input.Byte() * 3u : info.size;
        info.outputFormat = kind % 5 == 0 ? input.Byte() % 8u : 0;
        info.interlaced = kind % 4 == 0;
        info.lineBytes = static_cast<uint16_t>(info.interlaced ? input.Byte() % 40 : 0);
        info.psn = 1;
        info.valid = true;
        input.m_frame->data.reset(new uint8_t[info.size]);
        info.data = input.m_frame->data.get();
        return &info;
    }
    static tStFrameInfo *Get(void *context) { return &Of(context).m_frame->info; }
    // The buffer is freed at once: nobody may write to it any more.
    static void Done(void *context)
    {
        AssemblerInput &input = Of(context);
        ++input.m_arrived;
        input.m_frame.reset();
    }
    static void Overrun(void *) {}

    std::span<const uint8_t> m_input;
    std::unique_ptr<Frame> m_frame;
    FrameAssembler m_assembler;
    size_t m_arrived = 0;
};

inline size_t RunAssemblerInput(std::span<const uint8_t> input)
{
    return AssemblerInput(input).Run();
}

} // namespace zerix::fuzz

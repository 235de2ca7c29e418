// What the assembler's tests share: packets as they stand on the wire, and a camera that prepares
// frames in buffers of their exact size.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "camera/assembler/frame_assembler.h"

namespace zerix::test {

using Bytes = std::vector<uint8_t>;

inline constexpr uint8_t kTag = 0x21;
inline constexpr uint8_t kUntouched = 0xEE; // what a frame's buffer holds before

// Fields of the 12 bytes before the image; on the wire every word's high byte comes first.
struct Header {
    uint16_t word = 0;
    uint8_t tag = kTag;
    uint8_t plane = 0;
    uint32_t time = 0;
    uint8_t bitCode = 7;
    uint8_t field = 1;
    uint16_t groupBytes = 0;
};

// Not by a range insert: g++ 12 then warns of bounds that are not there.
inline void Append(Bytes &bytes, const Bytes &more)
{
    for (const uint8_t byte : more)
        bytes.push_back(byte);
}

inline Bytes WireHeader(const Header &h)
{
    return {static_cast<uint8_t>(h.word >> 8),
            static_cast<uint8_t>(h.word),
            h.tag,
            h.plane,
            static_cast<uint8_t>(h.time >> 24),
            static_cast<uint8_t>(h.time >> 16),
            static_cast<uint8_t>(h.time >> 8),
            static_cast<uint8_t>(h.time),
            h.bitCode,
            h.field,
            static_cast<uint8_t>(h.groupBytes >> 8),
            static_cast<uint8_t>(h.groupBytes)};
}

inline Bytes Lead(uint8_t id, uint32_t position, uint8_t flags)
{
    return {flags,
            0x01,
            0x00,
            id,
            0x00,
            static_cast<uint8_t>(position >> 16),
            static_cast<uint8_t>(position >> 8),
            static_cast<uint8_t>(position)};
}

// Packets of formats 1 and 2.
inline Bytes First(uint8_t id, const Header &header, const Bytes &data)
{
    Bytes packet = Lead(id, 0, 2);
    Append(packet, WireHeader(header));
    Append(packet, data);
    Append(packet, {0xAA, 0xAA, 0xAA, 0xAA});
    return packet;
}

inline Bytes Next(uint8_t id, uint32_t position, const Bytes &data)
{
    Bytes packet = Lead(id, position, 0);
    Append(packet, data);
    Append(packet, {0xAA, 0xAA, 0xAA, 0xAA});
    return packet;
}

// A block of format 0 from its sub-packets, all of one size, a multiple of 4.
inline Bytes Block(uint8_t firstNumber, uint8_t groupSizeCode, uint8_t subPacketWords,
                   const std::vector<Bytes> &subPackets)
{
    Bytes block = {
        0x00, subPacketWords, static_cast<uint8_t>(groupSizeCode << 6), firstNumber, 0, 0, 0, 0};
    for (const Bytes &subPacket : subPackets)
        Append(block, subPacket);
    return block;
}

inline Bytes GroupStart(const Header &header, const Bytes &data)
{
    Bytes bytes = {0x80, 0x01};
    Append(bytes, WireHeader(header));
    Append(bytes, data);
    return bytes;
}

inline Bytes GroupGoingOn(const Bytes &data)
{
    Bytes bytes(14);
    bytes[1] = 0x01;
    Append(bytes, data);
    return bytes;
}

// A frame in a buffer of exactly its size.
struct Frame {
    tStFrameInfo info{};
    std::unique_ptr<uint8_t[]> data;

    Bytes Data() const { return {data.get(), data.get() + info.size}; }
};

// Prepares frames after `next`, and keeps them all.
struct FakeCamera {
    struct {
        uint32_t size = 8;
        uint32_t expected = 8;
        uint32_t outputFormat = 0;
        bool interlaced = false;
        uint16_t lineBytes = 0;
        uint8_t psn = kTag;
    } next;
    bool hasFrames = true;
    std::vector<std::unique_ptr<Frame>> frames;
    std::vector<const Frame *> arrived;
    uint32_t overruns = 0;
    uint8_t *overwriteAtPeek = nullptr;
    FrameAssembler assembler;

    explicit FakeCamera(uint8_t version)
    {
        assembler.SetUp({Get, Peek, Done, Overrun, this});
        assembler.Begin(version);
    }

    // From a heap copy of the exact size, so that a byte too far is seen. Returns what is left
    // there.
    Bytes Send(const Bytes &payload)
    {
        std::unique_ptr<uint8_t[]> copy(new uint8_t[payload.size()]);
        std::copy(payload.begin(), payload.end(), copy.get());
        assembler.Packet({copy.get(), payload.size()});
        return {copy.get(), copy.get() + payload.size()};
    }
    void Send(const std::vector<Bytes> &payloads)
    {
        for (const Bytes &payload : payloads)
            Send(payload);
    }

    static FakeCamera &Of(void *context) { return *static_cast<FakeCamera *>(context); }
    static tStFrameInfo *Peek(void *context)
    {
        FakeCamera &camera = Of(context);
        if (camera.overwriteAtPeek != nullptr)
            ++*camera.overwriteAtPeek;
        if (!camera.hasFrames)
            return nullptr;
        auto frame = std::make_unique<Frame>();
        frame->data.reset(new uint8_t[camera.next.size]);
        std::fill_n(frame->data.get(), camera.next.size, kUntouched);
        frame->info.data = frame->data.get();
        frame->info.size = camera.next.size;
        frame->info.expected = camera.next.expected;
        frame->info.outputFormat = camera.next.outputFormat;
        frame->info.interlaced = camera.next.interlaced;
        frame->info.lineBytes = camera.next.lineBytes;
        frame->info.psn = camera.next.psn;
        frame->info.status = 99;
        frame->info.valid = true;
        camera.frames.push_back(std::move(frame));
        return &camera.frames.back()->info;
    }
    static tStFrameInfo *Get(void *context) { return &Of(context).frames.back()->info; }
    // The frame that is given away is the one before the last where the last is being prepared; the
    // assembler prepares none before it has given the old one away.
    static void Done(void *context)
    {
        FakeCamera &camera = Of(context);
        EXPECT_TRUE(camera.frames.back()->info.finished);
        camera.arrived.push_back(camera.frames.back().get());
    }
    static void Overrun(void *context) { ++Of(context).overruns; }
};

} // namespace zerix::test

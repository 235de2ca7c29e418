// The frame assembler on recorded packets against a memcpy of the same payloads, and the turn of an
// image against a memcpy of the frame. Only ratios within one run count.
#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include <benchmark/benchmark.h>

#include "camera/assembler/frame_assembler.h"
#include "camera/assembler/turn_image.h"

namespace zerix {

namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint32_t kSubPacketsPerGroup = 4;
constexpr uint32_t kGroupLead = 14;

// A frame's packets one behind the other in one block, as a receive buffer has them, with where the
// pixels are in them.
struct Recording {
    struct Piece {
        uint32_t begin;
        uint32_t length;
    };
    Bytes bytes;
    std::vector<Piece> packets;
    std::vector<Piece> pixels;
    uint32_t frameBytes = 0;

    void AddPacket(const Bytes &packet)
    {
        packets.push_back(
            {static_cast<uint32_t>(bytes.size()), static_cast<uint32_t>(packet.size())});
        bytes.insert(bytes.end(), packet.begin(), packet.end());
    }
};

// On the wire: number, tag 1, time, depth 16, field 1, bytes of a group.
Bytes WireHeader(uint32_t groupBytes)
{
    return {0,
            1,
            1,
            0,
            0,
            0,
            0,
            1,
            15,
            1,
            static_cast<uint8_t>(groupBytes >> 8),
            static_cast<uint8_t>(groupBytes)};
}

Recording RecordPositioned(uint32_t frameBytes, uint32_t packetBytes)
{
    Recording recording;
    recording.frameBytes = frameBytes;
    for (uint32_t position = 0; position < frameBytes;) {
        const bool isFirst = position == 0;
        Bytes packet = {static_cast<uint8_t>(isFirst ? 2 : 0),
                        1,
                        0,
                        1,
                        0,
                        static_cast<uint8_t>(position >> 16),
                        static_cast<uint8_t>(position >> 8),
                        static_cast<uint8_t>(position)};
        if (isFirst) {
            const Bytes header = WireHeader(0);
            packet.insert(packet.end(), header.begin(), header.end());
        }
        const auto lead = static_cast<uint32_t>(packet.size());
        const uint32_t count = std::min(packetBytes - lead - 4, frameBytes - position);
        recording.pixels.push_back({static_cast<uint32_t>(recording.bytes.size()) + lead, count});
        packet.resize(lead + count, 0x55);
        packet.resize(lead + count + 4, 0xAA);
        recording.AddPacket(packet);
        position += count;
    }
    return recording;
}

Recording RecordBlocks(uint32_t frameBytes, uint32_t packetBytes)
{
    Recording recording;
    recording.frameBytes = frameBytes;
    const uint32_t subPacket = std::min((packetBytes - 8) / kSubPacketsPerGroup & ~3u, 1020u);
    const uint32_t groupBytes = subPacket * kSubPacketsPerGroup - kGroupLead;
    uint8_t number = 0;
    for (uint32_t position = 0; position < frameBytes; position += groupBytes) {
        const auto base = static_cast<uint32_t>(recording.bytes.size());
        Bytes block = {0, static_cast<uint8_t>(subPacket / 4), 2 << 6, number, 0, 0, 0, 0};
        block.insert(block.end(), {static_cast<uint8_t>(position == 0 ? 0x80 : 0), 1});
        const Bytes header = WireHeader(groupBytes);
        block.insert(block.end(), header.begin(), header.end());
        block.resize(8 + subPacket * kSubPacketsPerGroup, 0x55);
        recording.pixels.push_back(
            {base + 8 + kGroupLead, std::min(groupBytes, frameBytes - position)});
        recording.AddPacket(block);
        number = static_cast<uint8_t>(number + kSubPacketsPerGroup);
    }
    return recording;
}

Recording Record(int64_t format, uint32_t frameBytes, uint32_t packetBytes)
{
    return format == 0 ? RecordBlocks(frameBytes, packetBytes)
                       : RecordPositioned(frameBytes, packetBytes);
}

struct Target {
    explicit Target(uint32_t frameBytes) : data(frameBytes)
    {
        info.data = data.data();
        info.size = info.expected = frameBytes;
        info.psn = 1;
    }
    static tStFrameInfo *Give(void *context) { return &static_cast<Target *>(context)->info; }
    static void Done(void *context) { ++static_cast<Target *>(context)->frames; }
    static void Overrun(void *) {}

    Bytes data;
    tStFrameInfo info{};
    int64_t frames = 0;
};

template <typename Work>
void TimeIt(benchmark::State &state, Work work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    benchmark::ClobberMemory();
    state.SetIterationTime(
        std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
}

uint32_t FrameBytes(const benchmark::State &state) { return static_cast<uint32_t>(state.range(1)); }
uint32_t PacketBytes(const benchmark::State &state)
{
    return static_cast<uint32_t>(state.range(2));
}

// The assembler changes the packets, so every round has fresh ones. Format 2 is format 1 and the
// turn, which is measured by itself.
void Assemble(benchmark::State &state)
{
    const Recording recording = Record(state.range(0), FrameBytes(state), PacketBytes(state));
    Bytes packets = recording.bytes;
    Target target(recording.frameBytes);
    FrameAssembler assembler;
    assembler.SetUp({Target::Give, Target::Give, Target::Done, Target::Overrun, &target});
    for (auto _ : state) {
        packets = recording.bytes;
        assembler.Begin(static_cast<uint8_t>(state.range(0)));
        TimeIt(state, [&] {
            for (const auto &packet : recording.packets)
                assembler.Packet({packets.data() + packet.begin, packet.length});
        });
    }
    if (target.frames != static_cast<int64_t>(state.iterations()) ||
        target.info.status != kFrameGood)
        state.SkipWithError("a frame was not assembled");
    state.SetBytesProcessed(state.iterations() * recording.frameBytes);
}

void CopyPayloads(benchmark::State &state)
{
    const Recording recording = Record(state.range(0), FrameBytes(state), PacketBytes(state));
    Bytes packets = recording.bytes;
    Target target(recording.frameBytes);
    for (auto _ : state) {
        packets = recording.bytes;
        TimeIt(state, [&] {
            uint8_t *to = target.data.data();
            for (const auto &pixels : recording.pixels) {
                std::memcpy(to, packets.data() + pixels.begin, pixels.length);
                to += pixels.length;
            }
        });
    }
    state.SetBytesProcessed(state.iterations() * recording.frameBytes);
}

// Aligned as the driver's frame buffers are.
struct FrameDeleter {
    void operator()(uint8_t *buffer) const { ::operator delete (buffer, std::align_val_t{64}); }
};
std::unique_ptr<uint8_t, FrameDeleter> MakeFrame(int64_t bytes)
{
    const auto size = static_cast<size_t>(bytes);
    std::unique_ptr<uint8_t, FrameDeleter> frame(
        static_cast<uint8_t *>(::operator new (size, std::align_val_t{64})));
    std::memset(frame.get(), 0x55, size);
    return frame;
}

void Turn(benchmark::State &state)
{
    const auto frame = MakeFrame(state.range(0));
    for (auto _ : state)
        TimeIt(state,
               [&] { TurnImage(frame.get(), static_cast<uint32_t>(state.range(0) / 2), 2); });
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void CopyFrame(benchmark::State &state)
{
    const auto frame = MakeFrame(state.range(0));
    const auto copy = MakeFrame(state.range(0));
    for (auto _ : state)
        TimeIt(state,
               [&] { std::memcpy(copy.get(), frame.get(), static_cast<size_t>(state.range(0))); });
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

constexpr int64_t kMiddle = 1392 * 1040 * 2;
constexpr int64_t kLarge = 2048 * 2048 * 2;

void EveryStream(benchmark::internal::Benchmark *benchmark)
{
    benchmark->ArgNames({"format", "frame", "packet"})->UseManualTime();
    for (int64_t format : {0, 1})
        for (int64_t frame : {kMiddle, kLarge})
            for (int64_t packet : {4080, 8988})
                benchmark->Args({format, frame, packet});
}

BENCHMARK(Assemble)->Apply(EveryStream);
BENCHMARK(CopyPayloads)->Apply(EveryStream);
BENCHMARK(Turn)->ArgName("frame")->Arg(kMiddle)->Arg(kLarge)->UseManualTime();
BENCHMARK(CopyFrame)->ArgName("frame")->Arg(kMiddle)->Arg(kLarge)->UseManualTime();

} // namespace

} // namespace zerix

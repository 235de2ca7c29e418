// SER files, version 3: a header of 178 bytes, the frames, and behind them the time of each. A file
// that was never finished lacks the times alone: the header's count is put right with every frame.
#include <string>

#include "tools/writers/byte_order.h"
#include "tools/writers/sequence.h"

namespace zerix::tool {

namespace {

constexpr uint64_t kFrameCountAt = 38;

// Hundreds of nanoseconds since the year 1.
uint64_t TicksOf(uint64_t unixNanoseconds)
{
    constexpr uint64_t kYear1970 = 621'355'968'000'000'000u;
    return kYear1970 + unixNanoseconds / 100;
}

uint32_t ColourOf(const Picture &first)
{
    constexpr uint32_t kRedGreenBlue = 100;
    if (first.samplesPerPixel == 3)
        return kRedGreenBlue;
    const std::string &bayerPattern = first.bayerPattern;
    if (bayerPattern == "RGGB")
        return 8;
    if (bayerPattern == "GRBG")
        return 9;
    if (bayerPattern == "GBRG")
        return 10;
    return bayerPattern == "BGGR" ? 11 : 0;
}

// The byte order of samples of two bytes: 0 for little-endian, as every program that records and
// nearly every one that reads has it, against the format's description.
uint32_t OrderOf(const Picture &first) { return first.bytesPerSample == 2 ? 0 : 1; }

void PutText(std::vector<uint8_t> &bytes, std::string text, size_t size)
{
    text.resize(size, ' ');
    bytes.insert(bytes.end(), text.begin(), text.end());
}

class SerSequence final : public SequenceWriter {
public:
    using SequenceWriter::SequenceWriter;

protected:
    bool Begin(const Picture &first) override
    {
        std::vector<uint8_t> header;
        PutText(header, "LUCAM-RECORDER", 14);
        PutLittle(header, 0, 4); // the camera's number at its maker: none
        PutLittle(header, ColourOf(first), 4);
        PutLittle(header, OrderOf(first), 4);
        PutLittle(header, first.width, 4);
        PutLittle(header, first.height, 4);
        PutLittle(header, first.significantBits, 4);
        PutLittle(header, 0, 4); // frames
        PutText(header, "", 40); // observer
        PutText(header, first.cameraModel + " " + first.serialNumber, 40);
        PutText(header, "", 40); // telescope
        // The time of the place isn't known, and a file must not depend on who records it: UTC.
        PutLittle(header, TicksOf(first.unixNanoseconds), 8);
        PutLittle(header, TicksOf(first.unixNanoseconds), 8);
        return File().Append(header);
    }

    bool AddFrame(const Picture &picture) override
    {
        return File().Append(picture.pixels) &&
               File().Write(kFrameCountAt, Little(Frames() + 1, 4));
    }

    bool End() override
    {
        std::vector<uint8_t> times;
        for (const FrameFacts &frame : Facts())
            PutLittle(times, TicksOf(frame.unixNanoseconds), 8);
        return File().Append(times);
    }
};

} // namespace

std::unique_ptr<SequenceWriter> MakeSerSequence(const std::string &path)
{
    return std::make_unique<SerSequence>(path);
}

} // namespace zerix::tool

// FITS cubes: frame behind frame along the last axis, rows top down, and behind them a table FRAMES
// with a row for each. A colour frame is three planes along an axis of its own before. The length
// of the last axis is put right with every frame; the table comes at the end.
#include <algorithm>
#include <bit>
#include <cstring>

#include "tools/writers/byte_order.h"
#include "tools/writers/fits_cards.h"
#include "tools/writers/sequence.h"

namespace zerix::tool {

namespace {

// Behind SIMPLE, BITPIX, NAXIS, NAXIS1, NAXIS2, and in colour NAXIS3.
uint64_t FrameAxisAt(bool isColour) { return (isColour ? 6 : 5) * kFitsCard; }

std::string FrameAxis(bool isColour, uint64_t frames)
{
    return FitsNumberCard(isColour ? "NAXIS4" : "NAXIS3", static_cast<int64_t>(frames), "frames");
}

// Big-endian signed words; BZERO makes them the unsigned ones that they are. Bytes stay bytes.
// Every kStep-th sample is taken.
template <size_t kBytes, size_t kStep>
void PutPlane(const uint8_t *from, size_t count, uint8_t *to)
{
    for (size_t i = 0; i < count; ++i) {
        if constexpr (kBytes == 1) {
            to[i] = from[i * kStep];
        } else {
            uint16_t sample = 0;
            std::memcpy(&sample, from + 2 * i * kStep, 2);
            const auto value = static_cast<uint16_t>(sample ^ 0x8000u);
            const auto turned = static_cast<uint16_t>(value >> 8 | value << 8);
            std::memcpy(to + 2 * i, &turned, 2);
        }
    }
}

// Pixels are turned and written a piece at a time, which stays in the nearer caches. The pieces end
// where the system's own do, in large powers of two.
constexpr size_t kPieceBytes = size_t{1} << 20;

// Samples `first` and on of a plane, as they stand in the file.
void PutPiece(const Picture &picture, size_t plane, size_t first, std::span<uint8_t> piece)
{
    const bool isWide = picture.bytesPerSample == 2;
    const bool isColour = picture.samplesPerPixel == 3;
    const auto put = !isColour ? PutPlane<2, 1> : isWide ? PutPlane<2, 3> : PutPlane<1, 3>;
    const size_t from = first * picture.samplesPerPixel + plane;
    put(picture.pixels.data() + from * picture.bytesPerSample,
        piece.size() / picture.bytesPerSample, piece.data());
}

FitsCards CubeCards(const Picture &first)
{
    const bool isWide = first.bytesPerSample == 2;
    const bool isColour = first.samplesPerPixel == 3;
    FitsCards cards;
    cards.Flag("SIMPLE", true, "a FITS file");
    cards.Number("BITPIX", isWide ? 16 : 8);
    cards.Number("NAXIS", isColour ? 4 : 3);
    cards.Number("NAXIS1", first.width);
    cards.Number("NAXIS2", first.height);
    if (isColour)
        cards.Number("NAXIS3", 3, "planes: red, green, blue");
    cards.Number(isColour ? "NAXIS4" : "NAXIS3", 0, "frames");
    cards.Flag("EXTEND", true);
    if (isWide) {
        cards.Number("BZERO", 32768, "samples are unsigned");
        cards.Number("BSCALE", 1);
    }
    cards.Text("INSTRUME", first.cameraModel, "camera model");
    cards.Text("SERIALNO", first.serialNumber, "serial number of the camera");
    cards.Text("DATE-OBS", IsoTime(first.unixNanoseconds), "start of the first exposure, UTC");
    cards.Real("EXPTIME", static_cast<double>(first.exposureNanoseconds) / 1e9,
               "[s] exposure of a frame");
    cards.Real("GAIN", first.gain, "linear, relative to the camera's default");
    cards.Number("XBINNING", first.horizontalBinning, "horizontal binning");
    cards.Number("YBINNING", first.verticalBinning, "vertical binning");
    if (first.setTemperatureCelsius)
        cards.Real("SET-TEMP", *first.setTemperatureCelsius, "[C] temperature asked for");
    cards.Number("DATAMAX", (int64_t{1} << first.significantBits) - 1, "top of the range");
    if (isColour)
        cards.Text("CTYPE3", "RGB", "planes: red, green, blue");
    if (!first.bayerPattern.empty())
        cards.Text("BAYERPAT", first.bayerPattern, "mosaic from the top left pixel");
    cards.Text("ROWORDER", "TOP-DOWN", "first row is the top of the image");
    cards.Text("SWCREATE", "zerix");
    return cards;
}

struct Column {
    const char *name;
    const char *format;
    const char *unit;
    size_t size;
};
constexpr Column kColumns[] = {
    {"FRAMENO", "1J", "", 4},  {"DATE_OBS", "26A", "", 26}, {"TIME", "1D", "s", 8},
    {"EXPTIME", "1D", "s", 8}, {"GAIN", "1D", "", 8},       {"MISSING", "1L", "", 1},
};

std::string TableHeader(size_t rows)
{
    size_t rowSize = 0;
    for (const Column &column : kColumns)
        rowSize += column.size;
    FitsCards cards;
    cards.Text("XTENSION", "BINTABLE");
    cards.Number("BITPIX", 8);
    cards.Number("NAXIS", 2);
    cards.Number("NAXIS1", static_cast<int64_t>(rowSize), "bytes a row");
    cards.Number("NAXIS2", static_cast<int64_t>(rows), "frames");
    cards.Number("PCOUNT", 0);
    cards.Number("GCOUNT", 1);
    cards.Number("TFIELDS", std::ssize(kColumns));
    int number = 0;
    for (const Column &column : kColumns) {
        const std::string suffix = std::to_string(++number);
        cards.Text("TTYPE" + suffix, column.name);
        cards.Text("TFORM" + suffix, column.format);
        if (*column.unit != '\0')
            cards.Text("TUNIT" + suffix, column.unit);
    }
    cards.Text("EXTNAME", "FRAMES");
    return cards.Header();
}

void PutReal(std::vector<uint8_t> &bytes, double value)
{
    PutBig(bytes, std::bit_cast<uint64_t>(value), 8);
}

void PutRow(std::vector<uint8_t> &bytes, const FrameFacts &frame, const FrameFacts &first)
{
    const auto since = static_cast<int64_t>(frame.unixNanoseconds - first.unixNanoseconds);
    PutBig(bytes, frame.frameNumber, 4);
    std::string date = IsoTime(frame.unixNanoseconds);
    date.resize(26, '\0');
    bytes.insert(bytes.end(), date.begin(), date.end());
    PutReal(bytes, static_cast<double>(since) / 1e9);
    PutReal(bytes, static_cast<double>(frame.exposureNanoseconds) / 1e9);
    PutReal(bytes, frame.gain);
    bytes.push_back(frame.hasMissingData ? 'T' : 'F');
}

class FitsSequence final : public SequenceWriter {
public:
    using SequenceWriter::SequenceWriter;

protected:
    bool Begin(const Picture &first) override
    {
        const std::string header = CubeCards(first).Header();
        m_isColour = first.samplesPerPixel == 3;
        m_dataEnd = header.size();
        return File().Append(header);
    }

    bool AddFrame(const Picture &picture) override
    {
        const uint64_t end = m_dataEnd + picture.pixels.size();
        if (!WritePixels(picture) || !Fill(end) ||
            !File().Write(FrameAxisAt(m_isColour), FrameAxis(m_isColour, Frames() + 1)))
            return false;
        m_dataEnd = end;
        return true;
    }

    void Restore() override { Fill(m_dataEnd); }

    bool End() override
    {
        if (!File().Append(TableHeader(Facts().size())))
            return false;
        std::vector<uint8_t> rows;
        for (const FrameFacts &frame : Facts())
            PutRow(rows, frame, Facts().front());
        rows.resize(rows.size() + FitsFill(rows.size()));
        return File().Append(rows);
    }

private:
    bool WritePixels(const Picture &picture)
    {
        if (picture.bytesPerSample == 1 && picture.samplesPerPixel == 1)
            return File().Write(m_dataEnd, picture.pixels);
        const size_t count = size_t{picture.width} * picture.height;
        uint64_t at = m_dataEnd;
        for (size_t plane = 0; plane < picture.samplesPerPixel; ++plane)
            for (size_t first = 0; first < count;) {
                const size_t room = kPieceBytes - at % kPieceBytes;
                const size_t samples = std::min(count - first, room / picture.bytesPerSample);
                const auto piece = std::span(m_piece).first(samples * picture.bytesPerSample);
                PutPiece(picture, plane, first, piece);
                if (!File().Write(at, piece))
                    return false;
                first += samples;
                at += piece.size();
            }
        return true;
    }

    bool Fill(uint64_t dataEnd)
    {
        const std::vector<uint8_t> zeros(FitsFill(dataEnd));
        return File().Write(dataEnd, zeros);
    }

    uint64_t m_dataEnd = 0; // without the fill behind it, which the next frame overwrites
    std::vector<uint8_t> m_piece = std::vector<uint8_t>(kPieceBytes);
    bool m_isColour = false;
};

} // namespace

std::unique_ptr<SequenceWriter> MakeFitsSequence(const std::string &path)
{
    return std::make_unique<FitsSequence>(path);
}

} // namespace zerix::tool

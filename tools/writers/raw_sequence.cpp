// Raw sequences: the samples of all frames one behind the other, rows top down, little-endian; the
// metadata as FILE.json beside them, with one line a frame, whole after every frame.
#include <nlohmann/json.hpp>

#include "tools/writers/json_text.h"
#include "tools/writers/sequence.h"

namespace zerix::tool {

namespace {

constexpr std::string_view kTail = "\n]}\n";

class RawSequence final : public SequenceWriter {
public:
    explicit RawSequence(const std::string &path) : SequenceWriter(path), m_text(path + ".json") {}

protected:
    bool Begin(const Picture &first) override
    {
        nlohmann::ordered_json json;
        json["camera"] = first.cameraModel;
        json["serial"] = first.serialNumber;
        json["width"] = first.width;
        json["height"] = first.height;
        json["format"] = FormatName(first);
        json["samples_per_pixel"] = first.samplesPerPixel;
        json["bytes_per_sample"] = first.bytesPerSample;
        json["significant_bits"] = first.significantBits;
        if (!first.bayerPattern.empty())
            json["bayer_pattern"] = first.bayerPattern;
        json["binning"] = {first.horizontalBinning, first.verticalBinning};
        if (first.setTemperatureCelsius)
            json["set_temperature_c"] = *first.setTemperatureCelsius;
        std::string text = JsonText(json);
        text.back() = ','; // what was the closing brace
        return m_text.Append(text + "\n\"frames\": [" + std::string(kTail));
    }

    bool AddFrame(const Picture &picture) override
    {
        nlohmann::ordered_json json;
        json["time"] = IsoTime(picture.unixNanoseconds) + "Z";
        json["time_unix_ns"] = picture.unixNanoseconds;
        json["exposure_ns"] = picture.exposureNanoseconds;
        json["gain"] = picture.gain;
        json["frame_number"] = picture.frameNumber;
        json["missing_data"] = picture.hasMissingData;
        m_tailAt = m_text.Size() - kTail.size();
        if (!File().Append(picture.pixels) ||
            !m_text.Write(m_tailAt,
                          (Frames() == 0 ? "\n" : ",\n") + JsonText(json) + std::string(kTail)))
            return false;
        m_text.Keep();
        return true;
    }

    void Restore() override
    {
        m_text.CutBack();
        m_text.Write(m_tailAt, kTail);
    }

    void RemoveFiles() override
    {
        SequenceWriter::RemoveFiles();
        m_text.Remove();
    }

    bool CloseFiles() override
    {
        const bool closed = m_text.Close();
        return SequenceWriter::CloseFiles() && closed;
    }

    [[nodiscard]] std::string Reason() const override
    {
        return m_text.Error().empty() ? SequenceWriter::Reason() : m_text.Error();
    }

private:
    GrowingFile m_text;
    uint64_t m_tailAt = 0;
};

} // namespace

std::unique_ptr<SequenceWriter> MakeRawSequence(const std::string &path)
{
    return std::make_unique<RawSequence>(path);
}

} // namespace zerix::tool

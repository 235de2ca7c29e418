// The schema wants the elements in this order.
#include "tools/writers/ome_xml.h"

#include <fmt/format.h>

namespace zerix::tool {

namespace {

constexpr std::string_view kNamespace = "zerix/frame";

std::string Escaped(const std::string &text)
{
    std::string result;
    for (const char c : text) {
        if (c == '&')
            result += "&amp;";
        else if (c == '<')
            result += "&lt;";
        else if (c == '>')
            result += "&gt;";
        else if (c == '"')
            result += "&quot;";
        else if (static_cast<unsigned char>(c) >= ' ' && static_cast<unsigned char>(c) < 0x7F)
            result += c;
        else
            result += '?';
    }
    return result;
}

// Two sides that the schema names, or "Other".
std::string BinningOf(const Picture &picture)
{
    const uint32_t side = picture.horizontalBinning;
    if (side == picture.verticalBinning && (side == 1 || side == 2 || side == 4 || side == 8))
        return fmt::format("{0}x{0}", side);
    return "Other";
}

std::string HeadOf(const Picture &first)
{
    return fmt::format(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<OME xmlns=\"http://www.openmicroscopy.org/Schemas/OME/2016-06\" "
        "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
        "xsi:schemaLocation=\"http://www.openmicroscopy.org/Schemas/OME/2016-06 "
        "http://www.openmicroscopy.org/Schemas/OME/2016-06/ome.xsd\" Creator=\"zerix\">\n"
        "<Instrument ID=\"Instrument:0\">\n"
        "<Detector ID=\"Detector:0\" Model=\"{}\" SerialNumber=\"{}\" Type=\"CCD\"/>\n"
        "</Instrument>\n"
        "<Image ID=\"Image:0\">\n"
        "<AcquisitionDate>{}Z</AcquisitionDate>\n"
        "<InstrumentRef ID=\"Instrument:0\"/>\n",
        Escaped(first.cameraModel), Escaped(first.serialNumber), IsoTime(first.unixNanoseconds));
}

std::string PixelsOf(const Picture &first, uint64_t frames)
{
    // The samples of a pixel are one channel, whose plane is one page.
    const uint32_t samples = first.samplesPerPixel;
    return fmt::format(
        "<Pixels ID=\"Pixels:0\" DimensionOrder=\"{}\" Type=\"{}\" SignificantBits=\"{}\" {}"
        "BigEndian=\"false\" SizeX=\"{}\" SizeY=\"{}\" SizeZ=\"1\" SizeC=\"{}\" SizeT=\"{}\">\n"
        "<Channel ID=\"Channel:0:0\" SamplesPerPixel=\"{}\">\n"
        "<DetectorSettings ID=\"Detector:0\" Gain=\"{}\" Binning=\"{}\"/>\n"
        "</Channel>\n",
        samples == 3 ? "XYCZT" : "XYZCT", first.bytesPerSample == 2 ? "uint16" : "uint8",
        first.significantBits, samples == 3 ? "Interleaved=\"true\" " : "", first.width,
        first.height, samples, OmeFrameCount(frames), samples, first.gain, BinningOf(first));
}

std::string PlaneOf(const FrameFacts &frame, const FrameFacts &first, uint64_t index)
{
    const auto since = static_cast<int64_t>(frame.unixNanoseconds - first.unixNanoseconds);
    return fmt::format("<Plane TheZ=\"0\" TheC=\"0\" TheT=\"{}\" DeltaT=\"{:.9f}\" "
                       "DeltaTUnit=\"s\" ExposureTime=\"{:.9f}\" ExposureTimeUnit=\"s\">"
                       "<AnnotationRef ID=\"Annotation:{}\"/></Plane>\n",
                       index, static_cast<double>(since) / 1e9,
                       static_cast<double>(frame.exposureNanoseconds) / 1e9, index + 1);
}

std::string AnnotationOf(uint64_t id, const std::string &entries)
{
    return fmt::format("<MapAnnotation ID=\"Annotation:{}\" Namespace=\"{}\"><Value>{}</Value>"
                       "</MapAnnotation>\n",
                       id, kNamespace, entries);
}

std::string EntryOf(std::string_view key, const std::string &value)
{
    return fmt::format("<M K=\"{}\">{}</M>", key, value);
}

std::string AnnotationOf(const FrameFacts &frame, uint64_t id)
{
    return AnnotationOf(id,
                        EntryOf("time", IsoTime(frame.unixNanoseconds) + "Z") +
                            EntryOf("exposure_ns", fmt::format("{}", frame.exposureNanoseconds)) +
                            EntryOf("gain", fmt::format("{}", frame.gain)) +
                            EntryOf("frame_number", fmt::format("{}", frame.frameNumber)) +
                            EntryOf("missing_data", frame.hasMissingData ? "true" : "false"));
}

// Of the whole image.
std::string AnnotationOf(const Picture &first)
{
    std::string entries =
        EntryOf("binning", fmt::format("{}x{}", first.horizontalBinning, first.verticalBinning));
    if (!first.bayerPattern.empty())
        entries += EntryOf("bayer_pattern", first.bayerPattern);
    if (first.setTemperatureCelsius)
        entries += EntryOf("set_temperature_c", fmt::format("{}", *first.setTemperatureCelsius));
    return AnnotationOf(0, entries);
}

} // namespace

std::string OmeFrameCount(uint64_t frames) { return fmt::format("{:010}", frames); }

std::string OmeXml(const Picture &first, std::span<const FrameFacts> frames)
{
    std::string xml = HeadOf(first) + PixelsOf(first, frames.size());
    xml += fmt::format("<TiffData IFD=\"0\" PlaneCount=\"{}\"/>\n", frames.size());
    for (size_t i = 0; i < frames.size(); ++i)
        xml += PlaneOf(frames[i], frames.front(), i);
    xml += "</Pixels>\n<AnnotationRef ID=\"Annotation:0\"/>\n</Image>\n<StructuredAnnotations>\n";
    xml += AnnotationOf(first);
    for (size_t i = 0; i < frames.size(); ++i)
        xml += AnnotationOf(frames[i], i + 1);
    return xml + "</StructuredAnnotations>\n</OME>\n";
}

std::string OmeXmlOfBegun(const Picture &first, size_t *countOffset)
{
    std::string xml = HeadOf(first) + PixelsOf(first, 1) + "<TiffData/>\n</Pixels>\n" +
                      "<AnnotationRef ID=\"Annotation:0\"/>\n</Image>\n" +
                      "<StructuredAnnotations>\n" + AnnotationOf(first) +
                      "</StructuredAnnotations>\n</OME>\n";
    constexpr std::string_view kField = "SizeT=\"";
    *countOffset = xml.find(kField) + kField.size();
    return xml;
}

} // namespace zerix::tool

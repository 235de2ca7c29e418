// What all sequence files have in common: frames of one size, cutting back, formats by the ending.
#include "tools/writers/sequence.h"

#include <algorithm>
#include <cctype>

#include <fmt/format.h>

namespace zerix::tool {

std::string SequenceWriter::WhyUnfit(const Picture &picture) const
{
    if (picture.samplesPerPixel != 1 && picture.samplesPerPixel != 3)
        return "a frame has neither one sample a pixel nor three";
    if (picture.pixels.size() != RowBytes(picture) * picture.height || picture.pixels.empty())
        return "a frame's pixels are not as many as its size tells";
    const bool isFirst = m_frameSize == 0;
    if (!isFirst && (picture.pixels.size() != m_frameSize || picture.width != m_width ||
                     picture.samplesPerPixel != m_samplesPerPixel ||
                     picture.bytesPerSample != m_bytesPerSample))
        return "a frame has not the first one's size";
    return {};
}

bool SequenceWriter::TryAppend(const Picture &picture)
{
    if (m_frameSize == 0 && !Begin(picture))
        return false;
    m_frameSize = picture.pixels.size();
    m_width = picture.width;
    m_samplesPerPixel = picture.samplesPerPixel;
    m_bytesPerSample = picture.bytesPerSample;
    return AddFrame(picture);
}

std::string SequenceWriter::Append(const Picture &picture)
{
    if (!m_failure.empty())
        return m_failure;
    m_failure = WhyUnfit(picture);
    if (!m_failure.empty())
        return m_failure;
    if (TryAppend(picture)) {
        m_file.Keep();
        m_facts.push_back({picture.unixNanoseconds, picture.exposureNanoseconds, picture.gain,
                           picture.frameNumber, picture.hasMissingData});
        return {};
    }
    m_failure = Reason();
    m_file.CutBack();
    if (Frames() > 0)
        Restore();
    return m_failure;
}

std::string SequenceWriter::Finish()
{
    if (Frames() == 0) {
        RemoveFiles();
        return {};
    }
    std::string error;
    if (!End()) {
        error = Reason();
        m_file.CutBack();
        Restore();
    }
    if (!CloseFiles() && error.empty())
        error = Reason();
    return error;
}

const std::vector<SequenceFormat> &SequenceFormats()
{
    static const std::vector<SequenceFormat> formats = {
        {"OME-TIFF",
         {".ome.tif", ".ome.tiff"},
         [](const std::string &path) { return MakeTiffSequence(path, true); }},
        {"TIFF",
         {".tif", ".tiff"},
         [](const std::string &path) { return MakeTiffSequence(path, false); }},
        {"FITS", {".fits", ".fit"}, MakeFitsSequence},
        {"SER", {".ser"}, MakeSerSequence},
        {"raw", {".raw"}, MakeRawSequence},
    };
    return formats;
}

const SequenceFormat *SequenceFormatOfFile(const std::string &path, std::string *error)
{
    std::string name = path;
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    std::string known;
    for (const auto &format : SequenceFormats()) {
        for (const auto &ending : format.endings) {
            if (name.ends_with(ending))
                return &format;
            known += (known.empty() ? "" : ", ") + ending;
        }
    }
    *error =
        fmt::format("{}: a sequence of frames goes to a file that ends in one of {}.", path, known);
    return nullptr;
}

std::unique_ptr<SequenceWriter> OpenSequence(const std::string &path, std::string *error)
{
    const SequenceFormat *format = SequenceFormatOfFile(path, error);
    if (format == nullptr)
        return nullptr;
    auto writer = format->make(path);
    if (writer->OpenError().empty())
        return writer;
    *error = fmt::format("{} can't be written: {}.", path, writer->OpenError());
    return nullptr;
}

} // namespace zerix::tool

// Multi-page TIFF files: each page carries its frame's metadata as JSON, as single pictures do. In
// an OME-TIFF the first page's description is the OME-XML of the whole file instead; until the file
// is finished that counts the frames without describing each.
#include "tools/writers/ome_xml.h"
#include "tools/writers/sequence.h"
#include "tools/writers/tiff_pages.h"

namespace zerix::tool {

namespace {

class TiffSequence final : public SequenceWriter {
public:
    TiffSequence(const std::string &path, bool isOme, uint64_t classicLimit)
        : SequenceWriter(path), m_pages(File(), classicLimit), m_isOme(isOme)
    {
    }

protected:
    bool Begin(const Picture &first) override
    {
        m_first = first;
        m_first.pixels = {};
        return m_pages.Begin(first);
    }

    bool AddFrame(const Picture &picture) override
    {
        if (!m_isOme)
            return m_pages.Add(picture, MetadataJson(picture));
        if (Frames() == 0)
            return m_pages.Add(picture, OmeXmlOfBegun(m_first, &m_countOffset));
        if (!m_pages.Add(picture, MetadataJson(picture)))
            return false;
        // The page is in the file now, whether this succeeds or the count lags behind.
        m_pages.MendFirstDescription(m_countOffset, OmeFrameCount(Frames() + 1));
        return true;
    }

    bool End() override
    {
        return !m_isOme || m_pages.ReplaceFirstDescription(OmeXml(m_first, Facts()));
    }

private:
    TiffPages m_pages;
    bool m_isOme;
    Picture m_first; // without its pixels
    size_t m_countOffset = 0;
};

} // namespace

std::unique_ptr<SequenceWriter> MakeTiffSequence(const std::string &path, bool isOme,
                                                 uint64_t classicLimit)
{
    return std::make_unique<TiffSequence>(path, isOme, classicLimit);
}

} // namespace zerix::tool

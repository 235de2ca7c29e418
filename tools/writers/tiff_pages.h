// The pages of a TIFF file, one uncompressed strip each, linked one by one, so that the file is
// whole after every page. It begins as a classic file and becomes a BigTIFF when it outgrows 4 GB:
// the pixels stay where they are, and all directories are written anew.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/writers/growing_file.h"
#include "tools/writers/picture.h"

namespace zerix::tool {

class TiffPages {
public:
    TiffPages(GrowingFile &file, uint64_t classicLimit) : m_file(file), m_limit(classicLimit) {}

    // Each returns false for a failure of the file.
    bool Begin(const Picture &first);
    bool Add(const Picture &picture, const std::string &description);
    // Writes the text at the end of the file and gives it to the first page.
    bool ReplaceFirstDescription(const std::string &text);
    // Overwrites part of the first page's text.
    bool MendFirstDescription(size_t offset, const std::string &text);

private:
    struct Page {
        uint64_t pixels; // all of them positions in the file
        uint64_t date;
        uint64_t description;
        uint64_t descriptionSize; // with its final 0
        uint64_t directory;
    };
    // What several pages share.
    struct Shared {
        std::string bytes;
        uint64_t position = 0;
    };
    struct Entry;

    [[nodiscard]] std::vector<Entry> EntriesOf(const Page &page) const;
    [[nodiscard]] std::vector<uint8_t> Directory(const Page &page, uint64_t next) const;
    [[nodiscard]] size_t DirectorySize() const;
    [[nodiscard]] uint64_t LinkBehind(const Page &page) const;
    [[nodiscard]] size_t PositionSize() const { return m_isBig ? 8 : 4; }
    bool MakeRoomFor(uint64_t bytes);
    bool BecomeBig();

    GrowingFile &m_file;
    uint64_t m_limit;
    bool m_isBig = false;
    std::vector<Page> m_pages;
    Shared m_model; // texts with their final 0
    Shared m_serial;
    Shared m_software;
    Shared m_bits;    // of each sample of a pixel
    Shared m_largest; // value of each
    uint32_t m_width = 0;
    uint32_t m_height = 0;
    uint32_t m_samplesPerPixel = 0;
    uint64_t m_stripSize = 0; // bytes
};

} // namespace zerix::tool

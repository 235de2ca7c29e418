// Headers, directories and links, little-endian, in the classic and in the big form.
#include "tools/writers/tiff_pages.h"

#include <iterator>

#include "tools/writers/byte_order.h"

namespace zerix::tool {

namespace {

enum Type : uint16_t { kAscii = 2, kShort = 3, kLong = 4, kLong8 = 16 };

constexpr size_t kEntryCount = 15;
constexpr size_t kDescriptionEntry = 5; // where it stands among them
constexpr uint64_t kHeaderSize = 16;    // room for the big form
constexpr size_t kDateSize = 20;

// "2025:01:01 00:00:00" with its final 0.
std::string DateOf(const Picture &picture)
{
    std::string date = IsoTime(picture.unixNanoseconds).substr(0, kDateSize - 1);
    date[4] = date[7] = ':';
    date[10] = ' ';
    return date + '\0';
}

void Align(std::vector<uint8_t> &bytes, uint64_t position)
{
    while ((position + bytes.size()) % 8 != 0)
        bytes.push_back(0);
}

std::vector<uint8_t> BytesOf(const std::string &text) { return {text.begin(), text.end()}; }

// The same word for each sample of a pixel.
std::string WordForEach(uint32_t samples, uint32_t value)
{
    std::string bytes;
    for (uint32_t i = 0; i < samples; ++i)
        for (const uint8_t byte : Little(value, 2))
            bytes += static_cast<char>(byte);
    return bytes;
}

} // namespace

struct TiffPages::Entry {
    uint16_t tag;
    uint16_t type;
    uint64_t count;
    uint64_t value;                     // or the position of the bytes
    const std::string *bytes = nullptr; // stand in the entry itself where they fit
};

std::vector<TiffPages::Entry> TiffPages::EntriesOf(const Page &page) const
{
    const uint16_t position = m_isBig ? kLong8 : kLong;
    const bool isColour = m_samplesPerPixel == 3;
    const auto text = [](uint16_t tag, const Shared &shared) {
        return Entry{tag, kAscii, shared.bytes.size(), shared.position, &shared.bytes};
    };
    const auto words = [this](uint16_t tag, const Shared &shared) {
        return Entry{tag, kShort, m_samplesPerPixel, shared.position, &shared.bytes};
    };
    return {
        {256, kLong, 1, m_width},
        {257, kLong, 1, m_height},
        words(258, m_bits),
        {259, kShort, 1, 1},                           // not compressed
        {262, kShort, 1, isColour ? uint64_t{2} : 1u}, // red, green, blue; or 0 is black
        {270, kAscii, page.descriptionSize, page.description},
        text(272, m_model),
        {273, position, 1, page.pixels},
        {277, kShort, 1, m_samplesPerPixel},
        {278, kLong, 1, m_height},
        {279, position, 1, m_stripSize},
        words(281, m_largest),
        text(305, m_software),
        {306, kAscii, kDateSize, page.date},
        text(50735, m_serial),
    };
}

std::vector<uint8_t> TiffPages::Directory(const Page &page, uint64_t next) const
{
    std::vector<uint8_t> bytes;
    PutLittle(bytes, kEntryCount, m_isBig ? 8 : 2);
    for (const Entry &entry : EntriesOf(page)) {
        PutLittle(bytes, entry.tag, 2);
        PutLittle(bytes, entry.type, 2);
        PutLittle(bytes, entry.count, PositionSize());
        if (entry.bytes == nullptr || entry.bytes->size() > PositionSize()) {
            PutLittle(bytes, entry.value, PositionSize());
            continue;
        }
        bytes.insert(bytes.end(), entry.bytes->begin(), entry.bytes->end());
        bytes.resize(bytes.size() + PositionSize() - entry.bytes->size());
    }
    PutLittle(bytes, next, PositionSize());
    return bytes;
}

size_t TiffPages::DirectorySize() const
{
    return m_isBig ? 8 + kEntryCount * 20 + 8 : 2 + kEntryCount * 12 + 4;
}

uint64_t TiffPages::LinkBehind(const Page &page) const
{
    return page.directory + DirectorySize() - PositionSize();
}

bool TiffPages::Begin(const Picture &first)
{
    m_width = first.width;
    m_height = first.height;
    m_samplesPerPixel = first.samplesPerPixel;
    m_stripSize = first.pixels.size();
    std::vector<uint8_t> bytes = {'I', 'I', 42, 0};
    bytes.resize(kHeaderSize);
    m_model.bytes = first.cameraModel + '\0';
    m_serial.bytes = first.serialNumber + '\0';
    m_software.bytes = std::string("zerix") + '\0';
    m_bits.bytes = WordForEach(m_samplesPerPixel, 8 * first.bytesPerSample);
    m_largest.bytes = WordForEach(m_samplesPerPixel, (1u << first.significantBits) - 1);
    for (Shared *shared : {&m_model, &m_serial, &m_software, &m_bits, &m_largest}) {
        Align(bytes, 0);
        shared->position = bytes.size();
        bytes.insert(bytes.end(), shared->bytes.begin(), shared->bytes.end());
    }
    Align(bytes, 0);
    return m_file.Append(bytes);
}

bool TiffPages::Add(const Picture &picture, const std::string &description)
{
    if (!MakeRoomFor(picture.pixels.size() + description.size()))
        return false;
    Page page{};
    page.pixels = m_file.Size();
    if (!m_file.Append(picture.pixels))
        return false;
    const uint64_t begin = m_file.Size();
    std::vector<uint8_t> bytes;
    Align(bytes, begin);
    page.date = begin + bytes.size();
    for (const char c : DateOf(picture))
        bytes.push_back(static_cast<uint8_t>(c));
    page.description = begin + bytes.size();
    page.descriptionSize = description.size() + 1;
    bytes.insert(bytes.end(), description.begin(), description.end());
    bytes.push_back(0);
    Align(bytes, begin);
    page.directory = begin + bytes.size();
    const std::vector<uint8_t> directory = Directory(page, 0);
    bytes.insert(bytes.end(), directory.begin(), directory.end());
    Align(bytes, begin);
    if (!m_file.Append(bytes))
        return false;
    const uint64_t link = m_pages.empty() ? (m_isBig ? 8 : 4) : LinkBehind(m_pages.back());
    if (!m_file.Write(link, Little(page.directory, PositionSize())))
        return false;
    m_pages.push_back(page);
    return true;
}

bool TiffPages::MendFirstDescription(size_t offset, const std::string &text)
{
    return m_file.Write(m_pages.front().description + offset, text);
}

bool TiffPages::ReplaceFirstDescription(const std::string &text)
{
    if (!MakeRoomFor(text.size()))
        return false;
    Page first = m_pages.front();
    first.description = m_file.Size();
    first.descriptionSize = text.size() + 1;
    if (!m_file.Append(BytesOf(text + '\0')))
        return false;
    // Count and position together, so that there is no moment with one of each.
    std::vector<uint8_t> entry;
    PutLittle(entry, first.descriptionSize, PositionSize());
    PutLittle(entry, first.description, PositionSize());
    const size_t before = m_isBig ? 8 + kDescriptionEntry * 20 : 2 + kDescriptionEntry * 12;
    if (!m_file.Write(first.directory + before + 4, entry))
        return false;
    m_pages.front() = first;
    return true;
}

bool TiffPages::MakeRoomFor(uint64_t bytes)
{
    constexpr uint64_t kMargin = 1024; // directory, date, alignment
    return m_isBig || m_file.Size() + bytes + kMargin <= m_limit || BecomeBig();
}

bool TiffPages::BecomeBig()
{
    m_isBig = true;
    std::vector<uint8_t> bytes;
    Align(bytes, m_file.Size());
    const uint64_t begin = m_file.Size() + bytes.size();
    const auto directoryAt = [&](size_t page) { return begin + page * DirectorySize(); };
    for (size_t i = 0; i < m_pages.size(); ++i) {
        const bool isLast = i + 1 == m_pages.size();
        const auto directory = Directory(m_pages[i], isLast ? 0 : directoryAt(i + 1));
        bytes.insert(bytes.end(), directory.begin(), directory.end());
        if (bytes.size() < 1'000'000 && !isLast)
            continue;
        if (!m_file.Append(bytes)) {
            m_isBig = false;
            return false;
        }
        bytes.clear();
    }
    std::vector<uint8_t> header = {'I', 'I', 43, 0, 8, 0, 0, 0};
    PutLittle(header, m_pages.empty() ? 0 : begin, 8);
    m_isBig = m_file.Write(0, header);
    if (!m_isBig)
        return false;
    m_file.Keep();
    for (size_t i = 0; i < m_pages.size(); ++i)
        m_pages[i].directory = directoryAt(i);
    return true;
}

} // namespace zerix::tool

// A sequence of pictures on its way to one file, and the file formats that it can go to: all of
// them take pictures of one sample a pixel and of three, red, green and blue. After each frame the
// file is whole: whatever ends the program then, a reader finds every frame so far. The writers put
// all of it together themselves, because the formats' libraries keep headers in memory until the
// end.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tools/writers/growing_file.h"
#include "tools/writers/picture.h"

namespace zerix::tool {

// What is kept of every frame for the end of the file.
struct FrameFacts {
    uint64_t unixNanoseconds = 0; // start of the exposure, UTC
    uint64_t exposureNanoseconds = 0;
    double gain = 1;
    uint32_t frameNumber = 0;
    bool hasMissingData = false;
};

// Not for several threads at once.
class SequenceWriter {
public:
    explicit SequenceWriter(const std::string &path) : m_file(path) {}
    virtual ~SequenceWriter() = default;
    SequenceWriter(const SequenceWriter &) = delete;
    SequenceWriter &operator=(const SequenceWriter &) = delete;

    // Why the file can't be written; empty if it can. It is created, or emptied, by the first
    // frame.
    [[nodiscard]] std::string OpenError() const { return Reason(); }

    // Writes one more frame, of the first one's size. Empty, or why that failed: the file then
    // holds the frames before, and takes no more.
    std::string Append(const Picture &picture);

    // Writes what stands behind the last frame, and closes the file. With no frame there is no new
    // file afterwards, and one that was there before is as it was. Empty, or why that failed: all
    // frames are in the file even then.
    std::string Finish();

    // Frames that are safe in the file.
    [[nodiscard]] uint64_t Frames() const { return m_facts.size(); }

protected:
    // Each returns false for a failure, which Reason() explains.
    virtual bool Begin(const Picture &first) = 0;
    virtual bool AddFrame(const Picture &picture) = 0;
    virtual bool End() { return true; }
    // After a failure the file has been cut back to where it ended after the last whole frame; puts
    // right what a begun frame has overwritten.
    virtual void Restore() {}
    virtual void RemoveFiles() { m_file.Remove(); }
    virtual bool CloseFiles() { return m_file.Close(); }
    // Why the last thing failed.
    [[nodiscard]] virtual std::string Reason() const { return m_file.Error(); }

    [[nodiscard]] GrowingFile &File() { return m_file; }
    [[nodiscard]] const std::vector<FrameFacts> &Facts() const { return m_facts; }

private:
    [[nodiscard]] std::string WhyUnfit(const Picture &picture) const;
    bool TryAppend(const Picture &picture);

    GrowingFile m_file;
    std::vector<FrameFacts> m_facts;
    std::string m_failure;
    uint64_t m_frameSize = 0; // pixels, bytes; 0 before the first frame
    uint32_t m_width = 0;
    uint32_t m_samplesPerPixel = 0;
    uint32_t m_bytesPerSample = 0;
};

struct SequenceFormat {
    std::string name;                 // "FITS"
    std::vector<std::string> endings; // ".fits", ".fit"
    std::unique_ptr<SequenceWriter> (*make)(const std::string &path);
};
const std::vector<SequenceFormat> &SequenceFormats();

// Null, and a sentence that lists the known endings, for an ending that is none of them.
const SequenceFormat *SequenceFormatOfFile(const std::string &path, std::string *error);

// Null, and one sentence, if the file can't be written.
std::unique_ptr<SequenceWriter> OpenSequence(const std::string &path, std::string *error);

// A file of more bytes than `classicLimit` becomes a BigTIFF.
inline constexpr uint64_t kClassicTiffLimit = 0xFFFF0000u;
std::unique_ptr<SequenceWriter> MakeTiffSequence(const std::string &path, bool isOme,
                                                 uint64_t classicLimit = kClassicTiffLimit);
std::unique_ptr<SequenceWriter> MakeFitsSequence(const std::string &path);
std::unique_ptr<SequenceWriter> MakeSerSequence(const std::string &path);
std::unique_ptr<SequenceWriter> MakeRawSequence(const std::string &path);

} // namespace zerix::tool

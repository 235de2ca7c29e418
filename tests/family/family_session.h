// One camera of a rack, opened through the exported functions, and the pictures that it gives: each
// frame is asked for alone, so that no frame is lost and every one has a number of its own.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/api/virtual_bus_session.h"
#include "tests/family/expected_picture.h"

namespace zerix::family {

// What a frame record tells beside the size and the pixels.
struct FrameFacts {
    uint32_t format = zfmtMono8;
    uint16_t bitDepth = 8;
    uint32_t binning = 1;
    uint32_t isLvw = 0;
};

// 2 and 3 without a mosaic, 4 and 5 with one; the second of them for words.
uint32_t FormatOf(bool hasMosaic, uint16_t bitDepth);

// Whether a bus of 400 Mb/s has room for the packets of such a readout; a fast one always has. For
// a Benchmate the binning is 1: it leaves out rows alone.
bool FitsSlowBus(bool isInBytes, uint32_t binning, float megahertz);

class FamilySession : public api::VirtualBusSession {
protected:
    // A rack of the folder of racks, by its name.
    void UseFamilyRack(const std::string &name) const;
    // Opens the camera at a place of the chosen rack, and lets it begin no frame unasked. The
    // settings are read once, so that frames tell the formats of their images.
    void OpenAt(uint32_t place);
    // Chooses a rack of one camera and opens that. The keys are lines of a rack file.
    void OpenOnly(const std::string &keys, uint32_t speed = 800);
    ZX::ZCamera &Camera();

    // Takes one frame into `frame` and `pixels`; a guard behind the pixels stays whole.
    void Grab();
    // Takes one, and expects every pixel of the view and every field of the record. `expected` are
    // the view's bytes.
    void ExpectPicture(const View &view, const std::vector<uint8_t> &expected,
                       const FrameFacts &facts);
    void ExpectPicture(const View &view, const FrameFacts &facts);

    ZerixHandle handle = nullptr;
    Zerix_Frame frame = {};
    std::vector<uint8_t> pixels;

private:
    void ExpectRecord(const View &view, const FrameFacts &facts);

    uint32_t m_place = 0;
    uint16_t m_framesBefore = 0;
    uint32_t m_lastTimeStamp = 0;
};

} // namespace zerix::family

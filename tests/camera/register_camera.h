// A camera whose register blocks a test fills directly, and whose writes it reads back. It hangs on
// no bus: its transport is one that the hardware layer passes over, after having traced the
// transfer. One at a time, on one thread.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

#include "camera/stream_owner.h"
#include "camera/tolvane_fw_camera.h"

namespace zerix::test {

inline constexpr uint32_t kControlAddress = 0xE1000000;
inline constexpr uint32_t kCommandAddress = 0xE2000000;
inline constexpr uint32_t kInformationAddress = 0xE3000000;
inline constexpr uint32_t kStatusAddress = 0xE4000000;

// One quadlet on its way to the camera.
struct SentQuadlet {
    uint32_t address;
    uint32_t value;
    bool operator==(const SentQuadlet &) const = default;
};
std::ostream &operator<<(std::ostream &stream, const SentQuadlet &quadlet);
using SentQuadlets = std::vector<SentQuadlet>;

// Of a control word, and of a commit.
constexpr SentQuadlet Sent(uint32_t offset, uint32_t value)
{
    return {kControlAddress + offset, value};
}
constexpr SentQuadlet SentCommit() { return {kCommandAddress + 4, 1}; }

constexpr uint32_t Version(uint32_t major, uint32_t minor) { return major << 16 | minor; }
inline constexpr uint32_t kNewestInformation = Version(2, 11);
inline constexpr uint32_t kNewestControl = Version(2, 8);

// Where its transfers go.
enum class Wire {
    kNowhere, // every transfer succeeds and changes nothing; a bus without packets
    kBroken,  // every transfer fails; a bus of 400 Mb/s
    kFast,    // the same; a bus of 800 Mb/s
};

// A record of a camera that hangs there. The camera's destructor releases it.
HALCamera HalCameraOn(Wire wire);

// The quadlets that the hardware layer's trace of writes tells, oldest first.
SentQuadlets SentIn(const std::string &trace);

class RegisterCamera : public ZX::TolvaneFWCamera {
public:
    explicit RegisterCamera(uint32_t informationVersion = kNewestInformation,
                            uint32_t controlVersion = kNewestControl, Wire wire = Wire::kNowhere);
    ~RegisterCamera() override;

    void SetInformation(uint32_t offset, uint32_t word);
    void SetControl(uint32_t offset, uint32_t word);
    void SetStatusWord(uint32_t offset, uint32_t word);
    uint32_t ControlWord(uint32_t offset) const { return controlBlock.Word(offset); }
    // Turns one bit of the capability word on.
    void Enable(registers::Capability capability);
    // A curve, a default gain, and the limits that follow.
    void SetUpGain(uint32_t board, uint32_t gainDefault, uint32_t gainMin = 0,
                   uint32_t gainMax = 4095);

    // Quadlets written since the last call, oldest first.
    SentQuadlets TakeSent();

    // What every model brings along.
    void GetSymmetricalBinningModes(std::vector<uint16_t> &modes) override { modes = {1, 2, 4, 8}; }
    const char *GetModelString() override { return "Register camera"; }
    uint32_t GetAnalogBoardType() override { return analogBoardType; }
    void GetReadoutFrequencyModes(std::vector<float> &modes) override;

    bool IsRestartMarked() const { return Stream().isRestartMarked; }

    uint32_t analogBoardType = 2;
    bool hasReadoutFrequencies = true;

    using TolvaneFWCamera::abortPending;
    using TolvaneFWCamera::defaultNormalizedGaindB;
    using TolvaneFWCamera::gainRecord;
    using TolvaneFWCamera::miscCtrlChanged;
    using TolvaneFWCamera::streaming;

private:
    std::string m_trace;
};

} // namespace zerix::test

// The camera without a bus. Its writes are read out of the hardware layer's own trace.
#include "tests/camera/register_camera.h"

#include <ostream>
#include <sstream>

#include "hal/fw_camera_device.h"
#include "platform/os.h"

namespace zerix::test {

namespace {

constexpr uint32_t kTransportToNowhere = 2;

void Fill(RegisterBlock &block, uint32_t address, uint32_t version)
{
    block.address = address;
    block.SetVersion(version);
    block.FillWithZeros();
    if (block.HasWord(0))
        block.Store(0, version);
}

} // namespace

std::ostream &operator<<(std::ostream &stream, const SentQuadlet &quadlet)
{
    std::ostringstream text;
    text << std::hex << "0x" << quadlet.address << " = 0x" << quadlet.value;
    return stream << text.str();
}

HALCamera HalCameraOn(Wire wire)
{
    HALCamera camera{};
    if (wire == Wire::kNowhere) {
        camera.kind = kTransportToNowhere;
        return camera;
    }
    auto *device = new hal::FWCameraDevice("nowhere");
    device->speedFlag = wire == Wire::kFast ? kernel::kSpeedFlag800 : kernel::kSpeedFlag400;
    camera.kind = hal::kLiveTransport;
    camera.device = device;
    return camera;
}

// The trace says "Async write to address 0xADDRESS", then "Hex data: VALUE ".
SentQuadlets SentIn(const std::string &trace)
{
    static const std::string kAddress = "Async write to address 0x";
    static const std::string kData = "Hex data: ";
    SentQuadlets quadlets;
    for (size_t at = trace.find(kAddress); at != std::string::npos;
         at = trace.find(kAddress, at + 1)) {
        const size_t data = trace.find(kData, at);
        quadlets.push_back(
            {static_cast<uint32_t>(std::stoul(trace.substr(at + kAddress.size(), 8), nullptr, 16)),
             static_cast<uint32_t>(std::stoul(trace.substr(data + kData.size(), 8), nullptr, 16))});
    }
    return quadlets;
}

RegisterCamera::RegisterCamera(uint32_t informationVersion, uint32_t controlVersion, Wire wire)
    : TolvaneFWCamera(HalCameraOn(wire))
{
    Fill(informationBlock, kInformationAddress, informationVersion);
    Fill(controlBlock, kControlAddress, controlVersion);
    Fill(commandBlock, kCommandAddress, Version(1, 2));
    Fill(statusBlock, kStatusAddress, Version(1, 3));
    os::SetDebugOutputForTest([this](const std::string &text) { m_trace += text; });
    HAL_CameraSetShouldOutputWrites(0, 1);
}

RegisterCamera::~RegisterCamera()
{
    HAL_CameraSetShouldOutputWrites(0, 0);
    os::SetDebugOutputForTest({});
}

void RegisterCamera::SetInformation(uint32_t offset, uint32_t word)
{
    informationBlock.Store(offset, word);
}

void RegisterCamera::SetControl(uint32_t offset, uint32_t word)
{
    controlBlock.Store(offset, word);
}

void RegisterCamera::SetStatusWord(uint32_t offset, uint32_t word)
{
    statusBlock.Store(offset, word);
}

void RegisterCamera::Enable(registers::Capability capability)
{
    const uint32_t offset = registers::information::kCapabilitiesOffset;
    SetInformation(offset, informationBlock.Word(offset) | 1u << static_cast<uint32_t>(capability));
}

// The dynamic range of 34.1516 decibels is the one that cameras before 2.4 don't tell.
void RegisterCamera::SetUpGain(uint32_t board, uint32_t gainDefault, uint32_t gainMin,
                               uint32_t gainMax)
{
    analogBoardType = board;
    SetInformation(0x08, gainDefault << 20);
    SetInformation(0x78, gainMin << 20 | gainMax << 4);
    SetupNormalizedGain();
}

void RegisterCamera::GetReadoutFrequencyModes(std::vector<float> &modes)
{
    modes.clear();
    if (hasReadoutFrequencies)
        TolvaneFWCamera::GetReadoutFrequencyModes(modes);
}

SentQuadlets RegisterCamera::TakeSent()
{
    const SentQuadlets quadlets = SentIn(m_trace);
    m_trace.clear();
    return quadlets;
}

} // namespace zerix::test

#include "recorded_camera.h"

#include <algorithm>
#include <stdexcept>

#include "sim/packetizer.h"
#include "sim/register_map.h"

namespace zerix::test {

namespace {

// Where the tag stands in a packet with a frame header of formats 1 and 2, on the wire.
constexpr uint16_t kTagOffset = 10;
constexpr uint32_t kTagWord = 0x04;
constexpr uint32_t kEnableWord = 0x04;

} // namespace

RecordedCamera::RecordedCamera(DriverControl &driver, uint32_t device,
                               const sim::CameraDescription &description)
    : m_driver(driver), m_device(device), m_streamingVersion(description.streamingVersion)
{
    sim::VirtualCamera camera(description, 1, true);
    std::string error;
    if (!camera.SetUp(&error))
        throw std::runtime_error(error);
    std::vector<uint32_t> directory(sim::ConfigurationWords(description.configuration));
    camera.Read(sim::kConfigurationBase, directory);
    const auto block = [&](sim::RegisterField field, uint32_t words) {
        const uint32_t address = sim::ReadField(directory, field);
        CopyBlock(camera, address, words);
        return address;
    };
    driver.SetRegister(device, sim::kModelRegister, description.model << 16);
    driver.SetRegisters(device, sim::kConfigurationBase, directory);
    block(sim::directory::kInformation, sim::InformationWords(description.information));
    block(sim::directory::kCommand, sim::CommandWords(description.command));
    block(sim::directory::kStatus, sim::StatusWords(description.status));
    m_control = block(sim::directory::kControl, sim::ControlWords(description.control));
    m_streaming = block(sim::directory::kStreaming, sim::StreamingWords(description.streaming));
}

void RecordedCamera::CopyBlock(sim::VirtualCamera &camera, uint32_t address, uint32_t words)
{
    std::vector<uint32_t> values(words);
    if (camera.Read(address, values) != 0)
        throw std::runtime_error("the virtual camera has no such block");
    m_driver.SetRegisters(m_device, address, values);
}

void RecordedCamera::Show(std::span<const uint8_t> pixels, uint32_t packetBytes,
                          const std::vector<size_t> &lost)
{
    sim::Packetizer packetizer;
    packetizer.Begin({.streamingVersion = m_streamingVersion,
                      .packetBytes = packetBytes,
                      .rollingFrameNumber = 77,
                      .bitDepth = 8},
                     pixels);
    DriverControl::Recording recording{.streamRegister = m_streaming + kEnableWord,
                                       .tagRegister = m_control + kTagWord,
                                       .idleSlots = 40,
                                       .packets = {}};
    std::vector<uint8_t> packet;
    for (size_t number = 0; packetizer.Next(packet); ++number)
        if (std::find(lost.begin(), lost.end(), number) == lost.end())
            recording.packets.push_back(
                {.bytes = packet, .tagOffset = number == 0 ? kTagOffset : uint16_t{0}});
    m_driver.SetRecording(m_device, recording);
}

} // namespace zerix::test

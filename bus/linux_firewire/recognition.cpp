// Asking a node whether it is a camera.
#include "bus/linux_firewire/recognition.h"

#include <algorithm>
#include <array>

#include "hal/kernel_driver.h"

namespace zerix::bus::linux_firewire {

namespace {

// Where cameras have their model, the number in the upper half; older ones at the second place.
constexpr uint32_t kModelAddress = 0xE0010038;
constexpr uint32_t kModelAddressAlt = 0xE0001138;
constexpr uint32_t kModelShift = 16;

// The directory of the register blocks, in its one version, and the places of their addresses.
constexpr uint32_t kDirectoryAddress = 0xD0000000;
constexpr uint32_t kDirectoryVersion = 0x00010001;
constexpr std::array<uint32_t, 5> kBlockAddresses = {0x08, 0x10, 0x18, 0x20, 0x28};

// FNV-1a.
uint64_t ChecksumOf(const std::string &bytes)
{
    uint64_t sum = 0xCBF29CE484222325;
    for (const char byte : bytes)
        sum = (sum ^ static_cast<uint8_t>(byte)) * 0x100000001B3;
    return sum;
}

bool ArePlausible(std::array<uint32_t, kBlockAddresses.size()> addresses)
{
    std::sort(addresses.begin(), addresses.end());
    const bool areDistinct =
        std::adjacent_find(addresses.begin(), addresses.end()) == addresses.end();
    const bool areAligned = std::all_of(addresses.begin(), addresses.end(),
                                        [](uint32_t address) { return address % 4 == 0; });
    return areDistinct && areAligned && addresses.front() != 0;
}

} // namespace

bool Recogniser::HasKnownUnit(const Node &node) const
{
    return std::any_of(node.units.begin(), node.units.end(), [this](const Unit &unit) {
        return std::find(m_recognition.units.begin(), m_recognition.units.end(), unit) !=
               m_recognition.units.end();
    });
}

bool Recogniser::IsCamera(const Node &node, const OpenReader &open)
{
    if (node.isLocal)
        return false;
    if (HasKnownUnit(node))
        return true;
    const Key key = {node.guid, ChecksumOf(node.rom)};
    const std::lock_guard lock(m_mutex);
    if (const auto known = m_verdicts.find(key); known != m_verdicts.end())
        return known->second;
    if (node.hasKernelDriver || !m_recognition.isModel)
        return false;
    const Answer answer = Ask(node, open);
    if (answer != Answer::kNone)
        m_verdicts.emplace(key, answer == Answer::kCamera);
    return answer == Answer::kCamera;
}

Recogniser::Answer Recogniser::Ask(const Node &node, const OpenReader &open) const
{
    const auto reader = open(node);
    if (!reader)
        return Answer::kNone;
    if (const Answer model = AskForModel(*reader); model != Answer::kCamera)
        return model;
    uint32_t version = 0;
    if (reader->Read(kDirectoryAddress, version) != 0 || version != kDirectoryVersion)
        return Answer::kOther;
    std::array<uint32_t, kBlockAddresses.size()> addresses{};
    for (size_t i = 0; i < addresses.size(); ++i)
        if (reader->Read(kDirectoryAddress + kBlockAddresses[i], addresses[i]) != 0)
            return Answer::kOther;
    return ArePlausible(addresses) ? Answer::kCamera : Answer::kOther;
}

Recogniser::Answer Recogniser::AskForModel(RegisterReader &reader) const
{
    const Answer first = AskForModelAt(reader, kModelAddress);
    return first == Answer::kOther ? AskForModelAt(reader, kModelAddressAlt) : first;
}

// A node that goes away while it is asked has said nothing.
Recogniser::Answer Recogniser::AskForModelAt(RegisterReader &reader, uint32_t address) const
{
    uint32_t word = 0;
    const uint32_t error = reader.Read(address, word);
    if (error == kernel::kErrorDeviceNotConnected)
        return Answer::kNone;
    return error == 0 && m_recognition.isModel(word >> kModelShift) ? Answer::kCamera
                                                                    : Answer::kOther;
}

} // namespace zerix::bus::linux_firewire

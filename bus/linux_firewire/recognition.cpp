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

// What gives no answer now may be a camera that is about to start.
constexpr std::chrono::seconds kSilenceHolds{10};

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

bool Recogniser::IsCamera(const Node &node, const OpenReader &open, std::chrono::nanoseconds now)
{
    if (node.isLocal)
        return false;
    if (HasKnownUnit(node))
        return true;
    const Key key = {node.guid, ChecksumOf(node.rom)};
    if (const auto known = VerdictOn(key, now))
        return *known;
    if (node.hasKernelDriver || !m_recognition.isModel)
        return false;
    const std::lock_guard asking(m_asking);
    if (const auto known = VerdictOn(key, now))
        return *known;
    const Answer answer = Ask(node, open);
    Remember(key, answer, now);
    return answer == Answer::kCamera;
}

std::optional<bool> Recogniser::VerdictOn(const Key &key, std::chrono::nanoseconds now)
{
    const std::lock_guard lock(m_mutex);
    const auto known = m_verdicts.find(key);
    if (known == m_verdicts.end() || known->second.until < now)
        return std::nullopt;
    return known->second.isCamera;
}

// What couldn't be asked has said nothing.
void Recogniser::Remember(const Key &key, Answer answer, std::chrono::nanoseconds now)
{
    if (answer == Answer::kNone)
        return;
    const auto until =
        answer == Answer::kSilent ? now + kSilenceHolds : std::chrono::nanoseconds::max();
    const std::lock_guard lock(m_mutex);
    m_verdicts[key] = {answer == Answer::kCamera, until};
}

Recogniser::Answer Recogniser::Ask(const Node &node, const OpenReader &open) const
{
    const auto reader = open(node);
    if (!reader)
        return Answer::kNone;
    if (const Answer model = AskForModel(*reader); model != Answer::kCamera)
        return model;
    uint32_t version = 0;
    if (const uint32_t error = reader->Read(kDirectoryAddress, version))
        return AnswerAfter(error, *reader);
    if (version != kDirectoryVersion)
        return Answer::kOther;
    std::array<uint32_t, kBlockAddresses.size()> addresses{};
    for (size_t i = 0; i < addresses.size(); ++i)
        if (const uint32_t error =
                reader->Read(kDirectoryAddress + kBlockAddresses[i], addresses[i]))
            return AnswerAfter(error, *reader);
    return ArePlausible(addresses) ? Answer::kCamera : Answer::kOther;
}

Recogniser::Answer Recogniser::AskForModel(RegisterReader &reader) const
{
    const Answer first = AskForModelAt(reader, kModelAddress);
    return first == Answer::kOther ? AskForModelAt(reader, kModelAddressAlt) : first;
}

Recogniser::Answer Recogniser::AskForModelAt(RegisterReader &reader, uint32_t address) const
{
    uint32_t word = 0;
    if (const uint32_t error = reader.Read(address, word))
        return AnswerAfter(error, reader);
    return m_recognition.isModel(word >> kModelShift) ? Answer::kCamera : Answer::kOther;
}

// A node that goes away while it is asked has said nothing. One that has refused a register and
// gives its configuration memory has no such register; one that doesn't give even that is busy, or
// about to start.
Recogniser::Answer Recogniser::AnswerAfter(uint32_t readError, RegisterReader &reader)
{
    if (readError == kernel::kErrorDeviceNotConnected)
        return Answer::kNone;
    if (readError == kernel::kErrorOperationAborted)
        return Answer::kSilent;
    uint32_t word = 0;
    return reader.Read(kAnswersAlways, word) == 0 ? Answer::kOther : Answer::kSilent;
}

} // namespace zerix::bus::linux_firewire

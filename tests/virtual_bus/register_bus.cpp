// The bus of words.
#include "tests/virtual_bus/register_bus.h"

#include <cstdio>
#include <cstring>
#include <ostream>
#include <utility>

namespace zerix::test {

using kernel::BigEndianAt;
using kernel::ControlResult;
using kernel::Done;
using kernel::Failed;

namespace {

constexpr uint32_t kModelRegister = 0xE0010038;
constexpr uint32_t kOtherModelRegister = 0xE0001138;

// By block, in their order: configuration, information, control, command, status, streaming.
constexpr uint32_t kAddresses[] = {0xD0000000, 0xE3000000, 0xE1000000,
                                   0xE2000000, 0xE4000000, 0xE5000000};

} // namespace

std::ostream &operator<<(std::ostream &stream, const RegisterBus::BlockRead &read)
{
    return stream << "block " << static_cast<int>(read.block) << " x " << read.quadlets;
}

RegisterBus::RegisterBus(bool isFast) : m_replaced(BusTap::Replace(*this)), m_isFast(isFast) {}

RegisterBus::~RegisterBus() { BusTap::Replace(m_replaced); }

void RegisterBus::Make(Block block, uint32_t version, uint32_t wordCount)
{
    std::vector<uint32_t> &words = Words(block);
    words.assign(wordCount, 0);
    if (wordCount > 0)
        words[0] = version;
    if (block != Block::kConfiguration)
        return;
    for (const Block other :
         {Block::kInformation, Block::kControl, Block::kCommand, Block::kStatus, Block::kStreaming})
        if (const size_t at = 2 * static_cast<size_t>(other); at < wordCount)
            words[at] = kAddresses[static_cast<size_t>(other)];
}

std::vector<RegisterWrite> RegisterBus::TakeWrites()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_writes, {});
}

std::vector<RegisterBus::BlockRead> RegisterBus::TakeReads()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_reads, {});
}

// The bus -----------------------------------------------------------------------------------------

uint32_t RegisterBus::Enumerate(kernel::DevicePath *paths, uint32_t maximumCount, uint32_t *count)
{
    *count = maximumCount > 0 ? 1 : 0;
    if (maximumCount > 0)
        std::snprintf(paths[0].text, sizeof paths[0].text, "words");
    return 0;
}

uint32_t RegisterBus::Open(const char *, kernel::DeviceHandle *device)
{
    const std::lock_guard lock(m_mutex);
    ++m_openHandles;
    *device = 1;
    return 0;
}

void RegisterBus::CloseDevice(kernel::DeviceHandle)
{
    const std::lock_guard lock(m_mutex);
    --m_openHandles;
}

uint32_t RegisterBus::IsOpen(const Request &, bool &isOpen)
{
    isOpen = false;
    return 0;
}

uint32_t RegisterBus::AllocateBandwidth(const Request &, kernel::BandwidthRequest &booking)
{
    booking.handle = 2;
    return 0;
}

uint32_t RegisterBus::AllocateChannel(const Request &, kernel::ChannelRequest &booking)
{
    booking.channel = 3;
    return 0;
}

uint32_t RegisterBus::AllocateResources(const Request &, kernel::ResourcesRequest &booking)
{
    booking.handle = 4;
    const bool isTooFast = !m_isFast && booking.speedFlag == kernel::kSpeedFlag800;
    return isTooFast ? uint32_t{kernel::kErrorNoSystemResources} : 0;
}

ControlResult RegisterBus::QueueBuffer(const Request &, std::span<uint8_t> buffer)
{
    return Done(static_cast<uint32_t>(buffer.size()));
}

// Registers ---------------------------------------------------------------------------------------

// Where the block holds them; null for what doesn't lie within one.
uint32_t *RegisterBus::Find(uint32_t address, size_t quadlets, Block *block)
{
    for (size_t index = 0; index < kBlockCount; ++index) {
        const uint32_t first = (address - kAddresses[index]) / 4;
        const bool isBehind = address >= kAddresses[index] && address % 4 == 0;
        if (!isBehind || uint64_t{first} + quadlets > m_blocks[index].size())
            continue;
        *block = static_cast<Block>(index);
        return m_blocks[index].data() + first;
    }
    ++m_strays;
    return nullptr;
}

ControlResult RegisterBus::AsyncRead(const Request &, uint32_t address, std::span<uint8_t> data)
{
    const std::lock_guard lock(m_mutex);
    if (address == kModelRegister || address == kOtherModelRegister) {
        std::memcpy(data.data(), &modelWord, sizeof modelWord);
        return Done(4);
    }
    Block block{};
    const auto bytes = static_cast<uint32_t>(data.size());
    const uint32_t *const words = Find(address, bytes / 4, &block);
    if (words == nullptr)
        return Failed(kernel::kErrorGenFailure);
    std::memcpy(data.data(), words, bytes);
    m_reads.push_back({block, bytes / 4});
    return Done(bytes);
}

ControlResult RegisterBus::AsyncWrite(const Request &, uint32_t address,
                                      std::span<const uint8_t> data)
{
    const std::lock_guard lock(m_mutex);
    Block block{};
    uint32_t *const words = Find(address, data.size() / 4, &block);
    if (words == nullptr)
        return Failed(kernel::kErrorGenFailure);
    const uint32_t offset = address - kAddresses[static_cast<size_t>(block)];
    for (uint32_t index = 0; index < data.size() / 4; ++index) {
        words[index] = BigEndianAt(data.data() + size_t{index} * 4);
        m_writes.push_back({block, offset + index * 4, words[index]});
    }
    return Done(0);
}

} // namespace zerix::test

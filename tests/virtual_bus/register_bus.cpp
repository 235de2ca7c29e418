// The bus of words.
#include "tests/virtual_bus/register_bus.h"

#include <cstdio>
#include <cstring>
#include <ostream>
#include <utility>

namespace zerix::test {

using kernel::Completion;
using kernel::ControlResult;

namespace {

constexpr uint32_t kModelRegister = 0xE0010038;
constexpr uint32_t kOtherModelRegister = 0xE0001138;

// By block, in their order: configuration, information, control, command, status, streaming.
constexpr uint32_t kAddresses[] = {0xD0000000, 0xE3000000, 0xE1000000,
                                   0xE2000000, 0xE4000000, 0xE5000000};

ControlResult Done(uint32_t bytes) { return {Completion::kDone, 0, bytes}; }
ControlResult Failed(uint32_t error) { return {Completion::kFailed, error, 0}; }

uint32_t BigEndianAt(const uint8_t *bytes)
{
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

// The out record of a request for something of the bus: the request's own, with one word set.
template <typename Record>
ControlResult Give(void *out, uint32_t Record::*handle, uint32_t value)
{
    Record record;
    std::memcpy(&record, out, sizeof record);
    record.*handle = value;
    std::memcpy(out, &record, sizeof record);
    return Done(sizeof record);
}

} // namespace

std::ostream &operator<<(std::ostream &stream, const RegisterBus::BlockRead &read)
{
    return stream << "block " << static_cast<int>(read.block) << " x " << read.quadlets;
}

RegisterBus::RegisterBus(bool isFast) : m_isFast(isFast) { BusTap::Replace(this); }

RegisterBus::~RegisterBus() { BusTap::Replace(nullptr); }

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

void RegisterBus::Close(kernel::DeviceHandle)
{
    const std::lock_guard lock(m_mutex);
    --m_openHandles;
}

ControlResult RegisterBus::Control(kernel::DeviceHandle, uint32_t code, const void *in,
                                   uint32_t inSize, void *out, uint32_t outSize,
                                   kernel::Overlapped *)
{
    const std::lock_guard lock(m_mutex);
    kernel::AsyncRequest access{};
    if (code == kernel::kControlAsyncRead || code == kernel::kControlAsyncWrite)
        std::memcpy(&access, in, sizeof access);
    switch (code) {
    case kernel::kControlAsyncRead:
        return Read(access, static_cast<uint32_t *>(out));
    case kernel::kControlAsyncWrite:
        return Write(access, static_cast<const uint8_t *>(in) + kernel::kAsyncDataOffset);
    case kernel::kControlIsOpen:
        std::memset(out, 0, outSize);
        return Done(outSize);
    case kernel::kControlAllocateBandwidth:
        return Give(out, &kernel::BandwidthRequest::handle, 2);
    case kernel::kControlAllocateChannel:
        return Give(out, &kernel::ChannelRequest::channel, 3);
    case kernel::kControlAllocateResources: {
        kernel::ResourcesRequest request;
        std::memcpy(&request, in, inSize < sizeof request ? inSize : sizeof request);
        if (!m_isFast && request.speedFlag == kernel::kSpeedFlag800)
            return Failed(kernel::kErrorNoSystemResources);
        return Give(out, &kernel::ResourcesRequest::handle, 4);
    }
    default:
        return Done(outSize);
    }
}

// Nothing ever pends.
ControlResult RegisterBus::Wait(kernel::DeviceHandle, kernel::Overlapped *) { return Done(0); }

// Registers ---------------------------------------------------------------------------------------

// Where the block holds them; null for what doesn't lie within one.
uint32_t *RegisterBus::Find(uint32_t address, uint32_t quadlets, Block *block)
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

ControlResult RegisterBus::Read(const kernel::AsyncRequest &request, uint32_t *out)
{
    if (request.offsetLow == kModelRegister || request.offsetLow == kOtherModelRegister) {
        *out = modelWord;
        return Done(4);
    }
    Block block{};
    const uint32_t *const words = Find(request.offsetLow, request.lengthBytes / 4, &block);
    if (words == nullptr)
        return Failed(kernel::kErrorGenFailure);
    std::memcpy(out, words, request.lengthBytes);
    m_reads.push_back({block, request.lengthBytes / 4});
    return Done(request.lengthBytes);
}

ControlResult RegisterBus::Write(const kernel::AsyncRequest &request, const uint8_t *data)
{
    Block block{};
    uint32_t *const words = Find(request.offsetLow, request.lengthBytes / 4, &block);
    if (words == nullptr)
        return Failed(kernel::kErrorGenFailure);
    for (uint32_t index = 0; index < request.lengthBytes / 4; ++index) {
        words[index] = BigEndianAt(data + size_t{index} * 4);
        m_writes.push_back({block,
                            request.offsetLow - kAddresses[static_cast<size_t>(block)] + index * 4,
                            words[index]});
    }
    return Done(0);
}

} // namespace zerix::test

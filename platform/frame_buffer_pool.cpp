// Memory of frames, used again.
#include "platform/frame_buffer_pool.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include "platform/large_blocks.h"

namespace zerix {

// Stands in front of each buffer, and keeps it aligned.
struct alignas(64) FrameBufferPool::Header {
    uint32_t size;
    HiddenHeader next; // of those that are out
};

FrameBufferPool::HiddenHeader FrameBufferPool::Hide(const Header *header)
{
    return ~reinterpret_cast<HiddenHeader>(header);
}

FrameBufferPool::Header *FrameBufferPool::Show(HiddenHeader hidden)
{
    return reinterpret_cast<Header *>(~hidden);
}

uint8_t *FrameBufferPool::Allocate(uint32_t size)
{
    static_assert(sizeof(Header) == 64);
    // At least a byte behind the header, so that the buffer's address is one of its block.
    const uint64_t bytes = sizeof(Header) + std::max<uint64_t>(size, 1);
    if (bytes > SIZE_MAX / 2)
        return nullptr;
    void *const block = AllocateBlock(static_cast<size_t>(bytes));
    if (block == nullptr)
        return nullptr;
    auto *const header = new (block) Header{.size = size, .next = kNoHeader};
    return reinterpret_cast<uint8_t *>(header + 1);
}

FrameBufferPool::Header *FrameBufferPool::HeaderOf(uint8_t *buffer)
{
    return reinterpret_cast<Header *>(buffer) - 1;
}

void FrameBufferPool::Free(uint8_t *buffer) { FreeBlock(HeaderOf(buffer)); }

FrameBufferPool::~FrameBufferPool() { Trim(); }

uint8_t *FrameBufferPool::Acquire(uint32_t size)
{
    {
        const std::lock_guard lock(m_mutex);
        if (size > m_largest)
            return nullptr;
        if (uint8_t *const buffer = TakeIdle(size))
            return NoteOut(buffer);
    }
    uint8_t *const buffer = Allocate(size);
    const std::lock_guard lock(m_mutex);
    return buffer != nullptr ? NoteOut(buffer) : nullptr;
}

void FrameBufferPool::Release(uint8_t *buffer)
{
    if (buffer == nullptr)
        return;
    {
        const std::lock_guard lock(m_mutex);
        if (TakeFromOut(buffer)) {
            Keep(buffer);
            return;
        }
    }
    std::free(buffer);
}

// The oldest make room: after a change of settings the sizes of before are of no more use.
void FrameBufferPool::Keep(uint8_t *buffer)
{
    const uint32_t size = SizeOf(buffer);
    if (size > kMostIdleBytes) {
        Free(buffer);
        return;
    }
    while (m_idleCount == kMostIdle || m_idleBytes + size > kMostIdleBytes)
        Free(RemoveIdle(0));
    m_idle[m_idleCount++] = buffer;
    m_idleBytes += size;
}

uint8_t *FrameBufferPool::NoteOut(uint8_t *buffer)
{
    HeaderOf(buffer)->next = m_out;
    m_out = Hide(HeaderOf(buffer));
    return buffer;
}

// By address alone: in front of a foreign buffer there is no header to look at.
bool FrameBufferPool::TakeFromOut(const uint8_t *buffer)
{
    HiddenHeader *link = &m_out;
    while (Header *const header = Show(*link)) {
        if (reinterpret_cast<const uint8_t *>(header + 1) == buffer) {
            *link = header->next;
            return true;
        }
        link = &header->next;
    }
    return false;
}

void FrameBufferPool::Trim()
{
    const std::lock_guard lock(m_mutex);
    while (m_idleCount > 0)
        Free(RemoveIdle(0));
}

uint32_t FrameBufferPool::IdleCount() const
{
    const std::lock_guard lock(m_mutex);
    return m_idleCount;
}

uint64_t FrameBufferPool::IdleBytes() const
{
    const std::lock_guard lock(m_mutex);
    return m_idleBytes;
}

uint32_t FrameBufferPool::SizeOf(const uint8_t *buffer)
{
    return (reinterpret_cast<const Header *>(buffer) - 1)->size;
}

void FrameBufferPool::SetLargestForTest(uint32_t bytes)
{
    const std::lock_guard lock(m_mutex);
    m_largest = bytes;
}

// Only an exact size: tools that look for accesses past a buffer then see its true end. The
// youngest first, for it may still be in the processor's caches.
uint8_t *FrameBufferPool::TakeIdle(uint32_t size)
{
    for (uint32_t index = m_idleCount; index-- > 0;)
        if (SizeOf(m_idle[index]) == size)
            return RemoveIdle(index);
    return nullptr;
}

uint8_t *FrameBufferPool::RemoveIdle(uint32_t index)
{
    uint8_t *const buffer = m_idle[index];
    std::copy(m_idle.begin() + index + 1, m_idle.begin() + m_idleCount, m_idle.begin() + index);
    --m_idleCount;
    m_idleBytes -= SizeOf(buffer);
    return buffer;
}

FrameBufferPool &FrameBuffers()
{
    alignas(FrameBufferPool) static uint8_t storage[sizeof(FrameBufferPool)];
    static FrameBufferPool *const pool = new (storage) FrameBufferPool;
    return *pool;
}

} // namespace zerix

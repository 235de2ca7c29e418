// Memory of frames, used again: the receive thread takes a buffer for every frame, and the image
// that the application frees gives it back. Any thread.
#pragma once

#include <array>
#include <cstdint>
#include <mutex>

namespace zerix {

class FrameBufferPool {
public:
    static constexpr uint32_t kMostIdle = 8;
    static constexpr uint64_t kMostIdleBytes = 128u << 20;

    FrameBufferPool() = default;
    ~FrameBufferPool();
    FrameBufferPool(const FrameBufferPool &) = delete;
    FrameBufferPool &operator=(const FrameBufferPool &) = delete;

    // A buffer of this many bytes, aligned to 64, with undefined contents; null if there is no
    // memory.
    [[nodiscard]] uint8_t *Acquire(uint32_t size);

    // Takes back what Acquire gave. Any other buffer is an application's, which had it from malloc:
    // it is freed. Null is allowed.
    void Release(uint8_t *buffer);

    // Frees what lies idle.
    void Trim();

    [[nodiscard]] uint32_t IdleCount() const;
    [[nodiscard]] uint64_t IdleBytes() const;

    // The size that a buffer of a pool was acquired with.
    [[nodiscard]] static uint32_t SizeOf(const uint8_t *buffer);

    // Makes Acquire fail above this size, as if memory had run out.
    void SetLargestForTest(uint32_t bytes);

private:
    struct Header;
    // An address inverted, so that leak checkers don't take the list of what is out for its owner.
    using HiddenHeader = uintptr_t;
    static constexpr HiddenHeader kNoHeader = ~HiddenHeader{0};
    static HiddenHeader Hide(const Header *header);
    static Header *Show(HiddenHeader hidden);

    [[nodiscard]] static uint8_t *Allocate(uint32_t size);
    static Header *HeaderOf(uint8_t *buffer);
    static void Free(uint8_t *buffer);

    // Under the mutex, all of them.
    uint8_t *NoteOut(uint8_t *buffer);
    bool TakeFromOut(const uint8_t *buffer);
    void Keep(uint8_t *buffer);
    uint8_t *TakeIdle(uint32_t size);
    uint8_t *RemoveIdle(uint32_t index);

    mutable std::mutex m_mutex;
    HiddenHeader m_out = kNoHeader;            // what was given and has not come back
    std::array<uint8_t *, kMostIdle> m_idle{}; // oldest first
    uint32_t m_idleCount = 0;
    uint64_t m_idleBytes = 0;
    uint32_t m_largest = 0xFFFFFFFFu;
};

// The one pool of the process. Never destroyed, so that an image may be freed at any time.
FrameBufferPool &FrameBuffers();

} // namespace zerix

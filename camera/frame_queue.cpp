#include "camera/frame_queue.h"

#include <new>

#include "image/z_ex_image.h"

namespace zerix {

namespace {

// Acquire: what the receive thread wrote to the frame is seen here.
bool IsFinished(const tStFrameInfo &frame)
{
    return frame.finished.load(std::memory_order_acquire);
}

void Clear(FrameRecord &record)
{
    record.~FrameRecord();
    new (&record) FrameRecord{};
    record.valid = true;
}

} // namespace

// Records ----------------------------------------------------------------------------------------

FrameRecords::~FrameRecords()
{
    while (FrameRecord *record = TakeIdle())
        delete record;
}

FrameRecord *FrameRecords::Acquire()
{
    FrameRecord *record = TakeIdle();
    if (record == nullptr)
        record = new (std::nothrow) FrameRecord{};
    if (record != nullptr)
        Clear(*record);
    return record;
}

void FrameRecords::Release(tStFrameInfo &frame)
{
    FrameRecord &record = RecordOf(frame);
    if (record.ownsData)
        ZX::ZExImage::ReleaseBuffer(record.data);
    record.data = nullptr;
    const std::lock_guard lock(m_mutex);
    record.next = m_idle;
    m_idle = &record;
}

FrameRecord *FrameRecords::TakeIdle()
{
    const std::lock_guard lock(m_mutex);
    FrameRecord *record = m_idle;
    if (record != nullptr)
        m_idle = record->next;
    return record;
}

// Queue ------------------------------------------------------------------------------------------

tStFrameInfo *FrameQueue::Front() const
{
    return m_count == 0 ? nullptr : m_frames[(m_back + m_count - 1) % kCapacity];
}

bool FrameQueue::PushFront(tStFrameInfo &frame)
{
    if (m_count == kCapacity)
        return false;
    At(m_count++) = &frame;
    return true;
}

tStFrameInfo *FrameQueue::TakeFrontIfFinished()
{
    const tStFrameInfo *front = Front();
    return front != nullptr && IsFinished(*front) ? Take(m_count - 1) : nullptr;
}

tStFrameInfo *FrameQueue::TakeOldestFinished()
{
    for (uint32_t index = 0; index < m_count; ++index) {
        if (IsFinished(*At(index)))
            return Take(index);
    }
    return nullptr;
}

// Relaxed: the mark is looked at under the same lock, and nothing else hangs on it.
void FrameQueue::MarkAllStale()
{
    for (uint32_t index = 0; index < m_count; ++index)
        At(index)->valid.store(false, std::memory_order_relaxed);
}

tStFrameInfo *FrameQueue::Take(uint32_t index)
{
    tStFrameInfo *taken = At(index);
    if (index == 0) {
        m_back = (m_back + 1) % kCapacity;
    } else {
        for (uint32_t i = index; i + 1 < m_count; ++i)
            At(i) = At(i + 1);
    }
    --m_count;
    return taken;
}

} // namespace zerix

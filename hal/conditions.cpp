// Conditions of the hardware layer: auto-reset events, which stay signalled until one waiter
// passes. Any thread may wait and signal.
#include <memory>
#include <new>

#include "platform/os.h"
#include "zerix/zerix_hal.h"

struct HALConditionRecord {
    std::unique_ptr<zerix::os::Event> event; // null if the system had none: every use then fails
};

using namespace zerix;

namespace {

os::Event *EventOf(const HAL_Condition &condition)
{
    return condition.record != nullptr ? condition.record->event.get() : nullptr;
}

uint32_t Wait(const HAL_Condition &condition, uint32_t timeoutMilliseconds)
{
    os::Event *const event = EventOf(condition);
    if (event == nullptr || event->Wait(timeoutMilliseconds) != os::WaitResult::kSignalled)
        return HAL_ERROR_CONDITION;
    return HAL_NO_ERROR;
}

} // namespace

// A record that can't be had gives the semaphore's number; callers know it that way.
uint32_t HAL_ConditionCreate(HAL_Condition *condition)
{
    auto *const record = new (std::nothrow) HALConditionRecord;
    if (record == nullptr)
        return HAL_ERROR_SEMAPHORE;
    record->event = os::Event::Create(os::ResetMode::kAutomatic);
    condition->record = record;
    return HAL_NO_ERROR;
}

uint32_t HAL_ConditionWait(HAL_Condition condition) { return Wait(condition, os::kWaitForever); }

// Callers pass nanoseconds as well as microseconds, and rely on the wait that comes out.
uint32_t HAL_ConditionTimedWait(HAL_Condition condition, uint64_t timeout)
{
    return Wait(condition, static_cast<uint32_t>(timeout / 1000));
}

uint32_t HAL_ConditionReset(HAL_Condition condition)
{
    if (os::Event *const event = EventOf(condition))
        event->Reset();
    return HAL_NO_ERROR;
}

uint32_t HAL_ConditionSignal(HAL_Condition condition)
{
    os::Event *const event = EventOf(condition);
    return event != nullptr && event->Signal() ? HAL_NO_ERROR : HAL_ERROR_CONDITION;
}

uint32_t HAL_ConditionDestroy(HAL_Condition *condition)
{
    if (EventOf(*condition) == nullptr)
        return HAL_ERROR_CONDITION;
    delete condition->record;
    condition->record = nullptr;
    return HAL_NO_ERROR;
}

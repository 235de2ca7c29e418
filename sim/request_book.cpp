// The life of a pending request: begun, finished, waited for.
#include "sim/request_book.h"

namespace zerix::sim {
namespace {

enum State : uintptr_t { kNeverUsed = 0, kPending = 1, kOver = 2 };
enum Word : size_t { kState, kCompletion, kSystemError, kBytes };

} // namespace

bool RequestBook::IsPending(const kernel::Overlapped &request)
{
    return request.driverWords[kState] == kPending;
}

void RequestBook::Begin(kernel::Overlapped &request) { request.driverWords[kState] = kPending; }

void RequestBook::Finish(kernel::Overlapped &request, kernel::ControlResult result)
{
    request.driverWords[kCompletion] = static_cast<uintptr_t>(result.completion);
    request.driverWords[kSystemError] = result.systemError;
    request.driverWords[kBytes] = result.bytesReturned;
    request.driverWords[kState] = kOver;
    m_finished.notify_all();
}

kernel::ControlResult RequestBook::Wait(std::unique_lock<std::mutex> &lock,
                                        kernel::Overlapped &request)
{
    m_finished.wait(lock, [&] { return !IsPending(request); });
    return ResultOf(request);
}

kernel::ControlResult RequestBook::WaitFor(std::unique_lock<std::mutex> &lock,
                                           kernel::Overlapped &request,
                                           std::chrono::milliseconds timeout)
{
    if (!m_finished.wait_for(lock, timeout, [&] { return !IsPending(request); }))
        return {kernel::Completion::kPending, 0, 0};
    return ResultOf(request);
}

kernel::ControlResult RequestBook::ResultOf(const kernel::Overlapped &request)
{
    if (request.driverWords[kState] == kNeverUsed)
        return {kernel::Completion::kFailed, kernel::kErrorInvalidParameter, 0};
    return {static_cast<kernel::Completion>(request.driverWords[kCompletion]),
            static_cast<uint32_t>(request.driverWords[kSystemError]),
            static_cast<uint32_t>(request.driverWords[kBytes])};
}

} // namespace zerix::sim

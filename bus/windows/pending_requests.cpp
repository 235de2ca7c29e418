// Sending, awaiting and giving up the requests of one open device.
#include "bus/windows/pending_requests.h"

#include <new>
#include <set>

namespace zerix::bus {

using namespace kernel;

namespace {

// How long a close waits for cancelled requests, all of them together, before and after the handle
// is closed.
constexpr uint32_t kPatienceMilliseconds = 1000;

constexpr ControlResult kPendingResult = {Completion::kPending, 0, 0};

ControlResult Done(uint32_t bytes) { return {Completion::kDone, 0, bytes}; }

ControlResult Failed(uint32_t systemError) { return {Completion::kFailed, systemError, 0}; }

// What the caller's block holds: the request while it is pending, and whose it is; its result
// afterwards.
enum Word { kRequestWord, kOwnerWord, kCompletionWord, kErrorWord, kBytesWord };

// The system gives the number of a closed handle to the next one that is opened: a block that was
// left pending at the close must not be taken for one of the new device's.
uintptr_t NewOwner()
{
    static std::atomic<uintptr_t> last{0};
    return ++last;
}

void Store(Overlapped &overlapped, const ControlResult &result)
{
    overlapped.driverWords[kCompletionWord] = static_cast<uintptr_t>(result.completion);
    overlapped.driverWords[kErrorWord] = result.systemError;
    overlapped.driverWords[kBytesWord] = result.bytesReturned;
}

ControlResult Stored(const Overlapped &overlapped)
{
    return {static_cast<Completion>(overlapped.driverWords[kCompletionWord]),
            static_cast<uint32_t>(overlapped.driverWords[kErrorWord]),
            static_cast<uint32_t>(overlapped.driverWords[kBytesWord])};
}

// The owners of requests that may be going on: of every open device, and of each whose handle was
// closed and has not ended them all.
class Owners {
public:
    void Add(uintptr_t owner)
    {
        const std::lock_guard lock(m_mutex);
        m_owners.insert(owner);
    }
    void Remove(uintptr_t owner)
    {
        const std::lock_guard lock(m_mutex);
        m_owners.erase(owner);
    }
    bool Has(uintptr_t owner)
    {
        const std::lock_guard lock(m_mutex);
        return m_owners.contains(owner);
    }

private:
    std::mutex m_mutex;
    std::set<uintptr_t> m_owners;
};

Owners &OwnersOfPending()
{
    static auto &owners = *new Owners;
    return owners;
}

} // namespace

PendingRequests::PendingRequests(SystemCalls &system, SystemHandle device)
    : m_system(system), m_device(device), m_owner(NewOwner())
{
    KeptForEver(); // made here, where there may lack the memory for it
    OwnersOfPending().Add(m_owner);
}

// Nobody is inside any more, but there may be requests that nobody waited for. One that even the
// closed handle doesn't end keeps its block and its event for ever: the system may yet write there.
PendingRequests::~PendingRequests()
{
    if (!m_isClosed.load())
        Close();
    m_system.CloseHandle(m_device);
    if (!AwaitHandedOut()) {
        static std::mutex mutex;
        const std::lock_guard lock(mutex);
        KeptForEver().splice(KeptForEver().end(), m_requests);
        return;
    }
    for (const Request &request : m_requests)
        m_system.CloseHandle(request.block.event);
    OwnersOfPending().Remove(m_owner);
}

std::list<PendingRequests::Request> &PendingRequests::KeptForEver()
{
    static auto &requests = *new std::list<Request>;
    return requests;
}

ControlResult PendingRequests::Send(uint32_t code, const Buffers &buffers, Overlapped *overlapped)
{
    Request *const request = Take();
    if (request == nullptr)
        return Over(overlapped, NotSent());
    uint32_t bytes = 0;
    if (m_system.DeviceIoControl(m_device, code, buffers.in, buffers.inBytes, buffers.out,
                                 buffers.outBytes, &bytes, &request->block)) {
        GiveBack(*request);
        return Over(overlapped, Done(bytes));
    }
    if (const uint32_t error = WhyItFailed(m_system); error != kErrorIoPending) {
        GiveBack(*request);
        return Over(overlapped, Failed(error));
    }
    if (overlapped != nullptr && HandOut(*request, *overlapped))
        return kPendingResult;
    // A close that came while the request was on its way cancelled too early for it.
    if (m_isClosed.load())
        CancelAll();
    const ControlResult result = Over(overlapped, ResultOf(*request, nullptr));
    // It did pend, and its quadlets are as they came over the bus: the caller has to know.
    return overlapped != nullptr && result.completion == Completion::kDone ? kPendingResult
                                                                           : result;
}

ControlResult PendingRequests::Wait(Overlapped &overlapped)
{
    bool isAnothers = false;
    Request *const request = PendingIn(overlapped, &isAnothers);
    if (isAnothers)
        return Failed(kErrorInvalidHandle);
    if (request != nullptr)
        Store(overlapped, ResultOf(*request, &overlapped));
    return Stored(overlapped);
}

ControlResult PendingRequests::WaitFor(Overlapped &overlapped, uint32_t timeoutMilliseconds)
{
    bool isAnothers = false;
    const Request *const request = PendingIn(overlapped, &isAnothers);
    if (isAnothers)
        return AfterTheClose(overlapped);
    if (request != nullptr && !m_system.WaitForEvent(request->block.event, timeoutMilliseconds))
        return kPendingResult;
    return Wait(overlapped);
}

ControlResult PendingRequests::AfterTheClose(const Overlapped &overlapped)
{
    const uintptr_t owner = overlapped.driverWords[kOwnerWord];
    if (overlapped.driverWords[kRequestWord] != 0)
        return OwnersOfPending().Has(owner) ? kPendingResult : Failed(kErrorInvalidHandle);
    return owner != 0 ? Stored(overlapped) : Failed(kErrorInvalidHandle);
}

PendingRequests::Request *PendingRequests::PendingIn(const Overlapped &overlapped, bool *isAnothers)
{
    const std::lock_guard lock(m_mutex);
    *isAnothers =
        overlapped.driverWords[kRequestWord] != 0 && overlapped.driverWords[kOwnerWord] != m_owner;
    return RequestIn(overlapped);
}

// Under the lock, beside a Cancel that looks for a request in the block.
ControlResult PendingRequests::Over(Overlapped *overlapped, const ControlResult &result)
{
    if (overlapped != nullptr) {
        const std::lock_guard lock(m_mutex);
        overlapped->driverWords[kRequestWord] = 0;
        overlapped->driverWords[kOwnerWord] = m_owner;
        Store(*overlapped, result);
    }
    return result;
}

// Under the lock, so that the request can't be over and on its way for somebody else by then.
void PendingRequests::Cancel(Overlapped &overlapped)
{
    const std::lock_guard lock(m_mutex);
    if (Request *const request = RequestIn(overlapped))
        m_system.CancelIo(m_device, &request->block);
}

// Whoever was told that his request pends may come to wait for it only now, and must not take back
// his buffers before it is over.
void PendingRequests::Close()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isClosed.store(true);
    }
    CancelAll();
    AwaitHandedOut();
}

PendingRequests::Request *PendingRequests::Take()
{
    const std::lock_guard lock(m_mutex);
    if (m_isClosed.load())
        return nullptr;
    for (Request &request : m_requests)
        if (!request.isInUse) {
            request.isInUse = true;
            return &request;
        }
    try {
        Request &request = m_requests.emplace_back();
        request.block.event = m_system.CreateEvent();
        request.isInUse = request.block.event != 0;
        if (request.isInUse)
            return &request;
        m_requests.pop_back();
    } catch (const std::bad_alloc &) {
    }
    return nullptr;
}

void PendingRequests::GiveBack(Request &request, Overlapped *holder)
{
    const std::lock_guard lock(m_mutex);
    request.isInUse = request.isHandedOut = false;
    if (holder != nullptr)
        holder->driverWords[kRequestWord] = 0;
}

ControlResult PendingRequests::NotSent() const
{
    if (m_isClosed.load())
        return Failed(kErrorInvalidHandle);
    return Failed(kErrorNotEnoughMemory);
}

// False, and nothing has changed, for a closed device: nothing more is left pending on it.
bool PendingRequests::HandOut(Request &request, Overlapped &overlapped)
{
    const std::lock_guard lock(m_mutex);
    if (m_isClosed.load())
        return false;
    request.isHandedOut = true;
    overlapped.driverWords[kRequestWord] = reinterpret_cast<uintptr_t>(&request);
    overlapped.driverWords[kOwnerWord] = m_owner;
    return true;
}

PendingRequests::Request *PendingRequests::RequestIn(const Overlapped &overlapped) const
{
    return overlapped.driverWords[kOwnerWord] == m_owner
               ? reinterpret_cast<Request *>(overlapped.driverWords[kRequestWord])
               : nullptr;
}

// Waits without limit, and gives the request back.
ControlResult PendingRequests::ResultOf(Request &request, Overlapped *holder)
{
    uint32_t bytes = 0;
    const bool isDone = m_system.GetOverlappedResult(m_device, &request.block, &bytes, true);
    const ControlResult result = isDone ? Done(bytes) : Failed(WhyItFailed(m_system));
    GiveBack(request, holder);
    return result;
}

bool PendingRequests::IsHandedOut(const Request &request)
{
    const std::lock_guard lock(m_mutex);
    return request.isHandedOut;
}

// False if one is not over in time. All were cancelled at once, so that behind one that isn't over
// the others get no time of their own. The list doesn't grow any more.
bool PendingRequests::AwaitHandedOut()
{
    uint32_t patience = kPatienceMilliseconds;
    for (const Request &request : m_requests)
        if (IsHandedOut(request) && !m_system.WaitForEvent(request.block.event, patience))
            patience = 0;
    return patience != 0;
}

} // namespace zerix::bus

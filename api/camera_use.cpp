// Which cameras live, and who uses them.
#include "api/camera_use.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>
#include <vector>

#include "api/context.h"

namespace zerix::api {

struct CameraSlot {
    ZX::ZCamera *camera = nullptr;
    std::shared_ptr<ZerixContext> context;
    uint32_t uses = 0;        // calls and handlers
    uint32_t callsAtWork = 0; // of these the calls that an opening or closing waits for
    bool isChanging = false;
    bool isEnded = false;
};

namespace {

// Never destroyed: an application may end with its threads still running.
struct State {
    std::mutex mutex;
    std::condition_variable fewer;
    std::vector<std::unique_ptr<CameraSlot>> slots;
};

State &TheState()
{
    static auto *const state = new State;
    return *state;
}

// Under the lock. An address may come back for a new camera while an ended one is still in use.
CameraSlot *Find(const void *camera, bool isEnded)
{
    const auto &slots = TheState().slots;
    const auto found = std::find_if(slots.begin(), slots.end(), [&](const auto &slot) {
        return slot->camera == camera && slot->isEnded == isEnded;
    });
    return found != slots.end() ? found->get() : nullptr;
}

thread_local const CameraUse *t_innermost = nullptr;

} // namespace

// A use
// --------------------------------------------------------------------------------------------

// A call inside a call of the same thread is part of that one: it is let in even while another
// thread waits to close the camera. The camera's own threads run while it opens and closes.
CameraUse::CameraUse(ZerixHandle handle, Kind kind) : m_kind(kind)
{
    if (handle == nullptr)
        return;
    const std::lock_guard lock(TheState().mutex);
    m_slot = Find(handle, false);
    if (m_slot == nullptr && kind == Kind::kHandler)
        m_slot = Find(handle, true);
    if (m_slot == nullptr)
        return;
    m_isChanging = m_slot->isChanging && CountOnThisThread(*m_slot, true) == 0;
    m_isAtWork = kind == Kind::kCall && !m_isChanging;
    m_isOpen = !m_isChanging && m_slot->camera->IsCameraOpen();
    m_context = m_slot->context;
    ++m_slot->uses;
    m_slot->callsAtWork += m_isAtWork ? 1 : 0;
    m_outer = std::exchange(t_innermost, this);
}

CameraUse::~CameraUse()
{
    if (m_slot == nullptr)
        return;
    t_innermost = m_outer;
    m_context.reset();
    const std::lock_guard lock(TheState().mutex);
    --m_slot->uses;
    m_slot->callsAtWork -= m_isAtWork ? 1 : 0;
    TheState().fewer.notify_all();
}

ZX::ZCamera &CameraUse::Camera() const { return *m_slot->camera; }

const CameraUse *CameraUse::Innermost() { return t_innermost; }

uint32_t CameraUse::CountOnThisThread(const CameraSlot &slot, bool onlyAtWork)
{
    uint32_t count = 0;
    for (const CameraUse *use = t_innermost; use != nullptr; use = use->m_outer)
        count += use->m_slot == &slot && (use->m_isAtWork || !onlyAtWork) ? 1 : 0;
    return count;
}

bool CameraUse::IsInCallback() const
{
    for (const CameraUse *use = t_innermost; use != nullptr; use = use->m_outer) {
        if (use->m_slot == m_slot && use->m_kind == Kind::kHandler)
            return true;
    }
    return false;
}

bool IsThreadInACall() { return CameraUse::Innermost() != nullptr; }

// Opening and closing
// ------------------------------------------------------------------------------

CameraChange::CameraChange(const CameraUse &use) : m_slot(*use.m_slot)
{
    const std::lock_guard lock(TheState().mutex);
    m_hasBegun = !m_slot.isEnded && !std::exchange(m_slot.isChanging, true);
}

CameraChange::~CameraChange()
{
    if (!m_hasBegun)
        return;
    const std::lock_guard lock(TheState().mutex);
    m_slot.isChanging = false;
}

bool CameraChange::AwaitCalls(uint32_t timeoutMilliseconds) const
{
    const uint32_t own = CameraUse::CountOnThisThread(m_slot, true);
    std::unique_lock lock(TheState().mutex);
    return TheState().fewer.wait_for(lock, std::chrono::milliseconds(timeoutMilliseconds),
                                     [&] { return m_slot.callsAtWork <= own; });
}

void CameraChange::Attach(std::shared_ptr<ZerixContext> context) const
{
    const std::lock_guard lock(TheState().mutex);
    m_slot.camera->SetRefCon(context.get());
    m_slot.context = std::move(context);
}

std::shared_ptr<ZerixContext> CameraChange::Detach() const
{
    const std::lock_guard lock(TheState().mutex);
    m_slot.camera->SetRefCon(nullptr);
    return std::exchange(m_slot.context, nullptr);
}

// A camera's life
// ----------------------------------------------------------------------------------

void BeginLife(ZX::ZCamera &camera)
{
    auto slot = std::make_unique<CameraSlot>();
    slot->camera = &camera;
    const std::lock_guard lock(TheState().mutex);
    if (Find(&camera, false) == nullptr)
        TheState().slots.push_back(std::move(slot));
}

void EndLife(ZX::ZCamera &camera)
{
    const std::lock_guard lock(TheState().mutex);
    if (CameraSlot *const slot = Find(&camera, false))
        slot->isEnded = true;
}

bool EndLifeIfClosed(ZX::ZCamera &camera)
{
    const std::lock_guard lock(TheState().mutex);
    CameraSlot *const slot = Find(&camera, false);
    if (camera.IsCameraOpen() || (slot != nullptr && slot->isChanging))
        return false;
    if (slot != nullptr)
        slot->isEnded = true;
    return true;
}

bool AwaitUnused(ZX::ZCamera &camera, uint32_t timeoutMilliseconds)
{
    std::unique_lock lock(TheState().mutex);
    const CameraSlot *const slot = Find(&camera, true);
    if (slot == nullptr)
        return true;
    const uint32_t own = CameraUse::CountOnThisThread(*slot, false);
    return TheState().fewer.wait_for(lock, std::chrono::milliseconds(timeoutMilliseconds), [&] {
        return slot->uses <= own;
    }) && own == 0;
}

void Forget(ZX::ZCamera *camera)
{
    std::unique_ptr<CameraSlot> forgotten;
    const std::lock_guard lock(TheState().mutex);
    auto &slots = TheState().slots;
    const auto found = std::find_if(slots.begin(), slots.end(), [&](const auto &slot) {
        return slot->camera == camera && slot->isEnded && slot->uses == 0;
    });
    if (found == slots.end())
        return;
    forgotten = std::move(*found);
    slots.erase(found);
}

} // namespace zerix::api

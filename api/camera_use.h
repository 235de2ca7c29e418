// Which cameras live, and who uses them. Every call and every callback of a camera's threads holds
// its camera by a CameraUse: the camera object and its context stay until the last one is gone.
//
// One thread at a time opens or closes a camera, by a CameraChange. A call that begins meanwhile on
// another thread finds the camera closed; a call that began before is waited for.
//
// One lock, which is a leaf: nothing is called under it but the camera's IsCameraOpen.
#pragma once

#include <cstdint>
#include <memory>

#include "camera/z_camera.h"
#include "zerix/zerix.h"

namespace zerix::api {

struct CameraSlot;
struct ZerixContext;

// Made by the entry alone, which passes it to the call. Lives on the stack of its thread.
class CameraUse {
public:
    ~CameraUse();
    CameraUse(const CameraUse &) = delete;
    CameraUse &operator=(const CameraUse &) = delete;

    // False for a null handle, and for one whose camera has been freed.
    [[nodiscard]] bool IsLiving() const { return m_slot != nullptr; }

    // The camera was open when the call began, and no other thread was opening or closing it.
    [[nodiscard]] bool IsOpen() const { return m_isOpen; }

    // Another thread was opening or closing the camera when the call began.
    [[nodiscard]] bool IsChanging() const { return m_isChanging; }

    // This thread is one of the camera's own, inside a callback.
    [[nodiscard]] bool IsInCallback() const;

    // The camera; it must be living.
    [[nodiscard]] ZX::ZCamera &Camera() const;

    // The camera's context, whoever closes the camera meanwhile. Null for a closed camera, and for
    // one that was opened without the memory for a context.
    [[nodiscard]] ZerixContext *ContextOrNull() const { return m_context.get(); }

    // The same where the call has checked that there is one.
    [[nodiscard]] ZerixContext &Context() const { return *m_context; }

private:
    friend class Entry;
    friend class CameraChange;
    friend bool IsThreadInACall();
    friend bool AwaitUnused(ZX::ZCamera &camera, uint32_t timeoutMilliseconds);

    enum class Kind { kCall, kHandler };

    CameraUse(ZerixHandle handle, Kind kind);

    static const CameraUse *Innermost();
    static uint32_t CountOnThisThread(const CameraSlot &slot, bool onlyAtWork);

    CameraSlot *m_slot = nullptr;
    std::shared_ptr<ZerixContext> m_context;
    const CameraUse *m_outer = nullptr; // of the same thread
    Kind m_kind;
    bool m_isAtWork = false; // an opening or closing waits for it
    bool m_isOpen = false;
    bool m_isChanging = false;
};

// An opening or closing of a camera, as long as it lives.
class CameraChange {
public:
    explicit CameraChange(const CameraUse &use);
    ~CameraChange();
    CameraChange(const CameraChange &) = delete;
    CameraChange &operator=(const CameraChange &) = delete;

    // False if another thread opens or closes the camera.
    [[nodiscard]] bool HasBegun() const { return m_hasBegun; }

    // Waits until the calls that began before on other threads have ended. False if that takes
    // longer.
    [[nodiscard]] bool AwaitCalls(uint32_t timeoutMilliseconds) const;

    // Gives the camera its context, or takes it away.
    void Attach(std::shared_ptr<ZerixContext> context) const;
    [[nodiscard]] std::shared_ptr<ZerixContext> Detach() const;

private:
    CameraSlot &m_slot;
    bool m_hasBegun = false;
};

// A camera's life, for the list of cameras. A camera that has begun to live goes on living; one
// that has ended is found by no further call, and its object may be freed when it is unused.
void BeginLife(ZX::ZCamera &camera);
void EndLife(ZX::ZCamera &camera);
// False for a camera that is open, or that is being opened or closed: it lives on.
bool EndLifeIfClosed(ZX::ZCamera &camera);

// Waits until no call and no handler of another thread uses the camera. False if that takes longer,
// or if this thread uses it itself.
bool AwaitUnused(ZX::ZCamera &camera, uint32_t timeoutMilliseconds);

// The unused camera's object has been freed: frees its context.
void Forget(ZX::ZCamera *camera);

// True inside a call, or inside a callback of a camera's thread.
bool IsThreadInACall();

} // namespace zerix::api

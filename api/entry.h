// The one way into the library. Every exported function is one call of Enter:
//
//     uint32_t Zerix_GrabFrame(ZerixHandle camera, Zerix_Frame *frame)
//     {
//         return Enter(Start(__func__), OfCamera{camera},
//                      Checks(Loaded(), NotNull(camera, 9), NotNull(frame, 2), Open(),
//                      Exclusive()),
//                      [&](ExportedCall &call, const CameraUse &use) { ... return code; });
//     }
//
// It writes the start line, holds the camera for as long as the call lasts, runs the checks in
// their order, calls the body, writes the end line and returns the code. An exception ends the call
// with kExceptionError; the forced end of a thread passes through.
#pragma once

#include <cstdint>
#include <exception>

#include "api/camera_use.h"
#include "api/checks.h"
#include "api/exported_call.h"

namespace zerix::api {

// Which camera a call uses. Null where there is none.
struct OfNoCamera {
    [[nodiscard]] static ZerixHandle Handle() { return nullptr; }
};
struct OfCamera {
    [[nodiscard]] ZerixHandle Handle() const { return camera; }
    ZerixHandle camera;
};
// The one that a good record is bound to.
struct OfRecord {
    [[nodiscard]] ZerixHandle Handle() const;
    const Zerix_Settings *settings;
};
// The one that a frame comes from.
struct OfFrame {
    [[nodiscard]] ZerixHandle Handle() const { return frame != nullptr ? frame->camera : nullptr; }
    const Zerix_Frame *frame;
};

class Entry {
public:
    template <typename Subject, typename CheckList, typename Body>
    static uint32_t Call(const Start &start, const Subject &subject, const CheckList &checks,
                         const Body &body)
    try {
        ExportedCall call(start);
        const CameraUse use(HandleOf(subject), CameraUse::Kind::kCall);
        if (const uint32_t error = checks(call, use))
            return call.End(error);
        return call.End(body(call, use));
    } catch (const std::exception &) {
        return kExceptionError;
    }

    template <typename Body>
    static void Callback(const Start &start, ZerixHandle camera, const Body &body)
    try {
        ExportedCall call(start);
        body(call, CameraUse(camera, CameraUse::Kind::kHandler));
        call.End(ZERIX_SUCCESS);
    } catch (const std::exception &) {
    }

    template <typename Subject, typename Body>
    static auto Also(const Subject &subject, const Body &body)
    {
        return body(CameraUse(HandleOf(subject), CameraUse::Kind::kCall));
    }

private:
    // Without the library there is no camera, and what a call is given isn't looked at.
    template <typename Subject>
    static ZerixHandle HandleOf(const Subject &subject)
    {
        return ZX::ZCamera::IsInitalized() ? subject.Handle() : nullptr;
    }
};

template <typename Subject, typename CheckList, typename Body>
uint32_t Enter(const Start &start, const Subject &subject, const CheckList &checks,
               const Body &body)
{
    return Entry::Call(start, subject, checks, body);
}

// The same for what a camera's own threads call. It holds the camera also while that is opened or
// closed, which doesn't wait for it but for its thread.
template <typename Body>
void EnterCallback(const Start &start, ZerixHandle camera, const Body &body)
{
    Entry::Callback(start, camera, body);
}

// Holds one more camera within a call, for as long as the body runs; returns what the body returns.
template <typename Subject, typename Body>
auto AlsoHold(const Subject &subject, const Body &body)
{
    return Entry::Also(subject, body);
}

} // namespace zerix::api

// The checks of an exported call. Their order differs from call to call and is listed at the top of
// each: Checks(Loaded(), NotNull(handle, 9), Open(), Exclusive()). Those of the camera ask the
// camera that the call uses.
#pragma once

#include <cstdint>
#include <tuple>

#include "api/camera_use.h"
#include "api/exported_call.h"

namespace zerix::api {

// The first error in the order given, or 0. No check runs after one that failed.
template <typename... Each>
class Checks {
public:
    explicit Checks(const Each &...checks) : m_checks(checks...) {}
    uint32_t operator()(ExportedCall &call, const CameraUse &use) const
    {
        uint32_t error = ZERIX_SUCCESS;
        std::apply(
            [&](const Each &...checks) {
                static_cast<void>((... || ((error = checks(call, use)) != ZERIX_SUCCESS)));
            },
            m_checks);
        return error;
    }

private:
    std::tuple<Each...> m_checks;
};

// The library is loaded; 8.
struct Loaded {
    uint32_t operator()(ExportedCall &call, const CameraUse &use) const;
};

// The pointer isn't null; the code given.
struct NotNull {
    NotNull(const void *pointerToTest, uint32_t codeIfNull)
        : pointer(pointerToTest), code(codeIfNull)
    {
    }
    uint32_t operator()(ExportedCall &call, const CameraUse &use) const;
    const void *pointer;
    uint32_t code;
};

// The camera lives, open or not; the code given.
struct Living {
    explicit Living(uint32_t codeIfFreed) : code(codeIfFreed) {}
    uint32_t operator()(ExportedCall &call, const CameraUse &use) const;
    uint32_t code;
};

// The camera is open; 9, or the code given. One that another thread opens or closes is not.
struct Open {
    explicit Open(uint32_t codeIfClosed = ZERIX_ERROR_BAD_HANDLE) : code(codeIfClosed) {}
    uint32_t operator()(ExportedCall &call, const CameraUse &use) const;
    uint32_t code;
};

// No other process holds the camera; 9 with a remark. 9 as well while another thread opens or
// closes it.
struct Exclusive {
    uint32_t operator()(ExportedCall &call, const CameraUse &use) const;
};

// No other thread opens or closes the camera; 9.
struct Settled {
    uint32_t operator()(ExportedCall &call, const CameraUse &use) const;
};

// The open camera got its context: opening may have run out of memory; 16.
struct HasContext {
    uint32_t operator()(ExportedCall &call, const CameraUse &use) const;
};

// The record isn't null and has been through a fill; 3. For a current record the end line carries
// the check's own name.
struct GoodSettings {
    explicit GoodSettings(const Zerix_Settings *settingsToTest) : settings(settingsToTest) {}
    uint32_t operator()(ExportedCall &call, const CameraUse &use) const;
    const Zerix_Settings *settings;
};

// The camera of a good record is open; 3.
struct OpenRecord : Open {
    OpenRecord() : Open(ZERIX_ERROR_BAD_SETTINGS) {}
};

} // namespace zerix::api

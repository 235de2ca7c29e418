// The frame of every exported call: the start line, the checks in the call's own order, the end
// line with the code.
//
//     ExportedCall call(__func__);
//     if (const auto error = call.Check(Loaded(), NotNull(handle, 9), Open(handle)))
//         return call.End(error);
#pragma once

#include <cstdint>
#include <string_view>

#include "api/status.h"
#include "diag/trace_log.h"

namespace zerix::api {

// What an exported function answers when the memory gives out under it; no exception leaves the
// library.
inline constexpr uint32_t kExceptionError = ZERIX_ERROR_OUT_OF_MEMORY;

// The keys that a start line can carry.
struct Param32 {
    uint32_t key;
};
struct ParamS32 {
    uint32_t key;
};
struct Param64 {
    uint32_t key;
};
struct Info {
    uint32_t key;
};

// A call whose lines appear only on demand. Its failures and whose fault they are it tells all the
// same.
struct TracedIf {
    bool isTraced;
};

class ExportedCall {
public:
    explicit ExportedCall(const char *name);
    ExportedCall(const char *name, Param32 param);
    ExportedCall(const char *name, ParamS32 param);
    ExportedCall(const char *name, Param64 param);
    ExportedCall(const char *name, Info info);
    ExportedCall(const char *name, TracedIf condition);
    // An exception came through the call: it ends with kExceptionError.
    ~ExportedCall();
    ExportedCall(const ExportedCall &) = delete;
    ExportedCall &operator=(const ExportedCall &) = delete;

    // The first error in the order given, or 0. No check runs behind one that failed.
    template <typename... Checks>
    [[nodiscard]] uint32_t Check(const Checks &...checks)
    {
        uint32_t error = ZERIX_SUCCESS;
        static_cast<void>((... || ((error = checks(*this)) != ZERIX_SUCCESS)));
        return error;
    }

    // A remark under the call's name.
    template <typename... Arguments>
    void Message(std::string_view format, const Arguments &...arguments)
    {
        if (m_isTraced)
            diag::ZLogMessage(m_name, format, arguments...);
    }

    [[nodiscard]] const char *Name() const { return m_name; }

    // Writes the end line and returns the code.
    uint32_t End(uint32_t code) { return EndAs(m_name, code); }

    // The same with another name in the line. Of two ends only the first is written.
    uint32_t EndAs(const char *name, uint32_t code);

    // The call ends without its line.
    void SetEnded() { m_isEnded = true; }

private:
    const char *m_name;
    bool m_isTraced = true;
    bool m_isEnded = false;
};

// The library is loaded; 8.
struct Loaded {
    uint32_t operator()(ExportedCall &call) const;
};

// The pointer isn't null; the code given.
struct NotNull {
    NotNull(const void *pointerToTest, uint32_t codeIfNull)
        : pointer(pointerToTest), code(codeIfNull)
    {
    }
    uint32_t operator()(ExportedCall &call) const;
    const void *pointer;
    uint32_t code;
};

// The camera is open; 9, or the code given. A null handle is no open camera.
struct Open {
    explicit Open(ZerixHandle cameraToTest, uint32_t codeIfClosed = ZERIX_ERROR_BAD_HANDLE)
        : handle(cameraToTest), code(codeIfClosed)
    {
    }
    uint32_t operator()(ExportedCall &call) const;
    ZerixHandle handle;
    uint32_t code;
};

// No other process holds the camera; 9 with a remark.
struct Exclusive {
    explicit Exclusive(ZerixHandle cameraToTest) : handle(cameraToTest) {}
    uint32_t operator()(ExportedCall &call) const;
    ZerixHandle handle;
};

// The record isn't null and has been through a fill; 3. For a current record the end line carries
// the check's own name.
struct GoodSettings {
    explicit GoodSettings(const Zerix_Settings *settingsToTest) : settings(settingsToTest) {}
    uint32_t operator()(ExportedCall &call) const;
    const Zerix_Settings *settings;
};

// The camera of a good record is open; 3.
struct OpenRecord {
    explicit OpenRecord(const Zerix_Settings *settingsToTest) : settings(settingsToTest) {}
    uint32_t operator()(ExportedCall &call) const;
    const Zerix_Settings *settings;
};

// The open camera got its context: opening may have run out of memory; 16.
struct HasContext {
    explicit HasContext(ZerixHandle cameraToTest) : handle(cameraToTest) {}
    uint32_t operator()(ExportedCall &call) const;
    ZerixHandle handle;
};

} // namespace zerix::api

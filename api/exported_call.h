// The trace lines of an exported call: the start line, its remarks and the end line with the code.
// Only the entry (api/entry.h) makes one.
#pragma once

#include <cstdint>
#include <string_view>

#include "api/status.h"
#include "diag/trace_log.h"

namespace zerix::api {

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

// A call whose lines appear only on demand. Its failures are written in any case.
struct TracedIf {
    bool isTraced;
};

// A call that writes no lines.
struct Unlogged {};

// The call that opens the log, before its own first line.
struct OpensLog {};

// How a call begins in the log: Start(__func__, Param32{key}).
class Start {
public:
    explicit Start(const char *name) : m_name(name) {}
    Start(const char *name, Param32 param) : Start(name, Kind::kParam32, param.key) {}
    Start(const char *name, ParamS32 param) : Start(name, Kind::kParamS32, param.key) {}
    Start(const char *name, Param64 param) : Start(name, Kind::kParam64, param.key) {}
    Start(const char *name, Info info) : Start(name, Kind::kInfo, info.key) {}
    Start(const char *name, TracedIf condition)
        : Start(name, condition.isTraced ? Kind::kPlain : Kind::kFailuresOnly)
    {
    }
    Start(const char *name, Unlogged) : Start(name, Kind::kUnlogged) {}
    Start(const char *name, OpensLog) : Start(name, Kind::kOpensLog) {}

private:
    friend class ExportedCall;
    enum class Kind {
        kPlain,
        kParam32,
        kParamS32,
        kParam64,
        kInfo,
        kFailuresOnly,
        kUnlogged,
        kOpensLog
    };
    Start(const char *name, Kind kind, uint32_t key = 0) : m_name(name), m_kind(kind), m_key(key) {}

    const char *m_name;
    Kind m_kind = Kind::kPlain;
    uint32_t m_key = 0;
};

class ExportedCall {
public:
    // Ends the call with kExceptionError if an exception comes through it.
    ~ExportedCall();
    ExportedCall(const ExportedCall &) = delete;
    ExportedCall &operator=(const ExportedCall &) = delete;

    // A remark under the call's name.
    template <typename... Arguments>
    void Message(std::string_view format, const Arguments &...arguments)
    {
        if (m_start.m_kind != Start::Kind::kFailuresOnly)
            diag::ZLogMessage(Name(), format, arguments...);
    }

    [[nodiscard]] const char *Name() const { return m_start.m_name; }

    // Writes the end line and returns the code. Of two ends only the first is written.
    uint32_t End(uint32_t code) { return EndAs(Name(), code); }

    // The same with another name in the line.
    uint32_t EndAs(const char *name, uint32_t code);

    // The call ends without its line.
    void SetEnded() { m_isEnded = true; }

private:
    friend class Entry;
    explicit ExportedCall(const Start &start);

    Start m_start;
    bool m_isEnded = false;
};

} // namespace zerix::api

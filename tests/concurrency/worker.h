// A thread's means to work with a camera that other threads work with too: a settings record,
// frames and buffers of its own, the codes that its calls returned, and the call that it is in.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/concurrency/watchdog.h"
#include "zerix/zerix.h"

namespace zerix::concurrency {

// The pairs' camera: few lines, so that it is quick, behind a filter wheel.
inline constexpr uint32_t kWidth = 1024;
inline constexpr uint32_t kHeight = 58;
inline constexpr uint32_t kLargestPicture = kWidth * kHeight * 3; // three colours, a byte each

// A frame with its buffer.
struct OwnFrame {
    OwnFrame();
    OwnFrame(const OwnFrame &) = delete;
    OwnFrame &operator=(const OwnFrame &) = delete;

    std::vector<uint8_t> pixels;
    Zerix_Frame frame = {};
};

struct Worker {
    explicit Worker(ZerixHandle openCamera);
    ~Worker();
    Worker(const Worker &) = delete;
    Worker &operator=(const Worker &) = delete;

    // Calls an exported function under the watchdog's eyes, and notes its code.
    template <typename... Parameters, typename... Arguments>
    uint32_t Call(const char *name, uint32_t (*function)(Parameters...), Arguments... arguments)
    {
        call.Begin(name);
        const uint32_t code = function(arguments...);
        call.End();
        ++codes[{name, code}];
        return code;
    }

    // A record filled like `settings`, which lives until the worker ends.
    Zerix_Settings &NewRecord();
    // The frames that are queued, in turn. The library may still have the one returned; then it is
    // queued twice.
    OwnFrame &NextQueuedFrame();

    ZerixHandle camera;
    bool isStreamOn = false; // between two rounds
    uint32_t round = 0;
    CallInProgress call;
    Zerix_Settings settings = {};
    OwnFrame frame;
    OwnFrame kept;                                                   // for post-processing
    OwnFrame finished;                                               // what that makes of it
    std::map<std::pair<std::string_view, uint32_t>, uint32_t> codes; // how often each came

private:
    std::array<OwnFrame, 8> m_queued;
    std::deque<Zerix_Settings> m_records;
};

} // namespace zerix::concurrency

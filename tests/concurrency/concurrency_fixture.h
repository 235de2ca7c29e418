// A virtual camera that several threads use at once, and what must hold when they are through: it
// closes, opens, takes a good picture, and nothing is held on the bus.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/api/virtual_bus_session.h"
#include "tests/concurrency/worker.h"

namespace zerix::concurrency {

// Which clock the bus runs on.
enum class Clock { kFast, kReal };

class ConcurrencyTest : public api::VirtualBusSession {
protected:
    // Without the trace log, which would give the threads an order of its own.
    ConcurrencyTest() { Configure("outputEnabled = 0\n"); }

    // Opens the only camera of a rack: a sensor of few lines under even light, behind a wheel.
    void OpenQuick(Clock clock = Clock::kFast);
    // Closes the camera where it is open, opens it anew, and compares a picture with the one that
    // OpenQuick took. Then closes it.
    void ExpectGoodCamera();

    ZerixHandle handle = nullptr;

private:
    // With the default settings; null where that fails.
    std::unique_ptr<OwnFrame> TakePicture();

    Clock m_clock = Clock::kFast;
    std::unique_ptr<OwnFrame> m_undisturbed;
};

} // namespace zerix::concurrency

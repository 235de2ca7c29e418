// Lets the virtual bus lack memory: replaces operator new for this test program, and refuses one
// request for it, whichever thread of the bus makes it.
#pragma once

#include <cstdint>

namespace zerix::test {

// From here on the n-th request fails, counted from 1, of this thread while a BusCall lives, and of
// all threads of the bus. 0: none does.
void RefuseRequest(uint32_t n);
// How many there were since then. Refuses no more.
uint32_t RequestsForMemory();

// Requests of this thread count while one of these lives; a test's own don't.
class BusCall {
public:
    BusCall();
    ~BusCall();
    BusCall(const BusCall &) = delete;
    BusCall &operator=(const BusCall &) = delete;
};

// What this thread asks for while one of these lives isn't counted, on any thread: the test's own
// means that the bus calls.
class NotTheBus {
public:
    NotTheBus();
    ~NotTheBus();
    NotTheBus(const NotTheBus &) = delete;
    NotTheBus &operator=(const NotTheBus &) = delete;
};

// This thread is a test's, and none of the bus.
void ThisIsATestsThread();

} // namespace zerix::test

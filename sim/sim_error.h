// How the functions of zerix_sim.h end: their number, and this thread's sentence about it.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace zerix::sim {

uint32_t Succeed();
uint32_t Fail(uint32_t number, std::string sentence);
uint32_t NullPointer();
// Memory was refused; the sentence needs none.
uint32_t LackOfMemory() noexcept;
const char *LastErrorText();

// The body of an exported function. Exceptions are of memory alone. What ends a thread by force is
// none of the standard's, and passes.
template <typename Body>
uint32_t Exported(Body body)
{
    try {
        return body();
    } catch (const std::exception &) {
        return LackOfMemory();
    }
}

} // namespace zerix::sim

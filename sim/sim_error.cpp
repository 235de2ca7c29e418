// The sentence of each thread's last error.
#include "sim/sim_error.h"

#include <utility>

#include "zerix/zerix_sim.h"

namespace zerix::sim {
namespace {

thread_local std::string lastErrorText;
thread_local bool lacksMemory = false;

} // namespace

uint32_t Succeed()
{
    lastErrorText.clear();
    lacksMemory = false;
    return ZERIX_SIM_OK;
}

uint32_t Fail(uint32_t number, std::string sentence)
{
    lastErrorText = std::move(sentence);
    lacksMemory = false;
    return number;
}

uint32_t NullPointer()
{
    return Fail(ZERIX_SIM_BAD_PARAMETER, "A pointer that must be given is null.");
}

uint32_t LackOfMemory() noexcept
{
    lacksMemory = true;
    return ZERIX_SIM_NO_MEMORY;
}

const char *LastErrorText()
{
    return lacksMemory ? "The system has no memory to give." : lastErrorText.c_str();
}

} // namespace zerix::sim

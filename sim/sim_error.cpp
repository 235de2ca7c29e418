// The sentence of each thread's last error.
#include "sim/sim_error.h"

#include <utility>

#include "zerix/zerix_sim.h"

namespace zerix::sim {
namespace {

thread_local std::string lastErrorText;

} // namespace

uint32_t Succeed()
{
    lastErrorText.clear();
    return ZERIX_SIM_OK;
}

uint32_t Fail(uint32_t number, std::string sentence)
{
    lastErrorText = std::move(sentence);
    return number;
}

uint32_t NullPointer()
{
    return Fail(ZERIX_SIM_BAD_PARAMETER, "A pointer that must be given is null.");
}

const char *LastErrorText() { return lastErrorText.c_str(); }

} // namespace zerix::sim

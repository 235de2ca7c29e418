// How the functions of zerix_sim.h end: their number, and this thread's sentence about it.
#pragma once

#include <cstdint>
#include <string>

namespace zerix::sim {

uint32_t Succeed();
uint32_t Fail(uint32_t number, std::string sentence);
uint32_t NullPointer();
const char *LastErrorText();

} // namespace zerix::sim

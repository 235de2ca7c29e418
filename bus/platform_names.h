// Names that differ from platform to platform.
#pragma once

namespace zerix::bus {

#if defined(_WIN32)
inline constexpr const char *kSimulatorFileName = "zerix_sim.dll";
#else
// With its version: an installation for use alone has no other name.
inline constexpr const char *kSimulatorFileName = "libzerix_sim.so.2";
#endif

} // namespace zerix::bus

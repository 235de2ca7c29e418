// Names that differ from platform to platform.
#pragma once

namespace zerix::bus {

#if defined(_WIN32)
inline constexpr const char *kSimulatorFileName = "zerix_sim.dll";
#else
inline constexpr const char *kSimulatorFileName = "libzerix_sim.so";
#endif

} // namespace zerix::bus

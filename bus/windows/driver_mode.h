// Which of two kernel drivers the 1394 host adapters run with: the one whose devices the cameras
// are, or the one of the adapters themselves. Kept for the day when the library drives the adapter
// itself: nothing calls these routines, and they are not exported. Any thread; one at a time.
#pragma once

#include <cstdint>
#include <string>

namespace zerix::bus {

inline constexpr uint32_t kLongestDeviceId = 260; // with its zero
struct AdapterId {
    char text[kLongestDeviceId];
};

// Adds the ids of the present host adapters behind the `count` that the table holds; no more than
// `room` in all. 0, or 0x3E6 where there is no list to be had.
uint32_t ListAdapters(AdapterId *table, uint32_t room, uint32_t *count);

// Installs the driver of the description file for one adapter. Every step that fails is told to the
// debug output, and ends it; the result is always 0.
uint32_t InstallOnOlderSystems(const char *deviceId, const std::string &descriptionFile);
uint32_t InstallOnNewerSystems(const char *deviceId, const std::string &descriptionFile);

bool IsVista();
bool IsElevated();
bool IsAdministrator();

// Files in the folder of common programs; just the end of the path where the system tells no such
// folder.
std::string PlainModeFile();
std::string AdapterModeFile();
std::string HelperProgram();

// Written when a connection to an adapter ends: true when it was the last of all processes'.
void SetAllowedToUnload(bool isAllowed);

// Whether the adapters' driver may be taken away: no connection is left, and the configuration
// value FireWireDriverMode is not 1.
bool CanUnload();

} // namespace zerix::bus

// Checking a settings record against the camera, and sending it.
// The work of these calls isn't written yet.
#include "api/not_yet.h"

using namespace zerix::api;

uint32_t Zerix_PreflightSettings(ZerixHandle, Zerix_Settings *)
{
    return NotYet(ExportedCall(__func__));
}

uint32_t Zerix_SendSettingsToCam(ZerixHandle, Zerix_Settings *)
{
    return NotYet(ExportedCall(__func__));
}

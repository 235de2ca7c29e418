/* A program of another compiler than the DLLs': compiled by clang as Microsoft's does, linked by
 * lld-link with Zerix.lib and zerix_sim.lib, and with no C library at all. Ends with 0 where it
 * found what the virtual bus has, else with the number of the step that failed. */
#include <stdint.h>

#include "zerix/zerix.h"
#include "zerix/zerix_sim.h"

__declspec(dllimport) __declspec(noreturn) void __stdcall ExitProcess(uint32_t code);

static ZerixCameraListItem cameras[10];

static uint32_t Run(void)
{
    uint16_t major = 0;
    uint16_t minor = 0;
    uint16_t build = 0;
    uint32_t count = 10;
    if (ZerixSim_ChooseRack("family-1") != 0)
        return 1;
    if (Zerix_LoadDriver() != ZERIX_SUCCESS)
        return 2;
    if (Zerix_LibVersion(&major, &minor, &build) != ZERIX_SUCCESS || major != 2 || minor != 0 ||
        build != 13)
        return 3;
    if (Zerix_ListCameras(cameras, &count) != ZERIX_SUCCESS || count != 10)
        return 4;
    Zerix_ReleaseDriver();
    return 0;
}

void Start(void) { ExitProcess(Run()); }

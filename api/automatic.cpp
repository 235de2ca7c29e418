// Automatic exposure, white balance and the post-processing of frames that the application kept.
// The work of these calls isn't written yet.
#include "api/not_yet.h"

using namespace zerix::api;

uint32_t Zerix_AutoExpose(Zerix_Settings *, uint32_t, uint32_t, uint32_t, uint32_t)
{
    return NotYet(ExportedCall(__func__));
}

uint32_t Zerix_WhiteBalance(Zerix_Settings *, uint32_t, uint32_t, uint32_t, uint32_t)
{
    return NotYet(ExportedCall(__func__));
}

uint32_t Zerix_PostProcessSingleFrame(ZerixHandle, const Zerix_Settings *, const Zerix_Frame *,
                                      Zerix_Frame *)
{
    return NotYet(ExportedCall(__func__));
}

// These two need no loaded library.
void Zerix_BayerToRgb(uint32_t, const Zerix_Frame *, Zerix_Frame *)
{
    ExportedCall call(__func__);
    call.End(ZERIX_SUCCESS);
}

uint32_t Zerix_BayerZoomVert(uint8_t, const Zerix_Frame *, Zerix_Frame *)
{
    ExportedCall call(__func__);
    return call.End(ZERIX_ERROR_NOT_SUPPORTED);
}

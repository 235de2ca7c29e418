// Trigger mode, its delay and the synchronisation output. On the caller's thread, without a lock,
// but that the software trigger's mode ends a wait for an image.
#include "camera/tolvane_fw_camera.h"

namespace ZX {

namespace control = zerix::registers::control;
namespace information = zerix::registers::information;

namespace {

struct TriggerMode {
    uint32_t code;
    uint32_t doubleShotCode;
    uint32_t polarity;
};

// By mode. What the codes mean electrically is the camera's: first, second and third form of the
// hardware trigger, each in both polarities, and the software trigger as mode 5.
constexpr TriggerMode kTriggerModes[] = {
    {.code = 0, .doubleShotCode = 0, .polarity = 0},
    {.code = 2, .doubleShotCode = 4, .polarity = 0},
    {.code = 2, .doubleShotCode = 4, .polarity = 1},
    {.code = 3, .doubleShotCode = 3, .polarity = 0},
    {.code = 3, .doubleShotCode = 3, .polarity = 1},
    {.code = 1, .doubleShotCode = 1, .polarity = 0},
    {.code = 5, .doubleShotCode = 5, .polarity = 0},
    {.code = 5, .doubleShotCode = 5, .polarity = 1},
};
constexpr uint32_t kModeCount = sizeof kTriggerModes / sizeof *kTriggerModes;
constexpr uint32_t kFreeRunning = 0;
constexpr uint32_t kSoftwareTrigger = 5;

} // namespace

// The double shot's code means the same mode, whether the double shot is still on or not.
uint32_t TolvaneFWCamera::GetTriggerMode()
{
    const uint32_t polarity = Control(control::kTriggerPolarity);
    switch (Control(control::kTriggerCode)) {
    case 1:
        return kSoftwareTrigger;
    case 2:
    case 4:
        return 1 + polarity;
    case 3:
        return 3 + polarity;
    case 5:
        return 6 + polarity;
    default:
        return kFreeRunning;
    }
}

// Code and polarity go out in one write. A mode that no camera has runs freely.
uint16_t TolvaneFWCamera::SetTriggerMode(uint32_t mode)
{
    if (mode == GetTriggerMode() && IsKnown(control::kTriggerCode))
        return kStatusOk;
    if (!controlBlock.Has(control::kTriggerCode))
        return kStatusNotSupported;
    const TriggerMode &row = kTriggerModes[mode < kModeCount ? mode : kFreeRunning];
    const uint32_t offset = control::kTriggerCode.offset;
    controlBlock.Store(
        offset, zerix::registers::Insert(controlBlock.Word(offset), control::kTriggerCode,
                                         GetDoubleShotMode() ? row.doubleShotCode : row.code));
    if (const uint16_t status = WriteField(control::kTriggerPolarity, row.polarity))
        return status;
    if (mode == kSoftwareTrigger)
        return Abort();
    if (mode != kFreeRunning && mode < kModeCount)
        abortPending = false;
    return kStatusOk;
}

void TolvaneFWCamera::GetTriggerModes(std::vector<uint32_t> &modes)
{
    if (GetRGBFilterCycleMode())
        modes = {0, 5};
    else
        modes = {0, 1, 2, 3, 4, 5};
}

uint32_t TolvaneFWCamera::GetTriggerDelay() { return Control(control::kTriggerDelay); }

uint32_t TolvaneFWCamera::GetTriggerDelayMin()
{
    return Information(information::kTriggerDelayMin);
}

uint32_t TolvaneFWCamera::GetTriggerDelayMax()
{
    return Information(information::kTriggerDelayMax);
}

uint32_t TolvaneFWCamera::GetTriggerDelayResolution()
{
    return Information(information::kTriggerDelayResolution);
}

// Double shot ------------------------------------------------------------------------------------

bool TolvaneFWCamera::GetDoubleShotMode()
{
    return IsDoubleShotSupported() && Control(control::kDoubleShot) != 0;
}

// A camera with a double shot has no filter wheel: the word of the wheel's delays becomes 1,
// whichever way the mode is asked for.
uint16_t TolvaneFWCamera::SetDoubleShotMode(bool)
{
    return IsDoubleShotSupported() ? WriteField(control::kRgbFilterDelays, 1) : uint16_t{kStatusOk};
}

// Synchronisation output -------------------------------------------------------------------------

uint32_t TolvaneFWCamera::GetSyncBMode() { return Control(control::kSyncB) != 0 ? 1 : 0; }

uint16_t TolvaneFWCamera::SetSyncBMode(uint32_t mode)
{
    if (mode == GetSyncBMode() && IsKnown(control::kSyncB))
        return kStatusOk;
    return WriteField(control::kSyncB, mode == 1 ? 1 : 0);
}

void TolvaneFWCamera::GetSyncBModes(std::vector<uint32_t> &modes) { modes = {0, 1}; }

} // namespace ZX

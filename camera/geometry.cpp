// Sensor size, region of interest, binning and the size of the image that comes of them. Regions
// count binned pixels. Every change stops the stream until the next commit. On the caller's thread;
// only the binning takes the settings, for it and the region must change together under the run
// loop's eyes.
#include <algorithm>
#include <optional>

#include "camera/semaphore_lock.h"
#include "camera/tolvane_fw_camera.h"

namespace ZX {

namespace control = zerix::registers::control;
namespace information = zerix::registers::information;
using zerix::registers::Field;

namespace {

std::optional<uint32_t> CodeOfBinning(uint16_t mode)
{
    switch (mode) {
    case 1:
        return 0;
    case 2:
        return 1;
    case 3:
    case 8:
        return 2;
    case 4:
        return 3;
    default:
        return std::nullopt;
    }
}

} // namespace

// The sensor -------------------------------------------------------------------------------------

// Not by way of the binning's maximum, which models compute from the sensor's size.
uint32_t TolvaneFWCamera::GetCCDWidth() { return Information(information::kWidthBinning1); }

uint32_t TolvaneFWCamera::GetCCDHeight() { return Information(information::kHeightBinning1); }

uint32_t TolvaneFWCamera::GetMaxCCDWidthForBinningMode(uint16_t mode)
{
    switch (mode) {
    case 1:
        return Information(information::kWidthBinning1);
    case 2:
        return Information(information::kWidthBinning2);
    case 3:
    case 8:
        return Information(information::kWidthBinning3);
    case 4:
        return Information(information::kWidthBinning4);
    default:
        return 0;
    }
}

uint32_t TolvaneFWCamera::GetMaxCCDHeightForBinningMode(uint16_t mode)
{
    switch (mode) {
    case 1:
        return Information(information::kHeightBinning1);
    case 2:
        return Information(information::kHeightBinning2);
    case 3:
    case 8:
        return Information(information::kHeightBinning3);
    case 4:
        return Information(information::kHeightBinning4);
    default:
        return 0;
    }
}

uint32_t TolvaneFWCamera::GetROIMaxWidthForBinningMode(uint16_t mode)
{
    return GetMaxCCDWidthForBinningMode(mode);
}

uint32_t TolvaneFWCamera::GetROIMaxHeightForBinningMode(uint16_t mode)
{
    return GetMaxCCDHeightForBinningMode(mode);
}

// Region of interest -----------------------------------------------------------------------------

uint32_t TolvaneFWCamera::GetROIX() { return Control(control::kRoiX); }

uint32_t TolvaneFWCamera::GetROIY() { return Control(control::kRoiY); }

uint32_t TolvaneFWCamera::GetROIWidth() { return Control(control::kRoiWidth); }

uint32_t TolvaneFWCamera::GetROIHeight() { return Control(control::kRoiHeight); }

uint16_t TolvaneFWCamera::WriteStopped(Field field, uint32_t value)
{
    if (const uint16_t status = TurnOffStreaming())
        return status;
    return WriteField(field, value);
}

uint16_t TolvaneFWCamera::UpdateStopped(Field field, uint32_t value)
{
    return Holds(field, value) ? uint16_t{kStatusOk} : WriteStopped(field, value);
}

// Places are the register's. A model that reads from the far corner reports other ones than it
// writes, so the getters would compare the wrong numbers.
uint16_t TolvaneFWCamera::SetROIX(uint32_t x) { return UpdateStopped(control::kRoiX, x); }

uint16_t TolvaneFWCamera::SetROIY(uint32_t y) { return UpdateStopped(control::kRoiY, y); }

// A size beyond the sensor is not refused. It is compared as it was asked for, so that it is
// written again each time.
uint16_t TolvaneFWCamera::SetROIWidth(uint32_t width)
{
    if (width == GetROIWidth() && IsKnown(control::kRoiWidth))
        return kStatusOk;
    const uint32_t maximum = GetMaxCCDWidthForBinningMode(GetSymmetricalBinningMode());
    return WriteStopped(control::kRoiWidth, std::min(width, maximum));
}

uint16_t TolvaneFWCamera::SetROIHeight(uint32_t height)
{
    if (height == GetROIHeight() && IsKnown(control::kRoiHeight))
        return kStatusOk;
    const uint32_t maximum = GetMaxCCDHeightForBinningMode(GetSymmetricalBinningMode());
    return WriteStopped(control::kRoiHeight, std::min(height, maximum));
}

uint16_t TolvaneFWCamera::SetROI(uint32_t x, uint32_t y, uint32_t width, uint32_t height)
{
    if (const uint16_t status = SetROIX(x))
        return status;
    if (const uint16_t status = SetROIY(y))
        return status;
    if (const uint16_t status = SetROIWidth(width))
        return status;
    return SetROIHeight(height);
}

// Binning ----------------------------------------------------------------------------------------

// Code 2 was three-fold on the first cameras and is eight-fold on those that say so.
uint16_t TolvaneFWCamera::GetSymmetricalBinningMode()
{
    switch (Control(control::kBinning)) {
    case 0:
        return 1;
    case 1:
        return 2;
    case 2:
        return CheckConfigRegVersion(2, 2) && Information(information::kBinningCode2Is8) != 0 ? 8
                                                                                              : 3;
    default:
        return 4;
    }
}

uint16_t TolvaneFWCamera::GetHorizontalBinningMode() { return GetSymmetricalBinningMode(); }

uint16_t TolvaneFWCamera::GetVerticalBinningMode() { return GetSymmetricalBinningMode(); }

void TolvaneFWCamera::GetHorizontalBinningModes(std::vector<uint16_t> &modes) { modes.clear(); }

void TolvaneFWCamera::GetVerticalBinningModes(std::vector<uint16_t> &modes) { modes.clear(); }

uint16_t TolvaneFWCamera::SetSymmetricalBinning(uint16_t mode)
{
    float frequency = GetReadoutFrequency();
    if (const uint16_t status = AdjustSettingsForMaxPacketSize(mode, GetBitDepth(), &frequency))
        return status;
    if (mode == GetSymmetricalBinningMode() && IsKnown(control::kBinning))
        return kStatusOk;
    if (const uint16_t status = TurnOffStreaming())
        return status;
    const zerix::SemaphoreLock settings(settingsSemaphore);
    const auto code = CodeOfBinning(mode);
    if (!code)
        return kStatusBadValue;
    WriteField(control::kBinning, *code);
    if (mode == 1)
        FillSensor(GetCCDWidth(), GetCCDHeight(), true);
    else
        FillSensor(GetMaxCCDWidthForBinningMode(mode), GetMaxCCDHeightForBinningMode(mode), false);
    return kStatusOk;
}

// Failures are printed where they happen and stop nothing: a region that fits half is better than
// one that doesn't fit at all. The stream is off, and the settings are held: no guard here.
void TolvaneFWCamera::FillSensor(uint32_t width, uint32_t height, bool isUnbinned)
{
    UpdateField(control::kRoiWidth, width);
    if (isUnbinned)
        UpdateField(control::kRoiHeight, height);
    UpdateField(control::kRoiX, 0);
    if (!isUnbinned)
        UpdateField(control::kRoiHeight, height);
    UpdateField(control::kRoiY, 0);
}

// The image --------------------------------------------------------------------------------------

uint32_t TolvaneFWCamera::GetImageWidth()
{
    const uint16_t mode = GetSymmetricalBinningMode();
    return mode > 1 ? std::min(GetROIWidth(), GetMaxCCDWidthForBinningMode(mode)) : GetROIWidth();
}

uint32_t TolvaneFWCamera::GetImageHeight()
{
    const uint16_t mode = GetSymmetricalBinningMode();
    return mode > 1 ? std::min(GetROIHeight(), GetMaxCCDHeightForBinningMode(mode))
                    : GetROIHeight();
}

uint32_t TolvaneFWCamera::GetImageSize()
{
    const uint32_t bytesPerPixel = GetBitDepth() > 8 ? 2 : 1;
    return GetImageWidth() * GetImageHeight() * bytesPerPixel;
}

} // namespace ZX

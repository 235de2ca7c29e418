// Shutter, fan, mode bits, channel calibration, the frames' tag, and the length of the frame queue.
// On the caller's thread, without a lock; a commit makes a change effective.
#include "camera/tolvane_fw_camera.h"

namespace ZX {

namespace control = zerix::registers::control;
namespace information = zerix::registers::information;

namespace {

constexpr double kShutterCount = 6.4;
constexpr uint32_t kLongestShutterCloseDelay = 26208; // 4095 counts
constexpr uint32_t kFastestFan = 4;
constexpr uint16_t kProfileOfTwoChannels = 2;

uint32_t ShutterDelayOf(uint32_t counts) { return static_cast<uint32_t>(counts * kShutterCount); }

} // namespace

// Shutter ----------------------------------------------------------------------------------------

uint32_t TolvaneFWCamera::GetShutterCloseDelay()
{
    return IsShutterCloseDelayAvailable() ? ShutterDelayOf(Control(control::kShutterCloseDelay))
                                          : 0;
}

uint16_t TolvaneFWCamera::SetShutterCloseDelay(uint32_t delay)
{
    if (!IsShutterCloseDelayAvailable())
        return kStatusNotSupported;
    const auto counts = static_cast<uint32_t>(delay / kShutterCount);
    return WriteField(control::kShutterCloseDelay,
                      zerix::registers::Fitted(control::kShutterCloseDelay, counts));
}

uint32_t TolvaneFWCamera::GetShutterCloseDelayMin() { return 0; }

uint32_t TolvaneFWCamera::GetShutterCloseDelayMax()
{
    return IsShutterCloseDelayAvailable() ? kLongestShutterCloseDelay : 0;
}

uint32_t TolvaneFWCamera::GetShutterCloseDelayDefault()
{
    return IsShutterCloseDelayAvailable()
               ? ShutterDelayOf(Information(information::kShutterCloseDelayDefault))
               : 0;
}

// Fan --------------------------------------------------------------------------------------------

// Anything but the three slower speeds is full speed, the register's 0 as well.
uint32_t TolvaneFWCamera::GetFanSpeed()
{
    if (!IsFanControlAvailable())
        return kFastestFan;
    const uint32_t speed = Control(control::kFanSpeed);
    return speed >= 1 && speed < kFastestFan ? speed : kFastestFan;
}

uint16_t TolvaneFWCamera::SetFanSpeed(uint32_t speed)
{
    return UpdateFeature(IsFanControlAvailable(), speed != GetFanSpeed(), control::kFanSpeed,
                         speed <= kFastestFan ? speed : 0);
}

// Mode bits --------------------------------------------------------------------------------------

bool TolvaneFWCamera::GetBlackoutMode() { return Control(control::kBlackout) != 0; }

uint16_t TolvaneFWCamera::SetBlackoutMode(bool on)
{
    return UpdateFeature(IsBlackoutModeAvailable(), on != GetBlackoutMode(), control::kBlackout,
                         on);
}

bool TolvaneFWCamera::GetHighSensitivityMode() { return Control(control::kHighSensitivity) != 0; }

uint16_t TolvaneFWCamera::SetHighSensitivityMode(bool on)
{
    return UpdateFeature(IsHighSensitivityModeAvailable(), on != GetHighSensitivityMode(),
                         control::kHighSensitivity, on);
}

bool TolvaneFWCamera::GetDitherMode() { return Control(control::kDither) != 0; }

uint16_t TolvaneFWCamera::SetDither(bool on)
{
    return IsDitherControlAvailable() ? WriteField(control::kDither, on)
                                      : uint16_t{kStatusNotSupported};
}

bool TolvaneFWCamera::GetDitherModeDefault()
{
    return IsDitherControlAvailable() && Information(information::kDitherDefault) != 0;
}

bool TolvaneFWCamera::GetHighGainMode() { return Control(control::kHighGain) != 0; }

// The mode can only be turned off.
uint16_t TolvaneFWCamera::SetHighGainMode(bool)
{
    return IsHighGainModeAvailable() ? WriteField(control::kHighGain, 0)
                                     : uint16_t{kStatusNotSupported};
}

bool TolvaneFWCamera::GetHighGainModeDefault()
{
    return IsHighGainModeAvailable() && Information(information::kHighGainDefault) != 0;
}

// The second channel's calibration ---------------------------------------------------------------

uint32_t TolvaneFWCamera::GetChan1CalibrationGain()
{
    return GetHardwareProfile() >= kProfileOfTwoChannels ? Control(control::kChan1Calibration) : 0;
}

uint32_t TolvaneFWCamera::GetChan1CalibrationGainDefault()
{
    return GetHardwareProfile() >= kProfileOfTwoChannels
               ? Information(information::kChan1CalibrationDefault)
               : 0;
}

uint16_t TolvaneFWCamera::SetChan1CalibrationGain(uint32_t gain)
{
    if (GetHardwareProfile() < kProfileOfTwoChannels)
        return kStatusNotSupported;
    return WriteField(control::kChan1Calibration,
                      zerix::registers::Fitted(control::kChan1Calibration, gain));
}

// The frames' tag and queue ----------------------------------------------------------------------

uint8_t TolvaneFWCamera::GetPSN() { return static_cast<uint8_t>(Control(control::kPsn)); }

uint16_t TolvaneFWCamera::SetPSN(uint8_t psn) { return WriteField(control::kPsn, psn); }

uint8_t TolvaneFWCamera::GetFrameBufferLength() { return frameBufferLength; }

uint8_t TolvaneFWCamera::GetFrameBufferLengthMin() { return 2; }

uint8_t TolvaneFWCamera::GetFrameBufferLengthMax() { return 255; }

uint8_t TolvaneFWCamera::GetFrameBufferLengthDefault() { return 100; }

uint16_t TolvaneFWCamera::SetFrameBufferLength(uint8_t frames)
{
    frameBufferLength = frames;
    return kStatusOk;
}

} // namespace ZX

// A camera without hardware: every getter answers a field of the same name that a test sets, every
// setter answers 0. Opening and closing only set the two flags.
#pragma once

#include <cstdint>
#include <sstream>
#include <utility>
#include <vector>

#include "camera/z_camera.h"
#include "tests/api/fake_camera_values.h"

namespace zerix::api {

class FakeCamera : public ZX::ZCamera, public FakeCameraValues {
public:
    uint16_t OpenCamera() override
    {
        if (openStatus != 0)
            return openStatus;
        isOpen = true;
        exclusiveAccess = !isHeldByAnother;
        return 0;
    }
    uint16_t CloseCamera() override
    {
        ++closes;
        isOpen = false;
        exclusiveAccess = false;
        return 0;
    }
    bool IsCameraOpen() override { return isOpen; }
    // What setters and commands were called with, oldest first, "Name 1 2"; a call that is to fail
    // has its status in statusOf.
    template <typename... Values>
    uint16_t Note(const char *name, const Values &...values)
    {
        std::ostringstream text;
        text << name;
        ((text << ' ' << +values), ...);
        {
            const std::lock_guard lock(callsMutex);
            calls.push_back(text.str());
        }
        if (inCall)
            inCall(name);
        const auto status = statusOf.find(name);
        return status != statusOf.end() ? status->second : uint16_t{0};
    }
    // Taken by another process from now on.
    void LoseExclusiveAccess() { exclusiveAccess = false; }
    uint16_t GetOneImage(ZX::ZExImage **image) override
    {
        *image = std::exchange(nextImage, nullptr);
        return getOneImageStatus;
    }
    uint16_t StartStreamingImages(ZX::ZImageReceivedCallback received,
                                  ZX::ZExposeDoneCallback exposed, bool external,
                                  void *userData) override
    {
        imageReceived = received;
        exposeDone = exposed;
        streamUserData = userData;
        if (const uint16_t status = Note("StartStreamingImages", external))
            return status;
        isCameraStreaming = true;
        return 0;
    }
    uint16_t StopStreamingImages() override
    {
        if (!isCameraStreaming)
            return ZX::kStatusNotStreaming;
        if (const uint16_t status = Note("StopStreamingImages"))
            return status;
        isCameraStreaming = false;
        return 0;
    }
    uint16_t SetReserved0(uint32_t operation, uint32_t *buffer, uint32_t length,
                          uint32_t checksum) override
    {
        setReserved0Arguments[0] = operation;
        setReserved0Arguments[1] = length;
        setReserved0Arguments[2] = checksum;
        setReserved0Buffer = buffer;
        return setReserved0Status;
    }
    const char *GetModelString() override { return getModelString; }
    const char *GetSerialNumberString() override { return getSerialNumberString; }

    uint16_t Abort() override { return Note("Abort"); }
    void SetShouldDeleteHALCamera(bool) override {}
    // What a conversion was asked, and the answer that a test has set.
    template <typename Asked, typename Answer>
    Answer Converted(Asked asked, Answer answer)
    {
        lastConverted = asked;
        return answer;
    }
    uint32_t ConvertGainToNormGain(uint32_t value) override
    {
        return Converted(value, convertGainToNormGain);
    }
    int32_t ConvertGainToNormGaindB(uint32_t value) override
    {
        return Converted(value, convertGainToNormGaindB);
    }
    uint32_t ConvertNormGainToGain(uint32_t value) override
    {
        return Converted(value, convertNormGainToGain);
    }
    int32_t ConvertNormGainToNormGaindB(uint32_t value) override
    {
        return Converted(value, convertNormGainToNormGaindB);
    }
    uint32_t ConvertNormGaindBToGain(int32_t value) override
    {
        return Converted(value, convertNormGaindBToGain);
    }
    uint32_t ConvertNormGaindBToNormGain(int32_t value) override
    {
        return Converted(value, convertNormGaindBToNormGain);
    }
    int32_t RoundNormGaindB(int32_t value) override { return Converted(value, roundNormGaindB); }
    int32_t ConvertOffsetToAbsoluteOffset(uint32_t value) override
    {
        return Converted(value, convertOffsetToAbsoluteOffset);
    }
    uint32_t ConvertAbsoluteOffsetToOffset(int32_t value) override
    {
        return Converted(value, convertAbsoluteOffsetToOffset);
    }
    uint16_t GetModel() override { return getModel; }
    uint32_t GetROIX() override { return getROIX; }
    uint32_t GetROIY() override { return getROIY; }
    uint32_t GetROIWidth() override { return getROIWidth; }
    uint32_t GetROIHeight() override { return getROIHeight; }
    uint16_t GetBitDepth() override { return getBitDepth; }
    uint8_t GetPSN() override { return getPSN; }
    uint64_t GetExposure() override { return getExposure; }
    uint32_t GetGain() override { return getGain; }
    uint32_t GetGainDefault() override { return getGainDefault; }
    uint32_t GetGainMin() override { return getGainMin; }
    uint32_t GetGainMax() override { return getGainMax; }
    uint32_t GetNormalizedGain() override { return getNormalizedGain; }
    uint32_t GetNormalizedGainDefault() override { return getNormalizedGainDefault; }
    double GetNormalizedGainMin() override { return getNormalizedGainMin; }
    double GetNormalizedGainMax() override { return getNormalizedGainMax; }
    int32_t GetNormalizedGaindB() override { return getNormalizedGaindB; }
    int32_t GetNormalizedGaindBMin() override { return getNormalizedGaindBMin; }
    int32_t GetNormalizedGaindBMax() override { return getNormalizedGaindBMax; }
    uint32_t GetNormalizedGaindBResolution() override { return getNormalizedGaindBResolution; }
    uint32_t GetNormalizedGainSignificantFigures() override
    {
        return getNormalizedGainSignificantFigures;
    }
    uint16_t GetImageFormat() override { return getImageFormat; }
    uint16_t GetFirmwareVersion() override { return getFirmwareVersion; }
    bool GetCoolerStatus() override { return getCoolerStatus; }
    void GetSymmetricalBinningModes(std::vector<uint16_t> &modes) override
    {
        modes = getSymmetricalBinningModes;
    }
    void GetHorizontalBinningModes(std::vector<uint16_t> &modes) override
    {
        modes = getHorizontalBinningModes;
    }
    void GetVerticalBinningModes(std::vector<uint16_t> &modes) override
    {
        modes = getVerticalBinningModes;
    }
    uint16_t GetSymmetricalBinningMode() override { return getSymmetricalBinningMode; }
    uint16_t GetHorizontalBinningMode() override { return getHorizontalBinningMode; }
    uint16_t GetVerticalBinningMode() override { return getVerticalBinningMode; }
    uint32_t GetCCDWidth() override { return getCCDWidth; }
    uint32_t GetCCDHeight() override { return getCCDHeight; }
    uint16_t GetHardwareVersion() override { return getHardwareVersion; }
    uint16_t GetFirmwareBuildNumber() override { return getFirmwareBuildNumber; }
    bool GetRGBFilterCycleMode() override { return getRGBFilterCycleMode; }
    uint16_t GetStreamingVersion() override { return getStreamingVersion; }
    float GetReadoutFrequencyDefault() override { return getReadoutFrequencyDefault; }
    float GetReadoutFrequency() override { return getReadoutFrequency; }
    float GetReadoutFrequencyMin() override { return getReadoutFrequencyMin; }
    float GetReadoutFrequencyMax() override { return getReadoutFrequencyMax; }
    uint32_t GetImageWidth() override { return getImageWidth; }
    uint32_t GetImageHeight() override { return getImageHeight; }
    uint32_t GetImageSize() override { return getImageSize; }
    bool GetBigEndian() override { return getBigEndian; }
    uint8_t GetCompression() override { return getCompression; }
    bool GetLVWMode() override { return getLVWMode; }
    uint16_t GetMaxBitDepth() override { return getMaxBitDepth; }
    uint64_t GetMinExposure() override { return getMinExposure; }
    uint64_t GetMaxExposure() override { return getMaxExposure; }
    void GetReadoutFrequencyModes(std::vector<float> &modes) override
    {
        modes = getReadoutFrequencyModes;
    }
    uint32_t GetOffset() override { return getOffset; }
    uint32_t GetOffsetDefault() override { return getOffsetDefault; }
    uint32_t GetOffsetMin() override { return getOffsetMin; }
    uint32_t GetOffsetMax() override { return getOffsetMax; }
    int32_t GetAbsoluteOffset() override { return getAbsoluteOffset; }
    int32_t GetAbsoluteOffsetDefault() override { return getAbsoluteOffsetDefault; }
    int32_t GetAbsoluteOffsetMin() override { return getAbsoluteOffsetMin; }
    int32_t GetAbsoluteOffsetMax() override { return getAbsoluteOffsetMax; }
    uint32_t GetTriggerMode() override { return getTriggerMode; }
    uint64_t GetRGBFilterRedExposure() override { return getRGBFilterRedExposure; }
    uint64_t GetRGBFilterBlueExposure() override { return getRGBFilterBlueExposure; }
    uint32_t GetSyncBMode() override { return getSyncBMode; }
    uint64_t GetNormalizedIntensifierGain() override { return getNormalizedIntensifierGain; }
    uint64_t GetNormalizedIntensifierGainMin() override { return getNormalizedIntensifierGainMin; }
    uint64_t GetNormalizedIntensifierGainMax() override { return getNormalizedIntensifierGainMax; }
    uint32_t GetIntensifierGain() override { return getIntensifierGain; }
    uint32_t GetIntensifierGainMin() override { return getIntensifierGainMin; }
    uint32_t GetIntensifierGainMax() override { return getIntensifierGainMax; }
    uint32_t GetNormalizedIntensifierGaindB() override { return getNormalizedIntensifierGaindB; }
    uint32_t GetNormalizedIntensifierGaindBMin() override
    {
        return getNormalizedIntensifierGaindBMin;
    }
    uint32_t GetNormalizedIntensifierGaindBMax() override
    {
        return getNormalizedIntensifierGaindBMax;
    }
    uint32_t GetNormalizedIntensifierGaindBResolution() override
    {
        return getNormalizedIntensifierGaindBResolution;
    }
    uint32_t GetNormalizedIntensifierGainSignificantFigures() override
    {
        return getNormalizedIntensifierGainSignificantFigures;
    }
    uint32_t GetTriggerDelay() override { return getTriggerDelay; }
    uint32_t GetTriggerDelayMin() override { return getTriggerDelayMin; }
    uint32_t GetTriggerDelayMax() override { return getTriggerDelayMax; }
    uint32_t GetFanSpeed() override { return getFanSpeed; }
    bool GetBlackoutMode() override { return getBlackoutMode; }
    bool GetHighSensitivityMode() override { return getHighSensitivityMode; }
    void GetSyncBModes(std::vector<uint32_t> &modes) override { modes = getSyncBModes; }
    void GetTriggerModes(std::vector<uint32_t> &modes) override { modes = getTriggerModes; }
    int32_t GetMinRegulatedCoolingTemp() override { return getMinRegulatedCoolingTemp; }
    int32_t GetMaxRegulatedCoolingTemp() override { return getMaxRegulatedCoolingTemp; }
    uint16_t GetCCDModel() override { return getCCDModel; }
    const char *GetCCDModelString() override { return getCCDModelString; }
    uint32_t GetExposureResolution() override { return getExposureResolution; }
    uint32_t GetTriggerDelayResolution() override { return getTriggerDelayResolution; }
    bool GetRegulatedCoolingTemperatureLock() override
    {
        return getRegulatedCoolingTemperatureLock;
    }
    int32_t GetRegulatedCoolingTemperature() override { return getRegulatedCoolingTemperature; }
    uint16_t GetCCDImageFormat() override { return getCCDImageFormat; }
    uint16_t GetRGBFilterStartColour() override { return getRGBFilterStartColour; }
    uint64_t GetUniqueID() override { return getUniqueID; }
    uint16_t GetIntensifierModel() override { return getIntensifierModel; }
    bool GetDoubleShotMode() override { return getDoubleShotMode; }
    uint32_t GetEMGain() override { return getEMGain; }
    uint32_t GetEMGainDefault() override { return getEMGainDefault; }
    uint32_t GetEMGainMin() override { return getEMGainMin; }
    uint32_t GetEMGainMax() override { return getEMGainMax; }
    bool GetDitherMode() override { return getDitherMode; }
    bool GetHighGainMode() override { return getHighGainMode; }
    bool GetDitherModeDefault() override { return getDitherModeDefault; }
    bool GetHighGainModeDefault() override { return getHighGainModeDefault; }
    bool GetKeelEmMode() override { return getKeelEmMode; }
    bool GetLockedGainMode() override { return getLockedGainMode; }
    uint32_t Get100XEmGain(uint32_t readoutIndex) override { return 1000 + readoutIndex; }
    uint32_t GetChan1CalibrationGainDefault() override { return getChan1CalibrationGainDefault; }
    uint32_t GetVClockPeriodDefault() override { return getVClockPeriodDefault; }
    uint32_t GetVClockPeriodMin() override { return getVClockPeriodMin; }
    uint32_t GetVClockPeriodMax() override { return getVClockPeriodMax; }
    uint32_t GetChan1CalibrationGain() override { return getChan1CalibrationGain; }
    uint32_t GetVClockPeriod() override { return getVClockPeriod; }
    uint64_t GetDefaultExposure() override { return getDefaultExposure; }
    uint32_t GetShutterCloseDelay() override { return getShutterCloseDelay; }
    uint32_t GetShutterCloseDelayDefault() override { return getShutterCloseDelayDefault; }
    uint32_t GetShutterCloseDelayMin() override { return getShutterCloseDelayMin; }
    uint32_t GetShutterCloseDelayMax() override { return getShutterCloseDelayMax; }
    uint32_t GetROIMaxWidthForBinningMode(uint16_t mode) override
    {
        widthAskedFor = mode;
        return getROIMaxWidthForBinningMode;
    }
    uint32_t GetROIMaxHeightForBinningMode(uint16_t mode) override
    {
        heightAskedFor = mode;
        return getROIMaxHeightForBinningMode;
    }
    uint32_t GetROIMaxWidthForLVWMode() override { return getROIMaxWidthForLVWMode; }
    uint32_t GetROIMaxHeightForLVWMode() override { return getROIMaxHeightForLVWMode; }
    uint32_t GetPixelSize() override { return getPixelSize; }
    uint32_t GetDistanceBetweenPixels() override { return getDistanceBetweenPixels; }
    uint32_t GetFullWellCapacity() override { return getFullWellCapacity; }
    uint32_t GetSubCpDefAd() override { return getSubCpDefAd; }
    uint32_t GetResetVhDefAd() override { return getResetVhDefAd; }
    uint32_t GetV1VmDefAd() override { return getV1VmDefAd; }
    uint32_t GetV2VmDefAd() override { return getV2VmDefAd; }
    uint32_t GetV3VmDefAd() override { return getV3VmDefAd; }
    uint32_t GetV4VmDefAd() override { return getV4VmDefAd; }
    uint32_t GetMiscCtrlDefAd() override { return getMiscCtrlDefAd; }
    uint32_t GetMetrolShutterDelay() override { return getMetrolShutterDelay; }
    uint32_t GetReadoutPort() override { return getReadoutPort; }
    uint8_t GetFrameBufferLength() override { return getFrameBufferLength; }
    uint8_t GetFrameBufferLengthMax() override { return getFrameBufferLengthMax; }
    uint8_t GetFrameBufferLengthMin() override { return getFrameBufferLengthMin; }
    uint8_t GetFrameBufferLengthDefault() override { return getFrameBufferLengthDefault; }
    uint16_t SetROI(uint32_t x, uint32_t y, uint32_t width, uint32_t height) override
    {
        return Note("SetROI", x, y, width, height);
    }
    uint16_t SetBigEndian(bool value) override { return Note("SetBigEndian", value); }
    uint16_t SetCompression(uint8_t value) override { return Note("SetCompression", value); }
    uint16_t SetReadoutFrequency(float value) override
    {
        return Note("SetReadoutFrequency", value);
    }
    uint16_t SetBitDepth(uint16_t value) override { return Note("SetBitDepth", value); }
    uint16_t SetExposure(uint64_t value) override { return Note("SetExposure", value); }
    uint16_t SetGain(uint32_t value) override { return Note("SetGain", value); }
    uint16_t SetNormalizedGain(uint32_t value) override { return Note("SetNormalizedGain", value); }
    uint16_t SetNormalizedGaindB(int32_t value) override
    {
        return Note("SetNormalizedGaindB", value);
    }
    uint16_t SetNormalizedIntensifierGain(uint64_t value) override
    {
        return Note("SetNormalizedIntensifierGain", value);
    }
    uint16_t SetOffset(uint32_t value) override { return Note("SetOffset", value); }
    uint16_t SetAbsoluteOffset(int32_t value) override { return Note("SetAbsoluteOffset", value); }
    uint16_t SetCoolerStatus(bool value) override { return Note("SetCoolerStatus", value); }
    uint16_t SetSymmetricalBinning(uint16_t value) override
    {
        return Note("SetSymmetricalBinning", value);
    }
    uint16_t SetHorizontalBinning(uint16_t value) override
    {
        return Note("SetHorizontalBinning", value);
    }
    uint16_t SetVerticalBinning(uint16_t value) override
    {
        return Note("SetVerticalBinning", value);
    }
    uint16_t SetLVWMode(bool value) override { return Note("SetLVWMode", value); }
    uint16_t SetRGBFilterCycle(bool value) override { return Note("SetRGBFilterCycle", value); }
    uint16_t SetRGBFilterActive(bool value) override { return Note("SetRGBFilterActive", value); }
    uint16_t SetTriggerMode(uint32_t value) override { return Note("SetTriggerMode", value); }
    uint16_t SetSyncBMode(uint32_t value) override { return Note("SetSyncBMode", value); }
    uint16_t SetFanSpeed(uint32_t value) override { return Note("SetFanSpeed", value); }
    uint16_t SetBlackoutMode(bool value) override { return Note("SetBlackoutMode", value); }
    uint16_t SetHighSensitivityMode(bool value) override
    {
        return Note("SetHighSensitivityMode", value);
    }
    uint16_t SetRegulatedCoolingTemp(int32_t value) override
    {
        return Note("SetRegulatedCoolingTemp", value);
    }
    uint16_t SetRGBFilterRedExposure(uint64_t value) override
    {
        return Note("SetRGBFilterRedExposure", value);
    }
    uint16_t SetRGBFilterBlueExposure(uint64_t value) override
    {
        return Note("SetRGBFilterBlueExposure", value);
    }
    uint16_t SetRGBFilterStartColour(uint16_t value) override
    {
        return Note("SetRGBFilterStartColour", value);
    }
    uint16_t SetShutterCloseDelay(uint32_t value) override
    {
        return Note("SetShutterCloseDelay", value);
    }
    uint16_t SetDoubleShotMode(bool value) override { return Note("SetDoubleShotMode", value); }
    uint16_t SoftwareTrigger() override { return Note("SoftwareTrigger"); }
    uint16_t SetChan1CalibrationGain(uint32_t value) override
    {
        return Note("SetChan1CalibrationGain", value);
    }
    uint16_t SetDither(bool value) override { return Note("SetDither", value); }
    uint16_t SetHighGainMode(bool value) override { return Note("SetHighGainMode", value); }
    uint16_t SetVClockPeriod(uint32_t value) override { return Note("SetVClockPeriod", value); }
    uint16_t SetEMGain(uint32_t value) override { return Note("SetEMGain", value); }
    uint16_t SetKeelEmMode(bool value) override { return Note("SetKeelEmMode", value); }
    uint16_t SetLockedGainMode(bool value) override { return Note("SetLockedGainMode", value); }
    uint16_t SetSubCpAd(uint32_t value) override { return Note("SetSubCpAd", value); }
    uint16_t SetSubAd(uint32_t value) override { return Note("SetSubAd", value); }
    uint16_t SetResetVhAd(uint32_t value) override { return Note("SetResetVhAd", value); }
    uint16_t SetV1VmAd(uint32_t value) override { return Note("SetV1VmAd", value); }
    uint16_t SetV2VmAd(uint32_t value) override { return Note("SetV2VmAd", value); }
    uint16_t SetV3VmAd(uint32_t value) override { return Note("SetV3VmAd", value); }
    uint16_t SetV4VmAd(uint32_t value) override { return Note("SetV4VmAd", value); }
    uint16_t SetMiscCtrlAd(uint32_t value) override { return Note("SetMiscCtrlAd", value); }
    uint16_t SetMetrolShutterDelay(uint32_t value) override
    {
        return Note("SetMetrolShutterDelay", value);
    }
    uint16_t SetReadoutPort(uint32_t value) override { return Note("SetReadoutPort", value); }
    uint16_t SetFrameBufferLength(uint8_t value) override
    {
        return Note("SetFrameBufferLength", value);
    }
    bool IsCoolerAvailable() override { return isCoolerAvailable; }
    bool IsRegulatedCoolingAvailable() override { return isRegulatedCoolingAvailable; }
    bool IsRGBFilterSupported() override { return isRGBFilterSupported; }
    bool IsLVWModeSupported() override { return isLVWModeSupported; }
    bool IsFanControlAvailable() override { return isFanControlAvailable; }
    bool IsHighSensitivityModeAvailable() override { return isHighSensitivityModeAvailable; }
    bool IsBlackoutModeAvailable() override { return isBlackoutModeAvailable; }
    bool IsSymmetricalBinningSupported() override { return isSymmetricalBinningSupported; }
    bool IsHorizontalBinningSupported() override { return isHorizontalBinningSupported; }
    bool IsVerticalBinningSupported() override { return isVerticalBinningSupported; }
    bool IsIntensifierAvailable() override { return isIntensifierAvailable; }
    bool IsShutterCloseDelayAvailable() override { return isShutterCloseDelayAvailable; }
    bool IsTriggerDelayAvialable() override { return isTriggerDelayAvialable; }
    bool IsEMGainAvailable() override { return isEMGainAvailable; }
    bool IsDitherControlAvailable() override { return isDitherControlAvailable; }
    bool IsHighGainModeAvailable() override { return isHighGainModeAvailable; }
    bool IsVClockControlAvailable() override { return isVClockControlAvailable; }
    bool IsDualChannelSupported() override { return isDualChannelSupported; }
    bool IsSyncBSupported() override { return isSyncBSupported; }
    bool IsDoubleShotSupported() override { return isDoubleShotSupported; }
    bool IsTweekingRegisterSupported() override { return isTweekingRegisterSupported; }
    bool IsMetrolShutterDelaySupported() override { return isMetrolShutterDelaySupported; }
    bool IsReadoutPortSupported() override { return isReadoutPortSupported; }
    bool IsKeelEmModeSupported() override { return isKeelEmModeSupported; }
    bool IsLockedGainModeSupported() override { return isLockedGainModeSupported; }
    uint16_t UpdateSettingsOnCamera() override { return Note("UpdateSettingsOnCamera"); }
    bool IsCameraStreaming() override { return isCameraStreaming; }
    uint16_t AddExternalImageBuffer(void *buffer) override
    {
        lastExternalBuffer = buffer;
        return Note("AddExternalImageBuffer");
    }
    bool DoesSupportExternalBuffers() override { return doesSupportExternalBuffers; }
    uint16_t ReallocateBandwidth(uint16_t value) override
    {
        return Note("ReallocateBandwidth", value);
    }
    uint16_t CalculateRequiredPacketSize(uint16_t binning, uint16_t bitDepth,
                                         float megahertz) override
    {
        Note("CalculateRequiredPacketSize", binning, bitDepth, megahertz);
        return requiredPacketSize;
    }
    uint16_t CalculateRequiredPacketSize(bool) override { return 0; }
    uint16_t ReadCameraInfo() override { return 0; }
    uint16_t SetupCamera() override { return 0; }
    bool IsInterlaced() override { return isInterlaced; }
    uint32_t GetMaxPacketSize() override { return getMaxPacketSize; }
    uint16_t GetTagCode() override { return getTagCode; }
};

} // namespace zerix::api

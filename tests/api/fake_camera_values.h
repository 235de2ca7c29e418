// What a FakeCamera answers: one field for each getter, named after it.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "camera/z_camera.h"
#include "image/z_ex_image.h"

namespace zerix::api {

struct FakeCameraValues {
    uint32_t convertGainToNormGain = {};
    int32_t convertGainToNormGaindB = {};
    uint32_t convertNormGainToGain = {};
    int32_t convertNormGainToNormGaindB = {};
    uint32_t convertNormGaindBToGain = {};
    uint32_t convertNormGaindBToNormGain = {};
    int32_t roundNormGaindB = {};
    int32_t convertOffsetToAbsoluteOffset = {};
    uint32_t convertAbsoluteOffsetToOffset = {};
    int64_t lastConverted = 0; // what the last conversion was asked
    uint16_t getModel = {};
    uint32_t getROIX = {};
    uint32_t getROIY = {};
    uint32_t getROIWidth = {};
    uint32_t getROIHeight = {};
    uint16_t getBitDepth = {};
    uint8_t getPSN = {};
    uint64_t getExposure = {};
    uint32_t getGain = {};
    uint32_t getGainDefault = {};
    uint32_t getGainMin = {};
    uint32_t getGainMax = {};
    uint32_t getNormalizedGain = {};
    uint32_t getNormalizedGainDefault = {};
    double getNormalizedGainMin = {};
    double getNormalizedGainMax = {};
    int32_t getNormalizedGaindB = {};
    int32_t getNormalizedGaindBMin = {};
    int32_t getNormalizedGaindBMax = {};
    uint32_t getNormalizedGaindBResolution = {};
    uint32_t getNormalizedGainSignificantFigures = {};
    uint16_t getImageFormat = {};
    uint16_t getFirmwareVersion = {};
    bool getCoolerStatus = {};
    std::vector<uint16_t> getSymmetricalBinningModes;
    std::vector<uint16_t> getHorizontalBinningModes;
    std::vector<uint16_t> getVerticalBinningModes;
    uint16_t getSymmetricalBinningMode = {};
    uint16_t getHorizontalBinningMode = {};
    uint16_t getVerticalBinningMode = {};
    uint32_t getCCDWidth = {};
    uint32_t getCCDHeight = {};
    uint16_t getHardwareVersion = {};
    uint16_t getFirmwareBuildNumber = {};
    bool getRGBFilterCycleMode = {};
    uint16_t getStreamingVersion = {};
    float getReadoutFrequencyDefault = {};
    float getReadoutFrequency = {};
    float getReadoutFrequencyMin = {};
    float getReadoutFrequencyMax = {};
    uint32_t getImageWidth = {};
    uint32_t getImageHeight = {};
    uint32_t getImageSize = {};
    bool getBigEndian = {};
    uint8_t getCompression = {};
    bool getLVWMode = {};
    uint16_t getMaxBitDepth = {};
    uint64_t getMinExposure = {};
    uint64_t getMaxExposure = {};
    std::vector<float> getReadoutFrequencyModes;
    uint32_t getOffset = {};
    uint32_t getOffsetDefault = {};
    uint32_t getOffsetMin = {};
    uint32_t getOffsetMax = {};
    int32_t getAbsoluteOffset = {};
    int32_t getAbsoluteOffsetDefault = {};
    int32_t getAbsoluteOffsetMin = {};
    int32_t getAbsoluteOffsetMax = {};
    uint32_t getTriggerMode = {};
    uint64_t getRGBFilterRedExposure = {};
    uint64_t getRGBFilterBlueExposure = {};
    uint32_t getSyncBMode = {};
    uint64_t getNormalizedIntensifierGain = {};
    uint64_t getNormalizedIntensifierGainMin = {};
    uint64_t getNormalizedIntensifierGainMax = {};
    uint32_t getIntensifierGain = {};
    uint32_t getIntensifierGainMin = {};
    uint32_t getIntensifierGainMax = {};
    uint32_t getNormalizedIntensifierGaindB = {};
    uint32_t getNormalizedIntensifierGaindBMin = {};
    uint32_t getNormalizedIntensifierGaindBMax = {};
    uint32_t getNormalizedIntensifierGaindBResolution = {};
    uint32_t getNormalizedIntensifierGainSignificantFigures = {};
    uint32_t getTriggerDelay = {};
    uint32_t getTriggerDelayMin = {};
    uint32_t getTriggerDelayMax = {};
    uint32_t getFanSpeed = {};
    bool getBlackoutMode = {};
    bool getHighSensitivityMode = {};
    std::vector<uint32_t> getSyncBModes;
    std::vector<uint32_t> getTriggerModes;
    int32_t getMinRegulatedCoolingTemp = {};
    int32_t getMaxRegulatedCoolingTemp = {};
    uint16_t getCCDModel = {};
    const char *getCCDModelString = "";
    uint32_t getExposureResolution = {};
    uint32_t getTriggerDelayResolution = {};
    bool getRegulatedCoolingTemperatureLock = {};
    int32_t getRegulatedCoolingTemperature = {};
    uint16_t getCCDImageFormat = {};
    uint16_t getRGBFilterStartColour = {};
    uint64_t getUniqueID = {};
    uint16_t getIntensifierModel = {};
    bool getDoubleShotMode = {};
    uint32_t getEMGain = {};
    uint32_t getEMGainDefault = {};
    uint32_t getEMGainMin = {};
    uint32_t getEMGainMax = {};
    bool getDitherMode = {};
    bool getHighGainMode = {};
    bool getDitherModeDefault = {};
    bool getHighGainModeDefault = {};
    bool getKeelEmMode = {};
    bool getLockedGainMode = {};
    uint32_t getChan1CalibrationGainDefault = {};
    uint32_t getVClockPeriodDefault = {};
    uint32_t getVClockPeriodMin = {};
    uint32_t getVClockPeriodMax = {};
    uint32_t getChan1CalibrationGain = {};
    uint32_t getVClockPeriod = {};
    uint64_t getDefaultExposure = {};
    uint32_t getShutterCloseDelay = {};
    uint32_t getShutterCloseDelayDefault = {};
    uint32_t getShutterCloseDelayMin = {};
    uint32_t getShutterCloseDelayMax = {};
    uint32_t getROIMaxWidthForBinningMode = {};
    uint32_t getROIMaxHeightForBinningMode = {};
    uint32_t getROIMaxWidthForLVWMode = {};
    uint32_t getROIMaxHeightForLVWMode = {};
    uint32_t getPixelSize = {};
    uint32_t getDistanceBetweenPixels = {};
    uint32_t getFullWellCapacity = {};
    uint32_t getSubCpDefAd = {};
    uint32_t getResetVhDefAd = {};
    uint32_t getV1VmDefAd = {};
    uint32_t getV2VmDefAd = {};
    uint32_t getV3VmDefAd = {};
    uint32_t getV4VmDefAd = {};
    uint32_t getMiscCtrlDefAd = {};
    uint32_t getMetrolShutterDelay = {};
    uint32_t getReadoutPort = {};
    uint8_t getFrameBufferLength = {};
    uint8_t getFrameBufferLengthMax = {};
    uint8_t getFrameBufferLengthMin = {};
    uint8_t getFrameBufferLengthDefault = {};
    bool isCoolerAvailable = {};
    bool isRegulatedCoolingAvailable = {};
    bool isRGBFilterSupported = {};
    bool isLVWModeSupported = {};
    bool isFanControlAvailable = {};
    bool isHighSensitivityModeAvailable = {};
    bool isBlackoutModeAvailable = {};
    bool isSymmetricalBinningSupported = {};
    bool isHorizontalBinningSupported = {};
    bool isVerticalBinningSupported = {};
    bool isIntensifierAvailable = {};
    bool isShutterCloseDelayAvailable = {};
    bool isTriggerDelayAvialable = {};
    bool isEMGainAvailable = {};
    bool isDitherControlAvailable = {};
    bool isHighGainModeAvailable = {};
    bool isVClockControlAvailable = {};
    bool isDualChannelSupported = {};
    bool isSyncBSupported = {};
    bool isDoubleShotSupported = {};
    bool isTweekingRegisterSupported = {};
    bool isMetrolShutterDelaySupported = {};
    bool isReadoutPortSupported = {};
    bool isKeelEmModeSupported = {};
    bool isLockedGainModeSupported = {};
    bool isCameraStreaming = {};
    bool doesSupportExternalBuffers = {};
    bool isInterlaced = {};
    uint32_t getMaxPacketSize = {};
    uint16_t getTagCode = {};
    const char *getModelString = "Fake";
    const char *getSerialNumberString = "SN-0001";
    uint16_t openStatus = 0;
    bool isHeldByAnother = false;
    uint16_t getOneImageStatus = 0;
    ZX::ZExImage *nextImage = nullptr; // given away by GetOneImage
    uint16_t setReserved0Status = 0;
    uint32_t setReserved0Arguments[3] = {};
    uint32_t *setReserved0Buffer = nullptr;
    uint32_t closes = 0;
    std::mutex callsMutex;
    std::vector<std::string> calls;
    std::function<void(const std::string &name)> inCall; // of a setter or command
    uint16_t widthAskedFor = 0;                          // the binning mode
    uint16_t heightAskedFor = 0;
    std::map<std::string, uint16_t> statusOf;
    ZX::ZImageReceivedCallback imageReceived = nullptr;
    ZX::ZExposeDoneCallback exposeDone = nullptr;
    void *streamUserData = nullptr;
    void *lastExternalBuffer = nullptr;
    uint16_t requiredPacketSize = 0;
};

} // namespace zerix::api

// The abstract class behind every camera handle: what all cameras share, the camera list, and the
// virtual operations in the order of the class's table. A leaf header: what filters and the public
// interface call is virtual or inline.
//
// Units are given with each function, where the parameter's name doesn't. Setters return the 16-bit
// status of the camera layer, 0 for success. They write the camera's registers at once, and
// UpdateSettingsOnCamera makes what was written effective together.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "camera/z_object.h"
#include "zerix/zerix_export.h"

namespace zerix {

class StreamOwner;

// For as long as it lives, no other thread starts or stops a camera's stream or commits settings.
class StreamHold {
public:
    explicit StreamHold(StreamOwner &owner);
    ~StreamHold();
    StreamHold(const StreamHold &) = delete;
    StreamHold &operator=(const StreamHold &) = delete;

private:
    StreamOwner &m_owner;
};

} // namespace zerix

namespace ZX {

class ZBayerInterpolation;
class ZBenchmateRatioCorrection;
class ZCamera;
class ZExImage;
class ZImagePipeline;

using ZCameraList = std::vector<ZCamera *>;

// Statuses of the camera layer.
enum ZStatus : uint16_t {
    kStatusOk = 0,
    kStatusInUse = 1, // another process holds the device
    kStatusGainRange = 2,
    kStatusBadValue = 3,
    kStatusNoBandwidth = 7,
    kStatusUnknownKind = 8,
    kStatusBus = 9,
    kStatusNotSupported = 15,
    kStatusNotStreaming = 17,
    kStatusNoImage = 21,
    kStatusWrongTriggerMode = 22,
    kStatusGainNotConverted = 23,
    kStatusAlreadyInitialised = 24,
    kStatusThreadTimeout = 25,
    kStatusUnplugged = 26,
    kStatusNoResources = 33,
    kStatusNoPixels = 34, // the region is empty
    kStatusBusy = 35,     // another thread is taking an image
};

// What the streaming callback receives for each image. The record belongs to the caller and is gone
// when the callback returns; the image belongs to the receiver.
struct ZImageReceivedCallbackStruct {
    ZExImage *image; // null when the device was lost
    void *userData;
    uint16_t error; // 0; 0x12 data missing, 0x13 cut, 0x14 overflow, 0x15 host overflow, 0x1A lost
};

using ZImageReceivedCallback = void (*)(ZImageReceivedCallbackStruct *record);
using ZExposeDoneCallback = void (*)(void *userData);

class ZERIX_API ZCamera : public ZObject {
public:
    // 1. Life and conversion.
    ~ZCamera() override;
    virtual uint16_t OpenCamera() = 0;
    virtual uint16_t CloseCamera() = 0;
    virtual bool IsCameraOpen() = 0;
    virtual uint16_t Abort() = 0;
    virtual void SetShouldDeleteHALCamera(bool shouldDelete) = 0;
    virtual uint32_t ConvertGainToNormGain(uint32_t gain) = 0;
    virtual int32_t ConvertGainToNormGaindB(uint32_t gain) = 0;
    virtual uint32_t ConvertNormGainToGain(uint32_t normGain) = 0;
    virtual int32_t ConvertNormGainToNormGaindB(uint32_t normGain) = 0;
    virtual uint32_t ConvertNormGaindBToGain(int32_t microdecibels) = 0;
    virtual uint32_t ConvertNormGaindBToNormGain(int32_t microdecibels) = 0;
    virtual int32_t RoundNormGaindB(int32_t microdecibels) = 0;
    virtual int32_t ConvertOffsetToAbsoluteOffset(uint32_t offset) = 0;
    virtual uint32_t ConvertAbsoluteOffsetToOffset(int32_t offset) = 0;

    // 2. Getters. Those with a list overwrite it.
    virtual uint16_t GetModel() = 0;
    virtual uint32_t GetROIX() = 0; // pixels after binning, as the next three
    virtual uint32_t GetROIY() = 0;
    virtual uint32_t GetROIWidth() = 0;
    virtual uint32_t GetROIHeight() = 0;
    virtual uint16_t GetBitDepth() = 0; // 8 to 16
    virtual uint8_t GetPSN() = 0;       // number of the settings: 0 to 255
    virtual uint64_t GetExposure() = 0; // nanoseconds
    virtual uint32_t GetGain() = 0;     // counts, 0 to 4095, as the next three
    virtual uint32_t GetGainDefault() = 0;
    virtual uint32_t GetGainMin() = 0;
    virtual uint32_t GetGainMax() = 0;
    virtual uint32_t GetNormalizedGain() = 0; // factor in millionths, as the next one
    virtual uint32_t GetNormalizedGainDefault() = 0;
    virtual double GetNormalizedGainMin() = 0; // factor, as the next one
    virtual double GetNormalizedGainMax() = 0;
    virtual int32_t GetNormalizedGaindB() = 0; // millionths of a decibel, as the next three
    virtual int32_t GetNormalizedGaindBMin() = 0;
    virtual int32_t GetNormalizedGaindBMax() = 0;
    virtual uint32_t GetNormalizedGaindBResolution() = 0;
    virtual uint32_t GetNormalizedGainSignificantFigures() = 0; // decimal figures
    virtual uint16_t GetImageFormat() = 0; // 1 grey, 2 mosaic, 3 one colour of the wheel
    virtual uint16_t GetFirmwareVersion() = 0;
    virtual bool GetCoolerStatus() = 0; // is on
    // Pixels along a side.
    virtual void GetSymmetricalBinningModes(std::vector<uint16_t> &modes) = 0;
    virtual void GetHorizontalBinningModes(std::vector<uint16_t> &modes) = 0;
    virtual void GetVerticalBinningModes(std::vector<uint16_t> &modes) = 0;
    virtual const char *GetModelString() = 0;         // belongs to the camera
    virtual uint16_t GetSymmetricalBinningMode() = 0; // pixels along a side
    virtual uint16_t GetHorizontalBinningMode() = 0;  // pixels, as the next one
    virtual uint16_t GetVerticalBinningMode() = 0;
    virtual uint32_t GetCCDWidth() = 0; // pixels of the sensor, as the next one
    virtual uint32_t GetCCDHeight() = 0;
    virtual uint16_t GetHardwareVersion() = 0;
    virtual uint16_t GetFirmwareBuildNumber() = 0;
    virtual bool GetRGBFilterCycleMode() = 0;       // the wheel turns
    virtual uint16_t GetStreamingVersion() = 0;     // format of the packets: 0, 1 or 2
    virtual float GetReadoutFrequencyDefault() = 0; // megahertz, as the next three
    virtual float GetReadoutFrequency() = 0;
    virtual float GetReadoutFrequencyMin() = 0;
    virtual float GetReadoutFrequencyMax() = 0;
    virtual uint32_t GetImageWidth() = 0; // pixels after binning, as the next one
    virtual uint32_t GetImageHeight() = 0;
    virtual uint32_t GetImageSize() = 0; // bytes
    virtual bool GetBigEndian() = 0;
    virtual uint8_t GetCompression() = 0;
    virtual bool GetLVWMode() = 0;
    virtual uint16_t GetMaxBitDepth() = 0; // bits
    virtual uint64_t GetMinExposure() = 0; // nanoseconds, as the next one
    virtual uint64_t GetMaxExposure() = 0;
    virtual void GetReadoutFrequencyModes(std::vector<float> &modes) = 0; // megahertz
    virtual uint32_t GetOffset() = 0; // counts, 0 to 4095, as the next three
    virtual uint32_t GetOffsetDefault() = 0;
    virtual uint32_t GetOffsetMin() = 0;
    virtual uint32_t GetOffsetMax() = 0;
    virtual int32_t GetAbsoluteOffset() = 0; // counts from the camera's own zero, as the next three
    virtual int32_t GetAbsoluteOffsetDefault() = 0;
    virtual int32_t GetAbsoluteOffsetMin() = 0;
    virtual int32_t GetAbsoluteOffsetMax() = 0;
    // What begins an exposure while the camera streams. 0: nothing, it runs freely. 1 and 2: a
    // pulse on the trigger line, in either polarity; 3 and 4, 6 and 7: the same in the line's
    // second and third form. 5: SoftwareTrigger.
    virtual uint32_t GetTriggerMode() = 0;
    virtual uint64_t GetRGBFilterRedExposure() = 0; // nanoseconds, as the next one
    virtual uint64_t GetRGBFilterBlueExposure() = 0;
    virtual uint32_t GetSyncBMode() = 0; // what the output shows: 0 trigger mask, 1 expose
    virtual uint64_t GetNormalizedIntensifierGain() = 0; // factor in millionths, as the next two
    virtual uint64_t GetNormalizedIntensifierGainMin() = 0;
    virtual uint64_t GetNormalizedIntensifierGainMax() = 0;
    virtual uint32_t GetIntensifierGain() = 0; // counts, as the next two
    virtual uint32_t GetIntensifierGainMin() = 0;
    virtual uint32_t GetIntensifierGainMax() = 0;
    // Millionths of a decibel, these four.
    virtual uint32_t GetNormalizedIntensifierGaindB() = 0;
    virtual uint32_t GetNormalizedIntensifierGaindBMin() = 0;
    virtual uint32_t GetNormalizedIntensifierGaindBMax() = 0;
    virtual uint32_t GetNormalizedIntensifierGaindBResolution() = 0;
    virtual uint32_t GetNormalizedIntensifierGainSignificantFigures() = 0; // decimal figures
    virtual uint32_t GetTriggerDelay() = 0; // nanoseconds, as the next two
    virtual uint32_t GetTriggerDelayMin() = 0;
    virtual uint32_t GetTriggerDelayMax() = 0;
    virtual uint32_t GetFanSpeed() = 0; // 1 low, 2 medium, 3 high, 4 full
    virtual bool GetBlackoutMode() = 0;
    virtual bool GetHighSensitivityMode() = 0;
    virtual void GetSyncBModes(std::vector<uint32_t> &modes) = 0;   // 0 and 1
    virtual void GetTriggerModes(std::vector<uint32_t> &modes) = 0; // a list of modes
    virtual int32_t GetMinRegulatedCoolingTemp() = 0; // degrees Celsius, as the next one
    virtual int32_t GetMaxRegulatedCoolingTemp() = 0;
    virtual uint16_t GetCCDModel() = 0; // the sensor's number
    virtual const char *GetCCDModelString() = 0;
    virtual uint32_t GetExposureResolution() = 0;          // nanoseconds
    virtual uint32_t GetTriggerDelayResolution() = 0;      // nanoseconds
    virtual const char *GetSerialNumberString() = 0;       // belongs to the camera
    virtual bool GetRegulatedCoolingTemperatureLock() = 0; // reads from the camera
    virtual int32_t GetRegulatedCoolingTemperature() = 0;  // the one asked for, degrees Celsius
    virtual uint16_t GetCCDImageFormat() = 0;       // 1 monochrome, 2 with a colour mask, 0 other
    virtual uint16_t GetRGBFilterStartColour() = 0; // 0 red, 1 green, 3 blue
    virtual uint64_t GetUniqueID() = 0;
    virtual uint16_t GetIntensifierModel() = 0;
    virtual bool GetDoubleShotMode() = 0;
    virtual uint32_t GetEMGain() = 0; // counts, as the next three
    virtual uint32_t GetEMGainDefault() = 0;
    virtual uint32_t GetEMGainMin() = 0;
    virtual uint32_t GetEMGainMax() = 0;
    virtual bool GetDitherMode() = 0;
    virtual bool GetHighGainMode() = 0;
    virtual bool GetDitherModeDefault() = 0;
    virtual bool GetHighGainModeDefault() = 0;
    virtual bool GetKeelEmMode() = 0;
    virtual bool GetLockedGainMode() = 0;
    virtual uint32_t Get100XEmGain(uint32_t readoutIndex) = 0; // counts
    virtual uint32_t GetChan1CalibrationGainDefault() = 0;     // counts
    virtual uint32_t GetVClockPeriodDefault() = 0;             // nanoseconds, as the next two
    virtual uint32_t GetVClockPeriodMin() = 0;
    virtual uint32_t GetVClockPeriodMax() = 0;
    virtual uint32_t GetChan1CalibrationGain() = 0; // counts
    virtual uint32_t GetVClockPeriod() = 0;         // nanoseconds
    virtual uint64_t GetDefaultExposure() = 0;      // nanoseconds
    virtual uint32_t GetShutterCloseDelay() = 0;    // microseconds, as the next three
    virtual uint32_t GetShutterCloseDelayDefault() = 0;
    virtual uint32_t GetShutterCloseDelayMin() = 0;
    virtual uint32_t GetShutterCloseDelayMax() = 0;
    virtual uint32_t GetROIMaxWidthForBinningMode(uint16_t mode) = 0;  // pixels after binning
    virtual uint32_t GetROIMaxHeightForBinningMode(uint16_t mode) = 0; // pixels after binning
    virtual uint32_t GetROIMaxWidthForLVWMode() = 0;                   // pixels
    virtual uint32_t GetROIMaxHeightForLVWMode() = 0;                  // pixels
    virtual uint32_t GetPixelSize() = 0;                               // nanometres along a side
    virtual uint32_t GetDistanceBetweenPixels() = 0;                   // nanometres
    virtual uint32_t GetFullWellCapacity() = 0;                        // electrons
    virtual uint32_t GetSubCpDefAd() = 0;                              // counts, as the next six
    virtual uint32_t GetResetVhDefAd() = 0;
    virtual uint32_t GetV1VmDefAd() = 0;
    virtual uint32_t GetV2VmDefAd() = 0;
    virtual uint32_t GetV3VmDefAd() = 0;
    virtual uint32_t GetV4VmDefAd() = 0;
    virtual uint32_t GetMiscCtrlDefAd() = 0;
    virtual uint32_t GetMetrolShutterDelay() = 0; // in steps of 50
    virtual uint32_t GetReadoutPort() = 0;        // 1, or 0 without a choice
    virtual uint8_t GetFrameBufferLength() = 0;   // frames, as the next three
    virtual uint8_t GetFrameBufferLengthMax() = 0;
    virtual uint8_t GetFrameBufferLengthMin() = 0;
    virtual uint8_t GetFrameBufferLengthDefault() = 0;

    // 3. Setters.
    // Pixels after binning. Width and height are cut to what the binning leaves of the sensor.
    virtual uint16_t SetROI(uint32_t x, uint32_t y, uint32_t width, uint32_t height) = 0;
    virtual uint16_t SetBigEndian(bool on) = 0;
    virtual uint16_t SetCompression(uint8_t value) = 0;
    // A frequency that isn't in the list means 10 MHz.
    virtual uint16_t SetReadoutFrequency(float megahertz) = 0;
    virtual uint16_t SetBitDepth(uint16_t depth) = 0; // 8; 12 or 16: the most that it has; 14
    virtual uint16_t SetExposure(uint64_t nanoseconds) = 0;
    virtual uint16_t SetGain(uint32_t gain) = 0;               // counts
    virtual uint16_t SetNormalizedGain(uint32_t normGain) = 0; // millionths
    virtual uint16_t SetNormalizedGaindB(int32_t microdecibels) = 0;
    virtual uint16_t SetNormalizedIntensifierGain(uint64_t gain) = 0; // factor in millionths
    virtual uint16_t SetOffset(uint32_t offset) = 0;                  // counts
    virtual uint16_t SetAbsoluteOffset(int32_t offset) = 0; // counts from the camera's own zero
    virtual uint16_t SetCoolerStatus(bool on) = 0;
    // Pixels along a side, one of the list.
    virtual uint16_t SetSymmetricalBinning(uint16_t mode) = 0;
    virtual uint16_t SetHorizontalBinning(uint16_t mode) = 0; // pixels
    virtual uint16_t SetVerticalBinning(uint16_t mode) = 0;   // pixels
    virtual uint16_t SetLVWMode(bool on) = 0;
    virtual uint16_t SetRGBFilterCycle(bool on) = 0;
    virtual uint16_t SetRGBFilterActive(bool on) = 0;
    virtual uint16_t SetTriggerMode(uint32_t mode) = 0; // as GetTriggerMode; any other: 0
    virtual uint16_t SetSyncBMode(uint32_t mode) = 0;   // 0 trigger mask, 1 expose
    virtual uint16_t SetFanSpeed(uint32_t speed) = 0;   // 1 low, 2 medium, 3 high, 4 full
    virtual uint16_t SetBlackoutMode(bool on) = 0;
    virtual uint16_t SetHighSensitivityMode(bool on) = 0;
    virtual uint16_t SetRegulatedCoolingTemp(int32_t celsius) = 0; // -55 to 49
    virtual uint16_t SetRGBFilterRedExposure(uint64_t nanoseconds) = 0;
    virtual uint16_t SetRGBFilterBlueExposure(uint64_t nanoseconds) = 0;
    virtual uint16_t SetRGBFilterStartColour(uint16_t colour) = 0; // 0 red, 1 green, 3 blue
    virtual uint16_t SetShutterCloseDelay(uint32_t delay) = 0;     // microseconds
    virtual uint16_t SetDoubleShotMode(bool on) = 0; // switches it on, whatever is asked for
    virtual uint16_t SoftwareTrigger() = 0;          // one exposure, in trigger mode 5
    virtual uint16_t SetReserved0(uint32_t operation, uint32_t *buffer, uint32_t length,
                                  uint32_t checksum) = 0;
    virtual uint16_t SetChan1CalibrationGain(uint32_t gain) = 0; // counts, 0 to 255
    virtual uint16_t SetDither(bool on) = 0;
    virtual uint16_t SetHighGainMode(bool on) = 0; // switches it off, whatever is asked for
    virtual uint16_t SetVClockPeriod(uint32_t nanoseconds) = 0;
    virtual uint16_t SetEMGain(uint32_t gain) = 0; // counts
    virtual uint16_t SetKeelEmMode(bool on) = 0;
    virtual uint16_t SetLockedGainMode(bool on) = 0;
    virtual uint16_t SetSubCpAd(uint32_t value) = 0; // counts, 0 to 65535, as the next seven
    virtual uint16_t SetSubAd(uint32_t value) = 0;
    virtual uint16_t SetResetVhAd(uint32_t value) = 0;
    virtual uint16_t SetV1VmAd(uint32_t value) = 0;
    virtual uint16_t SetV2VmAd(uint32_t value) = 0;
    virtual uint16_t SetV3VmAd(uint32_t value) = 0;
    virtual uint16_t SetV4VmAd(uint32_t value) = 0;
    virtual uint16_t SetMiscCtrlAd(uint32_t value) = 0;
    virtual uint16_t SetMetrolShutterDelay(uint32_t delay) = 0; // rounded up to a multiple of 50
    virtual uint16_t SetReadoutPort(uint32_t port) = 0;
    virtual uint16_t SetFrameBufferLength(uint8_t frames) = 0;

    // 4. Capability tests.
    virtual bool IsCoolerAvailable() = 0;
    virtual bool IsRegulatedCoolingAvailable() = 0;
    virtual bool IsRGBFilterSupported() = 0;
    virtual bool IsLVWModeSupported() = 0;
    virtual bool IsFanControlAvailable() = 0;
    virtual bool IsHighSensitivityModeAvailable() = 0;
    virtual bool IsBlackoutModeAvailable() = 0;
    virtual bool IsSymmetricalBinningSupported() = 0;
    virtual bool IsHorizontalBinningSupported() = 0;
    virtual bool IsVerticalBinningSupported() = 0;
    virtual bool IsIntensifierAvailable() = 0;
    virtual bool IsShutterCloseDelayAvailable() = 0;
    virtual bool IsTriggerDelayAvialable() = 0;
    virtual bool IsEMGainAvailable() = 0;
    virtual bool IsDitherControlAvailable() = 0;
    virtual bool IsHighGainModeAvailable() = 0;
    virtual bool IsVClockControlAvailable() = 0;
    virtual bool IsDualChannelSupported() = 0;
    virtual bool IsSyncBSupported() = 0;
    virtual bool IsDoubleShotSupported() = 0;
    virtual bool IsTweekingRegisterSupported() = 0;
    virtual bool IsMetrolShutterDelaySupported() = 0;
    virtual bool IsReadoutPortSupported() = 0;
    virtual bool IsKeelEmModeSupported() = 0;
    virtual bool IsLockedGainModeSupported() = 0;

    // 5. Acquisition and internals.
    virtual uint16_t UpdateSettingsOnCamera() = 0;
    virtual bool IsCameraStreaming() = 0;
    // Waits for one image; the receiver owns it and frees it with FreeImage.
    virtual uint16_t GetOneImage(ZExImage **image) = 0;
    virtual uint16_t StartStreamingImages(ZImageReceivedCallback streamCallback,
                                          ZExposeDoneCallback exposeDoneCallback,
                                          bool externalBuffers, void *userData) = 0;
    virtual uint16_t StopStreamingImages() = 0;
    virtual uint16_t AddExternalImageBuffer(void *buffer) = 0;
    virtual bool DoesSupportExternalBuffers() = 0;
    virtual uint16_t ReallocateBandwidth(uint16_t packetBytes) = 0;
    virtual uint16_t ReturnMasqueradedModel();
    virtual uint16_t CalculateRequiredPacketSize(uint16_t binning, uint16_t bitDepth,
                                                 float megahertz) = 0;
    virtual uint16_t CalculateRequiredPacketSize(bool limit) = 0;
    virtual uint16_t ReadCameraInfo() = 0;
    virtual uint16_t SetupCamera() = 0;
    virtual bool IsInterlaced() = 0;
    virtual uint32_t GetMaxPacketSize() = 0;
    virtual uint16_t GetTagCode() = 0;

    // What every camera has.
    void *GetRefCon() const { return refCon; }
    void SetRefCon(void *value) { refCon = value; }
    // Orders the threads that start and stop the stream.
    zerix::StreamOwner &Stream() const { return *streamOwner; }
    uint16_t GetCurrentFireWirePacketSize() const { return currentFireWirePacketSize; }
    void SetCurrentFireWirePacketSize(uint16_t bytes) { currentFireWirePacketSize = bytes; }
    ZImagePipeline *GetImagePipeline() const { return imagePipeline.get(); }
    ZImagePipeline *GetBayerPipeline() const { return bayerPipeline.get(); }
    ZBayerInterpolation *GetBayerFilter() const { return bayerFilter.get(); }
    ZBenchmateRatioCorrection *GetBenchmateRatioCorrectionFilter() const
    {
        return ratioCorrectionFilter.get();
    }
    bool DoWeHaveExclusiveAccess() const { return exclusiveAccess; }

    // The library as a whole. Initialize gives 24 when it has run before, which is no failure.
    static uint16_t Initialize();
    static uint16_t Shutdown();
    static bool IsInitalized();

    // One closed object for each camera on the bus that nobody else holds. After a failure the list
    // holds the cameras made until then. The owner of the list owns its cameras.
    static uint16_t GetCameraList(ZCameraList &list);
    static uint16_t FreeCameraList(ZCameraList &list);
    // Forgets the cameras without ending them.
    static uint16_t EraseCameraList(ZCameraList &list);
    static uint16_t EraseClosedCamerasFromList(ZCameraList &list);
    static void FreeImage(ZExImage *image);
    static void SetShouldOutputReads(bool on);
    static void SetShouldOutputWrites(bool on);
    static bool GetShouldOutputReads();
    static bool GetShouldOutputWrites();

protected:
    ZCamera();

    // Keeps count of the cameras that are open; has a lock of its own.
    static void AddConnectedCamera(ZCamera *camera);
    // Does nothing for a camera that isn't among them.
    static void RemoveConnectedCamera(ZCamera *camera);

    void *refCon = nullptr;
    // Settings that are queued ask for it beside a start, which may book more.
    std::atomic<uint16_t> currentFireWirePacketSize{0};
    std::unique_ptr<ZImagePipeline> imagePipeline;
    std::unique_ptr<ZImagePipeline> bayerPipeline;
    std::unique_ptr<ZBayerInterpolation> bayerFilter;
    std::unique_ptr<ZBenchmateRatioCorrection> ratioCorrectionFilter;
    // Asked by the monitor thread too.
    std::atomic<bool> isOpen{false};
    std::atomic<bool> exclusiveAccess{false};

private:
    std::unique_ptr<zerix::StreamOwner> streamOwner;
    static std::atomic<bool> m_isToolboxInitialized;
    static std::atomic<bool> m_shouldOutputReads;
    static std::atomic<bool> m_shouldOutputWrites;
    static std::mutex m_connectedCamerasMutex;
    static ZCameraList m_connectedCameras; // not owned
    static std::atomic<uint16_t> m_numOfConnectedCameras;
};

} // namespace ZX

// The concrete camera: a shadow of the control block in memory, setters that change the shadow and
// write one quadlet, a commit that makes a batch effective, and the stream of frames. Its parts by
// concern:
//   tolvane_fw_camera.cpp  life cycle, opening and closing
//   camera_registers.cpp   register blocks and the commit
//   camera_setup.cpp       the default state of a fresh camera
//   identity.cpp           facts of the information block
//   defaults.cpp           features that only single models have
//   gain.cpp, em_gain.cpp, exposure.cpp, geometry.cpp, readout.cpp, packet_size.cpp, cooling.cpp,
//   trigger.cpp, filter_wheel.cpp, vertical_clock.cpp, tweaking.cpp, controls.cpp   one family of
//                          settings each
//   factory_data.cpp       the factory's window on the information block
//   streaming.cpp, one_image.cpp, run_loop.cpp, frame_queue.cpp   packets to images
//
// Threads: setters run on the caller's thread without a lock, except those that say otherwise. The
// stream has one owner, stream_owner.h, which orders its starts and stops. Order of taking: the
// owner's lock, settingsSemaphore, frameQueueSemaphore; externalSemaphore is
// taken with no other.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include "camera/assembler/frame_info.h"
#include "camera/frame_queue.h"
#include "camera/gain_record.h"
#include "camera/register_block.h"
#include "camera/write_record.h"
#include "camera/z_camera.h"
#include "zerix/zerix_hal.h"

namespace zerix {
struct StreamStart;
} // namespace zerix

namespace ZX {

class ZERIX_API TolvaneFWCamera : public ZCamera {
public:
    explicit TolvaneFWCamera(HALCamera camera);
    ~TolvaneFWCamera() override;

    // 1. Life and conversion.
    uint16_t OpenCamera() override;
    uint16_t CloseCamera() override;
    bool IsCameraOpen() override;
    uint16_t Abort() override;
    void SetShouldDeleteHALCamera(bool shouldDelete) override;
    uint32_t ConvertGainToNormGain(uint32_t gain) override;
    int32_t ConvertGainToNormGaindB(uint32_t gain) override;
    uint32_t ConvertNormGainToGain(uint32_t normGain) override;
    int32_t ConvertNormGainToNormGaindB(uint32_t normGain) override;
    uint32_t ConvertNormGaindBToGain(int32_t microdecibels) override;
    uint32_t ConvertNormGaindBToNormGain(int32_t microdecibels) override;
    int32_t RoundNormGaindB(int32_t microdecibels) override;
    int32_t ConvertOffsetToAbsoluteOffset(uint32_t offset) override;
    uint32_t ConvertAbsoluteOffsetToOffset(int32_t offset) override;

    // 2. Getters. Those with a list overwrite it.
    uint16_t GetModel() override;
    uint32_t GetROIX() override;
    uint32_t GetROIY() override;
    uint32_t GetROIWidth() override;
    uint32_t GetROIHeight() override;
    uint16_t GetBitDepth() override;
    uint8_t GetPSN() override;
    uint64_t GetExposure() override;
    uint32_t GetGain() override;
    uint32_t GetGainDefault() override;
    uint32_t GetGainMin() override;
    uint32_t GetGainMax() override;
    uint32_t GetNormalizedGain() override;
    uint32_t GetNormalizedGainDefault() override;
    double GetNormalizedGainMin() override;
    double GetNormalizedGainMax() override;
    int32_t GetNormalizedGaindB() override;
    int32_t GetNormalizedGaindBMin() override;
    int32_t GetNormalizedGaindBMax() override;
    uint32_t GetNormalizedGaindBResolution() override;
    uint32_t GetNormalizedGainSignificantFigures() override;
    uint16_t GetImageFormat() override;
    uint16_t GetFirmwareVersion() override;
    bool GetCoolerStatus() override;
    void GetSymmetricalBinningModes(std::vector<uint16_t> &modes) override = 0;
    void GetHorizontalBinningModes(std::vector<uint16_t> &modes) override;
    void GetVerticalBinningModes(std::vector<uint16_t> &modes) override;
    const char *GetModelString() override = 0;
    uint16_t GetSymmetricalBinningMode() override;
    uint16_t GetHorizontalBinningMode() override;
    uint16_t GetVerticalBinningMode() override;
    uint32_t GetCCDWidth() override;
    uint32_t GetCCDHeight() override;
    uint16_t GetHardwareVersion() override;
    uint16_t GetFirmwareBuildNumber() override;
    bool GetRGBFilterCycleMode() override;
    uint16_t GetStreamingVersion() override;
    float GetReadoutFrequencyDefault() override;
    float GetReadoutFrequency() override;
    float GetReadoutFrequencyMin() override;
    float GetReadoutFrequencyMax() override;
    uint32_t GetImageWidth() override;
    uint32_t GetImageHeight() override;
    uint32_t GetImageSize() override;
    bool GetBigEndian() override;
    uint8_t GetCompression() override;
    bool GetLVWMode() override;
    uint16_t GetMaxBitDepth() override;
    uint64_t GetMinExposure() override;
    uint64_t GetMaxExposure() override;
    void GetReadoutFrequencyModes(std::vector<float> &modes) override;
    uint32_t GetOffset() override;
    uint32_t GetOffsetDefault() override;
    uint32_t GetOffsetMin() override;
    uint32_t GetOffsetMax() override;
    int32_t GetAbsoluteOffset() override;
    int32_t GetAbsoluteOffsetDefault() override;
    int32_t GetAbsoluteOffsetMin() override;
    int32_t GetAbsoluteOffsetMax() override;
    uint32_t GetTriggerMode() override;
    uint64_t GetRGBFilterRedExposure() override;
    uint64_t GetRGBFilterBlueExposure() override;
    uint32_t GetSyncBMode() override;
    uint64_t GetNormalizedIntensifierGain() override;
    uint64_t GetNormalizedIntensifierGainMin() override;
    uint64_t GetNormalizedIntensifierGainMax() override;
    uint32_t GetIntensifierGain() override;
    uint32_t GetIntensifierGainMin() override;
    uint32_t GetIntensifierGainMax() override;
    uint32_t GetNormalizedIntensifierGaindB() override;
    uint32_t GetNormalizedIntensifierGaindBMin() override;
    uint32_t GetNormalizedIntensifierGaindBMax() override;
    uint32_t GetNormalizedIntensifierGaindBResolution() override;
    uint32_t GetNormalizedIntensifierGainSignificantFigures() override;
    uint32_t GetTriggerDelay() override;
    uint32_t GetTriggerDelayMin() override;
    uint32_t GetTriggerDelayMax() override;
    uint32_t GetFanSpeed() override;
    bool GetBlackoutMode() override;
    bool GetHighSensitivityMode() override;
    void GetSyncBModes(std::vector<uint32_t> &modes) override;
    void GetTriggerModes(std::vector<uint32_t> &modes) override;
    int32_t GetMinRegulatedCoolingTemp() override;
    int32_t GetMaxRegulatedCoolingTemp() override;
    uint16_t GetCCDModel() override;
    const char *GetCCDModelString() override;
    uint32_t GetExposureResolution() override;
    uint32_t GetTriggerDelayResolution() override;
    const char *GetSerialNumberString() override;
    bool GetRegulatedCoolingTemperatureLock() override;
    int32_t GetRegulatedCoolingTemperature() override;
    uint16_t GetCCDImageFormat() override;
    uint16_t GetRGBFilterStartColour() override;
    uint64_t GetUniqueID() override;
    uint16_t GetIntensifierModel() override;
    bool GetDoubleShotMode() override;
    uint32_t GetEMGain() override;
    uint32_t GetEMGainDefault() override;
    uint32_t GetEMGainMin() override;
    uint32_t GetEMGainMax() override;
    bool GetDitherMode() override;
    bool GetHighGainMode() override;
    bool GetDitherModeDefault() override;
    bool GetHighGainModeDefault() override;
    bool GetKeelEmMode() override;
    bool GetLockedGainMode() override;
    uint32_t Get100XEmGain(uint32_t readoutIndex) override;
    uint32_t GetChan1CalibrationGainDefault() override;
    uint32_t GetVClockPeriodDefault() override;
    uint32_t GetVClockPeriodMin() override;
    uint32_t GetVClockPeriodMax() override;
    uint32_t GetChan1CalibrationGain() override;
    uint32_t GetVClockPeriod() override;
    uint64_t GetDefaultExposure() override;
    uint32_t GetShutterCloseDelay() override;
    uint32_t GetShutterCloseDelayDefault() override;
    uint32_t GetShutterCloseDelayMin() override;
    uint32_t GetShutterCloseDelayMax() override;
    uint32_t GetROIMaxWidthForBinningMode(uint16_t mode) override;
    uint32_t GetROIMaxHeightForBinningMode(uint16_t mode) override;
    uint32_t GetROIMaxWidthForLVWMode() override;
    uint32_t GetROIMaxHeightForLVWMode() override;
    uint32_t GetPixelSize() override;
    uint32_t GetDistanceBetweenPixels() override;
    uint32_t GetFullWellCapacity() override;
    uint32_t GetSubCpDefAd() override;
    uint32_t GetResetVhDefAd() override;
    uint32_t GetV1VmDefAd() override;
    uint32_t GetV2VmDefAd() override;
    uint32_t GetV3VmDefAd() override;
    uint32_t GetV4VmDefAd() override;
    uint32_t GetMiscCtrlDefAd() override;
    uint32_t GetMetrolShutterDelay() override;
    uint32_t GetReadoutPort() override;
    uint8_t GetFrameBufferLength() override;
    uint8_t GetFrameBufferLengthMax() override;
    uint8_t GetFrameBufferLengthMin() override;
    uint8_t GetFrameBufferLengthDefault() override;

    // 3. Setters.
    uint16_t SetROI(uint32_t x, uint32_t y, uint32_t width, uint32_t height) override;
    uint16_t SetBigEndian(bool on) override;
    uint16_t SetCompression(uint8_t value) override;
    uint16_t SetReadoutFrequency(float megahertz) override;
    uint16_t SetBitDepth(uint16_t depth) override;
    uint16_t SetExposure(uint64_t nanoseconds) override;
    uint16_t SetGain(uint32_t gain) override;
    uint16_t SetNormalizedGain(uint32_t normGain) override;
    uint16_t SetNormalizedGaindB(int32_t microdecibels) override;
    uint16_t SetNormalizedIntensifierGain(uint64_t gain) override;
    uint16_t SetOffset(uint32_t offset) override;
    uint16_t SetAbsoluteOffset(int32_t offset) override;
    uint16_t SetCoolerStatus(bool on) override;
    uint16_t SetSymmetricalBinning(uint16_t mode) override;
    uint16_t SetHorizontalBinning(uint16_t mode) override;
    uint16_t SetVerticalBinning(uint16_t mode) override;
    uint16_t SetLVWMode(bool on) override;
    uint16_t SetRGBFilterCycle(bool on) override;
    uint16_t SetRGBFilterActive(bool on) override;
    uint16_t SetTriggerMode(uint32_t mode) override;
    uint16_t SetSyncBMode(uint32_t mode) override;
    uint16_t SetFanSpeed(uint32_t speed) override;
    uint16_t SetBlackoutMode(bool on) override;
    uint16_t SetHighSensitivityMode(bool on) override;
    uint16_t SetRegulatedCoolingTemp(int32_t celsius) override;
    uint16_t SetRGBFilterRedExposure(uint64_t nanoseconds) override;
    uint16_t SetRGBFilterBlueExposure(uint64_t nanoseconds) override;
    uint16_t SetRGBFilterStartColour(uint16_t colour) override;
    uint16_t SetShutterCloseDelay(uint32_t delay) override;
    uint16_t SetDoubleShotMode(bool on) override;
    uint16_t SoftwareTrigger() override;
    uint16_t SetReserved0(uint32_t operation, uint32_t *buffer, uint32_t length,
                          uint32_t checksum) override;
    uint16_t SetChan1CalibrationGain(uint32_t gain) override;
    uint16_t SetDither(bool on) override;
    uint16_t SetHighGainMode(bool on) override;
    uint16_t SetVClockPeriod(uint32_t nanoseconds) override;
    uint16_t SetEMGain(uint32_t gain) override;
    uint16_t SetKeelEmMode(bool on) override;
    uint16_t SetLockedGainMode(bool on) override;
    uint16_t SetSubCpAd(uint32_t value) override;
    uint16_t SetSubAd(uint32_t value) override;
    uint16_t SetResetVhAd(uint32_t value) override;
    uint16_t SetV1VmAd(uint32_t value) override;
    uint16_t SetV2VmAd(uint32_t value) override;
    uint16_t SetV3VmAd(uint32_t value) override;
    uint16_t SetV4VmAd(uint32_t value) override;
    uint16_t SetMiscCtrlAd(uint32_t value) override;
    uint16_t SetMetrolShutterDelay(uint32_t delay) override;
    uint16_t SetReadoutPort(uint32_t port) override;
    uint16_t SetFrameBufferLength(uint8_t frames) override;

    // 4. Capability tests.
    bool IsCoolerAvailable() override;
    bool IsRegulatedCoolingAvailable() override;
    bool IsRGBFilterSupported() override;
    bool IsLVWModeSupported() override;
    bool IsFanControlAvailable() override;
    bool IsHighSensitivityModeAvailable() override;
    bool IsBlackoutModeAvailable() override;
    bool IsSymmetricalBinningSupported() override;
    bool IsHorizontalBinningSupported() override;
    bool IsVerticalBinningSupported() override;
    bool IsIntensifierAvailable() override;
    bool IsShutterCloseDelayAvailable() override;
    bool IsTriggerDelayAvialable() override;
    bool IsEMGainAvailable() override;
    bool IsDitherControlAvailable() override;
    bool IsHighGainModeAvailable() override;
    bool IsVClockControlAvailable() override;
    bool IsDualChannelSupported() override;
    bool IsSyncBSupported() override;
    bool IsDoubleShotSupported() override;
    bool IsTweekingRegisterSupported() override;
    bool IsMetrolShutterDelaySupported() override;
    bool IsReadoutPortSupported() override;
    bool IsKeelEmModeSupported() override;
    bool IsLockedGainModeSupported() override;

    // 5. Acquisition and internals.
    uint16_t UpdateSettingsOnCamera() override;
    bool IsCameraStreaming() override;
    uint16_t GetOneImage(ZExImage **image) override;
    uint16_t StartStreamingImages(ZImageReceivedCallback streamCallback,
                                  ZExposeDoneCallback exposeDoneCallback, bool externalBuffers,
                                  void *userData) override;
    uint16_t StopStreamingImages() override;
    uint16_t AddExternalImageBuffer(void *buffer) override;
    bool DoesSupportExternalBuffers() override;
    uint16_t ReallocateBandwidth(uint16_t packetBytes) override;
    uint16_t CalculateRequiredPacketSize(uint16_t binning, uint16_t bitDepth,
                                         float megahertz) override;
    uint16_t CalculateRequiredPacketSize(bool limit) override;
    uint16_t ReadCameraInfo() override;
    uint16_t SetupCamera() override;
    bool IsInterlaced() override;
    uint32_t GetMaxPacketSize() override;
    uint16_t GetTagCode() override;

    // 6. Added to the class's table.
    virtual uint16_t GetHardwareProfile();
    virtual uint32_t GetVClockFrequencyResolution();
    virtual uint32_t GetAnalogBoardType() = 0;
    virtual uint32_t GetGainDACRange();
    virtual double GetNormalizedGaindBDR();
    virtual uint32_t GetNormalizedGaindBRes();
    virtual uint32_t GetGainOffsetDefault();
    virtual uint32_t GetMaxCCDWidthForBinningMode(uint16_t mode);
    virtual uint32_t GetMaxCCDHeightForBinningMode(uint16_t mode);
    virtual uint16_t SetPSN(uint8_t psn);
    virtual uint16_t SetMaxPacketSize(uint32_t bytes);
    virtual uint16_t SetRGBFilterDelays(uint32_t delays);
    virtual uint16_t SetupNormalizedIntensifiedGain();

    // Not virtual.
    HALCamera GetHalCamera() const { return halCamera; }
    HALCamera CameraForThreads() const; // beside calls that change the packets
    bool CheckConfigRegVersion(uint16_t major, uint16_t minor) const;
    static bool CheckVersionAtLeast(uint16_t haveMajor, uint16_t haveMinor, uint16_t needMajor,
                                    uint16_t needMinor);
    uint16_t SetROIX(uint32_t x);
    uint16_t SetROIY(uint32_t y);
    uint16_t SetROIWidth(uint32_t width);
    uint16_t SetROIHeight(uint32_t height);
    uint32_t GetReadoutFrequencyIndex(float megahertz) const;
    uint32_t GetSubDefAd();
    uint32_t GetEMGainDefaultWithFlip();
    uint32_t GetRGBFilterDefaultDelays();
    uint16_t AdjustSettingsForMaxPacketSize(uint16_t binning, uint16_t bitDepth, float *megahertz);
    uint16_t SetupNormalizedGain();
    uint16_t SetupControlRegisters(uint32_t address);
    void PrintOutControlRegisters();
    uint16_t IgnoreNextFrame();
    void IgnoreFrameInfoVector();
    void ClearFrameInfoVector();
    void SetStreamingCallback(ZImageReceivedCallback callback, void *userData);
    uint16_t TurnOffStreaming();
    bool IsFrameValid(const tStFrameInfo &frame);
    // Ends the camera's threads, if a failed close left them behind. Before the object is deleted.
    void EndThreads();

protected:
    // Registers. A read of a word that the block's version lacks gives 0; a write of one gives 15.
    uint32_t Information(zerix::registers::Field field) const
    {
        return informationBlock.Read(field);
    }
    uint32_t Control(zerix::registers::Field field) const { return controlBlock.Read(field); }
    uint64_t Information64(zerix::registers::Field high, zerix::registers::Field low) const;
    uint64_t Control64(zerix::registers::Field high, zerix::registers::Field low) const;
    bool HasCapability(zerix::registers::Capability capability, uint16_t sinceMinor = 7) const;

    // Changes the field in the shadow and writes its word. Always writes.
    uint16_t WriteField(zerix::registers::Field field, uint32_t value);
    // The same after a comparison: 0 and no write if nothing changes.
    uint16_t UpdateField(zerix::registers::Field field, uint32_t value);
    // A feature that not every camera has: 15 for a change where it is missing.
    uint16_t UpdateFeature(bool isSupported, bool isChange, zerix::registers::Field field,
                           uint32_t value);
    // Both halves of a 64-bit value, upper half first: two writes.
    uint16_t WriteField64(zerix::registers::Field high, zerix::registers::Field low,
                          uint64_t value);
    // False after a failed write of the field's word, until one succeeds. A field that isn't known
    // is written by its next setting, equal or not.
    bool IsKnown(zerix::registers::Field field) const
    {
        return controlWrites.IsKnown(field.offset);
    }
    // The camera is known to hold the value.
    bool Holds(zerix::registers::Field field, uint32_t value) const
    {
        return Control(field) == value && IsKnown(field);
    }
    // Writes a shadow word as it stands.
    uint16_t WriteControlWord(uint32_t offset);
    // Writes a word of the control block that isn't the shadow's. The word must be there.
    uint16_t WriteControlQuadlet(uint32_t offset, uint32_t value);
    // Writes one quadlet to an absolute address.
    uint16_t WriteQuadlet(uint32_t address, uint32_t value);
    // Exposures of the control block in nanoseconds: one word of microseconds in version 1, else
    // the halves of 64 bits. The write goes ahead only if the value changes.
    uint64_t ReadExposure(zerix::registers::Field high, zerix::registers::Field low) const;
    bool IsExposureKnown(zerix::registers::Field high, zerix::registers::Field low) const;
    uint16_t UpdateExposure(zerix::registers::Field high, zerix::registers::Field low,
                            uint64_t nanoseconds);
    // A setting that the stream must not see change: stops it first. The commit starts it again.
    uint16_t WriteStopped(zerix::registers::Field field, uint32_t value);
    // The same after a comparison with the register.
    uint16_t UpdateStopped(zerix::registers::Field field, uint32_t value);
    // The whole sensor as the region, in the order that fits the way the binning went. Neither
    // stops the stream nor takes the settings: the binning has done both.
    void FillSensor(uint32_t width, uint32_t height, bool isUnbinned);
    // A register of the sensor's voltages: 1 where the camera has none.
    uint16_t WriteTweak(zerix::registers::Field field, uint32_t value);
    uint32_t TweakDefault(zerix::registers::Field field);
    // Nanoseconds of a number of vertical clock ticks.
    uint32_t VClockPeriodOf(uint32_t ticks);
    // The factory's window on the information block.
    uint16_t TransferFactoryData(uint32_t operation, uint32_t *buffer, uint32_t length,
                                 uint32_t checksum);
    uint16_t WriteFactoryData(const uint32_t *words, uint32_t length, uint32_t checksum);
    // Writes 1 to the command block's commit register.
    uint16_t Commit();
    // The same under the locks, with the filters reset and the frames in work marked as stale.
    uint16_t CommitSettings();
    uint16_t PrepareTag();
    // Reads a whole block anew; its version decides the length. A failure isn't printed.
    uint16_t ReadRegisterSet(zerix::RegisterBlock &block);
    uint16_t ReadVersionWord(zerix::RegisterBlock &block);
    // Prints the system's text of the last failure and translates the hardware number.
    static uint16_t ReportHalError(uint32_t halError);

    // The parts of SetupControlRegisters, in their order.
    uint16_t ReleaseTweakedRegion();
    uint16_t SetupMode();
    uint16_t SetupRegion();
    uint16_t SetupExposures();
    uint16_t SetupFeatures();
    uint16_t SetupEMGain();
    void SetupVoltages();
    uint16_t SetupReadoutPort();

    // The commit's last part, after a change of MiscCtrl.
    uint16_t TakeOverMiscCtrl();

    // The parts of OpenCamera and CloseCamera.
    uint16_t StartThreads();
    uint16_t StopThreads();
    uint16_t CleanUpThreads();
    uint16_t FailClose(uint16_t status);

    // The parts of starting a stream and of taking one image.
    struct StreamReceiver {
        ZImageReceivedCallback callback;
        void *userData;
    };
    StreamReceiver Receiver();
    void SetReceiver(const StreamReceiver &receiver);
    // All under the stream's lock: the start whoever asks for it, the stop likewise, and the start
    // after a change of settings.
    uint16_t StartStream(const zerix::StreamStart &start);
    zerix::StreamStart StartAsBefore(const StreamReceiver &receiver, bool areExternal);
    uint16_t HaltStream();
    uint16_t RestartStream();
    uint16_t BookPackets();
    bool IsStreamDead() const;
    void BeginSession();
    uint16_t FailStart(uint32_t halError);
    uint16_t BeginOneImage();
    uint16_t EndOneImage(uint32_t waitError, ZExImage **image);
    void StopAfterOneImage();
    uint64_t OneImageTimeLimit();
    void AwaitOneImage(uint32_t fromSession);
    ZExImage *TakeOneImage();

    // The parts of preparing a frame and of working on a finished one.
    bool HasExternalBuffer();
    void DropNewestIfFull();
    bool GiveDataTo(zerix::FrameRecord &record);
    void FillFrameInfo(zerix::FrameRecord &record);
    bool WorkOnOldestFrame();
    void NoticeDeadStream();
    bool TellOfLoss();
    bool IsOfThisStream(uint32_t session) const;
    bool IsOutdated(const zerix::ImageOrigin &origin);
    uint32_t TimeStampNow() const;
    ZExImage *MakeImage(tStFrameInfo &frame, uint16_t error, uint32_t timeStamp);
    void Deliver(ZImageReceivedCallbackStruct &record, ZImageReceivedCallback callback,
                 uint32_t session);

    // Streaming, called by the hardware layer and the camera's two threads.
    tStFrameInfo *PrivatePeekNewFrame();
    tStFrameInfo *PrivateGetNewFrame();
    void PrivateImageHasArrived();
    void PrivateImageHasTimedOut();
    void PrivateImageStreamingRunLoop();
    void PrivateExposeDoneLoop();
    static tStFrameInfo *PeekNewFrameCallback(void *context);
    static tStFrameInfo *GetNewFrameCallback(void *context);
    static void ImageArrivedCallback(void *context);
    static void OverrunCallback(void *context);
    static void TimedOutCallback(void *context);
    static void CameraAsyncWriteCallback(const uint8_t *data, uint32_t length);
    static void RunLoopThread(void *camera);
    static void ExposeDoneThread(void *camera);
    static void GetOneImageCallback(ZImageReceivedCallbackStruct *record);

    HAL_Semaphore frameSemaphore = nullptr;
    HAL_Condition frameCondition{};
    HAL_Condition imageCondition{};
    HAL_Condition exposeDoneCondition{};
    ZExImage *oneImage = nullptr;
    std::atomic<bool> oneImageReady{false};
    std::mutex oneImageMutex;               // over the three around it
    uint32_t oneImageSession = 0;           // images of earlier ones come too late
    std::atomic<uint32_t> streamSession{0}; // counts the starts of streaming
    zerix::ImageOrigin delivering;          // of the image that the run loop works on
    std::mutex callbackMutex;               // makes streamingCallback and callbackUserData a pair
    std::atomic<bool> streaming{false};
    std::atomic<bool> runLoopActive{false};
    std::atomic<bool> exposeThreadActive{false};
    zerix::FrameRecords frameRecords;
    zerix::FrameQueue frameInfoQueue;   // new frames at the front; under frameQueueSemaphore
    std::deque<void *> externalBuffers; // under externalSemaphore
    std::atomic<uint8_t> frameBufferLength{100};
    bool imageFlag = false;
    std::atomic<bool> isExternalBuffered{false};
    std::atomic<bool> abortPending{false};
    bool miscCtrlChanged = false;
    threadInfo *runLoopThread = nullptr;
    threadInfo *exposeDoneThread = nullptr;
    HAL_Semaphore settingsSemaphore = nullptr;
    HAL_Semaphore externalSemaphore = nullptr;
    HAL_Semaphore frameQueueSemaphore = nullptr;
    HAL_Semaphore closeSemaphore = nullptr;
    bool runLoopOwesSignal = false; // of closeSemaphore: it has been started and not waited for yet
    std::atomic<ZImageReceivedCallback> streamingCallback{nullptr};
    std::atomic<ZExposeDoneCallback> exposeDoneCallback{nullptr};
    std::atomic<void *> callbackUserData{nullptr};
    std::atomic<void *> exposeDoneUserData{nullptr};
    char serialNumber[256] = {};
    bool shouldDeleteHALCamera = true;
    uint64_t counterStart = 0;
    uint64_t counterFrequency = 1;
    zerix::RegisterBlock configurationBlock{zerix::registers::kConfigurationLengths};
    zerix::RegisterBlock informationBlock{zerix::registers::kInformationLengths};
    zerix::RegisterBlock controlBlock{zerix::registers::kControlLengths};
    zerix::RegisterBlock commandBlock{zerix::registers::kCommandLengths};
    zerix::RegisterBlock statusBlock{zerix::registers::kStatusLengths};
    zerix::RegisterBlock streamingBlock{zerix::registers::kStreamingLengths};
    HALCamera halCamera;
    zerix::GainRecord gainRecord{};
    int32_t defaultNormalizedGaindB = 0;
    zerix::WriteRecord controlWrites{zerix::registers::kControlLengths};
};

} // namespace ZX

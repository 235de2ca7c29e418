/* Zerix: the driver library of a family of scientific FireWire cameras.
 *
 * Conventions
 *  1. Handles. A ZerixHandle comes from Zerix_OpenCamera and stays valid, as an object, until
 *     Zerix_ListCameras or Zerix_ReleaseDriver removes its closed camera.
 *  2. Errors. Every function returns one of zerix_errors.h, 0 for success, unless told otherwise.
 *  3. Records. Their byte layout is fixed; the 32-bit builds have exactly the classic layouts.
 *  4. Threads. Calls may come from any thread; Zerix_ListCameras and Zerix_ReleaseDriver must not
 *     run beside other calls.
 *  5. Ownership. What the application passes stays the application's.
 *  6. Units. 32-bit exposures are microseconds, 64-bit ones nanoseconds; sizes are pixels or bytes.
 */
#ifndef ZERIX_ZERIX_H
#define ZERIX_ZERIX_H

#include <stdint.h>

#include "zerix/zerix_errors.h"
#include "zerix/zerix_export.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef void *ZerixHandle;

/* Unsigned 32-bit parameter keys. */
enum ZerixParam {
    zprmGain = 0,
    zprmOffset = 1,
    zprmExposure = 2,
    zprmBinning = 3,
    zprmHorizontalBinning = 4,
    zprmVerticalBinning = 5,
    zprmReadoutSpeed = 6,
    zprmTriggerType = 7,
    zprmColorWheel = 8,
    zprmCoolerActive = 9,
    zprmExposureRed = 10,
    zprmExposureBlue = 11,
    zprmImageFormat = 12,
    zprmRoiX = 13,
    zprmRoiY = 14,
    zprmRoiWidth = 15,
    zprmRoiHeight = 16,
    zprmReserved17 = 17,
    zprmShutterState = 18,
    zprmDoubleShot = 19,
    zprmSyncb = 20,
    zprmMetrolShutterDelay = 21,
    zprmIntensifierGain = 22,
    zprmTriggerDelay = 23,
    zprmCameraMode = 24,
    zprmNormalizedGain = 25,
    zprmNormIntensGaindB = 26,
    zprmDoPostProcessing = 27,
    zprmPostProcessGainRed = 28,
    zprmPostProcessGainGreen = 29,
    zprmPostProcessGainBlue = 30,
    zprmPostProcessBayerAlgorithm = 31,
    zprmPostProcessImageFormat = 32,
    zprmFan = 33,
    zprmBlackoutMode = 34,
    zprmHighSensitivityMode = 35,
    zprmReadoutPort = 36,
    zprmEMGain = 37,
    zprmOpenDelay = 38,
    zprmCloseDelay = 39,
    zprmCCDClearingMode = 40,
    zprmOverSample = 41,
    zprmDither = 42,
    zprmHighGainMode = 43,
    zprmVClockPeriod = 44,
    zprmReserved45 = 45,
    zprmTweekingRegister = 46,
    zprmKeelEmMode = 47,
    zprmLockedGainMode = 48,
    zprmKeelEmGainValue10 = 49,
    zprmKeelEmGainValue20 = 50,
    zprmKeelEmGainValue40 = 51,
    zprmFrameBufferLength = 52
};

/* Signed 32-bit parameter keys. */
enum ZerixParamS32 {
    zprmS32NormalizedGaindB = 0,
    zprmS32AbsoluteOffset = 1,
    zprmS32RegulatedCoolingTemp = 2
};

/* 64-bit parameter keys. */
enum ZerixParam64 {
    zprm64Exposure = 0,
    zprm64ExposureRed = 1,
    zprm64ExposureBlue = 2,
    zprm64NormIntensGain = 3
};

/* Information keys of Zerix_GetInfo. */
enum ZerixInfo {
    zinfCameraType = 0,
    zinfSerialNumber = 1,
    zinfHardwareVersion = 2,
    zinfFirmwareVersion = 3,
    zinfCcd = 4,
    zinfBitDepth = 5,
    zinfCooled = 6,
    zinfReserved7 = 7,
    zinfImageWidth = 8,
    zinfImageHeight = 9,
    zinfImageSize = 10,
    zinfCcdType = 11,
    zinfCcdWidth = 12,
    zinfCcdHeight = 13,
    zinfFirmwareBuild = 14,
    zinfUniqueId = 15,
    zinfIsModelB = 16,
    zinfIntensifierModel = 17,
    zinfExposureRes = 18,
    zinfTriggerDelayRes = 19,
    zinfStreamVersion = 20,
    zinfNormGainSigFigs = 21,
    zinfNormGaindBRes = 22,
    zinfNormITGainSigFigs = 23,
    zinfNormITGaindBRes = 24,
    zinfRegulatedCooling = 25,
    zinfRegulatedCoolingLock = 26,
    zinfFanControl = 29,
    zinfHighSensitivityMode = 30,
    zinfBlackoutMode = 31,
    zinfPostProcessImageSize = 32,
    zinfAsymmetricalBinning = 33,
    zinfEMGain = 34,
    zinfCloseDelay = 36,
    zinfColorWheelSupported = 37,
    zinfReserved2 = 38,
    zinfReserved3 = 39,
    zinfReserved4 = 40,
    zinfKeelEmMode = 42,
    zinfLockedGainMode = 43
};

/* Image formats: values of zprmImageFormat, zprmPostProcessImageFormat and Zerix_Frame::format. */
enum ZerixImageFormat {
    zfmtRaw8 = 0,
    zfmtRaw16 = 1,
    zfmtMono8 = 2,
    zfmtMono16 = 3,
    zfmtBayer8 = 4,
    zfmtBayer16 = 5,
    zfmtRgbPlane8 = 6,
    zfmtRgbPlane16 = 7,
    zfmtBgr24 = 8,
    zfmtXrgb32 = 9,
    zfmtRgb48 = 10,
    zfmtBgrx32 = 11,
    zfmtRgb24 = 12,
    zfmtRgbx32 = 13
};

/* One row of the camera list. */
typedef struct ZerixCameraListItem {
    uint32_t cameraId;   /* what Zerix_OpenCamera takes */
    uint32_t cameraType; /* model number */
    uint32_t uniqueId;   /* left untouched for an open camera */
    uint32_t isOpen;     /* 0 or 1 */
    uint32_t reserved[10];
} ZerixCameraListItem;

/* The settings record. Prepare it with Zerix_CreateCameraSettingsStruct, fill it by a read, free it
 * with Zerix_ReleaseCameraSettingsStruct. Its contents belong to the library. */
typedef struct Zerix_Settings {
    uint32_t size;
    uint8_t formatId[16];
    void *privateBlock;
} Zerix_Settings;

/* The classic settings record of applications that allocate it themselves: 260 bytes everywhere,
 * told from the record above by its bytes 4 to 19. Pass it where a Zerix_Settings is asked for. */
#pragma pack(push, 4)
typedef struct ZerixLegacySettings {
    uint32_t size;        /* 260, set by the reads */
    uint32_t values[48];  /* by ZerixParam, 0 to 47 */
    int32_t valuesS32[3]; /* by ZerixParamS32 */
    uint64_t values64[4]; /* by ZerixParam64 */
    uint32_t reserved240;
    uint8_t camera[8]; /* the camera's handle */
    uint32_t magic;
    uint32_t reserved256;
} ZerixLegacySettings;
#pragma pack(pop)

/* A frame. The application sets pBuffer and bufferSize; the library fills in the rest. */
typedef struct Zerix_Frame {
    void *pBuffer;
    uint32_t bufferSize; /* bytes */
    uint32_t format;     /* ZerixImageFormat */
    uint32_t width;
    uint32_t height;
    uint32_t size; /* bytes of the image */
    uint16_t bitDepth;
    uint16_t frameNumber;  /* rolling */
    uint32_t bayerPattern; /* 0 RGGB, 1 GRBG, 2 GBRG, 3 BGGR */
    uint32_t errorCode;
    uint32_t timeStamp; /* 0.1 ms since the camera was opened */
    ZerixHandle camera;
    uint32_t reserved44;
    uint32_t binning;
    uint32_t isLvw;
    uint32_t colourPattern;
    uint32_t reserved60;
    uint32_t reserved64;
    uint32_t filled; /* 1 once filled */
} Zerix_Frame;

/* Frame done and settings applied (1), expose done (2). */
enum { ZERIX_FLAG_FRAME_DONE = 1, ZERIX_FLAG_EXPOSE_DONE = 2 };

typedef void (*ZerixAsyncCallback)(void *userPointer, uint32_t userData, uint32_t error,
                                   uint32_t flags);
typedef void (*ZerixUnpluggedCallback)(void *userData);

/* ---- Driver and cameras ---------------------------------------------------------------------- */
/* Brings the library up: opens the trace log as the configuration says, prepares the hardware layer
 * and starts the monitor thread. Every other function that says "loaded" needs this first.
 *   ZERIX_ERROR_ALREADY_LOADED  it is loaded; nothing changes, but the trace log's clock starts
 *                               again
 *   ZERIX_ERROR_DRIVER_FAULT    the hardware layer could not be prepared
 * Doesn't block. */
ZERIX_API uint32_t Zerix_LoadDriver(void);

/* Takes the library down: ends the monitor thread, closes every camera that stands open and frees
 * every camera object, so that no handle is valid any more. State: loaded; otherwise nothing
 * happens.
 * Must not run beside other calls, nor in a callback. Blocks until streaming has ended, up to some
 * seconds a camera. */
ZERIX_API void Zerix_ReleaseDriver(void);

/* Tells the library's version: 2, 0 and 13.
 *   major, minor, build  out
 *   ZERIX_ERROR_NOT_LOADED     state: loaded
 *   ZERIX_ERROR_BAD_PARAMETER  one of the pointers is null; nothing is written
 * Doesn't block. */
ZERIX_API uint32_t Zerix_LibVersion(uint16_t *major, uint16_t *minor, uint16_t *build);

/* The same without the build. */
ZERIX_API uint32_t Zerix_Version(uint16_t *major, uint16_t *minor);

/* Looks for cameras on the bus. Closed cameras of an earlier listing are erased, and their handles
 * die; open ones stay, at the front and in their order.
 *   table  out: as many rows as there are cameras, but no more than *count. uniqueId is left
 *          untouched in the row of an open camera, reserved words in every row
 *   count  in: rows that table has room for, 0 allowed. out: cameras found, also where that is more
 *   ZERIX_ERROR_NOT_LOADED     state: loaded
 *   ZERIX_ERROR_BAD_PARAMETER  table or count is null
 *   ZERIX_ERROR_INITIALISATION, ZERIX_ERROR_CAMERA_FAULT, ZERIX_ERROR_DRIVER_FAULT
 *                              a camera could not be looked at; those before it are in the table
 * The camera objects belong to the library. Must not run beside other calls. Opens and closes each
 * new camera for a moment, which takes a fraction of a second. */
ZERIX_API uint32_t Zerix_ListCameras(ZerixCameraListItem *table, uint32_t *count);

/* Opens a camera of the last listing for this process alone.
 *   cameraId  the cameraId of the camera's row
 *   camera    out: the handle, valid for calls until Zerix_CloseCamera
 *   ZERIX_ERROR_NOT_LOADED     state: loaded
 *   ZERIX_ERROR_BAD_PARAMETER  camera is null
 *   ZERIX_ERROR_BAD_CAMERA_ID  there is no such row, or the camera is open already: only then
 *                              *camera has been written
 *   ZERIX_ERROR_DRIVER_FAULT   another process has the camera, or the bus failed
 *   ZERIX_ERROR_INITIALISATION no bandwidth is left on the bus
 *   ZERIX_ERROR_OUT_OF_MEMORY  the camera stands open, but has no context: only closing it helps
 * Doesn't wait for the camera beyond its answers on the bus. */
ZERIX_API uint32_t Zerix_OpenCamera(uint32_t cameraId, ZerixHandle *camera);

/* Stops streaming and closes the camera. Queued frames and settings are dropped without their
 * callbacks. The object behind the handle stays until the next listing, so that late calls are told
 * 9.
 *   ZERIX_ERROR_NOT_LOADED  state: loaded
 *   ZERIX_ERROR_BAD_HANDLE  camera is null or closed, or another process has it
 * Blocks until the camera's threads have ended, up to some seconds. Must not be called in a
 * callback of the same camera. */
ZERIX_API uint32_t Zerix_CloseCamera(ZerixHandle camera);

/* Accepted and ignored: no argument is read, and the callback never runs. An unplugged camera shows
 * as an error of frames and calls.
 *   ZERIX_ERROR_NOT_LOADED  state: loaded
 * Doesn't block. */
ZERIX_API uint32_t Zerix_RegisterUnpluggedCallback(ZerixHandle camera,
                                                   ZerixUnpluggedCallback callback, void *userData);

/* For factory tools: hands the four values to the camera's service operation. Whether the camera is
 * open isn't tested.
 *   buffer  the address of `length` words, where the operation has a buffer
 *   ZERIX_ERROR_NOT_LOADED     state: loaded
 *   ZERIX_ERROR_BAD_HANDLE     camera is null
 *   ZERIX_ERROR_NOT_SUPPORTED  the camera refused
 * Blocks for the camera's answers on the bus. */
ZERIX_API uint32_t _Zerix_factory_reserved0(ZerixHandle camera, uint32_t operation,
                                            uintptr_t buffer, uint32_t length, uint32_t checksum);

/* ---- Settings records ------------------------------------------------------------------------ */
/* Prepares a settings record: sets its size field to 276 and gives it a private block, which
 * Zerix_ReleaseCameraSettingsStruct frees. The record is good for calls once a read has filled it.
 * Needs no loaded library. A legacy record needs no preparation.
 *   settings  out
 *   ZERIX_ERROR_BAD_PARAMETER  settings is null
 * Doesn't block. */
ZERIX_API uint32_t Zerix_CreateCameraSettingsStruct(Zerix_Settings *settings);

/* Zerix_ReadDefaultSettings under another name.
 *   ZERIX_ERROR_BAD_SETTINGS  settings is null */
ZERIX_API uint32_t Zerix_InitializeCameraSettings(ZerixHandle camera, Zerix_Settings *settings);

/* Frees the private block of a prepared record; the record is no good afterwards. A null pointer, a
 * released record and a legacy one are left alone. Always 0. Needs no loaded library. Doesn't
 * block. */
ZERIX_API uint32_t Zerix_ReleaseCameraSettingsStruct(Zerix_Settings *settings);

/* Fills the record with the camera's defaults and binds it to the camera. Post-processing of frames
 * is switched off at once; everything else in the camera stays until the record is sent.
 *   settings  in, out: a prepared record or a legacy one
 *   ZERIX_ERROR_NOT_LOADED     state: loaded, camera open
 *   ZERIX_ERROR_BAD_HANDLE     camera is null or closed, or another process has it
 *   ZERIX_ERROR_BAD_PARAMETER  settings is null
 *   ZERIX_ERROR_BAD_SETTINGS   settings has been released
 * Doesn't block. */
ZERIX_API uint32_t Zerix_ReadDefaultSettings(ZerixHandle camera, Zerix_Settings *settings);

/* Fills the record with the camera's present settings and binds it to the camera. Parameters, state
 * and errors as with Zerix_ReadDefaultSettings. Doesn't block. */
ZERIX_API uint32_t Zerix_ReadSettingsFromCam(ZerixHandle camera, Zerix_Settings *settings);

/* Supported by no camera.
 *   ZERIX_ERROR_NOT_LOADED     state: loaded
 *   ZERIX_ERROR_NOT_SUPPORTED  always */
ZERIX_API uint32_t Zerix_TranslateSettings(ZerixHandle camera, Zerix_Settings *settings);
ZERIX_API uint32_t Zerix_PreflightSettings(ZerixHandle camera, Zerix_Settings *settings);
ZERIX_API uint32_t Zerix_SendSettingsToCam(ZerixHandle camera, Zerix_Settings *settings);

/* ---- Parameters ------------------------------------------------------------------------------ */
ZERIX_API uint32_t Zerix_GetParam(const Zerix_Settings *settings, uint32_t key, uint32_t *value);
ZERIX_API uint32_t Zerix_SetParam(Zerix_Settings *settings, uint32_t key, uint32_t value);
ZERIX_API uint32_t Zerix_GetParamS32(const Zerix_Settings *settings, uint32_t key, int32_t *value);
ZERIX_API uint32_t Zerix_SetParamS32(Zerix_Settings *settings, uint32_t key, int32_t value);
ZERIX_API uint32_t Zerix_GetParam64(const Zerix_Settings *settings, uint32_t key, uint64_t *value);
ZERIX_API uint32_t Zerix_SetParam64(Zerix_Settings *settings, uint32_t key, uint64_t value);
ZERIX_API uint32_t Zerix_GetParamMin(const Zerix_Settings *settings, uint32_t key, uint32_t *value);
ZERIX_API uint32_t Zerix_GetParamMax(const Zerix_Settings *settings, uint32_t key, uint32_t *value);
ZERIX_API uint32_t Zerix_GetParamS32Min(const Zerix_Settings *settings, uint32_t key,
                                        int32_t *value);
ZERIX_API uint32_t Zerix_GetParamS32Max(const Zerix_Settings *settings, uint32_t key,
                                        int32_t *value);
ZERIX_API uint32_t Zerix_GetParam64Min(const Zerix_Settings *settings, uint32_t key,
                                       uint64_t *value);
ZERIX_API uint32_t Zerix_GetParam64Max(const Zerix_Settings *settings, uint32_t key,
                                       uint64_t *value);
ZERIX_API uint32_t Zerix_IsParamSupported(ZerixHandle camera, uint32_t key);
ZERIX_API uint32_t Zerix_IsParamS32Supported(ZerixHandle camera, uint32_t key);
ZERIX_API uint32_t Zerix_IsParam64Supported(ZerixHandle camera, uint32_t key);
ZERIX_API uint32_t Zerix_IsRangeTable(const Zerix_Settings *settings, uint32_t key);
ZERIX_API uint32_t Zerix_IsRangeTableS32(const Zerix_Settings *settings, uint32_t key);
ZERIX_API uint32_t Zerix_IsRangeTable64(const Zerix_Settings *settings, uint32_t key);
ZERIX_API uint32_t Zerix_IsSparseTable(const Zerix_Settings *settings, uint32_t key);
ZERIX_API uint32_t Zerix_IsSparseTableS32(const Zerix_Settings *settings, uint32_t key);
ZERIX_API uint32_t Zerix_IsSparseTable64(const Zerix_Settings *settings, uint32_t key);
ZERIX_API uint32_t Zerix_GetParamSparseTable(const Zerix_Settings *settings, uint32_t key,
                                             uint32_t *table, int32_t *size);
ZERIX_API uint32_t Zerix_GetParamSparseTableS32(const Zerix_Settings *settings, uint32_t key,
                                                int32_t *table, int32_t *size);
ZERIX_API uint32_t Zerix_GetParamSparseTable64(const Zerix_Settings *settings, uint32_t key,
                                               uint64_t *table, int32_t *size);

/* ---- Frames ---------------------------------------------------------------------------------- */
/* Takes one frame with the present settings, and post-processes it if that is switched on.
 *   frame  in: pBuffer and bufferSize. out: every other field but the reserved ones
 *   ZERIX_ERROR_NOT_LOADED        state: loaded, camera open, no frame queued
 *   ZERIX_ERROR_BAD_HANDLE        camera is null or closed, or another process has it
 *   ZERIX_ERROR_BAD_PARAMETER     frame is null
 *   ZERIX_ERROR_BUSY              frames or settings are queued
 *   ZERIX_ERROR_BUFFER_TOO_SMALL  pBuffer is null, or smaller than the image; frame is unchanged
 *   ZERIX_ERROR_DRIVER_FAULT, ZERIX_ERROR_CAMERA_FAULT, ZERIX_ERROR_INITIALISATION
 *                                 no image came
 * An image with missing data is no error of the call: frame's errorCode tells it. Blocks until the
 * image is there. The limit of the wait is a thousand times twice the exposure plus five seconds
 * (three times the exposure on an interlaced camera; with the wheel turning, the three colours'
 * exposures together): 83 minutes at the least. When that time is over, the call fails and the
 * camera goes on streaming. */
ZERIX_API uint32_t Zerix_GrabFrame(ZerixHandle camera, Zerix_Frame *frame);
ZERIX_API uint32_t Zerix_QueueFrame(ZerixHandle camera, Zerix_Frame *frame,
                                    ZerixAsyncCallback callback, uint32_t flags, void *userPointer,
                                    uint32_t userData);
ZERIX_API uint32_t Zerix_QueueSettings(ZerixHandle camera, Zerix_Settings *settings,
                                       ZerixAsyncCallback callback, uint32_t flags,
                                       void *userPointer, uint32_t userData);
ZERIX_API uint32_t Zerix_Abort(ZerixHandle camera);
ZERIX_API uint32_t Zerix_SetStreaming(ZerixHandle camera, uint32_t on);
ZERIX_API uint32_t Zerix_Trigger(ZerixHandle camera);

/* These four are supported by no camera.
 *   ZERIX_ERROR_NOT_LOADED     state: loaded
 *   ZERIX_ERROR_NOT_SUPPORTED  always */
ZERIX_API uint32_t Zerix_GrabFrameNow(ZerixHandle camera, Zerix_Frame *frame);
ZERIX_API uint32_t Zerix_GrabRawNow(ZerixHandle camera, Zerix_Frame *frame);
ZERIX_API uint32_t Zerix_ProcessRaw(ZerixHandle camera, Zerix_Frame *frame);
ZERIX_API uint32_t Zerix_SetFrameBuffers(ZerixHandle camera, Zerix_Frame **frames, uint32_t count);

/* ---- Information ----------------------------------------------------------------------------- */
/* Tells a fact about the camera.
 *   key    one of ZerixInfo
 *   value  out. Without the intensifier that a key asks about it is left alone, and so it is where
 *          the sensor's type is unknown
 *   ZERIX_ERROR_NOT_LOADED     state: loaded, camera open
 *   ZERIX_ERROR_BAD_HANDLE     camera is null or closed, or another process has it
 *   ZERIX_ERROR_BAD_PARAMETER  value is null
 *   ZERIX_ERROR_NOT_SUPPORTED  there is no such key (*value is then 0), or the camera lacks what
 *                              the key asks about
 * Doesn't block, but for zinfRegulatedCoolingLock, which waits for the camera's answer. */
ZERIX_API uint32_t Zerix_GetInfo(ZerixHandle camera, uint32_t key, uint32_t *value);

/* Gives the camera's serial number as text.
 *   text  out: the text with its terminating 0
 *   size  bytes that text has room for, the terminating 0 included
 *   ZERIX_ERROR_NOT_LOADED     state: loaded, camera open
 *   ZERIX_ERROR_BAD_HANDLE     camera is null or closed, or another process has it
 *   ZERIX_ERROR_BAD_PARAMETER  text is null, or too small: nothing is written
 * Doesn't block. */
ZERIX_API uint32_t Zerix_GetSerialString(ZerixHandle camera, char *text, uint32_t size);

/* Gives the camera's model name. Parameters, state and errors as with Zerix_GetSerialString. */
ZERIX_API uint32_t Zerix_GetCameraModelString(ZerixHandle camera, char *text, uint32_t size);

/* ---- Automatic settings and finished pictures ------------------------------------------------ */
ZERIX_API uint32_t Zerix_AutoExpose(Zerix_Settings *settings, uint32_t x, uint32_t y,
                                    uint32_t width, uint32_t height);
ZERIX_API uint32_t Zerix_WhiteBalance(Zerix_Settings *settings, uint32_t x, uint32_t y,
                                      uint32_t width, uint32_t height);
ZERIX_API uint32_t Zerix_PostProcessSingleFrame(ZerixHandle camera, const Zerix_Settings *settings,
                                                const Zerix_Frame *frameIn, Zerix_Frame *frameOut);
ZERIX_API void Zerix_BayerToRgb(uint32_t algorithm, const Zerix_Frame *frameIn,
                                Zerix_Frame *frameOut);
ZERIX_API uint32_t Zerix_BayerZoomVert(uint8_t algorithm, const Zerix_Frame *frameIn,
                                       Zerix_Frame *frameOut);

/* Properties of an image format, 1 or 0: 16 bits a value, three colours a pixel, a mosaic, colour
 * of any kind, monochrome. The raw formats are none of these, 16 bits apart. They need no loaded
 * library. */
ZERIX_API uint32_t Zerix_is16bit(uint32_t format);
ZERIX_API uint32_t Zerix_is3Color(uint32_t format);
ZERIX_API uint32_t Zerix_isBayer(uint32_t format);
ZERIX_API uint32_t Zerix_isColor(uint32_t format);
ZERIX_API uint32_t Zerix_isMonochrome(uint32_t format);

/* Bytes of an image of that format, width and height in pixels; 0 for an unknown format. Needs no
 * loaded library. */
ZERIX_API uint32_t Zerix_CalcImageSize(uint32_t format, uint32_t width, uint32_t height);

#ifdef __cplusplus
}
#endif

#endif

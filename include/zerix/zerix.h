/* Zerix: the driver library of a family of scientific FireWire cameras.
 *
 * Conventions
 *  1. Handles. A ZerixHandle comes from Zerix_OpenCamera and stays valid, as an object, until
 *     Zerix_ListCameras or Zerix_ReleaseDriver removes its closed camera.
 *  2. Errors. Every function returns one of zerix_errors.h, 0 for success, unless told otherwise.
 *  3. Records. Their byte layout is fixed; the 32-bit builds have exactly the classic layouts.
 *  4. Threads. Calls may come from any thread; Zerix_ListCameras and Zerix_ReleaseDriver must not run
 *     beside other calls.
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

/* The classic settings record of applications that allocate it themselves: 260 bytes everywhere, told
 * from the record above by its bytes 4 to 19. Pass it where a Zerix_Settings is asked for. */
#pragma pack(push, 4)
typedef struct ZerixLegacySettings {
    uint32_t size;          /* 260, set by the reads */
    uint32_t values[48];    /* by ZerixParam, 0 to 47 */
    int32_t valuesS32[3];   /* by ZerixParamS32 */
    uint64_t values64[4];   /* by ZerixParam64 */
    uint32_t reserved240;
    uint8_t camera[8];      /* the camera's handle */
    uint32_t magic;
    uint32_t reserved256;
} ZerixLegacySettings;
#pragma pack(pop)

/* A frame. The application sets pBuffer and bufferSize; the library fills in the rest. */
typedef struct Zerix_Frame {
    void *pBuffer;
    uint32_t bufferSize;    /* bytes */
    uint32_t format;        /* ZerixImageFormat */
    uint32_t width;
    uint32_t height;
    uint32_t size;          /* bytes of the image */
    uint16_t bitDepth;
    uint16_t frameNumber;   /* rolling */
    uint32_t bayerPattern;  /* 0 RGGB, 1 GRBG, 2 GBRG, 3 BGGR */
    uint32_t errorCode;
    uint32_t timeStamp;     /* 0.1 ms since the camera was opened */
    ZerixHandle camera;
    uint32_t reserved44;
    uint32_t binning;
    uint32_t isLvw;
    uint32_t colourPattern;
    uint32_t reserved60;
    uint32_t reserved64;
    uint32_t filled;        /* 1 once filled */
} Zerix_Frame;

/* Frame done and settings applied (1), expose done (2). */
enum { ZERIX_FLAG_FRAME_DONE = 1, ZERIX_FLAG_EXPOSE_DONE = 2 };

typedef void (*ZerixAsyncCallback)(void *userPointer, uint32_t userData, uint32_t error,
                                   uint32_t flags);
typedef void (*ZerixUnpluggedCallback)(void *userData);

/* ---- Driver and cameras ------------------------------------------------------------------------ */
ZERIX_API uint32_t Zerix_LoadDriver(void);
ZERIX_API void Zerix_ReleaseDriver(void);
ZERIX_API uint32_t Zerix_LibVersion(uint16_t *major, uint16_t *minor, uint16_t *build);
ZERIX_API uint32_t Zerix_Version(uint16_t *major, uint16_t *minor);
ZERIX_API uint32_t Zerix_ListCameras(ZerixCameraListItem *table, uint32_t *count);
ZERIX_API uint32_t Zerix_OpenCamera(uint32_t cameraId, ZerixHandle *camera);
ZERIX_API uint32_t Zerix_CloseCamera(ZerixHandle camera);
ZERIX_API uint32_t Zerix_RegisterUnpluggedCallback(ZerixHandle camera,
                                                   ZerixUnpluggedCallback callback, void *userData);
ZERIX_API uint32_t _Zerix_factory_reserved0(ZerixHandle camera, uint32_t operation,
                                            uintptr_t buffer, uint32_t length, uint32_t checksum);

/* ---- Settings records -------------------------------------------------------------------------- */
ZERIX_API uint32_t Zerix_CreateCameraSettingsStruct(Zerix_Settings *settings);
ZERIX_API uint32_t Zerix_InitializeCameraSettings(ZerixHandle camera, Zerix_Settings *settings);
ZERIX_API uint32_t Zerix_ReleaseCameraSettingsStruct(Zerix_Settings *settings);
ZERIX_API uint32_t Zerix_ReadDefaultSettings(ZerixHandle camera, Zerix_Settings *settings);
ZERIX_API uint32_t Zerix_ReadSettingsFromCam(ZerixHandle camera, Zerix_Settings *settings);
ZERIX_API uint32_t Zerix_TranslateSettings(ZerixHandle camera, Zerix_Settings *settings);
ZERIX_API uint32_t Zerix_PreflightSettings(ZerixHandle camera, Zerix_Settings *settings);
ZERIX_API uint32_t Zerix_SendSettingsToCam(ZerixHandle camera, Zerix_Settings *settings);

/* ---- Parameters -------------------------------------------------------------------------------- */
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

/* ---- Frames ------------------------------------------------------------------------------------ */
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
ZERIX_API uint32_t Zerix_GrabFrameNow(ZerixHandle camera, Zerix_Frame *frame);
ZERIX_API uint32_t Zerix_GrabRawNow(ZerixHandle camera, Zerix_Frame *frame);
ZERIX_API uint32_t Zerix_ProcessRaw(ZerixHandle camera, Zerix_Frame *frame);
ZERIX_API uint32_t Zerix_SetFrameBuffers(ZerixHandle camera, Zerix_Frame **frames, uint32_t count);

/* ---- Information ------------------------------------------------------------------------------- */
ZERIX_API uint32_t Zerix_GetInfo(ZerixHandle camera, uint32_t key, uint32_t *value);
ZERIX_API uint32_t Zerix_GetSerialString(ZerixHandle camera, char *text, uint32_t size);
ZERIX_API uint32_t Zerix_GetCameraModelString(ZerixHandle camera, char *text, uint32_t size);

/* ---- Automatic settings and finished pictures --------------------------------------------------- */
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
ZERIX_API uint32_t Zerix_is16bit(uint32_t format);
ZERIX_API uint32_t Zerix_is3Color(uint32_t format);
ZERIX_API uint32_t Zerix_isBayer(uint32_t format);
ZERIX_API uint32_t Zerix_isColor(uint32_t format);
ZERIX_API uint32_t Zerix_isMonochrome(uint32_t format);
ZERIX_API uint32_t Zerix_CalcImageSize(uint32_t format, uint32_t width, uint32_t height);

#ifdef __cplusplus
}
#endif

#endif

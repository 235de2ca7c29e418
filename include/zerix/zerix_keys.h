/* Zerix: the keys of the settings record and of the camera's facts, and the image formats.
 *
 * A key that a camera lacks is refused by its calls with ZERIX_ERROR_NOT_SUPPORTED;
 * Zerix_IsParamSupported and its sisters tell which those are.
 */
#ifndef ZERIX_ZERIX_KEYS_H
#define ZERIX_ZERIX_KEYS_H

/* Unsigned 32-bit parameter keys. */
enum ZerixParam {
    zprmGain = 0,              /* counts; another view of zprmS32NormalizedGaindB */
    zprmOffset = 1,            /* counts; another view of zprmS32AbsoluteOffset */
    zprmExposure = 2,          /* microseconds; another view of zprm64Exposure */
    zprmBinning = 3,           /* of both axes at once: pixels along a side */
    zprmHorizontalBinning = 4, /* pixels */
    zprmVerticalBinning = 5,   /* pixels */
    zprmReadoutSpeed = 6,      /* 0: 20 MHz, 1: 10, 2: 5, 3: 2.5, 7: 40, 8: 30 */
    zprmTriggerType = 7,       /* by the camera's list; 5: Zerix_Trigger */
    zprmColorWheel = 8,        /* colour that the wheel starts with: 0 red, 1 green, 3 blue */
    zprmCoolerActive = 9,      /* 0 or 1 */
    zprmExposureRed = 10,      /* microseconds, with the wheel; zprmExposure is the green one */
    zprmExposureBlue = 11,     /* microseconds, with the wheel */
    zprmImageFormat = 12,      /* ZerixImageFormat of the camera's pictures */
    zprmRoiX = 13,             /* left edge of the region, pixels after binning */
    zprmRoiY = 14,             /* upper edge */
    zprmRoiWidth = 15,         /* pixels after binning */
    zprmRoiHeight = 16,        /* pixels after binning */
    zprmReserved17 = 17,       /* supported by no camera, as 18, 38, 40 and 41 */
    zprmShutterState = 18,
    zprmDoubleShot = 19,         /* two exposures in quick succession: 0 or 1 */
    zprmSyncb = 20,              /* what the SyncB output shows: 0 trigger mask, 1 expose */
    zprmMetrolShutterDelay = 21, /* 0 to 1,000,000 */
    zprmIntensifierGain = 22,    /* counts */
    zprmTriggerDelay = 23,       /* nanoseconds */
    zprmCameraMode = 24,         /* 0 standard, 1 live mode */
    zprmNormalizedGain = 25,     /* factor in millionths; a view of zprmS32NormalizedGaindB */
    zprmNormIntensGaindB = 26,
    zprmDoPostProcessing = 27,   /* 0 or 1: pictures go through the filters below */
    zprmPostProcessGainRed = 28, /* factor in thousandths, as the next two */
    zprmPostProcessGainGreen = 29,
    zprmPostProcessGainBlue = 30,
    zprmPostProcessBayerAlgorithm = 31, /* 1 average, 2 fast, 3 bicubic, 4 bicubic, faster */
    zprmPostProcessImageFormat = 32,    /* ZerixImageFormat of finished pictures */
    zprmFan = 33,                       /* 1 low, 2 medium, 3 high, 4 full */
    zprmBlackoutMode = 34,              /* 0 or 1 */
    zprmHighSensitivityMode = 35,       /* 0 or 1 */
    zprmReadoutPort = 36,               /* 1 */
    zprmEMGain = 37,                    /* counts of the electron multiplication */
    zprmOpenDelay = 38,
    zprmCloseDelay = 39, /* of the shutter */
    zprmCCDClearingMode = 40,
    zprmOverSample = 41,
    zprmDither = 42,            /* 0 or 1 */
    zprmHighGainMode = 43,      /* 0 or 1 */
    zprmVClockPeriod = 44,      /* nanoseconds of the sensor's vertical clock */
    zprmReserved45 = 45,        /* supported by newer hardware, and never settable */
    zprmTweekingRegister = 46,  /* for the factory: selector in the top 4 bits, value in the low
                                   16; it can't be read */
    zprmKeelEmMode = 47,        /* 0 or 1: the EM gain follows the readout speed. This key and all
                                   that follow stand in a Zerix_Settings only, not in a legacy one */
    zprmLockedGainMode = 48,    /* 0 or 1; setting it sets zprmKeelEmMode too */
    zprmKeelEmGainValue10 = 49, /* EM gain at readout speed 1, as the camera tells it */
    zprmKeelEmGainValue20 = 50, /* at readout speed 0 */
    zprmKeelEmGainValue40 = 51, /* at every other */
    zprmFrameBufferLength = 52  /* frames that the camera buffers */
};

/* Signed 32-bit parameter keys. */
enum ZerixParamS32 {
    zprmS32NormalizedGaindB = 0,    /* millionths of a decibel */
    zprmS32AbsoluteOffset = 1,      /* counts from the camera's own zero */
    zprmS32RegulatedCoolingTemp = 2 /* degrees Celsius */
};

/* 64-bit parameter keys. */
enum ZerixParam64 {
    zprm64Exposure = 0,      /* nanoseconds */
    zprm64ExposureRed = 1,   /* nanoseconds, with the wheel */
    zprm64ExposureBlue = 2,  /* nanoseconds, with the wheel */
    zprm64NormIntensGain = 3 /* factor in millionths */
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

#endif

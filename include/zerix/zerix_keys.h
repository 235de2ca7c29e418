/* Zerix: the keys of the settings record and of the camera's facts, and the image formats.
 *
 * A key that a camera lacks is refused by its calls with ZERIX_ERROR_NOT_SUPPORTED;
 * Zerix_IsParamSupported and its sisters tell which those are.
 */
#ifndef ZERIX_ZERIX_KEYS_H
#define ZERIX_ZERIX_KEYS_H

/* Unsigned 32-bit parameter keys. */
enum ZerixParam {
    zprmGain = 0,                  /* counts; another view of zprmS32NormalizedGaindB */
    zprmOffset = 1,                /* counts; another view of zprmS32AbsoluteOffset */
    zprmExposure = 2,              /* microseconds; another view of zprm64Exposure */
    zprmBinning = 3,               /* of both axes at once: pixels along a side */
    zprmHorizontalBinning = 4,     /* pixels */
    zprmVerticalBinning = 5,       /* pixels */
    zprmReadoutSpeed = 6,          /* 0: 20 MHz, 1: 10, 2: 5, 3: 2.5, 7: 40, 8: 30 */
    zprmTriggerType = 7,           /* by the camera's list; 5: Zerix_Trigger */
    zprmColorWheel = 8,            /* colour that the wheel starts with: 0 red, 1 green, 3 blue */
    zprmCoolerActive = 9,          /* 0 or 1 */
    zprmExposureRed = 10,          /* microseconds, with the wheel; zprmExposure is the green one */
    zprmExposureBlue = 11,         /* microseconds, with the wheel */
    zprmImageFormat = 12,          /* ZerixImageFormat of the camera's pictures */
    zprmRoiX = 13,                 /* left edge of the region, pixels after binning */
    zprmRoiY = 14,                 /* upper edge */
    zprmRoiWidth = 15,             /* pixels after binning */
    zprmRoiHeight = 16,            /* pixels after binning */
    zprmReserved17 = 17,           /* supported by no camera */
    zprmShutterState = 18,         /* supported by no camera */
    zprmDoubleShot = 19,           /* two exposures in quick succession; a send switches them on,
                                      whatever the value */
    zprmSyncb = 20,                /* what the SyncB output shows: 0 trigger mask, 1 expose */
    zprmMetrolShutterDelay = 21,   /* 0 to 1,000,000 */
    zprmIntensifierGain = 22,      /* counts; told, never sent: use zprm64NormIntensGain */
    zprmTriggerDelay = 23,         /* nanoseconds; told, never sent */
    zprmCameraMode = 24,           /* 0 standard, 1 live mode */
    zprmNormalizedGain = 25,       /* factor in millionths; a view of zprmS32NormalizedGaindB */
    zprmNormIntensGaindB = 26,     /* stored and told, never sent: use zprm64NormIntensGain */
    zprmDoPostProcessing = 27,     /* 0 or 1: pictures go through the filters below */
    zprmPostProcessGainRed = 28,   /* factor in thousandths, as the next two */
    zprmPostProcessGainGreen = 29, /* thousandths */
    zprmPostProcessGainBlue = 30,  /* thousandths */
    zprmPostProcessBayerAlgorithm = 31, /* 1 average, 2 fast, 3 bicubic, 4 bicubic, faster */
    zprmPostProcessImageFormat = 32,    /* ZerixImageFormat of finished pictures */
    zprmFan = 33,                       /* 1 low, 2 medium, 3 high, 4 full */
    zprmBlackoutMode = 34,              /* 0 or 1 */
    zprmHighSensitivityMode = 35,       /* 0 or 1 */
    zprmReadoutPort = 36,               /* 1 */
    zprmEMGain = 37,                    /* counts of the electron multiplication */
    zprmOpenDelay = 38,                 /* supported by no camera */
    zprmCloseDelay = 39,                /* microseconds, of the shutter; told, never sent */
    zprmCCDClearingMode = 40,           /* supported by no camera */
    zprmOverSample = 41,                /* supported by no camera */
    zprmDither = 42,                    /* 0 or 1 */
    zprmHighGainMode = 43,              /* 0 or 1; a send only ever switches it off */
    zprmVClockPeriod = 44,              /* nanoseconds of the sensor's vertical clock */
    zprmReserved45 = 45,                /* supported by newer hardware, and never settable */
    zprmTweekingRegister = 46, /* for the factory: selector in the top 4 bits, value in the low
                                  16; it can't be read */
    zprmKeelEmMode = 47,       /* 0 or 1: the EM gain follows the readout speed. This key and those
                                  behind it are in no legacy record */
    zprmLockedGainMode = 48,   /* 0 or 1; setting it sets zprmKeelEmMode too. Once sent, every later
                                  send is refused, as each sends a gain, until the camera has been
                                  closed and listed anew */
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
    zinfCameraType = 0,            /* model number */
    zinfSerialNumber = 1,          /* 0; Zerix_GetSerialString tells it */
    zinfHardwareVersion = 2,       /* of the camera's board */
    zinfFirmwareVersion = 3,       /* of the camera's program */
    zinfCcd = 4,                   /* model number of the sensor */
    zinfBitDepth = 5,              /* bits of the converter */
    zinfCooled = 6,                /* 1: has a cooler */
    zinfReserved7 = 7,             /* 0 */
    zinfImageWidth = 8,            /* of the present region, pixels after binning */
    zinfImageHeight = 9,           /* of the present region, pixels after binning */
    zinfImageSize = 10,            /* bytes of an image at the present settings */
    zinfCcdType = 11,              /* 0 monochrome, 1 with a colour mask */
    zinfCcdWidth = 12,             /* of the sensor, pixels */
    zinfCcdHeight = 13,            /* of the sensor, pixels */
    zinfFirmwareBuild = 14,        /* of the camera's program */
    zinfUniqueId = 15,             /* lower half of the bus's identifier */
    zinfIsModelB = 16,             /* 1 */
    zinfIntensifierModel = 17,     /* number; not supported without an intensifier */
    zinfExposureRes = 18,          /* step of the exposure, nanoseconds */
    zinfTriggerDelayRes = 19,      /* step of the trigger delay, nanoseconds; written in any case */
    zinfStreamVersion = 20,        /* format of the image packets: 0, 1 or 2 */
    zinfNormGainSigFigs = 21,      /* figures of zprmNormalizedGain that mean something */
    zinfNormGaindBRes = 22,        /* step of zprmS32NormalizedGaindB */
    zinfNormITGainSigFigs = 23,    /* figures of zprm64NormIntensGain that mean something */
    zinfNormITGaindBRes = 24,      /* step of the intensifier's gain in decibels */
    zinfRegulatedCooling = 25,     /* 1: cools to a temperature */
    zinfRegulatedCoolingLock = 26, /* 1: that temperature is reached */
    zinfFanControl = 29,           /* 1: has zprmFan */
    zinfHighSensitivityMode = 30,  /* 1: has zprmHighSensitivityMode */
    zinfBlackoutMode = 31,         /* 1: has zprmBlackoutMode */
    zinfPostProcessImageSize = 32, /* bytes of a finished picture at the present settings */
    zinfAsymmetricalBinning = 33,  /* 1: has zprmHorizontalBinning and zprmVerticalBinning */
    zinfEMGain = 34,               /* 1: has zprmEMGain */
    zinfCloseDelay = 36,           /* 1: has zprmCloseDelay */
    zinfColorWheelSupported = 37,  /* 1: has a filter wheel */
    zinfReserved2 = 38,            /* 1: has zprmDither */
    zinfReserved3 = 39,            /* 1: has zprmHighGainMode */
    zinfReserved4 = 40,            /* 1: has zprmVClockPeriod */
    zinfKeelEmMode = 42,           /* 1: has zprmKeelEmMode */
    zinfLockedGainMode = 43        /* 1: has zprmLockedGainMode */
};

/* Image formats: values of zprmImageFormat, zprmPostProcessImageFormat and Zerix_Frame::format. */
enum ZerixImageFormat {
    zfmtRaw8 = 0,       /* as the sensor gives it, 8 bits; never processed */
    zfmtRaw16 = 1,      /* the same, two bytes a value, as all formats of 16 */
    zfmtMono8 = 2,      /* one value a pixel */
    zfmtMono16 = 3,     /* one value a pixel */
    zfmtBayer8 = 4,     /* mosaic, one value a pixel */
    zfmtBayer16 = 5,    /* mosaic, one value a pixel */
    zfmtRgbPlane8 = 6,  /* the red picture, the green one, the blue one */
    zfmtRgbPlane16 = 7, /* the red picture, the green one, the blue one */
    zfmtBgr24 = 8,      /* blue, green, red: 3 bytes a pixel */
    zfmtXrgb32 = 9,     /* 4 bytes a pixel, the first unused */
    zfmtRgb48 = 10,     /* red, green, blue: 3 values of two bytes a pixel */
    zfmtBgrx32 = 11,    /* 4 bytes a pixel, the last unused */
    zfmtRgb24 = 12,     /* red, green, blue: 3 bytes a pixel */
    zfmtRgbx32 = 13     /* has a number alone: no function makes or measures it */
};

#endif

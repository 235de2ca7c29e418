/* Zerix: the records of the interface and the callbacks. Their byte layout is fixed; the 32-bit
 * builds have exactly the classic layouts.
 */
#ifndef ZERIX_ZERIX_RECORDS_H
#define ZERIX_ZERIX_RECORDS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef void *ZerixHandle;

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

#ifdef __cplusplus
}
#endif

#endif

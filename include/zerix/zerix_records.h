/* Zerix: the records of the interface and the callbacks. Their byte layout is fixed; the 32-bit
 * builds have exactly the classic layouts.
 */
#ifndef ZERIX_ZERIX_RECORDS_H
#define ZERIX_ZERIX_RECORDS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A camera. Made by Zerix_OpenCamera; what it points to belongs to the library. */
typedef void *ZerixHandle;

/* One row of the camera list. */
typedef struct ZerixCameraListItem {
    uint32_t cameraId;     /* what Zerix_OpenCamera takes */
    uint32_t cameraType;   /* model number */
    uint32_t uniqueId;     /* left untouched for an open camera */
    uint32_t isOpen;       /* 0 or 1 */
    uint32_t reserved[10]; /* left untouched */
} ZerixCameraListItem;

/* What a node of the bus is; any of them together. */
enum {
    ZERIX_NODE_IS_CARD = 1,   /* the computer's own node */
    ZERIX_NODE_IS_CAMERA = 2, /* a camera of this library; its remark tells how that is known */
    ZERIX_NODE_MAY_OPEN = 4,  /* this process may open it */
    ZERIX_NODE_IS_IN_USE = 8  /* somebody has it open as a camera */
};

/* What a number holds that nobody knows. */
#define ZERIX_NODE_UNKNOWN 0xFFFFFFFFu

/* One node of one card's bus. The texts are UTF-8 and end with a zero; what doesn't fit is cut. */
typedef struct ZerixBusNode {
    uint64_t guid;             /* its 64-bit identifier, given by its maker; 0 if unknown */
    uint32_t card;             /* from 0 */
    uint32_t speed;            /* of the way to it, Mb/s: 100, 200, 400, 800; 0 if unknown */
    uint32_t flags;            /* ZERIX_NODE_... */
    uint32_t systemError;      /* why it may not be opened: the system's own number; 0 else */
    uint32_t interfaceVersion; /* of the kernel's interface; 0 where there is none */
    uint32_t bandwidthLeft;    /* on the card's bus, in allocation units of 4,915 */
    uint32_t channelsLeft;     /* on the card's bus, of 64 */
    uint32_t reserved;         /* 0 */
    char device[64];           /* as the system names it */
    char vendor[64];           /* by the name in its configuration memory, or its number */
    char model[64];            /* likewise */
    char units[128];           /* 0xSPECIFIER:0xVERSION of each unit, with a blank between two */
    char remark[192];          /* why it is a camera or not, or may not be opened: one sentence */
} ZerixBusNode;

/* The settings record. Prepare it with Zerix_CreateCameraSettingsStruct, fill it by a read, free it
 * with Zerix_ReleaseCameraSettingsStruct. Its contents belong to the library. */
typedef struct Zerix_Settings {
    uint32_t size;        /* 276, of the private block */
    uint8_t formatId[16]; /* tells this record from a legacy one */
    void *privateBlock;   /* null once released */
} Zerix_Settings;

/* The classic settings record of applications that allocate it themselves: 260 bytes everywhere,
 * told from the record above by its bytes 4 to 19. Pass it where a Zerix_Settings is asked for. */
#pragma pack(push, 4)
typedef struct ZerixLegacySettings {
    uint32_t size;        /* 260, set by the reads */
    uint32_t values[48];  /* by ZerixParam, 0 to 47 */
    int32_t valuesS32[3]; /* by ZerixParamS32 */
    uint64_t values64[4]; /* by ZerixParam64 */
    uint32_t reserved240; /* not used */
    uint8_t camera[8];    /* the camera's handle */
    uint32_t magic;       /* 0xDEADBEEF once the record has been filled */
    uint32_t reserved256; /* not used */
} ZerixLegacySettings;
#pragma pack(pop)

/* A frame. The application sets pBuffer and bufferSize; the library fills in the rest. */
typedef struct Zerix_Frame {
    void *pBuffer;       /* the application's, for the pixels */
    uint32_t bufferSize; /* bytes of pBuffer */
    uint32_t format;     /* ZerixImageFormat; until settings have been read from the opened camera
                            or sent to it, zfmtRaw8 whatever the pixels are */
    uint32_t width;      /* pixels */
    uint32_t height;     /* pixels */
    uint32_t size;       /* bytes of the image */
    uint16_t bitDepth;   /* of a value: 8 to 16; more than 8 stand in two bytes, the lowest first */
    uint16_t frameNumber;   /* rolling: 0 follows 65,535 */
    uint32_t bayerPattern;  /* 0 RGGB, 1 GRBG, 2 GBRG, 3 BGGR */
    uint32_t errorCode;     /* 0, or one of zerix_errors.h: 18, 23, 25, 26 or 28 */
    uint32_t timeStamp;     /* 0.1 ms since the camera was opened */
    ZerixHandle camera;     /* that took it */
    uint32_t reserved44;    /* left untouched */
    uint32_t binning;       /* pixels along a side */
    uint32_t isLvw;         /* 1: taken in live mode */
    uint32_t colourPattern; /* as the camera tells it: 5 to 8 for bayerPattern 0 to 3; or, with the
                               filter wheel, the colour: 0 red, 1 green, 3 blue */
    uint32_t reserved60;    /* left untouched */
    uint32_t reserved64;    /* left untouched */
    uint32_t filled;        /* 1 once filled */
} Zerix_Frame;

/* What a callback is asked for and tells. */
enum {
    ZERIX_FLAG_FRAME_DONE = 1, /* the frame is filled; the settings have been sent */
    ZERIX_FLAG_EXPOSE_DONE = 2 /* the frame has been exposed and is being read out */
};

/* Tells of a queued frame or queued settings, on a thread of the library, one call at a time for
 * the frames and settings of a camera; expose done may come beside them. Settings that are sent at
 * once, with an empty queue, are told on the thread that queues them. It may queue frames and
 * settings, and must not close the camera. While it runs, the next image waits. userPointer and
 * userData are what the application queued with; error is one of zerix_errors.h; flags is one of
 * the two above for a frame, and what the application queued with for settings. */
typedef void (*ZerixAsyncCallback)(void *userPointer, uint32_t userData, uint32_t error,
                                   uint32_t flags);

/* Of Zerix_RegisterUnpluggedCallback: never called. */
typedef void (*ZerixUnpluggedCallback)(void *userData);

#ifdef __cplusplus
}
#endif

#endif

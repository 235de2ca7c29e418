/* The hardware layer: threads, semaphores and conditions, the cameras on the bus, their registers,
 * their isochronous stream. Everything returns a 32-bit error number, 0 for success, unless told
 * otherwise. Applications use zerix.h; this layer is exported for those who drive the hardware
 * themselves. */
#ifndef ZERIX_ZERIX_HAL_H
#define ZERIX_ZERIX_HAL_H

#include <stdint.h>

#include "zerix/zerix_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Error numbers of the hardware layer. */
enum {
    HAL_NO_ERROR = 0,
    HAL_ERROR_INVALID_HANDLE = 6,
    HAL_ERROR_NOT_CONNECTED = 17,
    HAL_ERROR_ASYNC_READ = 18,
    HAL_ERROR_ASYNC_WRITE = 19,
    HAL_ERROR_THREAD_CREATE = 22,
    HAL_ERROR_THREAD_TERMINATE = 23,
    HAL_ERROR_ISOCH_BANDWIDTH_ALLOCATE = 24,
    HAL_ERROR_ISOCH_BANDWIDTH_FREE = 25,
    HAL_ERROR_ISOCH_CHANNEL_ALLOCATE = 26,
    HAL_ERROR_ISOCH_CHANNEL_FREE = 27,
    HAL_ERROR_ISOCH_RESOURCES_ALLOCATE = 28,
    HAL_ERROR_ISOCH_RESOURCES_FREE = 29,
    HAL_ERROR_STREAM_START = 30,
    HAL_ERROR_STREAM_STOP = 31,
    HAL_ERROR_SEMAPHORE = 32,
    HAL_ERROR_CONDITION = 33,
    HAL_ERROR_CAMERA_IN_USE = 37,
    HAL_ERROR_UNKNOWN_SPEED = 38,
    HAL_ERROR_THREAD_TIMEOUT = 39,
    HAL_ERROR_NO_SYSTEM_RESOURCES = 40,
    HAL_ERROR_NOT_IMPLEMENTED = 996,
    HAL_ERROR_NO_BUFFER = 997
};

/* ---- Threads, semaphores, conditions ----------------------------------------------------------
 */

/* A thread. Made by HAL_ThreadCreate, freed by HAL_ThreadCleanup. */
typedef struct threadInfo {
    uint32_t threadId;     /* the system's number of the thread */
    void *threadHandle;    /* the system's handle; null until the thread exists */
    uint32_t handleIsOpen; /* 1 until the handle is closed */
    uint32_t isRunning;    /* 1 until the routine has returned or the thread was ended */
} threadInfo;

/* A counting semaphore: initial count 1, maximum 100. */
typedef struct HALSemaphoreRecord *HAL_Semaphore;

/* An auto-reset condition, created unsignalled. The second word is carried along and never read. */
typedef struct HAL_Condition {
    struct HALConditionRecord *record;
    void *carried;
} HAL_Condition;

typedef void (*HAL_ThreadRoutine)(void *parameter);

/* Starts `routine` with `parameter` on a thread of its own. 0 or HAL_ERROR_THREAD_CREATE. */
ZERIX_API uint32_t HAL_ThreadCreate(HAL_ThreadRoutine routine, void *parameter,
                                    threadInfo **thread);
/* Ends a running thread against its will and closes its handle; the record stays.
 * 0 or HAL_ERROR_THREAD_TERMINATE. */
ZERIX_API uint32_t HAL_ThreadTerminate(threadInfo *thread);
/* Waits for the thread's end, closes the handle and frees the record. A null thread gives 0.
 * 0, or HAL_ERROR_THREAD_TIMEOUT with everything left as it was. */
ZERIX_API uint32_t HAL_ThreadCleanup(threadInfo *thread, uint32_t timeoutMilliseconds);

ZERIX_API uint32_t HAL_SemaphoreCreate(HAL_Semaphore *semaphore);
ZERIX_API uint32_t HAL_SemaphoreWait(HAL_Semaphore semaphore);
ZERIX_API uint32_t HAL_SemaphoreSignal(HAL_Semaphore semaphore);
ZERIX_API uint32_t HAL_SemaphoreDestroy(HAL_Semaphore *semaphore);

ZERIX_API uint32_t HAL_ConditionCreate(HAL_Condition *condition);
ZERIX_API uint32_t HAL_ConditionWait(HAL_Condition condition);
/* `timeout` is in microseconds: it is divided by 1000 and its low 32 bits wait in milliseconds. */
ZERIX_API uint32_t HAL_ConditionTimedWait(HAL_Condition condition, uint64_t timeout);
ZERIX_API uint32_t HAL_ConditionReset(HAL_Condition condition);
ZERIX_API uint32_t HAL_ConditionSignal(HAL_Condition condition);
ZERIX_API uint32_t HAL_ConditionDestroy(HAL_Condition *condition);

/* ---- Start, end, errors -----------------------------------------------------------------------
 */

ZERIX_API uint32_t HAL_Open(void);
ZERIX_API uint32_t HAL_Close(void);
ZERIX_API uint32_t HAL_AdapterOpen(uint32_t first, uint32_t second);
/* The system's text for the calling thread's last error, or null. Both arguments are ignored. The
 * caller owns the text and frees it with HAL_MemoryFree. */
ZERIX_API char *HAL_ErrorMessage(uint32_t halError, uint32_t reserved);
/* Frees a block that this layer gave away. */
ZERIX_API uint32_t HAL_MemoryFree(void *block);
/* Status of the camera layer for an error number of this layer. */
ZERIX_API uint32_t HAL_TranslateError(uint32_t halError);

/* ---- Cameras -----------------------------------------------------------------------------------
 */

struct tStFrameInfo;

typedef struct HALCamera {
    uint32_t cameraIndex; /* ordinal of the device in enumeration order */
    uint32_t kind;        /* transport; 0 is the live one */
    uint32_t isConnected; /* 1 while connected; in a list entry, somebody else has the device */
    uint32_t modelWord;   /* model number in the upper 16 bits */
    uint32_t packetBufferSize; /* bytes of a packet slot: the packet size asked for plus 12 */
    void *device;              /* the transport's private record, until HAL_CameraRelease */
} HALCamera;

typedef struct tStFrameInfo *(*HAL_FrameCallback)(void *context);
typedef void (*HAL_EventCallback)(void *context);

ZERIX_API uint32_t HAL_CameraGetList(HALCamera **list, uint32_t modelAddress,
                                     uint32_t modelAddressAlt, uint32_t maximumCount,
                                     uint32_t *count);
ZERIX_API uint32_t HAL_CameraConnect(HALCamera *camera, uint16_t packetSize,
                                     HAL_FrameCallback getFrame, HAL_FrameCallback peekFrame,
                                     HAL_EventCallback frameDone, HAL_EventCallback overrun,
                                     HAL_EventCallback timedOut, void *context);
ZERIX_API uint32_t HAL_CameraDisconnect(HALCamera *camera);
ZERIX_API uint32_t HAL_CameraRelease(HALCamera *camera);

/* Registers: `count` quadlets in host order from or to the 32-bit address. */
ZERIX_API uint32_t HAL_CameraReadData(HALCamera camera, uint32_t address, uint32_t *data,
                                      uint32_t count);
ZERIX_API uint32_t HAL_CameraWriteData(HALCamera camera, uint32_t address, const uint32_t *data,
                                       uint32_t count);
ZERIX_API uint32_t HAL_CameraSetShouldOutputReads(uint32_t ignored, uint8_t on);
ZERIX_API uint32_t HAL_CameraSetShouldOutputWrites(uint32_t ignored, uint8_t on);
typedef void (*HAL_AsyncWriteCallback)(const uint8_t *data, uint32_t length);
ZERIX_API uint32_t HAL_CameraRegisterAsyncWriteCallback(HALCamera *camera, uint32_t address,
                                                        uint32_t length,
                                                        HAL_AsyncWriteCallback callback);
ZERIX_API uint32_t HAL_CameraGetTimeout(HALCamera camera);
ZERIX_API uint32_t HAL_CameraSetTimeout(HALCamera camera, uint32_t milliseconds);

/* Streaming. `registerAddress` is the camera's isochronous control register. */
ZERIX_API uint32_t HAL_CameraStartStreaming(HALCamera camera, uint32_t registerAddress,
                                            uint16_t streamingVersion, void *context);
ZERIX_API uint32_t HAL_CameraStopStreaming(HALCamera camera, uint32_t registerAddress);
/* Blocks until HAL_CameraStopWaitingForFrame. */
ZERIX_API uint32_t HAL_CameraWaitingForFrame(HALCamera camera);
ZERIX_API uint32_t HAL_CameraStopWaitingForFrame(HALCamera camera);

/* Bus speed in Mb/s (800 or 400), the biggest packet at it, and a change of packet size. */
ZERIX_API uint32_t HAL_CameraConnectionSpeed(HALCamera camera, uint16_t *speed);
ZERIX_API uint32_t HAL_CameraFastestPacketSizeSupported(HALCamera camera, uint16_t *size);
ZERIX_API uint32_t HAL_CameraReallocateBandwidth(HALCamera *camera, uint16_t packetSize,
                                                 uint16_t tag);
ZERIX_API uint32_t FWCameraReallocateBandwidth(HALCamera *camera, uint16_t packetSize,
                                               uint16_t tag);

#ifdef __cplusplus
}
#endif

#endif

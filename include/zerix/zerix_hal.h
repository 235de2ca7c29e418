/* The hardware layer: threads, semaphores and conditions, the cameras on the bus, their registers,
 * their isochronous stream. Everything returns a 32-bit error number, 0 for success, unless told
 * otherwise. Applications use zerix.h; this layer is exported for those who drive the hardware
 * themselves. Nothing here tests whether the library is loaded. A pointer is given, unless null is
 * told to be allowed. Any thread may call, one at a time for the same
 * record; the calls for a camera may meet. Connect, disconnect, start, stop and a change of the
 * packet size of one camera wait for each other: a second start or stop finds the work done. They
 * fail with the system's error 170 in a callback of a frame, because the stream can't end under its
 * own thread, and after half a minute without their turn. The callback of a lost device may stop
 * and disconnect the camera.
 *   camera  in: a connected camera
 */
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
    HAL_ERROR_INVALID_HANDLE = 6,            /* not of a live camera */
    HAL_ERROR_NOT_CONNECTED = 17,            /* no device list, no device, or it isn't open */
    HAL_ERROR_ASYNC_READ = 18,               /* a register read or the listening failed */
    HAL_ERROR_ASYNC_WRITE = 19,              /* a register write failed */
    HAL_ERROR_THREAD_CREATE = 22,            /* no thread or no memory for it */
    HAL_ERROR_THREAD_TERMINATE = 23,         /* the thread could not be ended */
    HAL_ERROR_ISOCH_BANDWIDTH_ALLOCATE = 24, /* no bandwidth is left */
    HAL_ERROR_ISOCH_BANDWIDTH_FREE = 25,     /* bandwidth could not be given back */
    HAL_ERROR_ISOCH_CHANNEL_ALLOCATE = 26,   /* no channel is left */
    HAL_ERROR_ISOCH_CHANNEL_FREE = 27,       /* a channel could not be given back */
    HAL_ERROR_ISOCH_RESOURCES_ALLOCATE = 28, /* refused at both speeds, or no memory */
    HAL_ERROR_ISOCH_RESOURCES_FREE = 29,     /* resources could not be given back */
    HAL_ERROR_STREAM_START = 30,             /* not of a live camera */
    HAL_ERROR_STREAM_STOP = 31,              /* the stream, or its thread, did not end */
    HAL_ERROR_SEMAPHORE = 32,                /* a semaphore failed */
    HAL_ERROR_CONDITION = 33,                /* a condition failed, or its time was over */
    HAL_ERROR_CAMERA_IN_USE = 37,            /* another connection has the device */
    HAL_ERROR_UNKNOWN_SPEED = 38,            /* not of a live camera */
    HAL_ERROR_THREAD_TIMEOUT = 39,           /* the thread did not end in time */
    HAL_ERROR_NO_SYSTEM_RESOURCES = 40,      /* a write failed with the system's error 1450 */
    HAL_ERROR_NOT_IMPLEMENTED = 996,         /* the operation is told and not there */
    HAL_ERROR_NO_BUFFER = 997                /* a null pointer for data */
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

/* An auto-reset condition, created unsignalled. */
typedef struct HAL_Condition {
    struct HALConditionRecord *record; /* null once destroyed */
    void *carried;                     /* carried along and never read */
} HAL_Condition;

/* What a thread runs. */
typedef void (*HAL_ThreadRoutine)(void *parameter);

/* Starts a thread. Doesn't block.
 *   routine    in: what it runs
 *   parameter  in: what the routine is given
 *   thread     out: the thread's record, to be freed by HAL_ThreadCleanup; none after an error
 *   HAL_ERROR_THREAD_CREATE  no memory, or the system refused */
ZERIX_API uint32_t HAL_ThreadCreate(HAL_ThreadRoutine routine, void *parameter,
                                    threadInfo **thread);

/* Ends a running thread against its will and closes its handle; the record stays. On Linux the
 * thread ends at its next wait, the objects of its routine are destroyed, and a register access
 * that it was in is cancelled; a routine that doesn't wait within a second is not ended and runs
 * on. On Windows the thread ends where it is, and what its routine holds stays held.
 *   thread  in, out: the thread
 *   HAL_ERROR_THREAD_TERMINATE  it could not be ended */
ZERIX_API uint32_t HAL_ThreadTerminate(threadInfo *thread);

/* Waits for the thread's end, closes the handle and frees the record.
 *   thread               in: the thread, or null for nothing to do
 *   timeoutMilliseconds  in: 0 only asks; all ones waits for ever
 *   HAL_ERROR_THREAD_TIMEOUT  it runs on; everything is left as it was
 * Blocks for that time at most. */
ZERIX_API uint32_t HAL_ThreadCleanup(threadInfo *thread, uint32_t timeoutMilliseconds);

/* Makes a semaphore. Doesn't block.
 *   semaphore  out: the semaphore, to be freed by HAL_SemaphoreDestroy
 *   HAL_ERROR_SEMAPHORE  no memory, or the system refused */
ZERIX_API uint32_t HAL_SemaphoreCreate(HAL_Semaphore *semaphore);

/* Takes one count. Blocks until there is one.
 *   semaphore  in
 *   HAL_ERROR_SEMAPHORE  the wait failed */
ZERIX_API uint32_t HAL_SemaphoreWait(HAL_Semaphore semaphore);

/* Gives one count; beyond 100 nothing happens. Doesn't block.
 *   semaphore  in
 *   returns    0, always */
ZERIX_API uint32_t HAL_SemaphoreSignal(HAL_Semaphore semaphore);

/* Frees a semaphore on which no thread waits. Doesn't block.
 *   semaphore  in, out: becomes null
 *   returns    0, always */
ZERIX_API uint32_t HAL_SemaphoreDestroy(HAL_Semaphore *semaphore);

/* Makes a condition. Doesn't block.
 *   condition  out: the condition, to be freed by HAL_ConditionDestroy
 *   HAL_ERROR_SEMAPHORE  no memory */
ZERIX_API uint32_t HAL_ConditionCreate(HAL_Condition *condition);

/* Blocks until the condition is signalled, and unsignals it.
 *   condition  in
 *   HAL_ERROR_CONDITION  the wait failed */
ZERIX_API uint32_t HAL_ConditionWait(HAL_Condition condition);

/* Blocks until the condition is signalled, and unsignals it, or until the time is over.
 *   condition  in
 *   timeout    in: microseconds; divided by 1000, and its low 32 bits wait in milliseconds
 *   HAL_ERROR_CONDITION  the time was over, or the wait failed */
ZERIX_API uint32_t HAL_ConditionTimedWait(HAL_Condition condition, uint64_t timeout);

/* Unsignals a condition. Doesn't block.
 *   condition  in
 *   returns    0, always */
ZERIX_API uint32_t HAL_ConditionReset(HAL_Condition condition);

/* Signals a condition: one thread that waits goes on, or the next that waits. Doesn't block.
 *   condition  in
 *   HAL_ERROR_CONDITION  the system refused */
ZERIX_API uint32_t HAL_ConditionSignal(HAL_Condition condition);

/* Frees a condition on which no thread waits. Doesn't block.
 *   condition  in, out
 *   HAL_ERROR_CONDITION  the system refused; the condition stays */
ZERIX_API uint32_t HAL_ConditionDestroy(HAL_Condition *condition);

/* ---- Start, end, errors -----------------------------------------------------------------------
 */

/* Begin and end the use of this layer; there is nothing to do. Don't block.
 *   first, second  in: not read
 *   returns        0, always */
ZERIX_API uint32_t HAL_Open(void);
ZERIX_API uint32_t HAL_Close(void);
ZERIX_API uint32_t HAL_AdapterOpen(uint32_t first, uint32_t second);

/* The system's text for the calling thread's last error, with a line end. Doesn't block.
 *   halError, reserved  in: not read
 *   returns             the text, or null; the caller frees it with HAL_MemoryFree */
ZERIX_API char *HAL_ErrorMessage(uint32_t halError, uint32_t reserved);

/* Frees a block that this layer gave away: a text or a list of cameras. Doesn't block.
 *   block    in: the block, or null
 *   returns  0, always */
ZERIX_API uint32_t HAL_MemoryFree(void *block);

/* Status of the camera layer for an error number of this layer. Doesn't block.
 *   halError  in: the error number
 *   returns   7 for no bandwidth, 25 for a thread that did not end in time, 33 for error 1450; 9
 * for any other number, 0 too */
ZERIX_API uint32_t HAL_TranslateError(uint32_t halError);

/* ---- Cameras -----------------------------------------------------------------------------------
 */

/* The record of a frame that is being assembled; the camera layer's. */
struct tStFrameInfo;

/* A camera on the bus. */
typedef struct HALCamera {
    uint32_t cameraIndex; /* ordinal of the device in enumeration order */
    uint32_t kind;        /* transport; 0 is the live one */
    uint32_t isConnected; /* 1 while connected; in a list entry, somebody else has the device */
    uint32_t modelWord;   /* model number in the upper 16 bits */
    uint32_t packetBufferSize; /* bytes of a packet slot: the packet size asked for plus 12 */
    void *device;              /* the transport's private record, until HAL_CameraRelease */
} HALCamera;

/* Asked for a frame, on the receiving thread; null where there is none. */
typedef struct tStFrameInfo *(*HAL_FrameCallback)(void *context);

/* Told of an event, on the receiving thread. */
typedef void (*HAL_EventCallback)(void *context);

/* Lists the cameras on the bus. Connects to each for a moment and reads its model number, which
 * takes a fraction of a second. Every failure is the one error, a lack of memory too.
 *   list             out: the array, to be freed with HAL_MemoryFree after HAL_CameraRelease of
 *                    each row
 *   modelAddress     in: of the register with the model number
 *   modelAddressAlt  in: where that is looked for next
 *   maximumCount     in: rows at most
 *   count            out: rows of the array
 *   HAL_ERROR_NOT_CONNECTED  the devices can't be listed */
ZERIX_API uint32_t HAL_CameraGetList(HALCamera **list, uint32_t modelAddress,
                                     uint32_t modelAddressAlt, uint32_t maximumCount,
                                     uint32_t *count);

/* Opens the camera's device and takes bandwidth, a channel and resources on the bus.
 *   camera      in, out: a row of the list
 *   packetSize  in: bytes of image packets
 *   getFrame    in: gives the frame that was peeked; null without streaming, as all the callbacks
 *   peekFrame   in: makes a frame for the image that begins
 *   frameDone   in: an image is complete
 *   overrun     in: a receive buffer was overwritten while it was read
 *   timedOut    in: the device is lost
 *   context     in: what the callbacks are given
 *   HAL_ERROR_NOT_CONNECTED             the device can't be opened
 *   HAL_ERROR_CAMERA_IN_USE             another connection has it
 *   HAL_ERROR_ISOCH_BANDWIDTH_ALLOCATE  no bandwidth is left
 *   HAL_ERROR_ISOCH_CHANNEL_ALLOCATE    no channel is left
 *   HAL_ERROR_ISOCH_CHANNEL_FREE        the device doesn't tell whether it is open
 *   HAL_ERROR_ISOCH_RESOURCES_ALLOCATE  refused at both speeds
 * Blocks for the kernel driver's answers. */
ZERIX_API uint32_t HAL_CameraConnect(HALCamera *camera, uint16_t packetSize,
                                     HAL_FrameCallback getFrame, HAL_FrameCallback peekFrame,
                                     HAL_EventCallback frameDone, HAL_EventCallback overrun,
                                     HAL_EventCallback timedOut, void *context);

/* Stops a stream, gives back what the camera holds on the bus and closes the device. A camera that
 * isn't connected is left alone. Register accesses of other threads that hang are cancelled. Blocks
 * for the kernel driver's answers.
 *   camera  in, out: the camera
 *   HAL_ERROR_ISOCH_BANDWIDTH_FREE, HAL_ERROR_ISOCH_CHANNEL_FREE, HAL_ERROR_ISOCH_RESOURCES_FREE
 *           that could not be given back. The camera stays connected, unless the system says that
 *           the device is lost: it is then disconnected, and the next call returns 0 */
ZERIX_API uint32_t HAL_CameraDisconnect(HALCamera *camera);

/* Frees the private record of a camera that isn't connected; the HALCamera is its owner's.
 *   camera   in, out: the camera
 *   returns  0, always */
ZERIX_API uint32_t HAL_CameraRelease(HALCamera *camera);

/* Reads registers. Blocks for the camera's answer.
 *   address  in: in the camera's address space, bytes
 *   data     out: quadlets, in host order
 *   count    in: quadlets
 *   HAL_ERROR_NOT_CONNECTED  the device isn't open
 *   HAL_ERROR_ASYNC_READ     the read failed
 *   HAL_ERROR_NO_BUFFER      data is null */
ZERIX_API uint32_t HAL_CameraReadData(HALCamera camera, uint32_t address, uint32_t *data,
                                      uint32_t count);

/* Writes registers. Blocks for the camera's answer.
 *   address  in: in the camera's address space, bytes
 *   data     in: quadlets, in host order
 *   count    in: quadlets
 *   HAL_ERROR_NOT_CONNECTED        the device isn't open
 *   HAL_ERROR_ASYNC_WRITE          the write failed
 *   HAL_ERROR_NO_SYSTEM_RESOURCES  it failed with the system's error 1450
 *   HAL_ERROR_NO_BUFFER            data is null */
ZERIX_API uint32_t HAL_CameraWriteData(HALCamera camera, uint32_t address, const uint32_t *data,
                                       uint32_t count);

/* Switch the trace of all cameras' register accesses to the debug output. Don't block.
 *   ignored  in: not read
 *   on       in: 0 or 1
 *   returns  0, always */
ZERIX_API uint32_t HAL_CameraSetShouldOutputReads(uint32_t ignored, uint8_t on);
ZERIX_API uint32_t HAL_CameraSetShouldOutputWrites(uint32_t ignored, uint8_t on);

/* Told of writes of the camera to the host; never called. */
typedef void (*HAL_AsyncWriteCallback)(const uint8_t *data, uint32_t length);

/* Accepted and ignored. Doesn't block.
 *   camera, address, length, callback  in: not read
 *   returns  0, always */
ZERIX_API uint32_t HAL_CameraRegisterAsyncWriteCallback(HALCamera *camera, uint32_t address,
                                                        uint32_t length,
                                                        HAL_AsyncWriteCallback callback);

/* A live camera has no time limit of its own. Doesn't block.
 *   returns  0 for a live camera */
ZERIX_API uint32_t HAL_CameraGetTimeout(HALCamera camera);

/* A live camera's time limit can't be set. Doesn't block.
 *   milliseconds  in: not read
 *   HAL_ERROR_NOT_IMPLEMENTED  always, of a live camera */
ZERIX_API uint32_t HAL_CameraSetTimeout(HALCamera camera, uint32_t milliseconds);

/* Starts the thread that receives images, and tells the camera to send. A receive buffer that fails
 * is passed over, and the frame lacks its data; 60 in a row count as a lost device.
 *   registerAddress   in: the camera's isochronous control register
 *   streamingVersion  in: format of the image packets: 0, 1 or 2
 *   context           in: what the callbacks are given
 *   HAL_ERROR_ASYNC_READ  the kernel driver doesn't listen, the device isn't open, there is no
 *                         memory, or an earlier stream's callback hasn't returned
 *   HAL_ERROR_NOT_CONNECTED, HAL_ERROR_ASYNC_WRITE, HAL_ERROR_NO_SYSTEM_RESOURCES
 *                         as with HAL_CameraWriteData
 * Blocks for the camera's answer. */
ZERIX_API uint32_t HAL_CameraStartStreaming(HALCamera camera, uint32_t registerAddress,
                                            uint16_t streamingVersion, void *context);

/* Tells the camera to send no more, and ends the thread.
 *   registerAddress  in: the camera's isochronous control register
 *   HAL_ERROR_STREAM_STOP           the stream, or its thread, did not end
 *   HAL_ERROR_ISOCH_RESOURCES_FREE  the buffers could not be taken back
 *   HAL_ERROR_NOT_CONNECTED, HAL_ERROR_ASYNC_WRITE, HAL_ERROR_NO_SYSTEM_RESOURCES
 *                                   as with HAL_CameraWriteData
 * Blocks until the thread has ended, up to five seconds where no packets come, and up to a second
 * for each request that the kernel driver keeps although it is cancelled. */
ZERIX_API uint32_t HAL_CameraStopStreaming(HALCamera camera, uint32_t registerAddress);

/* Blocks until HAL_CameraStopWaitingForFrame, on another thread.
 *   HAL_ERROR_CONDITION  the system's wait failed */
ZERIX_API uint32_t HAL_CameraWaitingForFrame(HALCamera camera);

/* Ends that wait, or the next one. Doesn't block.
 *   returns  0, always */
ZERIX_API uint32_t HAL_CameraStopWaitingForFrame(HALCamera camera);

/* The speed that the bus allows the camera. Doesn't block.
 *   speed    out: 800 or 400, Mb/s
 *   returns  0 for a live camera */
ZERIX_API uint32_t HAL_CameraConnectionSpeed(HALCamera camera, uint16_t *speed);

/* The largest image packet at that speed. Doesn't block.
 *   size     out: bytes
 *   returns  0, always */
ZERIX_API uint32_t HAL_CameraFastestPacketSizeSupported(HALCamera camera, uint16_t *size);

/* Change the size of the image packets: stop a stream, give back what the camera holds on the bus
 * and take anew. What was taken before an error stays taken until the next call or
 * the disconnect, which give back exactly that. A smaller size may succeed where a larger one was
 * refused.
 *   camera      in, out: the camera
 *   packetSize  in: bytes
 *   tag         in: of the stream's packets
 *   HAL_ERROR_ISOCH_BANDWIDTH_FREE, HAL_ERROR_ISOCH_CHANNEL_FREE, HAL_ERROR_ISOCH_RESOURCES_FREE
 *               that could not be given back
 *   HAL_ERROR_ISOCH_BANDWIDTH_ALLOCATE  no bandwidth is left
 *   HAL_ERROR_ISOCH_CHANNEL_ALLOCATE    no channel is left
 *   HAL_ERROR_ISOCH_RESOURCES_ALLOCATE  refused at both speeds
 * Block for the kernel driver's answers. */
ZERIX_API uint32_t HAL_CameraReallocateBandwidth(HALCamera *camera, uint16_t packetSize,
                                                 uint16_t tag);
ZERIX_API uint32_t FWCameraReallocateBandwidth(HALCamera *camera, uint16_t packetSize,
                                               uint16_t tag);

#ifdef __cplusplus
}
#endif

#endif

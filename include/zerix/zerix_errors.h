/* Error values of the exported functions, with the phrase that the trace log and the tool show. */
#ifndef ZERIX_ZERIX_ERRORS_H
#define ZERIX_ZERIX_ERRORS_H

/* What the functions return, and what stands in the errorCode of a frame. */
enum {
    ZERIX_SUCCESS = 0,
    ZERIX_ERROR_NOT_SUPPORTED = 1,     /* the function is not supported for this device */
    ZERIX_ERROR_BAD_PARAMETER = 2,     /* one of the parameters used is not valid */
    ZERIX_ERROR_BAD_SETTINGS = 3,      /* the settings record is corrupted */
    ZERIX_ERROR_ALREADY_LOADED = 7,    /* Zerix_LoadDriver has already been called */
    ZERIX_ERROR_NOT_LOADED = 8,        /* Zerix_LoadDriver has not been called */
    ZERIX_ERROR_BAD_HANDLE = 9,        /* null handle, closed camera, or held by another process */
    ZERIX_ERROR_BAD_CAMERA_ID = 11,    /* no such camera, or it is already open */
    ZERIX_ERROR_HARDWARE_FAULT = 13,   /* has a phrase; no function gives it */
    ZERIX_ERROR_FIREWIRE_FAULT = 14,   /* has a phrase; no function gives it */
    ZERIX_ERROR_CAMERA_FAULT = 15,     /* a thread of the library did not end in time */
    ZERIX_ERROR_DRIVER_FAULT = 16,     /* the bus or the camera refused; any other failure */
    ZERIX_ERROR_BUFFER_TOO_SMALL = 18, /* pBuffer of the frame is too small */
    ZERIX_ERROR_OUT_OF_MEMORY = 19,    /* also of a camera that stands open without a context */
    ZERIX_ERROR_BUSY = 21,             /* the function cannot be processed at this time */
    ZERIX_ERROR_QUEUE_FULL = 22,       /* 100 frames and settings are queued */
    ZERIX_ERROR_FRAME_TOO_LONG = 23,   /* the frame held more data than its buffer */
    ZERIX_ERROR_NOT_STREAMING = 24,    /* the call needs a camera that streams */
    ZERIX_ERROR_OUT_OF_SYNC = 25,      /* the frame was cut short by the next one */
    ZERIX_ERROR_DATA_MISSING = 26,     /* missing data was filled in with black */
    ZERIX_ERROR_HOST_OVERFLOW = 27,    /* has a phrase; no function gives it */
    ZERIX_ERROR_UNPLUGGED = 28,        /* the camera has been unplugged; in frames alone */
    ZERIX_ERROR_INITIALISATION = 30,   /* no bandwidth is left on the bus */
    ZERIX_ERROR_ROI_TOO_SMALL = 32     /* a side is 0, both are below 16 pixels, or it is outside */
};

/* The phrases, as X(number, phrase). Numbers that are not here have none of their own and read
 * ZERIX_ERROR_PHRASE_UNKNOWN. */
#define ZERIX_ERROR_PHRASES(X)                                                                     \
    X(1, "the function is not supported for this device.")                                         \
    X(2, "one of the parameters used is not valid.")                                               \
    X(3, "the Zerix_Settings structure is corrupted or the size is invalid.")                      \
    X(7, "Zerix has already been loaded through Zerix_LoadDriver().")                              \
    X(8, "Zerix has not been loaded. Call Zerix_LoadDriver().")                                    \
    X(11, "the camera ID used is invalid.")                                                        \
    X(13, "general internal error occurred (hardware fault).")                                     \
    X(14, "general internal error occurred (firewire fault).")                                     \
    X(15, "general internal error occurred (camera fault).")                                       \
    X(16, "general internal error occurred (driver fault).")                                       \
    X(18, "the size of pBuffer in the Zerix_Frame structure is too small.")                        \
    X(21, "the function cannot be processed at this time.")                                        \
    X(22, "the queue for frame and settings changes is full.")                                     \
    X(24, "streaming is not on and is required for this call.  Call Zerix_SetStreaming().")        \
    X(25, "the host and the computer are out of sync, the frame returned is invalid.")             \
    X(26, "data in the frame is missing and has been filled in with black.")                       \
    X(27, "the host has more data than it can process, restart streaming.")                        \
    X(28, "the camera has been unplugged or turned off.")                                          \
    X(32, "the ROI used is too small.")

/* The phrase of every other number. */
#define ZERIX_ERROR_PHRASE_UNKNOWN "error string not defined yet"

#endif

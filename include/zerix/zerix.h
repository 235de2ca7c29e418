/* Zerix: the driver library of a family of scientific FireWire cameras.
 *
 * Conventions
 *  1. Handles. A ZerixHandle comes from Zerix_OpenCamera and stays valid, as an object, until
 *     Zerix_ListCameras or Zerix_ReleaseDriver removes its closed camera. A handle of a removed
 *     camera counts as that of a closed one, until a new camera gets the same handle.
 *  2. Errors. Every function returns one of zerix_errors.h, 0 for success, unless told otherwise.
 *  3. Records. Their byte layout is fixed; the 32-bit builds have exactly the classic layouts.
 *  4. Threads. Calls may come from any thread; Zerix_ListCameras and Zerix_ReleaseDriver must not
 *     run beside other calls. While one thread opens or closes a camera, calls that begin on other
 *     threads find it closed. The calls that start, stop or change one camera's stream wait for
 *     each other, but never for an image. A register access that hangs in one of them is ended
 *     after half a second when another one waits; the first call then fails.
 *  5. Ownership. What the application passes stays the application's.
 *  6. Units. 32-bit exposures are microseconds, 64-bit ones nanoseconds; sizes are pixels or bytes.
 *  7. Parameters that mean the same everywhere, unless a function tells otherwise:
 *   camera  in: the handle of an open camera
 */
#ifndef ZERIX_ZERIX_H
#define ZERIX_ZERIX_H

#include <stdint.h>

#include "zerix/zerix_errors.h"
#include "zerix/zerix_export.h"
#include "zerix/zerix_keys.h"
#include "zerix/zerix_records.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Driver and cameras ---------------------------------------------------------------------- */
/* Brings the library up: opens the trace log as the configuration says, prepares the hardware layer
 * and starts the monitor thread. Every other function that says "loaded" needs this first.
 *   ZERIX_ERROR_ALREADY_LOADED  it is loaded, or another thread loads or releases it; nothing
 *                               changes, but the trace log's clock starts again
 *   ZERIX_ERROR_DRIVER_FAULT    the hardware layer could not be prepared
 * Doesn't block. */
ZERIX_API uint32_t Zerix_LoadDriver(void);

/* Takes the library down: ends the monitor thread, closes every camera that stands open and frees
 * every camera object, so that no handle is valid any more. State: loaded; otherwise nothing
 * happens, nor in a callback or while another thread loads or releases the library.
 * Must not run beside other calls: those that are at work are ended as by Zerix_CloseCamera. Blocks
 * until streaming has ended, up to some seconds a camera. */
ZERIX_API void Zerix_ReleaseDriver(void);

/* Tells the library's version: 2, 0 and 13.
 *   major, minor, build  out: the three numbers
 *   ZERIX_ERROR_NOT_LOADED     state: loaded
 *   ZERIX_ERROR_BAD_PARAMETER  one of the pointers is null; nothing is written
 * Doesn't block. */
ZERIX_API uint32_t Zerix_LibVersion(uint16_t *major, uint16_t *minor, uint16_t *build);

/* Tells the library's version without the build: 2 and 0. Parameters, state and errors as with
 * Zerix_LibVersion. Doesn't block. */
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

/* Describes the nodes of the bus, cameras and everything else, in the order of cards and of their
 * identifiers: for people who look for a camera that isn't listed.
 *   table  out: as many rows as there are nodes, but no more than *count
 *   count  in: rows that table has room for, 0 allowed. out: nodes found, also where that is more
 *   ZERIX_ERROR_NOT_LOADED     state: loaded
 *   ZERIX_ERROR_BAD_PARAMETER  table or count is null
 *   ZERIX_ERROR_NOT_SUPPORTED  this bus shows nothing but cameras, or there is none; nothing is
 *                              written
 *   ZERIX_ERROR_DRIVER_FAULT   the bus can't be looked at; nothing is written
 * May run beside every other call but Zerix_ReleaseDriver, and touches no camera that is open.
 * Opens each node for a moment; blocks for its answers on the bus, some seconds at most. */
ZERIX_API uint32_t Zerix_ListBusNodes(ZerixBusNode *table, uint32_t *count);

/* Opens a camera of the last listing for this process alone.
 *   cameraId  the cameraId of the camera's row
 *   camera    out: the handle, valid for calls until Zerix_CloseCamera
 *   ZERIX_ERROR_NOT_LOADED     state: loaded
 *   ZERIX_ERROR_BAD_PARAMETER  camera is null
 *   ZERIX_ERROR_BAD_CAMERA_ID  there is no such row; or the camera is open already, or another
 *                              thread opens or closes it: only then *camera has been written
 *   ZERIX_ERROR_DRIVER_FAULT   another process has the camera, or the bus failed
 *   ZERIX_ERROR_INITIALISATION no bandwidth is left on the bus
 *   ZERIX_ERROR_OUT_OF_MEMORY  the camera stands open, but has no context: only closing it helps
 * Doesn't wait for the camera beyond its answers on the bus. */
ZERIX_API uint32_t Zerix_OpenCamera(uint32_t cameraId, ZerixHandle *camera);

/* Stops streaming and closes the camera. Queued frames and settings are dropped without their
 * callbacks. Calls that are at work on other threads are ended and waited for, for five seconds at
 * most: a Zerix_GrabFrame that waits returns ZERIX_ERROR_DRIVER_FAULT. The object behind the handle
 * stays until the next listing, so that later calls return ZERIX_ERROR_BAD_HANDLE.
 *   ZERIX_ERROR_NOT_LOADED  state: loaded
 *   ZERIX_ERROR_BAD_HANDLE  camera is null or closed, another thread opens or closes it, or another
 *                           process has it
 *   ZERIX_ERROR_BUSY        called in a callback that runs on a thread of the camera; it stays open
 * Blocks until the camera's threads have ended, up to some seconds. */
ZERIX_API uint32_t Zerix_CloseCamera(ZerixHandle camera);

/* Accepted and ignored: no argument is read, and the callback never runs. An unplugged camera shows
 * as an error of frames and calls.
 *   camera, callback, userData  in: not read
 *   ZERIX_ERROR_NOT_LOADED  state: loaded
 * Doesn't block. */
ZERIX_API uint32_t Zerix_RegisterUnpluggedCallback(ZerixHandle camera,
                                                   ZerixUnpluggedCallback callback, void *userData);

/* For factory tools: hands the four values to the camera's service operation. Whether the camera is
 * open isn't tested.
 *   camera     in: the handle of a camera, open or not
 *   operation  in: the service operation
 *   buffer     in: the address of length words, where the operation has a buffer
 *   length     in: words of the buffer, where the operation has one
 *   checksum   in: as the operation asks for it
 *   ZERIX_ERROR_NOT_LOADED     state: loaded
 *   ZERIX_ERROR_BAD_HANDLE     camera is null, or another thread opens or closes it
 *   ZERIX_ERROR_NOT_SUPPORTED  the camera refused
 * Blocks for the camera's answers on the bus. */
ZERIX_API uint32_t _Zerix_factory_reserved0(ZerixHandle camera, uint32_t operation,
                                            uintptr_t buffer, uint32_t length, uint32_t checksum);

/* ---- Settings records ------------------------------------------------------------------------ */
/* Prepares a settings record: sets its size field to 276 and gives it a private block, which
 * Zerix_ReleaseCameraSettingsStruct frees. The record is good for calls once a read has filled it.
 * Needs no loaded library. A legacy record needs no preparation.
 *   settings  out: the record, which is the application's. What it held is not looked at
 *   ZERIX_ERROR_BAD_PARAMETER  settings is null
 * Doesn't block. */
ZERIX_API uint32_t Zerix_CreateCameraSettingsStruct(Zerix_Settings *settings);

/* Zerix_ReadDefaultSettings under another name, and with another error for a null record.
 *   settings  in, out: a prepared record or a legacy one
 *   ZERIX_ERROR_NOT_LOADED    state: loaded, camera open
 *   ZERIX_ERROR_BAD_HANDLE    camera is null or closed, or another process has it
 *   ZERIX_ERROR_BAD_SETTINGS  settings is null, or has been released
 * Doesn't block. */
ZERIX_API uint32_t Zerix_InitializeCameraSettings(ZerixHandle camera, Zerix_Settings *settings);

/* Frees the private block of a prepared record; the record is no good afterwards. A null pointer, a
 * released record and a legacy one are left alone. Needs no loaded library. Doesn't block.
 *   settings  in, out: the record, or null
 *   returns   0, always */
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

/* Supported by no camera. Doesn't block.
 *   camera, settings  in: not read
 *   ZERIX_ERROR_NOT_LOADED     state: loaded
 *   ZERIX_ERROR_NOT_SUPPORTED  always */
ZERIX_API uint32_t Zerix_TranslateSettings(ZerixHandle camera, Zerix_Settings *settings);

/* Mends a record so that the camera can take it: slows the readout down where deep pixels need it,
 * keeps a mosaic's cells whole, cuts the region to the sensor, puts the 64-bit exposures within
 * their limits. Zerix_SendSettingsToCam does it too.
 *   settings  in, out: a filled record; it holds every repair
 *   ZERIX_ERROR_NOT_LOADED     state: loaded, camera open
 *   ZERIX_ERROR_BAD_HANDLE     camera is null or closed, or another process has it
 *   ZERIX_ERROR_BAD_PARAMETER  settings is null
 *   ZERIX_ERROR_BAD_SETTINGS   the exposures' limits can't be told from this record
 * Doesn't block. */
ZERIX_API uint32_t Zerix_PreflightSettings(ZerixHandle camera, Zerix_Settings *settings);

/* Mends the record, sends every value of it to the camera and makes them effective together. A
 * camera that streams goes on streaming: the exposure that runs begins anew, and images of the
 * earlier settings that have arrived and not been delivered are dropped. A Zerix_GrabFrame that
 * waits on another thread goes on waiting.
 * A value that changes the region, binning, bit depth or readout speed stops the stream until the
 * values are effective. If the send fails in between, the stream is off, and the next send that
 * succeeds switches it on again, unless Zerix_SetStreaming or a close comes first. If the stream
 * can't be started again, the send still returns 0: Zerix_Trigger then gives
 * ZERIX_ERROR_NOT_STREAMING, a waiting Zerix_GrabFrame ends with the error of that start, and the
 * next Zerix_SetStreaming or Zerix_GrabFrame tries to start it again and returns its error.
 *   settings  in, out: a filled record; it then holds the region, binning and speed that are used
 *   ZERIX_ERROR_NOT_LOADED     state: loaded, camera open
 *   ZERIX_ERROR_BAD_HANDLE     camera is null or closed, or another process has it
 *   ZERIX_ERROR_BAD_SETTINGS   settings is null, or has not been filled
 *   ZERIX_ERROR_DRIVER_FAULT, ZERIX_ERROR_CAMERA_FAULT, ZERIX_ERROR_INITIALISATION
 *                              the camera refused a value, or the bus failed: the values before it
 *                              stay set, and take effect with the next send
 * Blocks for the register writes, and where the stream must stop for a value until it runs again.
 * May be called from a callback. */
ZERIX_API uint32_t Zerix_SendSettingsToCam(ZerixHandle camera, Zerix_Settings *settings);

/* ---- Parameters ------------------------------------------------------------------------------ */
/* Values of a settings record by their keys. The record must have been filled by a read, and its
 * camera be open; nothing here reaches the camera before the record is sent. All of these calls
 *   settings  a filled record of either layout; it stays the application's
 *   key       one of ZerixParam, ZerixParamS32 or ZerixParam64, as the call's name says
 * and give
 *   ZERIX_ERROR_NOT_LOADED     state: loaded
 *   ZERIX_ERROR_BAD_PARAMETER  settings or value is null
 *   ZERIX_ERROR_BAD_SETTINGS   settings was never filled or has been released, or its camera is
 *                              closed
 *   ZERIX_ERROR_NOT_SUPPORTED  there is no such key, the camera lacks it, or the record is a legacy
 *                              one and the key too new for it
 * besides what is told with each. None of them blocks. */

/* Reads a value.
 *   value  out: in the key's unit. Exposures in microseconds are cut to whole ones, are at least 1,
 *          and all ones where they don't fit. Left alone after an error
 *   ZERIX_ERROR_NOT_SUPPORTED  also for zprmTweekingRegister, which can only be set */
ZERIX_API uint32_t Zerix_GetParam(const Zerix_Settings *settings, uint32_t key, uint32_t *value);

/* Writes a value. A refused one leaves the record as it was, but for the exposures, which are
 * stored in any case: sending puts them right. Gains, offsets and exposures have one store for all
 * their keys, so that setting one changes the others. What more a key does stands beside it in
 * zerix_keys.h.
 *   value  in the key's unit, within its list or range. Stored unchecked: zprmGain, zprmOffset,
 *          zprmNormalizedGain, zprmColorWheel, zprmIntensifierGain, zprmNormIntensGaindB,
 *          zprmDoPostProcessing, zprmPostProcessGainRed, zprmPostProcessGainGreen,
 *          zprmPostProcessGainBlue, zprmPostProcessBayerAlgorithm, zprmTweekingRegister,
 *          zprmKeelEmMode, zprmLockedGainMode
 *   ZERIX_ERROR_BAD_PARAMETER  value isn't among those allowed, or the exposure out of its limits
 *   ZERIX_ERROR_NOT_SUPPORTED  also for a binning that the camera lacks, and for keys that are told
 *                              by the camera alone (zprmKeelEmGainValue10 to 40, zprmReserved45) */
ZERIX_API uint32_t Zerix_SetParam(Zerix_Settings *settings, uint32_t key, uint32_t value);

/* Reads a signed value.
 *   value  out: in the key's unit; a gain as fine as the camera's has steps. Left alone after an
 *          error */
ZERIX_API uint32_t Zerix_GetParamS32(const Zerix_Settings *settings, uint32_t key, int32_t *value);

/* Writes a signed value. Gain and offset are stored unchecked.
 *   value  in the key's unit
 *   ZERIX_ERROR_BAD_PARAMETER  a temperature out of its limits; the record stays as it was */
ZERIX_API uint32_t Zerix_SetParamS32(Zerix_Settings *settings, uint32_t key, int32_t value);

/* Reads a 64-bit value.
 *   value  out: in the key's unit. Left alone after an error */
ZERIX_API uint32_t Zerix_GetParam64(const Zerix_Settings *settings, uint32_t key, uint64_t *value);

/* Writes a 64-bit value. It is stored in any case; the intensifier's gain isn't checked.
 *   value  in the key's unit
 *   ZERIX_ERROR_BAD_PARAMETER  an exposure out of its limits; sending puts it right */
ZERIX_API uint32_t Zerix_SetParam64(Zerix_Settings *settings, uint32_t key, uint64_t value);

/* Tell the smallest and the largest value of a key on the record's camera; of a key with a list and
 * no range, the first and the last of the list.
 *   value  out: in the key's unit. Left alone after an error
 *   ZERIX_ERROR_NOT_SUPPORTED  also for a key without limits */
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

/* Tell whether the camera has a key: 0 for yes. These three take a camera and no record.
 *   key  one of ZerixParam, ZerixParamS32 or ZerixParam64
 *   ZERIX_ERROR_NOT_LOADED     state: loaded, camera open
 *   ZERIX_ERROR_BAD_HANDLE     camera is null or closed, or another process has it
 *   ZERIX_ERROR_NOT_SUPPORTED  the camera lacks it, or there is no such key
 * Don't block. */
ZERIX_API uint32_t Zerix_IsParamSupported(ZerixHandle camera, uint32_t key);
ZERIX_API uint32_t Zerix_IsParamS32Supported(ZerixHandle camera, uint32_t key);
ZERIX_API uint32_t Zerix_IsParam64Supported(ZerixHandle camera, uint32_t key);

/* Tell whether a key's values are a range, from its minimum to its maximum: 0 for yes. A key may be
 * a range and a list; its values are then checked by the list. A key's class is the same on every
 * camera that has it, and told of a closed camera too.
 *   ZERIX_ERROR_NOT_SUPPORTED  also where they are no range */
ZERIX_API uint32_t Zerix_IsRangeTable(const Zerix_Settings *settings, uint32_t key);
ZERIX_API uint32_t Zerix_IsRangeTableS32(const Zerix_Settings *settings, uint32_t key);
ZERIX_API uint32_t Zerix_IsRangeTable64(const Zerix_Settings *settings, uint32_t key);

/* Tell whether a key's values are a list: 0 for yes. Signed and 64-bit keys never are: the record
 * isn't looked at.
 *   ZERIX_ERROR_NOT_SUPPORTED  also where they are no list */
ZERIX_API uint32_t Zerix_IsSparseTable(const Zerix_Settings *settings, uint32_t key);
ZERIX_API uint32_t Zerix_IsSparseTableS32(const Zerix_Settings *settings, uint32_t key);
ZERIX_API uint32_t Zerix_IsSparseTable64(const Zerix_Settings *settings, uint32_t key);

/* Gives the list of a key's allowed values on the record's camera, also while that is closed.
 *   table  out: the values. The array is the application's
 *   size   in: values that table has room for; 0 is a success without a question. out: values
 *          written. A longer list comes back cut, without an error. Left alone after an error
 *   ZERIX_ERROR_BAD_PARAMETER  a pointer is null
 *   ZERIX_ERROR_NOT_SUPPORTED  the key has no list, or *size is negative */
ZERIX_API uint32_t Zerix_GetParamSparseTable(const Zerix_Settings *settings, uint32_t key,
                                             uint32_t *table, int32_t *size);

/* Signed and 64-bit keys have no lists: *size becomes 0, and no other argument is looked at.
 *   table  out: left alone
 *   size   out: 0
 *   ZERIX_ERROR_NOT_LOADED     state: loaded; *size is left alone
 *   ZERIX_ERROR_NOT_SUPPORTED  always */
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
 *   ZERIX_ERROR_BUSY              frames or settings are queued, or another thread is in this call
 *   ZERIX_ERROR_BUFFER_TOO_SMALL  pBuffer is null, or smaller than the image; frame is unchanged
 *   ZERIX_ERROR_ROI_TOO_SMALL     the region holds no pixel
 *   ZERIX_ERROR_DRIVER_FAULT, ZERIX_ERROR_CAMERA_FAULT, ZERIX_ERROR_INITIALISATION
 *                                 no image came: the stream could not be started, or Zerix_Abort,
 *                                 Zerix_SetStreaming(camera, 0), a close or the loss of the camera
 *                                 ended the wait (all four ZERIX_ERROR_DRIVER_FAULT)
 * On a camera that streams, the next image goes to this call. Otherwise the stream is on for this
 * call only; if Zerix_SetStreaming(camera, 1) comes meanwhile, it stays on. After the loss of the
 * camera the call fails at once until the stream has been started again.
 * An image with missing data is no error of the call: frame's errorCode tells it. Blocks until the
 * image is there. The limit of the wait is a thousand times twice the exposure plus five seconds
 * (three times the exposure on an interlaced camera; with the wheel turning, the three colours'
 * exposures together): 83 minutes at the least. When that time is over, the call fails and the
 * camera goes on streaming. */
ZERIX_API uint32_t Zerix_GrabFrame(ZerixHandle camera, Zerix_Frame *frame);

/* Appends a frame to the camera's queue of at most 100 entries. While the camera streams, each
 * image goes to the oldest frame; images that find none are dropped.
 *   frame     in: pBuffer and bufferSize. out, until it is done: every other field but the reserved
 *             ones. The application keeps it and its buffer alive until then
 *   callback  in: may be null. Called on threads of the library, and may queue more
 *   flags     in: ZERIX_FLAG_FRAME_DONE: call with that flag and the frame's errorCode when it is
 *             filled; ZERIX_FLAG_EXPOSE_DONE: call with that flag and error 0 when it has been
 *             exposed. With neither flag the frame is filled and no callback is called
 *   userPointer, userData  in: passed to the callback as they are
 *   ZERIX_ERROR_NOT_LOADED        state: loaded, camera open
 *   ZERIX_ERROR_BAD_HANDLE        camera is null or closed, or another process has it
 *   ZERIX_ERROR_BAD_PARAMETER     frame is null
 *   ZERIX_ERROR_QUEUE_FULL        100 entries are queued
 *   ZERIX_ERROR_BUFFER_TOO_SMALL  bufferSize is less than the image
 * After the loss of a camera that streamed, every frame that is queued comes back with errorCode
 * ZERIX_ERROR_UNPLUGGED, in order, at most a hundred a second, through the callback and never from
 * within this call; queued settings are sent in their turn. That goes for frames that are queued
 * later too, until the stream has been started or the camera opened again.
 * Waits for a send of settings that is under way, and for a Zerix_QueueSettings that waits for a
 * start or a stop of the stream. */
ZERIX_API uint32_t Zerix_QueueFrame(ZerixHandle camera, Zerix_Frame *frame,
                                    ZerixAsyncCallback callback, uint32_t flags, void *userPointer,
                                    uint32_t userData);

/* Appends settings to the same queue: they are sent between the frame before them and the frame
 * behind. With an empty queue they are sent at once; as the last entry they wait until another is
 * queued behind them.
 *   settings  in, out: a filled record, as with Zerix_SendSettingsToCam. The queue keeps the
 *             pointer, not a copy: the application keeps the record alive until it is sent
 *   callback  in: may be null. With ZERIX_FLAG_FRAME_DONE among the flags it is called after the
 *             send with the send's result and the flags as given
 *   flags     in: ZERIX_FLAG_FRAME_DONE or 0
 *   userPointer, userData  in: passed to the callback as they are
 *   ZERIX_ERROR_NOT_LOADED    state: loaded, camera open
 *   ZERIX_ERROR_BAD_HANDLE    camera is null or closed, or another process has it
 *   ZERIX_ERROR_BAD_SETTINGS  settings is null or has not been filled; or it needs larger packets
 *                             than the camera sends: the packets are enlarged, so try again
 *   ZERIX_ERROR_QUEUE_FULL    100 entries are queued
 *   ZERIX_ERROR_DRIVER_FAULT, ZERIX_ERROR_CAMERA_FAULT, ZERIX_ERROR_INITIALISATION
 *                             with an empty queue: as with Zerix_SendSettingsToCam
 * Blocks like the send with an empty queue; else it waits for a send, a start or a stop that is
 * under way. */
ZERIX_API uint32_t Zerix_QueueSettings(ZerixHandle camera, Zerix_Settings *settings,
                                       ZerixAsyncCallback callback, uint32_t flags,
                                       void *userPointer, uint32_t userData);

/* Empties the queue and abandons a triggered exposure. The frames are the application's again and
 * their callbacks aren't called any more; the camera goes on streaming. While it runs freely
 * (zprmTriggerType 0) the next image is dropped, whether frames have been queued again or not. Ends
 * a Zerix_GrabFrame that waits on another thread.
 *   ZERIX_ERROR_NOT_LOADED  state: loaded, camera open
 *   ZERIX_ERROR_BAD_HANDLE  camera is null or closed, or another process has it
 * Waits for a callback that is running on another thread, and ends a register access of that thread
 * that has hung for half a second. */
ZERIX_API uint32_t Zerix_Abort(ZerixHandle camera);

/* Switches the stream of images to the queue on or off. Queued frames stay queued. Off ends a
 * Zerix_GrabFrame that waits on another thread, with ZERIX_ERROR_DRIVER_FAULT. On keeps the stream
 * of such a call on after it.
 *   on  0: off; else on. What it is already is no error
 *   ZERIX_ERROR_NOT_LOADED      state: loaded, camera open
 *   ZERIX_ERROR_BAD_HANDLE      camera is null or closed, or another process has it
 *   ZERIX_ERROR_INITIALISATION  the bus has no bandwidth left
 *   ZERIX_ERROR_ROI_TOO_SMALL   on: the region holds no pixel; nothing has been sent to the camera
 *   ZERIX_ERROR_DRIVER_FAULT, ZERIX_ERROR_CAMERA_FAULT
 *                               the bus failed; or, on: the stream is on and was lost. Switch it
 *                               off and on again
 * Blocks until the camera has been told, and for a send of settings that is under way on another
 * thread; switching off takes up to some seconds where no packets come. */
ZERIX_API uint32_t Zerix_SetStreaming(ZerixHandle camera, uint32_t on);

/* Begins one exposure of a camera that streams with zprmTriggerType 5.
 *   ZERIX_ERROR_NOT_LOADED     state: loaded, camera open and streaming
 *   ZERIX_ERROR_BAD_HANDLE     camera is null or closed, or another process has it
 *   ZERIX_ERROR_NOT_STREAMING  the camera isn't streaming
 *   ZERIX_ERROR_NOT_SUPPORTED  the trigger type isn't 5
 *   ZERIX_ERROR_DRIVER_FAULT   the bus failed
 * Blocks for one register write. Waits for a start, a stop or a send that is under way, never for
 * an image. */
ZERIX_API uint32_t Zerix_Trigger(ZerixHandle camera);

/* These four are supported by no camera. They don't block.
 *   camera, frame, frames, count  in: not read
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
/* Finds the exposure that brings the brightest pixel of a region to the top of the range, stores
 * the exposures in the record and sends it. Takes up to ten images at 8 bits; a search that fails
 * or doesn't settle leaves the exposure that it reached, and is no error. On a running stream only
 * images are measured whose exposure began after the change before them. Earlier ones are dropped,
 * and cost no trigger.
 *   settings       in, out: a filled record of an open camera
 *   x, y           in: the region's left and upper edge, pixels of the measured picture. A
 *                  Benchmate's picture has fewer columns than its image while it bins or is in
 *                  live mode, and in live mode twice the rows.
 *   width, height  in: the region's size, pixels of that picture; what exceeds it is left out
 *   ZERIX_ERROR_NOT_LOADED     state: loaded
 *   ZERIX_ERROR_BAD_PARAMETER  settings is null, or the exposure out of its limits
 *   ZERIX_ERROR_BAD_SETTINGS   the record wasn't filled, or its camera is closed
 *   ZERIX_ERROR_ROI_TOO_SMALL  a side is 0, or both are below 16, or the region begins outside
 *                              the picture
 *   ZERIX_ERROR_BUSY           another thread takes an image: in Zerix_GrabFrame, in this call or
 *                              in Zerix_WhiteBalance
 * Blocks as long as the images take. Beside it a Zerix_GrabFrame gets ZERIX_ERROR_BUSY, settings
 * that another thread sends count for the images from then on, and Zerix_Abort,
 * Zerix_SetStreaming(camera, 0) and a close end the search. */
ZERIX_API uint32_t Zerix_AutoExpose(Zerix_Settings *settings, uint32_t x, uint32_t y,
                                    uint32_t width, uint32_t height);

/* Measures the gains that make the mean of a region grey, stores them in the record and sends it; a
 * filter wheel's exposures follow. Takes up to six images, on a running stream those whose exposure
 * began after the call. Does nothing, successfully, where zprmPostProcessImageFormat is no format
 * of colour. Parameters, state, errors and other threads as with Zerix_AutoExpose.
 *   ZERIX_ERROR_NOT_SUPPORTED  the camera lacks one of the gains or exposures
 *   ZERIX_ERROR_DRIVER_FAULT  an image could not be taken, or has no colours
 *   ZERIX_ERROR_INITIALISATION, ZERIX_ERROR_CAMERA_FAULT  no bandwidth is left; the camera failed
 * Blocks as long as the images take. */
ZERIX_API uint32_t Zerix_WhiteBalance(Zerix_Settings *settings, uint32_t x, uint32_t y,
                                      uint32_t width, uint32_t height);

/* Runs the post-processing that the record asks for over a frame that was kept. A frame without
 * colour (formats 0 to 3) is copied, into a buffer from malloc where frameOut has none or a smaller
 * one, which is then reallocated. Otherwise frameOut's buffer must hold the image of
 * zprmPostProcessImageFormat. It is written up to that image's end, and never past its bufferSize
 * unless that is 0, which means not stated: a smaller buffer gets the beginning of the image. Both
 * frames may share a buffer.
 *   camera    in: any open camera; the one that works is frameIn's
 *   settings  in: a filled record
 *   frameIn   in: the frame, as it came; a live-mode frame's pixels are changed
 *   frameOut  in: its buffer. out: the picture. A buffer from malloc is the application's to free
 *   ZERIX_ERROR_NOT_LOADED     state: loaded
 *   ZERIX_ERROR_BAD_PARAMETER  camera or a frame is null; a format without a size, or no algorithm
 *   ZERIX_ERROR_BAD_SETTINGS   the record wasn't filled
 *   ZERIX_ERROR_BAD_HANDLE     another process has the camera, or another thread opens or closes
 *                              it; the frame has no camera, or one that a listing or a release
 *                              removed
 *   ZERIX_ERROR_DRIVER_FAULT   the frame's camera is closed
 *   ZERIX_ERROR_BUFFER_TOO_SMALL  a frame with colour, and pBuffer of one of the two is null
 *   ZERIX_ERROR_OUT_OF_MEMORY  there is no memory for the processing
 * A failure of the processing itself isn't told. Doesn't block. */
ZERIX_API uint32_t Zerix_PostProcessSingleFrame(ZerixHandle camera, const Zerix_Settings *settings,
                                                const Zerix_Frame *frameIn, Zerix_Frame *frameOut);

/* Makes colour of a mosaic, in frameOut's format and buffer, with the filter of frameIn's camera.
 *   algorithm  in: 1 average, 2 fast, 3 and 4 bicubic; for any other nothing happens
 *   frameIn    in: a frame of format 4 or 5, with its camera; if that is closed, or removed by a
 *              listing or a release, nothing happens
 *   frameOut   in: format, and a buffer that holds the image. out: depth, width, height and size.
 *              Nothing is written past its bufferSize unless that is 0, which means not stated
 * If a frame or the pBuffer of one is null, nothing happens. Both frames may share a buffer. Needs
 * no loaded library. Doesn't block. */
ZERIX_API void Zerix_BayerToRgb(uint32_t algorithm, const Zerix_Frame *frameIn,
                                Zerix_Frame *frameOut);

/* Makes a mosaic twice as high, as live mode's pictures need. Needs no loaded library. Doesn't
 * block.
 *   algorithm  in: 2; for any other nothing happens
 *   frameIn    in: a frame of format 4 or 5
 *   frameOut   in: height, and a buffer that holds the picture. out: depth, width and pixels
 *   ZERIX_ERROR_NOT_SUPPORTED  another algorithm, or a frame is null */
ZERIX_API uint32_t Zerix_BayerZoomVert(uint8_t algorithm, const Zerix_Frame *frameIn,
                                       Zerix_Frame *frameOut);

/* Properties of an image format: 16 bits a value, three colours a pixel, a mosaic, colour of any
 * kind, monochrome. The raw formats are none of these, 16 bits apart. Need no loaded library. Don't
 * block.
 *   format   in: one of ZerixImageFormat
 *   returns  1 or 0; 0 for an unknown format */
ZERIX_API uint32_t Zerix_is16bit(uint32_t format);
ZERIX_API uint32_t Zerix_is3Color(uint32_t format);
ZERIX_API uint32_t Zerix_isBayer(uint32_t format);
ZERIX_API uint32_t Zerix_isColor(uint32_t format);
ZERIX_API uint32_t Zerix_isMonochrome(uint32_t format);

/* Size of an image. Needs no loaded library. Doesn't block.
 *   format         in: one of ZerixImageFormat
 *   width, height  in: pixels
 *   returns        bytes; 0 for an unknown format */
ZERIX_API uint32_t Zerix_CalcImageSize(uint32_t format, uint32_t width, uint32_t height);

#ifdef __cplusplus
}
#endif

#endif

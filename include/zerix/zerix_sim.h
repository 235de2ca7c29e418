/* The virtual bus, for applications that develop or test without a camera: choose a rack of virtual
 * cameras, plug and unplug them, fire a trigger line, set a scene, inject a fault.
 *
 * The bus is a library of its own (libzerix_sim), which the driver library loads when the
 * configuration value Bus, or the environment variable ZERIX_BUS, says "simulated". Link it to call
 * these functions: both then use the same bus. All functions return 0 for success or one of the
 * numbers below, with a sentence in ZerixSim_LastErrorText; they may be called from any thread.
 * Cameras are counted from 0 in the order of the rack.
 */
#ifndef ZERIX_ZERIX_SIM_H
#define ZERIX_ZERIX_SIM_H

#include <stdint.h>

#include "zerix/zerix_export.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
    ZERIX_SIM_OK = 0,
    ZERIX_SIM_BAD_RACK = 1, /* the rack file or name can't be used */
    ZERIX_SIM_NO_SUCH_CAMERA = 2,
    ZERIX_SIM_BAD_SCENE = 3,
    ZERIX_SIM_BAD_FAULT = 4,
    ZERIX_SIM_IN_USE = 5, /* a device of the bus is open */
    ZERIX_SIM_BAD_PARAMETER = 6,
    ZERIX_SIM_NOT_KNOWN = 7 /* no such frame */
};

#define ZERIX_SIM_UNLIMITED 0xFFFFFFFFu

/* Loads a rack: the path of a TOML file, the name of a rack that is built in or installed, or null
 * for the built-in one. Everything starts anew: clock, seed, faults. Not while a device is open. */
ZERIX_API uint32_t ZerixSim_ChooseRack(const char *rack);

/* The racks that are known by name, for a program that offers a choice: those that are built in,
 * and those that are installed when the first of these functions is called. Texts that don't fit
 * are cut off. Both functions give ZERIX_SIM_NOT_KNOWN for a number that isn't there. */
typedef struct ZerixSimRack {
    char name[64];     /* for ZerixSim_ChooseRack */
    char meaning[256]; /* one line; of an installed rack that can't be used, why */
    uint32_t speed;    /* of the bus, Mb/s */
    uint32_t isFastClock;
    uint32_t isBuiltIn;
    uint32_t cameraCount;
} ZerixSimRack;
ZERIX_API uint32_t ZerixSim_RackCount(uint32_t *count);
ZERIX_API uint32_t ZerixSim_GetRack(uint32_t index, ZerixSimRack *rack);

/* A camera of such a rack, counted from 0. What the driver makes of it may differ: it goes by the
 * sensor too. */
typedef struct ZerixSimRackCamera {
    uint32_t model;    /* number */
    uint32_t uniqueId; /* the lower half, as in the driver's list */
    uint32_t width;    /* of the sensor, pixels */
    uint32_t height;
    char modelName[32]; /* empty for a number that belongs to no model */
    char serial[28];
    char sensor[32];
    char scene[64];
} ZerixSimRackCamera;
ZERIX_API uint32_t ZerixSim_GetRackCamera(uint32_t rack, uint32_t camera,
                                          ZerixSimRackCamera *description);

/* The scenes that a camera may look at. */
typedef struct ZerixSimScene {
    char usage[32]; /* "cells", "flat[:PHOTONS]", … */
    char meaning[128];
} ZerixSimScene;
ZERIX_API uint32_t ZerixSim_SceneCount(uint32_t *count);
ZERIX_API uint32_t ZerixSim_GetScene(uint32_t index, ZerixSimScene *scene);

/* The sentence of this thread's last error; never null. Valid until the thread's next call. */
ZERIX_API const char *ZerixSim_LastErrorText(void);

ZERIX_API uint32_t ZerixSim_CameraCount(uint32_t *count);

/* The camera with this unique identifier (the lower half, as Zerix_ListCameras gives it). */
ZERIX_API uint32_t ZerixSim_FindCamera(uint32_t uniqueId, uint32_t *camera);

/* Takes the camera off the bus at once, whatever it is doing, and puts it back. */
ZERIX_API uint32_t ZerixSim_Unplug(uint32_t camera);
ZERIX_API uint32_t ZerixSim_Plug(uint32_t camera);

/* One pulse on the trigger line. */
ZERIX_API uint32_t ZerixSim_FireTrigger(uint32_t camera);

/* "cells", "stars", "resolution-chart", "gradient", "flat", "flat:PHOTONS", "picture:FILE.png" …
 * From the next exposure on. */
ZERIX_API uint32_t ZerixSim_SetScene(uint32_t camera, const char *scene);

/* Adds a fault to the camera's plan, in the words of a rack file, for example
 * "lose packet at frame 2 packet 5" (see docs/virtual-bus.md). */
ZERIX_API uint32_t ZerixSim_InjectFault(uint32_t camera, const char *fault);

/* Limits how many more frames the camera may begin; each call sets the number anew. Without a call,
 * or with ZERIX_SIM_UNLIMITED, it begins as many as the stream takes. */
ZERIX_API uint32_t ZerixSim_GiveCredit(uint32_t camera, uint32_t frames);

/* 1 if the bus runs on the fast clock, 0 on the wall clock. */
ZERIX_API uint32_t ZerixSim_IsFastClock(uint32_t *isFast);

/* The bus's clock, in nanoseconds since 1970-01-01 00:00 UTC. */
ZERIX_API uint32_t ZerixSim_GetTime(uint64_t *unixNanoseconds);

/* The start of exposure of one of the camera's last 256 frames, by its rolling frame number. */
ZERIX_API uint32_t ZerixSim_GetFrameTime(uint32_t camera, uint16_t rollingFrameNumber,
                                         uint64_t *unixNanoseconds);

/* The sensor's temperature now, in thousandths of a degree Celsius. */
ZERIX_API uint32_t ZerixSim_GetSensorTemperature(uint32_t camera, int32_t *millicelsius);

/* What is held on the bus at this moment; all zero once everything is closed. */
typedef struct ZerixSimHeld {
    uint32_t openHandles;
    uint32_t channels;
    uint32_t bandwidthHandles;
    uint32_t resourcesHandles;
    uint32_t queuedBuffers;
    uint32_t pendingRequests;
    uint32_t threads;
} ZerixSimHeld;
ZERIX_API uint32_t ZerixSim_GetHeld(ZerixSimHeld *held);

/* The register writes that a camera has seen since the last call, oldest first. `count`: in, the
 * room; out, how many there were, which may be more than fitted (the last 65,536 are kept). */
typedef struct ZerixSimWrite {
    uint32_t address;
    uint32_t value;
} ZerixSimWrite;
ZERIX_API uint32_t ZerixSim_TakeWrites(uint32_t camera, ZerixSimWrite *writes, uint32_t *count);

#ifdef __cplusplus
}
#endif

#endif

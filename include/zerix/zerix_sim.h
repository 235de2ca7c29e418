/* The virtual bus, for applications that develop or test without a camera: choose a rack of virtual
 * cameras, plug and unplug them, fire a trigger line, set a scene, inject a fault.
 *
 * The bus is a library of its own (libzerix_sim), which the driver library loads when the
 * configuration value Bus, or the environment variable ZERIX_BUS, says "simulated". Link it to call
 * these functions: both then use the same bus. All functions return 0 for success or one of the
 * numbers below, with a sentence in ZerixSim_LastErrorText; they may be called from any thread.
 * Cameras are counted from 0 in the order of the rack. No function blocks for longer than the bus
 * needs to take note.
 *   camera  in: which one, from 0, in the order of the rack
 *   count   out: how many there are
 *   index   in: from 0
 */
#ifndef ZERIX_ZERIX_SIM_H
#define ZERIX_ZERIX_SIM_H

#include <stdint.h>

#include "zerix/zerix_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* What the functions return. */
enum {
    ZERIX_SIM_OK = 0,
    ZERIX_SIM_BAD_RACK = 1, /* the rack file or name can't be used */
    ZERIX_SIM_NO_SUCH_CAMERA = 2,
    ZERIX_SIM_BAD_SCENE = 3,     /* no such scene, or its picture can't be read */
    ZERIX_SIM_BAD_FAULT = 4,     /* the words make no fault */
    ZERIX_SIM_IN_USE = 5,        /* a device of the bus is open */
    ZERIX_SIM_BAD_PARAMETER = 6, /* a null pointer */
    ZERIX_SIM_NOT_KNOWN = 7,     /* no such frame, rack or scene */
    ZERIX_SIM_NO_MEMORY = 8      /* the system has no memory to give; any function may return it */
};

/* Credit without a limit. */
#define ZERIX_SIM_UNLIMITED 0xFFFFFFFFu

/* Loads a rack: the path of a TOML file, the name of a rack that is built in or installed, or null
 * for the built-in one. Everything starts anew: clock, seed, faults.
 *   rack  in: path, name or null
 *   ZERIX_SIM_BAD_RACK  the rack can't be read or is malformed; the earlier one stays
 *   ZERIX_SIM_IN_USE    a device of the bus is open */
ZERIX_API uint32_t ZerixSim_ChooseRack(const char *rack);

/* A rack that is known by name, for a program that offers a choice: those that are built in, and
 * those that are installed when the first of these functions is called. Texts that don't fit are
 * cut off. */
typedef struct ZerixSimRack {
    char name[64];        /* for ZerixSim_ChooseRack */
    char meaning[256];    /* one line; of an installed rack that can't be used, why */
    uint32_t speed;       /* of the bus, Mb/s */
    uint32_t isFastClock; /* 0 or 1 */
    uint32_t isBuiltIn;   /* 0 or 1 */
    uint32_t cameraCount; /* in the rack */
} ZerixSimRack;

/* Counts the racks that are known by name.
 *   ZERIX_SIM_BAD_PARAMETER  count is null */
ZERIX_API uint32_t ZerixSim_RackCount(uint32_t *count);

/* Describes a rack.
 *   rack  out: the description
 *   ZERIX_SIM_NOT_KNOWN      there is no such rack
 *   ZERIX_SIM_BAD_PARAMETER  rack is null */
ZERIX_API uint32_t ZerixSim_GetRack(uint32_t index, ZerixSimRack *rack);

/* A camera of such a rack, counted from 0. What the driver makes of it may differ: it goes by the
 * sensor too. */
typedef struct ZerixSimRackCamera {
    uint32_t model;     /* number */
    uint32_t uniqueId;  /* the lower half, as in the driver's list */
    uint32_t width;     /* of the sensor, pixels */
    uint32_t height;    /* pixels */
    char modelName[32]; /* empty for a number that belongs to no model */
    char serial[28];    /* number, as the camera tells it */
    char sensor[32];    /* name */
    char scene[64];     /* as the rack names it */
} ZerixSimRackCamera;

/* Describes a camera of a rack.
 *   rack         in: from 0, as for ZerixSim_GetRack
 *   description  out
 *   ZERIX_SIM_NOT_KNOWN      there is no such rack, or it has no such camera
 *   ZERIX_SIM_BAD_PARAMETER  description is null */
ZERIX_API uint32_t ZerixSim_GetRackCamera(uint32_t rack, uint32_t camera,
                                          ZerixSimRackCamera *description);

/* A scene that a camera may look at. */
typedef struct ZerixSimScene {
    char usage[32];    /* "cells", "flat[:PHOTONS]", … */
    char meaning[128]; /* one line */
} ZerixSimScene;

/* Counts the kinds of scenes.
 *   ZERIX_SIM_BAD_PARAMETER  count is null */
ZERIX_API uint32_t ZerixSim_SceneCount(uint32_t *count);

/* Describes a scene.
 *   scene  out: the description
 *   ZERIX_SIM_NOT_KNOWN      there is no such scene
 *   ZERIX_SIM_BAD_PARAMETER  scene is null */
ZERIX_API uint32_t ZerixSim_GetScene(uint32_t index, ZerixSimScene *scene);

/* The sentence of this thread's last error.
 *   returns  the text, never null. It belongs to the library, and is valid until the thread's next
 *            call */
ZERIX_API const char *ZerixSim_LastErrorText(void);

/* Counts the cameras of the rack in use, unplugged ones too.
 *   ZERIX_SIM_BAD_PARAMETER  count is null */
ZERIX_API uint32_t ZerixSim_CameraCount(uint32_t *count);

/* Finds the camera with a unique identifier.
 *   uniqueId  in: the lower half, as Zerix_ListCameras gives it
 *   camera    out: which one, from 0
 *   ZERIX_SIM_NO_SUCH_CAMERA  there is none
 *   ZERIX_SIM_BAD_PARAMETER   camera is null */
ZERIX_API uint32_t ZerixSim_FindCamera(uint32_t uniqueId, uint32_t *camera);

/* Take the camera off the bus at once, whatever it is doing, and put it back.
 *   ZERIX_SIM_NO_SUCH_CAMERA  there is none */
ZERIX_API uint32_t ZerixSim_Unplug(uint32_t camera);
ZERIX_API uint32_t ZerixSim_Plug(uint32_t camera);

/* Takes the camera off the bus together with its driver, as some systems do with a device that is
 * removed while it is open. Every request of the open handles then fails, requests that give
 * something back included, and the camera returns only when ZerixSim_Plug has been called and these
 * handles are closed.
 *   ZERIX_SIM_NO_SUCH_CAMERA  there is none */
ZERIX_API uint32_t ZerixSim_UnplugWithDriver(uint32_t camera);

/* One pulse on the trigger line: both its edges, of which the camera's polarity takes one.
 *   ZERIX_SIM_NO_SUCH_CAMERA  there is none */
ZERIX_API uint32_t ZerixSim_FireTrigger(uint32_t camera);

/* Sets the level of the trigger line, which is low at first. A camera triggers at the rising edge,
 * or at the falling one with the other polarity.
 *   level  in: 0 low, anything else high
 *   ZERIX_SIM_NO_SUCH_CAMERA  there is none */
ZERIX_API uint32_t ZerixSim_SetTriggerLine(uint32_t camera, uint32_t level);

/* What the camera's SyncB output has shown since it was plugged in: one pulse for each frame that
 * was exposed whole. As "expose" it is active during the exposure, as "trigger mask" from the
 * trigger to the end of the readout.
 *   pulses             out: how many
 *   activeNanoseconds  out: how long the output was active, all pulses together
 *   ZERIX_SIM_NO_SUCH_CAMERA  there is none
 *   ZERIX_SIM_BAD_PARAMETER   a pointer is null */
ZERIX_API uint32_t ZerixSim_GetSyncB(uint32_t camera, uint32_t *pulses,
                                     uint64_t *activeNanoseconds);

/* What the camera looks at, from the next exposure on.
 *   scene  in: "cells", "stars", "resolution-chart", "gradient", "flat", "flat:PHOTONS",
 *          "picture:FILE.png" …
 *   ZERIX_SIM_NO_SUCH_CAMERA  there is none
 *   ZERIX_SIM_BAD_SCENE       there is no such scene, or its picture can't be read
 *   ZERIX_SIM_BAD_PARAMETER   scene is null */
ZERIX_API uint32_t ZerixSim_SetScene(uint32_t camera, const char *scene);

/* Adds a fault to the camera's plan.
 *   fault  in: in the words of a rack file, for example "lose packet at frame 2 packet 5" (see
 *          docs/virtual-bus.md)
 *   ZERIX_SIM_NO_SUCH_CAMERA  there is none
 *   ZERIX_SIM_BAD_FAULT       the words make no fault
 *   ZERIX_SIM_BAD_PARAMETER   fault is null */
ZERIX_API uint32_t ZerixSim_InjectFault(uint32_t camera, const char *fault);

/* Limits how many more frames the camera may begin; each call sets the number anew. Without a call,
 * or with ZERIX_SIM_UNLIMITED, it begins as many as the stream takes.
 *   frames  in: how many; 0 for none
 *   ZERIX_SIM_NO_SUCH_CAMERA  there is none */
ZERIX_API uint32_t ZerixSim_GiveCredit(uint32_t camera, uint32_t frames);

/* The same for calls of the driver that stream several times in a row, such as the search for an
 * exposure: sets the number now, and anew whenever the camera begins to stream.
 *   frames  in: how many; ZERIX_SIM_UNLIMITED ends it
 *   ZERIX_SIM_NO_SUCH_CAMERA  there is none */
ZERIX_API uint32_t ZerixSim_GiveCreditPerStream(uint32_t camera, uint32_t frames);

/* Which clock the bus runs on.
 *   isFast  out: 1 for the fast clock, 0 for the wall clock
 *   ZERIX_SIM_BAD_PARAMETER  isFast is null */
ZERIX_API uint32_t ZerixSim_IsFastClock(uint32_t *isFast);

/* The bus's clock.
 *   unixNanoseconds  out: nanoseconds since 1970-01-01 00:00 UTC
 *   ZERIX_SIM_BAD_PARAMETER  unixNanoseconds is null */
ZERIX_API uint32_t ZerixSim_GetTime(uint64_t *unixNanoseconds);

/* When the exposure of one of the camera's last 256 frames began.
 *   rollingFrameNumber  in: the frameNumber of the frame
 *   unixNanoseconds     out: nanoseconds since 1970-01-01 00:00 UTC
 *   ZERIX_SIM_NO_SUCH_CAMERA  there is none
 *   ZERIX_SIM_NOT_KNOWN       the frame is too old, or has not been
 *   ZERIX_SIM_BAD_PARAMETER   unixNanoseconds is null */
ZERIX_API uint32_t ZerixSim_GetFrameTime(uint32_t camera, uint16_t rollingFrameNumber,
                                         uint64_t *unixNanoseconds);

/* The sensor's temperature now.
 *   millicelsius  out: thousandths of a degree Celsius
 *   ZERIX_SIM_NO_SUCH_CAMERA  there is none
 *   ZERIX_SIM_BAD_PARAMETER   millicelsius is null */
ZERIX_API uint32_t ZerixSim_GetSensorTemperature(uint32_t camera, int32_t *millicelsius);

/* What is held on the bus at this moment; all zero once everything is closed. */
typedef struct ZerixSimHeld {
    uint32_t openHandles;      /* device handles */
    uint32_t channels;         /* of 64 */
    uint32_t bandwidthHandles; /* not given back */
    uint32_t resourcesHandles; /* not given back */
    uint32_t queuedBuffers;    /* receive buffers that wait for packets */
    uint32_t pendingRequests;  /* that have not completed */
    uint32_t threads;          /* of the bus */
} ZerixSimHeld;

/* What is held now, over all cameras.
 *   held  out
 *   ZERIX_SIM_BAD_PARAMETER  held is null */
ZERIX_API uint32_t ZerixSim_GetHeld(ZerixSimHeld *held);

/* What no correct driver would do to a camera: a count of each kind, of all cameras. */
typedef struct ZerixSimMistakes {
    uint32_t registersOutside; /* accesses without a register, writes of one that is read-only */
    uint32_t valuesReserved;   /* writes of a value that has no meaning on the camera */
    uint32_t regionsOutside;   /* commits of a region that leaves the sensor */
    char first[128];           /* the first of them, for people; empty for none */
} ZerixSimMistakes;

/* The mistakes since the last call, or since the library was loaded. A camera that is written to
 * wrongly answers as hardware does: with a bus error, by ignoring the value, or with a region that
 * fits. So a test of an application, or of a driver, asks at its end.
 *   mistakes  out: the counts, which begin anew
 *   ZERIX_SIM_BAD_PARAMETER  mistakes is null */
ZERIX_API uint32_t ZerixSim_TakeMistakes(ZerixSimMistakes *mistakes);

/* A write to a camera's register. */
typedef struct ZerixSimWrite {
    uint32_t address; /* bytes, in the camera's address space */
    uint32_t value;   /* in host order */
} ZerixSimWrite;

/* The register writes that a camera has seen since the last call, oldest first.
 *   writes  out: as many as fit
 *   count   in: the room. out: how many there were, which may be more than fitted (the last 65,536
 *           are kept)
 *   ZERIX_SIM_NO_SUCH_CAMERA  there is none
 *   ZERIX_SIM_BAD_PARAMETER   a pointer is null */
ZERIX_API uint32_t ZerixSim_TakeWrites(uint32_t camera, ZerixSimWrite *writes, uint32_t *count);

#ifdef __cplusplus
}
#endif

#endif

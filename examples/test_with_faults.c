/* A test of an application's own: how does it bear a lost packet, and a cable that is pulled out?
 * It runs on the virtual bus: ZERIX_BUS=simulated ./test_with_faults */
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>

#include "arrivals.h"
#include "zerix/zerix.h"
#include "zerix/zerix_sim.h"

enum { kFrames = 3 };

typedef struct Session {
    ZerixHandle camera;
    Zerix_Frame frames[kFrames];
    uint32_t errors[kFrames];
    Arrivals done;
} Session;

static void FrameDone(void *userPointer, uint32_t userData, uint32_t error, uint32_t flags)
{
    Session *session = userPointer;
    (void)flags;
    session->errors[userData] = error;
    OneArrived(&session->done);
}

/* The camera begins no frame without credit, so what befalls which frame is certain. */
static uint32_t TakeFrames(Session *session)
{
    uint32_t error = Zerix_SetStreaming(session->camera, 1);
    ZerixSim_InjectFault(0, "lose packet at frame 2 packet 5");
    for (uint32_t i = 0; i < 2 && error == ZERIX_SUCCESS; ++i) {
        ZerixSim_GiveCredit(0, 1);
        if (!AwaitArrivals(&session->done, i + 1, 60))
            error = ZERIX_ERROR_CAMERA_FAULT;
    }
    ZerixSim_Unplug(0);
    if (error == ZERIX_SUCCESS && !AwaitArrivals(&session->done, kFrames, 60))
        error = ZERIX_ERROR_CAMERA_FAULT;
    return error;
}

static uint32_t WorkWith(ZerixHandle camera)
{
    Session session = {.camera = camera};
    uint32_t size = 0;
    uint32_t error = Zerix_GetInfo(camera, zinfImageSize, &size);
    if (error != ZERIX_SUCCESS)
        return error;
    InitArrivals(&session.done);
    for (uint32_t i = 0; i < kFrames && error == ZERIX_SUCCESS; ++i) {
        session.frames[i].pBuffer = malloc(size);
        session.frames[i].bufferSize = size;
        error = Zerix_QueueFrame(camera, &session.frames[i], FrameDone, ZERIX_FLAG_FRAME_DONE,
                                 &session, i);
    }
    if (error == ZERIX_SUCCESS)
        error = TakeFrames(&session);
    printf("the frames' errors: %" PRIu32 ", %" PRIu32 ", %" PRIu32 "\n", session.errors[0],
           session.errors[1], session.errors[2]);
    Zerix_Abort(camera);
    for (uint32_t i = 0; i < kFrames; ++i)
        free(session.frames[i].pBuffer);
    return error;
}

/* Once all is closed, nothing may be held on the bus. */
static uint32_t CountHeld(void)
{
    ZerixSimHeld held = {0};
    ZerixSim_GetHeld(&held);
    return held.openHandles + held.channels + held.bandwidthHandles + held.resourcesHandles +
           held.queuedBuffers + held.pendingRequests + held.threads;
}

int main(void)
{
    ZerixCameraListItem table[10];
    uint32_t count = 10;
    ZerixHandle camera = NULL;
    if (ZerixSim_ChooseRack("default") != ZERIX_SIM_OK ||
        ZerixSim_GiveCredit(0, 0) != ZERIX_SIM_OK) {
        fprintf(stderr, "%s\n", ZerixSim_LastErrorText());
        return 1;
    }
    uint32_t error = Zerix_LoadDriver();
    if (error == ZERIX_SUCCESS)
        error = Zerix_ListCameras(table, &count);
    if (error == ZERIX_SUCCESS)
        error = Zerix_OpenCamera(0, &camera);
    if (error == ZERIX_SUCCESS) {
        error = WorkWith(camera);
        Zerix_CloseCamera(camera);
    }
    Zerix_ReleaseDriver();
    printf("held on the bus: %" PRIu32 "\n", CountHeld());
    if (error != ZERIX_SUCCESS)
        fprintf(stderr, "error %" PRIu32 "\n", error);
    return error == ZERIX_SUCCESS ? 0 : 1;
}

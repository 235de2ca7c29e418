/* Exposes when told to: by a command of the program, and by a pulse on the camera's trigger line.
 * The pulses of this program are the virtual bus's, so it runs there alone: ZERIX_BUS=simulated
 * ./trigger */
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>

#include "arrivals.h"
#include "zerix/zerix.h"
#include "zerix/zerix_sim.h"

enum { kFreeRunning = 0, kTriggerLine = 1, kTriggerCommand = 5 };

typedef struct Session {
    ZerixHandle camera;
    uint32_t place; /* on the virtual bus */
    Zerix_Frame frame;
    Arrivals exposed;
    Arrivals done;
} Session;

/* Expose done comes first: from then on the specimen may move. */
static void Told(void *userPointer, uint32_t userData, uint32_t error, uint32_t flags)
{
    Session *session = userPointer;
    (void)userData;
    if (flags == ZERIX_FLAG_EXPOSE_DONE)
        OneArrived(&session->exposed);
    else if (error == ZERIX_SUCCESS)
        OneArrived(&session->done);
}

static uint32_t UseTrigger(ZerixHandle camera, uint32_t type)
{
    Zerix_Settings settings;
    Zerix_CreateCameraSettingsStruct(&settings);
    uint32_t error = Zerix_ReadSettingsFromCam(camera, &settings);
    if (error == ZERIX_SUCCESS)
        error = Zerix_SetParam(&settings, zprmTriggerType, type);
    if (error == ZERIX_SUCCESS)
        error = Zerix_SendSettingsToCam(camera, &settings);
    Zerix_ReleaseCameraSettingsStruct(&settings);
    return error;
}

static uint32_t FireLine(uint32_t place)
{
    return ZerixSim_FireTrigger(place) == ZERIX_SIM_OK ? ZERIX_SUCCESS : ZERIX_ERROR_NOT_SUPPORTED;
}

/* A frame is queued before the camera is triggered, so that the image finds it. */
static uint32_t TakeOne(Session *session, uint32_t type)
{
    const uint32_t before = session->done.count;
    uint32_t error = Zerix_QueueFrame(session->camera, &session->frame, Told,
                                      ZERIX_FLAG_FRAME_DONE | ZERIX_FLAG_EXPOSE_DONE, session, 0);
    if (error == ZERIX_SUCCESS)
        error = type == kTriggerCommand ? Zerix_Trigger(session->camera) : FireLine(session->place);
    if (error == ZERIX_SUCCESS && !AwaitArrivals(&session->done, before + 1, 60))
        error = ZERIX_ERROR_CAMERA_FAULT;
    return error;
}

static uint32_t TakeSome(Session *session, uint32_t type, uint32_t count)
{
    uint32_t error = UseTrigger(session->camera, type);
    if (error == ZERIX_SUCCESS)
        error = Zerix_SetStreaming(session->camera, 1);
    for (uint32_t i = 0; i < count && error == ZERIX_SUCCESS; ++i)
        error = TakeOne(session, type);
    Zerix_Abort(session->camera);
    Zerix_SetStreaming(session->camera, 0);
    return error;
}

static uint32_t WorkWith(ZerixHandle camera, uint32_t place)
{
    Session session = {.camera = camera, .place = place};
    uint32_t error = Zerix_GetInfo(camera, zinfImageSize, &session.frame.bufferSize);
    if (error != ZERIX_SUCCESS)
        return error;
    session.frame.pBuffer = malloc(session.frame.bufferSize);
    InitArrivals(&session.exposed);
    InitArrivals(&session.done);
    error = TakeSome(&session, kTriggerCommand, 3);
    const uint32_t byCommand = session.done.count;
    if (error == ZERIX_SUCCESS)
        error = TakeSome(&session, kTriggerLine, 2);
    if (error == ZERIX_SUCCESS)
        error = UseTrigger(camera, kFreeRunning);
    printf("%" PRIu32 " frames by command, %" PRIu32 " by the line, %" PRIu32 " exposures told\n",
           byCommand, session.done.count - byCommand, session.exposed.count);
    free(session.frame.pBuffer);
    return error;
}

int main(void)
{
    ZerixCameraListItem table[10];
    uint32_t count = 10;
    uint32_t place = 0;
    ZerixHandle camera = NULL;
    uint32_t error = Zerix_LoadDriver();
    if (error == ZERIX_SUCCESS)
        error = Zerix_ListCameras(table, &count);
    if (error == ZERIX_SUCCESS &&
        (count == 0 || ZerixSim_FindCamera(table[0].uniqueId, &place) != ZERIX_SIM_OK))
        error = ZERIX_ERROR_BAD_CAMERA_ID;
    if (error == ZERIX_SUCCESS)
        error = Zerix_OpenCamera(0, &camera);
    if (error == ZERIX_SUCCESS) {
        error = WorkWith(camera, place);
        Zerix_CloseCamera(camera);
    }
    Zerix_ReleaseDriver();
    if (error != ZERIX_SUCCESS)
        fprintf(stderr, "error %" PRIu32 "\n", error);
    return error == ZERIX_SUCCESS ? 0 : 1;
}

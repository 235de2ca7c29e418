/* Changes the exposure between two exact frames: settings stand in the same queue as the frames.
 * Try it without a camera: ZERIX_BUS=simulated ./settings_between_frames */
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>

#include "arrivals.h"
#include "zerix/zerix.h"
#include "zerix/zerix_sim.h"

enum { kShortFrames = 3, kFrames = 6, kSettings = 1000 };

typedef struct Session {
    ZerixHandle camera;
    Zerix_Frame frames[kFrames];
    Zerix_Settings shortOnes;
    Zerix_Settings longOnes;
    Arrivals told;
    uint32_t failures;
} Session;

/* A virtual camera on the fast clock would expose frames ahead of our callbacks, so it begins one
 * at a time. A real camera has no time to, and needs no such leave. */
static void LetItExposeOne(void) { ZerixSim_GiveCredit(0, 1); }

static void Done(void *userPointer, uint32_t userData, uint32_t error, uint32_t flags)
{
    Session *session = userPointer;
    (void)flags;
    if (userData == kSettings)
        printf("settings sent\n");
    else
        printf("frame %" PRIu32 "\n", userData);
    if (error != ZERIX_SUCCESS)
        ++session->failures;
    if (userData != kShortFrames - 1) /* behind which the settings stand */
        LetItExposeOne();
    OneArrived(&session->told);
}

/* The queue keeps a pointer to the record: each change needs a record of its own, which lives until
 * it has been sent. */
static uint32_t MakeRecord(ZerixHandle camera, Zerix_Settings *settings, uint64_t nanoseconds)
{
    uint32_t error = Zerix_CreateCameraSettingsStruct(settings);
    if (error == ZERIX_SUCCESS)
        error = Zerix_ReadDefaultSettings(camera, settings);
    if (error == ZERIX_SUCCESS)
        error = Zerix_SetParam(settings, zprmImageFormat, zfmtMono8);
    if (error == ZERIX_SUCCESS)
        error = Zerix_SetParam64(settings, zprm64Exposure, nanoseconds);
    return error;
}

static uint32_t QueueFrames(Session *session, uint32_t first, uint32_t end)
{
    uint32_t error = ZERIX_SUCCESS;
    for (uint32_t i = first; i < end && error == ZERIX_SUCCESS; ++i)
        error = Zerix_QueueFrame(session->camera, &session->frames[i], Done, ZERIX_FLAG_FRAME_DONE,
                                 session, i);
    return error;
}

/* Three frames of 4 ms, then three of 16 ms. */
static uint32_t QueueAll(Session *session)
{
    uint32_t error = Zerix_SendSettingsToCam(session->camera, &session->shortOnes);
    if (error == ZERIX_SUCCESS)
        error = QueueFrames(session, 0, kShortFrames);
    if (error == ZERIX_SUCCESS)
        error = Zerix_QueueSettings(session->camera, &session->longOnes, Done,
                                    ZERIX_FLAG_FRAME_DONE, session, kSettings);
    if (error == ZERIX_SUCCESS)
        error = QueueFrames(session, kShortFrames, kFrames);
    return error;
}

static double MeanOf(const Zerix_Frame *frame)
{
    const uint8_t *pixels = frame->pBuffer;
    uint64_t sum = 0;
    for (uint32_t i = 0; i < frame->size; ++i)
        sum += pixels[i];
    return (double)sum / (double)frame->size;
}

static uint32_t Run(Session *session)
{
    uint32_t error = QueueAll(session);
    ZerixSim_GiveCredit(0, 0);
    if (error == ZERIX_SUCCESS)
        error = Zerix_SetStreaming(session->camera, 1);
    LetItExposeOne();
    if (error == ZERIX_SUCCESS && !AwaitArrivals(&session->told, kFrames + 1, 60))
        error = ZERIX_ERROR_CAMERA_FAULT;
    Zerix_Abort(session->camera);
    Zerix_SetStreaming(session->camera, 0);
    if (error == ZERIX_SUCCESS && session->failures != 0)
        error = ZERIX_ERROR_DATA_MISSING;
    if (error == ZERIX_SUCCESS) {
        printf("means:");
        for (uint32_t i = 0; i < kFrames; ++i)
            printf(" %.0f", MeanOf(&session->frames[i]));
        printf("\n");
    }
    return error;
}

static uint32_t WorkWith(ZerixHandle camera)
{
    Session session = {.camera = camera};
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t error = Zerix_GetInfo(camera, zinfCcdWidth, &width);
    if (error == ZERIX_SUCCESS)
        error = Zerix_GetInfo(camera, zinfCcdHeight, &height);
    if (error != ZERIX_SUCCESS)
        return error;
    InitArrivals(&session.told);
    for (uint32_t i = 0; i < kFrames; ++i) {
        session.frames[i].bufferSize = Zerix_CalcImageSize(zfmtMono8, width, height);
        session.frames[i].pBuffer = malloc(session.frames[i].bufferSize);
    }
    error = MakeRecord(camera, &session.shortOnes, 4000000);
    if (error == ZERIX_SUCCESS)
        error = MakeRecord(camera, &session.longOnes, 16000000);
    if (error == ZERIX_SUCCESS)
        error = Run(&session);
    Zerix_ReleaseCameraSettingsStruct(&session.shortOnes);
    Zerix_ReleaseCameraSettingsStruct(&session.longOnes);
    for (uint32_t i = 0; i < kFrames; ++i)
        free(session.frames[i].pBuffer);
    return error;
}

int main(void)
{
    ZerixCameraListItem table[10];
    uint32_t count = 10;
    ZerixHandle camera = NULL;
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
    if (error != ZERIX_SUCCESS)
        fprintf(stderr, "error %" PRIu32 "\n", error);
    return error == ZERIX_SUCCESS ? 0 : 1;
}

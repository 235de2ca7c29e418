/* Takes frames without a gap: four buffers go round, each queued again by its own callback. Try it
 * without a camera:
 *     ZERIX_BUS=simulated ./queue_frames */
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>

#include "arrivals.h"
#include "zerix/zerix.h"

enum { kBuffers = 4, kFrames = 20 };

typedef struct Recording {
    ZerixHandle camera;
    Zerix_Frame frames[kBuffers];
    Arrivals done;
    /* The rest belongs to the callback, which never runs twice at the same time. */
    uint32_t queued;
    uint32_t damaged;
    uint32_t missed;
    uint16_t nextNumber;
} Recording;

/* Runs on a thread of the library: it keeps the next image waiting, so long work goes elsewhere. */
static void FrameDone(void *userPointer, uint32_t userData, uint32_t error, uint32_t flags)
{
    Recording *recording = userPointer;
    Zerix_Frame *frame = &recording->frames[userData];
    (void)flags;
    if (error != ZERIX_SUCCESS)
        ++recording->damaged;
    /* The number goes round at 65,536. A jump tells of images that found no frame in the queue. */
    recording->missed += (uint16_t)(frame->frameNumber - recording->nextNumber);
    recording->nextNumber = (uint16_t)(frame->frameNumber + 1);

    /* Here the pixels are used or copied; after the next line they are the library's again. */
    if (recording->queued < kFrames &&
        Zerix_QueueFrame(recording->camera, frame, FrameDone, ZERIX_FLAG_FRAME_DONE, recording,
                         userData) == ZERIX_SUCCESS)
        ++recording->queued;
    OneArrived(&recording->done);
}

static uint32_t Record(Recording *recording)
{
    uint32_t error = ZERIX_SUCCESS;
    for (uint32_t i = 0; i < kBuffers && error == ZERIX_SUCCESS; ++i) {
        error = Zerix_QueueFrame(recording->camera, &recording->frames[i], FrameDone,
                                 ZERIX_FLAG_FRAME_DONE, recording, i);
        ++recording->queued;
    }
    if (error == ZERIX_SUCCESS)
        error = Zerix_SetStreaming(recording->camera, 1);
    if (error == ZERIX_SUCCESS && !AwaitArrivals(&recording->done, kFrames, 60))
        error = ZERIX_ERROR_CAMERA_FAULT;
    /* After the abort no callback comes any more and the buffers are ours again. */
    Zerix_Abort(recording->camera);
    Zerix_SetStreaming(recording->camera, 0);
    return error;
}

static uint32_t WorkWith(ZerixHandle camera)
{
    Recording recording = {.camera = camera};
    uint32_t size = 0;
    uint32_t error = Zerix_GetInfo(camera, zinfImageSize, &size);
    if (error != ZERIX_SUCCESS)
        return error;
    InitArrivals(&recording.done);
    for (uint32_t i = 0; i < kBuffers; ++i) {
        recording.frames[i].pBuffer = malloc(size);
        recording.frames[i].bufferSize = recording.frames[i].pBuffer == NULL ? 0 : size;
    }
    error = Record(&recording);
    printf("%" PRIu32 " frames, %" PRIu32 " damaged, %" PRIu32 " missed\n", recording.done.count,
           recording.damaged, recording.missed);
    for (uint32_t i = 0; i < kBuffers; ++i)
        free(recording.frames[i].pBuffer);
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

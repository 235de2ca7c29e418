/* Lists the cameras, opens the first and takes one picture with it. Try it without a camera:
 *     ZERIX_BUS=simulated ./list_and_grab */
#include <stdio.h>
#include <stdlib.h>

#include "zerix/zerix.h"

static int TakePicture(ZerixHandle camera)
{
    uint32_t size = 0;
    Zerix_Frame frame = {0};
    uint32_t error = Zerix_GetInfo(camera, zinfImageSize, &size);
    if (error != ZERIX_SUCCESS)
        return (int)error;

    frame.pBuffer = malloc(size);
    frame.bufferSize = size;
    error = Zerix_GrabFrame(camera, &frame);
    if (error == ZERIX_SUCCESS)
        printf("one picture of %u x %u pixels, %u bits\n", frame.width, frame.height,
               frame.bitDepth);
    free(frame.pBuffer);
    return (int)error;
}

int main(void)
{
    ZerixCameraListItem table[10];
    uint32_t count = 10;
    ZerixHandle camera = NULL;
    uint32_t error = Zerix_LoadDriver();
    if (error == ZERIX_SUCCESS)
        error = Zerix_ListCameras(table, &count);
    if (error == ZERIX_SUCCESS) {
        printf("%u cameras\n", count);
        error = Zerix_OpenCamera(0, &camera);
    }
    if (error == ZERIX_SUCCESS) {
        error = (uint32_t)TakePicture(camera);
        Zerix_CloseCamera(camera);
    }
    Zerix_ReleaseDriver();
    if (error != ZERIX_SUCCESS)
        fprintf(stderr, "error %u\n", error);
    return error == ZERIX_SUCCESS ? 0 : 1;
}

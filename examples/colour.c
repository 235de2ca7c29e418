/* Takes a finished picture with a camera that has a colour mask: interpolated, and with the white
 * balance of the whole image. Try it without a camera:
 *     ZERIX_BUS=simulated ./colour */
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>

#include "zerix/zerix.h"

/* The library runs each picture through its filters before it is delivered. */
static uint32_t AskForColour(ZerixHandle camera, Zerix_Settings *settings)
{
    uint32_t error = Zerix_ReadDefaultSettings(camera, settings);
    if (error == ZERIX_SUCCESS)
        error = Zerix_SetParam(settings, zprmDoPostProcessing, 1);
    if (error == ZERIX_SUCCESS)
        error = Zerix_SetParam(settings, zprmPostProcessBayerAlgorithm, 4);
    if (error == ZERIX_SUCCESS)
        error = Zerix_SetParam(settings, zprmPostProcessImageFormat, zfmtRgb24);
    if (error == ZERIX_SUCCESS)
        error = Zerix_SetParam(settings, zprmImageFormat, zfmtBayer8);
    if (error == ZERIX_SUCCESS)
        error = Zerix_SendSettingsToCam(camera, settings);
    return error;
}

/* Measures a region that should look grey; the gains are then in the record and in use. */
static uint32_t Balance(ZerixHandle camera, Zerix_Settings *settings)
{
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t error = Zerix_GetInfo(camera, zinfImageWidth, &width);
    if (error == ZERIX_SUCCESS)
        error = Zerix_GetInfo(camera, zinfImageHeight, &height);
    if (error == ZERIX_SUCCESS)
        error = Zerix_WhiteBalance(settings, 0, 0, width, height);
    return error;
}

static double MeanOf(const Zerix_Frame *frame, uint32_t colour)
{
    const uint8_t *bytes = frame->pBuffer;
    uint64_t sum = 0;
    for (uint32_t i = colour; i < frame->size; i += 3)
        sum += bytes[i];
    return (double)sum * 3 / (double)frame->size;
}

/* The picture is larger than what the camera sends: three bytes a pixel. */
static uint32_t TakePicture(ZerixHandle camera)
{
    Zerix_Frame frame = {0};
    uint32_t error = Zerix_GetInfo(camera, zinfPostProcessImageSize, &frame.bufferSize);
    if (error != ZERIX_SUCCESS)
        return error;
    frame.pBuffer = malloc(frame.bufferSize);
    error = Zerix_GrabFrame(camera, &frame);
    if (error == ZERIX_SUCCESS)
        printf("%" PRIu32 " x %" PRIu32 " in format %" PRIu32 "; red %.0f, green %.0f, blue %.0f\n",
               frame.width, frame.height, frame.format, MeanOf(&frame, 0), MeanOf(&frame, 1),
               MeanOf(&frame, 2));
    free(frame.pBuffer);
    return error;
}

static uint32_t WorkWith(ZerixHandle camera)
{
    Zerix_Settings settings;
    Zerix_CreateCameraSettingsStruct(&settings);
    uint32_t error = AskForColour(camera, &settings);
    if (error == ZERIX_SUCCESS)
        error = TakePicture(camera);
    if (error == ZERIX_SUCCESS)
        error = Balance(camera, &settings);
    if (error == ZERIX_SUCCESS)
        error = TakePicture(camera);
    Zerix_ReleaseCameraSettingsStruct(&settings);
    return error;
}

/* The first camera with a colour mask. */
static uint32_t OpenColourCamera(uint32_t count, ZerixHandle *camera)
{
    for (uint32_t id = 0; id < count; ++id) {
        uint32_t type = 0;
        uint32_t error = Zerix_OpenCamera(id, camera);
        if (error == ZERIX_SUCCESS)
            error = Zerix_GetInfo(*camera, zinfCcdType, &type);
        if (error == ZERIX_SUCCESS && type == 1)
            return ZERIX_SUCCESS;
        Zerix_CloseCamera(*camera);
    }
    return ZERIX_ERROR_BAD_CAMERA_ID;
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
        error = OpenColourCamera(count, &camera);
    if (error == ZERIX_SUCCESS) {
        error = WorkWith(camera);
        Zerix_CloseCamera(camera);
    }
    Zerix_ReleaseDriver();
    if (error != ZERIX_SUCCESS)
        fprintf(stderr, "error %" PRIu32 "\n", error);
    return error == ZERIX_SUCCESS ? 0 : 1;
}

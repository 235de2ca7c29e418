/* Asks what a camera allows, changes some settings, sends them and reads them back. Try it without
 * a camera: ZERIX_BUS=simulated ./settings */
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>

#include "zerix/zerix.h"

/* A key's values are a list, a range, or both; a list goes first. */
static uint32_t PrintAllowed(const Zerix_Settings *settings, const char *name, uint32_t key)
{
    uint32_t values[30];
    int32_t count = 30;
    uint32_t least = 0;
    uint32_t most = 0;
    uint32_t error = ZERIX_SUCCESS;
    printf("%s:", name);
    if (Zerix_IsSparseTable(settings, key) == ZERIX_SUCCESS) {
        error = Zerix_GetParamSparseTable(settings, key, values, &count);
        for (int32_t i = 0; error == ZERIX_SUCCESS && i < count; ++i)
            printf(" %" PRIu32, values[i]);
    } else {
        error = Zerix_GetParamMin(settings, key, &least);
        if (error == ZERIX_SUCCESS)
            error = Zerix_GetParamMax(settings, key, &most);
        printf(" %" PRIu32 " to %" PRIu32, least, most);
    }
    printf("\n");
    return error;
}

/* 40 ms, 640 x 480 pixels of two by two, and as cold as the camera can. */
static uint32_t ChangeSettings(ZerixHandle camera, Zerix_Settings *settings)
{
    uint32_t error = Zerix_SetParam64(settings, zprm64Exposure, 40000000);
    if (error == ZERIX_SUCCESS)
        error = Zerix_SetParam(settings, zprmBinning, 2);
    if (error == ZERIX_SUCCESS)
        error = Zerix_SetParam(settings, zprmRoiWidth, 640);
    if (error == ZERIX_SUCCESS)
        error = Zerix_SetParam(settings, zprmRoiHeight, 480);
    int32_t coldest = 0;
    if (error == ZERIX_SUCCESS &&
        Zerix_IsParamS32Supported(camera, zprmS32RegulatedCoolingTemp) == ZERIX_SUCCESS) {
        error = Zerix_GetParamS32Min(settings, zprmS32RegulatedCoolingTemp, &coldest);
        if (error == ZERIX_SUCCESS)
            error = Zerix_SetParamS32(settings, zprmS32RegulatedCoolingTemp, coldest);
    }
    if (error == ZERIX_SUCCESS)
        error = Zerix_SendSettingsToCam(camera, settings);
    return error;
}

static uint32_t PrintSettings(ZerixHandle camera)
{
    Zerix_Settings settings;
    uint64_t exposure = 0;
    uint32_t binning = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    int32_t temperature = 0;
    Zerix_CreateCameraSettingsStruct(&settings);
    uint32_t error = Zerix_ReadSettingsFromCam(camera, &settings);
    if (error == ZERIX_SUCCESS) {
        Zerix_GetParam64(&settings, zprm64Exposure, &exposure);
        Zerix_GetParam(&settings, zprmBinning, &binning);
        Zerix_GetParam(&settings, zprmRoiWidth, &width);
        Zerix_GetParam(&settings, zprmRoiHeight, &height);
        printf("the camera has %" PRIu64 " ns, %" PRIu32 " x %" PRIu32 " pixels, binning %" PRIu32,
               exposure, width, height, binning);
        if (Zerix_GetParamS32(&settings, zprmS32RegulatedCoolingTemp, &temperature) ==
            ZERIX_SUCCESS)
            printf(", cools to %" PRId32 " degrees", temperature);
        printf("\n");
    }
    Zerix_ReleaseCameraSettingsStruct(&settings);
    return error;
}

static uint32_t WorkWith(ZerixHandle camera)
{
    Zerix_Settings settings;
    Zerix_CreateCameraSettingsStruct(&settings);
    uint32_t error = Zerix_ReadDefaultSettings(camera, &settings);
    if (error == ZERIX_SUCCESS)
        error = PrintAllowed(&settings, "binning", zprmBinning);
    if (error == ZERIX_SUCCESS)
        error = PrintAllowed(&settings, "width", zprmRoiWidth);
    if (error == ZERIX_SUCCESS) {
        printf("binning 5 is answered with %" PRIu32 "\n",
               Zerix_SetParam(&settings, zprmBinning, 5));
        error = ChangeSettings(camera, &settings);
    }
    if (error == ZERIX_SUCCESS)
        error = PrintSettings(camera);
    Zerix_ReleaseCameraSettingsStruct(&settings);
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

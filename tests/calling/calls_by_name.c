/* Calls Zerix.dll as the applications do that know it by its name alone: loaded at run time, every
 * export looked up. Lists the cameras of the virtual bus, opens one, sets it up, grabs a picture
 * and closes it. Argument: the list of the exports. Prints what it did; 0 if all of it went well.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <windows.h>

#include "zerix/zerix.h"
#include "zerix/zerix_errors.h"
#include "zerix/zerix_keys.h"

static HMODULE library;
static int failures;

static FARPROC Find(const char *name)
{
    const FARPROC function = GetProcAddress(library, name);
    if (function == NULL) {
        printf("%s is missing\n", name);
        ++failures;
    }
    return function;
}

/* The function of that name, as its header declares it. */
#define CALL(name) ((__typeof__(&name))(void (*)(void))Find(#name))

static void Expect(const char *what, uint32_t found, uint32_t expected)
{
    if (found == expected)
        return;
    printf("%s: %u instead of %u\n", what, (unsigned)found, (unsigned)expected);
    ++failures;
}

/* Every name of the list's first part. */
static void FindAll(const char *listPath)
{
    char line[256];
    int isPart = 0;
    int count = 0;
    FILE *const list = fopen(listPath, "r");
    if (list == NULL) {
        printf("no list %s\n", listPath);
        ++failures;
        return;
    }
    while (fgets(line, sizeof line, list) != NULL) {
        line[strcspn(line, "\r\n")] = '\0';
        if (line[0] == '[')
            isPart = strcmp(line, "[zerix functions]") == 0;
        else if (isPart && line[0] != '\0' && line[0] != '#') {
            Find(line);
            ++count;
        }
    }
    fclose(list);
    printf("%d functions found\n", count);
}

/* And every name of the library's own table, which has the classes too: each is where the table
 * says. */
static void FindWhatTheTableHas(void)
{
    const char *const start = (const char *)library;
    const IMAGE_DOS_HEADER *const stub = (const void *)start;
    const IMAGE_NT_HEADERS *const headers = (const void *)(start + stub->e_lfanew);
    const IMAGE_DATA_DIRECTORY *const place =
        &headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    const IMAGE_EXPORT_DIRECTORY *const table = (const void *)(start + place->VirtualAddress);
    const DWORD *const names = (const void *)(start + table->AddressOfNames);
    const WORD *const numbers = (const void *)(start + table->AddressOfNameOrdinals);
    const DWORD *const places = (const void *)(start + table->AddressOfFunctions);
    DWORD at;
    for (at = 0; at < table->NumberOfNames; ++at) {
        const char *const name = start + names[at];
        if ((uintptr_t)Find(name) != (uintptr_t)(start + places[numbers[at]])) {
            printf("%s is elsewhere\n", name);
            ++failures;
        }
    }
    printf("%lu exports found\n", (unsigned long)table->NumberOfNames);
}

static void SetUp(ZerixHandle camera)
{
    Zerix_Settings settings;
    uint32_t value = 0;
    Expect("create", CALL(Zerix_CreateCameraSettingsStruct)(&settings), 0);
    Expect("defaults", CALL(Zerix_ReadDefaultSettings)(camera, &settings), 0);
    Expect("set binning", CALL(Zerix_SetParam)(&settings, zprmBinning, 2), 0);
    Expect("set exposure", CALL(Zerix_SetParam64)(&settings, zprm64Exposure, 20000000), 0);
    Expect("send", CALL(Zerix_SendSettingsToCam)(camera, &settings), 0);
    Expect("read", CALL(Zerix_ReadSettingsFromCam)(camera, &settings), 0);
    Expect("get binning", CALL(Zerix_GetParam)(&settings, zprmBinning, &value), 0);
    Expect("binning", value, 2);
    Expect("release", CALL(Zerix_ReleaseCameraSettingsStruct)(&settings), 0);
}

static void Grab(ZerixHandle camera)
{
    uint32_t size = 0;
    uint32_t at;
    uint64_t sum = 0;
    Zerix_Frame frame;
    Expect("size", CALL(Zerix_GetInfo)(camera, zinfImageSize, &size), 0);
    memset(&frame, 0, sizeof frame);
    frame.bufferSize = size;
    frame.pBuffer = malloc(size);
    Expect("grab", CALL(Zerix_GrabFrame)(camera, &frame), 0);
    Expect("filled", frame.filled, 1);
    Expect("bytes", frame.size, size);
    for (at = 0; at < frame.size; ++at)
        sum += ((const uint8_t *)frame.pBuffer)[at];
    printf("one picture of %u x %u, mean %u\n", (unsigned)frame.width, (unsigned)frame.height,
           (unsigned)(sum / size));
    free(frame.pBuffer);
}

static void RunSession(void)
{
    ZerixCameraListItem rows[8];
    uint32_t count = 8;
    ZerixHandle camera = NULL;
    char name[64] = "";
    Expect("early list", CALL(Zerix_ListCameras)(rows, &count), ZERIX_ERROR_NOT_LOADED);
    Expect("load", CALL(Zerix_LoadDriver)(), 0);
    Expect("load again", CALL(Zerix_LoadDriver)(), ZERIX_ERROR_ALREADY_LOADED);
    Expect("list", CALL(Zerix_ListCameras)(rows, &count), 0);
    Expect("cameras", count, 3);
    Expect("open", CALL(Zerix_OpenCamera)(0, &camera), 0);
    Expect("model", CALL(Zerix_GetCameraModelString)(camera, name, sizeof name), 0);
    printf("%s\n", name);
    SetUp(camera);
    Grab(camera);
    Expect("close", CALL(Zerix_CloseCamera)(camera), 0);
    Expect("close again", CALL(Zerix_CloseCamera)(camera), ZERIX_ERROR_BAD_HANDLE);
    CALL(Zerix_ReleaseDriver)();
}

int main(int argumentCount, char **arguments)
{
    library = LoadLibraryA("Zerix.dll");
    if (library == NULL || argumentCount != 2) {
        printf("Zerix.dll can't be loaded: %lu\n", GetLastError());
        return 1;
    }
    FindAll(arguments[1]);
    FindWhatTheTableHas();
    RunSession();
    Expect("free", FreeLibrary(library) != 0, 1);
    printf("%d failures\n", failures);
    return failures == 0 ? 0 : 1;
}

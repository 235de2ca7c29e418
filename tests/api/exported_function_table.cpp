// The table of the exported functions.
#include "tests/api/exported_function_table.h"

#include <gtest/gtest.h>

namespace zerix::api {

constexpr KeyFamily kUnsignedKeys = {
    zprmFan,      "zprmFan", zprmDither,
    "zprmDither", 53,        "InternalParam32KeyAsString() - Unknown parameter"};
constexpr KeyFamily kSignedKeys = {1, "zprmS32AbsoluteOffset",
                                   2, "zprmS32RegulatedCoolingTemp",
                                   3, "InternalParamS32KeyAsString() - Unknown parameter"};
constexpr KeyFamily k64BitKeys = {0, "zprm64Exposure",
                                  3, "zprm64NormIntensGain",
                                  4, "InternalParam64KeyAsString() - Unknown parameter"};
constexpr KeyFamily kInfoKeys = {4,  "zinfCcd",
                                 17, "zinfIntensifierModel",
                                 44, "InternalGetInfoKeyAsString() - Unknown info key"};

namespace {

constexpr uint32_t kOutside = 77; // what an output holds before a call

// An output that a failing call must leave alone.
uint32_t Checked(uint32_t code, bool isUntouched)
{
    EXPECT_TRUE(code == 0 || isUntouched);
    return code;
}

template <auto kCall>
uint32_t OfCamera(const Given &given)
{
    return kCall(given.Camera());
}

template <auto kCall>
uint32_t OfCameraAndKey(const Given &given)
{
    return kCall(given.Camera(), given.key);
}

template <auto kCall>
uint32_t OfCameraAndRecord(const Given &given)
{
    return kCall(given.Camera(), given.Settings(1));
}

template <auto kCall>
uint32_t OfCameraAndFrame(const Given &given)
{
    Zerix_Frame frame = {};
    return kCall(given.Camera(), given.Pointer(1, &frame));
}

template <auto kCall>
uint32_t OfText(const Given &given)
{
    char text[64] = {kOutside};
    const uint32_t code = kCall(given.Camera(), given.Pointer(1, text), sizeof(text));
    return Checked(code, text[0] == kOutside);
}

template <auto kCall, typename T>
uint32_t Reads(const Given &given)
{
    T value = kOutside;
    const uint32_t code = kCall(given.Settings(0), given.key, given.Pointer(1, &value));
    return Checked(code, value == kOutside);
}

template <auto kCall>
uint32_t Writes(const Given &given)
{
    return kCall(given.Settings(0), given.key, 1);
}

template <auto kCall>
uint32_t Asks(const Given &given)
{
    return kCall(given.Settings(0), given.key);
}

template <auto kCall, typename T>
uint32_t Lists(const Given &given)
{
    T entries[4] = {kOutside};
    int32_t size = 4;
    const uint32_t code =
        kCall(given.Settings(0), given.key, given.Pointer(1, entries), given.Pointer(2, &size));
    return Checked(code, entries[0] == kOutside);
}

// Regions that are too small end the call behind its other checks.
template <auto kCall>
uint32_t OfTinyRegion(const Given &given)
{
    return kCall(given.Settings(0), 0, 0, 15, 15);
}

uint32_t LibVersion(const Given &given)
{
    uint16_t numbers[3] = {kOutside, kOutside, kOutside};
    const uint32_t code =
        Zerix_LibVersion(given.Pointer(0, &numbers[0]), given.Pointer(1, &numbers[1]),
                         given.Pointer(2, &numbers[2]));
    return Checked(code,
                   numbers[0] == kOutside && numbers[1] == kOutside && numbers[2] == kOutside);
}

uint32_t Version(const Given &given)
{
    uint16_t numbers[2] = {kOutside, kOutside};
    const uint32_t code =
        Zerix_Version(given.Pointer(0, &numbers[0]), given.Pointer(1, &numbers[1]));
    return Checked(code, numbers[0] == kOutside && numbers[1] == kOutside);
}

uint32_t ListBusNodes(const Given &given)
{
    ZerixBusNode node = {};
    node.card = kOutside;
    uint32_t count = 1;
    const uint32_t code = Zerix_ListBusNodes(given.Pointer(0, &node), given.Pointer(1, &count));
    return Checked(code, node.card == kOutside && count == 1);
}

uint32_t ListCameras(const Given &given)
{
    ZerixCameraListItem row = {};
    row.cameraId = kOutside;
    uint32_t count = 1;
    const uint32_t code = Zerix_ListCameras(given.Pointer(0, &row), given.Pointer(1, &count));
    return Checked(code, row.cameraId == kOutside && count == 1);
}

uint32_t OpenNoCamera(const Given &given)
{
    ZerixHandle handle = nullptr;
    return Checked(Zerix_OpenCamera(1000, given.Pointer(0, &handle)), handle == nullptr);
}

uint32_t RegisterUnplugged(const Given &given)
{
    int userData = 0;
    return Zerix_RegisterUnpluggedCallback(given.Camera(),
                                           given.Pointer(
                                               1, +[](void *) {}),
                                           given.Pointer(2, &userData));
}

uint32_t FactoryDoor(const Given &given)
{
    return _Zerix_factory_reserved0(given.Camera(), 0, 0, 0, 0);
}

uint32_t SetFrameBuffers(const Given &given)
{
    Zerix_Frame *frames[1] = {};
    return Zerix_SetFrameBuffers(given.Camera(), given.Pointer(1, frames), 1);
}

uint32_t GetInfo(const Given &given)
{
    uint32_t value = kOutside;
    const uint32_t code = Zerix_GetInfo(given.Camera(), given.key, given.Pointer(1, &value));
    const bool isGap = given.key == kInfoKeys.beyond && code == ZERIX_ERROR_NOT_SUPPORTED;
    return Checked(code, value == (isGap ? 0 : kOutside));
}

void Nothing(void *, uint32_t, uint32_t, uint32_t) {}

// It stays queued behind the call.
uint32_t QueueFrame(const Given &given)
{
    static Zerix_Frame frame = {};
    int user = 0;
    return Zerix_QueueFrame(given.Camera(), given.Pointer(1, &frame), given.Pointer(2, &Nothing), 1,
                            given.Pointer(3, &user), 0);
}

uint32_t QueueSettings(const Given &given)
{
    int user = 0;
    return Zerix_QueueSettings(given.Camera(), given.Settings(1), given.Pointer(2, &Nothing), 1,
                               given.Pointer(3, &user), 0);
}

uint32_t StreamOn(const Given &given) { return Zerix_SetStreaming(given.Camera(), 1); }

// A picture without colour, which is copied.
uint32_t PostProcess(const Given &given)
{
    uint8_t from[4] = {1, 2, 3, 4};
    uint8_t to[4] = {kOutside};
    Zerix_Frame in = {};
    in.pBuffer = from;
    in.size = 4;
    Zerix_Frame out = {};
    out.pBuffer = to;
    out.bufferSize = 4;
    const uint32_t code = Zerix_PostProcessSingleFrame(
        given.Camera(), given.Settings(1), given.Pointer(2, &in), given.Pointer(3, &out));
    return Checked(code, to[0] == kOutside);
}

// What most calls have in common. A record that is read needs its camera open, and doesn't mind
// another process; the classes of a closed camera's keys are still told.
constexpr Answers kNoHandle = {9, 9};
constexpr Answers kBadSettings = {3, 3};
constexpr Answers kOneBehind = {0, 1};
constexpr Answers kNever = {1, 1};

ExportedFunction OfHandle(const char *name, uint32_t (*call)(const Given &),
                          std::vector<uint32_t> nulls, Answers inOrder = {0})
{
    return {.name = name,
            .call = call,
            .nulls = std::move(nulls),
            .inOrder = inOrder,
            .closed = kNoHandle,
            .held = kNoHandle};
}

ExportedFunction Unavailable(const char *name, uint32_t (*call)(const Given &))
{
    return {.name = name,
            .call = call,
            .nulls = {1, 1},
            .inOrder = kNever,
            .closed = kNever,
            .held = kNever};
}

ExportedFunction Getter(const char *name, const KeyFamily &keys, uint32_t (*call)(const Given &))
{
    return {.name = name,
            .call = call,
            .nulls = {2, 2},
            .keys = &keys,
            .inOrder = kOneBehind,
            .unsupported = 1,
            .closed = kBadSettings,
            .held = kOneBehind,
            .badRecord = 3,
            .endsAsRecordCheck = true};
}

// Setters look at the key before they look at the camera.
ExportedFunction Setter(const char *name, const KeyFamily &keys, uint32_t (*call)(const Given &))
{
    return {.name = name,
            .call = call,
            .nulls = {2},
            .keys = &keys,
            .inOrder = kOneBehind,
            .unsupported = 1,
            .closed = {3, 1},
            .held = kOneBehind,
            .badRecord = 3,
            .endsAsRecordCheck = true};
}

ExportedFunction ClassQuery(const char *name, const KeyFamily &keys,
                            uint32_t (*call)(const Given &), std::vector<uint32_t> nulls = {2})
{
    return {.name = name,
            .call = call,
            .nulls = std::move(nulls),
            .keys = &keys,
            .inOrder = kOneBehind,
            .unsupported = 1,
            .closed = kOneBehind,
            .held = kOneBehind,
            .badRecord = 3,
            .endsAsRecordCheck = true};
}

ExportedFunction NeverAList(const char *name, const KeyFamily &keys,
                            uint32_t (*call)(const Given &), std::vector<uint32_t> nulls)
{
    return {.name = name,
            .call = call,
            .nulls = std::move(nulls),
            .keys = &keys,
            .inOrder = kNever,
            .unsupported = 1,
            .closed = kNever,
            .held = kNever,
            .badRecord = 1};
}

ExportedFunction Support(const char *name, const KeyFamily &keys, uint32_t (*call)(const Given &))
{
    return {.name = name,
            .call = call,
            .nulls = {9},
            .keys = &keys,
            .inOrder = kOneBehind,
            .unsupported = 1,
            .closed = kNoHandle,
            .held = kNoHandle};
}

ExportedFunction Automatic(const char *name, uint32_t (*call)(const Given &))
{
    return {.name = name,
            .call = call,
            .nulls = {2},
            .inOrder = {32},
            .closed = kBadSettings,
            .held = {32},
            .badRecord = 3,
            .endsAsRecordCheck = true};
}

ExportedFunction AskingForExclusiveFirst(ExportedFunction row)
{
    row.asksForExclusiveFirst = true;
    return row;
}

ExportedFunction WithRecord(ExportedFunction row, uint32_t badRecord, bool endsAsRecordCheck)
{
    row.badRecord = badRecord;
    row.endsAsRecordCheck = endsAsRecordCheck;
    return row;
}

const ExportedFunction kTable[] = {
    {.name = "Zerix_LibVersion", .call = LibVersion, .nulls = {2, 2, 2}},
    {.name = "Zerix_Version", .call = Version, .nulls = {2, 2}},
    {.name = "Zerix_ListBusNodes", .call = ListBusNodes, .nulls = {2, 2}},
    {.name = "Zerix_ListCameras", .call = ListCameras, .nulls = {2, 2}},
    {.name = "Zerix_OpenCamera", .call = OpenNoCamera, .nulls = {2}, .inOrder = {11}},
    AskingForExclusiveFirst(OfHandle("Zerix_CloseCamera", OfCamera<Zerix_CloseCamera>, {9})),
    {.name = "Zerix_RegisterUnpluggedCallback",
     .call = RegisterUnplugged,
     .nulls = {0, 0, 0},
     .closed = {0},
     .held = {0}},
    {.name = "_Zerix_factory_reserved0",
     .call = FactoryDoor,
     .nulls = {9},
     .closed = {0},
     .held = {0}},

    // Filling a record doesn't ask what it was.
    WithRecord(
        OfHandle("Zerix_ReadDefaultSettings", OfCameraAndRecord<Zerix_ReadDefaultSettings>, {9, 2}),
        0, false),
    WithRecord(
        OfHandle("Zerix_ReadSettingsFromCam", OfCameraAndRecord<Zerix_ReadSettingsFromCam>, {9, 2}),
        0, false),
    WithRecord(Unavailable("Zerix_TranslateSettings", OfCameraAndRecord<Zerix_TranslateSettings>),
               1, false),
    // The exposures' limits can't be had of a bad record.
    AskingForExclusiveFirst(WithRecord(
        OfHandle("Zerix_PreflightSettings", OfCameraAndRecord<Zerix_PreflightSettings>, {9, 2}), 3,
        false)),
    WithRecord(
        OfHandle("Zerix_SendSettingsToCam", OfCameraAndRecord<Zerix_SendSettingsToCam>, {9, 3}), 3,
        true),

    Getter("Zerix_GetParam", kUnsignedKeys, Reads<Zerix_GetParam, uint32_t>),
    Setter("Zerix_SetParam", kUnsignedKeys, Writes<Zerix_SetParam>),
    Getter("Zerix_GetParamS32", kSignedKeys, Reads<Zerix_GetParamS32, int32_t>),
    Setter("Zerix_SetParamS32", kSignedKeys, Writes<Zerix_SetParamS32>),
    Getter("Zerix_GetParam64", k64BitKeys, Reads<Zerix_GetParam64, uint64_t>),
    Setter("Zerix_SetParam64", k64BitKeys, Writes<Zerix_SetParam64>),
    Getter("Zerix_GetParamMin", kUnsignedKeys, Reads<Zerix_GetParamMin, uint32_t>),
    Getter("Zerix_GetParamMax", kUnsignedKeys, Reads<Zerix_GetParamMax, uint32_t>),
    Getter("Zerix_GetParamS32Min", kSignedKeys, Reads<Zerix_GetParamS32Min, int32_t>),
    Getter("Zerix_GetParamS32Max", kSignedKeys, Reads<Zerix_GetParamS32Max, int32_t>),
    Getter("Zerix_GetParam64Min", k64BitKeys, Reads<Zerix_GetParam64Min, uint64_t>),
    Getter("Zerix_GetParam64Max", k64BitKeys, Reads<Zerix_GetParam64Max, uint64_t>),
    Support("Zerix_IsParamSupported", kUnsignedKeys, OfCameraAndKey<Zerix_IsParamSupported>),
    Support("Zerix_IsParamS32Supported", kSignedKeys, OfCameraAndKey<Zerix_IsParamS32Supported>),
    Support("Zerix_IsParam64Supported", k64BitKeys, OfCameraAndKey<Zerix_IsParam64Supported>),
    ClassQuery("Zerix_IsRangeTable", kUnsignedKeys, Asks<Zerix_IsRangeTable>),
    ClassQuery("Zerix_IsRangeTableS32", kSignedKeys, Asks<Zerix_IsRangeTableS32>),
    ClassQuery("Zerix_IsRangeTable64", k64BitKeys, Asks<Zerix_IsRangeTable64>),
    ClassQuery("Zerix_IsSparseTable", kUnsignedKeys, Asks<Zerix_IsSparseTable>),
    NeverAList("Zerix_IsSparseTableS32", kSignedKeys, Asks<Zerix_IsSparseTableS32>, {1}),
    NeverAList("Zerix_IsSparseTable64", k64BitKeys, Asks<Zerix_IsSparseTable64>, {1}),
    ClassQuery("Zerix_GetParamSparseTable", kUnsignedKeys,
               Lists<Zerix_GetParamSparseTable, uint32_t>, {2, 2, 2}),
    NeverAList("Zerix_GetParamSparseTableS32", kSignedKeys,
               Lists<Zerix_GetParamSparseTableS32, int32_t>, {1, 1, 1}),
    NeverAList("Zerix_GetParamSparseTable64", k64BitKeys,
               Lists<Zerix_GetParamSparseTable64, uint64_t>, {1, 1, 1}),

    // The camera without hardware has no image to give.
    OfHandle("Zerix_GrabFrame", OfCameraAndFrame<Zerix_GrabFrame>, {9, 2}, {16}),
    OfHandle("Zerix_QueueFrame", QueueFrame, {9, 2, 0, 0}),
    WithRecord(OfHandle("Zerix_QueueSettings", QueueSettings, {9, 3, 0, 0}), 3, false),
    OfHandle("Zerix_Abort", OfCamera<Zerix_Abort>, {9}),
    OfHandle("Zerix_SetStreaming", StreamOn, {9}),
    OfHandle("Zerix_Trigger", OfCamera<Zerix_Trigger>, {9}),
    Unavailable("Zerix_GrabFrameNow", OfCameraAndFrame<Zerix_GrabFrameNow>),
    Unavailable("Zerix_GrabRawNow", OfCameraAndFrame<Zerix_GrabRawNow>),
    Unavailable("Zerix_ProcessRaw", OfCameraAndFrame<Zerix_ProcessRaw>),
    Unavailable("Zerix_SetFrameBuffers", SetFrameBuffers),

    {.name = "Zerix_GetInfo",
     .call = GetInfo,
     .nulls = {9, 2},
     .keys = &kInfoKeys,
     .inOrder = kOneBehind,
     .unsupported = 1,
     .closed = kNoHandle,
     .held = kNoHandle},
    AskingForExclusiveFirst(
        OfHandle("Zerix_GetSerialString", OfText<Zerix_GetSerialString>, {9, 2})),
    AskingForExclusiveFirst(
        OfHandle("Zerix_GetCameraModelString", OfText<Zerix_GetCameraModelString>, {9, 2})),

    Automatic("Zerix_AutoExpose", OfTinyRegion<Zerix_AutoExpose>),
    Automatic("Zerix_WhiteBalance", OfTinyRegion<Zerix_WhiteBalance>),
    AskingForExclusiveFirst(
        WithRecord(OfHandle("Zerix_PostProcessSingleFrame", PostProcess, {2, 3, 2, 2}), 3, true)),
};

} // namespace

std::span<const ExportedFunction> ExportedFunctionTable() { return kTable; }

std::string StartLineOf(const ExportedFunction &function, const char *keyName)
{
    std::string line = std::string(function.name) + " start";
    if (keyName != nullptr)
        line += std::string(" (") + keyName + ")";
    return line;
}

} // namespace zerix::api

// What a worker makes and gives back.
#include "tests/concurrency/worker.h"

#include <cstring>

#include "tables/settings_accessors.h"
#include "tables/settings_layout.h"

namespace zerix::concurrency {
namespace {

// 5 MHz: small packets make a small ring of buffers, which is cleared at each start of the stream.
constexpr uint32_t kSlowReadout = 2;

} // namespace

OwnFrame::OwnFrame() : pixels(kLargestPicture)
{
    frame.pBuffer = pixels.data();
    frame.bufferSize = kLargestPicture;
}

Worker::Worker(ZerixHandle openCamera) : camera(openCamera)
{
    Zerix_CreateCameraSettingsStruct(&settings);
    Zerix_ReadDefaultSettings(camera, &settings);
    tables::SetSlot32(&settings, zprmReadoutSpeed, kSlowReadout);
}

Worker::~Worker()
{
    Zerix_ReleaseCameraSettingsStruct(&settings);
    for (Zerix_Settings &record : m_records)
        Zerix_ReleaseCameraSettingsStruct(&record);
}

Zerix_Settings &Worker::NewRecord()
{
    Zerix_Settings &record = m_records.emplace_back();
    Zerix_CreateCameraSettingsStruct(&record);
    std::memcpy(record.privateBlock, settings.privateBlock, sizeof(tables::ZerixSettingsPrivate));
    return record;
}

OwnFrame &Worker::NextQueuedFrame() { return m_queued[round % m_queued.size()]; }

} // namespace zerix::concurrency

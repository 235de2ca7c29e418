// The register blocks: reading them, the control block's shadow with its writes, and the commit.
// Setters write on the caller's thread, without a lock; the commit takes the settings and the frame
// queue.
#include <cinttypes>
#include <cstdio>
#include <string>

#include "camera/hal_error.h"
#include "camera/semaphore_lock.h"
#include "camera/stream_owner.h"
#include "camera/tolvane_fw_camera.h"
#include "image/z_image_pipeline.h"
#include "platform/os.h"

namespace ZX {

using zerix::RegisterBlock;
using zerix::SemaphoreLock;
using zerix::registers::Field;

// Reading ----------------------------------------------------------------------------------------

namespace {

uint32_t ReadVersion(const HALCamera &camera, RegisterBlock &block)
{
    uint32_t version = 0;
    const uint32_t error = HAL_CameraReadData(camera, block.address, &version, 1);
    if (error == HAL_NO_ERROR)
        block.SetVersion(version);
    return error;
}

// A version without a row has no words, and nothing is asked for.
uint32_t ReadWords(const HALCamera &camera, RegisterBlock &block)
{
    std::vector<uint32_t> words(block.LengthOfVersion());
    if (!words.empty()) {
        const auto count = static_cast<uint32_t>(words.size());
        if (const uint32_t error = HAL_CameraReadData(camera, block.address, words.data(), count))
            return error;
    }
    block.Fill(words);
    return HAL_NO_ERROR;
}

} // namespace

uint16_t TolvaneFWCamera::ReportHalError(uint32_t halError)
{
    return zerix::ReportHalError(halError);
}

uint16_t TolvaneFWCamera::ReadVersionWord(RegisterBlock &block)
{
    const uint32_t error = ReadVersion(CameraForThreads(), block);
    return error == HAL_NO_ERROR ? uint16_t{kStatusOk} : ReportHalError(error);
}

uint16_t TolvaneFWCamera::ReadRegisterSet(RegisterBlock &block)
{
    uint32_t error = ReadVersion(CameraForThreads(), block);
    if (error == HAL_NO_ERROR)
        error = ReadWords(CameraForThreads(), block);
    return error == HAL_NO_ERROR ? uint16_t{kStatusOk}
                                 : static_cast<uint16_t>(HAL_TranslateError(error));
}

// The status block is read twice: its version first, which tells whether it is there.
uint16_t TolvaneFWCamera::ReadCameraInfo()
{
    namespace registers = zerix::registers;
    configurationBlock.address = registers::kRegistersAddress;
    if (const uint16_t status = ReadRegisterSet(configurationBlock))
        return status;
    informationBlock.address = configurationBlock.Read(registers::kInformationAddress);
    if (const uint16_t status = ReadRegisterSet(informationBlock))
        return status;
    streamingBlock.address = configurationBlock.Read(registers::kStreamingAddress);
    commandBlock.address = configurationBlock.Read(registers::kCommandAddress);
    controlBlock.address = configurationBlock.Read(registers::kControlAddress);
    statusBlock.address = configurationBlock.Read(registers::kStatusAddress);
    for (RegisterBlock *block : {&streamingBlock, &commandBlock, &controlBlock, &statusBlock})
        if (const uint16_t status = ReadVersionWord(*block))
            return status;
    return ReadRegisterSet(statusBlock);
}

uint64_t TolvaneFWCamera::Information64(Field high, Field low) const
{
    return zerix::registers::Join(Information(high), Information(low));
}

uint64_t TolvaneFWCamera::Control64(Field high, Field low) const
{
    return zerix::registers::Join(Control(high), Control(low));
}

bool TolvaneFWCamera::CheckVersionAtLeast(uint16_t haveMajor, uint16_t haveMinor,
                                          uint16_t needMajor, uint16_t needMinor)
{
    return zerix::registers::IsVersionAtLeast(haveMajor, haveMinor, needMajor, needMinor);
}

bool TolvaneFWCamera::CheckConfigRegVersion(uint16_t major, uint16_t minor) const
{
    return informationBlock.IsAtLeast(major, minor);
}

bool TolvaneFWCamera::HasCapability(zerix::registers::Capability capability,
                                    uint16_t sinceMinor) const
{
    const Field bit{zerix::registers::information::kCapabilitiesOffset,
                    static_cast<uint32_t>(capability), 1};
    return CheckConfigRegVersion(2, sinceMinor) && Information(bit) != 0;
}

// Writing ----------------------------------------------------------------------------------------

uint16_t TolvaneFWCamera::WriteQuadlet(uint32_t address, uint32_t value)
{
    const uint32_t error = HAL_CameraWriteData(CameraForThreads(), address, &value, 1);
    return error == HAL_NO_ERROR ? uint16_t{kStatusOk} : ReportHalError(error);
}

uint16_t TolvaneFWCamera::WriteControlQuadlet(uint32_t offset, uint32_t value)
{
    const uint32_t number = controlWrites.Begin(offset);
    const uint16_t status = WriteQuadlet(controlBlock.address + offset, value);
    if (status == kStatusOk)
        controlWrites.Succeeded(offset, number);
    else
        controlWrites.Failed(offset);
    return status;
}

uint16_t TolvaneFWCamera::WriteControlWord(uint32_t offset)
{
    if (!controlBlock.HasWord(offset))
        return kStatusNotSupported;
    return WriteControlQuadlet(offset, controlBlock.Word(offset));
}

// The shadow keeps the new value also when the write fails. The word is unknown then, so that the
// next setting of any of its fields writes it, equal or not.
uint16_t TolvaneFWCamera::WriteField(Field field, uint32_t value)
{
    if (!controlBlock.Has(field))
        return kStatusNotSupported;
    controlBlock.Store(field.offset,
                       zerix::registers::Insert(controlBlock.Word(field.offset), field, value));
    return WriteControlWord(field.offset);
}

uint16_t TolvaneFWCamera::UpdateField(Field field, uint32_t value)
{
    return Holds(field, value) ? uint16_t{kStatusOk} : WriteField(field, value);
}

uint16_t TolvaneFWCamera::UpdateFeature(bool isSupported, bool isChange, Field field,
                                        uint32_t value)
{
    if (!isSupported)
        return isChange ? kStatusNotSupported : kStatusOk;
    return isChange || !IsKnown(field) ? WriteField(field, value) : uint16_t{kStatusOk};
}

uint16_t TolvaneFWCamera::WriteField64(Field high, Field low, uint64_t value)
{
    if (const uint16_t status = WriteField(high, zerix::registers::HighOf(value)))
        return status;
    return WriteField(low, zerix::registers::LowOf(value));
}

uint16_t TolvaneFWCamera::Commit()
{
    return WriteQuadlet(commandBlock.address + zerix::registers::kCommitOffset, 1);
}

// What was exposed under the old settings is thrown away.
uint16_t TolvaneFWCamera::CommitSettings()
{
    const SemaphoreLock settings(settingsSemaphore);
    const SemaphoreLock queue(frameQueueSemaphore);
    const uint8_t tag = GetPSN();
    uint16_t status = PrepareTag();
    // After the tag, so that an image that is in them meanwhile is known to be outdated.
    imagePipeline->ResetFilters();
    if (status == kStatusOk)
        status = Commit();
    if (status == kStatusOk)
        IgnoreFrameInfoVector();
    else if (GetPSN() != tag)
        SetPSN(tag); // the camera goes on with it
    return status;
}

// A tag that may have reached the camera or not must not come into force with this commit.
uint16_t TolvaneFWCamera::PrepareTag()
{
    if (!streaming)
        return kStatusOk;
    if (!Stream().tagsCommits)
        return IsKnown(zerix::registers::control::kPsn) ? uint16_t{kStatusOk} : SetPSN(GetPSN());
    Stream().isTagDecisive = true;
    return IgnoreNextFrame();
}

// Of all settings only MiscCtrl changes what the information block says.
uint16_t TolvaneFWCamera::UpdateSettingsOnCamera()
{
    const zerix::StreamHold stream(Stream());
    uint16_t status = CommitSettings();
    if (status == kStatusOk && miscCtrlChanged)
        status = TakeOverMiscCtrl();
    // Setting the same value once more is a change then, too.
    if (status != kStatusOk && miscCtrlChanged)
        controlWrites.Failed(zerix::registers::control::kMiscCtrl.offset);
    return status == kStatusOk ? RestartStream() : status;
}

uint16_t TolvaneFWCamera::TakeOverMiscCtrl()
{
    if (const uint16_t status = ReadRegisterSet(informationBlock))
        return status;
    if (const uint16_t status = SetROIHeight(GetCCDHeight()))
        return status;
    if (const uint16_t status = SetROIWidth(GetCCDWidth()))
        return status;
    miscCtrlChanged = false;
    return kStatusOk;
}

void TolvaneFWCamera::PrintOutControlRegisters()
{
    const uint32_t count = controlBlock.WordCount();
    std::string text =
        "---\nLength in control registers: " + std::to_string(count) + "\nControl registers: ";
    for (uint32_t index = 0; index < count; ++index) {
        char word[12];
        std::snprintf(word, sizeof word, "%08" PRIx32 " ", controlBlock.Word(index * 4));
        text += word;
    }
    zerix::os::DebugOutput(text + "\n");
}

} // namespace ZX

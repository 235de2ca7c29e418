// The factory's window on the information block. It needs a longer time limit of the bus than a
// live connection grants, so that it is closed on those.
#include "camera/factory_data.h"

#include "camera/tolvane_fw_camera.h"

namespace zerix {

namespace {

constexpr uint32_t kHeadWords = 80;
constexpr uint32_t kTailWord = 0x25C / 4;

} // namespace

uint32_t FactoryChecksum(std::span<const uint32_t> words)
{
    uint32_t sum = 0;
    for (const uint32_t word : words)
        sum += ~word;
    return sum;
}

std::vector<FactoryPiece> FactoryPieces(uint32_t words)
{
    if (words <= kTailWord)
        return {{.firstWord = 0, .words = words}};
    return {{.firstWord = 0, .words = kHeadWords},
            {.firstWord = kTailWord, .words = words - kTailWord}};
}

} // namespace zerix

namespace ZX {

namespace {

constexpr uint32_t kReadOperation = 2;
constexpr uint32_t kWriteOperation = 3;
constexpr uint32_t kTimeoutMilliseconds = 2000;
constexpr uint16_t kRefused = 1; // a wrong checksum, or no such operation

} // namespace

uint16_t TolvaneFWCamera::SetReserved0(uint32_t operation, uint32_t *buffer, uint32_t length,
                                       uint32_t checksum)
{
    const uint32_t before = HAL_CameraGetTimeout(CameraForThreads());
    if (const uint32_t error = HAL_CameraSetTimeout(CameraForThreads(), kTimeoutMilliseconds))
        return ReportHalError(error);
    const uint16_t status = TransferFactoryData(operation, buffer, length, checksum);
    HAL_CameraSetTimeout(CameraForThreads(), before);
    return status;
}

uint16_t TolvaneFWCamera::TransferFactoryData(uint32_t operation, uint32_t *buffer, uint32_t length,
                                              uint32_t checksum)
{
    if (operation == kWriteOperation && buffer != nullptr)
        return WriteFactoryData(buffer, length, checksum);
    if (operation != kReadOperation)
        return kRefused;
    const uint32_t error =
        HAL_CameraReadData(CameraForThreads(), informationBlock.address, buffer, length);
    return error == HAL_NO_ERROR ? uint16_t{kStatusOk} : ReportHalError(error);
}

uint16_t TolvaneFWCamera::WriteFactoryData(const uint32_t *words, uint32_t length,
                                           uint32_t checksum)
{
    if (zerix::FactoryChecksum({words, length}) != checksum)
        return kRefused;
    for (const auto &piece : zerix::FactoryPieces(length)) {
        const uint32_t address = informationBlock.address + piece.firstWord * 4;
        const uint32_t error =
            HAL_CameraWriteData(CameraForThreads(), address, words + piece.firstWord, piece.words);
        if (error != HAL_NO_ERROR)
            return ReportHalError(error);
    }
    return kStatusOk;
}

} // namespace ZX

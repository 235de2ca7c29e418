// Runs filters in order over an image. Two buffers take turns: a filter's input is the result of
// the one before, its output is always the output record's buffer, so that no filter reads what it
// writes.
#include "image/z_image_pipeline.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "image/image_input.h"
#include "image/image_limits.h"
#include "image/z_ex_image.h"
#include "image/z_image_filter.h"

namespace ZX {

namespace {

// Three channels of 16 bits.
constexpr uint64_t kLargestPixel = 6;

uint64_t LargestResult(uint32_t width, uint32_t height) { return kLargestPixel * width * height; }

constexpr uint64_t kMostAhead = kLargestPixel * zerix::kMostPixelsAhead;

void CopyImage(const ZInImageBufferStruct &in, ZOutImageBufferStruct &out)
{
    if (in.size > 0 && in.pBuffer != out.pBuffer)
        std::memmove(out.pBuffer, in.pBuffer, in.size);
}

void Describe(const ZInImageBufferStruct &in, ZOutImageBufferStruct &out)
{
    out.size = in.size;
    out.width = in.width;
    out.height = in.height;
    out.imageFormat = in.imageFormat;
}

} // namespace

ZImagePipeline::ZImagePipeline() = default;
ZImagePipeline::~ZImagePipeline() = default;

void ZImagePipeline::Setup(uint32_t width, uint32_t height)
{
    m_maximumWidth = width;
    m_maximumHeight = height;
    m_scratch.reset();
    m_scratchSize = 0;
    static_cast<void>(GrowScratch(std::min(LargestResult(width, height), kMostAhead)));
    m_isSetUp = true;
}

void ZImagePipeline::AddFilter(ZImageFilter *filter)
{
    m_filters.push_back(filter);
    filter->Init(m_maximumWidth, m_maximumHeight);
}

bool ZImagePipeline::RemoveFilter(ZImageFilter *filter)
{
    const auto found = std::find(m_filters.begin(), m_filters.end(), filter);
    if (found == m_filters.end())
        return false;
    m_filters.erase(found);
    return true;
}

void ZImagePipeline::ResetFilters()
{
    for (ZImageFilter *filter : m_filters)
        filter->Reset();
}

int16_t ZImagePipeline::SetOutputFormat(uint32_t format)
{
    for (ZImageFilter *filter : m_filters)
        if (const int16_t status = filter->SetOutputFormat(format))
            return status;
    return kFilterOk;
}

uint32_t ZImagePipeline::GetNeededOutputBufferSize(ZInImageBufferStruct *in)
{
    uint32_t needed = in->size;
    for (ZImageFilter *filter : m_filters)
        needed = std::max(needed, filter->GetNeededOutputBufferSize(in));
    return needed;
}

int16_t ZImagePipeline::ProcessImage(ZInImageBufferStruct *in, ZOutImageBufferStruct *out,
                                     bool *done)
{
    const std::lock_guard lock(m_processMutex);
    if (const int16_t status = CheckChain(*done))
        return status;
    return RunChain(*in, *out, *done);
}

// The image grows even where the chain then can't be run.
int16_t ZImagePipeline::ProcessImage(ZExImage *image, bool *done)
{
    const std::lock_guard lock(m_processMutex);
    m_inPlace = true;
    m_image = image;
    ZInImageBufferStruct in = InputOf(*image);
    ZOutImageBufferStruct out;
    const uint32_t needed = GetNeededOutputBufferSize(&in);
    if (needed > image->GetImageSize())
        image->ResizeBuffer(needed);
    int16_t status = CheckChain(*done);
    if (status == kFilterOk)
        status = PrepareBuffers(needed, in, out);
    if (status == kFilterOk) {
        status = RunChain(in, out, *done);
        image->SetErrorCode(in.errorCode);
    }
    if (status == kFilterOk) {
        image->SetImageFormat(out.imageFormat);
        image->SetImageSize(out.size);
        image->SetWidth(static_cast<uint16_t>(out.width));
        image->SetHeight(static_cast<uint16_t>(out.height));
    }
    m_image = nullptr;
    m_inPlace = false;
    return status;
}

int16_t ZImagePipeline::CheckChain(bool &done) const
{
    if (!m_isSetUp)
        return kPipelineNotSetUp;
    done = true;
    return m_filters.empty() ? kPipelineEmpty : kFilterOk;
}

int16_t ZImagePipeline::PrepareBuffers(uint32_t needed, ZInImageBufferStruct &in,
                                       ZOutImageBufferStruct &out)
{
    if (m_image->GetImageSize() < in.size)
        return kFilterBadFormat;
    // An image may be larger than Setup was told.
    if (!GrowScratch(std::max<uint64_t>(needed, LargestResult(in.width, in.height))))
        return kFilterBadFormat;
    in.pBuffer = m_image->GetImageData();
    out.pBuffer = m_scratch.get();
    return kFilterOk;
}

int16_t ZImagePipeline::RunChain(ZInImageBufferStruct &in, ZOutImageBufferStruct &out, bool &done)
{
    int16_t status = kFilterOk;
    // A caller's buffer always takes the image as it stands. The scratch buffer does only for a
    // filter behind: one that works in place, as white balance does, finds the image in its output.
    bool copyIsDue = false;
    for (ZImageFilter *filter : m_filters) {
        if (!filter->IsEnabled()) {
            status = kFilterNothingToDo;
            continue;
        }
        if (m_inPlace && !PrepareScratch(*filter, in, out, copyIsDue))
            return kFilterBadFormat;
        if (copyIsDue)
            CopyImage(in, out);
        copyIsDue = false;
        status = filter->Process(&in, &out);
        if (status == kFilterOk) {
            if (const int16_t error = TakeResult(in, out))
                return error;
        } else if (status == kFilterNothingToDo) {
            copyIsDue = m_inPlace;
            if (!m_inPlace)
                CopyImage(in, out);
            Describe(in, out);
        } else if (status == kFilterIncomplete) {
            done = false;
        } else {
            return status;
        }
    }
    return status;
}

// A filter before may have made the image larger than anybody announced. What the scratch buffer
// held is in the image as well, and comes back with the copy.
bool ZImagePipeline::PrepareScratch(ZImageFilter &filter, ZInImageBufferStruct &in,
                                    ZOutImageBufferStruct &out, bool &copyIsDue)
{
    const uint64_t needed = std::max<uint64_t>(filter.GetNeededOutputBufferSize(&in),
                                               LargestResult(in.width, in.height));
    if (needed <= m_scratchSize)
        return true;
    if (!GrowScratch(needed))
        return false;
    out.pBuffer = m_scratch.get();
    copyIsDue = true;
    return true;
}

// Makes a filter's output the input of the next.
int16_t ZImagePipeline::TakeResult(ZInImageBufferStruct &in, const ZOutImageBufferStruct &out)
{
    in.imageFormat = out.imageFormat;
    in.width = out.width;
    in.height = out.height;
    if (m_inPlace) {
        if (out.size > m_image->GetImageSize())
            m_image->ResizeBuffer(out.size);
        if (out.size > m_image->GetImageSize())
            return kFilterBadFormat;
        in.pBuffer = m_image->GetImageData();
    } else {
        if (!GrowScratch(out.size))
            return kFilterBadFormat;
        in.pBuffer = m_scratch.get();
    }
    in.size = out.size;
    if (out.size > 0)
        std::memcpy(in.pBuffer, out.pBuffer, out.size);
    return kFilterOk;
}

// Keeps nothing of the contents when it grows, and everything when it can't.
bool ZImagePipeline::GrowScratch(uint64_t bytes)
{
    if (bytes <= m_scratchSize)
        return true;
    if (bytes > SIZE_MAX / 2)
        return false;
    std::unique_ptr<uint8_t[]> larger(new (std::nothrow) uint8_t[static_cast<size_t>(bytes)]);
    if (!larger)
        return false;
    m_scratch = std::move(larger);
    m_scratchSize = bytes;
    return true;
}

} // namespace ZX

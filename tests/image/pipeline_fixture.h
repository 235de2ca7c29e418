// What the pipeline's tests share: a filter that does as it is told, and a chain on buffers.
#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <utility>

#include "image/image_formats.h"
#include "image/z_image_filter.h"
#include "image/z_image_pipeline.h"
#include "tests/image/image_fixture.h"

namespace ZX {

using Bytes = std::vector<uint8_t>;

// A filter that does as it is told and tells what happened to it.
class ToldFilter : public ZImageFilter {
public:
    using Work = std::function<int16_t(ZInImageBufferStruct &, ZOutImageBufferStruct &)>;

    explicit ToldFilter(Work toDo) : work(std::move(toDo)) {}
    int16_t Process(ZInImageBufferStruct *in, ZOutImageBufferStruct *out) override
    {
        ++processed;
        return work(*in, *out);
    }
    int16_t Init(uint32_t width, uint32_t height) override
    {
        initWidth = width;
        initHeight = height;
        return 0;
    }
    int16_t SetOutputFormat(uint32_t value) override
    {
        format = value;
        return formatStatus;
    }
    void Reset() override { ++resets; }
    uint32_t GetNeededOutputBufferSize(ZInImageBufferStruct *in) override
    {
        return needed != 0 ? needed : ZImageFilter::GetNeededOutputBufferSize(in);
    }

    Work work;
    int processed = 0;
    int resets = 0;
    uint32_t initWidth = 0;
    uint32_t initHeight = 0;
    uint32_t format = 0;
    int16_t formatStatus = 0;
    uint32_t needed = 0;
};

inline ToldFilter::Work Answer(int16_t status)
{
    return [status](ZInImageBufferStruct &, ZOutImageBufferStruct &) { return status; };
}

// Every byte of the input `times` over, plus `added`.
inline ToldFilter::Work Repeat(uint32_t times, uint8_t added, uint32_t format)
{
    return [=](ZInImageBufferStruct &in, ZOutImageBufferStruct &out) -> int16_t {
        for (uint32_t index = 0; index < in.size; ++index)
            for (uint32_t copy = 0; copy < times; ++copy)
                out.pBuffer[index * times + copy] = static_cast<uint8_t>(in.pBuffer[index] + added);
        out.size = in.size * times;
        out.width = in.width * times;
        out.height = in.height;
        out.imageFormat = format;
        return kFilterOk;
    };
}

class Pipeline : public testing::Test {
protected:
    // Runs the chain on a copy of these bytes.
    int16_t Run(const Bytes &bytes, uint32_t width, uint32_t height)
    {
        m_input = bytes;
        m_in = {.pBuffer = m_input.data(),
                .size = static_cast<uint32_t>(m_input.size()),
                .width = width,
                .height = height,
                .bitDepth = 8,
                .imageFormat = 4};
        m_output.assign(64, 0xEE);
        m_out = {.pBuffer = m_output.data()};
        m_done = false;
        return pipeline.ProcessImage(&m_in, &m_out, &m_done);
    }
    Bytes Output(size_t count) const
    {
        return {m_output.begin(), m_output.begin() + static_cast<ptrdiff_t>(count)};
    }

    ZImagePipeline pipeline;
    Bytes m_input;
    Bytes m_output;
    ZInImageBufferStruct m_in;
    ZOutImageBufferStruct m_out;
    bool m_done = false;
};

} // namespace ZX

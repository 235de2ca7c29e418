// The base of every filter. One thread at a time runs a filter; it may be enabled and disabled from
// any.
#pragma once

#include <atomic>
#include <cstdint>

#include "camera/z_object.h"
#include "image/image_buffers.h"
#include "image/image_formats.h"
#include "zerix/zerix_export.h"

namespace ZX {

class ZERIX_API ZImageFilter : public ZObject {
public:
    ZImageFilter() = default;
    ~ZImageFilter() override = default;

    // Works from `in` to `out`, whose buffers never overlap. A ZFilterStatus, or a camera's status.
    virtual int16_t Process(ZInImageBufferStruct *in, ZOutImageBufferStruct *out) = 0;

    // Makes room for images up to this size in pixels. The pipeline calls it when the filter is
    // added.
    virtual int16_t Init(uint32_t width, uint32_t height) = 0;

    virtual int16_t SetOutputFormat(uint32_t format) = 0;

    // Forgets what was collected; runs when streaming starts anew.
    virtual void Reset() {}

    virtual void Enable() { m_enabled = true; }
    virtual void Disable() { m_enabled = false; }
    virtual bool IsEnabled() { return m_enabled; }

    // Bytes that the output buffer must hold for this input.
    virtual uint32_t GetNeededOutputBufferSize(ZInImageBufferStruct *in) { return in->size; }

private:
    std::atomic<bool> m_enabled{true}; // settings switch it while the run loop asks it
};

} // namespace ZX

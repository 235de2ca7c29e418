// Runs filters in order over an image. ProcessImage may be called from several threads and takes
// turns; filters are added and removed while none runs.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "camera/z_object.h"
#include "image/image_buffers.h"
#include "zerix/zerix_export.h"

namespace ZX {

class ZExImage;
class ZImageFilter;

class ZERIX_API ZImagePipeline : public ZObject {
public:
    ZImagePipeline();
    ~ZImagePipeline() override;

    // Stores the largest image in pixels and makes the scratch buffer for it, but none beyond what
    // a region's 12 bits a side allow. A failure to get it is not told here: ProcessImage then
    // answers 5 where it needs it.
    void Setup(uint32_t width, uint32_t height);

    // Appends the filter, which stays its owner's, and runs its Init with the size of Setup.
    void AddFilter(ZImageFilter *filter);
    // False if it isn't listed.
    bool RemoveFilter(ZImageFilter *filter);
    // Resets every filter, enabled or not.
    void ResetFilters();
    // Passes the format on to each filter until one answers other than 0, which is the result.
    int16_t SetOutputFormat(uint32_t format);
    // The largest of the input's size and every filter's answer, enabled or not.
    uint32_t GetNeededOutputBufferSize(ZInImageBufferStruct *in);

    // Runs the chain from one caller's buffer to another, which must hold the needed size. `in` is
    // changed on the way: it describes the input of the next filter, at the end the last good
    // result. `done` becomes false if a filter waits for more frames. 27, 30, a filter's error, or
    // the status of the last filter.
    int16_t ProcessImage(ZInImageBufferStruct *in, ZOutImageBufferStruct *out, bool *done);

    // The same on an image, in place. The image grows to the needed size before the first filter.
    int16_t ProcessImage(ZExImage *image, bool *done);

private:
    int16_t RunChain(ZInImageBufferStruct &in, ZOutImageBufferStruct &out, bool &done);
    int16_t CheckChain(bool &done) const;
    int16_t PrepareBuffers(uint32_t needed, ZInImageBufferStruct &in, ZOutImageBufferStruct &out);
    int16_t TakeResult(ZInImageBufferStruct &in, const ZOutImageBufferStruct &out);
    [[nodiscard]] bool PrepareScratch(ZImageFilter &filter, ZInImageBufferStruct &in,
                                      ZOutImageBufferStruct &out, bool &copyIsDue);
    [[nodiscard]] bool GrowScratch(uint64_t bytes);

    // The application's threads and the stream's share the post-processing pipeline.
    std::mutex m_processMutex;
    std::vector<ZImageFilter *> m_filters; // not owned
    uint32_t m_maximumWidth = 0;
    uint32_t m_maximumHeight = 0;
    bool m_isSetUp = false;
    std::unique_ptr<uint8_t[]> m_scratch;
    uint64_t m_scratchSize = 0;
    bool m_inPlace = false;
    ZExImage *m_image = nullptr; // the image in work while m_inPlace
};

} // namespace ZX

// Takes what the streaming and the expose-done callback bring, and lets a test wait for it.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>

#include "camera/z_camera.h"
#include "image/z_ex_image.h"

namespace zerix::test {

struct ImageDeleter {
    void operator()(ZX::ZExImage *image) const { ZX::ZCamera::FreeImage(image); }
};
using Image = std::unique_ptr<ZX::ZExImage, ImageDeleter>;

class ImageReceiver {
public:
    struct Delivery {
        Image image;
        uint16_t error;
    };
    static constexpr auto kDeadline = std::chrono::seconds(30);

    static void Received(ZX::ZImageReceivedCallbackStruct *record)
    {
        auto &receiver = *static_cast<ImageReceiver *>(record->userData);
        const std::lock_guard lock(receiver.m_mutex);
        receiver.m_deliveries.push_back({Image(record->image), record->error});
        receiver.m_came.notify_all();
    }
    static void ExposeDone(void *context)
    {
        auto &receiver = *static_cast<ImageReceiver *>(context);
        const std::lock_guard lock(receiver.m_mutex);
        ++receiver.m_exposures;
        receiver.m_came.notify_all();
    }

    // Nothing within the deadline is an error 0xFFFF.
    Delivery Take()
    {
        std::unique_lock lock(m_mutex);
        if (!m_came.wait_for(lock, kDeadline, [this] { return !m_deliveries.empty(); }))
            return {nullptr, 0xFFFF};
        Delivery first = std::move(m_deliveries.front());
        m_deliveries.pop_front();
        return first;
    }
    // Waits until so many exposures have been told of since the start.
    bool AwaitExposures(uint32_t count)
    {
        std::unique_lock lock(m_mutex);
        return m_came.wait_for(lock, kDeadline, [&] { return m_exposures >= count; });
    }
    size_t Waiting()
    {
        const std::lock_guard lock(m_mutex);
        return m_deliveries.size();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_came;
    std::deque<Delivery> m_deliveries;
    uint32_t m_exposures = 0;
};

} // namespace zerix::test

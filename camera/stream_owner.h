// The one owner of a camera's stream. A thread that starts, stops or restarts the stream holds the
// owner's lock while it does so, and stores here what other threads must know: that the next commit
// restarts the stream, that a thread waits for one image, that the device was lost.
//
// No lock is held while an application's callback runs, and none while a thread waits for an image.
// Order of taking: the context's queue semaphore, this lock, the camera's semaphores.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <thread>

#include "camera/z_camera.h"
#include "zerix/zerix_hal.h"

namespace zerix {

// Where the images of a stream go.
struct StreamReceiver {
    ZX::ZImageReceivedCallback callback = nullptr;
    void *userData = nullptr;

    bool operator==(const StreamReceiver &) const = default;
};

// What a start is asked for.
struct StreamStart {
    StreamReceiver receiver;
    ZX::ZExposeDoneCallback exposeDone = nullptr;
    void *exposeDoneUserData = nullptr;
    bool areExternal = false; // the buffers are the application's
};

// A lock that a thread may take again while it has it.
class ThreadClaim {
public:
    // False if another thread still has it when the time is over.
    [[nodiscard]] bool TakeWithin(std::chrono::milliseconds time);
    void Give();

private:
    std::mutex m_mutex;
    std::condition_variable m_given;
    std::thread::id m_holder;
    uint32_t m_depth = 0;
};

class StreamOwner {
public:
    // Sets the camera and the condition on which a thread waits for one image. Register accesses of
    // the camera that hang are ended for a thread that waits for the lock, and its run loop is
    // woken after a loss.
    void Attach(const HALCamera &camera, HAL_Condition imageCondition);

    // Waits until no other thread starts, stops or restarts the stream. A register access of
    // theirs that hangs is ended, so that the wait is bounded.
    void Take();
    void Give() { m_lock.Give(); }
    // Ends a start that hangs in a register access; takes nothing.
    void Hurry();

    // One image at a time: false if another thread is taking one. A thread that takes several, as
    // the automatic exposure does, keeps the claim for all of them.
    [[nodiscard]] bool ClaimImages();
    void ReleaseImages() { m_images.Give(); }

    // Under the lock --------------------------------------------------------------------------

    // A thread waits for one image from now on.
    void BeginWait();
    // The wait is over. Returns a status if something other than an image ended it.
    std::optional<uint16_t> FinishWait();
    [[nodiscard]] bool IsAwaited() const { return m_isAwaited; }
    // Ends that wait. Does nothing if no thread waits.
    void EndWait(uint16_t status);

    // No commit switches the stream on again, as the application has switched it on or off itself.
    void ForgetRestart() { isRestartMarked = false; }
    // The application switches its stream off: that ends the wait for one image, too.
    void Forget();

    // Switched off for a change of settings; the commit switches it on again.
    bool isRestartMarked = false;
    // The application has started the stream, and not only a thread that takes one image.
    bool isApplications = false;
    StreamReceiver application; // where its images go
    // The stream has been started for one image only, and stops after it unless the wait for it
    // ended in vain.
    bool isForOneImage = false;
    bool stopsAfterImage = false;

    // Any thread ------------------------------------------------------------------------------

    // While the camera closes no stream starts.
    std::atomic<bool> isClosing{false};

    // A thread measures images: each commit beside the stream takes a new tag, as a start does.
    std::atomic<bool> tagsCommits{false};
    // An abort or a stop ends the measurement that goes on: it takes no more images.
    void EndMeasurement() { m_isMeasurementOver = true; }
    void BeginMeasurement();
    [[nodiscard]] bool IsMeasurementOver() const { return tagsCommits && m_isMeasurementOver; }
    // Such a commit has come: an image with another tag than the present one was exposed before it,
    // and is dropped. Until the next start.
    std::atomic<bool> isTagDecisive{false};

    // What the hardware layer says of the stream is still about the one before.
    std::atomic<bool> isStarting{false};

    // The stream brings nothing any more: its device was lost, or it never came to life. Until the
    // next successful start.
    [[nodiscard]] bool IsLost() const { return m_isLost; }
    void ForgetLoss();
    // The run loop reports it to the receiver of the stream.
    void MarkLost();
    // Asks the run loop to report the loss to this receiver, once. Does nothing without a loss.
    void AskForLoss(const StreamReceiver &receiver);

    struct LossRequests {
        bool isForStream = false;
        std::optional<StreamReceiver> other;
    };
    // For the run loop: the receivers to report to now. Waits, so that there are at most a hundred
    // reports a second.
    LossRequests TakeLossRequests();

private:
    void WakeRunLoop() const;

    std::atomic<bool> m_isMeasurementOver{false}; // says nothing while none goes on
    ThreadClaim m_lock;
    ThreadClaim m_images;
    HALCamera m_camera{};
    HAL_Condition m_imageCondition{};
    bool m_isAwaited = false;
    std::optional<uint16_t> m_waitStatus;

    std::atomic<bool> m_isLost{false};
    std::mutex m_lossMutex; // over the requests
    LossRequests m_lossRequests;
    std::chrono::steady_clock::time_point m_lastTold{}; // of the run loop's thread
};

// The claim on images for as long as it lives; false if another thread has it.
class ImageClaim {
public:
    explicit ImageClaim(StreamOwner &owner) : m_owner(owner), m_isHeld(owner.ClaimImages()) {}
    ~ImageClaim()
    {
        if (m_isHeld)
            m_owner.ReleaseImages();
    }
    ImageClaim(const ImageClaim &) = delete;
    ImageClaim &operator=(const ImageClaim &) = delete;
    explicit operator bool() const { return m_isHeld; }

private:
    StreamOwner &m_owner;
    bool m_isHeld;
};

// For as long as it lives, a thread measures images of the camera, and no other thread takes any.
// What it takes was exposed after its last commit. False if another thread takes an image.
class Measurement {
public:
    explicit Measurement(StreamOwner &owner) : m_owner(owner), m_claim(owner)
    {
        if (m_claim)
            m_owner.BeginMeasurement();
    }
    ~Measurement()
    {
        if (m_claim)
            m_owner.tagsCommits = false;
    }
    Measurement(const Measurement &) = delete;
    Measurement &operator=(const Measurement &) = delete;
    explicit operator bool() const { return static_cast<bool>(m_claim); }

private:
    StreamOwner &m_owner;
    ImageClaim m_claim;
};

} // namespace zerix

// The virtual bus's cameras as the remote nodes of the virtual card: each camera of the rack that
// is plugged is a node with a configuration ROM, answers register accesses, and sends its packets
// while a receive context listens. What the rack plugs and unplugs, the card does.
//
// The rack is chosen before, and stays as it is until the end. Any thread.
#pragma once

#include "../wire.h"
#include "tests/rack_cameras/camera_link.h"
#include "tests/rack_cameras/rack_view.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace linux_kernel {

class RackNodes final : zerix::rack_cameras::PacketSink {
public:
    // Cameras have the first sockets of the wire. This one is a test's.
    static constexpr std::uint32_t kFreeSocket = FWBUS_NODES - 1;

    RackNodes();
    // Takes all cameras off the card.
    ~RackNodes() override;
    RackNodes(const RackNodes &) = delete;
    RackNodes &operator=(const RackNodes &) = delete;

    Wire &TheWire() { return m_wire; }
    // Waits until the kernel has as many devices as there are nodes. False after ten seconds.
    bool Settle();
    // The bus resets that the card has seen.
    [[nodiscard]] std::uint32_t ResetCount() const { return m_resets; }
    // The packets that have been sent.
    [[nodiscard]] std::uint64_t PacketCount() const { return m_packets; }

private:
    // A receive context on a channel.
    struct Listener {
        bool isRunning = false;
        std::uint32_t slotBytes = 0;
        std::uint32_t mostFree = 0; // slots
        std::uint32_t free = 0;
    };
    // A stream of a camera, with what is booked for it on the virtual bus.
    struct Stream {
        std::uint32_t channel;
        std::uint32_t bandwidth;
    };
    struct Socket {
        zerix::rack_cameras::RackCamera camera;
        std::shared_ptr<zerix::rack_cameras::CameraLink> link;
        std::optional<Stream> stream;
    };
    // A request that the camera hasn't answered.
    struct Hanging {
        double until;
        std::shared_ptr<zerix::rack_cameras::CameraLink> link;
        std::unique_ptr<zerix::rack_cameras::RegisterAccess> access;
    };

    void Run();
    void Take(const Record &record);
    void TakeNotice(const Record &record);
    void GiveUpHanging();

    void Look();
    void PlugIn(const zerix::rack_cameras::RackCamera &camera);
    void TakeOut(std::uint32_t place);

    void Serve(const Record &request);
    void Access(const Record &request, const Socket &socket);

    void FollowStreams();
    void FollowStream(Socket &socket);
    void BeginStream(Socket &socket, std::uint32_t channel);
    static void EndStream(Socket &socket);
    bool MaySend(std::uint32_t channel);
    void Deliver(std::uint32_t channel, std::span<const std::uint8_t> payload,
                 const std::atomic<bool> &isStopped) override;
    void Wake() override;

    Wire m_wire;
    // The thread's.
    std::array<std::optional<Socket>, kFreeSocket> m_sockets;
    std::vector<Hanging> m_hanging;
    double m_lastLook = 0;

    std::mutex m_mutex; // over what follows
    std::condition_variable m_changed;
    std::map<std::uint32_t, Listener> m_listeners; // by channel
    std::map<std::uint32_t, std::uint16_t> m_stamps;

    std::atomic<std::uint32_t> m_resets = 0;
    std::atomic<std::uint64_t> m_packets = 0;
    std::atomic<bool> m_isEnding = false;
    std::thread m_thread;
};

} // namespace linux_kernel

// The nodes of the card's bus: cameras come and go, resets number the nodes anew, and the kernel
// finds out in its own time. Under the model's lock, but where it is said otherwise.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/linux_model/device_file.h"
#include "tests/rack_cameras/rack_view.h"

namespace zerix::linux_model {

using rack_cameras::RackCamera;

class Machine;

class Bus {
public:
    explicit Bus(Machine &machine) : m_machine(machine) {}

    // The card and the cameras that are there, with their device files.
    void Boot();
    // Compares with the virtual bus: a camera that has gone or come is a bus reset.
    void Look();
    void Reset();

    // The nodes' timers. No link is to be closed any more: a camera that is back books what the old
    // one still held.
    void RunDue() { RunDue(false); }
    [[nodiscard]] nanoseconds NextDue() const;

    [[nodiscard]] uint32_t Generation() const { return m_generation; }
    [[nodiscard]] nanoseconds ResetTime() const { return m_resetTime; }
    [[nodiscard]] uint32_t LocalNodeId() const { return m_local->nodeId; }
    // The node that has this number now; null if none has.
    [[nodiscard]] std::shared_ptr<Node> NodeAt(uint32_t nodeId) const;
    // With a device file, in the order of their numbers.
    [[nodiscard]] std::vector<std::shared_ptr<Node>> Named() const;
    [[nodiscard]] std::shared_ptr<Node> Find(const std::string &name) const;
    [[nodiscard]] bool IsWatched() const;

    void AddFile(DeviceFile &file);
    void RemoveFile(DeviceFile &file);
    // Closes the links that nobody needs any more, without the lock meanwhile. Returns when no
    // thread is closing one.
    void CloseLinks(Lock &lock);
    [[nodiscard]] bool HasLinksToClose() const { return !m_deadLinks.empty() || m_closing > 0; }

private:
    struct Place {
        RackCamera camera;
        bool isPresent;
        std::shared_ptr<Node> node;
    };

    void InitializeLocal();
    void UseSpeedOfRack();
    [[nodiscard]] bool IsKnown(const RackCamera &camera) const;
    void Come(const RackCamera &camera);
    void Go(Place &place);
    void Schedule(Node &node, nanoseconds delay) const;
    void RunDue(bool updatesOnly);
    void Run(const std::shared_ptr<Node> &node);
    void Initialize(const std::shared_ptr<Node> &node);
    bool Revive(const Place &place);
    void Update(Node &node);
    void ShutDown(Node &node);
    void SettleAtOnce();
    void NumberNodes();
    [[nodiscard]] uint32_t FreeMinor() const;
    Place *PlaceOf(const Node &node);
    void OpenLink(Node &node);
    void BuryLink(Node &node);

    Machine &m_machine;
    std::shared_ptr<Node> m_local;
    std::vector<Place> m_places;
    std::vector<std::shared_ptr<Node>> m_nodes; // all but those that have been shut down
    uint32_t m_generation = 1;
    nanoseconds m_resetTime{};
    std::vector<std::shared_ptr<CameraLink>> m_deadLinks;
    uint32_t m_closing = 0; // threads that close links
};

} // namespace zerix::linux_model

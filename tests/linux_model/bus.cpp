// Who is on the bus, and what the kernel makes of it.
#include "tests/linux_model/bus.h"

#include <algorithm>
#include <utility>

#include "tests/linux_model/machine.h"

namespace zerix::linux_model {
namespace {

using namespace std::chrono_literals;

constexpr nanoseconds kInitialDelay = 500ms;
constexpr nanoseconds kRetryDelay = 3s;
constexpr uint32_t kMostRetries = 10;
constexpr nanoseconds kShutdownDelay = 2s;
constexpr uint32_t kLocalBus = 0xFFC0;
constexpr size_t kComparedQuadlets = 6; // of the ROM, to recognise a camera that is back

constexpr RomContents kLocalRom = {
    .guid = 0x0011223344556677, .vendor = 0x001122, .model = 0x0CA12D};

} // namespace

void Bus::Boot()
{
    m_local = std::make_shared<Node>();
    m_local->contents = kLocalRom;
    UseSpeedOfRack();
    if (!m_machine.options.localNodeIsLast)
        InitializeLocal();
    Look();
    SettleAtOnce();
    if (m_machine.options.localNodeIsLast)
        InitializeLocal();
    Reset();
    m_resetTime -= 1h;
}

void Bus::InitializeLocal()
{
    m_nodes.push_back(m_local);
    Initialize(m_local);
}

// Another rack may be of another speed: to its cameras the same process then has another card.
void Bus::UseSpeedOfRack()
{
    m_local->contents.linkSpeed = rack_cameras::RackSpeedCode();
    m_local->rom = MakeConfigRom(m_local->contents);
    m_local->speed = m_local->contents.linkSpeed;
}

// Changes -----------------------------------------------------------------------------------------

// A camera that went and came back between two looks has left a dead link.
void Bus::Look()
{
    const std::vector<RackCamera> present = rack_cameras::PresentCameras();
    const auto isThere = [&](const Place &place) {
        return std::find(present.begin(), present.end(), place.camera) != present.end() &&
               (place.node->link == nullptr || !place.node->link->IsLost());
    };
    bool isChanged = false;
    for (Place &place : m_places)
        if (place.isPresent && !isThere(place)) {
            Go(place);
            isChanged = true;
        }
    if (isChanged)
        Reset();
    std::vector<RackCamera> fresh;
    std::copy_if(present.begin(), present.end(), std::back_inserter(fresh),
                 [this](const RackCamera &camera) { return !IsKnown(camera); });
    for (const RackCamera &camera : fresh)
        Come(camera);
    if (!fresh.empty()) {
        UseSpeedOfRack();
        Reset();
    }
    if (m_machine.options.instantWhileUnwatched && !IsWatched())
        SettleAtOnce();
}

bool Bus::IsKnown(const RackCamera &camera) const
{
    return std::any_of(m_places.begin(), m_places.end(), [&](const Place &place) {
        return place.isPresent && place.camera == camera;
    });
}

void Bus::Come(const RackCamera &camera)
{
    const auto node = std::make_shared<Node>();
    node->path = camera.path;
    node->contents = rack_cameras::ContentsOf(camera);
    node->contents.maxRec = m_machine.options.maxRec;
    node->contents.unitSpecifier = m_machine.options.unitSpecifier;
    node->contents.unitVersion = m_machine.options.unitVersion;
    m_nodes.push_back(node);
    m_places.push_back({camera, true, node});
    Schedule(*node, kInitialDelay);
}

void Bus::Go(Place &place)
{
    place.isPresent = false;
    Node &node = *place.node;
    BuryLink(node);
    if (std::exchange(node.state, NodeState::kGone) != NodeState::kRunning)
        return;
    node.work = NodeWork::kShutDown;
    Schedule(node, kShutdownDelay);
}

void Bus::Reset()
{
    ++m_generation;
    m_resetTime = m_machine.clock.Now();
    m_machine.resources.ForgetBookings();
    NumberNodes();
    RunDue(true);
    m_machine.changed.notify_all();
}

// Cameras from 0 on; the local node is the last, and so the root. A node that has gone keeps what
// it had.
void Bus::NumberNodes()
{
    uint32_t number = 0;
    const auto renew = [&](Node &node) {
        node.nodeId = kLocalBus | number++;
        node.generation = m_generation;
        if (node.state != NodeState::kRunning)
            return;
        node.work = NodeWork::kUpdate;
        Schedule(node, 0ns);
    };
    for (const Place &place : m_places)
        if (place.isPresent)
            renew(*place.node);
    renew(*m_local);
}

// Timers ------------------------------------------------------------------------------------------

void Bus::Schedule(Node &node, nanoseconds delay) const
{
    if (!node.due)
        node.due = m_machine.clock.Now() + delay;
}

void Bus::RunDue(bool updatesOnly)
{
    for (bool isAgain = true; isAgain;) {
        isAgain = false;
        for (const auto &node : std::vector(m_nodes)) {
            const bool isWanted = !updatesOnly || node->work == NodeWork::kUpdate;
            if (!isWanted || !node->due || *node->due > m_machine.clock.Now())
                continue;
            node->due.reset();
            Run(node);
            isAgain = true;
        }
    }
}

nanoseconds Bus::NextDue() const
{
    nanoseconds next = kForever;
    for (const auto &node : m_nodes)
        next = std::min(next, node->due.value_or(kForever));
    return next;
}

void Bus::Run(const std::shared_ptr<Node> &node)
{
    switch (node->work) {
    case NodeWork::kInitialize:
        return Initialize(node);
    case NodeWork::kUpdate:
        return Update(*node);
    case NodeWork::kShutDown:
        return ShutDown(*node);
    }
}

// Reads the ROM. A camera that is known, and was thought gone, is revived with all its open files;
// any other gets the lowest free number.
void Bus::Initialize(const std::shared_ptr<Node> &node)
{
    Place *const place = PlaceOf(*node);
    if (!node->IsLocal() && (place == nullptr || !place->isPresent)) {
        std::erase(m_nodes, node);
        std::erase_if(m_places, [&](const Place &old) { return old.node == node; });
        return;
    }
    if (m_machine.faults.romReads > 0 && node->romRetries < kMostRetries) {
        --m_machine.faults.romReads;
        ++node->romRetries;
        return Schedule(*node, kRetryDelay);
    }
    node->rom = rack_cameras::MakeConfigRom(node->contents);
    node->speed = node->contents.linkSpeed;
    if (place != nullptr && Revive(*place))
        return;
    node->minor = FreeMinor();
    node->state = NodeState::kRunning;
    node->openableFrom = m_machine.clock.Now() + m_machine.faults.permissionDelay;
    m_machine.changed.notify_all();
}

bool Bus::Revive(const Place &place)
{
    const std::shared_ptr<Node> fresh = place.node;
    const auto isSame = [&](const Place &old) {
        return old.node->state == NodeState::kGone && old.node->minor &&
               std::equal(fresh->rom.begin(), fresh->rom.begin() + kComparedQuadlets,
                          old.node->rom.begin());
    };
    const auto found = std::find_if(m_places.begin(), m_places.end(), isSame);
    if (found == m_places.end())
        return false;
    const std::shared_ptr<Node> old = found->node;
    old->path = fresh->path;
    old->state = NodeState::kRunning;
    old->nodeId = fresh->nodeId;
    old->generation = m_generation;
    old->speed = fresh->speed;
    old->romRetries = 0;
    old->work = NodeWork::kUpdate;
    Schedule(*old, 0ns);
    std::erase(m_nodes, fresh);
    m_places.erase(found);
    for (Place &now : m_places)
        if (now.node == fresh)
            now.node = old;
    if (old->files.empty())
        return true;
    OpenLink(*old);
    for (DeviceFile *file : old->files) {
        m_machine.resources.BookAnew(*file);
        m_machine.streams.GoOn(*file);
    }
    return true;
}

void Bus::Update(Node &node)
{
    for (DeviceFile *file : node.files) {
        if (!file->hasInfo)
            continue;
        file->Queue(m_machine.BusResetEvent(*file).Take(kBusResetBytes));
        m_machine.resources.Renew(*file);
    }
    m_machine.changed.notify_all();
}

// Not within two seconds of a reset.
void Bus::ShutDown(Node &node)
{
    if (m_machine.clock.Now() < m_resetTime + kShutdownDelay)
        return Schedule(node, kShutdownDelay);
    if (node.state != NodeState::kGone)
        return;
    node.state = NodeState::kShutDown;
    std::erase_if(m_places, [&](const Place &place) { return place.node.get() == &node; });
    std::erase_if(m_nodes, [&](const auto &other) { return other.get() == &node; });
    m_machine.changed.notify_all();
}

void Bus::SettleAtOnce()
{
    for (const auto &node : m_nodes)
        if (node->state == NodeState::kGone)
            node->state = NodeState::kShutDown;
    std::erase_if(m_places, [](const Place &place) { return !place.isPresent; });
    std::erase_if(m_nodes, [](const auto &node) { return node->state == NodeState::kShutDown; });
    for (const auto &node : std::vector(m_nodes)) {
        if (node->state != NodeState::kInitializing)
            continue;
        node->due.reset();
        Initialize(node);
    }
}

// Nodes -------------------------------------------------------------------------------------------

std::shared_ptr<Node> Bus::NodeAt(uint32_t nodeId) const
{
    if (m_local->nodeId == nodeId)
        return m_local;
    for (const Place &place : m_places)
        if (place.isPresent && place.node->nodeId == nodeId)
            return place.node;
    return nullptr;
}

std::vector<std::shared_ptr<Node>> Bus::Named() const
{
    std::vector<std::shared_ptr<Node>> named;
    for (const auto &node : m_nodes)
        if (node->minor)
            named.push_back(node);
    std::sort(named.begin(), named.end(),
              [](const auto &a, const auto &b) { return *a->minor < *b->minor; });
    return named;
}

std::shared_ptr<Node> Bus::Find(const std::string &name) const
{
    for (const auto &node : m_nodes)
        if (node->minor && node->Name() == name)
            return node;
    return nullptr;
}

uint32_t Bus::FreeMinor() const
{
    uint32_t minor = 0;
    for (const auto &node : Named())
        if (*node->minor == minor)
            ++minor;
    return minor;
}

Bus::Place *Bus::PlaceOf(const Node &node)
{
    for (Place &place : m_places)
        if (place.node.get() == &node)
            return &place;
    return nullptr;
}

// Files and links ---------------------------------------------------------------------------------

bool Bus::IsWatched() const
{
    return std::any_of(m_nodes.begin(), m_nodes.end(),
                       [](const auto &node) { return !node->files.empty(); });
}

void Bus::AddFile(DeviceFile &file)
{
    file.node->files.push_back(&file);
    OpenLink(*file.node);
}

void Bus::RemoveFile(DeviceFile &file)
{
    Node &node = *file.node;
    std::erase(node.files, &file);
    if (node.lockHolder == &file)
        node.lockHolder = nullptr;
    if (node.files.empty())
        BuryLink(node);
}

void Bus::OpenLink(Node &node)
{
    const Place *const place = PlaceOf(node);
    if (node.link == nullptr && place != nullptr && place->isPresent)
        node.link = CameraLink::Open(node.path);
}

void Bus::BuryLink(Node &node)
{
    if (node.link != nullptr)
        m_deadLinks.push_back(std::move(node.link));
    node.link = nullptr;
}

void Bus::CloseLinks(Lock &lock)
{
    std::vector<std::shared_ptr<CameraLink>> links = std::exchange(m_deadLinks, {});
    if (!links.empty()) {
        ++m_closing;
        lock.unlock();
        for (const auto &link : links)
            link->Close();
        lock.lock();
        --m_closing;
        m_machine.changed.notify_all();
    }
    m_machine.changed.wait(lock, [this] { return m_closing == 0; });
}

} // namespace zerix::linux_model

// How an access goes through its transactions, and what each response code makes of it.
#include "bus/linux_firewire/transactions.h"

#include <algorithm>
#include <utility>

#include "bus/linux_firewire/kernel_records.h"
#include "bus/linux_firewire/node_files.h"
#include "bus/linux_firewire/system_errors.h"
#include "hal/kernel_requests.h"

namespace zerix::bus::linux_firewire {

namespace {

using namespace std::chrono_literals;

constexpr uint32_t kQuadlet = 4;
constexpr uint32_t kKernelLimit = 4096;
constexpr uint32_t kMostBusyTries = 300;
constexpr auto kShortestRest = 10us;
// The kernel learns the node's new number and generation some time after the bus has settled.
constexpr auto kStaleRest = 20ms;
constexpr auto kStalePatience = 700ms;

uint64_t OffsetOf(uint32_t address) { return uint64_t{kernel::kOffsetHigh} << 32 | address; }

} // namespace

enum class Transactions::Reaction {
    kDone,
    kBusy,
    kStale,      // the bus was reset since the request was made
    kTryOnce,    // no response in time: of a read nothing is lost by a second try
    kByQuadlets, // the node has no blocks
    kFails,
};

uint32_t LargestTransaction(int speed, std::span<const uint32_t> rom)
{
    constexpr int kFastestCode = 5;
    constexpr uint32_t kSlowestBytes = 512;
    const uint32_t onWire = kSlowestBytes << std::clamp(speed, 0, kFastestCode);
    // Four bits of the bus information: 2 to the power of them and one more. What has no such
    // quadlet takes single quadlets only.
    const uint32_t code = rom.size() > 2 ? rom[2] >> 12 & 0xF : 0;
    const uint32_t byNode = uint32_t{2} << code;
    return std::max(kQuadlet, std::min({onWire, byNode, kKernelLimit}));
}

Transactions::Transactions(SystemCalls &system, int file, uint32_t generation, uint32_t largest,
                           Finish finish)
    : m_system(system), m_file(file), m_largest(largest), m_finish(std::move(finish)),
      m_generation(generation)
{
}

// Beginning and ending ---------------------------------------------------------------------------

uint32_t Transactions::Read(kernel::RequestId id, uint32_t address, size_t bytes)
{
    Access access;
    access.id = id;
    access.offset = OffsetOf(address);
    access.bytes.resize(bytes);
    return Begin(std::move(access));
}

uint32_t Transactions::Write(kernel::RequestId id, uint32_t address, std::span<const uint8_t> bytes)
{
    Access access;
    access.id = id;
    access.isWrite = true;
    access.offset = OffsetOf(address);
    access.bytes.assign(bytes.begin(), bytes.end());
    return Begin(std::move(access));
}

uint32_t Transactions::Begin(Access access)
{
    const auto [place, isNew] = m_accesses.emplace(++m_lastNumber, std::move(access));
    const uint32_t error = Send(place->first, place->second);
    if (error != 0)
        m_accesses.erase(place);
    ForgetStalenessWhenIdle();
    return error;
}

void Transactions::Drop(kernel::RequestId id)
{
    std::erase_if(m_accesses, [id](const auto &entry) { return entry.second.id == id; });
    // A probe is forgotten for the next one to go on.
    if (id != kProbe)
        ForgetStalenessWhenIdle();
}

// Stale answers count from the first of a row; nothing is in a row with what nobody asks any more.
void Transactions::ForgetStalenessWhenIdle()
{
    if (m_accesses.empty())
        m_staleSince.reset();
}

void Transactions::End(Place place, uint32_t error)
{
    const auto ended = m_accesses.extract(place);
    ForgetStalenessWhenIdle();
    const Access &access = ended.mapped();
    const bool hasBytes = error == 0 && !access.isWrite;
    m_finish(access.id, error,
             hasBytes ? std::span<const uint8_t>(access.bytes) : std::span<const uint8_t>());
}

// Sending ----------------------------------------------------------------------------------------

uint32_t Transactions::Send(uint64_t number, Access &access)
{
    const size_t rest = access.bytes.size() - access.done;
    const bool byQuadlets = !access.isWrite && m_readsQuadlets;
    access.inFlight = std::min<size_t>(rest, byQuadlets ? kQuadlet : m_largest);
    access.generation = m_generation;
    access.rests = false;
    access.time = m_system.Now();
    const bool isQuadlet = access.inFlight == kQuadlet;
    fw_cdev_send_request request{};
    if (access.isWrite)
        request.tcode = isQuadlet ? TCODE_WRITE_QUADLET_REQUEST : TCODE_WRITE_BLOCK_REQUEST;
    else
        request.tcode = isQuadlet ? TCODE_READ_QUADLET_REQUEST : TCODE_READ_BLOCK_REQUEST;
    request.length = static_cast<uint32_t>(access.inFlight);
    request.offset = access.offset + access.done;
    request.closure = number;
    if (access.isWrite)
        request.data = reinterpret_cast<uintptr_t>(access.bytes.data() + access.done);
    request.generation = m_generation;
    const uint32_t error =
        SystemErrorOf(m_system.Ioctl(m_file, FW_CDEV_IOC_SEND_REQUEST, &request));
    m_isLost = m_isLost || error == kernel::kErrorDeviceNotConnected;
    return error;
}

// Under a new number: the answer to the last attempt counts no more. Takes no memory.
void Transactions::SendAgain(Place place)
{
    auto entry = m_accesses.extract(place);
    entry.key() = ++m_lastNumber;
    const Place moved = m_accesses.insert(std::move(entry)).position;
    if (const uint32_t error = Send(moved->first, moved->second))
        End(moved, error);
}

void Transactions::RestUntil(Place place, Time due)
{
    place->second.rests = true;
    place->second.time = due;
}

void Transactions::SendDue()
{
    const Time now = m_system.Now();
    const auto isDue = [now](const auto &entry) {
        return entry.second.rests && entry.second.time <= now;
    };
    // What is sent again moves to the end with a higher number, and rests no more.
    for (;;) {
        const Place due = std::find_if(m_accesses.begin(), m_accesses.end(), isDue);
        if (due == m_accesses.end())
            return;
        SendAgain(due);
    }
}

std::optional<Transactions::Time> Transactions::NextDue() const
{
    std::optional<Time> next;
    for (const auto &[number, access] : m_accesses)
        if (access.rests && (!next || access.time < *next))
            next = access.time;
    return next;
}

std::optional<Transactions::Time> Transactions::OldestUnanswered() const
{
    std::optional<Time> oldest;
    for (const auto &[number, access] : m_accesses)
        if (!access.rests && (!oldest || access.time < *oldest))
            oldest = access.time;
    return oldest;
}

// Responses --------------------------------------------------------------------------------------

// After a reset the response to a request that was on its way never comes: it counts as stale. A
// probe asks who is there, so that no acknowledgement means nobody yet.
Transactions::Reaction Transactions::ReactionTo(const Access &access, uint32_t code) const
{
    switch (code) {
    case RCODE_COMPLETE:
        return Reaction::kDone;
    case RCODE_CONFLICT_ERROR:
    case RCODE_BUSY:
        return Reaction::kBusy;
    case RCODE_GENERATION:
        return Reaction::kStale;
    case RCODE_NO_ACK:
        return access.id == kProbe ? Reaction::kStale : Reaction::kFails;
    case RCODE_CANCELLED:
        if (access.generation != m_generation)
            return Reaction::kStale;
        return access.isWrite || access.hasTimedOut ? Reaction::kFails : Reaction::kTryOnce;
    case RCODE_TYPE_ERROR: {
        const bool wasBlock = !access.isWrite && access.inFlight > kQuadlet;
        return wasBlock ? Reaction::kByQuadlets : Reaction::kFails;
    }
    default:
        return Reaction::kFails;
    }
}

void Transactions::OnResponse(uint64_t number, uint32_t code, std::span<const uint8_t> data)
{
    const Place place = m_accesses.find(number);
    if (place == m_accesses.end() || place->second.rests)
        return;
    const Reaction reaction = ReactionTo(place->second, code);
    if (reaction != Reaction::kStale)
        m_staleSince.reset();
    switch (reaction) {
    case Reaction::kDone:
        return GoOn(place, data);
    case Reaction::kBusy:
        return TryLater(place);
    case Reaction::kStale:
        return AwaitGeneration(place);
    case Reaction::kTryOnce:
        place->second.hasTimedOut = true;
        return SendAgain(place);
    case Reaction::kByQuadlets:
        m_readsQuadlets = true;
        return SendAgain(place);
    case Reaction::kFails:
        return End(place, kernel::kErrorGenFailure);
    }
}

void Transactions::GoOn(Place place, std::span<const uint8_t> data)
{
    Access &access = place->second;
    if (!access.isWrite) {
        if (data.size() < access.inFlight)
            return End(place, kernel::kErrorGenFailure);
        std::copy_n(data.begin(), access.inFlight,
                    access.bytes.begin() + static_cast<ptrdiff_t>(access.done));
    }
    access.done += access.inFlight;
    access.busyTries = 0;
    access.hasTimedOut = false;
    if (access.done == access.bytes.size())
        End(place, 0);
    else
        SendAgain(place);
}

// The rests differ, so that two nodes which disturb each other don't do so for ever.
void Transactions::TryLater(Place place)
{
    Access &access = place->second;
    if (access.busyTries == kMostBusyTries)
        return End(place, kernel::kErrorGenFailure);
    const auto rest = kShortestRest * (1 + access.busyTries % 3);
    ++access.busyTries;
    RestUntil(place, m_system.Now() + rest);
}

bool Transactions::IsStaleTooLong() const
{
    return m_staleSince && m_system.Now() - *m_staleSince >= kStalePatience;
}

// The kernel knows a new generation at once where another device has reset the bus. Where this one
// was unplugged, it keeps the old one until it gives the node up, seconds later.
void Transactions::AwaitGeneration(Place place)
{
    const Time now = m_system.Now();
    if (!m_staleSince)
        m_staleSince = now;
    const int result = ReadGeneration(m_system, m_file, m_generation);
    m_isLost =
        m_isLost || SystemErrorOf(result) == kernel::kErrorDeviceNotConnected || IsStaleTooLong();
    if (m_isLost)
        return End(place, kernel::kErrorDeviceNotConnected);
    if (m_generation != place->second.generation)
        return SendOutdatedAgain();
    RestUntil(place, now + kStaleRest);
}

void Transactions::OnGeneration(uint32_t generation)
{
    m_generation = generation;
    SendOutdatedAgain();
}

// What a node has acknowledged, it can't respond to after a bus reset. The kernel waits for two
// seconds all the same.
void Transactions::SendOutdatedAgain()
{
    const auto isOutdated = [this](const auto &entry) {
        return !entry.second.rests && entry.second.generation != m_generation;
    };
    for (;;) {
        const Place outdated = std::find_if(m_accesses.begin(), m_accesses.end(), isOutdated);
        if (outdated == m_accesses.end())
            return;
        SendAgain(outdated);
    }
}

} // namespace zerix::bus::linux_firewire

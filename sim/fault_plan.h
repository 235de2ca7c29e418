// A camera's plan of faults: at the n-th operation of a kind, or in frame f at packet p, something
// goes wrong, once or from then on. A fault counts from 1, and from the moment when it was added.
// Guarded by the bus's lock.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zerix::sim {

enum class FaultKind : uint8_t {
    kLosePacket,
    kCutPacket,
    kCorruptPacket,
    kDoublePacket,
    kReorderPacket,
    kBadMarker,
    kBadTrailer,
    kWrongTag,
    kReadError,
    kWriteError,
    kHang,
    kNoBandwidth,
    kNoChannel,
    kNoResources,
    kNoFastSpeed,
    kFailRequeue,
    kInUse,
    kUnplug,
    kUnplugWithDriver,
};

// How a camera leaves the bus. Some systems take its driver away with it: then nothing that a
// handle holds can be given back, and the camera can't return before the handle is closed.
enum class Unplugging : uint8_t { kNone, kDeviceOnly, kWithDriver };

// What faults count.
enum class Operation : uint8_t { kRead, kWrite, kRequest, kBuffer, kPacket, kFrame };

// A fault without a place holds from the moment when it is added.
enum class FaultPlace : uint8_t { kAlways, kOperation, kFrame };

struct Fault {
    FaultKind kind = FaultKind::kLosePacket;
    uint32_t systemError = 0; // of read and write errors
    FaultPlace place = FaultPlace::kAlways;
    Operation operation = Operation::kPacket;
    uint32_t number = 0; // which operation
    uint32_t frame = 0;
    uint32_t packet = 0; // 0: the frame as a whole
    bool fromThenOn = false;
};

// Reads one fault. False, and one sentence with what was expected.
bool ParseFault(std::string_view text, Fault *fault, std::string *error);

// What happens to a register access.
struct AccessFault {
    bool hang = false;
    Unplugging unplug = Unplugging::kNone;
    uint32_t systemError = 0;
};

// What happens to a packet.
struct PacketFault {
    bool lose = false;
    bool cut = false;
    bool corrupt = false;
    bool twice = false;
    bool afterNext = false;
    bool badMarker = false;
    bool badTrailer = false;
    Unplugging unplug = Unplugging::kNone;
};

class FaultPlan {
public:
    void Add(const Fault &fault);

    AccessFault OnRead();
    AccessFault OnWrite();

    // One request for bandwidth, a channel, or resources (at the fast speed or the slow one).
    bool OnBandwidth();
    bool OnChannel();
    bool OnResources(bool fast);

    // A buffer queued again while the device listens.
    bool OnRequeue();

    // A frame begins to be sent. True if it carries a wrong tag.
    bool OnFrame();
    PacketFault OnPacket();

    [[nodiscard]] bool IsInUse() const;

private:
    struct Entry {
        Fault fault;
        uint32_t operations = 0;
        uint32_t frames = 0;
        uint32_t packetsInFrame = 0;
    };

    static bool IsDue(const Fault &fault, uint32_t count);
    bool Count(FaultKind kind, Operation operation);
    bool CountAny(Entry &entry, Operation operation);
    AccessFault OnAccess(FaultKind failing, Operation operation);
    static bool PacketIsDue(Entry &entry);

    std::vector<Entry> m_entries;
};

} // namespace zerix::sim

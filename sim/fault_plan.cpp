// Counts operations against the plan and tells which faults are due.
#include "sim/fault_plan.h"

#include <algorithm>

namespace zerix::sim {
namespace {

Unplugging UnpluggingOf(FaultKind kind)
{
    if (kind == FaultKind::kUnplugWithDriver)
        return Unplugging::kWithDriver;
    return kind == FaultKind::kUnplug ? Unplugging::kDeviceOnly : Unplugging::kNone;
}

} // namespace

void FaultPlan::Add(const Fault &fault) { m_entries.push_back({.fault = fault}); }

AccessFault FaultPlan::OnRead() { return OnAccess(FaultKind::kReadError, Operation::kRead); }

AccessFault FaultPlan::OnWrite() { return OnAccess(FaultKind::kWriteError, Operation::kWrite); }

bool FaultPlan::OnBandwidth() { return Count(FaultKind::kNoBandwidth, Operation::kRequest); }

bool FaultPlan::OnChannel() { return Count(FaultKind::kNoChannel, Operation::kRequest); }

bool FaultPlan::OnResources(bool fast)
{
    const bool none = Count(FaultKind::kNoResources, Operation::kRequest);
    const bool noFast = fast && Count(FaultKind::kNoFastSpeed, Operation::kRequest);
    return none || noFast;
}

bool FaultPlan::OnRequeue() { return Count(FaultKind::kFailRequeue, Operation::kBuffer); }

bool FaultPlan::OnFrame()
{
    bool wrongTag = false;
    for (Entry &entry : m_entries) {
        ++entry.frames;
        entry.packetsInFrame = 0;
        if (entry.fault.kind == FaultKind::kWrongTag)
            wrongTag |=
                entry.fault.place == FaultPlace::kAlways || IsDue(entry.fault, entry.frames);
    }
    return wrongTag;
}

PacketFault FaultPlan::OnPacket()
{
    PacketFault result;
    for (Entry &entry : m_entries) {
        if (!PacketIsDue(entry))
            continue;
        switch (entry.fault.kind) {
        case FaultKind::kLosePacket:
            result.lose = true;
            break;
        case FaultKind::kCutPacket:
            result.cut = true;
            break;
        case FaultKind::kCorruptPacket:
            result.corrupt = true;
            break;
        case FaultKind::kDoublePacket:
            result.twice = true;
            break;
        case FaultKind::kReorderPacket:
            result.afterNext = true;
            break;
        case FaultKind::kBadMarker:
            result.badMarker = true;
            break;
        case FaultKind::kBadTrailer:
            result.badTrailer = true;
            break;
        case FaultKind::kUnplug:
        case FaultKind::kUnplugWithDriver:
            result.unplug = std::max(result.unplug, UnpluggingOf(entry.fault.kind));
            break;
        default:
            break;
        }
    }
    return result;
}

bool FaultPlan::IsInUse() const
{
    for (const Entry &entry : m_entries)
        if (entry.fault.kind == FaultKind::kInUse)
            return true;
    return false;
}

// Frames count by their own number, everything else by the number of the operation.
bool FaultPlan::IsDue(const Fault &fault, uint32_t count)
{
    const uint32_t wanted = fault.place == FaultPlace::kFrame ? fault.frame : fault.number;
    return count == wanted || (fault.fromThenOn && count > wanted);
}

bool FaultPlan::CountAny(Entry &entry, Operation operation)
{
    if (entry.fault.place == FaultPlace::kAlways)
        return true;
    if (entry.fault.place != FaultPlace::kOperation || entry.fault.operation != operation)
        return false;
    return IsDue(entry.fault, ++entry.operations);
}

bool FaultPlan::Count(FaultKind kind, Operation operation)
{
    bool due = false;
    for (Entry &entry : m_entries)
        if (entry.fault.kind == kind)
            due |= CountAny(entry, operation);
    return due;
}

AccessFault FaultPlan::OnAccess(FaultKind failing, Operation operation)
{
    AccessFault result;
    for (Entry &entry : m_entries) {
        const FaultKind kind = entry.fault.kind;
        const Unplugging unplugging = UnpluggingOf(kind);
        if (kind != failing && kind != FaultKind::kHang && unplugging == Unplugging::kNone)
            continue;
        if (!CountAny(entry, operation))
            continue;
        result.hang |= kind == FaultKind::kHang;
        result.unplug = std::max(result.unplug, unplugging);
        if (kind == failing)
            result.systemError = entry.fault.systemError;
    }
    return result;
}

bool FaultPlan::PacketIsDue(Entry &entry)
{
    ++entry.packetsInFrame;
    const Fault &fault = entry.fault;
    switch (fault.place) {
    case FaultPlace::kAlways:
        return true;
    case FaultPlace::kOperation:
        return fault.operation == Operation::kPacket && IsDue(fault, ++entry.operations);
    case FaultPlace::kFrame:
        break;
    }
    // Without a packet number a fault of a frame is one of all its packets; an unplug happens at
    // the first.
    const bool packetFits = fault.packet == 0 || fault.packet == entry.packetsInFrame;
    return packetFits && IsDue(fault, entry.frames);
}

} // namespace zerix::sim

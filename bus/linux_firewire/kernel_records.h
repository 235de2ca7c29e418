// The kernel's FireWire records, and what of their layout this bus goes by. A 32-bit program may
// run on a 64-bit kernel: the fields are at the same offsets in both, only the padding at the end
// of some records differs, and the kernel takes the size from the request's number.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include <linux/firewire-cdev.h>
#include <linux/firewire-constants.h>

namespace zerix::bus::linux_firewire {

inline constexpr bool kPadsRecords = alignof(fw_cdev_get_info) == 8;

static_assert(offsetof(fw_cdev_get_info, rom) == 8 && offsetof(fw_cdev_get_info, card) == 32);
static_assert(sizeof(fw_cdev_get_info) == (kPadsRecords ? 40 : 36));
static_assert(offsetof(fw_cdev_send_request, offset) == 8 &&
              offsetof(fw_cdev_send_request, data) == 24 &&
              offsetof(fw_cdev_send_request, generation) == 32);
static_assert(sizeof(fw_cdev_send_request) == (kPadsRecords ? 40 : 36));
static_assert(offsetof(fw_cdev_create_iso_context, closure) == 16 &&
              offsetof(fw_cdev_create_iso_context, handle) == 24);
static_assert(sizeof(fw_cdev_create_iso_context) == (kPadsRecords ? 32 : 28));
static_assert(sizeof(fw_cdev_queue_iso) == 24 && offsetof(fw_cdev_queue_iso, size) == 16);
static_assert(sizeof(fw_cdev_iso_packet) == 4);
static_assert(sizeof(fw_cdev_start_iso) == 16 && sizeof(fw_cdev_stop_iso) == 4);
static_assert(sizeof(fw_cdev_allocate_iso_resource) == 24 &&
              offsetof(fw_cdev_allocate_iso_resource, handle) == 20);
static_assert(sizeof(fw_cdev_deallocate) == 4);

static_assert(offsetof(fw_cdev_event_common, type) == 8);
static_assert(offsetof(fw_cdev_event_bus_reset, generation) == 32);
static_assert(offsetof(fw_cdev_event_response, rcode) == 12 &&
              offsetof(fw_cdev_event_response, length) == 16 &&
              offsetof(fw_cdev_event_response, data) == 20);
static_assert(offsetof(fw_cdev_event_iso_interrupt, header_length) == 16 &&
              offsetof(fw_cdev_event_iso_interrupt, header) == 20);
static_assert(offsetof(fw_cdev_event_iso_resource, handle) == 12 &&
              offsetof(fw_cdev_event_iso_resource, channel) == 16 &&
              offsetof(fw_cdev_event_iso_resource, bandwidth) == 20);

// The interface that this bus is written for, and the oldest with a time stamp in the headers of
// received packets and with resources that survive a bus reset.
inline constexpr uint32_t kInterfaceVersion = 5;
inline constexpr uint32_t kLeastInterfaceVersion = 2;

// A word of an event; 0 beyond its end.
template <typename Word = uint32_t>
Word EventWord(std::span<const uint8_t> event, size_t offset)
{
    Word word = 0;
    if (offset + sizeof(Word) <= event.size())
        std::memcpy(&word, event.data() + offset, sizeof(Word));
    return word;
}

// The variable part of an event, as long as its record says and no longer than what was read.
inline std::span<const uint8_t> EventData(std::span<const uint8_t> event, size_t offset,
                                          size_t length)
{
    if (offset >= event.size())
        return {};
    const auto rest = event.subspan(offset);
    return length < rest.size() ? rest.first(length) : rest;
}

} // namespace zerix::bus::linux_firewire

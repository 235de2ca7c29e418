// SPDX-License-Identifier: GPL-2.0 OR MIT
/*
 * Isochronous reception, a packet a buffer, as an OHCI card does it: each packet takes the next
 * slot of its channel's context, and what is longer than the slot is cut. There is no transmission
 * and no multichannel reception.
 */
#include "bus.h"
#include <linux/highmem.h>
#include <linux/moduleparam.h>
#include <linux/slab.h>

#define TCODE_ISO 0xa
/* What a card stores above the time stamp is no part of it. */
#define TRANSFER_STATUS 0x8411u
#define DESCRIPTOR_BYTES 16

static unsigned int contexts = 4;
module_param(contexts, uint, 0444);
MODULE_PARM_DESC(contexts, "receive contexts of the card");

static unsigned int descriptors = 16 << 20;
module_param(descriptors, uint, 0444);
MODULE_PARM_DESC(descriptors, "bytes of descriptors that a context can have queued");

struct slot {
    struct list_head link;
    struct fw_iso_buffer *buffer;
    unsigned long place;
    u32 length;
    u32 descriptor_bytes;
    bool interrupt;
    bool wait_for_sync;
};

struct context {
    struct fw_iso_context base;
    struct list_head link;
    u32 id;
    bool running;
    u32 sync, tags;
    struct list_head slots;
    u32 slot_count;
    u32 descriptor_bytes;
    u16 last_stamp;
    u32 header_length;
    __be32 *header;
};

static struct context *context_of(struct fw_iso_context *base)
{
    return container_of(base, struct context, base);
}

static void notify_of(struct bus *bus, struct context *context, u32 kind)
{
    struct fwbus_record record = {.kind = kind, .id = context->id, .length = context->slot_count};
    struct slot *next = list_first_entry_or_null(&context->slots, struct slot, link);

    record.channel = context->base.channel;
    record.code = next ? next->length : 0;
    notify(bus, &record, NULL);
}

/* Each context has its own page for headers. */
static void flush_headers(struct context *context)
{
    context->base.callback.sc(&context->base, context->last_stamp, context->header_length,
                              context->header, context->base.callback_data);
    context->header_length = 0;
}

struct fw_iso_context *card_allocate_iso_context(struct fw_card *card, int type, int channel,
                                                 size_t header_size)
{
    struct bus *bus = bus_of(card);
    struct context *context, *other;
    unsigned long flags;
    u32 count = 0;

    if (type != FW_ISO_CONTEXT_RECEIVE)
        return ERR_PTR(-ENOSYS);
    context = kzalloc(sizeof(*context), GFP_KERNEL);
    if (!context)
        return ERR_PTR(-ENOMEM);
    context->header = (__be32 *)__get_free_page(GFP_KERNEL);
    if (!context->header)
        goto no_memory;
    INIT_LIST_HEAD(&context->slots);
    context->base.channel = channel;

    spin_lock_irqsave(&bus->lock, flags);
    list_for_each_entry(other, &bus->contexts, link)
    {
        count++;
        if (other->base.channel == channel)
            count = contexts;
    }
    if (count < contexts) {
        context->id = ++bus->context_number;
        list_add_tail(&context->link, &bus->contexts);
    }
    spin_unlock_irqrestore(&bus->lock, flags);
    if (count < contexts)
        return &context->base;

    free_page((unsigned long)context->header);
    kfree(context);
    return ERR_PTR(-EBUSY);
no_memory:
    kfree(context);
    return ERR_PTR(-ENOMEM);
}

static void stop(struct bus *bus, struct context *context)
{
    if (!context->running)
        return;
    context->running = false;
    notify_of(bus, context, FWBUS_ISO_END);
}

void card_free_iso_context(struct fw_iso_context *base)
{
    struct context *context = context_of(base);
    struct bus *bus = bus_of(base->card);
    struct slot *slot, *next;
    unsigned long flags;

    spin_lock_irqsave(&bus->lock, flags);
    stop(bus, context);
    list_del(&context->link);
    spin_unlock_irqrestore(&bus->lock, flags);
    list_for_each_entry_safe(slot, next, &context->slots, link) kfree(slot);
    free_page((unsigned long)context->header);
    kfree(context);
}

/* The cycle to begin in is not waited for. */
int card_start_iso(struct fw_iso_context *base, s32 cycle, u32 sync, u32 tags)
{
    struct context *context = context_of(base);
    struct bus *bus = bus_of(base->card);
    unsigned long flags;
    int result = 0;

    spin_lock_irqsave(&bus->lock, flags);
    if (context->slot_count == 0) {
        result = -ENODATA;
    } else if (!context->running) {
        context->running = true;
        context->sync = sync;
        context->tags = tags;
        notify_of(bus, context, FWBUS_ISO_BEGIN);
    }
    spin_unlock_irqrestore(&bus->lock, flags);
    return result;
}

int card_set_iso_channels(struct fw_iso_context *base, u64 *channels) { return -EINVAL; }

static int queue_slot(struct context *context, struct slot values)
{
    struct bus *bus = bus_of(context->base.card);
    struct slot *slot;
    unsigned long flags;

    /* One for the header, one for each page, one for the header's own bytes. */
    values.descriptor_bytes =
        DESCRIPTOR_BYTES *
        (2 + DIV_ROUND_UP((values.place & ~PAGE_MASK) + values.length, PAGE_SIZE));
    if (context->descriptor_bytes + values.descriptor_bytes > descriptors)
        return -ENOMEM;
    slot = kmalloc(sizeof(*slot), GFP_KERNEL);
    if (!slot)
        return -ENOMEM;
    *slot = values;
    spin_lock_irqsave(&bus->lock, flags);
    list_add_tail(&slot->link, &context->slots);
    context->slot_count++;
    context->descriptor_bytes += slot->descriptor_bytes;
    spin_unlock_irqrestore(&bus->lock, flags);
    return 0;
}

int card_queue_iso(struct fw_iso_context *base, struct fw_iso_packet *packet,
                   struct fw_iso_buffer *buffer, unsigned long payload)
{
    struct context *context = context_of(base);
    u32 count = packet->header_length / base->header_size, i;
    u32 length = packet->payload_length / count;

    for (i = 0; i < count; i++) {
        struct slot slot = {.buffer = buffer, .place = payload + i * length, .length = length};
        int result;

        slot.interrupt = packet->interrupt && i == count - 1;
        slot.wait_for_sync = packet->skip && i == 0;
        result = queue_slot(context, slot);
        if (result)
            return result;
    }
    return 0;
}

void card_flush_queue_iso(struct fw_iso_context *base)
{
    struct bus *bus = bus_of(base->card);
    unsigned long flags;

    spin_lock_irqsave(&bus->lock, flags);
    notify_of(bus, context_of(base), FWBUS_ISO_QUEUED);
    spin_unlock_irqrestore(&bus->lock, flags);
}

int card_flush_iso_completions(struct fw_iso_context *base)
{
    struct bus *bus = bus_of(base->card);
    unsigned long flags;

    spin_lock_irqsave(&bus->lock, flags);
    if (context_of(base)->header_length)
        flush_headers(context_of(base));
    spin_unlock_irqrestore(&bus->lock, flags);
    return 0;
}

int card_stop_iso(struct fw_iso_context *base)
{
    struct bus *bus = bus_of(base->card);
    unsigned long flags;

    spin_lock_irqsave(&bus->lock, flags);
    stop(bus, context_of(base));
    spin_unlock_irqrestore(&bus->lock, flags);
    return 0;
}

static void copy_to_slot(struct slot *slot, const u8 *payload, u32 length)
{
    unsigned long place = slot->place;

    length = min(length, slot->length);
    while (length) {
        u32 part = min_t(u32, length, PAGE_SIZE - (place & ~PAGE_MASK));

        memcpy_to_page(slot->buffer->pages[place >> PAGE_SHIFT], place & ~PAGE_MASK,
                       (const char *)payload, part);
        place += part;
        payload += part;
        length -= part;
    }
}

/* Headers longer than two quadlets take the packet's first bytes with them. */
static void add_header(struct context *context, const struct fwbus_record *record,
                       const u8 *payload)
{
    size_t size = context->base.header_size;
    __be32 *header;

    if (context->header_length + size > PAGE_SIZE) {
        if (context->base.drop_overflow_headers)
            return;
        flush_headers(context);
    }
    header = context->header + context->header_length / 4;
    context->last_stamp = record->flags & FWBUS_CYCLE ? record->cycle : cycle_stamp();
    header[0] = cpu_to_be32(record->payload << 16 | (record->tag & 3u) << 14 |
                            (record->channel & 63u) << 8 | TCODE_ISO << 4 | (record->sy & 15u));
    if (size > 4)
        header[1] = cpu_to_be32(TRANSFER_STATUS << 16 | context->last_stamp);
    if (size > 8) {
        memset(&header[2], 0, size - 8);
        memcpy(&header[2], payload, min_t(size_t, size - 8, record->payload));
    }
    context->header_length += size;
}

static void fill_slot(struct context *context, const struct fwbus_record *record, const u8 *payload)
{
    struct slot *slot = list_first_entry(&context->slots, struct slot, link);
    size_t in_header = context->base.header_size > 8 ? context->base.header_size - 8 : 0;

    if (slot->wait_for_sync && record->sy != context->sync)
        return;
    list_del(&slot->link);
    context->slot_count--;
    context->descriptor_bytes -= slot->descriptor_bytes;
    in_header = min_t(size_t, in_header, record->payload);
    copy_to_slot(slot, payload + in_header, record->payload - in_header);
    add_header(context, record, payload);
    if (slot->interrupt)
        flush_headers(context);
    kfree(slot);
}

int receive_iso(struct bus *bus, const struct fwbus_record *record, const u8 *payload)
{
    struct context *context;
    unsigned long flags;
    int result = 0;

    if (record->channel > 63 || record->tag > 3 || record->sy > 15)
        return -EINVAL;
    spin_lock_irqsave(&bus->lock, flags);
    list_for_each_entry(context, &bus->contexts, link)
    {
        if (!context->running || context->base.channel != record->channel ||
            !(context->tags >> record->tag & 1))
            continue;
        if (context->slot_count)
            fill_slot(context, record, payload);
        else if (record->flags & FWBUS_KEEP)
            result = -EAGAIN;
        break;
    }
    spin_unlock_irqrestore(&bus->lock, flags);
    return result;
}

/* What a program that opens the device file late has missed. */
void notify_of_contexts(struct bus *bus)
{
    struct context *context;

    list_for_each_entry(context, &bus->contexts, link) if (context->running)
        notify_of(bus, context, FWBUS_ISO_BEGIN);
}

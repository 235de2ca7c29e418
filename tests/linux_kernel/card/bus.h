/* SPDX-License-Identifier: GPL-2.0 OR MIT */
/*
 * The virtual card inside: one bus with its local node and the sockets of the remote ones.
 * card.c drives resets and what the core asks a card for, requests.c carries requests and answers,
 * iso.c receives isochronous packets, device_file.c is /dev/fwbus.
 *
 * `lock` guards every field and is taken with interrupts off. The core is never called with it
 * held, except for the callback of an isochronous context.
 */
#ifndef ZERIX_FWBUS_BUS_H
#define ZERIX_FWBUS_BUS_H

#include <linux/firewire-constants.h>
#include <linux/firewire.h>
#include <linux/mutex.h>
#include <linux/spinlock.h>
#include <linux/wait.h>

/* The core's own header stands on those above. */
#include "../core.h"
#include "fwbus.h"

#define ROM_QUADLETS 256
#define LABELS 64

struct remote_node {
    bool plugged;
    u32 phy_id;
    u32 speed;
    u32 rom_bytes; /* 0: the program answers reads of the ROM */
    __be32 rom[ROM_QUADLETS];
    u32 ack;
    u32 acks_left; /* 0: until further notice */
};

/* A request that has no answer yet. The transaction label of the packet is its place in the table.
 */
struct open_request {
    u32 id; /* 0: none */
    u32 node;
    u32 header[4];
    int speed;
    struct fw_packet *held; /* not yet acknowledged */
};

struct bus {
    struct fw_card card;
    spinlock_t lock;

    u32 generation;
    u32 local_phy_id;
    u32 gap_count;
    bool gap_count_is_new; /* set by a PHY packet since the last reset, or it falls back to 63 */
    u8 phy_registers[16];
    __be32 local_rom[ROM_QUADLETS];
    u32 bus_manager, bandwidth, channels_high, channels_low;
    u32 state_bits;

    struct remote_node nodes[FWBUS_NODES];
    struct open_request open_requests[LABELS];
    u32 last_id;

    struct list_head contexts;
    u32 context_number;

    /* The device file. */
    bool is_open;
    struct list_head notices;
    wait_queue_head_t notices_wait;
    struct mutex write_mutex;
    u8 *write_payload;
};

struct notice {
    struct list_head link;
    struct fwbus_record record; /* its payload follows */
    u8 payload[];
};

static inline struct bus *bus_of(struct fw_card *card)
{
    return container_of(card, struct bus, card);
}

/* card.c */
extern struct bus the_bus;
u32 cycle_timer(void);
u16 cycle_stamp(void);
void reset_bus(struct bus *bus, u32 initiator);
int plug(struct bus *bus, const struct fwbus_record *record, const void *rom);
int unplug(struct bus *bus, u32 node);
void unplug_all(struct bus *bus);
int set_rom(struct bus *bus, const struct fwbus_record *record, const void *rom);

/* requests.c */
void card_send_request(struct fw_card *card, struct fw_packet *packet);
void card_send_response(struct fw_card *card, struct fw_packet *packet);
int card_cancel_packet(struct fw_card *card, struct fw_packet *packet);
int set_acks(struct bus *bus, const struct fwbus_record *record);
int acknowledge(struct bus *bus, const struct fwbus_record *record);
int answer(struct bus *bus, const struct fwbus_record *record, void *payload);
void forget_requests(struct bus *bus, int code);

/* iso.c */
struct fw_iso_context *card_allocate_iso_context(struct fw_card *card, int type, int channel,
                                                 size_t header_size);
void card_free_iso_context(struct fw_iso_context *base);
int card_start_iso(struct fw_iso_context *base, s32 cycle, u32 sync, u32 tags);
int card_set_iso_channels(struct fw_iso_context *base, u64 *channels);
int card_queue_iso(struct fw_iso_context *base, struct fw_iso_packet *packet,
                   struct fw_iso_buffer *buffer, unsigned long payload);
void card_flush_queue_iso(struct fw_iso_context *base);
int card_flush_iso_completions(struct fw_iso_context *base);
int card_stop_iso(struct fw_iso_context *base);
int receive_iso(struct bus *bus, const struct fwbus_record *record, const u8 *payload);
void notify_of_contexts(struct bus *bus);

/* device_file.c; `lock` is held. The first copies record and payload and returns the notice or
 * null. */
struct notice *notify(struct bus *bus, const struct fwbus_record *record, const void *payload);
int register_device_file(struct bus *bus);

#endif

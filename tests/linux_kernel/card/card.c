// SPDX-License-Identifier: GPL-2.0 OR MIT
/*
 * The card: self-identification, resets, its registers and its ROM, and the sockets.
 */
#include "bus.h"
#include <linux/dma-mapping.h>
#include <linux/module.h>
#include <linux/platform_device.h>

#define INITIAL_BANDWIDTH 4915
#define INITIAL_GAP_COUNT 63
#define NO_BUS_MANAGER 0x3f
#define LOCAL_GUID 0x0011225a45524958ull
#define MAX_RECEIVE 11 /* 4,096 bytes */

#define PORT_CHILD 3
#define PORT_PARENT 2
#define PORT_NOT_CONNECTED 1

struct bus the_bus;

/* 7 bits of seconds, 13 of cycles, 12 of 24.576 MHz. */
u32 cycle_timer(void)
{
    u32 nanoseconds, cycles, ticks;
    u64 seconds = div_u64_rem(ktime_get_ns(), NSEC_PER_SEC, &nanoseconds);

    cycles = nanoseconds / 125000;
    ticks = (nanoseconds % 125000) * 3072ull / 125000;
    return (u32)(seconds & 0x7f) << 25 | cycles << 12 | ticks;
}

u16 cycle_stamp(void) { return cycle_timer() >> 12; }

static u32 self_id(struct bus *bus, u32 phy_id, u32 speed, bool contender, bool initiated)
{
    return 0x80000000u | phy_id << 24 | 1u << 22 | bus->gap_count << 16 | speed << 14 |
           contender << 11 | initiated << 1;
}

/*
 * Nodes get their ids from the leaves to the root: the remote ones in the order of their sockets,
 * then the local node, which is root, cycle master and resource manager. Returns the number of
 * quadlets.
 */
static int identify_nodes(struct bus *bus, u32 initiator, u32 *ids)
{
    u32 phy_id = 0, ports[FWBUS_NODES], i;
    int count = 0;

    for (i = 0; i < FWBUS_NODES; i++) {
        struct remote_node *node = &bus->nodes[i];

        ports[i] = node->plugged ? PORT_CHILD : PORT_NOT_CONNECTED;
        if (!node->plugged)
            continue;
        node->phy_id = phy_id++;
        ids[count++] = self_id(bus, node->phy_id, node->speed, false, initiator == i) | PORT_PARENT
                                                                                            << 6;
    }
    bus->local_phy_id = phy_id;
    /* Three ports are told by the first packet, eight by the one that follows. */
    ids[count++] = self_id(bus, phy_id, SCODE_BETA, true, initiator == FWBUS_LOCAL) |
                   ports[0] << 6 | ports[1] << 4 | ports[2] << 2 | 1;
    ids[count] = 0x80000000u | phy_id << 24 | 1u << 23;
    for (i = 3; i < FWBUS_NODES; i++)
        ids[count] |= ports[i] << (16 - 2 * (i - 3));
    return count + 1;
}

void reset_bus(struct bus *bus, u32 initiator)
{
    struct fwbus_record record = {.kind = FWBUS_RESET_DONE};
    u32 ids[FWBUS_NODES + 2];
    unsigned long flags;
    int count;

    BUILD_BUG_ON(FWBUS_NODES != 3 + 8);
    spin_lock_irqsave(&bus->lock, flags);
    /* As PHYs do it: a gap count outlives one reset. */
    if (!bus->gap_count_is_new)
        bus->gap_count = INITIAL_GAP_COUNT;
    bus->gap_count_is_new = false;
    bus->generation = (bus->generation + 1) & 0xff;
    bus->bus_manager = NO_BUS_MANAGER;
    bus->bandwidth = INITIAL_BANDWIDTH;
    bus->channels_high = bus->channels_low = ~0u;
    count = identify_nodes(bus, initiator, ids);
    record.generation = bus->generation;
    record.node = record.id = bus->local_phy_id;
    spin_unlock_irqrestore(&bus->lock, flags);

    forget_requests(bus, RCODE_GENERATION);
    fw_core_handle_bus_reset(&bus->card, LOCAL_BUS | record.id, record.generation, count, ids,
                             false);

    spin_lock_irqsave(&bus->lock, flags);
    notify(bus, &record, NULL);
    spin_unlock_irqrestore(&bus->lock, flags);
}

static int check_rom(const struct fwbus_record *record)
{
    return record->payload % 4 || record->payload > 4 * ROM_QUADLETS ? -EINVAL : 0;
}

int plug(struct bus *bus, const struct fwbus_record *record, const void *rom)
{
    struct remote_node *node;
    unsigned long flags;

    if (record->node >= FWBUS_NODES || record->code > SCODE_800 || check_rom(record))
        return -EINVAL;
    node = &bus->nodes[record->node];
    if (node->plugged)
        return -EEXIST;
    spin_lock_irqsave(&bus->lock, flags);
    memset(node, 0, sizeof(*node));
    node->plugged = true;
    node->speed = record->code;
    node->rom_bytes = record->payload;
    memcpy(node->rom, rom, record->payload);
    spin_unlock_irqrestore(&bus->lock, flags);
    reset_bus(bus, FWBUS_LOCAL);
    return 0;
}

int set_rom(struct bus *bus, const struct fwbus_record *record, const void *rom)
{
    struct remote_node *node;
    unsigned long flags;

    if (record->node >= FWBUS_NODES || check_rom(record))
        return -EINVAL;
    node = &bus->nodes[record->node];
    if (!node->plugged)
        return -ENODEV;
    spin_lock_irqsave(&bus->lock, flags);
    node->rom_bytes = record->payload;
    memcpy(node->rom, rom, record->payload);
    spin_unlock_irqrestore(&bus->lock, flags);
    return 0;
}

int unplug(struct bus *bus, u32 node)
{
    if (node >= FWBUS_NODES)
        return -EINVAL;
    if (!bus->nodes[node].plugged)
        return -ENODEV;
    bus->nodes[node].plugged = false;
    reset_bus(bus, FWBUS_LOCAL);
    return 0;
}

void unplug_all(struct bus *bus)
{
    bool any = false;
    u32 i;

    for (i = 0; i < FWBUS_NODES; i++) {
        any |= bus->nodes[i].plugged;
        bus->nodes[i].plugged = false;
    }
    if (any)
        reset_bus(bus, FWBUS_LOCAL);
}

static int card_set_config_rom(struct fw_card *card, const __be32 *rom, size_t length)
{
    struct bus *bus = bus_of(card);

    memset(bus->local_rom, 0, sizeof(bus->local_rom));
    memcpy(bus->local_rom, rom, length * 4);
    reset_bus(bus, FWBUS_LOCAL);
    return 0;
}

static int card_read_phy_reg(struct fw_card *card, int address)
{
    struct bus *bus = bus_of(card);

    return address == 1 ? bus->gap_count : bus->phy_registers[address & 15];
}

static int card_update_phy_reg(struct fw_card *card, int address, int clear_bits, int set_bits)
{
    struct bus *bus = bus_of(card);
    bool resets = (address == 1 && (set_bits & PHY_BUS_RESET)) ||
                  (address == 5 && (set_bits & PHY_BUS_SHORT_RESET));

    if (resets) {
        reset_bus(bus, FWBUS_LOCAL);
        return 0;
    }
    bus->phy_registers[address & 15] &= ~clear_bits;
    bus->phy_registers[address & 15] |= set_bits;
    return 0;
}

static int card_enable_phys_dma(struct fw_card *card, int node_id, int generation) { return 0; }

static u32 card_read_csr(struct fw_card *card, int offset)
{
    struct bus *bus = bus_of(card);

    switch (offset) {
    case CSR_STATE_CLEAR:
    case CSR_STATE_SET:
        return bus->state_bits;
    case CSR_NODE_IDS:
        return (LOCAL_BUS | bus->local_phy_id) << 16;
    case CSR_CYCLE_TIME:
        return cycle_timer();
    case CSR_BUS_TIME:
        return (u32)div_u64(ktime_get_ns(), NSEC_PER_SEC);
    default:
        return 0;
    }
}

static void card_write_csr(struct fw_card *card, int offset, u32 value)
{
    struct bus *bus = bus_of(card);

    if (offset == CSR_STATE_SET)
        bus->state_bits |= value & CSR_STATE_BIT_CMSTR;
    else if (offset == CSR_STATE_CLEAR)
        bus->state_bits &= ~value;
}

static const struct fw_card_driver driver = {
    .enable = card_set_config_rom,
    .read_phy_reg = card_read_phy_reg,
    .update_phy_reg = card_update_phy_reg,
    .set_config_rom = card_set_config_rom,
    .send_request = card_send_request,
    .send_response = card_send_response,
    .cancel_packet = card_cancel_packet,
    .enable_phys_dma = card_enable_phys_dma,
    .read_csr = card_read_csr,
    .write_csr = card_write_csr,
    .allocate_iso_context = card_allocate_iso_context,
    .free_iso_context = card_free_iso_context,
    .start_iso = card_start_iso,
    .set_iso_channels = card_set_iso_channels,
    .queue_iso = card_queue_iso,
    .flush_queue_iso = card_flush_queue_iso,
    .flush_iso_completions = card_flush_iso_completions,
    .stop_iso = card_stop_iso,
};

static int __init fwbus_init(void)
{
    struct bus *bus = &the_bus;
    struct platform_device *device = platform_device_register_simple("fwbus", -1, NULL, 0);
    int result;

    if (IS_ERR(device))
        return PTR_ERR(device);
    result = dma_coerce_mask_and_coherent(&device->dev, DMA_BIT_MASK(64));
    if (result < 0)
        return result;
    spin_lock_init(&bus->lock);
    mutex_init(&bus->write_mutex);
    INIT_LIST_HEAD(&bus->contexts);
    INIT_LIST_HEAD(&bus->notices);
    init_waitqueue_head(&bus->notices_wait);
    fw_card_initialize(&bus->card, &driver, &device->dev);
    result = fw_card_add(&bus->card, MAX_RECEIVE, SCODE_800, LOCAL_GUID);
    return result < 0 ? result : register_device_file(bus);
}
module_init(fwbus_init);

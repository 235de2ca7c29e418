// SPDX-License-Identifier: GPL-2.0 OR MIT
/*
 * Requests and answers: those to the local node are answered inside the call, those to a remote
 * node by the program that has the device file open.
 */
#include "bus.h"

#define PHY_CONFIGURATION_SETS_GAP (1u << 22)
#define BROADCAST 0x3f

static u32 destination_of(const u32 *header) { return header[0] >> 16; }
static u32 label_of(const u32 *header) { return header[0] >> 10 & 0x3f; }
static u32 tcode_of(const u32 *header) { return header[0] >> 4 & 0xf; }
static u64 offset_of(const u32 *header) { return (u64)(header[1] & 0xffff) << 32 | header[2]; }
static u32 length_of(const u32 *header) { return header[3] >> 16; }

static bool is_quadlet(u32 tcode)
{
    return tcode == TCODE_READ_QUADLET_REQUEST || tcode == TCODE_WRITE_QUADLET_REQUEST;
}

static void finish(struct fw_card *card, struct fw_packet *packet, int ack)
{
    packet->ack = ack;
    packet->timestamp = cycle_stamp();
    packet->callback(packet, card, ack);
}

static void respond(struct fw_card *card, u32 *request, int speed, int generation, int rcode,
                    void *payload, u32 length)
{
    struct fw_packet response = {
        .speed = speed, .generation = generation, .timestamp = cycle_stamp()};
    bool complete = rcode == RCODE_COMPLETE;

    response.ack = ACK_PENDING;
    fw_fill_response(&response, request, rcode, complete ? payload : NULL, complete ? length : 0);
    fw_core_handle_response(card, &response);
}

/* Answers a read of a ROM from its quadlets; what is behind its end is 0. */
static void respond_from_rom(struct fw_card *card, struct fw_packet *packet, const __be32 *rom)
{
    u32 *header = packet->header, tcode = tcode_of(header),
        offset = (u32)offset_of(header) - (u32)CSR_REGISTER_BASE;
    u32 length = is_quadlet(tcode) ? 4 : length_of(header), place = offset - CSR_CONFIG_ROM;
    int rcode = RCODE_COMPLETE;

    if (!TCODE_IS_READ_REQUEST(tcode))
        rcode = RCODE_TYPE_ERROR;
    else if (place % 4 || place + length > 4 * ROM_QUADLETS)
        rcode = RCODE_ADDRESS_ERROR;
    respond(card, header, packet->speed, packet->generation, rcode, (u8 *)rom + place, length);
}

/* The four registers of the bus and resource manager, which a card keeps itself. */
static u32 *manager_register(struct bus *bus, u64 offset)
{
    switch (offset) {
    case CSR_REGISTER_BASE + CSR_BUS_MANAGER_ID:
        return &bus->bus_manager;
    case CSR_REGISTER_BASE + CSR_BANDWIDTH_AVAILABLE:
        return &bus->bandwidth;
    case CSR_REGISTER_BASE + CSR_CHANNELS_AVAILABLE_HI:
        return &bus->channels_high;
    case CSR_REGISTER_BASE + CSR_CHANNELS_AVAILABLE_LO:
        return &bus->channels_low;
    default:
        return NULL;
    }
}

static void respond_from_register(struct bus *bus, struct fw_packet *packet, u32 *value)
{
    u32 *header = packet->header, tcode = tcode_of(header);
    const __be32 *operands = packet->payload;
    int rcode = RCODE_TYPE_ERROR;
    unsigned long flags;
    __be32 old;

    spin_lock_irqsave(&bus->lock, flags);
    old = cpu_to_be32(*value);
    if (tcode == TCODE_READ_QUADLET_REQUEST) {
        rcode = RCODE_COMPLETE;
    } else if (tcode == TCODE_LOCK_REQUEST && (header[3] & 0xffff) == EXTCODE_COMPARE_SWAP &&
               packet->payload_length == 8) {
        rcode = RCODE_COMPLETE;
        if (operands[0] == old)
            *value = be32_to_cpu(operands[1]);
    }
    spin_unlock_irqrestore(&bus->lock, flags);
    respond(&bus->card, header, packet->speed, packet->generation, rcode, &old, 4);
}

static bool is_in_rom(u64 offset)
{
    return offset >= CSR_REGISTER_BASE + CSR_CONFIG_ROM &&
           offset < CSR_REGISTER_BASE + CSR_CONFIG_ROM_END;
}

static void send_to_local_node(struct bus *bus, struct fw_packet *packet)
{
    u64 offset = offset_of(packet->header);
    u32 *manager = manager_register(bus, offset);

    finish(&bus->card, packet, ACK_PENDING);
    if (is_in_rom(offset))
        respond_from_rom(&bus->card, packet, bus->local_rom);
    else if (manager)
        respond_from_register(bus, packet, manager);
    else
        fw_core_handle_request(&bus->card, packet);
}

static void send_phy_packet(struct bus *bus, struct fw_packet *packet)
{
    u32 data = packet->header[1];

    if (data >> 30 == 0 && (data & PHY_CONFIGURATION_SETS_GAP)) {
        bus->gap_count = data >> 16 & 0x3f;
        bus->gap_count_is_new = true;
    }
    finish(&bus->card, packet, ACK_COMPLETE);
}

static u32 next_ack(struct remote_node *node, bool is_read)
{
    u32 ack = node->ack;

    if (node->acks_left && --node->acks_left == 0)
        node->ack = FWBUS_ACK_PENDING;
    return ack == FWBUS_ACK_COMPLETE && is_read ? FWBUS_ACK_PENDING : ack;
}

static void finish_with(struct bus *bus, struct fw_packet *packet, u32 ack)
{
    static const int codes[] = {
        [FWBUS_ACK_PENDING] = ACK_PENDING,       [FWBUS_ACK_COMPLETE] = ACK_COMPLETE,
        [FWBUS_ACK_BUSY] = ACK_BUSY_X,           [FWBUS_ACK_NONE] = RCODE_NO_ACK,
        [FWBUS_ACK_DATA_ERROR] = ACK_DATA_ERROR, [FWBUS_ACK_TYPE_ERROR] = ACK_TYPE_ERROR,
    };

    finish(&bus->card, packet, codes[ack]);
}

/* Puts the request into the table and tells the program of it. `lock` is held. */
static void hand_over(struct bus *bus, struct fw_packet *packet, u32 node, u32 ack)
{
    u32 *header = packet->header, tcode = tcode_of(header);
    struct open_request *entry = &bus->open_requests[label_of(header)];
    struct fwbus_record record = {
        .kind = FWBUS_REQUEST, .node = node, .generation = bus->generation};
    const void *payload = packet->payload;

    record.code = tcode == TCODE_LOCK_REQUEST ? 0x10 + (header[3] & 0xffff) : tcode;
    record.offset = offset_of(header);
    record.length = is_quadlet(tcode) ? 4 : length_of(header);
    if (tcode == TCODE_WRITE_QUADLET_REQUEST)
        payload = &header[3];
    record.payload = TCODE_IS_READ_REQUEST(tcode) ? 0 : record.length;
    if (ack != FWBUS_ACK_COMPLETE) {
        if (++bus->last_id == 0)
            bus->last_id = 1;
        record.id = entry->id = bus->last_id;
        entry->node = node;
        entry->speed = packet->speed;
        entry->held = ack == FWBUS_ACK_HELD ? packet : NULL;
        memcpy(entry->header, header, sizeof(entry->header));
    }
    notify(bus, &record, payload);
}

static void send_to_remote_node(struct bus *bus, struct fw_packet *packet, u32 node)
{
    struct remote_node *remote = &bus->nodes[node];
    unsigned long flags;
    u32 ack;

    if (remote->rom_bytes && is_in_rom(offset_of(packet->header))) {
        finish_with(bus, packet, FWBUS_ACK_PENDING);
        respond_from_rom(&bus->card, packet, remote->rom);
        return;
    }
    spin_lock_irqsave(&bus->lock, flags);
    ack = next_ack(remote, TCODE_IS_READ_REQUEST(tcode_of(packet->header)));
    if (ack == FWBUS_ACK_PENDING || ack == FWBUS_ACK_COMPLETE || ack == FWBUS_ACK_HELD)
        hand_over(bus, packet, node, ack);
    spin_unlock_irqrestore(&bus->lock, flags);
    if (ack != FWBUS_ACK_HELD)
        finish_with(bus, packet, ack);
}

void card_send_request(struct fw_card *card, struct fw_packet *packet)
{
    struct bus *bus = bus_of(card);
    u32 phy_id = destination_of(packet->header) & 0x3f, i;

    if (TCODE_IS_LINK_INTERNAL(tcode_of(packet->header))) {
        send_phy_packet(bus, packet);
    } else if (packet->generation != bus->generation) {
        finish(card, packet, RCODE_GENERATION);
    } else if (tcode_of(packet->header) == TCODE_STREAM_DATA || phy_id == BROADCAST) {
        finish(card, packet, ACK_COMPLETE);
    } else if (phy_id == bus->local_phy_id) {
        send_to_local_node(bus, packet);
    } else {
        for (i = 0; i < FWBUS_NODES; i++)
            if (bus->nodes[i].plugged && bus->nodes[i].phy_id == phy_id)
                break;
        if (i < FWBUS_NODES)
            send_to_remote_node(bus, packet, i);
        else
            finish(card, packet, RCODE_NO_ACK);
    }
}

/* Only the local node gets requests, from itself. */
void card_send_response(struct fw_card *card, struct fw_packet *packet)
{
    packet->timestamp = cycle_stamp();
    if (packet->generation != bus_of(card)->generation) {
        finish(card, packet, RCODE_GENERATION);
        return;
    }
    fw_core_handle_response(card, packet);
    finish(card, packet, ACK_COMPLETE);
}

int card_cancel_packet(struct fw_card *card, struct fw_packet *packet)
{
    struct bus *bus = bus_of(card);
    bool found = false;
    unsigned long flags;
    u32 i;

    spin_lock_irqsave(&bus->lock, flags);
    for (i = 0; i < LABELS && !found; i++) {
        found = bus->open_requests[i].id && bus->open_requests[i].held == packet;
        if (found)
            bus->open_requests[i].id = 0;
    }
    spin_unlock_irqrestore(&bus->lock, flags);
    if (!found)
        return -ENOENT;
    finish(card, packet, RCODE_CANCELLED);
    return 0;
}

/* Takes a request out of the table; id 0 in the result: there is none. */
static struct open_request take(struct bus *bus, u32 id)
{
    struct open_request request = {};
    unsigned long flags;
    u32 i;

    spin_lock_irqsave(&bus->lock, flags);
    for (i = 0; i < LABELS && id; i++) {
        if (bus->open_requests[i].id != id)
            continue;
        request = bus->open_requests[i];
        bus->open_requests[i].id = 0;
        break;
    }
    spin_unlock_irqrestore(&bus->lock, flags);
    return request;
}

void forget_requests(struct bus *bus, int code)
{
    u32 i;

    for (i = 0; i < LABELS; i++) {
        struct open_request request = take(bus, bus->open_requests[i].id);

        if (request.id && request.held)
            finish(&bus->card, request.held, code);
    }
}

int set_acks(struct bus *bus, const struct fwbus_record *record)
{
    unsigned long flags;

    if (record->node >= FWBUS_NODES || record->code > FWBUS_ACK_HELD)
        return -EINVAL;
    if (!bus->nodes[record->node].plugged)
        return -ENODEV;
    spin_lock_irqsave(&bus->lock, flags);
    bus->nodes[record->node].ack = record->code;
    bus->nodes[record->node].acks_left = record->length;
    spin_unlock_irqrestore(&bus->lock, flags);
    return 0;
}

int acknowledge(struct bus *bus, const struct fwbus_record *record)
{
    struct fw_packet *held = NULL;
    unsigned long flags;
    u32 i;

    if (record->code >= FWBUS_ACK_HELD)
        return -EINVAL;
    spin_lock_irqsave(&bus->lock, flags);
    for (i = 0; i < LABELS; i++) {
        struct open_request *entry = &bus->open_requests[i];

        if (!record->id || entry->id != record->id)
            continue;
        held = entry->held;
        entry->held = NULL;
        if (held && record->code != FWBUS_ACK_PENDING)
            entry->id = 0;
    }
    spin_unlock_irqrestore(&bus->lock, flags);
    if (held)
        finish_with(bus, held, record->code);
    return 0;
}

int answer(struct bus *bus, const struct fwbus_record *record, void *payload)
{
    struct open_request request;

    if (record->code > 15 || record->payload > 4096)
        return -EINVAL;
    request = take(bus, record->id);
    if (!request.id)
        return 0;
    if (request.held)
        finish_with(bus, request.held, FWBUS_ACK_PENDING);
    respond(&bus->card, request.header, request.speed, bus->generation, record->code, payload,
            record->payload);
    return 0;
}

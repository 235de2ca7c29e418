/* SPDX-License-Identifier: GPL-2.0 OR MIT */
/*
 * What a program in the guest and the virtual FireWire card say to each other through /dev/fwbus.
 *
 * 1. The card is a wire with FWBUS_NODES sockets and the local node. The program that has
 * /dev/fwbus open is every remote node: it plugs nodes in, gets the requests to them, answers, and
 * sends isochronous packets. One program at a time (a second open: EBUSY). Its close unplugs
 * everything.
 * 2. Both directions are a sequence of records: a struct fwbus_record, then `payload` bytes.
 * Nothing is padded. Fields that a kind does not name are 0 from the card and ignored by it.
 * 3. A write holds any number of whole records and takes effect before it returns. It returns the
 * bytes taken: fewer than given where a record is refused, or the error of the first. EINVAL: not a
 * record; ENODEV: a node that is not plugged; EEXIST: one that is; EAGAIN: FWBUS_KEEP and no
 * receive slot.
 * 4. A read returns as many whole records as fit, and waits for the first unless O_NONBLOCK;
 * EMSGSIZE where the first does not fit. poll() works; a write never waits.
 * 5. Payloads are in bus order, everything else in host order.
 * 6. A request's answer belongs to the bus generation of the request. An answer that comes after a
 * reset, twice, or to an unknown id has no effect, as on a bus.
 */
#ifndef ZERIX_FWBUS_H
#define ZERIX_FWBUS_H

#include <linux/types.h>

#define FWBUS_VERSION 1
#define FWBUS_NODES 11
#define FWBUS_MAX_PAYLOAD 65535

enum fwbus_kind {
    /* From the card. */

    /* A request: id, node, code = tcode, offset, generation; payload = the data of a write or a
     * lock; length = the bytes that a read wants. Locks have code 0x10 + extended tcode. */
    FWBUS_REQUEST = 1,
    /* The bus was reset: generation, node = number of nodes that are plugged, id = local node id.
     */
    FWBUS_RESET_DONE = 2,
    /* An isochronous receive context began or ended: channel, id = context, length = the slots that
     * are free, code = the payload bytes that the next of them has room for. */
    FWBUS_ISO_BEGIN = 3,
    FWBUS_ISO_END = 4,
    /* Receive slots were queued: as above. */
    FWBUS_ISO_QUEUED = 5,

    /* To the card. */

    /* Puts a node in a socket and resets the bus: node; payload = config ROM, from whose quadlets
     * the card answers reads. With an empty payload reads of the ROM are requests like others. code
     * = speed (0: S100 to 3: S800). */
    FWBUS_PLUG = 16,
    /* Takes a node out and resets the bus: node. */
    FWBUS_UNPLUG = 17,
    /* Resets the bus; node = who begins it, or FWBUS_LOCAL. */
    FWBUS_RESET = 18,
    /* Another config ROM: node, payload. The kernel reads it again after a reset that the node
       began. */
    FWBUS_ROM = 19,
    /* What the next requests to a node are acknowledged with: node, code = fwbus_ack, length = how
     * many requests, after which it is FWBUS_ACK_PENDING again; 0: until further notice. */
    FWBUS_ACK_WITH = 20,
    /* Acknowledges a request that is held: id, code = fwbus_ack. */
    FWBUS_ACK = 21,
    /* Answers a request: id, code = rcode, payload = the data of a read or a lock. A request that
     * is held is acknowledged with FWBUS_ACK_PENDING before. */
    FWBUS_ANSWER = 22,
    /* Sends an isochronous packet: channel, tag, sy, payload; cycle, if flags has FWBUS_CYCLE. */
    FWBUS_ISO = 23,
};

enum fwbus_ack {
    FWBUS_ACK_PENDING = 0,    /* the answer follows; the kernel waits 2 s for it */
    FWBUS_ACK_COMPLETE = 1,   /* a write is done with that; a read is acknowledged as pending */
    FWBUS_ACK_BUSY = 2,       /* rcode 0x12; the program sees no request, as with those below */
    FWBUS_ACK_NONE = 3,       /* rcode 0x14 */
    FWBUS_ACK_DATA_ERROR = 4, /* rcode 5 */
    FWBUS_ACK_TYPE_ERROR = 5, /* rcode 6 */
    FWBUS_ACK_HELD =
        6, /* not yet: the program decides with FWBUS_ACK or FWBUS_ANSWER, and must decide */
};

enum fwbus_flags {
    /* The packet's cycle stamp is `cycle` (3 bits of seconds, 13 of cycles) instead of the card's
       own clock. */
    FWBUS_CYCLE = 1,
    /* A packet that finds its channel's context running without a receive slot is refused with
     * EAGAIN instead of lost. Where no context listens it is lost with either. */
    FWBUS_KEEP = 2,
};

#define FWBUS_LOCAL 0xffffffffu

struct fwbus_record {
    __u32 kind;
    __u32 payload; /* bytes that follow, 0 to FWBUS_MAX_PAYLOAD */
    __u32 node;    /* socket, 0 to FWBUS_NODES - 1 */
    __u32 id;
    __u32 code;
    __u32 length;
    __u64 offset; /* 48 bits */
    __u32 generation;
    __u16 cycle;
    __u8 flags;
    __u8 channel;
    __u8 tag;
    __u8 sy;
    __u8 reserved[6];
};

#endif

// SPDX-License-Identifier: GPL-2.0 OR MIT
/*
 * /dev/fwbus: takes a program's records apart and keeps the card's until they are read.
 */
#include "bus.h"
#include <linux/miscdevice.h>
#include <linux/poll.h>
#include <linux/slab.h>
#include <linux/uaccess.h>

#define MISSING_BYTES 4 /* of a quadlet that an answer should have: they are 0 */

struct notice *notify(struct bus *bus, const struct fwbus_record *record, const void *payload)
{
    struct notice *notice, *old;

    if (!bus->is_open)
        return NULL;
    /* Only the newest count of free slots is of interest. */
    if (record->kind == FWBUS_ISO_QUEUED) {
        list_for_each_entry(old, &bus->notices, link)
        {
            if (old->record.kind != FWBUS_ISO_QUEUED || old->record.id != record->id)
                continue;
            old->record = *record;
            return old;
        }
    }
    notice = kmalloc(sizeof(*notice) + record->payload, GFP_ATOMIC);
    if (WARN_ON(!notice))
        return NULL;
    notice->record = *record;
    memcpy(notice->payload, payload, record->payload);
    list_add_tail(&notice->link, &bus->notices);
    wake_up_interruptible(&bus->notices_wait);
    return notice;
}

static int file_open(struct inode *inode, struct file *file)
{
    struct bus *bus = &the_bus;
    struct fwbus_record record = {.kind = FWBUS_RESET_DONE};
    u8 *payload = kvmalloc(FWBUS_MAX_PAYLOAD + MISSING_BYTES, GFP_KERNEL);
    bool was_open;

    if (!payload)
        return -ENOMEM;
    spin_lock_irq(&bus->lock);
    was_open = bus->is_open;
    if (!was_open) {
        bus->is_open = true;
        bus->write_payload = payload;
        record.generation = bus->generation;
        record.node = record.id = bus->local_phy_id;
        notify(bus, &record, NULL);
        notify_of_contexts(bus);
    }
    spin_unlock_irq(&bus->lock);
    if (was_open)
        kvfree(payload);
    return was_open ? -EBUSY : 0;
}

static int file_release(struct inode *inode, struct file *file)
{
    struct bus *bus = &the_bus;
    struct notice *notice, *next;
    LIST_HEAD(notices);

    unplug_all(bus);
    forget_requests(bus, RCODE_NO_ACK);
    spin_lock_irq(&bus->lock);
    bus->is_open = false;
    list_splice_init(&bus->notices, &notices);
    spin_unlock_irq(&bus->lock);
    list_for_each_entry_safe(notice, next, &notices, link) kfree(notice);
    kvfree(bus->write_payload);
    bus->write_payload = NULL;
    return 0;
}

/* The first notice, if it fits into `room`; an error; null: there is none. */
static struct notice *take_notice(struct bus *bus, size_t room)
{
    struct notice *notice;

    spin_lock_irq(&bus->lock);
    notice = list_first_entry_or_null(&bus->notices, struct notice, link);
    if (notice && sizeof(notice->record) + notice->record.payload > room)
        notice = ERR_PTR(-EMSGSIZE);
    else if (notice)
        list_del(&notice->link);
    spin_unlock_irq(&bus->lock);
    return notice;
}

static ssize_t file_read(struct file *file, char __user *out, size_t room, loff_t *position)
{
    struct bus *bus = &the_bus;
    size_t done = 0;

    while (!done && list_empty(&bus->notices)) {
        if (file->f_flags & O_NONBLOCK)
            return -EAGAIN;
        if (wait_event_interruptible(bus->notices_wait, !list_empty(&bus->notices)))
            return -ERESTARTSYS;
    }
    for (;;) {
        struct notice *notice = take_notice(bus, room - done);
        size_t length;
        bool failed;

        if (IS_ERR(notice))
            return done ? done : PTR_ERR(notice);
        if (!notice)
            return done;
        length = sizeof(notice->record) + notice->record.payload;
        failed = copy_to_user(out + done, &notice->record, length);
        kfree(notice);
        if (failed)
            return -EFAULT;
        done += length;
    }
}

static int carry_out(struct bus *bus, const struct fwbus_record *record, u8 *payload)
{
    switch (record->kind) {
    case FWBUS_PLUG:
        return plug(bus, record, payload);
    case FWBUS_UNPLUG:
        return unplug(bus, record->node);
    case FWBUS_RESET:
        if (record->node != FWBUS_LOCAL && record->node >= FWBUS_NODES)
            return -EINVAL;
        reset_bus(bus, record->node);
        return 0;
    case FWBUS_ROM:
        return set_rom(bus, record, payload);
    case FWBUS_ACK_WITH:
        return set_acks(bus, record);
    case FWBUS_ACK:
        return acknowledge(bus, record);
    case FWBUS_ANSWER:
        return answer(bus, record, payload);
    case FWBUS_ISO:
        return receive_iso(bus, record, payload);
    default:
        return -EINVAL;
    }
}

/* Carries out the record at the beginning and returns its length. */
static ssize_t write_one(struct bus *bus, const char __user *in, size_t rest)
{
    struct fwbus_record record;
    int result;

    if (rest < sizeof(record))
        return -EINVAL;
    if (copy_from_user(&record, in, sizeof(record)))
        return -EFAULT;
    if (record.payload > FWBUS_MAX_PAYLOAD || record.payload > rest - sizeof(record))
        return -EINVAL;
    if (copy_from_user(bus->write_payload, in + sizeof(record), record.payload))
        return -EFAULT;
    memset(bus->write_payload + record.payload, 0, MISSING_BYTES);
    result = carry_out(bus, &record, bus->write_payload);
    return result < 0 ? result : sizeof(record) + record.payload;
}

static ssize_t file_write(struct file *file, const char __user *in, size_t length, loff_t *position)
{
    struct bus *bus = &the_bus;
    size_t done = 0;
    ssize_t result = 0;

    mutex_lock(&bus->write_mutex);
    while (done < length) {
        result = write_one(bus, in + done, length - done);
        if (result < 0)
            break;
        done += result;
    }
    mutex_unlock(&bus->write_mutex);
    return done ? done : result;
}

static __poll_t file_poll(struct file *file, poll_table *table)
{
    struct bus *bus = &the_bus;

    poll_wait(file, &bus->notices_wait, table);
    return EPOLLOUT | EPOLLWRNORM | (list_empty(&bus->notices) ? 0 : EPOLLIN | EPOLLRDNORM);
}

static const struct file_operations operations = {
    .owner = THIS_MODULE,
    .open = file_open,
    .release = file_release,
    .read = file_read,
    .write = file_write,
    .poll = file_poll,
    .llseek = no_llseek,
};

static struct miscdevice device = {
    .minor = MISC_DYNAMIC_MINOR,
    .name = "fwbus",
    .fops = &operations,
    .mode = 0666,
};

int register_device_file(struct bus *bus)
{
    BUILD_BUG_ON(sizeof(struct fwbus_record) != 48);
    return misc_register(&device);
}

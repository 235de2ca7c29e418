// Requests that pend: a list for each device. One that is cancelled leaves it by its cancel
// routine, any other is taken out by whoever completes it.
#include "driver.h"

static void NTAPI Cancel(DEVICE_OBJECT *object, IRP *irp)
{
    KIRQL level;
    (void)object;
    IoReleaseCancelSpinLock(irp->CancelIrql);
    level = Lock();
    RemoveEntryList(&irp->Tail.Overlay.ListEntry);
    Unlock(level);
    Complete(irp, STATUS_CANCELLED, 0);
}

static uint32_t KindOf(const IRP *irp)
{
    return (uint32_t)(ULONG_PTR)irp->Tail.Overlay.DriverContext[0];
}

static IRP *IrpOf(LIST_ENTRY *entry)
{
    return CONTAINING_RECORD(entry, IRP, Tail.Overlay.ListEntry);
}

BOOLEAN Pend(Device *device, IRP *irp, uint32_t kind)
{
    irp->Tail.Overlay.DriverContext[0] = (void *)(ULONG_PTR)kind;
    IoSetCancelRoutine(irp, Cancel);
    // Cancelled before there was a routine: nobody else will complete it.
    if (irp->Cancel && IoSetCancelRoutine(irp, NULL) != NULL)
        return FALSE;
    IoMarkIrpPending(irp);
    InsertTailList(&device->pending, &irp->Tail.Overlay.ListEntry);
    return TRUE;
}

IRP *TakePending(Device *device, uint32_t kinds, const FILE_OBJECT *fileOrNull)
{
    LIST_ENTRY *entry;
    for (entry = device->pending.Flink; entry != &device->pending; entry = entry->Flink) {
        IRP *irp = IrpOf(entry);
        const FILE_OBJECT *file = IoGetCurrentIrpStackLocation(irp)->FileObject;
        if ((KindOf(irp) & kinds) == 0 || (fileOrNull != NULL && file != fileOrNull))
            continue;
        // Without a routine it is being cancelled at this moment, and leaves the list by itself.
        if (IoSetCancelRoutine(irp, NULL) == NULL)
            continue;
        RemoveEntryList(entry);
        return irp;
    }
    return NULL;
}

uint32_t CountPending(const Device *device, uint32_t kinds)
{
    uint32_t count = 0;
    LIST_ENTRY *entry;
    for (entry = device->pending.Flink; entry != &device->pending; entry = entry->Flink)
        if ((KindOf(IrpOf(entry)) & kinds) != 0)
            ++count;
    return count;
}

void EndPending(Device *device, uint32_t kinds, const FILE_OBJECT *fileOrNull, NTSTATUS status,
                LIST_ENTRY *ended)
{
    IRP *irp;
    while ((irp = TakePending(device, kinds, fileOrNull)) != NULL) {
        irp->IoStatus.Status = status;
        irp->IoStatus.Information = 0;
        InsertTailList(ended, &irp->Tail.Overlay.ListEntry);
    }
}

void CompleteEnded(LIST_ENTRY *ended)
{
    while (!IsListEmpty(ended)) {
        IRP *irp = IrpOf(RemoveHeadList(ended));
        IoCompleteRequest(irp, IO_NO_INCREMENT);
    }
}

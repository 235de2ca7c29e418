// Loading, plug and play, opening and closing; what a device or the control device is asked is done
// elsewhere.
#include "driver.h"

// {E262A0C7-FD57-44A1-A9D3-8806349A39DA}
static const GUID kInterfaceClass = {
    0xE262A0C7, 0xFD57, 0x44A1, {0xA9, 0xD3, 0x88, 0x06, 0x34, 0x9A, 0x39, 0xDA}};

static KSPIN_LOCK g_lock;
static Device *g_devices[kTestDevices];
static DEVICE_OBJECT *g_control;

Device *DeviceOf(DEVICE_OBJECT *object) { return object->DeviceExtension; }

Device *DeviceNumber(uint32_t index) { return index < kTestDevices ? g_devices[index] : NULL; }

KIRQL Lock(void)
{
    KIRQL level;
    KeAcquireSpinLock(&g_lock, &level);
    return level;
}

void Unlock(KIRQL level) { KeReleaseSpinLock(&g_lock, level); }

NTSTATUS Complete(IRP *irp, NTSTATUS status, uint32_t information)
{
    irp->IoStatus.Status = status;
    irp->IoStatus.Information = information;
    IoCompleteRequest(irp, IO_NO_INCREMENT);
    return status;
}

void SwitchInterface(Device *device)
{
    KeWaitForSingleObject(&device->interfaceTurn, Executive, KernelMode, FALSE, NULL);
    if (device->isListed != device->isPresent) {
        device->isListed = device->isPresent;
        IoSetDeviceInterfaceState(&device->interfaceName, device->isListed != 0);
    }
    KeSetEvent(&device->interfaceTurn, IO_NO_INCREMENT, FALSE);
}

// Handles -----------------------------------------------------------------------------------------

static NTSTATUS NTAPI Create(DEVICE_OBJECT *object, IRP *irp)
{
    Device *device = DeviceOf(object);
    const KIRQL level = Lock();
    if (!device->isControl)
        ++device->state.openHandles;
    Unlock(level);
    return Complete(irp, STATUS_SUCCESS, 0);
}

// What the handle has pending and holds is given back with it.
static void LetGo(Device *device, const FILE_OBJECT *file, LIST_ENTRY *ended)
{
    EndPending(device, kPendingAny, file, STATUS_CANCELLED, ended);
    if (device->holdings.owner == file)
        ReleaseHoldings(device, ended);
}

static NTSTATUS NTAPI CleanupOrClose(DEVICE_OBJECT *object, IRP *irp)
{
    Device *device = DeviceOf(object);
    const IO_STACK_LOCATION *stack = IoGetCurrentIrpStackLocation(irp);
    LIST_ENTRY ended;
    InitializeListHead(&ended);
    if (!device->isControl) {
        const KIRQL level = Lock();
        LetGo(device, stack->FileObject, &ended);
        if (stack->MajorFunction == IRP_MJ_CLOSE)
            --device->state.openHandles;
        Unlock(level);
    }
    CompleteEnded(&ended);
    return Complete(irp, STATUS_SUCCESS, 0);
}

// Requests ----------------------------------------------------------------------------------------

// The low two bits of a code tell how its data comes: 2 passes the out buffer itself.
static void FindBuffers(Request *request, const IO_STACK_LOCATION *stack)
{
    enum { kOutDirect = 2 };
    IRP *irp = request->irp;
    request->code = stack->Parameters.DeviceIoControl.IoControlCode;
    request->inBytes = stack->Parameters.DeviceIoControl.InputBufferLength;
    request->outBytes = stack->Parameters.DeviceIoControl.OutputBufferLength;
    request->in = irp->AssociatedIrp.SystemBuffer;
    request->out = irp->AssociatedIrp.SystemBuffer;
    if ((request->code & 3) == kOutDirect)
        request->out = irp->MdlAddress == NULL
                           ? NULL
                           : MmGetSystemAddressForMdlSafe(irp->MdlAddress, NormalPagePriority);
    if (request->out == NULL)
        request->outBytes = 0;
    if (request->in == NULL)
        request->inBytes = 0;
}

static NTSTATUS NTAPI Control(DEVICE_OBJECT *object, IRP *irp)
{
    Device *device = DeviceOf(object);
    IO_STACK_LOCATION *stack = IoGetCurrentIrpStackLocation(irp);
    Request request;
    LIST_ENTRY ended;
    NTSTATUS status;
    KIRQL level;
    if (device->isControl)
        return HandleControl(irp, stack);
    InitializeListHead(&ended);
    RtlZeroMemory(&request, sizeof request);
    request.device = device;
    request.irp = irp;
    request.file = stack->FileObject;
    request.ended = &ended;
    FindBuffers(&request, stack);
    level = Lock();
    status = HandleRequest(&request);
    Unlock(level);
    CompleteEnded(&ended);
    if (status == STATUS_PENDING)
        return status;
    return Complete(irp, status, NT_SUCCESS(status) ? request.information : 0);
}

// Plug and play -----------------------------------------------------------------------------------

static NTSTATUS StartThread(Device *device)
{
    HANDLE handle;
    NTSTATUS status =
        PsCreateSystemThread(&handle, THREAD_ALL_ACCESS, NULL, NULL, NULL, DeviceThread, device);
    if (!NT_SUCCESS(status))
        return status;
    status = ObReferenceObjectByHandle(handle, THREAD_ALL_ACCESS, NULL, KernelMode, &device->thread,
                                       NULL);
    ZwClose(handle);
    return status;
}

static NTSTATUS Start(Device *device)
{
    const NTSTATUS status = StartThread(device);
    if (NT_SUCCESS(status)) {
        device->isStarted = 1;
        device->isPresent = 1;
        SwitchInterface(device);
    }
    return status;
}

static void Leave(Device *device)
{
    LIST_ENTRY ended;
    KIRQL level;
    InitializeListHead(&ended);
    level = Lock();
    device->isPresent = 0;
    device->isStarted = 0;
    EndPending(device, kPendingAny, NULL, STATUS_DEVICE_NOT_CONNECTED, &ended);
    Unlock(level);
    CompleteEnded(&ended);
    SwitchInterface(device);
}

static void Remove(Device *device)
{
    LIST_ENTRY ended;
    KIRQL level;
    Leave(device);
    KeSetEvent(&device->leave, IO_NO_INCREMENT, FALSE);
    if (device->thread != NULL) {
        KeWaitForSingleObject(device->thread, Executive, KernelMode, FALSE, NULL);
        ObDereferenceObject(device->thread);
    }
    InitializeListHead(&ended);
    level = Lock();
    g_devices[device->index] = NULL;
    ResetDevice(device, &ended);
    ReleaseHoldings(device, &ended);
    Unlock(level);
    CompleteEnded(&ended);
    RtlFreeUnicodeString(&device->interfaceName);
}

static NTSTATUS PassDown(Device *device, IRP *irp)
{
    IoSkipCurrentIrpStackLocation(irp);
    return IoCallDriver(device->below, irp);
}

static NTSTATUS NTAPI Pnp(DEVICE_OBJECT *object, IRP *irp)
{
    Device *device = DeviceOf(object);
    NTSTATUS status;
    if (device->isControl)
        return Complete(irp, STATUS_NOT_SUPPORTED, 0);
    switch (IoGetCurrentIrpStackLocation(irp)->MinorFunction) {
    case IRP_MN_START_DEVICE:
        irp->IoStatus.Status = Start(device);
        break;
    case IRP_MN_SURPRISE_REMOVAL:
        Leave(device);
        irp->IoStatus.Status = STATUS_SUCCESS;
        break;
    case IRP_MN_REMOVE_DEVICE:
        Remove(device);
        irp->IoStatus.Status = STATUS_SUCCESS;
        status = PassDown(device, irp);
        IoDetachDevice(device->below);
        IoDeleteDevice(object);
        return status;
    default:
        break;
    }
    return PassDown(device, irp);
}

static NTSTATUS NTAPI Power(DEVICE_OBJECT *object, IRP *irp)
{
    Device *device = DeviceOf(object);
    if (device->isControl)
        return Complete(irp, STATUS_NOT_SUPPORTED, 0);
    PoStartNextPowerIrp(irp);
    IoSkipCurrentIrpStackLocation(irp);
    return PoCallDriver(device->below, irp);
}

static void SetUp(Device *device, DEVICE_OBJECT *self, uint32_t index)
{
    RtlZeroMemory(device, sizeof *device);
    device->index = index;
    device->self = self;
    device->holdings.channel = kNoChannel;
    InitializeListHead(&device->pending);
    KeInitializeEvent(&device->leave, NotificationEvent, FALSE);
    KeInitializeEvent(&device->interfaceTurn, SynchronizationEvent, TRUE);
}

static NTSTATUS Attach(Device *device, DEVICE_OBJECT *physical)
{
    const NTSTATUS status =
        IoRegisterDeviceInterface(physical, &kInterfaceClass, NULL, &device->interfaceName);
    if (!NT_SUCCESS(status))
        return status;
    device->below = IoAttachDeviceToDeviceStack(device->self, physical);
    return device->below != NULL ? STATUS_SUCCESS : STATUS_NO_SUCH_DEVICE;
}

static NTSTATUS NTAPI AddDevice(DRIVER_OBJECT *driver, DEVICE_OBJECT *physical)
{
    DEVICE_OBJECT *self;
    NTSTATUS status;
    uint32_t index = 0;
    while (index < kTestDevices && g_devices[index] != NULL)
        ++index;
    if (index == kTestDevices)
        return STATUS_NO_SUCH_DEVICE;
    status = IoCreateDevice(driver, sizeof(Device), NULL, FILE_DEVICE_UNKNOWN, 0, FALSE, &self);
    if (!NT_SUCCESS(status))
        return status;
    SetUp(DeviceOf(self), self, index);
    status = Attach(DeviceOf(self), physical);
    if (!NT_SUCCESS(status)) {
        IoDeleteDevice(self);
        return status;
    }
    g_devices[index] = DeviceOf(self);
    self->Flags &= ~(ULONG)DO_DEVICE_INITIALIZING;
    return STATUS_SUCCESS;
}

// Loading -----------------------------------------------------------------------------------------

static UNICODE_STRING ControlLink(void)
{
    UNICODE_STRING name;
    RtlInitUnicodeString(&name, L"\\DosDevices\\ZerixTestDriver");
    return name;
}

static NTSTATUS MakeControlDevice(DRIVER_OBJECT *driver)
{
    UNICODE_STRING link = ControlLink();
    UNICODE_STRING name;
    NTSTATUS status;
    RtlInitUnicodeString(&name, L"\\Device\\ZerixTestDriver");
    status =
        IoCreateDevice(driver, sizeof(Device), &name, FILE_DEVICE_UNKNOWN, 0, FALSE, &g_control);
    if (!NT_SUCCESS(status))
        return status;
    SetUp(DeviceOf(g_control), g_control, kTestDevices);
    DeviceOf(g_control)->isControl = 1;
    g_control->Flags &= ~(ULONG)DO_DEVICE_INITIALIZING;
    return IoCreateSymbolicLink(&link, &name);
}

static void NTAPI Unload(DRIVER_OBJECT *driver)
{
    UNICODE_STRING link = ControlLink();
    (void)driver;
    IoDeleteSymbolicLink(&link);
    IoDeleteDevice(g_control);
}

NTSTATUS NTAPI DriverEntry(DRIVER_OBJECT *driver, UNICODE_STRING *registryPath)
{
    (void)registryPath;
    KeInitializeSpinLock(&g_lock);
    driver->MajorFunction[IRP_MJ_CREATE] = Create;
    driver->MajorFunction[IRP_MJ_CLEANUP] = CleanupOrClose;
    driver->MajorFunction[IRP_MJ_CLOSE] = CleanupOrClose;
    driver->MajorFunction[IRP_MJ_DEVICE_CONTROL] = Control;
    driver->MajorFunction[IRP_MJ_PNP] = Pnp;
    driver->MajorFunction[IRP_MJ_POWER] = Power;
    driver->DriverExtension->AddDevice = AddDevice;
    driver->DriverUnload = Unload;
    return MakeControlDevice(driver);
}

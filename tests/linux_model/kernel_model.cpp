// The system calls.
#include "tests/linux_model/kernel_model.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

#include "tests/linux_model/ioctls.h"
#include "tests/linux_model/machine.h"
#include "tests/linux_model/sysfs.h"

namespace zerix::linux_model {
namespace {

using namespace std::chrono_literals;

constexpr int kFirstFile = 3; // after the standard ones

size_t WholePages(size_t bytes)
{
    const auto page = static_cast<size_t>(::sysconf(_SC_PAGESIZE));
    return (bytes + page - 1) / page * page;
}

bool IsHeldElsewhere(const Node &node)
{
    return node.lockHolder == nullptr && node.link != nullptr && node.link->IsHeldElsewhere();
}

} // namespace

KernelModel::KernelModel(const ModelOptions &options)
    : m_machine(std::make_unique<Machine>(options))
{
}

KernelModel::~KernelModel()
{
    const linux_model::Lock lock(m_machine->mutex);
    for (const auto &file : m_machine->OpenFiles()) {
        if (file->IsMapped())
            ::munmap(file->memory.data(), file->memory.size());
        file->memory = {};
    }
}

// Files -------------------------------------------------------------------------------------------

// The lowest free number, as the system gives it: a stale one soon names another file.
int KernelModel::Add(OpenFile file)
{
    int number = kFirstFile;
    while (m_files.contains(number))
        ++number;
    m_files[number] = std::move(file);
    return number;
}

std::shared_ptr<DeviceFile> KernelModel::DeviceAt(int file)
{
    const auto found = m_files.find(file);
    return found == m_files.end() ? nullptr : found->second.device;
}

int KernelModel::TakeFailure(Call call)
{
    const auto found = m_failures.find(call);
    if (found == m_failures.end())
        return 0;
    const int error = found->second;
    m_failures.erase(found);
    return error;
}

int KernelModel::Open(const char *path)
{
    linux_model::Lock lock(m_machine->mutex);
    if (const int error = TakeFailure(Call::kOpen); error != 0)
        return -error;
    m_machine->bus.Look();
    while (m_machine->bus.HasLinksToClose()) // to the virtual bus the old link is another process
        m_machine->bus.CloseLinks(lock);
    const std::string text = path;
    const std::string folder = "/dev/";
    const auto node =
        text.starts_with(folder) ? m_machine->bus.Find(text.substr(folder.size())) : nullptr;
    if (node == nullptr)
        return -ENOENT;
    if (m_machine->clock.Now() < node->openableFrom)
        return -EACCES;
    const auto file = std::make_shared<DeviceFile>();
    file->node = node;
    m_machine->AddFile(file);
    return Add({file});
}

int KernelModel::Close(int file)
{
    linux_model::Lock lock(m_machine->mutex);
    const auto found = m_files.find(file);
    if (found == m_files.end())
        return -EBADF;
    const auto device = found->second.device;
    m_files.erase(found);
    m_machine->changed.notify_all();
    if (device == nullptr)
        return 0;
    device->isClosed = true;
    if (!device->IsMapped())
        m_machine->Release(lock, *device);
    return 0;
}

long KernelModel::Read(int file, std::span<uint8_t> bytes)
{
    linux_model::Lock lock(m_machine->mutex);
    const auto device = DeviceAt(file);
    if (device == nullptr)
        return -EBADF;
    m_machine->changed.wait(lock, [&] { return !device->events.empty() || device->IsShutDown(); });
    if (device->events.empty())
        return -ENODEV;
    const Event event = std::move(device->events.front());
    device->events.pop_front();
    const size_t count = std::min(bytes.size(), event.size());
    std::copy_n(event.begin(), count, bytes.begin());
    return static_cast<long>(count);
}

int KernelModel::Ioctl(int file, unsigned long request, void *record)
{
    linux_model::Lock lock(m_machine->mutex);
    const auto device = DeviceAt(file);
    return device == nullptr ? -EBADF : ServeIoctl(*m_machine, lock, device, request, record);
}

// Memory ------------------------------------------------------------------------------------------

void *KernelModel::Map(int file, size_t bytes, int &error)
{
    const linux_model::Lock lock(m_machine->mutex);
    const auto device = DeviceAt(file);
    error = -TakeFailure(Call::kMap);
    if (device == nullptr)
        error = -EBADF;
    else if (device->IsShutDown())
        error = -ENODEV;
    else if (device->hasBuffer)
        error = -EBUSY;
    else if (bytes == 0)
        error = -EINVAL;
    if (error != 0)
        return nullptr;
    const size_t whole = WholePages(bytes);
    void *const address =
        ::mmap(nullptr, whole, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (address == MAP_FAILED) {
        error = -errno;
        return nullptr;
    }
    device->hasBuffer = true;
    device->memory = {static_cast<uint8_t *>(address), whole};
    return address;
}

// The last that holds a closed file.
int KernelModel::Unmap(void *address, size_t bytes)
{
    linux_model::Lock lock(m_machine->mutex);
    for (const auto &file : m_machine->OpenFiles()) {
        if (!file->IsMapped() || file->memory.data() != address)
            continue;
        if (WholePages(bytes) != file->memory.size())
            return -EINVAL;
        const auto device = file;
        ::munmap(address, device->memory.size());
        device->memory = {};
        if (device->isClosed)
            m_machine->Release(lock, *device);
        return 0;
    }
    return -EINVAL;
}

// Waiting -----------------------------------------------------------------------------------------

short KernelModel::EventsOf(int file)
{
    const auto found = m_files.find(file);
    if (found == m_files.end())
        return POLLNVAL;
    const auto &device = found->second.device;
    if (device == nullptr)
        return found->second.isSignalled ? POLLIN : 0;
    int events = device->events.empty() ? 0 : POLLIN | POLLRDNORM;
    if (device->IsShutDown())
        events |= POLLHUP | POLLERR;
    return static_cast<short>(events);
}

bool KernelModel::FillPoll(std::span<pollfd> files)
{
    bool isAny = false;
    for (pollfd &file : files) {
        const int wanted = file.events | POLLHUP | POLLERR | POLLNVAL;
        file.revents = static_cast<short>(file.fd < 0 ? 0 : EventsOf(file.fd) & wanted);
        isAny = isAny || file.revents != 0;
    }
    return isAny;
}

int KernelModel::Poll(std::span<pollfd> files, int timeoutMilliseconds)
{
    linux_model::Lock lock(m_machine->mutex);
    if (const int error = TakeFailure(Call::kPoll); error != 0)
        return -error;
    const nanoseconds until =
        timeoutMilliseconds < 0
            ? kForever
            : m_machine->clock.Now() + std::chrono::milliseconds(timeoutMilliseconds);
    m_machine->clock.WaitUntil(lock, m_machine->changed, until, [&] { return FillPoll(files); });
    return static_cast<int>(std::count_if(files.begin(), files.end(),
                                          [](const pollfd &file) { return file.revents != 0; }));
}

int KernelModel::MakeEvent()
{
    const linux_model::Lock lock(m_machine->mutex);
    const int error = TakeFailure(Call::kMakeEvent);
    return error != 0 ? -error : Add({});
}

int KernelModel::SetSignal(int event, bool isSignalled)
{
    const linux_model::Lock lock(m_machine->mutex);
    const auto found = m_files.find(event);
    if (found == m_files.end())
        return -EBADF;
    if (found->second.device != nullptr)
        return -EINVAL;
    found->second.isSignalled = isSignalled;
    m_machine->changed.notify_all();
    return 0;
}

int KernelModel::Signal(int event) { return SetSignal(event, true); }
int KernelModel::Clear(int event) { return SetSignal(event, false); }

// Locks -------------------------------------------------------------------------------------------

int KernelModel::Lock(int file)
{
    const linux_model::Lock lock(m_machine->mutex);
    const auto device = DeviceAt(file);
    if (device == nullptr)
        return -EBADF;
    if (const int error = TakeFailure(Call::kLock); error != 0)
        return -error;
    Node &node = *device->node;
    if ((node.lockHolder != nullptr && node.lockHolder != device.get()) || IsHeldElsewhere(node))
        return -EAGAIN;
    node.lockHolder = device.get();
    return 0;
}

int KernelModel::Unlock(int file)
{
    const linux_model::Lock lock(m_machine->mutex);
    const auto device = DeviceAt(file);
    if (device == nullptr)
        return -EBADF;
    if (device->node->lockHolder == device.get())
        device->node->lockHolder = nullptr;
    return 0;
}

int KernelModel::IsLockedElsewhere(int file)
{
    const linux_model::Lock lock(m_machine->mutex);
    const auto device = DeviceAt(file);
    if (device == nullptr)
        return -EBADF;
    const Node &node = *device->node;
    return (node.lockHolder != nullptr && node.lockHolder != device.get()) || IsHeldElsewhere(node)
               ? 1
               : 0;
}

// Names -------------------------------------------------------------------------------------------

int KernelModel::ListFolder(const char *path, std::vector<std::string> &names)
{
    const linux_model::Lock lock(m_machine->mutex);
    m_machine->bus.Look();
    return ListModelFolder(*m_machine, path, names);
}

int KernelModel::ReadSmallFile(const char *path, std::string &contents)
{
    const linux_model::Lock lock(m_machine->mutex);
    m_machine->bus.Look();
    return ReadModelFile(*m_machine, path, contents);
}

// Time --------------------------------------------------------------------------------------------

nanoseconds KernelModel::Now()
{
    const linux_model::Lock lock(m_machine->mutex);
    return m_machine->clock.Now();
}

void KernelModel::Sleep(nanoseconds time)
{
    linux_model::Lock lock(m_machine->mutex);
    m_machine->clock.WaitUntil(lock, m_machine->changed, m_machine->clock.Now() + time,
                               [] { return false; });
}

} // namespace zerix::linux_model

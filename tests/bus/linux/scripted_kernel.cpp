// The scripted kernel's files: opened, polled, read, closed.
#include "tests/bus/linux/scripted_kernel.h"

#include <algorithm>
#include <cerrno>

namespace zerix::bus::linux_firewire {

ScriptedKernel::~ScriptedKernel() { EXPECT_EQ("", files()) << "files are left open"; }

ScriptedKernel::Node &ScriptedKernel::Add(Node node)
{
    m_nodes.push_back(std::move(node));
    return m_nodes.back();
}

ScriptedKernel::Node &ScriptedKernel::NodeNamed(const std::string &name)
{
    return *std::find_if(m_nodes.begin(), m_nodes.end(),
                         [&](const Node &node) { return node.name == name; });
}

bool ScriptedKernel::Await(const std::function<bool()> &isSo)
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::seconds(20), isSo);
}

std::string ScriptedKernel::files()
{
    const std::lock_guard lock(m_mutex);
    std::string text;
    for (const auto &[number, file] : m_files)
        text += (text.empty() ? "" : " ") + (file.node ? file.node->name : "event");
    return text;
}

ScriptedKernel::File &ScriptedKernel::At(int file)
{
    const auto found = m_files.find(file);
    if (found != m_files.end())
        return found->second;
    ADD_FAILURE() << "file " << file << " isn't open";
    static File none;
    return none;
}

// Opening and closing ----------------------------------------------------------------------------

int ScriptedKernel::Open(const char *path)
{
    const std::lock_guard lock(m_mutex);
    for (Node &node : m_nodes) {
        if ("/dev/" + node.name != path || !node.isThere || node.isShutDown)
            continue;
        if (!node.openErrors.empty()) {
            const int error = node.openErrors.front();
            node.openErrors.pop_front();
            if (error != 0)
                return error;
        }
        m_files[++m_lastFile].node = &node;
        return m_lastFile;
    }
    return -ENOENT;
}

int ScriptedKernel::Close(int file)
{
    std::unique_lock lock(m_mutex);
    const File &closed = At(file);
    if (closed.node != nullptr) {
        EXPECT_FALSE(closed.isMapped) << "a close that frees nothing";
        m_changed.wait(lock, [this] { return !closesBlock; });
        log.push_back("close " + closed.node->name);
    }
    m_files.erase(file);
    m_changed.notify_all();
    return 0;
}

int ScriptedKernel::MakeEvent()
{
    const std::lock_guard lock(m_mutex);
    m_files[++m_lastFile];
    return m_lastFile;
}

int ScriptedKernel::Signal(int event)
{
    const std::lock_guard lock(m_mutex);
    At(event).isSignalled = true;
    m_changed.notify_all();
    return 0;
}

int ScriptedKernel::Clear(int event)
{
    const std::lock_guard lock(m_mutex);
    At(event).isSignalled = false;
    return 0;
}

// Waiting and reading ----------------------------------------------------------------------------

short ScriptedKernel::ReadyAt(const File &file) const
{
    short ready = file.isSignalled || !file.events.empty() ? POLLIN : 0;
    if (file.node != nullptr && file.node->isShutDown)
        ready = static_cast<short>(ready | POLLHUP | POLLERR);
    return ready;
}

int ScriptedKernel::Poll(std::span<pollfd> polled, int timeoutMilliseconds)
{
    std::unique_lock lock(m_mutex);
    const auto look = [&] {
        int found = 0;
        for (pollfd &file : polled) {
            // One that is closed under the poll stays as it was, as the system keeps it until then.
            const auto open = m_files.find(file.fd);
            file.revents = open != m_files.end() ? ReadyAt(open->second) : short{0};
            found += file.revents != 0 ? 1 : 0;
        }
        return found;
    };
    const auto deadline = m_now + std::chrono::milliseconds(timeoutMilliseconds);
    int found = 0;
    const auto isOver = [&] {
        found = look();
        return found > 0 || (timeoutMilliseconds >= 0 && (movesTime || m_now >= deadline));
    };
    m_changed.wait(lock, isOver);
    if (found == 0 && movesTime && m_now < deadline) {
        m_now = deadline;
        m_changed.notify_all();
    }
    return found;
}

long ScriptedKernel::Read(int file, std::span<uint8_t> bytes)
{
    const std::lock_guard lock(m_mutex);
    File &read = At(file);
    if (read.events.empty()) {
        EXPECT_TRUE(read.node->isShutDown) << "a read that would block";
        return -ENODEV;
    }
    const Bytes event = read.events.front();
    read.events.pop_front();
    const size_t size = std::min(event.size(), bytes.size());
    std::memcpy(bytes.data(), event.data(), size);
    return static_cast<long>(size);
}

std::chrono::nanoseconds ScriptedKernel::Now()
{
    const std::lock_guard lock(m_mutex);
    return m_now;
}

void ScriptedKernel::Sleep(std::chrono::nanoseconds time)
{
    const std::lock_guard lock(m_mutex);
    m_now += time;
    m_changed.notify_all();
}

void ScriptedKernel::Tell(File &file, const void *event, size_t bytes, const Bytes &data)
{
    const auto *const first = static_cast<const uint8_t *>(event);
    Bytes whole(first, first + bytes);
    whole.insert(whole.end(), data.begin(), data.end());
    whole.resize((whole.size() + 7) / 8 * 8); // events are longer than they say
    file.events.push_back(std::move(whole));
    m_changed.notify_all();
}

void ScriptedKernel::TellReset(const std::string &node, uint32_t generation)
{
    const std::lock_guard lock(m_mutex);
    fw_cdev_event_bus_reset event{};
    event.type = FW_CDEV_EVENT_BUS_RESET;
    event.generation = generation;
    for (auto &[number, file] : m_files)
        if (file.node != nullptr && file.node->name == node && file.knowsInfo)
            Tell(file, &event, sizeof event);
}

} // namespace zerix::bus::linux_firewire

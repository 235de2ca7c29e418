// The way of a request to its rcode.
#include "tests/linux_model/transactions.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "tests/linux_model/machine.h"

namespace zerix::linux_model {
namespace {

using namespace std::chrono_literals;

constexpr uint32_t kLabels = 64;
constexpr nanoseconds kSplitTimeout = 2s;
constexpr uint32_t kMostBytes = 4096;
constexpr uint64_t kRegisterSpace = 0xFFFF00000000;
constexpr uint64_t kRomStart = 0xFFFFF0000400;
constexpr uint64_t kRomEnd = 0xFFFFF0000800;

bool IsBlock(uint32_t tcode)
{
    return tcode == TCODE_READ_BLOCK_REQUEST || tcode == TCODE_WRITE_BLOCK_REQUEST;
}

bool IsRead(uint32_t tcode)
{
    return tcode == TCODE_READ_BLOCK_REQUEST || tcode == TCODE_READ_QUADLET_REQUEST;
}

} // namespace

void Transactions::Start() { m_thread = std::thread(&Transactions::Run, this); }

void Transactions::End(Lock &lock)
{
    m_isEnding = true;
    m_sent.notify_all();
    lock.unlock();
    m_thread.join();
    lock.lock();
    for (const auto &transaction : std::exchange(m_hanging, {})) {
        transaction->access->Cancel(transaction->link->Device());
        Complete(*transaction, {RCODE_CANCELLED});
    }
    for (const auto &transaction : std::exchange(m_queue, {}))
        Complete(*transaction, {RCODE_CANCELLED});
}

// The kernel knows the destination from the node, and the generation from its client.
int Transactions::Send(const std::shared_ptr<DeviceFile> &file, const fw_cdev_send_request &request)
{
    if (!IsRead(request.tcode) && !IsBlock(request.tcode) &&
        request.tcode != TCODE_WRITE_QUADLET_REQUEST)
        return -EINVAL;
    if (request.length > kMostBytes || request.length > 512u << file->node->speed)
        return -EIO;
    if (request.tcode == TCODE_WRITE_QUADLET_REQUEST && request.length < 4)
        return -EINVAL;
    auto transaction = std::make_unique<Transaction>();
    transaction->file = file;
    transaction->closure = request.closure;
    transaction->tcode = request.tcode;
    transaction->offset = request.offset;
    transaction->length = request.length;
    transaction->generation = request.generation;
    transaction->destination = file->node->nodeId;
    if (request.data != 0) {
        const auto *data = reinterpret_cast<const uint8_t *>(static_cast<uintptr_t>(request.data));
        transaction->data.assign(data, data + request.length);
    }
    transaction->data.resize(request.length);
    ++file->pendingTransactions;
    if (++m_inFlight > kLabels) {
        Complete(*transaction, {RCODE_SEND_ERROR});
        return 0;
    }
    m_queue.push_back(std::move(transaction));
    m_sent.notify_one();
    return 0;
}

void Transactions::Run()
{
    Lock lock(m_machine.mutex);
    while (true) {
        m_sent.wait(lock, [this] { return m_isEnding || !m_queue.empty(); });
        if (m_isEnding)
            return;
        std::unique_ptr<Transaction> next = std::move(m_queue.front());
        m_queue.pop_front();
        Serve(lock, std::move(next));
    }
}

// A stale number leads to another node. Of a camera whose file nobody has open, the model answers
// the ROM only.
void Transactions::Serve(Lock &lock, std::unique_ptr<Transaction> transaction)
{
    if (transaction->generation != m_machine.bus.Generation())
        return Complete(*transaction, {RCODE_GENERATION});
    const std::shared_ptr<Node> node = m_machine.bus.NodeAt(transaction->destination);
    if (node == nullptr)
        return Complete(*transaction, {RCODE_NO_ACK});
    if (const uint32_t rcode = m_machine.faults.TakeRcode(); rcode != RCODE_COMPLETE)
        return Complete(*transaction, {rcode});
    if (const uint32_t rcode = RefusalOf(*transaction, !node->IsLocal()); rcode != RCODE_COMPLETE)
        return Complete(*transaction, {rcode});
    transaction->link = node->link;
    const bool isRom = transaction->offset >= kRomStart && transaction->offset < kRomEnd;
    if (isRom || transaction->link == nullptr || transaction->offset < kRegisterSpace)
        return Complete(*transaction, AnswerOfRom(*transaction, *node));
    Access(lock, std::move(transaction));
}

uint32_t Transactions::RefusalOf(const Transaction &transaction, bool isCamera) const
{
    if (!isCamera || !IsBlock(transaction.tcode))
        return RCODE_COMPLETE;
    const bool isTooLong = transaction.length > 2u << m_machine.options.maxRec;
    const bool isRefused =
        m_machine.options.refusesBlockReads && transaction.tcode == TCODE_READ_BLOCK_REQUEST;
    return isTooLong || isRefused ? RCODE_TYPE_ERROR : RCODE_COMPLETE;
}

Transactions::Answer Transactions::AnswerOfRom(const Transaction &transaction, const Node &node)
{
    const auto first = static_cast<size_t>((transaction.offset - kRomStart) / 4);
    const bool isRead = transaction.offset >= kRomStart && transaction.offset % 4 == 0 &&
                        transaction.tcode == TCODE_READ_QUADLET_REQUEST;
    if (!isRead || first >= node.rom.size())
        return {RCODE_ADDRESS_ERROR};
    Answer answer{RCODE_COMPLETE};
    for (int shift = 24; shift >= 0; shift -= 8)
        answer.data.push_back(static_cast<uint8_t>(node.rom[first] >> shift));
    return answer;
}

// Without the lock while the virtual bus serves it.
void Transactions::Access(Lock &lock, std::unique_ptr<Transaction> transaction)
{
    const uint32_t bytes = IsBlock(transaction->tcode) ? transaction->length : 4;
    const auto address = static_cast<uint32_t>(transaction->offset);
    transaction->access =
        IsRead(transaction->tcode)
            ? RegisterAccess::Read(address, bytes)
            : RegisterAccess::Write(address, std::span(transaction->data).first(bytes));
    lock.unlock();
    const auto outcome = transaction->access->Send(transaction->link->Device());
    lock.lock();
    if (outcome.isOver)
        return Complete(*transaction, AnswerOf(*transaction, outcome.systemError));
    transaction->due = m_machine.clock.Now() + kSplitTimeout;
    m_hanging.push_back(std::move(transaction));
    m_machine.WakeTimer();
}

Transactions::Answer Transactions::AnswerOf(const Transaction &transaction, uint32_t systemError)
{
    const uint32_t rcode = rack_cameras::ResponseCodeOf(systemError);
    if (rcode == RCODE_GENERATION)
        m_machine.bus.Look(); // the reset that the unplugging was
    if (rcode == RCODE_COMPLETE && IsRead(transaction.tcode))
        return {rcode, transaction.access->Data()};
    return {rcode};
}

// What the camera acknowledged, it answers late or not at all, whatever becomes of the bus.
void Transactions::RunDue()
{
    std::vector<std::unique_ptr<Transaction>> over;
    for (auto &transaction : m_hanging)
        if (transaction->due <= m_machine.clock.Now())
            over.push_back(std::move(transaction));
    std::erase(m_hanging, nullptr);
    for (const auto &transaction : over) {
        transaction->access->Cancel(transaction->link->Device());
        Complete(*transaction, {RCODE_CANCELLED});
    }
}

nanoseconds Transactions::NextDue() const
{
    nanoseconds next = kForever;
    for (const auto &transaction : m_hanging)
        next = std::min(next, transaction->due);
    return next;
}

// Of a short answer the kernel reports the data twice, before and after the padding.
void Transactions::Complete(Transaction &transaction, const Answer &answer)
{
    transaction.link.reset();
    const auto length =
        static_cast<uint32_t>(std::min<size_t>(transaction.length, answer.data.size()));
    const auto data = std::span<const uint8_t>(answer.data).first(length);
    EventRecord record(transaction.closure, FW_CDEV_EVENT_RESPONSE);
    record.Put(answer.rcode).Put(length).Put(data);
    if (length <= kResponseBytes - kResponseHeadBytes) {
        record = EventRecord(record.Take(kResponseBytes));
        record.Put(data);
    }
    transaction.file->Queue(record.Take(kResponseBytes + length));
    --transaction.file->pendingTransactions;
    --m_inFlight;
    m_machine.changed.notify_all();
}

} // namespace zerix::linux_model

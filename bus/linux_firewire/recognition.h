// Which nodes are cameras. A node whose units are among the configured ones is. Any other that
// nobody uses is asked once for its model: two registers, and if they name one, the directory of
// its register blocks. Nothing is ever written to a node to find out.
//
// Threads: any. One at a time asks nodes, which may take a second for one that doesn't answer; what
// is known is told meanwhile.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "bus/linux_firewire/node_list.h"

namespace zerix::bus::linux_firewire {

// How a camera is known.
struct Recognition {
    std::vector<Unit> units;
    std::function<bool(uint32_t model)> isModel; // by the number of a model
};

// A readable quadlet of every node: the first of its configuration memory.
inline constexpr uint32_t kAnswersAlways = 0xF0000400;

// Reads registers of a node that isn't known to be a camera.
class RegisterReader {
public:
    virtual ~RegisterReader() = default;
    // 0 or a system error; kErrorOperationAborted for a node that gives no answer.
    virtual uint32_t Read(uint32_t address, uint32_t &word) = 0;
};

class Recogniser {
public:
    // Null for a node that may not be opened.
    using OpenReader = std::function<std::unique_ptr<RegisterReader>(const Node &)>;

    explicit Recogniser(Recognition recognition) : m_recognition(std::move(recognition)) {}

    // `now` on a clock that never goes back.
    bool IsCamera(const Node &node, const OpenReader &open, std::chrono::nanoseconds now);

private:
    // A verdict holds as long as the node's configuration memory says the same; that a node doesn't
    // answer, for a while only.
    using Key = std::pair<uint64_t, uint64_t>;
    struct Verdict {
        bool isCamera;
        std::chrono::nanoseconds until;
    };
    enum class Answer { kCamera, kOther, kSilent, kNone };

    [[nodiscard]] bool HasKnownUnit(const Node &node) const;
    std::optional<bool> VerdictOn(const Key &key, std::chrono::nanoseconds now);
    void Remember(const Key &key, Answer answer, std::chrono::nanoseconds now);
    Answer Ask(const Node &node, const OpenReader &open) const;
    Answer AskForModel(RegisterReader &reader) const;
    Answer AskForModelAt(RegisterReader &reader, uint32_t address) const;
    static Answer AnswerAfter(uint32_t readError, RegisterReader &reader);

    const Recognition m_recognition;
    std::mutex m_asking;               // held by who asks a node; taken first
    std::mutex m_mutex;                // over what follows
    std::map<Key, Verdict> m_verdicts; // the latest
};

} // namespace zerix::bus::linux_firewire

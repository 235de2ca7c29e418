// Which nodes are cameras. A node whose units are among the configured ones is. Any other that
// nobody uses is asked once for its model: two registers, and if they name one, the directory of
// its register blocks. Nothing is ever written to a node to find out.
//
// Threads: any; a node is asked by one at a time.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "bus/linux_firewire/node_list.h"

namespace zerix::bus::linux_firewire {

// How a camera is known.
struct Recognition {
    std::vector<Unit> units;
    std::function<bool(uint32_t model)> isModel; // by the number of a model
};

// Reads registers of a node that isn't known to be a camera.
class RegisterReader {
public:
    virtual ~RegisterReader() = default;
    // 0 or a system error.
    virtual uint32_t Read(uint32_t address, uint32_t &word) = 0;
};

class Recogniser {
public:
    // Null for a node that may not be opened.
    using OpenReader = std::function<std::unique_ptr<RegisterReader>(const Node &)>;

    explicit Recogniser(Recognition recognition) : m_recognition(std::move(recognition)) {}

    bool IsCamera(const Node &node, const OpenReader &open);

private:
    // A verdict holds as long as the node's configuration memory says the same.
    using Key = std::pair<uint64_t, uint64_t>;
    enum class Answer { kCamera, kOther, kNone };

    [[nodiscard]] bool HasKnownUnit(const Node &node) const;
    Answer Ask(const Node &node, const OpenReader &open) const;
    Answer AskForModel(RegisterReader &reader) const;
    Answer AskForModelAt(RegisterReader &reader, uint32_t address) const;

    const Recognition m_recognition;
    std::mutex m_mutex;
    std::map<Key, bool> m_verdicts; // under the mutex
};

} // namespace zerix::bus::linux_firewire

// Ctrl-C, and the system's request to end, as something to ask for instead of an end at once.
#pragma once

namespace zerix::tool {

// While it lives, the first such request is noted; a second one ends the program.
class Interrupts {
public:
    Interrupts();
    ~Interrupts();
    Interrupts(const Interrupts &) = delete;
    Interrupts &operator=(const Interrupts &) = delete;

    [[nodiscard]] static bool Came();
};

} // namespace zerix::tool

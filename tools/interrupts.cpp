// The standard library's signals: every system that the tool runs on has these two.
#include "tools/interrupts.h"

#include <csignal>

namespace zerix::tool {

namespace {

volatile std::sig_atomic_t came = 0;

void OnSignal(int number)
{
    came = 1;
    std::signal(number, SIG_DFL);
}

} // namespace

Interrupts::Interrupts()
{
    came = 0;
    std::signal(SIGINT, OnSignal);
    std::signal(SIGTERM, OnSignal);
}

Interrupts::~Interrupts()
{
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
}

bool Interrupts::Came() { return came != 0; }

} // namespace zerix::tool

#include "tools/lab/Interrupt.h"

#include <csignal>
#include <initializer_list>

namespace lab {

namespace {

volatile sig_atomic_t interrupted = 0;

void OnSignal(int /*number*/) {
    interrupted = 1;
}

}  // namespace

void CatchInterrupts() {
    struct sigaction action {};
    action.sa_handler = OnSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int number : {SIGINT, SIGTERM}) sigaction(number, &action, nullptr);
}

bool Interrupted() {
    return interrupted != 0;
}

}  // namespace lab

#include "host/cli/StopSignal.h"

#include <array>
#include <csignal>

namespace Host {

namespace {

constexpr std::array Signals{SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t received = 0;

// A signal that the program was started to ignore (nohup) stays ignored.
void SetAction(int number, void (*action)(int), int flags) {
    struct sigaction now {};
    if (sigaction(number, nullptr, &now) != 0 || now.sa_handler == SIG_IGN) return;
    struct sigaction next {};
    next.sa_handler = action;
    next.sa_flags = flags;
    sigemptyset(&next.sa_mask);
    static_cast<void>(sigaction(number, &next, nullptr));
}

extern "C" void Remember(int number) {
    received = number;
}

}  // namespace

StopSignal::StopSignal() {
    received = 0;
    for (const int number : Signals) SetAction(number, Remember, static_cast<int>(SA_RESETHAND));
    pipeBefore_ = std::signal(SIGPIPE, SIG_IGN);
}

StopSignal::~StopSignal() {
    for (const int number : Signals) SetAction(number, SIG_DFL, 0);
    if (pipeBefore_ != SIG_ERR) static_cast<void>(std::signal(SIGPIPE, pipeBefore_));
}

int StopSignal::Get() {
    return received;
}

}  // namespace Host

#include "host/cli/StopSignal.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <unistd.h>

namespace Host {

namespace {

constexpr std::array Signals{SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t received = 0;
volatile std::sig_atomic_t wakeFile = -1;
volatile std::sig_atomic_t firstAt = 0;  // s, by the steady clock

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
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    const auto second = static_cast<std::sig_atomic_t>(now.tv_sec);
    if (received == 0) {
        firstAt = second;
    } else if (second - firstAt >= 2) {
        // Somebody has no patience. It comes when this function has returned.
        static_cast<void>(std::signal(number, SIG_DFL));
        static_cast<void>(std::raise(number));
        return;
    }
    received = number;
    const int file = wakeFile;
    if (file < 0) return;
    const int error = errno;
    const std::uint64_t one = 1;
    // Full is woken already.
    if (::write(file, &one, sizeof(one)) < 0) errno = error;
}

}  // namespace

StopSignal::StopSignal() {
    received = 0;
    for (const int number : Signals) SetAction(number, Remember, 0);
    pipeBefore_ = std::signal(SIGPIPE, SIG_IGN);
}

StopSignal::~StopSignal() {
    for (const int number : Signals) SetAction(number, SIG_DFL, 0);
    if (pipeBefore_ != SIG_ERR) static_cast<void>(std::signal(SIGPIPE, pipeBefore_));
    wakeFile = -1;
}

int StopSignal::Get() {
    return received;
}

void StopSignal::WakeThrough(int file) {
    wakeFile = file;
}

}  // namespace Host

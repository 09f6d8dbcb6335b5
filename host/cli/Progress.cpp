#include "host/cli/Progress.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

#include <fmt/format.h>

namespace Host {

Progress::Progress(std::string what, std::int64_t total)
    : what_(std::move(what)),
      total_(total),
      isTerminal_(::isatty(STDERR_FILENO) != 0),
      next_(std::chrono::steady_clock::now() + std::chrono::seconds(1)) {}

Progress::~Progress() {
    if (isShown_) fmt::print(stderr, "\r\x1b[K");
}

void Progress::SetDone(std::int64_t done) {
    if (!isTerminal_) return;
    const auto now = std::chrono::steady_clock::now();
    if (now < next_) return;
    next_ = now + std::chrono::milliseconds(200);
    Show(total_ > 0 ? std::clamp(static_cast<double>(done) / static_cast<double>(total_), 0.0, 1.0) : 0.0);
}

void Progress::Show(double fraction) {
    constexpr int Width = 40;
    const int full = static_cast<int>(fraction * Width);
    std::string bar;
    for (int i = 0; i < Width; ++i) bar += i < full ? "\u2588" : "\u2591";
    fmt::print(stderr, "\r{} {} {:3.0f} %", what_, bar, fraction * 100.0);
    std::fflush(stderr);
    isShown_ = true;
}

}  // namespace Host

#include "host/cli/Progress.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

#include <fmt/format.h>

namespace Host {

namespace {

// A bar that cannot be shown is no reason to stop.
void Show(const std::string& text) {
    static_cast<void>(std::fwrite(text.data(), 1, text.size(), stderr));
    static_cast<void>(std::fflush(stderr));
}

}  // namespace

Progress::Progress(std::string what, std::int64_t total)
    : what_(std::move(what)),
      total_(total),
      isTerminal_(::isatty(STDERR_FILENO) != 0),
      next_(std::chrono::steady_clock::now() + std::chrono::seconds(1)) {}

Progress::~Progress() {
    if (isShown_) Host::Show("\r\x1b[K");
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
    Host::Show(fmt::format("\r{} {} {:3.0f} %", what_, bar, fraction * 100.0));
    isShown_ = true;
}

}  // namespace Host

// A progress bar on the terminal.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace Host {

// Shows on standard error how far a command is, from one second on, when that is a terminal. Never part of an output.
class Progress {
public:
    explicit Progress(std::string what, std::int64_t total);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    // Wipes the bar.
    ~Progress();

    void SetDone(std::int64_t done);

private:
    void Show(double fraction);

    std::string what_;
    std::int64_t total_;
    bool isTerminal_;
    bool isShown_ = false;
    std::chrono::steady_clock::time_point next_;
};

}  // namespace Host

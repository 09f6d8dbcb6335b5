// ConsoleCommands: what operators ask for, on its way from the server's threads to the thread of the run.
#pragma once

#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "host/console/ConsoleBackend.h"
#include "host/text/Satellites.h"

namespace Host {

// A satellite is to be used or not.
struct ConsoleCommand {
    Satellite satellite;
    bool isEnabled = true;
    std::string who;  // the address of the operator's machine
};

class ConsoleCommands {
public:
    // More than these wait for nobody: a run that takes none does not work.
    static constexpr std::size_t MaxWaiting = 1000;

    // Any thread. Takes a command in, or says why not; the run hears of it by `wake`.
    [[nodiscard]] ConsoleAnswer Post(std::string_view command, std::string_view body, std::string_view who);

    // Those of the run's thread.
    // Commands are taken from now on. The function wakes the run, or takes them to it; whoever posts a command calls
    // it.
    void Open(std::function<void()> wake);
    // No command is taken any more, for a reason in words.
    void Close(std::string reason);
    // Those that have come since the last call, in their order.
    [[nodiscard]] std::vector<ConsoleCommand> Take();

private:
    std::mutex mutex_;
    std::string closed_ = "the run has not begun";  // empty while commands are taken
    std::function<void()> wake_;
    std::vector<ConsoleCommand> waiting_;
};

}  // namespace Host

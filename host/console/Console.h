// Console: the operator console of a run, from its settings to the browsers.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "host/console/ConsoleBackend.h"
#include "host/console/ConsoleCommands.h"
#include "host/console/ConsoleHub.h"
#include "host/console/ConsoleOutput.h"
#include "host/console/ConsoleServer.h"
#include "host/console/ConsoleSky.h"
#include "host/console/ConsoleStores.h"
#include "host/run/ReplayRun.h"
#include "host/run/RunCore.h"
#include "host/run/RunSettings.h"

namespace Host {

// Everything but Get and Post is for the run's thread. It outlives the run, of which GetOutput is an output.
class Console : private ConsoleBackend {
public:
    // The kind of run is "live", "files" or "replay".
    Console(const RunSettings& settings, const char* kind);
    ~Console() override;

    // Reads tokens and address. False with a reason for a person, which begins with the option or setting meant.
    [[nodiscard]] bool Configure(const RunSettings& settings, std::string& reason);
    // The views listen to the run's stores: before it opens its inputs. Of a replay, to those of each of its runs.
    void Join(RunCore& core) { stores_.Join(core.GetTree()); }
    [[nodiscard]] ConsoleOutput& GetOutput() { return output_; }
    // Serves from now on. `wake` ends a wait of the run's, so that it calls Work; any thread calls it until Stop.
    [[nodiscard]] bool Start(std::function<void()> wake, std::string& reason);

    // Of a replay, which is not begun yet: what operators ask for goes to it by itself. TickReplay is then called in
    // the place of Work.
    [[nodiscard]] bool StartReplay(ReplayRun& replay, std::string& reason);
    void TickReplay();
    // Does what operators have asked for, and shows what is due: as often as one likes, each second at least.
    void Work(RunCore& core);
    // The run is over: its last state is shown on, and no command is taken. Then Work is not called, but GetOutput's
    // Tick.
    void End() { commands_.Close("the run has ended"); }
    // Ends the server.
    void Stop();

    // For a person; empty while it does not serve.
    [[nodiscard]] std::string GetPlace() const { return server_ ? server_->GetPlace() : std::string(); }

    [[nodiscard]] ConsoleAnswer Get(std::string_view path,
                                    const std::map<std::string, std::string>& parameters) override;
    [[nodiscard]] ConsoleAnswer Post(std::string_view command, std::string_view body, std::string_view who) override;

private:
    void PassOn();

    ConsoleHub hub_;
    ConsoleSky sky_;
    ConsoleStores stores_;
    ConsoleCommands commands_;
    ConsoleOutput output_;
    ConsoleServerSettings serving_;
    std::unique_ptr<ConsoleServer> server_;
    ReplayRun* replay_ = nullptr;
};

}  // namespace Host

#include "host/cli/RunLive.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include <sys/eventfd.h>

#include "host/cli/Inputs.h"
#include "host/cli/LiveStatus.h"
#include "host/cli/RunEventLines.h"
#include "host/cli/StopSignal.h"
#include "host/console/Console.h"
#include "host/live/SourceAddress.h"
#include "host/run/DailyFolders.h"
#include "host/run/LiveRun.h"
#include "host/run/PositionRows.h"
#include "host/simulate/SimulatedSource.h"

namespace Host {

bool IsLive(const RunRequest& request) {
    return request.inputs.empty() || std::ranges::any_of(request.inputs, [](const std::string& input) {
               return input == SimulatedSource::Address || SourceAddress::IsLive(input);
           });
}

int RunLive(RunSettings settings) {
    if (settings.request.inputs.empty()) settings.request.inputs.emplace_back(SimulatedSource::Address);
    LiveRunSettings live;
    live.recordings = settings.live.recordings;
    live.almanac = settings.live.almanac;
    live.speed = settings.live.speed;
    live.seed = static_cast<std::uint64_t>(settings.live.seed);
    if (settings.live.duration > 0.0) live.duration = settings.live.duration;
    std::string reason;
    const PasswordPlaces places{settings.live.passwordFile, settings.live.password, settings.live.configFile};
    if (!FindPassword(places, live.password, reason)) return Complain(reason), 2;

    std::optional<Console> console;
    if (!settings.console.address.empty()) {
        console.emplace(settings, "live");
        if (!console->Configure(settings, reason)) return Complain(reason), 2;
    }
    LiveStatus status;
    RunEventLines events(settings.allWarnings);
    // The status makes room before an event is shown.
    LiveRun run(settings.request, {&status, &events}, std::move(live));
    if (console) {
        console->Join(run.GetCore());
        console->GetOutput().SetSources([&run] { return run.GetSources(); });
    }
    if (!run.Open(reason)) return Complain(reason), 1;
    const StopSignal stop;
    StopSignal::WakeThrough(run.GetWakeFile());
    std::optional<DailyFolders> folders;
    if (!settings.folder.folder.empty()) {
        folders.emplace(settings.folder, settings.referencePlace);
        if (!folders->GetFailure().empty()) return Complain(folders->GetFailure()), 1;
        run.AddOutput(*folders);
    }
    std::optional<PositionRows> rows;
    if (!settings.positions.empty())
        run.AddOutput(rows.emplace(settings.form, settings.positions, PositionRows::Following,
                                   [] { return StopSignal::Get() != 0; }));
    if (console) {
        run.AddOutput(console->GetOutput());
        const auto wake = [file = run.GetWakeFile()] { static_cast<void>(::eventfd_write(file, 1)); };
        if (!console->Start(wake, reason)) return Complain("--console: " + reason), 1;
        Complain("the console is at " + console->GetPlace());
    }
    // Asked after each wait: also after one that an operator's command has ended.
    const auto isStopped = [&] {
        if (console) console->Work(run.GetCore());
        return StopSignal::Get() != 0;
    };
    // Of each source a few events are shown in an hour, not in the months that a run may take.
    constexpr int Hour = 3600;
    int seconds = 0;
    const std::string failure = run.Run(isStopped, [&] {
        if (++seconds % Hour == 0) {
            status.Wipe();
            events.Renew();
        }
        if (!settings.quiet) status.Show(run);
    });
    if (console) console->Stop();
    StopSignal::WakeThrough(-1);
    if (folders && !folders->GetLast().empty() && !settings.quiet) {
        Tell(folders->GetLastSummary());
        Complain("written to " + folders->GetLast());
    }
    if (!failure.empty()) return Complain(failure), 1;
    const FixComponent::Counts& counts = run.GetFacts().counts;
    if (counts.epochs == 0) return Complain("no measurements were received that could be used"), 1;
    if (counts.fixes == 0) return Complain("no epoch has a position; the notes and events say why"), 1;
    return 0;
}

}  // namespace Host

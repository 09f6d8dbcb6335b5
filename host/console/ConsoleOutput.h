// ConsoleOutput: a run as the panels of the operator console.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "gnss/geodesy/LocalGrid.h"
#include "gnss/time/GPSTime.h"
#include "host/console/ConsoleHub.h"
#include "host/console/ConsoleNotes.h"
#include "host/console/ConsoleRows.h"
#include "host/console/ConsoleSky.h"
#include "host/console/ConsoleStores.h"
#include "host/live/SteadyClock.h"
#include "host/report/FixRows.h"
#include "host/run/LiveRun.h"
#include "host/run/RunOutput.h"
#include "host/run/RunSettings.h"
#include "host/text/Satellites.h"

namespace Host {

// What the panel "run" says of the run itself.
struct ConsoleRunState {
    std::string_view kind = "files";        // "live", "files" or "replay"
    std::string_view state = "running";     // "running", "paused" or "ended"
    double speed = 1.0;                     // of a replay, times real
    std::optional<GNSS::GPSTime> from, to;  // of the data of a replay
    bool isSeeking = false;
    friend bool operator==(const ConsoleRunState&, const ConsoleRunState&) = default;
};

// A run may begin again, as a replay does that is put back: all is then as at the first beginning, but what is numbered
// is numbered on, and what has been published stays until something takes its place.
//
// However fast the epochs come, they are shown MaxRate times a second at most, and each is in the series; the newest is
// out within a second, provided that Tick is called each second. Everything but the two Print functions is for the
// thread of the run. Takes the same room however long the run goes on.
class ConsoleOutput : public RunOutput {
public:
    static constexpr std::size_t MaxSeries = std::size_t{4} * 3600;  // epochs that are kept
    static constexpr std::size_t MaxEvents = 1000;
    static constexpr std::size_t MaxText = 2000;                 // bytes; a longer one is cut
    static constexpr std::chrono::milliseconds FastPeriod{190};  // a little less than a fifth of a second: a
                                                                 // stream of 5 Hz that is not quite even
    static constexpr std::chrono::milliseconds SlowPeriod{900};  // likewise
    using Sources = std::function<std::vector<LiveRun::SourceStatus>()>;

    ConsoleOutput(
        const RunSettings& settings, const std::string& version, ConsoleHub& hub, ConsoleSky& sky,
        ConsoleStores& stores, SteadyClock clock = [] { return std::chrono::steady_clock::now(); });

    // Of live sources, before Begin.
    void SetSources(Sources sources) { sources_ = std::move(sources); }
    // Whether the run is to end, for one that asks its outputs.
    void SetStop(std::function<bool()> isStopped) { isStopped_ = std::move(isStopped); }
    // Whether nothing is to be published for the time being, but Tick's.
    void SetSilence(std::function<bool()> isSilent) { isSilent_ = std::move(isSilent); }
    void SetState(const ConsoleRunState& state);
    [[nodiscard]] const ConsoleRunState& GetState() const { return state_; }
    // The operator has enabled or disabled a satellite.
    void SetEnabled(const Satellite& satellite, bool isEnabled);
    // Publishes what is due; to be called each second, and as often as one likes.
    void Tick();
    // Publishes everything now.
    void PublishAll();

    void Begin(const RunFacts& facts) override;
    void OnFix(const PublishedFix& fix) override;
    void OnEvent(const RunEvent& event) override;
    [[nodiscard]] std::string Finish(const RunFacts& facts) override;
    [[nodiscard]] bool IsGood() const override { return !isStopped_ || !isStopped_(); }

    // Any thread: {"from":N,"next":M,"columns":[...],"rows":[[...],...]}.
    [[nodiscard]] std::string PrintSeries(std::int64_t from) const;
    [[nodiscard]] std::string PrintEvents(std::int64_t from) const;

private:
    static constexpr std::size_t NmrGPS = 32;
    static constexpr std::size_t NmrGlonass = 24;

    [[nodiscard]] std::string Head();
    void Publish(const char* panel, std::string json);
    void EnableAsAtFirst();
    void PublishFix(const PublishedFix& fix);
    void PublishIncrements();
    void PublishSlow();
    void PublishRun();
    void PublishSources();
    void PublishHealth();
    void AddToSeries(const PublishedFix& fix, const FixFigures& figures);
    [[nodiscard]] bool IsSilent();
    [[nodiscard]] bool IsEnabled(const FixSatellite& satellite) const;

    ConsoleHub& hub_;
    ConsoleSky& sky_;
    ConsoleStores& stores_;
    SteadyClock clock_;
    Sources sources_;
    std::function<bool()> isStopped_;
    std::function<bool()> isSilent_;
    std::string version_;
    std::string settings_;                // JSON
    std::vector<GNSS::PRN> disabledGPS_;  // at the beginning
    std::vector<GNSS::Glonass::Slot> disabledGlonass_;
    const RunFacts* facts_ = nullptr;
    ConsoleRunState state_;
    std::array<bool, NmrGPS + 1> gps_{};  // enabled, by number
    std::array<bool, NmrGlonass + 1> glonass_{};

    std::optional<GNSS::LocalGrid> reference_;  // that was given
    std::optional<GNSS::LocalGrid> grid_;       // from the first position, unless a reference is given
    std::int64_t nmrFixes_ = 0;
    std::int64_t nmrEpochs_ = 0;
    std::optional<PublishedFix> waiting_;  // has not been shown
    std::optional<GNSS::GPSTime> last_;    // the last epoch
    std::optional<GNSS::GPSTime> now_;     // the data's time
    double step_ = 0.0;                    // s between the last two epochs
    double stepBefore_ = 0.0;
    GNSS::Constellation constellation_;
    bool isBehind_ = false;  // nothing has been published for a while on purpose
    bool isFresh_ = false;   // there was an epoch since the slow panels were published

    FixRow fixRow_;
    SatelliteRow satelliteRow_;
    JsonRows fixJson_;
    JsonRows satelliteJson_;
    ConsoleRows series_;
    ConsoleRows events_;
    std::int64_t seriesShown_ = 0;  // rows that have been published
    std::int64_t eventsShown_ = 0;
    bool isSeriesNew_ = false;  // begun again since it was published
    bool areEventsNew_ = false;
    ConsoleNotes notes_;

    std::int64_t made_ = 0;
    SteadyTime fastDue_{};
    SteadyTime slowDue_{};
    SteadyTime incrementsDue_{};
    std::map<std::string, SteadyTime, std::less<>> published_;  // when each panel was last
};

}  // namespace Host

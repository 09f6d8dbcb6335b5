#include "host/console/ConsoleOutput.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <fmt/format.h>

#include "gnss/geodesy/Spheroid.h"
#include "gnss/platform/TimeDate.h"
#include "host/console/ConsoleJson.h"
#include "host/fix/FixNotes.h"

namespace Host {

using ConsoleJson::AddNumber;
using ConsoleJson::Number;
using ConsoleJson::Quote;

namespace {

constexpr const char* SeriesColumns =
    R"(["t","east","north","up","hdop","pdop","f","f_limit","ext2d","ext_h","used_gps","used_glonass","rejected",)"
    R"("max_w","w_limit"])";
// Of a row of satellites.csv, the time, which the panel has once.
constexpr std::size_t NmrTimeColumns = 2;

const char* Bool(bool value) {
    return value ? "true" : "false";
}

double UnixTime(const Corvane::TimeDate& utc) {
    static constexpr Corvane::TimeDate Epoch{Corvane::Date(1970, 1, 1), Corvane::TimeOfDay()};
    return (utc - Epoch).Seconds();
}

// A text that may be of any length, cut between two characters.
std::string Short(std::string_view text) {
    std::size_t size = std::min(text.size(), ConsoleOutput::MaxText);
    while (size > 0 && size < text.size() && (static_cast<unsigned char>(text[size]) & 0xC0U) == 0x80U) --size;
    return Quote(text.substr(0, size));
}

// As people read it: without the quotes of a text and the brackets of a list.
std::string PrintSettings(const RunSettings& settings) {
    std::string json = "[";
    for (const Setting& setting : GetSettings()) {
        std::string value = setting.print(settings);
        // Where a secret lies is not for who looks either.
        const std::string_view key = setting.key;
        if ((key.ends_with("token_file") || key.ends_with("password-file")) && value != "\"\"") value = "\"***\"";
        const std::size_t edge = value.starts_with("[\"") ? 2 : value.starts_with('"') || value == "[]" ? 1 : 0;
        value = value.substr(edge, value.size() - 2 * edge);
        constexpr std::string_view Between = "\", \"";
        for (std::size_t at = value.find(Between); edge == 2 && at != std::string::npos; at = value.find(Between, at))
            value.replace(at, Between.size(), ", ");
        json += (json.size() > 1 ? ",[" : "[") + Quote(setting.GetName()) + ',' + Quote(value) + ']';
    }
    return json + ']';
}

// What was published before is no part of it any more.
const char* PrintReset(bool isNew) {
    return isNew ? "\"reset\":true," : "";
}

// {"first":N,"rows":[...]} of what has been added since; false when that is nothing. That there is nothing any more is
// told.
bool PrintIncrement(const ConsoleRows& rows, bool isNew, std::int64_t& shown, const std::string& head,
                    std::string& json) {
    if (!isNew && rows.GetNext() == shown) return false;
    std::string list;
    const auto [first, next] = rows.Print(shown, list);
    json = fmt::format("{}\"first\":{},\"rows\":{}}}", head, first, list);
    shown = next;
    return true;
}

std::string PrintFrom(const ConsoleRows& rows, std::int64_t from, const std::string& members) {
    std::string list;
    const auto [first, next] = rows.Print(from, list);
    return fmt::format("{{\"from\":{},\"next\":{}{},\"rows\":{}}}", first, next, members, list);
}

}  // namespace

ConsoleOutput::ConsoleOutput(const RunSettings& settings, const std::string& version, ConsoleHub& hub, ConsoleSky& sky,
                             ConsoleStores& stores, SteadyClock clock)
    : hub_(hub),
      sky_(sky),
      stores_(stores),
      clock_(std::move(clock)),
      version_(version),
      settings_(PrintSettings(settings)),
      disabledGPS_(settings.request.disabledGPS),
      disabledGlonass_(settings.request.disabledGlonass),
      fixJson_(FixRow::Columns()),
      satelliteJson_(SatelliteRow::Columns()),
      series_(MaxSeries),
      events_(MaxEvents) {
    if (settings.referencePlace) reference_.emplace(*settings.referencePlace, GNSS::Spheroid::WGS84);
    EnableAsAtFirst();
}

void ConsoleOutput::EnableAsAtFirst() {
    gps_.fill(true);
    glonass_.fill(true);
    for (const GNSS::PRN& prn : disabledGPS_) gps_.at(static_cast<std::size_t>(int{prn})) = false;
    for (const auto& slot : disabledGlonass_) glonass_.at(static_cast<std::size_t>(int{slot})) = false;
}

// "made" and "utc", which every panel begins with.
std::string ConsoleOutput::Head() {
    return fmt::format("{{\"made\":{},\"utc\":{},", ++made_, ConsoleJson::Time(now_));
}

void ConsoleOutput::Publish(const char* panel, std::string json) {
    published_.insert_or_assign(panel, clock_());
    hub_.Publish(panel, std::move(json));
}

void ConsoleOutput::SetState(const ConsoleRunState& state) {
    // On the way to a time it is the only panel that moves.
    const bool isDue = state != state_ || state.isSeeking;
    state_ = state;
    if (isDue && facts_ != nullptr) PublishRun();
}

void ConsoleOutput::SetEnabled(const Satellite& satellite, bool isEnabled) {
    const auto number = static_cast<std::size_t>(satellite.number);
    (satellite.system == 'G' ? gps_.at(number) : glonass_.at(number)) = isEnabled;
    if (IsSilent()) return;
    PublishHealth();
    incrementsDue_ = {};
    PublishIncrements();
}

bool ConsoleOutput::IsEnabled(const FixSatellite& satellite) const {
    const auto number = static_cast<std::size_t>(std::max(satellite.number, 0));
    return satellite.glonass ? number > NmrGlonass || glonass_.at(number) : number > NmrGPS || gps_.at(number);
}

void ConsoleOutput::Begin(const RunFacts& facts) {
    const bool isAgain = facts_ != nullptr;
    facts_ = &facts;
    grid_ = reference_;
    if (isAgain) {
        EnableAsAtFirst();
        nmrFixes_ = nmrEpochs_ = 0;
        waiting_.reset();
        last_.reset();
        now_.reset();
        step_ = stepBefore_ = 0.0;
        notes_ = {};
        constellation_ = GNSS::Constellation();
        series_.Clear();
        events_.Clear();
        seriesShown_ = series_.GetNext();
        eventsShown_ = events_.GetNext();
        isSeriesNew_ = areEventsNew_ = true;
    }
    if (!IsSilent()) PublishSlow();
}

void ConsoleOutput::OnFix(const PublishedFix& fix) {
    const FixResult& result = fix.result;
    if (last_) stepBefore_ = std::exchange(step_, (result.time - *last_).Seconds());
    last_ = now_ = result.time;
    ++nmrEpochs_;
    nmrFixes_ += result.valid ? 1 : 0;
    isFresh_ = true;
    AddToSeries(fix, FiguresOf(result));
    notes_.Add(result.time, fix.notes);
    const SteadyTime now = clock_();
    if (now >= fastDue_ && !IsSilent()) {
        fastDue_ = now + FastPeriod;
        PublishFix(fix);
        incrementsDue_ = {};
        PublishIncrements();
    } else {
        waiting_ = fix;
    }
}

void ConsoleOutput::AddToSeries(const PublishedFix& fix, const FixFigures& figures) {
    const FixResult& result = fix.result;
    const double none = FixFigures::None;
    std::string row = "[";
    const auto add = [&row](double value, int decimals) {
        if (row.size() > 1) row += ',';
        AddNumber(value, decimals, row);
    };
    const Corvane::TimeDate* utc = fix.position.GetTimeDate();
    add(UnixTime(utc != nullptr ? *utc : result.time.GetUTC()), 3);
    if (result.valid) {
        if (!grid_) grid_.emplace(result.ecef, GNSS::Spheroid::WGS84);
        const GNSS::Grid::Delta place = grid_->GetGridDelta(result.ecef);
        for (const double part : {place.GetEast(), place.GetNorth(), place.GetHeight()}) add(part, 3);
        add(result.dop.GetHDOP(), 2);
        add(result.dop.GetPDOP(), 2);
    } else {
        row += ",null,null,null,null,null";
    }
    add(figures.unitVariance, 4);
    add(figures.redundancy > 0 ? result.fLimit : none, 4);
    add(figures.extRel2D.value, 3);
    add(figures.extRelHeight.value, 3);
    for (const int count : {result.gps.used, result.glonass.used, result.NmrRejected()}) add(count, 0);
    add(result.valid && result.maxWRow >= 0 ? result.maxW : none, 3);
    add(result.valid ? result.wLimit : none, 4);
    series_.Add(row + ']');
}

void ConsoleOutput::PublishFix(const PublishedFix& fix) {
    const FixResult& result = fix.result;
    // The time stands in the row.
    std::string json = fmt::format("{{\"made\":{},", ++made_);
    fixJson_.AppendMembers(fixRow_.Fill(fix, FiguresOf(result)), 0, json);
    json += ",\"notes_text\":[";
    for (int i = 0; i < fix.notes.NmrNote(); ++i) {
        const GNSS::Notes::Note& note = fix.notes[i];
        json += (i > 0 ? ",{\"text\":" : "{\"text\":") + Quote(note.GetText().ToUTF8()) +
                ",\"alarm\":" + Bool(IsAlarm(static_cast<FixNote>(note.GetId()))) + '}';
    }
    Publish("fix", json + "]}");

    json = Head() + "\"rows\":[";
    bool isFirst = true;
    for (const FixSatellite& satellite : result.satellites) {
        if (!isFirst) json += ',';
        isFirst = false;
        json += '{';
        satelliteJson_.AppendMembers(satelliteRow_.Fill(result, satellite), NmrTimeColumns, json);
        json += std::string(",\"enabled\":") + Bool(IsEnabled(satellite)) + '}';
    }
    Publish("satellites", json + "]}");
    constellation_ = result.constellation;
    waiting_.reset();
}

void ConsoleOutput::OnEvent(const RunEvent& event) {
    if (event.time && (!now_ || *now_ < *event.time)) now_ = event.time;
    events_.Add("{\"utc\":" + ConsoleJson::Time(event.time) + ",\"source\":" + Short(event.source) +
                ",\"text\":" + Short(event.text) + '}');
    if (!IsSilent()) PublishIncrements();
}

void ConsoleOutput::PublishIncrements() {
    const SteadyTime now = clock_();
    if (now < incrementsDue_) return;
    incrementsDue_ = now + FastPeriod;
    std::string json;
    if (PrintIncrement(events_, areEventsNew_, eventsShown_, Head() + PrintReset(areEventsNew_), json)) {
        Publish("events", json);
        areEventsNew_ = false;
    }
    if (PrintIncrement(series_, isSeriesNew_, seriesShown_,
                       Head() + PrintReset(isSeriesNew_) + "\"columns\":" + SeriesColumns + ',', json)) {
        Publish("series", json);
        isSeriesNew_ = false;
    }
}

bool ConsoleOutput::IsSilent() {
    const bool isSilent = isSilent_ && isSilent_();
    isBehind_ = isBehind_ || isSilent;
    return isSilent;
}

void ConsoleOutput::Tick() {
    if (std::exchange(isBehind_, false)) return PublishAll();
    const SteadyTime now = clock_();
    if (waiting_ && now >= fastDue_) {
        fastDue_ = now + FastPeriod;
        PublishFix(PublishedFix(*waiting_));
        incrementsDue_ = {};
    }
    PublishIncrements();
    if (now >= slowDue_) PublishSlow();
}

void ConsoleOutput::PublishAll() {
    if (waiting_) PublishFix(PublishedFix(*waiting_));
    incrementsDue_ = {};
    PublishIncrements();
    isFresh_ = true;
    PublishSlow();
}

// Those of the run itself each time, those of the data when there are new ones: their age is that of the data.
void ConsoleOutput::PublishSlow() {
    slowDue_ = clock_() + SlowPeriod;
    PublishSources();
    std::string stores = stores_.Print();
    if (std::exchange(isFresh_, false) || nmrEpochs_ == 0) {
        const std::int64_t sky = sky_.Set(constellation_);
        Publish("sky", fmt::format("{}\"changed\":{}}}", Head(), sky));
        std::string notes = Head();
        notes_.Print(notes);
        Publish("notes", notes + '}');
        PublishHealth();
        Publish("stores", Head() + stores + '}');
    }
    PublishRun();
}

void ConsoleOutput::PublishRun() {
    const double interval = stepBefore_ > 0.0 ? std::min(step_, stepBefore_) : step_;
    std::string ages;
    const SteadyTime now = clock_();
    for (const auto& [panel, time] : published_)
        ages += fmt::format("{}\"{}\":{:.1f}", ages.empty() ? "" : ",", panel,
                            std::chrono::duration<double>(now - time).count());
    const FixComponent::Counts counts = facts_ != nullptr ? facts_->counts : FixComponent::Counts();
    Publish("run",
            Head() + fmt::format(R"("kind":"{}","state":"{}","now":{},"interval_s":{},"epochs":{},"fixes":{},)"
                                 R"("repeated":{},"out_of_order":{},"speed":{},"from":{},"to":{},"seeking":{},)"
                                 R"("reference":{},"ages":{{{}}},"version":{},"settings":{}}})",
                                 state_.kind, state_.state, ConsoleJson::Time(now_),
                                 interval > 0.0 ? Number(interval, 3) : "null", nmrEpochs_, nmrFixes_, counts.repeated,
                                 counts.outOfOrder, Number(state_.speed, 3), ConsoleJson::Time(state_.from),
                                 ConsoleJson::Time(state_.to), Bool(state_.isSeeking),
                                 reference_ ? "\"the reference given\"" : "\"the first position\"", ages,
                                 Quote(version_), settings_));
}

void ConsoleOutput::PublishSources() {
    if (facts_ == nullptr) return;
    std::vector<LiveRun::SourceStatus> live;
    if (sources_) live = sources_();
    std::string json = Head() + "\"rows\":[";
    bool isFirst = true;
    const bool isOver = state_.state == "ended";
    for (const RunInput& input : facts_->inputs) {
        const auto found =
            std::find_if(live.begin(), live.end(), [&](const auto& source) { return source.facts == &input; });
        const bool isLive = found != live.end();
        const std::string& failure = isLive && input.failure.empty() ? found->fault : input.failure;
        // Beside live sources a file is one of navigation, read before the run.
        const char* state = isLive                    ? Name(found->state)
                            : !input.failure.empty()  ? "failed"
                            : isOver || !live.empty() ? "read"
                                                      : "reading";
        json += fmt::format(
            R"({}{{"name":{},"format":{},"state":"{}","age_s":{},"wait_s":{},"bytes":{},"messages":{},"skipped":{},)"
            R"("checksum_failures":{},"refused":{},"undated":{},"epochs":{},"records":{},"connects":{},"drops":{},)"
            R"("errors":{},"failure":{}}})",
            isFirst ? "" : ",", Short(isLive ? found->name : input.name), Short(input.format), state,
            Number(isLive ? found->age : std::nullopt, 1), Number(isLive ? found->wait : std::nullopt, 1),
            isLive ? found->counts.bytes : input.bytes, input.messages, input.skipped, input.checksumFailures,
            input.refused, input.undated, input.epochs, input.records, isLive ? found->counts.connects : 0,
            isLive ? found->counts.drops : 0, isLive ? found->counts.errors : 0,
            failure.empty() ? "null" : Short(failure));
        isFirst = false;
    }
    Publish("sources", json + "]}");
}

void ConsoleOutput::PublishHealth() {
    const GNSS::SVHealth::Set& health = stores_.GetHealth();
    const auto describe = [](int number, const GNSS::SVHealth* sv, bool isEnabled) {
        const bool isKnown = sv != nullptr && (sv->HasEphemeris() || sv->HasAlmanac());
        return fmt::format(R"({}{{"number":{},"health":"{}","enabled":{}}})", number > 1 ? "," : "", number,
                           !isKnown          ? "unknown"
                           : sv->IsHealthy() ? "healthy"
                                             : "unhealthy",
                           isEnabled);
    };
    std::string json = Head() + "\"gps\":[";
    for (std::size_t i = 1; i <= NmrGPS; ++i) {
        const int index = health.FindSV(GNSS::PRN(static_cast<int>(i)));
        json += describe(static_cast<int>(i), index < 0 ? nullptr : &health.GetSV(index), gps_.at(i));
    }
    json += "],\"glonass\":[";
    for (std::size_t i = 1; i <= NmrGlonass; ++i) {
        const int index = health.FindSlot(GNSS::Glonass::Slot(static_cast<int>(i)));
        json += describe(static_cast<int>(i), index < 0 ? nullptr : &health.GetSlot(index), glonass_.at(i));
    }
    Publish("health", json + "]}");
}

std::string ConsoleOutput::Finish(const RunFacts& /*facts*/) {
    state_.state = "ended";
    PublishAll();
    return {};
}

std::string ConsoleOutput::PrintSeries(std::int64_t from) const {
    return PrintFrom(series_, from, std::string(",\"columns\":") + SeriesColumns);
}

std::string ConsoleOutput::PrintEvents(std::int64_t from) const {
    return PrintFrom(events_, from, {});
}

}  // namespace Host

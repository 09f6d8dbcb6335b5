#include "host/receiver/EphemerisSet.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include <fmt/format.h>

namespace Host {

using GNSS::GPSTime;

namespace {

// How far two records of one satellite may lie apart half-way between them. Uploads and small manoeuvres stay within
// some kilometres; another satellite's record is thousands of kilometres off.
constexpr double MostApart = 20e3;  // m
// How far from its system's orbits a satellite can be: GPS satellites have stood 500 km off while they were moved.
constexpr double MostFromOrbit = 1500e3;  // m

// The few things in which the two systems' records differ.
struct GPSKind {
    static constexpr double NearestLimit = 7200.0;     // s from the reference time
    static constexpr double SentBefore = 7200.0;       // a record's first transmission before its reference time
    static constexpr double NeighbourLimit = 14400.0;  // between records that are compared
    static GPSTime Reference(const RinexNavigation::GPSRecord& r) { return r.ephemeride.GetTOE(); }
    static int Number(const RinexNavigation::GPSRecord& r) { return r.ephemeride.prn; }
    static int Issue(const RinexNavigation::GPSRecord& r) { return r.ephemeride.posn.IODE; }
    static int Health(const RinexNavigation::GPSRecord& r) { return r.ephemeride.status.GetHealth(); }
    static bool IsHealthy(const RinexNavigation::GPSRecord& r) { return r.ephemeride.status.IsHealthy(); }
    static constexpr double OrbitRadius = 26560e3;  // m

    // The record's own computation, with the refusals for health and age taken away.
    static bool Calculate(const RinexNavigation::GPSRecord& r, const GPSTime& t, SatelliteState& state) {
        GNSS::GPSEphemeride open = r.ephemeride;
        open.status.SetHealth(0);
        open.status.SetCurveFit(1000);
        GNSS::GPSEphemeride::Result result;
        if (!open.CalculatePosn(t, result) || !result.valid) return false;
        state.posn = result.posn;
        state.vely = open.CalculateVely(t);
        state.clock = result.clockCorrection;
        const double dt = (t - open.GetTOC()).Seconds();
        state.clockDrift = open.clock.af1 + 2.0 * open.clock.af2 * dt;
        return true;
    }
    static bool IsTooOld(const RinexNavigation::GPSRecord& r, const GPSTime& t, Selection) {
        return r.ephemeride.IsTooOld(t);
    }
};

struct GlonassKind {
    static constexpr double NearestLimit = 1800.0;
    static constexpr double SentBefore = 900.0;
    static constexpr double NeighbourLimit = 4000.0;
    static GPSTime Reference(const RinexNavigation::GlonassRecord& r) { return r.tb; }
    static int Number(const RinexNavigation::GlonassRecord& r) { return r.ephemeride.slot; }
    static int Issue(const RinexNavigation::GlonassRecord& r) {
        return static_cast<int>(std::lround(r.ephemeride.posn.tb / 900.0));
    }
    static int Health(const RinexNavigation::GlonassRecord& r) { return r.ephemeride.status.IsUnhealthy() ? 1 : 0; }
    static bool IsHealthy(const RinexNavigation::GlonassRecord& r) { return r.ephemeride.status.IsHealthy(); }
    static constexpr double OrbitRadius = 25508e3;

    static bool Calculate(const RinexNavigation::GlonassRecord& r, const GPSTime& t, SatelliteState& state) {
        GNSS::Glonass::Ephemeride open = r.ephemeride;
        open.status.SetUnhealthy(false);
        GNSS::Glonass::Ephemeride::Result result;
        if (!open.CalculatePosn(t, result, true) || !result.valid) return false;
        state.posn = result.posn;
        state.vely = result.vely - GNSS::ECEF();
        // The message's tau is to be added to the satellite's time: the opposite of the satellite's error.
        state.clock = -result.clockCorrection;
        state.clockDrift = -result.clockDrift;
        return true;
    }
    static bool IsTooOld(const RinexNavigation::GlonassRecord& r, const GPSTime& t, Selection selection) {
        return r.ephemeride.IsTooOld(t, selection == Selection::Nearest);
    }
};

template <typename Record>
struct KindOf;
template <>
struct KindOf<RinexNavigation::GPSRecord> {
    using Kind = GPSKind;
};
template <>
struct KindOf<RinexNavigation::GlonassRecord> {
    using Kind = GlonassKind;
};

// How far apart two records put the satellite half-way between their reference times, in metres; nothing when one of
// them does not reach there.
template <typename Kind, typename Entry>
std::optional<double> Apart(const Entry& a, const Entry& b) {
    const double between = (b.reference - a.reference).Seconds();
    if (std::abs(between) > Kind::NeighbourLimit) return std::nullopt;
    const GPSTime middle = a.reference + Corvane::Time(between / 2.0);
    SatelliteState fromA;
    SatelliteState fromB;
    if (!Kind::Calculate(a.record, middle, fromA) || !Kind::Calculate(b.record, middle, fromB)) return std::nullopt;
    return (fromA.posn - fromB.posn).Magnitude();
}

// Whether a record puts the satellite near its system's orbits at its reference time.
template <typename Kind, typename Entry>
bool IsInOrbit(const Entry& entry) {
    SatelliteState state;
    if (!Kind::Calculate(entry.record, entry.reference, state)) return false;
    const double off = std::abs(state.posn.Radius() - Kind::OrbitRadius);
    return off < MostFromOrbit && std::isfinite(state.clock) && std::isfinite(state.vely.Magnitude());
}

// Whether two records for the same time say the same.
template <typename Kind, typename Entry>
bool SayTheSame(const Entry& a, const Entry& b) {
    if (a.reference != b.reference || Kind::Issue(a.record) != Kind::Issue(b.record) ||
        Kind::Health(a.record) != Kind::Health(b.record)) {
        return false;
    }
    SatelliteState fromA;
    SatelliteState fromB;
    if (!Kind::Calculate(a.record, a.reference, fromA) || !Kind::Calculate(b.record, b.reference, fromB)) return false;
    return fromA.posn == fromB.posn && fromA.clock == fromB.clock;
}

template <typename Records>
void FindOwners(std::array<Records, EphemerisSet::NmrGPS>& all) {
    // A record in the wrong place is often another satellite's: whose?
    for (Records& records : all) {
        for (auto& entry : records.GetEntries()) {
            if (entry.doubt.empty()) continue;
            for (const Records& others : all) {
                if (&others == &records) continue;
                for (const auto& other : others.GetEntries()) {
                    const auto apart = Apart<GPSKind>(entry, other);
                    if (!apart || !(*apart < MostApart)) continue;
                    entry.doubt += fmt::format("; it agrees with {}{:02} within {:.0f} m", 'G',
                                               GPSKind::Number(other.record), *apart);
                    goto found;
                }
            }
        found:;
        }
    }
}

}  // namespace

bool ParseSelection(std::string_view text, Selection& selection) {
    if (text == "nearest") {
        selection = Selection::Nearest;
    } else if (text == "received") {
        selection = Selection::Received;
    } else {
        return false;
    }
    return true;
}

const char* Name(Standing standing) {
    switch (standing) {
        case Standing::Good:
            return "ok";
        case Standing::Unhealthy:
            return "unhealthy";
        case Standing::TooOld:
            return "too old";
        case Standing::Doubtful:
            return "doubtful";
        case Standing::None:
            break;
    }
    return "no record";
}

template <typename Record>
void SatelliteRecords<Record>::Add(const Record& record, std::string_view file) {
    using Kind = typename KindOf<Record>::Kind;
    const GPSTime reference = Kind::Reference(record);
    entries_.push_back({record,
                        reference,
                        record.transmission.value_or(reference - Corvane::Time(Kind::SentBefore)),
                        std::string(file),
                        {}});
}

template <typename Record>
void SatelliteRecords<Record>::Complete() {
    using Kind = typename KindOf<Record>::Kind;
    std::ranges::stable_sort(entries_, [](const Entry& a, const Entry& b) {
        return a.reference != b.reference ? a.reference < b.reference : a.received < b.received;
    });
    // The same record from several files, or sent again, is one: the one sent first. Another health or orbit under the
    // same issue is another record.
    // (clang 14 does not take the library's ranges::unique.)
    entries_.erase(std::unique(entries_.begin(), entries_.end(),
                               [](const Entry& a, const Entry& b) { return SayTheSame<Kind>(a, b); }),
                   entries_.end());

    // A record is doubtful when it contradicts every neighbour, and two of these agree with each other.
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        if (!IsInOrbit<Kind>(entries_[i])) {
            entries_[i].doubt = "puts the satellite where none can be";
            continue;
        }
        // Most records agree with the first neighbour that reaches there; the others are asked when it does not.
        std::vector<const Entry*> neighbours;
        double nearest = std::numeric_limits<double>::infinity();
        for (std::size_t k = i < 2 ? 0 : i - 2; k < entries_.size() && k <= i + 2; ++k) {
            if (k == i || !IsInOrbit<Kind>(entries_[k])) continue;
            const auto apart = Apart<Kind>(entries_[i], entries_[k]);
            if (!apart) continue;
            neighbours.push_back(&entries_[k]);
            nearest = std::min(nearest, *apart);
            if (!(nearest > MostApart)) break;
        }
        if (!(nearest > MostApart) || neighbours.size() < 2) continue;
        bool othersAgree = false;
        for (std::size_t a = 0; a < neighbours.size(); ++a) {
            for (std::size_t b = a + 1; b < neighbours.size(); ++b) {
                const auto apart = Apart<Kind>(*neighbours[a], *neighbours[b]);
                othersAgree = othersAgree || (apart && *apart < MostApart);
            }
        }
        if (!othersAgree) continue;
        entries_[i].doubt = fmt::format("lies {:.0f} km from where its neighbours put the satellite", nearest / 1000.0);
    }

    byReceived_.resize(entries_.size());
    std::iota(byReceived_.begin(), byReceived_.end(), std::size_t{0});
    std::ranges::stable_sort(
        byReceived_, [this](std::size_t a, std::size_t b) { return entries_[a].received < entries_[b].received; });
}

template <typename Record>
auto SatelliteRecords<Record>::Find(const GPSTime& t, Selection selection) const -> const Entry* {
    const Entry* doubtful = nullptr;
    if (selection == Selection::Received) {
        const auto after =
            std::ranges::upper_bound(byReceived_, t, {}, [this](std::size_t i) { return entries_[i].received; });
        for (auto at = after; at != byReceived_.begin();) {
            const Entry& entry = entries_[*--at];
            if (entry.doubt.empty()) return &entry;
            if (doubtful == nullptr) doubtful = &entry;
        }
        return doubtful;
    }
    const auto after = std::ranges::upper_bound(entries_, t, {}, &Entry::reference);
    // Outwards from the time on both sides: the first good record of each side, then the nearer one.
    const Entry* later = nullptr;
    for (auto at = after; at != entries_.end() && later == nullptr; ++at) {
        if (at->doubt.empty())
            later = &*at;
        else if (doubtful == nullptr)
            doubtful = &*at;
    }
    const Entry* earlier = nullptr;
    for (auto at = after; at != entries_.begin() && earlier == nullptr;) {
        --at;
        if (at->doubt.empty())
            earlier = &*at;
        else if (doubtful == nullptr)
            doubtful = &*at;
    }
    if (later == nullptr && earlier == nullptr) return doubtful;
    if (later == nullptr || earlier == nullptr) return later != nullptr ? later : earlier;
    return (later->reference - t) <= (t - earlier->reference) ? later : earlier;
}

template <typename Record>
SatelliteState SatelliteRecords<Record>::Calculate(const Entry& entry, const GPSTime& t) {
    using Kind = typename KindOf<Record>::Kind;
    SatelliteState state;
    state.issue = Kind::Issue(entry.record);
    state.health = Kind::Health(entry.record);
    state.age = (t - entry.reference).Seconds();
    state.standing = Kind::IsHealthy(entry.record) ? Standing::Good : Standing::Unhealthy;
    state.hasPosn = Kind::Calculate(entry.record, t, state);
    if (!state.hasPosn) state.standing = Standing::TooOld;
    return state;
}

template <typename Record>
SatelliteState SatelliteRecords<Record>::Calculate(const GPSTime& t, Selection selection) const {
    using Kind = typename KindOf<Record>::Kind;
    const Entry* entry = Find(t, selection);
    if (entry == nullptr) return {};
    const bool isFar =
        selection == Selection::Nearest && std::abs((t - entry->reference).Seconds()) > Kind::NearestLimit;
    if (entry->doubt.empty() && !isFar && !Kind::IsTooOld(entry->record, t, selection)) return Calculate(*entry, t);
    SatelliteState state;
    state.standing = entry->doubt.empty() ? Standing::TooOld : Standing::Doubtful;
    state.issue = Kind::Issue(entry->record);
    state.health = Kind::Health(entry->record);
    state.age = (t - entry->reference).Seconds();
    return state;
}

template class SatelliteRecords<RinexNavigation::GPSRecord>;
template class SatelliteRecords<RinexNavigation::GlonassRecord>;

void EphemerisSet::Add(const RinexNavigation& navigation, std::string_view file) {
    for (const auto& record : navigation.gps) {
        if (record.ephemeride.prn.IsValid())
            gps_[static_cast<std::size_t>(record.ephemeride.prn - 1)].Add(record, file);
    }
    for (const auto& record : navigation.glonass) {
        if (record.ephemeride.slot.IsValid()) {
            glonass_[static_cast<std::size_t>(record.ephemeride.slot - 1)].Add(record, file);
        }
    }
}

void EphemerisSet::Complete() {
    for (GPSRecords& records : gps_) records.Complete();
    for (GlonassRecords& records : glonass_) records.Complete();
    FindOwners(gps_);
}

SatelliteState EphemerisSet::Calculate(char system, int number, const GPSTime& t, Selection selection) const {
    if (system == 'G' && number >= 1 && number <= NmrGPS) return GPS(number).Calculate(t, selection);
    if (system == 'R' && number >= 1 && number <= NmrGlonass) return Glonass(number).Calculate(t, selection);
    return {};
}

std::vector<std::string> EphemerisSet::GetDoubts() const {
    std::vector<std::string> doubts;
    const auto collect = [&doubts](char letter, int number, const auto& records) {
        for (const auto& entry : records.GetEntries()) {
            if (entry.doubt.empty()) continue;
            // Records that were not read from lines have none.
            const std::string line = entry.record.line > 0 ? fmt::format(":{}", entry.record.line) : "";
            doubts.push_back(fmt::format("{}{}: the record filed under {}{:02} {}; it is not used", entry.file, line,
                                         letter, number, entry.doubt));
        }
    };
    for (int prn = 1; prn <= NmrGPS; ++prn) collect('G', prn, GPS(prn));
    for (int slot = 1; slot <= NmrGlonass; ++slot) collect('R', slot, Glonass(slot));
    return doubts;
}

std::optional<GPSTime> EphemerisSet::GetFirst() const {
    std::optional<GPSTime> first;
    const auto look = [&first](const auto& records) {
        if (records.GetEntries().empty()) return;
        const GPSTime& reference = records.GetEntries().front().reference;
        if (!first || reference < *first) first = reference;
    };
    for (const GPSRecords& records : gps_) look(records);
    for (const GlonassRecords& records : glonass_) look(records);
    return first;
}

}  // namespace Host

#include "host/simulate/ControlSegment.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "gnss/icd/ICD.h"
#include "gnss/platform/Number.h"
#include "gnss/time/Constants.h"

namespace Host {

using Corvane::ToInt;
using Corvane::ToInt64;
using GNSS::GPSTime;
using Kind = SimulatedFault::Kind;
using String = GNSS::ICDGlonass::String;
using Vector = SimulatedOrbits::Vector;

namespace {

constexpr double Window = 7200.0;
constexpr double GlonassWindow = 1800.0;
constexpr double Frame = 30.0;
constexpr int PagesOfAlmanac = 25;
constexpr int AllBad = 63;
constexpr int AllBadAlmanac = 255;

// What stands in subframe 4: the SV ID of each page (IS-GPS-200, table 20-V); satellites 25 to 32, page 18, and what
// is reserved.
constexpr std::array<int, 25> PagesOfSubframe4{57, 25, 26, 27, 28, 57, 29, 30, 31, 32, 57, 62, 52,
                                               53, 54, 57, 55, 56, 58, 59, 57, 60, 61, 62, 63};

// Of GLONASS, from a day counted like GPS weeks, from 6 January 1980: leap years every four years until 2099.
constexpr std::int64_t DaysBefore1996 = 5839;
constexpr std::int64_t DaysOfFourYears = 1461;

double Floor(double value, double unit) {
    return std::floor(value / unit) * unit;
}

}  // namespace

ControlSegment::ControlSegment(const SimulationClock& clock, SimulatedOrbits& orbits,
                               const std::vector<SimulatedSatellite>& sky, const SimulatedFaults& faults, double start)
    : clock_(clock),
      orbits_(orbits),
      sky_(sky),
      faults_(faults),
      start_(start),
      records_(sky.size()),
      glonass_(sky.size()),
      gpsAlmanac_(sky.size()),
      glonassAlmanac_(sky.size()) {}

double ControlSegment::GetClock(const SimulatedSatellite& satellite, const SimulatedOrbits::State& state, double t) {
    const double polynomial = satellite.clock + satellite.drift * t;
    // A GLONASS satellite's frequency is set so that what its orbit does to it is in the polynomial.
    if (satellite.system == 'R') return polynomial + GlonassOffset;
    return polynomial - 2.0 * state.posn.Dot(state.vely) / (GNSS::LightSpeed * GNSS::LightSpeed);
}

std::optional<std::size_t> ControlSegment::Find(char system, int number) const {
    const auto found = std::find_if(sky_.begin(), sky_.end(), [&](const SimulatedSatellite& satellite) {
        return satellite.system == system && satellite.number == number;
    });
    if (found == sky_.end()) return std::nullopt;
    return static_cast<std::size_t>(found - sky_.begin());
}

bool ControlSegment::IsHealthy(const SimulatedSatellite& satellite, double frame) const {
    return faults_.Find(Kind::Unhealthy, satellite.system, satellite.number, frame - start_) == nullptr;
}

BroadcastOrbit ControlSegment::Fit(std::size_t satellite, double t, double half, double step, bool almanac) {
    const double angle = SimulatedOrbits::EarthRate * t;
    std::vector<OrbitSample> samples;
    const int count = ToInt(half / step);
    // After its two hours an ephemeris is there for those who have missed the next one: 0.4 m at most until then, and
    // up to 4 m two hours later. Fitted evenly it would be a metre off at both ends.
    constexpr double Grace = 600.0;
    constexpr double Later = 10.0;
    for (int i = -count; i <= count; ++i) {
        const double tk = i * step;
        const double sd = !almanac && tk > Grace ? Later : 1.0;
        samples.push_back({tk, SimulatedOrbits::Turn(orbits_.At(satellite, t + tk).posn, angle), sd});
    }
    const SimulatedOrbits::State state = orbits_.At(satellite, t);
    return FitBroadcastOrbit({SimulatedOrbits::Turn(state.posn, angle), SimulatedOrbits::Turn(state.vely, angle)},
                             samples, almanac);
}

const ControlSegment::GPSRecord& ControlSegment::GetRecord(std::size_t satellite, std::int64_t window) {
    constexpr double Step = 600.0;
    GPSRecord& record = records_[satellite];
    if (record.window == window) return record;
    const double toe = clock_.FromGPS(GPSTime(0, static_cast<double>(window + 1) * Window));
    record.window = window;
    record.orbit = Fit(satellite, toe, Window, Step, false);
    // The user's relativistic correction is not quite the true effect.
    const int count = ToInt(Window / Step);
    double sum = 0.0;
    for (int i = -count; i <= count; ++i) {
        const double t = toe + i * Step;
        sum += GetClock(sky_[satellite], orbits_.At(satellite, t), t) - sky_[satellite].drift * (t - toe) -
               record.orbit.GetRelativity(i * Step);
    }
    record.af0 = sum / (2.0 * count + 1.0);
    return record;
}

GPSBroadcast ControlSegment::GetBroadcast(std::size_t satellite, double frame) {
    constexpr std::int64_t Issues = 80;  // of three states each, up to 239: what IS-GPS-200 has for fits of four hours
    const GPSTime begin = clock_.ToGPS(frame);
    const double seconds = (begin - GPSTime::Zero).Seconds();
    const auto window = ToInt64(std::floor(seconds / Window + 1e-9));
    const SimulatedSatellite& own = sky_[satellite];
    const double since = frame - start_;
    std::size_t source = satellite;
    if (const SimulatedFault* fault = faults_.Find(Kind::Mixed, own.system, own.number, since)) {
        source = Find(own.system, fault->other).value_or(satellite);
    }
    const GPSRecord& record = GetRecord(source, window);
    GPSBroadcast broadcast;
    broadcast.week = begin.GetWeek();
    broadcast.toe = std::fmod(static_cast<double>(window + 1) * Window, GPSTime::SecsInWeek);
    const int changes = faults_.CountMessageChanges(own.system, own.number, since);
    const std::int64_t number = window + std::int64_t{7} * sky_[source].number;
    broadcast.issue = static_cast<int>(number % Issues * 3 + changes % 3 + number / Issues % 4 * 256);
    broadcast.health = IsHealthy(own, frame) ? 0 : AllBad;
    broadcast.groupDelay = sky_[source].groupDelay;
    broadcast.af0 = record.af0;
    broadcast.af1 = sky_[source].drift;
    broadcast.orbit = record.orbit;
    if (const SimulatedFault* fault = faults_.Find(Kind::Orbit, own.system, own.number, since)) {
        broadcast.orbit.M0 += fault->size / (broadcast.orbit.sqrtA * broadcast.orbit.sqrtA);
    }
    return broadcast;
}

GPSSubframeBits ControlSegment::GetSubframe(std::size_t satellite, double t) {
    const GPSTime begin = clock_.ToGPS(t);
    const double seconds = std::round(begin.GetSeconds());
    const double inFrame = std::fmod(seconds, Frame);
    const int subframe = ToInt(inFrame / 6.0) + 1;
    const double frame = t - inFrame;
    if (subframe <= 3) return MakeSubframe(GetBroadcast(satellite, frame), subframe, seconds);
    const int page = ToInt(std::floor(seconds / Frame)) % PagesOfAlmanac + 1;
    return GetPage(subframe, page, t, seconds, frame);
}

GPSSubframeBits ControlSegment::GetPage(int subframe, int page, double t, double secondsOfWeek, double frame) {
    constexpr double ToaUnit = 4096.0;
    const auto day = ToInt64(std::floor((clock_.ToGPS(frame) - GPSTime::Zero).Seconds() / GPSTime::SecsInDay));
    const double noon = static_cast<double>(day % 7) * GPSTime::SecsInDay + 0.5 * GPSTime::SecsInDay;
    const double toa = std::round(noon / ToaUnit) * ToaUnit;
    const int id = subframe == 5 ? (page < 25 ? page : 51) : PagesOfSubframe4[static_cast<std::size_t>(page - 1)];
    if (id == 56) return MakeIonoUTCPage(iono_, GetUTC(t), secondsOfWeek);
    if (id == 55) return MakeTextPage("SIMULATED SATELLITES", secondsOfWeek);
    if (id == 51 || id == 63) {
        std::array<int, 33> health{};
        for (int prn = 1; prn <= 32; ++prn) {
            const auto found = Find('G', prn);
            health[static_cast<std::size_t>(prn)] = found && IsHealthy(sky_[*found], frame) ? 0 : AllBad;
        }
        return MakeHealthPage(subframe, toa, static_cast<int>(day / 7), health, secondsOfWeek);
    }
    const auto found = id <= 32 ? Find('G', id) : std::nullopt;
    if (!found) return MakeEmptyPage(subframe, id <= 32 ? 0 : id, secondsOfWeek);
    MakeGPSAlmanac(day);
    const GPSAlmanac& almanac = gpsAlmanac_[*found];
    return MakeAlmanacPage(
        {id, toa, IsHealthy(sky_[*found], frame) ? 0 : AllBadAlmanac, almanac.af0, sky_[*found].drift, almanac.orbit},
        subframe, secondsOfWeek);
}

void ControlSegment::MakeGPSAlmanac(std::int64_t day) {
    if (gpsAlmanacDay_ == day) return;
    gpsAlmanacDay_ = day;
    const double noon = static_cast<double>(day % 7) * GPSTime::SecsInDay + 0.5 * GPSTime::SecsInDay;
    const double toa = clock_.FromGPS(GPSTime(static_cast<int>(day / 7), std::round(noon / 4096.0) * 4096.0));
    for (std::size_t i = 0; i < sky_.size(); ++i) {
        if (sky_[i].system != 'G') continue;
        gpsAlmanac_[i].orbit = Fit(i, toa, 0.5 * GPSTime::SecsInDay, 1800.0, true);
        gpsAlmanac_[i].af0 = sky_[i].clock + sky_[i].drift * toa;
    }
}

GNSS::Almanac::UTC ControlSegment::GetUTC(double t) const {
    const GPSTime now = clock_.ToGPS(t);
    const SimulationClock::Leap& leap = clock_.GetLeap();
    GNSS::Almanac::UTC utc;
    utc.A0 = 0x1p-30;
    utc.A1 = 0.0;
    utc.WNt = now.GetWeek();
    utc.Tot = Floor(now.GetSeconds(), GNSS::ICD::IonoUTCSF::Tot);
    utc.DtLS = clock_.GetLeapSeconds(t);
    utc.DtLSF = std::max(leap.after, utc.DtLS);
    utc.WNLSF = std::max(leap.day, 0) / 7;
    utc.DN = std::max(leap.day, 0) % 7 + 1;
    return utc;
}

const GlonassBroadcast& ControlSegment::GetBroadcast(std::size_t satellite, std::int64_t window) {
    constexpr double Kilometre = 1000.0;
    GlonassRecord& record = glonass_[satellite];
    if (record.window == window) return record.broadcast;
    record.window = window;
    const double tb = (static_cast<double>(window) + 0.5) * GlonassWindow;
    const double t = clock_.FromMoscow(tb);
    const SimulatedOrbits::State state = orbits_.AtEarthFixed(satellite, t);
    GlonassBroadcast& broadcast = record.broadcast;
    broadcast.slot = sky_[satellite].number;
    broadcast.tb = std::fmod(tb, GPSTime::SecsInDay);
    broadcast.odd = ToInt(broadcast.tb / 900.0) % 2 != 0;
    broadcast.posn = state.posn / Kilometre;
    broadcast.vely = state.vely / Kilometre;
    broadcast.accel = orbits_.GetLuniSolar(state.posn, t) / Kilometre;
    broadcast.tau = -(sky_[satellite].clock + sky_[satellite].drift * t);
    broadcast.gamma = sky_[satellite].drift;
    return broadcast;
}

String ControlSegment::GetString(std::size_t satellite, double moscow) {
    constexpr int FramesOfSuperframe = GNSS::ICDGlonass::NmrFrame;
    const double frame = Floor(moscow + 1e-6, Frame);
    const int number = ToInt(std::round((moscow - frame) / 2.0)) + 1;
    const auto day = ToInt64(std::floor(frame / GPSTime::SecsInDay));
    const double begin = clock_.FromMoscow(frame);
    const int dayNumber = static_cast<int>((day - DaysBefore1996) % DaysOfFourYears + 1);
    const SimulatedSatellite& own = sky_[satellite];
    const bool isHealthy = IsHealthy(own, begin);

    if (number <= 4) {
        const double since = begin - start_;
        const auto window = ToInt64(std::floor(frame / GlonassWindow));
        std::size_t source = satellite;
        if (const SimulatedFault* fault = faults_.Find(Kind::Mixed, own.system, own.number, since)) {
            source = Find(own.system, fault->other).value_or(satellite);
        }
        GlonassBroadcast broadcast = GetBroadcast(source, window);
        broadcast.slot = own.number;
        broadcast.healthy = isHealthy;
        if (const SimulatedFault* fault = faults_.Find(Kind::Orbit, own.system, own.number, since)) {
            // Ahead along the way in space, of which the earth-fixed velocity lacks the earth's turning.
            const Vector& p = broadcast.posn;
            Vector way = broadcast.vely + Vector(-p.GetY(), p.GetX(), 0.0) * SimulatedOrbits::EarthRate;
            way /= way.Magnitude();
            broadcast.posn += way * (fault->size / 1000.0);
        }
        return MakeImmediateString(broadcast, number, std::fmod(frame, GPSTime::SecsInDay), dayNumber);
    }
    if (number == 5) {
        GlonassSystemTime time;
        time.dayOfAlmanac = dayNumber;
        time.tauC = -0x1p-25;
        time.fourYears = static_cast<int>((day - DaysBefore1996) / DaysOfFourYears + 1);
        time.tauGPS = -GlonassOffset;
        time.healthy = isHealthy;
        return MakeSystemString(time);
    }
    const int frameNumber = static_cast<int>(ToInt64(std::round(frame / Frame)) % FramesOfSuperframe);
    const int slot = frameNumber * 5 + (number - 6) / 2 + 1;
    const auto found = Find('R', slot);
    if (!found) return MakeEmptyString(number);
    MakeGlonassAlmanac(day);
    GlonassAlmanacEntry entry = glonassAlmanac_[*found];
    entry.healthy = IsHealthy(sky_[*found], begin);
    entry.senderHealthy = isHealthy;
    return MakeAlmanacString(entry, number);
}

void ControlSegment::MakeGlonassAlmanac(std::int64_t day) {
    if (glonassAlmanacDay_ == day) return;
    glonassAlmanacDay_ = day;
    const double midnight = clock_.FromMoscow(static_cast<double>(day) * GPSTime::SecsInDay);
    for (std::size_t i = 0; i < sky_.size(); ++i) {
        if (sky_[i].system == 'R') glonassAlmanac_[i] = MakeGlonassEntry(i, midnight);
    }
}

// The first ascending node of the day, what osculates there, and the mean of the two revolutions from it.
GlonassAlmanacEntry ControlSegment::MakeGlonassEntry(std::size_t satellite, double midnight) {
    constexpr double Step = 600.0;
    constexpr double MostRevolution = 45000.0;
    const auto findNode = [&](double from) {
        const auto height = [&](double t) { return orbits_.At(satellite, t).posn.GetZ(); };
        double t = from;
        while (t < from + MostRevolution && !(height(t) < 0.0 && height(t + Step) >= 0.0)) t += Step;
        double after = t + Step;
        for (int i = 0; i < 40; ++i) {
            const double middle = 0.5 * (t + after);
            (height(middle) < 0.0 ? t : after) = middle;
        }
        return after;
    };
    const double node = findNode(midnight);
    const double later = findNode(findNode(node + Step) + Step);
    const SimulatedOrbits::State state = orbits_.At(satellite, node);
    const SimulatedOrbits::State fixed = SimulatedOrbits::ToEarthFixed(state, node);
    const Vector normal = state.posn.Cross(state.vely);
    const double r = state.posn.Magnitude();
    const Vector toPerigee = state.vely.Cross(normal) / SimulatedOrbits::Gravity - state.posn / r;
    const Vector across = normal.Cross(state.posn) / (normal.Magnitude() * r);

    GlonassAlmanacEntry entry;
    entry.slot = sky_[satellite].number;
    entry.channel = sky_[satellite].channel;
    entry.tau = -(sky_[satellite].clock + sky_[satellite].drift * node);
    entry.lambda = std::atan2(fixed.posn.GetY(), fixed.posn.GetX()) / std::numbers::pi;
    const double i = std::atan2(std::hypot(normal.GetX(), normal.GetY()), normal.GetZ());
    entry.di = i / std::numbers::pi - 63.0 / 180.0;
    entry.e = toPerigee.Magnitude();
    entry.w = std::atan2(toPerigee.Dot(across), toPerigee.Dot(state.posn) / r) / std::numbers::pi;
    entry.tLambda = clock_.ToMoscow(node) - clock_.ToMoscow(midnight);
    entry.dT = 0.5 * (later - node) - 43200.0;
    return entry;
}

}  // namespace Host

#include "host/receiver/Sp3Parser.h"

#include <chrono>
#include <cmath>

#include "gnss/time/GlonassSlot.h"
#include "gnss/time/PRN.h"
#include "host/receiver/LeapSeconds.h"

namespace Host {

using GNSS::ECEF;
using GNSS::GPSTime;

namespace {

constexpr double MetresInKM = 1000.0;
constexpr double MetresInDM = 0.1;
constexpr double Microsecond = 1e-6;
constexpr double RateUnit = 1e-10;    // clock rates are told in 1e-4 microseconds per second
constexpr double NoClock = 999999.0;  // this and above
constexpr double Farthest = 1e6;      // km, and dm/s: beyond any satellite, well within the columns
constexpr std::size_t Width = 14;     // of a number
constexpr std::size_t FirstNumber = 4;
constexpr std::size_t SatellitesInLine = 17;

bool IsWithin(const std::optional<int>& value, int low, int high) {
    return value && *value >= low && *value <= high;
}

// The date and time from a column on; nothing when it is none of 1980 to 2099.
std::optional<Corvane::TimeDate> ReadTime(std::string_view line, std::size_t first) {
    const std::optional<int> year = ReadInteger(line, first, 4);
    const std::optional<int> month = ReadInteger(line, first + 5, 2);
    const std::optional<int> day = ReadInteger(line, first + 8, 2);
    const std::optional<int> hour = ReadInteger(line, first + 11, 2);
    const std::optional<int> minute = ReadInteger(line, first + 14, 2);
    Real second = ReadReal(line, first + 17, 11);
    if (second.state == Real::State::Cut) second.state = Real::State::Good;  // some write fewer decimals
    if (!IsWithin(year, 1980, 2099) || !IsWithin(month, 1, 12) || !IsWithin(day, 1, 31) || !IsWithin(hour, 0, 23) ||
        !IsWithin(minute, 0, 59) || !second.IsGood() || !(second.value >= 0.0 && second.value < 61.0)) {
        return std::nullopt;
    }
    const auto date = std::chrono::year(*year) / *month / *day;
    if (!date.ok()) return std::nullopt;
    return Corvane::TimeDate(Corvane::Date(*year, *month, *day), Corvane::TimeOfDay(*hour, *minute, second.value));
}

// The letter of a satellite's name; a blank is GPS, as SP3-a writes it.
char SystemOf(char letter) {
    return letter == ' ' ? 'G' : letter;
}

bool HasLetter(std::string_view line, std::size_t column, char letter) {
    return column < line.size() && line[column] == letter;
}

}  // namespace

bool Sp3Parser::Parse(FileError& error) {
    if (!ReadFirstLine(error) || !ReadHeader(error)) return false;
    ReadEpochs();
    if (static_cast<std::size_t>(nmrAnnounced_) != out_.epochs_.size()) {
        out_.warnings.Add(0, "holds " + std::to_string(out_.epochs_.size()) + " epochs, its header says " +
                                 std::to_string(nmrAnnounced_));
    }
    return true;
}

bool Sp3Parser::ReadFirstLine(FileError& error) {
    if (!lines_.HasLine()) {
        error.reason = "is empty";
        return false;
    }
    const std::string_view line = lines_.Line();
    error.line = 1;
    if (line.size() < 3 || line[0] != '#' || (line[2] != 'P' && line[2] != 'V')) {
        error.reason = "is not an SP3 file: its first line does not begin as one";
        return false;
    }
    out_.version = line[1];
    out_.hasVelocities = line[2] == 'V';
    if (out_.version != 'a' && out_.version != 'c' && out_.version != 'd') {
        error.reason = "SP3 version " + Quoted(line.substr(1, 1)) + " is not read; a, c and d are";
        return false;
    }
    nmrAnnounced_ = ReadInteger(line, 32, 7).value_or(0);
    if (nmrAnnounced_ < 0) nmrAnnounced_ = 0;
    out_.frame = Trimmed(Columns(line, 46, 5));
    out_.agency = Trimmed(Columns(line, 56, 4));
    lines_.Advance();
    return true;
}

bool Sp3Parser::ReadHeader(FileError& error) {
    bool hasScale = false;
    out_.timeScale = "GPS";
    for (; lines_.HasLine(); lines_.Advance()) {
        const std::string_view line = lines_.Line();
        if (line.starts_with('*') || line.starts_with("EOF")) break;
        if (line.starts_with("##")) {
            const Real interval = ReadReal(line, 24, 14);
            if (interval.IsGood() && interval.value > 0.0) out_.interval = interval.value;
        } else if (line.starts_with("+ ")) {
            CountSatellites();
        } else if (line.starts_with("%c") && !hasScale) {
            hasScale = true;
            if (!ReadTimeScale(error)) return false;
        } else if (!line.starts_with("++") && !line.starts_with('%') && !line.starts_with("/*") && !IsBlank(line)) {
            Warn("not a line of an SP3 header, ignored");
        }
    }
    error.line = 0;
    return true;
}

void Sp3Parser::CountSatellites() {
    const std::string_view line = lines_.Line();
    if (nmrSatellites_ < 0) nmrSatellites_ = ReadInteger(line, 3, 3).value_or(0);
    for (std::size_t i = 0; i < SatellitesInLine && nmrSatellites_ > 0; ++i, --nmrSatellites_) {
        const std::string_view name = Columns(line, 9 + 3 * i, 3);
        if (name.size() < 3) break;
        const char system = SystemOf(name[0]);
        if (system >= 'A' && system <= 'Z') ++out_.satellites_[static_cast<std::size_t>(system - 'A')];
    }
}

bool Sp3Parser::ReadTimeScale(FileError& error) {
    const std::string scale(Trimmed(Columns(lines_.Line(), 9, 3)));
    if (scale == "ccc" || scale.empty()) return true;  // SP3-a: a place that waits for a meaning
    out_.timeScale = scale;
    if (scale == "GPS" || scale == "GAL" || scale == "QZS") return true;
    if (scale == "TAI") {
        toGPS_ = -19.0;
    } else if (scale == "BDT") {
        toGPS_ = 14.0;
    } else if (scale == "UTC" || scale == "GLO") {
        isUTC_ = true;
    } else {
        error.line = lines_.Number();
        error.reason = "its time scale " + Quoted(scale) + " is not known";
        return false;
    }
    return true;
}

void Sp3Parser::ReadEpochs() {
    for (; lines_.HasLine(); lines_.Advance()) {
        const std::string_view line = lines_.Line();
        if (line.starts_with("EOF")) return;
        if (line.starts_with('*')) {
            BeginEpoch();
        } else if (line.starts_with('P')) {
            isLastPositionKept_ = false;
            if (isInEpoch_) ReadPosition();
        } else if (line.starts_with('V')) {
            if (isInEpoch_) ReadVelocity();
        } else if (!line.starts_with("EP") && !line.starts_with("EV") && !IsBlank(line)) {
            Warn("not a line of an SP3 epoch, ignored");
        }
    }
    out_.warnings.Add(lines_.Number(), "ends without EOF");
}

void Sp3Parser::BeginEpoch() {
    isInEpoch_ = false;
    isLastPositionKept_ = false;
    const std::optional<Corvane::TimeDate> time = ReadTime(lines_.Line(), 3);
    if (!time) {
        Warn("epoch left out: not a date and time");
        return;
    }
    const GPSTime gps = FromUTC(*time, isUTC_ ? GPSMinusUTC(time->GetDate()) : 0) + Corvane::Time(toGPS_);
    if (!out_.epochs_.empty() && gps <= out_.epochs_.back().time) {
        Warn("epoch left out: not later than the one before");
        return;
    }
    out_.epochs_.push_back({gps, out_.states_.size()});
    isInEpoch_ = true;
}

std::optional<Sp3Parser::Satellite> Sp3Parser::SatelliteToRead() {
    const std::string_view line = lines_.Line();
    const char system = line.size() > 1 ? SystemOf(line[1]) : '?';
    const std::optional<int> number = ReadInteger(line, 2, 2);
    const bool isGPS = system == 'G';
    if (!isGPS && system != 'R') {
        if (system >= 'A' && system <= 'Z' && number) {
            if (line[0] == 'P') ++out_.skipped_[static_cast<std::size_t>(system - 'A')];
        } else {
            Refuse("no such satellite");
        }
        return std::nullopt;
    }
    if (!IsWithin(number, 1, isGPS ? GNSS::PRN::Max : GNSS::Glonass::Slot::Max)) {
        Refuse("no such satellite");
        return std::nullopt;
    }
    return Satellite{system, *number};
}

bool Sp3Parser::ReadNumbers(double (&xyz)[3], Real& clock) {
    const std::string_view line = lines_.Line();
    for (std::size_t i = 0; i < 3; ++i) {
        const Real number = ReadReal(line, FirstNumber + i * Width, Width);
        if (!number.IsGood() || std::abs(number.value) > Farthest) {
            Refuse("a coordinate is not a number: " + Quoted(Trimmed(Columns(line, FirstNumber + i * Width, Width))));
            return false;
        }
        xyz[i] = number.value;
    }
    clock = ReadReal(line, FirstNumber + 3 * Width, Width);
    if (clock.state == Real::State::Cut) clock.state = Real::State::Bad;
    if (clock.state == Real::State::Bad) Warn("the clock is not a number, ignored");
    if (std::abs(clock.value) >= NoClock) clock = {};
    return true;
}

void Sp3Parser::ReadPosition() {
    const std::optional<Satellite> satellite = SatelliteToRead();
    if (!satellite) return;
    const std::size_t epoch = out_.epochs_.size() - 1;
    if (out_.Find(epoch, satellite->system, satellite->number) != nullptr) {
        Refuse("second time in its epoch");
        return;
    }
    double xyz[3];
    Real clock;
    if (!ReadNumbers(xyz, clock)) return;
    const std::string_view line = lines_.Line();
    Sp3::State state;
    state.system = satellite->system;
    state.number = satellite->number;
    if (xyz[0] != 0.0 || xyz[1] != 0.0 || xyz[2] != 0.0) {
        state.posn = ECEF(xyz[0] * MetresInKM, xyz[1] * MetresInKM, xyz[2] * MetresInKM);
    }
    if (clock.IsGood()) state.clock = clock.value * Microsecond;
    state.isClockEvent = HasLetter(line, 74, 'E');
    state.isClockPredicted = HasLetter(line, 75, 'P');
    state.isManoeuvre = HasLetter(line, 78, 'M');
    state.isOrbitPredicted = HasLetter(line, 79, 'P');
    out_.states_.push_back(state);
    isLastPositionKept_ = true;
}

void Sp3Parser::ReadVelocity() {
    const std::optional<Satellite> satellite = SatelliteToRead();
    if (!satellite || !isLastPositionKept_) return;  // the position line has told why
    Sp3::State& state = out_.states_.back();
    if (state.system != satellite->system || state.number != satellite->number) {
        Refuse("velocity without its position");
        return;
    }
    double xyz[3];
    Real rate;
    if (!ReadNumbers(xyz, rate)) return;
    if (xyz[0] != 0.0 || xyz[1] != 0.0 || xyz[2] != 0.0) {
        state.vely = ECEF::Delta(xyz[0] * MetresInDM, xyz[1] * MetresInDM, xyz[2] * MetresInDM);
    }
    if (rate.IsGood()) state.clockRate = rate.value * RateUnit;
}

void Sp3Parser::Refuse(const std::string& why) {
    ++out_.nmrRefused;
    Warn(Quoted(Trimmed(Columns(lines_.Line(), 0, 4))) + " left out: " + why);
}

}  // namespace Host

#include "host/receiver/RinexHeader.h"

#include <cmath>
#include <string>

#include "gnss/platform/Number.h"
#include "host/receiver/LeapSeconds.h"

namespace Host {

using GNSS::GPSTime;

namespace {

constexpr std::size_t LabelColumn = 60;

std::string_view LabelOf(std::string_view line) {
    return Trimmed(Columns(line, LabelColumn, 20));
}

// Numbers side by side; nothing when one of them is none.
template <std::size_t N>
std::optional<std::array<double, N>> ReadRow(std::string_view line, std::size_t first, std::size_t width) {
    std::array<double, N> row{};
    for (std::size_t i = 0; i < N; ++i) {
        const Real number = ReadReal(line, first + i * width, width);
        if (!number.IsGood()) return std::nullopt;
        row[i] = number.value;
    }
    return row;
}

bool IsWithin(const std::optional<int>& value, int low, int high) {
    return value && *value >= low && *value <= high;
}

// The file's kind from its first line. False with the reason when it is not for this reader.
bool ReadVersion(std::string_view line, RinexHeader& header, std::string& reason) {
    if (!BeginsRinexHeader(line)) {
        reason = "is not a RINEX file: no RINEX VERSION / TYPE on its first line";
        return false;
    }
    const Real version = ReadReal(line, 0, 9);
    const std::string name(Trimmed(Columns(line, 0, 9)));
    header.version = version.IsGood() ? Corvane::ToInt(std::round(version.value * 100.0)) : 0;
    const bool is2 = header.version >= 200 && header.version <= 211;
    const bool is3 = header.version >= 300 && header.version <= 305;
    if (!is2 && !is3) {
        reason = "RINEX version " + Quoted(name) + " is not read; 2.00 to 2.11 and 3.00 to 3.05 are";
        return false;
    }
    const std::string_view type = Columns(line, 20, 1);
    header.system = is2 && type == "N" ? 'G' : (is2 && type == "G" ? 'R' : ' ');
    if (is3 ? type != "N" : header.system == ' ') {
        reason = "RINEX " + name + " file of type " + Quoted(Trimmed(Columns(line, 20, 20))) +
                 " is not a GPS or GLONASS navigation file";
        return false;
    }
    return true;
}

bool ReadLeapSeconds(std::string_view line, RinexNavigation& out) {
    // Counted from BeiDou's start, by its own day numbers: no use to anybody here.
    const std::string_view scale = Trimmed(Columns(line, 24, 3));
    if (scale == "BDS" || scale == "BDT") return true;
    const std::optional<int> current = ReadInteger(line, 0, 6);
    if (!IsWithin(current, 0, 255)) return false;
    out.leapSeconds = {*current, std::nullopt};
    const std::optional<int> after = ReadInteger(line, 6, 6);
    const std::optional<int> week = ReadInteger(line, 12, 6);
    const std::optional<int> day = ReadInteger(line, 18, 6);
    if (IsWithin(after, 0, 255) && IsWithin(week, 0, 32767) && IsWithin(day, 1, 7)) {
        out.leapSeconds->event = {*week, *day, *after};
        return true;
    }
    return IsBlank(Columns(line, 6, 18)) || !after || *after == 0;
}

std::optional<RinexHeader::UTC> ReadUTC(std::string_view line, std::size_t a0, std::size_t width0, std::size_t width1,
                                        std::size_t widthT, std::size_t widthW) {
    const Real A0 = ReadReal(line, a0, width0);
    const Real A1 = ReadReal(line, a0 + width0, width1);
    const std::optional<int> tot = ReadInteger(line, a0 + width0 + width1, widthT);
    const std::optional<int> week = ReadInteger(line, a0 + width0 + width1 + widthT, widthW);
    // The words of the message hold up to 1 s and 7.5e-9 s/s.
    if (!A0.IsGood() || !A1.IsGood() || !IsWithin(tot, 0, 1000000) || !IsWithin(week, 0, 32767) ||
        !(std::abs(A0.value) <= 1.0) || !(std::abs(A1.value) <= 1e-8)) {
        return std::nullopt;
    }
    return RinexHeader::UTC{A0.value, A1.value, *tot, *week, 0};
}

// One line of the header. False when what it has to say is not readable.
bool ReadLine(std::string_view line, std::int64_t number, RinexHeader& header, RinexNavigation& out) {
    const std::string_view label = LabelOf(line);
    const auto take = [](auto& target, auto&& read) {
        if (read) target = read;
        return read.has_value();
    };
    if (label == "LEAP SECONDS") return ReadLeapSeconds(line, out);
    if (label == "ION ALPHA") return take(header.alpha, ReadRow<4>(line, 2, 12));
    if (label == "ION BETA") return take(header.beta, ReadRow<4>(line, 2, 12));
    const std::string_view kind = Columns(line, 0, 4);
    if (label == "IONOSPHERIC CORR" && kind == "GPSA") return take(header.alpha, ReadRow<4>(line, 5, 12));
    if (label == "IONOSPHERIC CORR" && kind == "GPSB") return take(header.beta, ReadRow<4>(line, 5, 12));
    std::optional<RinexHeader::UTC> utc;
    if (label == "DELTA-UTC: A0,A1,T,W") {
        utc = ReadUTC(line, 3, 19, 19, 9, 9);
    } else if (label == "TIME SYSTEM CORR" && kind == "GPUT") {
        utc = ReadUTC(line, 5, 17, 16, 7, 5);
    } else {
        return true;
    }
    if (utc) utc->line = number;
    return take(header.utc, utc);
}

// A week that is told modulo 1024 or 256, as the message has it, where RINEX asks for the full one: the one closest to
// the file's own.
int FullWeek(int told, int near, std::string_view what, std::int64_t line, Warnings& warnings) {
    if (told >= 1024 || std::abs(near - told) <= 128) return told;
    const int period = told < 256 ? 256 : 1024;
    const int offset = ((told - near) % period + period + period / 2) % period - period / 2;
    const int full = near + offset;
    warnings.Add(line, std::string(what) + " week " + std::to_string(told) + " instead of " + std::to_string(full) +
                           ", repaired");
    return full;
}

// GPS time of the first record of the file.
std::optional<GPSTime> FirstTime(const RinexNavigation& navigation) {
    const bool hasGPS = !navigation.gps.empty();
    if (navigation.glonass.empty() && !hasGPS) return std::nullopt;
    if (navigation.glonass.empty()) return navigation.gps[0].ephemeride.reference;
    if (hasGPS && navigation.gps[0].line < navigation.glonass[0].line) return navigation.gps[0].ephemeride.reference;
    return navigation.glonass[0].tb;
}

// The leap-second event of the record, from the header where it has one, otherwise the leap that led to the count.
void SetEvent(const RinexNavigation& navigation, int count, int near, GNSS::Almanac::UTC& utc) {
    utc.DtLS = count;
    utc.DtLSF = count;
    if (navigation.leapSeconds && navigation.leapSeconds->event) {
        utc.WNLSF = navigation.leapSeconds->event->week;
        utc.DN = navigation.leapSeconds->event->day;
        utc.DtLSF = navigation.leapSeconds->event->after;
        return;
    }
    const std::optional<LeapSecond> leap = FindLeapSecond(count);
    if (!leap) {
        utc.WNLSF = near;  // no event: the same count before and after
        utc.DN = 1;
        return;
    }
    // Day 1 to 7 of the week is the one at whose end the leap comes.
    const int days = leap->day - GPSTime::Start - 1;
    utc.WNLSF = days / 7;
    utc.DN = days % 7 + 1;
}

}  // namespace

bool BeginsRinexHeader(std::string_view line) {
    return line.size() > LabelColumn && line[LabelColumn] == 'R' && LabelOf(line) == "RINEX VERSION / TYPE";
}

bool ReadRinexHeader(LineReader& lines, RinexHeader& header, RinexNavigation& out, FileError& error) {
    error.line = lines.Number();
    if (!lines.HasLine()) {
        error.line = 0;
        error.reason = "is empty";
        return false;
    }
    if (!ReadVersion(lines.Line(), header, error.reason)) return false;
    for (lines.Advance(); lines.HasLine(); lines.Advance()) {
        const std::string_view line = lines.Line();
        if (LabelOf(line) == "END OF HEADER") {
            lines.Advance();
            out.version = header.version;
            error.line = 0;
            return true;
        }
        if (!ReadLine(line, lines.Number(), header, out)) {
            out.warnings.Add(lines.Number(), std::string(LabelOf(line)) + " is not readable, ignored");
        }
    }
    error.line = lines.Number();
    error.reason = "ends before END OF HEADER";
    return false;
}

void DateRinexHeader(const RinexHeader& header, RinexNavigation& out) {
    const std::optional<GPSTime> first = FirstTime(out);
    const int near = first ? first->GetWeek() : (header.utc ? header.utc->week : 0);
    if (out.leapSeconds && out.leapSeconds->event) {
        int& week = out.leapSeconds->event->week;
        week = FullWeek(week, near, "leap-second", 0, out.warnings);
    }
    if (header.utc || (out.leapSeconds && first)) {
        GNSS::Almanac::UTC utc;
        utc.A0 = header.utc ? header.utc->A0 : 0.0;
        utc.A1 = header.utc ? header.utc->A1 : 0.0;
        utc.Tot = header.utc ? header.utc->tot : 0.0;
        utc.WNt = header.utc ? FullWeek(header.utc->week, near, "UTC reference", header.utc->line, out.warnings) : near;
        utc.time = first.value_or(GPSTime(utc.WNt, utc.Tot));
        SetEvent(out, out.leapSeconds ? out.leapSeconds->current : GPSMinusUTC(utc.time), near, utc);
        out.utc = utc;
    }
    if (header.alpha && header.beta) {
        GNSS::Almanac::Iono iono;
        iono.time = first ? *first : (out.utc ? out.utc->time : GPSTime::Zero);
        const auto& [a0, a1, a2, a3] = *header.alpha;
        const auto& [b0, b1, b2, b3] = *header.beta;
        iono.alpha0 = a0, iono.alpha1 = a1, iono.alpha2 = a2, iono.alpha3 = a3;
        iono.beta0 = b0, iono.beta1 = b1, iono.beta2 = b2, iono.beta3 = b3;
        out.iono = iono;
    }
}

}  // namespace Host

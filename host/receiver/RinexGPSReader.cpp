#include <cmath>
#include <string>

#include "gnss/platform/Number.h"
#include "host/receiver/LeapSeconds.h"
#include "host/receiver/RinexReaders.h"

namespace Host {

using Corvane::Angle;
using Corvane::ToInt;
using GNSS::GPSEphemeride;
using GNSS::GPSTime;

namespace {

enum Index : std::size_t {
    Af0,
    Af1,
    Af2,
    IODE,
    Crs,
    DeltaN,
    M0,
    Cuc,
    Eccentricity,
    Cus,
    SqrtA,
    Toe,
    Cic,
    Omega0,
    Cis,
    I0,
    Crc,
    Omega,
    OmegaDot,
    IDOT,
    L2Codes,
    Week,
    L2PData,
    Accuracy,
    Health,
    Tgd,
    IODC,
    Transmission,
    FitInterval
};

constexpr double Turn = 6.2832;  // some programs count angles from 0, others to both sides
constexpr double Any = 1e12;

// RINEX 3.05, table A6, with the ranges of the words of IS-GPS-200, tables 20-I and 20-III.
constexpr std::array<RinexField, RinexGPSReader::NmrNumbers> Fields{{
    {"af0", -1e-3, 1e-3, true},
    {"af1", -4e-9, 4e-9, true},
    {"af2", -4e-15, 4e-15, true},
    {"IODE", 0.0, 255.0, true},
    {"Crs", -1025.0, 1025.0, true},
    {"delta n", -1.2e-8, 1.2e-8, true},
    {"M0", -Turn, Turn, true},
    {"Cuc", -6.2e-5, 6.2e-5, true},
    {"e", 0.0, 0.5, true},
    {"Cus", -6.2e-5, 6.2e-5, true},
    {"sqrt(A)", 1.0, 8192.0, true},
    {"toe", 0.0, 604799.0, true},
    {"Cic", -6.2e-5, 6.2e-5, true},
    {"OMEGA0", -Turn, Turn, true},
    {"Cis", -6.2e-5, 6.2e-5, true},
    {"i0", -Turn, Turn, true},
    {"Crc", -1025.0, 1025.0, true},
    {"omega", -Turn, Turn, true},
    {"OMEGA dot", -3.1e-6, 3.1e-6, true},
    {"IDOT", -3.0e-9, 3.0e-9, true},
    {"L2 codes", 0.0, 3.0, false},
    {"week", 0.0, 32767.0, false},
    {"L2 P data flag", 0.0, 1.0, false},
    {"accuracy", 0.0, 1e6, false},
    {"health", 0.0, 255.0, true},
    {"group delay", -1e-7, 1e-7, false},
    {"IODC", 0.0, 1023.0, false},
    {"transmission time", -Any, Any, false},
    {"fit interval", 0.0, 200.0, false},
}};

using Numbers = RinexNumbers<RinexGPSReader::NmrNumbers>;

// The first index whose range of accuracies reaches that far, so that both its nominal value and its upper bound,
// either of which programs write, come back as itself.
int URAIndex(double metres) {
    for (int index = 0; index < 15; ++index) {
        if (metres <= GPSEphemeride::Status::GetURAMetres(index, true)) return index;
    }
    return 15;
}

// The week of toe. The date of the record settles it; what the file says differently is repaired where the mistake is
// one that is made. Nothing, with the record refused, where week and date contradict each other.
std::optional<int> WeekOfToe(const RinexRecord& record, const GPSTime& toc, const Numbers& numbers,
                             RinexNavigation& out) {
    const int week = toc.GetClosest(numbers[Toe]).GetWeek();
    const std::size_t line = RinexRecord::LineOf(Week);
    if (std::isnan(numbers[Week])) {
        Warn(record, line, "no week, taken from the date: " + std::to_string(week), out);
        return week;
    }
    const int told = ToInt(numbers[Week]);
    if (told == week) return week;
    const std::string both = std::to_string(told) + " instead of " + std::to_string(week);
    // The week of transmission differs from toe's at a week's end.
    const int apart = ((week - told) % 1024 + 1024 + 1) % 1024;
    if (apart > 2) {
        Refuse(record, line, "week " + both + " contradicts its date", out);
        return std::nullopt;
    }
    Warn(record, line, "week " + both + ", repaired", out);
    return week;
}

void SetPosn(const Numbers& n, GPSEphemeride::Posn& posn) {
    posn.IODE = ToInt(n[IODE]);
    posn.toe = n[Toe];
    posn.sqrtA = n[SqrtA];
    posn.e = n[Eccentricity];
    posn.M0 = Angle(n[M0]);
    posn.Omega0 = Angle(n[Omega0]);
    posn.i0 = Angle(n[I0]);
    posn.omega = Angle(n[Omega]);
    posn.deltaN = Angle(n[DeltaN]);
    posn.OmegaDot = Angle(n[OmegaDot]);
    posn.IDOT = Angle(n[IDOT]);
    posn.Crc = n[Crc];
    posn.Crs = n[Crs];
    posn.Cuc = Angle(n[Cuc]);
    posn.Cus = Angle(n[Cus]);
    posn.Cic = Angle(n[Cic]);
    posn.Cis = Angle(n[Cis]);
}

void SetStatus(const Numbers& n, int iodc, GPSEphemeride::Status& status) {
    status.SetHealth(ToInt(n[Health]));
    if (!std::isnan(n[Accuracy])) status.SetAccuracy(URAIndex(n[Accuracy]));
    if (!std::isnan(n[L2Codes])) status.SetL2Codes(static_cast<char>(ToInt(n[L2Codes])));
    if (!std::isnan(n[L2PData])) status.SetL2PData(n[L2PData] != 0.0);
    if (n[FitInterval] == 1.0) {
        status.SetCurveFit(1, iodc);
    } else if (n[FitInterval] > 0.0) {
        status.SetCurveFit(ToInt(std::round(n[FitInterval])));
    }
}

// The time of transmission; nothing where it is not told, or so far from toe that it cannot have been meant.
std::optional<GPSTime> TransmissionTime(double number, const GPSTime& toe) {
    const std::optional<double> seconds = TransmissionSeconds(number);
    if (!seconds) return std::nullopt;
    const GPSTime time = toe.GetClosest(*seconds);
    if (std::abs((time - toe).Seconds()) > GPSTime::SecsInDay) return std::nullopt;
    return time;
}

}  // namespace

void RinexGPSReader::Add(const RinexRecord& record, RinexNavigation& out) {
    const int satellite = UsableSatellite(record, NmrLines, GNSS::PRN::Max, out);
    if (satellite == 0) return;
    const std::optional<Corvane::TimeDate> epoch = record.Epoch();
    if (!epoch) return Refuse(record, 0, "its epoch is not a date and time", out);
    Numbers numbers;
    if (!ReadNumbers(record, Fields, numbers, out)) return;

    Numbers body = numbers;
    body[Transmission] = 0.0;
    if (history_.IsRepeat(satellite, *epoch, body)) {
        ++out.nmrRepeats;
        return;
    }
    const GPSTime toc = FromUTC(*epoch, 0);  // on GPS time
    const std::optional<int> week = WeekOfToe(record, toc, numbers, out);
    if (!week) return;

    RinexNavigation::GPSRecord read;
    GPSEphemeride& eph = read.ephemeride;
    eph.prn = satellite;
    eph.reference.SetTo(*week, numbers[Toe]);
    SetPosn(numbers, eph.posn);
    eph.clock.IODC = std::isnan(numbers[IODC]) ? eph.posn.IODE : ToInt(numbers[IODC]);
    eph.clock.toc = toc.GetSeconds();
    eph.clock.Tgd = std::isnan(numbers[Tgd]) ? 0.0 : numbers[Tgd];
    eph.clock.af2 = numbers[Af2];
    eph.clock.af1 = numbers[Af1];
    eph.clock.af0 = numbers[Af0];
    SetStatus(numbers, eph.clock.IODC, eph.status);
    if (eph.clock.IODC % 256 != eph.posn.IODE) {
        Warn(record, RinexRecord::LineOf(IODC), "IODC and IODE are of different issues", out);
    }
    read.line = record.numbers[0];
    read.transmission = TransmissionTime(numbers[Transmission], eph.reference);
    out.gps.push_back(read);
}

}  // namespace Host

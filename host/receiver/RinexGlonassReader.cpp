#include <cmath>

#include "gnss/platform/Number.h"
#include "gnss/time/GloTime.h"
#include "host/receiver/GlonassWords.h"
#include "host/receiver/LeapSeconds.h"
#include "host/receiver/RinexReaders.h"

namespace Host {

using Corvane::TimeDate;
using Corvane::ToInt;
using GNSS::GPSTime;
using GNSS::Glonass::Ephemeride;

namespace {

enum Index : std::size_t {
    MinusTau,
    Gamma,
    FrameTime,
    X,
    VX,
    AX,
    Health,
    Y,
    VY,
    AY,
    Channel,
    Z,
    VZ,
    AZ,
    Age,
    StatusFlags,
    GroupDelay,
    AccuracyIndex,
    HealthFlags
};

constexpr double Any = 1e12;
constexpr double Far = 32768.0;    // km
constexpr double Fast = 8.0;       // km/s
constexpr double Pulled = 1.5e-8;  // km/s^2
constexpr double MoscowToUTC = 10800.0;
constexpr double Quarter = 900.0;  // seconds of an hour

// RINEX 3.05, table A10, with the ranges of the words of the GLONASS interface control document, edition 5.1, table
// 4.5. The last line is of 3.05 and often blank.
constexpr std::array<RinexField, RinexGlonassReader::NmrNumbers> Fields{{
    {"-tau_n", -2.0e-3, 2.0e-3, true},
    {"gamma_n", -1e-9, 1e-9, true},
    {"frame time", -Any, Any, false},
    {"X", -Far, Far, true},
    {"X velocity", -Fast, Fast, true},
    {"X acceleration", -Pulled, Pulled, true},
    {"health", 0.0, 7.0, true},
    {"Y", -Far, Far, true},
    {"Y velocity", -Fast, Fast, true},
    {"Y acceleration", -Pulled, Pulled, true},
    {"frequency channel", -7.0, 255.0, false},
    {"Z", -Far, Far, true},
    {"Z velocity", -Fast, Fast, true},
    {"Z acceleration", -Pulled, Pulled, true},
    {"age", 0.0, 31.0, false},
    {"status flags", 0.0, 511.0, false},
    {"group delay", -Any, Any, false},
    {"accuracy index", 0.0, 15.0, false},
    {"health flags", 0.0, 7.0, false},
}};

using Numbers = RinexNumbers<RinexGlonassReader::NmrNumbers>;

int CountOn(const Corvane::Date& utc, const RinexNavigation& navigation) {
    if (!navigation.leapSeconds) return GPSMinusUTC(utc);
    const auto& event = navigation.leapSeconds->event;
    if (!event) return navigation.leapSeconds->current;
    const Corvane::Date from = GPSTime::Start + (std::int64_t{7} * event->week + event->day);
    return utc < from ? navigation.leapSeconds->current : event->after;
}

// The epoch on the quarter of an hour that tb can be; nothing when it is more than a minute from any. Some receivers
// write GPS time, or the second before the leap-second count that they did not have yet.
std::optional<TimeDate> OnQuarter(const TimeDate& utc) {
    const double seconds = utc.GetTimeOfDay().Seconds();
    const double quarter = std::round(seconds / Quarter) * Quarter;
    if (std::abs(seconds - quarter) > 60.0) return std::nullopt;
    return TimeDate(utc.GetDate(), Corvane::TimeOfDay(0.0)) + Corvane::Time(quarter);
}

// The instant of UTC, as a count like GPS time's, at which the frame was sent. Its day is the one closest to tb, for
// the file counts from the day or from the week by its version.
std::optional<GPSTime> FrameTimeUTC(double number, const GPSTime& tbUTC) {
    const std::optional<double> seconds = TransmissionSeconds(number);
    if (!seconds) return std::nullopt;
    return tbUTC.ResolveTo(Corvane::Time(Corvane::modulo(*seconds, GPSTime::SecsInDay)), Corvane::Time::Day);
}

void SetStatus(const Numbers& n, Ephemeride& eph) {
    using Status = Ephemeride::Status;
    // The most significant bit of B_n alone, as 0 or 1, is what the file is to hold; a whole B_n is not told from it,
    // and all else but 0 is taken for unhealthy.
    eph.status.SetUnhealthy(n[Health] != 0.0);
    if (!std::isnan(n[StatusFlags])) {
        const auto flags = static_cast<unsigned>(ToInt(n[StatusFlags]));
        eph.status.Set(Status::P1, GlonassP1Minutes[(flags >> 2) & 3U]);
        eph.status.Set(Status::P2, static_cast<int>((flags >> 4) & 1U));
        eph.status.Set(Status::P3, static_cast<int>((flags >> 5) & 1U));
        eph.status.Set(Status::P4, static_cast<int>((flags >> 6) & 1U));
        eph.m.isM = ((flags >> 7) & 3U) == 1;
    }
    if (!std::isnan(n[Age])) eph.m.age = ToInt(n[Age]);
    if (!std::isnan(n[AccuracyIndex])) {
        eph.m.accuracyIndex = ToInt(n[AccuracyIndex]);
        const auto index = static_cast<std::size_t>(eph.m.accuracyIndex);
        if (index < GlonassAccuracyMetres.size()) eph.accuracy = GlonassAccuracyMetres[index];
    }
}

// -7 to 13. Negative channels are also met as the unsigned numbers of five bits, as the almanac has them, and of eight.
// Nothing, with a warning, for anything else.
std::optional<int> ChannelOf(const RinexRecord& record, double number, RinexNavigation& out) {
    if (std::isnan(number)) return std::nullopt;
    const int channel = ToInt(number);
    if (channel <= 13) return channel;
    if (channel >= 25 && channel <= 31) return channel - 32;
    if (channel >= 249) return channel - 256;
    Warn(record, RinexRecord::LineOf(Channel), "frequency channel " + std::to_string(channel) + ", ignored", out);
    return std::nullopt;
}

}  // namespace

void RinexGlonassReader::Add(const RinexRecord& record, RinexNavigation& out) {
    const int satellite = UsableSatellite(record, NmrLines, GNSS::Glonass::Slot::Max, out);
    if (satellite == 0) return;
    const std::optional<TimeDate> epoch = record.Epoch();
    if (!epoch) return Refuse(record, 0, "its epoch is not a date and time", out);
    const std::optional<TimeDate> tb = OnQuarter(*epoch);
    if (!tb) return Refuse(record, 0, "its epoch is not a quarter of an hour", out);
    Numbers numbers;
    if (!ReadNumbers(record, Fields, numbers, out)) return;

    Numbers body = numbers;
    body[FrameTime] = 0.0;
    if (history_.IsRepeat(satellite, *epoch, body)) {
        ++out.nmrRepeats;
        return;
    }
    if (*tb != *epoch) Warn(record, 0, "epoch moved to the quarter of an hour that tb must be", out);

    RinexNavigation::GlonassRecord read;
    Ephemeride& eph = read.ephemeride;
    eph.slot = satellite;
    GNSS::GloTime moscow;
    moscow.SetFromUTC(*tb);
    eph.posn.day = moscow.GetDay();
    eph.posn.tb = moscow.GetSeconds();
    eph.posn.frameTime = eph.posn.tb;
    eph.posn.posn.Set(numbers[X], numbers[Y], numbers[Z]);
    eph.posn.vely.Set(numbers[VX], numbers[VY], numbers[VZ]);
    eph.posn.accel.Set(numbers[AX], numbers[AY], numbers[AZ]);
    eph.clock.tau = -numbers[MinusTau];
    eph.clock.gamma = numbers[Gamma];
    SetStatus(numbers, eph);

    const Corvane::Time leap(CountOn(tb->GetDate(), out));
    const GPSTime tbUTC = FromUTC(*tb, 0);
    read.tb = tbUTC + leap;
    if (const std::optional<GPSTime> frame = FrameTimeUTC(numbers[FrameTime], tbUTC)) {
        eph.posn.frameTime = Corvane::modulo(frame->GetSeconds() + MoscowToUTC, GPSTime::SecsInDay);
        read.transmission = *frame + leap;
    }
    eph.reference = read.transmission.value_or(read.tb);
    read.line = record.numbers[0];
    read.channel = ChannelOf(record, numbers[Channel], out);
    // 0.999999999999E9 is the file's way to say unknown.
    if (std::abs(numbers[GroupDelay]) < 1e-6) read.groupDelay = numbers[GroupDelay];
    out.glonass.push_back(read);
}

}  // namespace Host

#include "host/receiver/GlonassRecordMaker.h"

#include <algorithm>
#include <cmath>

#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/platform/Number.h"
#include "host/receiver/GlonassHamming.h"
#include "host/receiver/GlonassWords.h"

namespace Host {

using Corvane::Date;
using GNSS::Almanac;
using GNSS::GloTime;
using GNSS::GPSTime;
using GNSS::ICDGlonass;
using GNSS::Glonass::Ephemeride;
using GNSS::Glonass::Slot;

namespace {

constexpr double SecondsOfFrame = 30.0;
constexpr double SecondsOfString = 2.0;
constexpr double SecondsOfDay = GPSTime::SecsInDay;
constexpr double MostRepeated = 3600.0;  // how old a record is that a receiver still gives, beside a day that is wrong

// The frame, counted from 6 January 1980, of a string that ended at about a Moscow time; of those with a number within
// the superframe, where that is known.
std::int64_t FrameOf(double moscow, int string, int number) {
    const double frames = (moscow - SecondsOfString * string) / SecondsOfFrame;
    if (number < 1 || number > ICDGlonass::NmrFrame) return Corvane::ToInt64(std::round(frames));
    const double superframes = (frames - (number - 1)) / ICDGlonass::NmrFrame;
    return Corvane::ToInt64(std::round(superframes)) * ICDGlonass::NmrFrame + (number - 1);
}

// The Moscow time of its start.
double StartOf(std::int64_t frame) {
    return static_cast<double>(frame) * SecondsOfFrame;
}

// From 1.
int NumberOf(std::int64_t frame) {
    return static_cast<int>(frame % ICDGlonass::NmrFrame) + 1;
}

// The Moscow time with that second of the day which lies nearest to another.
double Nearest(double secondsOfDay, double moscow) {
    return secondsOfDay + std::round((moscow - secondsOfDay) / SecondsOfDay) * SecondsOfDay;
}

// Day of the four-year interval, 1 to 1461, that a Moscow time lies in.
int DayOf(double moscow) {
    return Almanac::GlonassSV::CalcDayNumber(GPSTime::Start + Corvane::ToInt64(std::floor(moscow / SecondsOfDay)));
}

// Whether string 4 says by its N_T that the frame is of another day; satellites before GLONASS-M send none.
bool IsOfOtherDay(const ICDGlonass::String& string4, std::int64_t frame) {
    const int day = static_cast<int>(string4.GetUnsigned(16, 11));
    return day != 0 && day != DayOf(StartOf(frame));
}

bool IsDay(int day) {
    return day >= 1 && day <= GloTime::DaysInInterval;
}

// The days from one day of the interval to another, the shorter way round.
int DaysTo(int day, int from) {
    constexpr int Half = GloTime::DaysInInterval / 2;
    const int ahead = day - from;
    return ahead > Half ? ahead - GloTime::DaysInInterval : (ahead < -Half ? ahead + GloTime::DaysInInterval : ahead);
}

// The Moscow time of a frame whose record says its day within the four-year interval and which interval that is.
std::optional<double> FullFrame(const GlonassDecodedEphemeride& record) {
    const Ephemeride::Posn& posn = record.ephemeride.posn;
    if (!record.fourYears || *record.fourYears < 1 || !IsDay(posn.day)) return std::nullopt;
    const Date day = Date(1996 + 4 * (*record.fourYears - 1), 1, 1) + (posn.day - 1);
    return (day - GPSTime::Start) * SecondsOfDay + posn.frameTime;
}

// Completes what follows from tb, a Moscow time, and from the words of the message. What is sent is the day of the
// frame; tb may lie in the next, or in the one before.
void CompleteWords(double tb, Ephemeride& ephemeride) {
    ephemeride.posn.day = DayOf(tb);
    const auto index = static_cast<std::size_t>(ephemeride.m.accuracyIndex);
    if (ephemeride.m.isM && index < GlonassAccuracyMetres.size()) ephemeride.accuracy = GlonassAccuracyMetres[index];
}

}  // namespace

void GlonassRecordMaker::Add(const GlonassString& string) {
    const int number = string.bits.GetNumber();
    if (string.slot.IsNull() || number == 0) return;
    if (!string.checked && !HasGlonassCheck(string.bits)) {
        ++nmrHammingFailures_;
        return;
    }
    if (!clock_.GetTime()) {
        ++nmrUndatedStrings_;
        return;
    }
    const std::int64_t frame = FrameOf(clock_.ToMoscow(*clock_.GetTime()), number, string.frame);
    if (frame <= 0) return;
    Channel& channel = channels_[static_cast<std::size_t>(string.slot - 1)];
    channel.icd.AddString(NumberOf(frame), string.bits);
    channel.frames[static_cast<std::size_t>(number - 1)] = frame;
    if (number <= 4) {
        MakeEphemeride(channel, string, frame);
    } else if (number >= 7 && number % 2 == 1) {
        MakeAlmanac(channel, frame, number);
    }
}

void GlonassRecordMaker::MakeEphemeride(Channel& channel, const GlonassString& string, std::int64_t frame) {
    const bool isWhole = std::all_of(channel.frames.begin(), channel.frames.begin() + 4,
                                     [frame](std::int64_t other) { return other == frame; });
    if (!isWhole || channel.lastMade == frame) return;
    Ephemeride ephemeride;
    ephemeride.slot = string.slot;
    if (!channel.icd.GetEphemeride(ephemeride, NumberOf(frame))) return;
    const double start = StartOf(frame);
    // Satellites from GLONASS-M on say their own slot in string 4.
    const ICDGlonass::String& string4 = channel.icd[NumberOf(frame) - 1][3];
    const int own = static_cast<int>(string4.GetUnsigned(11, 5));
    const bool isOther = ephemeride.m.isM && own != 0 && own != string.slot;
    if (isOther || IsOfOtherDay(string4, frame) || ephemeride.posn.frameTime != std::fmod(start, SecondsOfDay) ||
        ephemeride.posn.tb >= SecondsOfDay) {
        ++nmrRefused_;
        return;
    }
    channel.lastMade = frame;
    // The library leaves F_T alone.
    if (ephemeride.m.isM) ephemeride.m.accuracyIndex = static_cast<int>(string4.GetUnsigned(30, 4));
    CompleteWords(Nearest(ephemeride.posn.tb, start), ephemeride);
    ephemeride.reference = clock_.FromMoscow(start);
    sink_.OnRecord(ephemeride, string.channel);
}

void GlonassRecordMaker::MakeAlmanac(const Channel& channel, std::int64_t frame, int odd) {
    const auto isOfFrame = [&](int number) { return channel.frames[static_cast<std::size_t>(number - 1)] == frame; };
    if (!isOfFrame(5) || !isOfFrame(odd - 1)) return;
    const int number = NumberOf(frame);
    // The last two strings of a superframe carry other things.
    if (number == ICDGlonass::NmrFrame && odd == ICDGlonass::Frame::NmrString) return;

    // The superframe may still hold another almanac of the slot, from before: only what belongs together is asked.
    const ICDGlonass::Frame& received = channel.icd[number - 1];
    const ICDGlonass::String& even = received[odd - 2];
    ICDGlonass icd;
    icd.AddString(number, received[4]);
    icd.AddString(number, even);
    icd.AddString(number, received[odd - 1]);
    Almanac::GlonassSV sv;
    sv.slot = Slot(static_cast<int>(even.GetUnsigned(73, 5)));
    if (sv.slot.IsNull() || !icd.GetAlmanac(sv)) return;
    sv.time = clock_.FromMoscow(StartOf(frame) + SecondsOfString * (odd - 2));
    if (!IsDay(sv.day) || !sv.IsTimeConsistentWithToI() || (isOfFrame(4) && IsOfOtherDay(received[3], frame))) {
        ++nmrRefused_;
        return;
    }
    sink_.OnRecord(sv);
}

void GlonassRecordMaker::Add(const GlonassDecodedEphemeride& record) {
    if (record.ephemeride.slot.IsNull()) return;
    if (clock_.GetTime() || record.reference || FullFrame(record)) {
        Complete(record);
    } else {
        decoded_.Put(record.ephemeride.slot, record);
    }
}

void GlonassRecordMaker::CompleteWaiting() {
    decoded_.Release([this](const GlonassDecodedEphemeride& record) { Complete(record); });
}

void GlonassRecordMaker::Complete(const GlonassDecodedEphemeride& record) {
    Ephemeride ephemeride = record.ephemeride;
    const Ephemeride::Posn& posn = ephemeride.posn;
    double frame = 0.0;
    double tb = 0.0;
    if (record.reference) {
        tb = Nearest(posn.tb, clock_.ToMoscow(*record.reference));
        frame = Nearest(posn.frameTime, tb);
    } else {
        if (const auto full = FullFrame(record)) {
            frame = *full;
        } else {
            frame = Nearest(posn.frameTime, clock_.ToMoscow(*clock_.GetTime()));
            if (IsDay(posn.day) && std::abs(DaysTo(posn.day, DayOf(frame))) == 1)
                frame += DaysTo(posn.day, DayOf(frame)) * SecondsOfDay;
        }
        tb = Nearest(posn.tb, frame);
    }
    // By the time of the stream, or of its decoder, and by its own.
    const bool isOtherDay = IsDay(posn.day) && std::abs(DaysTo(posn.day, DayOf(frame))) > 1;
    const bool isOtherTime =
        clock_.GetTime() && std::abs(frame - clock_.ToMoscow(*clock_.GetTime())) > SecondsOfDay + MostRepeated;
    if (isOtherDay || isOtherTime) {
        ++nmrRefused_;
        return;
    }
    CompleteWords(tb, ephemeride);
    ephemeride.reference = clock_.FromMoscow(frame);
    sink_.OnRecord(ephemeride, record.channel);
}

}  // namespace Host

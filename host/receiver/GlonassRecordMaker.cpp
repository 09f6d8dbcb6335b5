#include "host/receiver/GlonassRecordMaker.h"

#include <algorithm>
#include <cmath>

#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/platform/Number.h"
#include "host/receiver/GlonassHamming.h"
#include "host/receiver/LeapSeconds.h"

namespace Host {

using Corvane::Date;
using Corvane::Time;
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

// The frame, counted from 6 January 1980, of a string that ended at about a Moscow time; of those with a number within
// the superframe, where that is known.
std::int64_t FrameOf(double moscow, int string, int number) {
    const double frames = (moscow - SecondsOfString * string) / SecondsOfFrame;
    if (number < 1 || number > ICDGlonass::NmrFrame) return Corvane::ToInt64(std::round(frames));
    const double superframes = (frames - (number - 1)) / ICDGlonass::NmrFrame;
    return Corvane::ToInt64(std::round(superframes)) * ICDGlonass::NmrFrame + (number - 1);
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

bool IsDay(int day) {
    return day >= 1 && day <= GloTime::DaysInInterval;
}

// Where a record says its day within the four-year interval and which interval that is, tb in GPS time.
std::optional<GPSTime> FullTb(const GlonassDecodedEphemeride& record) {
    if (record.reference) return record.reference;
    const Ephemeride::Posn& posn = record.ephemeride.posn;
    if (!record.fourYears || *record.fourYears < 1 || !IsDay(posn.day)) return std::nullopt;
    const Date day = Date(1996 + 4 * (*record.fourYears - 1), 1, 1) + (posn.day - 1);
    const GPSTime utc = GPSTime(0, (day - GPSTime::Start) * SecondsOfDay) + (Time(posn.tb) - Time::Hour * 3.0);
    return utc + Time(GPSMinusUTC(utc.GetDate()));
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
    const double start = static_cast<double>(frame) * SecondsOfFrame;
    // Satellites from GLONASS-M on say their own slot in string 4.
    const ICDGlonass::String& string4 = channel.icd[NumberOf(frame) - 1][3];
    const int own = static_cast<int>(string4.GetUnsigned(11, 5));
    const bool isOther = ephemeride.m.isM && own != 0 && own != string.slot;
    if (isOther || ephemeride.posn.frameTime != std::fmod(start, SecondsOfDay) || !IsDay(ephemeride.posn.day) ||
        ephemeride.posn.tb >= SecondsOfDay) {
        ++nmrRefused_;
        return;
    }
    channel.lastMade = frame;
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
    if (!IsDay(sv.day)) {
        ++nmrRefused_;
        return;
    }
    sv.time = clock_.FromMoscow(static_cast<double>(frame) * SecondsOfFrame + SecondsOfString * (odd - 2));
    sink_.OnRecord(sv);
}

void GlonassRecordMaker::Add(const GlonassDecodedEphemeride& record) {
    if (record.ephemeride.slot.IsNull()) return;
    if (clock_.GetTime()) return Complete(record, *clock_.GetTime());
    if (const auto tb = FullTb(record)) return Complete(record, *tb);
    decoded_.Put(record.ephemeride.slot, record);
}

void GlonassRecordMaker::CompleteWaiting() {
    decoded_.Release([this](const GlonassDecodedEphemeride& record) { Complete(record, *clock_.GetTime()); });
}

void GlonassRecordMaker::Complete(const GlonassDecodedEphemeride& record, const GPSTime& near) {
    Ephemeride ephemeride = record.ephemeride;
    const double frame = Nearest(ephemeride.posn.frameTime, clock_.ToMoscow(near));
    double tb = Nearest(ephemeride.posn.tb, frame);
    if (const auto full = FullTb(record)) {
        tb = clock_.ToMoscow(*full);
    } else if (IsDay(ephemeride.posn.day)) {
        // The day in the interval that brings it nearest.
        constexpr int Half = GloTime::DaysInInterval / 2;
        int ahead = ephemeride.posn.day - DayOf(tb);
        if (ahead > Half) ahead -= GloTime::DaysInInterval;
        if (ahead < -Half) ahead += GloTime::DaysInInterval;
        tb += ahead * SecondsOfDay;
    }
    if (!IsDay(ephemeride.posn.day)) ephemeride.posn.day = DayOf(tb);
    ephemeride.reference = clock_.FromMoscow(std::abs(frame - tb) <= SecondsOfDay ? frame : tb);
    sink_.OnRecord(ephemeride, record.channel);
}

}  // namespace Host

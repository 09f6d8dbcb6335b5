#include "host/cli/Inputs.h"

#include <cmath>
#include <cstdio>

#include <fmt/format.h>

#include "gnss/platform/Clock.h"
#include "host/receiver/LeapSeconds.h"
#include "host/receiver/RinexNavigation.h"

namespace Host {

using GNSS::GPSTime;

void Complain(const std::string& line) {
    fmt::print(stderr, "gnss: {}\n", line);
}

void Complain(const Warnings& warnings, bool all) {
    constexpr std::int64_t Few = 5;
    std::int64_t told = 0;
    for (const Warnings::Entry& entry : warnings.GetKept()) {
        if (!all && told == Few) break;
        Complain(warnings.Print(entry));
        ++told;
    }
    if (told < warnings.GetCount()) {
        Complain(fmt::format("{}: {} more warnings{}", warnings.GetFile(), warnings.GetCount() - told,
                             all ? "" : " (--warnings shows them)"));
    }
}

bool ReadNavigation(const std::vector<std::string>& paths, bool allWarnings, EphemerisSet& set) {
    for (const std::string& path : paths) {
        RinexNavigation navigation;
        FileError error;
        const bool isRead = navigation.Read(path, error);
        Complain(navigation.warnings, allWarnings);
        if (!isRead) {
            Complain(error.Print());
            return false;
        }
        set.Add(navigation, path);
    }
    const auto first = set.GetFirst();
    // The set looks at the records' positions while it puts them in order, and GLONASS needs the leap rule for that.
    if (first) SetClockAndLeapRule(*first, false);
    set.Complete();
    for (const std::string& doubt : set.GetDoubts()) Complain(doubt);
    if (!set.GetFirst()) {
        Complain("the navigation files hold no GPS or GLONASS records");
        return false;
    }
    return true;
}

void SetClockAndLeapRule(const GPSTime& t, bool tell) {
    const int count = GPSMinusUTC(t);
    Corvane::Clock::SetTo((t - Corvane::Time(count)).GetTimeDate());
    // Around a leap: the one whose instant lies within a week of the time, else no change at all.
    for (const double days : {-7.0, 7.0}) {
        const GPSTime there = t + Corvane::Time::Day * days;
        const int other = GPSMinusUTC(there);
        if (other == count) continue;
        const auto leap = FindLeapSecond(std::max(other, count));
        if (!leap) continue;
        GPSTime::SetUTCParam(GPSTime(Corvane::TimeDate(leap->day, Corvane::TimeOfDay(0.0))), leap->after - 1,
                             leap->after);
        if (tell)
            Complain(fmt::format("leap seconds: {} before and {} from {}", leap->after - 1, leap->after,
                                 Corvane::TimeDate(leap->day, Corvane::TimeOfDay(0.0)).Print(0).str()));
        return;
    }
    GPSTime::SetUTCParam(t, count, count);
    if (tell) Complain(fmt::format("leap seconds: {}", count));
}

const GNSS::HelmertShift* FindShift(const std::string& name) {
    if (name == "none") return &GNSS::Glonass::ZeroShift;
    if (name == "pe90") return &GNSS::Glonass::PE90_to_WGS84;
    if (name == "novatel") return &GNSS::Glonass::NovatelShift;
    return nullptr;
}

}  // namespace Host

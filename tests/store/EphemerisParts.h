// Components around an ephemeris store, and records whose issue can be told again wherever it turns up.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "gnss/store/GPSEphemStore.h"
#include "gnss/store/GlonassEphemStore.h"
#include "tests/ephemeris/Records.h"

namespace tests {

// The records of each issue differ from all others of their satellite, and are good for a position at SampleTime.
inline GNSS::GPSEphemeride MakeRecord(GNSS::PRN prn, int issue) {
    GNSS::GPSEphemeride record = SampleGPS();
    record.prn = prn;
    record.posn.IODE = issue;
    record.clock.Tgd = issue;
    return record;
}
inline GNSS::Glonass::Ephemeride MakeRecord(GNSS::Glonass::Slot slot, int issue) {
    GNSS::Glonass::Ephemeride record = SampleGlonass();
    record.slot = slot;
    record.posn.frameTime = issue;
    record.posn.tb += 300.0 * (issue % 4);
    record.clock = {static_cast<double>(issue), 0.0};
    return record;
}
// -1 when what tells it twice does not agree.
inline int IssueOf(const GNSS::GPSEphemeride& record) {
    return record.clock.Tgd == record.posn.IODE ? record.posn.IODE : -1;
}
inline int IssueOf(const GNSS::Glonass::Ephemeride& record) {
    return record.clock.tau == record.posn.frameTime ? Corvane::ToInt(record.clock.tau) : -1;
}
inline int IssueOf(const GNSS::GPSEphemeride::Result& result) {
    return result.groupDelay == result.IODE ? result.IODE : -1;
}
inline int IssueOf(const GNSS::Glonass::Ephemeride::Result& result) {
    const int issue = Corvane::ToInt(result.clockCorrection);
    return result.tb == 54000 + 300 * (issue % 4) ? issue : -1;
}

template <typename Store>
struct Sender : Corvane::Component {
    Sender() : Component(Corvane::Ident("Sender"), 100) {}
    Corvane::Link<typename Store::Record> records{*this, Store::Rules::RecordType()};
    Corvane::Link<typename Store::History> histories{*this, Store::Rules::FullType()};
};

// Every satellite with the reference times of its records, and what tells them apart.
template <typename System>
std::string Print(const GNSS::EphemerisHistory<System>& history) {
    using History = GNSS::EphemerisHistory<System>;
    std::string text;
    for (int number = History::Id::Min; number <= History::Id::Max; ++number) {
        const auto* sv = history.FindSV(number);
        if (sv == nullptr) continue;
        text += " " + std::to_string(number) + ":";
        for (int i = 0; i < sv->NmrEphem(); ++i) {
            const auto value = GNSS::DataAgeRules<System>::GetValue(*sv->GetEphem(i));
            text += (i == 0 ? "" : "/") + std::to_string(Corvane::ToInt(value)) + "@" +
                    std::to_string(Corvane::ToInt(sv->GetEphem(i)->reference.GetSeconds()));
        }
    }
    return text;
}
// Every satellite with a position at a time: its distance from the equator's plane.
template <typename System>
std::string Print(const GNSS::EphemerisCalculator<System>& calc, const GNSS::GPSTime& t) {
    using Calc = GNSS::EphemerisCalculator<System>;
    std::string text;
    for (int number = Calc::Id::Min; number <= Calc::Id::Max; ++number) {
        typename Calc::Result result;
        if (!calc.CalculateHealthyPosn(number, t, result)) continue;
        text += " " + std::to_string(number) + ":" + std::to_string(Corvane::ToInt(result.posn.GetZ()));
    }
    return text;
}
// In the order of the satellites.
template <typename System>
std::string Print(const GNSS::DataAge<System>& ages) {
    std::string text;
    for (int number = 1; number <= System::LastNumber; ++number) {
        const int index = ages.FindSV(number);
        if (index < 0) continue;
        text += " " + std::to_string(number) + ":" + std::to_string(Corvane::ToInt(ages[index].GetCurrent())) + "/" +
                std::to_string(Corvane::ToInt(ages[index].GetPrevious()));
    }
    return text;
}
inline std::string Print(const GNSS::SVHealth::Update& update) {
    return " " + update.GetDesc().str();
}

// Writes down all that a store publishes, in the order in which it comes.
template <typename Store>
struct Subscriber : Corvane::Component {
    using History = typename Store::History;
    using Rules = typename Store::Rules;

    Subscriber() : Component(Corvane::Ident("Subscriber"), 100) {}
    void OnHealth(const GNSS::SVHealth::Update& update) { lines.push_back("health" + Print(update)); }
    void OnHistory(const std::shared_ptr<const History>& history) {
        lines.push_back("history" + Print(*history));
        histories.emplace_back(lines.back(), history);
    }
    void OnCalc(const typename Store::Calc& calc) { lines.push_back("calculator" + Print(calc, now)); }
    void OnAges(const typename Store::Ages& ages) { lines.push_back("age" + Print(ages)); }
    // What has come since the last time.
    std::vector<std::string> Take() {
        DoCycle();
        return std::exchange(lines, {});
    }
    // Whether the histories are still what they were when they came.
    [[nodiscard]] bool AreUnchanged() const {
        for (const auto& [line, history] : histories) {
            if (line != "history" + Print(*history)) return false;
        }
        return true;
    }

    GNSS::GPSTime now = SampleTime;
    std::vector<std::string> lines;
    std::vector<std::pair<std::string, std::shared_ptr<const History>>> histories;
    Corvane::Response<GNSS::SVHealth::Update> healthInput{*this, GNSS::SVHealth::Update::Type, &Subscriber::OnHealth};
    Corvane::Response<History> historyInput{*this, Rules::HistoryType(), &Subscriber::OnHistory, "Ephemeris",
                                            Rules::HistoryIndex};
    Corvane::Response<typename Store::Calc> calcInput{*this, Rules::CalcType(), &Subscriber::OnCalc, "Ephemeris",
                                                      Rules::CalcIndex};
    Corvane::Response<typename Store::Ages> agesInput{*this, Rules::DataAgeType(), &Subscriber::OnAges};
};

}  // namespace tests

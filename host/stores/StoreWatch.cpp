#include "host/stores/StoreWatch.h"

#include <utility>

#include <fmt/format.h>

#include "gnss/store/EphemerisStoreRules.h"
#include "gnss/store/GNSSLink.h"

namespace Host {

using GNSS::Almanac;
using GNSS::GNSSLink;
using GNSS::GPSSystem;
using GNSS::SVHealth;

namespace {

// Under which the stores publish; on the same type others may send what nobody has accepted yet.
constexpr const char* AlmanacOutputs = "Almanac";
constexpr const char* EphemerisOutputs = "Ephemeris";

template <typename System>
std::string Named(const char* what) {
    return std::string(std::is_same_v<System, GPSSystem> ? "GPS " : "GLONASS ") + what;
}

std::string Issue(const GNSS::GPSEphemeride& record) {
    return fmt::format("IODE {}", record.posn.IODE);
}
std::string Issue(const GNSS::Glonass::Ephemeride& record) {
    return fmt::format("tb {:.0f}", record.posn.tb);
}

// In what one state of a system differs from the one before.
struct Difference {
    int nmr = 0;
    std::string satellite;  // of the last
    std::string detail;     // about it

    void Add(const Corvane::String& id, std::string about) {
        ++nmr;
        satellite = id.str();
        detail = std::move(about);
    }
    void Complete() {
        if (nmr == 1) return;
        satellite.clear();
        detail = nmr == 0 ? "no change" : fmt::format("{} satellites", nmr);
    }
};

}  // namespace

template <typename System>
StoreWatch::Inputs<System>::Inputs(StoreWatch& watch)
    : history(watch, GNSS::EphemerisStoreRules<System>::HistoryType(), &StoreWatch::OnHistory<System>,
              EphemerisOutputs),
      calculator(watch, GNSS::EphemerisStoreRules<System>::CalcType(), &StoreWatch::OnCalculator<System>,
                 EphemerisOutputs),
      ages(watch, GNSS::EphemerisStoreRules<System>::DataAgeType(), &StoreWatch::OnAges<System>, EphemerisOutputs) {}

StoreWatch::StoreWatch()
    : Component(Corvane::Ident("Store Watch"), CycleMS),
      healthInput_(*this, SVHealth::Update::Type, &StoreWatch::OnHealth),
      almanac_(*this, GNSSLink::AlmanacType, &StoreWatch::OnAlmanac, AlmanacOutputs),
      updateInput_(*this, GNSSLink::AlmanacUpdateType, &StoreWatch::OnAlmanacUpdate, AlmanacOutputs),
      calculatorInput_(*this, GNSSLink::AlmanacCalcType, &StoreWatch::OnAlmanacCalculator, AlmanacOutputs),
      gpsInputs_(*this),
      glonassInputs_(*this) {}

template <>
StoreWatch::Held<GPSSystem>& StoreWatch::Of() {
    return gps_;
}
template <>
StoreWatch::Held<GNSS::GlonassSystem>& StoreWatch::Of() {
    return glonass_;
}

void StoreWatch::Tell(std::string what, std::string satellite, std::string detail) const {
    if (take_) take_({std::move(what), std::move(satellite), std::move(detail)});
}

void StoreWatch::OnHealth(const SVHealth::Update& update) {
    health_.Refresh(update);
    const char* mode = "";
    switch (update.GetMode()) {
        case SVHealth::Update::AlmanacHealth:
            mode = "almanac";
            break;
        case SVHealth::Update::EphemerisHealth:
            mode = "ephemeris";
            break;
        default:
            return Tell("health", "", update.GetDesc().str());
    }
    Tell("health", (update.IsGPS() ? update.GetPRN().Print() : update.GetSlot().Print()).str(),
         fmt::format("{} {}", mode, update.GetHealth()));
}

void StoreWatch::OnAlmanacUpdate(const Almanac::Update& update) {
    const char* const what = "almanac update";
    if (const auto* sv = update.GetSV()) return Tell(what, sv->prn.Print().str(), "GPS almanac");
    if (const auto* sv = update.GetGlonassSV()) return Tell(what, sv->slot.Print().str(), "GLONASS almanac");
    Tell(what, "", update.IsIono() ? "ionosphere" : update.IsUTC() ? "UTC" : "all");
}

void StoreWatch::OnAlmanacCalculator(const std::shared_ptr<const Almanac::Calculator>& calculator) {
    calculator_ = calculator;
    Tell("almanac calculator", "", "");
}

template <typename System>
void StoreWatch::OnHistory(const std::shared_ptr<const GNSS::EphemerisHistory<System>>& history) {
    using Id = GNSS::SatelliteId<System>;
    auto& held = Of<System>();
    const auto before = std::exchange(held.history, history);
    if (!take_) return;
    Difference difference;
    for (int number = Id::Min; number <= Id::Max; ++number) {
        const auto* sv = history->FindSV(number);
        // An unchanged satellite is the same object in both.
        if (sv == (before ? before->FindSV(number) : nullptr)) continue;
        difference.Add(Id(number).Print(), sv == nullptr ? "none"
                                                         : fmt::format("{}, {} record{}", Issue(*sv->GetEphem(0)),
                                                                       sv->NmrEphem(), sv->NmrEphem() == 1 ? "" : "s"));
    }
    difference.Complete();
    Tell(Named<System>("history"), difference.satellite, difference.detail);
}

template <typename System>
void StoreWatch::OnCalculator(const std::shared_ptr<const GNSS::EphemerisCalculator<System>>& calculator) {
    Of<System>().calculator = calculator;
    Tell(Named<System>("calculator"), "", "");
}

template <typename System>
void StoreWatch::OnAges(const GNSS::DataAge<System>& ages) {
    using Id = GNSS::SatelliteId<System>;
    auto& held = Of<System>();
    const auto before = std::exchange(held.ages, ages);
    if (!take_) return;
    const auto print = [](const GNSS::DataAge<System>& of, const Id& id) -> std::string {
        const int index = of.FindSV(id);
        if (index < 0) return "none";
        const auto& sv = of[index];
        if (sv.GetPrevious() < 0) return fmt::format("{:.0f}", double(sv.GetCurrent()));
        return fmt::format("{:.0f}, before {:.0f}", double(sv.GetCurrent()), double(sv.GetPrevious()));
    };
    Difference difference;
    for (int number = Id::Min; number <= Id::Max; ++number) {
        const std::string now = print(ages, number);
        if (now != print(before, number)) difference.Add(Id(number).Print(), now);
    }
    difference.Complete();
    Tell(Named<System>("data age"), difference.satellite, difference.detail);
}

}  // namespace Host

#include "gnss/store/AlmanacStore.h"

#include <utility>

#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/platform/Stream.h"
#include "gnss/platform/Text.h"
#include "gnss/store/AlmanacFile.h"
#include "gnss/store/GNSSLink.h"
#include "gnss/store/TryAll.h"
#include "gnss/time/GPSTime.h"

namespace GNSS {

using Corvane::LinkBase;
using Corvane::Param;
using Corvane::ParamList;
using Corvane::String;
using Corvane::Text;

namespace {

constexpr const char* LinkName = "Almanac";

std::shared_ptr<Corvane::Component> CreateStore(const Param<ParamList>& params) {
    return std::make_shared<AlmanacStore>(params);
}

// The leap second takes effect at the end of day DN, counted in UTC. The built-in parameters are nobody's news: GPSTime
// may have been told better ones.
void SetUTCParam(const Almanac::UTC& utc) {
    if (utc == Almanac::UTC()) return;
    GPSTime::SetUTCParam(GPSTime(utc.WNLSF, utc.DN * GPSTime::SecsInDay), utc.DtLS, utc.DtLSF);
}

using Healths = std::vector<std::shared_ptr<const SVHealth::Update>>;

// Of one record, where its kind has a health.
void AddHealth(Healths& healths, const Almanac::SV& sv) {
    healths.push_back(std::make_shared<const SVHealth::Update>(SVHealth::Update::AlmanacHealth, sv.prn, sv.health));
}
void AddHealth(Healths& healths, const Almanac::GlonassSV& sv) {
    healths.push_back(std::make_shared<const SVHealth::Update>(SVHealth::Update::AlmanacHealth, sv.slot, sv.health));
}
void AddHealth(Healths&, const Almanac::Iono&) {}
void AddHealth(Healths&, const Almanac::UTC&) {}
void AddHealth(Healths& healths, const Almanac& almanac) {
    for (int i = 0; i < almanac.NmrSV(); ++i) AddHealth(healths, almanac.GetSV(i));
    for (int i = 0; i < almanac.NmrGlonassSV(); ++i) AddHealth(healths, almanac.GetGlonassSV(i));
}

template <class Record>
Healths HealthsOf(const Record& record) {
    Healths healths;
    AddHealth(healths, record);
    return healths;
}

}  // namespace

const Corvane::Ident AlmanacStore::ID("Almanac Store");
const AlmanacStore::Factory AlmanacStore::TheFactory;

AlmanacStore::Factory::Factory()
    : Corvane::Factory("Almanac", "Almanac",
                       Text()
                           .AddParagraph("Almanac", Text::Emphasised)
                           .AddEndOfLine()
                           .Add("Store for an Almanac, location of almanac calculation objects."),
                       CreateStore) {}

AlmanacStore::AlmanacStore(const Param<ParamList>&)
    : Component(ID, CycleMS, &TheFactory),
      file_(std::make_unique<AlmanacFile>()),
      almanacLink_(*this, GNSSLink::AlmanacType, LinkName),
      updateLink_(*this, GNSSLink::AlmanacUpdateType, LinkName),
      calculatorLink_(*this, GNSSLink::AlmanacCalcType, LinkName),
      healthLink_(*this, SVHealth::Update::Type),
      almanacResponse_(*this, GNSSLink::FullAlmanacType, &AlmanacStore::OnFullAlmanacUpdate),
      updateResponse_(*this, GNSSLink::AlmanacUpdateType, &AlmanacStore::OnAlmanacUpdate) {
    almanacLink_.Set(Almanac());
    CalculatorInit();
}

AlmanacStore::~AlmanacStore() = default;

void AlmanacStore::OnJoin() {
    logPoint_.Connect(ID, GNSSLink::AlmanacType, [this](Corvane::Stream::Output& output) {
        if (!almanacLink_.Get()->Write(output)) throw Corvane::Stream::Error("an almanac that has no stream form");
    });
}

void AlmanacStore::ReplayChange(bool) {}

void AlmanacStore::RootPathChange(const String& root, bool save) {
    const WriteLock turn(*this);
    const String path = root + ".alm";
    LinkBase::Lock lock(almanacLink_);
    Almanac almanac = *almanacLink_.Get();
    if (save) {
        lock.Close();
        file_->SaveTo(path, almanac);
        return;
    }
    if (!file_->Load(path, almanac)) return;
    auto loaded = std::make_shared<const Almanac>(almanac);
    const Healths healths = HealthsOf(almanac);
    const auto update = std::make_shared<const Almanac::Update>(Almanac::Update::Full);
    almanacLink_.Set(std::move(loaded));
    TryAll([&] { logPoint_.Refresh(); }, [&] { HealthUpdate(healths); }, [&] { updateLink_.Send(update); },
           [&] {
               lock.Close();
               CalculatorUpdate(almanac);
           },
           [&] { SetUTCParam(almanac.GetUTC()); });
}

void AlmanacStore::Clear() {
    const WriteLock turn(*this);
    const Almanac almanac;
    LinkBase::Lock lock(almanacLink_);
    almanacLink_.Set(almanac);
    lock.Close();
    CalculatorUpdate(almanac);
}

void AlmanacStore::OnAlmanacUpdate(const Almanac::Update& update) {
    if (const auto* sv = update.GetSV()) OnAlmanacSV(*sv);
    if (const auto* iono = update.GetIono()) OnAlmanacIono(*iono);
    if (const auto* utc = update.GetUTC()) OnAlmanacUTC(*utc);
    if (const auto* sv = update.GetGlonassSV()) OnAlmanacGlonassSV(*sv);
}

void AlmanacStore::OnFullAlmanacUpdate(const Almanac& almanac) {
    const WriteLock turn(*this);
    auto replaced = std::make_shared<const Almanac>(almanac);
    const Healths healths = HealthsOf(almanac);
    LinkBase::Lock lock(almanacLink_);
    almanacLink_.Set(std::move(replaced));
    TryAll([&] { HealthUpdate(healths); },
           [&] {
               lock.Close();
               CalculatorUpdate(almanac);
           },
           [&] { SetUTCParam(almanac.GetUTC()); }, [&] { SaveAlmanac(almanac); });
}

void AlmanacStore::OnAlmanacSV(const Almanac::SV& sv) {
    Accept(
        sv, &Almanac::UpdateSV, [this](const Almanac& changed) { SaveAlmanac(changed); },
        [this](const Almanac&) { logPoint_.Refresh(); });
}

void AlmanacStore::OnAlmanacGlonassSV(const Almanac::GlonassSV& sv) {
    Accept(
        sv, &Almanac::UpdateGlonassSV, [this](const Almanac& changed) { SaveAlmanac(changed); },
        [this](const Almanac&) { logPoint_.Refresh(); });
}

void AlmanacStore::OnAlmanacIono(const Almanac::Iono& iono) {
    Accept(iono, &Almanac::UpdateIono, [this](const Almanac& changed) { SaveAlmanac(changed); });
}

void AlmanacStore::OnAlmanacUTC(const Almanac::UTC& utc) {
    Accept(
        utc, &Almanac::UpdateUTC, [&](const Almanac&) { SetUTCParam(utc); },
        [this](const Almanac& changed) { SaveAlmanac(changed); });
}

// All is made before the first of it is seen. The steps are those that come after the calculator.
template <class Record, class... Steps>
void AlmanacStore::Accept(const Record& record, bool (Almanac::*update)(const Record&), const Steps&... steps) {
    const WriteLock turn(*this);
    LinkBase::Lock lock(almanacLink_);
    Almanac almanac = *almanacLink_.Get();
    if (!(almanac.*update)(record)) return;
    auto changed = std::make_shared<const Almanac>(almanac);
    const Healths healths = HealthsOf(record);
    const auto message = std::make_shared<const Almanac::Update>(record);
    almanacLink_.Set(std::move(changed));
    TryAll([&] { HealthUpdate(healths); }, [&] { updateLink_.Send(message); },
           [&] {
               lock.Close();
               CalculatorUpdate(almanac);
           },
           [&] { steps(almanac); }...);
}

void AlmanacStore::SaveAlmanac(const Almanac& almanac) {
    file_->Save(almanac);
}

void AlmanacStore::CalculatorInit() {
    calculator_ = std::make_shared<Almanac::Calculator>(*almanacLink_.Get());
    calculatorLink_.Set(calculator_);
}

void AlmanacStore::CalculatorUpdate(const Almanac& almanac) {
    LinkBase::Lock lock(calculatorLink_);
    if (!calculator_->RefersTo(almanac)) calculator_->SetAlmanac(almanac);
    lock.Close();
    if (calculatorLink_.HasSubscribers()) calculatorLink_.Notify();
}

void AlmanacStore::HealthUpdate(const Healths& healths) {
    for (const auto& health : healths) healthLink_.Send(health);
}

}  // namespace GNSS

#include "gnss/store/AlmanacStore.h"

#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/platform/Text.h"
#include "gnss/store/AlmanacFile.h"
#include "gnss/store/GNSSLink.h"
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

// The leap second takes effect at the end of day DN, counted in UTC.
void SetUTCParam(const Almanac::UTC& utc) {
    GPSTime::SetUTCParam(GPSTime(utc.WNLSF, utc.DN * GPSTime::SecsInDay), utc.DtLS, utc.DtLSF);
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
      almanacResponse_(*this, GNSSLink::AlmanacType, &AlmanacStore::OnFullAlmanacUpdate),
      updateResponse_(*this, GNSSLink::AlmanacUpdateType, &AlmanacStore::OnAlmanacUpdate) {
    almanacLink_.Set(Almanac());
    CalculatorInit();
}

AlmanacStore::~AlmanacStore() = default;

void AlmanacStore::OnJoin() {
    logPoint_.Connect(ID, GNSSLink::AlmanacType,
                      [this](Corvane::Stream::Output& output) { almanacLink_.Get()->Write(output); });
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
    almanacLink_.Set(almanac);
    logPoint_.Refresh();
    HealthUpdate(almanac);
    updateLink_.Send(Almanac::Update(Almanac::Update::Full));
    lock.Close();
    CalculatorUpdate(almanac);
    SetUTCParam(almanac.GetUTC());
}

void AlmanacStore::Clear() {
    const WriteLock turn(*this);
    const Almanac almanac;
    LinkBase::Lock lock(almanacLink_);
    almanacLink_.Set(almanac);
    HealthUpdate(almanac);
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
    LinkBase::Lock lock(almanacLink_);
    almanacLink_.Set(almanac);
    HealthUpdate(almanac);
    lock.Close();
    CalculatorUpdate(almanac);
    SetUTCParam(almanac.GetUTC());
    SaveAlmanac(almanac);
}

void AlmanacStore::OnAlmanacSV(const Almanac::SV& sv) {
    AcceptSV(sv, &Almanac::UpdateSV);
}

void AlmanacStore::OnAlmanacGlonassSV(const Almanac::GlonassSV& sv) {
    AcceptSV(sv, &Almanac::UpdateGlonassSV);
}

void AlmanacStore::OnAlmanacIono(const Almanac::Iono& iono) {
    const WriteLock turn(*this);
    if (Accept(iono, &Almanac::UpdateIono)) SaveAlmanac(*almanacLink_.Get());
}

void AlmanacStore::OnAlmanacUTC(const Almanac::UTC& utc) {
    const WriteLock turn(*this);
    if (!Accept(utc, &Almanac::UpdateUTC)) return;
    SetUTCParam(utc);
    SaveAlmanac(*almanacLink_.Get());
}

template <class Record>
void AlmanacStore::AcceptSV(const Record& record, bool (Almanac::*update)(const Record&)) {
    const WriteLock turn(*this);
    if (!Accept(record, update)) return;
    SaveAlmanac(*almanacLink_.Get());
    logPoint_.Refresh();
}

// The steps that all kinds of records have in common: up to the calculator.
template <class Record>
bool AlmanacStore::Accept(const Record& record, bool (Almanac::*update)(const Record&)) {
    LinkBase::Lock lock(almanacLink_);
    Almanac almanac = *almanacLink_.Get();
    if (!(almanac.*update)(record)) return false;
    almanacLink_.Set(almanac);
    HealthUpdate(record);
    if (updateLink_.HasSubscribers()) updateLink_.Send(Almanac::Update(record));
    lock.Close();
    CalculatorUpdate(almanac);
    return true;
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

void AlmanacStore::HealthUpdate(const Almanac& almanac) {
    for (int i = 0; i < almanac.NmrSV(); ++i) HealthUpdate(almanac.GetSV(i));
    for (int i = 0; i < almanac.NmrGlonassSV(); ++i) HealthUpdate(almanac.GetGlonassSV(i));
}

void AlmanacStore::HealthUpdate(const Almanac::SV& sv) {
    healthLink_.Send(SVHealth::Update(SVHealth::Update::AlmanacHealth, sv.prn, sv.health));
}

void AlmanacStore::HealthUpdate(const Almanac::GlonassSV& sv) {
    healthLink_.Send(SVHealth::Update(SVHealth::Update::AlmanacHealth, sv.slot, sv.health));
}

}  // namespace GNSS

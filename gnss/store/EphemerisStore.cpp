#include "gnss/store/EphemerisStore.h"

#include "gnss/ephemeris/GPSEphemeris.h"
#include "gnss/ephemeris/GlonassEphemeris.h"
#include "gnss/ephemeris/IODEData.h"
#include "gnss/ephemeris/TbData.h"
#include "gnss/store/GPSEphemStore.h"
#include "gnss/store/GlonassEphemStore.h"

namespace GNSS {

using Corvane::LinkBase;

namespace {

const char* const OutputName = "Ephemeris";

template <typename System>
std::shared_ptr<Corvane::Component> Create(const Corvane::Param<Corvane::ParamList>& params) {
    return std::make_shared<EphemerisStore<System>>(params);
}

}  // namespace

template <typename System>
const Corvane::Ident EphemerisStore<System>::ID(Rules::Name);
template <typename System>
const Corvane::Factory EphemerisStore<System>::TheFactory(Rules::Name, Rules::Name, Corvane::Text(Rules::Description),
                                                          &Create<System>);

template <typename System>
EphemerisStore<System>::EphemerisStore(const Corvane::Param<Corvane::ParamList>&)
    : Component(Corvane::Ident(Rules::Name), CycleMS, &TheFactory),
      dataAge_(Rules::Name),
      healthLink_(*this, SVHealth::Update::Type, OutputName),
      historyLink_(*this, Rules::HistoryType(), OutputName, Rules::HistoryIndex),
      calculatorLink_(*this, Rules::CalcType(), OutputName, Rules::CalcIndex),
      dataAgeLink_(*this, Rules::DataAgeType(), OutputName, Rules::DataAgeIndex),
      ephemResponse_(*this, Rules::RecordType(), &EphemerisStore::OnEphem) {
    historyLink_.Set(history_);
    calculatorLink_.Set(calculator_);
    dataAgeLink_.Set(dataAge_);
}

template <typename System>
EphemerisStore<System>::~EphemerisStore() = default;

template <typename System>
void EphemerisStore<System>::OnJoin() {
    logPoint_.Connect(GetIdent(), Rules::HistoryType());
    if (!fullEphemResponse_) fullEphemResponse_.emplace(*this, Rules::FullType(), &EphemerisStore::OnFullEphem);
}

template <typename System>
void EphemerisStore<System>::OnEphem(const Record& record) {
    const WriteLock turn(*this);
    LinkBase::Lock historyLock(historyLink_);
    if (!history_.Update(record)) return;
    const auto changed = std::make_shared<const History>(history_);
    historyLock.Close();

    SendHealth(History::Rules::GetId(record), record);
    PublishHistory(changed);
    InstallInCalculator(changed);
    UpdateDataAge();
}

template <typename System>
void EphemerisStore<System>::OnFullEphem(const History& history) {
    const WriteLock turn(*this);
    const auto replaced = std::make_shared<const History>(history);
    LinkBase::Lock historyLock(historyLink_);
    history_ = *replaced;
    for (int number = Id::Min; number <= Id::Max; ++number) {
        if (const auto* sv = replaced->FindSV(number)) SendHealth(number, *sv->GetEphem(0));
    }
    PublishHistory(replaced);
    historyLock.Close();

    InstallInCalculator(replaced);
}

template <typename System>
void EphemerisStore<System>::Clear() {
    const WriteLock turn(*this);
    {
        const LinkBase::Lock lock(historyLink_);
        history_.Reset();
        historyLink_.Publish(history_);
    }
    {
        const LinkBase::Lock lock(calculatorLink_);
        calculator_.Reset();
        calculatorLink_.Notify();
    }
    const LinkBase::Lock lock(dataAgeLink_);
    dataAge_.Reset();
    dataAgeLink_.Publish(dataAge_);
}

template <typename System>
void EphemerisStore<System>::SendHealth(const Id& id, const Record& record) {
    healthLink_.Send(SVHealth::Update(SVHealth::Update::EphemerisHealth, id, Rules::GetHealth(record)));
}

template <typename System>
void EphemerisStore<System>::PublishHistory(const HistoryPtr& history) {
    historyLink_.Publish(history);
    logPoint_.Log([&history](Corvane::Stream::Output& output) {
        if (!history->Write(output)) throw Corvane::Stream::Error("a history that has no stream form");
    });
}

template <typename System>
void EphemerisStore<System>::InstallInCalculator(const HistoryPtr& history) {
    const LinkBase::Lock lock(calculatorLink_);
    calculator_.SetImplementation(history);
    calculatorLink_.Notify();
}

template <typename System>
void EphemerisStore<System>::UpdateDataAge() {
    const WriteLock turn(*this);
    const LinkBase::Lock lock(historyLink_);
    dataAge_.UpdateEphem(history_);
    dataAgeLink_.Publish(dataAge_);
}

template class EphemerisStore<GPSSystem>;
template class EphemerisStore<GlonassSystem>;

}  // namespace GNSS

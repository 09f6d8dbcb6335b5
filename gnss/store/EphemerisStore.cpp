#include "gnss/store/EphemerisStore.h"

#include "gnss/ephemeris/GPSEphemeris.h"
#include "gnss/ephemeris/GlonassEphemeris.h"
#include "gnss/ephemeris/IODEData.h"
#include "gnss/ephemeris/TbData.h"
#include "gnss/store/GPSEphemStore.h"
#include "gnss/store/GlonassEphemStore.h"
#include "gnss/store/TryAll.h"

namespace GNSS {

using Corvane::LinkBase;

namespace {

const char* const OutputName = "Ephemeris";

template <typename System>
std::shared_ptr<Corvane::Component> Create(const Corvane::Param<Corvane::ParamList>& params) {
    return std::make_shared<EphemerisStore<System>>(params);
}

// Where not all of the subscribers can be told, the value is kept all the same.
template <typename T>
void PublishOrKeep(Corvane::ManagedLink<T>& link, const std::shared_ptr<const T>& value) {
    try {
        link.Publish(value);
    } catch (...) {
        link.Set(value);
        throw;
    }
}

}  // namespace

template <typename System>
const Corvane::Ident EphemerisStore<System>::ID(Rules::Name);
template <typename System>
const typename EphemerisStore<System>::Factory EphemerisStore<System>::TheFactory;

template <typename System>
EphemerisStore<System>::Factory::Factory()
    : Corvane::Factory(Rules::Name, Rules::Name, Corvane::Text(Rules::Description), &Create<System>) {}

template <typename System>
EphemerisStore<System>::EphemerisStore(const Corvane::Param<Corvane::ParamList>&)
    : Component(Corvane::Ident(Rules::Name), CycleMS, &TheFactory),
      healthLink_(*this, SVHealth::Update::Type, OutputName),
      historyLink_(*this, Rules::HistoryType(), OutputName, Rules::HistoryIndex),
      calculatorLink_(*this, Rules::CalcType(), OutputName, Rules::CalcIndex),
      dataAgeLink_(*this, Rules::DataAgeType(), OutputName, Rules::DataAgeIndex),
      ephemResponse_(*this, Rules::RecordType(), &EphemerisStore::OnEphem) {
    historyLink_.Set(History());
    calculatorLink_.Set(calculator_);
    dataAgeLink_.Set(Ages(Rules::Name));
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
    // All is made before the first of it is seen.
    const auto changed = std::make_shared<History>(*historyLink_.Get());
    if (!changed->Update(record)) return;
    Healths health;
    AddHealth(health, History::Rules::GetId(record), record);
    const AgesPtr ages = MakeDataAge(*changed);
    historyLock.Close();

    TryAll([&] { SendHealth(health); }, [&] { PublishHistory(changed); }, [&] { InstallInCalculator(changed); },
           [&] { PublishDataAge(ages); });
}

template <typename System>
void EphemerisStore<System>::OnFullEphem(const History& history) {
    const WriteLock turn(*this);
    const auto replaced = std::make_shared<const History>(history);
    Healths healths;
    for (int number = Id::Min; number <= Id::Max; ++number) {
        if (const auto* sv = replaced->FindSV(number)) AddHealth(healths, number, *sv->GetEphem(0));
    }
    LinkBase::Lock historyLock(historyLink_);
    TryAll([&] { SendHealth(healths); }, [&] { PublishHistory(replaced); },
           [&] {
               historyLock.Close();
               InstallInCalculator(replaced);
           });
}

template <typename System>
void EphemerisStore<System>::Clear() {
    const WriteLock turn(*this);
    const auto history = std::make_shared<const History>();
    const auto ages = std::make_shared<const Ages>(Rules::Name);
    TryAll(
        [&] {
            const LinkBase::Lock lock(historyLink_);
            PublishOrKeep(historyLink_, history);
        },
        [&] {
            const LinkBase::Lock lock(calculatorLink_);
            calculator_.Reset();
            calculatorLink_.Notify();
        },
        [&] {
            const LinkBase::Lock lock(dataAgeLink_);
            PublishDataAge(ages);
        });
}

template <typename System>
void EphemerisStore<System>::AddHealth(Healths& healths, const Id& id, const Record& record) {
    healths.push_back(
        std::make_shared<const SVHealth::Update>(SVHealth::Update::EphemerisHealth, id, Rules::GetHealth(record)));
}

template <typename System>
void EphemerisStore<System>::SendHealth(const Healths& healths) {
    for (const auto& health : healths) healthLink_.Send(health);
}

template <typename System>
void EphemerisStore<System>::PublishHistory(const HistoryPtr& history) {
    TryAll([&] { PublishOrKeep(historyLink_, history); },
           [&] {
               logPoint_.Log([&history](Corvane::Stream::Output& output) {
                   if (!history->Write(output)) throw Corvane::Stream::Error("a history that has no stream form");
               });
           });
}

template <typename System>
void EphemerisStore<System>::InstallInCalculator(const HistoryPtr& history) {
    const LinkBase::Lock lock(calculatorLink_);
    calculator_.SetImplementation(history);
    calculatorLink_.Notify();
}

template <typename System>
typename EphemerisStore<System>::AgesPtr EphemerisStore<System>::MakeDataAge(const History& history) const {
    auto ages = std::make_shared<Ages>(*dataAgeLink_.Get());
    ages->UpdateEphem(history);
    return ages;
}

template <typename System>
void EphemerisStore<System>::PublishDataAge(const AgesPtr& ages) {
    PublishOrKeep(dataAgeLink_, ages);
}

template <typename System>
void EphemerisStore<System>::UpdateDataAge() {
    const WriteLock turn(*this);
    const LinkBase::Lock lock(historyLink_);
    PublishDataAge(MakeDataAge(*historyLink_.Get()));
}

template class EphemerisStore<GPSSystem>;
template class EphemerisStore<GlonassSystem>;

}  // namespace GNSS

// EphemerisStore: the component that keeps the broadcast ephemerides of a system; written once for GPSEphemStore and
// Glonass::EphemStore.
#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "gnss/ephemeris/DataAge.h"
#include "gnss/ephemeris/EphemerisCalculator.h"
#include "gnss/ephemeris/EphemerisHistory.h"
#include "gnss/fwd.h"
#include "gnss/health/SVHealthUpdate.h"
#include "gnss/platform/Component.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Factory.h"
#include "gnss/platform/Link.h"
#include "gnss/platform/LogPoint.h"
#include "gnss/platform/Param.h"
#include "gnss/platform/Response.h"
#include "gnss/platform/Symbol.h"
#include "gnss/store/EphemerisStoreRules.h"

namespace GNSS {

// Takes decoded records one at a time, adds each to its satellite's history and publishes what has changed. It also
// takes whole histories, of a file or another store. The link types stand in GNSSLink.
//
// Inputs, by type:
//   a record           handled by OnEphem
//   a whole history    handled by OnFullEphem; connected from OnJoin on. Its type is not the one under which histories
//                      are published, so that two stores in one tree do not feed each other without an end.
// Outputs. All but the health are kept, so that who joins late gets the state of now, which may be an empty one:
//   the history        "Ephemeris", GPS index 7, GLONASS index 9. Shares the records of unchanged satellites with the
//                      history before it.
//   the calculator     "Ephemeris", GPS index 8, GLONASS index 10. One for the life of the store: a handle once taken
//                      answers from each new history.
//   the data age       "Ephemeris", on the null index; the record's name is the store's
//   health             SVHealth::Update::Type, messages of mode EphemerisHealth
// Every history that is accepted goes to the log point, under the store's identifier and the history's type, in the
// form of EphemerisHistory::Write.
//
// Subscribers see the outputs change in the order of the steps told below, and what a step does not name is not
// published. They share what is published; nobody changes it. What was delivered to who joined late may be older than
// what Response::Get answers, which is the state of now. Nothing is published of a record that the history refuses;
// when memory runs out after it was accepted, each further step is tried all the same.
//
// The store's links are each locked for a step at a time, the history's first; it is let go before the calculator's is
// taken. The operations below take the store's turn, which a handler has anyway: not for inside another component's
// handler, nor under a link's lock. Cycle, Run, OnIndex and ReplayChange do nothing: who changes to a log of another
// time calls Clear.
template <typename System>
class GNSS_EXPORT EphemerisStore : public Corvane::Component {
public:
    using Rules = EphemerisStoreRules<System>;
    using Id = SatelliteId<System>;
    using History = EphemerisHistory<System>;
    using Record = typename History::Record;
    using Calc = EphemerisCalculator<System>;
    using Ages = DataAge<System>;

    // Identifier of the store, by which the root finds it.
    static const Corvane::Ident ID;
    // Period of the cycle, milliseconds.
    static constexpr std::int32_t CycleMS = 100;
    class Factory;
    static const Factory TheFactory;

    explicit EphemerisStore(const Corvane::Param<Corvane::ParamList>& params);
    ~EphemerisStore() override;

    // Connects the log point, and takes whole histories from now on.
    void OnJoin() override;
    // Empties and publishes the history, the calculator and the data age, in this order. Nothing is logged.
    void Clear() override;

    // Adds a record. When the history has changed: the health of its satellite, the history (which is then logged), the
    // calculator, the data age.
    void OnEphem(const Record& record);
    // Replaces the history: the health of every satellite with records, by its newest; the history (which is then
    // logged); the calculator. The data age is published with the next record; intended.
    void OnFullEphem(const History& history);

    // Index of the data-age output.
    [[nodiscard]] static Corvane::Index GetIODEIndex() requires(std::same_as<Id, PRN>) { return Rules::DataAgeIndex; }
    [[nodiscard]] static Corvane::Index GetTbIndex() requires(std::same_as<Id, Glonass::Slot>) {
        return Rules::DataAgeIndex;
    }
    // Rebuilds the data age from the history and publishes it, changed or not.
    void UpdateIODE() requires(std::same_as<Id, PRN>) { UpdateDataAge(); }
    void UpdateTb() requires(std::same_as<Id, Glonass::Slot>) { UpdateDataAge(); }

private:
    using HistoryPtr = std::shared_ptr<const History>;

    using AgesPtr = std::shared_ptr<const Ages>;
    using Healths = std::vector<std::shared_ptr<const SVHealth::Update>>;

    static void AddHealth(Healths& healths, const Id& id, const Record& record);
    void SendHealth(const Healths& healths);
    void PublishHistory(const HistoryPtr& history);
    void InstallInCalculator(const HistoryPtr& history);
    [[nodiscard]] AgesPtr MakeDataAge(const History& history) const;
    void PublishDataAge(const AgesPtr& ages);
    void UpdateDataAge();

    // A handle on the one that is published. The history and the data age that the store holds are those that their
    // links keep, which are never empty and are replaced in the store's turn.
    Calc calculator_;

    Corvane::Link<SVHealth::Update> healthLink_;
    Corvane::ManagedLink<History> historyLink_;
    Corvane::ManagedLink<Calc> calculatorLink_;
    Corvane::ManagedLink<Ages> dataAgeLink_;
    Corvane::LogDataControl::GenPoint logPoint_;
    Corvane::Response<Record> ephemResponse_;
    std::optional<Corvane::Response<History>> fullEphemResponse_;
};

// Makes the store under its name. Finds no parameter of its own in the list that it is given.
template <typename System>
class GNSS_EXPORT EphemerisStore<System>::Factory : public Corvane::Factory {
public:
    Factory();
};

}  // namespace GNSS

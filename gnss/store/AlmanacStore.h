// GNSS::AlmanacStore: the component that keeps the live almanac, in memory and on the disk.
#pragma once

#include <cstdint>
#include <memory>

#include "gnss/almanac/Almanac.h"
#include "gnss/almanac/AlmanacCalculator.h"
#include "gnss/almanac/AlmanacUpdate.h"
#include "gnss/health/SVHealth.h"
#include "gnss/health/SVHealthUpdate.h"
#include "gnss/platform/Component.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Factory.h"
#include "gnss/platform/Link.h"
#include "gnss/platform/LogPoint.h"
#include "gnss/platform/Param.h"
#include "gnss/platform/Response.h"
#include "gnss/platform/String.h"
#include "gnss/platform/Symbol.h"

namespace GNSS {

class AlmanacFile;

// Hears whole almanacs (GNSSLink::AlmanacType) and updates (AlmanacUpdateType) from all others of its tree, takes what
// is newer than what it has, and publishes, in the order in which each function says,
//   the almanac             kept on a link named "Almanac"; replaced without telling its subscribers, whom an update
//                           tells to look (they find it by Response::Get; who joins gets it)
//   its accepted updates    on a link named "Almanac"
//   the calculator          kept on a link named "Almanac": one object for the store's whole life, which refers to one
//                           almanac after the other
//   the satellites' health  in updates of mode AlmanacHealth
// Who wants these names the link, so as not to hear what others send to the store under the same type.
//
// An almanac that has been published never changes; the next one shares the records of all unchanged satellites. A tree
// has one almanac store: two would take each other's whole almanacs.
//
// Everything public may be called from any thread, but not inside another component's handler or under a link's lock;
// handlers and calls follow one another. The almanac is exchanged, and its health and update are published, under the
// almanac link's lock, under which RootPathChange also reads the file. It is released before the calculator is told and
// anything is saved: whoever computes never waits for the disk.
//
// The file is "<root>.alm", see AlmanacFile.h for how it is kept from harm. Until RootPathChange there is none. What
// could not be saved is tried again at the next change and when the store is destroyed.
class GNSS_EXPORT AlmanacStore : public Corvane::Component {
public:
    class Factory;

    static const Corvane::Ident ID;
    static constexpr std::int32_t CycleMS = 100;
    static const Factory TheFactory;

    // With an empty almanac. There are no parameters yet.
    explicit AlmanacStore(const Corvane::Param<Corvane::ParamList>& params);
    ~AlmanacStore() override;

    // Connects the log point, which is fed under the type of the almanac in the form of its file.
    void OnJoin() override;
    void Cycle() override { CheckQueue(); }
    // Nothing to do: data of a replay are merged like others.
    void Run() override {}
    void ReplayChange(bool isReplay) override;
    // Takes root + ".alm", as it stands, for the path. `save`: writes the almanac there. Otherwise reads it, and then
    // feeds the log, publishes the health of all satellites, a full update and the calculator, and hands the leap
    // second over; a file that is missing or refused changes and publishes nothing.
    void RootPathChange(const Corvane::String& root, bool save) override;
    // Back to a fresh almanac, of which there is no health to publish, and publishes the calculator. The file and the
    // leap-second rule stay as they are.
    void Clear() override;

    // The record of an update goes to the function of its kind; an update without one is ignored.
    void OnAlmanacUpdate(const Almanac::Update& update);
    // Takes the almanac, whatever is older in it, and publishes the health of all satellites and the calculator, hands
    // the leap second over and saves. No update is published.
    void OnFullAlmanacUpdate(const Almanac& almanac);
    // Each takes a record by the rules of Almanac. One that is refused changes and publishes nothing.
    //
    // Then publishes the satellite's health, the update and the calculator, saves, and feeds the log.
    void OnAlmanacSV(const Almanac::SV& sv);
    void OnAlmanacGlonassSV(const Almanac::GlonassSV& sv);
    // Then publishes the update and the calculator, and saves.
    void OnAlmanacIono(const Almanac::Iono& iono);
    // Then publishes the update and the calculator, hands the leap second over, and saves.
    void OnAlmanacUTC(const Almanac::UTC& utc);

private:
    template <class Record>
    bool Accept(const Record& record, bool (Almanac::*update)(const Record&));
    template <class Record>
    void AcceptSV(const Record& record, bool (Almanac::*update)(const Record&));
    void SaveAlmanac(const Almanac& almanac);
    void CalculatorInit();
    void CalculatorUpdate(const Almanac& almanac);
    void HealthUpdate(const Almanac& almanac);
    // Of one record, where its kind has a health.
    void HealthUpdate(const Almanac::SV& sv);
    void HealthUpdate(const Almanac::GlonassSV& sv);
    void HealthUpdate(const Almanac::Iono&) {}
    void HealthUpdate(const Almanac::UTC&) {}

    const std::unique_ptr<AlmanacFile> file_;  // used in the component's turn
    std::shared_ptr<Almanac::Calculator> calculator_;
    Corvane::ManagedLink<Almanac> almanacLink_;  // never empty; exchanged under its lock
    Corvane::Link<Almanac::Update> updateLink_;
    Corvane::ManagedLink<Almanac::Calculator> calculatorLink_;
    Corvane::Link<SVHealth::Update> healthLink_;
    Corvane::LogDataControl::GenPoint logPoint_;
    Corvane::Response<Almanac> almanacResponse_;
    Corvane::Response<Almanac::Update> updateResponse_;
};

// Makes the store under the name "Almanac".
class GNSS_EXPORT AlmanacStore::Factory : public Corvane::Factory {
public:
    Factory();
};

}  // namespace GNSS

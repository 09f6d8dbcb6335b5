// StoreWatch: a component that listens to all that the stores publish, in the order in which they do.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "gnss/almanac/Almanac.h"
#include "gnss/almanac/AlmanacCalculator.h"
#include "gnss/almanac/AlmanacUpdate.h"
#include "gnss/ephemeris/GPSEphemeris.h"
#include "gnss/ephemeris/GlonassEphemeris.h"
#include "gnss/ephemeris/IODEData.h"
#include "gnss/ephemeris/TbData.h"
#include "gnss/health/SVHealthSet.h"
#include "gnss/platform/Component.h"
#include "gnss/platform/Response.h"

namespace Host {

// One publication of a store.
struct StoreChange {
    // "health", "almanac update", "almanac calculator", and for each system, as "GPS history": "history", "calculator",
    // "data age".
    std::string what;
    // Whom it concerns: "G05". Empty for a calculator, and where a history or data age differs from the one before in
    // several satellites or in none.
    std::string satellite;
    // What is new about it, for people: "ephemeris 0", "IODE 33, 2 records", "UTC", "9 satellites", "no change".
    std::string detail;
};

// Keeps the newest of everything, and the satellites' health as the updates make it. Read by the thread that cycles it.
class StoreWatch : public Corvane::Component {
public:
    using Take = std::function<void(const StoreChange&)>;
    static constexpr std::int32_t CycleMS = 100;

    StoreWatch();

    // Whom each publication is told to as it arrives; nobody for an empty one.
    void SetTake(Take take) { take_ = std::move(take); }

    // What a system's store published last; null and empty before it has.
    template <typename System>
    struct Held {
        std::shared_ptr<const GNSS::EphemerisHistory<System>> history;
        std::shared_ptr<const GNSS::EphemerisCalculator<System>> calculator;
        GNSS::DataAge<System> ages;
    };
    [[nodiscard]] const Held<GNSS::GPSSystem>& GPS() const { return gps_; }
    [[nodiscard]] const Held<GNSS::GlonassSystem>& Glonass() const { return glonass_; }
    // The almanac of now, ahead of its updates that still wait; null while no store is joined.
    [[nodiscard]] std::shared_ptr<const GNSS::Almanac> GetAlmanac() const { return almanac_.Get(); }
    [[nodiscard]] const std::shared_ptr<const GNSS::Almanac::Calculator>& GetCalculator() const { return calculator_; }
    [[nodiscard]] const GNSS::SVHealth::Set& GetHealth() const { return health_; }

private:
    template <typename System>
    [[nodiscard]] Held<System>& Of();
    void Tell(std::string what, std::string satellite, std::string detail) const;

    void OnHealth(const GNSS::SVHealth::Update& update);
    // The almanac itself is looked at when it is asked for.
    void OnAlmanac(const GNSS::Almanac& /*almanac*/) {}
    void OnAlmanacUpdate(const GNSS::Almanac::Update& update);
    void OnAlmanacCalculator(const std::shared_ptr<const GNSS::Almanac::Calculator>& calculator);
    template <typename System>
    void OnHistory(const std::shared_ptr<const GNSS::EphemerisHistory<System>>& history);
    template <typename System>
    void OnCalculator(const std::shared_ptr<const GNSS::EphemerisCalculator<System>>& calculator);
    template <typename System>
    void OnAges(const GNSS::DataAge<System>& ages);

    // The outputs of the store of a system.
    template <typename System>
    struct Inputs {
        explicit Inputs(StoreWatch& watch);
        Corvane::Response<GNSS::EphemerisHistory<System>> history;
        Corvane::Response<GNSS::EphemerisCalculator<System>> calculator;
        Corvane::Response<GNSS::DataAge<System>> ages;
    };

    Take take_;
    GNSS::SVHealth::Set health_;
    std::shared_ptr<const GNSS::Almanac::Calculator> calculator_;
    Held<GNSS::GPSSystem> gps_;
    Held<GNSS::GlonassSystem> glonass_;

    Corvane::Response<GNSS::SVHealth::Update> healthInput_;
    Corvane::Response<GNSS::Almanac> almanac_;
    Corvane::Response<GNSS::Almanac::Update> updateInput_;
    Corvane::Response<GNSS::Almanac::Calculator> calculatorInput_;
    Inputs<GNSS::GPSSystem> gpsInputs_;
    Inputs<GNSS::GlonassSystem> glonassInputs_;
};

}  // namespace Host

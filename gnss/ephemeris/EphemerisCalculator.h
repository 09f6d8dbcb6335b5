// EphemerisCalculator: satellite positions from whatever ephemerides are in force; written once for GPSEphemerisCalc
// and Glonass::EphemerisCalc.
#pragma once

#include <memory>

#include "gnss/ephemeris/EphemerisRules.h"
#include "gnss/fwd.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Lock.h"
#include "gnss/time/GPSTime.h"

namespace GNSS {

// A handle on a calculator: what components hold to ask for positions, while a store installs one history after the
// other. All copies of a handle ask, and change, the same calculator. Without an implementation every answer is false.
//
// Safe to use from any thread, also while another one installs or resets: each answer comes from one whole
// implementation, which lives until the last answer of it is given. (Assigning to a handle is for its owner, as with
// any value.) Who needs several answers from one and the same history takes GetImplementation and asks that.
//
// Times are GPS system time; positions are earth-fixed, in metres, as of the record that gave them. A false answer
// leaves the result reset, but for the health of a GPS record that is too old. Nothing is allocated.
template <typename System>
class GNSS_EXPORT EphemerisCalculator : public EphemerisRules<System>::CalculatorMembers {
public:
    using Rules = EphemerisRules<System>;
    using Id = typename Rules::Id;
    using Result = typename Rules::Result;

    class Implementation;

    EphemerisCalculator() = default;
    explicit EphemerisCalculator(std::shared_ptr<const Implementation> implementation);
    // Moving is sharing, too: a handle is never without a calculator.
    EphemerisCalculator(const EphemerisCalculator&) = default;
    EphemerisCalculator& operator=(const EphemerisCalculator&) = default;
    ~EphemerisCalculator() = default;

    // Installs a history (or what else can answer), for all handles of this calculator; null leaves it without one. It
    // must not be changed any more.
    void SetImplementation(std::shared_ptr<const Implementation> implementation);
    [[nodiscard]] std::shared_ptr<const Implementation> GetImplementation() const;
    // Takes the implementation away.
    void Reset() { SetImplementation(nullptr); }

    // By the satellite's newest record. True for an unhealthy satellite, with Result::valid false.
    bool CalculatePosn(const Id& id, const GPSTime& t, Result& result) const;
    // By the record before the newest, for measurements that still go with the previous issue.
    bool CalculateSecondPosn(const Id& id, const GPSTime& t, Result& result) const;
    // As CalculatePosn, but also false for an unhealthy satellite; a false answer leaves the result as it was.
    bool CalculateHealthyPosn(const Id& id, const GPSTime& t, Result& result) const;

private:
    struct Calculator {
        pt::mutex lock;  // held for the copying of the pointer only
        std::shared_ptr<const Implementation> implementation;
    };

    std::shared_ptr<Calculator> calculator_ = std::make_shared<Calculator>();
};

// What a calculator asks: a history, as a rule.
template <typename System>
class GNSS_EXPORT EphemerisCalculator<System>::Implementation {
public:
    virtual ~Implementation() = default;
    virtual bool CalculatePosn(const Id& id, const GPSTime& t, Result& result) const = 0;
    // False, unless a derived class knows better.
    virtual bool CalculateSecondPosn(const Id& id, const GPSTime& t, Result& result) const;

protected:
    Implementation() = default;
    Implementation(const Implementation&) = default;
    Implementation& operator=(const Implementation&) = default;
};

}  // namespace GNSS

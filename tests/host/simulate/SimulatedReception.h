// A simulated stream, decoded and fixed in this process.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "gnss/almanac/AlmanacCalculator.h"
#include "gnss/ephemeris/GPSEphemeris.h"
#include "gnss/ephemeris/GlonassEphemeris.h"
#include "host/fix/PositionFix.h"
#include "host/receiver/LeapRule.h"
#include "host/receiver/RecordMaker.h"
#include "host/receiver/UbxDecoder.h"
#include "host/simulate/Simulator.h"

namespace tests {

class SimulatedReception {
public:
    SimulatedReception(const Host::SimulatorSettings& settings, const Host::FixSettings& fix)
        : simulator_(settings), fix_(fix) {
        // The simulated ionosphere is that of a fresh almanac.
        inputs_.almanac = std::make_shared<GNSS::Almanac::Calculator>();
        inputs_.hasIonosphere = true;
    }

    // The fix of the next epoch; the truth is then that of the epoch.
    const Host::FixResult& Next() {
        std::string bytes;
        truth_ = simulator_.Next(bytes);
        leaps_.SetFor(truth_.time, truth_.leapSeconds);
        decoder_.Feed(bytes);
        return *result_;
    }
    [[nodiscard]] const Host::SimulatedTruth& GetTruth() const { return truth_; }

private:
    struct Records : Host::RecordSink {
        using RecordSink::OnRecord;
        explicit Records(SimulatedReception& owner) : owner_(owner) {}
        void OnRecord(const GNSS::GPSEphemeride& record) override {
            if (gps_->Update(record)) owner_.inputs_.gps.SetImplementation(gps_);
        }
        void OnRecord(const GNSS::Glonass::Ephemeride& record, std::optional<int> channel) override {
            if (channel) owner_.inputs_.channels.Set(record.slot, *channel);
            if (glonass_->Update(record)) owner_.inputs_.glonass.SetImplementation(glonass_);
        }

    private:
        SimulatedReception& owner_;
        std::shared_ptr<GNSS::GPSEphemeris> gps_ = std::make_shared<GNSS::GPSEphemeris>();
        std::shared_ptr<GNSS::Glonass::Ephemeris> glonass_ = std::make_shared<GNSS::Glonass::Ephemeris>();
    };
    struct Maker : Host::RecordMaker {
        Maker(SimulatedReception& owner, Host::RecordSink& sink) : RecordMaker(sink), owner_(owner) {}
        void OnMeasurements(const GNSS::MeasSet& set) override {
            owner_.result_ = &owner_.fix_.Compute(set, owner_.inputs_);
        }

    private:
        SimulatedReception& owner_;
    };

    Host::Simulator simulator_;
    Host::PositionFix fix_;
    Host::LeapRule leaps_;
    Host::FixInputs inputs_;
    Host::SimulatedTruth truth_;
    const Host::FixResult* result_ = nullptr;
    Records records_{*this};
    Maker maker_{*this, records_};
    Host::UbxDecoder decoder_{maker_};
};

}  // namespace tests

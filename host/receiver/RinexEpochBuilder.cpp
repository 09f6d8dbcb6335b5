#include "host/receiver/RinexEpochBuilder.h"

#include <cstddef>
#include <utility>

#include "host/receiver/RinexObservationValue.h"

namespace Host {

using GNSS::PRN;
using GNSS::Glonass::Slot;

namespace {

// The values of a signal.
struct Values {
    RinexObservationValue range, phase, doppler, snr;

    [[nodiscard]] bool IsAny() const { return range.isThere || phase.isThere || doppler.isThere || snr.isThere; }
    [[nodiscard]] bool Read(std::string_view line, const RinexObservationPlan::Signal& signal) {
        return range.Read(line, signal.range) && phase.Read(line, signal.phase) && doppler.Read(line, signal.doppler) &&
               snr.Read(line, signal.snr);
    }
};

}  // namespace

RinexEpochBuilder::RinexEpochBuilder() {
    for (int number = PRN::Min; number <= PRN::Max; ++number)
        gps_.at(static_cast<std::size_t>(number)) = GNSS::GPSMeas::SV(PRN(number));
    for (int number = Slot::Min; number <= Slot::Max; ++number)
        glonass_.at(static_cast<std::size_t>(number)) = GNSS::Glonass::Measurement::SV(Slot(number));
}

void RinexEpochBuilder::Begin(const GNSS::GPSTime& time, bool isAfterPowerFailure) {
    set_ = GNSS::MeasSet(GNSS::GPSMeas::Set(time));
    seen_ = {};
    isAfterPowerFailure_ = isAfterPowerFailure;
    if (isAfterPowerFailure) ++powerFailures_;
}

RinexEpochBuilder::Outcome RinexEpochBuilder::Add(const RinexSatellite& satellite, std::string_view line, bool hasEnd) {
    const auto number = static_cast<std::size_t>(satellite.number);
    const bool isGPS = satellite.system == 'G' && number >= 1 && number < gps_.size();
    const bool isGlonass = satellite.system == 'R' && number >= 1 && number < glonass_.size();
    if (!isGPS && !isGlonass) return Outcome::Other;
    const RinexObservationPlan::System& plan = isGPS ? plan_.GPS() : plan_.Glonass();
    if (!hasEnd && line.size() < plan.wholeLength) return Outcome::Damaged;
    std::uint64_t& seen = seen_[isGPS ? 0 : 1];
    const std::uint64_t bit = std::uint64_t{1} << number;
    if ((seen & bit) != 0) return Outcome::Repeated;
    seen |= bit;
    if (isGPS) {
        if (!Read(plan, line, gps_[number], gpsCarriers_[number])) return Outcome::Damaged;
        if (gps_[number].NmrMeas() > 0) set_.GetGPS().AddSV(gps_[number]);
    } else {
        if (!Read(plan, line, glonass_[number], glonassCarriers_[number])) return Outcome::Damaged;
        if (glonass_[number].NmrMeas() > 0) set_.GetGlonass().AddSV(glonass_[number]);
    }
    return Outcome::Taken;
}

template <typename SV>
bool RinexEpochBuilder::Read(const RinexObservationPlan::System& plan, std::string_view line, SV& sv,
                             Carriers& carriers) const {
    using Record = typename SV::Record;
    using Freqy = typename Record::Freqy;
    using Corvane::QValue;
    sv.ResetMeas();
    for (std::size_t i = 0; i < carriers.size(); ++i) {
        Carrier& carrier = carriers[i];
        const RinexObservationPlan::Signal* chosen = nullptr;
        Values values;
        for (const RinexObservationPlan::Signal& signal : plan.records[i]) {
            Values read;
            if (!read.Read(line, signal)) return false;
            if (read.phase.isLost && !read.phase.isThere) carrier.isLost = true;
            if (!read.range.isThere && (chosen != nullptr || !read.IsAny())) continue;
            chosen = &signal;
            values = read;
            if (read.range.isThere) break;
        }
        if (chosen == nullptr) continue;

        Record& record = sv.ObtainFreq(i == 0 ? Freqy::CA : (i == 1 ? Freqy::L1 : Freqy::L2));
        if (values.snr.isThere) record.SetSNR(values.snr.value);
        if (values.range.isThere) record.SetRange(QValue(values.range.value, 0.0));
        if (values.doppler.isThere) record.SetDoppler(QValue(values.doppler.value, 0.0));
        if (!values.phase.isThere) {
            if (values.phase.isLost) record.SetLostLock();
            continue;
        }
        record.SetPhase(QValue(values.phase.value, 0.0));
        if (values.phase.isHalfCycle) record.SetPhaseWarn();
        const bool isLost = values.phase.isLost || carrier.isLost || carrier.failures != powerFailures_ ||
                            isAfterPowerFailure_ || (carrier.isKnown && carrier.code != chosen->code);
        if (isLost) record.SetLostLock();
        if (isLost || carrier.isKnown) record.SetCycleSlip(isLost ? Record::Slip : Record::NoSlip);
        carrier = {true, false, chosen->code, powerFailures_};
    }
    return true;
}

GNSS::MeasSet RinexEpochBuilder::TakeSet() {
    // An empty set needs no time.
    if (set_.GetGlonass().NmrSV() > 0) set_.GetGlonass().SetTime(set_.GetGPS().GetTime());
    return std::exchange(set_, {});
}

void RinexEpochBuilder::ForgetPhases() {
    const auto forget = [](auto& all) {
        for (Carriers& carriers : all) {
            for (Carrier& carrier : carriers) carrier.isKnown = carrier.isLost = false;
        }
    };
    forget(gpsCarriers_);
    forget(glonassCarriers_);
}

}  // namespace Host

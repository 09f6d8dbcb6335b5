#include "host/fix/FixNotes.h"

#include <cmath>
#include <string>

#include <fmt/format.h>

#include "gnss/position/UKOOAResid.h"
#include "gnss/time/Constants.h"

namespace Host {
namespace {

void Add(GNSS::Notes& notes, FixNote note, const std::string& text) {
    notes.AddNote(static_cast<int>(note), Corvane::String(text));
}

void Add(GNSS::Notes& notes, FixNote note, int param, const std::string& text) {
    notes.AddNote(static_cast<int>(note), param, Corvane::String(text));
}

void Add(GNSS::Notes& notes, FixNote note, const FixSatellite& satellite, const char* text) {
    Add(notes, note, satellite.number + (satellite.glonass ? GlonassParam : 0),
        SatelliteName(satellite.glonass, satellite.number) + text);
}

void AddSatelliteNotes(GNSS::Notes& notes, const FixSatellite& satellite, const FixSettings& settings) {
    switch (satellite.use) {
        case SatelliteUse::Used: {
            const double limit = satellite.glonass ? settings.maxAgeGlonass : settings.maxAgeGPS;
            // Before its reference time a record is new.
            if (satellite.age > 0.5 * limit) {
                Add(notes, FixNote::AgeingEphemeris, satellite, ": ephemeris beyond half of its limit of age");
            }
            break;
        }
        case SatelliteUse::Rejected:
            Add(notes, FixNote::RejectedSatellite, satellite, ": rejected by the w-test");
            break;
        case SatelliteUse::NoEphemeris:
            Add(notes, FixNote::NoEphemeris, satellite, ": no ephemeris");
            break;
        case SatelliteUse::StaleEphemeris:
            Add(notes, FixNote::StaleEphemeris, satellite, ": ephemeris too old");
            break;
        case SatelliteUse::Unhealthy:
            Add(notes, FixNote::Unhealthy, satellite, ": unhealthy");
            break;
        case SatelliteUse::Disabled:
            Add(notes, FixNote::Disabled, satellite, ": disabled by the operator");
            break;
        case SatelliteUse::NoPosition:
            Add(notes, FixNote::NoPosition, satellite, ": the ephemeris puts it where no satellite can be");
            break;
        case SatelliteUse::ReceiverWarning:
            Add(notes, FixNote::ReceiverWarning, satellite, ": the receiver warns of its range");
            break;
        case SatelliteUse::Lone:
            Add(notes, FixNote::Lone, satellite, ": not used, the only one of its system");
            break;
        case SatelliteUse::NoRange:
            Add(notes, FixNote::NoRange, satellite, ": no usable range on the signals asked for");
            break;
        case SatelliteUse::LowSignal:
            Add(notes, FixNote::WeakSignal, satellite, ": signal too weak");
            break;
        case SatelliteUse::SystemOff:
        case SatelliteUse::BelowMask:
            break;
    }
}

// A satellite below the mask takes no part in the tests; by another satellite's ephemeris it may well seem to stand
// there.
void AddContradiction(GNSS::Notes& notes, const FixResult& result, const FixSatellite& satellite) {
    constexpr double MostOff = 1000.0;  // m; the earth's turn during the flight and the delays stay far below
    const std::optional<double>& clock = satellite.glonass ? result.clockGlonass : result.clockGPS;
    if (satellite.use != SatelliteUse::BelowMask || !clock || !std::isfinite(satellite.age)) return;
    const double way = (satellite.posn - result.ecef).Magnitude();
    if (std::abs(satellite.range - (way - satellite.clock * GNSS::LightSpeed + *clock)) < MostOff) return;
    Add(notes, FixNote::ContradictsOrbit, satellite, ": not where its ephemeris puts it");
}

void AddTestNotes(GNSS::Notes& notes, const FixResult& result, const FixSettings& settings) {
    switch (result.test) {
        case FixTest::Failed: {
            bool wFailed = false;
            for (int i = 0; i < result.ukooa.NmrResid(); ++i) {
                const GNSS::UKOOA::Resid& resid = result.ukooa.GetResid(i);
                wFailed = wFailed || (!resid.IsRejected() && resid.WTestFailed());
            }
            if (wFailed && !settings.rejects) {
                Add(notes, FixNote::NotRejected, "w-test failed, and nothing is rejected by the settings");
            } else if (wFailed) {
                Add(notes, FixNote::FaultNotPlaced, "w-test failed, and the fault cannot be placed");
            } else {
                Add(notes, FixNote::FTestFailed, "F-test failed, and no range stands out");
            }
            break;
        }
        case FixTest::NotTestable:
            Add(notes, FixNote::NotTestable, "Not testable: no redundancy");
            break;
        case FixTest::NotIdentifiable:
            Add(notes, FixNote::NotIdentifiable, "Redundancy of 1: a fault would be seen, not placed");
            break;
        case FixTest::None:
        case FixTest::Passed:
            break;
    }
}

}  // namespace

std::string SatelliteName(bool glonass, int number) {
    return fmt::format("{}{:02}", glonass ? 'R' : 'G', number);
}

std::string SatelliteName(int param) {
    return param > GlonassParam ? SatelliteName(true, param - GlonassParam) : SatelliteName(false, param);
}

GNSS::Notes MakeNotes(const FixResult& result, const FixSettings& settings) {
    GNSS::Notes notes;
    if (!result.valid) {
        Add(notes, FixNote::NoFix, static_cast<int>(result.failure),
            std::string("No position: ") + Describe(result.failure));
    }
    AddTestNotes(notes, result, settings);
    if (result.valid) {
        if (result.heightRejected) Add(notes, FixNote::RejectedHeight, "Height aid: rejected by the w-test");
        if (result.dop.GetHDOP() > settings.hdopLimit) {
            Add(notes, FixNote::HighHDOP, fmt::format("HDOP above {:g}", settings.hdopLimit));
        }
        if (result.dop.GetPDOP() > settings.pdopLimit) {
            Add(notes, FixNote::HighPDOP, fmt::format("PDOP above {:g}", settings.pdopLimit));
        }
        if (result.NmrUsed() < settings.minSatellites) {
            Add(notes, FixNote::FewSatellites, fmt::format("Fewer than {} satellites", settings.minSatellites));
        }
        if (settings.ranges == FixSettings::Ranges::L1 && !result.usedIonosphere &&
            settings.ionosphere == FixSettings::Ionosphere::WhenReceived) {
            Add(notes, FixNote::NoIonosphere, "No ionosphere coefficients received: delays are not corrected");
        }
    }
    bool hasRates = false;
    for (const FixSatellite& satellite : result.satellites) {
        AddSatelliteNotes(notes, satellite, settings);
        if (result.valid) AddContradiction(notes, result, satellite);
        hasRates = hasRates || (satellite.use == SatelliteUse::Used && std::isfinite(satellite.rangeRate));
    }
    if (result.valid && settings.velocity && hasRates && !result.velocity.valid) {
        Add(notes, FixNote::NoVelocity, "No velocity: too few range rates");
    }
    if (result.velocity.suspect)
        Add(notes, FixNote::SuspectVelocity, "Velocity: the range rates contradict each other");
    return notes;
}

bool IsAlarm(FixNote note) {
    switch (note) {
        case FixNote::NoFix:
        case FixNote::FaultNotPlaced:
        case FixNote::NotTestable:
        case FixNote::NotIdentifiable:
        case FixNote::NotRejected:
            return true;
        default:
            return false;
    }
}

}  // namespace Host

// Fixes with figures that a test knows.
#pragma once

#include <cmath>

#include "gnss/geodesy/GridSD.h"
#include "gnss/geodesy/LocalGrid.h"
#include "gnss/geodesy/Spheroid.h"
#include "gnss/position/UKOOADesc.h"
#include "gnss/position/UKOOAResid.h"
#include "host/fix/FixNotes.h"
#include "host/fix/FixPosition.h"
#include "host/report/RunSeries.h"

namespace tests {

inline const GNSS::LocalGrid& Home() {
    static const GNSS::LocalGrid grid(
        GNSS::Geog(Corvane::Angle::FromDegrees(55.5), Corvane::Angle::FromDegrees(8.5), 60.0), GNSS::Spheroid::WGS84);
    return grid;
}

// Week 2111, `seconds` after its fourth day; at `offset` from home. G01 to G05 and R03 are used, G07 was rejected with
// w = -6, R09 has no ephemeris. Every figure differs from every other.
inline Host::PublishedFix MakeFix(double seconds, const GNSS::Grid::Delta& offset = {}) {
    using Corvane::LLSq;
    Host::PublishedFix fix;
    Host::FixResult& result = fix.result;
    result.time = GNSS::GPSTime(2111, 4 * 86400.0 + seconds);
    result.valid = true;
    result.test = Host::FixTest::Passed;
    result.ecef = Home().GetOriginECEF() + Home().GetECEFDelta(offset);
    result.geog = Home().GetGeog(result.ecef);
    result.covar.SetVariances(1.0, 4.0, 9.0);
    result.covar.SetCovariances(0.5, -0.25, 0.75);
    result.clockGPS = 100.5;
    result.clockGlonass = 101.5;
    result.dop.Set(0.5, 0.75, 2.0, 1.0);
    result.ukooa.SetBasicStats(LLSq::Confidence99, LLSq::Power80, 2, 1.25, LLSq::FPassed, 1.5, 0.0, 0.0);
    Corvane::Ellipse ellipse;
    static_cast<void>(ellipse.SetFrom(1.0, 4.0, 0.0));
    result.ukooa.SetPositionStats(GNSS::Grid::SD(result.covar, Corvane::NormPercent::OneSD), ellipse);
    result.fLimit = 3.759;
    result.wLimit = 2.576;
    result.maxW = -1.75;
    result.maxWRow = 2;
    result.usedIonosphere = true;
    int row = 0;
    const auto add = [&](bool glonass, int number, Host::SatelliteUse use) {
        Host::FixSatellite& satellite = result.satellites.emplace_back();
        satellite.glonass = glonass;
        satellite.number = number;
        satellite.use = use;
        Host::FixResult::Count& count = glonass ? result.glonass : result.gps;
        ++count.tracked;
        count.used += use == Host::SatelliteUse::Used ? 1 : 0;
        count.rejected += use == Host::SatelliteUse::Rejected ? 1 : 0;
        if (use == Host::SatelliteUse::NoEphemeris) return;
        satellite.azimuth = 0.5 * number;
        satellite.elevation = 0.1 * number;
        satellite.snr = 40.0 + number;
        satellite.issue = 10 + number;
        satellite.age = -60.0 * number;
        satellite.sd = 2.0;
        satellite.row = row++;
        const bool isRejected = use == Host::SatelliteUse::Rejected;
        if (isRejected) satellite.rejectedW = -6.0;
        const GNSS::UKOOA::Desc desc = glonass
                                           ? GNSS::UKOOA::Desc(GNSS::UKOOA::Desc::UnCorrID, GNSS::Glonass::Slot(number))
                                           : GNSS::UKOOA::Desc(GNSS::UKOOA::Desc::UnCorrID, GNSS::PRN(number));
        // The effects point south-west, G05's the furthest; G07's is that of a rejected one.
        const double size = isRejected ? 100.0 : number;
        result.ukooa.AddResid(desc, isRejected, 0.1 * number, 0.5 * number, 1.5, 7.0 + size, isRejected ? 0.0 : 0.25,
                              isRejected ? LLSq::WFailed : LLSq::WPassed,
                              isRejected ? GNSS::Grid() : GNSS::Grid(-3.0 * size, -4.0 * size, 12.0 * size));
        const Corvane::Angle elevation(satellite.elevation);
        const Corvane::Angle azimuth(satellite.azimuth);
        if (glonass)
            result.constellation.Add(GNSS::Glonass::Slot(number), elevation, azimuth,
                                     GNSS::Constellation::HealthyGlonass);
        else
            result.constellation.Add(GNSS::PRN(number), elevation, azimuth, GNSS::Constellation::HealthyGPS, false);
    };
    for (int prn = 1; prn <= 5; ++prn) add(false, prn, Host::SatelliteUse::Used);
    add(false, 7, Host::SatelliteUse::Rejected);
    add(true, 3, Host::SatelliteUse::Used);
    add(true, 9, Host::SatelliteUse::NoEphemeris);
    fix.notes = Host::MakeNotes(result, Host::FixSettings());
    fix.position = Host::MakePosition(result, Host::FixSettings(), fix.notes);
    return fix;
}

inline Host::PublishedFix MakeNoFix(double seconds) {
    Host::PublishedFix fix;
    fix.result.time = GNSS::GPSTime(2111, 4 * 86400.0 + seconds);
    fix.result.failure = Host::FixFailure::TooFewSatellites;
    fix.notes = Host::MakeNotes(fix.result, Host::FixSettings());
    fix.position = Host::MakePosition(fix.result, Host::FixSettings(), fix.notes);
    return fix;
}

inline void AddTo(Host::RunSeries& series, const Host::PublishedFix& fix) {
    series.Add(fix, Host::FiguresOf(fix.result));
}

}  // namespace tests

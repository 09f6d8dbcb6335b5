// Position fixes in a made sky, where everything is known.
#include "host/fix/PositionFix.h"

#include <cmath>
#include <limits>
#include <numbers>

#include <gtest/gtest.h>

#include "gnss/ephemeris/GPSEphemeris.h"
#include "host/fix/FixNotes.h"
#include "host/fix/FixPosition.h"
#include "tests/host/fix/MadeSky.h"

namespace {

using Host::FixFailure;
using Host::FixNote;
using Host::FixResult;
using Host::FixSettings;
using Host::FixTest;
using Host::PositionFix;
using Host::SatelliteUse;
using tests::MadeSky;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

FixSettings Plain() {
    FixSettings settings;
    settings.troposphere = FixSettings::Troposphere::Off;
    settings.ionosphere = FixSettings::Ionosphere::Off;
    return settings;
}

double Error(const FixResult& fix, const MadeSky& sky, const GNSS::GPSTime& t = MadeSky::Start) {
    return fix.valid ? (fix.ecef - sky.PlaceAt(t)).Magnitude() : NaN;
}

const Host::FixSatellite& Find(const FixResult& fix, bool glonass, int number) {
    static const Host::FixSatellite none;
    for (const auto& satellite : fix.satellites) {
        if (satellite.glonass == glonass && satellite.number == number) return satellite;
    }
    ADD_FAILURE() << "no satellite " << number;
    return none;
}

bool HasNote(const FixResult& fix, const FixSettings& settings, FixNote id, int param = GNSS::Notes::Note::Absent) {
    const GNSS::Notes notes = MakeNotes(fix, settings);
    int count = 0;
    for (const auto& note : notes)
        count += note.Matches(static_cast<int>(id), param, GNSS::Notes::Note::Absent) ? 1 : 0;
    EXPECT_LE(count, 1) << static_cast<int>(id);
    return count > 0;
}

TEST(PositionFix, FindsPlaceClocksAndVelocity) {
    const GNSS::GPSTime later = MadeSky::Start + Corvane::Time(0.5);
    for (const auto& [nmrGPS, nmrGlonass] : {std::pair{9, 7}, {8, 0}, {0, 8}}) {
        for (const double clock : {0.0, 1e-3, -2e-2, 2e-2}) {
            for (const bool air : {false, true}) {
                MadeSky sky;
                sky.AddMany(nmrGPS, nmrGlonass);
                sky.clock = clock;
                sky.drift = 1e-6;
                sky.glonassOffset = 30.0;
                sky.velocity = {120.0, -200.0, 40.0};
                sky.troposphere = sky.ionosphere = air;
                const FixSettings settings = air ? FixSettings() : Plain();
                PositionFix fix(settings);
                for (const GNSS::GPSTime& t : {MadeSky::Start, later}) {
                    const FixResult& result = fix.Compute(sky.Measure(t), sky.Inputs());
                    SCOPED_TRACE(testing::Message() << nmrGPS << "+" << nmrGlonass << " clock " << clock << air);
                    ASSERT_TRUE(result.valid) << Describe(result.failure);
                    EXPECT_LT(Error(result, sky, t), 1e-3);
                    EXPECT_EQ(result.NmrUsed(), nmrGPS + nmrGlonass);
                    EXPECT_EQ(result.test, FixTest::Passed);
                    EXPECT_EQ(result.usedIonosphere, air);
                    const double offset = (sky.clock + sky.drift * (t - MadeSky::Start).Seconds()) * GNSS::LightSpeed;
                    ASSERT_EQ(result.clockGPS.has_value(), nmrGPS > 0);
                    ASSERT_EQ(result.clockGlonass.has_value(), nmrGlonass > 0);
                    if (nmrGPS > 0) {
                        EXPECT_NEAR(*result.clockGPS, offset, 1e-3);
                    }
                    if (nmrGlonass > 0) {
                        EXPECT_NEAR(*result.clockGlonass, offset + sky.glonassOffset, 1e-3);
                    }
                    EXPECT_EQ(result.ukooa.NmrFreedom(), nmrGPS + nmrGlonass - 3 - (nmrGPS > 0) - (nmrGlonass > 0));

                    ASSERT_TRUE(result.velocity.valid);
                    // The rates of the atmosphere's delays, of a receiver that climbs by 80 m/s, are not modelled.
                    const double bound = air ? 0.1 : 1e-4;
                    const GNSS::LocalGrid grid(sky.PlaceAt(t), GNSS::Spheroid::WGS84);
                    const GNSS::Grid v = grid.GetGrid(sky.velocity);
                    EXPECT_NEAR(result.velocity.vely.GetEast(), v.GetEast(), bound);
                    EXPECT_NEAR(result.velocity.vely.GetNorth(), v.GetNorth(), bound);
                    EXPECT_NEAR(result.velocity.vely.GetHeight(), v.GetHeight(), bound);
                    // A second of system time.
                    EXPECT_NEAR(result.velocity.clockDrift, sky.drift / (1.0 - sky.drift) * GNSS::LightSpeed, bound);
                }
            }
        }
    }
}

// From the earth's centre everywhere; and from wherever the last fix was.
TEST(PositionFix, DoesNotDependOnWhereItBegins) {
    PositionFix travelling{FixSettings()};
    for (int latitude = -90; latitude <= 90; latitude += 15) {
        for (int longitude = -180; longitude < 180; longitude += 40) {
            MadeSky sky(latitude, longitude, latitude * 10.0);
            sky.AddMany(6, 3);
            sky.Add(false, 20, 11.0, 200.0);
            sky.troposphere = sky.ionosphere = true;
            sky.noise = [](const MadeSky::Name& name) { return 3.0 * std::cos(name.second * 1.7 + name.first); };
            PositionFix fresh{FixSettings()};
            const GNSS::MeasSet set = sky.Measure(MadeSky::Start);
            const FixResult& first = fresh.Compute(set, sky.Inputs());
            ASSERT_LT(Error(first, sky), 30.0) << latitude << " " << longitude;
            // From the other side of the earth, and from 5, 20 and 3000 m away.
            const FixResult& far = travelling.Compute(set, sky.Inputs());
            ASSERT_LT((far.ecef - first.ecef).Magnitude(), 1e-4) << latitude << " " << longitude;
            for (const double away : {4.9, -20.0, 3000.0}) {
                MadeSky beside(latitude, longitude, latitude * 10.0 + away);
                beside.satellites = sky.satellites;
                PositionFix fix{FixSettings()};
                ASSERT_TRUE(fix.Compute(beside.Measure(MadeSky::Start), sky.Inputs()).valid);
                ASSERT_LT((fix.Compute(set, sky.Inputs()).ecef - first.ecef).Magnitude(), 1e-4) << away;
            }
        }
    }
}

TEST(PositionFix, WithFewSatellites) {
    struct Case {
        const char* name;
        int gps, glonass;
        bool heightAid;
        bool valid;
        int freedom;
        FixTest test;
        FixFailure failure;
    };
    for (const Case& each :
         {Case{"minimum", 4, 0, false, true, 0, FixTest::NotTestable, FixFailure::None},
          Case{"one more", 5, 0, false, true, 1, FixTest::NotIdentifiable, FixFailure::None},
          Case{"lone GLONASS", 5, 1, false, true, 1, FixTest::NotIdentifiable, FixFailure::None},
          Case{"lone GPS", 1, 6, false, true, 2, FixTest::Passed, FixFailure::None},
          Case{"both, minimum", 3, 2, false, true, 0, FixTest::NotTestable, FixFailure::None},
          Case{"height aid", 3, 0, true, true, 0, FixTest::NotTestable, FixFailure::None},
          Case{"height aid, both", 3, 2, true, true, 1, FixTest::NotIdentifiable, FixFailure::None},
          Case{"too few", 3, 0, false, false, 0, FixTest::None, FixFailure::TooFewSatellites},
          Case{"too few of both", 2, 2, false, false, 0, FixTest::None, FixFailure::TooFewSatellites},
          Case{"one each", 1, 1, true, false, 0, FixTest::None, FixFailure::TooFewSatellites},
          Case{"too few with height", 2, 0, true, false, 0, FixTest::None, FixFailure::TooFewSatellites},
          Case{"none", 0, 0, true, false, 0, FixTest::None, FixFailure::TooFewSatellites}}) {
        SCOPED_TRACE(each.name);
        MadeSky sky;
        for (int i = 0; i < each.gps; ++i) sky.Add(false, i + 1, i == 2 ? 75.0 : 20.0 + 6 * i, 130.0 * i);
        for (int i = 0; i < each.glonass; ++i) sky.Add(true, i + 1, 25.0 + 8 * i, 60.0 + 130.0 * i);
        FixSettings settings = Plain();
        settings.heightAid = each.heightAid;
        settings.height = 60.0;
        settings.maxGDOP = 200.0;
        PositionFix fix(settings);
        const FixResult& result = fix.Compute(sky.Measure(MadeSky::Start), sky.Inputs());
        EXPECT_EQ(result.valid, each.valid);
        EXPECT_EQ(result.failure, each.failure);
        EXPECT_EQ(result.test, each.test);
        EXPECT_EQ(HasNote(result, settings, FixNote::NoFix, static_cast<int>(each.failure)), !each.valid);
        EXPECT_EQ(HasNote(result, settings, FixNote::NotTestable), each.test == FixTest::NotTestable);
        EXPECT_EQ(HasNote(result, settings, FixNote::NotIdentifiable), each.test == FixTest::NotIdentifiable);
        EXPECT_EQ(HasNote(result, settings, FixNote::FewSatellites),
                  each.valid && each.gps + each.glonass < 7 && result.NmrUsed() < 6);
        EXPECT_EQ(HasNote(result, settings, FixNote::Lone, 1), each.gps == 1);
        EXPECT_EQ(HasNote(result, settings, FixNote::Lone, Host::GlonassParam + 1), each.glonass == 1);
        if (!each.valid) continue;
        EXPECT_LT(Error(result, sky), 1e-3);
        EXPECT_EQ(result.ukooa.NmrFreedom(), each.freedom);
    }
}

TEST(PositionFix, OfBadGeometry) {
    FixSettings settings = Plain();
    const auto compute = [&](const MadeSky& sky) {
        PositionFix fix(settings);
        return fix.Compute(sky.Measure(MadeSky::Start), sky.Inputs());
    };
    // All at one elevation: up and clock cannot be told apart.
    MadeSky cone;
    for (int i = 0; i < 6; ++i) cone.Add(false, i + 1, 40.0, 60.0 * i);
    EXPECT_EQ(compute(cone).failure, FixFailure::BadGeometry);
    // Barely better, and the limit of the GDOP.
    MadeSky close;
    for (int i = 0; i < 6; ++i) close.Add(false, i + 1, 40.0 + 2 * i, 14.0 * (i % 4));
    settings.maxGDOP = 1e6;
    const FixResult poor = compute(close);
    ASSERT_TRUE(poor.valid);
    EXPECT_GT(poor.dop.GetGDOP(), 30.0);
    EXPECT_TRUE(HasNote(poor, settings, FixNote::HighHDOP));
    EXPECT_TRUE(HasNote(poor, settings, FixNote::HighPDOP));
    settings.maxGDOP = 30.0;
    const FixResult refused = compute(close);
    EXPECT_EQ(refused.failure, FixFailure::BadGeometry);
    EXPECT_EQ(refused.ecef.Radius(), 0.0);
    EXPECT_EQ(refused.NmrUsed(), 0);
    // A receiver out in space.
    MadeSky high(10.0, 10.0, 300e3);
    high.AddMany(8, 0);
    EXPECT_EQ(compute(high).failure, FixFailure::NotOnEarth);
}

TEST(PositionFix, LeavesOutWhatIsNotToBeUsed) {
    MadeSky sky;
    sky.AddMany(9, 6);
    sky.Add(false, 30, 9.0, 100.0);
    FixSettings settings = Plain();
    settings.signalMask = 30.0;
    Host::FixInputs inputs = sky.Inputs();
    GNSS::SVHealth::Set& health = inputs.health;
    health.Refresh({GNSS::SVHealth::Update::Disable, GNSS::PRN(1), 0});
    health.Refresh({GNSS::SVHealth::Update::EphemerisHealth, GNSS::PRN(2), 1});
    health.Refresh({GNSS::SVHealth::Update::Disable, GNSS::Glonass::Slot(1), 0});
    health.Refresh({GNSS::SVHealth::Update::EphemerisHealth, GNSS::Glonass::Slot(2), 4});
    GNSS::MeasSet set = sky.Measure(MadeSky::Start);
    const auto change = [&](int prn) {
        return set.GetGPS().ChangeSV(set.GetGPS().FindSV(GNSS::PRN(prn)))->ChangeMeas(0);
    };
    change(3)->SetRange({NaN, 0.0});
    change(4)->SetSNR(29.0);
    change(5)->SetCodeWarn();
    change(6)->SetSNR(NaN);
    change(7)->SetDoppler({NaN, 0.0});
    change(8)->SetRange({std::numeric_limits<double>::infinity(), 0.0});
    change(9)->SetSNR(std::numeric_limits<double>::infinity());
    // Measured, but no orbit; on two channels of the receiver; without a slot.
    set.GetGPS().AddMeas(GNSS::PRN(31), *change(9));
    auto& glonass = set.GetGlonass();
    GNSS::Glonass::Measurement::SV again(GNSS::Glonass::Slot(3), 5);
    again.AddMeas(GNSS::Glonass::Measurement(GNSS::Glonass::Frequency::CA));
    glonass.AddSV(again);
    glonass.AddSV(GNSS::Glonass::Slot(), 6);
    // At the receiver, and nowhere.
    (*sky.satellites)[{true, 4}].posn = sky.place.GetOriginECEF();
    (*sky.satellites)[{true, 5}].posn.SetX(NaN);

    PositionFix fix(settings);
    const FixResult& result = fix.Compute(set, inputs);
    ASSERT_TRUE(result.valid) << Describe(result.failure);
    EXPECT_LT(Error(result, sky), 1e-3);
    EXPECT_TRUE(result.velocity.valid);
    EXPECT_EQ(result.gps.tracked, 11);
    EXPECT_EQ(result.gps.used, 3);
    EXPECT_EQ(result.glonass.tracked, 6);
    EXPECT_EQ(result.glonass.used, 2);
    struct Case {
        bool glonass;
        int number;
        SatelliteUse use;
        int note;  // 0 for none
    };
    using enum SatelliteUse;
    const auto id = [](FixNote note) { return static_cast<int>(note); };
    for (const Case& each :
         {Case{false, 1, Disabled, id(FixNote::Disabled)}, Case{false, 2, Unhealthy, id(FixNote::Unhealthy)},
          Case{false, 3, NoRange, id(FixNote::NoRange)}, Case{false, 4, LowSignal, id(FixNote::WeakSignal)},
          Case{false, 5, ReceiverWarning, id(FixNote::ReceiverWarning)}, Case{false, 6, Used, 0},
          Case{false, 7, Used, 0}, Case{false, 8, NoRange, id(FixNote::NoRange)}, Case{false, 9, Used, 0},
          Case{false, 30, BelowMask, 0}, Case{false, 31, NoEphemeris, id(FixNote::NoEphemeris)},
          Case{true, 1, Disabled, id(FixNote::Disabled)}, Case{true, 2, Unhealthy, id(FixNote::Unhealthy)},
          Case{true, 3, Used, 0}, Case{true, 4, NoPosition, id(FixNote::NoPosition)},
          Case{true, 5, NoPosition, id(FixNote::NoPosition)}, Case{true, 6, Used, 0}}) {
        const auto& satellite = Find(result, each.glonass, each.number);
        EXPECT_EQ(satellite.use, each.use) << each.number << ": " << Name(satellite.use);
        if (each.note == 0) continue;
        EXPECT_TRUE(HasNote(result, settings, static_cast<FixNote>(each.note),
                            each.number + (each.glonass ? Host::GlonassParam : 0)))
            << each.number;
        EXPECT_NE(Name(each.use), std::string());
    }
    // Only what has a place stands in the sky.
    EXPECT_EQ(result.constellation.Find(GNSS::PRN(31)), -1);
    EXPECT_EQ(result.constellation.GetSV(result.constellation.Find(GNSS::PRN(1))).GetState(),
              GNSS::Constellation::Disabled);
    const GNSS::Position position = MakePosition(result, settings, MakeNotes(result, settings));
    EXPECT_EQ(position.GetSolutionMode()->GetName(), "GPS+GLO");

    settings.systems = FixSettings::Systems::Glonass;
    PositionFix without(settings);
    const FixResult& failed = without.Compute(set, inputs);
    EXPECT_FALSE(failed.valid);
    EXPECT_EQ(Find(failed, false, 6).use, SystemOff);
    for (const auto& satellite : failed.satellites) EXPECT_TRUE(std::isnan(satellite.elevation));
    EXPECT_EQ(failed.constellation.NmrSV() + failed.constellation.NmrGlonassSV(), 0);
    EXPECT_FALSE(without.Compute(GNSS::MeasSet(), inputs).valid);
}

// By the age of real records, of a satellite that has one.
TEST(PositionFix, WatchesTheAgeOfEphemerides) {
    GNSS::GPSEphemeride record;
    record.prn = GNSS::PRN(7);
    record.reference = MadeSky::Start;
    record.posn.toe = record.clock.toc = MadeSky::Start.GetSeconds();
    record.posn.sqrtA = 5153.7;
    record.posn.i0 = Corvane::Angle(0.96);
    auto history = std::make_shared<GNSS::GPSEphemeris>();
    ASSERT_TRUE(history->Update(record));
    Host::FixInputs inputs;
    inputs.gps.SetImplementation(history);
    for (const auto& [age, use, ageing] : {std::tuple{-7000.0, SatelliteUse::Used, false},
                                           {3700.0, SatelliteUse::Used, false},
                                           {3800.0, SatelliteUse::Used, true},
                                           {7501.0, SatelliteUse::StaleEphemeris, false},
                                           {1e6, SatelliteUse::StaleEphemeris, false}}) {
        GNSS::GPSMeas::Set set(MadeSky::Start + Corvane::Time(age));
        GNSS::GPSMeas meas(GNSS::GPSFreqy::CA);
        meas.SetRange({2.2e7, 0.0});
        set.AddMeas(record.prn, meas);
        FixSettings settings;
        settings.elevationMask = -90.0;
        PositionFix fix(settings);
        const FixResult& result = fix.Compute(GNSS::MeasSet(set), inputs);
        EXPECT_EQ(result.satellites.at(0).use, use) << age;
        EXPECT_NEAR(result.satellites.at(0).age, age, 1e-6);
        EXPECT_EQ(HasNote(result, settings, FixNote::AgeingEphemeris, 7), ageing) << age;
        EXPECT_EQ(HasNote(result, settings, FixNote::StaleEphemeris, 7), use == SatelliteUse::StaleEphemeris) << age;
    }
}

// Where differential corrections enter.
TEST(PositionFix, AddsCorrections) {
    struct Made : Host::FixCorrections {
        [[nodiscard]] std::optional<Correction> Find(bool glonass, int number, int issue,
                                                     const GNSS::GPSTime&) const override {
            if (glonass || issue != -1) return std::nullopt;
            return Correction{-10.0 * number, 4.0};
        }
    };
    MadeSky sky;
    sky.AddMany(7, 0);
    for (int prn = 1; prn <= 7; ++prn) sky.faults[{false, prn}] = 10.0 * prn;
    Host::FixInputs inputs = sky.Inputs();
    inputs.corrections = std::make_shared<Made>();
    PositionFix fix(Plain());
    const FixResult& result = fix.Compute(sky.Measure(MadeSky::Start), inputs);
    EXPECT_LT(Error(result, sky), 1e-3);
    EXPECT_EQ(Find(result, false, 3).correctionAge, 4.0);
}

}  // namespace

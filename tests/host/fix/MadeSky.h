// A sky made for tests of position fixes: satellites on straight lines in the earth-fixed frame, and what a receiver at
// a known place measures of them, by plain geometry and without anything of the fix.
#pragma once

#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <numbers>
#include <utility>
#include <vector>

#include "gnss/almanac/Almanac.h"
#include "gnss/geodesy/LocalGrid.h"
#include "gnss/geodesy/Spheroid.h"
#include "gnss/measurement/MeasSet.h"
#include "gnss/time/Constants.h"
#include "host/fix/FixInputs.h"
#include "host/fix/FixSettings.h"
#include "host/fix/Troposphere.h"

namespace tests {

struct MadeSky {
    struct Satellite {
        GNSS::ECEF posn;
        GNSS::ECEF::Delta vely;
        double clock = 0.0;  // s, satellite minus system time at Start, and its drift
        double drift = 0.0;
    };
    using Name = std::pair<bool, int>;  // GLONASS, number
    using Satellites = std::map<Name, Satellite>;

    static constexpr GNSS::GPSTime Start{2111, 345600.0};
    static constexpr double GroupDelay = -7e-9;  // s, of every GPS satellite

    explicit MadeSky(double latitude = 56.0, double longitude = 9.0, double height = 60.0)
        : place({Corvane::Angle::FromDegrees(latitude), Corvane::Angle::FromDegrees(longitude), height},
                GNSS::Spheroid::WGS84) {}

    // Degrees.
    void Add(bool glonass, int number, double elevation, double azimuth) {
        constexpr double Radian = std::numbers::pi / 180.0;
        const double e = elevation * Radian;
        const double a = azimuth * Radian;
        const double flat = std::cos(e);
        const auto direction =
            place.GetECEFDelta(GNSS::Grid::Delta(flat * std::sin(a), flat * std::cos(a), std::sin(e)));
        Satellite& satellite = (*satellites)[{glonass, number}];
        // From here to the orbit's radius.
        const double down = (place.GetOriginECEF() - GNSS::ECEF()).Dot(direction);
        const double own = place.GetOriginECEF().Radius();
        const double radius = glonass ? 25508e3 : 26560e3;
        const double range = -down + std::sqrt(down * down + radius * radius - own * own);
        satellite.posn = place.GetOriginECEF() + direction * range;
        satellite.vely = GNSS::ECEF::Delta(2500.0 * std::cos(number), 2500.0 * std::sin(number), 900.0 - 90.0 * number);
        satellite.clock = 2e-5 * number - 3e-4;
        satellite.drift = 1e-11 * number;
    }
    // Spread over the sky, all above 15 degrees.
    void AddMany(int nmrGPS, int nmrGlonass) {
        for (int i = 0; i < nmrGPS + nmrGlonass; ++i) {
            const bool glonass = i >= nmrGPS;
            Add(glonass, glonass ? i - nmrGPS + 1 : i + 1, 16.0 + (i * 29) % 67, i * 137.5);
        }
    }

    [[nodiscard]] Host::FixInputs Inputs() const {
        Host::FixInputs inputs;
        inputs.gps.SetImplementation(std::make_shared<Orbits<GNSS::GPSEphemerisCalc>>(satellites));
        inputs.glonass.SetImplementation(std::make_shared<Orbits<GNSS::Glonass::EphemerisCalc>>(satellites));
        inputs.almanac = std::make_shared<GNSS::Almanac::Calculator>();
        inputs.hasIonosphere = ionosphere;
        for (int slot = 1; slot <= 24; ++slot) inputs.channels.Set(GNSS::Glonass::Slot(slot), slot % 14 - 7);
        return inputs;
    }

    // What the receiver measures when its clock shows this time.
    [[nodiscard]] GNSS::MeasSet Measure(const GNSS::GPSTime& shown) const {
        GNSS::GPSMeas::Set gps(shown);
        GNSS::Glonass::Measurement::Set glonass(shown);
        constexpr double Half = 0.05;
        for (const auto& [name, satellite] : *satellites) {
            const auto at = [&, &sat = satellite, &is = name](double dt) { return Range(is, sat, shown, dt); };
            const auto fault = faults.find(name);
            const double range = at(0.0) + (fault == faults.end() ? 0.0 : fault->second) + (noise ? noise(name) : 0.0);
            const double rate = (at(Half) - at(-Half)) / (2.0 * Half);
            const auto fill = [&](auto meas, double frequency) {
                meas.SetRange({range, 0.0});
                meas.SetDoppler({-rate * frequency / GNSS::LightSpeed, 0.0});
                meas.SetSNR(45.0);
                return meas;
            };
            if (name.first) {
                const GNSS::Glonass::Frequency& ca = GNSS::Glonass::Frequency::CA;
                glonass.AddMeas(GNSS::Glonass::Slot(name.second),
                                fill(GNSS::Glonass::Measurement(ca), ca.GetChannelFrequency(name.second % 14 - 7)));
            } else {
                const GNSS::GPSFreqy& ca = GNSS::GPSFreqy::CA;
                gps.AddMeas(GNSS::PRN(name.second), fill(GNSS::GPSMeas(ca), ca.GetFrequency()));
            }
        }
        return {gps, glonass};
    }

    // Where the receiver is when its clock shows a time.
    [[nodiscard]] GNSS::ECEF PlaceAt(const GNSS::GPSTime& shown) const {
        const double t = (shown - Start).Seconds();
        return place.GetOriginECEF() + velocity * (t - clock - drift * t);
    }

    GNSS::LocalGrid place;
    GNSS::ECEF::Delta velocity;
    double clock = 0.0;  // s, receiver minus GPS time when its clock shows Start, and its drift
    double drift = 0.0;
    double glonassOffset = 0.0;  // m, receiver's range to GLONASS satellites beyond that to GPS satellites
    bool troposphere = false;
    bool ionosphere = false;
    std::shared_ptr<Satellites> satellites = std::make_shared<Satellites>();
    std::map<Name, double> faults;             // m
    std::function<double(const Name&)> noise;  // m

private:
    static GNSS::ECEF Turned(const GNSS::ECEF& p, double angle) {
        const double c = std::cos(angle);
        const double s = std::sin(angle);
        return {c * p.GetX() + s * p.GetY(), c * p.GetY() - s * p.GetX(), p.GetZ()};
    }

    // dt s of the receiver's clock later.
    [[nodiscard]] double Range(const Name& name, const Satellite& satellite, const GNSS::GPSTime& shown,
                               double dt) const {
        const double t = (shown - Start).Seconds() + dt;
        const double offset = clock + drift * t;
        const double reception = t - offset;
        const GNSS::ECEF receiver = place.GetOriginECEF() + velocity * reception;
        double flight = 0.07;
        GNSS::ECEF from;
        for (int i = 0; i < 10; ++i) {
            from = Turned(satellite.posn + satellite.vely * (reception - flight), 7.2921151467e-5 * flight);
            flight = (from - receiver).Magnitude() / GNSS::LightSpeed;
        }
        const double sent = satellite.clock + satellite.drift * (reception - flight) - (name.first ? 0.0 : GroupDelay);
        return GNSS::LightSpeed * (flight + offset - sent) + (name.first ? glonassOffset : 0.0) +
               Atmosphere(name, from, receiver, shown);
    }
    [[nodiscard]] double Atmosphere(const Name& name, const GNSS::ECEF& from, const GNSS::ECEF& receiver,
                                    const GNSS::GPSTime& t) const {
        const GNSS::LocalGrid grid(receiver, GNSS::Spheroid::WGS84);
        const auto polar = grid.GetGridPolar(from);
        double delay =
            troposphere ? Host::StandardTroposphere(grid.GetOrigin()).GetDelay(std::sin(polar.GetElevation().Radians()))
                        : 0.0;
        double ionospheric = 0.0;
        if (ionosphere &&
            GNSS::Almanac().CalculateIonoDelay(t, grid.GetOrigin().GetLatitude(), grid.GetOrigin().GetLongitude(),
                                               polar.GetElevation(), polar.GetAzimuth(), ionospheric)) {
            const double f = 1602.0 + 0.5625 * (name.second % 14 - 7);
            delay += name.first ? ionospheric * (1575.42 / f) * (1575.42 / f) : ionospheric;
        }
        return delay;
    }

    template <typename Calculator>
    class Orbits : public Calculator::Implementation {
    public:
        explicit Orbits(std::shared_ptr<const Satellites> satellites) : satellites_(std::move(satellites)) {}
        bool CalculatePosn(const typename Calculator::Id& id, const GNSS::GPSTime& t,
                           typename Calculator::Result& result) const override {
            constexpr bool Glonass = std::is_same_v<Calculator, GNSS::Glonass::EphemerisCalc>;
            result.Reset();
            const auto found = satellites_->find({Glonass, int{id}});
            if (found == satellites_->end()) return false;
            const Satellite& satellite = found->second;
            const double dt = (t - Start).Seconds();
            result.valid = result.healthy = true;
            result.posn = satellite.posn + satellite.vely * dt;
            result.clockCorrection = satellite.clock + satellite.drift * dt;
            if constexpr (Glonass) {
                result.clockCorrection = -result.clockCorrection;
                result.clockDrift = -satellite.drift;
                result.vely = GNSS::ECEF() + satellite.vely;
            } else {
                result.groupDelay = GroupDelay;
            }
            return true;
        }

    private:
        std::shared_ptr<const Satellites> satellites_;
    };
};

}  // namespace tests

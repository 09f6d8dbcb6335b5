#include "host/report/RecordFields.h"

#include <cstdint>

#include <fmt/format.h>

#include "gnss/platform/Angle.h"

namespace Host {

using Corvane::Angle;
using GNSS::Almanac;
using GNSS::GPSEphemeride;
using GNSS::Glonass::Ephemeride;

namespace {

// More than any field's bits tell, and few enough to hide the last bits of the conversion.
constexpr int Significant = -13;

class Fields {
public:
    Fields(const char* kind, std::string satellite, const GNSS::GPSTime& time) {
        all_.kind = kind;
        all_.satellite = std::move(satellite);
        all_.time = time;
    }

    Fields& Whole(const char* name, int value, const char* unit = "") { return Add(name, unit, std::int64_t{value}); }
    Fields& Real(const char* name, double value, const char* unit) { return Add(name, unit, value); }
    Fields& Rad(const char* name, Angle value, const char* unit = "rad") { return Add(name, unit, value.Radians()); }
    Fields& Time(const char* name, const GNSS::GPSTime& value) {
        Whole(fmt::format("{} week", name).c_str(), value.GetWeek());
        return Real(name, value.GetSeconds(), "s");
    }
    Fields& Add(const std::string& name, const char* unit, const Cell& value) {
        all_.fields.push_back({{name, unit, 10, Significant}, value});
        return *this;
    }

    RecordFields Take() { return std::move(all_); }

private:
    RecordFields all_;
};

}  // namespace

RecordFields FieldsOf(const GPSEphemeride& record) {
    const GPSEphemeride::Posn& p = record.posn;
    const GPSEphemeride::Clock& c = record.clock;
    const GPSEphemeride::Status& status = record.status;
    return Fields("GPS ephemeris", record.prn.Print().str(), record.reference)
        .Whole("URA index", status.GetURA())
        .Whole("health", status.GetHealth())
        .Whole("fit interval", status.GetCurveFit(), "h")
        .Whole("IODC", c.IODC)
        .Time("toc", record.GetTOC())
        .Real("Tgd", c.Tgd, "s")
        .Real("af0", c.af0, "s")
        .Real("af1", c.af1, "s/s")
        .Real("af2", c.af2, "s/s2")
        .Whole("IODE", p.IODE)
        .Time("toe", record.GetTOE())
        .Real("sqrtA", p.sqrtA, "m^0.5")
        .Real("e", p.e, "")
        .Rad("i0", p.i0)
        .Rad("Omega0", p.Omega0)
        .Rad("omega", p.omega)
        .Rad("M0", p.M0)
        .Rad("deltaN", p.deltaN, "rad/s")
        .Rad("OmegaDot", p.OmegaDot, "rad/s")
        .Rad("IDOT", p.IDOT, "rad/s")
        .Real("Crc", p.Crc, "m")
        .Real("Crs", p.Crs, "m")
        .Rad("Cuc", p.Cuc)
        .Rad("Cus", p.Cus)
        .Rad("Cic", p.Cic)
        .Rad("Cis", p.Cis)
        .Take();
}

RecordFields FieldsOf(const Ephemeride& record, std::optional<int> channel) {
    const Ephemeride::Posn& p = record.posn;
    return Fields("GLONASS ephemeris", record.slot.Print().str(), record.reference)
        .Add("channel", "", channel ? Cell(std::int64_t{*channel}) : Cell())
        .Add("healthy", "", record.status.IsHealthy())
        .Whole("day", p.day)
        .Real("frame time", p.frameTime, "s")
        .Real("tb", p.tb, "s")
        .Real("x", p.posn.GetX(), "km")
        .Real("y", p.posn.GetY(), "km")
        .Real("z", p.posn.GetZ(), "km")
        .Real("vx", p.vely.GetX(), "km/s")
        .Real("vy", p.vely.GetY(), "km/s")
        .Real("vz", p.vely.GetZ(), "km/s")
        .Real("ax", p.accel.GetX(), "km/s2")
        .Real("ay", p.accel.GetY(), "km/s2")
        .Real("az", p.accel.GetZ(), "km/s2")
        .Real("tau", record.clock.tau, "s")
        .Real("gamma", record.clock.gamma, "")
        .Whole("P1", record.status.Get(Ephemeride::Status::P1), "min")
        .Whole("P2", record.status.Get(Ephemeride::Status::P2))
        .Whole("P3", record.status.Get(Ephemeride::Status::P3))
        .Whole("P4", record.status.Get(Ephemeride::Status::P4))
        .Add("GLONASS-M", "", record.m.isM)
        .Whole("age", record.m.age, "d")
        .Whole("accuracy index", record.m.accuracyIndex)
        .Take();
}

RecordFields FieldsOf(const Almanac::SV& record) {
    return Fields("GPS almanac", record.prn.Print().str(), record.time)
        .Whole("health", record.health)
        .Time("toa", record.toa)
        .Real("sqrtA", record.sqrtA, "m^0.5")
        .Real("e", record.e, "")
        .Rad("i", record.i)
        .Rad("Omega0", record.Omega0)
        .Rad("omega", record.w)
        .Rad("M0", record.M0)
        .Rad("OmegaDot", record.OmegaDot, "rad/s")
        .Real("af0", record.af0, "s")
        .Real("af1", record.af1, "s/s")
        .Take();
}

RecordFields FieldsOf(const Almanac::GlonassSV& record) {
    return Fields("GLONASS almanac", record.slot.Print().str(), record.time)
        .Whole("channel", record.channel)
        .Add("healthy", "", record.health == 1)
        .Whole("day", record.day)
        .Rad("lambda", record.Lambda)
        .Real("t lambda", record.TLambda, "s")
        .Real("e", record.Eccent, "")
        .Rad("omega", record.W)
        .Rad("delta i", record.Di)
        .Real("delta T", record.DDrac, "s")
        .Real("delta T rate", record.DDracDot, "s/rev2")
        .Real("tau", record.TauN, "s")
        .Take();
}

RecordFields FieldsOf(const Almanac::Iono& record) {
    return Fields("ionosphere", "", record.time)
        .Real("alpha0", record.alpha0, "s")
        .Real("alpha1", record.alpha1, "s/sc")
        .Real("alpha2", record.alpha2, "s/sc2")
        .Real("alpha3", record.alpha3, "s/sc3")
        .Real("beta0", record.beta0, "s")
        .Real("beta1", record.beta1, "s/sc")
        .Real("beta2", record.beta2, "s/sc2")
        .Real("beta3", record.beta3, "s/sc3")
        .Take();
}

RecordFields FieldsOf(const Almanac::UTC& record) {
    return Fields("UTC", "", record.time)
        .Real("A0", record.A0, "s")
        .Real("A1", record.A1, "s/s")
        .Whole("WNt", record.WNt)
        .Real("tot", record.Tot, "s")
        .Whole("delta tLS", record.DtLS, "s")
        .Whole("WNLSF", record.WNLSF)
        .Whole("DN", record.DN)
        .Whole("delta tLSF", record.DtLSF, "s")
        .Take();
}

}  // namespace Host

#include "gnss/almanac/Almanac.h"

#include "gnss/almanac/AlmanacInner.h"
#include "gnss/platform/Event.h"
#include "gnss/time/GPSFreqy.h"
#include "gnss/time/GlonassFrequency.h"

namespace GNSS {

using Corvane::Angle;
using Corvane::String;
using Corvane::TimeDate;
using Corvane::Stream::Succeeds;

namespace {

// Whether the almanac file can hold a record and give it back. One that it cannot would make every save fail.
template <class Record>
bool FitsFile(const Record& record) {
    Corvane::Stream::MemoryOutput output;
    if (!record.Write(output)) return false;
    Corvane::Stream::MemoryInput input(output.Bytes());
    Record read;
    return read.Read(input);
}

}  // namespace

Almanac::Almanac() = default;
Almanac::Almanac(const Almanac& other) noexcept = default;
Almanac& Almanac::operator=(const Almanac& other) noexcept = default;
Almanac::~Almanac() = default;

bool Almanac::UpdateSV(const SV& sv) {
    if (!inner_.Read().ShouldStore(sv) || !FitsFile(sv)) return false;
    inner_.Write().svs.Store(sv);
    return true;
}

bool Almanac::UpdateGlonassSV(const GlonassSV& sv) {
    if (!sv.IsTimeConsistentWithToI()) {
        Corvane::Event::AddEvent(
            "Glonass Almanac", "Almanac update for Glonass Slot " + String::FormatInt(sv.slot, 2, true) +
                                   " is rejected due to an inconsistent day number " + String::FormatInt(sv.day) + ".");
        return false;
    }
    if (!inner_.Read().ShouldStore(sv) || !FitsFile(sv)) return false;
    inner_.Write().glonassSVs.Store(sv);
    return true;
}

bool Almanac::UpdateIono(const Iono& iono) {
    if (iono.time <= GetIono().time || !FitsFile(iono)) return false;
    inner_.Write().iono = iono;
    return true;
}

bool Almanac::UpdateUTC(const UTC& utc) {
    if (utc.time <= GetUTC().time || !FitsFile(utc)) return false;
    inner_.Write().utc = utc;
    return true;
}

const Almanac::Iono& Almanac::GetIono() const {
    return inner_.Read().iono;
}

const Almanac::UTC& Almanac::GetUTC() const {
    return inner_.Read().utc;
}

int Almanac::NmrSV() const {
    return inner_.Read().svs.GetSize();
}

const Almanac::SV& Almanac::GetSV(int index) const {
    static const SV none;
    const SV* sv = inner_.Read().svs.Get(index);
    return sv != nullptr ? *sv : none;
}

int Almanac::NmrGlonassSV() const {
    return inner_.Read().glonassSVs.GetSize();
}

const Almanac::GlonassSV& Almanac::GetGlonassSV(int index) const {
    static const GlonassSV none;
    const GlonassSV* sv = inner_.Read().glonassSVs.Get(index);
    return sv != nullptr ? *sv : none;
}

int Almanac::Find(const PRN& prn) const {
    return inner_.Read().svs.Find(prn);
}

int Almanac::Find(const Glonass::Slot& slot) const {
    return inner_.Read().glonassSVs.Find(slot);
}

bool Almanac::CalculatePosn(const PRN& prn, const GPSTime& t, ECEF& posn, double& clockOffset) const {
    const SV* sv = inner_.Read().svs.FindRecord(prn);
    return sv != nullptr && sv->CalculatePosn(t, posn, clockOffset);
}

bool Almanac::CalculatePosn(const Glonass::Slot& slot, const GPSTime& t, ECEF& posn, double& clockOffset) const {
    const GlonassSV* sv = inner_.Read().glonassSVs.FindRecord(slot);
    return sv != nullptr && sv->CalculatePosn(t, posn, clockOffset);
}

bool Almanac::CalculateIonoDelay(const GPSTime& t, const Latitude& lat, const Longitude& lon, const Angle& elevation,
                                 const Angle& azimuth, double& delay) const {
    delay = GetIono().CalculateDelay(t, lat, lon, elevation, azimuth);
    return true;
}

bool Almanac::CalcUTC(const GPSTime& t, TimeDate& utc) const {
    utc = GetUTC().CalcUTC(t);
    return true;
}

bool Almanac::CalcUTCShort(const GPSTime& t, TimeDate& utc) const {
    utc = GetUTC().CalcUTCShort(t);
    return true;
}

bool Almanac::GetGlonassIonoSF(const Glonass::Slot& slot, double& sf) const {
    const GlonassSV* sv = inner_.Read().glonassSVs.FindRecord(slot);
    if (sv == nullptr) return false;
    const double ratio = GPSFreqy::L1.GetFrequency() / Glonass::Frequency::L1.GetChannelFrequency(sv->channel);
    sf = ratio * ratio;
    return true;
}

bool Almanac::Write(Corvane::Stream::Output& output) const {
    return Succeeds([&] { return inner_.Read().Write(output); });
}

bool Almanac::Read(Corvane::Stream::Input& input) {
    return Succeeds([&] {
        Almanac read;
        if (!read.inner_.Write().Read(input)) return false;
        *this = read;
        return true;
    });
}

}  // namespace GNSS

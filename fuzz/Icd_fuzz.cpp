// GPS words in any order through the whole of ICD: what is decoded lies within the range of its field, an answer of
// false leaves the record alone, and an ephemeris is announced only for three subframes that follow one another.
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/ephemeris/GPSEphemeride.h"
#include "gnss/icd/ICD.h"

namespace {

using GNSS::ICD;

void Check(bool holds) {
    if (!holds) std::abort();
}

// A number of n half ranges' worth of a scale: [-bound, bound).
void CheckSigned(double value, int width, double scale) {
    const double bound = std::ldexp(scale, width - 1);
    Check(value >= -bound && value < bound);
    Check(std::fmod(value, scale) == 0.0);
}
void CheckUnsigned(double value, int width, double scale) {
    Check(value >= 0.0 && value < std::ldexp(scale, width));
    Check(std::fmod(value, scale) == 0.0);
}

template <typename Record>
std::vector<std::byte> BytesOf(const Record& record) {
    Corvane::Stream::MemoryOutput output;
    record.Write(output);
    return output.Bytes();
}

void CheckEphemeris(const ICD& icd) {
    GNSS::GPSEphemeride eph;
    Check(icd.GetEphemerisData(eph));
    Check(eph.prn.IsNull() && eph.reference == GNSS::GPSTime::Zero);
    using SF = ICD::EphemerisSF;
    CheckUnsigned(eph.clock.IODC, 10, 1.0);
    CheckUnsigned(eph.clock.toc, 16, SF::Toc);
    CheckSigned(eph.clock.Tgd, 8, SF::Tgd);
    CheckSigned(eph.clock.af2, 8, SF::Af2);
    CheckSigned(eph.clock.af1, 16, SF::Af1);
    CheckSigned(eph.clock.af0, 22, SF::Af0);
    CheckUnsigned(eph.posn.IODE, 8, 1.0);
    CheckUnsigned(eph.posn.toe, 16, SF::Toe);
    CheckUnsigned(eph.posn.sqrtA, 32, SF::SqrtA);
    CheckUnsigned(eph.posn.e, 32, SF::E);
    CheckSigned(eph.posn.Crs, 16, SF::Crs);
    CheckSigned(eph.posn.Crc, 16, SF::Crc);
    for (const auto& angle : {eph.posn.Cuc, eph.posn.Cus, eph.posn.Cic, eph.posn.Cis}) {
        CheckSigned(angle.Radians(), 16, SF::Cuc);
    }
    for (const auto& angle : {eph.posn.M0, eph.posn.Omega0, eph.posn.i0, eph.posn.omega}) {
        Check(std::abs(angle.SemiCircles()) <= 1.0);
    }
    Check(eph.status.GetCurveFit() >= 4 && eph.status.GetCurveFit() <= 146);
    Check(eph.status.GetURA() <= 15 && eph.status.GetHealth() <= 63 && eph.status.IsValid(7));
}

void CheckPages(const ICD& icd, int number, int week) {
    const bool exists = number >= 1 && number <= ICD::Subframes;
    const ICD::Subframe& subframe = icd.GetSubframe(number);
    GNSS::Almanac::SV sv;
    const auto freshSV = BytesOf(sv);
    if (icd.GetAlmanac(sv, week % 30000, number)) {
        Check(exists && sv.prn == subframe.GetSVID() && sv.health <= 255);
        CheckUnsigned(sv.e, 16, ICD::AlmanacSF::Eccent);
        CheckUnsigned(sv.sqrtA, 24, ICD::AlmanacSF::SqrtA);
        CheckSigned(sv.af0, 11, ICD::AlmanacSF::Af0);
        CheckSigned(sv.af1, 11, ICD::AlmanacSF::Af1);
        CheckUnsigned((sv.toa - GNSS::GPSTime(week % 30000, 0.0)).Seconds(), 8, ICD::AlmanacSF::Toa);
    } else {
        Check(!exists || subframe.GetSVID() < 1 || subframe.GetSVID() > 32);
        Check(BytesOf(sv) == freshSV);
    }
    GNSS::Almanac::Iono iono;
    GNSS::Almanac::UTC utc;
    const bool isFilled = icd.GetIono(iono, number);
    Check(isFilled == (exists && subframe.IsValid()));
    Check(icd.GetUTC(utc, week, number) == isFilled);
    if (!isFilled) {
        Check(iono == GNSS::Almanac::Iono() && utc == GNSS::Almanac::UTC());
        return;
    }
    CheckSigned(iono.alpha0, 8, ICD::IonoUTCSF::Alpha0);
    CheckSigned(iono.beta3, 8, ICD::IonoUTCSF::Beta3);
    CheckSigned(utc.A0, 32, ICD::IonoUTCSF::A0);
    CheckSigned(utc.A1, 24, ICD::IonoUTCSF::A1);
    CheckSigned(utc.DtLSF, 8, 1.0);
    CheckUnsigned(utc.DN, 8, 1.0);
    if (week > -8000000 && week < 8000000) CheckUnsigned(utc.WNLSF - 256.0 * week, 8, 1.0);
}

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : data_(data), left_(size) {}
    [[nodiscard]] bool IsEmpty() const { return left_ == 0; }
    template <typename Value>
    Value Take() {
        Value value{};
        const std::size_t size = left_ < sizeof value ? left_ : sizeof value;
        std::memcpy(&value, data_, size);
        data_ += size;
        left_ -= size;
        return value;
    }

private:
    const std::uint8_t* data_;
    std::size_t left_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    ICD icd;
    while (!input.IsEmpty()) {
        const auto what = input.Take<std::uint8_t>();
        if (what < 128) {
            std::array<unsigned long, 10> words{};
            for (unsigned long& word : words) word = input.Take<std::uint32_t>();
            // Mostly subframes that mean something.
            if (what < 100) words[0] = (words[0] & 0x003FFFFFU) | (0x8BUL << 22U);
            const ICD before = icd;
            int id = -1;
            int svId = -1;
            const ICD::Type type = icd.AddSubframe(words.data(), id, svId);
            Check(id >= 0 && id <= 7 && svId >= 0 && svId <= 63);
            if (id < 1 || id > 5) Check(icd == before && type == ICD::None);
            if (type == ICD::Ephemeris) {
                Check(icd.IsEphemerisValid());
                Check(icd.GetSubframe(id).GetTOW() - icd.GetSubframe(id - 1).GetTOW() == 1);
            }
            if (type == ICD::AlmanacSubframe4 || type == ICD::AlmanacSubframe5) {
                GNSS::Almanac::SV sv;
                Check(icd.GetAlmanac(sv, 2300, id) && sv.prn == svId);
            }
        } else if (what < 200) {
            const auto place = input.Take<std::array<std::int32_t, 2>>();
            const auto bytes = input.Take<std::array<std::uint8_t, 3>>();
            const ICD before = icd;
            icd.SetSubframeWordWithoutParity(place[0], place[1], bytes[0], bytes[1], bytes[2]);
            if (place[0] < 1 || place[0] > 4 || place[1] < 1 || place[1] > 10) Check(icd == before);
        } else {
            const auto range = input.Take<std::array<std::uint32_t, 2>>();
            const auto& word = icd.GetSubframe(what).GetWord(what % 12);
            const std::uint32_t bits = word.GetUnsigned(range[0], range[1]);
            if (range[1] < 32) Check((bits >> range[1]) == 0);
            if (range[1] < 1 || range[0] >= 30) Check(bits == 0 && word.GetSigned(range[0], range[1]) == 0);
        }
        CheckEphemeris(icd);
        CheckPages(icd, what % 7, input.Take<std::int32_t>());
        Check(icd.GetSpecialMessage().Length() == 22);
    }
    return 0;
}

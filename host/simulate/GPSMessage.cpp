#include "host/simulate/GPSMessage.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "gnss/icd/ICD.h"
#include "gnss/platform/Number.h"
#include "host/receiver/GPSParity.h"

namespace Host {

namespace {

using EphSF = GNSS::ICD::EphemerisSF;
using AlmSF = GNSS::ICD::AlmanacSF;
using PageSF = GNSS::ICD::IonoUTCSF;

constexpr unsigned DataBits = 24;
constexpr std::int64_t DataID = 1;
constexpr double SemiCircle = std::numbers::pi;

}  // namespace

GPSSubframeBits::GPSSubframeBits(int subframe, double secondsOfWeek) {
    constexpr int CountsOfWeek = 100800;
    Put({1, 1, 8}, GNSS::ICD::Subframe::Preamble);
    const int count = Corvane::ToInt(std::round(secondsOfWeek / 6.0)) + 1;
    Put({2, 1, 17}, count % CountsOfWeek);
    Put({2, 19, 1}, 1);  // anti-spoofing is on, as page 25 of subframe 4 says
    Put({2, 20, 3}, subframe);
}

void GPSSubframeBits::Put(const Place& place, std::int64_t number) {
    const unsigned shift = DataBits - static_cast<unsigned>(place.first - 1 + place.width);
    const std::uint32_t mask = (std::uint32_t{1} << static_cast<unsigned>(place.width)) - 1U;
    std::uint32_t& word = data_[static_cast<std::size_t>(place.word - 1)];
    word = (word & ~(mask << shift)) | (static_cast<std::uint32_t>(number) & mask) << shift;
}

void GPSSubframeBits::Put(const Place& place, double value, double unit, bool isSigned, const Place& rest) {
    const int width = place.width + rest.width;
    const std::int64_t most = (std::int64_t{1} << static_cast<unsigned>(isSigned ? width - 1 : width)) - 1;
    const std::int64_t least = isSigned ? -most - 1 : 0;
    const std::int64_t number = std::clamp(Corvane::ToInt64(std::round(value / unit)), least, most);
    Put(place, number >> static_cast<unsigned>(rest.width));
    if (rest.width > 0) Put(rest, number);
}

std::array<std::uint32_t, GPSSubframeBits::Words> GPSSubframeBits::GetTransmitted() const {
    constexpr std::uint32_t AllData = 0xFFFFFFU;
    std::array<std::uint32_t, Words> words{};
    std::uint32_t before = 0;
    for (std::size_t i = 0; i < Words; ++i) {
        const bool d29 = (before & 2U) != 0;
        const bool d30 = (before & 1U) != 0;
        std::uint32_t data = data_[i];
        // The last two data bits of the second and the last word are there to make it end with zeros.
        const bool isSolved = i == 1 || i == Words - 1;
        unsigned parity = GPSParityOf(data, d29, d30);
        for (std::uint32_t bits = 0; isSolved && (parity & 3U) != 0; ++bits) {
            data = (data_[i] & ~3U) | bits;
            parity = GPSParityOf(data, d29, d30);
        }
        words[i] = (d30 ? ~data & AllData : data) << 6U | parity;
        before = words[i];
    }
    return words;
}

GPSSubframeBits MakeSubframe(const GPSBroadcast& b, int subframe, double secondsOfWeek) {
    GPSSubframeBits bits(subframe, secondsOfWeek);
    const BroadcastOrbit& o = b.orbit;
    switch (subframe) {
        case 1:
            bits.Put({3, 1, 10}, b.week % 1024);
            bits.Put({3, 11, 2}, 1);  // P code on L2
            bits.Put({3, 13, 4}, b.accuracy);
            bits.Put({3, 17, 6}, b.health);
            bits.Put({3, 23, 2}, b.issue >> 8);
            bits.Put({7, 17, 8}, b.groupDelay, EphSF::Tgd, true);
            bits.Put({8, 1, 8}, b.issue);
            bits.Put({8, 9, 16}, b.toe, EphSF::Toc, false);
            bits.Put({9, 1, 8}, b.af2, EphSF::Af2, true);
            bits.Put({9, 9, 16}, b.af1, EphSF::Af1, true);
            bits.Put({10, 1, 22}, b.af0, EphSF::Af0, true);
            break;
        case 2:
            bits.Put({3, 1, 8}, b.issue);
            bits.Put({3, 9, 16}, o.Crs, EphSF::Crs, true);
            bits.Put({4, 1, 16}, o.deltaN / SemiCircle, EphSF::Dn, true);
            bits.Put({4, 17, 8}, o.M0 / SemiCircle, EphSF::M0, true, {5, 1, 24});
            bits.Put({6, 1, 16}, o.Cuc, EphSF::Cuc, true);
            bits.Put({6, 17, 8}, o.e, EphSF::E, false, {7, 1, 24});
            bits.Put({8, 1, 16}, o.Cus, EphSF::Cus, true);
            bits.Put({8, 17, 8}, o.sqrtA, EphSF::SqrtA, false, {9, 1, 24});
            bits.Put({10, 1, 16}, b.toe, EphSF::Toe, false);
            break;
        case 3:
            bits.Put({3, 1, 16}, o.Cic, EphSF::Cic, true);
            bits.Put({3, 17, 8}, o.GetNodeAtWeekStart(b.toe) / SemiCircle, EphSF::Omega0, true, {4, 1, 24});
            bits.Put({5, 1, 16}, o.Cis, EphSF::Cis, true);
            bits.Put({5, 17, 8}, o.i0 / SemiCircle, EphSF::I0, true, {6, 1, 24});
            bits.Put({7, 1, 16}, o.Crc, EphSF::Crc, true);
            bits.Put({7, 17, 8}, std::remainder(o.omega / SemiCircle, 2.0), EphSF::W, true, {8, 1, 24});
            bits.Put({9, 1, 24}, o.nodeRate / SemiCircle, EphSF::OmegaDot, true);
            bits.Put({10, 1, 8}, b.issue);
            bits.Put({10, 9, 14}, o.iRate / SemiCircle, EphSF::IDot, true);
            break;
        default:
            break;
    }
    return bits;
}

GPSSubframeBits MakeAlmanacPage(const GPSAlmanacPage& page, int subframe, double secondsOfWeek) {
    GPSSubframeBits bits = MakeEmptyPage(subframe, page.prn, secondsOfWeek);
    const BroadcastOrbit& o = page.orbit;
    bits.Put({3, 9, 16}, o.e, AlmSF::Eccent, false);
    bits.Put({4, 1, 8}, page.toa, AlmSF::Toa, false);
    bits.Put({4, 9, 16}, o.i0 / SemiCircle - 0.3, AlmSF::Di, true);
    bits.Put({5, 1, 16}, o.nodeRate / SemiCircle, AlmSF::OmegaDot, true);
    bits.Put({5, 17, 8}, page.health);
    bits.Put({6, 1, 24}, o.sqrtA, AlmSF::SqrtA, false);
    bits.Put({7, 1, 24}, o.GetNodeAtWeekStart(page.toa) / SemiCircle, AlmSF::Omega0, true);
    bits.Put({8, 1, 24}, std::remainder(o.omega / SemiCircle, 2.0), AlmSF::W, true);
    bits.Put({9, 1, 24}, o.M0 / SemiCircle, AlmSF::M0, true);
    bits.Put({10, 1, 8}, page.af0, AlmSF::Af0, true, {10, 20, 3});
    bits.Put({10, 9, 11}, page.af1, AlmSF::Af1, true);
    return bits;
}

GPSSubframeBits MakeIonoUTCPage(const GNSS::Almanac::Iono& iono, const GNSS::Almanac::UTC& utc, double secondsOfWeek) {
    GPSSubframeBits bits = MakeEmptyPage(4, 56, secondsOfWeek);
    bits.Put({3, 9, 8}, iono.alpha0, PageSF::Alpha0, true);
    bits.Put({3, 17, 8}, iono.alpha1, PageSF::Alpha1, true);
    bits.Put({4, 1, 8}, iono.alpha2, PageSF::Alpha2, true);
    bits.Put({4, 9, 8}, iono.alpha3, PageSF::Alpha3, true);
    bits.Put({4, 17, 8}, iono.beta0, PageSF::Beta0, true);
    bits.Put({5, 1, 8}, iono.beta1, PageSF::Beta1, true);
    bits.Put({5, 9, 8}, iono.beta2, PageSF::Beta2, true);
    bits.Put({5, 17, 8}, iono.beta3, PageSF::Beta3, true);
    bits.Put({6, 1, 24}, utc.A1, PageSF::A1, true);
    bits.Put({7, 1, 24}, utc.A0, PageSF::A0, true, {8, 1, 8});
    bits.Put({8, 9, 8}, utc.Tot, PageSF::Tot, false);
    bits.Put({8, 17, 8}, utc.WNt % 256);
    bits.Put({9, 1, 8}, utc.DtLS);
    bits.Put({9, 9, 8}, utc.WNLSF % 256);
    bits.Put({9, 17, 8}, utc.DN);
    bits.Put({10, 1, 8}, utc.DtLSF);
    return bits;
}

GPSSubframeBits MakeHealthPage(int subframe, double toa, int weekOfAlmanac, const std::array<int, 33>& health,
                               double secondsOfWeek) {
    GPSSubframeBits bits = MakeEmptyPage(subframe, subframe == 5 ? 51 : 63, secondsOfWeek);
    if (subframe == 5) {
        bits.Put({3, 9, 8}, toa, AlmSF::Toa, false);
        bits.Put({3, 17, 8}, weekOfAlmanac % 256);
        for (int prn = 1; prn <= 24; ++prn)
            bits.Put({4 + (prn - 1) / 4, 1 + (prn - 1) % 4 * 6, 6}, health[static_cast<std::size_t>(prn)]);
    } else {
        // Anti-spoofing on, satellites of the first kind: four bits each in words 3 to 8.
        for (int prn = 1; prn <= 32; ++prn) {
            const int place = prn <= 4 ? 9 + (prn - 1) * 4 : 1 + (prn - 5) % 6 * 4;
            bits.Put({prn <= 4 ? 3 : 4 + (prn - 5) / 6, place, 4}, 9);
        }
        bits.Put({8, 19, 6}, health[25]);
        for (int prn = 26; prn <= 32; ++prn)
            bits.Put({9 + (prn - 26) / 4, 1 + (prn - 26) % 4 * 6, 6}, health[static_cast<std::size_t>(prn)]);
    }
    return bits;
}

GPSSubframeBits MakeTextPage(std::string_view text, double secondsOfWeek) {
    GPSSubframeBits bits = MakeEmptyPage(4, 55, secondsOfWeek);
    for (int byte = 1; byte <= GNSS::ICD::SpecialMessageLength; ++byte) {
        const auto at = static_cast<std::size_t>(byte - 1);
        bits.Put({3 + byte / 3, 1 + byte % 3 * 8, 8}, at < text.size() ? text[at] : ' ');
    }
    return bits;
}

GPSSubframeBits MakeEmptyPage(int subframe, int svId, double secondsOfWeek) {
    GPSSubframeBits bits(subframe, secondsOfWeek);
    bits.Put({3, 1, 2}, DataID);
    bits.Put({3, 3, 6}, svId);
    return bits;
}

}  // namespace Host

#include "host/receiver/GPSRecordMaker.h"

#include <cmath>

#include "host/receiver/GPSOrbit.h"
#include "host/receiver/GPSParity.h"

namespace Host {

using GNSS::Almanac;
using GNSS::GPSEphemeride;
using GNSS::GPSTime;
using GNSS::ICD;

namespace {

constexpr int ModulusOfPage = 256;  // of the weeks in subframes 4 and 5
constexpr int ModulusOfSubframe1 = 1024;
constexpr int MostWeeksOff = 4;  // of the stream's time, where a satellite tells another
constexpr int PageDataID = 1;    // of GPS almanacs; others are of systems that are built like it
constexpr double SecondsOfSubframe = 6.0;

// The second of the week at which a subframe began: its hand-over word tells when the next one does. Nothing for a
// count that no week has.
std::optional<double> StartOf(const ICD::Subframe& subframe) {
    const double next = subframe.GetTOW() * SecondsOfSubframe;
    if (next >= GPSTime::SecsInWeek) return std::nullopt;
    return next > 0.0 ? next - SecondsOfSubframe : GPSTime::SecsInWeek - SecondsOfSubframe;
}

bool IsOfWeek(double seconds) {
    return seconds >= 0.0 && seconds < GPSTime::SecsInWeek;
}

// Of zeros, as a page or a receiver may have them that knows nothing yet, it would undo all leap seconds.
bool IsFilled(const Almanac::UTC& utc) {
    return utc.DN >= 1 && utc.DN <= 7 && utc.DtLS >= 0;
}

}  // namespace

template <typename Record, int Places>
void GPSRecordMaker::Take(int index, const Record& record, Waiting<Record, Places>& waiting) {
    if (clock_.GetTime()) {
        Complete(record);
    } else {
        waiting.Put(index + 1, record);
    }
}

void GPSRecordMaker::Add(const GPSSubframe& subframe) {
    if (subframe.parity == GPSSubframe::Parity::Present && !HasGPSParity(subframe.words)) {
        ++nmrParityFailures_;
        return;
    }
    ICD& icd = icds_[static_cast<std::size_t>(int{subframe.prn})];
    int id = 0;
    int svId = 0;
    const ICD::Type type = icd.AddSubframe(subframe.words.data(), id, svId);
    if (type == ICD::Ephemeris && subframe.prn.IsValid()) TakeEphemeride(subframe.prn, icd);
    if (type == ICD::Ephemeris || type == ICD::None) return;

    const ICD::Subframe& page = icd.GetSubframe(id);
    const auto seconds = StartOf(page);
    if (!page.IsValid() || page.GetDataID() != PageDataID || !seconds) {
        ++nmrRefused_;
        return;
    }
    if (type == ICD::AlmanacSubframe4 || type == ICD::AlmanacSubframe5) {
        Page<Almanac::SV> almanac{{}, seconds};
        // Week 0 keeps the seconds of toa as they are.
        if (!icd.GetAlmanac(almanac.record, 0, id) || almanac.record.toa.GetWeek() != 0 ||
            !IsGPSOrbit(almanac.record.sqrtA, almanac.record.e)) {
            ++nmrRefused_;
            return;
        }
        Take(svId - 1, almanac, almanacs_);
    } else if (type == ICD::HealthPage && svId == 51 && id == 5) {
        // Page 25 of subframe 5: toa and its week in the third word (IS-GPS-200, figure 20-1 sheet 5).
        const ICD::Word& word = page.GetWord(3);
        const double toa = word.GetUnsigned(8, 8) * ICD::AlmanacSF::Toa;
        Take(0, Page<AlmanacWeek>{{toa, static_cast<int>(word.GetUnsigned(16, 8)), {}}, seconds}, almanacWeeks_);
    } else if (type == ICD::IonoUTC && id == 4) {
        TakeUTCPage(icd, *seconds);
    }
}

void GPSRecordMaker::TakeEphemeride(GNSS::PRN prn, const ICD& icd) {
    Subframes subframes;
    GPSEphemeride& ephemeride = subframes.ephemeride;
    if (!icd.GetEphemerisData(ephemeride)) return;
    // A satellite that changes its issue between two subframes sends parts that do not belong together.
    const int iodeOf3 = static_cast<int>(icd.GetSubframe(3).GetWord(10).GetUnsigned(0, 8));
    const bool isOneIssue =
        ephemeride.posn.IODE == iodeOf3 && ephemeride.posn.IODE == ephemeride.clock.IODC % ModulusOfPage;
    const auto first = StartOf(icd.GetSubframe(1));
    const auto third = StartOf(icd.GetSubframe(3));
    if (!isOneIssue || !first || !third || !IsOfWeek(ephemeride.posn.toe) || !IsOfWeek(ephemeride.clock.toc) ||
        !IsGPSOrbit(ephemeride.posn.sqrtA, ephemeride.posn.e)) {
        ++nmrRefused_;
        return;
    }
    ephemeride.prn = prn;
    subframes.week = static_cast<int>(icd.GetSubframe(1).GetWord(3).GetUnsigned(0, 10));
    subframes.first = *first;
    subframes.third = *third;
    Take(prn - 1, subframes, ephemerides_);
}

// A page that has never been filled is none of both.
void GPSRecordMaker::TakeUTCPage(const ICD& icd, double seconds) {
    Page<Almanac::Iono> iono{{}, seconds};
    Page<Almanac::UTC> utc{{}, seconds};
    if (!icd.GetIono(iono.record, 4) || !icd.GetUTC(utc.record, 0, 4) || !IsFilled(utc.record)) {
        ++nmrRefused_;
        return;
    }
    Take(0, iono, iono_);
    Take(0, utc, utc_);
}

void GPSRecordMaker::Add(const GPSDecodedEphemeride& record) {
    if (record.ephemeride.prn.IsNull()) return;
    const bool isDated = clock_.GetTime() || record.weekModulus == 0;
    if (isDated) {
        Complete(record);
    } else {
        decoded_.Put(record.ephemeride.prn, record);
    }
}

void GPSRecordMaker::Add(const Almanac::Iono& record) {
    Take(0, Page<Almanac::Iono>{record, {}}, iono_);
}

void GPSRecordMaker::Add(const Almanac::UTC& record) {
    Take(0, Page<Almanac::UTC>{record, {}}, utc_);
}

void GPSRecordMaker::CompleteWaiting() {
    const auto complete = [this](const auto& record) { Complete(record); };
    // Before what it dates.
    almanacWeeks_.Release(complete);
    ephemerides_.Release(complete);
    decoded_.Release(complete);
    almanacs_.Release(complete);
    iono_.Release(complete);
    utc_.Release(complete);
}

GPSTime GPSRecordMaker::Date(const std::optional<double>& seconds) const {
    const GPSTime& now = *clock_.GetTime();
    return seconds ? now.GetClosest(*seconds) : now;
}

void GPSRecordMaker::Complete(const Subframes& subframes) {
    const GPSTime dated = Date(subframes.first);
    const int week = ResolveWeek(subframes.week, ModulusOfSubframe1, dated.GetWeek());
    if (std::abs(week - dated.GetWeek()) > MostWeeksOff) {
        ++nmrRefused_;
        return;
    }
    GPSEphemeride ephemeride = subframes.ephemeride;
    ephemeride.reference = GPSTime(week, subframes.first).GetClosest(subframes.third);
    sink_.OnRecord(ephemeride);
}

void GPSRecordMaker::Complete(const Page<AlmanacWeek>& page) {
    almanacWeek_ = page.record;
    almanacWeek_->time = Date(page.seconds);
}

void GPSRecordMaker::Complete(const Page<Almanac::SV>& page) {
    Almanac::SV sv = page.record;
    sv.time = Date(page.seconds);
    const double toa = sv.toa.GetSeconds();
    const bool hasWeek = almanacWeek_ && almanacWeek_->toa == toa &&
                         std::abs((sv.time - almanacWeek_->time).Seconds()) <= GPSTime::SecsInDay;
    sv.toa = hasWeek ? GPSTime(ResolveWeek(almanacWeek_->week, ModulusOfPage, sv.time.GetWeek()), toa)
                     : sv.time.GetClosest(toa);
    sink_.OnRecord(sv);
}

void GPSRecordMaker::Complete(const Page<Almanac::Iono>& page) {
    Almanac::Iono iono = page.record;
    iono.time = Date(page.seconds);
    sink_.OnRecord(iono);
}

void GPSRecordMaker::Complete(const Page<Almanac::UTC>& page) {
    Almanac::UTC utc = page.record;
    utc.time = Date(page.seconds);
    utc.WNt = ResolveWeek(utc.WNt, ModulusOfPage, utc.time.GetWeek());
    utc.WNLSF = ResolveWeek(utc.WNLSF, ModulusOfPage, utc.time.GetWeek());
    if (!IsFilled(utc) || !clock_.SetUTC(utc)) {
        ++nmrRefused_;
        return;
    }
    sink_.OnRecord(utc);
}

void GPSRecordMaker::Complete(const GPSDecodedEphemeride& record) {
    GPSEphemeride ephemeride = record.ephemeride;
    int week = record.week;
    if (record.weekModulus != 0) {
        const GPSTime& now = *clock_.GetTime();
        week = ResolveWeek(week, record.weekModulus, now.GetWeek());
        // Such a week may be that of the transmission, and toe lie in the next, across a turn between the two.
        for (const int other : {week - 1, week + 1}) {
            const GPSTime toe(other, ephemeride.posn.toe);
            const bool isTurn = std::abs(now.GetSeconds() - toe.GetSeconds()) > GPSTime::SecsInWeek / 2.0;
            if (isTurn && std::abs((toe - now).Seconds()) < GPSTime::SecsInDay) week = other;
        }
        // Nearest, but before the start of GPS time: the stream's week is not that of the message.
        if (week < 0) {
            ++nmrRefused_;
            return;
        }
    }
    const GPSTime toc = GPSTime(week, ephemeride.posn.toe).GetClosest(ephemeride.clock.toc);
    const std::optional<GPSTime>& sent = record.transmission ? record.transmission : clock_.GetTime();
    const bool isSentNear = sent && std::abs((*sent - toc).Seconds()) <= GPSTime::SecsInDay;
    ephemeride.reference = isSentNear ? *sent : toc;
    sink_.OnRecord(ephemeride);
}

std::int64_t GPSRecordMaker::GetNmrWaiting() const {
    return ephemerides_.GetNmr() + decoded_.GetNmr() + almanacs_.GetNmr() + iono_.GetNmr() + utc_.GetNmr();
}

std::int64_t GPSRecordMaker::GetNmrUndatable() const {
    return ephemerides_.GetNmrReplaced() + decoded_.GetNmrReplaced() + almanacs_.GetNmrReplaced() +
           iono_.GetNmrReplaced() + utc_.GetNmrReplaced();
}

}  // namespace Host

#include "gnss/ephemeris/EphemerisRules.h"

#include <cstdint>

#include "gnss/platform/Number.h"
#include "gnss/time/Constants.h"

namespace GNSS {

void EphemerisRules<GPSSystem>::CalculatorMembers::CalculateRotation(ECEF& posn, double range) {
    const Corvane::Angle theta = GPSEphemeride::EarthRate * (range / LightSpeed);
    const double sine = sin(theta);
    const double cosine = cos(theta);
    const double x = posn.GetX();
    const double y = posn.GetY();
    posn.SetX(x * cosine + y * sine);
    posn.SetY(y * cosine - x * sine);
}

Reception EphemerisRules<GPSSystem>::Receive(const Record* newest, Record& record) {
    if (newest != nullptr) {
        const bool isRepeat =
            record.posn.IODE == newest->posn.IODE && Corvane::compare(record.posn.toe, newest->posn.toe, 0.1) == 0;
        if (isRepeat || record.reference < newest->reference) return Reception::Refused;
    }
    return Reception::BecomesNewest;
}

bool EphemerisRules<GPSSystem>::CalculatePosn(const Record& record, const GPSTime& t, Result& result, bool) {
    return record.CalculatePosn(t, result);
}

Reception EphemerisRules<GlonassSystem>::Receive(const Record* newest, Record& record) {
    int& sequence = record.posn.sequence;
    if (newest == nullptr) {
        sequence = -1;
        return Reception::BecomesNewest;
    }
    if (record.IsTheSame(*newest) || record.reference < newest->reference || record.posn.day < newest->posn.day) {
        return Reception::Refused;
    }
    const int before = newest->posn.sequence;
    if (newest->HasTheSameBody(record)) {
        sequence = before;
        return Reception::ReplacesNewest;
    }
    sequence = -1;
    if (record.TbDifference(*newest).Compare(HistoryMembers::GapStarts) < 0) {
        if (!record.posn.IsTheSameTb(newest->posn)) {
            sequence = 0;
        } else if (before >= 0) {
            sequence = Corvane::Saturate(std::int64_t{before} + 1);
        }
    }
    return Reception::BecomesNewest;
}

bool EphemerisRules<GlonassSystem>::CalculatePosn(const Record& record, const GPSTime& t, Result& result,
                                                  bool isSecond) {
    return record.CalculatePosn(t, result, isSecond);
}

}  // namespace GNSS

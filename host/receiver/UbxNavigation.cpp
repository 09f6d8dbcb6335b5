// The receiver's own answer: NAV-PVT, NAV-POSLLH, NAV-DOP, NAV-SAT, NAV-TIMEGPS.
#include <chrono>
#include <cstdint>

#include "gnss/platform/TimeDate.h"
#include "host/receiver/UbxDecoder.h"
#include "host/receiver/UbxSystems.h"

namespace Host {

using GNSS::GPSTime;

namespace {

constexpr std::uint32_t MSInWeek = 604'800'000;

// Units of the fields.
constexpr double Millimetre = 1e-3;
constexpr double AngleUnit = 1e-7;  // degrees
constexpr double DOPUnit = 0.01;

// An accuracy of so many millimetres is none.
constexpr std::uint32_t NoAccuracy = 0xFFFFFFFF;

// Latitude, longitude, heights and accuracies, which stand in this order in more than one message, from a byte on.
// False when they name no place.
bool ReadPlace(const LittleEndian& place, ReceiverFix& fix) {
    const auto longitude = place.Get<std::int32_t>(0);
    const auto latitude = place.Get<std::int32_t>(4);
    constexpr std::int32_t HalfTurn = 1'800'000'000;
    if (longitude < -HalfTurn || longitude > HalfTurn || latitude < -HalfTurn / 2 || latitude > HalfTurn / 2) {
        return false;
    }
    fix.longitude = longitude * AngleUnit;
    fix.latitude = latitude * AngleUnit;
    fix.height = place.Get<std::int32_t>(8) * Millimetre;
    fix.heightMSL = place.Get<std::int32_t>(12) * Millimetre;
    const auto horizontal = place.Get<std::uint32_t>(16);
    const auto vertical = place.Get<std::uint32_t>(20);
    if (horizontal != NoAccuracy) fix.horizontalAccuracy = horizontal * Millimetre;
    if (vertical != NoAccuracy) fix.verticalAccuracy = vertical * Millimetre;
    return true;
}

// The date and time of day of NAV-PVT, as a calendar has them; nothing when it has not.
std::optional<Corvane::TimeDate> ReadUTC(const LittleEndian& date) {
    const int year = date.Get<std::uint16_t>(0);
    const unsigned month = date.Get<std::uint8_t>(2);
    const unsigned day = date.Get<std::uint8_t>(3);
    const int hour = date.Get<std::uint8_t>(4);
    const int minute = date.Get<std::uint8_t>(5);
    const int second = date.Get<std::uint8_t>(6);
    const std::chrono::year_month_day calendar{std::chrono::year(year), std::chrono::month(month),
                                               std::chrono::day(day)};
    if (!calendar.ok() || year < 1981 || year > 2099 || hour > 23 || minute > 59 || second > 60) return std::nullopt;
    return Corvane::TimeDate(Corvane::Date(year, static_cast<int>(month), static_cast<int>(day)),
                             Corvane::TimeOfDay(hour, minute, second));
}

// The RINEX letter of a system; 0 where it has none.
char LetterOf(int system) {
    switch (system) {
        case UbxSystems::GPS:
            return 'G';
        case UbxSystems::SBAS:
            return 'S';
        case UbxSystems::Galileo:
            return 'E';
        case UbxSystems::BeiDou:
            return 'C';
        case UbxSystems::QZSS:
            return 'J';
        case UbxSystems::Glonass:
            return 'R';
        case UbxSystems::NavIC:
            return 'I';
        default:
            return 0;
    }
}

// RINEX counts satellites of augmentation systems from 100. A GLONASS satellite without a slot is number 0.
int NumberOf(int system, int number) {
    if (system == UbxSystems::SBAS) return number - 100;
    return system == UbxSystems::Glonass && number == UbxSystems::UnknownSlot ? 0 : number;
}

bool IsKnownSatellite(int system, int number) {
    if (system == UbxSystems::GPS) return UbxSystems::IsNumber<GNSS::PRN>(number);
    if (system == UbxSystems::Glonass) return UbxSystems::IsGlonassNumber(number);
    return system == UbxSystems::SBAS ? number > 100 : number > 0;
}

}  // namespace

bool UbxDecoder::DecodePVT(const LittleEndian& payload) {
    constexpr std::size_t Size = 92;
    constexpr std::size_t OldSize = 84;  // up to protocol 14
    constexpr unsigned DateAndTimeValid = 0x3;
    constexpr unsigned FixOK = 0x1;
    constexpr unsigned InvalidPlace = 0x1;
    enum { None, DeadReckoning, TwoD, ThreeD, ThreeDWithDeadReckoning, TimeOnly };

    if (payload.GetSize() != Size && payload.GetSize() != OldSize) return false;
    const auto tow = payload.Get<std::uint32_t>(0);
    const int type = payload.Get<std::uint8_t>(20);
    if (tow >= MSInWeek || type > TimeOnly) return false;
    ReceiverFix fix;
    fix.type = type == ThreeDWithDeadReckoning ? ThreeD : type;
    fix.valid = (payload.Get<std::uint8_t>(21) & FixOK) != 0;
    fix.nmrUsed = payload.Get<std::uint8_t>(23);
    fix.pdop = payload.Get<std::uint16_t>(76) * DOPUnit;
    const bool hasPlace = type != None && type != TimeOnly && (payload.Get<std::uint8_t>(78) & InvalidPlace) == 0;
    if (hasPlace) {
        if (!ReadPlace(payload.From(24), fix)) return false;
        fix.velocityNorth = payload.Get<std::int32_t>(48) * Millimetre;
        fix.velocityEast = payload.Get<std::int32_t>(52) * Millimetre;
        fix.velocityDown = payload.Get<std::int32_t>(56) * Millimetre;
    }

    if ((payload.Get<std::uint8_t>(11) & DateAndTimeValid) == DateAndTimeValid) {
        const std::optional<Corvane::TimeDate> utc = ReadUTC(payload.From(4));
        if (!utc) return false;
        // GPS time and UTC are seconds apart, so that the date tells the week.
        SetTime(GPSTime(*utc).GetClosest(tow * 1e-3));
        fix.time = time_;
    } else {
        ForgetTime();
    }
    Sink().OnFix(fix);
    return true;
}

bool UbxDecoder::DecodePOSLLH(const LittleEndian& payload) {
    constexpr std::size_t Size = 28;
    if (payload.GetSize() != Size) return false;
    const auto tow = payload.Get<std::uint32_t>(0);
    ReceiverFix fix;
    if (tow >= MSInWeek || !ReadPlace(payload.From(4), fix)) return false;
    // Without a fix the message is sent as well, and says so by its accuracy only.
    if (!fix.horizontalAccuracy) return true;
    fix.time = DateTow(tow);
    Sink().OnFix(fix);
    return true;
}

bool UbxDecoder::DecodeDOP(const LittleEndian& payload) {
    constexpr std::size_t Size = 18;
    if (payload.GetSize() != Size) return false;
    const auto tow = payload.Get<std::uint32_t>(0);
    if (tow >= MSInWeek) return false;
    ReceiverFix fix;
    std::size_t at = 4;
    for (std::optional<double>* dop : {&fix.gdop, &fix.pdop, &fix.tdop, &fix.vdop, &fix.hdop, &fix.ndop, &fix.edop}) {
        *dop = payload.Get<std::uint16_t>(at) * DOPUnit;
        at += 2;
    }
    fix.time = DateTow(tow);
    Sink().OnFix(fix);
    return true;
}

bool UbxDecoder::DecodeSAT(const LittleEndian& payload) {
    constexpr std::size_t Blocks = 8;
    constexpr std::size_t BlockSize = 12;
    constexpr double ResidualUnit = 0.1;  // m
    constexpr unsigned Used = 0x8;

    const std::size_t nmr = payload.Get<std::uint8_t>(5);
    const auto tow = payload.Get<std::uint32_t>(0);
    if (payload.GetSize() != Blocks + nmr * BlockSize || tow >= MSInWeek) return false;
    sky_.satellites.clear();
    for (std::size_t i = 0; i < nmr; ++i) {
        const LittleEndian block = payload.From(Blocks + i * BlockSize);
        const int system = block.Get<std::uint8_t>(0);
        const int number = block.Get<std::uint8_t>(1);
        const char letter = LetterOf(system);
        if (letter == 0) continue;
        if (!IsKnownSatellite(system, number)) return false;
        ReceiverSatellite satellite;
        satellite.system = letter;
        satellite.number = NumberOf(system, number);
        satellite.snr = block.Get<std::uint8_t>(2);
        const auto elevation = block.Get<std::int8_t>(3);
        const int azimuth = block.Get<std::int16_t>(4);
        if (elevation >= -90 && elevation <= 90 && azimuth >= 0 && azimuth <= 360) {
            satellite.elevation = elevation;
            satellite.azimuth = azimuth;
        }
        const auto flags = block.Get<std::uint32_t>(8);
        satellite.residual = block.Get<std::int16_t>(6) * ResidualUnit;
        satellite.used = (flags & Used) != 0;
        const unsigned health = flags >> 4U & 0x3U;
        satellite.health = health > 2 ? 0 : static_cast<int>(health);
        sky_.satellites.push_back(satellite);
    }
    sky_.time = DateTow(tow);
    Sink().OnSky(sky_);
    return true;
}

bool UbxDecoder::DecodeTIMEGPS(const LittleEndian& payload) {
    constexpr std::size_t Size = 16;
    constexpr unsigned TowAndWeekValid = 0x3;
    constexpr unsigned LeapValid = 0x4;
    if (payload.GetSize() != Size) return false;
    const auto tow = payload.Get<std::uint32_t>(0);
    const int week = payload.Get<std::int16_t>(8);
    const auto leap = payload.Get<std::int8_t>(10);
    const unsigned valid = payload.Get<std::uint8_t>(11);
    const bool hasTime = (valid & TowAndWeekValid) == TowAndWeekValid;
    if (tow >= MSInWeek || (hasTime && (week <= 0 || week > MaxWeek))) return false;
    if (hasTime) {
        SetTime(GPSTime(week, tow * 1e-3));
    } else {
        ForgetTime();
    }
    if ((valid & LeapValid) != 0 && leapSeconds_ != leap) {
        leapSeconds_ = leap;
        Sink().OnLeapSeconds(leap);
    }
    return true;
}

}  // namespace Host

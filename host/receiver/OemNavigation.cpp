// The OEM messages that carry what the satellites send.
#include <algorithm>
#include <cmath>

#include "gnss/icd/ICD.h"
#include "gnss/platform/Number.h"
#include "gnss/time/GloTime.h"
#include "host/receiver/GlonassWords.h"
#include "host/receiver/LittleEndian.h"
#include "host/receiver/OemMessages.h"
#include "host/receiver/StreamDecoder.h"

namespace Host::Oem {

using GNSS::GPSTime;
using GNSS::ICD;
using GNSS::Glonass::Ephemeride;
using GNSS::Glonass::Slot;

namespace {

constexpr std::size_t SubframeBytes = 30;
constexpr unsigned ChannelOffset = 7;

std::uint32_t WordAt(std::string_view bytes, std::size_t word) {
    const auto byte = [bytes, word](std::size_t i) { return static_cast<unsigned char>(bytes[3 * word + i]); };
    ICD::Word value;
    value.SetWithoutParity(byte(0), byte(1), byte(2));
    return value.Get();
}

// TOW counts in a week, and where the one of a subframe stands in its word 2.
constexpr unsigned CountsInWeek = 100800;
constexpr unsigned CountShift = 13;
constexpr unsigned long CountMask = 0x1FFFFUL << CountShift;

GPSSubframe MakeSubframe(GNSS::PRN prn, std::string_view bytes) {
    GPSSubframe subframe;
    subframe.prn = prn;
    for (std::size_t i = 0; i < subframe.words.size(); ++i) subframe.words[i] = WordAt(bytes, i);
    return subframe;
}

unsigned GetPreamble(const GPSSubframe& subframe) {
    return static_cast<unsigned>(subframe.words[0] >> 22U);
}
unsigned GetNumber(const GPSSubframe& subframe) {
    return static_cast<unsigned>(subframe.words[1] >> 8U) & 7U;
}

// Subframes 1 to 3 of one issue, but of different frames, as the receiver got hold of each last. All are moved into the
// newest of these frames, for what the library takes for an ephemeris is three in a row. Those of different issues
// stay.
void JoinFrames(std::array<GPSSubframe, 3>& subframes) {
    const auto first8 = [](unsigned long word) { return word >> 22U; };
    const unsigned long issue = first8(subframes[0].words[7]);  // IODC without its two high bits, then IODE twice
    if (first8(subframes[1].words[2]) != issue || first8(subframes[2].words[9]) != issue) return;
    unsigned newest = 0;
    for (unsigned i = 0; i < 3; ++i) {
        const auto count = static_cast<unsigned>((subframes[i].words[1] & CountMask) >> CountShift);
        if (count >= CountsInWeek) return;
        const unsigned start = (count + CountsInWeek - i) % CountsInWeek;
        if (i == 0 || (start + CountsInWeek - newest) % CountsInWeek < CountsInWeek / 2) newest = start;
    }
    for (unsigned i = 0; i < 3; ++i) {
        unsigned long& word = subframes[i].words[1];
        word = (word & ~CountMask) | (static_cast<unsigned long>((newest + i) % CountsInWeek) << CountShift);
    }
}

// Null for a number that is no satellite's. 0 among them, which PRN takes for the message's five-bit form of 32.
GNSS::PRN MakePRN(std::uint32_t number) {
    return number >= 1 && number <= GNSS::PRN::Max ? GNSS::PRN(static_cast<int>(number)) : GNSS::PRN();
}

bool AreFinite(std::initializer_list<double> numbers) {
    return std::all_of(numbers.begin(), numbers.end(), [](double number) { return std::isfinite(number); });
}

bool IsWithin(double number, double limit) {
    return std::abs(number) <= limit;
}

// Three doubles of metres, within a limit in kilometres.
std::optional<GNSS::ECEF> ReadKilometres(const LittleEndian& in, std::size_t at, double limit) {
    const double x = in.Get<double>(at) * 1e-3;
    const double y = in.Get<double>(at + 8) * 1e-3;
    const double z = in.Get<double>(at + 16) * 1e-3;
    if (!IsWithin(x, limit) || !IsWithin(y, limit) || !IsWithin(z, limit)) return std::nullopt;
    return GNSS::ECEF(x, y, z);
}

}  // namespace

std::optional<GPSTime> MakeTime(std::uint32_t week, std::uint32_t milliseconds) {
    constexpr std::uint32_t Week = 604800000;
    if (week == 0 || week > MaxWeek || milliseconds >= Week) return std::nullopt;
    return GPSTime(static_cast<int>(week), milliseconds / 1000.0);
}

std::optional<std::array<GPSSubframe, 3>> ReadRawEphem(std::string_view body) {
    // PRN, reference week and seconds, three subframes.
    if (body.size() < 12 + 3 * SubframeBytes) return std::nullopt;
    const GNSS::PRN prn = MakePRN(LittleEndian(body).Get<std::uint32_t>(0));
    if (prn.IsNull()) return std::nullopt;
    std::array<GPSSubframe, 3> subframes;
    for (unsigned i = 0; i < 3; ++i) {
        subframes[i] = MakeSubframe(prn, body.substr(12 + i * SubframeBytes, SubframeBytes));
        if (GetPreamble(subframes[i]) != ICD::Subframe::Preamble || GetNumber(subframes[i]) != i + 1) {
            return std::nullopt;
        }
    }
    JoinFrames(subframes);
    return subframes;
}

std::optional<GPSSubframe> ReadRawGPSSubframe(std::string_view body) {
    // Decoder, PRN, number of the subframe, its bytes and two of filling, channel. Older firmware leaves out the
    // filling or the channel.
    if (body.size() < 12 + SubframeBytes) return std::nullopt;
    const LittleEndian in(body);
    const GNSS::PRN prn = MakePRN(in.Get<std::uint32_t>(4));
    if (prn.IsNull()) return std::nullopt;
    const GPSSubframe subframe = MakeSubframe(prn, body.substr(12, SubframeBytes));
    if (GetPreamble(subframe) != ICD::Subframe::Preamble || GetNumber(subframe) != in.Get<std::uint32_t>(8)) {
        return std::nullopt;
    }
    return subframe;
}

bool RawAlmanac::Open(std::string_view body) {
    // Reference week and seconds, number of pages; of each page its SV ID in two bytes, and its bytes.
    constexpr std::size_t Start = 12;
    constexpr std::size_t WholeSize = 32;
    constexpr std::size_t WordsSize = 26;
    // Fills up to a multiple of four.
    constexpr std::size_t Filling = 3;
    if (body.size() < Start) return false;
    const LittleEndian in(body);
    const std::size_t nmr = in.Get<std::uint32_t>(8);
    pages_ = body.substr(Start);
    if (nmr > pages_.size()) return false;
    if (pages_.size() >= nmr * WholeSize) {
        pageSize_ = WholeSize;
    } else if (pages_.size() >= nmr * WordsSize && pages_.size() <= nmr * WordsSize + Filling) {
        pageSize_ = WordsSize;
    } else {
        return false;
    }
    nmrPages_ = nmr;
    referenceSeconds_ = in.Get<std::uint32_t>(4);
    return referenceSeconds_ < GPSTime::SecsInWeek;
}

std::optional<GPSSubframe> RawAlmanac::ReadPage(std::size_t index, double seconds) const {
    constexpr double SubframeSeconds = 6.0;
    const std::string_view page = pages_.substr(index * pageSize_, pageSize_);
    const std::string_view bytes = page.substr(2);
    if (bytes.size() >= SubframeBytes) {
        const GPSSubframe subframe = MakeSubframe(GNSS::PRN(), bytes);
        const unsigned number = GetNumber(subframe);
        if (GetPreamble(subframe) != ICD::Subframe::Preamble || (number != 4 && number != 5)) return std::nullopt;
        return subframe;
    }
    const unsigned id = LittleEndian(page).Get<std::uint16_t>(0);
    if (id < 1 || id > 63) return std::nullopt;
    const unsigned number = id <= 24 || id == 51 ? 5 : 4;
    const unsigned count = (static_cast<unsigned>(Corvane::ToInt(seconds / SubframeSeconds)) + 1) % CountsInWeek;
    GPSSubframe subframe;
    subframe.words[0] = static_cast<unsigned long>(ICD::Subframe::Preamble) << 22U;
    subframe.words[1] = (static_cast<unsigned long>(count) << CountShift) | (number << 8U);
    for (std::size_t i = 0; i < 8; ++i) subframe.words[i + 2] = WordAt(bytes, i);
    return subframe;
}

std::optional<IonosphereAndUTC> ReadIonUTC(std::string_view body) {
    if (body.size() < 104) return std::nullopt;
    const LittleEndian in(body);
    IonosphereAndUTC read;
    auto& iono = read.iono;
    iono.time = GPSTime::Zero;
    iono.alpha0 = in.Get<double>(0);
    iono.alpha1 = in.Get<double>(8);
    iono.alpha2 = in.Get<double>(16);
    iono.alpha3 = in.Get<double>(24);
    iono.beta0 = in.Get<double>(32);
    iono.beta1 = in.Get<double>(40);
    iono.beta2 = in.Get<double>(48);
    iono.beta3 = in.Get<double>(56);
    auto& utc = read.utc;
    utc.time = GPSTime::Zero;
    utc.WNt = static_cast<int>(in.Get<std::uint32_t>(64) % 256);
    utc.Tot = in.Get<std::uint32_t>(68);
    utc.A0 = in.Get<double>(72);
    utc.A1 = in.Get<double>(80);
    utc.WNLSF = static_cast<int>(in.Get<std::uint32_t>(88) % 256);
    const std::uint32_t day = in.Get<std::uint32_t>(92);
    utc.DtLS = in.Get<std::int32_t>(96);
    utc.DtLSF = in.Get<std::int32_t>(100);
    const auto isCount = [](int seconds) { return seconds >= -128 && seconds < 128; };
    if (!AreFinite({iono.alpha0, iono.alpha1, iono.alpha2, iono.alpha3, iono.beta0, iono.beta1, iono.beta2, iono.beta3,
                    utc.A0, utc.A1}) ||
        utc.Tot >= GPSTime::SecsInWeek || day < 1 || day > 7 || !isCount(utc.DtLS) || !isCount(utc.DtLSF)) {
        return std::nullopt;
    }
    utc.DN = static_cast<int>(day);
    return read;
}

std::optional<GlonassString> ReadGloRawString(std::string_view body) {
    constexpr int NmrBytes = 11;
    // Slot, frequency channel, bits 88 to 1.
    if (body.size() < 2 + NmrBytes) return std::nullopt;
    const LittleEndian in(body);
    GlonassString string;
    const int slot = in.Get<std::uint8_t>(0);
    // Some firmware writes the satellite's number here, as all other messages do. The channel then may be offset, too,
    // or not.
    const bool isOffset = slot > SlotOffset;
    const int number = isOffset ? slot - SlotOffset : slot;
    if (number < 1 || number > Slot::Max) return std::nullopt;
    string.slot = Slot(number);
    const int byte = in.Get<std::uint8_t>(1);
    const int channel = byte < 128 ? byte : byte - 256;
    if (!isOffset && channel >= -7 && channel <= 6) string.channel = channel;
    for (int i = 0; i < NmrBytes; ++i) string.bits[i] = in.Get<std::uint8_t>(2 + static_cast<std::size_t>(i));
    return string;
}

std::optional<GlonassEphemeris> ReadGloEphemeris(std::string_view body) {
    if (body.size() < 144) return std::nullopt;
    const LittleEndian in(body);
    GlonassEphemeris read;
    Ephemeride& eph = read.record.ephemeride;

    const int slot = in.Get<std::uint16_t>(0) - SlotOffset;
    if (slot < 1 || slot > Slot::Max) return std::nullopt;
    eph.slot = Slot(slot);
    const unsigned channel = in.Get<std::uint16_t>(2);
    if (channel <= 2 * ChannelOffset - 1) {
        read.record.channel = static_cast<int>(channel) - static_cast<int>(ChannelOffset);
    }

    // tb in GPS time, and how far GLONASS time is ahead of it: three hours less the leap seconds.
    constexpr int MoscowToUTC = 10800;
    const std::optional<GPSTime> reference = MakeTime(in.Get<std::uint16_t>(6), in.Get<std::uint32_t>(8));
    const std::uint32_t ahead = in.Get<std::uint32_t>(12);
    if (!reference || ahead > MoscowToUTC || ahead < MoscowToUTC - 127) return std::nullopt;
    read.leapSeconds = MoscowToUTC - static_cast<int>(ahead);
    GNSS::GloTime tb;
    tb.SetFromUTC((*reference - Corvane::Time(read.leapSeconds)).GetTimeDate());
    // The message's own day, of the frame, is tb's or a neighbour.
    const int day = in.Get<std::uint16_t>(16);
    const int apart = std::abs(day - tb.GetDay());
    if (day != 0 && apart > 1 && apart != GNSS::GloTime::DaysInInterval - 1) return std::nullopt;
    read.record.reference = reference;
    eph.posn.day = day;
    eph.posn.tb = tb.GetSeconds();
    eph.posn.frameTime = in.Get<std::uint32_t>(124);

    // The ranges of the message's words (GLONASS interface control document, edition 5.1, table 4.5).
    const std::optional<GNSS::ECEF> posn = ReadKilometres(in, 28, 32768.0);
    const std::optional<GNSS::ECEF> vely = ReadKilometres(in, 52, 8.0);
    const std::optional<GNSS::ECEF> accel = ReadKilometres(in, 76, 1.5e-8);
    eph.clock.tau = in.Get<double>(100);
    eph.clock.gamma = in.Get<double>(116);
    const std::uint32_t health = in.Get<std::uint32_t>(24);
    const std::uint32_t accuracy = in.Get<std::uint32_t>(132);
    const std::uint32_t age = in.Get<std::uint32_t>(136);
    if (!posn || !vely || !accel || !IsWithin(eph.clock.tau, 2.0e-3) || !IsWithin(eph.clock.gamma, 1e-9) ||
        eph.posn.frameTime >= GPSTime::SecsInDay || health > 15 || accuracy > 15 || age > 31) {
        return std::nullopt;
    }
    eph.posn.posn = *posn;
    eph.posn.vely = *vely;
    eph.posn.accel = *accel;

    // P4 is not told.
    const std::uint32_t flags = in.Get<std::uint32_t>(140);
    eph.status.SetUnhealthy(health >= 4);
    eph.status.Set(Ephemeride::Status::P1, GlonassP1Minutes[flags & 3U]);
    eph.status.Set(Ephemeride::Status::P2, static_cast<int>((flags >> 2U) & 1U));
    eph.status.Set(Ephemeride::Status::P3, static_cast<int>((flags >> 3U) & 1U));
    eph.m.isM = in.Get<std::uint8_t>(4) == 1;
    eph.m.age = static_cast<int>(age);
    eph.m.accuracyIndex = static_cast<int>(accuracy);
    return read;
}

}  // namespace Host::Oem

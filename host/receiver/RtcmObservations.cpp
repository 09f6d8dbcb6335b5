#include "host/receiver/RtcmObservations.h"

#include <limits>

#include "gnss/time/Constants.h"
#include "gnss/time/GlonassSlot.h"
#include "gnss/time/PRN.h"
#include "host/receiver/BitReader.h"

namespace Host {

namespace {

constexpr double LightMs = GNSS::LightSpeed * 1e-3;  // m
constexpr double RangeStep = 0.02;                   // m, DF011, DF017
constexpr double PhaseStep = 0.0005;                 // m, DF012, DF018
constexpr double SNRStep = 0.25;                     // dB-Hz, DF015
constexpr std::int64_t MsInDay = 86'400'000;
constexpr std::int64_t MsInWeek = 7 * MsInDay;

// What the fields of the two systems differ in.
struct Layout {
    RtcmObservations::System system;
    std::size_t epochBits;      // DF004, DF034
    std::size_t rangeBits;      // DF011, DF041
    std::size_t ambiguityBits;  // DF014, DF044
    double modulus;             // m
    int lastSatellite;
    bool hasChannel;  // DF040
};
constexpr Layout GPS{RtcmObservations::System::GPS, 30, 24, 8, LightMs, GNSS::PRN::Max, false};
constexpr Layout Glonass{RtcmObservations::System::GLONASS, 27, 25, 7, 2.0 * LightMs, GNSS::Glonass::Slot::Max, true};

// The least lock time of each indicator (DF013 and its kin), in the six segments of the standard's table.
constexpr std::int64_t LockSeconds(std::int64_t indicator) {
    struct Segment {
        int first, factor, offset;
    };
    constexpr std::array<Segment, 6> Segments{
        {{120, 32, 3096}, {96, 16, 1176}, {72, 8, 408}, {48, 4, 120}, {24, 2, 24}, {0, 1, 0}}};
    if (indicator >= 127) return 937;
    for (const Segment& s : Segments) {
        if (indicator >= s.first) return indicator * s.factor - s.offset;
    }
    return 0;
}
static_assert(LockSeconds(23) == 23 && LockSeconds(24) == 24 && LockSeconds(48) == 72 && LockSeconds(72) == 168 &&
              LockSeconds(96) == 360 && LockSeconds(120) == 744 && LockSeconds(126) == 936);

// The least of each indicator, and of the one after the last, which has no limit.
constexpr auto LockTimes = [] {
    std::array<double, 129> times{};
    for (std::size_t i = 0; i < 128; ++i) times[i] = static_cast<double>(LockSeconds(static_cast<std::int64_t>(i)));
    times[128] = std::numeric_limits<double>::infinity();
    return times;
}();

void TakeLock(BitReader& bits, RtcmSignal& signal) {
    const std::size_t indicator = bits.TakeUnsigned(7);
    signal.lockMin = LockTimes[indicator];
    signal.lockMax = LockTimes[indicator + 1];
}

// The number whose first bit alone is set says that there is none.
std::optional<double> TakeOptional(BitReader& bits, std::size_t width, double step) {
    const std::int64_t number = bits.TakeSigned(width);
    if (number == -(std::int64_t{1} << (width - 1))) return std::nullopt;
    return static_cast<double>(number) * step;
}

std::optional<double> TakeSNR(BitReader& bits) {
    const int number = bits.TakeInt(8);
    if (number == 0) return std::nullopt;
    return number * SNRStep;
}

// One satellite. False when it says what cannot be.
bool TakeSatellite(BitReader& bits, const Layout& layout, bool isExtended, bool hasL2, RtcmObservations& to) {
    RtcmSignal l1;
    const int satellite = bits.TakeInt(6);
    l1.satellite = static_cast<std::uint8_t>(satellite);
    l1.code = static_cast<std::uint8_t>(bits.TakeInt(1));
    l1.ident = l1.code == 0 ? 1 : 2;
    if (layout.hasChannel) {
        const int channel = bits.TakeInt(5);
        if (channel > 20) return false;
        l1.channel = channel - 7;
    }
    l1.base = static_cast<double>(bits.TakeUnsigned(layout.rangeBits)) * RangeStep;
    if (l1.base > layout.modulus + RangeStep) return false;
    l1.diff = TakeOptional(bits, 20, PhaseStep);
    TakeLock(bits, l1);
    l1.modulus = layout.modulus;
    if (isExtended) {
        l1.base += static_cast<double>(bits.TakeUnsigned(layout.ambiguityBits)) * layout.modulus;
        l1.modulus = 0.0;
        l1.snr = TakeSNR(bits);
    }
    RtcmSignal l2 = l1;
    // Without a phase the range is no measurement, only what L2 is counted from (DF011, DF041).
    if (l1.diff) l1.range = l1.base;
    if (hasL2) {
        l2.ident = 3;
        l2.code = static_cast<std::uint8_t>(bits.TakeInt(2));
        const std::optional<double> rangeDiff = TakeOptional(bits, 14, RangeStep);
        l2.diff = TakeOptional(bits, 20, PhaseStep);
        TakeLock(bits, l2);
        l2.snr.reset();
        if (isExtended) l2.snr = TakeSNR(bits);
        if (rangeDiff) l2.range = l2.base + *rangeDiff;
    }
    if (satellite < 1 || satellite > layout.lastSatellite) return true;
    if (l1.range || l1.diff) to.Add(l1);
    if (hasL2 && (l2.range || l2.diff)) to.Add(l2);
    return true;
}

}  // namespace

bool ReadGPSEpoch(std::uint64_t bits, RtcmObservations& to) {
    to.system = RtcmObservations::System::GPS;
    to.clock = RtcmObservations::Clock::GPSWeek;
    to.ms = static_cast<std::int64_t>(bits);
    return to.ms < MsInWeek;
}

bool ReadGlonassEpoch(std::uint64_t dayOfWeek, std::uint64_t msOfDay, RtcmObservations& to) {
    to.system = RtcmObservations::System::GLONASS;
    to.clock = dayOfWeek < 7 ? RtcmObservations::Clock::MoscowWeek : RtcmObservations::Clock::MoscowDay;
    to.ms = static_cast<std::int64_t>(msOfDay);
    // A day with a leap second is a second longer.
    if (to.ms >= MsInDay + 1000) return false;
    if (dayOfWeek < 7) to.ms += static_cast<std::int64_t>(dayOfWeek) * MsInDay;
    return true;
}

bool DecodeRtcmObservations(std::uint32_t kind, std::string_view payload, RtcmObservations& to) {
    const Layout& layout = kind < 1009 ? GPS : Glonass;
    const bool isExtended = kind % 2 == 0;
    const bool hasL2 = kind == 1003 || kind == 1004 || kind >= 1011;
    BitReader bits(payload);
    const std::size_t headerBits = 24 + layout.epochBits + 10;
    if (bits.NmrBits() < headerBits) return false;
    to.isMsm = false;
    to.nmrSignals = 0;
    bits.Skip(24);  // message number, station
    const std::uint64_t epoch = bits.TakeUnsigned(layout.epochBits);
    if (!(layout.hasChannel ? ReadGlonassEpoch(7, epoch, to) : ReadGPSEpoch(epoch, to))) return false;
    to.more = bits.TakeFlag();
    const std::size_t nmr = bits.TakeUnsigned(5);
    bits.Skip(4);  // divergence-free smoothing and its interval
    const std::size_t satelliteBits = 6 + 1 + (layout.hasChannel ? 5 : 0) + layout.rangeBits + 20 + 7 +
                                      (isExtended ? layout.ambiguityBits + 8 : 0) +
                                      (hasL2 ? 2 + 14 + 20 + 7 + (isExtended ? 8U : 0U) : 0U);
    if (bits.NmrBits() < headerBits + nmr * satelliteBits) return false;
    for (std::size_t n = 0; n < nmr; ++n) {
        if (!TakeSatellite(bits, layout, isExtended, hasL2, to)) return false;
    }
    return true;
}

}  // namespace Host

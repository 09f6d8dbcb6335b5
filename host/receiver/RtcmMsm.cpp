#include "host/receiver/RtcmMsm.h"

#include <bit>
#include <cmath>
#include <limits>

#include "gnss/time/Constants.h"
#include "gnss/time/GlonassSlot.h"
#include "gnss/time/PRN.h"
#include "host/receiver/BitReader.h"

namespace Host {

namespace {

constexpr double LightMs = GNSS::LightSpeed * 1e-3;  // m
constexpr std::size_t HeaderBits = 169;
constexpr std::size_t MaxCells = 64;
constexpr int NoRoughRange = 255;
constexpr int NoInfo = 15;

// A column of the message: one field of all satellites or of all cells.
struct Column {
    std::size_t offset = 0;  // bits of the columns before it, for each satellite or cell
    std::size_t width = 0;   // 0: not in this message
};

// What the three forms differ in. Steps are of light-milliseconds and m/s.
struct Form {
    Column ms, info, part, roughRate;  // DF397, extended information, DF398, DF399
    std::size_t satelliteBits;
    Column range, phase, lock, half, snr, rate;  // DF400/405, DF401/406, DF402/407, DF420, DF403/408, DF404
    std::size_t cellBits;
    double rangeStep, phaseStep, snrStep;
};
constexpr Form MSM4{.ms = {0, 8},
                    .info = {},
                    .part = {8, 10},
                    .roughRate = {},
                    .satelliteBits = 18,
                    .range = {0, 15},
                    .phase = {15, 22},
                    .lock = {37, 4},
                    .half = {41, 1},
                    .snr = {42, 6},
                    .rate = {},
                    .cellBits = 48,
                    .rangeStep = 0x1p-24,
                    .phaseStep = 0x1p-29,
                    .snrStep = 1.0};
constexpr Form MSM5{.ms = {0, 8},
                    .info = {8, 4},
                    .part = {12, 10},
                    .roughRate = {22, 14},
                    .satelliteBits = 36,
                    .range = {0, 15},
                    .phase = {15, 22},
                    .lock = {37, 4},
                    .half = {41, 1},
                    .snr = {42, 6},
                    .rate = {48, 15},
                    .cellBits = 63,
                    .rangeStep = 0x1p-24,
                    .phaseStep = 0x1p-29,
                    .snrStep = 1.0};
constexpr Form MSM7{.ms = {0, 8},
                    .info = {8, 4},
                    .part = {12, 10},
                    .roughRate = {22, 14},
                    .satelliteBits = 36,
                    .range = {0, 20},
                    .phase = {20, 24},
                    .lock = {44, 10},
                    .half = {54, 1},
                    .snr = {55, 10},
                    .rate = {65, 15},
                    .cellBits = 80,
                    .rangeStep = 0x1p-29,
                    .phaseStep = 0x1p-31,
                    .snrStep = 0x1p-4};

constexpr const Form& FormOf(std::uint32_t kind) {
    return kind % 10 == 4 ? MSM4 : (kind % 10 == 5 ? MSM5 : MSM7);
}

// The signals of the mask (DF395): which of ours each one is, and its rank among
// those that are the same to us, the lowest first; ident 0 for none.
struct Mapping {
    std::uint8_t ident = 0;
    std::uint8_t rank = 0;
};
constexpr std::array<Mapping, 33> GPSSignals = [] {
    std::array<Mapping, 33> m{};
    m[2] = {1, 0};                                                  // 1C
    m[4] = {2, 0}, m[3] = {2, 1};                                   // 1W, 1P
    m[10] = {3, 0}, m[9] = {3, 1};                                  // 2W, 2P
    m[17] = {3, 2}, m[16] = {3, 3}, m[15] = {3, 4}, m[8] = {3, 5};  // 2X, 2L, 2S, 2C
    return m;
}();
constexpr std::array<Mapping, 33> GlonassSignals = [] {
    std::array<Mapping, 33> m{};
    m[2] = {1, 0};                 // 1C
    m[3] = {2, 0};                 // 1P
    m[9] = {3, 0}, m[8] = {3, 1};  // 2P, 2C
    return m;
}();

// Least lock time in ms of DF402 and DF407.
constexpr double ShortLock(int indicator) {
    return indicator == 0 ? 0.0 : static_cast<double>(std::int64_t{16} << indicator);
}
constexpr int LastLongLock = 704;
constexpr double LongLock(int indicator) {
    if (indicator < 64) return indicator;
    const int segment = (indicator - 64) / 32 + 1;
    return static_cast<double>(std::int64_t{indicator - 32 * segment} << segment);
}
static_assert(ShortLock(1) == 32 && ShortLock(15) == 524288);
static_assert(LongLock(64) == 64 && LongLock(96) == 128 && LongLock(128) == 256 && LongLock(LastLongLock) == 67108864);

// False for a reserved indicator.
bool SetLock(int indicator, bool isLong, RtcmSignal& signal) {
    if (isLong && indicator > LastLongLock) return false;
    const bool isLast = indicator == (isLong ? LastLongLock : 15);
    const auto seconds = [&](int i) { return (isLong ? LongLock(i) : ShortLock(i)) * 1e-3; };
    signal.lockMin = seconds(indicator);
    signal.lockMax = isLast ? std::numeric_limits<double>::infinity() : seconds(indicator + 1);
    return true;
}

// One row of one of the message's two tables, which are written column by column.
struct Row {
    const BitReader& bits;
    std::size_t start;  // of the table
    std::size_t nmr;    // rows
    std::size_t row;

    [[nodiscard]] std::size_t First(const Column& c) const { return start + c.offset * nmr + c.width * row; }
    [[nodiscard]] int Number(const Column& c) const {
        return c.width == 0 ? 0 : static_cast<int>(bits.Unsigned(First(c), c.width));
    }
    // The number whose first bit alone is set says that there is none.
    [[nodiscard]] std::optional<double> Optional(const Column& c, double step) const {
        if (c.width == 0) return std::nullopt;
        const std::int64_t number = bits.Signed(First(c), c.width);
        if (number == -(std::int64_t{1} << (c.width - 1))) return std::nullopt;
        return static_cast<double>(number) * step;
    }
};

// What a satellite's rough range and rate say.
struct Rough {
    std::optional<double> range;  // m
    std::optional<double> rate;   // m/s
    std::optional<int> channel;
};

// False when it says what cannot be.
bool ReadRough(const Row& row, const Form& form, bool isGlonass, Rough& rough) {
    if (row.Number(form.ms) != NoRoughRange)
        rough.range = (row.Number(form.ms) + row.Number(form.part) * 0x1p-10) * LightMs;
    rough.rate = row.Optional(form.roughRate, 1.0);
    if (!isGlonass || form.info.width == 0) return true;
    const int info = row.Number(form.info);
    if (info == NoInfo) return true;
    if (info > 13) return false;
    rough.channel = info - 7;
    return true;
}

bool ReadCell(const Row& row, const Form& form, const Rough& rough, RtcmSignal& signal) {
    const std::optional<double> fineRange = row.Optional(form.range, form.rangeStep * LightMs);
    const std::optional<double> finePhase = row.Optional(form.phase, form.phaseStep * LightMs);
    const std::optional<double> fineRate = row.Optional(form.rate, 0.0001);
    if (rough.range && fineRange) signal.range = *rough.range + *fineRange;
    if (rough.range && finePhase) {
        // Counted from the range where there is one: the rough range jumps where the phase does not.
        signal.base = signal.range.value_or(*rough.range);
        signal.diff = *rough.range + *finePhase - signal.base;
    }
    if (rough.rate && fineRate) signal.rate = *rough.rate + *fineRate;
    signal.channel = rough.channel;
    signal.halfCycle = row.Number(form.half) != 0;
    if (const int snr = row.Number(form.snr); snr != 0) signal.snr = snr * form.snrStep;
    return SetLock(row.Number(form.lock), form.lock.width == 10, signal);
}

}  // namespace

bool DecodeRtcmMsm(std::uint32_t kind, std::string_view payload, RtcmObservations& to) {
    const Form& form = FormOf(kind);
    const bool isGlonass = kind / 10 == 108;
    const std::array<Mapping, 33>& mappings = isGlonass ? GlonassSignals : GPSSignals;
    const int lastSatellite = isGlonass ? GNSS::Glonass::Slot::Max : GNSS::PRN::Max;
    BitReader bits(payload);
    if (bits.NmrBits() < HeaderBits) return false;
    to.isMsm = true;
    to.nmrSignals = 0;
    bits.Skip(24);  // message number, station
    if (isGlonass) {
        const std::uint64_t dayOfWeek = bits.TakeUnsigned(3);
        if (!ReadGlonassEpoch(dayOfWeek, bits.TakeUnsigned(27), to)) return false;
    } else if (!ReadGPSEpoch(bits.TakeUnsigned(30), to)) {
        return false;
    }
    to.more = bits.TakeFlag();
    bits.Skip(3 + 7 + 2 + 2 + 1 + 3);  // issue of station, reserved, clock steering, external clock, smoothing
    // Satellite and signal 1 are the first bits of their masks.
    const std::uint64_t satelliteMask = (bits.TakeUnsigned(32) << 32U) | bits.TakeUnsigned(32);
    const std::uint64_t signalMask = bits.TakeUnsigned(32) << 32U;
    const auto nmrSatellites = static_cast<std::size_t>(std::popcount(satelliteMask));
    const auto nmrSignals = static_cast<std::size_t>(std::popcount(signalMask));
    const std::size_t nmrPairs = nmrSatellites * nmrSignals;
    if (nmrPairs > MaxCells) return false;
    std::size_t nmrCells = 0;
    for (std::size_t k = 0; k < nmrPairs; ++k) nmrCells += bits.Unsigned(HeaderBits + k, 1);
    const std::size_t satelliteTable = HeaderBits + nmrPairs;
    const std::size_t cellTable = satelliteTable + nmrSatellites * form.satelliteBits;
    if (bits.NmrBits() < cellTable + nmrCells * form.cellBits) return false;

    std::size_t pair = HeaderBits;
    std::size_t cell = 0;
    std::uint64_t satellites = satelliteMask;
    for (std::size_t s = 0; s < nmrSatellites; ++s) {
        const int satellite = std::countl_zero(satellites) + 1;
        satellites ^= std::bit_floor(satellites);
        Rough rough;
        if (!ReadRough({bits, satelliteTable, nmrSatellites, s}, form, isGlonass, rough) && satellite <= lastSatellite)
            return false;
        std::array<std::optional<RtcmSignal>, 4> best;
        std::array<std::uint8_t, 4> bestRank{};
        std::uint64_t signals = signalMask;
        for (std::size_t g = 0; g < nmrSignals; ++g) {
            const int code = std::countl_zero(signals) + 1;
            signals ^= std::bit_floor(signals);
            if (bits.Unsigned(pair++, 1) == 0) continue;
            const Row row{bits, cellTable, nmrCells, cell++};
            const Mapping& mapping = mappings[static_cast<std::size_t>(code)];
            if (mapping.ident == 0 || satellite > lastSatellite) continue;
            RtcmSignal signal;
            const bool isSensible = ReadCell(row, form, rough, signal);
            if (!signal.range && !signal.diff && !signal.rate) continue;
            if (!isSensible) return false;
            signal.satellite = static_cast<std::uint8_t>(satellite);
            signal.ident = mapping.ident;
            signal.code = static_cast<std::uint8_t>(code);
            auto& now = best[mapping.ident];
            if (now && bestRank[mapping.ident] <= mapping.rank) continue;
            now = signal;
            bestRank[mapping.ident] = mapping.rank;
        }
        for (const auto& signal : best) {
            if (signal) to.Add(*signal);
        }
    }
    return true;
}

}  // namespace Host

// The measurements: RXM-RAWX, RXM-RAW.
//
// Qualities are the receiver's standard deviations where the message has them, else 0.
//
// RXM-RAWX. A phase is there when the receiver marks it valid; while its half cycle is not resolved it carries the
// phase warning. Whether it has slipped is told against the last phase of the signal: it has when the carrier has been
// tracked for less time than has passed since (then lock was lost, too), or when the half cycle that the receiver takes
// off has changed. It is not known for the first phase, nor when the lock time, which stops at 64.5 s, has stopped and
// more has passed. A reset of the receiver's clock is in range, phase and time alike, and no slip.
//
// RXM-RAW. The quality indicator tells what is there: range and Doppler from 4 on, the phase from 5 on, below 6 after a
// likely loss of lock. The loss-of-lock bits are those of RINEX: 1 lost lock, 2 half cycle open.
#include <cmath>
#include <cstdint>

#include "host/receiver/UbxDecoder.h"
#include "host/receiver/UbxSystems.h"

namespace Host {

using Corvane::QValue;
using GNSS::GPSTime;

namespace {

constexpr double Millisecond = 1e-3;

// Of a block of RXM-RAWX, by its trkStat.
constexpr unsigned RangeValid = 0x01;
constexpr unsigned PhaseValid = 0x02;
constexpr unsigned HalfCycleResolved = 0x04;
constexpr unsigned HalfCycleSubtracted = 0x08;

// One satellite's signal in RXM-RAWX.
struct Block {
    explicit Block(const LittleEndian& bytes)
        : range(bytes.Get<double>(0)),
          phase(bytes.Get<double>(8)),
          doppler(static_cast<double>(bytes.Get<float>(16))),
          system(bytes.Get<std::uint8_t>(20)),
          number(bytes.Get<std::uint8_t>(21)),
          signal(bytes.Get<std::uint8_t>(22)),
          lockTime(bytes.Get<std::uint16_t>(24) * Millisecond),
          snr(bytes.Get<std::uint8_t>(26)),
          rangeSigma(std::ldexp(0.01, bytes.Get<std::uint8_t>(27) & 0xF)),
          phaseSigmaCode(bytes.Get<std::uint8_t>(28) & 0xF),
          dopplerSigma(std::ldexp(0.002, bytes.Get<std::uint8_t>(29) & 0xF)),
          tracking(bytes.Get<std::uint8_t>(30)) {}

    double range, phase, doppler;
    int system, number, signal;
    double lockTime;
    int snr;
    double rangeSigma;
    int phaseSigmaCode;
    double dopplerSigma;
    unsigned tracking;

    [[nodiscard]] bool Has(unsigned mask) const { return (tracking & mask) == mask; }
    // Whether the signal is one of those that the set takes, and whether it is that of L2.
    [[nodiscard]] bool IsL2() const {
        return system == UbxSystems::GPS ? signal == UbxSystems::GPSL2CL || signal == UbxSystems::GPSL2CM
                                         : signal == UbxSystems::GlonassL2;
    }
    [[nodiscard]] bool IsTaken() const {
        if (system == UbxSystems::GPS) return IsL2() || signal == UbxSystems::GPSL1CA;
        return system == UbxSystems::Glonass && UbxSystems::IsNumber<GNSS::Glonass::Slot>(number) &&
               (IsL2() || signal == UbxSystems::GlonassL1);
    }
    [[nodiscard]] bool IsSensible() const {
        if (system == UbxSystems::GPS ? !UbxSystems::IsNumber<GNSS::PRN>(number)
                                      : system == UbxSystems::Glonass && !UbxSystems::IsGlonassNumber(number)) {
            return false;
        }
        return !IsTaken() || ((!Has(RangeValid) || std::isfinite(range)) &&
                              (!Has(PhaseValid) || std::isfinite(phase)) && std::isfinite(doppler));
    }
};

// The epoch of a message by its week and seconds; nothing when it is none.
std::optional<GPSTime> TimeOf(int week, double seconds) {
    return week > 0 ? std::optional(GPSTime(week, seconds)) : std::nullopt;
}

// Dates both systems, the second only when it has satellites: an empty set needs no body.
void Date(GNSS::MeasSet& set, const GPSTime& time) {
    set.GetGPS().SetTime(time);
    if (set.GetGlonass().NmrSV() > 0) set.GetGlonass().SetTime(time);
}

// Fills a record; the carrier is what was known of it, and becomes what is known now.
template <typename Record, typename Carrier>
void Read(const Block& block, const GPSTime& time, Carrier& carrier, Record& record) {
    constexpr double MaxLockTime = 64.5;      // s, where the counter stops
    constexpr double LockTolerance = 0.01;    // s: resets of the receiver's clock
    constexpr double PhaseSigmaUnit = 0.004;  // cycles
    constexpr int NoPhaseSigma = 0xF;

    record.SetSNR(block.snr);
    record.SetLockTime(block.lockTime);
    if (block.Has(RangeValid)) record.SetRange(QValue(block.range, block.rangeSigma));
    record.SetDoppler(QValue(block.doppler, block.dopplerSigma));
    if (!block.Has(PhaseValid)) return;

    const double sigma = block.phaseSigmaCode == NoPhaseSigma ? 0.0 : block.phaseSigmaCode * PhaseSigmaUnit;
    record.SetPhase(QValue(block.phase, sigma));
    if (!block.Has(HalfCycleResolved)) record.SetPhaseWarn();
    const bool halfSubtracted = block.Has(HalfCycleSubtracted);
    const double passed = carrier.known ? (time - carrier.time).Seconds() : 0.0;
    if (passed > 0.0) {
        const bool isShort = block.lockTime < passed - LockTolerance;
        const bool isCounting = block.lockTime < MaxLockTime;
        if (isShort && isCounting) record.SetLostLock();
        if ((isShort && isCounting) || halfSubtracted != carrier.halfSubtracted) {
            record.SetCycleSlip(Record::Slip);
        } else if (!isShort) {
            record.SetCycleSlip(Record::NoSlip);
        }
    }
    carrier = {true, halfSubtracted, time};
}

}  // namespace

bool UbxDecoder::DecodeRAWX(const LittleEndian& payload) {
    constexpr std::size_t Blocks = 16;
    constexpr std::size_t BlockSize = 32;
    const std::size_t nmr = payload.Get<std::uint8_t>(11);
    if (payload.GetSize() != Blocks + nmr * BlockSize) return false;
    const auto seconds = payload.Get<double>(0);
    const int week = payload.Get<std::uint16_t>(8);
    // The receiver's clock may be some milliseconds outside its week.
    if (!(seconds > -1.0 && seconds < GPSTime::SecsInWeek + 1.0) || week > MaxWeek) return false;
    for (std::size_t i = 0; i < nmr; ++i) {
        if (!Block(payload.From(Blocks + i * BlockSize)).IsSensible()) return false;
    }
    const std::optional<GPSTime> time = TimeOf(week, seconds);
    if (!time) {
        ForgetTime();
        return true;
    }
    SetTime(*time);

    GNSS::MeasSet set;
    for (std::size_t i = 0; i < nmr; ++i) {
        const Block block(payload.From(Blocks + i * BlockSize));
        const auto number = static_cast<std::size_t>(block.number);
        if (!block.IsTaken()) continue;
        const bool isL2 = block.IsL2();
        if (block.system == UbxSystems::GPS) {
            GNSS::GPSMeas record(isL2 ? GNSS::GPSFreqy::L2 : GNSS::GPSFreqy::CA);
            Read(block, *time, gps_[number][isL2 ? 1 : 0], record);
            set.GetGPS().AddMeas(GNSS::PRN(block.number), record);
        } else {
            GNSS::Glonass::Measurement record(isL2 ? GNSS::Glonass::Frequency::L2 : GNSS::Glonass::Frequency::CA);
            Read(block, *time, glonass_[number][isL2 ? 1 : 0], record);
            set.GetGlonass().AddMeas(GNSS::Glonass::Slot(block.number), record);
        }
    }
    Date(set, *time);
    Sink().OnMeasurements(set);
    return true;
}

bool UbxDecoder::DecodeRAW(const LittleEndian& payload) {
    constexpr std::size_t Blocks = 8;
    constexpr std::size_t BlockSize = 24;
    constexpr int RangeQuality = 4;
    constexpr int PhaseQuality = 5;
    constexpr int SafeQuality = 6;
    constexpr unsigned LostLock = 0x1;
    constexpr unsigned HalfCycleOpen = 0x2;

    const std::size_t nmr = payload.Get<std::uint8_t>(6);
    if (payload.GetSize() != Blocks + nmr * BlockSize) return false;
    const double seconds = payload.Get<std::int32_t>(0) * Millisecond;
    const int week = payload.Get<std::int16_t>(4);
    if (!(seconds > -1.0 && seconds < GPSTime::SecsInWeek + 1.0) || week > MaxWeek) return false;

    GNSS::MeasSet set;
    for (std::size_t i = 0; i < nmr; ++i) {
        const LittleEndian block = payload.From(Blocks + i * BlockSize);
        const auto phase = block.Get<double>(0);
        const auto range = block.Get<double>(8);
        const auto doppler = static_cast<double>(block.Get<float>(16));
        const int number = block.Get<std::uint8_t>(20);
        const auto quality = block.Get<std::int8_t>(21);
        const unsigned lli = block.Get<std::uint8_t>(23);
        if (number == 0 || !std::isfinite(phase) || !std::isfinite(range) || !std::isfinite(doppler)) return false;
        if (number > GNSS::PRN::Max) continue;  // augmentation systems
        GNSS::GPSMeas record(GNSS::GPSFreqy::CA);
        record.SetSNR(block.Get<std::int8_t>(22));
        if (quality >= RangeQuality) {
            record.SetRange(QValue(range, 0.0));
            record.SetDoppler(QValue(doppler, 0.0));
        }
        // Some receivers say 5 of a phase that they do not have yet.
        if (quality >= PhaseQuality && phase != 0.0) record.SetPhase(QValue(phase, 0.0));
        const bool isLost = (lli & LostLock) != 0 || quality < SafeQuality;
        if (isLost) record.SetLostLock();
        if ((lli & HalfCycleOpen) != 0) record.SetPhaseWarn();
        record.SetCycleSlip(isLost ? GNSS::GPSMeas::Slip : GNSS::GPSMeas::NoSlip);
        set.GetGPS().AddMeas(GNSS::PRN(number), record);
    }
    const std::optional<GPSTime> time = TimeOf(week, seconds);
    if (!time) {
        ForgetTime();
        return true;
    }
    SetTime(*time);
    Date(set, *time);
    Sink().OnMeasurements(set);
    return true;
}

}  // namespace Host

// SignalMeasurement: what a receiver measured on one signal of one satellite; written once for GPSMeas and
// Glonass::Measurement.
#pragma once

#include <cstdint>

#include "gnss/fwd.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/QValue.h"
#include "gnss/platform/Stream.h"
#include "gnss/time/SatelliteId.h"
#include "gnss/time/SignalFrequency.h"

namespace GNSS {

// One signal at one epoch. Which of the values are there stands in the flags: a setter sets the value's bit, Clear
// takes it away, and a getter gives the value whatever the bits say, so ask IsValid first. Values are taken as they
// come, NaN too; each quality is the standard deviation in the unit of its value.
//
//   SNR            signal to noise density ratio, dB-Hz
//   range          pseudorange, metres: light speed times (reception by receiver clock - transmission by satellite's)
//   phase          carrier phase in cycles of the signal, growing as the range grows
//   Doppler        Hz, positive while the satellite approaches
//   smoothed range pseudorange smoothed by the carrier, metres
//   lock time      seconds of uninterrupted tracking of the carrier
//
// A set has three levels: SV, the signals of a satellite; Inner, the satellites of an epoch; Set, a handle on those.
// Reading values allocates nothing; adding satellites, signals and sets does.
template <typename System>
class GNSS_EXPORT SignalMeasurement {
public:
    class SV;
    class Inner;
    class Set;

    using Id = SatelliteId<System>;
    using Freqy = SignalFrequency<System>;

    // The flags word: which values are there, and the receiver's warnings.
    enum Flag : std::uint32_t {
        SNR = 0x1,
        Range = 0x2,
        Phase = 0x4,
        Doppler = 0x8,
        SmoothRange = 0x10,
        LockTime = 0x20,
        SlipKnown = 0x40,
        LostLock = 0x100,
        PhaseWarn = 0x200,
        CodeWarn = 0x400,
    };
    // Whether the phase has slipped since the last epoch. 0 is a slip, intended; a stream may hold other values, which
    // are none.
    enum CycleSlip : std::int32_t { Slip = 0, NoSlip = 1 };

    // Of L1, with nothing measured.
    constexpr SignalMeasurement() = default;
    explicit constexpr SignalMeasurement(const Freqy& freqy) : freqy_(freqy) {}

    // Nothing measured; the frequency stays.
    constexpr void Reset() { *this = SignalMeasurement(freqy_); }

    // True when every bit of the mask is set.
    [[nodiscard]] constexpr bool IsValid(std::uint32_t mask) const { return (flags_ & mask) == mask; }
    // Clears the bits of the mask; the values stay.
    constexpr void Clear(std::uint32_t mask) { flags_ &= ~mask; }
    [[nodiscard]] constexpr std::uint32_t GetFlags() const { return flags_; }
    [[nodiscard]] constexpr const Freqy& GetFreqy() const { return freqy_; }

    [[nodiscard]] constexpr double GetSNR() const { return snr_; }
    [[nodiscard]] constexpr double GetRange() const { return range_.Value(); }
    [[nodiscard]] constexpr const Corvane::QValue& GetRangeQ() const { return range_; }
    [[nodiscard]] constexpr double GetPhase() const { return phase_.Value(); }
    [[nodiscard]] constexpr const Corvane::QValue& GetPhaseQ() const { return phase_; }
    [[nodiscard]] constexpr double GetDoppler() const { return doppler_.Value(); }
    [[nodiscard]] constexpr const Corvane::QValue& GetDopplerQ() const { return doppler_; }
    [[nodiscard]] constexpr double GetSmoothRange() const { return smoothRange_.Value(); }
    [[nodiscard]] constexpr const Corvane::QValue& GetSmoothRangeQ() const { return smoothRange_; }
    [[nodiscard]] constexpr double GetLockTime() const { return lockTime_; }
    [[nodiscard]] constexpr CycleSlip GetCycleSlip() const { return cycleSlip_; }
    // True only for a slip that is known.
    [[nodiscard]] constexpr bool IsCycleSlip() const { return IsValid(SlipKnown) && cycleSlip_ == Slip; }
    [[nodiscard]] constexpr bool IsLostLock() const { return IsValid(LostLock); }
    [[nodiscard]] constexpr bool IsPhaseWarn() const { return IsValid(PhaseWarn); }
    [[nodiscard]] constexpr bool IsCodeWarn() const { return IsValid(CodeWarn); }

    constexpr void SetSNR(double snr) { Take(SNR, snr_, snr); }
    constexpr void SetRange(const Corvane::QValue& range) { Take(Range, range_, range); }
    constexpr void SetPhase(const Corvane::QValue& phase) { Take(Phase, phase_, phase); }
    constexpr void SetDoppler(const Corvane::QValue& doppler) { Take(Doppler, doppler_, doppler); }
    constexpr void SetSmoothRange(const Corvane::QValue& range) { Take(SmoothRange, smoothRange_, range); }
    constexpr void SetLockTime(double seconds) { Take(LockTime, lockTime_, seconds); }
    constexpr void SetCycleSlip(CycleSlip slip) { Take(SlipKnown, cycleSlip_, slip); }
    // Set a warning; Clear takes it away.
    constexpr void SetLostLock() { flags_ |= LostLock; }
    constexpr void SetPhaseWarn() { flags_ |= PhaseWarn; }
    constexpr void SetCodeWarn() { flags_ |= CodeWarn; }

    // Every field, whether its bit is set or not.
    friend constexpr bool operator==(const SignalMeasurement&, const SignalMeasurement&) = default;

    // The signal's code ('C' for C/A, '1' for L1, '2' for L2), the flags in 32 bits, and the values that are there, in
    // the order SNR, range, phase, cycle slip (one byte, always there), Doppler, smoothed range, lock time; doubles,
    // with qualities as floats. False when the stream fails or the signal has no code; a failed read leaves the record
    // as it was. A read clears the values whose bits are not set.
    bool Write(Corvane::Stream::Output& output) const;
    bool Read(Corvane::Stream::Input& input);

private:
    template <typename Value>
    constexpr void Take(Flag flag, Value& member, const Value& value) {
        member = value;
        flags_ |= flag;
    }

    Freqy freqy_;
    std::uint32_t flags_ = 0;
    CycleSlip cycleSlip_ = NoSlip;
    double snr_ = 0.0;
    Corvane::QValue range_;
    Corvane::QValue phase_;
    Corvane::QValue doppler_;
    Corvane::QValue smoothRange_;
    double lockTime_ = 0.0;
};

}  // namespace GNSS

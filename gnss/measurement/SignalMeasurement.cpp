#include "gnss/measurement/SignalMeasurement.h"

#include <cfloat>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <string_view>

#include "gnss/measurement/GPSMeas.h"
#include "gnss/measurement/GlonassMeasurement.h"

namespace GNSS {

using Corvane::QValue;
using Corvane::Stream::Input;
using Corvane::Stream::Output;
using Corvane::Stream::Succeeds;

namespace {

// The codes of C/A, L1 and L2 in the order of their idents, which count from 1; none for any other ident.
constexpr std::string_view Codes = "C12";

template <typename Freqy>
std::optional<char> CodeOf(const Freqy& freqy) {
    const auto index = static_cast<std::size_t>(freqy.GetIdent() - 1);
    return index < Codes.size() ? std::optional(Codes[index]) : std::nullopt;
}

// What is too large for a float becomes infinite; the language leaves that conversion undefined.
float ToFloat(double value) {
    if (std::abs(value) <= static_cast<double>(FLT_MAX) || std::isnan(value)) return static_cast<float>(value);
    constexpr float Infinity = std::numeric_limits<float>::infinity();
    return value > 0.0 ? Infinity : -Infinity;
}

void Write(Output& output, const QValue& value) {
    output.WriteDouble(value.Value());
    output.WriteFloat(ToFloat(value.Quality()));
}

QValue ReadQValue(Input& input) {
    const double value = input.ReadDouble();
    return {value, static_cast<double>(input.ReadFloat())};
}

}  // namespace

template <typename System>
bool SignalMeasurement<System>::Write(Output& output) const {
    return Succeeds([&] {
        const std::optional<char> code = CodeOf(freqy_);
        if (!code) return false;
        output.WriteChar(*code);
        output.WriteULong(flags_);
        if (IsValid(SNR)) output.WriteDouble(snr_);
        if (IsValid(Range)) GNSS::Write(output, range_);
        if (IsValid(Phase)) GNSS::Write(output, phase_);
        output.WriteChar(static_cast<char>(cycleSlip_));
        if (IsValid(Doppler)) GNSS::Write(output, doppler_);
        if (IsValid(SmoothRange)) GNSS::Write(output, smoothRange_);
        if (IsValid(LockTime)) output.WriteDouble(lockTime_);
        return true;
    });
}

template <typename System>
bool SignalMeasurement<System>::Read(Input& input) {
    return Succeeds([&] {
        const char code = input.ReadChar();
        for (const Freqy& freqy : {Freqy::CA, Freqy::L1, Freqy::L2}) {
            if (CodeOf(freqy) != code) continue;
            SignalMeasurement read(freqy);
            read.flags_ = input.ReadULong();
            if (read.IsValid(SNR)) read.snr_ = input.ReadDouble();
            if (read.IsValid(Range)) read.range_ = ReadQValue(input);
            if (read.IsValid(Phase)) read.phase_ = ReadQValue(input);
            read.cycleSlip_ = static_cast<CycleSlip>(static_cast<signed char>(input.ReadChar()));
            if (read.IsValid(Doppler)) read.doppler_ = ReadQValue(input);
            if (read.IsValid(SmoothRange)) read.smoothRange_ = ReadQValue(input);
            if (read.IsValid(LockTime)) read.lockTime_ = input.ReadDouble();
            *this = read;
            return true;
        }
        return false;
    });
}

template bool SignalMeasurement<GPSSystem>::Write(Output&) const;
template bool SignalMeasurement<GPSSystem>::Read(Input&);
template bool SignalMeasurement<GlonassSystem>::Write(Output&) const;
template bool SignalMeasurement<GlonassSystem>::Read(Input&);

}  // namespace GNSS

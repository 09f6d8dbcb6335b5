#include "host/simulate/GlonassMessage.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "gnss/platform/Number.h"

namespace Host {

namespace {

using String = GNSS::ICDGlonass::String;
using EphSF = GNSS::ICDGlonass::EphemerisSF;
using AlmSF = GNSS::ICDGlonass::AlmanacSF;

// Bit n of a string: see GNSS::ICDGlonass::String.
void SetBit(String& string, int n) {
    unsigned char& byte = string[10 - (n - 1) / 8];
    byte = static_cast<unsigned char>(byte | 1U << static_cast<unsigned>((n - 1) % 8));
}

// Bits lowest to lowest + width - 1.
void Put(String& string, int lowest, int width, std::int64_t number) {
    for (int i = 0; i < width; ++i) {
        if ((number >> static_cast<unsigned>(i) & 1) != 0) SetBit(string, lowest + i);
    }
}

// In whole units, as near as the field comes; signed ones with the sign in the highest bit and the magnitude below.
void PutUnsigned(String& string, int lowest, int width, double value, double unit) {
    const std::int64_t most = (std::int64_t{1} << static_cast<unsigned>(width)) - 1;
    Put(string, lowest, width, std::clamp<std::int64_t>(Corvane::ToInt64(std::round(value / unit)), 0, most));
}
void PutSigned(String& string, int lowest, int width, double value, double unit) {
    PutUnsigned(string, lowest, width - 1, std::abs(value), unit);
    if (value < 0.0) SetBit(string, lowest + width - 1);
}

// The check bits 1 to 8: those of a Hamming code whose data bits, 9 to 85, have the positions that are no powers of two
// (section 4.7).
void Complete(String& string) {
    unsigned position = 3;
    unsigned sum = 0;
    int ones = 0;
    for (int n = 9; n <= 85; ++n, ++position) {
        if (std::has_single_bit(position)) ++position;
        if (string.GetBit(n) == 0) continue;
        sum ^= position;
        ++ones;
    }
    ones += std::popcount(sum);
    Put(string, 1, 7, sum);
    if (ones % 2 != 0) SetBit(string, 8);
}

}  // namespace

String MakeEmptyString(int number) {
    String string;
    Put(string, 81, 4, number);
    Complete(string);
    return string;
}

String MakeImmediateString(const GlonassBroadcast& b, int number, double frameTime, int day) {
    constexpr int Accuracy = 1;  // F_T: 2 m
    constexpr int TypeM = 1;
    String string;
    Put(string, 81, 4, number);
    const auto putAxis = [&string](double posn, double vely, double accel) {
        PutSigned(string, 9, 27, posn, EphSF::Posn);
        PutSigned(string, 41, 24, vely, EphSF::Vely);
        PutSigned(string, 36, 5, accel, EphSF::Accl);
    };
    switch (number) {
        case 1: {
            const int halfMinutes = Corvane::ToInt(std::round(frameTime / 30.0));
            Put(string, 77, 2, 1);  // a new tb every 30 minutes
            Put(string, 72, 5, halfMinutes / 120);
            Put(string, 66, 6, halfMinutes / 2 % 60);
            Put(string, 65, 1, halfMinutes % 2);
            putAxis(b.posn.GetX(), b.vely.GetX(), b.accel.GetX());
            break;
        }
        case 2:
            Put(string, 80, 1, b.healthy ? 0 : 1);
            Put(string, 77, 1, b.odd ? 1 : 0);
            PutUnsigned(string, 70, 7, b.tb, 900.0);
            putAxis(b.posn.GetY(), b.vely.GetY(), b.accel.GetY());
            break;
        case 3:
            // Five satellites' almanacs in the frame, four in the last one of a superframe.
            Put(string, 80, 1, Corvane::ToInt(std::round(frameTime / 30.0)) % 5 == 4 ? 0 : 1);
            PutSigned(string, 69, 11, b.gamma, EphSF::Gamma);
            Put(string, 65, 1, b.healthy ? 0 : 1);
            putAxis(b.posn.GetZ(), b.vely.GetZ(), b.accel.GetZ());
            break;
        case 4:
            PutSigned(string, 59, 22, b.tau, EphSF::Tau);
            Put(string, 30, 4, Accuracy);
            Put(string, 16, 11, day);
            Put(string, 11, 5, b.slot);
            Put(string, 9, 2, TypeM);
            break;
        default:
            break;
    }
    Complete(string);
    return string;
}

String MakeSystemString(const GlonassSystemTime& time) {
    constexpr double TauCUnit = 0x1p-31;
    constexpr double TauGPSUnit = 0x1p-30;
    String string;
    Put(string, 81, 4, 5);
    Put(string, 70, 11, time.dayOfAlmanac);
    PutSigned(string, 38, 32, time.tauC, TauCUnit);
    Put(string, 32, 5, time.fourYears);
    PutSigned(string, 10, 22, time.tauGPS, TauGPSUnit);
    Put(string, 9, 1, time.healthy ? 0 : 1);
    Complete(string);
    return string;
}

String MakeAlmanacString(const GlonassAlmanacEntry& entry, int number) {
    String string;
    Put(string, 81, 4, number);
    if (number % 2 == 0) {
        Put(string, 80, 1, entry.healthy ? 1 : 0);
        Put(string, 78, 2, 1);  // GLONASS-M
        Put(string, 73, 5, entry.slot);
        PutSigned(string, 63, 10, entry.tau, AlmSF::TauN);
        PutSigned(string, 42, 21, entry.lambda, AlmSF::Lambda);
        PutSigned(string, 24, 18, entry.di, AlmSF::Di);
        PutUnsigned(string, 9, 15, entry.e, AlmSF::Eccent);
    } else {
        PutSigned(string, 65, 16, entry.w, AlmSF::W);
        PutUnsigned(string, 44, 21, entry.tLambda, AlmSF::TLambda);
        PutSigned(string, 22, 22, entry.dT, AlmSF::DDrac);
        PutSigned(string, 15, 7, entry.dTRate, AlmSF::DDracDot);
        Put(string, 10, 5, entry.channel < 0 ? entry.channel + 32 : entry.channel);
        Put(string, 9, 1, entry.senderHealthy ? 0 : 1);
    }
    Complete(string);
    return string;
}

}  // namespace Host

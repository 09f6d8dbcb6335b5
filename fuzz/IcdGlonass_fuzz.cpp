// GLONASS strings in any order through the whole of ICDGlonass: what is decoded lies within the range of its field, and
// an answer of false leaves the record alone, but for the one case that fills it all the same.
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/ephemeris/GlonassEphemeride.h"
#include "gnss/icd/ICDGlonass.h"

namespace {

using GNSS::ICDGlonass;
using GNSS::Glonass::Ephemeride;

void Check(bool holds) {
    if (!holds) std::abort();
}

// Sign and magnitude: (-bound, bound), in whole steps.
void CheckSigned(double value, int width, double scale) {
    Check(std::abs(value) < std::ldexp(scale, width - 1) && std::fmod(value, scale) == 0.0);
    Check(value != 0.0 || !std::signbit(value));
}
void CheckUnsigned(double value, int width, double scale) {
    Check(value >= 0.0 && value < std::ldexp(scale, width) && std::fmod(value, scale) == 0.0);
}

template <typename Record>
std::vector<std::byte> BytesOf(const Record& record) {
    Corvane::Stream::MemoryOutput output;
    record.Write(output);
    return output.Bytes();
}

void CheckAxis(double posn, double vely, double accel) {
    CheckSigned(posn, 27, ICDGlonass::EphemerisSF::Posn);
    CheckSigned(vely, 24, ICDGlonass::EphemerisSF::Vely);
    CheckSigned(accel, 5, ICDGlonass::EphemerisSF::Accl);
}

void CheckEphemeride(const ICDGlonass& icd, int slot, int frame) {
    Ephemeride eph;
    eph.slot = slot;
    eph.accuracy = 3.0;
    const auto before = BytesOf(eph);
    if (!icd.GetEphemeride(eph, frame)) {
        Check(eph.slot.IsNull() || frame < 1 || frame > ICDGlonass::NmrFrame);
        Check(BytesOf(eph) == before);
        return;
    }
    Check(eph.slot == slot && eph.posn.sequence == -1 && eph.accuracy == Ephemeride::UnknownAccuracy);
    CheckAxis(eph.posn.posn.GetX(), eph.posn.vely.GetX(), eph.posn.accel.GetX());
    CheckAxis(eph.posn.posn.GetY(), eph.posn.vely.GetY(), eph.posn.accel.GetY());
    CheckAxis(eph.posn.posn.GetZ(), eph.posn.vely.GetZ(), eph.posn.accel.GetZ());
    CheckSigned(eph.clock.tau, 22, ICDGlonass::EphemerisSF::Tau);
    CheckSigned(eph.clock.gamma, 11, ICDGlonass::EphemerisSF::Gamma);
    CheckSigned(eph.m.age, 5, 1.0);
    CheckUnsigned(eph.posn.tb, 7, 900.0);
    CheckUnsigned(eph.posn.day, 11, 1.0);
    Check(eph.posn.frameTime >= 0.0 && eph.posn.frameTime <= 31 * 3600.0 + 63 * 60.0 + 30.0);
    const int p1 = eph.status.Get(Ephemeride::Status::P1);
    Check(p1 == 0 || p1 == 30 || p1 == 45 || p1 == 60);
}

void CheckAlmanac(const ICDGlonass& icd, int slot) {
    GNSS::Almanac::GlonassSV sv;
    sv.slot = slot;
    sv.day = -1;
    const auto before = BytesOf(sv);
    const bool isUsable = icd.GetAlmanac(sv);
    if (sv.day < 0) {
        Check(!isUsable && BytesOf(sv) == before);
        return;
    }
    Check(isUsable == (sv.channel != 0 || sv.health == 1));
    Check(sv.slot == slot && sv.channel >= -7 && sv.channel <= 24);
    using SF = ICDGlonass::AlmanacSF;
    CheckUnsigned(sv.health, 1, 1.0);
    CheckUnsigned(sv.day, 11, 1.0);
    CheckUnsigned(sv.TLambda, 21, SF::TLambda);
    CheckUnsigned(sv.Eccent, 15, SF::Eccent);
    CheckSigned(sv.DDrac, 22, SF::DDrac);
    CheckSigned(sv.DDracDot, 7, SF::DDracDot);
    CheckSigned(sv.TauN, 10, SF::TauN);
    for (const auto& angle : {sv.Lambda, sv.Di, sv.W}) Check(std::abs(angle.SemiCircles()) < 1.0);
}

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : data_(data), left_(size) {}
    [[nodiscard]] bool IsEmpty() const { return left_ == 0; }
    template <typename Value>
    Value Take() {
        Value value{};
        const std::size_t size = left_ < sizeof value ? left_ : sizeof value;
        std::memcpy(&value, data_, size);
        data_ += size;
        left_ -= size;
        return value;
    }

private:
    const std::uint8_t* data_;
    std::size_t left_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    ICDGlonass icd;
    while (!input.IsEmpty()) {
        const auto what = input.Take<std::uint8_t>();
        ICDGlonass::String string;
        for (int n = 0; n < ICDGlonass::String::NmrBytes; ++n) string[n] = input.Take<std::uint8_t>();
        // Mostly frames that exist.
        const int frame = what < 200 ? 1 + what % 5 : input.Take<std::int32_t>();
        const ICDGlonass before = icd;
        icd.AddString(frame, string);
        const int number = string.GetNumber();
        if (number >= 1 && frame >= 1 && frame <= ICDGlonass::NmrFrame) {
            Check(icd[frame - 1][number - 1] == string);
        } else {
            Check(icd == before);
        }
        const auto range = input.Take<std::array<std::uint32_t, 2>>();
        const std::uint32_t bits = string.GetUnsigned(range[0], range[1]);
        if (range[1] < 32) Check((bits >> range[1]) == 0);
        if (range[1] >= 1 && range[1] <= 32) {
            Check(std::abs(std::int64_t{string.GetSigned(range[0], range[1])}) < std::int64_t{1} << (range[1] - 1));
        }
        int index = -1;
        if (icd[what % 5].FindIndex(static_cast<int>(range[0]), index)) Check(index >= 5 && index <= 14);
        for (int slot = 0; slot <= 24; ++slot) CheckAlmanac(icd, slot);
        CheckEphemeride(icd, what % 26, frame);
    }
    return 0;
}

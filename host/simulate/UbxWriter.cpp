#include "host/simulate/UbxWriter.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "gnss/platform/Number.h"
#include "host/receiver/UbxKinds.h"
#include "host/receiver/UbxSystems.h"

namespace Host {

namespace {

constexpr std::size_t HeaderSize = 6;
constexpr unsigned Version = 1;

// The exponent of the smallest value unit 2^n that is not below.
std::uint8_t Exponent(double value, double unit) {
    int n = 0;
    while (n < 15 && std::ldexp(unit, n) < value) ++n;
    return static_cast<std::uint8_t>(n);
}

}  // namespace

template <typename Number>
void UbxWriter::Put(Number number) {
    std::array<char, sizeof(Number)> raw{};
    std::memcpy(raw.data(), &number, sizeof(Number));
    if constexpr (std::endian::native == std::endian::big) std::reverse(raw.begin(), raw.end());
    bytes_.append(raw.data(), raw.size());
}

void UbxWriter::Begin(std::uint32_t kind) {
    begin_ = bytes_.size();
    bytes_ += "\xB5\x62";
    Put(static_cast<std::uint8_t>(kind >> 8U));
    Put(static_cast<std::uint8_t>(kind));
    Put(std::uint16_t{0});
}

void UbxWriter::Finish() {
    const std::size_t length = bytes_.size() - begin_ - HeaderSize;
    bytes_[begin_ + 4] = static_cast<char>(length & 0xFFU);
    bytes_[begin_ + 5] = static_cast<char>(length >> 8U);
    std::uint8_t a = 0;
    std::uint8_t b = 0;
    for (std::size_t i = begin_ + 2; i < bytes_.size(); ++i) {
        a = static_cast<std::uint8_t>(a + static_cast<unsigned char>(bytes_[i]));
        b = static_cast<std::uint8_t>(b + a);
    }
    Put(a);
    Put(b);
}

void UbxWriter::WriteTime(const GNSS::GPSTime& time, int leapSeconds) {
    constexpr std::uint32_t MSInWeek = 604800000;
    // To the nearest millisecond, and what is left of it in nanoseconds.
    const double ms = std::round(time.GetSeconds() * 1e3);
    const auto whole = static_cast<std::uint32_t>(Corvane::ToInt64(ms));
    Begin(UbxKinds::NavTIMEGPS);
    Put(whole % MSInWeek);
    Put(static_cast<std::int32_t>(Corvane::ToInt(std::round((time.GetSeconds() * 1e3 - ms) * 1e6))));
    Put(static_cast<std::int16_t>(time.GetWeek() + (whole >= MSInWeek ? 1 : 0)));
    Put(static_cast<std::int8_t>(leapSeconds));
    Put(std::uint8_t{7});    // all valid
    Put(std::uint32_t{20});  // ns
    Finish();
}

void UbxWriter::WriteMeasurements(const GNSS::GPSTime& time, int leapSeconds, bool reset,
                                  std::span<const UbxMeasurement> measurements) {
    constexpr unsigned LeapValid = 1;
    constexpr unsigned ClockReset = 2;
    constexpr unsigned AllValid = 7;  // range, phase, half cycle
    constexpr double MaxLockTime = 64.5;
    Begin(UbxKinds::RxmRAWX);
    Put(time.GetSeconds());
    Put(static_cast<std::uint16_t>(time.GetWeek()));
    Put(static_cast<std::int8_t>(leapSeconds));
    Put(static_cast<std::uint8_t>(measurements.size()));
    Put(static_cast<std::uint8_t>(LeapValid | (reset ? ClockReset : 0U)));
    Put(static_cast<std::uint8_t>(Version));
    Put(std::uint16_t{0});
    for (const UbxMeasurement& m : measurements) {
        const bool isGlonass = m.system == 'R';
        Put(m.range);
        Put(m.phase);
        Put(static_cast<float>(m.doppler));
        Put(static_cast<std::uint8_t>(isGlonass ? UbxSystems::Glonass : UbxSystems::GPS));
        Put(static_cast<std::uint8_t>(m.number));
        Put(static_cast<std::uint8_t>(isGlonass ? UbxSystems::GlonassL1 : UbxSystems::GPSL1CA));
        Put(static_cast<std::uint8_t>(isGlonass ? m.channel + 7 : 0));
        Put(static_cast<std::uint16_t>(Corvane::ToInt(std::min(m.lockTime, MaxLockTime) * 1e3)));
        Put(static_cast<std::uint8_t>(m.snr));
        Put(Exponent(m.rangeSD, 0.01));
        Put(static_cast<std::uint8_t>(std::clamp(Corvane::ToInt(std::ceil(m.phaseSD / 0.004)), 1, 14)));
        Put(Exponent(m.dopplerSD, 0.002));
        Put(static_cast<std::uint8_t>(AllValid));
        Put(std::uint8_t{0});
    }
    Finish();
}

void UbxWriter::WriteSubframe(int prn, const std::array<std::uint32_t, 10>& transmitted) {
    constexpr std::uint32_t AllBits = 0x3FFFFFFFU;
    Begin(UbxKinds::RxmSFRBX);
    for (const int value : {UbxSystems::GPS, prn, UbxSystems::GPSL1CA, 0, 10, 0, 2, 0})
        Put(static_cast<std::uint8_t>(value));
    std::uint32_t before = 0;
    for (const std::uint32_t word : transmitted) {
        Put((before & 1U) != 0 ? word ^ AllBits : word);
        before = word;
    }
    Finish();
}

void UbxWriter::WriteString(int slot, int channel, int frame, const GNSS::ICDGlonass::String& string) {
    constexpr unsigned Bits = 85;
    Begin(UbxKinds::RxmSFRBX);
    for (const int value : {UbxSystems::Glonass, slot, UbxSystems::GlonassL1, channel + 7, 4, 0, 2, 0})
        Put(static_cast<std::uint8_t>(value));
    // From bit 85 down, the first word's highest bit first.
    Put(string.GetUnsigned(Bits - 31, 32));
    Put(string.GetUnsigned(Bits - 63, 32));
    Put(string.GetUnsigned(1, 21) << 11U);
    Put(std::uint32_t{1} << 16U | static_cast<std::uint32_t>(frame));
    Finish();
}

}  // namespace Host

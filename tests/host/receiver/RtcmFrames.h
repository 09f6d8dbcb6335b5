// Frames of RTCM 3 made by hand.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tests {

// Appends bits, the most significant first.
class Bits {
public:
    Bits& Put(std::int64_t value, int width) {
        while (width-- > 0) bits_.push_back(width < 64 && ((static_cast<std::uint64_t>(value) >> width) & 1U) != 0);
        return *this;
    }
    // Sign and magnitude.
    Bits& PutSign(std::int64_t value, int width) {
        return Put(value < 0 ? 1 : 0, 1).Put(value < 0 ? -value : value, width - 1);
    }
    [[nodiscard]] std::string Payload() const {
        std::string bytes((bits_.size() + 7) / 8, '\0');
        for (std::size_t n = 0; n < bits_.size(); ++n) {
            if (bits_[n])
                bytes[n / 8] = static_cast<char>(static_cast<unsigned char>(bytes[n / 8]) | (0x80U >> (n % 8)));
        }
        return bytes;
    }

private:
    std::vector<bool> bits_;
};

// With the checksum computed bit by bit.
inline std::string MakeFrame(const std::string& payload) {
    std::string frame = "\xD3";
    frame += static_cast<char>(payload.size() >> 8U);
    frame += static_cast<char>(payload.size() & 0xFFU);
    frame += payload;
    std::uint32_t crc = 0;
    for (const char c : frame) {
        crc ^= std::uint32_t{static_cast<unsigned char>(c)} << 16U;
        for (int bit = 0; bit < 8; ++bit) crc = (crc << 1U) ^ ((crc & 0x800000U) != 0 ? 0x1864CFBU : 0U);
    }
    for (const unsigned shift : {16U, 8U, 0U}) frame += static_cast<char>((crc >> shift) & 0xFFU);
    return frame;
}

// 1001 or 1002 of one satellite: range in steps of 0.02 m without its milliseconds, phase minus range in 0.0005 m.
struct GPSFrame {
    std::int64_t ms = 0;
    int prn = 5, range = 1'000'000, diff = 0, lock = 100;
    bool more = false, extended = true;
    int station = 7;
    [[nodiscard]] std::string Make() const {
        Bits bits;
        bits.Put(extended ? 1002 : 1001, 12).Put(station, 12).Put(ms, 30).Put(more ? 1 : 0, 1).Put(1, 5).Put(0, 4);
        bits.Put(prn, 6).Put(0, 1).Put(range, 24).Put(diff, 20).Put(lock, 7);
        if (extended) bits.Put(70, 8).Put(180, 8);
        return MakeFrame(bits.Payload());
    }
};

// 1010 of one satellite.
struct GlonassFrame {
    std::int64_t ms = 0;
    int slot = 3, channel = 2;
    bool more = false;
    [[nodiscard]] std::string Make() const {
        Bits bits;
        bits.Put(1010, 12).Put(7, 12).Put(ms, 27).Put(more ? 1 : 0, 1).Put(1, 5).Put(0, 4);
        bits.Put(slot, 6)
            .Put(0, 1)
            .Put(channel + 7, 5)
            .Put(1'000'000, 25)
            .Put(400, 20)
            .Put(100, 7)
            .Put(35, 7)
            .Put(160, 8);
        return MakeFrame(bits.Payload());
    }
};

// 1020 with the fields that say the time; the rest 0.
struct GlonassDateFrame {
    int slot = 3, day = 719, fourYears = 4, hours = 2, minutes = 7, tb = 9;
    bool unhealthy = false, isM = true;
    [[nodiscard]] std::string Make() const {
        Bits bits;
        bits.Put(1020, 12)
            .Put(slot, 6)
            .Put(9, 5)
            .Put(0, 4)
            .Put(hours, 5)
            .Put(minutes, 6)
            .Put(1, 1)
            .Put(unhealthy ? 1 : 0, 1);
        bits.Put(1, 1)
            .Put(tb, 7)
            .Put(0, 3 * 56)
            .Put(0, 1 + 11 + 3 + 22 + 5 + 5 + 1 + 4)
            .Put(day, 11)
            .Put(isM ? 1 : 0, 2);
        bits.Put(1, 1).Put(day, 11).Put(0, 32).Put(fourYears, 5).Put(0, 22 + 1 + 7);
        return MakeFrame(bits.Payload());
    }
};

// 1019 with the week and what makes it an ephemeride; the rest 0.
struct WeekFrame {
    int prn = 5, week = 1562 % 1024, toe = 515'232, health = 0, iode = 33, iodc = 33, sqrtA = 5153;
    [[nodiscard]] std::string Make() const {
        Bits bits;
        bits.Put(1019, 12).Put(prn, 6).Put(week, 10).Put(0, 20).Put(iode, 8).Put(toe / 16, 16).Put(0, 46).Put(iodc, 10);
        bits.Put(0, 16 + 16 + 32 + 16 + 32 + 16).Put(std::int64_t{sqrtA} << 19U, 32).Put(toe / 16, 16);
        bits.Put(0, 16 + 32 + 16 + 32 + 16 + 32 + 24 + 8).Put(health, 6).Put(0, 2);
        return MakeFrame(bits.Payload());
    }
};

inline std::string MakeSystemFrame(int modifiedJulianDay, int seconds, int leapSeconds) {
    return MakeFrame(Bits()
                         .Put(1013, 12)
                         .Put(7, 12)
                         .Put(modifiedJulianDay, 16)
                         .Put(seconds, 17)
                         .Put(0, 5)
                         .Put(leapSeconds, 8)
                         .Payload());
}

}  // namespace tests

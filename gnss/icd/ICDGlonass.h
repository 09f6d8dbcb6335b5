// GNSS::ICDGlonass: the GLONASS navigation message, from the strings of a receiver to the library's records.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "gnss/almanac/Almanac.h"
#include "gnss/fwd.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Number.h"

namespace GNSS {

// The last superframe that one satellite has sent: five frames of fifteen strings (GLONASS interface control document,
// edition 5.1, 4.3 to 4.5), and what they say. It holds no history, and neither tests the check bits nor the order of
// the strings: they come checked.
//
// Strings, frames and the whole are plain values, zero when made. Where an element is asked for that does not exist,
// the nearest one answers. Nothing allocates.
class GNSS_EXPORT ICDGlonass {
public:
    // Scale factors: the value of a field's last bit.
    // Almanac (section 4.5); semicircles, seconds.
    struct AlmanacSF {
        static constexpr double Lambda = 0x1p-20;
        static constexpr double TLambda = 0x1p-5;
        static constexpr double Eccent = 0x1p-20;
        static constexpr double W = 0x1p-15;
        static constexpr double Di = 0x1p-20;
        static constexpr double DDrac = 0x1p-9;
        static constexpr double DDracDot = 0x1p-14;
        static constexpr double TauN = 0x1p-18;
    };
    // Immediate data (section 4.4); kilometres, seconds.
    struct EphemerisSF {
        static constexpr double Posn = 0x1p-11;
        static constexpr double Vely = 0x1p-20;
        static constexpr double Accl = 0x1p-30;
        static constexpr double Tau = 0x1p-30;
        static constexpr double Gamma = 0x1p-40;
    };

    // One string: bit 85 is transmitted first, bits 81 to 84 are its number, bits 1 to 8 the check bits. Bit n, 1 to
    // 88, is bit (n - 1) mod 8 of byte 10 - (n - 1) / 8; byte 11 is not used.
    class String {
    public:
        static constexpr int NmrBytes = 12;
        // The highest number of a bit that has a place.
        static constexpr unsigned NmrBits = 88;

        constexpr void Zero() { bytes_ = {}; }
        [[nodiscard]] constexpr unsigned char operator[](int n) const { return bytes_[IndexOf(n)]; }
        [[nodiscard]] constexpr unsigned char& operator[](int n) { return bytes_[IndexOf(n)]; }

        // 1 or 0.
        [[nodiscard]] constexpr int GetBit(int n) const {
            return n < 1 ? 0 : static_cast<int>(GetUnsigned(static_cast<unsigned>(n), 1));
        }
        // Bits first to first + count - 1, the highest-numbered one most significant. Bits that do not exist are 0; of
        // more than 32 bits the lowest 32 remain.
        [[nodiscard]] constexpr std::uint32_t GetUnsigned(unsigned first, unsigned count) const {
            if (count < 1 || first > NmrBits) return 0;
            if (count > 32) count = 32;
            if (first == 0) return GetUnsigned(1, count - 1) << 1U;
            // Five bytes hold any 32 bits.
            const int last = 10 - static_cast<int>((first - 1) / 8);
            const std::uint64_t bits = Byte(last) | (Byte(last - 1) << 8U) | (Byte(last - 2) << 16U) |
                                       (Byte(last - 3) << 24U) | (Byte(last - 4) << 32U);
            return static_cast<std::uint32_t>((bits >> ((first - 1) % 8)) & ((std::uint64_t{1} << count) - 1));
        }
        // The same bits as sign (the highest one) and magnitude; no negative zero. Held within 32 bits.
        [[nodiscard]] constexpr std::int32_t GetSigned(unsigned first, unsigned count) const {
            if (count < 1) return 0;
            const std::int64_t magnitude = GetUnsigned(first, count - 1);
            const std::uint64_t sign = std::uint64_t{first} + count - 1;
            const bool isNegative = sign <= NmrBits && GetBit(static_cast<int>(sign)) != 0;
            return Corvane::Saturate(isNegative ? -magnitude : magnitude);
        }
        // The string's number in its frame, 1 to 15 in a sound message.
        [[nodiscard]] constexpr int GetNumber() const { return static_cast<int>(GetUnsigned(81, 4)); }

        friend constexpr bool operator==(const String&, const String&) = default;

    private:
        static constexpr std::size_t IndexOf(int n) {
            return static_cast<std::size_t>(n < 0 ? 0 : (n >= NmrBytes ? NmrBytes - 1 : n));
        }
        // Bytes before the first are 0.
        [[nodiscard]] constexpr std::uint64_t Byte(int n) const {
            return n < 0 ? 0 : bytes_[static_cast<std::size_t>(n)];
        }

        std::array<unsigned char, static_cast<std::size_t>(NmrBytes)> bytes_{};
    };

    // Element k - 1 is the last string received whose number is k.
    class GNSS_EXPORT Frame {
    public:
        static constexpr int NmrString = 15;

        constexpr void Zero() { strings_ = {}; }
        [[nodiscard]] constexpr const String& operator[](int n) const { return strings_[IndexOf(n)]; }
        [[nodiscard]] constexpr String& operator[](int n) { return strings_[IndexOf(n)]; }

        // Puts a string in its place; one with the number 0 is dropped.
        void SetString(const String& string);
        // The element that holds a slot's almanac (its first string): the one where it belongs, else the first of
        // elements 5 to 14 that names the slot, whichever string of an almanac it is: intended. False, the index as it
        // was, when there is none or the slot is below 1.
        [[nodiscard]] bool FindIndex(int slot, int& index) const;

        friend constexpr bool operator==(const Frame&, const Frame&) = default;

    private:
        static constexpr std::size_t IndexOf(int n) {
            return static_cast<std::size_t>(n < 0 ? 0 : (n >= NmrString ? NmrString - 1 : n));
        }

        std::array<String, static_cast<std::size_t>(NmrString)> strings_{};
    };

    static constexpr int NmrFrame = 5;

    constexpr void Zero() { frames_ = {}; }
    // Element f - 1 is frame f of the superframe.
    [[nodiscard]] constexpr const Frame& operator[](int n) const { return frames_[IndexOf(n)]; }
    [[nodiscard]] constexpr Frame& operator[](int n) { return frames_[IndexOf(n)]; }

    // Puts a string of frame 1 to 5 in its place; one of any other frame is dropped.
    void AddString(int frame, const String& string);

    // Fills the almanac of the record's slot and dates it with the current GPS time (GPSTime::SetTo). False, the record
    // unchanged, when the slot is null or not found, when its almanac seems to begin with string 15, or when the clock
    // throws. False also for channel 0 with health 0, which is no almanac, but then the record is filled: intended.
    [[nodiscard]] bool GetAlmanac(Almanac::GlonassSV& sv) const;
    // Fills the record from strings 1 to 4 of frame 1 to 5, received or not: all but slot, reference, sequence counter
    // and accuracy index. False, the record unchanged, when its slot is null or there is no such frame.
    [[nodiscard]] bool GetEphemeride(Glonass::Ephemeride& ephemeride, int frame) const;

    friend constexpr bool operator==(const ICDGlonass&, const ICDGlonass&) = default;

private:
    static constexpr std::size_t IndexOf(int n) {
        return static_cast<std::size_t>(n < 0 ? 0 : (n >= NmrFrame ? NmrFrame - 1 : n));
    }
    [[nodiscard]] bool FindIndex(int slot, int& frame, int& index) const;

    std::array<Frame, static_cast<std::size_t>(NmrFrame)> frames_{};
};

}  // namespace GNSS

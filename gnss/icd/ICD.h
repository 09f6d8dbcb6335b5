// GNSS::ICD: the GPS navigation message, from the 30-bit words of a receiver to the library's records.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "gnss/almanac/Almanac.h"
#include "gnss/fwd.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"

namespace GNSS {

// The last subframe of each kind that one satellite has sent (IS-GPS-200, 20.3.2 and 20.3.3: the message of L1 C/A),
// and what they say. It holds no clock: dates and full weeks are for the host to complete.
//
// Words come checked: parity is neither computed nor tested here, and a word that was received inverted must have been
// turned back. Bits are numbered as in the document, from 1 at the first transmitted bit.
//
// Words, subframes and the whole are plain values, zero when made. A number of a word or subframe that does not exist
// is never used as it is: where a reference is asked for, the nearest one answers; otherwise nothing is written, or the
// answer is false. Nothing but the text of the special message allocates.
class GNSS_EXPORT ICD {
public:
    // What AddSubframe has completed.
    enum Type : std::int32_t {
        None = 0,              // nothing; also for the text of SV ID 55: GetSpecialMessage has it
        Ephemeris = 1,         // subframes 1, 2 and 3: ask GetEphemerisData
        AlmanacSubframe4 = 2,  // a satellite's almanac in subframe 4: ask GetAlmanac
        AlmanacSubframe5 = 3,  // a satellite's almanac in subframe 5
        IonoUTC = 4,           // ionosphere and UTC (SV ID 56): ask GetIono and GetUTC
        HealthPage = 5,        // health of all satellites (SV ID 51 or 63)
    };

    // Scale factors: the value of a field's last bit.
    // Almanac (IS-GPS-200, table 20-VI); seconds, metres^0.5, semicircles.
    struct AlmanacSF {
        static constexpr double Eccent = 0x1p-21;
        static constexpr double Toa = 0x1p12;
        static constexpr double Di = 0x1p-19;
        static constexpr double OmegaDot = 0x1p-38;
        static constexpr double SqrtA = 0x1p-11;
        static constexpr double Omega0 = 0x1p-23;
        static constexpr double W = 0x1p-23;
        static constexpr double M0 = 0x1p-23;
        static constexpr double Af0 = 0x1p-20;
        static constexpr double Af1 = 0x1p-38;
    };
    // Clock and orbit (tables 20-I and 20-III); seconds, metres, metres^0.5, semicircles, but Cuc, Cus, Cic and Cis in
    // radians.
    struct EphemerisSF {
        static constexpr double Toc = 0x1p4;
        static constexpr double Tgd = 0x1p-31;
        static constexpr double Af0 = 0x1p-31;
        static constexpr double Af1 = 0x1p-43;
        static constexpr double Af2 = 0x1p-55;
        static constexpr double Crs = 0x1p-5;
        static constexpr double Dn = 0x1p-43;
        static constexpr double M0 = 0x1p-31;
        static constexpr double Cuc = 0x1p-29;
        static constexpr double E = 0x1p-33;
        static constexpr double Cus = 0x1p-29;
        static constexpr double SqrtA = 0x1p-19;
        static constexpr double Toe = 0x1p4;
        static constexpr double Cic = 0x1p-29;
        static constexpr double Omega0 = 0x1p-31;
        static constexpr double Cis = 0x1p-29;
        static constexpr double I0 = 0x1p-31;
        static constexpr double Crc = 0x1p-5;
        static constexpr double W = 0x1p-31;
        static constexpr double OmegaDot = 0x1p-43;
        static constexpr double IDot = 0x1p-43;
    };
    // Ionosphere and UTC (tables 20-X and 20-IX); seconds, seconds per power of a semicircle.
    struct IonoUTCSF {
        static constexpr double Alpha0 = 0x1p-30;
        static constexpr double Alpha1 = 0x1p-27;
        static constexpr double Alpha2 = 0x1p-24;
        static constexpr double Alpha3 = 0x1p-24;
        static constexpr double Beta0 = 0x1p11;
        static constexpr double Beta1 = 0x1p14;
        static constexpr double Beta2 = 0x1p16;
        static constexpr double Beta3 = 0x1p16;
        static constexpr double A0 = 0x1p-30;
        static constexpr double A1 = 0x1p-50;
        static constexpr double Tot = 0x1p12;
    };

    // One word: bits 29 to 6 of the value are the 24 data bits, the first transmitted one first, bits 5 to 0 the
    // parity. Bits 31 and 30 are not used.
    class Word {
    public:
        static constexpr unsigned Bits = 30;

        constexpr void Zero() { value_ = 0; }
        // The value as it stands, parity included; what lies beyond 32 bits is cut off.
        constexpr void Set(unsigned long value) { value_ = static_cast<std::uint32_t>(value); }
        // 24 data bits, the byte transmitted first first; the parity bits become 0.
        constexpr void SetWithoutParity(unsigned char b1, unsigned char b2, unsigned char b3) {
            value_ = ((std::uint32_t{b1} << 16U) | (std::uint32_t{b2} << 8U) | b3) << 6U;
        }
        [[nodiscard]] constexpr std::uint32_t Get() const { return value_; }

        // The `count` bits that begin `start` bits after the word's first bit, the earliest transmitted one most
        // significant. Bits beyond the word are 0; of more than 32 bits the last 32 remain.
        [[nodiscard]] constexpr std::uint32_t GetUnsigned(unsigned start, unsigned count) const {
            // What has more than 64 bits has only missing ones among its last 32.
            if (count < 1 || count > 64 || start >= Bits) return 0;
            const unsigned end = start + count;
            const std::uint64_t bits = value_;
            const std::uint64_t aligned =
                end <= Bits ? bits >> (Bits - end) : (end - Bits < 32 ? bits << (end - Bits) : 0);
            return static_cast<std::uint32_t>(count < 32 ? aligned & ((std::uint64_t{1} << count) - 1) : aligned);
        }
        // The same bits as a number in two's complement; of 32 bits and more, the last 32 as they stand.
        [[nodiscard]] constexpr std::int32_t GetSigned(unsigned start, unsigned count) const {
            std::uint32_t bits = GetUnsigned(start, count);
            if (count > 0 && count < 32 && ((bits >> (count - 1)) & 1U) != 0) bits |= ~std::uint32_t{0} << count;
            return static_cast<std::int32_t>(bits);
        }

        friend constexpr bool operator==(const Word&, const Word&) = default;

    private:
        std::uint32_t value_ = 0;
    };

    // Ten words: the telemetry word, the hand-over word, and eight of data.
    class GNSS_EXPORT Subframe {
    public:
        static constexpr int Words = 10;
        // The first eight bits of every subframe.
        static constexpr unsigned Preamble = 0x8B;

        constexpr Subframe() = default;
        // From ten words, see SetWords.
        explicit constexpr Subframe(const unsigned long* words) { SetWords(words); }

        constexpr void Reset() { words_ = {}; }
        // Copies ten words in their order.
        constexpr void SetWords(const unsigned long* words) {
            for (Word& word : words_) word.Set(*words++);
        }
        // Word n, from 1.
        [[nodiscard]] constexpr const Word& GetWord(int n) const { return words_[IndexOf(n)]; }
        [[nodiscard]] constexpr Word& GetWord(int n) { return words_[IndexOf(n)]; }
        constexpr void SetWordWithoutParity(int n, unsigned char b1, unsigned char b2, unsigned char b3) {
            if (n >= 1 && n <= Words) GetWord(n).SetWithoutParity(b1, b2, b3);
        }

        // Whether the subframe begins with the preamble.
        [[nodiscard]] constexpr bool IsValid() const { return GetWord(1).GetUnsigned(0, 8) == Preamble; }
        // Subframe ID, 1 to 5 in a sound message.
        [[nodiscard]] constexpr int GetID() const { return Number(2, 19, 3); }
        // The count of 6-second epochs in the week at which the next subframe begins.
        [[nodiscard]] constexpr int GetTOW() const { return Number(2, 0, 17); }
        // Data ID and SV ID: what a page of subframes 4 and 5 is about.
        [[nodiscard]] constexpr int GetDataID() const { return Number(3, 0, 2); }
        [[nodiscard]] constexpr int GetSVID() const { return Number(3, 2, 6); }

        // Each fills the fields of its message, leaves the rest of the record alone, and returns whether it did.

        // A page with a satellite's almanac: satellite, toa in the given week, orbit, clock, health. False when the SV
        // ID is not 1 to 32; the preamble is not tested.
        [[nodiscard]] bool DecodeAlmanac(Almanac::SV& sv, int week) const;
        // The part of the ephemeris that subframe 1, 2 or 3 carries; no other has one. The week of subframe 1 is left
        // out: with ten bits it cannot date a record by itself. Subframe 2 needs the IODC of subframe 1 in the record.
        [[nodiscard]] bool DecodeEphemeris(GPSEphemeride& ephemeride, int subframe) const;
        // The page of SV ID 56. False without the preamble; data ID and SV ID are not tested.
        [[nodiscard]] bool DecodeIono(Almanac::Iono& iono) const;
        // Likewise; the weeks WNt and WNLSF are 256 weekHigh plus the eight bits of the message.
        [[nodiscard]] bool DecodeUTC(Almanac::UTC& utc, int weekHigh) const;

        friend constexpr bool operator==(const Subframe&, const Subframe&) = default;

    private:
        static constexpr std::size_t IndexOf(int n) {
            return static_cast<std::size_t>(n < 1 ? 0 : (n > Words ? Words - 1 : n - 1));
        }
        [[nodiscard]] constexpr int Number(int word, unsigned start, unsigned count) const {
            return static_cast<int>(GetWord(word).GetUnsigned(start, count));
        }

        std::array<Word, static_cast<std::size_t>(Words)> words_{};
    };

    static constexpr int Subframes = 5;
    // Length of the text of the special message.
    static constexpr int SpecialMessageLength = 22;

    // All five subframes, and subframes 1 to 3.
    void Reset() { *this = ICD(); }
    void ResetEphemeris();

    // Subframe n, from 1.
    [[nodiscard]] constexpr const Subframe& GetSubframe(int n) const { return subframes_[IndexOf(n)]; }
    [[nodiscard]] constexpr Subframe& GetSubframe(int n) { return subframes_[IndexOf(n)]; }
    // Word `word`, from 1, of subframe 1 to 4. Subframe 5 is refused, as any other number: intended.
    void SetSubframeWordWithoutParity(int subframe, int word, unsigned char b1, unsigned char b2, unsigned char b3);

    // Takes the ten words of a subframe, tells its ID and, for subframes 4 and 5, the SV ID of its page (0 for others),
    // and returns what is complete with it.
    //
    // Subframe 1 begins a new ephemeris; 2 and 3 belong to it when their time-of-week count is one more than that of
    // the subframe before (an empty slot counts as 0), and else throw away what is there; so an ephemeris never spans
    // the end of the week. IODE and IODC are not compared. A subframe with any other ID is ignored.
    Type AddSubframe(const unsigned long* words, int& subframeId, int& svId);

    // Whether subframes 1, 2 and 3 all have the preamble.
    [[nodiscard]] bool IsEphemerisValid() const;
    // Decodes subframes 1, 2 and 3, as they are. True.
    [[nodiscard]] bool GetEphemerisData(GPSEphemeride& ephemeride) const;
    // By the operations of Subframe, of the subframe of that number, 1 to 5 (pages come in 4 and 5). False for others.
    [[nodiscard]] bool GetAlmanac(Almanac::SV& sv, int week, int subframe) const;
    [[nodiscard]] bool GetIono(Almanac::Iono& iono, int subframe) const;
    [[nodiscard]] bool GetUTC(Almanac::UTC& utc, int weekHigh, int subframe) const;
    // The 22 bytes of the text in subframe 4 (SV ID 55, which is not tested), as they were sent.
    [[nodiscard]] Corvane::String GetSpecialMessage() const;

    friend constexpr bool operator==(const ICD&, const ICD&) = default;

private:
    static constexpr bool Exists(int n) { return n >= 1 && n <= Subframes; }
    static constexpr std::size_t IndexOf(int n) {
        return static_cast<std::size_t>(n < 1 ? 0 : (n > Subframes ? Subframes - 1 : n - 1));
    }

    std::array<Subframe, static_cast<std::size_t>(Subframes)> subframes_{};
};

}  // namespace GNSS

// UbxDecoder: the UBX protocol of u-blox receivers.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "host/receiver/LittleEndian.h"
#include "host/receiver/OverlappingRuns.h"
#include "host/receiver/StreamDecoder.h"

namespace Host {

// Messages after the maker's interface descriptions (ANTARIS 4, u-blox 6 to 8, F9, M10): two bytes of start, class,
// identifier, length in two bytes, payload, and a checksum of two bytes after RFC 1145. A kind of message is its class
// times 256 plus its identifier.
//
//   RXM-SFRBX            subframes of GPS L1 C/A, strings of GLONASS L1
//   RXM-SFRB             subframes of GPS
//   RXM-RAWX, RXM-RAW    measurements: GPS L1 C/A and L2C, GLONASS L1 and L2; see UbxMeasurements.cpp for the marks
//   NAV-PVT, NAV-POSLLH, NAV-DOP    the receiver's fix, each part by itself, with the epoch's time of week in ms
//   NAV-SAT              its sky
//   NAV-TIMEGPS          its time and, once it has them from the sky, the leap seconds
//
// Everything else, other satellite systems and signals among it, is counted only.
//
// Time. RXM-RAWX, RXM-RAW and NAV-TIMEGPS hold week and time of week; NAV-PVT the date in UTC, which tells the week of
// its time of week. Messages with a time of week only belong to the week in which they lie closest to the last full
// time. A receiver that has just started numbers its messages from 0 s of no week at all: such a time is never
// delivered, and from the message that says so (week 0, or the valid flags of NAV-PVT and NAV-TIMEGPS) to the next good
// time nothing is dated: the time is lost. Measurements without a time are left out.
class UbxDecoder : public StreamDecoder {
public:
    // Longer messages than any that receivers send are taken for noise: a start and a length that are not what they
    // seem hold back no more than this.
    static constexpr std::size_t MaxPayload = 8192;

    explicit UbxDecoder(ReceiverSink& sink) : StreamDecoder(sink) {}

    // "RXM-RAWX"; unknown ones as "0x0A 0x3F".
    [[nodiscard]] std::string GetKindName(std::uint32_t kind) const override;

protected:
    [[nodiscard]] std::size_t FindStart(std::string_view bytes) const override;
    void OnMoved() override { runs_.Restart(); }
    [[nodiscard]] Frame Inspect(std::string_view bytes) override;
    [[nodiscard]] bool Decode(std::uint32_t kind, std::string_view message) override;

private:
    // Two sums of bytes, modulo 256 (RFC 1145).
    struct Fletcher {
        struct Sum {
            std::uint8_t a = 0;
            std::uint8_t b = 0;
            friend bool operator==(const Sum&, const Sum&) = default;
        };
        static Sum Of(std::string_view run);
        static Sum Step(const Sum& sum, char c);
        static Sum Between(const Sum& before, const Sum& all, std::size_t n);
    };
    // The carrier of a signal as it was last measured.
    struct Carrier {
        bool known = false;
        bool halfSubtracted = false;
        GNSS::GPSTime time;
    };
    static constexpr std::size_t NmrSignals = 2;
    template <typename Id>
    using Carriers = std::array<std::array<Carrier, NmrSignals>, static_cast<std::size_t>(Id::Max) + 1>;

    // Each takes a payload, and answers as Decode does.
    [[nodiscard]] bool DecodeSFRBX(const LittleEndian& payload);
    [[nodiscard]] bool DecodeSFRB(const LittleEndian& payload);
    [[nodiscard]] bool DecodeRAWX(const LittleEndian& payload);
    [[nodiscard]] bool DecodeRAW(const LittleEndian& payload);
    [[nodiscard]] bool DecodePVT(const LittleEndian& payload);
    [[nodiscard]] bool DecodePOSLLH(const LittleEndian& payload);
    [[nodiscard]] bool DecodeDOP(const LittleEndian& payload);
    [[nodiscard]] bool DecodeSAT(const LittleEndian& payload);
    [[nodiscard]] bool DecodeTIMEGPS(const LittleEndian& payload);

    // Ten words, each shifted to its place; four words of 32 bits.
    [[nodiscard]] bool DeliverSubframe(const LittleEndian& words, int prn, unsigned shift);
    void RestoreParity(GPSSubframe& subframe);
    [[nodiscard]] bool DeliverString(const LittleEndian& words, int slot, int freqId);

    // Makes a full time the stream's own, and tells it.
    void SetTime(const GNSS::GPSTime& time);
    void ForgetTime();
    // The full time of a time of week, which becomes the stream's own; nothing when no full one is known.
    [[nodiscard]] std::optional<GNSS::GPSTime> DateTow(std::uint32_t ms);

    OverlappingRuns<Fletcher> runs_;
    std::optional<GNSS::GPSTime> time_;  // the last full one, as long as it is believed
    bool givesParity_ = false;           // right ones of subframes
    std::optional<int> leapSeconds_;     // as the sink was told last
    Carriers<GNSS::PRN> gps_{};
    Carriers<GNSS::Glonass::Slot> glonass_{};
    ReceiverSky sky_;  // kept for the capacity of its list
};

}  // namespace Host

// The navigation messages of the satellites: RXM-SFRBX, RXM-SFRB.
#include <cstdint>

#include "host/receiver/GPSParity.h"
#include "host/receiver/UbxDecoder.h"
#include "host/receiver/UbxSystems.h"

namespace Host {

namespace {

constexpr std::size_t WordSize = 4;
constexpr std::size_t NmrWords = 10;       // of a GPS subframe
constexpr std::size_t NmrStringWords = 4;  // of a GLONASS string

}  // namespace

bool UbxDecoder::DecodeSFRBX(const LittleEndian& payload) {
    constexpr std::size_t Words = 8;
    const std::size_t nmr = payload.Get<std::uint8_t>(4);
    if (payload.GetSize() != Words + nmr * WordSize) return false;
    const int system = payload.Get<std::uint8_t>(0);
    const int number = payload.Get<std::uint8_t>(1);
    const int signal = payload.Get<std::uint8_t>(2);  // older receivers: reserved, 0
    if (system == UbxSystems::GPS && signal == UbxSystems::GPSL1CA) {
        return nmr == NmrWords && DeliverSubframe(payload.From(Words), number, 0);
    }
    if (system == UbxSystems::Glonass && signal == UbxSystems::GlonassL1) {
        return nmr == NmrStringWords && DeliverString(payload.From(Words), number, payload.Get<std::uint8_t>(3));
    }
    return true;
}

bool UbxDecoder::DecodeSFRB(const LittleEndian& payload) {
    constexpr std::size_t Words = 2;
    constexpr unsigned ParityBits = 6;  // not in the message: a word is the 24 data bits
    if (payload.GetSize() != Words + NmrWords * WordSize) return false;
    const int number = payload.Get<std::uint8_t>(1);
    // Satellites of augmentation systems, from 120 on.
    if (number > GNSS::PRN::Max) return true;
    return DeliverSubframe(payload.From(Words), number, ParityBits);
}

bool UbxDecoder::DeliverSubframe(const LittleEndian& words, int prn, unsigned shift) {
    if (!UbxSystems::IsNumber<GNSS::PRN>(prn)) return false;
    GPSSubframe subframe;
    subframe.prn.Set(prn);
    for (std::size_t i = 0; i < NmrWords; ++i) {
        subframe.words[i] = (words.Get<std::uint32_t>(i * WordSize) << shift) & 0x3FFFFFFFU;
    }
    if (shift == 0) RestoreParity(subframe);
    Sink().OnSubframe(subframe);
    return true;
}

// Each word stands in the low 30 bits, data and parity alike already turned back by the last bit of the word before
// (IS-GPS-200, 20.3.5.2): the parity bits are not those transmitted, which they become here. A receiver that has not
// given a right parity yet may be one that gives none, and has checked it.
void UbxDecoder::RestoreParity(GPSSubframe& subframe) {
    unsigned long before = 0;
    for (unsigned long& word : subframe.words) {
        if ((before & 1U) != 0) word ^= 0x3FU;
        before = word;
    }
    givesParity_ = givesParity_ || HasGPSParity(subframe.words);
    if (givesParity_) subframe.parity = GPSSubframe::Parity::Present;
}

bool UbxDecoder::DeliverString(const LittleEndian& words, int slot, int freqId) {
    if (!UbxSystems::IsGlonassNumber(slot)) return false;
    if (!UbxSystems::IsNumber<GNSS::Glonass::Slot>(slot)) return true;
    GlonassString string;
    string.slot.Set(slot);
    string.channel = UbxSystems::ChannelOf(freqId);
    // Bit 85 is the highest bit of the first word; the last bit of the string is bit 11 of the third.
    std::uint32_t carried = 0;
    for (int i = 0; i < GNSS::ICDGlonass::String::NmrBytes - 1; ++i) {
        const auto at = static_cast<std::size_t>(i);
        const std::uint32_t byte = words.Get<std::uint32_t>(at / WordSize * WordSize) >> (24U - 8U * (at % WordSize));
        string.bits[i] = static_cast<unsigned char>(carried << 5U | (byte & 0xFFU) >> 3U);
        carried = byte & 0x7U;
    }
    // The fourth word: number of the superframe, number of the frame in it.
    const int frame = words.Get<std::uint16_t>(3 * WordSize);
    string.checked = false;
    string.frame = frame <= GNSS::ICDGlonass::NmrFrame ? frame : 0;
    Sink().OnString(string);
    return true;
}

}  // namespace Host

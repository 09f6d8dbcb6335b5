#include "host/receiver/UbxDecoder.h"

#include <cstring>

#include "host/receiver/UbxKinds.h"

namespace Host {

using GNSS::GPSTime;

namespace {

constexpr char FirstByte = '\xB5';
constexpr char SecondByte = '\x62';
constexpr std::size_t HeaderSize = 6;
constexpr std::size_t ChecksumSize = 2;

}  // namespace

UbxDecoder::Fletcher::Sum UbxDecoder::Fletcher::Of(std::string_view run) {
    std::uint32_t a = 0;
    std::uint32_t b = 0;
    for (const char c : run) {
        a += static_cast<unsigned char>(c);
        b += a;
    }
    return {static_cast<std::uint8_t>(a), static_cast<std::uint8_t>(b)};
}

UbxDecoder::Fletcher::Sum UbxDecoder::Fletcher::Step(const Sum& sum, char c) {
    const auto a = static_cast<std::uint8_t>(sum.a + static_cast<unsigned char>(c));
    return {a, static_cast<std::uint8_t>(sum.b + a)};
}

// The bytes before are in each of the last n second sums.
UbxDecoder::Fletcher::Sum UbxDecoder::Fletcher::Between(const Sum& before, const Sum& all, std::size_t n) {
    return {static_cast<std::uint8_t>(all.a - before.a), static_cast<std::uint8_t>(all.b - before.b - n * before.a)};
}

std::size_t UbxDecoder::FindStart(std::string_view bytes) const {
    for (std::size_t at = 0; (at = bytes.find(FirstByte, at)) != std::string_view::npos; ++at) {
        if (at + 1 == bytes.size() || bytes[at + 1] == SecondByte) return at;
    }
    return bytes.size();
}

UbxDecoder::Frame UbxDecoder::Inspect(std::string_view bytes) {
    using State = Frame::State;
    if (bytes.empty() || bytes[0] != FirstByte || (bytes.size() > 1 && bytes[1] != SecondByte)) return {};
    if (bytes.size() < HeaderSize) return {State::Incomplete};
    const LittleEndian numbers(bytes);
    const std::size_t length = numbers.Get<std::uint16_t>(4);
    if (length > MaxPayload) return {};
    if (bytes.size() < HeaderSize + length + ChecksumSize) return {State::Incomplete};
    const Fletcher::Sum sum{numbers.Get<std::uint8_t>(HeaderSize + length),
                            numbers.Get<std::uint8_t>(HeaderSize + length + 1)};
    if (!runs_.Has(bytes.substr(2, HeaderSize - 2 + length), sum)) return {State::BadChecksum};
    return {State::Whole, HeaderSize + length + ChecksumSize,
            UbxKinds::Of(numbers.Get<std::uint8_t>(2), numbers.Get<std::uint8_t>(3))};
}

bool UbxDecoder::Decode(std::uint32_t kind, std::string_view message) {
    const LittleEndian payload(message.substr(HeaderSize, message.size() - HeaderSize - ChecksumSize));
    switch (kind) {
        case UbxKinds::NavPOSLLH:
            return DecodePOSLLH(payload);
        case UbxKinds::NavDOP:
            return DecodeDOP(payload);
        case UbxKinds::NavPVT:
            return DecodePVT(payload);
        case UbxKinds::NavTIMEGPS:
            return DecodeTIMEGPS(payload);
        case UbxKinds::NavSAT:
            return DecodeSAT(payload);
        case UbxKinds::RxmRAW:
            return DecodeRAW(payload);
        case UbxKinds::RxmSFRB:
            return DecodeSFRB(payload);
        case UbxKinds::RxmSFRBX:
            return DecodeSFRBX(payload);
        case UbxKinds::RxmRAWX:
            return DecodeRAWX(payload);
        default:
            return true;
    }
}

void UbxDecoder::ForgetTime() {
    time_.reset();
    TellTimeLost();
}

void UbxDecoder::SetTime(const GPSTime& time) {
    time_ = time;
    TellTime(time);
}

std::optional<GPSTime> UbxDecoder::DateTow(std::uint32_t ms) {
    if (!time_) return std::nullopt;
    SetTime(time_->GetClosest(ms * 1e-3));
    return time_;
}

std::string UbxDecoder::GetKindName(std::uint32_t kind) const {
    return UbxKinds::Name(kind);
}

}  // namespace Host

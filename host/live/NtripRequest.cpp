#include "host/live/NtripRequest.h"

#include <cmath>
#include <cstdint>
#include <string_view>

#include <fmt/format.h>

#include "gnss/platform/Number.h"

namespace Host {

namespace {

std::string Base64(std::string_view text) {
    constexpr std::string_view Digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string coded;
    for (std::size_t i = 0; i < text.size(); i += 3) {
        std::uint32_t bits = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            bits = bits << 8U | (i + k < text.size() ? static_cast<unsigned char>(text[i + k]) : 0U);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            coded += i + k > text.size() ? '=' : Digits[(bits >> (18 - 6 * k)) & 63U];
        }
    }
    return coded;
}

// Degrees and minutes with five decimals (2 cm), "4807.03800"; `width` digits of degrees.
std::string PrintAngle(double degrees, int width) {
    constexpr std::int64_t PerMinute = 100000;
    const std::int64_t total = Corvane::ToInt64(std::round(std::abs(degrees) * 60.0 * PerMinute));
    const std::int64_t minutes = total % (60 * PerMinute);
    return fmt::format("{:0{}}{:02}.{:05}", total / (60 * PerMinute), width, minutes / PerMinute, minutes % PerMinute);
}

}  // namespace

Secret MakeNtripRequest(const SourceAddress& address, const Secret& password, const std::string& gga) {
    const bool isSecond = address.version == 2;
    std::string text = fmt::format("GET /{} HTTP/1.{}\r\n", EncodePath(address.mount), isSecond ? 1 : 0);
    text += fmt::format("Host: {}:{}\r\n", BracketHost(address.host), address.port);
    if (isSecond) text += "Ntrip-Version: Ntrip/2.0\r\n";
    text += fmt::format("User-Agent: {}\r\n", NtripAgent);
    if (isSecond && !gga.empty()) text += "Ntrip-GGA: " + gga.substr(0, gga.find_first_of("\r\n")) + "\r\n";
    if (!address.user.empty()) {
        const Secret pair(address.user + ':' + password.Reveal());
        text += "Authorization: Basic " + Base64(pair.Reveal()) + "\r\n";
    }
    if (isSecond) text += "Connection: close\r\n";
    return Secret(text + "\r\n");
}

std::string MakeGga(const GgaPosition& position) {
    const bool isGood = std::abs(position.latitude) <= 90.0 && std::abs(position.longitude) <= 180.0 &&
                        std::abs(position.height) < 100000.0 && std::abs(position.undulation) < 1000.0 &&
                        position.secondsOfDay >= 0.0 && position.secondsOfDay < 86401.0 && position.hdop >= 0.0;
    if (!isGood) return {};
    // Cut, not rounded: the time never becomes that of the next day.
    const std::int64_t time = Corvane::ToInt64(std::floor(std::min(position.secondsOfDay, 86399.99) * 100.0));
    const std::string body = fmt::format(
        "GPGGA,{:02}{:02}{:02}.{:02},{},{},{},{},{},{:02},{:.1f},{:.2f},M,{:.2f},M,,", time / 360000, time / 6000 % 60,
        time / 100 % 60, time % 100, PrintAngle(position.latitude, 2), position.latitude < 0.0 ? 'S' : 'N',
        PrintAngle(position.longitude, 3), position.longitude < 0.0 ? 'W' : 'E', position.quality,
        std::min(position.satellites, 99), std::min(position.hdop, 99.9), position.height, position.undulation);
    unsigned sum = 0;
    for (const char c : body) sum ^= static_cast<unsigned char>(c);
    return fmt::format("${}*{:02X}\r\n", body, sum);
}

}  // namespace Host

#include "host/text/PlaceText.h"

#include <charconv>
#include <cmath>
#include <sstream>
#include <vector>

#include <fmt/format.h>

#include "gnss/geodesy/ECEF.h"
#include "gnss/geodesy/Spheroid.h"

namespace Host {

using Corvane::Angle;
using GNSS::Geog;

namespace {

constexpr double MostHeight = 20e3;  // m, either way

bool IsSeparator(char c) {
    return c == ',' || c == ' ' || c == '\t' || c == ';';
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// The numbers of a text of nothing but numbers; nothing when there is anything else.
std::optional<std::vector<double>> ReadNumbers(std::string_view text) {
    std::vector<double> numbers;
    while (!text.empty()) {
        if (IsSeparator(text.front())) {
            text.remove_prefix(1);
            continue;
        }
        if (text.front() == '+' && text.size() > 1 && text[1] != '-') text.remove_prefix(1);
        double value = 0.0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (error != std::errc() || !std::isfinite(value)) return std::nullopt;
        text.remove_prefix(static_cast<std::size_t>(end - text.data()));
        if (!text.empty() && !IsSeparator(text.front())) return std::nullopt;
        numbers.push_back(value);
    }
    return numbers;
}

// With one byte for each mark that people set, degree signs of both codings and primes for minutes and seconds, and
// with a comma where only blanks stand between two numbers.
std::string WithPlainMarks(std::string_view text) {
    std::string plain;
    while (!text.empty()) {
        const auto take = [&](std::string_view mark, char as) {
            if (!text.starts_with(mark)) return false;
            text.remove_prefix(mark.size());
            plain += as;
            return true;
        };
        if (take("\xC2\xB0", '\xB0') || take("\xE2\x80\xB2", '\'') || take("\xE2\x80\xB3", '"') ||
            take("\xE2\x80\x99", '\'') || take("\xE2\x80\x9D", '"'))
            continue;
        const auto next = text.find_first_not_of(" \t");
        if (next != 0 && next != std::string_view::npos && IsDigit(text[next]) && !plain.empty() &&
            IsDigit(plain.back())) {
            plain += ',';
            text.remove_prefix(next);
            continue;
        }
        plain += text.front();
        text.remove_prefix(1);
    }
    return plain;
}

std::optional<Geog> ReadMarked(std::string_view text, bool isHeightNeeded) {
    std::istringstream stream(WithPlainMarks(text));
    stream.imbue(std::locale::classic());
    const auto skip = [&stream] {
        while (stream.peek() != std::istringstream::traits_type::eof() && IsSeparator(static_cast<char>(stream.peek())))
            stream.get();
    };
    GNSS::Latitude latitude;
    GNSS::Longitude longitude;
    latitude.ScanFrom(stream);
    if (!stream) return std::nullopt;
    skip();
    longitude.ScanFrom(stream);
    if (!stream) return std::nullopt;
    skip();
    if (stream.peek() == std::istringstream::traits_type::eof()) {
        return isHeightNeeded ? std::nullopt : std::optional<Geog>(Geog(latitude, longitude, 0.0));
    }
    stream.clear();
    std::string rest;
    std::getline(stream, rest);
    const auto height = ReadNumbers(rest);
    if (!height || height->size() != 1) return std::nullopt;
    return Geog(latitude, longitude, height->front());
}

std::optional<Geog> ReadPlain(const std::vector<double>& numbers, bool isHeightNeeded) {
    if (numbers.size() != 3 && (isHeightNeeded || numbers.size() != 2)) return std::nullopt;
    const double height = numbers.size() == 3 ? numbers[2] : 0.0;
    if (std::abs(numbers[0]) <= 90.0 && std::abs(numbers[1]) <= 360.0) {
        const double longitude = std::remainder(numbers[1], 360.0);
        return Geog(GNSS::Latitude(numbers[0]), Angle::FromDegrees(longitude), height);
    }
    if (numbers.size() != 3) return std::nullopt;
    // Farther out than the earth's centre by far, so that the way to geographic coordinates is good.
    const GNSS::ECEF posn(numbers[0], numbers[1], height);
    if (!(posn.Radius() > 6.3e6)) return std::nullopt;
    Geog place;
    GNSS::Spheroid::WGS84.ECEFToGeog(posn, place);
    return place;
}

}  // namespace

std::optional<Geog> ParsePlace(std::string_view text, bool isHeightNeeded) {
    const auto numbers = ReadNumbers(text);
    // A text of more than three numbers has minutes.
    const auto place =
        numbers && numbers->size() <= 3 ? ReadPlain(*numbers, isHeightNeeded) : ReadMarked(text, isHeightNeeded);
    if (!place || !(std::abs(place->GetHeight()) <= MostHeight)) return std::nullopt;
    return place;
}

std::string PrintPlace(const Geog& place) {
    return fmt::format("{:.6f}, {:.6f}, {:.1f} m", place.GetPhi().Degrees(), place.GetLambda().Degrees(),
                       place.GetHeight());
}

}  // namespace Host

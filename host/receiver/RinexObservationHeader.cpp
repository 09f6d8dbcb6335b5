#include "host/receiver/RinexObservationHeader.h"

#include <algorithm>
#include <cmath>

#include "gnss/geodesy/LocalGrid.h"
#include "gnss/platform/Number.h"
#include "host/receiver/RinexHeader.h"
#include "host/receiver/TextField.h"

namespace Host {

using TimeSystem = RinexObservationHeader::TimeSystem;

namespace {

constexpr int MaxTypes = 999;  // the column has three digits
constexpr std::size_t MaxScales = 100;

std::string_view LabelOf(std::string_view line) {
    return Trimmed(Columns(line, 60, 20));
}

std::string TextOf(std::string_view line, std::size_t first, std::size_t width) {
    return std::string(Trimmed(Columns(line, first, width)));
}

// Three numbers of 14 columns; nothing when one is none or beyond the limit.
std::optional<std::array<double, 3>> ReadTriple(std::string_view line, double limit) {
    std::array<double, 3> values{};
    for (std::size_t i = 0; i < values.size(); ++i) {
        const Real number = ReadReal(line, 14 * i, 14);
        if (!number.IsGood() || !(std::abs(number.value) <= limit)) return std::nullopt;
        values[i] = number.value;
    }
    return values;
}

std::optional<TimeSystem> TimeSystemOf(std::string_view name) {
    if (name == "GLO") return TimeSystem::UTC;
    if (name == "BDT") return TimeSystem::BeiDou;
    for (const std::string_view likeGPS : {"GPS", "GAL", "QZS", "IRN"}) {
        if (name == likeGPS) return TimeSystem::GPS;
    }
    return std::nullopt;
}

}  // namespace

TimeSystem RinexObservationHeader::GetTimeSystem() const {
    return timeSystem.value_or(system == 'R' ? TimeSystem::UTC : TimeSystem::GPS);
}

std::optional<GNSS::ECEF> RinexObservationHeader::GetAntenna() const {
    if (!marker) return std::nullopt;
    const GNSS::LocalGrid grid(*marker, GNSS::Spheroid::WGS84);
    return *marker + (grid.GetEast() * antennaEast + grid.GetNorth() * antennaNorth + grid.GetUp() * antennaHeight);
}

bool RinexObservationHeaderReader::IsEnd(std::string_view line) {
    return LabelOf(line) == "END OF HEADER";
}

bool RinexObservationHeaderReader::Begin(std::string_view line, std::string& reason) {
    if (!BeginsRinexHeader(line)) {
        reason = "is not a RINEX file: no RINEX VERSION / TYPE on its first line";
        return false;
    }
    const Real version = ReadReal(line, 0, 9);
    const int hundredfold = version.IsGood() ? Corvane::ToInt(std::round(version.value * 100.0)) : 0;
    const bool isRead = (hundredfold >= 200 && hundredfold <= 212) || (hundredfold >= 300 && hundredfold <= 305);
    if (!isRead) {
        reason =
            "RINEX version " + Quoted(Trimmed(Columns(line, 0, 9))) + " is not read; 2.00 to 2.12 and 3.00 to 3.05 are";
        return false;
    }
    if (line[20] != 'O') {
        reason = "RINEX file of type " + Quoted(Trimmed(Columns(line, 20, 20))) + " holds no observations";
        return false;
    }
    header_ = RinexObservationHeader();
    header_.version = hundredfold;
    header_.system = line[40];
    list_ = List();
    return true;
}

void RinexObservationHeaderReader::Take(std::string_view line, std::int64_t number) {
    line_ = number;
    const std::string_view label = LabelOf(line);
    for (const auto take : {&RinexObservationHeaderReader::TakeList, &RinexObservationHeaderReader::TakeText,
                            &RinexObservationHeaderReader::TakeNumbers, &RinexObservationHeaderReader::TakePlace,
                            &RinexObservationHeaderReader::TakeGlonass}) {
        const std::optional<bool> isTaken = (this->*take)(label, line);
        if (!isTaken) continue;
        if (!*isTaken) warnings_.Add(number, std::string(label) + " is not readable, ignored");
        return;
    }
}

void RinexObservationHeaderReader::End() {
    if (list_.missing > 0) {
        warnings_.Add(line_, "fewer observation types than are told");
        // Where the values stand goes by the number.
        list_.types->resize(list_.types->size() + list_.missing);
    }
    list_ = List();
}

std::optional<bool> RinexObservationHeaderReader::TakeText(std::string_view label, std::string_view line) {
    if (label == "MARKER NAME") {
        header_.markerName = TextOf(line, 0, 60);
    } else if (label == "MARKER NUMBER") {
        header_.markerNumber = TextOf(line, 0, 20);
    } else if (label == "REC # / TYPE / VERS") {
        header_.receiverNumber = TextOf(line, 0, 20);
        header_.receiverType = TextOf(line, 20, 20);
        header_.receiverVersion = TextOf(line, 40, 20);
    } else if (label == "ANT # / TYPE") {
        header_.antennaNumber = TextOf(line, 0, 20);
        header_.antennaType = TextOf(line, 20, 20);
    } else if (label == "SIGNAL STRENGTH UNIT") {
        header_.snrUnit = TextOf(line, 0, 20);
    } else {
        return std::nullopt;
    }
    return true;
}

std::optional<bool> RinexObservationHeaderReader::TakeNumbers(std::string_view label, std::string_view line) {
    if (label == "INTERVAL") {
        const Real interval = ReadReal(line, 0, 10);
        if (!interval.IsGood() || !(interval.value >= 0.0)) return false;
        header_.interval.reset();
        if (interval.value > 0.0) header_.interval = interval.value;
        return true;
    }
    if (label == "LEAP SECONDS") {
        // Counted from BeiDou's start: no use to anybody here.
        const std::string_view scale = Trimmed(Columns(line, 24, 3));
        if (scale == "BDS" || scale == "BDT") return true;
        const std::optional<int> seconds = ReadInteger(line, 0, 6);
        if (!seconds || *seconds < 0 || *seconds > 255) return false;
        header_.leapSeconds = seconds;
        return true;
    }
    if (label == "RCV CLOCK OFFS APPL") {
        header_.isClockOffsetApplied = ReadInteger(line, 0, 6) == 1;
        return true;
    }
    if (label == "TIME OF FIRST OBS") {
        const std::string_view name = Trimmed(Columns(line, 48, 3));
        if (name.empty()) return true;
        const std::optional<TimeSystem> system = TimeSystemOf(name);
        if (system) header_.timeSystem = system;
        return system.has_value();
    }
    return std::nullopt;
}

std::optional<bool> RinexObservationHeaderReader::TakePlace(std::string_view label, std::string_view line) {
    if (label == "APPROX POSITION XYZ") {
        const auto place = ReadTriple(line, 1e8);
        if (!place) return false;
        const auto [x, y, z] = *place;
        const double radius = std::hypot(x, y, z);
        if (radius != 0.0 && radius < 1e6) return false;
        header_.marker.reset();
        if (radius != 0.0) header_.marker = GNSS::ECEF(x, y, z);
        return true;
    }
    if (label == "ANTENNA: DELTA H/E/N") {
        const auto delta = ReadTriple(line, 1e4);
        if (!delta) return false;
        header_.antennaHeight = (*delta)[0];
        header_.antennaEast = (*delta)[1];
        header_.antennaNorth = (*delta)[2];
        return true;
    }
    return std::nullopt;
}

std::optional<bool> RinexObservationHeaderReader::TakeGlonass(std::string_view label, std::string_view line) {
    if (label == "GLONASS SLOT / FRQ #") {
        for (std::size_t i = 0; i < 8; ++i) {
            if (IsBlank(Columns(line, 4 + 7 * i, 6))) continue;
            const std::optional<int> slot = ReadInteger(line, 5 + 7 * i, 2);
            const std::optional<int> channel = ReadInteger(line, 8 + 7 * i, 2);
            const bool isSlot = line[4 + 7 * i] == 'R' && slot && *slot >= 1 && *slot <= GNSS::Glonass::Slot::Max;
            if (!isSlot || !channel || *channel < -7 || *channel > 13) return false;
            header_.channels[static_cast<std::size_t>(*slot)] = channel;
        }
        return true;
    }
    if (label == "GLONASS COD/PHS/BIS") {
        std::vector<RinexObservationHeader::PhaseBias> biases;
        for (std::size_t i = 0; i < 4; ++i) {
            std::string code = TextOf(line, 1 + 13 * i, 3);
            if (code.empty()) continue;
            const Real metres = ReadReal(line, 5 + 13 * i, 8);
            if (metres.state != Real::State::Blank && !metres.IsGood()) return false;
            biases.push_back({std::move(code), metres.value});
        }
        header_.phaseBiases = std::move(biases);
        return true;
    }
    return std::nullopt;
}

std::optional<bool> RinexObservationHeaderReader::TakeList(std::string_view label, std::string_view line) {
    constexpr Layout Types2{10, 6, 2, 9};
    constexpr Layout Types3{7, 4, 3, 13};
    const bool isVersion2 = header_.version < 300;
    if (!isVersion2 && label == "SYS / SCALE FACTOR") return TakeScale(line);
    if (label != (isVersion2 ? "# / TYPES OF OBSERV" : "SYS / # / OBS TYPES")) return std::nullopt;
    const Layout& layout = isVersion2 ? Types2 : Types3;
    const bool isContinuation = IsBlank(Columns(line, 0, 6));
    if (isContinuation && (list_.types == nullptr || list_.isScale)) return false;
    if (!isContinuation) {
        const std::optional<int> told = isVersion2 ? ReadInteger(line, 0, 6) : ReadInteger(line, 3, 3);
        const char system = isVersion2 ? ' ' : line[0];
        const bool isSystem = isVersion2 || (system >= 'A' && system <= 'Z');
        if (!told || *told < 0 || *told > MaxTypes || !isSystem) return false;
        End();
        list_ = {&header_.types[system], false, static_cast<std::size_t>(*told)};
        list_.types->clear();
    }
    TakeTypes(line, layout);
    return true;
}

bool RinexObservationHeaderReader::TakeScale(std::string_view line) {
    constexpr Layout Types{11, 4, 3, 12};
    if (IsBlank(Columns(line, 0, 10))) {
        if (list_.types == nullptr || !list_.isScale) return false;
    } else {
        const std::optional<int> factor = ReadInteger(line, 2, 4);
        const std::optional<int> told = IsBlank(Columns(line, 8, 2)) ? 0 : ReadInteger(line, 8, 2);
        const bool isFactor = factor && (*factor == 1 || *factor == 10 || *factor == 100 || *factor == 1000);
        if (!isFactor || !told || *told < 0 || header_.scales.size() >= MaxScales) return false;
        End();
        header_.scales.push_back({line[0], *factor, {}});
        list_ = {&header_.scales.back().types, true, static_cast<std::size_t>(*told)};
    }
    TakeTypes(line, Types);
    return true;
}

void RinexObservationHeaderReader::TakeTypes(std::string_view line, const Layout& layout) {
    for (std::size_t i = 0; i < layout.most && list_.missing > 0; ++i, --list_.missing) {
        std::string type = TextOf(line, layout.first + i * layout.step, layout.width);
        if (type.empty()) return;
        list_.types->push_back(std::move(type));
    }
}

}  // namespace Host

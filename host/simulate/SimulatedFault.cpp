#include "host/simulate/SimulatedFault.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include <fmt/format.h>

#include "host/text/Satellites.h"

namespace Host {

namespace {

using Kind = SimulatedFault::Kind;

// What is asked of each kind.
struct KindForm {
    const char* name;
    Kind kind;
    bool hasSize;
    const char* unit;
    bool hasSatellite = true;
};
constexpr std::array<KindForm, 9> Forms{{
    {"step", Kind::Step, true, "m"},
    {"ramp", Kind::Ramp, true, "m/s"},
    {"clock", Kind::Clock, true, "m/s"},
    {"unhealthy", Kind::Unhealthy, false, ""},
    {"orbit", Kind::Orbit, true, "m"},
    {"mixed", Kind::Mixed, false, ""},
    {"bits", Kind::BitErrors, true, "of a bit to be wrong"},
    {"outage", Kind::Outage, false, ""},
    {"leap", Kind::Leap, false, "", false},
}};

bool ChangesMessage(Kind kind) {
    return kind == Kind::Unhealthy || kind == Kind::Orbit || kind == Kind::Mixed;
}

std::optional<double> ReadNumber(std::string_view text) {
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !(std::abs(value) < 1e12)) return std::nullopt;
    return value;
}

std::string ReadSatellite(std::string_view text, SimulatedFault& fault) {
    if (text == "all") return "";
    const auto satellite = ParseSatellite(text);
    if (!satellite) return fmt::format("\"{}\" is no satellite; write G05, R14, G, R or all", text);
    fault.system = satellite->system;
    fault.number = satellite->number;
    return "";
}

// One of at=, for=, size= and with=.
std::string ReadPart(std::string_view part, const KindForm& form, SimulatedFault& fault) {
    const auto equals = part.find('=');
    const std::string_view name = part.substr(0, equals);
    const std::string_view value = equals == std::string_view::npos ? "" : part.substr(equals + 1);
    if (name == "with" && form.kind == Kind::Mixed) {
        const auto satellite = ParseSatellite(value);
        if (!satellite || satellite->number == 0 || satellite->system != fault.system ||
            satellite->number == fault.number)
            return fmt::format("with={}: another satellite of the same system is asked for", value);
        fault.other = satellite->number;
        return "";
    }
    const auto number = ReadNumber(value);
    if (name == "at" && number && *number >= 0.0) {
        fault.start = *number;
    } else if (name == "for" && number && *number > 0.0 && form.kind != Kind::Leap) {
        fault.length = *number;
    } else if (name == "size" && number && form.hasSize) {
        fault.size = *number;
    } else {
        return fmt::format("\"{}\" is nothing that a {} can have", part, form.name);
    }
    return "";
}

std::string Check(const KindForm& form, const SimulatedFault& fault) {
    if (form.hasSize && fault.size == 0.0) return fmt::format("{} needs size=, {}", form.name, form.unit);
    if (fault.kind == Kind::BitErrors && !(fault.size > 0.0 && fault.size <= 0.5))
        return "bits: size= is the probability of a bit to be wrong, up to 0.5";
    if (fault.kind == Kind::Mixed && fault.other == 0)
        return "mixed needs with=, the satellite whose messages they are";
    if (fault.kind == Kind::Mixed && fault.number == 0) return "mixed is a fault of one satellite";
    return "";
}

}  // namespace

const SimulatedFault* SimulatedFaults::Find(Kind kind, char system, int number, double t) const {
    const auto found = std::find_if(faults_.begin(), faults_.end(), [&](const SimulatedFault& fault) {
        return fault.kind == kind && fault.Concerns(system, number) && fault.IsActive(t);
    });
    return found == faults_.end() ? nullptr : &*found;
}

double SimulatedFaults::GetCodeError(char system, int number, double t) const {
    double error = 0.0;
    for (const SimulatedFault& fault : faults_) {
        if (!fault.Concerns(system, number) || !fault.IsActive(t)) continue;
        if (fault.kind == Kind::Step) error += fault.size;
        if (fault.kind == Kind::Ramp) error += fault.size * (t - fault.start);
    }
    return error;
}

double SimulatedFaults::GetClockError(char system, int number, double t) const {
    double error = 0.0;
    for (const SimulatedFault& fault : faults_) {
        if (fault.kind == Kind::Clock && fault.Concerns(system, number) && fault.IsActive(t))
            error += fault.size * (t - fault.start);
    }
    return error;
}

int SimulatedFaults::CountMessageChanges(char system, int number, double t) const {
    int changes = 0;
    for (const SimulatedFault& fault : faults_) {
        if (!ChangesMessage(fault.kind) || !fault.Concerns(system, number)) continue;
        // A fault that is there from the start on begins nothing.
        changes += fault.start > 0.0 && t >= fault.start ? 1 : 0;
        changes += t >= fault.start + fault.length ? 1 : 0;
    }
    return changes;
}

std::optional<SimulatedFault> ParseFault(std::string_view text, std::string& fault) {
    std::vector<std::string_view> parts;
    for (std::size_t from = 0; from <= text.size();) {
        const std::size_t comma = std::min(text.find(',', from), text.size());
        parts.push_back(text.substr(from, comma - from));
        from = comma + 1;
    }
    const auto* form = std::find_if(Forms.begin(), Forms.end(), [&](const KindForm& f) { return parts[0] == f.name; });
    if (form == Forms.end()) {
        fault = fmt::format("\"{}\" is no fault; there are", parts[0]);
        for (const KindForm& known : Forms) fault += fmt::format(" {}", known.name);
        return std::nullopt;
    }
    SimulatedFault read;
    read.kind = form->kind;
    std::size_t next = 1;
    if (form->hasSatellite) {
        if (parts.size() < 2) {
            fault = fmt::format("{} needs a satellite: {},G05", form->name, form->name);
            return std::nullopt;
        }
        fault = ReadSatellite(parts[next++], read);
        if (!fault.empty()) return std::nullopt;
    }
    for (; next < parts.size(); ++next) {
        fault = ReadPart(parts[next], *form, read);
        if (!fault.empty()) return std::nullopt;
    }
    fault = Check(*form, read);
    if (!fault.empty()) return std::nullopt;
    return read;
}

}  // namespace Host

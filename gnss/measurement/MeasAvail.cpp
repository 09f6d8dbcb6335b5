#include "gnss/measurement/MeasAvail.h"

#include <optional>
#include <string_view>

namespace GNSS {

using Corvane::String;
using Corvane::Stream::Succeeds;

namespace {

constexpr std::string_view SystemNames[] = {"GPS", "GLONASS"};
// In the order of their idents.
constexpr std::string_view SignalNames[] = {"CA", "L1", "L2"};
// In the order of the bits.
constexpr std::string_view Letters = "NRPDS";
constexpr std::string_view NoLetters = "-";

template <std::size_t N>
std::optional<std::size_t> Find(const std::string_view (&names)[N], std::string_view name) {
    for (std::size_t i = 0; i < N; ++i) {
        if (names[i] == name) return i;
    }
    return std::nullopt;
}

std::string_view Trim(std::string_view text) {
    while (text.starts_with(' ')) text.remove_prefix(1);
    while (text.ends_with(' ')) text.remove_suffix(1);
    return text;
}

// Takes the text up to a separator, or to the end when there is none, off the front; nothing is left after the last.
std::string_view TakePart(std::optional<std::string_view>& rest, char separator) {
    const std::string_view whole = *rest;
    const std::size_t end = whole.find(separator);
    rest = end == std::string_view::npos ? std::nullopt : std::optional(whole.substr(end + 1));
    return Trim(whole.substr(0, end));
}

std::optional<std::uint8_t> KindsFrom(std::string_view letters) {
    if (letters.empty()) return std::nullopt;
    if (letters == NoLetters) return std::uint8_t{0};
    unsigned kinds = 0;
    for (const char letter : letters) {
        const std::size_t index = Letters.find(letter);
        if (index == std::string_view::npos || (kinds >> index & 1U) != 0) return std::nullopt;
        kinds |= 1U << index;
    }
    return static_cast<std::uint8_t>(kinds);
}

template <typename Set>
void ApplyTo(Set& set, const MeasAvail& avail) {
    for (int sv = 0; sv < set.NmrSV(); ++sv) {
        for (int meas = set.GetSV(sv).NmrMeas() - 1; meas >= 0; --meas) {
            const auto& record = set.GetSV(sv).GetMeas(meas);
            const std::uint32_t inUse = avail.GetKinds(record.GetFreqy());
            const std::uint32_t has = record.GetFlags() & MeasAvail::All;
            if ((has & inUse) == 0) {
                set.ChangeSV(sv)->RemoveMeas(meas);
            } else if ((has & ~inUse) != 0) {
                set.ChangeSV(sv)->ChangeMeas(meas)->Clear(has & ~inUse);
            }
        }
    }
}

}  // namespace

void MeasAvail::Apply(MeasSet& set) const {
    ApplyTo(set.GetGPS(), *this);
    ApplyTo(set.GetGlonass(), *this);
}

String MeasAvail::Print() const {
    String text;
    for (std::size_t i = 0; i < kinds_.size(); ++i) {
        if (i % NmrSignals != 0) {
            text += ", ";
        } else {
            if (i != 0) text += "; ";
            text += SystemNames[i / NmrSignals];
            text += ' ';
        }
        text += SignalNames[i % NmrSignals];
        text += ' ';
        if (kinds_[i] == 0) text += NoLetters;
        for (std::size_t bit = 0; bit < Letters.size(); ++bit) {
            if ((kinds_[i] >> bit & 1) != 0) text += Letters[bit];
        }
    }
    return text;
}

bool MeasAvail::Parse(const String& text) {
    MeasAvail read = Nothing();
    std::array<bool, 2> seenSystems{};
    std::array<bool, 2 * NmrSignals> seen{};
    std::optional<std::string_view> systems = Trim(text.View());
    if (systems->empty()) systems.reset();
    while (systems) {
        std::optional<std::string_view> signals = TakePart(systems, ';');
        // The system's name ends at the first blank, a signal's likewise.
        const auto system = Find(SystemNames, TakePart(signals, ' '));
        if (!system || !signals || seenSystems[*system]) return false;
        seenSystems[*system] = true;
        while (signals) {
            std::optional<std::string_view> letters = TakePart(signals, ',');
            const auto signal = Find(SignalNames, TakePart(letters, ' '));
            if (!signal || !letters) return false;
            const auto kinds = KindsFrom(Trim(*letters));
            const std::size_t index = *system * NmrSignals + *signal;
            if (!kinds || seen[index]) return false;
            seen[index] = true;
            read.kinds_[index] = *kinds;
        }
    }
    *this = read;
    return true;
}

bool MeasAvail::Write(Corvane::Stream::Output& output) const {
    return Succeeds([&] {
        for (const std::uint8_t kinds : kinds_) output.WriteUChar(kinds);
    });
}

bool MeasAvail::Read(Corvane::Stream::Input& input) {
    return Succeeds([&] {
        MeasAvail read;
        for (std::uint8_t& kinds : read.kinds_) {
            kinds = input.ReadUChar();
            if ((kinds & ~unsigned{All}) != 0) return false;
        }
        *this = read;
        return true;
    });
}

}  // namespace GNSS

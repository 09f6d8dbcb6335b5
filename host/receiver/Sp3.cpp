#include "host/receiver/Sp3.h"

#include "host/receiver/FileText.h"
#include "host/receiver/Sp3Parser.h"

namespace Host {

namespace {

std::size_t SystemIndex(char system) {
    return static_cast<std::size_t>(system - 'A');
}

bool IsSystem(char system) {
    return system >= 'A' && system <= 'Z';
}

}  // namespace

bool Sp3::Read(const std::string& path, FileError& error) {
    *this = Sp3();
    FileText file;
    if (!file.Open(path, error)) return false;
    const bool isRead = Parse(file.Text(), path, error);
    WarnIfCut(file, warnings);
    return isRead;
}

bool Sp3::Parse(std::string_view text, std::string_view name, FileError& error) {
    *this = Sp3();
    warnings.SetFile(name);
    error = {std::string(name), 0, {}};
    return Sp3Parser(text, *this).Parse(error);
}

std::span<const Sp3::State> Sp3::GetStates(std::size_t epoch) const {
    const std::size_t first = epochs_[epoch].first;
    const std::size_t end = epoch + 1 < epochs_.size() ? epochs_[epoch + 1].first : states_.size();
    return std::span(states_).subspan(first, end - first);
}

const Sp3::State* Sp3::Find(std::size_t epoch, char system, int number) const {
    for (const State& state : GetStates(epoch)) {
        if (state.system == system && state.number == number) return &state;
    }
    return nullptr;
}

int Sp3::GetNmrSatellites(char system) const {
    return IsSystem(system) ? satellites_[SystemIndex(system)] : 0;
}

std::int64_t Sp3::GetSkipped(char system) const {
    return IsSystem(system) ? skipped_[SystemIndex(system)] : 0;
}

}  // namespace Host

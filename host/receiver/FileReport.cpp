#include "host/receiver/FileReport.h"

namespace Host {

namespace {

std::string PrintLocated(const std::string& file, std::int64_t line, const std::string& what) {
    return line > 0 ? file + ":" + std::to_string(line) + ": " + what : file + ": " + what;
}

}  // namespace

std::string FileError::Print() const {
    return PrintLocated(file, line, reason);
}

void Warnings::Add(std::int64_t line, std::string_view what) {
    ++count_;
    if (kept_.size() < MaxKept) kept_.push_back({line, std::string(what)});
}

std::string Warnings::Print(const Entry& entry) const {
    return PrintLocated(file_, entry.line, entry.what);
}

std::string Quoted(std::string_view text) {
    std::string quoted = "'";
    for (const char c : text.substr(0, 24)) quoted += c >= ' ' && c <= '~' ? c : '.';
    return quoted + (text.size() > 24 ? "...'" : "'");
}

}  // namespace Host

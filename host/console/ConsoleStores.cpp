#include "host/console/ConsoleStores.h"

#include <optional>
#include <type_traits>
#include <vector>

#include <fmt/format.h>

#include "host/console/ConsoleJson.h"

namespace Host {

using GNSS::RecordTable;

namespace {

void AddTable(const RecordTable& table, std::string& to) {
    const Corvane::StringTable text = table.MakeTable(table.GetWhole());
    const auto quote = [](const Corvane::String& cell) { return ConsoleJson::Quote(cell.ToUTF8()); };
    to += "{\"title\":" + quote(table.GetTitle()) + ",\"columns\":[";
    for (std::int32_t column = 0; column < text.NmrColumns(); ++column)
        to += (column > 0 ? "," : "") + quote(text.GetColumn(column).heading);
    to += "],\"rows\":[";
    std::string alerts;
    std::string faint;
    std::string rules;
    const auto list = [](std::string& places, const std::string& place) {
        places += (places.empty() ? "" : ",") + place;
    };
    for (std::int32_t row = 0; row < text.NmrRows(); ++row) {
        if (row > 0) to += ',';
        for (std::int32_t column = 0; column < text.NmrColumns(); ++column) {
            to += (column > 0 ? "," : "[") + quote(text.GetCell(column, row));
            const Corvane::Style::Part part = text.GetPart(column, row);
            if (part == Corvane::Style::Alert) list(alerts, fmt::format("[{},{}]", row, column));
            if (part == Corvane::Style::Faint) list(faint, fmt::format("[{},{}]", row, column));
        }
        to += text.NmrColumns() > 0 ? "]" : "[]";
        if (text.HasRule(row)) list(rules, std::to_string(row));
    }
    to += fmt::format(R"(],"alerts":[{}],"faint":[{}],"rules":[{}]}})", alerts, faint, rules);
}

std::string Print(const char* title, const GNSS::RecordView& view) {
    std::string json = fmt::format(R"({{"title":"{}","tables":[)", title);
    bool isFirst = true;
    for (const RecordTable& table : view.GetTables()) {
        if (!isFirst) json += ',';
        isFirst = false;
        AddTable(table, json);
    }
    // Its tabs and line feeds part cells and rows.
    std::string text;
    for (std::string rest = view.ToText().ToUTF8(); const char c : rest) {
        if (c == '\t' || c == '\n') {
            text += c == '\t' ? "\\t" : "\\n";
        } else {
            if (c == '"' || c == '\\') text += '\\';
            text += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
        }
    }
    return json + "],\"text\":\"" + text + "\"}";
}

}  // namespace

ConsoleStores::ConsoleStores()
    : almanac_(std::make_shared<GNSS::AlmanacView>()),
      ephemeris_(std::make_shared<GNSS::EphemerisView>()),
      glonass_(std::make_shared<GNSS::GlonassEphemerisView>()),
      watch_(std::make_shared<StoreWatch>()) {}

void ConsoleStores::Join(StoreTree& tree) {
    almanac_->Clear();
    ephemeris_->Clear();
    glonass_->Clear();
    watch_ = std::make_shared<StoreWatch>();
    tree.Join(almanac_);
    tree.Join(ephemeris_);
    tree.Join(glonass_);
    tree.Join(watch_);
}

std::string ConsoleStores::Print() {
    const auto almanac = watch_->GetAlmanac();
    const std::array<std::shared_ptr<const void>, 4> now{almanac, watch_->GetCalculator(), watch_->GPS().history,
                                                         watch_->Glonass().history};
    for (std::size_t i = 0; i < now.size(); ++i) {
        if (now.at(i) == seen_.at(i)) continue;
        seen_.at(i) = now.at(i);
        ++changed_.at(i);
    }
    const auto nmr = [](const auto& history) { return history ? history->NmrSV() : 0; };
    return fmt::format(
        R"("almanac":{{"gps":{},"glonass":{},"changed":{}}},"ephemeris":{{"satellites":{},"changed":{}}},)"
        R"("glonass":{{"satellites":{},"changed":{}}})",
        almanac ? almanac->NmrSV() : 0, almanac ? almanac->NmrGlonassSV() : 0, changed_[0] + changed_[1],
        nmr(watch_->GPS().history), changed_[2], nmr(watch_->Glonass().history), changed_[3]);
}

ConsoleAnswer ConsoleStores::Get(std::string_view store, const std::map<std::string, std::string>& parameters) {
    bool withGlonass = true;
    int record = 0;
    for (const auto& [name, value] : parameters) {
        const bool isDigit = value.size() == 1 && value[0] >= '0' && value[0] <= '9';
        if (name == "glonass" && (value == "0" || value == "1")) {
            withGlonass = value == "1";
        } else if (name == "record" && isDigit) {
            record = value[0] - '0';
        } else if (name != "changed") {
            return {400, "application/json", ConsoleJson::Error(fmt::format("the store has no {}={}", name, value))};
        }
    }
    const std::lock_guard lock(showing_);
    const auto show = [&](const char* title, auto& view) -> ConsoleAnswer {
        view.ShowGlonass(withGlonass);
        if constexpr (!std::is_same_v<decltype(view), GNSS::AlmanacView&>) view.SetRecord(record);
        return {200, "application/json", Host::Print(title, view)};
    };
    if (store == "almanac") return show("Almanac", *almanac_);
    if (store == "ephemeris") return show("GPS ephemerides", *ephemeris_);
    if (store == "glonass") return show("GLONASS ephemerides", *glonass_);
    return {404, "application/json", ConsoleJson::Error("there is no such store")};
}

}  // namespace Host

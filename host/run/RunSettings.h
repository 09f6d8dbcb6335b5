// RunSettings: everything about a run that its user can choose, and the one table of it.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "gnss/geodesy/ECEF.h"
#include "host/live/Secret.h"
#include "host/report/Rows.h"
#include "host/run/Pipeline.h"
#include "host/run/RunFolderOutput.h"

namespace Host {

// Of a run of live sources.
struct LiveChoices {
    double duration = 0.0;     // s of the data's time after which it ends; 0 never
    std::string recordings;    // folder of the raw streams; none when empty
    std::string almanac;       // file of the almanac without ".alm"; not kept when empty
    std::string passwordFile;  // of casters
    Secret password;           // of casters, as it stands in the configuration file
    std::string configFile;    // which that is; empty without one
    double speed = 1.0;        // of the simulated receiver, times real
    int seed = 1;              // of its noise
};

// Of the operator's page.
struct ConsoleChoices {
    // What stands for an address that was asked for without saying which.
    static constexpr const char* Usual = "127.0.0.1:8080";

    std::string address;  // as it was written; empty for no console
    std::vector<std::string> hosts;
    bool tokenAlways = false;
    std::string viewTokenFile;
    std::string steerTokenFile;
    Secret viewToken;  // as they stand in the configuration file
    Secret steerToken;
};

struct RunSettings {
    RunRequest request;
    LiveChoices live;
    ConsoleChoices console;
    RunFolderOptions folder;
    std::string reference;                     // as it was written
    std::optional<GNSS::ECEF> referencePlace;  // what it says
    std::string positions;                     // file of the positions; empty for standard output
    Form form = Form::Table;
    bool allWarnings = false;
    bool quiet = false;
};

// A value as a file or the command line gives it, before it is known to be good. Nothing: of a kind that no setting
// has.
using SettingValue = std::variant<std::monostate, bool, std::int64_t, double, std::string, std::vector<std::string>>;

// One setting: the options of the command line, the configuration file, its printing and the report's list of settings
// are all made from these.
struct Setting {
    enum class Kind : std::uint8_t { Switch, Number, Text, Time, List };

    const char* table = "";  // "fix.weights": the table in the file
    const char* key = "";    // "orbit-gps": the name in the file
    // "--orbit-gps"; of a switch there is "--no-..." too; "SOURCE" has no name. Empty for what the file alone may say.
    const char* option = "";
    const char* help = "";  // what it is
    const char* unit = "";  // "degrees"
    Kind kind = Kind::Text;
    bool isSecret = false;  // never shown
    // What an option without a value stands for; null when it needs one.
    const char* implied = nullptr;
    std::string allowed;  // "a number from 0 to 89"
    // The value as TOML and JSON write it.
    std::function<std::string(const RunSettings&)> print;
    // False, and nothing changed, for a value that is not allowed.
    std::function<bool(RunSettings&, const SettingValue&)> set;

    [[nodiscard]] bool HasOption() const { return *option != 0; }
    [[nodiscard]] std::string GetName() const { return std::string(table) + '.' + key; }  // "fix.weights.orbit-gps"
    // What is allowed, with the unit.
    [[nodiscard]] std::string GetAllowed() const { return *unit == 0 ? allowed : allowed + ' ' + unit; }
    // Empty, or what is wrong for a person; `name` is what the user knows the setting by.
    [[nodiscard]] std::string Apply(RunSettings& settings, const SettingValue& value, std::string_view name) const;
    // A value of the command line, of the kind that this setting has where it looks like one.
    [[nodiscard]] SettingValue ParseText(const std::string& text) const;
};

// All settings, table by table.
[[nodiscard]] std::span<const Setting> GetSettings();
// What a table of the file is about: "[fix]" is "How positions are computed".
[[nodiscard]] const char* DescribeTable(std::string_view table);
// Where a setting stands in the table that decides on the positions, and not only on what is done with them.
[[nodiscard]] bool HasSayInPositions(const Setting& setting);
// Whether it means anything to a replay, which is of files and writes none.
[[nodiscard]] bool IsOfReplay(const Setting& setting);

// A text between quotes, as TOML and JSON both write it. Its bytes beyond ASCII stay.
[[nodiscard]] std::string QuoteText(std::string_view text);

}  // namespace Host

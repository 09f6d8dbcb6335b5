#include "host/cli/RunOptions.h"

#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

#include <CLI/CLI.hpp>

#include "host/run/RunConfig.h"

namespace Host {

namespace {

// "--ionosphere,!--no-ionosphere"
std::string SwitchNames(const std::string& option) {
    return option + ",!--no-" + option.substr(2);
}

const char* TypeName(Setting::Kind kind) {
    switch (kind) {
        case Setting::Kind::Number:
            return "NUMBER";
        case Setting::Kind::Time:
            return "TIME";
        default:
            return "TEXT";
    }
}

// Without the quotes of a text; nothing for an empty one.
std::string Plain(const std::string& printed) {
    const bool isQuoted = printed.size() >= 2 && printed.front() == '"';
    return isQuoted ? printed.substr(1, printed.size() - 2) : printed;
}

// Shows the second name of a switch without what it stands for.
class Help : public CLI::Formatter {
    std::string make_option_name(const CLI::Option* option, bool isPositional) const override {
        constexpr std::string_view Mark = "{false}";
        std::string name = CLI::Formatter::make_option_name(option, isPositional);
        if (const std::size_t at = name.find(Mark); at != std::string::npos) name.erase(at, Mark.size());
        return name;
    }
};

}  // namespace

RunOptions::RunOptions(CLI::App& command, bool (*isTaken)(const Setting&)) : given_(GetSettings().size()) {
    command.formatter(std::make_shared<Help>());
    const RunSettings defaults;
    for (std::size_t i = 0; i < given_.size(); ++i) {
        const Setting& setting = GetSettings()[i];
        if (!setting.HasOption() || (isTaken != nullptr && !isTaken(setting))) continue;
        Given& given = given_[i];
        const std::string help = setting.help;
        const std::string value = setting.print(defaults);
        CLI::Option* option = nullptr;
        if (setting.kind == Setting::Kind::Switch) {
            option = command.add_flag(SwitchNames(setting.option), given.on,
                                      help + (value == "true" ? "; on without the option" : ""));
        } else if (setting.kind == Setting::Kind::List) {
            option = command.add_option(setting.option, given.list, help + "; " + setting.GetAllowed());
            // With commas or by saying it again; what follows may be a source.
            if (*setting.option == '-') option->delimiter(',')->allow_extra_args(false)->type_name("LIST");
        } else {
            option = command.add_option(setting.option, given.text, help + "; " + setting.GetAllowed());
            option->type_name(TypeName(setting.kind));
            if (setting.implied != nullptr) option->expected(0, 1);
            if (const std::string plain = Plain(value); !plain.empty()) option->default_str(plain);
        }
        if (*setting.option == '-') option->group(DescribeTable(setting.table));
        given.option = option;
    }
    const std::string group = "Configuration";
    config_ =
        command
            .add_option("--config", configFile_,
                        "a file of settings (TOML); an option goes before what the file says, and the file before "
                        "the defaults. No file is read without this")
            ->group(group)
            ->type_name("FILE");
    command
        .add_flag("--print-config", printConfig_,
                  "only print the settings in force, each with what it means and may be, as a file for --config")
        ->group(group);
}

std::vector<std::string> RunOptions::Read(RunSettings& settings) const {
    if (config_->count() > 0) {
        std::vector<std::string> faults = ReadConfigFile(configFile_, settings);
        settings.live.configFile = configFile_;
        if (!faults.empty()) return faults;
    }
    std::vector<std::string> faults;
    for (std::size_t i = 0; i < given_.size(); ++i) {
        const Given& given = given_[i];
        if (given.option == nullptr || given.option->count() == 0) continue;
        const Setting& setting = GetSettings()[i];
        SettingValue value = given.on;
        if (setting.kind == Setting::Kind::List) {
            value = given.list;
        } else if (setting.kind != Setting::Kind::Switch) {
            const bool isImplied = setting.implied != nullptr && given.text.empty();
            value = setting.ParseText(isImplied ? setting.implied : given.text);
        }
        std::string fault = setting.Apply(settings, value, setting.option);
        if (!fault.empty()) faults.push_back(std::move(fault));
    }
    return faults;
}

}  // namespace Host

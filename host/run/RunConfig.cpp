#include "host/run/RunConfig.h"

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <utility>

#include <fmt/format.h>

#include "host/receiver/FileText.h"

// The only file that sees the parser, which takes long to compile.
#define TOML_EXCEPTIONS 0
#define TOML_HEADER_ONLY 1
#define TOML_ENABLE_WINDOWS_COMPAT 0
#include <toml++/toml.h>

namespace Host {

namespace {

constexpr std::size_t LineWidth = 100;
constexpr std::size_t MaxDots = 1000;

bool IsGraphic(char c) {
    return c > ' ' && c <= '~';
}

// The names that stand in a table, or those of the tables themselves.
std::string ListNames(std::string_view table) {
    std::vector<std::string> names;
    for (const Setting& setting : GetSettings()) {
        std::string name = table.empty() ? "[" + std::string(setting.table) + "]" : setting.key;
        if (!table.empty() && setting.table != table) continue;
        if (names.empty() || names.back() != name) names.push_back(std::move(name));
    }
    return fmt::format("{}", fmt::join(names, ", "));
}

bool IsTable(std::string_view name) {
    const auto settings = GetSettings();
    return std::any_of(settings.begin(), settings.end(), [name](const Setting& s) {
        const std::string_view table = s.table;
        return table == name || (table.starts_with(name) && table.substr(name.size()).starts_with('.'));
    });
}

template <typename Value>
std::string Stream(const Value& value) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << value;
    return text.str();
}

SettingValue Convert(const toml::node& node, Setting::Kind kind) {
    if (const auto* value = node.as_boolean()) return value->get();
    if (const auto* value = node.as_integer()) return value->get();
    if (const auto* value = node.as_floating_point()) return value->get();
    if (const auto* value = node.as_string()) return value->get();
    if (kind == Setting::Kind::Time) {
        if (const auto* value = node.as_date()) return Stream(value->get());
        if (const auto* value = node.as_date_time()) return Stream(value->get());
    }
    const toml::array* array = node.as_array();
    if (array == nullptr) return {};
    std::vector<std::string> list;
    for (const toml::node& element : *array) {
        const auto* text = element.as_string();
        if (text == nullptr) return {};
        list.push_back(text->get());
    }
    return list;
}

class Reader {
public:
    Reader(const std::string& name, RunSettings& settings) : name_(name), settings_(settings) {}

    void Read(const toml::table& table, const std::string& path) {
        for (const auto& entry : table) {
            const toml::key& key = entry.first;
            const toml::node& node = entry.second;
            const std::string name = path.empty() ? std::string(key.str()) : path + '.' + std::string(key.str());
            const auto line = key.source().begin.line;
            const auto settings = GetSettings();
            const auto found = std::find_if(settings.begin(), settings.end(), [&](const Setting& setting) {
                return path == setting.table && key.str() == setting.key;
            });
            if (found != settings.end()) {
                Add(line, found->Apply(settings_, Convert(node, found->kind), name));
            } else if (IsTable(name) && key.str().find('.') == std::string_view::npos) {
                if (const toml::table* inner = node.as_table()) {
                    Read(*inner, name);
                } else {
                    Add(line, name + " is a table, not a value");
                }
            } else if (path.empty()) {
                Add(line, "there is no setting or table " + QuoteText(name) + "; the tables are " + ListNames({}));
            } else {
                Add(line,
                    "there is no setting " + QuoteText(name) + "; in [" + path + "] there are " + ListNames(path));
            }
        }
    }
    void Add(std::uint64_t line, const std::string& fault) {
        if (!fault.empty()) faults_.emplace_back(line, fmt::format("{}:{}: {}", name_, line, fault));
    }
    [[nodiscard]] std::vector<std::string> Take() {
        std::stable_sort(faults_.begin(), faults_.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        std::vector<std::string> lines;
        for (auto& fault : faults_) lines.push_back(std::move(fault.second));
        return lines;
    }

private:
    const std::string& name_;
    RunSettings& settings_;
    std::vector<std::pair<std::uint64_t, std::string>> faults_;
};

// What stands in a configuration, as far as the parser has to be kept from it.
struct Contents {
    std::size_t nmrDots = 0;                            // outside of texts and remarks: those of names and numbers
    std::size_t foreign = std::string_view::npos;       // where a character beyond ASCII stands outside of them
    std::size_t continuation = std::string_view::npos;  // where a long text goes on behind a backslash
};

// Takes the text within quotes that begins here; returns where it ends.
std::size_t TakeText(std::string_view text, std::size_t at, Contents& contents) {
    const char quote = text[at];
    const bool isLong = text.substr(at, 3) == std::string(3, quote);
    const std::string end(isLong ? 3 : 1, quote);
    at += end.size();
    while (at < text.size() && !text.substr(at).starts_with(end)) {
        // A backslash keeps the next character from ending the text; the other kind of text has none.
        const bool isEscape = quote == '"' && text[at] == '\\' && at + 1 < text.size();
        if (isEscape && isLong && !IsGraphic(text[at + 1])) contents.continuation = std::min(contents.continuation, at);
        at += isEscape ? 2 : 1;
    }
    at += end.size();
    // A long text may have up to two of its quotes before those that end it.
    for (int i = 0; isLong && i < 2 && at < text.size() && text[at] == quote; ++i) ++at;
    return at;
}

Contents TakeContents(std::string_view text) {
    constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";
    Contents contents;
    std::size_t at = text.starts_with(ByteOrderMark) ? ByteOrderMark.size() : 0;
    while (at < text.size()) {
        const char c = text[at];
        if (c == '#') {
            at = text.find('\n', at);
        } else if (c == '"' || c == '\'') {
            at = TakeText(text, at, contents);
        } else {
            if (c == '.') ++contents.nmrDots;
            if (static_cast<unsigned char>(c) > 0x7F) contents.foreign = std::min(contents.foreign, at);
            ++at;
        }
    }
    return contents;
}

// As lines that begin with "# ".
std::string Comment(std::string_view text) {
    std::string lines;
    while (!text.empty()) {
        std::size_t end = text.size();
        if (end > LineWidth - 2) {
            end = text.rfind(' ', LineWidth - 2);
            if (end == std::string_view::npos) end = std::min(text.find(' '), text.size());
        }
        lines += "# " + std::string(text.substr(0, end)) + '\n';
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

// The parser takes it for granted that after the bracket of a header a name begins. The first line where none does,
// from 1; 0 when there is none.
int FindBrokenHeader(std::string_view text) {
    constexpr std::string_view Blanks = " \t";
    int number = 0;
    while (!text.empty()) {
        ++number;
        std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        line.remove_prefix(std::min(line.find_first_not_of(Blanks), line.size()));
        if (!line.starts_with('[')) continue;
        line.remove_prefix(line.starts_with("[[") ? 2 : 1);
        line.remove_prefix(std::min(line.find_first_not_of(Blanks), line.size()));
        const char c = line.empty() ? '\n' : line.front();
        const bool isName = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
                            c == '-' || c == '"' || c == '\'';
        if (!isName) return number;
    }
    return 0;
}

}  // namespace

std::vector<std::string> ReadConfig(std::string_view text, const std::string& name, RunSettings& settings) {
    if (text.size() > MaxConfigSize) return {name + ": larger than 1 MiB, which no configuration is"};
    const auto refuse = [&](std::size_t at, const char* what) {
        const std::string_view before = text.substr(0, at);
        return std::vector<std::string>{
            fmt::format("{}:{}: {}", name, 1 + std::count(before.begin(), before.end(), '\n'), what)};
    };
    // TOML allows none but these anywhere; the parser has not thought of all places.
    const auto isControl = [](char c) {
        return (static_cast<unsigned char>(c) < ' ' && c != '\t' && c != '\n' && c != '\r') || c == '\x7F';
    };
    if (const auto* const control = std::find_if(text.begin(), text.end(), isControl); control != text.end())
        return refuse(static_cast<std::size_t>(control - text.begin()), "a control character, as no configuration has");
    if (const int line = FindBrokenHeader(text); line > 0)
        return {fmt::format("{}:{}: a table's header without a name: [NAME] is one", name, line)};
    const Contents contents = TakeContents(text);
    // The parser makes a table within a table for each dot of a name, and takes them apart by recursion.
    if (contents.nmrDots > MaxDots) return {name + ": has more dots in its names than any configuration"};
    // It does not know all characters where it looks for blanks, which it does here and there.
    if (contents.foreign < text.size())
        return refuse(contents.foreign, "a character beyond ASCII may stand within \"...\" and behind # alone");
    if (contents.continuation < text.size())
        return refuse(contents.continuation, "a text that goes on in the next line; no setting needs one");
    const toml::parse_result result = toml::parse(text);
    if (!result) {
        const toml::parse_error& error = result.error();
        return {fmt::format("{}:{}: {}", name, error.source().begin.line, error.description())};
    }
    RunSettings read = settings;
    Reader reader(name, read);
    reader.Read(result.table(), {});
    std::vector<std::string> faults = reader.Take();
    if (faults.empty()) settings = std::move(read);
    return faults;
}

std::vector<std::string> ReadConfigFile(const std::string& path, RunSettings& settings) {
    FileText file;
    FileError error;
    if (!file.Open(path, error, MaxConfigSize)) return {error.Print()};
    return ReadConfig(file.Text(), path, settings);
}

bool PrintConfig(const RunSettings& settings, std::string& text, std::string& fault) {
    text =
        "# Settings of gnss run, read by: gnss run --config FILE\n"
        "# An option of the command line goes before what stands here, and what stands here before the default. Every\n"
        "# line may be left out. File names are those of the folder in which gnss runs.\n";
    const RunSettings defaults;
    std::string_view table;
    for (const Setting& setting : GetSettings()) {
        if (table != setting.table) {
            table = setting.table;
            text += fmt::format("\n# {}.\n[{}]\n", DescribeTable(table), table);
        }
        const std::string value = setting.print(settings);
        text += '\n' + Comment(setting.help);
        text += Comment(fmt::format("{}: {}. Default: {}", setting.HasOption() ? setting.option : "No option",
                                    setting.GetAllowed(), setting.print(defaults)));
        text += fmt::format("{} = {}\n", setting.key, value);
    }
    // What cannot be told in TOML (a name that is not UTF-8) must not be told wrongly.
    RunSettings again;
    if (!ReadConfig(text, "", again).empty()) {
        fault = "a file name is not UTF-8, as it must be in a configuration file";
        return false;
    }
    return true;
}

}  // namespace Host

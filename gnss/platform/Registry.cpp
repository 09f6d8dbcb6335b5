#include "gnss/platform/Registry.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <utility>
#include <variant>
#include <vector>

#include <sys/file.h>
#include <sys/stat.h>

#include "gnss/platform/Event.h"
#include "gnss/platform/SafeFile.h"

namespace Corvane::Registry {

namespace {

using Value = std::variant<std::string, unsigned long>;

// A line of the file as it stands there, and what it means: the header of a key when it has no name, a value of that
// key when it has one, and neither (a comment, an empty or a damaged line) when there is no key.
struct Line {
    std::string text;
    std::string key = {};
    std::string name = {};
    Value value = {};
};

using Lines = std::vector<Line>;

struct State {
    std::mutex mutex;
    String path;       // empty: in memory
    std::string text;  // the file's content when `lines` were made from it
    Lines lines;
};

// Made at the latest while this library loads, so that it outlives what the libraries that stand on it make.
State& TheState() {
    static State state;
    return state;
}
[[maybe_unused]] const State& madeEarly = TheState();

bool IsControl(char c) {
    const auto code = static_cast<unsigned char>(c);
    return code < 0x20 || code == 0x7F;
}

bool IsName(std::string_view text) {
    return !text.empty() && std::ranges::none_of(text, IsControl);
}

bool IsKeyName(std::string_view text) {
    return IsName(text) && !text.starts_with('\\') && !text.ends_with('\\') &&
           text.find("\\\\") == std::string_view::npos;
}

std::string Quote(std::string_view text) {
    constexpr std::string_view Digits = "0123456789ABCDEF";
    std::string quoted = "\"";
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            quoted += {'\\', c};
        } else if (c == '\n') {
            quoted += "\\n";
        } else if (c == '\r') {
            quoted += "\\r";
        } else if (c == '\t') {
            quoted += "\\t";
        } else if (IsControl(c)) {
            quoted += {'\\', 'x', Digits[code >> 4U], Digits[code & 15U]};
        } else {
            quoted += c;
        }
    }
    return quoted + '"';
}

// Takes a character that follows a backslash, and the digits of \x, off the front of a text.
std::optional<char> TakeEscaped(std::string_view& text) {
    const char c = text.front();
    text.remove_prefix(1);
    switch (c) {
        case '"':
        case '\\':
            return c;
        case 'n':
            return '\n';
        case 'r':
            return '\r';
        case 't':
            return '\t';
        case 'x':
            break;
        default:
            return {};
    }
    unsigned char code = 0;
    if (text.size() < 2) return {};
    const auto [end, error] = std::from_chars(text.data(), text.data() + 2, code, 16);
    if (error != std::errc() || end != text.data() + 2) return {};
    text.remove_prefix(2);
    return static_cast<char>(code);
}

// Takes a quoted text off the front of a text.
std::optional<std::string> TakeQuoted(std::string_view& text) {
    if (!text.starts_with('"')) return {};
    text.remove_prefix(1);
    std::string content;
    while (!text.empty()) {
        const char c = text.front();
        text.remove_prefix(1);
        if (c == '"') return content;
        if (c != '\\') {
            content += c;
        } else if (const auto escaped = text.empty() ? std::nullopt : TakeEscaped(text)) {
            content += *escaped;
        } else {
            return {};
        }
    }
    return {};
}

std::string_view Trim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

std::optional<Value> ParseValue(std::string_view text) {
    if (text.starts_with('"')) {
        auto content = TakeQuoted(text);
        if (!content || !text.empty()) return {};
        return std::move(*content);
    }
    unsigned long number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return {};
    return number;
}

Line MakeHeader(const std::string& key) {
    return {'[' + key + ']', key};
}

Line MakeValue(const std::string& key, const std::string& name, const Value& value) {
    const auto* text = std::get_if<std::string>(&value);
    return {Quote(name) + '=' + (text != nullptr ? Quote(*text) : std::to_string(std::get<unsigned long>(value))), key,
            name, value};
}

// The line that holds a value; null when there is none.
const Line* FindValue(const Lines& lines, const std::string& key, const std::string& name) {
    const auto found =
        std::ranges::find_if(lines, [&](const Line& line) { return line.key == key && line.name == name; });
    return found == lines.end() || name.empty() ? nullptr : &*found;
}

// Whether a key, or one below it, is there.
bool HasKey(const Lines& lines, const std::string& key) {
    return std::ranges::any_of(lines, [&](const Line& line) {
        return line.key.starts_with(key) && (line.key.size() == key.size() || line.key[key.size()] == '\\');
    });
}

void AddKey(Lines& lines, const std::string& key) {
    if (!lines.empty() && !lines.back().text.empty()) lines.push_back({""});
    lines.push_back(MakeHeader(key));
}

// Puts a value in the place of the one that has its name, or behind the last line of its key.
void SetValue(Lines& lines, const std::string& key, const std::string& name, const Value& value) {
    Line line = MakeValue(key, name, value);
    if (const Line* old = FindValue(lines, key, name)) {
        lines[static_cast<std::size_t>(old - lines.data())] = std::move(line);
        return;
    }
    const auto isOfKey = [&](const Line& other) { return other.key == key; };
    if (std::ranges::none_of(lines, isOfKey)) AddKey(lines, key);
    lines.insert(std::find_if(lines.rbegin(), lines.rend(), isOfKey).base(), std::move(line));
}

// What a line means, behind the header of `key` (empty: behind none that is understood). False for a damaged line.
bool ParseLine(Line& line, std::string& key, const Lines& before) {
    std::string_view text = Trim(line.text);
    if (text.empty() || text.starts_with('#') || text.starts_with(';')) return true;
    if (text.starts_with('[')) {
        key.clear();  // values behind a damaged header must not go to the key before it
        text.remove_prefix(1);
        if (!text.ends_with(']')) return false;
        text.remove_suffix(1);
        if (!IsKeyName(text)) return false;
        key = text;
        line.key = text;
        return true;
    }
    const auto name = TakeQuoted(text);
    text = Trim(text);
    if (key.empty() || !name || !IsName(*name) || !text.starts_with('=')) return false;
    auto value = ParseValue(Trim(text.substr(1)));
    if (!value || FindValue(before, key, *name) != nullptr) return false;
    line.key = key;
    line.name = *name;
    line.value = std::move(*value);
    return true;
}

Lines Parse(std::string_view text, const String& path, std::vector<String>& messages) {
    Lines lines;
    std::string key;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        Line line{std::string(text.substr(0, end))};
        text.remove_prefix(std::min(end + 1, text.size()));
        if (!ParseLine(line, key, lines)) {
            messages.push_back(String("line ") + String::FormatInt(static_cast<std::int64_t>(lines.size() + 1)) +
                               " of " + path + " is skipped: it is damaged, or repeats a value, or belongs to no key");
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

const char* Describe(int error) {
    const char* reason = strerrordesc_np(error);
    return reason != nullptr ? reason : "unknown error";
}

// The content of a file, empty when there is none. The system's error number; 0 is none.
int ReadFile(const String& path, std::string& content) {
    content.clear();
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) return errno == ENOENT ? 0 : errno;
    struct stat status {};
    int error = fstat(file, &status) != 0 ? errno : 0;
    if (error == 0 && !S_ISREG(status.st_mode)) error = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    std::array<char, 4096> piece{};
    while (error == 0) {
        const ssize_t count = read(file, piece.data(), piece.size());
        if (count == 0) break;
        if (count > 0) {
            content.append(piece.data(), static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            error = errno;
        }
    }
    close(file);
    return error;
}

// Brings the lines up to date with the file.
bool Load(State& state, std::vector<String>& messages) {
    if (state.path.IsEmpty()) return true;
    std::string text;
    if (const int error = ReadFile(state.path, text)) {
        messages.push_back(String("cannot read ") + state.path + ": " + Describe(error));
        return false;
    }
    if (text != state.text) {
        state.lines = Parse(text, state.path, messages);
        state.text = std::move(text);
    }
    return true;
}

// Keeps other processes from changing the file meanwhile, by a lock on a file beside it, which stays there: the file
// itself is another one after every change.
class FileLock {
public:
    explicit FileLock(const String& path) {
        if (path.IsEmpty()) return;
        const std::string side = path.str() + ".lock";
        file_ = open(side.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0666);
        // That of another user can be locked without the right to write to it.
        if (file_ < 0 && errno == EACCES) file_ = open(side.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
        error_ = file_ < 0 ? errno : Take();
    }
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock() {
        if (file_ >= 0) close(file_);
    }

    // The system's error number; 0 is none.
    [[nodiscard]] int GetError() const { return error_; }

private:
    // Who has the lock writes one small file; but a process that has been stopped must not stop all the others.
    [[nodiscard]] int Take() const {
        constexpr std::chrono::seconds Patience(10);
        const auto end = std::chrono::steady_clock::now() + Patience;
        while (flock(file_, LOCK_EX | LOCK_NB) != 0) {
            if (errno == ENOLCK || errno == EOPNOTSUPP) return 0;  // a file system without locks
            if (errno != EWOULDBLOCK && errno != EINTR) return errno;
            if (std::chrono::steady_clock::now() > end) return ETIMEDOUT;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return 0;
    }

    int file_ = -1;
    int error_ = 0;
};

// Makes changed lines the registry's, on the disk first.
bool Store(State& state, Lines lines, std::vector<String>& messages) {
    if (!state.path.IsEmpty()) {
        std::string text;
        for (const Line& line : lines) text += line.text + '\n';
        SafeFile file;
        if (!file.Open(state.path) || !file.Write(std::as_bytes(std::span(text))) || !file.Commit()) {
            messages.push_back(file.GetFailure());
            return false;
        }
        state.text = std::move(text);
    }
    state.lines = std::move(lines);
    return true;
}

// Runs work on the registry as it stands now. Events are held back until its lock is free: a sink may use the registry,
// or wait for a lock that another user of the registry holds.
template <class Work>
bool Use(Work work) {
    std::vector<String> messages;
    bool good = false;
    {
        State& state = TheState();
        const std::lock_guard lock(state.mutex);
        good = Load(state, messages) && work(state, messages);
    }
    for (const String& message : messages) Event::AddEvent("Registry", message);
    return good;
}

// Changes the registry. The function changes the lines and tells whether it had to; it may be called twice.
template <class Change>
bool Update(Change change) {
    return Use([&](State& state, std::vector<String>& messages) {
        Lines lines = state.lines;
        if (!change(lines)) return true;
        // Again under the lock, so that of two processes none undoes what the other has just written.
        const FileLock lock(state.path);
        if (lock.GetError() != 0) {
            messages.push_back(String("cannot lock ") + state.path + ": " + Describe(lock.GetError()));
            return false;
        }
        if (!Load(state, messages)) return false;
        lines = state.lines;
        return !change(lines) || Store(state, std::move(lines), messages);
    });
}

// Reads a value of one type.
template <class Type>
std::optional<Type> ReadValue(const String& key, const String& name) {
    std::optional<Type> result;
    Use([&](State& state, std::vector<String>&) {
        const Line* line = FindValue(state.lines, key.str(), name.str());
        const Type* value = line != nullptr ? std::get_if<Type>(&line->value) : nullptr;
        if (value != nullptr) result = *value;
        return true;
    });
    return result;
}

bool WriteValue(const String& key, const String& name, const Value& value) {
    if (!IsName(name.View())) return false;
    return Update([&](Lines& lines) {
        const Line* old = FindValue(lines, key.str(), name.str());
        if (old != nullptr && old->value == value) return false;
        SetValue(lines, key.str(), name.str(), value);
        return true;
    });
}

}  // namespace

void SetFile(const String& path) {
    State& state = TheState();
    const std::lock_guard lock(state.mutex);
    state.path = path;
    state.text.clear();
    state.lines.clear();
}

Key::Key(const String& name, Access access) : name_(name), access_(access) {
    if (!IsKeyName(name.View())) return;
    if (access == Read) {
        isValid_ = Use([&](State& state, std::vector<String>&) { return HasKey(state.lines, name.str()); });
        return;
    }
    isValid_ = Update([&](Lines& lines) {
        if (HasKey(lines, name.str())) return false;
        AddKey(lines, name.str());
        return true;
    });
}

bool Key::ReadStringValue(const String& name, String& value) const {
    if (!isValid_) return false;
    auto found = ReadValue<std::string>(name_, name);
    if (found) value = std::move(*found);
    return found.has_value();
}

bool Key::ReadULongValue(const String& name, unsigned long& value) const {
    if (!isValid_) return false;
    const auto found = ReadValue<unsigned long>(name_, name);
    if (found) value = *found;
    return found.has_value();
}

bool Key::WriteStringValue(const String& name, const String& value) {
    return isValid_ && access_ == Write && WriteValue(name_, name, value.str());
}

bool Key::WriteULongValue(const String& name, unsigned long value) {
    return isValid_ && access_ == Write && WriteValue(name_, name, value);
}

}  // namespace Corvane::Registry

#include "gnss/health/PrintNote.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string>

namespace GNSS {

using std::size_t;
using std::string_view;

namespace {

// One conversion: %[flags][width][.precision][length]letter.
struct Conversion {
    bool left = false;
    bool plus = false;
    bool blank = false;
    bool alternative = false;
    bool zeros = false;
    size_t width = 0;
    std::optional<size_t> precision;
    string_view length;
    char letter = '\0';
};

// Reads digits, holding the number to what no buffer exceeds.
size_t TakeCount(string_view& text) {
    constexpr size_t Most = 1'000'000'000;
    size_t count = 0;
    for (; !text.empty() && text.front() >= '0' && text.front() <= '9'; text.remove_prefix(1)) {
        count = std::min(count * 10 + static_cast<size_t>(text.front() - '0'), Most);
    }
    return count;
}

// Reads what follows a percent sign. The letter is '\0' at the end of the format.
Conversion TakeConversion(string_view& text) {
    Conversion conversion;
    for (; !text.empty(); text.remove_prefix(1)) {
        switch (text.front()) {
            case '-':
                conversion.left = true;
                continue;
            case '+':
                conversion.plus = true;
                continue;
            case ' ':
                conversion.blank = true;
                continue;
            case '#':
                conversion.alternative = true;
                continue;
            case '0':
                conversion.zeros = true;
                continue;
            default:
                break;
        }
        break;
    }
    conversion.width = TakeCount(text);
    if (text.starts_with('.')) {
        text.remove_prefix(1);
        conversion.precision = TakeCount(text);
    }
    for (const string_view length : {"hh", "h", "ll", "l"}) {
        if (!conversion.length.empty() || !text.starts_with(length)) continue;
        conversion.length = length;
        text.remove_prefix(length.size());
    }
    if (!text.empty()) {
        conversion.letter = text.front();
        text.remove_prefix(1);
    }
    return conversion;
}

// Writes conversions one after the other.
class Printer {
public:
    // No run of padding need be longer than the limit.
    explicit Printer(size_t limit) : limit_(limit) {}

    [[nodiscard]] const std::string& GetText() const { return text_; }
    void Add(string_view text) { text_ += text; }

    // False when the letter does not fit the kind of argument.
    bool Add(const Conversion& conversion, const PrintArgument& argument) {
        const std::int32_t* given = std::get_if<std::int32_t>(&argument);
        // A length goes with numbers only.
        if (!conversion.length.empty() && (given == nullptr || conversion.letter == 'c')) return false;
        if (given == nullptr) {
            if (conversion.letter != 's') return false;
            AddField(conversion, {}, 0, std::get<string_view>(argument).substr(0, conversion.precision.value_or(-1)));
            return true;
        }
        const bool isSigned = conversion.letter == 'd' || conversion.letter == 'i';
        const std::int32_t number = Shorten(*given, conversion.length, isSigned);
        switch (conversion.letter) {
            case 'c': {
                const char character = static_cast<char>(number);
                AddField(conversion, {}, 0, string_view(&character, 1));
                return true;
            }
            case 'd':
            case 'i': {
                const string_view positive = conversion.plus ? "+" : (conversion.blank ? " " : "");
                const auto bits = static_cast<std::uint32_t>(number);
                AddNumber(conversion, number < 0 ? "-" : positive, number < 0 ? 0U - bits : bits, 10);
                return true;
            }
            case 'u':
                AddNumber(conversion, {}, static_cast<std::uint32_t>(number), 10);
                return true;
            case 'o':
                AddNumber(conversion, {}, static_cast<std::uint32_t>(number), 8);
                return true;
            case 'x':
            case 'X': {
                const bool marked = conversion.alternative && number != 0;
                AddNumber(conversion, !marked ? "" : (conversion.letter == 'x' ? "0x" : "0X"),
                          static_cast<std::uint32_t>(number), 16);
                return true;
            }
            default:
                return false;
        }
    }

private:
    // The number as its length takes it; those of `long` and more hold every one.
    static std::int32_t Shorten(std::int32_t number, string_view length, bool isSigned) {
        if (length == "h") return isSigned ? static_cast<std::int16_t>(number) : static_cast<std::uint16_t>(number);
        if (length == "hh") return isSigned ? static_cast<std::int8_t>(number) : static_cast<std::uint8_t>(number);
        return number;
    }

    void AddNumber(const Conversion& conversion, string_view prefix, std::uint32_t magnitude, int base) {
        std::array<char, 12> buffer{};
        char* const end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), magnitude, base).ptr;
        if (conversion.letter == 'X') {
            for (char& digit : buffer) digit = digit >= 'a' ? static_cast<char>(digit - 'a' + 'A') : digit;
        }
        string_view digits(buffer.data(), static_cast<size_t>(end - buffer.data()));
        if (magnitude == 0 && conversion.precision == 0U) digits = {};

        size_t wanted = conversion.precision.value_or(1);
        // The alternative form of an octal number begins with a zero.
        if (conversion.letter == 'o' && conversion.alternative && !digits.starts_with('0')) {
            wanted = std::max(wanted, digits.size() + 1);
        }
        size_t zeros = wanted > digits.size() ? wanted - digits.size() : 0;
        const size_t used = prefix.size() + zeros + digits.size();
        if (conversion.zeros && !conversion.left && !conversion.precision && conversion.width > used) {
            zeros += conversion.width - used;
        }
        AddField(conversion, prefix, zeros, digits);
    }

    // Prefix, zeros and item, with blanks up to the width.
    void AddField(const Conversion& conversion, string_view prefix, size_t zeros, string_view item) {
        const size_t used = prefix.size() + zeros + item.size();
        const size_t blanks = std::min(conversion.width > used ? conversion.width - used : 0, limit_);
        if (!conversion.left) text_.append(blanks, ' ');
        text_ += prefix;
        text_.append(std::min(zeros, limit_), '0');
        text_ += item;
        if (conversion.left) text_.append(blanks, ' ');
    }

    size_t limit_;
    std::string text_;
};

}  // namespace

Corvane::String PrintNote(const Corvane::String& format, std::span<const PrintArgument> arguments, size_t bufferSize) {
    const size_t limit = bufferSize - std::min<size_t>(bufferSize, 1);
    Printer printer(limit);
    string_view rest = format.View();
    for (size_t next = 0; !rest.empty();) {
        const string_view plain = rest.substr(0, rest.find('%'));
        printer.Add(plain);
        rest.remove_prefix(plain.size());
        if (rest.starts_with("%%")) {
            printer.Add("%");
            rest.remove_prefix(2);
        } else if (!rest.empty()) {
            rest.remove_prefix(1);
            const Conversion conversion = TakeConversion(rest);
            if (next >= arguments.size() || !printer.Add(conversion, arguments[next])) return format.Left(limit);
            ++next;
        }
    }
    return Corvane::String(printer.GetText()).Left(limit);
}

}  // namespace GNSS

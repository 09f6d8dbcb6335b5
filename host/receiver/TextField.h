// Lines and fixed columns of text files, read in place.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace Host {

// The lines of a text one after the other, without their ends (LF or CR LF).
class LineReader {
public:
    explicit LineReader(std::string_view text) : rest_(text) { Advance(); }

    // Whether there is a current line.
    [[nodiscard]] bool HasLine() const { return hasLine_; }
    [[nodiscard]] std::string_view Line() const { return line_; }
    // Of the current line, from 1; of the last one at the end.
    [[nodiscard]] std::int64_t Number() const { return number_; }
    // Behind the current line.
    [[nodiscard]] std::size_t GetNmrBytesLeft() const { return rest_.size(); }
    void Advance();

private:
    std::string_view rest_;
    std::string_view line_;
    std::int64_t number_ = 0;
    bool hasLine_ = false;
};

// A number in its columns.
struct Real {
    enum class State : std::uint8_t {
        Good,
        Blank,  // nothing but blanks there, or the line ends before
        Cut,    // a number, but the line ends inside its columns: more of it may have stood there
        Bad,    // anything else; also what is beyond the range of double
    };
    double value = 0.0;
    State state = State::Blank;
    [[nodiscard]] bool IsGood() const { return state == State::Good; }
};

// The columns from first (from 0) on; empty where the line ends before them.
[[nodiscard]] std::string_view Columns(std::string_view line, std::size_t first, std::size_t width);
// Without the blanks at both ends.
[[nodiscard]] std::string_view Trimmed(std::string_view text);
[[nodiscard]] bool IsBlank(std::string_view text);

// A decimal number with an exponent behind E or D or none. Neither "inf" nor "nan" is one.
[[nodiscard]] Real ReadReal(std::string_view line, std::size_t first, std::size_t width);
// A whole number; nothing when the columns are blank or hold anything else.
[[nodiscard]] std::optional<int> ReadInteger(std::string_view line, std::size_t first, std::size_t width);

}  // namespace Host

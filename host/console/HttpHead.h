// HttpHead: the first part of a request, read strictly.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Host {

// Everything in which two readers of one request could differ is refused: folded lines, blanks before a colon, lone
// carriage returns or line feeds, a length that is given twice, any transfer coding. So what stands behind the head
// belongs to the next request, for a proxy before the console as for the console.
class HttpHead {
public:
    static constexpr std::size_t MaxBytes = 16384;
    static constexpr std::size_t MaxLines = 64;
    static constexpr std::size_t MaxTarget = 2048;
    static constexpr std::size_t MaxBody = 65536;

    enum class State : std::uint8_t { Partial, Whole, Refused };

    // Reads the head that the bytes begin with. Partial: more bytes are needed, none of these is wrong as far as can be
    // told. Whole: GetSize() bytes are the head. Refused: GetStatus() is what to answer with before the connection is
    // closed.
    State Parse(std::string_view bytes);

    [[nodiscard]] std::size_t GetSize() const { return size_; }
    [[nodiscard]] int GetStatus() const { return status_; }

    // Of a whole head.
    [[nodiscard]] const std::string& GetMethod() const { return method_; }  // GET, HEAD or POST
    [[nodiscard]] const std::string& GetTarget() const { return target_; }  // printing ASCII from a slash on
    [[nodiscard]] std::size_t GetBodySize() const { return bodySize_; }
    [[nodiscard]] bool IsLast() const { return isLast_; }  // the client wants the connection closed
    [[nodiscard]] bool WantsContinue() const { return wantsContinue_; }
    // The value of a header that is there once; empty otherwise. The name in small letters.
    [[nodiscard]] std::string_view GetValue(std::string_view name) const;
    [[nodiscard]] std::size_t Count(std::string_view name) const;
    // Whether a header's name begins so.
    [[nodiscard]] bool HasPrefix(std::string_view prefix) const;

private:
    State Refuse(int status);
    bool ReadRequestLine(std::string_view line);
    bool ReadLine(std::string_view line);
    bool ReadFraming();

    int status_ = 400;
    std::size_t size_ = 0;
    std::size_t bodySize_ = 0;
    bool isLast_ = false;
    bool wantsContinue_ = false;
    std::string method_;
    std::string target_;
    std::string version_;
    std::vector<std::pair<std::string, std::string>> headers_;  // names in small letters, values without blanks around
};

// Letters A-Z as small ones, whatever the locale.
[[nodiscard]] std::string LowerCase(std::string_view text);
// Without blanks and tabs around it.
[[nodiscard]] std::string_view Trim(std::string_view text);

}  // namespace Host

// What a reader has to say about a file: the error that stopped it, and the warnings of what it went on without.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Host {

// Why a file could not be read. One line of text: the file, the line where there is one, the reason.
struct FileError {
    std::string file;
    std::int64_t line = 0;  // from 1; 0 when it concerns the whole file
    std::string reason;

    // "brdc1820.10n:12: the reason"
    [[nodiscard]] std::string Print() const;
};

// The located warnings of one file, in the order in which they were found. The first MaxKept are kept and the rest
// counted, so that a file of nothing but faults takes no more memory than a good one.
class Warnings {
public:
    static constexpr std::size_t MaxKept = 1000;

    struct Entry {
        std::int64_t line = 0;  // from 1; 0 when it concerns the whole file
        std::string what;
    };

    void SetFile(std::string_view file) { file_ = file; }
    void Add(std::int64_t line, std::string_view what);

    [[nodiscard]] const std::string& GetFile() const { return file_; }
    [[nodiscard]] const std::vector<Entry>& GetKept() const { return kept_; }
    // Of all warnings, the kept ones included.
    [[nodiscard]] std::int64_t GetCount() const { return count_; }
    // An entry as FileError prints it.
    [[nodiscard]] std::string Print(const Entry& entry) const;

private:
    std::string file_;
    std::vector<Entry> kept_;
    std::int64_t count_ = 0;
};

// A piece of a file in quotation marks for a message: at most 24 bytes, what is not printable ASCII as a dot.
[[nodiscard]] std::string Quoted(std::string_view text);

}  // namespace Host

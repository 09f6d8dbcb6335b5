// Host::Sink: where a command's output goes, a file or standard output, through one buffer.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace Host {

// Collects bytes and writes them in large pieces. A write that fails (disk full, pipe closed) is remembered; what comes
// after it is dropped, and Close tells.
class Sink {
public:
    enum class Mode {
        InPlace,  // what is written is in the file at once
        Added,    // the same, at the end of a file that is there
        Whole,    // a regular file appears under its name when Close has succeeded; until then it is FILE.part
    };

    // Standard output for an empty path and for "-", otherwise a file that is made anew, but for Mode::Added.
    explicit Sink(const std::string& path, Mode mode = Mode::InPlace);
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;
    ~Sink();

    // Where nobody takes what is written, as from a pipe, writing waits; but then not beyond a stop.
    void SetStop(std::function<bool()> isStopped) { isStopped_ = std::move(isStopped); }

    // Room for at least `size` more bytes at the end of what was written; Advance takes what was used of it.
    [[nodiscard]] char* Reserve(std::size_t size);
    void Advance(std::size_t size) { used_ += size; }
    void Write(std::string_view text);

    // Whether the file held something before.
    [[nodiscard]] bool IsContinued() const { return isContinued_; }
    // Whether everything has been written so far.
    [[nodiscard]] bool IsGood() const { return error_.empty(); }
    // Writes what has been collected.
    void Flush();
    // Writes what is left and closes; empty, or what went wrong with the name of the file.
    [[nodiscard]] std::string Close();
    // Closes and leaves no file of Mode::Whole; one that was there stays.
    void Discard();

private:
    void Fail(const char* what);
    [[nodiscard]] bool WaitForRoom();

    std::string name_;
    std::string part_;  // what the file is called until it is whole; empty without
    int file_ = -1;
    bool isContinued_ = false;
    std::string buffer_;
    std::size_t used_ = 0;
    std::string error_;
    std::function<bool()> isStopped_;
};

}  // namespace Host

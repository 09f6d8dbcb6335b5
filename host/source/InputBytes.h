// InputBytes: the content of a file or of standard input, in pieces.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "host/receiver/FileReport.h"
#include "host/receiver/GzipStream.h"

namespace Host {

// Standard input among the files of a command line.
inline constexpr const char* StandardInput = "-";

// Reads a file, or standard input for "-", from its beginning to its end, and inflates what gzip has compressed (known
// by its first bytes, whatever its name). The memory is the same for any size.
class InputBytes {
public:
    static constexpr std::size_t PieceSize = std::size_t{64} * 1024;

    InputBytes() = default;
    InputBytes(const InputBytes&) = delete;
    InputBytes& operator=(const InputBytes&) = delete;
    ~InputBytes();

    // False with the reason when it cannot be opened or read, or is compressed in another way than by gzip. Reads the
    // first bytes: of a pipe it waits for them.
    [[nodiscard]] bool Open(const std::string& path, FileError& error);
    // Asked while a pipe or a terminal keeps one waiting: whether to wait no longer. Never without.
    void SetStop(std::function<bool()> isStopped) { isStopped_ = std::move(isStopped); }
    // The next bytes of the content, valid until the next call; nothing at the end, and after a failure.
    [[nodiscard]] std::string_view Next();

    // Why there is nothing more although the content has not ended: damage of the compressed data, an error of the
    // system. Empty otherwise.
    [[nodiscard]] const std::string& GetFailure() const { return failure_; }
    // The compressed data ended before their own end.
    [[nodiscard]] bool IsCut() const { return cut_; }
    // Of the bytes as they lie there, compressed or not: those read so far, and all; 0 where nobody knows.
    [[nodiscard]] std::int64_t GetNmrRead() const { return nmrRead_; }
    [[nodiscard]] std::int64_t GetSize() const { return size_; }

private:
    [[nodiscard]] bool ReadRaw();
    [[nodiscard]] bool WaitForMore() const;

    int file_ = -1;
    bool isOwn_ = false;  // the descriptor
    bool atEnd_ = true;
    bool cut_ = false;
    std::int64_t nmrRead_ = 0;
    std::int64_t size_ = 0;
    std::string failure_;
    std::function<bool()> isStopped_;
    std::unique_ptr<char[]> raw_;
    std::string_view packed_;  // what is left in raw_
    std::unique_ptr<GzipStream> gzip_;
    std::unique_ptr<char[]> room_;
    bool isRoomFull_ = false;  // the last time: there may be more without further input
};

}  // namespace Host

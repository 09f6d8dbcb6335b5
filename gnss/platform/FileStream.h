// Typed binary streams on files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "gnss/platform/Export.h"
#include "gnss/platform/SafeFile.h"
#include "gnss/platform/Stream.h"
#include "gnss/platform/String.h"

namespace Corvane {

// The order of the bytes of a number in a file.
enum class ByteOrder : std::int32_t {
    PC = 0,  // little-endian, the one order there is
};

// Reads a regular file. What keeps it from being read, other than that it does not exist, is told to the event log
// once. A file that ends too early is for its reader to tell, who gets Stream::Error: only he knows what should have
// followed.
class GNSS_EXPORT FileInput : public Stream::Input {
public:
    explicit FileInput(const String& path, ByteOrder order = ByteOrder::PC);
    ~FileInput() override;

    // The file was there and could be opened, and has not been closed.
    [[nodiscard]] bool IsOpen() const { return file_ >= 0; }
    // Open, and every read so far had its bytes.
    [[nodiscard]] bool IsValid() const { return IsOpen() && !failed_; }
    // No more bytes to read: at the end, or not valid.
    [[nodiscard]] bool IsAtEnd();
    void Close();

protected:
    void ReadBytes(std::span<std::byte> bytes) override;

private:
    void Fill();
    void Report(int error);

    String path_;
    int file_ = -1;
    bool failed_ = false;
    std::vector<std::byte> buffer_;
    std::span<const std::byte> rest_;  // of the buffer, not yet read
};

// Replaces a file, as a whole or not at all: see SafeFile, which says what survives a crash. The target changes only
// when Close answers true; an output that a write has failed on, or that is destroyed without Close, leaves it as it
// was. The reason of a failure is told to the event log once, with the path. A write that fails throws Stream::Error,
// also on an output that could not be opened; what is small may not fail before Close.
class GNSS_EXPORT FileOutput : public Stream::Output {
public:
    explicit FileOutput(const String& path, ByteOrder order = ByteOrder::PC);
    ~FileOutput() override;

    // The new content can be written: the folder is there, and nothing has failed, and it has not been closed.
    [[nodiscard]] bool IsOpen() const { return file_.IsOpen(); }
    [[nodiscard]] bool IsValid() const { return IsOpen(); }

    // Puts what was written in the target's place; whether it is there, also when asked again. False when the output
    // could not be opened, a write failed before, or this failed; the target is then as it was (unless only the very
    // last step failed, to make the change proof against a power cut).
    bool Close();

protected:
    void WriteBytes(std::span<const std::byte> bytes) override;
    void OnRefused(const std::string& what) override;

private:
    bool Flush();
    void Report() const;

    SafeFile file_;
    std::vector<std::byte> buffer_;
    bool done_ = false;
};

}  // namespace Corvane

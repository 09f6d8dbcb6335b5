// FileText: the bytes of a file, whether it is plain or compressed with gzip.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "host/receiver/FileReport.h"

namespace Host {

// A plain file is mapped into memory, one that gzip has compressed (known by its first bytes, whatever its name) is
// inflated, and what cannot be mapped (a pipe) is read to its end. Copies share the bytes.
//
// A mapped file must not be shortened by another program while it is in use: the system then ends this one.
class FileText {
public:
    // The largest size that a compressed file or a pipe may have once it is in memory: 1 GiB, some weeks of navigation
    // records of all systems, and an end for compressed files that are made to fill the memory.
    static constexpr std::size_t MaxInflated = std::size_t{1} << 30;

    // False with the reason when the file cannot be opened or read, when its compressed data are damaged (by their
    // own check sum), inflate to more than maxInflated, or are of another kind than gzip.
    [[nodiscard]] bool Open(const std::string& path, FileError& error, std::size_t maxInflated = MaxInflated);

    // Valid as long as this object or a copy of it is.
    [[nodiscard]] std::string_view Text() const { return {bytes_.get(), size_}; }
    // The compressed data ended before their own end: Text is what could be read, without any check.
    [[nodiscard]] bool IsCut() const { return cut_; }

private:
    std::shared_ptr<const char> bytes_;
    std::size_t size_ = 0;
    bool cut_ = false;
};

// Adds the warning of a file whose compressed data end early.
void WarnIfCut(const FileText& file, Warnings& warnings);

}  // namespace Host

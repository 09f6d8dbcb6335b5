// RunFolder: the folder of a run's output, made as a whole or not at all.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Host {

// Files are made in a folder beside the target, ".<name>.<16 hexadecimal digits>.run", which takes the target's place
// in one step when all are on the disk. Until then the target is as it was; a folder that is given up is removed, and
// one that a crash or a signal left behind is removed by the next run with the same target (who writes one holds a lock
// on it).
//
// All operations answer with an empty text, or with what went wrong for a person.
class RunFolder {
public:
    RunFolder() = default;
    RunFolder(const RunFolder&) = delete;
    RunFolder& operator=(const RunFolder&) = delete;
    ~RunFolder() { Discard(); }

    // A target that exists is refused unless it is an empty folder, or with `overwrite` a folder that holds nothing but
    // files of the names given: those that a run may have written. Its own folder must exist.
    [[nodiscard]] std::string Open(const std::string& target, bool overwrite, const std::vector<std::string>& names);
    [[nodiscard]] bool IsOpen() const { return !work_.empty(); }
    // In a folder of many targets: gives what runs have left there that were killed, and that nobody writes, the name
    // NAME_interrupted, or NAME_interrupted_2, and so on. Their new paths.
    static std::vector<std::string> KeepLeftOvers(const std::string& parent);

    // Where a file is to be made; only while open.
    [[nodiscard]] std::string PathOf(std::string_view name) const;
    // A failure in which such a path stands, with the path that the file would have got.
    [[nodiscard]] std::string Explain(std::string failure) const;

    // Puts the folder in the target's place and ends.
    [[nodiscard]] std::string Commit();
    // Gives it up.
    void Discard();

private:
    std::string Fail(const char* what, int error) const;

    std::string target_;  // as it was given, for messages
    std::string place_;   // its path, links followed
    std::string parent_;
    std::string work_;  // empty when not open
    int lock_ = -1;
    bool exists_ = false;
};

}  // namespace Host

// SafeFile: a file that is replaced as a whole or not at all.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"

namespace Corvane {

// Writes the new content of a file beside it and puts it in the file's place in one step. Whatever happens before that
// step (a crash, a full disk, a power cut, an object destroyed without Commit) leaves the file as it was; once Commit
// has answered true, the new content survives a power cut.
//
// Beside the target stands, meanwhile, ".<name>.<16 hexadecimal digits>.tmp". The process that writes it holds an
// advisory lock on it, so that Open recognises what a crash has left over, and removes it, but never what another
// object, of this process or another, is still writing. Of several that write one target, the last to commit wins.
//
// The target keeps its permissions and, where the process may give it, its owner; a symbolic link is followed and
// stays. Further hard links keep the old content; access lists and extended attributes are not kept. Only regular files
// are replaced. The folder must allow reading as well as writing, for the search and to make its change last. An object
// is used by one thread at a time.
class GNSS_EXPORT SafeFile {
public:
    SafeFile() = default;
    ~SafeFile() { Discard(); }
    SafeFile(const SafeFile&) = delete;
    SafeFile& operator=(const SafeFile&) = delete;

    // Begins the new content of a target; content begun before is discarded. As all operations, false when it failed,
    // with the reason in GetFailure.
    [[nodiscard]] bool Open(const String& path);
    // Adds bytes to the new content. When this fails the new content is discarded, which frees its space.
    [[nodiscard]] bool Write(std::span<const std::byte> bytes);
    // Puts the new content in the target's place and ends.
    [[nodiscard]] bool Commit();
    // Gives the new content up and ends.
    void Discard();
    // The same for a reason of the caller's, which GetFailure then tells: "cannot <action> <path>: <reason>".
    void Discard(const char* action, const String& reason);

    // Between a successful Open and the end.
    [[nodiscard]] bool IsOpen() const { return file_ >= 0; }
    // "cannot write /data/a.alm: No space left on device" for the operation that failed last.
    [[nodiscard]] const String& GetFailure() const { return failure_; }

private:
    bool Fail(const char* action, int error);
    bool OpenFolder();
    void RemoveLeftOvers() const;
    bool Create(bool exists);
    void CloseAll();

    String path_;       // as given, for messages
    std::string name_;  // of the target in its folder, links followed
    std::string temp_;  // of the new content, in the same folder; empty when there is none
    int folder_ = -1;
    int file_ = -1;
    String failure_;
};

}  // namespace Corvane

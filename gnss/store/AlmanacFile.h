// AlmanacFile: the file in which an almanac lives between the runs of a program.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "gnss/almanac/Almanac.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/FileLock.h"
#include "gnss/platform/SetAside.h"
#include "gnss/platform/String.h"

namespace GNSS {

// Reads and replaces the file, loses nothing that stood there, and tells the event log under "Almanac" what it cannot
// do.
//
// While a path is in use the file "<path>.lock" keeps others, of this process too, from using it: who comes second
// loads nothing, and tries the lock again with every save. Where the lock file cannot be made (a folder that is
// read-only or missing) the almanac is loaded all the same, and the lock is tried again likewise. Two paths that lead
// to one file by a symbolic link have two locks and do not notice each other; a host gives each program one root path.
//
// What stands at the path and was not wholly loaded is renamed to "<path>.refused-<UTC>", by the clock, before anything
// is saved there: at once when nothing can be loaded from it; just before the save when a part was loaded, which the
// next start may load again until then, and when it could not be read, as that may pass. What appears at the path after
// it was found empty is renamed likewise, and so is what another process leaves there when it lets go of the path.
//
// Saving is as safe as SafeFile. A save that fails is told once for each reason, and so is the first that succeeds
// again.
class AlmanacFile {
public:
    AlmanacFile() = default;
    AlmanacFile(const AlmanacFile&) = delete;
    AlmanacFile& operator=(const AlmanacFile&) = delete;
    // Tries once more to save what could not be saved.
    ~AlmanacFile();

    // Uses a path from now on, and reads the almanac from it. False, and the almanac is as it was, when there is no
    // file or it is refused, for whatever reason. What waits to be saved at the path before is tried once more.
    bool Load(const Corvane::String& path, Almanac& almanac);
    // Uses a path from now on, and replaces the almanac that stands there, unread. What stands there and is no whole
    // almanac is renamed.
    void SaveTo(const Corvane::String& path, const Almanac& almanac);
    // Replaces the file. An almanac that cannot be saved waits for the end of the object or of the use of its path,
    // which tells when it is given up; the next one takes its place. Without a path nothing happens.
    void Save(const Almanac& almanac);

private:
    // What stands at the path.
    struct Content {
        enum Kind : std::int32_t { Unreadable, Refused, Part, Whole } kind;
        Almanac almanac;       // of a part or the whole
        Corvane::String loss;  // what is not in it
    };

    // False when another holder uses the path.
    bool Use(const Corvane::String& path);
    // Sets the reason when it is not taken.
    Corvane::FileLock::Result TakeLock(Corvane::String& failure);
    [[nodiscard]] Content Look() const;
    bool Read(Almanac& almanac);
    // Renames what stands at the path; what is to be said about that.
    Corvane::String SetRefusedAside();
    [[nodiscard]] Corvane::SetAsideResult SetAside() const;
    [[nodiscard]] bool PutBack(const Corvane::String& aside) const;
    void Flush();
    // The reason of a failure; empty when the almanac is in place.
    Corvane::String Write(const Almanac& almanac);

    Corvane::String path_;  // empty: none yet
    Corvane::FileLock lock_;
    bool mustSetAside_ = false;  // what stands at the path has not been loaded as a whole
    std::optional<Almanac> unsaved_;
    Corvane::String failure_;  // of the last save, as it was told; empty when it succeeded
};

// What of an almanac file's bytes is not in the almanac that was read from them: "the UTC parameters, 2 of 24 GLONASS
// satellites, 17 bytes at the end". Empty when all of it is.
[[nodiscard]] GNSS_EXPORT Corvane::String DescribeLoss(std::span<const std::byte> bytes, const Almanac& almanac);

}  // namespace GNSS

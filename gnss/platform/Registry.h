// The registry: small settings under key names, in a text file or in memory.
#pragma once

#include <cstdint>

#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"

namespace Corvane::Registry {

// Sets the file in which the registry lives from now on; an empty path stands for an empty registry in memory, which is
// also what a program begins with. The file need not exist: the first key that is created makes it, as SafeFile does.
//
// The file is text in Latin-1, and may be edited while the program runs:
//     [SOFTWARE\Maker\Program]
//     "Name"="text, in which \" \\ \n \r \t and \x1B stand for what they do in C"
//     "Other name"=110
// Lines that begin with '#' or ';' are comments. A line that cannot be understood is skipped with an event, and stays
// in the file as it is, like comments, when a value is written. A file that exists but cannot be read is never written.
//
// Several programs may change one file under one path: each waits while another does, at most ten seconds, then the
// change fails. They agree by a lock on the file "<path>.lock", which the first change makes, and which stays. Where
// the file system has no locks, and with an editor, the last to write wins.
GNSS_EXPORT void SetFile(const String& path);

// A key below the root of the local machine, with its values. A key name is one or more names joined by backslashes,
// such as "SOFTWARE\\Maker\\Program"; capital and small letters differ. Empty names and control characters are not
// allowed in it. Each operation reads the file again when it has changed, and calls nothing of the program's but, once
// it has finished and let go of its own lock, the event log. Safe to call from any thread.
class GNSS_EXPORT Key {
public:
    enum Access : std::int32_t {
        Read = 0,   // the key must exist
        Write = 1,  // the key is made when it does not exist
    };

    // A key that does not exist, or cannot be made, is not valid.
    explicit Key(const String& name, Access access = Read);

    [[nodiscard]] bool IsValid() const { return isValid_; }

    // False, with the value left as it was, when the key is not valid or has no value of that name and type.
    [[nodiscard]] bool ReadStringValue(const String& name, String& value) const;
    [[nodiscard]] bool ReadULongValue(const String& name, unsigned long& value) const;

    // Sets or replaces a value, of either type. False when the key is not open for writing, the name is empty or holds
    // control characters, or the file cannot be written (with an event; the value is then as before).
    bool WriteStringValue(const String& name, const String& value);
    bool WriteULongValue(const String& name, unsigned long value);

private:
    String name_;
    Access access_;
    bool isValid_ = false;
};

}  // namespace Corvane::Registry

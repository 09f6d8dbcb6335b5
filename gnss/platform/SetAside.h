// SetAside: gives a file another name, so that nothing is lost when its name is wanted for another one.
#pragma once

#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"

namespace Corvane {

struct SetAsideResult {
    bool isFree = false;  // nothing has the file's name any more
    String path;          // where the file is now; empty when there was none, or it could not be renamed
    String failure;       // "cannot rename /data/a.alm: Permission denied"
};

// Renames a regular file (or a symbolic link, not what it leads to) to its name with an ending. An existing file is
// never replaced: where the new name is taken it gets a number, as in "a.alm.old-2".
[[nodiscard]] GNSS_EXPORT SetAsideResult SetAside(const String& path, const String& ending);

}  // namespace Corvane

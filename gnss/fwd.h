// Forward declarations of the library's classes.
#pragma once

namespace GNSS {}

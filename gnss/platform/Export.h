// The one export macro: both libraries are built with hidden visibility, and what carries this mark is their interface.
#pragma once

#if defined(_WIN32)
#error "GNSS is built with ELF visibility; a Windows build needs import and export forms of this macro"
#else
#define GNSS_EXPORT __attribute__((visibility("default")))
#endif

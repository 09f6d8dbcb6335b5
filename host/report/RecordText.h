// RecordText: record tables as text for a terminal.
#pragma once

#include <cstddef>

#include "gnss/display/RecordTable.h"
#include "host/report/Sink.h"

namespace Host {

// Writes a table in blocks of as many records as a line of `width` characters has room for, one at least. UTF-8.
void WriteText(const GNSS::RecordTable& table, std::size_t width, Sink& sink);

}  // namespace Host

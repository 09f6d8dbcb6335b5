// Makes live sources from their addresses.
#pragma once

#include <memory>

#include "host/live/LiveSource.h"
#include "host/live/NtripSource.h"
#include "host/live/Secret.h"
#include "host/live/SourceAddress.h"

namespace Host {

// The address's own span of silence holds before that of the settings. Password and position are for casters. The sink
// must outlive the source.
[[nodiscard]] std::unique_ptr<LiveSource> MakeLiveSource(const SourceAddress& address, LiveSettings settings,
                                                         LiveSink& sink, const Secret& password = {},
                                                         const NtripSource::Position& position = {});

}  // namespace Host

// EventLines: the event log on standard error.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include <fmt/format.h>

#include "gnss/platform/Event.h"
#include "host/cli/Inputs.h"

namespace Host {

// Shows the event log on standard error while it lives, of each source the first few.
class EventLines {
public:
    explicit EventLines(bool all)
        : all_(all), sink_(Corvane::Event::InstallSink([this](const Corvane::Event& event) { Show(event); })) {}
    EventLines(const EventLines&) = delete;
    EventLines& operator=(const EventLines&) = delete;
    ~EventLines() {
        Corvane::Event::RemoveSink(sink_);
        for (const auto& [source, nmr] : nmr_) {
            if (!all_ && nmr > Few)
                Complain(fmt::format("{}: {} more events (--warnings shows them)", source, nmr - Few));
        }
    }

private:
    static constexpr std::int64_t Few = 5;

    void Show(const Corvane::Event& event) {
        const std::int64_t nmr = ++nmr_[event.GetSource().str()];
        if (all_ || nmr <= Few) Complain(event.GetSource().str() + ": " + event.GetText().str());
    }

    bool all_;
    std::map<std::string, std::int64_t> nmr_;  // by source
    Corvane::Event::SinkID sink_;
};

}  // namespace Host

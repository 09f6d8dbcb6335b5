// EventLines: the event log on standard error.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include <fmt/format.h>

#include "gnss/platform/Event.h"
#include "host/cli/Inputs.h"

namespace Host {

// Events for a terminal: of each source the first few, and at the end how many more.
class FewEvents {
public:
    explicit FewEvents(bool all) : all_(all) {}

    // The line is what is shown of an event.
    void Show(const std::string& source, const std::string& line) {
        if (++nmr_[source] <= Few || all_) Complain(line);
    }
    void Finish() const {
        for (const auto& [source, nmr] : nmr_) {
            if (!all_ && nmr > Few)
                Complain(fmt::format("{}: {} more events (--warnings shows them)", source, nmr - Few));
        }
    }

    // The next few of each source are shown again.
    void Renew() {
        Finish();
        nmr_.clear();
    }

private:
    static constexpr std::int64_t Few = 5;
    bool all_;
    std::map<std::string, std::int64_t> nmr_;  // by source
};

// Shows the event log on standard error while it lives.
class EventLines {
public:
    explicit EventLines(bool all)
        : events_(all), sink_(Corvane::Event::InstallSink([this](const Corvane::Event& event) { Show(event); })) {}
    EventLines(const EventLines&) = delete;
    EventLines& operator=(const EventLines&) = delete;
    ~EventLines() {
        Corvane::Event::RemoveSink(sink_);
        events_.Finish();
    }

private:
    void Show(const Corvane::Event& event) {
        const std::string source = event.GetSource().str();
        events_.Show(source, source + ": " + event.GetText().str());
    }

    FewEvents events_;
    Corvane::Event::SinkID sink_;
};

}  // namespace Host

// RunEventLines: the events of a run on standard error.
#pragma once

#include <string>

#include "host/cli/EventLines.h"
#include "host/run/RunOutput.h"
#include "host/text/TimeText.h"

namespace Host {

// Shows the run's events on standard error, with the data's time.
class RunEventLines : public RunOutput {
public:
    explicit RunEventLines(bool all) : events_(all) {}

    void OnFix(const PublishedFix& /*fix*/) override {}
    void OnEvent(const RunEvent& event) override {
        events_.Show(event.source, (event.time ? PrintTime(*event.time) + " " : "") + event.source + ": " + event.text);
    }
    [[nodiscard]] std::string Finish(const RunFacts& /*facts*/) override {
        events_.Finish();
        return {};
    }
    // For a run without an end.
    void Renew() { events_.Renew(); }

private:
    FewEvents events_;
};

}  // namespace Host

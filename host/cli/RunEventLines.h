// RunEventLines: the events of a run on standard error.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include <fmt/format.h>

#include "host/cli/Inputs.h"
#include "host/run/RunOutput.h"
#include "host/text/TimeText.h"

namespace Host {

// Shows the events on standard error, of each source the first few.
class RunEventLines : public RunOutput {
public:
    explicit RunEventLines(bool all) : all_(all) {}

    void OnFix(const PublishedFix& /*fix*/) override {}
    void OnEvent(const RunEvent& event) override {
        if (++nmr_[event.source] > Few && !all_) return;
        Complain((event.time ? PrintTime(*event.time) + " " : "") + event.source + ": " + event.text);
    }
    [[nodiscard]] std::string Finish(const RunFacts& /*facts*/) override {
        for (const auto& [source, nmr] : nmr_) {
            if (!all_ && nmr > Few)
                Complain(fmt::format("{}: {} more events (--warnings shows them)", source, nmr - Few));
        }
        return {};
    }

private:
    static constexpr std::int64_t Few = 5;
    bool all_;
    std::map<std::string, std::int64_t> nmr_;  // by source
};

}  // namespace Host

// A run whose outputs are kept, for the tests of the pipeline.
#pragma once

#include <string>
#include <vector>

#include "host/run/Pipeline.h"
#include "host/run/RunOutput.h"

namespace tests {

struct RunRecording : Host::RunOutput {
    struct Fix {
        GNSS::GPSTime time;
        bool valid = false;
        GNSS::ECEF posn;
        int nmrUsed = 0;
        std::vector<int> notes;  // ids
    };
    void OnFix(const Host::PublishedFix& fix) override {
        Fix& kept = fixes.emplace_back();
        kept.time = fix.result.time;
        kept.valid = fix.result.valid;
        kept.posn = fix.result.ecef;
        kept.nmrUsed = fix.result.NmrUsed();
        for (int i = 0; i < fix.notes.NmrNote(); ++i) kept.notes.push_back(fix.notes[i].GetId());
    }
    void OnEvent(const Host::RunEvent& event) override { events.push_back(event.source + ": " + event.text); }
    void OnReceiverFix(const Host::ReceiverFix& /*fix*/) override { ++nmrReceiverFixes; }

    // False with the reason when the inputs cannot be opened.
    bool Run(const Host::RunRequest& request) {
        Host::Pipeline pipeline(request, {this});
        if (!pipeline.Open(reason)) return false;
        reason = pipeline.Run({});
        facts = pipeline.GetFacts();
        return reason.empty();
    }
    [[nodiscard]] int NmrValid() const {
        int nmr = 0;
        for (const Fix& fix : fixes) nmr += fix.valid ? 1 : 0;
        return nmr;
    }
    [[nodiscard]] bool HasEvent(const std::string& part) const {
        for (const std::string& event : events) {
            if (event.find(part) != std::string::npos) return true;
        }
        return false;
    }
    [[nodiscard]] std::string Events() const {
        std::string all;
        for (const std::string& event : events) all += event + "\n";
        return all;
    }

    std::vector<Fix> fixes;
    std::vector<std::string> events;
    int nmrReceiverFixes = 0;
    std::string reason;
    Host::RunFacts facts;
};

}  // namespace tests

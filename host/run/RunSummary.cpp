#include "host/run/RunSummary.h"

#include <fmt/format.h>

namespace Host {

void RunSummary::OnFix(const PublishedFix& fix) {
    const FixResult& result = fix.result;
    if (!first_) first_ = result.time;
    last_ = result.time;
    nmrFixes_ += result.valid ? 1 : 0;
    ++tests_[static_cast<std::size_t>(result.test)];
    if (result.NmrRejected() > 0) {
        for (const FixSatellite& satellite : result.satellites) {
            if (satellite.use == SatelliteUse::Rejected)
                ++rejected_[SatelliteName(satellite.glonass, satellite.number)];
        }
    }
    for (int i = 0; i < fix.notes.NmrNote(); ++i) {
        const auto& note = fix.notes[i];
        NoteKind& kind = notes_[note.GetId()];
        // Several satellites may have the same at one epoch.
        if (kind.lastEpoch == nmrEpochs_) continue;
        if (kind.nmrEpochs++ == 0) kind.text = note.GetText().str();
        kind.lastEpoch = nmrEpochs_;
    }
    ++nmrEpochs_;
}

std::string RunSummary::Print() const {
    std::string text = fmt::format("{} epochs, {} with a position", nmrEpochs_, nmrFixes_);
    if (first_) text += fmt::format(", from {} to {} GPST", first_->PrintRound(0).str(), last_->PrintRound(0).str());
    text += "\n";
    if (nmrFixes_ > 0) {
        const auto percent = [this](FixTest test) {
            return 100.0 * static_cast<double>(NmrOf(test)) / static_cast<double>(nmrFixes_);
        };
        text +=
            fmt::format("tests: {:.1f} % passed, {:.1f} % failed, {:.1f} % not identifiable, {:.1f} % not testable\n",
                        percent(FixTest::Passed), percent(FixTest::Failed), percent(FixTest::NotIdentifiable),
                        percent(FixTest::NotTestable));
    }
    if (!rejected_.empty()) {
        text += "rejected:";
        for (const auto& [name, nmr] : rejected_) text += fmt::format(" {} {}x", name, nmr);
        text += "\n";
    }
    for (const auto& [id, kind] : notes_) {
        text += fmt::format("note {}x: {}{}\n", kind.nmrEpochs, kind.text, kind.nmrEpochs > 1 ? " ..." : "");
    }
    if (nmrEvents_ > 0) text += fmt::format("events: {}\n", nmrEvents_);
    return text;
}

}  // namespace Host

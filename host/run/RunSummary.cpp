#include "host/run/RunSummary.h"

namespace Host {

void RunSummary::OnFix(const PublishedFix& fix) {
    series_.Add(fix, FiguresOf(fix.result));
    comparison_.Add(fix.result);
}

std::string RunSummary::Finish(const RunFacts& facts) {
    comparison_.Finish();
    figures_ = Summarise(series_, GetReference(), facts.request.settings);
    figures_.events = nmrEvents_;
    figures_.receiverFixes = comparison_.NmrReceiverFixes();
    figures_.receiver = comparison_.Summarise();
    if (!given_ && facts.station) {
        figures_.statedPlace = facts.station->posn;
        figures_.stated = DifferencesFrom(series_, facts.station->posn);
    }
    return {};
}

}  // namespace Host

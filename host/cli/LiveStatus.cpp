#include "host/cli/LiveStatus.h"

#include <cmath>
#include <cstdlib>
#include <string_view>
#include <unistd.h>

#include <fmt/format.h>

#include "host/cli/Inputs.h"
#include "host/report/FixFigures.h"
#include "host/report/RunFigures.h"
#include "host/report/SafeText.h"

namespace Host {

namespace {

constexpr std::int64_t SecondsPerLine = 60;

std::string Describe(const FixResult& result) {
    if (!result.valid) return std::string("no position: ") + Describe(result.failure);
    const FixFigures figures = FiguresOf(result);
    return fmt::format("{:.8f} {:.8f} {:.2f} m, {} GPS + {} GLONASS, 95 % {:.1f} m, height {:.1f} m, {}",
                       result.geog.GetPhi().Degrees(), result.geog.GetLambda().Degrees(), result.geog.GetHeight(),
                       result.gps.used, result.glonass.used, figures.ellipseMajor, figures.height95, Name(result.test));
}

std::string DescribeNotes(const GNSS::Notes& notes) {
    std::string text;
    for (int i = 0; i < notes.NmrNote(); ++i) text += (i > 0 ? "; " : "") + CleanText(notes[i].GetText().ToUTF8());
    return text;
}

}  // namespace

// One that knows no control codes is served like a file.
LiveStatus::LiveStatus() : isTerminal_(::isatty(STDERR_FILENO) == 1) {
    const char* kind = std::getenv("TERM");
    if (kind == nullptr || std::string_view(kind) == "dumb") isTerminal_ = false;
}

LiveStatus::~LiveStatus() {
    Wipe();
}

void LiveStatus::OnFix(const PublishedFix& fix) {
    ++nmrEpochs_;
    const bool isFirst = fix.result.valid && nmrFixes_ == 0;
    nmrFixes_ += fix.result.valid ? 1 : 0;
    last_ = {fix.result.time, Describe(fix.result), DescribeNotes(fix.notes)};
    if (!isFirst) return;
    Wipe();
    Tell(PrintInstant(last_->time) + " first position: " + last_->text + "\n");
}

std::string LiveStatus::DescribeSources(const LiveRun& run) const {
    std::string text;
    for (const LiveRun::SourceStatus& source : run.GetSources()) {
        text += fmt::format("\n  {}: {}", CleanText(source.name), Name(source.state));
        if (!source.fault.empty()) text += " (" + source.fault + ')';
        text += source.age ? fmt::format(", last data {:.0f} s ago", *source.age) : ", no data yet";
        if (source.wait) text += fmt::format(", next try in {:.0f} s", std::ceil(*source.wait));
        text += fmt::format(", {} bytes, {} epochs", source.counts.bytes, source.facts->epochs);
        if (source.counts.drops + source.counts.errors > 0)
            text += fmt::format(", dropped {} times, {} failed tries", source.counts.drops, source.counts.errors);
    }
    return text;
}

void LiveStatus::Show(const LiveRun& run) {
    ++nmrSeconds_;
    if (!isTerminal_ && nmrSeconds_ % SecondsPerLine != 0) return;
    std::string text = last_ ? PrintInstant(last_->time) + " " + last_->text : std::string("no epoch yet");
    text += fmt::format("\n  {} epochs, {} positions", nmrEpochs_, nmrFixes_);
    if (last_ && !last_->notes.empty()) text += "; " + last_->notes;
    text += DescribeSources(run) + "\n";
    if (!isTerminal_) return Tell(text);
    // Cut to the terminal's width by not wrapping at all.
    Wipe();
    Tell("\x1b[?7l" + text + "\x1b[?7h");
    for (const char c : text) nmrLines_ += c == '\n' ? 1 : 0;
}

void LiveStatus::Wipe() {
    if (nmrLines_ > 0) Tell(fmt::format("\x1b[{}F\x1b[J", nmrLines_));
    nmrLines_ = 0;
}

}  // namespace Host

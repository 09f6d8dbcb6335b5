// RunFolderOutput: the output folder of a run.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "gnss/position/Constellation.h"
#include "gnss/position/DOP.h"
#include "gnss/time/GPSTime.h"
#include "host/report/FixRows.h"
#include "host/report/Rows.h"
#include "host/report/RunFigures.h"
#include "host/report/RunFolder.h"
#include "host/report/Sink.h"
#include "host/run/RunJournal.h"
#include "host/run/RunOutput.h"
#include "host/run/RunSummary.h"

namespace Host {

struct RunFolderOptions {
    std::string folder;
    bool overwrite = false;
    bool satellites = true;                // satellites.csv: a line for every satellite of every epoch
    bool pictures = true;                  // and report.html
    bool png = false;                      // the pictures as PNG, of double density, instead of SVG
    bool isDark = false;                   // the files of the pictures; those in the report are for paper
    std::function<bool()> isStopped;       // asked now and then: whether to give up; never without
    std::optional<GNSS::GPSTime> skyTime;  // of the sky plot: the fix next to it; the last one without
};

// Writes
//   positions.csv, positions.ndjson  a line for every epoch, with all figures of its fix
//   satellites.csv                   a line for every satellite of every epoch
//   journal.csv                      alarms, remarks and events in the order of their time
//   notes.csv                        each alarm and remark once, with how often and how long it held
//   events.log                       what happened on the way, for reading
//   summary.json, report.html        the run in figures, and for reading and printing
//   sky, scatter, position, tests, reliability, dop, satellites, notes: pictures (.svg or .png)
// The folder appears when Finish has succeeded (see RunFolder); an object destroyed before leaves nothing.
class RunFolderOutput : public RunOutput {
public:
    // Opens the folder; what went wrong is in GetFailure. The summary is an output of the same run, before this one.
    RunFolderOutput(RunFolderOptions options, const RunSummary& summary);
    ~RunFolderOutput() override;

    void Begin(const RunFacts& facts) override { settings_ = facts.request.settings; }
    void OnFix(const PublishedFix& fix) override;
    void OnEvent(const RunEvent& event) override;
    [[nodiscard]] std::string Finish(const RunFacts& facts) override;
    [[nodiscard]] bool IsGood() const override;

    // Empty while all is well.
    [[nodiscard]] const std::string& GetFailure() const { return failure_; }
    // Every name of a file that may be in such a folder.
    [[nodiscard]] static std::vector<std::string> FileNames();

private:
    enum Table : std::size_t { PositionsCsv, PositionsNdjson, Satellites, EventsLog, NmrTables };

    void WriteNotes();
    void WriteJournal();
    void WritePictures(const RunFacts& facts);
    void WriteFile(const std::string& name, std::string_view bytes);
    void CloseTables();
    void Fail(const std::string& failure);

    RunFolderOptions options_;
    const RunSummary& summary_;
    RunJournal journal_;
    FixSettings settings_;
    RunFolder folder_;
    std::array<std::unique_ptr<Sink>, NmrTables> sinks_;
    std::array<std::unique_ptr<RowWriter>, NmrTables> writers_;  // none for the log
    FixRow fixRow_;
    SatelliteRow satelliteRow_;
    // For the sky plot.
    std::optional<GNSS::GPSTime> skyTime_;
    GNSS::Constellation sky_;
    GNSS::DOP skyDop_;
    std::string failure_;
};

}  // namespace Host

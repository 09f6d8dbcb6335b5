// HistoryView: the stored ephemerides of a system; written once for EphemerisView and GlonassEphemerisView.
#pragma once

#include <atomic>
#include <mutex>
#include <vector>

#include "gnss/display/RecordTable.h"
#include "gnss/display/RecordView.h"
#include "gnss/ephemeris/EphemerisHistory.h"
#include "gnss/fwd.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Response.h"
#include "gnss/platform/Symbol.h"
#include "gnss/time/GPSTime.h"

namespace GNSS {

// Shows one record of each satellite's history, at first the newest. See RecordView. The view of GLONASS has the switch
// that hides it; when it does, there is a line that says so.
//
// Listens to the history that an ephemeris store publishes. The command "Older Record" goes from the newest records to
// those before them and, after the oldest, back to the newest.
template <typename System>
class GNSS_EXPORT HistoryView : public RecordView {
public:
    using History = EphemerisHistory<System>;

    static const Corvane::Ident ID;
    static const Corvane::Ident OlderCommand;

    HistoryView();
    ~HistoryView() override;

    // From any thread.
    void SetHistory(const History& history);
    [[nodiscard]] History GetHistory() const;
    // Shows an empty history.
    void Clear() override { SetHistory(History()); }

    // Which records are shown, 0 being the newest; a number outside a history's depth counts as its nearest. Satellites
    // that have no such record are left out.
    void SetRecord(int index);
    [[nodiscard]] int GetRecord() const { return record_; }

protected:
    [[nodiscard]] std::vector<RecordTable> MakeTables(const GPSTime& now, bool withGlonass) const override;

private:
    void OnHistory(const History& history) { SetHistory(history); }

    mutable std::mutex mutex_;
    History history_;
    std::atomic<int> record_ = 0;
    Corvane::Response<History> historyInput_;
};

}  // namespace GNSS

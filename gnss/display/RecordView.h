// RecordView: what the data views have in common: stored records as tables that are drawn, paged and copied.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <vector>

#include "gnss/display/RecordTable.h"
#include "gnss/platform/Component.h"
#include "gnss/platform/DC.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Point.h"
#include "gnss/platform/String.h"
#include "gnss/platform/Style.h"
#include "gnss/platform/Symbol.h"
#include "gnss/platform/Time.h"
#include "gnss/platform/View.h"
#include "gnss/time/GPSTime.h"

namespace GNSS {

// Shows records parameter by parameter, with names, symbols and units, one column a satellite.
//
// A view is a component: joined to a tree it shows what the tree's stores publish, as of its last cycle. Without one it
// shows what it is given. Who joins it holds it by a shared pointer, as any component, and the tree may go first or
// last; handlers touch nothing but the view's copy of the records, which is a handle, under a lock that is never held
// while something is drawn.
//
// Values are those of the message in the units of the rows: angles in degrees and their rates in degrees per second,
// the rest as the interface documents count it. Every row has just enough decimals to tell the message's last bits
// apart. Small numbers share one power of ten a row ("-3.4e-6"), so that they can be compared along it. What a record
// does not say is empty. Ages are counted from the reference time, and where a record tells it from its reception, to
// Corvane::Now; before it they are negative. An unhealthy satellite says so in a word and in the style of alerts; one
// that is too old or too early to compute with says that, and is faint.
//
// Satellites that do not fit beside one another stand in blocks below, and what does not fit below on further pages:
// nothing is cut off. A block that is taller than the area goes on in the next. An area with no room for a satellite's
// first rows says how much it takes.
//
// The commands are "Copy", "Next Page" and "Previous Page", and "Show GLONASS", a switch, where a view has GLONASS.
class GNSS_EXPORT RecordView : public Corvane::View, public Corvane::Component {
public:
    static constexpr std::int32_t CycleMS = 100;
    // How old the ages on the screen may be before the view asks to be drawn again.
    static constexpr Corvane::Time RefreshPeriod{60.0};
    static const Corvane::Ident CopyCommand;
    static const Corvane::Ident NextPageCommand;
    static const Corvane::Ident PreviousPageCommand;
    static const Corvane::Ident ShowGlonassCommand;

    ~RecordView() override;

    void SetStyles(const Corvane::Style::List& styles);
    // At first shown.
    void ShowGlonass(bool show);
    [[nodiscard]] bool IsGlonassShown() const { return isGlonassShown_; }

    // What is shown now; from any thread.
    [[nodiscard]] std::vector<RecordTable> GetTables() const;
    // All tables as text that pastes into a spreadsheet, parted by empty lines. Empty without records.
    [[nodiscard]] Corvane::String ToText() const;
    // Copies that text. False, and the clipboard is as it was, when there is none or the clipboard does not take it.
    bool CopyToClipboard() const;

    // The size that all of it takes on one page of a width, with the fonts of the context; of a width without room for
    // one satellite, that of the least width that has.
    [[nodiscard]] Corvane::Size Calc(const Corvane::DC& dc, std::int32_t width) const;
    // The pages of the last painting, at least 1, and the one shown, from 0; a page beyond the last shows the last.
    [[nodiscard]] std::int32_t NmrPages() const { return nmrPages_; }
    [[nodiscard]] std::int32_t GetPage() const { return page_; }
    void SetPage(std::int32_t page);

    // Also when the ages have grown by RefreshPeriod.
    [[nodiscard]] bool RequiresRedraw() const override;

protected:
    RecordView(Corvane::Ident ident, bool hasGlonass);

    // The tables of now, whose GLONASS ones are asked for only where they are shown. Any thread may call.
    [[nodiscard]] virtual std::vector<RecordTable> MakeTables(const GPSTime& now, bool withGlonass) const = 0;
    void Draw(Corvane::DC& dc, Corvane::Size size) override;

private:
    Corvane::Style::List styles_;
    std::atomic<bool> isGlonassShown_ = true;
    std::int32_t nmrPages_ = 1;
    std::int32_t page_ = 0;
    std::optional<GPSTime> drawn_;  // whose ages are on the screen
};

}  // namespace GNSS

// A data view: the stored ephemerides as text for a spreadsheet.
#include <iostream>

#include "gnss/gnss.h"

int main() {
    GNSS::GPSEphemeride record;  // as a subframe decoder makes it
    record.prn = GNSS::PRN(5);
    record.reference = GNSS::GPSTime(Corvane::Now);
    record.posn.sqrtA = 5153.65433311;
    GNSS::GPSEphemeris history;
    history.Update(record);
    GNSS::EphemerisView view;  // joined to a tree it would follow the store; Paint draws it on any Corvane::DC
    view.SetHistory(history);
    std::cout << view.ToText();
    view.DoCommand(GNSS::EphemerisView::CopyCommand);  // the same to the clipboard
}

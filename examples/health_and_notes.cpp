// Which satellites may be used, and what has been remarked on over time.
#include <iostream>

#include "gnss/gnss.h"

int main() {
    GNSS::SVHealth::Set health;
    const GNSS::SVHealth::Update update(GNSS::SVHealth::Update::EphemerisHealth, GNSS::PRN(12), 0);
    std::cout << update.GetDesc() << (health.Refresh(update) ? ": changed\n" : ": as before\n");

    GNSS::Notes notes;
    if (!health.IsEnabledAndHealthy(GNSS::PRN(7))) notes.AddPrintNote(1, 7, "PRN %02d is not used");
    GNSS::Notes::History history;
    const Corvane::TimeDate t(Corvane::Date(2026, 11, 21), Corvane::TimeOfDay(12, 34, 56.0));
    for (int second = 0; second < 5; ++second) history.Update(t + Corvane::Time(second), notes);
    const auto seen = history[0].GetLastInterval();
    std::cout << history[0].GetNote().GetText() << ", since " << seen.GetStartString() << '\n';
}

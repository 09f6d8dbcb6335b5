// GNSS::MSAdjust: takes whole milliseconds of light travel out of measured ranges.
#pragma once

#include <array>
#include <optional>
#include <span>

#include "gnss/measurement/MeasSet.h"
#include "gnss/platform/Export.h"
#include "gnss/time/Constants.h"

namespace GNSS {

// Some receivers know the time of transmission only modulo the millisecond of the code, and report ranges short of
// whole milliseconds of light travel, another number for each satellite. Others let their clock drift and set it by a
// whole millisecond now and then, at which all ranges jump, and with some of them the phases, too. Fed epoch after
// epoch with the ranges computed for a position, MSAdjust makes the ranges complete and continuous.
//
// Model     measured - computed = clock offset + whole milliseconds + errors. The clock offset is common to all
//           satellites of both systems. Only its part within a millisecond can be seen in one epoch: the first epoch
//           takes it to lie within half a millisecond of zero, every later one within half a millisecond of the epoch
//           before, so it is followed wherever it drifts. Epochs more than MaxGap apart, or going back in time, start
//           anew.
// Agreement Satellites agree when their differences, whole milliseconds aside, lie within Tolerance of one of them;
//           the largest such group counts. So the position may be wrong by 15 km. Below two satellites: refused.
// Ranges    Every range and smoothed range of a satellite with a computed range is adjusted on its own (near a whole
//           millisecond those of two signals may differ by one) if it fits the group; one that does not stays.
// Split     What is taken out is common plus own: the common number is the one on which most of the satellites agree
//           (of equals the one nearest zero, then the greater), a satellite's own is the rest.
// Jumps     A clock jump is a change of the number taken out, since the epoch before, by the same amount for more than
//           half of the satellites of both epochs, at least two. A satellite alone that passes a millisecond is none,
//           and ranges modulo a millisecond do not show jumps.
// Phase     At a jump, the phases that run through it without slip or lost lock tell by majority whether they jumped
//           with the ranges. If so the jump is taken out of all phases from then on: they continue as before. If not
//           they are left. A GLONASS phase whose frequency channel was not given cannot be adjusted exactly; it stays,
//           marked as slipped at the jump. The first epoch's milliseconds leave the phase alone, whose start is
//           arbitrary anyway. Where a start after a gap drops milliseconds that were carried along, all phases are
//           marked as slipped.
// Time      The set's time is left. When the common milliseconds are the receiver clock's (not the modulo's), the time
//           by that clock is ahead by the same number; who computes times of transmission takes it off both.
//
// Neither computed ranges that are NaN, infinite or absurd nor such measurements take part. Allocates nothing but the
// private copy of a shared set.
class GNSS_EXPORT MSAdjust {
public:
    // Light travel of a millisecond, metres.
    static constexpr double MSRange = LightSpeed * 1e-3;
    // Milliseconds.
    static constexpr double Tolerance = 0.05;
    // Seconds. A clock that is wrong by 10 parts in a million drifts 0.3 ms meanwhile.
    static constexpr double MaxGap = 30.0;

    // What a satellite's range should be: distance from the position, less light speed times the satellite's clock
    // correction, metres. With errors of the atmosphere or without.
    struct GPSRange {
        PRN id;
        double range = 0.0;
    };
    struct GlonassRange {
        Glonass::Slot id;
        double range = 0.0;
        std::optional<int> frequencyChannel{};  // -7 to 24; only for the phase
    };

    // What was done to an epoch. Milliseconds are those taken out: positive ones made the ranges shorter.
    struct Report {
        bool adjusted = false;     // false: refused, and nothing was changed
        int nmrAgree = 0;          // satellites in the group
        bool started = false;      // first epoch, or the first after a gap
        int common = 0;            // ms, of most satellites
        int jump = 0;              // ms by which the receiver's clock jumped since the epoch before
        bool phaseJumped = false;  // the phases jumped with it
        int phase = 0;             // ms taken out of all phases: the jumps since the start
        double clockOffset = 0.0;  // s by which the adjusted ranges are too long, from the mean of the group
        // A satellite's own ms by its number; empty for one that was left as it came.
        std::array<std::optional<int>, PRN::Max + 1> gps{};
        std::array<std::optional<int>, Glonass::Slot::Max + 1> glonass{};
    };

    // Adjusts an epoch. Of several computed ranges of a satellite the first counts. A refused epoch is as if it had not
    // been given.
    Report Adjust(MeasSet& set, std::span<const GPSRange> gps, std::span<const GlonassRange> glonass);
    // Forgets the epochs so far.
    void Reset() { *this = MSAdjust(); }

private:
    // What is known of a satellite from the epoch before.
    struct Track {
        bool known = false;
        int taken = 0;                                 // ms
        double computed = 0.0;                         // m
        std::array<std::optional<double>, 3> phase{};  // as measured, cycles, by signal
    };
    class Epoch;

    bool hasEpoch_ = false;
    GPSTime time_;
    double offset_ = 0.0;  // ms, not bound to one
    int phase_ = 0;        // ms
    std::array<Track, PRN::Max + 1> gps_{};
    std::array<Track, Glonass::Slot::Max + 1> glonass_{};
};

}  // namespace GNSS

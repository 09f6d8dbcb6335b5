// GNSS::MSAdjust: takes whole milliseconds of light travel out of measured ranges.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
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
//           before, so it is followed wherever it drifts. An epoch more than MaxGap after the one before, or not after
//           it, starts anew.
// Agreement Satellites agree when their differences, whole milliseconds aside, lie within Tolerance of one of them;
//           the largest such group counts, of equals the closest. So the position may be wrong by 15 km. Below two
//           satellites: refused. Up to half of the satellites that can be compared: the ranges are adjusted, but later
//           epochs go by the last one of which more than half agreed, so that a wrong position shifts none of them.
// Ranges    Every range and smoothed range of a satellite with a computed range is adjusted on its own (near a whole
//           millisecond those of two signals may differ by one) if it fits the group; one that does not stays.
// Split     What is taken out is common plus own: the common number is the one on which most of the satellites agree
//           (of equals the one nearest zero, then the greater), a satellite's own is the rest.
// Jumps     A clock jump is a change of the number taken out, since the epoch before, by the same amount for more than
//           half of the satellites of both epochs, at least two. A satellite alone that passes a millisecond is none,
//           and ranges modulo a millisecond do not show jumps. Where no number reaches that, as with one satellite in
//           both epochs, the change is undecided, and none is assumed.
// Phase     At a jump, the phases that run through it without slip or lost lock tell by majority whether they jumped
//           with the ranges. If so the jump is taken out of all phases from then on: they continue as before. If not,
//           or when there is no majority, they are left. GLONASS phases are adjusted once the frequency channel has
//           been given, which is remembered. The first epoch's milliseconds leave the phase alone, whose start is
//           arbitrary anyway; a start anew takes nothing out of it either.
// Slips     A phase that was there before is marked as slipped when other milliseconds are taken out of it than the
//           last time, or a start anew, a jump or an undecided change came since; but not one that was seen to do at a
//           jump what the majority did. From a refused epoch none are taken: it stays as it came, with those marks.
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
    // Milliseconds that jumps may add up to in the phases, of which a double then still tells 0.0002 cycles; at the
    // jump that passes it the sum starts again at zero.
    static constexpr int MaxPhase = 1'000'000;

    // What a satellite's range should be: distance from the position, less light speed times the satellite's clock
    // correction, metres. With errors of the atmosphere or without.
    struct GPSRange {
        PRN id;
        double range = 0.0;
    };
    struct GlonassRange {
        Glonass::Slot id;
        double range = 0.0;
        std::optional<int> frequencyChannel{};  // -7 to 24, others are ignored; only for the phase
    };

    // What was done to an epoch. Milliseconds are those taken out: positive ones made the ranges shorter.
    struct Report {
        bool adjusted = false;     // false: refused, and nothing was changed but slip marks
        int nmrAgree = 0;          // satellites in the group
        bool counted = false;      // the group is more than half: later epochs go by this one
        bool started = false;      // anew: first epoch, after a gap or not after the one before
        int common = 0;            // ms, of most satellites
        int jump = 0;              // ms by which the receiver's clock jumped since the epoch before
        bool phaseJumped = false;  // the phases jumped with it
        int phase = 0;             // ms taken out of the phases: the jumps since the start
        double clockOffset = 0.0;  // s by which the adjusted ranges are too long, from the mean of the group
        // A satellite's own ms by its number; empty for one that was left as it came.
        std::array<std::optional<int>, PRN::Max + 1> gps{};
        std::array<std::optional<int>, Glonass::Slot::Max + 1> glonass{};
    };

    // Adjusts an epoch, which holds both systems. Of several computed ranges of a satellite the first finite one
    // counts.
    Report Adjust(MeasSet& set, std::span<const GPSRange> gps, std::span<const GlonassRange> glonass);
    // Forgets the epochs so far.
    void Reset() { *this = MSAdjust(); }

private:
    // What was done to a phase the last time that it was there.
    struct GivenPhase {
        double taken = 0.0;        // cycles
        std::uint32_t doubts = 0;  // the value of doubts_
    };
    struct Track {
        // From the last epoch that counted.
        std::optional<int> taken;                         // ms
        double computed = 0.0;                            // m
        std::array<std::optional<double>, 3> measured{};  // phase, cycles, by signal
        // From whatever epoch.
        std::array<std::optional<GivenPhase>, 3> given{};
        std::optional<int> frequencyChannel;
    };
    struct PhaseStep;
    template <typename Set, typename Range, std::size_t N>
    class Part;

    // Of the last epoch that counted.
    bool hasEpoch_ = false;
    GPSTime time_;
    double offset_ = 0.0;       // ms, not bound to one
    int phase_ = 0;             // ms
    std::uint32_t doubts_ = 0;  // starts anew, jumps and undecided changes so far
    bool interrupted_ = false;  // by epochs since then that did not count
    std::array<Track, PRN::Max + 1> gps_{};
    std::array<Track, Glonass::Slot::Max + 1> glonass_{};
};

}  // namespace GNSS

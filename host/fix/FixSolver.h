// FixSolver: position and clocks from the ranges of one epoch, with the tests of their quality.
#pragma once

#include <array>
#include <optional>
#include <vector>

#include "gnss/almanac/AlmanacCalculator.h"
#include "gnss/geodesy/ECEF.h"
#include "gnss/geodesy/Geog.h"
#include "gnss/geodesy/LocalGrid.h"
#include "gnss/platform/LLSq.h"
#include "gnss/time/GPSTime.h"
#include "host/fix/FixInputs.h"
#include "host/fix/FixSatellite.h"
#include "host/fix/FixSettings.h"
#include "host/fix/Troposphere.h"

namespace Host {

// Why there is no position.
enum class FixFailure : std::uint8_t {
    None,
    TooFewSatellites,
    BadGeometry,   // the satellites do not determine the position, or barely
    NotConverged,  // the ranges contradict each other so much that no position comes of them
    NotOnEarth,    // the position found is no place where a receiver can be
};
[[nodiscard]] const char* Describe(FixFailure failure);

// Weighted least squares on ranges, solved by Gauss and Newton's iteration; without a position to begin with from the
// earth's centre. Data snooping: while a test of the adjustment fails and the w-test can place the fault in one range,
// this is left out and the position found anew.
//
// Unknowns: X, Y, Z, the receiver's clock against GPS time and that against GLONASS time, in metres; of the clocks only
// those of systems that take part. One object for a series of epochs: it keeps its memory, and the last position to
// begin with.
class FixSolver {
public:
    explicit FixSolver(const FixSettings& settings) : settings_(settings) {}

    // From the satellites of FindSatellites, whose directions, corrections and statistics it fills in, and whose `use`
    // it completes. False when there is no position; the reason is in GetFailure, and the satellites still have the
    // directions that they have from the last position, if there is one.
    bool Solve(const GNSS::GPSTime& t, const FixInputs& inputs, std::vector<FixSatellite>& satellites);

    [[nodiscard]] FixFailure GetFailure() const { return failure_; }
    // How many ranges (and the height) there were, and how many unknowns, when there were too few.
    [[nodiscard]] int NmrObs() const { return nmrObs_; }
    [[nodiscard]] int NmrUnknown() const { return nmrUnknown_; }

    // Of the last solution.
    [[nodiscard]] const GNSS::ECEF& GetPosition() const { return position_; }
    [[nodiscard]] const GNSS::Geog& GetGeog() const { return geog_; }
    [[nodiscard]] const GNSS::LocalGrid& GetGrid() const { return grid_; }
    // The receiver's clock minus the system's time, m; nothing for a system that took no part.
    [[nodiscard]] std::optional<double> GetClock(bool glonass) const;
    // The adjustment at the position: its unknowns are the last corrections (zero but for rounding).
    [[nodiscard]] const Corvane::LLSq& GetAdjustment() const { return llsq_; }
    // The row of the height aid; -1 without one.
    [[nodiscard]] bool IsHeightRejected() const { return heightRow_ >= 0 && llsq_.IsRejected(heightRow_); }
    // Whether the broadcast ionosphere was taken off.
    [[nodiscard]] bool UsedIonosphere() const { return usedIonosphere_; }

    // Forgets the last position.
    void Reset() { hasPrior_ = false; }

private:
    static constexpr int MaxUnknown = 5;
    struct Row {
        FixSatellite* satellite = nullptr;  // null for the height
        bool rejected = false;
        double sd = 1.0;
        double misclosure = 0.0;
        double mapping = 0.0;  // of the troposphere, from the zenith to the satellite
        std::array<double, MaxUnknown> design{};
    };

    void Choose(std::vector<FixSatellite>& satellites);
    void Place(const GNSS::ECEF& position);
    void LookAt(FixSatellite& satellite) const;
    void LookAtAll(std::vector<FixSatellite>& satellites) const;
    [[nodiscard]] bool IsChoiceRight(const std::vector<FixSatellite>& satellites) const;
    void Correct(const GNSS::GPSTime& t, const FixInputs& inputs, Row& row) const;
    bool Converge(const GNSS::GPSTime& t, const FixInputs& inputs, bool coarse, bool hasDirections = false);
    void Linearise(Row& row, bool coarse) const;
    bool Step(std::array<double, MaxUnknown>& step);
    bool Adjust(bool coarse);
    bool Snoop(const GNSS::GPSTime& t, const FixInputs& inputs, bool coarse);
    bool Find(const GNSS::GPSTime& t, const FixInputs& inputs, std::vector<FixSatellite>& satellites);
    bool Begin(const GNSS::GPSTime& t, const FixInputs& inputs, std::vector<FixSatellite>& satellites);
    bool Fail(FixFailure failure);

    FixSettings settings_;
    bool hasPrior_ = false;

    GNSS::ECEF position_;
    GNSS::Geog geog_;
    GNSS::LocalGrid grid_;
    StandardTroposphere troposphere_;
    std::array<double, 2> clocks_{};    // by system, m
    std::array<int, 2> clockColumn_{};  // -1 for a system that takes no part

    std::vector<Row> rows_;
    Corvane::LLSq llsq_;
    int nmrObs_ = 0;
    int nmrUnknown_ = 0;
    int heightRow_ = -1;
    bool usedIonosphere_ = false;
    FixFailure failure_ = FixFailure::None;
};

}  // namespace Host

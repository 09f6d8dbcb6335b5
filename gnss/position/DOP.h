// GNSS::DOP: how the geometry of the satellites dilutes the precision of a fix.
#pragma once

#include "gnss/fwd.h"
#include "gnss/platform/Export.h"

namespace GNSS {

// The figures by which a fix is less certain than one range: the square roots of the diagonal of (A'A)^-1, A being the
// design matrix of unweighted ranges. Without dimension: times the standard deviation of a range they give metres.
// The default is invalid with figures of 0.
class GNSS_EXPORT DOP {
public:
    DOP() = default;
    DOP(const Constellation& constellation, bool withGlonass, bool heightAided) {
        Set(constellation, withGlonass, heightAided);
    }
    DOP(double ee, double nn, double uu, double tt) { Set(ee, nn, uu, tt); }

    // From variances of east, north, up and clock in units of a range's variance. Valid whatever they are; a figure
    // whose variances add up to less than -1e-10, or to NaN, is NaN.
    void Set(double ee, double nn, double uu, double tt);
    // From all satellites that the lists of the constellation hold, whatever their state and elevation; which of them
    // are there is for the caller to choose. A satellite that is there twice counts twice, as two ranges do.
    //
    // The unknowns are east, north, up and a clock. GLONASS takes part with the flag and two satellites or more (one
    // alone only determines its own clock), and has a clock of its own beside GPS. Height aid is one more observation,
    // of the height, as good as a range; it is counted on for one satellite that is missing, not for more.
    //
    // False, and the DOP is reset, with too few satellites, with a direction that is not finite, or when the
    // satellites do not determine the unknowns, as when all stand at one elevation: when A'A has no Matrix::Inverse.
    // Never allocates.
    bool Set(const Constellation& constellation, bool withGlonass, bool heightAided);
    void Reset() { *this = DOP(); }

    [[nodiscard]] bool IsValid() const { return valid_; }
    [[nodiscard]] double GetGDOP() const { return gdop_; }  // position and clocks
    [[nodiscard]] double GetPDOP() const { return pdop_; }  // position
    [[nodiscard]] double GetHDOP() const { return hdop_; }  // east and north
    [[nodiscard]] double GetEDOP() const { return edop_; }
    [[nodiscard]] double GetNDOP() const { return ndop_; }
    [[nodiscard]] double GetVDOP() const { return vdop_; }
    // The clock, or both clocks together.
    [[nodiscard]] double GetTDOP() const { return tdop_; }

    friend bool operator==(const DOP&, const DOP&) = default;

private:
    bool valid_ = false;
    double gdop_ = 0.0;
    double pdop_ = 0.0;
    double hdop_ = 0.0;
    double edop_ = 0.0;
    double ndop_ = 0.0;
    double vdop_ = 0.0;
    double tdop_ = 0.0;
};

}  // namespace GNSS

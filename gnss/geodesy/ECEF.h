// GNSS::ECEF: a position in earth-centred, earth-fixed Cartesian coordinates.
#pragma once

#include "gnss/geodesy/Vector3.h"
#include "gnss/platform/Number.h"

namespace GNSS {

// X, Y and Z in metres from the earth's centre: X through the equator at longitude 0, Y at longitude 90 degrees east, Z
// through the north pole. In which frame (WGS 84, PZ-90) is for the context to say; the default is the centre.
class ECEF {
public:
    // The difference of two positions, in metres, or a direction.
    class Delta : public Vector3<Delta> {
    public:
        constexpr Delta() = default;
        constexpr Delta(double x, double y, double z) : Vector3(x, y, z) {}
        [[nodiscard]] constexpr double GetX() const { return first_; }
        [[nodiscard]] constexpr double GetY() const { return second_; }
        [[nodiscard]] constexpr double GetZ() const { return third_; }
        constexpr void SetX(double x) { first_ = x; }
        constexpr void SetY(double y) { second_ = y; }
        constexpr void SetZ(double z) { third_ = z; }
    };

    constexpr ECEF() = default;
    constexpr ECEF(double x, double y, double z) : fromCentre_(x, y, z) {}

    constexpr void Set(double x, double y, double z) { fromCentre_.Set(x, y, z); }
    [[nodiscard]] constexpr double GetX() const { return fromCentre_.GetX(); }
    [[nodiscard]] constexpr double GetY() const { return fromCentre_.GetY(); }
    [[nodiscard]] constexpr double GetZ() const { return fromCentre_.GetZ(); }
    constexpr void SetX(double x) { fromCentre_.SetX(x); }
    constexpr void SetY(double y) { fromCentre_.SetY(y); }
    constexpr void SetZ(double z) { fromCentre_.SetZ(z); }

    // The distance from the earth's centre.
    [[nodiscard]] double Radius() const { return fromCentre_.Magnitude(); }

    constexpr ECEF& operator+=(const Delta& delta) {
        fromCentre_ += delta;
        return *this;
    }
    constexpr ECEF& operator-=(const Delta& delta) {
        fromCentre_ -= delta;
        return *this;
    }
    friend constexpr ECEF operator+(ECEF position, const Delta& delta) { return position += delta; }
    friend constexpr ECEF operator-(ECEF position, const Delta& delta) { return position -= delta; }
    friend constexpr Delta operator-(const ECEF& a, const ECEF& b) { return a.fromCentre_ - b.fromCentre_; }

    // Whether each of X, Y and Z agrees within SameTolerance. A NaN counts as agreeing. The operators mean the same,
    // so that equality here is not transitive.
    [[nodiscard]] constexpr bool IsTheSame(const ECEF& other) const {
        return Corvane::compare(GetX(), other.GetX(), SameTolerance) == 0 &&
               Corvane::compare(GetY(), other.GetY(), SameTolerance) == 0 &&
               Corvane::compare(GetZ(), other.GetZ(), SameTolerance) == 0;
    }
    friend constexpr bool operator==(const ECEF& a, const ECEF& b) { return a.IsTheSame(b); }

    static constexpr double SameTolerance = 0.0001;  // metres

private:
    Delta fromCentre_;
};

}  // namespace GNSS

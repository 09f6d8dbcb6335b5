// GNSS::Grid: a position in a local frame of east, north and height.
#pragma once

#include "gnss/geodesy/Vector3.h"
#include "gnss/platform/Angle.h"
#include "gnss/platform/Export.h"

namespace GNSS {

// East, north and height in metres from the origin of a local grid (see LocalGrid); height is along the up of the
// origin. The default is the origin.
class Grid {
public:
    class Delta;
    class Covar;  // in GridCovar.h
    class SD;     // in GridSD.h

    // A direction and a distance. Elevation is above the horizon; azimuth is clockwise from north.
    class GNSS_EXPORT Polar {
    public:
        constexpr Polar() = default;
        constexpr Polar(Corvane::Angle elevation, Corvane::Angle azimuth, double range)
            : elevation_(elevation), azimuth_(azimuth), range_(range) {}
        // Azimuth in [0, 360) degrees. Straight up and down have azimuth 0, and so has a difference of zero, whose
        // elevation is 0 too.
        explicit Polar(const Delta& delta);

        [[nodiscard]] constexpr Corvane::Angle GetElevation() const { return elevation_; }
        [[nodiscard]] constexpr Corvane::Angle GetAzimuth() const { return azimuth_; }
        [[nodiscard]] constexpr double GetRange() const { return range_; }
        constexpr void SetElevation(Corvane::Angle elevation) { elevation_ = elevation; }
        constexpr void SetAzimuth(Corvane::Angle azimuth) { azimuth_ = azimuth; }
        constexpr void SetRange(double range) { range_ = range; }

    private:
        Corvane::Angle elevation_;
        Corvane::Angle azimuth_;
        double range_ = 0.0;
    };

    // The difference of two positions, in metres, or a direction.
    class Delta : public Vector3<Delta> {
    public:
        constexpr Delta() = default;
        constexpr Delta(double east, double north, double height) : Vector3(east, north, height) {}
        explicit Delta(const Polar& polar) { Set(polar); }
        using Vector3::Set;
        void Set(const Polar& polar) {
            const double horizontal = polar.GetRange() * cos(polar.GetElevation());
            Set(horizontal * sin(polar.GetAzimuth()), horizontal * cos(polar.GetAzimuth()),
                polar.GetRange() * sin(polar.GetElevation()));
        }
        [[nodiscard]] constexpr double GetEast() const { return first_; }
        [[nodiscard]] constexpr double GetNorth() const { return second_; }
        [[nodiscard]] constexpr double GetHeight() const { return third_; }
        constexpr void SetEast(double east) { first_ = east; }
        constexpr void SetNorth(double north) { second_ = north; }
        constexpr void SetHeight(double height) { third_ = height; }
    };

    constexpr Grid() = default;
    constexpr Grid(double east, double north, double height) : fromOrigin_(east, north, height) {}

    constexpr void Set(double east, double north, double height) { fromOrigin_.Set(east, north, height); }
    [[nodiscard]] constexpr double GetEast() const { return fromOrigin_.GetEast(); }
    [[nodiscard]] constexpr double GetNorth() const { return fromOrigin_.GetNorth(); }
    [[nodiscard]] constexpr double GetHeight() const { return fromOrigin_.GetHeight(); }
    constexpr void SetEast(double east) { fromOrigin_.SetEast(east); }
    constexpr void SetNorth(double north) { fromOrigin_.SetNorth(north); }
    constexpr void SetHeight(double height) { fromOrigin_.SetHeight(height); }

    constexpr Grid& operator+=(const Delta& delta) {
        fromOrigin_ += delta;
        return *this;
    }
    constexpr Grid& operator-=(const Delta& delta) {
        fromOrigin_ -= delta;
        return *this;
    }
    friend constexpr Grid operator+(Grid position, const Delta& delta) { return position += delta; }
    friend constexpr Grid operator-(Grid position, const Delta& delta) { return position -= delta; }
    friend constexpr Delta operator-(const Grid& a, const Grid& b) { return a.fromOrigin_ - b.fromOrigin_; }

private:
    Delta fromOrigin_;
};

}  // namespace GNSS

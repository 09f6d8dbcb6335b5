// GNSS::LocalGrid: a local frame of east, north and up about an origin on an ellipsoid.
#pragma once

#include <memory>

#include "gnss/geodesy/ECEF.h"
#include "gnss/geodesy/Geog.h"
#include "gnss/geodesy/Grid.h"
#include "gnss/geodesy/Spheroid.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Matrix.h"

namespace GNSS {

// Turns earth-centred positions, differences and covariances into the grid's. The axes are straight lines: far from
// the origin, height is above the plane that is level at the origin, not above the ground (at 1 km the ground lies
// 8 cm below it).
//
// The default grid has no ellipsoid and zero axes: grid values come out as 0, and so do conversions between geographic
// and earth-centred positions. A NaN or infinite origin gives NaN results.
class GNSS_EXPORT LocalGrid {
public:
    // The grid's axes as a matrix whose rows are east, north and up; it reads them from the grid it belongs to.
    class GNSS_EXPORT TransBody : public Corvane::Matrix::SquareBody {
    public:
        explicit TransBody(const LocalGrid& grid) : grid_(&grid) {}
        [[nodiscard]] int Size() const override { return 3; }
        [[nodiscard]] double GetValue(int row, int column) const override;
        // Bound to the same grid.
        [[nodiscard]] std::unique_ptr<SquareBody> Clone() const override;

    private:
        const LocalGrid* grid_;
    };

    LocalGrid() = default;
    // The grid keeps a reference to the spheroid, which has to outlive it and its copies.
    LocalGrid(const Geog& origin, const Spheroid& spheroid) { Set(origin, spheroid); }
    LocalGrid(const ECEF& origin, const Spheroid& spheroid) { Set(origin, spheroid); }
    LocalGrid(const Geog&, const Spheroid&&) = delete;
    LocalGrid(const ECEF&, const Spheroid&&) = delete;
    // A copy has a body of its own, bound to itself.
    LocalGrid(const LocalGrid& other) { Copy(other); }
    LocalGrid& operator=(const LocalGrid& other) {
        if (this != &other) Copy(other);
        return *this;
    }
    ~LocalGrid() = default;

    void Set(const Geog& origin, const Spheroid& spheroid);
    void Set(const ECEF& origin, const Spheroid& spheroid);
    void Set(const Geog&, const Spheroid&&) = delete;
    void Set(const ECEF&, const Spheroid&&) = delete;
    void Copy(const LocalGrid& other);

    // The name is spelled so; null in a default grid.
    [[nodiscard]] const Spheroid* GetSpheriod() const { return spheroid_; }
    [[nodiscard]] const Geog& GetOrigin() const { return origin_; }
    [[nodiscard]] const ECEF& GetOriginECEF() const { return originECEF_; }
    // Unit vectors in earth-centred axes.
    [[nodiscard]] const ECEF::Delta& GetEast() const { return east_; }
    [[nodiscard]] const ECEF::Delta& GetNorth() const { return north_; }
    [[nodiscard]] const ECEF::Delta& GetUp() const { return up_; }
    // The matrix R whose rows are east, north and up.
    [[nodiscard]] Corvane::Matrix GetRotation() const { return Corvane::Matrix(body_); }

    void GetGrid(const ECEF::Delta& delta, Grid& grid) const;
    [[nodiscard]] Grid GetGrid(const ECEF::Delta& delta) const;
    [[nodiscard]] Grid GetGrid(const ECEF& position) const { return GetGrid(GetECEFDelta(position)); }
    [[nodiscard]] Grid GetGrid(const Geog& position) const { return GetGrid(GetECEFDelta(position)); }

    // On the grid's spheroid.
    [[nodiscard]] ECEF GetECEF(const Geog& position) const;
    [[nodiscard]] Geog GetGeog(const ECEF& position) const;

    // From the origin to the position.
    [[nodiscard]] ECEF::Delta GetECEFDelta(const ECEF& position) const { return position - originECEF_; }
    [[nodiscard]] ECEF::Delta GetECEFDelta(const Geog& position) const { return GetECEFDelta(GetECEF(position)); }
    [[nodiscard]] Grid::Delta GetGridDelta(const ECEF& position) const;
    [[nodiscard]] Grid::Delta GetGridDelta(const Geog& position) const { return GetGridDelta(GetECEF(position)); }
    [[nodiscard]] Grid::Polar GetGridPolar(const ECEF& position) const { return Grid::Polar(GetGridDelta(position)); }
    [[nodiscard]] Grid::Polar GetGridPolar(const Geog& position) const { return Grid::Polar(GetGridDelta(position)); }

    // The way back: a difference in the grid's axes turned into earth-centred ones.
    [[nodiscard]] ECEF::Delta GetECEFDelta(const Grid::Delta& delta) const;

    // R M R-transposed of the upper left 3 x 3 block of an earth-centred covariance. False, and nothing changes, when
    // the matrix is smaller or a value is not finite.
    [[nodiscard]] bool GetGridCovarFromECEF(const Corvane::Matrix& ecefCovariance, Grid::Covar& covar) const;

private:
    void SetDirections();

    const Spheroid* spheroid_ = nullptr;
    Geog origin_;
    ECEF originECEF_;
    ECEF::Delta east_;
    ECEF::Delta north_;
    ECEF::Delta up_;
    TransBody body_{*this};
};

}  // namespace GNSS

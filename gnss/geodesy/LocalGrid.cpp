#include "gnss/geodesy/LocalGrid.h"

#include <array>

#include "gnss/geodesy/GridCovar.h"

namespace GNSS {

double LocalGrid::TransBody::GetValue(int row, int column) const {
    if (row < 0 || row > 2) return 0.0;
    const ECEF::Delta& axis = row == 0 ? grid_->east_ : (row == 1 ? grid_->north_ : grid_->up_);
    switch (column) {
        case 0:
            return axis.GetX();
        case 1:
            return axis.GetY();
        case 2:
            return axis.GetZ();
        default:
            return 0.0;
    }
}

std::unique_ptr<Corvane::Matrix::SquareBody> LocalGrid::TransBody::Clone() const {
    return std::make_unique<TransBody>(*this);
}

void LocalGrid::Set(const Geog& origin, const Spheroid& spheroid) {
    spheroid_ = &spheroid;
    origin_ = origin;
    originECEF_ = GetECEF(origin);
    SetDirections();
}

void LocalGrid::Set(const ECEF& origin, const Spheroid& spheroid) {
    spheroid_ = &spheroid;
    originECEF_ = origin;
    origin_ = GetGeog(origin);
    SetDirections();
}

void LocalGrid::Copy(const LocalGrid& other) {
    spheroid_ = other.spheroid_;
    origin_ = other.origin_;
    originECEF_ = other.originECEF_;
    east_ = other.east_;
    north_ = other.north_;
    up_ = other.up_;
}

void LocalGrid::SetDirections() {
    const double sinPhi = sin(origin_.GetPhi());
    const double cosPhi = cos(origin_.GetPhi());
    const double sinLambda = sin(origin_.GetLambda());
    const double cosLambda = cos(origin_.GetLambda());
    east_.Set(-sinLambda, cosLambda, 0.0);
    north_.Set(-cosLambda * sinPhi, -sinLambda * sinPhi, cosPhi);
    up_.Set(cosLambda * cosPhi, sinLambda * cosPhi, sinPhi);
}

void LocalGrid::GetGrid(const ECEF::Delta& delta, Grid& grid) const {
    grid.Set(east_.Dot(delta), north_.Dot(delta), up_.Dot(delta));
}

Grid LocalGrid::GetGrid(const ECEF::Delta& delta) const {
    Grid grid;
    GetGrid(delta, grid);
    return grid;
}

ECEF LocalGrid::GetECEF(const Geog& position) const {
    ECEF ecef;
    if (spheroid_ != nullptr) spheroid_->GeogToECEF(position, ecef);
    return ecef;
}

Geog LocalGrid::GetGeog(const ECEF& position) const {
    Geog geog;
    if (spheroid_ != nullptr) spheroid_->ECEFToGeog(position, geog);
    return geog;
}

Grid::Delta LocalGrid::GetGridDelta(const ECEF& position) const {
    return GetGrid(position) - Grid();
}

ECEF::Delta LocalGrid::GetECEFDelta(const Grid::Delta& delta) const {
    return east_ * delta.GetEast() + north_ * delta.GetNorth() + up_ * delta.GetHeight();
}

bool LocalGrid::GetGridCovarFromECEF(const Corvane::Matrix& ecefCovariance, Grid::Covar& covar) const {
    if (ecefCovariance.NmrRow() < 3 || ecefCovariance.NmrColumn() < 3) return false;
    // Every fix asks for it twice; products of general matrices take ten times as long.
    const std::array axes{&east_, &north_, &up_};
    Corvane::Matrix turned(3, 3);
    for (int row = 0; row < 3; ++row) {
        const ECEF::Delta& axis = *axes[static_cast<std::size_t>(row)];
        const auto product = [&](int column) {
            return axis.GetX() * ecefCovariance(0, column) + axis.GetY() * ecefCovariance(1, column) +
                   axis.GetZ() * ecefCovariance(2, column);
        };
        const ECEF::Delta half(product(0), product(1), product(2));
        for (int column = 0; column < 3; ++column)
            turned.SetValue(row, column, half.Dot(*axes[static_cast<std::size_t>(column)]));
    }
    return covar.SetFromMatrix(turned);
}

}  // namespace GNSS

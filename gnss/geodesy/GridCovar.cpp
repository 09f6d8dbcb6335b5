#include "gnss/geodesy/GridCovar.h"

#include <algorithm>
#include <numbers>

#include "gnss/geodesy/GridSD.h"
#include "gnss/platform/Statistics.h"

namespace GNSS {

namespace {

constexpr double RootHalf = 0.5 * std::numbers::sqrt2;

}  // namespace

Grid::Covar::Covar(double a, double b) {
    const double t = (a * a) * (b * b);
    SetVariances(0.5 * t, 0.5 * t, t * RootHalf);
}

Grid::Covar::Covar(double a, double b, double c) {
    const double horizontal = a * a * (c * c) * RootHalf;
    SetVariances(horizontal, horizontal, b * b * (c * c));
}

void Grid::Covar::SetFrom(const SD& sd) {
    const double k = Corvane::NormalSDs(sd.GetPercent(), true);
    const double f = 1.0 / (k * k);
    const double east = sd.GetEast();
    const double north = sd.GetNorth();
    const double height = sd.GetHeight();
    SetVariances(east * east * f, north * north * f, height * height * f);
    SetCovariances(sd.GetCorrelationEastNorth() * east * north * f, sd.GetCorrelationEastHeight() * height * east * f,
                   sd.GetCorrelationNorthHeight() * height * north * f);
}

bool Grid::Covar::IsInvalid() const {
    return std::any_of(values_.begin(), values_.begin() + 3, [](double variance) { return variance < 0.0; });
}

void Grid::Covar::SetVariances(double east, double north, double height) {
    values_[East] = east;
    values_[North] = north;
    values_[Height] = height;
}

void Grid::Covar::SetCovariances(double eastNorth, double eastHeight, double northHeight) {
    values_[EastNorth] = eastNorth;
    values_[EastHeight] = eastHeight;
    values_[NorthHeight] = northHeight;
}

Grid::Covar::Place Grid::Covar::Find(int row, int column) {
    static constexpr Place Places[3][3] = {
        {East, EastNorth, EastHeight}, {Nowhere, North, NorthHeight}, {Nowhere, Nowhere, Height}};
    const bool isInside = row >= 0 && row < 3 && column >= 0 && column < 3;
    return isInside ? Places[row][column] : Nowhere;
}

double Grid::Covar::GetMatrixUpperValue(int row, int column) const {
    const Place place = Find(row, column);
    return place == Nowhere ? 0.0 : values_[place];
}

void Grid::Covar::SetMatrixUpperValue(int row, int column, double value) {
    const Place place = Find(row, column);
    if (place != Nowhere) values_[place] = value;
}

}  // namespace GNSS

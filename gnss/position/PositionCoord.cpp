#include "gnss/position/PositionCoord.h"

namespace GNSS {

const Corvane::Ident Position::Coord::ID("Position Coordinate");

Position::Coord* Position::Coord::Clone() const {
    return new Coord(*this);
}

void Position::Coord::Update(const Geog& geog, const Spheroid& spheroid) {
    spheroid_ = spheroid;  // first, since it may throw
    geog_ = geog;
}

ECEF Position::Coord::GetECEF() const {
    ECEF ecef;
    spheroid_.GeogToECEF(geog_, ecef);
    return ecef;
}

}  // namespace GNSS

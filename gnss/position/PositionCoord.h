// GNSS::Position::Coord: the coordinate of a fix.
#pragma once

#include "gnss/geodesy/ECEF.h"
#include "gnss/geodesy/Geog.h"
#include "gnss/geodesy/Spheroid.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Symbol.h"
#include "gnss/position/Position.h"
#include "gnss/position/PositionAttribute.h"

namespace GNSS {

// A geographic position and the ellipsoid that its latitude and height refer to.
class GNSS_EXPORT Position::Coord final : public Attribute {
public:
    Coord(const Geog& geog, const Spheroid& spheroid) : Attribute(ID), geog_(geog), spheroid_(spheroid) {}
    [[nodiscard]] Coord* Clone() const override;

    // Replaces both.
    void Update(const Geog& geog, const Spheroid& spheroid);
    [[nodiscard]] const Geog& GetGeog() const { return geog_; }
    [[nodiscard]] const Spheroid& GetSpheroid() const { return spheroid_; }
    // Earth-centred, in metres, in the frame of the ellipsoid.
    [[nodiscard]] ECEF GetECEF() const;

    // Under which a position has it.
    static const Corvane::Ident ID;

private:
    Geog geog_;
    Spheroid spheroid_;
};

}  // namespace GNSS

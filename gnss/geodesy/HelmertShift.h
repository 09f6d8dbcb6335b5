// GNSS::HelmertShift: a seven-parameter similarity transformation between two earth-centred frames.
#pragma once

#include "gnss/geodesy/ECEF.h"
#include "gnss/platform/Angle.h"
#include "gnss/platform/Degree.h"

namespace GNSS {

// A translation (metres), small rotations about the three axes (radians inside) and a change of scale (parts per
// million), applied to first order: a positive rotation about Z moves a point on the X axis towards -Y. Forward and
// then Reverse gives back the input to first order in rotations and scale only: 1 arc-second and 1 ppm at 26,000 km
// leave 0.6 mm.
class HelmertShift {
public:
    constexpr HelmertShift() = default;
    // Metres, arc-seconds, parts per million.
    constexpr HelmertShift(double dX, double dY, double dZ, double rX, double rY, double rZ, double ppm) {
        SetShift(dX, dY, dZ);
        SetRotationS(rX, rY, rZ);
        SetScale(ppm);
    }

    constexpr void SetShift(double dX, double dY, double dZ) { shift_.Set(dX, dY, dZ); }
    // In arc-seconds.
    constexpr void SetRotationS(double rX, double rY, double rZ) {
        rotationX_ = FromArcSeconds(rX);
        rotationY_ = FromArcSeconds(rY);
        rotationZ_ = FromArcSeconds(rZ);
    }
    constexpr void SetScale(double ppm) { scale_ = ppm; }

    [[nodiscard]] constexpr const ECEF& GetShift() const { return shift_; }
    [[nodiscard]] constexpr Corvane::Angle GetRotationX() const { return rotationX_; }
    [[nodiscard]] constexpr Corvane::Angle GetRotationY() const { return rotationY_; }
    [[nodiscard]] constexpr Corvane::Angle GetRotationZ() const { return rotationZ_; }
    [[nodiscard]] constexpr double GetScale() const { return scale_; }

    // The input and the output may be one object.
    constexpr void Forward(const ECEF& in, ECEF& out) const {
        const double s = 1.0 + scale_ * 1e-6;
        const double rX = rotationX_.Radians();
        const double rY = rotationY_.Radians();
        const double rZ = rotationZ_.Radians();
        out.Set(shift_.GetX() + s * in.GetX() + rZ * in.GetY() - rY * in.GetZ(),
                shift_.GetY() - rZ * in.GetX() + s * in.GetY() + rX * in.GetZ(),
                shift_.GetZ() + rY * in.GetX() - rX * in.GetY() + s * in.GetZ());
    }
    constexpr void Reverse(const ECEF& in, ECEF& out) const {
        const double s = 1.0 - scale_ * 1e-6;  // the first-order inverse, not 1 / s
        const double rX = rotationX_.Radians();
        const double rY = rotationY_.Radians();
        const double rZ = rotationZ_.Radians();
        const ECEF::Delta d = in - shift_;
        out.Set(s * d.GetX() - rZ * d.GetY() + rY * d.GetZ(), rZ * d.GetX() + s * d.GetY() - rX * d.GetZ(),
                -rY * d.GetX() + rX * d.GetY() + s * d.GetZ());
    }

private:
    static constexpr Corvane::Angle FromArcSeconds(double seconds) {
        return Corvane::Degree(0, 0, seconds, seconds < 0.0).ToAngle();
    }

    ECEF shift_;
    Corvane::Angle rotationX_;
    Corvane::Angle rotationY_;
    Corvane::Angle rotationZ_;
    double scale_ = 0.0;
};

namespace Glonass {

// From the frames in which GLONASS broadcasts to that of GPS.
inline constexpr HelmertShift PE90_to_WGS84(0.0, 0.0, 1.0, 0.0, 0.0, -0.20626, 0.0);
inline constexpr HelmertShift NovatelShift(0.0, 2.5, 0.0, 0.0, 0.0, -0.39190313, 0.0);  // as NovAtel receivers do
inline constexpr HelmertShift ZeroShift;

}  // namespace Glonass

}  // namespace GNSS

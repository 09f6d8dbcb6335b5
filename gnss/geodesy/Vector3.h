// The vector arithmetic that earth-centred and local-grid differences share.
#pragma once

#include <cmath>

namespace GNSS {

// A difference or direction of three components. `Self` is the class derived from it, which names the components;
// vectors of different classes do not mix.
template <typename Self>
class Vector3 {
public:
    constexpr void Set(double first, double second, double third) {
        first_ = first;
        second_ = second;
        third_ = third;
    }
    constexpr void Reset() { Set(0.0, 0.0, 0.0); }

    [[nodiscard]] double Magnitude() const { return std::sqrt(Dot(Derived())); }
    [[nodiscard]] constexpr double Dot(const Self& other) const {
        return first_ * other.first_ + second_ * other.second_ + third_ * other.third_;
    }
    [[nodiscard]] constexpr Self Cross(const Self& other) const {
        return Self(second_ * other.third_ - third_ * other.second_, third_ * other.first_ - first_ * other.third_,
                    first_ * other.second_ - second_ * other.first_);
    }
    // Gives the magnitude and brings the vector to length 1. False, and nothing changes, when the magnitude is 0.
    // Components beyond 1e154 overflow to a magnitude of infinity, below 1e-162 underflow to 0.
    bool Normalise(double& magnitude) {
        magnitude = Magnitude();
        if (magnitude == 0.0) return false;
        *this /= magnitude;
        return true;
    }
    // The named forms of *= and +=.
    constexpr Self& Times(double factor) { return *this *= factor; }
    constexpr Self& Add(const Self& other) { return *this += other; }

    constexpr Self& operator+=(const Self& other) {
        Set(first_ + other.first_, second_ + other.second_, third_ + other.third_);
        return Derived();
    }
    constexpr Self& operator-=(const Self& other) {
        Set(first_ - other.first_, second_ - other.second_, third_ - other.third_);
        return Derived();
    }
    constexpr Self& operator*=(double factor) {
        Set(first_ * factor, second_ * factor, third_ * factor);
        return Derived();
    }
    constexpr Self& operator/=(double divisor) {
        Set(first_ / divisor, second_ / divisor, third_ / divisor);
        return Derived();
    }
    friend constexpr Self operator-(const Self& a) { return Self(-a.first_, -a.second_, -a.third_); }
    friend constexpr Self operator+(Self a, const Self& b) { return a += b; }
    friend constexpr Self operator-(Self a, const Self& b) { return a -= b; }
    friend constexpr Self operator*(Self a, double factor) { return a *= factor; }
    friend constexpr Self operator*(double factor, Self a) { return a *= factor; }
    friend constexpr Self operator/(Self a, double divisor) { return a /= divisor; }

protected:
    constexpr Vector3() = default;
    constexpr Vector3(double first, double second, double third) : first_(first), second_(second), third_(third) {}

    double first_ = 0.0;
    double second_ = 0.0;
    double third_ = 0.0;

private:
    constexpr Self& Derived() { return static_cast<Self&>(*this); }
    constexpr const Self& Derived() const { return static_cast<const Self&>(*this); }
};

}  // namespace GNSS

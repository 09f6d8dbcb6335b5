// Corvane::QValue: a value with its quality.
#pragma once

#include <cmath>

namespace Corvane {

// A value and its standard deviation, both in the unit of the value. Combinations take the two values as uncorrelated.
class QValue {
public:
    constexpr QValue() = default;
    constexpr QValue(double value, double quality) : value_(value), quality_(quality) {}

    constexpr void Set(double value, double quality) { *this = QValue(value, quality); }
    constexpr void Reset() { *this = QValue(); }
    [[nodiscard]] constexpr double Value() const { return value_; }
    [[nodiscard]] constexpr double Quality() const { return quality_; }

    // The value times a factor; the standard deviation times its magnitude.
    [[nodiscard]] QValue Times(double factor) const { return {value_ * factor, quality_ * std::abs(factor)}; }
    // The sum; the standard deviation of a sum of uncorrelated values.
    [[nodiscard]] QValue Add(const QValue& other) const {
        return {value_ + other.value_, std::hypot(quality_, other.quality_)};
    }
    // The value negated, the quality kept.
    friend constexpr QValue operator-(const QValue& a) { return {-a.value_, a.quality_}; }
    friend constexpr bool operator==(const QValue&, const QValue&) = default;

private:
    double value_ = 0.0;
    double quality_ = 0.0;
};

}  // namespace Corvane

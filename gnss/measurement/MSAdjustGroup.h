// What the satellites of an epoch agree on, for MSAdjust.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <optional>

#include "gnss/time/GlonassSlot.h"
#include "gnss/time/PRN.h"

namespace GNSS {

// How far x lies from the nearest whole number.
inline double ResidualMS(double x) {
    return x - std::round(x);
}

// Whole milliseconds with the number of satellites that have them; one for each satellite at most.
class MSTally {
public:
    void Add(int ms) {
        ++nmr_;
        for (std::size_t i = 0; i < nmrValues_; ++i) {
            if (values_[i].ms == ms) {
                ++values_[i].nmr;
                return;
            }
        }
        values_[nmrValues_++] = {ms, 1};
    }

    struct Value {
        int ms = 0;
        int nmr = 0;
    };
    // The most frequent; of equals the one nearest zero, then the greater.
    [[nodiscard]] Value Best() const {
        Value best;
        for (std::size_t i = 0; i < nmrValues_; ++i) {
            const Value& value = values_[i];
            const int nearer = std::abs(best.ms) - std::abs(value.ms);
            if (value.nmr > best.nmr ||
                (value.nmr == best.nmr && (nearer > 0 || (nearer == 0 && value.ms > best.ms)))) {
                best = value;
            }
        }
        return best;
    }
    // The value that more than half of the satellites have, at least two; none when there is no such value.
    [[nodiscard]] std::optional<int> Majority() const {
        const Value best = Best();
        return best.nmr >= 2 && 2 * best.nmr > nmr_ ? std::optional(best.ms) : std::nullopt;
    }

private:
    std::array<Value, PRN::Max + Glonass::Slot::Max> values_{};
    std::size_t nmrValues_ = 0;
    int nmr_ = 0;
};

// The differences measured - computed of an epoch in milliseconds, one for each satellite at most.
class MSDifferences {
public:
    // `tolerance` in milliseconds.
    explicit MSDifferences(double tolerance) : tolerance_(tolerance) {}

    void Add(double ms) { values_[nmr_++] = ms; }
    [[nodiscard]] int Nmr() const { return static_cast<int>(nmr_); }

    // The largest group of those that agree with one of them, whole milliseconds aside; of equals the closest one.
    struct Group {
        int nmr = 0;
        double reference = 0.0;  // the one that they agree with
        double mean = 0.0;       // of the group, from the reference
        double spread = 0.0;     // sum of the distances from the reference
    };
    [[nodiscard]] Group FindGroup() const {
        Group best;
        for (std::size_t i = 0; i < nmr_; ++i) {
            Group group{.nmr = 0, .reference = values_[i], .mean = 0.0, .spread = 0.0};
            for (std::size_t j = 0; j < nmr_; ++j) {
                const double residual = ResidualMS(values_[j] - group.reference);
                if (!(std::abs(residual) <= tolerance_)) continue;
                ++group.nmr;
                group.mean += residual;
                group.spread += std::abs(residual);
            }
            group.mean /= group.nmr;
            if (group.nmr > best.nmr || (group.nmr == best.nmr && group.spread < best.spread)) best = group;
        }
        return best;
    }

private:
    std::array<double, PRN::Max + Glonass::Slot::Max> values_{};
    std::size_t nmr_ = 0;
    double tolerance_;
};

}  // namespace GNSS

#include "host/report/Differences.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <set>
#include <tuple>

#include "gnss/time/Constants.h"

namespace Host {

using GNSS::ECEF;
using GNSS::GPSTime;

namespace {

constexpr double EarthRate = 7.2921151467e-5;  // rad/s

ECEF::Delta Cross(const ECEF::Delta& a, const ECEF::Delta& b) {
    return {a.GetY() * b.GetZ() - a.GetZ() * b.GetY(), a.GetZ() * b.GetX() - a.GetX() * b.GetZ(),
            a.GetX() * b.GetY() - a.GetY() * b.GetX()};
}

// The velocity of a precise orbit, earth-fixed, by the derivative of the polynomial through the nine nearest epochs (or
// as many as there are). Good to millimetres per second at 15-minute epochs, of which the axes need far less.
std::optional<ECEF::Delta> Velocity(const Sp3& file, std::size_t epoch, const Sp3::State& state) {
    if (state.vely) return state.vely;
    constexpr std::size_t Most = 9;
    std::size_t first = epoch > Most / 2 ? epoch - Most / 2 : 0;
    first = std::min(first, file.GetNmrEpochs() > Most ? file.GetNmrEpochs() - Most : 0);
    std::vector<double> times;
    std::vector<ECEF> posns;
    std::size_t here = Most;
    for (std::size_t i = first; i < std::min(first + Most, file.GetNmrEpochs()); ++i) {
        const Sp3::State* other = file.Find(i, state.system, state.number);
        if (other == nullptr || !other->posn) continue;
        if (i == epoch) here = times.size();
        times.push_back((file.GetTime(i) - file.GetTime(epoch)).Seconds());
        posns.push_back(*other->posn);
    }
    if (times.size() < 4 || here >= times.size()) return std::nullopt;
    // Derivative of Lagrange's polynomial at one of its nodes.
    ECEF::Delta velocity;
    for (std::size_t k = 0; k < times.size(); ++k) {
        double weight = 0.0;
        if (k == here) {
            for (std::size_t m = 0; m < times.size(); ++m) {
                if (m != here) weight += 1.0 / (times[here] - times[m]);
            }
        } else {
            weight = 1.0 / (times[k] - times[here]);
            for (std::size_t m = 0; m < times.size(); ++m) {
                if (m != k && m != here) weight *= (times[here] - times[m]) / (times[k] - times[m]);
            }
        }
        velocity += (posns[k] - ECEF()) * weight;
    }
    return velocity;
}

// Of at least one number, all of them finite.
double Median(std::vector<double> values) {
    std::ranges::sort(values);
    const std::size_t n = values.size();
    return n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2.0;
}

}  // namespace

double OrbitDifference::Length() const {
    return std::hypot(radial, along, cross);
}

OrbitDifference Resolve(const ECEF& broadcast, const ECEF& precise, const ECEF::Delta& preciseVely) {
    const ECEF::Delta r = precise - ECEF();
    const ECEF::Delta inertial = preciseVely + Cross({0.0, 0.0, EarthRate}, r);
    const ECEF::Delta normal = Cross(r, inertial);
    const ECEF::Delta forward = Cross(normal, r);
    const ECEF::Delta difference = broadcast - precise;
    return {difference.Dot(r) / r.Magnitude(), difference.Dot(forward) / forward.Magnitude(),
            difference.Dot(normal) / normal.Magnitude()};
}

Figures MakeFigures(std::vector<double> values) {
    std::erase_if(values, [](double value) { return !std::isfinite(value); });
    Figures figures;
    figures.count = values.size();
    if (values.empty()) return figures;
    const auto n = static_cast<double>(values.size());
    figures.mean = std::accumulate(values.begin(), values.end(), 0.0) / n;
    figures.rms = std::sqrt(std::inner_product(values.begin(), values.end(), values.begin(), 0.0) / n);
    for (double& value : values) value = std::abs(value);
    figures.median = Median(values);
    std::ranges::sort(values);
    // Between the two values that stand around it, as most statistics programs do.
    const double at = 0.95 * (n - 1.0);
    const auto below = static_cast<std::size_t>(at);
    const std::size_t above = std::min(below + 1, values.size() - 1);
    figures.percentile95 = values[below] + (at - static_cast<double>(below)) * (values[above] - values[below]);
    figures.max = values.back();
    return figures;
}

std::vector<Comparison> Compare(const EphemerisSet& set, const std::vector<Sp3>& precise,
                                const ComparisonOptions& options) {
    std::vector<Comparison> all;
    std::set<std::tuple<int, double, char, int>> taken;
    for (const Sp3& file : precise) {
        for (std::size_t epoch = 0; epoch < file.GetNmrEpochs(); ++epoch) {
            const GPSTime& t = file.GetTime(epoch);
            if (options.atEpoch) options.atEpoch(t);
            std::map<char, std::vector<std::size_t>> withClock;
            for (const Sp3::State& state : file.GetStates(epoch)) {
                if (!taken.emplace(t.GetWeek(), t.GetSeconds(), state.system, state.number).second) continue;
                Comparison c;
                c.time = t;
                c.system = state.system;
                c.number = state.number;
                c.state = set.Calculate(state.system, state.number, t, options.rule);
                if (state.system == 'R' && options.glonassMaxAge && c.state.standing == Standing::Good &&
                    std::abs(c.state.age) > *options.glonassMaxAge) {
                    c.state.standing = Standing::TooOld;
                }
                const auto velocity = state.posn ? Velocity(file, epoch, state) : std::nullopt;
                c.hasPrecise = velocity.has_value();
                if (c.hasPrecise && c.state.hasPosn) {
                    ECEF broadcast = c.state.posn;
                    if (state.system == 'R' && options.shift != nullptr) options.shift->Forward(broadcast, broadcast);
                    c.orbit = Resolve(broadcast, *state.posn, *velocity);
                    c.isCompared = c.state.standing == Standing::Good && std::isfinite(c.orbit.Length());
                    if (c.isCompared && state.clock) {
                        // The precise clocks of GPS leave out the periodic term of an eccentric orbit, -2 r.v / c^2;
                        // the tau of GLONASS has none either.
                        double clock = c.state.clock;
                        if (state.system == 'G') {
                            clock +=
                                2.0 * (c.state.posn - ECEF()).Dot(c.state.vely) / (GNSS::LightSpeed * GNSS::LightSpeed);
                        }
                        c.clock = (clock - *state.clock) * GNSS::LightSpeed;
                        withClock[state.system].push_back(all.size());
                    }
                }
                all.push_back(c);
            }
            for (const auto& [system, indexes] : withClock) {
                if (indexes.size() == 1) {
                    all[indexes.front()].clock.reset();
                    continue;
                }
                std::vector<double> clocks;
                for (const std::size_t i : indexes) clocks.push_back(*all[i].clock);
                const double median = Median(clocks);
                for (const std::size_t i : indexes) *all[i].clock -= median;
            }
        }
    }
    return all;
}

}  // namespace Host

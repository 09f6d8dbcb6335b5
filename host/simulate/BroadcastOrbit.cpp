#include "host/simulate/BroadcastOrbit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace Host {

namespace {

using Vector = SimulatedOrbits::Vector;

// The elements in a form that does not mind a circle: h = e sin omega, k = e cos omega, L = M0 + omega. In this order
// those of an almanac come first.
enum Unknown : std::size_t { SqrtA, H, K, L, Node, I0, NodeRate, DeltaN, IRate, Crc, Crs, Cuc, Cus, Cic, Cis, Count };
constexpr std::size_t AlmanacCount = 7;
using Unknowns = std::array<double, Count>;

// Of the numerical derivatives: each moves the satellite by some metres.
constexpr Unknowns Steps{1e-3, 1e-7, 1e-7, 1e-7, 1e-7, 1e-7, 1e-11, 1e-11, 1e-11, 1.0, 1.0, 1e-7, 1e-7, 1e-7, 1e-7};
// How far from their first values the elements may be, for the weak observations; 0 for none.
constexpr Unknowns Loose{0, 0, 0, 0, 0, 0, 3e-9, 3e-9, 3e-9, 300.0, 300.0, 1e-5, 1e-5, 3e-7, 3e-7};
constexpr double SampleSD = 0.1;  // m, against which these are weighed

BroadcastOrbit ToElements(const Unknowns& x) {
    BroadcastOrbit orbit;
    orbit.sqrtA = x[SqrtA];
    orbit.e = std::hypot(x[H], x[K]);
    orbit.omega = std::atan2(x[H], x[K]);
    orbit.M0 = x[L] - orbit.omega;
    orbit.node = x[Node];
    orbit.i0 = x[I0];
    orbit.nodeRate = x[NodeRate];
    orbit.deltaN = x[DeltaN];
    orbit.iRate = x[IRate];
    orbit.Crc = x[Crc];
    orbit.Crs = x[Crs];
    orbit.Cuc = x[Cuc];
    orbit.Cus = x[Cus];
    orbit.Cic = x[Cic];
    orbit.Cis = x[Cis];
    return orbit;
}

// The osculating ellipse, with the usual motion of the node.
Unknowns Osculate(const SimulatedOrbits::State& state) {
    const Vector& p = state.posn;
    const Vector& v = state.vely;
    const double r = p.Magnitude();
    const double gravity = SimulatedOrbits::Gravity;
    const double a = 1.0 / (2.0 / r - v.Dot(v) / gravity);
    const Vector normal = p.Cross(v);
    const double node = std::atan2(normal.GetX(), -normal.GetY());
    const double i = std::atan2(std::hypot(normal.GetX(), normal.GetY()), normal.GetZ());
    const Vector toPerigee = v.Cross(normal) / gravity - p / r;  // as long as the eccentricity
    const Vector toNode(std::cos(node), std::sin(node), 0.0);
    const Vector across = normal.Cross(toNode) / normal.Magnitude();
    const double k = toPerigee.Dot(toNode);
    const double h = toPerigee.Dot(across);
    const double e = std::hypot(h, k);
    const double omega = std::atan2(h, k);
    const double anomaly = std::atan2(p.Dot(across), p.Dot(toNode)) - omega;
    const double E = 2.0 * std::atan(std::sqrt((1.0 - e) / (1.0 + e)) * std::tan(anomaly / 2.0));
    const double ratio = SimulatedOrbits::EarthRadius / a;
    const double n = std::sqrt(gravity / (a * a * a));
    const double flattening = 1.5 * SimulatedOrbits::J2 * ratio * ratio;

    Unknowns x{};
    x[SqrtA] = std::sqrt(a);
    x[H] = h;
    x[K] = k;
    x[L] = E - e * std::sin(E) + omega;
    x[Node] = node;
    x[I0] = i;
    x[NodeRate] = -flattening * n * std::cos(i);
    x[DeltaN] = flattening * n * (2.0 - 3.0 * std::pow(std::sin(i), 2.0));
    return x;
}

// Solves by Householder reflections (in place). Rows of Count + 1 numbers, the last one the right side; columns beyond
// `columns` are not looked at.
using Row = std::array<double, Count + 1>;

Unknowns SolveLeastSquares(std::vector<Row>& rows, std::size_t columns) {
    for (std::size_t c = 0; c < columns; ++c) {
        double norm = 0.0;
        for (std::size_t r = c; r < rows.size(); ++r) norm += rows[r][c] * rows[r][c];
        norm = rows[c][c] > 0.0 ? -std::sqrt(norm) : std::sqrt(norm);
        if (norm == 0.0) continue;
        const double head = rows[c][c] - norm;
        const double scale = 1.0 / (norm * head);  // -2 over the squared length of the reflected vector
        rows[c][c] = head;
        for (std::size_t j = c + 1; j <= Count; ++j) {
            if (j >= columns && j != Count) continue;
            double dot = 0.0;
            for (std::size_t r = c; r < rows.size(); ++r) dot += rows[r][c] * rows[r][j];
            dot *= scale;
            for (std::size_t r = c; r < rows.size(); ++r) rows[r][j] += dot * rows[r][c];
        }
        rows[c][c] = norm;
    }
    Unknowns x{};
    for (std::size_t c = columns; c-- > 0;) {
        double sum = rows[c][Count];
        for (std::size_t j = c + 1; j < columns; ++j) sum -= rows[c][j] * x[j];
        x[c] = rows[c][c] == 0.0 ? 0.0 : sum / rows[c][c];
    }
    return x;
}

}  // namespace

double BroadcastOrbit::GetEccentricAnomaly(double tk) const {
    const double a = sqrtA * sqrtA;
    const double M = M0 + (std::sqrt(SimulatedOrbits::Gravity / (a * a * a)) + deltaN) * tk;
    // Newton's method: from an eccentricity of 0.02, 1e-16 after three steps.
    double E = M + e * std::sin(M);
    for (int i = 0; i < 3; ++i) E -= (E - e * std::sin(E) - M) / (1.0 - e * std::cos(E));
    return E;
}

double BroadcastOrbit::GetRelativity(double tk) const {
    constexpr double F = -4.442807633e-10;  // s/m^0.5
    return F * e * sqrtA * std::sin(GetEccentricAnomaly(tk));
}

Vector BroadcastOrbit::At(double tk) const {
    const double a = sqrtA * sqrtA;
    const double E = GetEccentricAnomaly(tk);
    const double v = std::atan2(std::sqrt(1.0 - e * e) * std::sin(E), std::cos(E) - e);
    const double latitude = v + omega;
    const double s = std::sin(2.0 * latitude);
    const double c = std::cos(2.0 * latitude);
    const double u = latitude + Cuc * c + Cus * s;
    const double r = a * (1.0 - e * std::cos(E)) + Crc * c + Crs * s;
    const double i = i0 + iRate * tk + Cic * c + Cis * s;
    const double x = r * std::cos(u);
    const double y = r * std::sin(u);
    return SimulatedOrbits::Turn(Vector(x, y * std::cos(i), y * std::sin(i)), -(node + nodeRate * tk));
}

double BroadcastOrbit::GetNodeAtWeekStart(double secondsOfWeek) const {
    return std::remainder(node + SimulatedOrbits::EarthRate * secondsOfWeek, 2.0 * std::numbers::pi);
}

BroadcastOrbit FitBroadcastOrbit(const SimulatedOrbits::State& state, std::span<const OrbitSample> samples,
                                 bool almanac) {
    constexpr int MaxIterations = 8;
    constexpr double Enough = 0.1;  // of a numerical step: decimetres, from where the next change is far below
    const std::size_t columns = almanac ? AlmanacCount : Count;
    const Unknowns usual = Osculate(state);
    Unknowns x = usual;
    if (almanac) x[DeltaN] = 0.0;
    std::vector<Row> rows;
    for (int iteration = 0; iteration < MaxIterations; ++iteration) {
        rows.clear();
        const BroadcastOrbit orbit = ToElements(x);
        std::array<BroadcastOrbit, Count> moved;
        for (std::size_t c = 0; c < columns; ++c) {
            Unknowns other = x;
            other[c] += Steps[c];
            moved[c] = ToElements(other);
        }
        // The unknowns in numerical steps.
        for (const OrbitSample& sample : samples) {
            const Vector at = orbit.At(sample.tk);
            const double sd = SampleSD * sample.sd;
            const Vector rest = (sample.posn - at) / sd;
            const std::size_t first = rows.size();
            rows.resize(first + 3);
            for (std::size_t c = 0; c < columns; ++c) {
                const Vector d = (moved[c].At(sample.tk) - at) / sd;
                rows[first][c] = d.GetX();
                rows[first + 1][c] = d.GetY();
                rows[first + 2][c] = d.GetZ();
            }
            rows[first][Count] = rest.GetX();
            rows[first + 1][Count] = rest.GetY();
            rows[first + 2][Count] = rest.GetZ();
        }
        for (std::size_t c = 0; c < columns && !almanac; ++c) {
            if (Loose[c] == 0.0) continue;
            Row& row = rows.emplace_back();
            row[c] = Steps[c] / Loose[c];
            row[Count] = (usual[c] - x[c]) / Loose[c];
        }
        const Unknowns change = SolveLeastSquares(rows, columns);
        double most = 0.0;
        for (std::size_t c = 0; c < columns; ++c) {
            x[c] += change[c] * Steps[c];
            most = std::max(most, std::abs(change[c]));
        }
        if (most < Enough) break;
    }
    BroadcastOrbit orbit = ToElements(x);
    orbit.M0 = std::remainder(orbit.M0, 2.0 * std::numbers::pi);
    orbit.node = std::remainder(orbit.node, 2.0 * std::numbers::pi);
    return orbit;
}

}  // namespace Host

#include "gnss/geodesy/Kepler.h"

#include <cmath>

namespace GNSS {

namespace {

constexpr int MaxSteps = 10;
constexpr double Enough = 1e-15;

// The first guess, with the sine and cosine that the library functions give for it.
constexpr EccentricAnomalyResult FirstGuess{3.1415926535898, -6.982962677686267e-15, -1.0};

// Moves an estimate by d. A small step turns sine and cosine by their series (the next terms are below 1e-22), which
// costs a fraction of a call of the library's functions.
void Step(EccentricAnomalyResult& at, double d) {
    at.E += d;
    if (std::abs(d) > 0.01) {
        at.sinE = std::sin(at.E);
        at.cosE = std::cos(at.E);
        return;
    }
    const double q = d * d;
    const double sinD = d * (1.0 - q * (1.0 / 6.0 - q * (1.0 / 120.0 - q * (1.0 / 5040.0))));
    const double versD = q * (0.5 - q * (1.0 / 24.0 - q * (1.0 / 720.0)));  // 1 - cos d
    const double sinE = at.sinE;
    at.sinE += at.cosE * sinD - sinE * versD;
    at.cosE -= sinE * sinD + at.cosE * versD;
}

}  // namespace

EccentricAnomalyResult SolveKepler(double M, double e, KeplerStop stop) {
    EccentricAnomalyResult at = FirstGuess;
    for (int step = 0; step < MaxSteps; ++step) {
        const double residual = M - (at.E - e * at.sinE);
        Step(at, residual / (1.0 - e * at.cosE));
        const double size = std::abs(residual);
        if (stop == KeplerStop::Below ? size < Enough : size <= Enough) break;
    }
    return at;
}

}  // namespace GNSS

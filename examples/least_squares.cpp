// A levelling loop with a blunder in it: adjusted, tested, and adjusted again without the faulty observation.
#include <array>
#include <iostream>

#include "gnss/platform/LLSq.h"

int main() {
    Corvane::LLSq adjustment(2);  // the heights of B and C above A, metres
    const double sd = 0.002;
    adjustment.AddObs(std::array{1.0, 0.0}, 1.502, sd);   // A to B
    adjustment.AddObs(std::array{-1.0, 1.0}, 0.749, sd);  // B to C
    adjustment.AddObs(std::array{0.0, 1.0}, 2.252, sd);   // A to C
    adjustment.AddObs(std::array{1.0, 0.0}, 1.499, sd);   // A to B again
    adjustment.AddObs(std::array{0.0, 1.0}, 2.272, sd);   // A to C again, misread by 2 cm
    while (adjustment.Solve()) {
        const Corvane::LLSq::Stats& stats = adjustment.GetStats();
        std::cout << "B " << adjustment.GetUnknown(0) << " m, C " << adjustment.GetUnknown(1) << " m, F-test "
                  << (stats.FTestFailed() ? "failed" : "passed") << ", MDB of the first observation "
                  << stats.GetResid(0).GetMDB() << " m\n";
        const int worst = stats.IndexToReject();
        if (worst < 0) break;
        std::cout << "observation " << worst + 1 << " rejected, w = " << stats.GetResid(worst).GetStandardised()
                  << '\n';
        adjustment.SetRejected(worst, true);
    }
}

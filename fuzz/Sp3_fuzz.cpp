// SP3: whatever the text, epochs rise, no satellite stands twice in one, and all numbers that are there are finite.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "host/receiver/Sp3.h"

namespace {

void Check(bool holds) {
    if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Host::Sp3 sp3;
    Host::FileError error;
    if (!sp3.Parse(std::string_view(reinterpret_cast<const char*>(data), size), "fuzz", error)) {
        Check(!error.reason.empty() && sp3.GetNmrEpochs() == 0);
        return 0;
    }
    Check(sp3.warnings.GetCount() >= sp3.nmrRefused);
    for (std::size_t i = 0; i < sp3.GetNmrEpochs(); ++i) {
        Check(i == 0 || sp3.GetTime(i - 1) < sp3.GetTime(i));
        for (const Host::Sp3::State& state : sp3.GetStates(i)) {
            Check(sp3.Find(i, state.system, state.number) == &state);
            Check(!state.posn || std::isfinite(state.posn->Radius()));
            Check(!state.vely || std::isfinite(state.vely->Magnitude()));
            Check(!state.clock || std::abs(*state.clock) < 1.0);
            Check(!state.clockRate || std::isfinite(*state.clockRate));
        }
    }
    return 0;
}

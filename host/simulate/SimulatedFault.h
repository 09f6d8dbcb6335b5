// SimulatedFault: something that goes wrong in a simulation on request.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Host {

struct SimulatedFault {
    enum class Kind : std::uint8_t {
        Step,       // the range is longer by `size` m; phase and Doppler are not touched
        Ramp,       // the range grows by `size` m/s more than it should; phase and Doppler are not touched
        Clock,      // the satellite's clock drifts by `size` m/s that no message tells: range, phase and Doppler
        Unhealthy,  // the satellite's messages say that it is not to be used
        Orbit,      // its ephemerides put it `size` m ahead along its way
        Mixed,      // its ephemerides are those of the satellite `other`
        BitErrors,  // each bit of the messages is wrong with the probability `size`
        Outage,     // nothing is received
        Leap,       // a second is inserted at the end of the day of UTC; announced from the start of the simulation
    };
    static constexpr double Endless = std::numeric_limits<double>::infinity();

    Kind kind = Kind::Step;
    char system = 0;          // 'G', 'R', or 0 for both
    int number = 0;           // PRN or slot, 0 for every one
    double start = 0.0;       // s after the simulation's start
    double length = Endless;  // s; what has built up is gone at the end
    double size = 0.0;
    int other = 0;  // PRN or slot of the same system

    [[nodiscard]] bool Concerns(char letter, int satellite) const {
        return (system == 0 || system == letter) && (number == 0 || number == satellite);
    }
    // At a time in seconds after the simulation's start. Epochs are whole by the receiver's clock, which is within half
    // a millisecond of it: one at the start of a fault has it, one at its end has not.
    [[nodiscard]] bool IsActive(double t) const {
        constexpr double ClockSlack = 1e-3;
        return t + ClockSlack >= start && t + ClockSlack < start + length;
    }

    friend bool operator==(const SimulatedFault&, const SimulatedFault&) = default;
};

// Of a list, what happens to a satellite at a time.
class SimulatedFaults {
public:
    SimulatedFaults() = default;
    explicit SimulatedFaults(std::vector<SimulatedFault> faults) : faults_(std::move(faults)) {}

    [[nodiscard]] const std::vector<SimulatedFault>& Get() const { return faults_; }
    // The first that is active; null without one.
    [[nodiscard]] const SimulatedFault* Find(SimulatedFault::Kind kind, char system, int number, double t) const;
    // What is added to the code range, and to all that is measured, m.
    [[nodiscard]] double GetCodeError(char system, int number, double t) const;
    [[nodiscard]] double GetClockError(char system, int number, double t) const;
    // How often by then what the satellite's ephemerides say has changed by a fault's start or end.
    [[nodiscard]] int CountMessageChanges(char system, int number, double t) const;

private:
    std::vector<SimulatedFault> faults_;
};

// A fault as it is written on a command line: the kind, the satellite (G05, R14, G, R or all; of a leap none), and what
// else is known of it, separated by commas:
//   step,G05,at=600,for=120,size=20     ramp,R03,at=600,for=300,size=0.5    clock,G12,at=900,size=0.2
//   unhealthy,G07,at=600,for=600        orbit,G09,at=600,size=500           mixed,G01,with=G17
//   bits,all,size=1e-3                  outage,all,at=300,for=60            leap,at=600
// Times in seconds; without `at` from the start, without `for` to the end. Nothing, and what is wrong in `fault`, when
// it is not understood.
[[nodiscard]] std::optional<SimulatedFault> ParseFault(std::string_view text, std::string& fault);

}  // namespace Host

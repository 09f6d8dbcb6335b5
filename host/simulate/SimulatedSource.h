// SimulatedSource: the simulated receiver as a live source.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "host/live/Descriptor.h"
#include "host/live/LiveSource.h"
#include "host/simulate/Simulator.h"

namespace Host {

// Sends what the receiver sends when its time has come, at so many times real speed, and stops after a
// span. What was missed by a delay comes late, and is not left out.
class SimulatedSource : public LiveSource {
public:
    static constexpr const char* Address = "simulator";
    static constexpr double MaxSpeed = 10'000.0;

    SimulatedSource(const SimulatorSettings& settings, double speed, std::optional<double> duration,
                    const LiveSettings& live, LiveSink& sink);
    ~SimulatedSource() override { Close(); }
    void AddWanted(std::vector<pollfd>& wanted) const override;

protected:
    void Open() override;
    void Close() override { timer_.Close(); }
    void OnDescriptor(const pollfd& ready) override;
    // Slow is not silent.
    void OnSilence() override { Watch(); }

private:
    SimulatorSettings settings_;
    double speed_;
    std::optional<std::int64_t> lastEpoch_;
    std::unique_ptr<Simulator> simulator_;
    Descriptor timer_;
    std::uint64_t due_ = 0;  // epochs whose time has come
    std::string bytes_;
};

}  // namespace Host

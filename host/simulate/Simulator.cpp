#include "host/simulate/Simulator.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "gnss/platform/Number.h"
#include "host/simulate/ControlSegment.h"
#include "host/simulate/NominalSky.h"
#include "host/simulate/SimulatedReceiver.h"
#include "host/simulate/UbxWriter.h"

namespace Host {

using Corvane::ToInt64;
using GNSS::GPSTime;
using Kind = SimulatedFault::Kind;

namespace {

constexpr double SubframeLength = 6.0;
constexpr double StringLength = 2.0;
constexpr double GlonassFrame = 30.0;
constexpr double Delay = 0.08;  // s from the end of a message's transmission to its own
// How long a receiver goes without telling the time, s.
constexpr double TimeInterval = 6.0;
constexpr std::uint64_t BitNoise = 201;

// Midnight of GPS time before everything that is asked for, and four hours more for the day of Moscow.
GPSTime OriginOf(const SimulatorSettings& settings) {
    constexpr double Before = 4.0 * 3600.0;
    const GPSTime first = settings.start - Corvane::Time(settings.warmUp + Before);
    return GPSTime(first.GetWeek(), std::floor(first.GetSeconds() / GPSTime::SecsInDay) * GPSTime::SecsInDay) -
           Corvane::Time(Before);
}

std::optional<GPSTime> LeapOf(const SimulatorSettings& settings) {
    const auto& faults = settings.faults;
    const auto leap = std::find_if(faults.begin(), faults.end(), [](const auto& f) { return f.kind == Kind::Leap; });
    if (leap == faults.end()) return std::nullopt;
    return settings.start + Corvane::Time(leap->start);
}

std::vector<SimulatedOrbits::State> StatesOf(const std::vector<SimulatedSatellite>& sky) {
    std::vector<SimulatedOrbits::State> states;
    states.reserve(sky.size());
    for (const SimulatedSatellite& satellite : sky) states.push_back(satellite.state);
    return states;
}

}  // namespace

class Simulator::Body {
public:
    explicit Body(const SimulatorSettings& settings)
        : settings_(settings),
          faults_(settings.faults),
          noise_(settings.seed),
          clock_(OriginOf(settings), LeapOf(settings)),
          sky_(MakeNominalSky(clock_.GetOrigin(), noise_)),
          orbits_(clock_.GetOrigin(), StatesOf(sky_)),
          start_(clock_.FromGPS(settings.start)),
          control_(clock_, orbits_, sky_, faults_, start_),
          receiver_(settings_, faults_, noise_, clock_, sky_, orbits_, control_.GetIono(), start_) {
        const double first = start_ - settings.warmUp;
        const double seconds = (clock_.ToGPS(first) - GPSTime::Zero).Seconds();
        nextSubframe_ = ToInt64(std::ceil(seconds / SubframeLength - 1e-6));
        nextString_ = ToInt64(std::ceil(clock_.ToMoscow(first) / StringLength - 1e-6));
        lastTold_ = first - TimeInterval;
    }

    SimulatedTruth Next(std::string& bytes) {
        UbxWriter writer(bytes);
        const double until = start_ + static_cast<double>(epoch_) * settings_.interval;
        WriteMessages(writer, until);
        SimulatedTruth truth = receiver_.Measure(epoch_, measurements_);
        const int leaps = clock_.GetLeapSeconds(until);
        truth.leapSeconds = leaps;
        writer.WriteTime(truth.time, leaps);
        writer.WriteMeasurements(truth.time, leaps, receiver_.HasReset(), measurements_);
        lastTold_ = until;
        ++epoch_;
        constexpr double Kept = 28.0 * 3600.0;
        orbits_.Forget(until - Kept);
        return truth;
    }

    bool GetTruth(char system, int number, const GPSTime& time, Satellite& satellite) {
        const double t = clock_.FromGPS(time);
        if (t < orbits_.GetFirst()) return false;
        for (std::size_t i = 0; i < sky_.size(); ++i) {
            if (sky_[i].system != system || sky_[i].number != number) continue;
            const SimulatedOrbits::State inertial = orbits_.At(i, t);
            const SimulatedOrbits::State state = SimulatedOrbits::ToEarthFixed(inertial, t);
            satellite = {GNSS::ECEF() + state.posn, state.vely, ControlSegment::GetClock(sky_[i], inertial, t)};
            return true;
        }
        return false;
    }

    [[nodiscard]] const SimulatorSettings& GetSettings() const { return settings_; }

private:
    // Those that end before a time, in the order of their ends.
    void WriteMessages(UbxWriter& writer, double until) {
        for (;;) {
            const double subframe = clock_.FromGPS(GPSTime(0, static_cast<double>(nextSubframe_) * SubframeLength));
            const double moscow = static_cast<double>(nextString_) * StringLength;
            const double string = clock_.FromMoscow(moscow);
            const bool isString = string + StringLength < subframe + SubframeLength;
            const double end = (isString ? string + StringLength : subframe + SubframeLength) + Delay;
            if (end > until) return;
            if (end - lastTold_ >= TimeInterval) {
                writer.WriteTime(clock_.ToGPS(end), clock_.GetLeapSeconds(end));
                lastTold_ = end;
            }
            if (isString) {
                WriteStrings(writer, moscow, end);
                ++nextString_;
            } else {
                WriteSubframes(writer, subframe, end);
                ++nextSubframe_;
            }
        }
    }

    void WriteSubframes(UbxWriter& writer, double begin, double end) {
        for (std::size_t i = 0; settings_.gps && i < sky_.size(); ++i) {
            if (sky_[i].system != 'G' || !receiver_.Hears(i, end)) continue;
            auto words = control_.GetSubframe(i, begin).GetTransmitted();
            ForWrongBits(sky_[i], begin, 300, [&](unsigned bit) { words[bit / 30] ^= 1U << bit % 30; });
            writer.WriteSubframe(sky_[i].number, words);
        }
    }

    void WriteStrings(UbxWriter& writer, double moscow, double end) {
        for (std::size_t i = 0; settings_.glonass && i < sky_.size(); ++i) {
            if (sky_[i].system != 'R' || !receiver_.Hears(i, end)) continue;
            GNSS::ICDGlonass::String string = control_.GetString(i, moscow);
            ForWrongBits(sky_[i], moscow, 85, [&](unsigned bit) {
                unsigned char& byte = string[static_cast<int>(10 - bit / 8)];
                byte = static_cast<unsigned char>(byte ^ 1U << bit % 8);
            });
            const auto frame = ToInt64(std::floor(moscow / GlonassFrame + 1e-6)) % GNSS::ICDGlonass::NmrFrame + 1;
            writer.WriteString(sky_[i].number, sky_[i].channel, static_cast<int>(frame), string);
        }
    }

    // Which of a message's bits are received wrong.
    template <typename Take>
    void ForWrongBits(const SimulatedSatellite& satellite, double t, unsigned bits, Take take) const {
        const auto* fault = faults_.Find(Kind::BitErrors, satellite.system, satellite.number, t - start_);
        if (fault == nullptr) return;
        const std::uint64_t system = static_cast<unsigned char>(satellite.system);
        const auto number = static_cast<std::uint64_t>(satellite.number);
        const auto key = static_cast<std::uint64_t>(ToInt64(std::round(t)));
        for (unsigned bit = 0; bit < bits; ++bit) {
            if (noise_.Uniform({BitNoise, system, number, key, bit}) < fault->size) take(bit);
        }
    }

    const SimulatorSettings settings_;
    const SimulatedFaults faults_;
    const SimulatedNoise noise_;
    const SimulationClock clock_;
    const std::vector<SimulatedSatellite> sky_;
    SimulatedOrbits orbits_;
    double start_;
    ControlSegment control_;
    SimulatedReceiver receiver_;
    std::vector<UbxMeasurement> measurements_;
    std::int64_t epoch_ = 0;
    std::int64_t nextSubframe_ = 0;  // counted from the start of GPS time
    std::int64_t nextString_ = 0;    // likewise, in Moscow time
    double lastTold_ = 0.0;
};

Simulator::Simulator(const SimulatorSettings& settings) : body_(std::make_unique<Body>(settings)) {}
Simulator::~Simulator() = default;

SimulatedTruth Simulator::Next(std::string& bytes) {
    return body_->Next(bytes);
}

const SimulatorSettings& Simulator::GetSettings() const {
    return body_->GetSettings();
}

bool Simulator::GetTruth(char system, int number, const GPSTime& t, Satellite& satellite) {
    return body_->GetTruth(system, number, t, satellite);
}

}  // namespace Host

// SignalFrequency: a handle on the description of a carrier signal; written once for GPSFreqy and Glonass::Frequency.
#pragma once

#include <string_view>

#include "gnss/fwd.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"
#include "gnss/time/Constants.h"

namespace GNSS {

// One of the signals C/A, L1 and L2, as a pointer to its constant description. Where the system gives each satellite a
// frequency channel (GLONASS), the plain frequency and wavelength are those of channel 0.
template <typename System>
class GNSS_EXPORT SignalFrequency : public System::SignalConstants {
public:
    class Description;

    static const SignalFrequency CA;
    static const SignalFrequency L1;
    static const SignalFrequency L2;

    // L1.
    constexpr SignalFrequency();
    // The description must outlive the handle.
    explicit constexpr SignalFrequency(const Description& description) : description_(&description) {}
    explicit SignalFrequency(Description&&) = delete;

    // 1 = C/A, 2 = L1, 3 = L2.
    [[nodiscard]] constexpr int GetIdent() const { return description_->GetIdent(); }
    // "CA", "L1", "L2".
    [[nodiscard]] Corvane::String GetName() const { return description_->GetName(); }
    // Hz.
    [[nodiscard]] constexpr double GetFrequency() const { return description_->GetFrequency(); }
    // Metres.
    [[nodiscard]] constexpr double GetWaveLength() const { return description_->GetWaveLength(); }
    // Hz and metres on a frequency channel.
    [[nodiscard]] constexpr double GetChannelFrequency(int channel) const requires(System::HasChannels) {
        return description_->GetChannelFrequency(channel);
    }
    [[nodiscard]] constexpr double GetChannelWavelength(int channel) const requires(System::HasChannels) {
        return description_->GetChannelWavelength(channel);
    }

    // The same signal: by ident.
    friend constexpr bool operator==(SignalFrequency a, SignalFrequency b) {
        return *a.description_ == *b.description_;
    }

private:
    const Description* description_;
};

// What is known of a signal.
template <typename System>
class GNSS_EXPORT SignalFrequency<System>::Description {
public:
    static const Description CA;
    static const Description L1;
    static const Description L2;

    // Frequency and channel step in Hz; the name must be a constant text.
    constexpr Description(int ident, const char* name, double frequency, double channelStep)
        : ident_(ident),
          name_(name),
          frequency_(frequency),
          channelStep_(channelStep),
          waveLength_(LightSpeed / frequency) {}

    [[nodiscard]] constexpr int GetIdent() const { return ident_; }
    [[nodiscard]] Corvane::String GetName() const { return name_; }
    [[nodiscard]] constexpr double GetFrequency() const { return frequency_; }
    [[nodiscard]] constexpr double GetWaveLength() const { return waveLength_; }
    [[nodiscard]] constexpr double GetChannelFrequency(int channel) const requires(System::HasChannels) {
        return channel * channelStep_ + frequency_;
    }
    [[nodiscard]] constexpr double GetChannelWavelength(int channel) const requires(System::HasChannels) {
        return LightSpeed / GetChannelFrequency(channel);
    }

    // By ident alone.
    friend constexpr bool operator==(const Description& a, const Description& b) { return a.ident_ == b.ident_; }

private:
    int ident_;
    std::string_view name_;
    double frequency_;
    double channelStep_;
    double waveLength_;
};

template <typename System>
inline constexpr typename SignalFrequency<System>::Description SignalFrequency<System>::Description::CA{
    1, "CA", System::L1Frequency, System::L1Step};
template <typename System>
inline constexpr typename SignalFrequency<System>::Description SignalFrequency<System>::Description::L1{
    2, "L1", System::L1Frequency, System::L1Step};
template <typename System>
inline constexpr typename SignalFrequency<System>::Description SignalFrequency<System>::Description::L2{
    3, "L2", System::L2Frequency, System::L2Step};

template <typename System>
inline constexpr SignalFrequency<System> SignalFrequency<System>::CA{Description::CA};
template <typename System>
inline constexpr SignalFrequency<System> SignalFrequency<System>::L1{Description::L1};
template <typename System>
inline constexpr SignalFrequency<System> SignalFrequency<System>::L2{Description::L2};

template <typename System>
constexpr SignalFrequency<System>::SignalFrequency() : description_(&Description::L1) {}

}  // namespace GNSS

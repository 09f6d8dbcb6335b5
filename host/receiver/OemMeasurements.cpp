// The OEM messages that carry what the receiver measures.
#include <array>
#include <cmath>

#include "gnss/time/GPSFreqy.h"
#include "gnss/time/GlonassFrequency.h"
#include "host/receiver/LittleEndian.h"
#include "host/receiver/OemMessages.h"

namespace Host::Oem {

using Corvane::QValue;
using GNSS::GPSFreqy;

namespace {

double GetFloat(const LittleEndian& in, std::size_t at) {
    return static_cast<double>(in.Get<float>(at));
}

// The channel tracking status.
class Status {
public:
    enum System : std::uint32_t { GPS = 0, Glonass = 1 };

    explicit Status(std::uint32_t word) : word_(word) {}

    [[nodiscard]] bool HasPhaseLock() const { return GetBits(10, 1) != 0; }
    [[nodiscard]] bool IsParityKnown() const { return GetBits(11, 1) != 0; }
    [[nodiscard]] bool HasCodeLock() const { return GetBits(12, 1) != 0; }
    [[nodiscard]] std::uint32_t GetSystem() const { return GetBits(16, 3); }
    [[nodiscard]] std::uint32_t GetSignal() const { return GetBits(21, 5); }

private:
    [[nodiscard]] std::uint32_t GetBits(unsigned first, unsigned count) const {
        return (word_ >> first) & ((std::uint32_t{1} << count) - 1);
    }

    std::uint32_t word_;
};

// One signal of one satellite, as both messages tell it.
struct Observation {
    Status status{0};
    int satellite = 0;
    QValue range;           // m
    QValue adr;             // accumulated Doppler range, cycles: falls as the range grows
    bool isRolled = false;  // the adr is modulo Rollover
    double doppler = 0.0;   // Hz
    double snr = 0.0;       // dB-Hz
    double lockTime = 0.0;  // s
};

// Cycles at which the adr of RANGECMP begins anew.
constexpr double Rollover = 0x1p23;

// The phase in cycles. Where the adr is rolled, the one nearest to the range. The wavelength that does for this may be
// that of GLONASS channel 0: the others are within 0.25 %, a few percent of the rollover.
double GetPhase(const Observation& observation, double waveLength) {
    const double adr = observation.adr.Value();
    if (!observation.isRolled) return -adr;
    return Rollover * std::round((observation.range.Value() / waveLength + adr) / Rollover) - adr;
}

template <typename Set, typename Freqy>
void Add(const Observation& observation, int satellite, const Freqy& freqy, bool isPreferred, Set& set) {
    const Status& status = observation.status;
    if (!status.HasCodeLock() && !status.HasPhaseLock()) return;
    const int index = set.AddSV(typename Set::Record::Id(satellite));
    if (index < 0) return;
    if (!isPreferred && set.GetSV(index).FindFreqy(freqy) >= 0) return;

    typename Set::Record record(freqy);
    record.SetSNR(observation.snr);
    record.SetLockTime(observation.lockTime);
    if (status.HasCodeLock()) {
        record.SetRange(observation.range);
    } else {
        record.SetCodeWarn();
    }
    if (status.HasPhaseLock()) {
        if (status.HasCodeLock() || !observation.isRolled) {
            record.SetPhase(QValue(GetPhase(observation, freqy.GetWaveLength()), observation.adr.Quality()));
        }
        record.SetDoppler(QValue(observation.doppler, 0.0));
        if (!status.IsParityKnown()) record.SetPhaseWarn();
    } else {
        record.SetLostLock();
    }
    set.ChangeSV(index)->AddMeas(record);
}

bool AreFinite(const Observation& observation) {
    for (const double number :
         {observation.range.Value(), observation.range.Quality(), observation.adr.Value(), observation.adr.Quality(),
          observation.doppler, observation.snr, observation.lockTime}) {
        if (!std::isfinite(number)) return false;
    }
    return true;
}

// False for numbers that cannot be. Satellites and signals that have no place in the set are left out, whatever they
// say.
bool Add(const Observation& observation, GNSS::MeasSet& set) {
    const std::uint32_t signal = observation.status.GetSignal();
    const int satellite = observation.satellite;
    switch (observation.status.GetSystem()) {
        case Status::GPS: {
            // L1 C/A; L2 P, as it is or without its code; L2C.
            const bool isL2 = signal == 5 || signal == 9 || signal == 17;
            if (satellite < 1 || satellite > GNSS::PRN::Max || (signal != 0 && !isL2)) return true;
            if (!AreFinite(observation)) return false;
            Add(observation, satellite, isL2 ? GPSFreqy::L2 : GPSFreqy::CA, signal != 17, set.GetGPS());
            return true;
        }
        case Status::Glonass: {
            // L1 C/A, L2 P, L2 C/A.
            using Freqy = GNSS::Glonass::Frequency;
            const bool isL2 = signal == 5 || signal == 1;
            const int slot = satellite - SlotOffset;
            if (slot < 1 || slot > GNSS::Glonass::Slot::Max || (signal != 0 && !isL2)) return true;
            if (!AreFinite(observation)) return false;
            Add(observation, slot, isL2 ? Freqy(Freqy::L2) : Freqy(Freqy::CA), signal != 1, set.GetGlonass());
            return true;
        }
        default:
            return true;
    }
}

// A record of RANGE. The qualities are standard deviations.
Observation ReadObservation(const LittleEndian& in) {
    Observation observation;
    observation.satellite = in.Get<std::uint16_t>(0);
    observation.range.Set(in.Get<double>(4), GetFloat(in, 12));
    observation.adr.Set(in.Get<double>(16), GetFloat(in, 24));
    observation.doppler = GetFloat(in, 28);
    observation.snr = GetFloat(in, 32);
    observation.lockTime = GetFloat(in, 36);
    observation.status = Status(in.Get<std::uint32_t>(40));
    return observation;
}

// A record of RANGECMP: integers of many widths, the first in the lowest bits.
Observation ReadCompressed(const LittleEndian& in) {
    // Standard deviations of the range, m.
    static constexpr std::array<double, 16> RangeSD{0.050, 0.075, 0.113, 0.169, 0.253,  0.380,  0.570,  0.854,
                                                    1.281, 2.375, 4.750, 9.500, 19.000, 38.000, 76.000, 152.000};
    Observation observation;
    observation.status = Status(in.Get<std::uint32_t>(0));
    const std::uint64_t dopplerAndRange = in.Get<std::uint64_t>(4);
    // 28 bits in two's complement.
    const auto doppler = static_cast<std::int32_t>(static_cast<std::uint32_t>(dopplerAndRange) << 4U) / 16;
    const unsigned deviations = in.Get<std::uint8_t>(16);
    const std::uint32_t lockAndSNR = in.Get<std::uint32_t>(18);
    observation.satellite = in.Get<std::uint8_t>(17);
    observation.doppler = doppler / 256.0;
    observation.range.Set(static_cast<double>(dopplerAndRange >> 28U) / 128.0, RangeSD[deviations & 15U]);
    observation.adr.Set(in.Get<std::int32_t>(12) / 256.0, ((deviations >> 4U) + 1) / 512.0);
    observation.isRolled = true;
    observation.lockTime = (lockAndSNR & 0x1FFFFFU) / 32.0;
    observation.snr = 20.0 + ((lockAndSNR >> 21U) & 31U);
    return observation;
}

template <typename Read>
bool ReadObservations(std::string_view body, std::size_t size, const Read& read, GNSS::MeasSet& set) {
    if (body.size() < 4) return false;
    const std::size_t nmr = LittleEndian(body).Get<std::uint32_t>(0);
    const std::string_view records = body.substr(4);
    if (nmr > records.size() / size) return false;
    for (std::size_t i = 0; i < nmr; ++i) {
        if (!Add(read(LittleEndian(records.substr(i * size, size))), set)) return false;
    }
    return true;
}

}  // namespace

bool ReadRange(std::string_view body, GNSS::MeasSet& set) {
    return ReadObservations(body, 44, ReadObservation, set);
}

bool ReadRangeCmp(std::string_view body, GNSS::MeasSet& set) {
    return ReadObservations(body, 24, ReadCompressed, set);
}

std::optional<ReceiverFix> ReadBestPos(std::string_view body) {
    // How a position came about. Others are three-dimensional: from codes, with corrections of any kind, from phases.
    enum Kind : std::uint32_t { None = 0, FixedPosn = 1, FixedHeight = 2, DopplerVelocity = 8, Propagated = 19 };
    constexpr std::uint32_t WGS84 = 61;
    if (body.size() < 66) return std::nullopt;
    const LittleEndian in(body);
    const std::uint32_t kind = in.Get<std::uint32_t>(4);
    ReceiverFix fix;
    fix.nmrUsed = in.Get<std::uint8_t>(65);
    const bool isComputed = in.Get<std::uint32_t>(0) == 0;
    if (!isComputed || kind == None || kind == DopplerVelocity) return fix;
    fix.valid = true;
    fix.type = kind == FixedPosn ? 5 : kind == FixedHeight ? 2 : kind == Propagated ? 1 : 3;

    const double latitude = in.Get<double>(8);
    const double longitude = in.Get<double>(16);
    const double heightMSL = in.Get<double>(24);
    const double undulation = GetFloat(in, 32);
    const double sigmaNorth = GetFloat(in, 40);
    const double sigmaEast = GetFloat(in, 44);
    const double sigmaUp = GetFloat(in, 48);
    if (!(std::abs(latitude) <= 90.0) || !(std::abs(longitude) <= 360.0)) return std::nullopt;
    for (const double number : {heightMSL, undulation, sigmaNorth, sigmaEast, sigmaUp}) {
        if (!std::isfinite(number)) return std::nullopt;
    }
    // A datum of the user's says nothing here.
    if (in.Get<std::uint32_t>(36) == WGS84) {
        fix.latitude = latitude;
        fix.longitude = longitude;
        fix.height = heightMSL + undulation;
    }
    fix.heightMSL = heightMSL;
    fix.sigmaNorth = sigmaNorth;
    fix.sigmaEast = sigmaEast;
    fix.sigmaUp = sigmaUp;
    return fix;
}

}  // namespace Host::Oem

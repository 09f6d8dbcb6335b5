#include "host/receiver/RtcmDecoder.h"

#include <cmath>
#include <type_traits>

#include "host/receiver/BitReader.h"
#include "host/receiver/RtcmEphemeris.h"
#include "host/receiver/RtcmMsm.h"

namespace Host {

using GNSS::GPSTime;

namespace {

constexpr char Preamble = '\xD3';
constexpr std::size_t HeaderSize = 3;
constexpr std::size_t CrcSize = 3;
constexpr double CoordinateStep = 0.0001;  // m
constexpr double LeastRadius = 6.0e6;      // m: a station below this has not been given its place
constexpr double Silence = 30.0;           // s: after which another station is followed

constexpr unsigned ByteAt(std::string_view bytes, std::size_t n) {
    return static_cast<unsigned char>(bytes[n]);
}

template <typename Freqy>
Freqy FreqyOf(int ident) {
    return ident == 1 ? Freqy::CA : (ident == 2 ? Freqy::L1 : Freqy::L2);
}

}  // namespace

std::size_t RtcmDecoder::FindStart(std::string_view bytes) const {
    const std::size_t at = bytes.find(Preamble);
    return at == std::string_view::npos ? bytes.size() : at;
}

StreamDecoder::Frame RtcmDecoder::Inspect(std::string_view bytes) {
    if (bytes.size() < 2) return {Frame::State::Incomplete};
    if ((ByteAt(bytes, 1) & 0xFCU) != 0) return {Frame::State::None};
    if (bytes.size() < HeaderSize) return {Frame::State::Incomplete};
    const std::size_t length = ((ByteAt(bytes, 1) & 3U) << 8U) | ByteAt(bytes, 2);
    const std::size_t size = HeaderSize + length + CrcSize;
    if (bytes.size() < size) return {Frame::State::Incomplete};
    const BitReader crc(bytes.substr(size - CrcSize, CrcSize));
    const auto sum = static_cast<std::uint32_t>(crc.Unsigned(0, 24));
    if (!runs_.Has(bytes.substr(0, size - CrcSize), sum)) return {Frame::State::BadChecksum};
    const BitReader payload(bytes.substr(HeaderSize, length));
    return {Frame::State::Whole, size, length < 2 ? 0U : static_cast<std::uint32_t>(payload.Unsigned(0, 12))};
}

bool RtcmDecoder::Decode(std::uint32_t kind, std::string_view message) {
    const std::string_view payload = message.substr(HeaderSize, message.size() - HeaderSize - CrcSize);
    if (IsRtcmObservations(kind) || IsRtcmMsm(kind)) {
        if (!(IsRtcmMsm(kind) ? DecodeRtcmMsm(kind, payload, message_)
                              : DecodeRtcmObservations(kind, payload, message_))) {
            return false;
        }
        // All of them begin with their number and the station's.
        Take(message_, static_cast<int>(BitReader(payload).Unsigned(12, 12)));
        return true;
    }
    switch (kind) {
        case 0:
            return payload.size() != 1;
        case 1005:
        case 1006:
            return DecodeStation(kind, payload);
        case 1013:
            return DecodeSystem(payload);
        case 1019:
            return DecodeGPSEphemeride(payload);
        case 1020:
            return DecodeGlonassEphemeride(payload);
        default:
            return true;
    }
}

bool RtcmDecoder::DecodeStation(std::uint32_t kind, std::string_view payload) {
    BitReader bits(payload);
    if (bits.NmrBits() < (kind == 1006 ? 168U : 152U)) return false;
    StationPosition station;
    bits.Skip(12);
    station.station = bits.TakeInt(12);
    bits.Skip(6 + 1 + 1 + 1 + 1);  // realisation year, systems, kind of station
    const auto coordinate = [&] { return static_cast<double>(bits.TakeSigned(38)) * CoordinateStep; };
    station.posn.SetX(coordinate());
    bits.Skip(1 + 1);  // single oscillator, reserved
    station.posn.SetY(coordinate());
    bits.Skip(2);  // quarter cycles
    station.posn.SetZ(coordinate());
    if (kind == 1006) station.antennaHeight = bits.TakeInt(16) * CoordinateStep;
    if (station.posn.Radius() < LeastRadius) return false;
    Sink().OnStation(station);
    return true;
}

bool RtcmDecoder::DecodeSystem(std::string_view payload) {
    BitReader bits(payload);
    if (bits.NmrBits() < 12 + 12 + 16 + 17 + 5 + 8) return false;
    bits.Skip(12 + 12);
    const int day = bits.TakeInt(16);  // modified Julian day
    const int seconds = bits.TakeInt(17);
    bits.Skip(5);  // number of messages that are announced
    const int leapSeconds = bits.TakeInt(8);
    const Corvane::Date date = Corvane::Date::FromJulianDay(std::int64_t{2400001} + day);
    if (date < GPSTime::Start || seconds > 86400) return false;
    TellOtherTime(time_.SetStation(date, seconds));
    if (leapSeconds != 255) Sink().OnLeapSeconds(leapSeconds);
    return true;
}

bool RtcmDecoder::DecodeGPSEphemeride(std::string_view payload) {
    GPSDecodedEphemeride record;
    if (!DecodeRtcm1019(payload, record)) return false;
    const GNSS::GPSEphemeride& eph = record.ephemeride;
    if (eph.status.IsHealthy()) {
        if (const auto changed = time_.SetWeek(eph.prn, record.week, eph.posn.toe)) TellOtherTime(*changed);
    }
    Sink().OnEphemeride(record);
    return true;
}

bool RtcmDecoder::DecodeGlonassEphemeride(std::string_view payload) {
    RtcmGlonassMessage message;
    if (!DecodeRtcm1020(payload, message)) return false;
    GlonassDecodedEphemeride& record = message.record;
    const GNSS::Glonass::Ephemeride& eph = record.ephemeride;
    tracks_.SetChannel(eph.slot, *record.channel);
    std::optional<GPSTime> sent;
    if (message.date) {
        sent = time_.SetSatellite(eph.slot, eph.status.IsHealthy(), *message.date, eph.posn.frameTime);
        if (sent) TellOtherTime(*sent);
    } else {
        sent = time_.Get();
    }
    if (sent) record.reference = NearestMoscow(*sent, eph.posn.tb, GPSTime::SecsInDay);
    Sink().OnEphemeride(record);
    return true;
}

void RtcmDecoder::TellOtherTime(const GPSTime& time) {
    const auto& told = GetToldTime();
    if (!hasEpochs_ || !told || std::abs((*told - time).Seconds()) > GPSTime::SecsInDay / 2.0) TellTime(time);
}

void RtcmDecoder::CountUndated(const RtcmObservations& message) {
    std::optional<std::int64_t>& last = undatedMs_[message.system == RtcmObservations::System::GPS ? 0 : 1];
    if (!isUndatedOpen_ || (last && *last != message.ms)) {
        ++nmrUndated_;
        undatedMs_ = {};
    }
    last = message.ms;
    isUndatedOpen_ = message.more;
}

template <typename Set>
void RtcmDecoder::AddSignals(const RtcmObservations& message, const GPSTime& time, Set& set) {
    using Record = typename Set::Record;
    constexpr bool IsGlonass = std::is_same_v<Set, GNSS::Glonass::Measurement::Set>;
    set.SetTime(time);
    for (const RtcmSignal& signal : message.GetSignals()) {
        const auto freqy = FreqyOf<typename Record::Freqy>(signal.ident);
        std::optional<double> wavelength;
        if constexpr (IsGlonass) {
            if (signal.channel) tracks_.SetChannel(signal.satellite, *signal.channel);
            if (const auto channel = tracks_.GetChannel(signal.satellite))
                wavelength = freqy.GetChannelWavelength(*channel);
        } else {
            wavelength = freqy.GetWaveLength();
        }
        const RtcmTracks::Phase phase = tracks_.Follow(message, signal, wavelength);
        Record record(freqy);
        if (signal.snr) record.SetSNR(*signal.snr);
        if (signal.range) record.SetRange({*signal.range, 0.0});
        if (phase.cycles) {
            record.SetPhase({*phase.cycles, 0.0});
            record.SetLockTime(signal.lockMin);
            if (phase.slipped) record.SetCycleSlip(*phase.slipped ? Record::Slip : Record::NoSlip);
            if (phase.slipped.value_or(false)) record.SetLostLock();
            if (signal.halfCycle) record.SetPhaseWarn();
        }
        if (signal.rate && wavelength) record.SetDoppler({-*signal.rate / *wavelength, 0.0});
        if (record.IsValid(Record::Range) || record.IsValid(Record::Phase) || record.IsValid(Record::Doppler))
            set.AddMeas(typename Record::Id(signal.satellite), record);
    }
}

bool RtcmDecoder::Follows(int station, const GPSTime& time) {
    if (followed_ && followed_->station != station) {
        if (std::abs((time - followed_->heard).Seconds()) <= Silence) return false;
        Flush();
        tracks_.ForgetSignals();
    }
    followed_ = {station, time};
    return true;
}

void RtcmDecoder::Take(const RtcmObservations& message, int station) {
    const std::optional<GPSTime> time = time_.Date(message);
    if (!time) {
        CountUndated(message);
        return;
    }
    if (!Follows(station, *time)) {
        ++nmrOfOthers_;
        return;
    }
    if (epoch_ && *epoch_ != *time) Flush();
    if (!epoch_) {
        epoch_ = time;
        hasEpochs_ = true;
        TellTime(*time);
    }
    if (message.system == RtcmObservations::System::GPS) {
        AddSignals(message, *epoch_, set_.GetGPS());
    } else {
        AddSignals(message, *epoch_, set_.GetGlonass());
    }
    if (!message.more) Flush();
}

void RtcmDecoder::Flush() {
    if (!epoch_) return;
    epoch_.reset();
    if (set_.GetGPS().HasMeas() || set_.GetGlonass().HasMeas()) Sink().OnMeasurements(set_);
    set_ = GNSS::MeasSet();
}

}  // namespace Host

#include "host/receiver/OemDecoder.h"

#include <algorithm>
#include <array>
#include <utility>
#include <zlib.h>

#include "host/receiver/LittleEndian.h"
#include "host/receiver/OemMessages.h"

namespace Host {

using GNSS::GPSTime;

namespace {

constexpr char Sync1 = '\xAA';
constexpr char Sync2 = '\x44';
constexpr char SyncLong = '\x12';
constexpr char SyncShort = '\x13';
// Of the long header, which says its own size; later ones may be longer. The short one does not.
constexpr std::size_t LongHeader = 28;
constexpr std::size_t ShortHeader = 12;
constexpr std::size_t Checksum = 4;

// The header's status of its time.
constexpr unsigned Coarse = 100;  // from here on the week is known
constexpr unsigned Fine = 160;
constexpr unsigned SatTime = 200;
// Of the header's byte about the kind of message: the format, which is binary when 0, whether it is an answer, and
// where the measurements come from. Older firmware has other numbers there than the 0 of the first antenna, 2 for one.
constexpr unsigned FormatOrAnswer = 0x60 | 0x80;
constexpr unsigned Source = 0x1F;
constexpr unsigned SecondAntenna = 1;

// Goes on from a register; zlib's is inverted at both ends.
std::uint32_t CarryOn(std::uint32_t sum, std::string_view bytes) {
    constexpr std::uint32_t Ones = 0xFFFFFFFF;
    return static_cast<std::uint32_t>(
               crc32(sum ^ Ones, reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uInt>(bytes.size()))) ^
           Ones;
}

bool IsShort(std::string_view message) {
    return message[2] == SyncShort;
}

constexpr std::array<std::pair<std::uint16_t, std::string_view>, 47> Names{{
    {7, "GPSEPHEM"},         {8, "IONUTC"},
    {25, "RAWGPSSUBFRAME"},  {37, "VERSION"},
    {41, "RAWEPHEM"},        {42, "BESTPOS"},
    {43, "RANGE"},           {47, "PSRPOS"},
    {48, "SATVIS"},          {73, "ALMANAC"},
    {74, "RAWALM"},          {83, "TRACKSTAT"},
    {93, "RXSTATUS"},        {94, "RXSTATUSEVENT"},
    {96, "MATCHEDPOS"},      {99, "BESTVEL"},
    {100, "PSRVEL"},         {101, "TIME"},
    {128, "RXCONFIG"},       {140, "RANGECMP"},
    {141, "RTKPOS"},         {174, "PSRDOP"},
    {181, "MARKPOS"},        {215, "RTKVEL"},
    {231, "MARKTIME"},       {241, "BESTXYZ"},
    {243, "PSRXYZ"},         {244, "RTKXYZ"},
    {287, "RAWWAASFRAME"},   {407, "RAWGPSWORD"},
    {507, "INSPVA"},         {508, "INSPVAS"},
    {718, "GLOALMANAC"},     {719, "GLOCLOCK"},
    {720, "GLORAWALM"},      {721, "GLORAWFRAME"},
    {722, "GLORAWSTRING"},   {723, "GLOEPHEMERIS"},
    {726, "BESTUTM"},        {792, "GLORAWEPHEM"},
    {971, "HEADING"},        {1043, "SATVIS2"},
    {1122, "GALEPHEMERIS"},  {1194, "BESTSATS"},
    {1696, "BDSEPHEMERIS"},  {1695, "BDSRAWNAVSUBFRAME"},
    {2185, "RAWSBASFRAME2"},
}};

}  // namespace

std::uint32_t OemDecoder::Crc::Of(std::string_view run) {
    return CarryOn(0, run);
}

std::uint32_t OemDecoder::Crc::Step(Sum sum, char c) {
    return CarryOn(sum, {&c, 1});
}

std::uint32_t OemDecoder::Crc::Between(Sum before, Sum all, std::size_t n) {
    return static_cast<std::uint32_t>(crc32_combine(before, all, static_cast<z_off_t>(n)));
}

std::string OemDecoder::GetKindName(std::uint32_t kind) const {
    const auto* const found =
        std::find_if(Names.begin(), Names.end(), [kind](const auto& name) { return name.first == kind; });
    return found == Names.end() ? std::to_string(kind) : std::string(found->second);
}

std::size_t OemDecoder::FindStart(std::string_view bytes) const {
    for (std::size_t at = bytes.find(Sync1); at != std::string_view::npos; at = bytes.find(Sync1, at + 1)) {
        const std::string_view start = bytes.substr(at);
        if (start.size() > 1 && start[1] != Sync2) continue;
        if (start.size() > 2 && start[2] != SyncLong && start[2] != SyncShort) continue;
        return at;
    }
    return bytes.size();
}

StreamDecoder::Frame OemDecoder::Inspect(std::string_view bytes) {
    Frame frame;
    frame.state = Frame::State::Incomplete;
    // The short header tells all by its sixth byte, the long one by its tenth.
    if (bytes.size() < 4) return frame;
    const LittleEndian in(bytes);
    const std::size_t third = in.Get<std::uint8_t>(3);
    std::size_t content = ShortHeader + third;
    if (!IsShort(bytes)) {
        if (third < LongHeader) return {};
        if (bytes.size() < 10) return frame;
        const std::size_t body = in.Get<std::uint16_t>(8);
        if (body > MaxBody) return {};
        content = third + body;
    }
    if (bytes.size() < content + Checksum) return frame;
    if (!runs_.Has(bytes.substr(0, content), in.Get<std::uint32_t>(content))) {
        frame.state = Frame::State::BadChecksum;
        return frame;
    }
    frame.state = Frame::State::Whole;
    frame.size = content + Checksum;
    frame.kind = in.Get<std::uint16_t>(4);
    return frame;
}

// A satellite's time, which lags, never takes the stream's back.
void OemDecoder::TellMessageTime() {
    if (!time_ || (isSatelliteTime_ && GetToldTime() && *time_ < *GetToldTime())) return;
    TellTime(*time_);
}

bool OemDecoder::Decode(std::uint32_t kind, std::string_view message) {
    const LittleEndian in(message);
    // A short header has no status of its time.
    const unsigned type = in.Get<std::uint8_t>(6);
    if (IsShort(message) || (type & FormatOrAnswer) != 0 || (type & Source) == SecondAntenna) return true;
    const unsigned status = in.Get<std::uint8_t>(13);
    time_.reset();
    if (status < Coarse) TellTimeLost();
    if (status >= Fine) time_ = Oem::MakeTime(in.Get<std::uint16_t>(14), in.Get<std::uint32_t>(16));
    isSatelliteTime_ = status >= SatTime;
    const std::size_t header = in.Get<std::uint8_t>(3);
    return DecodeBody(kind, message.substr(header, message.size() - header - Checksum));
}

bool OemDecoder::DecodeBody(std::uint32_t kind, std::string_view body) {
    // What can be read is told, after the time.
    const auto tell = [this](const auto& read, const auto& call) {
        if (!read) return false;
        TellMessageTime();
        call(*read);
        return true;
    };
    switch (kind) {
        case Oem::RawEphem:
            return tell(Oem::ReadRawEphem(body), [this](const std::array<GPSSubframe, 3>& subframes) {
                for (const GPSSubframe& subframe : subframes) Sink().OnSubframe(subframe);
            });
        case Oem::RawGPSSubframe:
            return tell(Oem::ReadRawGPSSubframe(body),
                        [this](const GPSSubframe& subframe) { Sink().OnSubframe(subframe); });
        case Oem::RawAlm:
            return DecodeAlmanac(body);
        case Oem::GloRawString:
            return tell(Oem::ReadGloRawString(body), [this](const GlonassString& string) { Sink().OnString(string); });
        case Oem::GloEphemeris:
            return tell(Oem::ReadGloEphemeris(body), [this](const Oem::GlonassEphemeris& read) {
                Sink().OnLeapSeconds(read.leapSeconds);
                Sink().OnEphemeride(read.record);
            });
        case Oem::IonUTC:
            return tell(Oem::ReadIonUTC(body), [this](const Oem::IonosphereAndUTC& read) {
                // Which of two different counts holds is for the one who has the whole rule.
                if (read.utc.DtLS == read.utc.DtLSF) Sink().OnLeapSeconds(read.utc.DtLS);
                Sink().OnIono(read.iono);
                Sink().OnUTC(read.utc);
            });
        case Oem::Range:
        case Oem::RangeCmp: {
            const GPSTime time = time_.value_or(GPSTime::Zero);
            GNSS::MeasSet set{GNSS::GPSMeas::Set(time), GNSS::Glonass::Measurement::Set(time)};
            if (!(kind == Oem::Range ? Oem::ReadRange(body, set) : Oem::ReadRangeCmp(body, set))) return false;
            TellMessageTime();
            if (time_) Sink().OnMeasurements(set);
            return true;
        }
        case Oem::BestPos: {
            std::optional<ReceiverFix> fix = Oem::ReadBestPos(body);
            if (fix) fix->time = time_;
            return tell(fix, [this](const ReceiverFix& read) { Sink().OnFix(read); });
        }
        default:
            TellMessageTime();
            return true;
    }
}

bool OemDecoder::DecodeAlmanac(std::string_view body) {
    Oem::RawAlmanac almanac;
    if (!almanac.Open(body)) return false;
    TellMessageTime();
    // The message's own time dates its pages; that of applicability may lie days ahead.
    const double seconds = time_ ? time_->GetSeconds() : almanac.GetReferenceSeconds();
    for (std::size_t i = 0; i < almanac.GetNmrPages(); ++i) {
        if (const std::optional<GPSSubframe> page = almanac.ReadPage(i, seconds)) Sink().OnSubframe(*page);
    }
    return true;
}

}  // namespace Host

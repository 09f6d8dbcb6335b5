#include "host/receiver/RinexObservation.h"

#include <algorithm>
#include <utility>

#include "host/receiver/RinexHeader.h"
#include "host/receiver/RinexObservationValue.h"
#include "host/receiver/TextField.h"

namespace Host {

using GNSS::PRN;
using GNSS::Glonass::Slot;

namespace {

constexpr std::size_t MaxLine = std::size_t{16} * 1024;  // a longer one is no line of such a file
constexpr char EndOfText = '\x1a';                       // behind the last line of some old files

// Without its end, and what is blank in front of that.
std::string_view WithoutEnd(std::string_view line) {
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r' || line.back() == ' ' || line.back() == '\t' ||
                             line.back() == '\0' || line.back() == EndOfText)) {
        line.remove_suffix(1);
    }
    return line;
}

// Whether a line of version 2 is one of values, and none of an epoch whatever has befallen that.
bool HoldsValues(std::string_view line) {
    bool isAny = false;
    for (std::size_t i = 0; i < RinexObservationPlan::TypesInLine2; ++i) {
        RinexObservationValue value;
        if (!value.Read(line, {true, i * (RinexObservationPlan::NumberWidth + 2), 1000.0})) return false;
        isAny = isAny || value.isThere;
    }
    return isAny;
}

}  // namespace

std::string RinexObservationDecoder::GetKindName(std::uint32_t kind) const {
    switch (kind) {
        case HeaderLine:
            return "header";
        case EpochLine:
            return "epoch";
        case SatelliteLine:
            return "satellite";
        case SpecialLine:
            return "special";
        case OtherLine:
            return "other";
        default:
            return std::to_string(kind);
    }
}

std::size_t RinexObservationDecoder::FindStart(std::string_view bytes) const {
    return next_ == Next::Nothing ? bytes.size() : 0;
}

RinexObservationDecoder::Frame RinexObservationDecoder::Inspect(std::string_view bytes) {
    const std::size_t end = bytes.substr(0, MaxLine).find('\n');
    if (end != std::string_view::npos) return {Frame::State::Whole, end + 1, KindOf(bytes.substr(0, end))};
    if (bytes.size() < MaxLine) return {Frame::State::Incomplete, 0, 0};
    return {Frame::State::Whole, MaxLine, OtherLine};
}

RinexObservationDecoder::Frame RinexObservationDecoder::InspectEnd(std::string_view bytes) {
    isOpen_ = true;
    return {Frame::State::Whole, bytes.size(), KindOf(bytes)};
}

RinexObservationDecoder::Kind RinexObservationDecoder::KindOf(std::string_view line) const {
    if (isInLongLine_) return OtherLine;
    switch (next_) {
        case Next::FirstLine:
        case Next::Header:
            return HeaderLine;
        case Next::SatelliteList:
            return EpochLine;
        case Next::Satellite:
            return !IsVersion2() && line.starts_with('>') ? EpochLine : SatelliteLine;
        case Next::Special:
            return SpecialLine;
        default:
            return ReadRinexEpochLine(line, header_) ? EpochLine : OtherLine;
    }
}

bool RinexObservationDecoder::Decode(std::uint32_t /*kind*/, std::string_view message) {
    const bool isEnd = message.ends_with('\n') || isOpen_;
    const bool isPiece = isInLongLine_ || !isEnd;
    if (!isInLongLine_) ++line_;
    isInLongLine_ = !isEnd;
    if (isOpen_ && message.ends_with('\r')) isOpen_ = false;
    // What is blank at the end of a line without an end tells that nothing is missing there.
    if (!isPiece) return TakeLine(isOpen_ ? message : WithoutEnd(message));
    if (next_ == Next::FirstLine) {
        Fail("is not a RINEX file: no RINEX VERSION / TYPE on its first line");
    } else if (next_ != Next::Header && next_ != Next::Anything) {
        Lose("has a line of more than 16 KiB");
    }
    return false;
}

bool RinexObservationDecoder::TakeLine(std::string_view line) {
    switch (next_) {
        case Next::FirstLine:
            return TakeFirstLine(line);
        case Next::Header:
            TakeHeaderLine(line);
            return true;
        case Next::SatelliteList:
            return TakeSatelliteList(line);
        case Next::Satellite:
            return TakeSatelliteLine(line);
        case Next::Special:
            return TakeSpecialLine(line);
        case Next::Epoch:
        case Next::Anything:
            return TakeEpochLine(line);
        case Next::Nothing:
            break;
    }
    return false;
}

bool RinexObservationDecoder::TakeFirstLine(std::string_view line) {
    std::string reason;
    if (!headerReader_.Begin(line, reason)) {
        Fail(std::move(reason));
        return false;
    }
    hasHeader_ = false;
    toldStation_.reset();
    builder_.ForgetPhases();
    next_ = Next::Header;
    return true;
}

void RinexObservationDecoder::TakeHeaderLine(std::string_view line) {
    if (RinexObservationHeaderReader::IsEnd(line)) {
        EndHeader();
    } else if (ReadRinexEpochLine(line, header_)) {
        warnings_.Add(line_, "no END OF HEADER before the first epoch");
        EndHeader();
        static_cast<void>(TakeEpochLine(line));
    } else {
        headerReader_.Take(line, line_);
    }
}

void RinexObservationDecoder::EndHeader() {
    headerReader_.End();
    hasHeader_ = true;
    next_ = Next::Epoch;
    builder_.SetPlan(RinexObservationPlan(header_));
    if (builder_.GetPlan().GPS().wholeLength == 0 && builder_.GetPlan().Glonass().wholeLength == 0)
        warnings_.Add(line_, "the header tells no GPS or GLONASS observations that are read");
    if (header_.leapSeconds) Sink().OnLeapSeconds(*header_.leapSeconds);
    TellStation();
}

void RinexObservationDecoder::TellStation() {
    const std::optional<GNSS::ECEF> antenna = header_.GetAntenna();
    if (antenna && antenna != toldStation_) Sink().OnStation({0, *antenna, header_.antennaHeight});
    toldStation_ = antenna;
}

bool RinexObservationDecoder::TakeEpochLine(std::string_view line) {
    if (WithoutEnd(line).empty()) return true;
    const std::optional<RinexEpochLine> epoch = ReadRinexEpochLine(line, header_);
    const bool isHeader = !epoch && BeginsRinexHeader(line);
    if (isComplete_ && !epoch && !isHeader && HoldsValues(line)) {
        Lose("is followed by more values");
        return false;
    }
    if (isComplete_) Deliver();
    if (epoch) return BeginEpoch(*epoch, line);
    if (isHeader) return TakeFirstLine(line);
    // Of a loss the rest of the epoch's lines is no news; the first line of another is.
    const bool isOther = !IsVersion2() && line.starts_with('>');
    if (next_ != Next::Anything || isOther) Lose("is not readable: " + Quoted(line));
    return false;
}

bool RinexObservationDecoder::BeginEpoch(const RinexEpochLine& epoch, std::string_view line) {
    epoch_ = epoch;
    epochLine_ = line_;
    left_ = epoch.nmr;
    satellites_.clear();
    record_.clear();
    nmrLines_ = 0;
    if (!epoch.HasSatellites()) {
        BeginSpecials();
        return true;
    }
    const bool isAfterFailure = epoch.flag == RinexEpochLine::PowerFailure;
    if (isAfterFailure) ++counts_.powerFailures;
    if (epoch.IsEpoch()) builder_.Begin(*epoch.time, isAfterFailure);
    next_ = Next::Satellite;
    if (left_ == 0) {
        EndSatellites();
    } else if (IsVersion2()) {
        next_ = Next::SatelliteList;
        return TakeSatelliteList(line);
    }
    return true;
}

bool RinexObservationDecoder::TakeSatelliteList(std::string_view line) {
    constexpr std::size_t First = 32;
    const bool isContinuation = line_ != epochLine_;
    bool isGood = !isContinuation || IsBlank(line.substr(0, First));
    for (std::size_t i = 0; isGood && i < RinexSatellitesInLine2 && satellites_.size() < epoch_.nmr; ++i) {
        const auto satellite = ReadRinexSatellite(Columns(line, First + 3 * i, 3), header_.GetDefaultSystem());
        isGood = satellite.has_value();
        if (isGood) satellites_.push_back(*satellite);
    }
    if (!isGood) {
        Lose("has a list of satellites that is not readable");
        return isContinuation && TakeEpochLine(line);
    }
    if (satellites_.size() == epoch_.nmr) next_ = Next::Satellite;
    return true;
}

bool RinexObservationDecoder::TakeSatelliteLine(std::string_view line) {
    // Where an epoch has a point, values have none.
    constexpr std::size_t Point2 = 18;
    const bool isEpoch = IsVersion2() ? line.size() > Point2 && line[Point2] == '.' && ReadRinexEpochLine(line, header_)
                                      : line.starts_with('>');
    if (isEpoch) {
        Lose("has fewer satellites than it tells");
        return TakeEpochLine(line);
    }
    std::optional<RinexSatellite> satellite;
    std::string_view record = line;
    if (!IsVersion2()) {
        satellite = ReadRinexSatellite(line.substr(0, 3), ' ');
    } else {
        const std::size_t nmrLines = builder_.GetPlan().GetNmrLines();
        if (nmrLines > 1) {
            record_.resize(nmrLines_ * RinexObservationPlan::LineWidth2, ' ');
            record_.append(line.substr(0, RinexObservationPlan::LineWidth2));
            if (++nmrLines_ < nmrLines) return true;
            record = record_;
        }
        satellite = satellites_[epoch_.nmr - left_];
    }
    if (!satellite || !AddSatellite(*satellite, record)) {
        Lose("has a line that is not readable: " + Quoted(line));
        return TakeEpochLine(line);
    }
    record_.clear();
    nmrLines_ = 0;
    if (--left_ == 0) EndSatellites();
    return true;
}

bool RinexObservationDecoder::AddSatellite(const RinexSatellite& satellite, std::string_view record) {
    using Outcome = RinexEpochBuilder::Outcome;
    if (!epoch_.IsEpoch()) return true;
    const Outcome outcome = builder_.Add(satellite, record, !isOpen_);
    if (outcome == Outcome::Other) ++counts_.others[satellite.system];
    if (outcome == Outcome::Repeated) {
        ++counts_.repeatedSatellites;
        warnings_.Add(line_, "a satellite for the second time, left out");
    }
    return outcome != Outcome::Damaged;
}

void RinexObservationDecoder::EndSatellites() {
    next_ = Next::Epoch;
    if (!epoch_.IsEpoch()) {
        ++counts_.slipRecords;
    } else if (IsVersion2()) {
        isComplete_ = true;
    } else {
        Deliver();
    }
}

void RinexObservationDecoder::Deliver() {
    const GNSS::GPSTime& time = *epoch_.time;
    if (last_ && time <= *last_) {
        const bool isRepeated = time == *last_;
        ++(isRepeated ? counts_.repeated : counts_.backward);
        warnings_.Add(epochLine_, isRepeated ? "the same time as the epoch before" : "earlier than the epoch before");
    }
    last_ = time;
    ++counts_.epochs;
    isComplete_ = false;
    next_ = Next::Epoch;
    TellTime(time);
    Sink().OnMeasurements(builder_.TakeSet());
}

void RinexObservationDecoder::Lose(std::string_view why) {
    if (next_ == Next::Special) {
        EndSpecials();
    } else if (epoch_.flag != RinexEpochLine::CycleSlips || next_ == Next::Epoch) {
        ++counts_.lost;
        const bool isBegun = (next_ != Next::Epoch && next_ != Next::Anything) || isComplete_;
        warnings_.Add(isBegun ? epochLine_ : line_, "an epoch is left out: it " + std::string(why));
    }
    builder_.ForgetPhases();
    isComplete_ = false;
    next_ = Next::Anything;
}

void RinexObservationDecoder::BeginSpecials() {
    switch (epoch_.flag) {
        case RinexEpochLine::AntennaMoves:
            ++counts_.antennaMoves;
            warnings_.Add(line_, "the antenna starts to move");
            break;
        case RinexEpochLine::NewSite:
            ++counts_.newSites;
            warnings_.Add(line_, "a new site");
            break;
        case RinexEpochLine::HeaderLines:
            ++counts_.headerChanges;
            break;
        default:
            ++counts_.externalEvents;
    }
    next_ = Next::Special;
    if (left_ == 0) EndSpecials();
}

bool RinexObservationDecoder::TakeSpecialLine(std::string_view line) {
    if (ReadRinexEpochLine(line, header_)) {
        warnings_.Add(line_, "fewer special lines than are told");
        EndSpecials();
        return TakeEpochLine(line);
    }
    headerReader_.Take(line, line_);
    if (--left_ == 0) EndSpecials();
    return true;
}

void RinexObservationDecoder::EndSpecials() {
    headerReader_.End();
    builder_.SetPlan(RinexObservationPlan(header_));
    next_ = Next::Epoch;
    TellStation();
}

void RinexObservationDecoder::Fail(std::string reason) {
    failure_ = std::move(reason);
    next_ = Next::Nothing;
}

void RinexObservationDecoder::Flush() {
    if (isComplete_) {
        Deliver();
    } else if (next_ == Next::Satellite || next_ == Next::SatelliteList) {
        Lose("is cut by the end of the file");
    } else if (next_ == Next::FirstLine) {
        Fail("is empty");
    } else if (next_ == Next::Header) {
        Fail("ends before END OF HEADER");
    }
}

}  // namespace Host

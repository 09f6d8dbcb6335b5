#include "host/cli/OrbitFiles.h"

#include <memory>
#include <span>
#include <string_view>

#include <fmt/format.h>

#include "gnss/platform/Stream.h"
#include "gnss/store/AlmanacFile.h"
#include "gnss/time/GloTime.h"
#include "host/cli/Inputs.h"
#include "host/cli/LogFile.h"
#include "host/receiver/LeapSeconds.h"
#include "host/receiver/RecordMaker.h"
#include "host/text/Satellites.h"

namespace Host {

using GNSS::GPSTime;

namespace {

// The records of one stream, ephemerides in the form of a navigation file's.
class StreamOrbits : public ReceiverSink, public RecordSink {
public:
    StreamOrbits(OrbitSource& source, LeapRule& leaps) : source_(source), leaps_(leaps), maker_(*this) {}

    void OnTime(const GPSTime& time) override {
        leaps_.SetFor(time, maker_.GetClock().GetLeapSeconds(time));
        maker_.OnTime(time);
    }
    void OnTimeLost() override { maker_.OnTimeLost(); }
    void OnLeapSeconds(int seconds) override { maker_.OnLeapSeconds(seconds); }
    void OnSubframe(const GPSSubframe& subframe) override { maker_.OnSubframe(subframe); }
    void OnString(const GlonassString& string) override { maker_.OnString(string); }
    void OnEphemeride(const GPSDecodedEphemeride& record) override { maker_.OnEphemeride(record); }
    void OnEphemeride(const GlonassDecodedEphemeride& record) override { maker_.OnEphemeride(record); }
    void OnIono(const GNSS::Almanac::Iono& record) override { maker_.OnIono(record); }
    void OnUTC(const GNSS::Almanac::UTC& record) override { maker_.OnUTC(record); }

    using RecordSink::OnRecord;
    void OnRecord(const GNSS::GPSEphemeride& record) override {
        navigation_.gps.push_back({record, 0, record.reference});
    }
    void OnRecord(const GNSS::Glonass::Ephemeride& record, std::optional<int> channel) override {
        RinexNavigation::GlonassRecord made;
        made.ephemeride = record;
        made.transmission = record.reference;
        made.channel = channel;
        // tb counts GLONASS time, and lies nearest to when it was sent.
        const double untilTb = record.GetReferenceTime().Subtract(GNSS::GloTime(record.reference));
        made.tb = record.reference + Corvane::Time(untilTb);
        made.tb.Round(3);
        navigation_.glonass.push_back(made);
    }
    void OnRecord(const GNSS::Almanac::SV& record) override { source_.Add(record); }
    void OnRecord(const GNSS::Almanac::GlonassSV& record) override { source_.Add(record); }

    [[nodiscard]] RecordMaker& Maker() { return maker_; }
    [[nodiscard]] const RinexNavigation& GetNavigation() const { return navigation_; }

private:
    OrbitSource& source_;
    LeapRule& leaps_;
    RecordMaker maker_;
    RinexNavigation navigation_;
};

// One file of whatever kind, into the source.
class OrbitLog : public LogReader {
public:
    OrbitLog(std::string file, const OrbitFileOptions& options, OrbitSource& source, LeapRule& leaps)
        : file_(std::move(file)), options_(options), source_(source), leaps_(leaps), orbits_(source, leaps) {}

    [[nodiscard]] bool Begin(const DetectedFormat& detected, bool isEmpty) override {
        decoder_ = MakeDecoder(detected.format, orbits_);
        if (!decoder_ && (detected.format != StreamFormat::Unknown || isEmpty)) {
            Complain(file_ + DescribeUnread(detected.format, isEmpty, options_.command));
            return false;
        }
        if (decoder_ && options_.date) decoder_->SetApproximateTime(*options_.date);
        return true;
    }
    void Feed(std::string_view bytes) override {
        if (decoder_) {
            decoder_->Feed(bytes);
        } else if (unknown_.size() <= MostAlmanacBytes) {
            unknown_.append(bytes.substr(0, MostAlmanacBytes + 1));
        }
    }
    void End() override {
        if (!decoder_) return ReadAlmanac();
        decoder_->Finish();
        RecordMaker& maker = orbits_.Maker();
        // A stream that has told no time is dated as a whole.
        if (!maker.GetClock().GetTime() && options_.date && maker.GetNmrWaiting() > 0) orbits_.OnTime(*options_.date);
        if (!maker.GetClock().GetTime())
            Complain(file_ + ": tells no time by which it could be dated; --date helps where it tells a part");
        source_.Add(orbits_.GetNavigation(), file_);
    }
    [[nodiscard]] bool TakeNavigation(std::string_view text) override {
        RinexNavigation navigation;
        FileError error;
        const bool isRead = navigation.Parse(text, file_, error);
        Complain(navigation.warnings, options_.allWarnings);
        if (!isRead) return Complain(error.Print()), false;
        const std::string doubt = leaps_.Add(navigation, file_);
        if (!doubt.empty()) Complain(doubt);
        source_.Add(navigation, file_);
        return true;
    }
    // Whether what was fed could be used.
    [[nodiscard]] bool IsUsed() const { return isUsed_; }

private:
    // More than the longest almanac file.
    static constexpr std::size_t MostAlmanacBytes = 65536;

    void ReadAlmanac() {
        GNSS::Almanac almanac;
        const std::span<const std::byte> bytes = std::as_bytes(std::span(unknown_));
        Corvane::Stream::MemoryInput input(bytes);
        bool isRead = false;
        Corvane::Stream::Succeeds([&] { isRead = almanac.Read(input); });
        const bool hasOrbits = almanac.NmrSV() > 0 || almanac.NmrGlonassSV() > 0;
        const Corvane::String loss = isRead ? GNSS::DescribeLoss(bytes, almanac) : Corvane::String();
        const bool isNamedSo = file_.ends_with(".alm");
        if (!isRead || unknown_.size() > MostAlmanacBytes || (!isNamedSo && (!hasOrbits || !loss.IsEmpty()))) {
            isUsed_ = false;
            return Complain(file_ +
                            ": no navigation file, no almanac file, and no messages of UBX, NovAtel OEM or "
                            "RTCM 3");
        }
        if (!loss.IsEmpty()) Complain(file_ + ": not read: " + loss.str());
        if (!hasOrbits) Complain(file_ + ": an almanac without satellites");
        for (int i = 0; i < almanac.NmrSV(); ++i) source_.Add(almanac.GetSV(i));
        for (int i = 0; i < almanac.NmrGlonassSV(); ++i) {
            // The crossing of two records is compared near the process's date.
            leaps_.SetFor(almanac.GetGlonassSV(i).time);
            source_.Add(almanac.GetGlonassSV(i));
        }
    }

    std::string file_;
    const OrbitFileOptions& options_;
    OrbitSource& source_;
    LeapRule& leaps_;
    StreamOrbits orbits_;
    std::unique_ptr<StreamDecoder> decoder_;
    std::string unknown_;
    bool isUsed_ = true;
};

void DescribeMissing(char system, const char* name, int nmr, const OrbitSource& source, const GPSTime& t,
                     std::vector<std::string>& lines) {
    std::string missing;
    std::string stale;
    int nmrMissing = 0;
    for (int number = 1; number <= nmr; ++number) {
        if (!source.HasRecords(system, number)) {
            ++nmrMissing;
            missing += ' ' + PrintSatellite(system, number);
        } else if (source.Calculate(system, number, t).origin == OrbitOrigin::None) {
            stale += ' ' + PrintSatellite(system, number);
        }
    }
    if (nmrMissing == nmr) {
        lines.push_back(fmt::format("{}: the files hold no orbits", name));
    } else if (nmrMissing > 0) {
        lines.push_back(fmt::format("{}: the files hold no orbits of{}", name, missing));
    }
    if (!stale.empty()) lines.push_back(fmt::format("{}: no orbit is valid at that time of{}", name, stale));
}

}  // namespace

bool ReadOrbits(const std::vector<std::string>& paths, const OrbitFileOptions& options, OrbitSource& source,
                LeapRule& leaps) {
    if (!IsReadOnce(paths)) return false;
    for (const std::string& path : paths) {
        OrbitLog log(path, options, source, leaps);
        if (!ReadLog(path, log) || !log.IsUsed()) return false;
    }
    const auto first = source.GetEphemerides().GetFirst();
    // The set looks at the records' positions while it puts them in order, and GLONASS needs the leap rule for that.
    if (first) leaps.SetFor(*first);
    source.Complete();
    for (const std::string& doubt : source.GetEphemerides().GetDoubts()) Complain(doubt);
    if (!source.GetSpan()) return Complain("the files hold no GPS or GLONASS orbits"), false;
    return true;
}

std::vector<std::string> DescribeMissing(const OrbitSource& source, GNSS::DopArt::Mode mode, const GPSTime& t) {
    std::vector<std::string> lines;
    if (GNSS::DopArt::ShowsGPS(mode)) DescribeMissing('G', "GPS", EphemerisSet::NmrGPS, source, t, lines);
    if (GNSS::DopArt::ShowsGlonass(mode)) DescribeMissing('R', "GLONASS", EphemerisSet::NmrGlonass, source, t, lines);
    return lines;
}

}  // namespace Host

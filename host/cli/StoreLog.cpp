#include "host/cli/StoreLog.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <span>
#include <utility>

#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/platform/Stream.h"
#include "gnss/store/AlmanacFile.h"
#include "host/cli/Inputs.h"
#include "host/cli/LogFile.h"
#include "host/cli/StoreFeed.h"

namespace Host {

using GNSS::Almanac;
using GNSS::GPSTime;

namespace {

// The satellites' records, and the ionosphere and UTC that have been broadcast.
template <typename Function>
void ForEachRecord(const Almanac& almanac, const Function& function) {
    for (int i = 0; i < almanac.NmrSV(); ++i) function(almanac.GetSV(i));
    for (int i = 0; i < almanac.NmrGlonassSV(); ++i) function(almanac.GetGlonassSV(i));
    if (almanac.GetIono().IsValid() && !(almanac.GetIono() == Almanac::Iono())) function(almanac.GetIono());
    if (almanac.GetUTC().IsValid() && !(almanac.GetUTC() == Almanac::UTC())) function(almanac.GetUTC());
}

class StoreLog : public LogReader {
public:
    StoreLog(std::string file, const StoreLogOptions& options, StoreTree& tree, LeapRule& leaps)
        : file_(std::move(file)), options_(options), tree_(tree), feed_(tree, leaps) {}

    // Whether what was fed could be used.
    [[nodiscard]] bool IsUsed() const { return isUsed_; }

    [[nodiscard]] bool Begin(const DetectedFormat& detected, bool isEmpty) override {
        decoder_ = MakeDecoder(detected.format, feed_);
        // What has no mark may be an almanac file.
        if (!decoder_ && (detected.format != StreamFormat::Unknown || isEmpty))
            return Complain(file_ + DescribeUnread(detected.format, isEmpty, options_.command)), false;
        if (decoder_ && options_.date) decoder_->SetApproximateTime(*options_.date);
        return true;
    }
    void Feed(std::string_view bytes) override {
        if (decoder_) {
            decoder_->Feed(bytes);
        } else if (unknown_.size() <= MostAlmanacBytes) {
            unknown_ += bytes.substr(0, MostAlmanacBytes + 1);
        }
    }
    void End() override {
        if (!decoder_) {
            isUsed_ = PlayAlmanac();
            return;
        }
        decoder_->Finish();
        // A stream that has told no time is dated as a whole.
        const RecordMaker& maker = feed_.Maker();
        if (!maker.GetClock().GetTime() && options_.date && maker.GetNmrWaiting() > 0) feed_.OnTime(*options_.date);
        if (!maker.GetClock().GetTime())
            Complain(file_ + ": tells no time by which it could be dated; --date helps where it tells a part");
        feed_.Finish();
    }
    [[nodiscard]] bool TakeNavigation(std::string_view text) override {
        RinexNavigation navigation;
        FileError error;
        const bool isRead = navigation.Parse(text, file_, error);
        Complain(navigation.warnings, options_.allWarnings);
        if (!isRead) return Complain(error.Print()), false;
        if (navigation.gps.empty() && navigation.glonass.empty())
            return Complain(file_ + ": holds no GPS or GLONASS records"), false;
        feed_.Play(navigation, file_);
        feed_.Finish();
        return true;
    }

private:
    // More than the longest almanac file.
    static constexpr std::size_t MostAlmanacBytes = 65536;

    bool PlayAlmanac() {
        const auto bytes = std::as_bytes(std::span(unknown_));
        Corvane::Stream::MemoryInput input(bytes);
        Almanac almanac;
        const bool isRead = unknown_.size() <= MostAlmanacBytes && almanac.Read(input);
        const std::string loss = isRead ? GNSS::DescribeLoss(bytes, almanac).str() : "";
        std::optional<GPSTime> newest;
        ForEachRecord(almanac,
                      [&](const auto& record) { newest = std::max(newest.value_or(record.time), record.time); });
        if (!isRead || (!newest && !loss.empty()))
            return Complain(file_ + DescribeUnread(StreamFormat::Unknown, false, options_.command) +
                            ", and no almanac"),
                   false;
        if (!newest) return Complain(file_ + ": an almanac without records"), false;
        if (!loss.empty()) Complain(file_ + ": damaged; not read are " + loss);
        feed_.OnTime(*newest);
        ForEachRecord(almanac, [&](const auto& record) { tree_.GetNavigation().OnRecord(record); });
        feed_.Finish();
        return true;
    }

    std::string file_;
    const StoreLogOptions& options_;
    StoreTree& tree_;
    StoreFeed feed_;
    std::unique_ptr<StreamDecoder> decoder_;
    std::string unknown_;
    bool isUsed_ = true;
};

}  // namespace

bool PlayLog(const std::string& path, const StoreLogOptions& options, StoreTree& tree, LeapRule& leaps) {
    StoreLog log(path, options, tree, leaps);
    return ReadLog(path, log) && log.IsUsed();
}

}  // namespace Host

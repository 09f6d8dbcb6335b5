#include "host/fix/FixComponent.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <fmt/format.h>

#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacUpdate.h"
#include "gnss/platform/Event.h"
#include "gnss/store/GNSSLink.h"
#include "host/fix/FixNotes.h"
#include "host/fix/FixPosition.h"

namespace Host {

using GNSS::GNSSLink;

namespace {

// Under which the stores publish what they have accepted.
constexpr const char* AlmanacOutputs = "Almanac";
constexpr const char* EphemerisOutputs = "Ephemeris";
constexpr const char* Source = "Fix";

// A nonpositive step of time, and one that a receiver at work does not make, s.
constexpr double LeastStep = 1e-3;
constexpr double LongStep = 300.0;
// Of epochs that are left out the first ones are told, then one of so many.
constexpr std::int64_t MaxTold = 100;
constexpr std::int64_t OneToldOf = 1000;

}  // namespace

const Corvane::Type& PublishedFix::Type() {
    static const Corvane::Type type("Published Fix");
    return type;
}

const Corvane::Type& FixComponent::PositionType() {
    static const Corvane::Type type("Position");
    return type;
}

const Corvane::Type& FixComponent::ChannelsType() {
    static const Corvane::Type type("GLONASS Channels");
    return type;
}

const Corvane::Type& FixComponent::RemarksType() {
    static const Corvane::Type type("Fix Remarks");
    return type;
}

FixComponent::FixComponent(const FixSettings& settings)
    : Component(Corvane::Ident(Name), CycleMS),
      fix_(settings),
      measurements_(*this, GNSS::MeasSet::Type, &FixComponent::OnMeasurements),
      health_(*this, GNSS::SVHealth::Update::Type, &FixComponent::OnHealth),
      almanac_(*this, GNSSLink::AlmanacType, &FixComponent::OnAlmanac, AlmanacOutputs),
      almanacUpdate_(*this, GNSSLink::AlmanacUpdateType, &FixComponent::OnAlmanacUpdate, AlmanacOutputs),
      almanacCalculator_(*this, GNSSLink::AlmanacCalcType, &FixComponent::OnAlmanacCalculator, AlmanacOutputs),
      gpsCalculator_(*this, GNSSLink::GPSEphemerisCalcType, &FixComponent::OnGPSCalculator, EphemerisOutputs),
      glonassCalculator_(*this, GNSSLink::GlonassEphemerisCalcType, &FixComponent::OnGlonassCalculator,
                         EphemerisOutputs),
      channels_(*this, ChannelsType(), &FixComponent::OnChannels),
      remarksResponse_(*this, RemarksType(), &FixComponent::OnRemarks),
      positionLink_(*this, PositionType(), Name),
      fixLink_(*this, PublishedFix::Type(), Name),
      historyLink_(*this, GNSS::Notes::HistoryType, Name) {}

void FixComponent::Clear() {
    fix_.Reset();
    history_.Reset();
    last_.reset();
    lastClock_.reset();
    nmrBackward_ = 0;
    waiting_ = {};
    remarks_ = {};
    step_ = stepBefore_ = 0.0;
    missing_.Reset();
    counts_ = {};
}

void FixComponent::BeginAnew() {
    fix_.Reset();
    step_ = stepBefore_ = 0.0;
    missing_.Reset();
    last_.reset();
    lastClock_.reset();
    nmrBackward_ = 0;
}

// A whole almanac, as of a file: one that is not the built-in one has been received at some time.
void FixComponent::OnAlmanac(const std::shared_ptr<const GNSS::Almanac>& almanac) {
    inputs_.hasIonosphere = inputs_.hasIonosphere || !(almanac->GetIono() == GNSS::Almanac::Iono());
}

void FixComponent::OnAlmanacUpdate(const GNSS::Almanac::Update& update) {
    inputs_.hasIonosphere = inputs_.hasIonosphere || update.IsIono();
}

// Whether an epoch follows the last one.
bool FixComponent::IsNext(const GNSS::GPSTime& time) {
    if (!last_) return true;
    const double step = (time - *last_).Seconds();
    if (step > LeastStep) {
        // A gap is one step; when the next one is as long, that is the interval from now on.
        const double usual = GetInterval();
        if (usual > 0.0 && step > std::max(Gap, GapSteps * usual))
            waiting_.AddNote(static_cast<int>(FixNote::EpochGap), "No measurements for a time before");
        stepBefore_ = std::exchange(step_, step);
        return true;
    }
    const bool repeated = step > -LeastStep;
    if (!repeated && ++nmrBackward_ > MaxBackward) {
        Corvane::Event::AddEvent(Source, fmt::format("The stream begins anew at an earlier time: {} instead of {}.",
                                                     time.PrintRound(3).str(), last_->PrintRound(3).str()));
        BeginAnew();
        return true;
    }
    ++(repeated ? counts_.repeated : counts_.outOfOrder);
    // Two streams of one receiver repeat every epoch, for months.
    const std::int64_t nmr = counts_.repeated + counts_.outOfOrder;
    if (nmr <= MaxTold || nmr % OneToldOf == 0) {
        Corvane::Event::AddEvent(Source,
                                 fmt::format("Epoch {} {}, and is left out{}.", time.PrintRound(3).str(),
                                             repeated ? "is repeated" : "comes after a later one",
                                             nmr > MaxTold ? fmt::format("; {} of both kinds so far", nmr) : ""));
    }
    const FixNote note = repeated ? FixNote::EpochRepeated : FixNote::EpochOutOfOrder;
    waiting_.AddNote(static_cast<int>(note),
                     repeated ? "A repeated epoch was left out" : "An epoch out of order was left out");
    return false;
}

// Says when the receiver has set its clock.
void FixComponent::RemarkOnClock(const FixResult& result, GNSS::Notes& notes) {
    const std::optional<double> clock = result.clockGPS ? result.clockGPS : result.clockGlonass;
    if (result.valid && clock) {
        const double step = last_ ? (result.time - *last_).Seconds() : 0.0;
        if (lastClock_ && step < LongStep) {
            if (std::abs(*clock - *lastClock_ - lastDrift_ * step) > ClockJump) {
                notes.AddNote(static_cast<int>(FixNote::ClockJump), "The receiver's clock has jumped");
            }
        }
        lastClock_ = clock;
        lastDrift_ = result.velocity.valid ? result.velocity.clockDrift : 0.0;
    } else {
        lastClock_.reset();
    }
}

void FixComponent::OnMeasurements(const GNSS::MeasSet& set) {
    const GNSS::GPSTime time = set.GetGPSTime();
    if (!IsNext(time)) return;
    auto published = std::make_shared<PublishedFix>();
    published->result = fix_.Compute(set, inputs_);
    published->notes = MakeNotes(published->result, fix_.GetSettings());
    RemarkOnClock(published->result, published->notes);
    missing_.Update(published->result, inputs_, fix_.GetSettings(), published->notes);
    published->notes.AddNotes(waiting_, 0);
    published->notes.AddNotes(remarks_, 0);
    published->position = MakePosition(published->result, fix_.GetSettings(), published->notes);

    waiting_ = {};
    remarks_ = {};
    nmrBackward_ = 0;
    last_ = time;
    ++counts_.epochs;
    counts_.fixes += published->result.valid ? 1 : 0;
    history_.Update(*published->position.GetTimeDate(), published->notes);
    positionLink_.Publish(published->position);
    fixLink_.Publish(std::move(published));
    historyLink_.Publish(history_);
}

}  // namespace Host

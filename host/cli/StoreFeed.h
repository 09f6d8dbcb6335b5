// StoreFeed: a log played into the stores.
#pragma once

#include <string_view>

#include "host/receiver/LeapRule.h"
#include "host/receiver/ReceiverSink.h"
#include "host/receiver/RecordMaker.h"
#include "host/receiver/RinexNavigation.h"
#include "host/stores/StoreTree.h"

namespace Host {

// Takes what a decoder delivers, has the records made and sends them through the tree's navigation component, cycles
// the tree as the log's time passes, and leads the process's clock and leap-second rule along it. The rule is that of
// the stream until it changes or the almanac store takes broadcast UTC parameters, which then hold. One object for each
// log; the tree and the rule must outlive it.
class StoreFeed : public ReceiverSink {
public:
    StoreFeed(StoreTree& tree, LeapRule& leaps) : tree_(tree), leaps_(leaps), maker_(tree.GetNavigation()) {}

    void OnTime(const GNSS::GPSTime& time) override;
    void OnLeapSeconds(int seconds) override { maker_.OnLeapSeconds(seconds); }
    void OnSubframe(const GPSSubframe& subframe) override { maker_.OnSubframe(subframe); }
    void OnString(const GlonassString& string) override { maker_.OnString(string); }
    void OnEphemeride(const GPSDecodedEphemeride& record) override { maker_.OnEphemeride(record); }
    void OnEphemeride(const GlonassDecodedEphemeride& record) override { maker_.OnEphemeride(record); }
    void OnIono(const GNSS::Almanac::Iono& record) override { maker_.OnIono(record); }
    void OnUTC(const GNSS::Almanac::UTC& record) override { maker_.OnUTC(record); }

    // A whole navigation file: its records as they were sent, and ahead of them, as the header has no date, its
    // ionosphere and UTC parameters. The name is for the warnings, which go to standard error.
    void Play(const RinexNavigation& navigation, std::string_view file);
    // The log has ended: whatever is on its way arrives.
    void Finish() { tree_.Drain(); }

    [[nodiscard]] const RecordMaker& Maker() const { return maker_; }

private:
    StoreTree& tree_;
    LeapRule& leaps_;
    RecordMaker maker_;
};

}  // namespace Host

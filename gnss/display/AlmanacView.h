// GNSS::AlmanacView: the almanac parameter by parameter.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "gnss/almanac/Almanac.h"
#include "gnss/almanac/AlmanacCalculator.h"
#include "gnss/almanac/AlmanacUpdate.h"
#include "gnss/display/RecordTable.h"
#include "gnss/display/RecordView.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Response.h"
#include "gnss/platform/Symbol.h"
#include "gnss/time/GPSTime.h"

namespace GNSS {

// Shows the almanacs of both systems, GLONASS with a switch, and the parameters of ionosphere and UTC, which say
// whether they have been broadcast or are the built-in ones. See RecordView.
//
// Listens to the outputs of an almanac store: whatever it publishes makes the view look at the almanac of now.
class GNSS_EXPORT AlmanacView : public RecordView {
public:
    static const Corvane::Ident ID;

    AlmanacView();
    ~AlmanacView() override;

    // From any thread.
    void SetAlmanac(const Almanac& almanac);
    [[nodiscard]] Almanac GetAlmanac() const;
    // Shows a fresh almanac.
    void Clear() override { SetAlmanac(Almanac()); }

protected:
    [[nodiscard]] std::vector<RecordTable> MakeTables(const GPSTime& now, bool withGlonass) const override;

private:
    void OnAlmanac(const Almanac& /*almanac*/) { Look(); }
    void OnUpdate(const Almanac::Update& /*update*/) { Look(); }
    void OnCalculator(const std::shared_ptr<const Almanac::Calculator>& /*calculator*/) { Look(); }
    void Look();

    mutable std::mutex mutex_;
    Almanac almanac_;
    Corvane::Response<Almanac> almanacInput_;
    Corvane::Response<Almanac::Update> updateInput_;
    // A whole almanac that the store takes is followed by the calculator alone.
    Corvane::Response<Almanac::Calculator> calculatorInput_;
};

}  // namespace GNSS

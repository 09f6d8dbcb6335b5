// GNSS::UKOOA: the quality of a least-squares position fix, in the figures of the UKOOA guidelines.
#pragma once

#include <vector>

#include "gnss/geodesy/GridSD.h"
#include "gnss/geodesy/LocalGrid.h"
#include "gnss/platform/Ellipse.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/LLSq.h"
#include "gnss/platform/Matrix.h"
#include "gnss/platform/String.h"
#include "gnss/time/GlonassSlot.h"
#include "gnss/time/PRN.h"

namespace GNSS {

// Takes over the statistics of an adjustment (see Corvane::LLSq), names the observation of each residual, and tells
// which reference stations took part. A plain value; a copy has stations and residuals of its own. The default is of
// no fix: figures of 0, nothing tested (at 99 % and 80 %), and no stations.
class GNSS_EXPORT UKOOA {
public:
    class Desc;     // in UKOOADesc.h
    class Resid;    // in UKOOAResid.h
    class Station;  // in UKOOAStation.h

    // The largest external reliability of a fix: how far an undetected error in one observation may move it.
    struct ExtRel {
        double value = 0.0;  // metres
        int index = -1;      // of the residual; -1 when there is none, or it is not known

        friend bool operator==(const ExtRel&, const ExtRel&) = default;
    };

    using DescList = std::vector<Desc>;  // which is also Desc::List

    // What the height observation is called.
    static const Desc Height;

    UKOOA();
    UKOOA(const UKOOA& other);
    UKOOA(UKOOA&& other) noexcept;
    UKOOA& operator=(const UKOOA& other);
    UKOOA& operator=(UKOOA&& other) noexcept;
    ~UKOOA();

    // Takes over one adjustment whose first three unknowns are earth-centred coordinates in metres. The descriptions
    // name its observations in their order; where the lists differ in length, what is beyond the shorter is dropped.
    // The degrees of freedom become fewer by the observations that have no description, and more by the descriptions
    // that have no observation.
    //
    // The covariance of the position, earth-centred in m2, gives standard deviations and ellipse, both of one standard
    // deviation. When the grid cannot take it, or a variance is negative, the standard deviations are reset and the
    // ellipse stays; it stays too when east and north are correlated by more than their variances allow.
    //
    // The stations of the observations that were not rejected become used; those that were used before stay so, which
    // is what a fix of several adjustments needs (ResetUsedStations starts afresh).
    void Set(const DescList& descs, const Corvane::LLSq::Stats& stats, const LocalGrid& grid,
             const Corvane::Matrix& ecefCovar, int requestedStations);
    // For records that come from elsewhere than an adjustment: the figures one by one, external reliabilities in
    // metres, from residuals that are not known.
    void SetBasicStats(Corvane::LLSq::Confidence confidence, Corvane::LLSq::Power power, int freedom,
                       double unitVariance, Corvane::LLSq::FTest fTest, double rms, double extRel2D, double extRel3D);
    void SetPositionStats(const Grid::SD& sd, const Corvane::Ellipse& horizEllipse);
    // Appends a residual. The five figures are those of Resid in their order. No station becomes used.
    void AddResid(const Desc& desc, bool rejected, double residual, double standardised, double sd, double mdb,
                  double redundancy, Corvane::LLSq::WTest wTest, const Grid& extRel);
    // Adds a station at its place by ident; nothing happens when there is one of that ident.
    void AddStation(int ident, const Corvane::String& name, int rtcmID);
    // No station is used.
    void ResetUsedStations();
    // No stations.
    void ResetStations();
    // As the default.
    void Reset();

    [[nodiscard]] Corvane::LLSq::Confidence GetConfidence() const { return confidence_; }
    [[nodiscard]] Corvane::LLSq::Power GetPower() const { return power_; }
    [[nodiscard]] int NmrFreedom() const { return freedom_; }
    // Without dimension; 1 is what the standard deviations of the observations promise.
    [[nodiscard]] double UnitVariance() const { return unitVariance_; }
    [[nodiscard]] Corvane::LLSq::FTest GetFTestResult() const { return fTest_; }
    [[nodiscard]] bool FTestFailed() const { return fTest_ == Corvane::LLSq::FFailed; }
    // Of the residuals, metres.
    [[nodiscard]] double RMS() const { return rms_; }
    [[nodiscard]] const ExtRel& GetExtRel2D() const { return extRel2D_; }  // horizontal
    [[nodiscard]] const ExtRel& GetExtRel3D() const { return extRel3D_; }
    [[nodiscard]] const Grid::SD& GetSD() const { return sd_; }
    [[nodiscard]] const Corvane::Ellipse& GetHorizEllipse() const { return horizEllipse_; }

    // By ident, ascending; an empty one outside the list.
    [[nodiscard]] int NmrStation() const;
    [[nodiscard]] const Station& GetStation(int i) const;
    // Null when there is none; the first by ident when several stations send one RTCM id.
    [[nodiscard]] const Station* FindStation(int ident) const;
    [[nodiscard]] const Station* FindStationByRTCM(int rtcmID) const;
    // In the order of the observations; an empty one outside the list.
    [[nodiscard]] int NmrResid() const;
    [[nodiscard]] const Resid& GetResid(int i) const;
    // How many stations the fix was to use, and how many it did.
    [[nodiscard]] int NmrRequestedStation() const { return requestedStations_; }
    [[nodiscard]] int NmrUsedStation() const { return usedStations_; }

    // The largest minimal detectable bias of all observations, in metres, rejected ones included. 0.0 when there is
    // none, so also when no observation is testable.
    [[nodiscard]] double GetIntRel() const;
    // How many observations there are of a satellite, of whatever stations, and how many of them are rejected.
    void GetPRNStatus(const PRN& prn, int& observations, int& rejected) const;
    void GetSlotStatus(const Glonass::Slot& slot, int& observations, int& rejected) const;

private:
    void TakePosition(const LocalGrid& grid, const Corvane::Matrix& ecefCovar);
    void SetStationUsed(const Desc& desc);

    Corvane::LLSq::Confidence confidence_ = Corvane::LLSq::Confidence99;
    Corvane::LLSq::Power power_ = Corvane::LLSq::Power80;
    int freedom_ = 0;
    double unitVariance_ = 0.0;
    Corvane::LLSq::FTest fTest_ = Corvane::LLSq::FNotTestable;
    double rms_ = 0.0;
    ExtRel extRel2D_;
    ExtRel extRel3D_;
    Grid::SD sd_;
    Corvane::Ellipse horizEllipse_;
    std::vector<Station> stations_;  // by ident
    std::vector<Resid> resids_;
    int requestedStations_ = 0;
    int usedStations_ = 0;
};

}  // namespace GNSS

#include "gnss/position/UKOOA.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "gnss/geodesy/GridCovar.h"
#include "gnss/platform/Number.h"
#include "gnss/position/UKOOADesc.h"
#include "gnss/position/UKOOAResid.h"
#include "gnss/position/UKOOAStation.h"

namespace GNSS {
namespace {

using Corvane::LLSq;

constexpr double Rounding = 1e-10;

template <typename Element>
const Element& At(const std::vector<Element>& elements, int i, const Element& none) {
    return i >= 0 && static_cast<std::size_t>(i) < elements.size() ? elements[static_cast<std::size_t>(i)] : none;
}

template <typename Station>
auto PlaceOf(const std::vector<Station>& stations, int ident) {
    return std::lower_bound(stations.begin(), stations.end(), ident,
                            [](const Station& station, int value) { return station.GetIdent() < value; });
}

// Counts the observations that the predicate takes for a satellite's.
template <typename Resid, typename IsOfSatellite>
void CountStatus(const std::vector<Resid>& resids, int& observations, int& rejected, IsOfSatellite isOfSatellite) {
    observations = 0;
    rejected = 0;
    for (const Resid& resid : resids) {
        if (!resid.GetDesc().IsValid() || !isOfSatellite(resid.GetDesc())) continue;
        ++observations;
        if (resid.IsRejected()) ++rejected;
    }
}

}  // namespace

UKOOA::Resid::Resid(const Desc& desc, const LLSq::Resid& resid, const LocalGrid& grid)
    : desc_(desc), rejected_(resid.IsRejected()), wTest_(resid.GetWTest()) {
    for (std::size_t i = 0; i < statistics_.size(); ++i) statistics_[i] = resid.GetStatistic(static_cast<int>(i));
    const auto& extRel = resid.GetExtRel();
    grid.GetGrid(ECEF::Delta(extRel[0], extRel[1], extRel[2]), extRel_);
}

UKOOA::UKOOA() = default;
UKOOA::UKOOA(const UKOOA& other) = default;
UKOOA::UKOOA(UKOOA&& other) noexcept = default;
UKOOA& UKOOA::operator=(const UKOOA& other) = default;
UKOOA& UKOOA::operator=(UKOOA&& other) noexcept = default;
UKOOA::~UKOOA() = default;

void UKOOA::Set(const DescList& descs, const LLSq::Stats& stats, const LocalGrid& grid,
                const Corvane::Matrix& ecefCovar, int requestedStations) {
    const int nmrResid = stats.NmrResid();
    const int nmrDesc = static_cast<int>(descs.size());
    const int nmr = std::min(nmrResid, nmrDesc);
    // Everything that may run out of memory comes before the first change.
    resids_.reserve(static_cast<std::size_t>(nmr));

    const std::int64_t dropped = std::int64_t{nmrResid} - nmrDesc;
    SetBasicStats(stats.GetConfidence(), stats.GetPower(), Corvane::Saturate(stats.NmrFreedom() - dropped),
                  stats.UnitVariance(), stats.GetFTestResult(), stats.RMS(), 0.0, 0.0);
    requestedStations_ = requestedStations;
    TakePosition(grid, ecefCovar);

    resids_.clear();
    for (int i = 0; i < nmr; ++i) {
        const Resid& resid = resids_.emplace_back(descs[static_cast<std::size_t>(i)], stats.GetResid(i), grid);
        if (resid.IsRejected()) continue;
        SetStationUsed(resid.GetDesc());
        const Grid& extRel = resid.GetExtRel();
        const double horizontal = extRel.GetEast() * extRel.GetEast() + extRel.GetNorth() * extRel.GetNorth();
        const double spatial = horizontal + extRel.GetHeight() * extRel.GetHeight();
        if (horizontal > extRel2D_.value) extRel2D_ = {horizontal, i};
        if (spatial > extRel3D_.value) extRel3D_ = {spatial, i};
    }
    extRel2D_.value = Corvane::root(extRel2D_.value, Rounding);
    extRel3D_.value = Corvane::root(extRel3D_.value, Rounding);
}

void UKOOA::TakePosition(const LocalGrid& grid, const Corvane::Matrix& ecefCovar) {
    sd_.Reset();
    Grid::Covar covar;
    if (!grid.GetGridCovarFromECEF(ecefCovar, covar)) return;
    if (!sd_.SetFrom(covar, Corvane::NormPercent::OneSD)) return;
    // A standard deviation of zero leaves no correlation, and no covariance either.
    const double product = sd_.GetEast() * sd_.GetNorth();
    const double covariance = product > 0.0 ? sd_.GetCorrelationEastNorth() * product : 0.0;
    horizEllipse_.SetFrom(sd_.GetEast() * sd_.GetEast(), sd_.GetNorth() * sd_.GetNorth(), covariance);
}

void UKOOA::SetStationUsed(const Desc& desc) {
    if (!desc.IsCorrected()) return;
    const auto place = PlaceOf(stations_, desc.GetStationID());
    if (place == stations_.end() || place->GetIdent() != desc.GetStationID()) return;
    if (stations_[static_cast<std::size_t>(place - stations_.begin())].SetToUsed()) ++usedStations_;
}

void UKOOA::SetBasicStats(LLSq::Confidence confidence, LLSq::Power power, int freedom, double unitVariance,
                          LLSq::FTest fTest, double rms, double extRel2D, double extRel3D) {
    confidence_ = confidence;
    power_ = power;
    freedom_ = freedom;
    unitVariance_ = unitVariance;
    fTest_ = fTest;
    rms_ = rms;
    extRel2D_ = {extRel2D, -1};
    extRel3D_ = {extRel3D, -1};
}

void UKOOA::SetPositionStats(const Grid::SD& sd, const Corvane::Ellipse& horizEllipse) {
    sd_ = sd;
    horizEllipse_ = horizEllipse;
}

void UKOOA::AddResid(const Desc& desc, bool rejected, double residual, double standardised, double sd, double mdb,
                     double redundancy, LLSq::WTest wTest, const Grid& extRel) {
    resids_.emplace_back(desc, rejected, std::array{residual, standardised, sd, mdb, redundancy}, wTest, extRel);
}

void UKOOA::AddStation(int ident, const Corvane::String& name, int rtcmID) {
    const auto place = PlaceOf(stations_, ident);
    if (place == stations_.end() || place->GetIdent() != ident) stations_.emplace(place, ident, name, rtcmID);
}

void UKOOA::ResetUsedStations() {
    for (Station& station : stations_) station.ResetUsed();
    usedStations_ = 0;
}

void UKOOA::ResetStations() {
    stations_.clear();
    usedStations_ = 0;
}

void UKOOA::Reset() {
    *this = UKOOA();
}

int UKOOA::NmrStation() const {
    return static_cast<int>(stations_.size());
}

const UKOOA::Station& UKOOA::GetStation(int i) const {
    static const Station none;
    return At(stations_, i, none);
}

const UKOOA::Station* UKOOA::FindStation(int ident) const {
    const auto place = PlaceOf(stations_, ident);
    return place != stations_.end() && place->GetIdent() == ident ? &*place : nullptr;
}

const UKOOA::Station* UKOOA::FindStationByRTCM(int rtcmID) const {
    const auto found = std::find_if(stations_.begin(), stations_.end(),
                                    [rtcmID](const Station& station) { return station.GetRTCMID() == rtcmID; });
    return found == stations_.end() ? nullptr : &*found;
}

int UKOOA::NmrResid() const {
    return static_cast<int>(resids_.size());
}

const UKOOA::Resid& UKOOA::GetResid(int i) const {
    static const Resid none;
    return At(resids_, i, none);
}

double UKOOA::GetIntRel() const {
    double largest = 0.0;
    for (const Resid& resid : resids_) {
        if (resid.GetMDB() > largest) largest = resid.GetMDB();
    }
    return largest;
}

void UKOOA::GetPRNStatus(const PRN& prn, int& observations, int& rejected) const {
    CountStatus(resids_, observations, rejected,
                [&prn](const Desc& desc) { return desc.IsPRNBased() && desc.GetPRN() == prn; });
}

void UKOOA::GetSlotStatus(const Glonass::Slot& slot, int& observations, int& rejected) const {
    CountStatus(resids_, observations, rejected,
                [&slot](const Desc& desc) { return desc.IsSlotBased() && desc.GetSlot() == slot; });
}

}  // namespace GNSS

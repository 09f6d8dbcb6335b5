// GNSS::Position::CalcInfo: how a fix was computed.
#pragma once

#include <cstdint>

#include "gnss/platform/Export.h"
#include "gnss/position/Position.h"

namespace GNSS {

// Flags that the computation raises as it goes on; only Reset lowers them, but for those that say that a service has
// converged. The default is as after Reset.
class GNSS_EXPORT Position::CalcInfo {
public:
    // The systems whose satellites took part.
    enum Mode : std::int32_t {
        GPSOnly = 0,
        GlonassOnly = 1,
        GPSAndGlonass = 2,
        NoneYet = 3,
    };

    constexpr void Reset() { *this = CalcInfo(); }

    constexpr void SetValid() { valid_ = true; }
    [[nodiscard]] constexpr bool IsValid() const { return valid_; }
    constexpr void SetDualFreqy() { dualFreqy_ = true; }
    [[nodiscard]] constexpr bool IsDualFreqy() const { return dualFreqy_; }
    constexpr void SetDifferential() { differential_ = true; }
    [[nodiscard]] constexpr bool IsDifferential() const { return differential_; }
    constexpr void SetHeightAid() { heightAided_ = true; }
    [[nodiscard]] constexpr bool IsHeightAided() const { return heightAided_; }
    // By precise orbits and clocks.
    constexpr void SetPrecise() { precise_ = true; }
    [[nodiscard]] constexpr bool IsPrecise() const { return precise_; }
    constexpr void SetGlonass() { glonass_ = true; }
    [[nodiscard]] constexpr bool IsGlonass() const { return glonass_; }

    constexpr void SetCalcMode(Mode mode) { calcMode_ = mode; }
    [[nodiscard]] constexpr Mode GetCalcMode() const { return calcMode_; }
    // Takes in what another part of the computation used: the first mode is taken as it is, one that differs from what
    // there is makes GPS and GLONASS. That NoneYet, added to a mode, differs too is intended.
    constexpr void AddCalcMode(Mode mode) {
        if (calcMode_ == mode || calcMode_ == GPSAndGlonass) return;
        calcMode_ = calcMode_ == NoneYet ? mode : GPSAndGlonass;
    }
    [[nodiscard]] constexpr bool IsGPSCalcMode() const { return calcMode_ == GPSOnly || calcMode_ == GPSAndGlonass; }
    [[nodiscard]] constexpr bool IsGlonassCalcMode() const {
        return calcMode_ == GlonassOnly || calcMode_ == GPSAndGlonass;
    }

    // The three correction services: whether the fix used the service, whether the service's solution has converged,
    // and whether it came by its backup. Without any call they are not used, converged and on backup; intended.
    constexpr void SetNorviConverged(bool converged) { norvi_.converged = converged; }
    [[nodiscard]] constexpr bool IsNorviConverged() const { return norvi_.converged; }
    constexpr void SetNorvi() { norvi_.used = true; }
    [[nodiscard]] constexpr bool IsNorvi() const { return norvi_.used; }
    constexpr void SetNorviBackup() { norvi_.backup = true; }
    [[nodiscard]] constexpr bool IsNorviBackup() const { return norvi_.backup; }

    constexpr void SetElkanConverged(bool converged) { elkan_.converged = converged; }
    [[nodiscard]] constexpr bool IsElkanConverged() const { return elkan_.converged; }
    constexpr void SetElkan() { elkan_.used = true; }
    [[nodiscard]] constexpr bool IsElkan() const { return elkan_.used; }
    constexpr void SetElkanBackup() { elkan_.backup = true; }
    [[nodiscard]] constexpr bool IsElkanBackup() const { return elkan_.backup; }

    constexpr void SetMorraConverged(bool converged) { morra_.converged = converged; }
    [[nodiscard]] constexpr bool IsMorraConverged() const { return morra_.converged; }
    constexpr void SetMorra() { morra_.used = true; }
    [[nodiscard]] constexpr bool IsMorra() const { return morra_.used; }
    constexpr void SetMorraBackup() { morra_.backup = true; }
    [[nodiscard]] constexpr bool IsMorraBackup() const { return morra_.backup; }

private:
    struct Service {
        bool converged = true;
        bool used = false;
        bool backup = true;
    };

    bool valid_ = false;
    bool dualFreqy_ = false;
    bool differential_ = false;
    bool heightAided_ = false;
    bool precise_ = false;
    bool glonass_ = false;
    Mode calcMode_ = NoneYet;
    Service norvi_;
    Service elkan_;
    Service morra_;
};

}  // namespace GNSS

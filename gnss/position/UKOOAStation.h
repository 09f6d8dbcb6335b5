// GNSS::UKOOA::Station: a reference station that a fix may use.
#pragma once

#include <utility>

#include "gnss/platform/String.h"
#include "gnss/position/UKOOA.h"

namespace GNSS {

class UKOOA::Station {
public:
    Station() = default;
    Station(int ident, Corvane::String name, int rtcmID) : ident_(ident), name_(std::move(name)), rtcmID_(rtcmID) {}

    // What the descriptions of corrected observations call it.
    [[nodiscard]] int GetIdent() const { return ident_; }
    [[nodiscard]] const Corvane::String& GetName() const { return name_; }
    // What it calls itself in its corrections.
    [[nodiscard]] int GetRTCMID() const { return rtcmID_; }
    [[nodiscard]] bool IsUsed() const { return used_; }
    // True when it was not used yet.
    bool SetToUsed() { return !std::exchange(used_, true); }
    void ResetUsed() { used_ = false; }

private:
    int ident_ = 0;
    Corvane::String name_;
    int rtcmID_ = 0;
    bool used_ = false;
};

}  // namespace GNSS

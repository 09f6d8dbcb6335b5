// GNSS::Almanac::Update: one change of an almanac, as it travels between those who make and those who keep it.
#pragma once

#include <cstdint>
#include <variant>

#include "gnss/almanac/Almanac.h"
#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/platform/Export.h"
#include "gnss/time/PRN.h"

namespace GNSS {

// Says what has changed and, with a single record, holds a copy of it. Without its record an update says only that
// there was a change of that kind.
class GNSS_EXPORT Almanac::Update {
public:
    enum Type : std::int32_t {
        SV = 1,
        Iono = 2,
        UTC = 3,
        Full = 4,  // a whole new almanac; never holds a record
        GlonassSV = 5,
    };

    // Without a record.
    explicit Update(Type type) : type_(type) {}
    // A change of a GPS satellite, without its record.
    explicit Update(const PRN& prn) : type_(SV), prn_(prn) {}
    explicit Update(const Almanac::SV& sv) : type_(SV), prn_(sv.prn), record_(sv) {}
    explicit Update(const Almanac::Iono& iono) : type_(Iono), record_(iono) {}
    explicit Update(const Almanac::UTC& utc) : type_(UTC), record_(utc) {}
    explicit Update(const Almanac::GlonassSV& sv) : type_(GlonassSV), record_(sv) {}

    [[nodiscard]] Type GetType() const { return type_; }
    [[nodiscard]] bool IsSV() const { return type_ == SV; }
    [[nodiscard]] bool IsIono() const { return type_ == Iono; }
    [[nodiscard]] bool IsUTC() const { return type_ == UTC; }
    [[nodiscard]] bool IsFull() const { return type_ == Full; }
    [[nodiscard]] bool IsGlonassSV() const { return type_ == GlonassSV; }

    // Whether there is a record, which is of the kind that the type says.
    [[nodiscard]] bool HasData() const { return !std::holds_alternative<std::monostate>(record_); }
    // The GPS satellite; null for other changes and when it was not said.
    [[nodiscard]] PRN GetPRN() const { return prn_; }
    // The record; null when the update holds none of this kind. Good as long as the update is.
    [[nodiscard]] const Almanac::SV* GetSV() const { return std::get_if<Almanac::SV>(&record_); }
    [[nodiscard]] const Almanac::Iono* GetIono() const { return std::get_if<Almanac::Iono>(&record_); }
    [[nodiscard]] const Almanac::UTC* GetUTC() const { return std::get_if<Almanac::UTC>(&record_); }
    [[nodiscard]] const Almanac::GlonassSV* GetGlonassSV() const { return std::get_if<Almanac::GlonassSV>(&record_); }

private:
    Type type_;
    PRN prn_;
    std::variant<std::monostate, Almanac::SV, Almanac::Iono, Almanac::UTC, Almanac::GlonassSV> record_;
};

}  // namespace GNSS

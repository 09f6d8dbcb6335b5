// GNSS::Position: the record of one position fix, its coordinate and whatever else is known of it.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "gnss/fwd.h"
#include "gnss/geodesy/Geog.h"
#include "gnss/geodesy/Grid.h"
#include "gnss/geodesy/Spheroid.h"
#include "gnss/platform/CopyOnWrite.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"
#include "gnss/platform/Symbol.h"
#include "gnss/platform/TimeDate.h"

namespace GNSS {

// An ordered list of attributes, at most one of each identifier. Who makes a fix attaches what it knows; who reads one
// asks for what it needs, and gets null for what is not there.
//
// The attributes' types have headers of their own, named after them (PositionCalcInfo.h); PositionAttribute.h has them
// all.
//
// A handle: a copy shares the body, and what changes a position takes a private body first, so that nobody sees another
// holder's changes. Different positions may be used by different threads at once, each by one thread at a time. A
// pointer that a getter gave is good until that position is next changed, assigned or destroyed.
//
// What a setter is given it stores as it is, in the place of the attribute of that identifier or, without one, after
// all others. A setter that throws for want of memory leaves the position as it was.
class GNSS_EXPORT Position {
public:
    class Attribute;  // what all attributes are
    template <typename T>
    class SimpleAttrib;  // one that holds a value

    class Coord;         // the coordinate
    class Geoid;         // geoid separation
    class VelocityInfo;  // course and speed
    class CalcInfo;      // how the fix was computed
    class StatusInfo;    // the reference stations of a differential fix

    // By which of the host's methods the fix was computed, under the name that the operator reads, and how well it
    // stands. A plain value.
    class GNSS_EXPORT SolutionMode {
    public:
        enum Status : std::int32_t {
            Settled = 0,     // at the accuracy that the mode promises
            Settling = 1,    // still converging
            NoSolution = 2,  // no fix
        };

        // No solution.
        SolutionMode() = default;
        SolutionMode(const Corvane::String& name, int level, int maxLevel, Status status)
            : name_(name), level_(level), maxLevel_(maxLevel), status_(status) {}
        void Set(const Corvane::String& name, int level, int maxLevel, Status status);
        // Back to no solution: "No Solution", level 0 of 0.
        void Reset();

        [[nodiscard]] const Corvane::String& GetName() const { return name_; }
        // The rank of the mode among those that the host could have reached, from 0 up to the highest. As set.
        [[nodiscard]] int GetLevel() const { return level_; }
        [[nodiscard]] int GetMaxLevel() const { return maxLevel_; }
        [[nodiscard]] Status GetStatus() const { return status_; }

        // The name for a fix with so many GLONASS satellites: without any, a "+GLO" (in letters of either case) at the
        // end, or before a " (Settling)" at the end, is left out. A name that is nothing but these endings stays.
        [[nodiscard]] Corvane::String GetTrimmedName(int glonassCount) const;

        // The longest name that the host shows, by which columns of text are sized.
        static const Corvane::String MaxName;

    private:
        Corvane::String name_ = "No Solution";
        std::int32_t level_ = 0;
        std::int32_t maxLevel_ = 0;
        Status status_ = NoSolution;
    };

    // No attributes.
    Position() = default;
    // With a coordinate.
    Position(const Geog& geog, const Spheroid& spheroid) { SetCoord(geog, spheroid); }

    [[nodiscard]] int NmrAttribute() const;
    // Null when there is none: outside the list, or of the identifier.
    [[nodiscard]] const Attribute* GetAttribute(int index) const;
    [[nodiscard]] const Attribute* GetAttribute(const Corvane::Ident& ident) const;
    // The index of the attribute of an identifier, or -1.
    [[nodiscard]] int FindAttribute(const Corvane::Ident& ident) const;
    // Sets an attribute under its own identifier, for facts that have no setter here. A null one changes nothing.
    void SetAttribute(std::unique_ptr<const Attribute> attribute);
    // The others keep their order. Nothing happens when there is none.
    void RemoveAttribute(const Corvane::Ident& ident);

    // Each getter gives the value, or null when it is absent or what stands under its identifier is of another kind.

    void SetCoord(const Geog& geog, const Spheroid& spheroid);
    [[nodiscard]] const Coord* GetCoord() const;
    // The instant of the fix: in the time scale that its maker says, usually UTC; and in GPS system time.
    void SetTimeDate(const Corvane::TimeDate& time);
    [[nodiscard]] const Corvane::TimeDate* GetTimeDate() const;
    void RemoveTimeDate();
    void SetGPSTime(const GPSTime& time);
    [[nodiscard]] const GPSTime* GetGPSTime() const;
    void RemoveGPSTime();
    // Of the coordinate, in the local grid at the coordinate, square metres.
    void SetCovar(const Grid::Covar& covar);
    [[nodiscard]] const Grid::Covar* GetCovar() const;
    void SetDOP(const DOP& dop);
    [[nodiscard]] const DOP* GetDOP() const;
    void SetUKOOA(const UKOOA& ukooa);
    [[nodiscard]] const UKOOA* GetUKOOA() const;
    // The satellites seen.
    void SetConstellation(const Constellation& constellation);
    [[nodiscard]] const Constellation* GetConstel() const;
    void SetNotes(const Notes& notes);
    [[nodiscard]] const Notes* GetNotes() const;
    void SetCalcInfo(const CalcInfo& info);
    [[nodiscard]] const CalcInfo* GetCalcInfo() const;
    void SetVelocityInfo(const VelocityInfo& info);
    [[nodiscard]] const VelocityInfo* GetVelocityInfo() const;
    void SetStatusInfo(const StatusInfo& info);
    [[nodiscard]] const StatusInfo* GetStatusInfo() const;
    void SetSolutionMode(const Corvane::String& name, int level, int maxLevel, SolutionMode::Status status);
    [[nodiscard]] const SolutionMode* GetSolutionMode() const;
    // Sets the mode of no solution; the attribute is there afterwards.
    void ResetSolutionMode();
    void SetGeoid(const Geoid& geoid);
    [[nodiscard]] const Geoid* GetGeoid() const;

    // Whether the two have one body.
    [[nodiscard]] bool SharesWith(const Position& other) const { return body_.SharesWith(other.body_); }

private:
    // The body: a copy has copies of all attributes.
    class GNSS_EXPORT Body {
    public:
        Body();
        Body(const Body& other);
        Body& operator=(const Body&) = delete;
        ~Body();

        std::vector<std::unique_ptr<const Attribute>> attributes;  // never null
    };

    Corvane::CopyOnWrite<Body> body_;
};

}  // namespace GNSS

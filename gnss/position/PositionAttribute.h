// GNSS::Position::Attribute: one fact about a fix; and SimpleAttrib, which holds it as a value.
#pragma once

#include <utility>

#include "gnss/geodesy/GridCovar.h"
#include "gnss/health/Notes.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Symbol.h"
#include "gnss/platform/TimeDate.h"
#include "gnss/position/Constellation.h"
#include "gnss/position/DOP.h"
#include "gnss/position/Position.h"
#include "gnss/position/PositionCalcInfo.h"
#include "gnss/position/PositionGeoid.h"
#include "gnss/position/PositionStatusInfo.h"
#include "gnss/position/PositionVelocityInfo.h"
#include "gnss/position/UKOOA.h"
#include "gnss/time/GPSTime.h"

namespace GNSS {

// What a position holds under an identifier. Once stored it never changes: bodies are read by several threads at once.
class GNSS_EXPORT Position::Attribute {
public:
    virtual ~Attribute();
    // A deep copy, of the same identifier, that the caller owns; never null. For when a body is copied.
    [[nodiscard]] virtual Attribute* Clone() const = 0;

    [[nodiscard]] const Corvane::Ident& GetIdent() const { return ident_; }

    Attribute& operator=(const Attribute&) = delete;

protected:
    explicit Attribute(const Corvane::Ident& ident) : ident_(ident) {}
    Attribute(const Attribute&) = default;

private:
    Corvane::Ident ident_;
};

// One value of the types below.
template <typename T>
class GNSS_EXPORT Position::SimpleAttrib final : public Attribute {
public:
    explicit SimpleAttrib(T value) : Attribute(ID), value_(std::move(value)) {}
    [[nodiscard]] SimpleAttrib* Clone() const override { return new SimpleAttrib(*this); }

    [[nodiscard]] const T& GetValue() const { return value_; }

    // Under which the setters of Position store a T.
    static const Corvane::Ident ID;

private:
    T value_;
};

template <>
GNSS_EXPORT const Corvane::Ident Position::SimpleAttrib<Corvane::TimeDate>::ID;
template <>
GNSS_EXPORT const Corvane::Ident Position::SimpleAttrib<GPSTime>::ID;
template <>
GNSS_EXPORT const Corvane::Ident Position::SimpleAttrib<Grid::Covar>::ID;
template <>
GNSS_EXPORT const Corvane::Ident Position::SimpleAttrib<DOP>::ID;
template <>
GNSS_EXPORT const Corvane::Ident Position::SimpleAttrib<UKOOA>::ID;
template <>
GNSS_EXPORT const Corvane::Ident Position::SimpleAttrib<Constellation>::ID;
template <>
GNSS_EXPORT const Corvane::Ident Position::SimpleAttrib<Notes>::ID;
template <>
GNSS_EXPORT const Corvane::Ident Position::SimpleAttrib<Position::CalcInfo>::ID;
template <>
GNSS_EXPORT const Corvane::Ident Position::SimpleAttrib<Position::VelocityInfo>::ID;
template <>
GNSS_EXPORT const Corvane::Ident Position::SimpleAttrib<Position::StatusInfo>::ID;
template <>
GNSS_EXPORT const Corvane::Ident Position::SimpleAttrib<Position::SolutionMode>::ID;
template <>
GNSS_EXPORT const Corvane::Ident Position::SimpleAttrib<Position::Geoid>::ID;

// Made in the library once, so that a cast to one of them is right in every other library.
extern template class Position::SimpleAttrib<Corvane::TimeDate>;
extern template class Position::SimpleAttrib<GPSTime>;
extern template class Position::SimpleAttrib<Grid::Covar>;
extern template class Position::SimpleAttrib<DOP>;
extern template class Position::SimpleAttrib<UKOOA>;
extern template class Position::SimpleAttrib<Constellation>;
extern template class Position::SimpleAttrib<Notes>;
extern template class Position::SimpleAttrib<Position::CalcInfo>;
extern template class Position::SimpleAttrib<Position::VelocityInfo>;
extern template class Position::SimpleAttrib<Position::StatusInfo>;
extern template class Position::SimpleAttrib<Position::SolutionMode>;
extern template class Position::SimpleAttrib<Position::Geoid>;

}  // namespace GNSS

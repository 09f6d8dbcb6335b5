#include "gnss/position/Position.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "gnss/position/PositionAttribute.h"
#include "gnss/position/PositionCoord.h"
#include "gnss/position/UKOOADesc.h"
#include "gnss/position/UKOOAResid.h"
#include "gnss/position/UKOOAStation.h"

namespace GNSS {
namespace {

template <typename T>
const T* GetValue(const Position& position) {
    using Simple = Position::SimpleAttrib<T>;
    const auto* attribute = dynamic_cast<const Simple*>(position.GetAttribute(Simple::ID));
    return attribute == nullptr ? nullptr : &attribute->GetValue();
}

template <typename T>
void SetValue(Position& position, const T& value) {
    position.SetAttribute(std::make_unique<Position::SimpleAttrib<T>>(value));
}

}  // namespace

Position::Attribute::~Attribute() = default;

// Their texts are written nowhere; they only differ.
template <>
const Corvane::Ident Position::SimpleAttrib<Corvane::TimeDate>::ID("Position Time and Date");
template <>
const Corvane::Ident Position::SimpleAttrib<GPSTime>::ID("Position GPS Time");
template <>
const Corvane::Ident Position::SimpleAttrib<Grid::Covar>::ID("Position Covariance");
template <>
const Corvane::Ident Position::SimpleAttrib<DOP>::ID("Position DOP");
template <>
const Corvane::Ident Position::SimpleAttrib<UKOOA>::ID("Position UKOOA");
template <>
const Corvane::Ident Position::SimpleAttrib<Constellation>::ID("Position Constellation");
template <>
const Corvane::Ident Position::SimpleAttrib<Notes>::ID("Position Notes");
template <>
const Corvane::Ident Position::SimpleAttrib<Position::CalcInfo>::ID("Position Calculation");
template <>
const Corvane::Ident Position::SimpleAttrib<Position::VelocityInfo>::ID("Position Velocity");
template <>
const Corvane::Ident Position::SimpleAttrib<Position::StatusInfo>::ID("Position Reference Stations");
template <>
const Corvane::Ident Position::SimpleAttrib<Position::SolutionMode>::ID("Position Solution Mode");
template <>
const Corvane::Ident Position::SimpleAttrib<Position::Geoid>::ID("Position Geoid");

template class Position::SimpleAttrib<Corvane::TimeDate>;
template class Position::SimpleAttrib<GPSTime>;
template class Position::SimpleAttrib<Grid::Covar>;
template class Position::SimpleAttrib<DOP>;
template class Position::SimpleAttrib<UKOOA>;
template class Position::SimpleAttrib<Constellation>;
template class Position::SimpleAttrib<Notes>;
template class Position::SimpleAttrib<Position::CalcInfo>;
template class Position::SimpleAttrib<Position::VelocityInfo>;
template class Position::SimpleAttrib<Position::StatusInfo>;
template class Position::SimpleAttrib<Position::SolutionMode>;
template class Position::SimpleAttrib<Position::Geoid>;

Position::Body::Body() = default;
Position::Body::~Body() = default;

Position::Body::Body(const Body& other) {
    attributes.reserve(other.attributes.size());
    for (const auto& attribute : other.attributes) attributes.emplace_back(attribute->Clone());
}

int Position::NmrAttribute() const {
    return static_cast<int>(body_.Read().attributes.size());
}

const Position::Attribute* Position::GetAttribute(int index) const {
    return index >= 0 && index < NmrAttribute() ? body_.Read().attributes[static_cast<std::size_t>(index)].get()
                                                : nullptr;
}

const Position::Attribute* Position::GetAttribute(const Corvane::Ident& ident) const {
    return GetAttribute(FindAttribute(ident));
}

int Position::FindAttribute(const Corvane::Ident& ident) const {
    const auto& attributes = body_.Read().attributes;
    const auto found = std::find_if(attributes.begin(), attributes.end(),
                                    [&ident](const auto& attribute) { return attribute->GetIdent() == ident; });
    return found == attributes.end() ? -1 : static_cast<int>(found - attributes.begin());
}

void Position::SetAttribute(std::unique_ptr<const Attribute> attribute) {
    if (attribute == nullptr) return;
    const int index = FindAttribute(attribute->GetIdent());
    auto& attributes = body_.Write().attributes;
    if (index < 0) {
        attributes.push_back(std::move(attribute));
    } else {
        attributes[static_cast<std::size_t>(index)] = std::move(attribute);
    }
}

void Position::RemoveAttribute(const Corvane::Ident& ident) {
    const int index = FindAttribute(ident);
    if (index < 0) return;
    auto& attributes = body_.Write().attributes;
    attributes.erase(attributes.begin() + index);
}

void Position::SetCoord(const Geog& geog, const Spheroid& spheroid) {
    SetAttribute(std::make_unique<Coord>(geog, spheroid));
}

const Position::Coord* Position::GetCoord() const {
    return dynamic_cast<const Coord*>(GetAttribute(Coord::ID));
}

void Position::SetTimeDate(const Corvane::TimeDate& time) {
    SetValue(*this, time);
}

const Corvane::TimeDate* Position::GetTimeDate() const {
    return GetValue<Corvane::TimeDate>(*this);
}

void Position::RemoveTimeDate() {
    RemoveAttribute(SimpleAttrib<Corvane::TimeDate>::ID);
}

void Position::SetGPSTime(const GPSTime& time) {
    SetValue(*this, time);
}

const GPSTime* Position::GetGPSTime() const {
    return GetValue<GPSTime>(*this);
}

void Position::RemoveGPSTime() {
    RemoveAttribute(SimpleAttrib<GPSTime>::ID);
}

void Position::SetCovar(const Grid::Covar& covar) {
    SetValue(*this, covar);
}

const Grid::Covar* Position::GetCovar() const {
    return GetValue<Grid::Covar>(*this);
}

void Position::SetDOP(const DOP& dop) {
    SetValue(*this, dop);
}

const DOP* Position::GetDOP() const {
    return GetValue<DOP>(*this);
}

void Position::SetUKOOA(const UKOOA& ukooa) {
    SetValue(*this, ukooa);
}

const UKOOA* Position::GetUKOOA() const {
    return GetValue<UKOOA>(*this);
}

void Position::SetConstellation(const Constellation& constellation) {
    SetValue(*this, constellation);
}

const Constellation* Position::GetConstel() const {
    return GetValue<Constellation>(*this);
}

void Position::SetNotes(const Notes& notes) {
    SetValue(*this, notes);
}

const Notes* Position::GetNotes() const {
    return GetValue<Notes>(*this);
}

void Position::SetCalcInfo(const CalcInfo& info) {
    SetValue(*this, info);
}

const Position::CalcInfo* Position::GetCalcInfo() const {
    return GetValue<CalcInfo>(*this);
}

void Position::SetVelocityInfo(const VelocityInfo& info) {
    SetValue(*this, info);
}

const Position::VelocityInfo* Position::GetVelocityInfo() const {
    return GetValue<VelocityInfo>(*this);
}

void Position::SetStatusInfo(const StatusInfo& info) {
    SetValue(*this, info);
}

const Position::StatusInfo* Position::GetStatusInfo() const {
    return GetValue<StatusInfo>(*this);
}

void Position::SetSolutionMode(const Corvane::String& name, int level, int maxLevel, SolutionMode::Status status) {
    SetValue(*this, SolutionMode(name, level, maxLevel, status));
}

const Position::SolutionMode* Position::GetSolutionMode() const {
    return GetValue<SolutionMode>(*this);
}

void Position::ResetSolutionMode() {
    SetValue(*this, SolutionMode());
}

void Position::SetGeoid(const Geoid& geoid) {
    SetValue(*this, geoid);
}

const Position::Geoid* Position::GetGeoid() const {
    return GetValue<Geoid>(*this);
}

}  // namespace GNSS

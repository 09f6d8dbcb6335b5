#include "gnss/position/Position.h"

#include <memory>
#include <new>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/gnss.h"

namespace {

using Corvane::Ident;
using Corvane::String;
using GNSS::Position;

// A fact of an application's own, of which copies cannot be made when it is told so.
class Remark final : public Position::Attribute {
public:
    explicit Remark(const Ident& ident, bool canCopy = true) : Attribute(ident), canCopy_(canCopy) {}
    [[nodiscard]] Remark* Clone() const override {
        if (!canCopy_) throw std::bad_alloc();
        return new Remark(*this);
    }

private:
    bool canCopy_;
};

Position MakeFull() {
    Position fix(GNSS::Geog(GNSS::Latitude(0.0), GNSS::Longitude(0.0), 100.0), GNSS::Spheroid::WGS84);
    fix.SetTimeDate(Corvane::TimeDate(Corvane::Date(2020, 6, 25), Corvane::TimeOfDay(60.0)));
    fix.SetGPSTime(GNSS::GPSTime(2111, 345678.0));
    fix.SetCovar(GNSS::Grid::Covar(2.0, 3.0));
    fix.SetDOP(GNSS::DOP(1.0, 4.0, 9.0, 0.0));
    GNSS::UKOOA ukooa;
    ukooa.AddStation(4, "Esbjerg", 810);
    fix.SetUKOOA(ukooa);
    GNSS::Constellation constellation;
    constellation.Add(GNSS::PRN(7), {}, {}, GNSS::Constellation::HealthyGPS, false);
    fix.SetConstellation(constellation);
    GNSS::Notes notes;
    notes.AddNote(3, "rejected");
    fix.SetNotes(notes);
    Position::CalcInfo calcInfo;
    calcInfo.SetHeightAid();
    fix.SetCalcInfo(calcInfo);
    fix.SetVelocityInfo({5.0, Corvane::Angle::FromDegrees(270.0)});
    Position::StatusInfo statusInfo;
    statusInfo.AddStation(4, 810, 3.0);
    fix.SetStatusInfo(statusInfo);
    fix.SetSolutionMode("Morra", 3, 5, Position::SolutionMode::Settling);
    fix.SetGeoid(Position::Geoid(40.1));
    return fix;
}

TEST(Position, EveryFactComesBack) {
    Position fix = MakeFull();
    std::set<Ident> idents;
    for (int i = 0; i < fix.NmrAttribute(); ++i) {
        const Ident ident = fix.GetAttribute(i)->GetIdent();
        idents.insert(ident);
        EXPECT_EQ(fix.FindAttribute(ident), i);
    }
    ASSERT_EQ(idents.size(), 13U);
    EXPECT_EQ(fix.GetAttribute(0)->GetIdent(), Position::Coord::ID);
    EXPECT_EQ(fix.GetAttribute(-1), nullptr);
    EXPECT_EQ(fix.GetAttribute(13), nullptr);

    // By way of a body of its own, whose attributes are all copies.
    Position other = fix;
    other.SetGeoid(Position::Geoid(-7.5));
    EXPECT_NE(other.GetCoord(), fix.GetCoord());
    EXPECT_NEAR(other.GetCoord()->GetECEF().GetX(), 6378237.0, 1e-6);
    Position::Coord coord = *other.GetCoord();
    coord.Update(GNSS::Geog(GNSS::Latitude(90.0), GNSS::Longitude(0.0), -10.0), GNSS::Spheroid::PZ90);
    EXPECT_NEAR(coord.GetECEF().GetZ(), GNSS::Spheroid::PZ90.GetSemiMinorAxis() - 10.0, 1e-6);
    EXPECT_EQ(other.GetTimeDate()->Print(0), "2020-06-25 00:01:00");
    EXPECT_EQ(*other.GetGPSTime(), GNSS::GPSTime(2111, 345678.0));
    EXPECT_EQ(other.GetCovar()->GetVarianceEast(), GNSS::Grid::Covar(2.0, 3.0).GetVarianceEast());
    EXPECT_DOUBLE_EQ(other.GetDOP()->GetVDOP(), 3.0);
    EXPECT_NE(other.GetUKOOA()->FindStation(4), nullptr);
    EXPECT_EQ(other.GetConstel()->Find(GNSS::PRN(7)), 0);
    EXPECT_EQ((*other.GetNotes())[0].GetId(), 3);
    EXPECT_TRUE(other.GetCalcInfo()->IsHeightAided());
    EXPECT_TRUE(other.GetVelocityInfo()->IsValid() && other.GetVelocityInfo()->GetCMG().Degrees() == 270.0);
    EXPECT_EQ(other.GetStatusInfo()->NmrStation(), 1);
    EXPECT_EQ(other.GetSolutionMode()->GetMaxLevel(), 5);
    EXPECT_EQ(other.GetGeoid()->GetSeperation(), -7.5);
    EXPECT_EQ(fix.GetGeoid()->GetSeperation(), 40.1);

    // The kinds that the getters look for, and nothing without an attribute.
    for (const Ident ident : idents) {
        fix.SetAttribute(std::make_unique<Remark>(ident));
    }
    for (const Position& odd : {fix, Position()}) {
        EXPECT_TRUE(odd.GetCoord() == nullptr && odd.GetTimeDate() == nullptr && odd.GetGPSTime() == nullptr &&
                    odd.GetCovar() == nullptr && odd.GetDOP() == nullptr && odd.GetUKOOA() == nullptr &&
                    odd.GetConstel() == nullptr && odd.GetNotes() == nullptr && odd.GetCalcInfo() == nullptr &&
                    odd.GetVelocityInfo() == nullptr && odd.GetStatusInfo() == nullptr &&
                    odd.GetSolutionMode() == nullptr && odd.GetGeoid() == nullptr);
    }
    EXPECT_EQ(fix.NmrAttribute(), 13);
}

TEST(Position, ReplacesInPlaceAndKeepsTheOrder) {
    Position fix = MakeFull();
    const int place = fix.FindAttribute(Position::SimpleAttrib<GNSS::DOP>::ID);
    fix.SetDOP(GNSS::DOP());
    // From what is replaced.
    fix.SetSolutionMode(fix.GetSolutionMode()->GetName(), 1, 5, Position::SolutionMode::Settled);
    fix.SetStatusInfo(*fix.GetStatusInfo());
    EXPECT_EQ(fix.NmrAttribute(), 13);
    EXPECT_EQ(fix.FindAttribute(Position::SimpleAttrib<GNSS::DOP>::ID), place);
    EXPECT_FALSE(fix.GetDOP()->IsValid());
    EXPECT_EQ(fix.GetSolutionMode()->GetName(), "Morra");
    EXPECT_EQ(fix.GetStatusInfo()->GetStation(0).GetRTCMID(), 810);

    const Position before = fix;
    fix.RemoveAttribute(Ident("nothing"));
    fix.SetAttribute(nullptr);
    EXPECT_TRUE(fix.SharesWith(before));
    fix.RemoveTimeDate();
    fix.RemoveGPSTime();
    fix.RemoveAttribute(Position::Coord::ID);
    EXPECT_EQ(fix.NmrAttribute(), 10);
    EXPECT_EQ(fix.FindAttribute(Position::SimpleAttrib<GNSS::DOP>::ID), place - 3);
    EXPECT_EQ(before.NmrAttribute(), 13);

    fix.ResetSolutionMode();
    EXPECT_EQ(fix.GetSolutionMode()->GetName(), "No Solution");
    EXPECT_EQ(fix.GetSolutionMode()->GetStatus(), 2);
}

// A change that fails for want of memory changes nothing, wherever it fails.
TEST(Position, FailedChangeLeavesItAsItWas) {
    Position fix = MakeFull();
    fix.SetAttribute(std::make_unique<Remark>(Ident("remark"), false));
    const Position other = fix;
    const Position::Geoid* geoid = fix.GetGeoid();
    EXPECT_THROW(fix.SetGeoid(Position::Geoid(1.0)), std::bad_alloc);
    EXPECT_THROW(fix.RemoveAttribute(Ident("remark")), std::bad_alloc);
    EXPECT_TRUE(fix.SharesWith(other));
    EXPECT_EQ(fix.GetGeoid(), geoid);
    EXPECT_EQ(fix.NmrAttribute(), 14);
}

TEST(PositionCalcInfo, Modes) {
    using Info = Position::CalcInfo;
    struct {
        std::vector<Info::Mode> added;
        Info::Mode mode;
        bool gps;
        bool glonass;
    } const rows[] = {
        {{}, Info::NoneYet, false, false},
        {{Info::GPSOnly, Info::GPSOnly}, Info::GPSOnly, true, false},
        {{Info::GlonassOnly}, Info::GlonassOnly, false, true},
        {{Info::GPSOnly, Info::GlonassOnly}, Info::GPSAndGlonass, true, true},
        {{Info::GlonassOnly, Info::GPSOnly}, Info::GPSAndGlonass, true, true},
        {{Info::GPSAndGlonass, Info::GPSOnly}, Info::GPSAndGlonass, true, true},
        {{Info::GPSOnly, Info::NoneYet}, Info::GPSAndGlonass, true, true},  // intended
    };
    for (const auto& row : rows) {
        Info info;
        for (const Info::Mode mode : row.added) info.AddCalcMode(mode);
        EXPECT_EQ(info.GetCalcMode(), row.mode);
        EXPECT_EQ(info.IsGPSCalcMode(), row.gps);
        EXPECT_EQ(info.IsGlonassCalcMode(), row.glonass);
    }
    Info info;
    info.SetNorvi();
    info.SetElkanConverged(false);
    EXPECT_TRUE(info.IsNorvi() && !info.IsElkan() && !info.IsElkanConverged() && info.IsMorraConverged());
    info.Reset();
    EXPECT_TRUE(!info.IsNorvi() && info.IsElkanConverged() && info.IsNorviBackup() && !info.IsValid());
}

TEST(PositionSolutionMode, TrimmedNames) {
    struct {
        const char* name;
        int glonass;
        const char* trimmed;
    } const rows[] = {
        {"Norvi DGPS+GLO (Settling)", 0, "Norvi DGPS (Settling)"},
        {"Norvi DGPS+GLO (Settling)", 1, "Norvi DGPS+GLO (Settling)"},
        {"Norvi DGPS+GLO", -1, "Norvi DGPS"},
        {"Norvi DGPS+gLo", 0, "Norvi DGPS"},
        {" (Settling)", 0, " (Settling)"},
        {"+GLO", 0, "+GLO"},
        {"+GLO (Settling)", 0, "+GLO (Settling)"},
        {"x+GLO (Settling)", 0, "x (Settling)"},
        {"x+GLO (settling)", 0, "x+GLO (settling)"},  // the case of letters counts here
        {"x+GLO+GLO", 0, "x+GLO"},
    };
    for (const auto& row : rows) {
        const Position::SolutionMode mode(row.name, 1, 2, Position::SolutionMode::Settled);
        EXPECT_EQ(mode.GetTrimmedName(row.glonass), row.trimmed) << row.name;
    }
}

}  // namespace

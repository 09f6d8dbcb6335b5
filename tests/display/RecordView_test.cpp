// The data views: their text, how they are laid out, and how they follow the stores.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/display/AlmanacView.h"
#include "gnss/display/EphemerisView.h"
#include "gnss/display/GlonassEphemerisView.h"
#include "gnss/icd/ICD.h"
#include "gnss/icd/ICDGlonass.h"
#include "gnss/platform/Clipboard.h"
#include "gnss/platform/Root.h"
#include "gnss/store/AlmanacStore.h"
#include "tests/store/AlmanacRecords.h"
#include "tests/store/EphemerisParts.h"
#include "tests/support/Random.h"
#include "tests/support/RecordingDC.h"

namespace {

using Corvane::Angle;
using Corvane::Size;
using GNSS::Almanac;
using GNSS::AlmanacView;
using GNSS::EphemerisView;
using GNSS::GlonassEphemerisView;
using GNSS::GPSEphemeride;
using GNSS::GPSEphemeris;
using GNSS::GPSTime;
using tests::DrawCall;
using tests::RecordingDC;

class RecordView : public ::testing::Test {
protected:
    void SetUp() override { SetNow(tests::SampleTime); }
    void TearDown() override { Corvane::Clock::UseSystem(); }
    static void SetNow(const GPSTime& t) { Corvane::Clock::SetTo((t - GPSTime::GetLocalToGPS()).GetTimeDate()); }
};

// The value of a record in the row of that symbol or, where it has none, of that name.
std::string ValueOf(const GNSS::RecordTable& table, const std::string& row, std::size_t record = 0) {
    for (std::size_t i = 0; i < table.GetParameters().size(); ++i) {
        const auto& [name, symbol, unit, endsGroup] = table.GetParameters()[i];
        if ((symbol.IsEmpty() ? name : symbol) == row) return table.GetRecords().at(record).cells.at(i).text.str();
    }
    ADD_FAILURE() << "no row " << row;
    return {};
}

// Satellite 5 is unhealthy.
GPSEphemeris MakeHistory(int nmr) {
    GPSEphemeris history;
    for (int n = 1; n <= nmr; ++n) {
        auto record = tests::MakeRecord(GNSS::PRN(n), 200 + n);
        record.status.SetHealth(n == 5 ? 63 : 0);
        EXPECT_TRUE(history.Update(record));
    }
    return history;
}

TEST_F(RecordView, CopiesTextThatPastesIntoASpreadsheet) {
    EphemerisView view;
    EXPECT_FALSE(view.CopyToClipboard()) << "there is nothing to copy";
    GPSEphemeris history;
    ASSERT_TRUE(history.Update(tests::SampleGPS()));
    view.SetHistory(history);
    SetNow(tests::SampleTime + Corvane::Time(1783.0));
    ASSERT_TRUE(view.DoCommand(EphemerisView::CopyCommand));
    EXPECT_EQ(Corvane::Clipboard::GetText(),
              "GPS ephemerides: 1 satellite\n"
              "Parameter\tSymbol\tUnit\tG17\n"
              "Health\t\t\tHealthy\n"
              "Validity\t\t\tValid\n"
              "Age since reference time\tt - toe\tmin\t30\n"
              "Records held\t\t\t1\n"
              "Issue of data, ephemeris\tIODE\t\t83\n"
              "Issue of data, clock\tIODC\t\t595\n"
              "Week of reference time\tWN\tweek\t1860\n"
              "Reference time of ephemeris\ttoe\ts\t302400\n"
              "Reference time of clock\ttoc\ts\t302384\n"
              "Health word\t\t\t0\n"
              "User range accuracy index\tURA\t\t2\n"
              "Fit interval\t\th\t\n"
              "Codes on L2\t\t\t1\n"
              "L2 P data flag\t\t\t\n"
              "Root of semi-major axis\tsqrt(A)\tm^1/2\t5153.654333\n"
              "Eccentricity\te\t\t0.0104613000\n"
              "Inclination\ti0\tdeg\t55.07384918\n"
              "Longitude of ascending node\tOmega0\tdeg\t-144.00262857\n"
              "Argument of perigee\tomega\tdeg\t103.84917333\n"
              "Mean anomaly\tM0\tdeg\t41.27244181\n"
              "Correction to mean motion\tDelta n\tdeg/s\t263.56e-9\n"
              "Rate of right ascension\tOmegaDot\tdeg/s\t-459.51e-9\n"
              "Rate of inclination\tIDOT\tdeg/s\t-9.74e-9\n"
              "Radius correction, cosine\tCrc\tm\t234.56\n"
              "Radius correction, sine\tCrs\tm\t-41.72\n"
              "Latitude correction, cosine\tCuc\trad\t-2.205e-6\n"
              "Latitude correction, sine\tCus\trad\t7.113e-6\n"
              "Inclination correction, cosine\tCic\trad\t-0.097e-6\n"
              "Inclination correction, sine\tCis\trad\t0.130e-6\n"
              "Clock offset\taf0\ts\t177.4200e-6\n"
              "Clock drift\taf1\ts/s\t3.4e-12\n"
              "Clock drift rate\taf2\ts/s^2\t0.00e-15\n"
              "Group delay\tTGD\ts\t-10.2e-9\n");
}

// Every number that a message can hold can be had back from what is shown of it.
struct BroadcastField {
    const char* symbol;
    int bits;
    double lastBit;       // in the unit that is shown
    double storeLastBit;  // in that of the record
    void (*store)(GPSEphemeride&, Almanac::SV&, GNSS::Glonass::Ephemeride&, double);
};
#define STORE(assignment)                                                          \
    [](GPSEphemeride& e, Almanac::SV& a, GNSS::Glonass::Ephemeride& g, double v) { \
        (void)e, (void)a, (void)g;                                                 \
        assignment;                                                                \
    }
constexpr double Pi = 3.14159265358979323846;
using E = GNSS::ICD::EphemerisSF;
using A = GNSS::ICD::AlmanacSF;
using G = GNSS::ICDGlonass::EphemerisSF;
const BroadcastField ephemerisFields[] = {
    {"sqrt(A)", 31, E::SqrtA, E::SqrtA, STORE(e.posn.sqrtA = v)},
    {"e", 31, E::E, E::E, STORE(e.posn.e = v)},
    {"M0", 31, 180 * E::M0, Pi* E::M0, STORE(e.posn.M0 = Angle(v))},
    {"Delta n", 15, 180 * E::Dn, Pi* E::Dn, STORE(e.posn.deltaN = Angle(v))},
    {"OmegaDot", 23, 180 * E::OmegaDot, Pi* E::OmegaDot, STORE(e.posn.OmegaDot = Angle(v))},
    {"IDOT", 13, 180 * E::IDot, Pi* E::IDot, STORE(e.posn.IDOT = Angle(v))},
    {"Crs", 15, E::Crs, E::Crs, STORE(e.posn.Crs = v)},
    {"Cic", 15, E::Cic, E::Cic, STORE(e.posn.Cic = Angle(v))},
    {"af0", 21, E::Af0, E::Af0, STORE(e.clock.af0 = v)},
    {"af1", 15, E::Af1, E::Af1, STORE(e.clock.af1 = v)},
    {"af2", 7, E::Af2, E::Af2, STORE(e.clock.af2 = v)},
    {"TGD", 7, E::Tgd, E::Tgd, STORE(e.clock.Tgd = v)},
};
const BroadcastField almanacFields[] = {
    {"sqrt(A)", 24, A::SqrtA, A::SqrtA, STORE(a.sqrtA = v)},
    {"e", 16, A::Eccent, A::Eccent, STORE(a.e = v)},
    {"i", 15, 180 * A::Di, Pi* A::Di, STORE(a.i = Angle(v))},
    {"OmegaDot", 15, 180 * A::OmegaDot, Pi* A::OmegaDot, STORE(a.OmegaDot = Angle(v))},
    {"omega", 23, 180 * A::W, Pi* A::W, STORE(a.w = Angle(v))},
    {"af0", 10, A::Af0, A::Af0, STORE(a.af0 = v)},
    {"af1", 10, A::Af1, A::Af1, STORE(a.af1 = v)},
};
const BroadcastField glonassFields[] = {
    // Within what a history takes for a satellite's place and speed.
    {"vz", 8, G::Vely, G::Vely, STORE(g.posn.vely.SetZ(g.posn.vely.GetZ() + v))},
    {"ax", 4, G::Accl, G::Accl, STORE(g.posn.accel.SetX(v))},
    {"tau_n", 21, G::Tau, G::Tau, STORE(g.clock.tau = v)},
    {"gamma_n", 10, G::Gamma, G::Gamma, STORE(g.clock.gamma = v)},
};
#undef STORE

TEST_F(RecordView, ShowsEveryBroadcastNumberToItsLastBit) {
    std::mt19937_64 random = tests::MakeRandom();
    EphemerisView ephemerisView;
    AlmanacView almanacView;
    GlonassEphemerisView glonassView;
    const auto expect = [&](const BroadcastField& field, const GNSS::RecordView& view, std::int64_t base) {
        const std::int64_t most = (std::int64_t{1} << field.bits) - 1;
        std::uniform_int_distribution<std::int64_t> any(-most, most);
        for (int n = 0; n < 40; ++n) {
            const std::int64_t raw = n == 0 ? most : n == 1 ? -most : any(random);
            GPSEphemeride e = tests::SampleGPS();
            Almanac::SV a = tests::MakeSV(3, 0.0);
            GNSS::Glonass::Ephemeride g = tests::SampleGlonass();
            if (base != 0) g.posn.vely.SetZ(static_cast<double>(base) * field.storeLastBit);
            field.store(e, a, g, static_cast<double>(raw) * field.storeLastBit);
            GPSEphemeris history;
            GNSS::Glonass::Ephemeris glonassHistory;
            Almanac almanac;
            ASSERT_TRUE(history.Update(e) && almanac.UpdateSV(a) && glonassHistory.Update(g));
            ephemerisView.SetHistory(history);
            almanacView.SetAlmanac(almanac);
            glonassView.SetHistory(glonassHistory);
            const std::string text = ValueOf(view.GetTables().front(), field.symbol);
            // Whatever the locale: stod would look for its decimal comma.
            double value = 0.0;
            std::from_chars(text.data(), text.data() + text.size(), value);
            EXPECT_EQ(std::llround(value / field.lastBit), raw + base) << field.symbol << " " << text;
            EXPECT_LE(text.size(), 13U) << field.symbol << " " << text;
        }
    };
    for (const auto& field : ephemerisFields) expect(field, ephemerisView, 0);
    for (const auto& field : almanacFields) expect(field, almanacView, 0);
    for (const auto& field : glonassFields) expect(field, glonassView, field.symbol == std::string("vz") ? 1418215 : 0);
}

TEST_F(RecordView, ShowsHealthAndAge) {
    EphemerisView view;
    view.SetHistory(MakeHistory(5));
    auto table = view.GetTables().front();
    EXPECT_EQ(ValueOf(table, "Health", 3), "Healthy");
    EXPECT_EQ(ValueOf(table, "Health", 4), "Unhealthy");
    EXPECT_EQ(table.GetRecords()[4].cells[0].part, Corvane::Style::Alert);
    SetNow(tests::SampleTime + Corvane::Time(86400.0));
    table = view.GetTables().front();
    EXPECT_EQ(ValueOf(table, "Validity"), "Too old");
    EXPECT_EQ(ValueOf(table, "t - toe"), "1440");
    EXPECT_EQ(table.GetRecords()[0].cells[0].part, Corvane::Style::Faint);
    EXPECT_EQ(table.GetRecords()[4].cells[0].part, Corvane::Style::Alert);
    SetNow(tests::SampleTime - Corvane::Time(86400.0));
    EXPECT_EQ(ValueOf(view.GetTables().front(), "Validity"), "Too early");
    SetNow(tests::SampleTime + Corvane::Time(86400.0));
    // As the ages grow the view asks to be drawn again.
    RecordingDC dc({800, 600});
    view.Paint(dc, {800, 600});
    SetNow(tests::SampleTime + Corvane::Time(86459.0));
    EXPECT_FALSE(view.RequiresRedraw());
    SetNow(tests::SampleTime + Corvane::Time(86460.0));
    EXPECT_TRUE(view.RequiresRedraw());
    // Older records, and numbers that no message has.
    GPSEphemeris history = MakeHistory(1);
    auto record = tests::MakeRecord(GNSS::PRN(1), 80);
    record.reference += Corvane::Time(7200.0);
    record.posn.sqrtA = 1e300;
    record.posn.e = -NAN;
    ASSERT_TRUE(history.Update(record));
    view.SetHistory(history);
    EXPECT_EQ(ValueOf(view.GetTables().front(), "sqrt(A)"), "1.000000e+300");
    EXPECT_EQ(ValueOf(view.GetTables().front(), "e"), "nan");
    EXPECT_TRUE(view.DoCommand(EphemerisView::OlderCommand));
    EXPECT_EQ(ValueOf(view.GetTables().front(), "IODE"), "201");
    EXPECT_EQ(view.GetTables().front().GetTitle(), "GPS ephemerides, 1 before the newest: 1 satellite");
    view.DoCommand(EphemerisView::OlderCommand);
    EXPECT_TRUE(view.GetTables().front().IsEmpty());
}

// A navigation file of the older form says nothing of GLONASS-M.
TEST_F(RecordView, LeavesEmptyWhatAGlonassRecordDoesNotSay) {
    GlonassEphemerisView view;
    GNSS::Glonass::Ephemeride record = tests::SampleGlonass();
    record.m.Reset();
    record.status.Reset();
    record.status.SetUnhealthy(false);
    const auto show = [&] {
        GNSS::Glonass::Ephemeris history;
        EXPECT_TRUE(history.Update(record));
        view.SetHistory(history);
        return view.GetTables().front();
    };
    for (const char* row : {"Sequence within tb", "P4", "M", "F_T"}) EXPECT_EQ(ValueOf(show(), row), "") << row;
    EXPECT_EQ(ValueOf(show(), "B_n"), "0");
    record.status.Set(GNSS::Glonass::Ephemeride::Status::P1, 30);
    EXPECT_EQ(ValueOf(show(), "M"), "No");
    record.m.isM = true;
    EXPECT_EQ(ValueOf(show(), "M"), "Yes");
    EXPECT_EQ(ValueOf(show(), "F_T"), "0");
}

TEST_F(RecordView, CutsNothingOff) {
    EphemerisView view;
    view.SetHistory(MakeHistory(32));
    for (const Size area : {Size{900, 4000}, Size{900, 300}, Size{700, 150}, Size{20'000, 20'000}, Size{350, 700},
                            Size{500, 40}, Size{1, 1}, Size{0, 0}}) {
        SCOPED_TRACE(tests::Print(area));
        std::map<std::string, int> seen;
        view.SetPage(0);
        bool isTooSmall = false;
        for (int page = 0; page == 0 || page < view.NmrPages(); ++page) {
            RecordingDC dc(area);
            view.Paint(dc, area);
            ASSERT_EQ(view.GetPage(), page);
            std::vector<Corvane::Rect> texts;
            for (const DrawCall& call : dc.Calls()) {
                if (call.kind == DrawCall::Text && call.text.starts_with("Too small")) isTooSmall = true;
                if (isTooSmall) continue;
                EXPECT_TRUE(Corvane::Rect({{0, 0}, area}).Contains(call.bounds)) << call;
                if (call.kind != DrawCall::Text) continue;
                if (area.height < 1000) {  // the number of pairs grows
                    for (const auto& other : texts) EXPECT_FALSE(other.Overlaps(call.bounds)) << call;
                }
                texts.push_back(call.bounds);
                ++seen[call.text];
            }
            view.DoCommand(EphemerisView::NextPageCommand);
        }
        EXPECT_EQ(isTooSmall, area.width > 0 && (area.width < 400 || area.height < 50));
        if (area.width == 0 || isTooSmall) continue;
        // Each satellite's IODE stands on one of the pages, and so does its name at least once.
        for (int n = 1; n <= 32; ++n) {
            EXPECT_EQ(seen[std::to_string(200 + n)], 1) << n;
            EXPECT_GE(seen[GNSS::PRN(n).Print().str()], 1) << n;
        }
        EXPECT_EQ(seen["Unhealthy"], 1);
        EXPECT_EQ(view.NmrPages() > 1, area.height < 4000);
    }
    // All of it on one page of the size that it says to take.
    RecordingDC dc({900, 900});
    const Size size = view.Calc(dc, 900);
    EXPECT_LE(size.width, 900);
    view.Paint(dc, size);
    EXPECT_EQ(view.NmrPages(), 1);
    view.Paint(dc, {size.width, size.height - 1});
    EXPECT_EQ(view.NmrPages(), 2);
    EXPECT_GT(view.Calc(dc, 10).width, 200);
}

TEST_F(RecordView, HidesGlonass) {
    AlmanacView almanac;
    almanac.SetAlmanac(tests::MakeAlmanac(3, 2));
    GlonassEphemerisView glonass;
    GNSS::Glonass::Ephemeris history;
    ASSERT_TRUE(history.Update(tests::SampleGlonass()));
    glonass.SetHistory(history);
    EXPECT_EQ(almanac.GetTables().size(), 4U);
    EXPECT_NE(glonass.ToText(), "");
    for (GNSS::RecordView* view :
         {static_cast<GNSS::RecordView*>(&almanac), static_cast<GNSS::RecordView*>(&glonass)}) {
        EXPECT_TRUE(view->DoCommand(GNSS::RecordView::ShowGlonassCommand));
        EXPECT_FALSE(view->GetCommands()[1].isOn());
        EXPECT_TRUE(view->RequiresRedraw());
    }
    EXPECT_EQ(almanac.GetTables().size(), 3U);
    EXPECT_EQ(almanac.ToText().str().find("GLONASS"), std::string::npos);
    EXPECT_EQ(glonass.ToText(), "");
    EXPECT_EQ(glonass.GetTables().front().GetTitle(), "GLONASS is hidden");
    EXPECT_FALSE(EphemerisView().DoCommand(GNSS::RecordView::ShowGlonassCommand));
}

TEST_F(RecordView, FollowsTheStores) {
    Corvane::Root tree;
    const auto almanacStore = GNSS::AlmanacStore::TheFactory.CreateComponent();
    const auto gpsStore = GNSS::GPSEphemStore::TheFactory.CreateComponent();
    const auto glonassStore = GNSS::Glonass::EphemStore::TheFactory.CreateComponent();
    for (const auto& store : {almanacStore, gpsStore, glonassStore}) ASSERT_TRUE(tree.Join(store));
    auto& almanac = dynamic_cast<GNSS::AlmanacStore&>(*almanacStore);
    almanac.OnAlmanacSV(tests::MakeSV(3, 0.0));
    const auto almanacView = std::make_shared<AlmanacView>();
    const auto gpsView = std::make_shared<EphemerisView>();
    const auto glonassView = std::make_shared<GlonassEphemerisView>();
    RecordingDC dc({800, 600});
    for (const std::shared_ptr<GNSS::RecordView>& view :
         {std::shared_ptr<GNSS::RecordView>(almanacView), std::shared_ptr<GNSS::RecordView>(gpsView),
          std::shared_ptr<GNSS::RecordView>(glonassView)}) {
        ASSERT_TRUE(tree.Join(view));
        tree.CycleAll();
        view->Paint(dc, {800, 600});
        EXPECT_FALSE(view->RequiresRedraw());
    }
    EXPECT_EQ(almanacView->GetAlmanac().NmrSV(), 1) << "who joins late";
    almanac.OnAlmanacGlonassSV(tests::MakeGlonassSV(7, 0.0));
    dynamic_cast<GNSS::GPSEphemStore&>(*gpsStore).OnEphem(tests::SampleGPS());
    dynamic_cast<GNSS::Glonass::EphemStore&>(*glonassStore).OnEphem(tests::SampleGlonass());
    tree.CycleAll();
    EXPECT_TRUE(almanacView->RequiresRedraw() && gpsView->RequiresRedraw() && glonassView->RequiresRedraw());
    EXPECT_EQ(almanacView->GetAlmanac().NmrGlonassSV(), 1);
    EXPECT_EQ(ValueOf(gpsView->GetTables().front(), "IODE"), "83");
    EXPECT_EQ(ValueOf(glonassView->GetTables().front(), "tb"), "54000");
    // A whole almanac comes without an update, a cleared store with neither.
    almanac.OnFullAlmanacUpdate(tests::MakeAlmanac(32, 24));
    tree.CycleAll();
    EXPECT_EQ(almanacView->GetAlmanac().NmrSV(), 32);
    almanac.Clear();
    gpsStore->Clear();
    tree.CycleAll();
    EXPECT_EQ(almanacView->GetAlmanac().NmrSV(), 0);
    EXPECT_TRUE(gpsView->GetTables().front().IsEmpty());
}

}  // namespace

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "gnss/platform/Degree.h"
#include "gnss/platform/Number.h"
#include "gnss/platform/QValue.h"
#include "gnss/platform/String.h"
#include "gnss/platform/Symbol.h"
#include "gnss/platform/TextIO.h"
#include "tests/support/Random.h"

namespace {

using Corvane::Angle;
using Corvane::Degree;
using Corvane::String;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();

TEST(Number, RoundsHalvesAwayFromZeroAndTruncatesTowardsIt) {
    struct Row {
        double x;
        int decimals;
        double rounded;
        double truncated;
    };
    for (const Row& row : {
             Row{2.5, 0, 3.0, 2.0},
             Row{-2.5, 0, -3.0, -2.0},
             Row{0.125, 2, 0.13, 0.12},  // exact in binary: a true half
             Row{-0.125, 2, -0.13, -0.12},
             Row{1250.0, -2, 1300.0, 1200.0},
             Row{604799.96, 1, 604800.0, 604799.9},
             Row{9007199254740993.0, 3, 9007199254740992.0, 9007199254740992.0},  // no fraction to lose
             Row{1e300, 10, 1e300, 1e300},
             Row{1.5, 400, 1.5, 1.5},
             Row{0.0, 309, 0.0, 0.0},  // a scale that is infinite
             Row{1.5, std::numeric_limits<int>::max(), 1.5, 1.5},
             Row{1.5, std::numeric_limits<int>::min(), 0.0, 0.0},
             Row{1.7e308, -308, 1.7e308, 1e308},  // 2e308 is no double
             Row{1.5, -400, 0.0, 0.0},
             Row{-Infinity, 2, -Infinity, -Infinity},
         }) {
        EXPECT_DOUBLE_EQ(Corvane::round(row.x, row.decimals), row.rounded) << row.x << ' ' << row.decimals;
        EXPECT_DOUBLE_EQ(Corvane::truncate(row.x, row.decimals), row.truncated) << row.x << ' ' << row.decimals;
    }
    EXPECT_TRUE(std::isnan(Corvane::round(NaN, 2)));
}

TEST(Number, ComparesWithBothEndsOfTheToleranceEqual) {
    EXPECT_EQ(Corvane::compare(1.0, 1.5, 0.5), 0);
    EXPECT_EQ(Corvane::compare(1.5, 1.0, 0.5), 0);
    EXPECT_EQ(Corvane::compare(1.0, 1.51, 0.5), -1);
    EXPECT_EQ(Corvane::compare(1.51, 1.0, 0.5), 1);
    EXPECT_EQ(Corvane::compare(NaN, 1.0, 0.5), 0);
}

TEST(Number, ModuloLiesWithinItsRange) {
    EXPECT_EQ(Corvane::modulo(-1.0, 86400.0), 86399.0);
    EXPECT_EQ(Corvane::modulo(86400.0, 86400.0), 0.0);
    EXPECT_EQ(Corvane::modulo(-1e-20, 86400.0), 0.0);  // plus 86400 would be 86400 itself
    for (const double bad : {NaN, Infinity, -Infinity}) EXPECT_TRUE(std::isnan(Corvane::modulo(bad, 24.0)));
    EXPECT_TRUE(std::isnan(Corvane::modulo(5.0, 0.0)));
    auto random = tests::MakeRandom();
    std::uniform_real_distribution<double> any(-1e7, 1e7);
    for (int i = 0; i < 1000; ++i) {
        const double x = any(random);
        const double r = Corvane::modulo(x, 24.0);
        EXPECT_TRUE(r >= 0.0 && r < 24.0) << x;
        EXPECT_NEAR(std::remainder(x - r, 24.0), 0.0, 1e-8) << x;
    }
}

TEST(Number, RootIsZeroJustBelowZeroAndNaNFurtherDown) {
    EXPECT_EQ(Corvane::root(9.0, 1e-10), 3.0);
    EXPECT_EQ(Corvane::root(-1e-10, 1e-10), 0.0);
    EXPECT_TRUE(std::isnan(Corvane::root(-1.1e-10, 1e-10)));
    EXPECT_TRUE(std::isnan(Corvane::root(NaN, 1e-10)));
}

TEST(Number, ConversionToIntStaysWithinRange) {
    EXPECT_EQ(Corvane::ToInt(-7.9), -7);
    EXPECT_EQ(Corvane::ToInt(NaN), 0);
    EXPECT_EQ(Corvane::ToInt(1e300), std::numeric_limits<int>::max());
    EXPECT_EQ(Corvane::ToInt(-Infinity), std::numeric_limits<int>::min());
    EXPECT_EQ(Corvane::ToInt64(-1e300), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(Corvane::ToInt64(0x1p62), std::int64_t{1} << 62);
    EXPECT_EQ(Corvane::Saturate(std::int64_t{1} << 40), std::numeric_limits<int>::max());
}

TEST(String, FormatsIntegers) {
    struct Row {
        std::int64_t value;
        int width;
        bool fill;
        int sign;
        const char* text;
    };
    for (const Row& row : {
             Row{5, 2, true, String::MinusOnly, "05"},
             Row{5, -1, true, String::MinusOnly, "5"},
             Row{5, 4, false, String::MinusOnly, "   5"},
             Row{-5, 4, true, String::MinusOnly, "-005"},
             Row{-5, 4, false, String::MinusOnly, "  -5"},
             Row{-5, 2, true, String::NoSign, "05"},
             Row{5, 3, true, String::AlwaysSign, "+05"},
             Row{12345, 2, true, String::MinusOnly, "12345"},
             Row{std::numeric_limits<std::int64_t>::min(), -1, false, String::MinusOnly, "-9223372036854775808"},
         }) {
        EXPECT_EQ(String::FormatInt(row.value, row.width, row.fill, row.sign), row.text);
    }
}

TEST(String, FormatsRealsWithTheWidthBeforeThePoint) {
    EXPECT_EQ(String::FormatReal(5.25, 2, 1, true), "05.3");
    EXPECT_EQ(String::FormatReal(0.0, 2, 2, true), "00.00");
    EXPECT_EQ(String::FormatReal(59.999, 2, 2, true), "60.00");
    EXPECT_EQ(String::FormatReal(-1.5, 4, 0, false), "  -2");
    EXPECT_EQ(String::FormatReal(-0.04, -1, 1), "0.0");  // no sign on what rounds to nothing
    EXPECT_EQ(String::FormatReal(1e300, -1, 0).Length(), 301U);
    EXPECT_EQ(String::FormatReal(NaN, 2, 1, true), "nan");
    EXPECT_EQ(String::FormatReal(-Infinity, 2, 1, true), "-inf");
}

TEST(String, AllBytesSurviveTheWayThroughUTF8) {
    std::string bytes;
    for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i);
    const String text(bytes);
    EXPECT_EQ(text.ToUTF8().size(), 128U + 2U * 128U);
    EXPECT_EQ(String::FromUTF8(text.ToUTF8()), text);
    EXPECT_EQ(String("51\xB0").ToUTF8(), "51\xC2\xB0");
    // Outside Latin-1, cut short, a stray continuation byte: one question mark each, the rest is kept.
    EXPECT_EQ(String::FromUTF8("a\xE2\x82\xAC"
                               "b"),
              "a?b");
    EXPECT_EQ(String::FromUTF8("a\xC3"), "a?");
    EXPECT_EQ(String::FromUTF8("\x80x"), "?x");
    // Bytes too many are no part of the character before them.
    EXPECT_EQ(String::FromUTF8("\xE2\x82\xAC\x80\x80x"), "???x");
    EXPECT_EQ(String::FromUTF8("\xFF\x80x"), "??x");
}

TEST(String, PartsBeyondTheEndAreCut) {
    const String text("GNSS");
    EXPECT_EQ(text.Left(9), "GNSS");
    EXPECT_EQ(text.Right(2), "SS");
    EXPECT_EQ(text.Right(9), "GNSS");
    EXPECT_EQ(text.Middle(1, 2), "NS");
    EXPECT_EQ(text.Middle(7, 2), "");
    EXPECT_EQ(text[7], '\0');
    EXPECT_EQ(String("stra\xDF"
                     "e \xE9\xF7\xFF")
                  .ToUpper(),
              "STRA\xDF"
              "E \xC9\xF7\xFF");
    String cut("ab");
    cut.RemoveRight(5);
    EXPECT_TRUE(cut.IsEmpty());
}

TEST(TextIO, ReadsTheNumberThatATextBeginsWith) {
    struct Row {
        const char* text;
        double value;
    };
    const std::string zeros = "." + std::string(400, '0') + "1";
    for (const Row& row :
         {Row{"1.5 s", 1.5}, Row{" \t-2e3x", -2000.0}, Row{"+7", 7.0}, Row{"x", 0.0}, Row{"", 0.0}, Row{"- 5", 0.0},
          Row{"--5", 0.0}, Row{"1,5", 1.0}, Row{"1e-999", 0.0}, Row{"-1e999", -std::numeric_limits<double>::max()},
          Row{"information", 0.0}, Row{"nan", 0.0}, Row{"0.1e400", std::numeric_limits<double>::max()},
          Row{zeros.c_str(), 0.0}, Row{"0x10", 0.0}}) {
        EXPECT_EQ(Corvane::TextIO::ToDouble(row.text), row.value) << row.text;
    }
    EXPECT_EQ(Corvane::TextIO::Print(Corvane::Time(-0.1)), "-0.1");
    for (const double value : {1.0 / 3.0, 1e-300, -123456789.123}) {
        EXPECT_EQ(Corvane::TextIO::ToDouble(Corvane::TextIO::Print(value).View()), value);
    }
}

TEST(Degree, KeepsWhatItIsGivenUntilRoundedAndThenCarries) {
    Degree given(45, 60, 59.99, false);
    EXPECT_EQ(given.Minutes(), 60);
    given.Round(1);
    EXPECT_EQ(given.Degrees(), 46);
    EXPECT_EQ(given.Minutes(), 1);
    EXPECT_EQ(given.Seconds(), 0.0);

    // 0.1 degrees has no exact binary form: six minutes may come as 5' 59.99...".
    Degree tenth(0.1);
    tenth.Round(10);
    EXPECT_EQ(tenth.Minutes(), 6);
    EXPECT_EQ(tenth.Seconds(), 0.0);
}

TEST(Degree, ConvertsBothWays) {
    const Degree west(Angle::FromDegrees(-0.25));
    EXPECT_TRUE(west.IsNegative());
    EXPECT_EQ(west.Degrees(), 0);
    EXPECT_NEAR(west.Minutes() + west.Seconds() / 60.0, 15.0, 1e-12);
    EXPECT_NEAR(Degree(51, 30, 15.5, false).ToDegrees(), 51.0 + 30.0 / 60.0 + 15.5 / 3600.0, 1e-13);
    EXPECT_NEAR(Degree(51, 30.5, true).ToDegrees(), -51.0 - 30.5 / 60.0, 1e-13);
    for (Degree bad :
         {Degree(NaN), Degree(Infinity), Degree(1e300), Degree(std::numeric_limits<int>::min(), 1e300, true)}) {
        bad.Round(10);
        EXPECT_GE(bad.Degrees(), 0);
        EXPECT_LT(bad.Minutes(), 60);
    }
}

TEST(QValue, CombinesQualitiesAsStandardDeviations) {
    const Corvane::QValue sum = Corvane::QValue(10.0, 3.0).Add(-Corvane::QValue(4.0, 2.0).Times(-2.0));
    EXPECT_DOUBLE_EQ(sum.Value(), 18.0);
    EXPECT_DOUBLE_EQ(sum.Quality(), 5.0);
}

TEST(Symbol, EqualNamesAreTheSameSymbolAndOrderIsNullNumbersTexts) {
    using Corvane::Ident;
    EXPECT_EQ(Ident("DOP"), Ident(String("DOP")));
    EXPECT_NE(Ident("7"), Ident(7));
    EXPECT_EQ(Ident(7).Print(), "7");
    EXPECT_EQ(Ident(0).Print(), "0");
    EXPECT_TRUE(Ident().IsNull());
    const std::array ordered = {Ident(), Ident(-3), Ident(7), Ident(11), Ident("A"), Ident("a")};
    for (std::size_t i = 0; i < ordered.size(); ++i) {
        for (std::size_t k = 0; k < ordered.size(); ++k) EXPECT_EQ(ordered[i] < ordered[k], i < k) << i << ' ' << k;
    }
    EXPECT_TRUE(Corvane::Index().IsNull());
    EXPECT_NE(Corvane::Index(0), Corvane::Index());
}

}  // namespace

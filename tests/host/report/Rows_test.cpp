#include "host/report/Rows.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "gnss/platform/TextIO.h"
#include "host/report/Plot.h"
#include "tests/support/Random.h"

namespace {

using Host::Cell;
using Host::Form;

std::string Read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string Print(double value, int decimals) {
    std::array<char, 360> text{};
    return {text.data(), Host::PrintNumber(value, decimals, text.data())};
}

std::string Written(Form form) {
    const std::string path = testing::TempDir() + "rows.txt";
    Host::Sink sink(path);
    const auto writer = Host::RowWriter::Make(
        form, {{"sat", "", 3}, {"x", "m/s", 8, 2}, {"issue", "", 5}, {"good", "", 4}, {"remark", "", 6}}, sink);
    writer->Write(
        std::array<Cell, 5>{std::string_view("G05"), -1.006, std::int64_t{12}, true, std::string_view("a\"b,c")});
    writer->Write(
        std::array<Cell, 5>{std::string_view("R14"), std::nan(""), Cell(), false, std::string_view("51\u00b0\n")});
    EXPECT_EQ(sink.Close(), "");
    return Read(path);
}

TEST(Rows, AreWrittenInEachForm) {
    EXPECT_EQ(Written(Form::Csv), "sat,x_m_s,issue,good,remark\nG05,-1.01,12,1,\"a\"\"b,c\"\nR14,,,0,\"51\u00b0\n\"\n");
    EXPECT_EQ(Written(Form::Ndjson),
              "{\"sat\":\"G05\",\"x_m_s\":-1.01,\"issue\":12,\"good\":true,\"remark\":\"a\\\"b,c\"}\n"
              "{\"sat\":\"R14\",\"x_m_s\":null,\"issue\":null,\"good\":false,\"remark\":\"51\u00b0\\u000a\"}\n");
    EXPECT_TRUE(Written(Form::Table)
                    .starts_with(" sat        x issue good remark\n          m/s\n G05    -1.01    12  yes  a\"b,c\n"))
        << Written(Form::Table);
}

TEST(Rows, NumbersAgreeWithTheSlowWayToPrintThem) {
    auto random = tests::MakeRandom();
    std::uniform_real_distribution<double> digits(-1.0, 1.0);
    std::uniform_int_distribution<int> exponents(-6, 12);
    for (int i = 0; i < 20000; ++i) {
        const double value = digits(random) * std::pow(10.0, exponents(random));
        const int decimals = i % 8;
        std::array<char, 64> slow{};
        std::snprintf(slow.data(), slow.size(), "%.*f", decimals, value);
        const double fast = Corvane::TextIO::ToDouble(Print(value, decimals));
        // Half a last digit from the true value, a whole one from another way of rounding it.
        EXPECT_NEAR(fast, value, 0.5000001 * std::pow(10.0, -decimals) + std::abs(value) * 1e-15) << slow.data();
    }
    EXPECT_EQ(Print(-0.00001, 2), "0.00");
    EXPECT_EQ(Print(1e300, 0).size(), 301U);
    EXPECT_EQ(Print(1234.5678, -3), "1.23e+03");
}

TEST(Sink, TellsWhatCannotBeWritten) {
    Host::Sink nowhere("/nonexistent/folder/file");
    EXPECT_FALSE(nowhere.IsGood());
    EXPECT_EQ(nowhere.Close(), "/nonexistent/folder/file: cannot be written: No such file or directory");
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
    Host::Sink full("/dev/full");
    for (int i = 0; i < 100000; ++i) full.Write("too much for the device");
    EXPECT_FALSE(full.IsGood());
    EXPECT_NE(full.Close(), "");
}

TEST(Plot, IsDrawnAndSaved) {
    Host::Plot plot;
    plot.title = "A title";
    plot.series = {{"one", Host::DistinctColour(0), true, {{0.0, 1.0}, {1.0, NAN}, {2.0, 3.0}}},
                   {"two", Host::DistinctColour(1), false, {{0.5, 2.0}}}};
    for (const char* ending : {"svg", "png"}) {
        const std::string path = testing::TempDir() + "plot." + ending;
        EXPECT_EQ(plot.Save(path), "");
        EXPECT_GT(std::filesystem::file_size(path), 1000U);
    }
    EXPECT_NE(plot.Save("plot.txt"), "");
    EXPECT_NE(plot.Save("/nonexistent/folder/plot.png"), "");
    EXPECT_EQ(Host::Plot().Save(testing::TempDir() + "empty.svg"), "");  // nothing to draw is no fault
    EXPECT_EQ(Host::RoundStep(10.0, 5), 2.0);
    EXPECT_EQ(Host::RoundStep(0.0, 5), 1.0);
}

}  // namespace

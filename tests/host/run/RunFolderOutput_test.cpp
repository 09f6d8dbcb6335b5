#include "host/run/RunFolderOutput.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "host/run/RunReport.h"
#include "host/run/RunText.h"
#include "tests/host/report/MadeFix.h"

namespace {

namespace fs = std::filesystem;

class RunFolderOutputTest : public testing::Test {
protected:
    RunFolderOutputTest() {
        std::string name = (fs::temp_directory_path() / "run_output_XXXXXX").string();
        root_ = ::mkdtemp(name.data());
    }
    ~RunFolderOutputTest() override { fs::remove_all(root_); }

    // A run of hostile inputs; its files by name.
    std::map<std::string, std::string> Run(Host::RunFolderOptions options) {
        options.folder = (root_ / "out").string();
        options.overwrite = true;
        Host::RunFacts facts;
        facts.inputs.resize(2);
        facts.inputs[0].name = "<script>alert(1)</script>\x1b[2J.obs";
        facts.inputs[0].format = "UBX";
        facts.inputs[1].name = "=cmd|'/C calc'!A0";
        facts.inputs[1].failure = "\"quoted\" & \xff";
        Host::RunSummary summary;
        Host::RunFolderOutput output(options, summary);
        EXPECT_EQ(output.GetFailure(), "");
        output.Begin(facts);
        output.OnEvent({std::nullopt, "=1+1", "<b>bold</b>\r\nline, \"two\""});
        for (int i = 0; i < 60; ++i) {
            Host::PublishedFix fix = i == 30 ? tests::MakeNoFix(i) : tests::MakeFix(i, {0.1 * i, 0.0, 0.0});
            fix.notes.AddNote(99, Corvane::String("@SUM(A1) <i>\xb0\x07"));
            summary.OnFix(fix);
            output.OnFix(fix);
        }
        output.OnEvent({GNSS::GPSTime(2111, 345600.0), "-", "end"});
        EXPECT_TRUE(output.IsGood());
        EXPECT_EQ(summary.Finish(facts), "");
        EXPECT_EQ(output.Finish(facts), "");
        const std::string text = Host::PrintSummary(summary.GetFigures(), summary.GetSeries(), facts);
        EXPECT_EQ(text.find_first_of("\x1b\x07"), std::string::npos);
        EXPECT_NE(text.find("60 epochs, 59 positions (98.3 %)\ntests passed 100.0 %"), std::string::npos) << text;
        EXPECT_NE(text.find("\nrejected: G07 59x\n"), std::string::npos) << text;
        EXPECT_NE(text.find("; @SUM(A1) <i>"), std::string::npos) << text;
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::directory_iterator(options.folder)) {
            std::ifstream file(entry.path());
            files[entry.path().filename().string()] = {std::istreambuf_iterator<char>(file), {}};
        }
        return files;
    }

    fs::path root_;
};

TEST_F(RunFolderOutputTest, EscapesForEachOutput) {
    auto files = Run({});
    EXPECT_EQ(files.size(), 16U);
    for (const auto& [name, text] : files) {
        EXPECT_EQ(text.find('\x1b'), std::string::npos) << name;
        EXPECT_EQ(text.find('\r'), std::string::npos) << name;
        EXPECT_EQ(text.find('\x07'), std::string::npos) << name;
    }
    const std::string& html = files["report.html"];
    EXPECT_EQ(html.find("<script"), std::string::npos);
    EXPECT_NE(html.find("&lt;script&gt;alert(1)&lt;/script&gt; [2J.obs"), std::string::npos);
    EXPECT_NE(html.find("&quot;quoted&quot; &amp; \ufffd"), std::string::npos);
    EXPECT_EQ(html.find("http://"), html.find("http://www.w3.org/"));  // but for names of XML
    // An identifier stands once on the page, and what is referred to is there.
    std::set<std::string> ids;
    for (std::size_t at = html.find(" id=\""); at != std::string::npos; at = html.find(" id=\"", at + 1))
        EXPECT_TRUE(ids.insert(html.substr(at + 5, html.find('"', at + 5) - at - 5)).second);
    EXPECT_FALSE(ids.empty());
    for (std::size_t at = html.find("href=\"#"); at != std::string::npos; at = html.find("href=\"#", at + 1))
        ASSERT_TRUE(ids.contains(html.substr(at + 7, html.find('"', at + 7) - at - 7)));
    EXPECT_NE(files["journal.csv"].find("event,,,'=1+1,\"<b>bold</b>  line, \"\"two\"\"\"\n"), std::string::npos);
    EXPECT_NE(files["journal.csv"].find(",'-,end\n"), std::string::npos);
    EXPECT_NE(files["notes.csv"].find(",'@SUM(A1) <i>\u00b0 ,"), std::string::npos);
    EXPECT_NE(files["summary.json"].find("\"name\":\"<script>alert(1)</script> [2J.obs\""), std::string::npos);
    EXPECT_NE(files["notes.svg"].find("<svg"), std::string::npos);
    // One row an epoch, one a satellite, one a note; the rejection held before and after the epoch without a position.
    const auto lines = [&files](const char* name) { return std::ranges::count(files[name], '\n'); };
    EXPECT_EQ(lines("positions.csv"), 61);
    EXPECT_EQ(lines("positions.ndjson"), 60);
    EXPECT_EQ(lines("satellites.csv"), 1 + 59 * 8);
    EXPECT_NE(files["notes.csv"].find("2,G07,0,G07: rejected by the w-test,"), std::string::npos);
    EXPECT_NE(files["notes.csv"].find(",2,59.000\n"), std::string::npos);
}

TEST_F(RunFolderOutputTest, IsTheSameInEveryYearAndZone) {
    Host::RunFolderOptions options;
    options.png = options.isDark = true;
    const auto first = Run(options);
    ASSERT_EQ(::setenv("TZ", "Pacific/Kiritimati", 1), 0);
    ::tzset();
    const auto second = Run(options);
    ASSERT_EQ(::unsetenv("TZ"), 0);
    ::tzset();
    EXPECT_EQ(first.size(), 16U);
    EXPECT_TRUE(first == second);
}

TEST_F(RunFolderOutputTest, LeavesNothingWhenItIsStopped) {
    bool isStopped = false;
    const Host::RunSummary summary;
    Host::RunFolderOptions options;
    options.folder = (root_ / "out").string();
    options.isStopped = [&isStopped] { return isStopped; };
    for (const bool isFinished : {true, false}) {
        isStopped = false;
        Host::RunFolderOutput output(options, summary);
        output.OnFix(tests::MakeFix(0.0));
        isStopped = true;
        EXPECT_FALSE(output.IsGood());
        if (isFinished) {
            EXPECT_NE(output.Finish({}), "");
        }
    }
    EXPECT_TRUE(fs::is_empty(root_));
    isStopped = false;
    options.pictures = false;
    Host::RunFolderOutput output(options, summary);
    EXPECT_EQ(output.Finish({}), "");  // no epochs
    EXPECT_FALSE(fs::exists(root_ / "out" / "report.html"));
    EXPECT_TRUE(fs::exists(root_ / "out" / "summary.json"));
}

}  // namespace

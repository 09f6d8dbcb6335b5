// The settings of a run: file, options, printing and the fix's own fields belong together.
#include "host/run/RunConfig.h"

#include <gtest/gtest.h>

#include "tests/host/cli/CommandRun.h"

namespace {

using namespace Host;

// All fields, so that a new one does not compile here until it is named, and then wants a setting.
auto Fields(const FixSettings& settings) {
    const auto& [systems, ranges, ionosphere, troposphere, elevation, signal, weights, shift, aid, height, heightSD,
                 confidence, power, fLimit, rejects, gdop, hdop, pdop, satellites, ageGPS, ageGlonass, velocity,
                 doppler] = settings;
    const auto& [codeGPS, codeGlonass, strong, doubling, orbitGPS, orbitGlonass, ionoShare, unmodelled, tropoShare] =
        weights;
    return std::tuple(systems, ranges, ionosphere, troposphere, elevation, signal, shift, aid, height, heightSD,
                      confidence, power, fLimit, rejects, gdop, hdop, pdop, satellites, ageGPS, ageGlonass, velocity,
                      doppler, codeGPS, codeGlonass, strong, doubling, orbitGPS, orbitGlonass, ionoShare, unmodelled,
                      tropoShare);
}

template <std::size_t... Index>
void ExpectAllChanged(const FixSettings& settings, std::index_sequence<Index...> /*indices*/) {
    const auto before = Fields({});
    const auto after = Fields(settings);
    const auto expect = [](std::size_t index, bool isChanged) { EXPECT_TRUE(isChanged) << "field " << index; };
    (expect(Index, std::get<Index>(before) != std::get<Index>(after)), ...);
}

std::string Print(const RunSettings& settings) {
    std::string text;
    std::string fault;
    EXPECT_TRUE(PrintConfig(settings, text, fault)) << fault;
    return text;
}

// Settings that all differ from the defaults.
RunSettings ChangeAll() {
    const std::vector<SettingValue> values{true,
                                           false,
                                           std::int64_t{12},
                                           80.1,
                                           95.0,
                                           0.125,
                                           std::string("gps"),
                                           std::string("iono-free"),
                                           std::string("pe90"),
                                           std::string("five-percent"),
                                           std::string("55.5,8.5,60"),
                                           std::string("2020-06-25T06:30:15.25Z"),
                                           std::string("dark"),
                                           std::string("ndjson"),
                                           std::string("a \"b\"\t\\ \x7F \xC2\x9B\xC3\xB8.csv"),
                                           std::vector<std::string>{"R03", "G05", "G05"}};
    const RunSettings defaults;
    RunSettings settings;
    for (const Setting& setting : GetSettings()) {
        const bool isChanged = std::any_of(values.begin(), values.end(), [&](const SettingValue& value) {
            return setting.set(settings, value) && setting.print(settings) != setting.print(defaults);
        });
        EXPECT_TRUE(isChanged) << setting.GetName();
    }
    return settings;
}

TEST(RunConfig, SetsEveryFieldAndReadsBackWhatItPrints) {
    const RunSettings changed = ChangeAll();
    ExpectAllChanged(changed.request.settings, std::make_index_sequence<std::tuple_size_v<decltype(Fields({}))>>());
    for (const RunSettings& settings : {RunSettings(), changed}) {
        const std::string text = Print(settings);
        RunSettings read = ChangeAll();
        EXPECT_TRUE(ReadConfig(text, "a", read).empty());
        EXPECT_EQ(Print(read), text);
        EXPECT_EQ(Fields(read.request.settings), Fields(settings.request.settings));
    }
    EXPECT_EQ(changed.request.disabledGPS, std::vector<GNSS::PRN>{GNSS::PRN(5)});
    ASSERT_TRUE(changed.referencePlace);
    EXPECT_NEAR(changed.referencePlace->GetZ(), 5233000.0, 2000.0);

    // A file's name may be anything, a configuration may not.
    RunSettings latin;
    latin.positions = "\xF8.csv";
    std::string text, fault;
    EXPECT_FALSE(PrintConfig(latin, text, fault));
    EXPECT_NE(fault.find("UTF-8"), std::string::npos) << fault;
}

TEST(RunConfig, TakesTomlAsItIsUsuallyWritten) {
    RunSettings settings;
    const auto faults = ReadConfig(
        "\xEF\xBB\xBF# short\r\nfix.mask = 15\r\nsources.date = 2020-06-25T06:30:15.5Z\n[fix.weights]\norbit-gps = "
        "1_0e-1\n"
        "[height-aid]\nheight = -3\n[satellites]\ndisabled = [ 'R24', \"G01\", ]\n[limits]\nsatellites = 0x08\n",
        "a", settings);
    EXPECT_TRUE(faults.empty()) << faults.front();
    const FixSettings& fix = settings.request.settings;
    EXPECT_EQ(fix.elevationMask, 15.0);
    EXPECT_EQ(fix.weights.orbitGPS, 1.0);
    EXPECT_TRUE(fix.heightAid && fix.height == -3.0);
    EXPECT_EQ(fix.minSatellites, 8);
    EXPECT_EQ(settings.request.disabledGlonass.size(), 1U);
    // 18 leap seconds.
    ASSERT_TRUE(settings.request.date);
    EXPECT_NE(Print(settings).find("date = \"2020-06-25 06:30:33.5\"\n"), std::string::npos);
}

TEST(RunConfig, RefusesWithPlaceAndWhatIsAllowed) {
    struct Row {
        const char* text;
        std::vector<const char*> faults;  // one for each line of the answer
    };
    for (const Row& row : {
             Row{"[fix]\nmask = 95", {"a.toml:2: fix.mask is a number from 0 to 89 degrees, not 95"}},
             Row{"[fix]\nmask = \"15\"", {"a.toml:2: fix.mask is a number from 0 to 89 degrees, not \"15\""}},
             Row{"[fix]\nmask = nan", {"not nan"}},
             Row{"[fix]\nmask = -0.1", {"not -0.1"}},
             Row{"[fix]\nmask = [1]", {"not a value of another kind"}},
             Row{"[fix]\nmaks = 15\n\nmode = 'x'",
                 {"a.toml:2: there is no setting \"fix.maks\"; in [fix] there are mode, ranges, mask, ",
                  "a.toml:4: fix.mode is \"gps\", \"glonass\" or \"both\", not \"x\""}},
             Row{"[fix]\n[;fix]", {"a.toml:2: a table's header without a name"}},
             Row{" [[", {"a.toml:1: a table's header without a name"}},
             Row{"[fix]\nionosphere = 1", {"fix.ionosphere is true or false, not 1"}},
             Row{"[tests]\nconfidence = 97", {"tests.confidence is 90, 95, 99 or 99.9 percent, not 97"}},
             Row{"[limits]\nsatellites = 6.0", {"a whole number from 0 to 56, not 6"}},
             Row{"[satellites]\ndisabled = 'G05'",
                 {"a list of satellites, G01 to G32 and R01 to R24: G05,R03, not \"G05\""}},
             Row{"[satellites]\ndisabled = ['G05', 'G']", {"not [\"G05\", \"G\"]"}},
             Row{"[satellites]\ndisabled = ['G05', 3]", {"not a value of another kind"}},
             Row{"[output]\nfolder = 2020-06-25", {"output.folder is the name of a folder"}},
             Row{"[output]\npositions = \"a\\u0000b\"", {"output.positions is a file name"}},
             Row{"[output]\nreference = 'north'", {"output.reference is \"LAT,LON,HEIGHT\""}},
             Row{"[sources]\ndate = 2020-06-25T00:00:00+01:00", {"sources.date is a time"}},
             Row{"[sources]\nfiles = ['']", {"sources.files is a list of file names"}},
             Row{"mask = 15", {"a.toml:1: there is no setting or table \"mask\"; the tables are [sources], [fix], "}},
             Row{"fix = 3", {"a.toml:1: fix is a table, not a value"}},
             Row{"[[fix]]\nmask = 3", {"a.toml:1: fix is a table, not a value"}},
             Row{"\"fix.weights\".orbit-gps = 1", {"no setting or table \"fix.weights\""}},
             Row{"[fix.mask]\nx = 1", {"a.toml:1: fix.mask is a number"}},
             Row{"[fix.extra]\nx = 1", {"a.toml:1: there is no setting \"fix.extra\""}},
             Row{"[fix]\nmask = 5\nmask = 6", {"a.toml:3: "}},
             Row{"[fix]\nmask = 5\n[tests]\n[fix]\nmode = 'gps'", {"a.toml:4: "}},
             Row{"[fix]\nmask = 5,5", {"a.toml:2: "}},
             Row{"[fix]\nmode = 'gps", {"a.toml:2: "}},
             Row{"[output]\nfolder = '\xF8'", {"a.toml:2: "}},
             Row{"[fix]\n[\x14\x14", {"a.toml:2: a control character"}},
             Row{"# \xC3\xA9\n[fix]\nmode = \xE2\x80\x9Cgps\xE2\x80\x9D", {"a.toml:3: a character beyond ASCII"}},
             Row{"[sources]\nf\xD1\x90 = '\xC3\xA9'", {"a.toml:2: a character beyond ASCII"}},
             Row{"[fix]\nmode = \"\"\"\ngps\\\n\xD1\x90\"\"\"", {"a.toml:3: a text that goes on"}},
         }) {
        RunSettings settings;
        const auto faults = ReadConfig(std::string("") + row.text, "a.toml", settings);
        ASSERT_EQ(faults.size(), row.faults.size()) << row.text << (faults.empty() ? "" : "\n" + faults.front());
        for (std::size_t i = 0; i < faults.size(); ++i)
            EXPECT_NE(faults[i].find(row.faults[i]), std::string::npos) << row.text << "\n" << faults[i];
        // A file with a fault changes nothing.
        EXPECT_EQ(Print(settings), Print({}));
    }
    // Tables within tables are limited, wherever quotes end; dots within texts are not.
    std::string deep = "x = \"\"\"a\"\"\"\"\nb";
    for (int i = 0; i < 300000; ++i) deep += ".b";
    RunSettings settings;
    EXPECT_EQ(ReadConfig(deep + " = 1\ny = \"\"", "a", settings),
              std::vector<std::string>{"a: has more dots in its names than any configuration"});
    EXPECT_TRUE(ReadConfig("[sources] # '\nfiles = ['" + std::string(5000, '.') + "']", "a", settings).empty());
}

using RunOptions = tests::CommandRun;

TEST_F(RunOptions, GoBeforeTheFileAndTheFileBeforeTheDefaults) {
    ASSERT_EQ(
        Run("printf '[fix]\nmask = 15\nmode = \"gps\"\nionosphere = false\n[height-aid]\nheight = 5\n"
            "[output]\nfolder = \"there\"\npng = true\n[sources]\nfiles = [\"-\"]\n' >c.toml && $GNSS run --config "
            "c.toml --mask 7 --ionosphere --height-aid none --no-png --disable R02,G31 --disable G01 --output '' "
            "x.ubx --print-config"),
        0)
        << err_;
    for (const char* line :
         {"mask = 7", "mode = \"gps\"", "ranges = \"l1\"", "ionosphere = true", "height = \"none\"", "png = false",
          "folder = \"\"", "disabled = [\"G01\", \"G31\", \"R02\"]", "files = [\"x.ubx\"]"})
        EXPECT_TRUE(Says(line)) << line << "\n" << out_;
    // What is printed is a configuration.
    ASSERT_EQ(
        Run("$GNSS run --print-config --height-aid -3.5 >d.toml && $GNSS run --config d.toml --print-config | diff "
            "d.toml -"),
        0)
        << out_;

    // But for a password, which is read from a file of its owner alone and shown nowhere.
    ASSERT_EQ(
        Run("printf '[live]\nntrip-password = \"geheim\"\n' | tee o.toml >p.toml; chmod 600 p.toml; chmod 644 o.toml; "
            "printf '[live]\nntrip-password = 4711\n' >w.toml; $GNSS run --config p.toml --print-config && "
            "$GNSS run --config p.toml --duration 1 --simulator-speed 100 && "
            "! $GNSS run ntrip://me:geheim@h/M --print-config && ! $GNSS run Ntrip://me:geheim@h/M"),
        0)
        << err_;
    EXPECT_TRUE(Says("ntrip-password = \"********\"")) << out_;
    EXPECT_EQ((out_ + err_).find("geheim"), std::string::npos) << out_ << err_;

    struct Row {
        const char* options;
        const char* fault;
    };
    for (const Row& row : {
             Row{"--mask 90 x", "--mask is a number from 0 to 89 degrees, not 90\n"},
             Row{"--mask 1,5 x", "--mask is a number from 0 to 89 degrees, not \"1,5\"\n"},
             Row{"--confidence high x", "--confidence is 90, 95, 99 or 99.9 percent, not \"high\"\n"},
             Row{"--disable G33 x", "--disable is a list of satellites"},
             Row{"--config c.toml --mode x", "--mode is \"gps\", \"glonass\" or \"both\", not \"x\"\n"},
             Row{"--config w.toml --print-config", "w.toml:2: live.ntrip-password is a text"},
             Row{"--config o.toml", "o.toml: holds a password, and others than its owner may use the file"},
             Row{"--config none.toml x", "none.toml: "},
             Row{"--config /dev/zero x", "/dev/zero: "},
             Row{"--config c.toml --config c.toml x", "--config"},
             Row{"--config c.toml - -", "standard input"},
             Row{"$(printf '\\370') --print-config", "UTF-8"},
         }) {
        EXPECT_EQ(Run("$GNSS run " + std::string(row.options)), 2) << row.options;
        EXPECT_NE(err_.find(row.fault), std::string::npos) << row.options << "\n" << err_;
        EXPECT_EQ(out_, "") << row.options;
    }
}

TEST_F(RunOptions, LeaveInputsAsTheyAreAndNothingHalfMade) {
    EXPECT_EQ(Run("echo x >in; ln in same; $GNSS run in --positions same"), 2);
    EXPECT_NE(err_.find("same: is an input"), std::string::npos) << err_;
    EXPECT_EQ(Read("in"), "x\n");
    // A signal while nothing comes from a pipe.
    EXPECT_EQ(Run("mkfifo p; { printf '%-60sRINEX VERSION / TYPE\\n%2000s' '     3.04           OBSERVATION DATA    G' "
                  "x; sleep 60; } >p & s=$!; $GNSS run p --output made & g=$!; "
                  "for i in 1 2 3 4 5 6 7 8 9; do sleep 0.2; ls -d .made.*.run 2>/dev/null && break; done; "
                  "kill -TERM $g; wait $g; e=$?; kill $s; [ $e = 1 ] && ! ls -d made .made.*"),
              0);
    EXPECT_NE(err_.find("made: not made, as the run was stopped"), std::string::npos) << err_;
    // A live run is stopped by it, and its folder whole; two at once are as good as one.
    EXPECT_EQ(
        Run("$GNSS run --output live --simulator-speed 50 & g=$!; for i in $(seq 50); do sleep 0.1; "
            "ls -d live/.2*.run 2>/dev/null && break; done; kill -TERM $g; kill -TERM $g; sleep 0.1; kill -HUP $g; "
            "wait $g && ls live/2025-06-04/report.html live/2025-06-04/summary.json && ! ls -d live/.2*"),
        0)
        << err_;
    // So is its folder when nobody takes the rows any more.
    EXPECT_EQ(
        Run("$GNSS run --output piped --simulator-speed 50 --positions - | head -20; ls piped/2025-06-04/report.html"),
        0)
        << err_;
}

}  // namespace

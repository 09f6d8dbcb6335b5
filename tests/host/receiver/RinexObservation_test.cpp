// RINEX observation files: made ones for the rules of the format and for damage, real ones against their own text.
#include "host/receiver/RinexObservation.h"

#include <array>
#include <charconv>
#include <locale>
#include <sstream>

#include "tests/host/receiver/ReceiverRecording.h"
#include "tests/host/receiver/RinexText.h"
#include "tests/host/receiver/Table.h"
#include "tests/support/TestData.h"

namespace {

using Host::RinexObservationDecoder;
using rinex::Labelled;
using Said = tests::Run<RinexObservationDecoder>;

std::string Version(const std::string& number, char system = 'M') {
    return Labelled("     " + number + "           OBSERVATION DATA    " + system, "RINEX VERSION / TYPE");
}
std::string Types(const std::string& types) {
    return Labelled(types, "SYS / # / OBS TYPES");
}
// A value with its two digits, whatever the locale.
std::string F(double value, const char* digits = "  ") {
    std::array<char, 20> text{};
    char* const end = std::to_chars(text.begin(), text.end(), value, std::chars_format::fixed, 3).ptr;
    const std::string number(text.data(), end);
    return std::string(14 - number.size(), ' ') + number + digits;
}
// A number as it is written, where it ends in its last column.
std::string R(const std::string& number) {
    return std::string(14 - number.size(), ' ') + number + "  ";
}
const std::string None(16, ' ');
const std::string Epoch = "> 2020 06 25 00 00 ";  // Thursday, week 2111, 345600 s

template <typename Set>
void Print(std::ostream& out, char system, const Set& set) {
    using Record = typename Set::Record;
    for (int i = 0; i < set.NmrSV(); ++i) {
        for (int j = 0; j < set.GetSV(i).NmrMeas(); ++j) {
            const Record& r = set.GetSV(i).GetMeas(j);
            out << ' ' << system << int{set.GetSV(i).GetId()} << r.GetFreqy().GetName().str();
            if (r.IsValid(Record::Range)) out << " C" << r.GetRange();
            if (r.IsValid(Record::Phase)) out << " L" << r.GetPhase();
            if (r.IsValid(Record::Doppler)) out << " D" << r.GetDoppler();
            if (r.IsValid(Record::SNR)) out << " S" << r.GetSNR();
            if (r.IsLostLock()) out << " lost";
            if (r.IsPhaseWarn()) out << " half";
            if (r.IsValid(Record::SlipKnown)) out << (r.IsCycleSlip() ? " slip" : " same");
        }
    }
}
// "2111/345600: G5CA C20000000.1 ...", a line for each epoch.
std::string Print(const Said& said) {
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out.precision(13);
    for (const GNSS::MeasSet& set : said.said.sets) {
        out << set.GetGPSTime().GetWeek() << '/' << set.GetGPSTime().GetSeconds() << ':';
        Print(out, 'G', set.GetGPS());
        Print(out, 'R', set.GetGlonass());
        out << '\n';
    }
    return out.str();
}

const std::string Head3 = Version("3.04") + Types("G    4 C1C L1C D1C S1C") + Types("R    2 C1C L1C") + rinex::End;

// Three epochs with lines of one satellite too many columns for one line, and blanks.
std::string Small3() {
    std::string text = Head3;
    for (const char* seconds : {"00.0000000  0  3", "30.0000000  0  3", "59.5000000  0  2       -0.000000123456"}) {
        text += Epoch + seconds + "\n" + "G05" + F(20000000.1) + F(105100000.2, " 7") + F(-1234.5) + F(45.25) + "\n";
        text += "R13" + F(19000000.3) + F(101600000.4, "17") + "\n";
        if (seconds[15] == '3') text += "G07" + F(21000000.5) + None + None + F(40.0) + "\n";
    }
    return text;
}
std::string Small2() {
    std::string text =
        Version("2.11") + Labelled("     6    C1    L1    L2    P2    S1    S2", "# / TYPES OF OBSERV") + rinex::End;
    for (const char* seconds : {" 0.0000000", "30.0000000", "59.5000000"}) {
        text += std::string(" 20  6 25  0  0 ") + seconds + "  0  2G05R13\n";
        text += F(20000000.1) + F(105100000.2, " 7") + F(81900000.3) + F(20000003.4) + F(45.25) + "\n" + F(40.5) + "\n";
        text += F(19000000.3) + F(101600000.4, "17") + "\n\n";
    }
    return text;
}

TEST(RinexObservation, RulesOfTheFormat) {
    const std::string g05 = "G05" + F(20000000.1) + F(105100000.2) + "\n";
    const struct {
        const char* name;
        std::string text;
        std::string told;
    } cases[] = {
        {"version 3, lock, blanks", Small3(),
         "2111/345600: G5CA C20000000.1 L105100000.2 D-1234.5 S45.25 G7CA C21000000.5 S40 R13CA C19000000.3 "
         "L101600000.4 lost slip\n"
         "2111/345630: G5CA C20000000.1 L105100000.2 D-1234.5 S45.25 same G7CA C21000000.5 S40 R13CA C19000000.3 "
         "L101600000.4 lost slip\n"
         "2111/345659.5: G5CA C20000000.1 L105100000.2 D-1234.5 S45.25 same R13CA C19000000.3 L101600000.4 lost "
         "slip\n"},
        {"version 2, lines of five values", Small2(),
         "2111/345600: G5CA C20000000.1 L105100000.2 S45.25 G5L2 C20000003.4 L81900000.3 S40.5 R13CA C19000000.3 "
         "L101600000.4 lost slip\n"
         "2111/345630: G5CA C20000000.1 L105100000.2 S45.25 same G5L2 C20000003.4 L81900000.3 S40.5 same R13CA "
         "C19000000.3 L101600000.4 lost slip\n"
         "2111/345659.5: G5CA C20000000.1 L105100000.2 S45.25 same G5L2 C20000003.4 L81900000.3 S40.5 same R13CA "
         "C19000000.3 L101600000.4 lost slip\n"},
        {"the best code of a record; another code's phase is another",
         Version("3.00") + Types("G    6 C2L L2L C2W L2W C1W C1X") + Types("R    4 C2C C2P C1P L1P") + rinex::End +
             Epoch + "00.0000000  0  2\nG05" + F(1) + F(2) + F(3) + F(4) + F(5) + F(6) + "\nR01" + F(7) + F(8) + F(9) +
             F(10) + "\n" + Epoch + "30.0000000  0  2\nG05" + F(1) + F(2) + None + F(4) + "\nR01" + F(7) + "\n",
         "2111/345600: G5L1 C5 G5L2 C3 L4 R1L1 C9 L10 R1L2 C8\n"
         "2111/345630: G5L2 C1 L2 lost slip R1L2 C7\n"},
        {"L1 is of P1 where there is no C1, and L2 of C2 where there is no P2",
         Version("2.10") + Labelled("     4    P1    L1    C2    L2", "# / TYPES OF OBSERV") + rinex::End +
             " 00  1  1  0  0  0.0000000  0  1  5\n" + F(1) + F(2) + F(3) + F(4) + "\n",
         "1042/518400: G5L1 C1 L2 G5L2 C3 L4\n"},
        {"letters of 2.12",
         Version("2.12") + Labelled("     7    CA    LA    P1    L1    CC    LC    CD", "# / TYPES OF OBSERV") +
             rinex::End + " 99 12 31 23 59 60.0000000  0  2G 5R 1\n" + F(1) + F(2) + F(3) + F(4) + F(5) + "\n" + F(6) +
             F(7) + "\n" + F(1) + "\n" + None + F(7) + "\n",
         "1042/518400: G5CA C1 L2 G5L1 C3 L4 G5L2 C5 L6 R1CA C1 R1L2 C7\n"},
        {"scale factors, another unit of strength, an obscure column",
         Version("3.02") + Types("G    4 C1C L1C S1C X9X") + Labelled("G  100   2 L1C C1C", "SYS / SCALE FACTOR") +
             Labelled("VOLTS", "SIGNAL STRENGTH UNIT") + rinex::End + Epoch + "00.0000000  0  1\nG05" + F(2000000010) +
             F(-12345, "2 ") + F(45) + "rubbish\n",
         "2111/345600: G5CA C20000000.1 L-123.45 half\n"},
        {"numbers with their point elsewhere; what is none",
         Head3 + Epoch + "00.0000000  0  1\nG05" + R("2.5D+07") + R("-.500") + R("0.0") + R("+45.5") + "\n" + Epoch +
             "10.0000000  0  1\nG05" + R("45.5 ") + "\n" + Epoch + "20.0000000  0  1\nG05" + R("nan") + "\n" + Epoch +
             "30.0000000  0  1\nG05" + R("1e300") + "\n" + Epoch + "40.0000000  0  1\nG05" + R("12.345").substr(0, 14) +
             "x\n",
         "2111/345600: G5CA C25000000 L-0.5 S45.5\n"},
        {"other systems, numbers that are none, a satellite twice, nothing measured",
         Version("3.04") + Types("G    1 C1C") + Types("E    1 C1C") + rinex::End + Epoch + "00.0000000  0  5\nE11" +
             F(1) + "\nG33" + F(2) + "\nG05" + F(3) + "\nG05" + F(4) + "\nG06\n" + Epoch + "30.0000000  0  0\n",
         "2111/345600: G5CA C3\n2111/345630:\n"},
        {"power failure: what was tracked has lost lock, once",
         Head3 + Epoch + "00.0000000  0  1\n" + g05 + Epoch + "30.0000000  1  0\n" + Epoch + "40.0000000  0  1\n" +
             g05 + Epoch + "50.0000000  0  1\n" + g05,
         "2111/345600: G5CA C20000000.1 L105100000.2\n2111/345630:\n"
         "2111/345640: G5CA C20000000.1 L105100000.2 lost slip\n2111/345650: G5CA C20000000.1 L105100000.2 same\n"},
        {"special lines: moves, a site, new types; slips are skipped; a lock lost without a phase",
         Head3 + ">                              2  0\n" + Epoch + "00.0000000  0  1\n" + g05 +
             ">                              4  2\n" + Types("G    2 L1C C1C") + Labelled("as it says", "COMMENT") +
             Epoch + "10.0000000  6  1\n" + g05 + ">                              3  2\n" +
             Labelled("NEW", "MARKER NAME") + Labelled(F(0.0) + F(-3869297.5) + "3436571.0", "APPROX POSITION XYZ") +
             Epoch + "30.0000000  0  1\nG05" + None.substr(0, 14) + "1 " + F(3) + "\n" + Epoch +
             "40.0000000  0  1\nG05" + F(105100000.2) + F(4) + "\n",
         "2111/345600: G5CA C20000000.1 L105100000.2\n2111/345630: G5CA C3 lost\n"
         "2111/345640: G5CA C4 L105100000.2 lost slip\n"},
        {"UTC of a GLONASS file, a leap second",
         Version("3.04", 'R') + Types("R    1 C1C") + rinex::End + "> 2016 12 31 23 59 60.5000000  0  1\nR01" + F(1) +
             "\n> 2017 01 01 00 00 00.5000000  0  1\nR01" + F(2) + "\n",
         "1930/17.5: R1CA C1\n1930/18.5: R1CA C2\n"},
        {"two files one behind the other, the second in version 2 and Beidou's time",
         Head3 + Epoch + "00.0000000  0  1\n" + g05 + Version("2.11", 'R') +
             Labelled("     1    C1", "# / TYPES OF OBSERV") +
             Labelled(std::string(48, ' ') + "BDT", "TIME OF FIRST OBS") + rinex::End +
             " 20  6 25  0  0 30.0000000  0  1  1\n" + F(2) + "\n",
         "2111/345600: G5CA C20000000.1 L105100000.2\n2111/345644: R1CA C2\n"},
        {"CR LF, blanks, NUL and tabs at the ends, an empty line, the mark of an old end",
         Head3 + Epoch + "00.0000000  0  1 \r\n" + "G05" + F(20000000.1) + "\t" + std::string(2, '\0') + " \r\n\r\n" +
             Epoch + "30.0000000  0  1\r\n" + "G05" + F(20000000.2) + "\r\n\x1a",
         "2111/345600: G5CA C20000000.1\n2111/345630: G5CA C20000000.2\n"},
        {"no end of the last line, of which nothing can be missing",
         Head3 + Epoch + "00.0000000  0  1\nR05" + F(1) + F(2), "2111/345600: R5CA C1 L2\n"},
        {"no end of the last line, which may have been longer", Head3 + Epoch + "00.0000000  0  1\nR05" + F(1) + "    ",
         ""},
    };
    for (const auto& c : cases) EXPECT_EQ(Print(Said(c.text)), c.told) << c.name;
}

TEST(RinexObservation, ThirteenSatellitesTakeTwoLines) {
    std::string text = Version("2.11", ' ') + Labelled("     1    C1", "# / TYPES OF OBSERV") + rinex::End +
                       " 20  6 25  0  0  0.0000000  0 13  1  2G 3  4  5  6R 7  8  9 10 11S20-0.000000123\n";
    text += std::string(32, ' ') + "G31\n";
    for (int i = 1; i <= 13; ++i) text += F(i) + "\n";
    const Said said(text);
    EXPECT_EQ(Print(said),
              "2111/345600: G1CA C1 G2CA C2 G3CA C3 G4CA C4 G5CA C5 G6CA C6 G8CA C8 G9CA C9 G10CA C10 "
              "G11CA C11 G31CA C13 R7CA C7\n");
    EXPECT_EQ(said.decoder.GetObservationCounts().others.at('S'), 1);
    EXPECT_EQ(said.decoder.GetClockOffset(), -0.000000123);
}

TEST(RinexObservation, CountsAndWarnsOfWhatItMeets) {
    const std::string g05 = "G05" + F(1) + "\n";
    const std::string text = Head3 + Epoch + "00.0000000  0  1\n" + g05 + Epoch + "00.0000000  0  1\n" + g05 +
                             "> 2020 06 24 00 00 00.0000000  1  2\n" + g05 + g05 + "> 2020 13 25\nG05\nG06\n" + Epoch +
                             "00.0000000  2  1\n" + Labelled("", "COMMENT") + Epoch + "00.0000000  5  0\n" + Epoch +
                             "10.0000000  0  2\n" + g05 + Epoch + "20.0000000  0  1\nG05  20000x00.100\n" + Epoch +
                             "30.0000000  0  2\n" + g05;
    const Said said(text);
    const Host::RinexObservationCounts& counts = said.decoder.GetObservationCounts();
    EXPECT_EQ((std::array{counts.epochs, counts.lost, counts.repeated, counts.backward, counts.powerFailures,
                          counts.antennaMoves, counts.externalEvents, counts.repeatedSatellites}),
              (std::array<std::int64_t, 8>{3, 4, 1, 1, 1, 1, 1, 1}));
    std::string lines;
    for (const auto& entry : said.decoder.GetWarnings().GetKept()) lines += std::to_string(entry.line) + ' ';
    EXPECT_EQ(lines, "7 11 9 12 15 18 20 22 ");
    EXPECT_EQ(said.Counts().kinds.at(2).nmr, 8) << "epoch lines that were whole";
}

TEST(RinexObservation, HeaderSaysWhereAndWhat) {
    const std::string text =
        Version("3.05") + Labelled("ESBC", "MARKER NAME") +
        Labelled("3047937             SEPT POLARX5        5.2.0", "REC # / TYPE / VERS") +
        Labelled("CR5200327016        ASH701945E_M    SCIS", "ANT # / TYPE") +
        Labelled("  3582105.2910   532589.7313  5232754.8054", "APPROX POSITION XYZ") +
        Labelled("        0.2160        0.1000       -0.2000", "ANTENNA: DELTA H/E/N") +
        Types("E   14 C1A C1B C1C C1X C1Z C5I C5Q C5X C6A C6B C6C C6X C7I") + Types("       C7Q") +
        Types("G    1 C1C") + Types("R    3 C1C L1C") + Labelled("what", "INTERVAL") +
        Labelled("    30.000", "INTERVAL") + Labelled("  3 R01  1 R02 -4        R24 13", "GLONASS SLOT / FRQ #") +
        Labelled(" C1C  -71.940 C2P    0.500", "GLONASS COD/PHS/BIS") + Labelled("    18", "LEAP SECONDS") +
        Labelled("     4", "LEAP SECONDS").replace(24, 3, "BDS") + rinex::End;
    const Said said(text);
    const Host::RinexObservationHeader& header = said.decoder.GetHeader();
    EXPECT_TRUE(said.decoder.HasHeader());
    EXPECT_EQ(header.receiverType + '/' + header.antennaType + '/' + header.markerName,
              "SEPT POLARX5/ASH701945E_M    SCIS/ESBC");
    EXPECT_EQ(header.types.at('E').back(), "C7Q");
    EXPECT_EQ(header.types.at('R'), (std::vector<std::string>{"C1C", "L1C", ""}));
    EXPECT_TRUE(header.interval == 30.0 && header.channels[2] == -4 && header.channels[24] == 13 &&
                !header.channels[3]);
    EXPECT_TRUE(header.phaseBiases.at(0).metres == -71.94 && header.phaseBiases.at(1).code == "C2P");
    EXPECT_EQ(said.decoder.GetWarnings().GetCount(), 2) << "an interval and a type";
    EXPECT_EQ(said.said.order, "lp");
    EXPECT_EQ(said.said.leaps, std::vector{18});
    // Up, east and north of latitude 55.49356276 and longitude 8.45682139 degrees.
    const GNSS::ECEF::Delta delta = said.said.stations.at(0).posn - *header.marker;
    EXPECT_LT((delta - GNSS::ECEF::Delta(0.26934738, 0.14114600, 0.06469775)).Magnitude(), 1e-7);
}

TEST(RinexObservation, RefusesWhatIsNotForIt) {
    const std::pair<std::string, const char*> cases[] = {
        {"", "is empty"},
        {"garbage\n", "is not a RINEX file: no RINEX VERSION / TYPE on its first line"},
        {std::string(100000, 'x'), "is not a RINEX file: no RINEX VERSION / TYPE on its first line"},
        {Version("4.00"), "RINEX version '4.00' is not read; 2.00 to 2.12 and 3.00 to 3.05 are"},
        {Labelled("     3.04           N: NAVIGATION DATA", "RINEX VERSION / TYPE"),
         "RINEX file of type 'N: NAVIGATION DATA' holds no observations"},
        {Version("3.04") + Types("G    1 C1C"), "ends before END OF HEADER"},
    };
    for (const auto& [text, reason] : cases) {
        const Said said(text, 7);
        EXPECT_EQ(said.decoder.GetFailure(), reason);
        EXPECT_EQ(said.said.order, "");
    }
}

TEST(RinexObservation, PiecesSayTheSame) {
    const std::string garbage = Small3() + std::string(40000, 'x') + "\n" + Small2() + "> \n" + Small3();
    const Said whole(garbage);
    EXPECT_EQ(whole.said.sets.size(), 9U);
    for (const std::size_t piece : {1U, 7U, 4096U}) {
        const Said pieces(garbage, piece);
        ExpectSame(pieces.said, whole.said);
        EXPECT_EQ(pieces.Counts().GetNmrMessages(), whole.Counts().GetNmrMessages());
        EXPECT_EQ(pieces.decoder.GetWarnings().GetCount(), whole.decoder.GetWarnings().GetCount());
    }
}

// Whatever the cut, what is delivered is the beginning of what the whole file holds, to the last bit.
TEST(RinexObservation, AFileThatIsCutGivesWholeEpochs) {
    for (const std::string& text : {Small3(), Small2()}) {
        const Said whole(text);
        std::size_t before = 0;
        for (std::size_t size = 0; size <= text.size(); ++size) {
            const Said cut(text.substr(0, size));
            const std::size_t nmr = cut.said.sets.size();
            ASSERT_TRUE(nmr >= before && nmr <= before + 1);
            for (std::size_t i = 0; i < nmr; ++i) ASSERT_EQ(cut.said.sets[i], whole.said.sets[i]) << size;
            before = nmr;
        }
        EXPECT_EQ(before, 3U);
    }
}

// Any byte of the epoch in the middle is anything: the other two are told with the same values.
TEST(RinexObservation, DamageCostsOneEpoch) {
    for (const std::string& text : {Small3(), Small2()}) {
        const Said whole(text);
        const std::string mark = text.find(Epoch) == std::string::npos ? " 20  6 25" : Epoch;
        const std::size_t first = text.find(mark, text.find(mark) + 1);
        const std::size_t last = text.find(mark, first + 1);
        for (std::size_t at = first; at + 1 < last; ++at) {
            for (const char byte : {'\0', '\n', ' ', '3', '9', '>', 'G', 'x', '.', '\xff'}) {
                std::string damaged = text;
                damaged[at] = byte;
                const Said said(damaged);
                const auto& sets = said.said.sets;
                ASSERT_TRUE(sets.size() == 2 || sets.size() == 3) << at - first << ' ' << byte;
                EXPECT_EQ(sets.front(), whole.said.sets.front());
                const auto& told = sets.back().GetGPS();
                EXPECT_EQ(sets.back().GetGPSTime(), whole.said.sets.back().GetGPSTime());
                EXPECT_EQ(told.GetSV(0).GetMeas(0).GetPhase(), 105100000.2);
                EXPECT_EQ(sets.back().GetGlonass().NmrSV(), 1);
                ASSERT_FALSE(HasFailure()) << at - first << ' ' << int{byte} << ' ' << Print(said);
            }
        }
    }
}

// Each value of a record against its column.
template <typename SV>
int CompareLine(const SV& sv, const std::string& line,
                const std::vector<std::pair<const char*, std::size_t>>& columns) {
    using Record = typename SV::Record;
    int compared = 0;
    for (const auto& [type, index] : columns) {
        const std::string field = line.size() > 3 + 16 * index ? line.substr(3 + 16 * index, 16) : "";
        const std::size_t digit = field.find_first_not_of(' ');
        const int at = sv.FindFreqy(type[1] == '1' ? Record::Freqy::CA : Record::Freqy::L2);
        const Record& record = sv.GetMeas(at);
        const auto [flag, value] = type[0] == 'C'   ? std::pair(Record::Range, record.GetRange())
                                   : type[0] == 'L' ? std::pair(Record::Phase, record.GetPhase())
                                   : type[0] == 'D' ? std::pair(Record::Doppler, record.GetDoppler())
                                                    : std::pair(Record::SNR, record.GetSNR());
        const bool isThere = digit < 14;
        EXPECT_EQ(record.IsValid(flag), isThere) << line << type;
        if (!isThere) continue;
        EXPECT_EQ(value, tests::Number(field.substr(digit, 14 - digit))) << line << type;
        // A record of L2 is of one code or the other, which counts as lost, too.
        const bool isLost =
            type == std::string_view("L1") ? field.size() > 14 && field[14] % 2 == 1 : record.IsLostLock();
        EXPECT_EQ(record.IsLostLock(), isLost) << line << type;
        ++compared;
    }
    return compared;
}

TEST(RinexObservation, ADayOfAStationEqualsItsText) {
    GNSS_REQUIRE_TEST_DATA(path, "data/ESBC00DNK_R_20201770000_01D_30S_MO_GR.rnx.gz");
    const std::string text = tests::ReadAll(path);
    const Said said(text, 65536);
    ASSERT_EQ(said.said.sets.size(), 2880U);
    EXPECT_EQ(said.decoder.GetWarnings().GetCount(), 0);
    EXPECT_EQ(said.Counts().GetNmrRefused(), 0);
    EXPECT_EQ(said.Counts().kinds.at(3).nmr, 59145) << "satellites";
    EXPECT_EQ(said.decoder.GetHeader().channels[10], -7);
    EXPECT_EQ(said.said.order.substr(0, 5), "ptmtm");
    std::istringstream lines(text);
    int epoch = -1, satellites = 0, compared = 0;
    for (std::string line; std::getline(lines, line) && !HasFailure();) {
        if (line[0] == '>') {
            const GNSS::MeasSet& set = said.said.sets[static_cast<std::size_t>(++epoch)];
            EXPECT_EQ(set.GetGPSTime(), GNSS::GPSTime(2111, 4 * 86400.0 + 30.0 * epoch));
            EXPECT_EQ(set.GetGPS().NmrSV() + set.GetGlonass().NmrSV(), std::stoi(line.substr(32, 3)));
        } else if (epoch >= 0) {
            ++satellites;
            const GNSS::MeasSet& set = said.said.sets[static_cast<std::size_t>(epoch)];
            const int number = std::stoi(line.substr(1, 2));
            if (line[0] == 'G') {
                compared += CompareLine(
                    set.GetGPS().GetSV(set.GetGPS().FindSV(number)), line,
                    {{"C1", 0}, {"L1", 1}, {"D1", 2}, {"S1", 3}, {"C2", 4}, {"L2", 5}, {"D2", 6}, {"S2", 7}});
            } else {
                const bool hasP = line.size() > 108 && line[108] != ' ';
                compared += CompareLine(
                    set.GetGlonass().GetSV(set.GetGlonass().FindSV(number)), line,
                    {{"C1", 0}, {"L1", 1}, {"D1", 2}, {"S1", 3}, {"C2", hasP ? 6 : 4}, {"L2", hasP ? 7 : 5}});
            }
        }
    }
    EXPECT_EQ(satellites, 59145);
    EXPECT_GT(compared, 350000);
}

// The receiver's own program and another made these of one log.
TEST(RinexObservation, TwoProgramsFilesAgree) {
    GNSS_REQUIRE_TEST_DATA(path, "data/16dBatt_no_interference_coldstart.obs.gz");
    GNSS_REQUIRE_TEST_DATA(reference, "reference/decoded_16dbatt.obs.gz");
    const Said a(tests::ReadAll(path)), b(tests::ReadAll(reference));
    ASSERT_EQ(a.said.sets.size(), 2072U);
    ASSERT_EQ(b.said.sets.size(), 562U);
    for (std::size_t i = 0; i < b.said.sets.size(); ++i) ASSERT_EQ(a.said.sets[i], b.said.sets[i]) << i;
    EXPECT_GT(a.decoder.GetObservationCounts().others.at('E'), 10000);
}

}  // namespace

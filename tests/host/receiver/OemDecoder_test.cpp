// Frames made by hand: the messages that the real log lacks, and what damage does.
#include "host/receiver/OemDecoder.h"

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/icd/ICD.h"
#include "gnss/time/GPSFreqy.h"
#include "gnss/time/GlonassFrequency.h"
#include "tests/host/receiver/OemFrames.h"
#include "tests/host/receiver/ReceiverRecording.h"

namespace {

using GNSS::GPSFreqy;
using GNSS::GPSTime;
using tests::Bytes;
using tests::OemFrame;
using tests::OemHeader;
using OemRun = tests::Run<Host::OemDecoder>;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

// The 30 bytes of a subframe: TOW count 85, almanac of SV ID 7.
Bytes Page(unsigned number) {
    Bytes bytes(30);
    bytes.PutBytes(0, {0x8B, 0x02, 0x84, 0x00, 0x2A, 0x80 | (number << 2U), 0x47, 0x12, 0x34});
    for (std::size_t i = 9; i < 30; ++i) bytes.Put(i, static_cast<std::uint8_t>(37 * i));
    return bytes;
}

Bytes Subframe(std::uint32_t prn, unsigned number) {
    Bytes body(48);
    body.Put(4, prn).Put(8, std::uint32_t{number});
    const std::string page = Page(number).Get();
    for (std::size_t i = 0; i < page.size(); ++i) body.Put(12 + i, page[i]);
    return body;
}

struct Signal {
    std::uint16_t satellite = 5;
    std::uint32_t status = 0x1C00;  // phase, parity, code; GPS L1 C/A
    double range = 24101771.5;
    double adr = -126655684.5;
    float doppler = 2806.25F;
};

Bytes Range(const std::vector<Signal>& signals) {
    Bytes body(4 + 44 * signals.size());
    body.Put(0, static_cast<std::uint32_t>(signals.size()));
    std::size_t at = 4;
    for (const Signal& s : signals) {
        body.Put(at, s.satellite).Put(at + 4, s.range).Put(at + 12, 0.05F).Put(at + 16, s.adr).Put(at + 24, 0.015625F);
        body.Put(at + 28, s.doppler).Put(at + 32, 44.0F).Put(at + 36, 853.5F).Put(at + 40, s.status);
        at += 44;
    }
    return body;
}

Bytes RangeCmp(const std::vector<Signal>& signals) {
    Bytes body(4 + 24 * signals.size());
    body.Put(0, static_cast<std::uint32_t>(signals.size()));
    std::size_t at = 4;
    for (const Signal& s : signals) {
        const auto doppler = static_cast<std::uint64_t>(std::llround(s.doppler * 256.0F)) & 0xFFFFFFFU;
        const auto range = static_cast<std::uint64_t>(std::llround(s.range * 128.0));
        body.Put(at, s.status).Put(at + 4, doppler | (range << 28U));
        body.Put(at + 12, static_cast<std::int32_t>(std::remainder(s.adr, 0x1p23) * 256.0));
        body.PutBytes(at + 16, {7U << 4U, s.satellite}).Put(at + 18, std::uint32_t{853 * 32 + 16} | (24U << 21U));
        at += 24;
    }
    return body;
}

constexpr std::uint32_t GlonassL1 = 0x11C00;
constexpr std::uint32_t L2P = 9U << 21U;
constexpr std::uint32_t L2C = 17U << 21U;

TEST(OemDecoder, RangeAndItsCompressedFormSayTheSame) {
    const double gloL2 = GNSS::LightSpeed / 1.246e9;
    const std::vector<Signal> signals{
        {},
        {5, 0x1C00 | L2P, 24101778.25, -98692757.25, -2186.75F},
        // Phases that are hundreds of kilometres from the range, of a channel far from the middle.
        {38 + 23, GlonassL1, 19271851.0, -102729811.5 + 3.0e6, -824.5F},
        {38 + 23, GlonassL1 | (5U << 21U), 19271859.25, -19271859.25 / gloL2 - 3.0e6, -641.5F},
        {32, 0x1C00, 20000000.0, -2.0 * 0x1p23, 0.0F},
    };
    const OemRun plain(OemFrame(43, Range(signals).Get()));
    const OemRun packed(OemFrame(140, RangeCmp(signals).Get()));
    ASSERT_EQ(plain.said.sets.size(), 1U);
    ASSERT_EQ(packed.said.sets.size(), 1U);
    EXPECT_EQ(plain.said.sets[0].GetGPSTime(), GPSTime(2209, 512449.0));
    EXPECT_EQ(plain.said.sets[0].GetGPS().NmrSV(), 2);
    const auto& sv = plain.said.sets[0].GetGPS().GetSV(0);
    const auto& meas = sv.GetMeas(sv.FindFreqy(GPSFreqy::L2));
    EXPECT_DOUBLE_EQ(meas.GetRange(), 24101778.25);
    EXPECT_DOUBLE_EQ(meas.GetPhase(), 98692757.25);
    EXPECT_DOUBLE_EQ(meas.GetDoppler(), -2186.75);
    EXPECT_DOUBLE_EQ(meas.GetSNR(), 44.0);
    EXPECT_DOUBLE_EQ(meas.GetLockTime(), 853.5);
    EXPECT_NEAR(meas.GetRangeQ().Quality(), 0.05, 1e-8);
    EXPECT_DOUBLE_EQ(meas.GetPhaseQ().Quality(), 0.015625);
    // The last one's phase is too far from its range, and lies one roll nearer to it.
    const double rolls = std::round((20000000.0 / GPSFreqy::CA.GetWaveLength() - 2.0 * 0x1p23) / 0x1p23);
    EXPECT_DOUBLE_EQ(packed.said.sets[0].GetGPS().GetSV(1).GetMeas(0).GetPhase(), (rolls + 2.0) * 0x1p23);
    for (const auto freqy : {GNSS::Glonass::Frequency::CA, GNSS::Glonass::Frequency::L2}) {
        const auto& a = plain.said.sets[0].GetGlonass().GetSV(0);
        const auto& b = packed.said.sets[0].GetGlonass().GetSV(0);
        EXPECT_EQ(a.GetId(), GNSS::Glonass::Slot(24));
        EXPECT_NEAR(a.GetMeas(a.FindFreqy(freqy)).GetPhase(), b.GetMeas(b.FindFreqy(freqy)).GetPhase(), 0.004);
    }
}

TEST(OemDecoder, TrackingStatusDecidesWhatIsMeasured) {
    using Meas = GNSS::GPSMeas;
    const auto flags = [](std::uint32_t status) {
        const OemRun run(OemFrame(140, RangeCmp({{5, status}}).Get()));
        const auto& sv = run.said.sets.at(0).GetGPS().GetSV(0);
        return sv.NmrMeas() == 1 ? sv.GetMeas(0).GetFlags() : 0;
    };
    constexpr std::uint32_t Always = Meas::SNR | Meas::LockTime;
    EXPECT_EQ(flags(0x1C00), Always | Meas::Range | Meas::Phase | Meas::Doppler);
    EXPECT_EQ(flags(0x1400), Always | Meas::Range | Meas::Phase | Meas::Doppler | Meas::PhaseWarn);
    EXPECT_EQ(flags(0x1000), Always | Meas::Range | Meas::LostLock);
    EXPECT_EQ(flags(0x0C00), Always | Meas::Doppler | Meas::CodeWarn);
    EXPECT_EQ(flags(0x0800), 0U);
    // The P code is L2 wherever it stands; other systems, signals and numbers are left out.
    for (const bool isFirst : {false, true}) {
        const Signal p{5, 0x1C00 | L2P, 1.0e7};
        const Signal c{5, 0x1C00 | L2C, 2.0e7};
        const OemRun run(OemFrame(43, Range({isFirst ? p : c,
                                             isFirst ? c : p,
                                             {5, 0x1C00 | (14U << 21U), NaN},
                                             {120, 0x21C00},
                                             {33, 0x1C00},
                                             {0, 0x1C00},
                                             {37, GlonassL1},
                                             {62, GlonassL1}})
                                          .Get()));
        const GNSS::MeasSet& set = run.said.sets.at(0);
        ASSERT_EQ(set.GetGPS().NmrSV() + set.GetGlonass().NmrSV(), 1);
        ASSERT_EQ(set.GetGPS().GetSV(0).NmrMeas(), 1);
        EXPECT_EQ(set.GetGPS().GetSV(0).GetMeas(0).GetRange(), 1.0e7);
    }
}

TEST(OemDecoder, WordsOfSubframesAndPages) {
    const OemRun run(OemFrame(25, Subframe(9, 5).Get()));
    ASSERT_EQ(run.said.subframes.size(), 1U);
    const Host::GPSSubframe& whole = run.said.subframes[0];
    EXPECT_EQ(whole.prn, GNSS::PRN(9));
    EXPECT_EQ(whole.words[0], 0x8B0284UL << 6U);
    EXPECT_EQ(whole.words[9], 0xE70C31UL << 6U);  // 37 times 27, 28 and 29

    // A page with its words 1 and 2, and without: of subframe 5 and of subframe 4 by its SV ID.
    const std::string page = Page(5).Get();
    Bytes pages(12 + 32);
    pages.Put(0, std::uint32_t{2210}).Put(4, std::uint32_t{61440}).Put(8, std::uint32_t{1}).Put(12, std::uint16_t{7});
    for (std::size_t i = 0; i < 30; ++i) pages.Put(14 + i, page[i]);
    const OemRun known(OemFrame(74, pages.Get()));
    ASSERT_EQ(known.said.subframes.size(), 1U);
    EXPECT_TRUE(known.said.subframes[0].prn.IsNull());
    EXPECT_EQ(known.said.subframes[0].words, whole.words);

    const struct {
        std::uint16_t id;
        unsigned subframe;
    } cases[] = {{1, 5}, {24, 5}, {25, 4}, {51, 5}, {56, 4}, {63, 4}};
    for (const auto& c : cases) {
        Bytes words(12 + 2 * 26);
        words.Put(4, std::uint32_t{61440}).Put(8, std::uint32_t{2}).Put(12, c.id).Put(38, std::uint16_t{64});
        for (std::size_t i = 6; i < 30; ++i) words.Put(8 + i, page[i]);
        for (const auto& [status, seconds] : {std::pair{std::uint8_t{200}, 512449.0}, {std::uint8_t{20}, 61440.0}}) {
            const OemRun made(OemFrame(74, words.Get(), {0, status}));
            ASSERT_EQ(made.said.subframes.size(), 1U);
            const GNSS::ICD::Subframe read(made.said.subframes[0].words.data());
            EXPECT_EQ(made.said.subframes[0].words[0] >> 22U, 0x8BU);
            EXPECT_EQ((made.said.subframes[0].words[1] >> 8U) & 7U, c.subframe);
            EXPECT_EQ(made.said.subframes[0].words[1] >> 13U, static_cast<unsigned long>(seconds / 6.0) + 1);
            EXPECT_TRUE(
                std::equal(whole.words.begin() + 2, whole.words.end(), made.said.subframes[0].words.begin() + 2));
        }
    }
}

TEST(OemDecoder, SubframesOfOneIssueAreOfOneFrame) {
    const auto counts = [](std::array<unsigned, 3> sent, unsigned issue3) {
        Bytes body(102);
        body.Put(0, std::uint32_t{9});
        for (unsigned i = 0; i < 3; ++i) {
            body.PutBytes(12 + 30 * i, {0x8B, 0, 0, sent[i] >> 9U, (sent[i] >> 1U) & 0xFFU,
                                        ((sent[i] & 1U) << 7U) | ((i + 1) << 2U)});
        }
        body.PutBytes(12 + 21, {33}).PutBytes(12 + 30 + 6, {33}).PutBytes(12 + 60 + 27, {issue3});
        std::vector<unsigned> read;
        for (const auto& subframe : OemRun(OemFrame(41, body.Get())).said.subframes) {
            read.push_back(static_cast<unsigned>(subframe.words[1] >> 13U));
        }
        return read;
    };
    using Counts = std::vector<unsigned>;
    EXPECT_EQ(counts({85, 86, 87}, 33), (Counts{85, 86, 87}));
    EXPECT_EQ(counts({85, 86, 82}, 33), (Counts{85, 86, 87}));
    EXPECT_EQ(counts({85, 81, 82}, 33), (Counts{85, 86, 87}));
    EXPECT_EQ(counts({80, 81, 87}, 33), (Counts{85, 86, 87}));
    EXPECT_EQ(counts({100796, 1, 100798}, 33), (Counts{0, 1, 2}));
    EXPECT_EQ(counts({85, 86, 82}, 34), (Counts{85, 86, 82}));
}

Bytes String(unsigned slot, unsigned channel) {
    return Bytes(14).PutBytes(0, {slot, channel, 0x06, 0xB5, 0x01, 0x05, 0x4C, 0xAC, 0x1E, 0xD9, 0x02, 0x8C, 0xE1});
}

TEST(OemDecoder, StringsOfSlotsAndOfSatelliteNumbers) {
    constexpr int None = 99;
    const struct {
        unsigned slot, channel;
        int read, channelRead;
    } cases[] = {{3, 5, 3, 5}, {24, 0xF9, 24, -7}, {3, 7, 3, None}, {40, 5, 3, None}, {61, 0, 24, None},
                 {0, 5, 0, 0}, {25, 5, 0, 0},      {37, 5, 0, 0},   {62, 5, 0, 0}};
    for (const auto& c : cases) {
        const OemRun run(OemFrame(722, String(c.slot, c.channel).Get()));
        EXPECT_EQ(run.Counts().GetNmrRefused(), c.read == 0 ? 1 : 0);
        ASSERT_EQ(run.said.strings.size(), c.read == 0 ? 0U : 1U) << c.slot;
        if (c.read == 0) continue;
        const Host::GlonassString& string = run.said.strings[0];
        EXPECT_EQ(string.slot, GNSS::Glonass::Slot(c.read));
        EXPECT_EQ(string.channel.value_or(None), c.channelRead);
        EXPECT_EQ(string.frame, 0);
        EXPECT_EQ(string.bits.GetNumber(), 6);
        EXPECT_EQ(string.bits.GetUnsigned(1, 8), 0xE1U);
        EXPECT_EQ(string.bits.GetUnsigned(73, 8), 0xB5U);
    }
}

Bytes IonUTC(int leapAfter) {
    Bytes body(108);
    for (unsigned i = 0; i < 8; ++i) body.Put(8 * i, 0.5 + i);
    body.Put(64, std::uint32_t{2210}).Put(68, std::uint32_t{61440}).Put(72, -5.5e-9).Put(80, -1.5e-14);
    return body.Put(88, std::uint32_t{2185}).Put(92, std::uint32_t{7}).Put(96, 18).Put(100, leapAfter);
}

TEST(OemDecoder, IonosphereAndUTC) {
    for (const int after : {18, 19}) {
        const OemRun run(OemFrame(8, IonUTC(after).Get()));
        ASSERT_EQ(run.said.ionos.size(), 1U);
        ASSERT_EQ(run.said.utcs.size(), 1U);
        const auto& iono = run.said.ionos[0];
        EXPECT_EQ(iono.alpha0 + 10 * iono.alpha3 + 100 * iono.beta0 + 1000 * iono.beta3, 0.5 + 35 + 450 + 7500);
        EXPECT_FALSE(iono.IsValid());
        GNSS::Almanac::UTC utc;
        utc.time = GPSTime::Zero;
        utc.A0 = -5.5e-9;
        utc.A1 = -1.5e-14;
        utc.DtLS = 18;
        utc.Tot = 61440;
        utc.WNt = 2210 - 8 * 256;
        utc.WNLSF = 2185 - 8 * 256;
        utc.DN = 7;
        utc.DtLSF = after;
        EXPECT_EQ(run.said.utcs[0], utc);
        EXPECT_EQ(run.said.leaps, after == 18 ? std::vector<int>{18} : std::vector<int>{});
    }
}

Bytes GloEphemeris() {
    Bytes body(144);
    body.Put(0, std::uint16_t{51}).Put(2, std::uint16_t{0}).PutBytes(4, {1}).Put(6, std::uint16_t{2209});
    body.Put(8, std::uint32_t{504918000}).Put(12, std::uint32_t{10782}).Put(16, std::uint16_t{864});
    body.Put(28, -7.5e6).Put(36, -2.4e7).Put(44, -4.25e6).Put(52, 100.0).Put(60, 600.0).Put(68, -3500.0);
    return body.Put(100, -2.5e-5).Put(124, std::uint32_t{83910}).Put(132, std::uint32_t{2});
}

TEST(OemDecoder, WordsOfAnEphemeris) {
    const OemRun run(OemFrame(723, GloEphemeris().Put(136, std::uint32_t{5}).Put(140, std::uint32_t{0xA}).Get()));
    ASSERT_EQ(run.said.glonass.size(), 1U);
    const auto& ephemeride = run.said.glonass[0].ephemeride;
    EXPECT_EQ(ephemeride.m.age, 5);
    EXPECT_EQ(ephemeride.m.accuracyIndex, 2);
    using Status = GNSS::Glonass::Ephemeride::Status;
    EXPECT_EQ(ephemeride.status.Get(Status::P1), 45);
    EXPECT_EQ(ephemeride.status.Get(Status::P2), 0);
    EXPECT_EQ(ephemeride.status.Get(Status::P3), 1);
}

Bytes BestPos(std::uint32_t kind, std::uint32_t datum = 61) {
    Bytes body(72);
    body.Put(4, kind).Put(8, 36.0).Put(16, 138.0).Put(24, 900.0).Put(32, 40.0F).Put(36, datum);
    return body.PutBytes(64, {16, 9});
}

TEST(OemDecoder, KindsOfFixes) {
    const struct {
        std::uint32_t kind;
        int type;
    } cases[] = {{0, 0}, {1, 5}, {2, 2}, {8, 0}, {16, 3}, {19, 1}, {50, 3}};
    for (const auto& c : cases) {
        const OemRun run(OemFrame(42, BestPos(c.kind).Get()));
        EXPECT_EQ(run.said.fixes.at(0).type, c.type);
        EXPECT_EQ(run.said.fixes[0].valid, c.type != 0);
        EXPECT_EQ(run.said.fixes[0].height, c.type != 0 ? std::optional(940.0) : std::nullopt);
    }
    // A place in another datum is none.
    EXPECT_FALSE(OemRun(OemFrame(42, BestPos(16, 5).Get())).said.fixes.at(0).latitude);
}

TEST(OemDecoder, RefusesWhatCannotBe) {
    const struct {
        std::uint16_t id;
        Bytes good;
        std::vector<Bytes> bad;
    } cases[] = {
        {8, IonUTC(18), {IonUTC(18).Put(0, NaN), IonUTC(18).Put(80, NaN), IonUTC(18).Put(92, 8), IonUTC(200)}},
        {25,
         Subframe(32, 4),
         {Subframe(0, 4), Subframe(33, 4), Subframe(7, 4).Put(8, 5), Subframe(7, 4).Put(12, '\0')}},
        {42, BestPos(16), {BestPos(16).Put(8, 90.5), BestPos(16).Put(16, NaN), BestPos(16).Put(24, NaN)}},
        {43,
         Range({{}}),
         {Range({{}}).Put(0, 2), Range({{}}).Put(0, -1), Range({{}}).Put(8, NaN),
          Range({{}}).Put(4 + 28, std::numeric_limits<float>::infinity())}},
        {74, Bytes(12), {Bytes(12).Put(8, 1), Bytes(12).Put(8, -1), Bytes(12).Put(4, 604800)}},
        {140, RangeCmp({{}}), {RangeCmp({{}}).Put(0, 2), RangeCmp({{}}).Put(0, -1)}},
        {723,
         GloEphemeris(),
         {GloEphemeris().Put(0, std::uint16_t{37}), GloEphemeris().Put(0, std::uint16_t{62}),
          GloEphemeris().Put(8, 604800000), GloEphemeris().Put(12, 10801), GloEphemeris().Put(16, std::uint16_t{862}),
          GloEphemeris().Put(24, 16), GloEphemeris().Put(28, NaN), GloEphemeris().Put(52, 8001.0),
          GloEphemeris().Put(100, 0.01), GloEphemeris().Put(124, 86400), GloEphemeris().Put(136, 32)}},
    };
    for (const auto& c : cases) {
        const OemRun good(OemFrame(c.id, c.good.Get()));
        EXPECT_EQ(good.Counts().GetNmrRefused(), 0) << c.id;
        for (std::size_t i = 0; i < c.bad.size(); ++i) {
            const OemRun run(OemFrame(c.id, c.bad[i].Get()));
            EXPECT_EQ(run.Counts().GetNmrRefused(), 1) << c.id << ' ' << i;
            EXPECT_TRUE(run.said.order.empty()) << c.id << ' ' << i;
        }
        // Whatever its length, a body that says too little does no harm.
        for (std::size_t size = 0; size < c.good.Get().size(); ++size) {
            const OemRun run(OemFrame(c.id, c.good.Get().substr(0, size)));
            EXPECT_EQ(run.Counts().GetNmrMessages(), 1);
            EXPECT_TRUE(run.Counts().GetNmrRefused() == 0 || run.said.order.empty());
        }
    }
}

TEST(OemDecoder, TimeIsToldWhenItIsKnown) {
    const std::string other(8, 'x');
    const auto times = [&other](const OemHeader& header) { return OemRun(OemFrame(9999, other, header)).said.times; };
    EXPECT_EQ(times({}), std::vector<GPSTime>{GPSTime(2209, 512449.0)});
    EXPECT_EQ(times({0, 160, 1, 604799999, 40}), std::vector<GPSTime>{GPSTime(1, 604799.999)});
    EXPECT_EQ(times({2}).size(), 1U);
    for (const OemHeader& header :
         {OemHeader{0, 140}, OemHeader{0, 180, 0}, OemHeader{0, 180, 6261}, OemHeader{0, 180, 2209, 604800000},
          OemHeader{0x80}, OemHeader{1}, OemHeader{0x20}}) {
        EXPECT_TRUE(times(header).empty());
        const OemRun run(OemFrame(43, Range({{}}).Get(), header));
        EXPECT_TRUE(run.said.sets.empty());
        EXPECT_EQ(run.Counts().GetNmrMessages(), 1);
        EXPECT_EQ(run.Counts().GetNmrRefused(), 0);
    }
    // A receiver that begins anew, against one whose clock is only less sure for a while.
    for (const auto& [status, order] : {std::pair{std::uint8_t{20}, "txt"}, {std::uint8_t{130}, "t"}}) {
        const std::string good = OemFrame(9999, other);
        EXPECT_EQ(OemRun(good + OemFrame(9999, other, {0, status}) + good).said.order, order);
    }
    EXPECT_TRUE(OemRun(tests::OemShortFrame(508, other)).said.order.empty());
    EXPECT_EQ(OemRun(tests::OemShortFrame(508, other)).Counts().kinds.at(508).nmr, 1);
}

TEST(OemDecoder, DamageCostsTheDamagedMessageOnly) {
    const auto frame = [](std::uint32_t prn) {
        return OemFrame(25, Subframe(prn, 5).Get(), {0, 180, 2209, 1000 * prn});
    };
    for (const std::string& middle : {frame(2), tests::OemShortFrame(25, "twelve bytes")})
        tests::ExpectDamageCostsOneMessage<Host::OemDecoder>(frame(1), middle, frame(3));
}

}  // namespace

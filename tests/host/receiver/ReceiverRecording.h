// Sinks that keep what they are told, and decoders that are run into them.
#pragma once

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "host/receiver/FileText.h"
#include "host/receiver/ReceiverSink.h"
#include "host/receiver/RecordSink.h"
#include "host/receiver/StreamFormat.h"

namespace tests {

struct ReceiverRecording : Host::ReceiverSink {
    std::string order;  // a letter for each call
    std::vector<GNSS::GPSTime> times;
    std::vector<int> leaps;
    std::vector<Host::GPSSubframe> subframes;
    std::vector<Host::GlonassString> strings;
    std::vector<Host::GPSDecodedEphemeride> gps;
    std::vector<Host::GlonassDecodedEphemeride> glonass;
    std::vector<GNSS::Almanac::Iono> ionos;
    std::vector<GNSS::Almanac::UTC> utcs;
    std::vector<GNSS::MeasSet> sets;
    std::vector<Host::ReceiverFix> fixes;
    std::vector<Host::ReceiverSky> skies;
    std::vector<Host::StationPosition> stations;

    void OnTime(const GNSS::GPSTime& time) override { Keep('t', times, time); }
    void OnTimeLost() override { order += 'x'; }
    void OnLeapSeconds(int seconds) override { Keep('l', leaps, seconds); }
    void OnSubframe(const Host::GPSSubframe& subframe) override { Keep('g', subframes, subframe); }
    void OnString(const Host::GlonassString& string) override { Keep('r', strings, string); }
    void OnEphemeride(const Host::GPSDecodedEphemeride& record) override { Keep('G', gps, record); }
    void OnEphemeride(const Host::GlonassDecodedEphemeride& record) override { Keep('R', glonass, record); }
    void OnIono(const GNSS::Almanac::Iono& record) override { Keep('i', ionos, record); }
    void OnUTC(const GNSS::Almanac::UTC& record) override { Keep('u', utcs, record); }
    void OnMeasurements(const GNSS::MeasSet& set) override { Keep('m', sets, set); }
    void OnFix(const Host::ReceiverFix& fix) override { Keep('f', fixes, fix); }
    void OnSky(const Host::ReceiverSky& sky) override { Keep('s', skies, sky); }
    void OnStation(const Host::StationPosition& station) override { Keep('p', stations, station); }

private:
    template <typename Value>
    void Keep(char letter, std::vector<Value>& values, const Value& value) {
        order += letter;
        values.push_back(value);
    }
};

// The same calls in the same order, of the same contents where a part could be lost or kept from another message.
inline void ExpectSame(const ReceiverRecording& a, const ReceiverRecording& b) {
    ASSERT_EQ(a.order, b.order);
    EXPECT_EQ(a.times, b.times);
    EXPECT_EQ(a.leaps, b.leaps);
    EXPECT_EQ(a.sets, b.sets);
    for (std::size_t i = 0; i < a.subframes.size(); ++i) EXPECT_EQ(a.subframes[i].words, b.subframes[i].words);
    for (std::size_t i = 0; i < a.strings.size(); ++i) EXPECT_EQ(a.strings[i].bits, b.strings[i].bits);
    for (std::size_t i = 0; i < a.gps.size(); ++i)
        EXPECT_EQ(a.gps[i].ephemeride.clock.toc, b.gps[i].ephemeride.clock.toc);
    for (std::size_t i = 0; i < a.glonass.size(); ++i) EXPECT_EQ(a.glonass[i].reference, b.glonass[i].reference);
    for (std::size_t i = 0; i < a.fixes.size(); ++i) EXPECT_EQ(a.fixes[i].latitude, b.fixes[i].latitude);
}

// What a decoder says of some bytes that come in pieces of a size.
template <typename Decoder>
struct Run {
    ReceiverRecording said;
    Decoder decoder{said};

    explicit Run(std::string_view bytes, std::size_t piece = std::string_view::npos,
                 const std::optional<GNSS::GPSTime>& approximate = {}) {
        if (approximate) decoder.SetApproximateTime(*approximate);
        for (; !bytes.empty(); bytes.remove_prefix(std::min(piece, bytes.size()))) decoder.Feed(bytes.substr(0, piece));
        decoder.Finish();
    }
    [[nodiscard]] const Host::StreamCounts& Counts() const { return decoder.GetCounts(); }
};

// A message between others is damaged in one byte, or cut: it is skipped, and the others are told as if it had never
// been sent. Enough follow it that a length that lies is found out before the end.
template <typename Decoder>
void ExpectDamageCostsOneMessage(const std::string& before, const std::string& message, const std::string& next) {
    std::string after;
    while (after.size() < 400) after += next;
    const Run<Decoder> expected(before + after);
    for (std::size_t at = 0; at < message.size(); ++at) {
        for (const unsigned flip : {0x01U, 0x80U, 0xFFU}) {
            std::string damaged = message;
            damaged[at] = static_cast<char>(static_cast<unsigned char>(damaged[at]) ^ flip);
            for (const std::size_t piece : {std::size_t{5}, std::string::npos}) {
                const Run<Decoder> run(before + damaged + after, piece);
                ExpectSame(run.said, expected.said);
                ASSERT_EQ(run.Counts().skipped, static_cast<std::int64_t>(message.size())) << at << ' ' << flip;
            }
        }
        ExpectSame(Run<Decoder>(before + message.substr(0, at) + after, 7).said, expected.said);
        ASSERT_FALSE(::testing::Test::HasFailure()) << at;
    }
}

inline std::string ReadAll(const std::string& path) {
    Host::FileText file;
    Host::FileError error;
    EXPECT_TRUE(file.Open(path, error)) << error.Print();
    return std::string(file.Text());
}

// The decoder of a log, which has read it into a sink.
inline std::unique_ptr<Host::StreamDecoder> DecodeLog(const std::string& bytes, Host::ReceiverSink& sink,
                                                      std::size_t piece = std::string_view::npos) {
    auto decoder = Host::MakeDecoder(Host::DetectFormat(bytes).format, sink);
    for (std::string_view rest = bytes; !rest.empty(); rest.remove_prefix(std::min(piece, rest.size())))
        decoder->Feed(rest.substr(0, piece));
    decoder->Finish();
    return decoder;
}

struct RecordRecording : Host::RecordSink {
    struct Glonass : GNSS::Glonass::Ephemeride {
        std::optional<int> channel;
    };
    std::vector<GNSS::GPSEphemeride> gps;
    std::vector<Glonass> glonass;
    std::vector<GNSS::Almanac::SV> almanac;
    std::vector<GNSS::Almanac::GlonassSV> glonassAlmanac;
    std::vector<GNSS::Almanac::Iono> iono;
    std::vector<GNSS::Almanac::UTC> utc;

    void OnRecord(const GNSS::GPSEphemeride& record) override { gps.push_back(record); }
    void OnRecord(const GNSS::Glonass::Ephemeride& record, std::optional<int> channel) override {
        glonass.push_back({record, channel});
    }
    void OnRecord(const GNSS::Almanac::SV& record) override { almanac.push_back(record); }
    void OnRecord(const GNSS::Almanac::GlonassSV& record) override { glonassAlmanac.push_back(record); }
    void OnRecord(const GNSS::Almanac::Iono& record) override { iono.push_back(record); }
    void OnRecord(const GNSS::Almanac::UTC& record) override { utc.push_back(record); }
};

}  // namespace tests

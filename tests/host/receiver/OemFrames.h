// Hand-made OEM messages, and a sink that keeps what a decoder says.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <locale>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "host/receiver/OemDecoder.h"

namespace tests {

// Bytes with numbers in them, on machines of the usual order.
class OemBody {
public:
    explicit OemBody(std::size_t size) : bytes_(size, '\0') {}
    template <typename Number>
    OemBody& Set(std::size_t at, Number number) {
        std::memcpy(bytes_.data() + at, &number, sizeof number);
        return *this;
    }
    OemBody& SetBytes(std::size_t at, std::initializer_list<unsigned> bytes) {
        for (const unsigned byte : bytes) bytes_.at(at++) = static_cast<char>(byte);
        return *this;
    }
    [[nodiscard]] const std::string& Get() const { return bytes_; }

private:
    std::string bytes_;
};

// The register of the format's own description, bit by bit.
inline std::uint32_t OemChecksum(std::string_view bytes) {
    std::uint32_t crc = 0;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int i = 0; i < 8; ++i) crc = (crc & 1U) != 0 ? (crc >> 1U) ^ 0xEDB88320U : crc >> 1U;
    }
    return crc;
}

inline std::string OemSealed(std::string content) {
    return content + OemBody(4).Set(0, OemChecksum(content)).Get();
}

struct OemHeader {
    std::uint8_t type = 0;
    std::uint8_t status = 180;
    std::uint16_t week = 2209;
    std::uint32_t milliseconds = 512449000;
    std::uint8_t size = 28;
};

inline std::string OemFrame(std::uint16_t id, const std::string& body, const OemHeader& header = {}) {
    OemBody bytes(header.size);
    bytes.SetBytes(0, {0xAA, 0x44, 0x12, header.size}).Set(4, id).Set(6, header.type);
    bytes.Set(8, static_cast<std::uint16_t>(body.size())).Set(13, header.status).Set(14, header.week);
    return OemSealed(bytes.Set(16, header.milliseconds).Get() + body);
}

inline std::string OemShortFrame(std::uint16_t id, const std::string& body) {
    OemBody bytes(12);
    bytes.SetBytes(0, {0xAA, 0x44, 0x13, static_cast<unsigned>(body.size())}).Set(4, id);
    return OemSealed(bytes.Set(6, std::uint16_t{2209}).Set(8, std::uint32_t{1000}).Get() + body);
}

// Keeps the calls, and a line of text for each of them.
class OemRecorder : public Host::ReceiverSink {
public:
    using ReceiverSink::OnEphemeride;

    std::vector<std::string> lines;
    std::vector<GNSS::GPSTime> times;
    std::vector<int> leapSeconds;
    std::vector<Host::GPSSubframe> subframes;
    std::vector<Host::GlonassString> strings;
    std::vector<Host::GlonassDecodedEphemeride> ephemerides;
    std::vector<GNSS::Almanac::Iono> ionos;
    std::vector<GNSS::Almanac::UTC> utcs;
    std::vector<GNSS::MeasSet> sets;
    std::vector<Host::ReceiverFix> fixes;

    void OnTime(const GNSS::GPSTime& time) override { Keep(times, time, "time", time.GetWeek(), time.GetSeconds()); }
    void OnLeapSeconds(int seconds) override { Keep(leapSeconds, seconds, "leap", seconds, 0.0); }
    void OnSubframe(const Host::GPSSubframe& subframe) override {
        Keep(subframes, subframe, "subframe", subframe.prn, static_cast<double>(subframe.words[1]));
    }
    void OnString(const Host::GlonassString& string) override {
        Keep(strings, string, "string", string.slot, string.bits.GetNumber());
    }
    void OnEphemeride(const Host::GlonassDecodedEphemeride& record) override {
        Keep(ephemerides, record, "ephemeride", record.ephemeride.slot, record.ephemeride.posn.posn.GetX());
    }
    void OnIono(const GNSS::Almanac::Iono& record) override { Keep(ionos, record, "iono", 0, record.alpha0); }
    void OnUTC(const GNSS::Almanac::UTC& record) override { Keep(utcs, record, "utc", record.WNt, record.A0); }
    void OnMeasurements(const GNSS::MeasSet& set) override {
        double sum = 0.0;
        for (int i = 0; i < set.GetGPS().NmrSV(); ++i) sum += set.GetGPS().GetSV(i).GetMeas(0).GetPhase();
        Keep(sets, set, "set", set.GetGPS().NmrSV() + set.GetGlonass().NmrSV(), sum);
    }
    void OnFix(const Host::ReceiverFix& fix) override { Keep(fixes, fix, "fix", fix.type, fix.latitude.value_or(0.0)); }

private:
    template <typename Value>
    void Keep(std::vector<Value>& values, const Value& value, const char* name, int number, double detail) {
        values.push_back(value);
        std::ostringstream line;
        line.imbue(std::locale::classic());
        line.precision(17);
        line << name << ' ' << number << ' ' << detail;
        lines.push_back(line.str());
    }
};

// What a decoder says of some bytes that come in pieces of a size.
struct OemRun {
    explicit OemRun(std::string_view bytes, std::size_t piece = std::string_view::npos) {
        for (; !bytes.empty(); bytes.remove_prefix(std::min(piece, bytes.size()))) decoder.Feed(bytes.substr(0, piece));
        decoder.Finish();
    }
    [[nodiscard]] const Host::StreamCounts& Counts() const { return decoder.GetCounts(); }

    OemRecorder sink;
    Host::OemDecoder decoder{sink};
};

}  // namespace tests

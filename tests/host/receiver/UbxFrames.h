// UBX messages made by hand, and a sink that keeps what it is told.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "host/receiver/UbxDecoder.h"

namespace tests {

// Bytes with numbers written into them, the least significant byte first.
class UbxPayload {
public:
    explicit UbxPayload(std::size_t size) : bytes_(size, '\0') {}
    template <typename Number>
    UbxPayload& Put(std::size_t at, Number number) {
        std::memcpy(bytes_.data() + at, &number, sizeof(Number));
        return *this;
    }
    [[nodiscard]] const std::string& Bytes() const { return bytes_; }
    // As a message of a kind.
    [[nodiscard]] std::string Frame(std::uint32_t kind) const {
        std::string frame("\xB5\x62");
        for (const std::size_t byte :
             {std::size_t{kind >> 8U}, std::size_t{kind & 0xFFU}, bytes_.size() & 0xFFU, bytes_.size() >> 8U}) {
            frame += static_cast<char>(byte);
        }
        frame += bytes_;
        std::uint8_t a = 0;
        std::uint8_t b = 0;
        for (const char c : frame.substr(2)) {
            a = static_cast<std::uint8_t>(a + static_cast<std::uint8_t>(c));
            b = static_cast<std::uint8_t>(b + a);
        }
        return frame + static_cast<char>(a) + static_cast<char>(b);
    }

private:
    std::string bytes_;
};

struct ReceiverRecording : Host::ReceiverSink {
    std::string order;  // a letter for each call
    std::vector<GNSS::GPSTime> times;
    std::vector<int> leaps;
    std::vector<Host::GPSSubframe> subframes;
    std::vector<Host::GlonassString> strings;
    std::vector<GNSS::MeasSet> sets;
    std::vector<Host::ReceiverFix> fixes;
    std::vector<Host::ReceiverSky> skies;

    void OnTime(const GNSS::GPSTime& time) override { Keep('t', times, time); }
    void OnLeapSeconds(int seconds) override { Keep('l', leaps, seconds); }
    void OnSubframe(const Host::GPSSubframe& subframe) override { Keep('g', subframes, subframe); }
    void OnString(const Host::GlonassString& string) override { Keep('r', strings, string); }
    void OnMeasurements(const GNSS::MeasSet& set) override { Keep('m', sets, set); }
    void OnFix(const Host::ReceiverFix& fix) override { Keep('f', fixes, fix); }
    void OnSky(const Host::ReceiverSky& sky) override { Keep('s', skies, sky); }

private:
    template <typename Value>
    void Keep(char letter, std::vector<Value>& values, const Value& value) {
        order += letter;
        values.push_back(value);
    }
};

// What a stream says, fed in pieces.
struct UbxRun {
    ReceiverRecording said;
    Host::UbxDecoder decoder{said};

    explicit UbxRun(std::string_view bytes, std::size_t piece = std::string_view::npos) {
        for (std::size_t at = 0; at < bytes.size();) {
            const std::string_view part = bytes.substr(at, piece);
            decoder.Feed(part);
            at += part.size();
        }
        decoder.Finish();
    }
    [[nodiscard]] const Host::StreamCounts& Counts() const { return decoder.GetCounts(); }
};

}  // namespace tests

// The receiver side: a log's bytes through its decoder, alone and with the records made of them. The label tells
// whether the log is a real one or made here.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include <benchmark/benchmark.h>

#include "host/receiver/FileText.h"
#include "host/receiver/OemDecoder.h"
#include "host/receiver/RecordMaker.h"
#include "host/receiver/RtcmDecoder.h"
#include "host/receiver/UbxDecoder.h"
#include "host/receiver/UbxKinds.h"

namespace {

struct Log {
    std::string bytes;
    const char* label;
};

// A message whose payload is written number by number.
class Message {
public:
    explicit Message(std::size_t size) : payload_(size, '\0') {}
    template <typename Number>
    Message& Put(std::size_t at, Number number) {
        std::memcpy(payload_.data() + at, &number, sizeof(Number));
        return *this;
    }
    void AppendTo(std::string& stream, std::uint32_t kind) const {
        std::string body;
        for (const std::size_t byte :
             {std::size_t{kind >> 8U}, std::size_t{kind & 0xFFU}, payload_.size() % 256, payload_.size() / 256}) {
            body += static_cast<char>(byte);
        }
        body += payload_;
        std::uint8_t a = 0;
        std::uint8_t b = 0;
        for (const char c : body) {
            a = static_cast<std::uint8_t>(a + static_cast<std::uint8_t>(c));
            b = static_cast<std::uint8_t>(b + a);
        }
        stream += "\xB5\x62" + body + static_cast<char>(a) + static_cast<char>(b);
    }

private:
    std::string payload_;
};

// Ten minutes of what a receiver that tracks 12 GPS satellites is asked for most: measurements, time, subframes.
std::string MakeUbx() {
    using Host::UbxKinds::NavTIMEGPS, Host::UbxKinds::RxmRAWX, Host::UbxKinds::RxmSFRBX;
    constexpr int NmrSatellites = 12;
    std::string stream;
    for (int second = 0; second < 600; ++second) {
        Message measurements(16 + 32 * NmrSatellites);
        measurements.Put(0, 1000.0 + second).Put(8, std::uint16_t{2300}).Put(11, std::uint8_t{NmrSatellites});
        for (int i = 0; i < NmrSatellites; ++i) {
            const std::size_t at = 16 + 32 * static_cast<std::size_t>(i);
            measurements.Put(at, 2.1e7 + second).Put(at + 8, 1.1e8 + 5.0 * second).Put(at + 16, -800.0F);
            measurements.Put(at + 21, static_cast<std::uint8_t>(i + 1)).Put(at + 24, std::uint16_t{64500});
            measurements.Put(at + 26, std::uint8_t{45}).Put(at + 30, std::uint8_t{0xF});
        }
        Message time(16);
        time.Put(0, static_cast<std::uint32_t>(1000 + second) * 1000U).Put(8, std::int16_t{2300}).Put(11, '\7');
        measurements.AppendTo(stream, RxmRAWX);
        time.AppendTo(stream, NavTIMEGPS);
        for (int i = 0; i < NmrSatellites && second % 6 == 0; ++i) {
            Message subframe(48);
            subframe.Put(1, static_cast<std::uint8_t>(i + 1)).Put(4, std::uint8_t{10}).Put(8, 0x22C00000U);
            subframe.AppendTo(stream, RxmSFRBX);
        }
    }
    return stream;
}

// A log of the test data; its bytes are none where there is no test data.
Log Find(const char* name) {
    Host::FileText file;
    Host::FileError error;
    const char* folder = std::getenv("GNSS_TEST_DATA");
    if (folder == nullptr || !file.Open(std::string(folder) + "/data/" + name, error)) return {"", "no log"};
    return {std::string(file.Text()), "real log"};
}

const Log& UbxLog() {
    static const Log log = [] {
        Log real = Find("16dBatt_no_interference_coldstart.ubx.gz");
        return real.bytes.empty() ? Log{MakeUbx(), "made log"} : real;
    }();
    return log;
}

const Log& OemLog() {
    static const Log log = Find("oemv_200911218.gps");
    return log;
}

const Log& RtcmLog() {
    static const Log log = Find("testglo.rtcm3");
    return log;
}

// The decoder alone, and the decoder with the records made of what it says.
struct Alone {
    Host::ReceiverSink sink;
};
struct WithRecords {
    Host::RecordSink records;
    Host::RecordMaker sink{records};
};

// All fresh for each round, fed in pieces as a port gives them.
template <typename Decoder, typename Sinks>
void Decode(benchmark::State& state, const Log& log) {
    if (log.bytes.empty()) return state.SkipWithError(log.label);
    constexpr std::size_t Piece = 65536;
    std::int64_t nmr = 0;
    for (auto _ : state) {
        Sinks sinks;
        Decoder decoder(sinks.sink);
        for (std::size_t at = 0; at < log.bytes.size(); at += Piece) {
            decoder.Feed(std::string_view(log.bytes).substr(at, Piece));
        }
        decoder.Finish();
        nmr = decoder.GetCounts().GetNmrMessages();
        benchmark::DoNotOptimize(nmr);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(log.bytes.size()));
    state.SetLabel(std::string(log.label) + ", " + std::to_string(nmr) + " messages");
}

void UbxDecoding(benchmark::State& state) {
    Decode<Host::UbxDecoder, Alone>(state, UbxLog());
}
void UbxRecords(benchmark::State& state) {
    Decode<Host::UbxDecoder, WithRecords>(state, UbxLog());
}
void OemDecoding(benchmark::State& state) {
    Decode<Host::OemDecoder, Alone>(state, OemLog());
}
void OemRecords(benchmark::State& state) {
    Decode<Host::OemDecoder, WithRecords>(state, OemLog());
}
void RtcmDecoding(benchmark::State& state) {
    Decode<Host::RtcmDecoder, Alone>(state, RtcmLog());
}
void RtcmRecords(benchmark::State& state) {
    Decode<Host::RtcmDecoder, WithRecords>(state, RtcmLog());
}

BENCHMARK(UbxDecoding)->Unit(benchmark::kMillisecond);
BENCHMARK(UbxRecords)->Unit(benchmark::kMillisecond);
BENCHMARK(OemDecoding)->Unit(benchmark::kMillisecond);
BENCHMARK(OemRecords)->Unit(benchmark::kMillisecond);
BENCHMARK(RtcmDecoding)->Unit(benchmark::kMillisecond);
BENCHMARK(RtcmRecords)->Unit(benchmark::kMillisecond);

}  // namespace

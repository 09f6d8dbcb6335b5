// The receiver side: a log's bytes through its decoder, as the label tells a real one or one made here.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include <benchmark/benchmark.h>

#include "host/receiver/FileText.h"
#include "host/receiver/UbxDecoder.h"

namespace {

struct Log {
    std::string bytes;
    const char* label;
};

class Message {
public:
    explicit Message(std::size_t size) : payload_(size, '\0') {}
    template <typename Number>
    Message& Put(std::size_t at, Number number) {
        std::memcpy(payload_.data() + at, &number, sizeof(Number));
        return *this;
    }
    // Adds it to a stream.
    void AppendTo(std::string& stream, int messageClass, int id) const {
        std::string body;
        for (const std::size_t byte : {static_cast<std::size_t>(messageClass), static_cast<std::size_t>(id),
                                       payload_.size() % 256, payload_.size() / 256}) {
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
        measurements.AppendTo(stream, 0x02, 0x15);
        Message time(16);
        time.Put(0, static_cast<std::uint32_t>(1000 + second) * 1000U).Put(8, std::int16_t{2300}).Put(11, '\7');
        time.AppendTo(stream, 0x01, 0x20);
        for (int i = 0; i < NmrSatellites && second % 6 == 0; ++i) {
            Message subframe(48);
            subframe.Put(1, static_cast<std::uint8_t>(i + 1)).Put(4, std::uint8_t{10}).Put(8, 0x22C00000U);
            subframe.AppendTo(stream, 0x02, 0x13);
        }
    }
    return stream;
}

const Log& UbxLog() {
    static const Log log = [] {
        if (const char* folder = std::getenv("GNSS_TEST_DATA"); folder != nullptr) {
            Host::FileText file;
            Host::FileError error;
            const std::string path = std::string(folder) + "/data/16dBatt_no_interference_coldstart.ubx.gz";
            if (file.Open(path, error)) return Log{std::string(file.Text()), "real log"};
        }
        return Log{MakeUbx(), "made log"};
    }();
    return log;
}

// A fresh decoder for each round, fed in pieces as a port gives them. The sink belongs to the round as well.
template <typename Decoder, typename Sink>
void Decode(benchmark::State& state, const Log& log) {
    constexpr std::size_t Piece = 65536;
    std::int64_t nmr = 0;
    for (auto _ : state) {
        Sink sink;
        Decoder decoder(sink);
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

void UbxIntoEmptySink(benchmark::State& state) {
    Decode<Host::UbxDecoder, Host::ReceiverSink>(state, UbxLog());
}

BENCHMARK(UbxIntoEmptySink)->Unit(benchmark::kMillisecond);

}  // namespace

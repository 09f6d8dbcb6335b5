// Reading RINEX observations: a station's day from the test data, or where there is none one made here.
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include <benchmark/benchmark.h>

#include "host/receiver/FileText.h"
#include "host/receiver/GzipStream.h"
#include "host/receiver/RinexObservation.h"

namespace {

constexpr const char* Day = "/data/ESBC00DNK_R_20201770000_01D_30S_MO_GR.rnx.gz";

// A line of a header.
std::string Labelled(std::string text, const char* label) {
    text.resize(60, ' ');
    return text + label + '\n';
}

// An hour of 12 GPS and 8 GLONASS satellites, every second.
std::string MakeText() {
    std::string text = Labelled("     3.05           OBSERVATION DATA    M", "RINEX VERSION / TYPE") +
                       Labelled("G    8 C1C L1C D1C S1C C2W L2W D2W S2W", "SYS / # / OBS TYPES") +
                       Labelled("R    8 C1C L1C D1C S1C C2P L2P D2P S2P", "SYS / # / OBS TYPES") +
                       Labelled("", "END OF HEADER");
    std::array<char, 160> line{};
    const auto add = [&](int size) { text.append(line.data(), static_cast<std::size_t>(size)); };
    for (int second = 0; second < 3600; ++second) {
        add(std::snprintf(line.data(), line.size(), "> 2020 06 25 10 %02d %02d.0000000  0 20\n", second / 60,
                          second % 60));
        for (int i = 0; i < 20; ++i) {
            const double range = 2.1e7 + 1234.567 * i + 0.321 * second;
            const double phase = range * 5.255;
            add(std::snprintf(line.data(), line.size(),
                              "%c%02d%14.3f  %14.3f 7%14.3f  %14.3f  %14.3f  %14.3f 7%14.3f  %14.3f\n",
                              i < 12 ? 'G' : 'R', i < 12 ? i + 1 : i - 11, range, phase, -1234.567, 45.25, range + 1.0,
                              phase * 0.78, -962.0, 40.5));
        }
    }
    return text;
}

struct Source {
    std::string text;
    const char* label;
};

const Source& GetSource() {
    static const Source source = [] {
        Host::FileText file;
        Host::FileError error;
        const char* folder = std::getenv("GNSS_TEST_DATA");
        if (folder != nullptr && file.Open(std::string(folder) + Day, error))
            return Source{std::string(file.Text()), "real file"};
        return Source{MakeText(), "made file"};
    }();
    return source;
}

// All fresh for each round, fed in pieces as a file gives them.
void RinexObservations(benchmark::State& state) {
    const std::string_view text = GetSource().text;
    constexpr std::size_t Piece = 65536;
    std::int64_t epochs = 0;
    for (auto _ : state) {
        Host::ReceiverSink sink;
        Host::RinexObservationDecoder decoder(sink);
        for (std::size_t at = 0; at < text.size(); at += Piece) decoder.Feed(text.substr(at, Piece));
        decoder.Finish();
        epochs = decoder.GetObservationCounts().epochs;
        benchmark::DoNotOptimize(epochs);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
    state.SetLabel(GetSource().label + (", " + std::to_string(epochs)) + " epochs");
}

// The compressed file, inflated while it is read.
void RinexObservationsGzip(benchmark::State& state) {
    const char* folder = std::getenv("GNSS_TEST_DATA");
    std::string packed;
    if (folder != nullptr) {
        std::ifstream file(folder + std::string(Day), std::ios::binary);
        packed.assign(std::istreambuf_iterator<char>(file), {});
    }
    if (packed.empty()) return state.SkipWithError("no file");
    constexpr std::size_t Piece = 65536;
    std::int64_t bytes = 0;
    for (auto _ : state) {
        Host::ReceiverSink sink;
        Host::RinexObservationDecoder decoder(sink);
        Host::GzipStream stream;
        for (std::size_t at = 0; at < packed.size(); at += Piece) {
            stream.Feed(std::string_view(packed).substr(at, Piece), [&](std::string_view text) { decoder.Feed(text); });
        }
        decoder.Finish();
        bytes = decoder.GetCounts().bytes;
        benchmark::DoNotOptimize(bytes);
    }
    state.SetBytesProcessed(state.iterations() * bytes);
    state.SetLabel("real file, bytes as inflated");
}

BENCHMARK(RinexObservations)->Unit(benchmark::kMillisecond);
BENCHMARK(RinexObservationsGzip)->Unit(benchmark::kMillisecond);

}  // namespace
